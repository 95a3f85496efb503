#include "tests/registry/RegistryTesting.h"
#include "tests/streams/MemoryStream.h"
#include "tests/support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <tuple>
#include <utility>
#include <vector>

namespace Tova {
namespace {

using tvtest::Dump;

// Runs a script and returns what each step came to, and the tree. "p=t" sets a value, "+p" makes a
// directory, "^p" makes a child of this name, "-p" deletes: 1 or 0. "$p" asks for the value; "d" is
// a directory and "-" nothing.
std::string edit(CRegDir& root, const std::string& script) {
    std::istringstream steps(script);
    std::string out;
    for (std::string step; steps >> step; out += ' ') {
        CRegDir dir;
        const char* path = step.c_str() + 1;
        const std::size_t equals = step.find('=');
        if (step[0] == '$') {
            const char* value = root.GetValue(path);
            const bool directory = root.GetNodeType(path) == S_RegIsDirectory;
            out += value != nullptr ? value : directory ? "d" : "-";
        } else {
            out += std::to_string(step[0] == '+'   ? root.CreateDir(path, dir)
                                  : step[0] == '^' ? root.CreateSubDir(path, dir)
                                  : step[0] == '-' ? root.Delete(path)
                                                   : root.SetValue(step.substr(0, equals).c_str(),
                                                                   &step[equals + 1]));
        }
    }
    return out + "| " + Dump(root);
}

TEST(CRegDir, CreatesFindsAndRefuses) {
    CMemRegistry root;
    EXPECT_EQ(edit(root, "a/b/c=1 v=x a=x +v +v/w"), "1 1 0 0 0 | a{b{c='1'}} v='x'");
    EXPECT_EQ(edit(root, "$a $a/b/c $ $/ $a/ $a//c $/b/c $b $a/b/cc $a/b/C $v/any/thing"),
              "d 1 - - - - - - - - x | a{b{c='1'}} v='x'");
    // Directories on the way to what fails stay.
    EXPECT_EQ(edit(root, "=1 /=1 /x=1 x//y=1 x/=1 9=1 q/9/r=1 -a/b -a/b ^s/t"),
              "0 0 0 0 0 0 0 1 0 1 | a{} v='x' x{} q{} s/t{}");
}

TEST(CRegDir, InnerSegmentsMatchByPrefixInListOrder) {
    CMemRegistry root;
    EXPECT_EQ(edit(root, "abc/d=1st ab/d=2nd $ab/d $a/d $abcd/d ab/d=made -ab/d"),
              "1 1 1st 1st - 1 1 | abc{} ab{d='made'}");
}

// A long list answers as a walk along it does, through any order of changes.
TEST(CRegDir, LongListsAnswerAsShortOnes) {
    std::mt19937 random(7);
    const auto below = [&random](std::size_t n) { return random() % n; };
    for (const std::size_t actions : {4U, 7U, 4U, 7U}) {
        CRegNode root(RegNodeType::Directory, nullptr, "root", nullptr);
        std::vector<std::pair<std::string, CRegNode*>> model;
        for (int step = 0; step < 3000; ++step) {
            std::string name;
            for (std::size_t i = below(5); i > 0; --i) {
                name += static_cast<char>('a' + below(3));
            }
            const std::size_t action = below(actions);
            if (model.size() > 300 || (action == 0 && !model.empty())) {
                const auto victim = model.begin() + static_cast<long>(below(model.size()));
                delete victim->second;
                model.erase(victim);
            } else if (action == 1) {
                new CRegNode(RegNodeType::Comment, &root, nullptr, name.c_str());
            } else {
                model.emplace_back(name, root.AddChild(RegNodeType::Value, name.c_str(), ""));
                model.back().second->SetValue(std::string(below(2000), 'v').c_str());
            }
            const CRegNode *exact = nullptr, *prefix = nullptr;
            for (auto entry = model.rbegin(); entry != model.rend(); ++entry) {
                exact = entry->first == name ? entry->second : exact;
                prefix = entry->first.starts_with(name) ? entry->second : prefix;
            }
            ASSERT_EQ(root.Find(name.c_str(), 0), exact);
            const int length = static_cast<int>(name.size());
            ASSERT_EQ(root.Find((name + "z").c_str(), length), length > 0 ? prefix : nullptr);
            for (const std::size_t i : {below(400), model.size() / 2 + below(3)}) {
                ASSERT_EQ(root.Index(static_cast<int>(i)),
                          i < model.size() ? model[i].second : nullptr);
            }
        }
    }
}

TEST(CRegDir, ValuesAsTextsAndNumbers) {
    CMemRegistry root;
    int number = 7;
    EXPECT_TRUE(root.SetValue("n", -5L) && root.SetValue("u", ~0UL) && root.GetValue("u", number));
    EXPECT_EQ(number, -1);
    EXPECT_EQ(Dump(root), "n='-18446744069414584325' u='18446744073709551615'");
    root.SetValue("n", "swallow");
    root.SetValue("n", root.GetValue("n") + 3);
    EXPECT_STREQ(root.GetValue("n"), "llow") << "from a part of itself";
    root.SetValue("n", static_cast<const char*>(nullptr));
    EXPECT_FALSE(root.GetValue("n", number) || root.GetValue("n") != nullptr);
}

TEST(CRegDir, CharactersOfNames) {
    std::string invalid;
    for (int c = -128; c < 128; ++c) {
        invalid += CRegDir::ValidNameChar(c) ? "" : std::to_string(c) + " ";
    }
    EXPECT_EQ(invalid, "-1 0 9 10 32 59 61 92 123 125 ");
}

TEST(CRegDir, SegmentsOfAnyLength) {
    for (const std::size_t length : {64U, 65U, 79U, 80U, 5000U}) {
        CMemRegistry root;
        const std::string name(length, 'n'), path = "in/" + name + "/v";
        EXPECT_EQ(edit(root, path + "=1 " + name + "=1 $" + path).substr(0, 6),
                  length == 64 ? "1 1 1 " : "0 0 - ");
    }
}

TEST(CRegDir, AHandleMayBeEmpty) {
    CMemRegistry root;
    CRegDir empty, dir;
    ASSERT_TRUE(root.CreateDir("d/e", dir) && root.OpenDir("d", dir));
    EXPECT_TRUE(dir.OpenDir("e", dir)) << "into itself";
    dir = empty;
    EXPECT_STREQ(dir.GetName(), "e") << "assigning nothing changes nothing";
    EXPECT_EQ(dir.ReleaseNode()->HandleCount(), 0);
    EXPECT_EQ(edit(empty, "$a ^a +a a=b -a"), "- 0 0 0 0 | ");
    EXPECT_FALSE(empty.GetName() || empty.CopyDir(root) || root.CopyDir(empty));
}

TEST(CRegDir, CopiesDirectories) {
    CMemRegistry from, to;
    CRegDir inner;
    edit(from, "d/x=1 v=2 e/f/g=3 z/in=1");
    from.AddComment("not copied");
    // A value where a directory stands is passed over; a directory where a value stands is the end.
    edit(to, "v/y=kept z=4");
    EXPECT_FALSE(to.CopyDir(from));
    EXPECT_TRUE(to.OpenDir("e/f", inner));
    EXPECT_FALSE(inner.CopyDir(to)) << "into a descendant";
    EXPECT_TRUE(to.CopyDir(inner)) << "of a descendant";
    EXPECT_EQ(Dump(to), "v{y='kept'} z='4' d{x='1'} e{f{g='3'}} g='3'");
    from.SetValue("d/x", static_cast<const char*>(nullptr));
    EXPECT_FALSE(CMemRegistry().CopyDir(from)) << "a value without text";
}

// Every allocation of reading and looking up fails once; nothing may crash or leak, and what was
// stored is found. A look-up needs no memory.
TEST(CRegDir, AnswersAfterAnAllocationFailed) {
    for (std::string text : {"!NWREG 1.0 {\nd{\n", "[d]\n"}) {
        for (int i = 0; i < 200; ++i) {
            text += "n" + std::to_string(i) + "=v\n";
        }
        int failures = 0;
        for (bool failed = true; failed; ++failures) {
            CMemRegistry root;
            tvtest::MemoryStream stream(CStream::cTranslate, text);
            RStatus status = Ok;
            bool found = true;
            {
                const tvtest::FailAllocation failure(failures);
                status = root.ReadFromStream(stream);
                found = status < 0 ||
                        (root.GetNodeType("d/n0") > 0 && root.GetNodeType("d/n") < 0 &&
                         root.GetNodeType("d/n1/x") > 0 &&
                         root.GetNode()->FirstChild()->Index(19) != nullptr && root.Delete("d/n1"));
                failed = failure.HasFailed();
            }
            EXPECT_TRUE(found && (status == Ok || (status == Failure && failed))) << failures;
            CRegDir dir;
            CString name;
            for (int i = 0; root.OpenDir("d", dir) && dir.EnumEntry(i, name); ++i) {
                EXPECT_NE(dir.GetValue(name.CStr()), nullptr) << failures;
            }
        }
        EXPECT_GT(failures, 5);
    }
}

// A recursion anywhere would run out of stack.
TEST(CRegDir, DepthIsNoMatterOfTheStack) {
    std::string text = "!NWREG 1.0 {\n", path;
    for (int i = 0; i < 200'000; ++i) {
        text += "d{";
        path += "d/";
    }
    CMemRegistry root, copy;
    tvtest::MemoryStream stream(CStream::cTranslate, text + "v=deep");
    EXPECT_TRUE(root.ReadFromStream(stream) == Ok && copy.CopyDir(root));
    EXPECT_STREQ(copy.GetValue((path + "v").c_str()), "deep");
    EXPECT_TRUE(copy.SetValue((path + "w").c_str(), "made") && copy.Delete("d"));
}

}  // namespace
}  // namespace Tova
