// The string maps and their one-line form.
#include "strmap.h"

#include "sexcept.h"
#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

typedef std::vector<std::pair<std::wstring, std::wstring>> Pairs;

template <class Map>
Pairs PairsOf(const Map& map)
{
    Pairs pairs;
    for (const auto& pair : map)
        pairs.emplace_back(Wide(pair.key), Wide(pair.value));
    return pairs;
}

std::wstring RandomText(std::mt19937& random)
{
    std::wstring text(random() % 6, L' ');
    for (wchar_t& c : text)
        c = L"ab=;,\\ \u00e9"[random() % 8];
    return text;
}

} // namespace

TEST(StringMaps, OrderKeysEachTheirWay)
{
    SStringMap sorted;
    SStringMapNoCase noCase;
    SStringUnsortedMap unsorted;
    SStringUnsortedMapNoCase unsortedNoCase;
    for (const wchar_t* key : { L"b", L"C", L"a", L"B", L"b" }) {
        sorted.Set(key, SString(key) + L"!");
        noCase.Set(key, SString(key) + L"!");
        unsorted.Set(key, SString(key) + L"!");
        unsortedNoCase.Set(key, SString(key) + L"!");
    }
    EXPECT_EQ((Pairs{ { L"B", L"B!" }, { L"C", L"C!" }, { L"a", L"a!" }, { L"b", L"b!" } }), PairsOf(sorted));
    EXPECT_EQ((Pairs{ { L"a", L"a!" }, { L"b", L"b!" }, { L"C", L"C!" } }), PairsOf(noCase));
    EXPECT_EQ((Pairs{ { L"b", L"b!" }, { L"C", L"C!" }, { L"a", L"a!" }, { L"B", L"B!" } }),
              PairsOf(unsorted));
    EXPECT_EQ((Pairs{ { L"b", L"b!" }, { L"C", L"C!" }, { L"a", L"a!" } }), PairsOf(unsortedNoCase));

    SStringUnsortedMap copy(unsorted);
    EXPECT_TRUE(unsorted.Remove(L"C"));
    EXPECT_FALSE(unsorted.Remove(SString(L"C")));
    unsorted[L"C"] = L"again";
    EXPECT_EQ((Pairs{ { L"b", L"b!" }, { L"a", L"a!" }, { L"B", L"B!" }, { L"C", L"again" } }),
              PairsOf(unsorted));
    EXPECT_STREQ(L"C", unsorted.GetAt(3).key);
    EXPECT_EQ(4, copy.Count());
    EXPECT_STREQ(L"C!", *copy.Find(L"C"));
    copy = std::move(unsorted);
    EXPECT_TRUE(unsorted.IsEmpty());
    EXPECT_EQ(unsorted.begin(), unsorted.end());
    EXPECT_STREQ(L"again", copy[L"C"]);
    EXPECT_STREQ(L"C", (--copy.end())->key);
    copy.Clear();
    EXPECT_EQ(0, copy.Count());
    copy.Set(L"after", L"clear");
    EXPECT_EQ((Pairs{ { L"after", L"clear" } }), PairsOf(copy));
    SString value;
    EXPECT_TRUE(noCase.Lookup(L"A", value));
    EXPECT_STREQ(L"a!", value);
    EXPECT_TRUE(noCase.Remove(L"c"));
}

TEST(StringMaps, UnsortedAgreesWithAModel)
{
    std::mt19937 random(TestSeed());
    SStringUnsortedMap map;
    Pairs model;
    for (int step = 0; step < 5000; ++step) {
        const std::wstring key = std::to_wstring(random() % 40), value = std::to_wstring(step);
        const auto found =
            std::find_if(model.begin(), model.end(), [&](const auto& pair) { return pair.first == key; });
        if (random() % 2) {
            ASSERT_EQ(found == model.end(), map.Set(key.c_str(), value.c_str()));
            if (found == model.end())
                model.emplace_back(key, value);
            else
                found->second = value;
        } else {
            ASSERT_EQ(found != model.end(), map.Remove(key.c_str()));
            if (found != model.end())
                model.erase(found);
        }
        ASSERT_EQ(model, PairsOf(map));
    }
}

TEST(StringMapLists, ReadByTheRules)
{
    const struct {
        const wchar_t* list;
        Pairs expected;
        int items;
    } cases[] = {
        { L"", {}, 0 },
        { L"a=1;b=2", { { L"a", L"1" }, { L"b", L"2" } }, 2 },
        { L"a=1;,b=2,", { { L"a", L"1" }, { L"b", L"2" } }, 2 },
        { L"a=1;;b=2", { { L"a", L"1" }, { L"", L"" }, { L"b", L"2" } }, 3 },
        { L"a=1;,;b", { { L"a", L"1" }, { L"", L"" }, { L"b", L"" } }, 3 },
        { L"a\\;\\=\\\\=x=\\y\\=z", { { L"a;=\\", L"x=y=z" } }, 1 },
        { L"a=1;a=2;A=3", { { L"a", L"2" }, { L"A", L"3" } }, 3 },
        { L"a=1\\", { { L"a", L"1" } }, 1 },
        { L"=v", { { L"", L"v" } }, 1 },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.list));
        SStringUnsortedMap map;
        EXPECT_EQ(c.items, map.AddFromList(c.list, L";,", L'\\'));
        EXPECT_EQ(c.expected, PairsOf(map));
    }
    SStringMap colons;
    colons.AddFromList(L"a:1|b:2", L"|", L'\0', L':');
    EXPECT_STREQ(L"a:1|b:2", colons.GetAsList(L'|', L'\\', L':'));
    SStringMap map;
    map.Set(L"k;", L"^=1");
    EXPECT_STREQ(L"k^;=^^^=1", map.GetAsList(L";", L"^"));
}

TEST(StringMapLists, ReadAValueOfTheMapThatTheListReplaces)
{
    const SString lines(L'A', 40);
    SStringUnsortedMap map;
    map.Set(L"list", SString(L"list=0;y=") + lines + L";z=B");
    EXPECT_EQ(3, map.AddFromList(*map.Find(L"list"), L";", L'\\'));
    EXPECT_EQ((Pairs{ { L"list", L"0" }, { L"y", Wide(lines) }, { L"z", L"B" } }), PairsOf(map));
}

namespace {

template <class Map>
void GivesBackWhatItTook(std::mt19937& random, const wchar_t* separator)
{
    Map map, back;
    for (unsigned n = random() % 5; n > 0; --n) {
        const SString key(RandomText(random).c_str());
        map.Set(key, RandomText(random).c_str());
    }
    const SString list = map.GetAsList(separator, L"\\");
    ASSERT_EQ(map.Count(), back.AddFromList(list, separator, L'\\')) << list;
    auto expected = map.begin();
    for (const auto& pair : back) {
        ASSERT_EQ((*expected).key, pair.key) << list;
        ASSERT_EQ((*expected).value, pair.value) << list;
        ++expected;
    }
}

} // namespace

TEST(StringMapLists, GiveBackWhatTheyTook)
{
    std::mt19937 random(TestSeed());
    const int cases = Cases(3000, kMillion);
    for (int round = 0; round < cases && !HasFatalFailure(); ++round) {
        if (round % 2 == 0)
            GivesBackWhatItTook<SStringUnsortedMap>(random, L";");
        else
            GivesBackWhatItTook<SStringMapNoCase>(random, L",");
    }
}
