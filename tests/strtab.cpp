// The ordered list of strings.
#include "strtab.h"

#include "modstate.h"
#include "sexcept.h"

#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

SString Joined(const SStringTable& table)
{
    return table.Format(L"|");
}
SStringTable Listed(const wchar_t* list, const wchar_t* separators = L";,", wchar_t escape = L'\\')
{
    SStringTable table;
    table.AddFromList(list, separators, escape);
    return table;
}

} // namespace

TEST(StringTable, IsMadeAssignedAndAppended)
{
    const SString strings[] = { L"a", L"b", L"c" };
    SStringTable table(strings, strings + 3), sized(10, 5);
    EXPECT_STREQ(L"a|b|c", Joined(table));
    EXPECT_EQ(0, sized.Count());
    EXPECT_LE(10, sized.Capacity());
    SStringTable copy(table);
    EXPECT_EQ(3, copy.Add(L"d"));
    EXPECT_STREQ(L"a|b|c", Joined(table));
    copy += copy;
    EXPECT_STREQ(L"a|b|c|d|a|b|c|d", Joined(copy));
    copy = copy[1];
    EXPECT_STREQ(L"b", Joined(copy));
    copy += copy[0];
    const wchar_t* const kTexts[] = { L"x", L"y", nullptr, L"z" };
    copy += kTexts;
    EXPECT_STREQ(L"b|b|x|y", Joined(copy));
    copy = kTexts;
    EXPECT_STREQ(L"x|y", Joined(copy));
    copy = static_cast<const wchar_t* const*>(nullptr);
    EXPECT_EQ(0, copy.Count());
    copy.AddFromList(table);
    EXPECT_EQ(table, copy);

    const SStringTable kRising[] = { {}, { L"a" }, { L"a", L"" }, { L"a", L"b" }, { L"b" } };
    for (const SStringTable& a : kRising) {
        for (const SStringTable& b : kRising) {
            EXPECT_EQ(&a < &b, a < b);
            EXPECT_EQ(&a <= &b, a <= b);
            EXPECT_EQ(&a > &b, a > b);
            EXPECT_EQ(&a >= &b, a >= b);
            EXPECT_EQ(&a == &b, a == b);
            EXPECT_EQ(&a != &b, a != b);
        }
    }
}

TEST(StringTable, IsWalkedAndEditedByPositions)
{
    SStringTable table{ L"a", L"b", L"c", L"d" };
    SString walked;
    for (SStringTable::iterator it(table); it; ++it)
        walked += *it;
    for (SStringTable::reverse_iterator it(table); it; it++)
        walked += it->PszStr();
    EXPECT_STREQ(L"abcddcba", walked);
    SStringTable::reverse_iterator back(table);
    ++back;
    EXPECT_EQ(2, back.Index());
    --back;
    --back;
    EXPECT_FALSE(back) << "before the first";
    back.reset();
    EXPECT_STREQ(L"d", *back);
    EXPECT_TRUE(table.Remove(back));
    SStringTable::iterator it(table);
    ++it;
    *it = L"B";
    EXPECT_TRUE(table.MoveTo(it, 0));
    EXPECT_STREQ(L"B|a|c", Joined(table));
    EXPECT_TRUE(table.Remove(it));
    EXPECT_STREQ(L"c", *it) << "the one behind it";
    EXPECT_TRUE(table.Remove(0));
    EXPECT_FALSE(table.Remove(7));
    table.Insert(0, L"x");
    EXPECT_STREQ(L"x|c", Joined(table));
    EXPECT_FALSE(SStringTable::iterator());

    SStringTable many;
    for (int i = 0; i < 100; ++i)
        many.Add(SString((i * 37) % 100 + 100));
    std::sort(many.begin(), many.end());
    EXPECT_TRUE(std::is_sorted(many.begin(), many.end()));
    EXPECT_TRUE(
        std::is_sorted(many.rbegin(), many.rend(), [](const SString& a, const SString& b) { return b < a; }));
    EXPECT_EQ(50, std::lower_bound(many.begin(), many.end(), SString(L"150")) - many.begin());
}

TEST(StringTable, SortsInFiveWaysStably)
{
    const wchar_t* const kList = L"b10,B2,a,ccc,b2,A,b02,bb";
    const struct {
        void (SStringTable::*sort)(int);
        const wchar_t *rising, *falling;
    } kSorts[] = {
        { &SStringTable::Sort, L"A|B2|a|b02|b10|b2|bb|ccc", L"ccc|bb|b2|b10|b02|a|B2|A" },
        { &SStringTable::SortNoCase, L"a|A|b02|b10|B2|b2|bb|ccc", L"ccc|bb|B2|b2|b10|b02|a|A" },
        { &SStringTable::SortOnLength, L"a|A|B2|b2|bb|b10|ccc|b02", L"b10|ccc|b02|B2|b2|bb|a|A" },
        { &SStringTable::SortNumbered, L"A|B2|a|b2|b02|b10|bb|ccc", L"ccc|bb|b10|b02|b2|a|B2|A" },
        { &SStringTable::SortNumberedNoCase, L"a|A|B2|b2|b02|b10|bb|ccc", L"ccc|bb|b10|b02|B2|b2|a|A" },
    };
    for (const auto& c : kSorts) {
        SStringTable table = Listed(kList), shared(table);
        (table.*c.sort)(1);
        EXPECT_STREQ(c.rising, Joined(table));
        table = shared;
        (table.*c.sort)(0);
        EXPECT_STREQ(c.falling, Joined(table));
        EXPECT_EQ(Listed(kList), shared) << "another owner of the block";
        SStringTable().Sort(1);
    }
}

TEST(StringTable, ReadsAndWritesOneLineLists)
{
    const struct {
        const wchar_t *list, *items;
    } kCases[] = {
        { L"a;,b", L"a|b" }, { L"a;;b", L"a||b" },   { L"a\\;b", L"a;b" },     { L"a;b;", L"a|b" },
        { L";a", L"|a" },    { L"a,;,;b", L"a||b" }, { L"a\\\\;b", L"a\\|b" }, { L"a;b\\", L"a|b" },
        { L"a\\b", L"ab" },  { L";", L"" },
    };
    for (const auto& c : kCases)
        EXPECT_STREQ(c.items, Joined(Listed(c.list))) << SString(c.list);
    EXPECT_EQ(0, Listed(L"").Count());
    EXPECT_EQ(1, Listed(L";").Count());
    EXPECT_EQ(3, Listed(L"a;;b").Count());
    EXPECT_EQ(2, Listed(L"a;b", L";", L'\0').Count());

    SStringTable table = Listed(L"x;y");
    table.SetFromList(table[0] + L";z", L";", L'\\');
    EXPECT_STREQ(L"x|z", Joined(table));
    table.SetFromList(table[1], L"z", L'\\');
    EXPECT_EQ(1, table.Count());
    EXPECT_STREQ(L"", SStringTable().GetAsList(L';', L'\\'));
    EXPECT_STREQ(L"a\\;b;c\\\\", SStringTable({ L"a;b", L"c\\" }).GetAsList(L';', L'\\'));
    EXPECT_STREQ(L"a^^--b--c^--d", SStringTable({ L"a^", L"b", L"c--d" }).GetAsList(L"--", L"^"));

    std::mt19937 random(TestSeed());
    for (int round = 0; round < Cases(2000, kMillion); ++round) {
        SStringTable strings;
        for (unsigned n = random() % 6; n > 0; --n) {
            SString text;
            for (unsigned k = random() % 5; k > 0; --k)
                text += L";\\,ab"[random() % 5];
            strings.Add(text);
        }
        strings.Add(L"end"); // an empty last one is lost
        ASSERT_EQ(strings, Listed(strings.GetAsList(L';', L'\\'), L";")) << Joined(strings);
    }
}

TEST(StringTable, TakesListsFromTheResourcesOfTheModuleAtWork)
{
    SStringTable table{ L"old" };
    table.SetFromList(283u, L"r", L'\0');
    EXPECT_STREQ(L"E||o", Joined(table)) << "\"Error\", from the core library";
    SModuleState program(::GetModuleHandleW(nullptr));
    SModuleState::SetCurrent(&program);
    table.SetFromList(283u, L"r", L'\0');
    EXPECT_STREQ(L"E||eu", Joined(table)) << "\"Erreur\", from this program";
    table.SetFromList(9999u, L";", L'\\');
    EXPECT_EQ(0, table.Count());
    SModuleState::SetCurrent(nullptr);
}

TEST(StringTable, IsJoined)
{
    const SStringTable table{ L"a", L"b" };
    EXPECT_STREQ(L"(a - b)", table.Format(L"(", L" - ", L")"));
    EXPECT_STREQ(L"(ab)", table.Format(L"(", L"", L")"));
    EXPECT_STREQ(L"a, b", table.Format());
    EXPECT_STREQ(L"a/b", table.Format(L"/"));
    EXPECT_STREQ(L"> a/b", table.Format(L"> ", L"/"));
    EXPECT_STREQ(L"", SStringTable().Format(L"(", L",", L")"));
}
