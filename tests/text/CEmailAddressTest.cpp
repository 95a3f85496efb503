#include "text/CEmailAddress.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

bool isValid(const std::string& text) {
    return Tova::CEmailAddress(Tova::CString(text.c_str())).IsValid();
}

// Expects `valid` of every text in a list with "|" between them.
void expectAll(const char* list, bool valid) {
    std::istringstream texts(list);
    for (std::string text; std::getline(texts, text, '|');) {
        EXPECT_EQ(isValid(text), valid) << text;
    }
}

TEST(CEmailAddress, Accepts) {
    expectAll(R"(a@b.c|x.y@p.q.r|.a@b.c|a..b@c.d|!#$%&'*+/=?^_`{}~-@x.y|a@-b-.c!)", true);
    expectAll(R"("john\ smith"@x.y|"a".b@c.d|a."b"@c.d|""@x.y|"@()<>,;:[]."@x.y)", true);
    expectAll(R"("a\"b"@x.y|"a\\"@x.y|"a."@x.y|"a"."b".c@x.y)", true);
    EXPECT_TRUE(isValid(std::string(200, 'a') + "@" + std::string(300, 'b') + ".c"));
}

TEST(CEmailAddress, Refuses) {
    expectAll(R"(|a|@b.c|a.@b.c|a@|a@b|a@.b.c|a@b..c|a@b.c.|a@.|a@b.c@d.e|a b@c.d|a@b c.d)", false);
    expectAll(R"(a"b@c.d|a"b"@c.d|a@[1.2.3.4]|a,b@c.d|a\b@c.d|a@b\.c|(a)@b.c|a@"b".c)", false);
    expectAll(R"("john smith"@x.y|"john|"john\|"john\"|"john"x@y.z|"a""b"@x.y|"a"|"a".@x.y)",
              false);
    expectAll("a\t@b.c|a@b.c\x7F|a\xE4@b.c|a@b\xFF.c", false);
    expectAll("\"a\\\t\"@x.y|\"a\\\x7F\"@x.y|\"\xE4\"@x.y|\"\\\xE4\"@x.y", false);
}

}  // namespace
