#include "vars/CVarList.h"

#include "tests/vars/VarsTestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>

namespace Tova {
namespace {

using tvtest::Fill;
using tvtest::MakeMutable;
using tvtest::MakeString;
using tvtest::Pairs;
using tvtest::TextOf;

void expectBothForms(const CVarList& list, const std::string& source, const char* delimiters,
                     const std::string& expected, int count) {
    CString text(source.c_str());
    EXPECT_EQ(list.Apply(text, delimiters), count) << source;
    EXPECT_EQ(text.CStr(), expected);
    const auto wide = MakeMutable(source);
    const auto pair = delimiters != nullptr ? MakeString(delimiters) : CFRef<CFStringRef>();
    EXPECT_EQ(list.Apply(wide.Get(), pair.Get()), count) << source;
    EXPECT_EQ(TextOf(wide.Get()), expected);
}

TEST(Substitution, BothFormsGiveTheSame) {
    const struct {
        const char* text;
        const char* delimiters;
        const char* expected;
        int count;
    } cases[] = {
        {"<A><A>", nullptr, "bb", 4},
        {"App> <App <app> <Apps> App", nullptr, "App> <App <app> <Apps> App", 0},
        {"<<App>>", nullptr, "<Calyx>", 1},
        {"<<Empty>App>", nullptr, "Calyx", 2},
        {"<L>App>", nullptr, "Calyx", 2},
        {"<Half>p>", nullptr, "Calyx", 2},
        {"<><Empty>.", nullptr, "none.", 2},
        {"<W>\xE2\x82\xAC<B>", nullptr,
         "caf\xC3\xA9\xE2\x82\xAC"
         "b",
         2},
        {"{App} <App>", "{}", "Calyx <App>", 1},
        {"%App%A%", "%%", "CalyxA%", 1},
        {"<App>", "<", "<App>", 0},
    };
    CVarList list;
    Fill(list, {{"App", "Calyx"},
                {"A", "<B>"},
                {"B", "b"},
                {"Empty", ""},
                {"", "none"},
                {"L", "<"},
                {"Half", "<Ap"},
                {"W", "caf\xC3\xA9"}});
    for (const auto& c : cases) {
        expectBothForms(list, c.text, c.delimiters, c.expected, c.count);
    }
    // Each value lies inside the one before, deeper than the list is long, yet there is an end.
    CVarList deep;
    Fill(deep, {{"A", "A>B"}});
    expectBothForms(deep, "<<<<<A>", nullptr, "A>BBBBB", 5);
    // Where names hold delimiters, placeholders overlap, and the order of the variables decides.
    CVarList outer, inner;
    Fill(outer, {{"a<b", "1"}, {"b", "2"}});
    Fill(inner, {{"b", "2"}, {"a<b", "1"}});
    expectBothForms(outer, "<a<b>", nullptr, "1", 1);
    expectBothForms(inner, "<a<b>", nullptr, "<a2", 1);
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
    EXPECT_EQ(list.First()->Apply(text.Get(), nullptr, MakeString(">").Get()), 0);
    EXPECT_EQ(list.Apply(text.Get(), nullptr), 1);  // what cannot be decoded counts as unknown
    EXPECT_EQ(TextOf(text.Get()), "a<bad>");
}

// The rules as they are stated, with no thought for speed. Nothing when they do not end soon.
struct Outcome {
    std::string text;
    int count = 0;
};
std::optional<Outcome> applyByTheRules(const Pairs& vars, std::string text, const char* pair) {
    int total = 0;
    for (int before = -1; before != total;) {
        before = total;
        if (text.find_first_of(pair) == std::string::npos) {
            break;
        }
        for (const auto& [name, value] : vars) {
            std::size_t pos = 0;
            while (pos <= text.size() && (pos = text.find(name, pos)) != std::string::npos) {
                const std::size_t end = pos + name.size();
                if (pos == 0 || text[pos - 1] != pair[0] || end >= text.size() ||
                    text[end] != pair[1]) {
                    ++pos;
                } else if (++total > 60) {
                    return std::nullopt;
                } else {
                    text.replace(pos - 1, name.size() + 2, value);
                }
            }
        }
    }
    return Outcome{text, total};
}

class RandomTexts {
public:
    explicit RandomTexts(unsigned seed) : random_(seed) {}
    unsigned Below(std::size_t n) { return static_cast<unsigned>(random_() % n); }
    std::string Name(std::string_view alphabet) {
        std::string name(Below(3), ' ');
        for (char& c : name) {
            c = alphabet[Below(alphabet.size())];
        }
        return name;
    }
    // Letters and delimiters and, now and then, a whole placeholder.
    std::string Text(unsigned maxLength) {
        constexpr std::array cPieces{"A", "B", "<", ">", "A", "B", "<", ">", "<A>", "<AB>"};
        std::string text;
        for (unsigned i = Below(maxLength + 1); i > 0; --i) {
            text += cPieces[Below(cPieces.size())];
        }
        return text;
    }

private:
    std::mt19937 random_;
};

// Alphabets so small that values combine with what stands around them into new placeholders.
// TV_SUBSTITUTION_ROUNDS asks for another number of rounds, with a seed of its own.
TEST(Substitution, ScanAndPassesAgreeWithTheRules) {
    const char* wish = std::getenv("TV_SUBSTITUTION_ROUNDS");
    const int rounds = wish != nullptr ? std::atoi(wish) : 20000;
    RandomTexts random(wish != nullptr ? std::random_device()() : 1);
    const struct {
        const char* names;
        const char* pair;
        bool wideToo;
    } kinds[] = {
        {"A", "<>", true},   {"AB", "<>", true},    // the scan serves these
        {"AB", "AB", false}, {"A<>", "<>", false},  // the passes these: names hold delimiters,
        {"AB", "<<", false},                        // or the delimiters are equal
    };
    int nested = 0;
    for (int i = 0; i < rounds; ++i) {
        const auto& kind = kinds[random.Below(std::size(kinds))];
        CVarList list;
        for (unsigned n = random.Below(5); n > 0; --n) {
            list.SetValue(random.Name(kind.names).c_str(), random.Text(4).c_str(), false);
        }
        Pairs vars;
        for (const CVar* var = list.First(); var != nullptr; var = var->Next()) {
            vars.emplace_back(var->Name(), var->Value());
        }
        const std::string source = random.Text(12);
        const std::optional<Outcome> expected = applyByTheRules(vars, source, kind.pair);
        if (!expected) {
            continue;  // a circle, which none of them ends
        }
        nested += expected->count > 1 ? 1 : 0;
        CString text(source.c_str());
        const int count = list.Apply(text, kind.pair);
        const std::string what = source + " " + kind.pair + " " + tvtest::Dump(list);
        ASSERT_EQ(text.CStr() + std::to_string(count),
                  expected->text + std::to_string(expected->count))
            << what;
        if (kind.wideToo) {
            expectBothForms(list, source, kind.pair, expected->text, expected->count);
            ASSERT_FALSE(HasFailure()) << what;
        }
    }
    EXPECT_GT(nested, rounds / 25);
}

// Time that grew with the square of these sizes would show as the test's time-out.
TEST(Substitution, LargeTextsAndListsTakeProportionalTime) {
    constexpr int cCount = 100000;
    CVarList list;
    std::string words, percents;
    for (int i = 0; i < cCount; ++i) {
        list.SetValue(std::to_string(i).c_str(), ("(<" + std::to_string(i + 1) + ">)").c_str(),
                      false);
        words += "<w>";
        percents += i % 4 == 0 ? "%w% " : "";
    }
    Fill(list, {{std::to_string(cCount), "end"}, {"w", "word"}});
    CString text("<0>");
    EXPECT_EQ(list.Apply(text, nullptr), cCount + 1);
    EXPECT_EQ(text.CStr(), std::string(cCount, '(') + "end" + std::string(cCount, ')'));
    text = words.c_str();
    EXPECT_EQ(list.Apply(text, nullptr), cCount);
    text = (std::string(cCount, '<') + "w>>").c_str();
    EXPECT_EQ(list.Apply(text, nullptr), 1);
    // With one delimiter for both ends the passes serve.
    CVarList one;
    Fill(one, {{"w", "word"}});
    text = percents.c_str();
    EXPECT_EQ(one.Apply(text, "%%"), cCount / 4);
    EXPECT_EQ(text.Length(), 5 * cCount / 4);
}

}  // namespace
}  // namespace Tova
