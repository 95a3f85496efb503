#include "tests/registry/RegistryTesting.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <tuple>
#include <vector>

namespace Tova {
namespace {

using tvtest::Dump;

std::string nameOf(const CRegNode* node) {
    return node == nullptr ? "-" : node->GetName();
}

// Runs a script and returns what each step came to, and the tree. "p=t" sets a value, "+p" makes a
// directory, "^p" makes a child of this name, "-p" deletes: 1 or 0. ">p" opens a directory and
// shows it, "?p" asks for the type (d, v or -), "$p" for the value.
std::string edit(CRegDir& root, const std::string& script) {
    std::istringstream steps(script);
    std::string out;
    for (std::string step; steps >> step; out += ' ') {
        CRegDir dir;
        const char* path = step.c_str() + 1;
        switch (const std::size_t equals = step.find('='); step[0]) {
        case '+':
            out += root.CreateDir(path, dir) ? '1' : '0';
            break;
        case '^':
            out += root.CreateSubDir(path, dir) ? '1' : '0';
            break;
        case '-':
            out += root.Delete(path) ? '1' : '0';
            break;
        case '>':
            out += root.OpenDir(path, dir) ? "(" + Dump(dir) + ")" : dir.IsEmpty() ? "-" : "!";
            break;
        case '?':
            out += root.GetNodeType(path) == ErrNotFound        ? '-'
                   : root.GetNodeType(path) == S_RegIsDirectory ? 'd'
                   : root.GetNodeType(path) == S_RegIsValue     ? 'v'
                                                                : '!';
            break;
        case '$':
            out += root.GetValue(path) != nullptr ? root.GetValue(path) : "-";
            break;
        default:
            out += root.SetValue(step.substr(0, equals).c_str(), &step[equals + 1]) ? '1' : '0';
        }
    }
    return out + "| " + Dump(root);
}

TEST(CRegDir, CreatesFindsAndRefuses) {
    CMemRegistry root;
    EXPECT_EQ(edit(root, "a/b/c=1 v=x a=x +v +v/w >v"), "1 1 0 0 0 - | a{b{c='1'}} v='x'");
    EXPECT_EQ(edit(root, "?a ?a/b/c ? ?/ ?a/ ?a//c ?/b/c ?b ?a/b/cc ?a/b/C $a $v/any/thing"),
              "d v - - - - - - - - - x | a{b{c='1'}} v='x'");
    // Directories on the way to what fails stay.
    EXPECT_EQ(edit(root, "=1 /=1 /x=1 x//y=1 x/=1 9=1 q/9/r=1 -a/b -a/b ^s/t"),
              "0 0 0 0 0 0 0 1 0 1 | a{} v='x' x{} q{} s/t{}");
}

TEST(CRegDir, InnerSegmentsMatchByPrefixInListOrder) {
    CMemRegistry root;
    EXPECT_EQ(edit(root, "abc/d=1st ab/d=2nd $ab/d $a/d $abcd/d >ab ab/d=made -ab/d"),
              "1 1 1st 1st - (d='2nd') 1 1 | abc{} ab{d='made'}");
    std::string found;
    const std::pair<const char*, int> names[] = {{"abx", 2}, {"ab", 0},   {"ab", 9},
                                                 {"abx", 3}, {"abc", -1}, {"b", 1}};
    for (const auto& [name, length] : names) {
        found += nameOf(root.GetNode()->Find(name, length)) + " ";
    }
    EXPECT_EQ(found, "abc ab ab - abc - ");
}

// A long list answers as a walk along it does, through any order of changes.
TEST(CRegDir, LongListsAnswerAsShortOnes) {
    std::mt19937 random(7);
    const auto below = [&random](std::size_t n) { return random() % n; };
    for (int round = 0; round < 20; ++round) {
        CRegNode root(RegNodeType::Directory, nullptr, "root", nullptr);
        std::vector<std::pair<std::string, CRegNode*>> model;
        for (int step = 0; step < 600; ++step) {
            std::string name;
            for (std::size_t i = below(5); i > 0; --i) {
                name += static_cast<char>('a' + below(3));
            }
            const std::size_t action = below(round % 2 == 0 ? 4 : 7);
            if (action == 0 && !model.empty()) {
                const auto victim = model.begin() + static_cast<long>(below(model.size()));
                delete victim->second;
                model.erase(victim);
            } else if (action == 1) {
                root.AddChild(RegNodeType::Comment, nullptr, name.c_str());
            } else {
                model.emplace_back(name, root.AddChild(RegNodeType::Value, name.c_str(), ""));
            }
            const CRegNode *exact = nullptr, *prefix = nullptr;
            for (auto entry = model.rbegin(); entry != model.rend(); ++entry) {
                exact = entry->first == name ? entry->second : exact;
                prefix = entry->first.starts_with(name) ? entry->second : prefix;
            }
            ASSERT_EQ(root.Find(name.c_str(), 0), exact);
            if (!name.empty()) {
                const int length = static_cast<int>(name.size());
                ASSERT_EQ(root.Find((name + "z").c_str(), length), prefix);
            }
            for (const std::size_t i : {below(700), model.size() / 2 + below(3)}) {
                ASSERT_EQ(root.Index(static_cast<int>(i)),
                          i < model.size() ? model[i].second : nullptr);
            }
            ASSERT_EQ(root.Index(-1), nullptr);
        }
    }
}

TEST(CRegDir, ValuesAsTextsAndNumbers) {
    CMemRegistry root;
    EXPECT_TRUE(root.SetValue("n", -5L) && root.SetValue("w", 0x100000005L) &&
                root.SetValue("u", ~0UL));
    EXPECT_EQ(Dump(root), "n='-18446744069414584325' w='5' u='18446744073709551615'");
    int number = 7;
    unsigned plain = 7;
    const std::tuple<const char*, int, unsigned> numbers[] = {
        {"12x", 12, 12U},         {"abc", 0, 0U},        {"", 0, 0U},
        {" -1", -1, 4294967295U}, {"4294967297", 1, 1U}, {"9223372036854775808", -1, 0U}};
    for (const auto& [text, asInt, asUnsigned] : numbers) {
        root.SetValue("n", text);
        EXPECT_TRUE(root.GetValue("n", number) && root.GetValue("n", plain)) << text;
        EXPECT_EQ(std::pair(number, plain), std::pair(asInt, asUnsigned)) << text;
    }
    root.SetValue("n", root.GetValue("w"));
    root.SetValue("n", "swallow");
    root.SetValue("n", root.GetValue("n") + 3);
    EXPECT_STREQ(root.GetValue("n"), "llow") << "from a part of itself";
    root.SetValue("n", static_cast<const char*>(nullptr));
    CString text("kept");
    EXPECT_FALSE(root.GetValue("n", text) || root.GetValue("n", number));
    EXPECT_EQ(number, -1);
    EXPECT_EQ(edit(root, "?n $n").substr(0, 4) + text.CStr(), "v - kept");
}

TEST(CRegDir, NameRules) {
    const std::string longest = "a" + std::string(63, '!');
    std::string valid;
    for (const std::string& name :
         {std::string("a"), std::string("a\r"), std::string("Z/\"#\x80\xFE"), longest,
          std::string(), std::string("9x"), std::string("a b"), std::string("\xC3\xA9"),
          std::string("a\xFF"), longest + "a", std::string("a\\"), std::string("_")}) {
        valid += CRegDir::ValidName(name.c_str()) ? '1' : '0';
    }
    EXPECT_EQ(valid, "111100000000");
    std::string invalid;
    for (int c = -128; c < 128; ++c) {
        invalid += CRegDir::ValidNameChar(c) ? "" : std::to_string(c) + " ";
    }
    EXPECT_EQ(invalid, "-1 0 9 10 32 59 61 92 123 125 ");
    const std::pair<std::string, std::string> repairs[] = {
        {"9 a;b", "X_a_b"},
        {"", "X"},
        {" ", "X"},
        {"ok\r", "ok\r"},
        {longest + "tail", longest},
        {std::string(80, '\xFF'), "X" + std::string(63, '_')}};
    for (const auto& [from, to] : repairs) {
        CString name(from.c_str());
        CRegDir::FixName(name);
        EXPECT_EQ(std::string(name.CStr(), static_cast<std::size_t>(name.Length())), to);
    }
}

TEST(CRegDir, SegmentsOfAnyLength) {
    for (const int length : {64, 65, 79, 80, 5000}) {
        CMemRegistry root;
        const std::string name(static_cast<std::size_t>(length), 'n'), path = "in/" + name + "/v";
        const std::string steps = path + "=1 " + name + "=1 ?" + path;
        EXPECT_EQ(edit(root, steps).substr(0, 6), length == 64 ? "1 1 v " : "0 0 - ") << length;
        CRegDir dir;
        const char* rest = path.c_str();
        EXPECT_EQ(root.CreateParentDirs(rest, dir), length == 64);
        EXPECT_EQ(rest - path.c_str(), length == 64 ? 3 + 64 + 1 : 3) << "where it failed";
        // A name that is there by other means is found, as far as a segment reaches.
        CRegNode node(RegNodeType::Directory, nullptr, nullptr, nullptr);
        node.AddChild(RegNodeType::Directory, name.c_str(), nullptr);
        dir.SetNode(&node);
        EXPECT_EQ(edit(dir, name + "/v=1 ?" + name + "/v").substr(0, 4),
                  length < 80 ? "1 v " : "0 - ");
    }
}

TEST(CRegDir, HandlesCountAndMayBeEmpty) {
    CMemRegistry root;
    CRegDir empty, dir;
    ASSERT_TRUE(root.CreateDir("d/e", dir));
    {
        const CRegDir copies[] = {dir, dir};
        const CRegDir& same = dir;
        dir = same;
        dir = copies[1];
        EXPECT_EQ(dir.GetNode()->HandleCount(), 3);
    }
    EXPECT_EQ(dir.GetNode()->HandleCount(), 1);
    dir = empty;
    EXPECT_STREQ(dir.GetName(), "e") << "assigning nothing changes nothing";
    EXPECT_TRUE(root.OpenDir("d", dir) && dir.OpenDir("e", dir)) << "into itself";
    EXPECT_EQ(dir.ReleaseNode()->HandleCount(), 0);
    EXPECT_EQ(dir.ReleaseNode(), nullptr);
    EXPECT_EQ(Dump(root), "d{e{}}") << "the count frees nothing";

    CString name;
    const char* path = "a/b";
    EXPECT_EQ(edit(empty, "?a $a >a ^a +a a=b -a"), "- - - 0 0 0 0 | ");
    EXPECT_FALSE(empty.GetName() || empty.CreateParentDirs(path, dir) || empty.SetValue("a", 1L) ||
                 empty.GetValue("a", name) || empty.EnumEntry(0, name) || empty.CopyDir(root) ||
                 root.CopyDir(empty));
    empty.AddComment("x");
    EXPECT_FALSE(root.OpenDir(nullptr, dir) || root.SetValue(nullptr, "x") ||
                 root.Delete(nullptr) || root.CreateSubDir(nullptr, dir) ||
                 CRegDir::ValidName(nullptr));
    tvtest::TextStream stream("!NWREG 1.0 {\na=1\n");
    EXPECT_EQ(empty.ReadFromStream(stream), Failure);
}

TEST(CRegDir, CopiesDirectories) {
    CMemRegistry from, to, blocked, stopped;
    edit(from, "d/x=1 v=2 e/f/g=3");
    from.AddComment("not copied");
    edit(to, "v=old d/y=kept");
    EXPECT_TRUE(to.CopyDir(from) && to.CopyDir(to)) << "also onto itself";
    EXPECT_EQ(Dump(to), "v='2' d{y='kept' x='1'} e{f{g='3'}}");
    CRegDir inner;
    ASSERT_TRUE(to.OpenDir("e/f", inner));
    EXPECT_FALSE(inner.CopyDir(to)) << "into a descendant";
    EXPECT_TRUE(to.CopyDir(inner)) << "of a descendant";
    EXPECT_EQ(Dump(to), "v='2' d{y='kept' x='1'} e{f{g='3'}} g='3'");
    // A value where a directory stands is passed over; a directory where a value stands is the end.
    edit(blocked, "v/in=1 e=2");
    EXPECT_FALSE(blocked.CopyDir(from));
    EXPECT_EQ(Dump(blocked), "v{in='1'} e='2' d{x='1'}");
    from.SetValue("d/x", static_cast<const char*>(nullptr));
    EXPECT_FALSE(stopped.CopyDir(from));
    EXPECT_EQ(Dump(stopped), "d{}");
}

TEST(CRegDir, TracksModification) {
    CRegNode root(RegNodeType::Directory, nullptr, "root", nullptr);
    CRegDir dir, e;
    dir.SetNode(&root);
    // The nodes that are marked after a script.
    const auto marks = [&root, &dir](const std::string& script) {
        edit(dir, script);
        std::string out = root.IsModified() ? "root" : "";
        for (const char* path : {"a", "a/b", "a/b/c", "e", "e/f"}) {
            const CRegNode* node = root.DeepFind(path);
            out += node != nullptr && node->IsModified() ? std::string(" ") + path : "";
        }
        return out;
    };
    EXPECT_EQ(marks("a/b/c=1 e/f=1"), "root a a/b a/b/c e e/f");
    root.DeepFind("a")->SetUnmodified();
    EXPECT_EQ(marks("a/b/c=1"), "root e e/f") << "the same text";
    EXPECT_EQ(marks("a/b/c=2"), "root a a/b a/b/c e e/f");
    root.SetUnmodified();
    EXPECT_EQ(marks(""), "");
    EXPECT_EQ(marks("-a/b/c"), "root a a/b");
    root.SetUnmodified();
    dir.OpenDir("e", e);
    e.AddComment("x");
    EXPECT_EQ(marks(""), "root e");
}

// A recursion anywhere would run out of stack.
TEST(CRegDir, DepthIsNoMatterOfTheStack) {
    std::string text = "!NWREG 1.0 {\n", path;
    for (int i = 0; i < 200'000; ++i) {
        text += "d{";
        path += "d/";
    }
    CMemRegistry root, copy;
    tvtest::TextStream stream(text + "v=deep");
    EXPECT_EQ(root.ReadFromStream(stream), Ok);
    EXPECT_TRUE(copy.CopyDir(root));
    EXPECT_STREQ(copy.GetValue((path + "v").c_str()), "deep");
    EXPECT_TRUE(copy.SetValue((path + "w").c_str(), "made") && copy.Delete("d"));
    EXPECT_EQ(Dump(copy), "");
}

}  // namespace
}  // namespace Tova
