#include "tests/registry/RegistryTesting.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace Tova {
namespace {

using tvtest::Dump;

std::string nameOf(const CRegNode* node) {
    return node == nullptr ? "-" : node->GetName();
}

TEST(CRegDir, CreatesFindsAndRefuses) {
    CMemRegistry root;
    EXPECT_TRUE(root.SetValue("a/b/c", "1"));
    EXPECT_TRUE(root.SetValue("v", "x"));
    EXPECT_EQ(Dump(root), "a{b{c='1'}} v='x'");
    CRegDir dir;
    EXPECT_FALSE(root.SetValue("a", "x")) << "a directory";
    EXPECT_FALSE(root.CreateDir("v", dir)) << "a value";
    EXPECT_FALSE(root.CreateDir("v/w", dir)) << "a value on the way";
    EXPECT_FALSE(root.OpenDir("v", dir));
    EXPECT_TRUE(dir.IsEmpty());
    EXPECT_STREQ(root.GetValue("v/anything/at/all"), "x") << "a value swallows the rest";
    EXPECT_EQ(root.GetNodeType("a"), S_RegIsDirectory);
    EXPECT_EQ(root.GetNodeType("a/b/c"), S_RegIsValue);
    for (const char* none : {"", "/", "a/", "a//c", "/b/c", "b", "a/b/cc", "a/b/C"}) {
        EXPECT_EQ(root.GetNodeType(none), ErrNotFound) << none;
    }
    EXPECT_EQ(root.GetValue("a"), nullptr);
    for (const char* bad : {"", "/", "/x", "x//y", "x/", "9", "q/9/r"}) {
        EXPECT_FALSE(root.SetValue(bad, "1")) << bad;
    }
    EXPECT_EQ(Dump(root), "a{b{c='1'}} v='x' x{} q{}") << "what was made on the way stays";
    EXPECT_TRUE(root.Delete("a/b"));
    EXPECT_FALSE(root.Delete("a/b"));
    EXPECT_TRUE(root.CreateSubDir("s/t", dir)) << "one name";
    EXPECT_EQ(Dump(root), "a{} v='x' x{} q{} s/t{}");
}

TEST(CRegDir, InnerSegmentsMatchByPrefixInListOrder) {
    CMemRegistry root;
    root.SetValue("abc/d", "first");
    root.SetValue("ab/d", "second");
    EXPECT_STREQ(root.GetValue("ab/d"), "first");
    EXPECT_STREQ(root.GetValue("a/d"), "first");
    EXPECT_EQ(root.GetValue("abcd/d"), nullptr);
    CRegDir dir;
    ASSERT_TRUE(root.OpenDir("ab", dir)) << "the last segment matches exactly";
    EXPECT_STREQ(dir.GetValue("d"), "second");
    EXPECT_TRUE(root.SetValue("ab/d", "changed")) << "creating finds exactly";
    EXPECT_TRUE(root.Delete("ab/d")) << "deleting does not";
    EXPECT_EQ(Dump(root), "abc{} ab{d='changed'}");
    const CRegNode& node = *root.GetNode();
    EXPECT_EQ(nameOf(node.Find("abx", 2)), "abc");
    EXPECT_EQ(nameOf(node.Find("ab", 0)), "ab");
    EXPECT_EQ(nameOf(node.Find("ab", 9)), "ab") << "a name that ends before the length";
    EXPECT_EQ(nameOf(node.Find("abx", 3)), "-");
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
            const std::size_t length = name.size();
            const CRegNode *exact = nullptr, *prefix = nullptr;
            for (auto entry = model.rbegin(); entry != model.rend(); ++entry) {
                exact = entry->first == name ? entry->second : exact;
                prefix = entry->first.compare(0, length, name) == 0 ? entry->second : prefix;
            }
            ASSERT_EQ(root.Find(name.c_str(), 0), exact);
            ASSERT_EQ(root.Find((name + "z").c_str(), static_cast<int>(length)),
                      length == 0 ? root.Find("z", 0) : prefix);
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
    EXPECT_TRUE(root.SetValue("n", -5L));
    EXPECT_TRUE(root.SetValue("w", 0x100000005L));
    EXPECT_TRUE(root.SetValue("u", ~0UL));
    EXPECT_EQ(Dump(root), "n='-18446744069414584325' w='5' u='18446744073709551615'");
    struct {
        const char* text;
        int number;
        unsigned plain;
    } cases[] = {{"12x", 12, 12},          {"abc", 0, 0},        {"", 0, 0},
                 {" -1", -1, 4294967295U}, {"4294967297", 1, 1}, {"9223372036854775808", -1, 0}};
    for (const auto& c : cases) {
        root.SetValue("n", c.text);
        int number = 7;
        unsigned plain = 7;
        EXPECT_TRUE(root.GetValue("n", number) && root.GetValue("n", plain)) << c.text;
        EXPECT_EQ(number, c.number) << c.text;
        EXPECT_EQ(plain, c.plain) << c.text;
    }
    root.SetValue("n", root.GetValue("w"));
    root.SetValue("n", "swallow");
    root.SetValue("n", root.GetValue("n") + 3);
    EXPECT_STREQ(root.GetValue("n"), "llow") << "from a part of itself";
    root.SetValue("n", static_cast<const char*>(nullptr));
    CString text("kept");
    int number = 7;
    EXPECT_FALSE(root.GetValue("n", text) || root.GetValue("n", number));
    EXPECT_STREQ(text.CStr(), "kept");
    EXPECT_EQ(number, 7);
    EXPECT_EQ(root.GetNodeType("n"), S_RegIsValue);
}

TEST(CRegDir, NameRules) {
    const std::string longest = "a" + std::string(63, '!');
    for (const std::string& good :
         {std::string("a"), std::string("a\r"), std::string("Z/\"#\x80\xFE"), longest}) {
        EXPECT_TRUE(CRegDir::ValidName(good.c_str())) << good;
    }
    for (const std::string& bad :
         {std::string(), std::string("9x"), std::string("a b"), std::string("\xC3\xA9"),
          std::string("a\xFF"), longest + "a", std::string("a\\"), std::string("_")}) {
        EXPECT_FALSE(CRegDir::ValidName(bad.c_str())) << bad;
    }
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
        EXPECT_EQ(name.CStr(), to);
        EXPECT_EQ(name.Length(), static_cast<int>(to.size()));
    }
}

TEST(CRegDir, SegmentsOfAnyLength) {
    CMemRegistry root;
    for (const int length : {64, 65, 79, 80, 5000}) {
        const std::string name(static_cast<std::size_t>(length), 'n');
        const std::string path = "in/" + name + "/v";
        CRegDir dir;
        EXPECT_EQ(root.SetValue(path.c_str(), "1"), length == 64) << length;
        EXPECT_EQ(root.SetValue(name.c_str(), "1"), length == 64) << length;
        EXPECT_EQ(root.GetValue(path.c_str()) != nullptr, length == 64) << length;
        EXPECT_FALSE(root.OpenDir(path.c_str(), dir));
        const char* rest = path.c_str();
        EXPECT_EQ(root.CreateParentDirs(rest, dir), length == 64);
        EXPECT_EQ(rest - path.c_str(), length == 64 ? 3 + 64 + 1 : 3) << "where it failed";
    }
    // Names that are there by other means are found, as far as a segment reaches.
    for (const int length : {79, 80}) {
        CRegNode node(RegNodeType::Directory, nullptr, nullptr, nullptr);
        const std::string name(static_cast<std::size_t>(length), 'n');
        node.AddChild(RegNodeType::Directory, name.c_str(), nullptr);
        CRegDir dir;
        dir.SetNode(&node);
        EXPECT_EQ(dir.SetValue((name + "/v").c_str(), "1"), length == 79);
        EXPECT_EQ(dir.GetNodeType((name + "/v").c_str()) >= 0, length == 79);
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
    EXPECT_EQ(root.GetNodeType("d/e"), S_RegIsDirectory) << "the count frees nothing";

    CString name;
    const char* path = "a/b";
    EXPECT_EQ(empty.GetName(), nullptr);
    EXPECT_EQ(empty.GetNodeType("a"), ErrNotFound);
    EXPECT_EQ(empty.GetValue("a"), nullptr);
    EXPECT_FALSE(empty.OpenDir("a", dir) || empty.CreateSubDir("a", dir) ||
                 empty.CreateDir("a", dir) || empty.CreateParentDirs(path, dir) ||
                 empty.SetValue("a", "b") || empty.SetValue("a", 1L) || empty.GetValue("a", name) ||
                 empty.EnumEntry(0, name) || empty.Delete("a") || empty.CopyDir(root) ||
                 root.CopyDir(empty));
    empty.AddComment("x");
    EXPECT_FALSE(root.OpenDir(nullptr, dir) || root.SetValue(nullptr, "x") ||
                 root.Delete(nullptr) || root.CreateSubDir(nullptr, dir) ||
                 CRegDir::ValidName(nullptr));
    tvtest::TextStream stream("!NWREG 1.0 {\na=1\n");
    EXPECT_EQ(empty.ReadFromStream(stream), Failure);
}

TEST(CRegDir, CopiesDirectories) {
    CMemRegistry from, to;
    from.SetValue("d/x", "1");
    from.AddComment("not copied");
    from.SetValue("v", "2");
    from.SetValue("e/f/g", "3");
    to.SetValue("v", "old");
    to.SetValue("d/y", "kept");
    EXPECT_TRUE(to.CopyDir(from));
    EXPECT_EQ(Dump(to), "v='2' d{y='kept' x='1'} e{f{g='3'}}");
    EXPECT_TRUE(to.CopyDir(to)) << "onto itself";
    CRegDir inner;
    ASSERT_TRUE(to.OpenDir("e/f", inner));
    EXPECT_FALSE(inner.CopyDir(to)) << "into a descendant";
    EXPECT_TRUE(to.CopyDir(inner)) << "of a descendant";
    EXPECT_EQ(Dump(to), "v='2' d{y='kept' x='1'} e{f{g='3'}} g='3'");

    CMemRegistry blocked;
    blocked.SetValue("v/in", "a directory here, a value there");
    blocked.SetValue("e", "a value here, a directory there");
    EXPECT_FALSE(blocked.CopyDir(from));
    EXPECT_EQ(
        Dump(blocked),
        "v{in='a directory here, a value there'} e='a value here, a directory there' d{x='1'}");
    from.SetValue("d/x", static_cast<const char*>(nullptr));
    CMemRegistry stopped;
    EXPECT_FALSE(stopped.CopyDir(from));
    EXPECT_EQ(Dump(stopped), "d{}");
}

TEST(CRegDir, TracksModification) {
    CRegNode root(RegNodeType::Directory, nullptr, "root", nullptr);
    CRegDir dir, b;
    dir.SetNode(&root);
    dir.SetValue("a/b/c", "1");
    dir.SetValue("e/f", "1");
    const auto marks = [&root, &dir] {
        std::string out = root.IsModified() ? "root " : "";
        for (const char* path : {"a", "a/b", "a/b/c", "e", "e/f"}) {
            const CRegNode* node = root.DeepFind(path);
            out += node != nullptr && node->IsModified() ? path + std::string(" ") : "";
        }
        return out;
    };
    EXPECT_EQ(marks(), "root a a/b a/b/c e e/f ");
    root.DeepFind("a")->SetUnmodified();
    EXPECT_EQ(marks(), "root e e/f ");
    dir.SetValue("a/b/c", "1");
    EXPECT_EQ(marks(), "root e e/f ") << "the same text";
    dir.SetValue("a/b/c", "2");
    EXPECT_EQ(marks(), "root a a/b a/b/c e e/f ");
    root.SetUnmodified();
    EXPECT_EQ(marks(), "");
    dir.Delete("a/b/c");
    EXPECT_EQ(marks(), "root a a/b ");
    root.SetUnmodified();
    dir.OpenDir("e", b);
    b.AddComment("x");
    EXPECT_EQ(marks(), "root e ");
}

// A recursion anywhere would run out of stack.
TEST(CRegDir, DepthIsNoMatterOfTheStack) {
    constexpr int levels = 200'000;
    CMemRegistry root;
    CRegDir dir;
    dir = root;
    for (int i = 0; i < levels; ++i) {
        ASSERT_TRUE(dir.CreateSubDir("d", dir));
    }
    dir.SetValue("v", "deep");
    CMemRegistry copy;
    EXPECT_TRUE(copy.CopyDir(root));
    std::string path;
    for (int i = 0; i < levels; ++i) {
        path += "d/";
    }
    EXPECT_STREQ(copy.GetValue((path + "v").c_str()), "deep");
    EXPECT_TRUE(copy.SetValue((path + "w").c_str(), "made"));
    EXPECT_TRUE(copy.Delete("d"));
    EXPECT_EQ(Dump(copy), "");
}

}  // namespace
}  // namespace Tova
