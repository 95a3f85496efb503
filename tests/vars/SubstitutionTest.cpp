#include "vars/CVarList.h"

#include "tests/support/TempHome.h"
#include "tests/vars/SubstitutionRules.h"
#include "tests/vars/VarsTestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>

namespace Tova {
namespace {

using tvtest::Fill;
using tvtest::MakeMutable;
using tvtest::MakeString;
using tvtest::TextOf;

TEST(Substitution, TheDelimitersMayStandInTheText) {
    CVarList list;
    Fill(list, {{"A<", std::string(300, 'x')}, {"B", "b"}});
    CString text("<>|<A<><B>");
    EXPECT_EQ(list.Apply(text, text.CStr()), 2);
    EXPECT_EQ(text.CStr(), "<>|" + std::string(300, 'x') + "b");
}

TEST(Substitution, TheFormsDifferInWhatTheyRefuse) {
    CVarList list;
    Fill(list, {{"A", "a"}, {"bad", "\xFF"}, {"\xFF", "x"}});
    CString eight("<A><bad>");
    EXPECT_EQ(list.Apply(eight, "<>>"), 2);  // a third character does not count here
    EXPECT_STREQ(eight.CStr(), "a\xFF");
    eight = "<A";
    EXPECT_EQ(list.First()->Apply(eight, "<"), 0);  // the end of the text is no delimiter
    const auto text = MakeMutable("<A><bad>");
    EXPECT_EQ(list.Apply(text.Get(), MakeString("<>>").Get()), 0);
    EXPECT_EQ(list.Apply(nullptr, nullptr), 0);
    EXPECT_EQ(list.Apply(text.Get(), nullptr), 1);  // what cannot be decoded counts as unknown
    EXPECT_EQ(TextOf(text.Get()), "a<bad>");
}

// What a list keeps for platform strings follows every change.
TEST(Substitution, PlatformStringsSeeTheLatestValues) {
    CVarList list, other;
    const auto applied = [&list] {
        const auto text = MakeMutable("<A>");
        list.Apply(text.Get(), nullptr);
        return TextOf(text.Get());
    };
    for (const char* value : {"first", "a longer one", "short"}) {
        list.SetValue("A", value, false);
        EXPECT_EQ(applied(), value);
    }
    list.SetValue("A", "\xC3\xA4", true);
    EXPECT_EQ(applied(), "\xC3\xA4");
    {
        const tvtest::ScopedEnv latin("TV_SYSTEM_ENCODING", "ISO-8859-1");
        EXPECT_EQ(applied(), "\xC3\x83\xC2\xA4");
    }
    list.Swap(other);
    EXPECT_EQ(applied(), "<A>");
    list.Swap(other);
    EXPECT_EQ(applied(), "\xC3\xA4");
    list.Empty();
    EXPECT_EQ(applied(), "<A>");
}

// Alphabets so small that values combine with what stands around them into new placeholders. The
// scan serves the first two kinds. The passes serve the others: names hold delimiters, or the
// delimiters are equal.
// TV_SUBSTITUTION_ROUNDS asks for another number of rounds, with a seed of its own.
TEST(Substitution, ScanAndPassesAgreeWithTheRules) {
    const char* wish = std::getenv("TV_SUBSTITUTION_ROUNDS");
    const int rounds = wish != nullptr ? std::atoi(wish) : 20000;
    std::mt19937 random(wish != nullptr ? std::random_device()() : 1);
    const auto below = [&](std::size_t n) { return static_cast<unsigned>(random() % n); };
    const auto compose = [&](const auto& pieces, unsigned maxCount) {
        std::string text;
        for (unsigned i = below(maxCount + 1); i > 0; --i) {
            text += pieces[below(std::size(pieces))];
        }
        return text;
    };
    constexpr std::array cPieces{"A", "B", "<", ">", "A", "B", "<", ">", "<A>", "<AB>"};
    constexpr std::pair<std::string_view, const char*> cKinds[] = {
        {"A", "<>"}, {"AB", "<>"}, {"AB", "AB"}, {"A<>", "<>"}, {"AB", "<<"}};
    int nested = 0;
    for (int i = 0; i < rounds; ++i) {
        const auto& [names, pair] = cKinds[below(std::size(cKinds))];
        CVarList list;
        for (unsigned n = below(5); n > 0; --n) {
            list.SetValue(compose(names, 2).c_str(), compose(cPieces, 4).c_str(), false);
        }
        const std::string source = compose(cPieces, 12);
        const std::string what = source + " " + pair + " " + tvtest::Dump(list);
        // The two forms search inserted values differently, so one may end alone.
        for (const bool isWide : {false, true}) {
            const std::string expected = tvtest::ApplyByTheRules(list, source, pair, isWide);
            CString narrow(source.c_str());
            const auto wide = MakeMutable(source);
            if (!expected.empty()) {
                const int count = isWide ? list.Apply(wide.Get(), MakeString(pair).Get())
                                         : list.Apply(narrow, pair);
                ASSERT_EQ((isWide ? TextOf(wide.Get()) : narrow.CStr()) + std::to_string(count),
                          expected)
                    << what;
                nested += count > 1 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(nested, rounds / 12);
}

}  // namespace
}  // namespace Tova
