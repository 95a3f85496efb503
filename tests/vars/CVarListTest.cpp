#include "vars/CVarList.h"

#include "tests/support/AllocationFailure.h"
#include "tests/vars/VarsTestSupport.h"
#include "text/NameHash.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>

namespace Tova {
namespace {

using tvtest::Dump;
using tvtest::Fill;

TEST(CVarList, SettingFollowsPlaceAndFixedRules) {
    for (const auto& [sets, expected] : std::vector<std::pair<tvtest::Pairs, const char*>>{
             {{{"a", "1"}, {"b", "2"}, {"A", "0"}, {"a", "3"}}, "a=3;b=2;A=0"},
             {{{"%a", "1"}, {"a", "2"}, {"%a", "3"}}, "%a=1"},
             {{{"a", "1"}, {"%a", "2"}, {"a", "3"}}, "%a=2"},
             {{{"", "1"}, {"%", "2"}, {"", "3"}, {"%%a", "4"}}, "%=2;%%a=4"}}) {
        CVarList list;
        Fill(list, sets);
        EXPECT_EQ(Dump(list), expected);
    }
    CVarList list;
    list.SetValue("yes", true, false);
    list.SetValue("no", false, true);
    list.SetValue("long", 0x1FFFFFFFBL, false);
    list.SetValue("n l", static_cast<const char*>(nullptr), false);
    list.SetValue(nullptr, "x", false);
    EXPECT_EQ(Dump(list), "yes=1;%no=0;long=-5;n l=");
    CString text("before");
    EXPECT_FALSE(list.GetValue("absent", text));
    EXPECT_STREQ(text.CStr(), "");
    EXPECT_EQ(list.GetValues(text), 4);
    EXPECT_STREQ(text.CStr(), "yes=1&no=0&long=-5&n+l=");
}

TEST(CVarList, TakesValuesFromOtherListsAndItself) {
    CVarList list, other;
    Fill(list, {{"a", "long enough not to be the same block"}, {"%Maj", "7"}});
    list.SetValue("a", list.GetValue("a") + 5, false);
    list.SetValue("%%c", "3", false);  // named "%c", so that adding the list to itself adds "c"
    list += list;
    EXPECT_STREQ(list.GetValue("a"), "enough not to be the same block");
    Fill(other, {{"Key", "k"}, {"%a", "new"}, {"Maj", "9"}});
    list += other;
    EXPECT_EQ(Dump(list), "%a=new;%Maj=7;%%c=3;%c=3;Key=k");
}

// Crosses the length from which look-ups are hashed; destruction must not recurse.
TEST(CVarList, LongListsKeepOrderAndFindEverything) {
    CVarList list;
    for (int i = 0; i < 100000; ++i) {
        list.SetValue(std::to_string(i).c_str(), std::to_string(-i).c_str(), false);
        ASSERT_EQ(list.GetValue(std::to_string(i / 2).c_str()), std::to_string(-(i / 2)));
        ASSERT_EQ(list.GetValue("x"), nullptr);
    }
    int i = 0;
    for (const CVar* var = list.First(); var != nullptr; var = var->Next(), ++i) {
        ASSERT_EQ(var->Name(), std::to_string(i));
        ASSERT_EQ(list.FindVar(var->Name()), var);
    }
    EXPECT_EQ(i, 100000);
    list.Empty();
    Fill(list, {{"1", "again"}});
    EXPECT_EQ(Dump(list), "1=again");
}

// Differences in the top bits of two words that could cancel each other.
TEST(CVarList, NobodyCanChooseNamesOfOneHash) {
    constexpr unsigned cPairs = 10;
    std::set<std::uint64_t> hashes;
    for (unsigned chosen = 0; chosen < 1U << cPairs; ++chosen) {
        std::string name(std::size_t{16} * cPairs, 'a');
        for (unsigned pair = 0; pair < cPairs; ++pair) {
            for (const unsigned at : {7U, 11U, 15U}) {
                name[16 * pair + at] = (chosen >> pair & 1) != 0 ? '\xE1' : 'a';
            }
        }
        hashes.insert(HashName(name));
    }
    EXPECT_EQ(hashes.size(), 1U << cPairs);
}

// With 7 variables the next one also makes the table for look-ups, with 12 it grows.
TEST(CVarList, IsAsBeforeWhenAnAllocationFails) {
    for (const int before : {0, 7, 12}) {
        bool failed = true;
        for (int n = 0; failed; ++n) {
            CVarList list;
            for (int i = 0; i < before; ++i) {
                list.SetValue(std::to_string(i).c_str(), "old", false);
            }
            const std::string was = Dump(list);
            {
                const tvtest::FailAllocation fail(n);
                try {
                    list.SetValue("%new", "a value", false);
                } catch (const std::bad_alloc&) {
                }
                failed = fail.HasFailed();
            }
            EXPECT_TRUE(!failed || Dump(list) == was);
            list.SetValue("%new", "a value", false);
            EXPECT_STREQ(list.GetValue("new"), "a value");
        }
    }
}

}  // namespace
}  // namespace Tova
