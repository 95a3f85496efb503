#include "text/CEmailAddress.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

// The addresses that are not valid in a list with "|" between them.
std::string refused(const std::string& list) {
    std::istringstream texts(list + "|");
    std::string out;
    for (std::string text; std::getline(texts, text, '|');) {
        out += Tova::CEmailAddress(Tova::CString(text.c_str())).IsValid() ? "" : text + "|";
    }
    return out;
}

TEST(CEmailAddress, AcceptsAndRefuses) {
    for (const std::string& good :
         {std::string(R"(a@b.c|x.y@p.q.r|.a@b.c|a..b@c.d|!#$%&'*+/=?^_`{}~-@x.y|a@-b-.c!)"),
          std::string(R"("john\ smith"@x.y|"a".b@c.d|a."b"@c.d|""@x.y|"@()<>,;:[]."@x.y)"),
          std::string(R"("a\"b"@x.y|"a\\"@x.y|"a."@x.y|"a"."b".c@x.y)"),
          std::string(200, 'a') + "@" + std::string(300, 'b') + ".c"}) {
        EXPECT_EQ(refused(good), "");
    }
    const std::string bad =
        R"(|a|@b.c|a.@b.c|a@|a@b|a@.b.c|a@b..c|a@b.c.|a@.|a@b.c@d.e|a b@c.d|a@b c.d|)"
        R"(a"b@c.d|a"b"@c.d|a@[1.2.3.4]|a,b@c.d|a\b@c.d|a@b\.c|(a)@b.c|a@"b".c|)"
        R"("john smith"@x.y|"john|"john\|"john\"|"john"x@y.z|"a""b"@x.y|"a"|"a".@x.y|)"
        "a\t@b.c|a@b.c\x7F|a\xE4@b.c|a@b\xFF.c|"
        "\"a\\\t\"@x.y|\"a\\\x7F\"@x.y|\"\xE4\"@x.y|\"\\\xE4\"@x.y|";
    EXPECT_EQ(refused(bad), bad + "|");
}

}  // namespace
