// The tree engine and the typed map over it, against std::map.
#include "smap.h"

#include "sexcept.h"
#include "support/allocfail.h"
#include "support/guardedtext.h"
#include "support/seed.h"
#include "support/stringhelp.h"
#include "support/treecheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

// A container that sits on the engine as a client's would: its entries come from the heap, as many as are allowed.
class HeapTree : public __STree {
public:
    ~HeapTree() override { FreeTree(); }

    using __STree::AddCopy;
    using __STree::operator=;

    int allowed = 1000; ///< entries that can be had
    int live = 0;       ///< payloads constructed and not destroyed
    int copiesUntilThrow = -1;

    bool Has(long key) const { return GetEntry(key) != nullptr; }
    long ValueOf(long key) const { return static_cast<long*>(GetEntry(key)->Payload())[1]; }
    void Remove(long key) { RemoveEntry(GetEntry(key)); }
    void Add(long key, long value)
    {
        const long payload[] = { key, value };
        AddCopy(key, payload);
    }

private:
    Entry* AllocEntry() override
    {
        return allowed-- > 0 ? static_cast<Entry*>(std::malloc(sizeof(Entry) + 2 * sizeof(long))) : nullptr;
    }
    void FreeEntry(Entry* entry) override
    {
        ++allowed;
        std::free(entry);
    }
    void DestroyPayload(void*) override { --live; }
    void CopyPayload(void* payload, const void* value) override
    {
        if (copiesUntilThrow >= 0 && copiesUntilThrow-- == 0)
            throw 1;
        std::memcpy(payload, value, 2 * sizeof(long));
        ++live;
    }
    int CompareKeys(Key a, Key b) const override { return a < b ? -1 : a > b; }
    Key GetKey(const void* payload) const override { return *static_cast<const long*>(payload); }
};

typedef std::map<int, int> Model;
typedef CheckedMap<int, int> IntMap;

void ExpectEqual(const Model& model, const IntMap& map)
{
    ASSERT_EQ("", map.Broken());
    ASSERT_EQ(static_cast<int>(model.size()), map.Count());
    ASSERT_TRUE(
        std::equal(model.begin(), model.end(), map.begin(), map.end(),
                   [](const auto& a, const auto& b) { return a.first == b.key && a.second == b.value; }));
}

} // namespace

TEST(Map, AgreesWithTheStandardMapAndKeepsTheRulesAfterEveryStep)
{
    std::mt19937 random(TestSeed());
    for (const int keys : { 1, 3, 10, 60, 500 }) {
        IntMap map;
        Model model;
        for (int step = 0; step < 4000; ++step) {
            const int key = static_cast<int>(random() % keys), value = static_cast<int>(random());
            // Grows in one half of the run and shrinks in the other.
            if (random() % 3 != (step < 2000 ? 0u : 1u) && (step < 2000 || random() % 2)) {
                ASSERT_EQ(model.count(key) == 0, map.Set(key, value));
                model[key] = value;
            } else {
                ASSERT_EQ(model.erase(key) != 0, map.Remove(key));
            }
            ASSERT_EQ("", map.Broken()) << "keys " << keys << ", step " << step;
            const int probe = static_cast<int>(random() % keys);
            const auto found = model.find(probe);
            int out = -1;
            ASSERT_EQ(found != model.end(), map.Lookup(probe, out));
            ASSERT_EQ(found != model.end(), map.EngineFinds(probe));
            ASSERT_EQ(found != model.end() ? found->second : -1, out);
        }
        ExpectEqual(model, map);
        IntMap copy(map), moved(std::move(copy));
        EXPECT_TRUE(copy.IsEmpty());
        ExpectEqual(model, moved);
        copy = moved;
        copy.Set(-1, 1);
        ExpectEqual(model, moved);
        copy.swap(moved);
        ExpectEqual(model, copy);
        copy.Clear();
        ExpectEqual({}, copy);
        EXPECT_EQ(copy.begin(), copy.end());
    }
}

TEST(Map, PayloadsStayWhereTheyAreWhateverIsRemoved)
{
    std::mt19937 random(TestSeed());
    SMap<int, int> map;
    std::map<int, int*> places;
    for (int key = 0; key < 300; ++key) {
        map.Set(key, key);
        places[key] = map.Find(key);
    }
    std::vector<int> order;
    for (const auto& place : places)
        order.push_back(place.first);
    std::shuffle(order.begin(), order.end(), random);
    for (const int key : order) {
        ASSERT_TRUE(map.Remove(key));
        places.erase(key);
        for (const auto& place : places)
            ASSERT_EQ(place.second, map.Find(place.first));
    }
}

TEST(Map, WalksBothWaysAndFitsTheStandardLibrary)
{
    typedef SMap<SString, int> Map;
    static_assert(std::is_same_v<std::iterator_traits<Map::iterator>::iterator_category,
                                 std::bidirectional_iterator_tag>);
    static_assert(std::is_convertible_v<Map::iterator, Map::const_iterator>);
    static_assert(!std::is_convertible_v<Map::const_iterator, Map::iterator>);
    static_assert(std::is_nothrow_move_constructible_v<Map>);
    Map map{ { L"b", 2 }, { L"c", 3 }, { L"a", 0 }, { L"a", 1 } };
    std::wstring keys;
    for (auto& [key, value] : map) {
        keys += key;
        value *= 10;
    }
    EXPECT_EQ(L"abc", keys);
    const Map& constant = map;
    const auto found =
        std::find_if(constant.begin(), constant.end(), [](const auto& pair) { return pair.value == 20; });
    EXPECT_STREQ(L"b", found->key);
    keys.clear();
    for (auto at = map.rbegin(); at != map.rend(); ++at)
        keys += at->key;
    EXPECT_EQ(L"cba", keys);
    EXPECT_STREQ(L"c", map.Remove(found)->key);
    EXPECT_EQ(nullptr, map.Find(L"b")) << "a plain text is looked up as it is";
    EXPECT_EQ(30, *map.Find(L"c"));
    EXPECT_EQ(nullptr, constant.Find(nullptr));
    ++map[L"c"];
    EXPECT_EQ(31, map[L"c"]);
    EXPECT_EQ(0, map[L""]);
    EXPECT_TRUE(map.Remove(nullptr)) << "null is the empty text";
    EXPECT_FALSE(map.Remove(L"x"));

    SMap<int, std::unique_ptr<int>> owners;
    owners.Set(1, std::make_unique<int>(10));
    SMap<int, std::unique_ptr<int>> taken(std::move(owners));
    EXPECT_EQ(10, **taken.Find(1)) << "values that can only be moved";

    struct Aligned {
        double number = 0.5;
    };
    SMap<char, Aligned> aligned;
    for (char c = 'a'; c < 'z'; ++c)
        EXPECT_EQ(0u, reinterpret_cast<UINT_PTR>(&aligned[c]) % 8) << "as its type asks";
}

TEST(Map, FindsAPlainTextAmongKeysThatHoldNuls)
{
    const SString key(std::wstring_view(L"a\0b", 3));
    SMap<SString, int> map;
    SMap<SString, int, SAscNoCase> noCase;
    map.Set(key, 1);
    noCase.Set(key, 1);
    EXPECT_EQ(nullptr, map.Find(L"a"));
    EXPECT_FALSE(map.Remove(L"a")) << "another key than the one that holds more";
    EXPECT_EQ(nullptr, noCase.Find(L"A"));
    map.Set(L"a", 2);
    noCase.Set(L"A", 2);
    EXPECT_EQ(2, *map.Find(L"a"));
    EXPECT_EQ(2, *noCase.Find(L"a"));
    EXPECT_EQ(1, *map.Find(key));
}

namespace {

// Texts that differ in any of their first units, behind them, in length, or in case only, with units of which a signed number
// would have another order.
std::wstring TextNearAHint(std::mt19937& random)
{
    const wchar_t units[] = { L'\0', L'a', L'A', L'b', L'_', 0x0161, 0x0160, 0x6161, 0x7FFF, 0x8000, 0xFFFF };
    std::wstring text(random() % 12, L'a');
    for (unsigned changes = random() % 3; changes > 0 && !text.empty(); --changes)
        text[random() % text.size()] = units[random() % std::size(units)];
    if (!text.empty() && text[0] == L'\0')
        text.clear(); // as the copy is that a map keeps
    return text;
}

// Against a standard map of the same order, by both ways to ask for a key; plain ones end at a page that cannot be read.
template <class C>
void ExpectOrder(std::wstring (*weight)(std::wstring))
{
    std::mt19937 random(TestSeed());
    GuardedText guarded;
    for (int round = 0; round < 40; ++round) {
        CheckedMap<SString, int, C> map;
        std::map<std::wstring, int> model;
        for (int step = 0; step < 500; ++step) {
            const std::wstring text = TextNearAHint(random);
            const SString key{ std::wstring_view(text) };
            if (random() % 3)
                ASSERT_EQ(model.insert_or_assign(weight(text), step).second, map.Set(key, step)) << text;
            else
                ASSERT_EQ(model.erase(weight(text)) != 0, map.Remove(key)) << text;
        }
        ASSERT_EQ("", map.Broken());
        const CheckedMap<SString, int, C> copy(map);
        auto expected = model.begin();
        ASSERT_EQ(static_cast<int>(model.size()), copy.Count());
        for (const auto& [key, value] : copy)
            ASSERT_EQ(expected++->second, value) << key;
        for (int step = 0; step < 500; ++step) {
            const std::wstring text = TextNearAHint(random);
            const auto found = model.find(weight(text));
            const int* const ours = copy.Find(SString{ std::wstring_view(text) });
            ASSERT_EQ(found != model.end(), ours != nullptr) << text;
            ASSERT_EQ(found != model.end() ? found->second : 0, ours ? *ours : 0) << text;
            ASSERT_EQ(ours != nullptr, copy.EngineFinds(SString{ std::wstring_view(text) }));
            if (text.find(L'\0') == text.npos) {
                ASSERT_EQ(ours, copy.Find(guarded.AtEnd(text.c_str(), text.size() + 1, 0))) << text;
            }
        }
        EXPECT_EQ(copy.Find(L""), copy.Find(nullptr));
    }
}

} // namespace

TEST(Map, OrdersStringKeysByUnitAndIgnoringCase)
{
    ExpectOrder<SAsc<SString>>([](std::wstring text) { return text; });
    ExpectOrder<SAscNoCase>([](std::wstring text) {
        for (wchar_t& c : text)
            c = SUpperChar(c);
        return text;
    });
}

TEST(Map, OrdersAsAClientsOrderThatIsDerivedFromOneOfTheLibrary)
{
    struct Falling : SAsc<SString> {
        static int Compare(const SString& a, const SString& b) { return SAsc<SString>::Compare(b, a); }
    };
    CheckedMap<SString, int, Falling> map;
    for (const wchar_t* key : { L"b", L"a", L"c", L"a" })
        ++map[SString(key)];
    EXPECT_EQ("", map.Broken());
    std::wstring all;
    for (const auto& [key, value] : map)
        all += key[0];
    EXPECT_EQ(L"cba", all);
}

// Such a key was sorted by its own text and became an empty one when it was stored: out of order, and one of several.
TEST(Map, TakesAKeyThatBeginsWithANulForTheEmptyOne)
{
    const SString nul(std::wstring_view(L"\0b", 2)), other(std::wstring_view(L"\0", 1));
    const auto check = [&](auto map) {
        map.Set(L"a", 1);
        map.Set(nul, 2);
        map.Set(SString(), 3);
        map[other] += 40;
        EXPECT_EQ("", map.Broken());
        EXPECT_EQ(2, map.Count());
        for (const SString& key : { nul, other, SString() }) {
            int value = 0;
            EXPECT_TRUE(map.Lookup(key, value));
            EXPECT_EQ(43, value);
        }
        EXPECT_EQ(43, *map.Find(L""));
        EXPECT_TRUE(map.Remove(nul));
        EXPECT_FALSE(map.Remove(SString()));
        EXPECT_EQ(1, map.Count());
    };
    check(CheckedMap<SString, int>());
    check(CheckedMap<SString, int, SAscNoCase>());
}

TEST(Map, HoldsMapsOfItsOwnKindAndTakesOneOfThemForAllOfIt)
{
    struct Node {
        int weight = 0;
        SMap<int, Node> children;
    };
    CheckedMap<int, Node> top;
    for (int i = 0; i < 9; ++i)
        top[4].children[i].weight = 10 * i;
    SMap<int, Node>& asMap = top;
    asMap = top.Find(4)->children; // which ends with the old contents
    EXPECT_EQ("", top.Broken());
    ASSERT_EQ(9, top.Count());
    EXPECT_EQ(80, top.Find(8)->weight);
    top.Find(8)->children[1].weight = 81;
    asMap = std::move(top.Find(8)->children);
    EXPECT_EQ(1, top.Count());
    EXPECT_EQ(81, top.Find(1)->weight);
}

TEST(TreeEngine, AddsReplacesAndRemovesThroughTheTraits)
{
    HeapTree tree;
    tree.Add(5, 50);
    tree.Add(3, 30);
    tree.Add(5, 51);
    EXPECT_EQ(2, tree.Count());
    EXPECT_EQ(51, tree.ValueOf(5));
    EXPECT_EQ(2, tree.live);
    tree.allowed = 0;
    try {
        tree.Add(7, 70);
        ADD_FAILURE() << "there was no memory";
    }
    catch (const SEOutOfMemory& e) {
        EXPECT_NE(nullptr,
                  std::wcsstr(e.GetLocation(), L" core/src/stree(545): __STree::Entry* __STree::BuyEntry("));
    }
    EXPECT_EQ(2, tree.Count());
    tree.allowed = 1000;
    tree.copiesUntilThrow = 0;
    EXPECT_THROW(tree.Add(7, 70), int);
    EXPECT_FALSE(tree.Has(7));
    EXPECT_EQ(2, tree.Count());
    tree.copiesUntilThrow = 0;
    EXPECT_THROW(tree.Add(3, 31), int);
    EXPECT_FALSE(tree.Has(3)) << "its payload was destroyed already";
    EXPECT_EQ(1, tree.Count());
    EXPECT_EQ(1, tree.live);
    tree.Remove(5);
    EXPECT_EQ(0, tree.live);
}

TEST(TreeEngine, CopiesWholeOrNotAtAll)
{
    HeapTree source, target;
    for (long key = 0; key < 100; ++key)
        source.Add(key * 7 % 100, key);
    target.Add(-1, -1);
    for (int n = 0; n < 100; ++n) {
        target.copiesUntilThrow = n;
        EXPECT_THROW(target = source, int);
        ASSERT_TRUE(target.Has(-1));
        ASSERT_EQ(1, target.live);
        ASSERT_EQ(999, target.allowed) << "no entry of the attempt is left";
    }
    target.copiesUntilThrow = -1;
    target = source;
    EXPECT_FALSE(target.Has(-1));
    EXPECT_EQ(100, target.Count());
    EXPECT_EQ(100, target.live);
    EXPECT_EQ(source.ValueOf(42), target.ValueOf(42));
    target.allowed = 0;
    target = *&target; // copies nothing: payloads stay where they are
    EXPECT_EQ(100, target.Count());
}

TEST(Map, WithoutMemoryStaysAsItWas)
{
    typedef CheckedMap<SString, SString> Map;
    const struct {
        const char* name;
        void (*apply)(Map&, const SString& locked);
    } operations[] = {
        { "Set new", [](Map& m, const SString&) { m.Set(L"new", L"value"); } },
        { "Set new, locked", [](Map& m, const SString& locked) { m.Set(locked, locked); } },
        { "Set old, locked", [](Map& m, const SString& locked) { m.Set(L"k3", locked); } },
        { "[]", [](Map& m, const SString&) { m[L"new"] = L"a longer text than before"; } },
        { "copy",
          [](Map& m, const SString&) {
              Map copy(m);
              copy.Set(L"new", L"x");
              m = copy;
          } },
        { "list",
          [](Map& m, const SString&) {
              m = Map{ { L"a", L"b" } };
          } },
    };
    const StringsAtRest rest;
    SString locked(L"locked text");
    locked.Lock();
    int points = 0;
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.name);
        Map map;
        for (const wchar_t* key : { L"k1", L"k2", L"k3" })
            map.Set(key, L"old");
        points += WalkAllocationFailures(
            [&] {
                for (const wchar_t* key : { L"k1", L"k2", L"k3" })
                    map.Set(key, L"old");
                map.Remove(L"new");
                map.Remove(locked);
                map.Remove(L"a");
                SIdleConsumerList::Process().OnIdle(1);
            },
            [&] { operation.apply(map, locked); },
            [&](const AllocationTrial& trial) {
                ASSERT_EQ("", map.Broken());
                if (!trial.error)
                    return;
                EXPECT_TRUE(Threw<SEOutOfMemory>(trial));
                for (const wchar_t* key : { L"k1", L"k2", L"k3" }) {
                    ASSERT_NE(nullptr, map.Find(key));
                    EXPECT_STREQ(L"old", *map.Find(key));
                }
                // operator[] may have added the key before its text could not be stored.
                EXPECT_LE(map.Count(), map.Find(L"new") ? 4 : 3);
            });
        map.Clear();
    }
    EXPECT_GT(points, 0);
}
