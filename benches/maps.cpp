// maps.cpp: SMap beside the ordered maps of the standard library and of Boost that also keep their entries in place.
#include "bench.h"

#include "smap.h"

#include <boost/container/map.hpp>
#include <boost/intrusive/set.hpp>
#include <boost/pool/pool_alloc.hpp>
#include <boost/pool/singleton_pool.hpp>

#include <map>
#include <vector>

namespace {

typedef std::map<int, int> StdInt;
typedef std::map<int, int, std::less<int>, boost::fast_pool_allocator<std::pair<const int, int>>> StdPoolInt;
typedef boost::container::map<int, int> BoostInt;
typedef SMap<int, int> OurInt;

/// Boost's tree over entries that come from its locked pool.
class LinkedInt {
public:
    ~LinkedInt() { Clear(); }
    void Add(int key, int value)
    {
        typename Set::insert_commit_data place;
        const auto found = m_set.insert_check(key, Less(), place);
        if (found.second)
            m_set.insert_commit(*new (Pool::malloc()) Entry{ {}, key, value }, place);
        else
            found.first->value = value;
    }
    const int* Find(int key) const
    {
        const auto found = m_set.find(key, Less());
        return found == m_set.end() ? nullptr : &found->value;
    }
    void Remove(int key) { m_set.erase_and_dispose(key, Less(), Free); }
    void Clear() { m_set.clear_and_dispose(Free); }

    struct Entry
        : boost::intrusive::set_base_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>> {
        Entry(const set_base_hook& hook, int k, int v) : set_base_hook(hook), key(k), value(v) {}
        int key;
        int value;
        friend bool operator<(const Entry& a, const Entry& b) { return a.key < b.key; }
    };
    typedef boost::intrusive::set<Entry> Set;
    const Set& Entries() const { return m_set; }

private:
    typedef boost::singleton_pool<LinkedInt, sizeof(Entry)> Pool;
    struct Less {
        bool operator()(int a, const Entry& b) const { return a < b.key; }
        bool operator()(const Entry& a, int b) const { return a.key < b; }
    };
    static void Free(Entry* entry) { Pool::free(entry); }

    Set m_set;
};

// ---- What the maps call alike ----

template <class Map, class Key, class Value>
void Add(Map& map, const Key& key, const Value& value)
{
    map.emplace(key, value);
}
void Add(OurInt& map, int key, int value)
{
    map.Set(key, value);
}
void Add(SMap<SString, SString>& map, const SString& key, const SString& value)
{
    map.Set(key, value);
}
void Add(LinkedInt& map, int key, int value)
{
    map.Add(key, value);
}

template <class Map, class Key>
const typename Map::mapped_type* Find(const Map& map, const Key& key)
{
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}
const int* Find(const OurInt& map, int key)
{
    return map.Find(key);
}
const SString* Find(const SMap<SString, SString>& map, const SString& key)
{
    return map.Find(key);
}
const int* Find(const LinkedInt& map, int key)
{
    return map.Find(key);
}

template <class Map>
void Remove(Map& map, int key)
{
    map.erase(key);
}
void Remove(OurInt& map, int key)
{
    map.Remove(key);
}
void Remove(LinkedInt& map, int key)
{
    map.Remove(key);
}

template <class Map>
void Clear(Map& map)
{
    map.clear();
}
void Clear(OurInt& map)
{
    map.Clear();
}
void Clear(SMap<SString, SString>& map)
{
    map.Clear();
}
void Clear(LinkedInt& map)
{
    map.Clear();
}

template <class Map>
unsigned long Total(const Map& map)
{
    unsigned long sum = 0;
    for (const auto& pair : map)
        sum += static_cast<unsigned long>(pair.second);
    return sum;
}
unsigned long Total(const OurInt& map)
{
    unsigned long sum = 0;
    for (const auto& pair : map)
        sum += static_cast<unsigned long>(pair.value);
    return sum;
}
unsigned long Total(const LinkedInt& map)
{
    unsigned long sum = 0;
    for (const auto& entry : map.Entries())
        sum += static_cast<unsigned long>(entry.value);
    return sum;
}

// ---- Numbers as keys ----

/// So many look-ups that the processor does not learn their order and with it every turn in the tree, as it does with the keys
/// of a small map looked for in one order again and again.
const int kLookups = 100000;

/// Orders of the same keys, as many as it takes for the same reason; one after the other, for ever.
class Orders {
public:
    Orders(int count, unsigned seed)
    {
        for (int i = 0; i < std::max(1, kLookups / count); ++i)
            m_orders.push_back(Shuffled(count, seed + static_cast<unsigned>(i)));
    }
    const std::vector<int>& Next() { return m_orders[m_next++ % m_orders.size()]; }

private:
    std::vector<std::vector<int>> m_orders;
    size_t m_next = 0;
};
/// In which keys are put into a map, and in which they are taken out.
template <int count>
Orders& InOrders()
{
    static Orders orders(count, 1);
    return orders;
}
template <int count>
Orders& OutOrders()
{
    static Orders orders(count, 70000);
    return orders;
}

template <int count>
const std::vector<int>& Lookups()
{
    static const std::vector<int> keys = [] {
        Numbers numbers(count);
        std::vector<int> made(kLookups);
        for (int& key : made)
            key = static_cast<int>(numbers.Below(count));
        return made;
    }();
    return keys;
}

/// Small maps are worked on several at a time, or the clock would weigh.
template <int count>
constexpr int kMaps = count >= 2000 ? 1 : 2000 / count;

template <class Map, int count>
void Fill(Map& map)
{
    for (int key : InOrders<count>().Next())
        Add(map, key, key + 1);
}

template <class Map, int count>
Map& Filled()
{
    static Map map;
    static const bool filled = (Fill<Map, count>(map), true);
    static_cast<void>(filled);
    return map;
}

template <class Map, int count>
struct FindInts {
    static constexpr int kKeys = kLookups;
    static unsigned long Do(Run& run)
    {
        const Map& map = Filled<Map, count>();
        const std::vector<int>& keys = Lookups<count>();
        unsigned long sum = 0;
        for (long i = run.n; i > 0; --i) {
            for (int key : keys)
                sum += static_cast<unsigned long>(*Find(map, key));
        }
        return sum;
    }
};

template <class Map, int count>
struct InsertInts {
    static constexpr int kKeys = count * kMaps<count>;
    static unsigned long Do(Run& run)
    {
        InOrders<count>();
        unsigned long sum = 0;
        std::vector<Map> maps(kMaps<count>);
        for (long i = run.n; i > 0; --i) {
            for (Map& map : maps)
                Fill<Map, count>(map);
            run.Pause();
            for (Map& map : maps) {
                sum += static_cast<unsigned long>(*Find(map, count / 2));
                Clear(map);
            }
            run.Resume();
        }
        return sum;
    }
};

template <class Map, int count>
struct EraseInts {
    static constexpr int kKeys = count * kMaps<count>;
    static unsigned long Do(Run& run)
    {
        Orders& orders = OutOrders<count>();
        unsigned long sum = 0;
        std::vector<Map> maps(kMaps<count>);
        for (long i = run.n; i > 0; --i) {
            run.Pause();
            for (Map& map : maps)
                Fill<Map, count>(map);
            run.Resume();
            for (Map& map : maps) {
                for (int key : orders.Next()) {
                    if (key)
                        Remove(map, key);
                }
            }
            run.Pause();
            for (Map& map : maps) {
                sum += Total(map);
                Clear(map);
            }
            run.Resume();
        }
        return sum;
    }
};

template <class Map, int count>
struct IterateInts {
    static constexpr int kKeys = count;
    static unsigned long Do(Run& run)
    {
        const Map& map = Filled<Map, count>();
        unsigned long sum = 0;
        for (long i = run.n; i > 0; --i)
            sum += Total(*Hidden(&map));
        return sum;
    }
};

// ---- Texts as keys: 8 to 24 characters that begin alike in small groups ----

typedef SMap<SString, SString> OurText;
typedef std::map<std::wstring, std::wstring> StdText;
typedef boost::container::map<std::wstring, std::wstring> BoostText;

template <class String, int count>
std::vector<String> MakeTexts(unsigned seed)
{
    std::vector<String> texts;
    for (int i : Shuffled(count, seed)) {
        const unsigned number = static_cast<unsigned>(i);
        texts.push_back(String(
            (Letters(4, number % 50) + std::to_wstring(number) + Letters(4 + number % 12, number)).c_str()));
    }
    return texts;
}

template <class String, int count>
const std::vector<String>& Texts()
{
    static const std::vector<String> texts = MakeTexts<String, count>(1);
    return texts;
}
/// The same in another order, and none shares its buffer with one of the above.
template <class String, int count>
const std::vector<String>& OtherTexts()
{
    static const std::vector<String> texts = MakeTexts<String, count>(7);
    return texts;
}

size_t Length(const SString& text)
{
    return static_cast<size_t>(text.Length());
}
size_t Length(const std::wstring& text)
{
    return text.size();
}

template <class Map, class String, int count>
void FillTexts(Map& map)
{
    for (const String& text : Texts<String, count>())
        Add(map, text, text);
}

template <class Map, class String, int count>
unsigned long FindTexts(Run& run)
{
    static Map map;
    static const bool filled = (FillTexts<Map, String, count>(map), true);
    static_cast<void>(filled);
    const std::vector<String>& keys = OtherTexts<String, count>();
    const std::vector<int>& order = Lookups<count>();
    unsigned long sum = 0;
    for (long i = run.n; i > 0; --i) {
        for (int j : order)
            sum += static_cast<unsigned long>(Length(*Find(map, keys[static_cast<size_t>(j)])));
    }
    return sum;
}

template <class Map, class String, int count>
unsigned long InsertTexts(Run& run)
{
    const std::vector<String>& texts = Texts<String, count>();
    unsigned long sum = 0;
    Map map;
    for (long i = run.n; i > 0; --i) {
        FillTexts<Map, String, count>(map);
        run.Pause();
        sum += static_cast<unsigned long>(Length(*Find(map, texts[count / 2])));
        Clear(map);
        run.Resume();
    }
    return sum;
}

template <template <class, int> class Of, int count>
Row IntRow(const char* key, double goal)
{
    return { key,
             Nanoseconds(Of<OurInt, count>::kKeys),
             AtMost(goal),
             Of<OurInt, count>::Do,
             { { "std::map", Of<StdInt, count>::Do },
               { "std::map + boost pool", Of<StdPoolInt, count>::Do },
               { "boost::container::map", Of<BoostInt, count>::Do },
               { "boost intrusive + pool", Of<LinkedInt, count>::Do } } };
}

/// The same beside std::map alone, for which there is a goal of its own.
template <template <class, int> class Of, int count>
Row StdRow(const char* key, double goal)
{
    return { key,
             Nanoseconds(Of<OurInt, count>::kKeys),
             AtMost(goal),
             Of<OurInt, count>::Do,
             { { "std::map", Of<StdInt, count>::Do } } };
}

template <int count>
Row FindTextRow(const char* key, double goal)
{
    return { key,
             Nanoseconds(kLookups),
             AtMost(goal),
             FindTexts<OurText, SString, count>,
             { { "std::map", FindTexts<StdText, std::wstring, count> },
               { "boost::container::map", FindTexts<BoostText, std::wstring, count> } } };
}

template <int count>
Row InsertTextRow(const char* key, double goal)
{
    return { key,
             Nanoseconds(count),
             AtMost(goal),
             InsertTexts<OurText, SString, count>,
             { { "std::map", InsertTexts<StdText, std::wstring, count> },
               { "boost::container::map", InsertTexts<BoostText, std::wstring, count> } } };
}

const Row kRows[] = {
    IntRow<FindInts, 100>("map.find.int.100", 0.9),
    IntRow<FindInts, 1000>("map.find.int.1000", 0.75),
    IntRow<FindInts, 100000>("map.find.int.100k", 0.5),
    IntRow<InsertInts, 100>("map.insert.int.100", 0.85),
    IntRow<InsertInts, 1000>("map.insert.int.1000", 0.85),
    IntRow<InsertInts, 100000>("map.insert.int.100k", 0.85),
    StdRow<InsertInts, 100>("map.insert.int.100.std", 0.3),
    StdRow<InsertInts, 1000>("map.insert.int.1000.std", 0.3),
    StdRow<InsertInts, 100000>("map.insert.int.100k.std", 0.65),
    IntRow<EraseInts, 100>("map.erase.int.100", 0.85),
    IntRow<EraseInts, 1000>("map.erase.int.1000", 0.85),
    IntRow<EraseInts, 100000>("map.erase.int.100k", 0.85),
    IntRow<IterateInts, 100>("map.iterate.int.100", 1.0),
    IntRow<IterateInts, 1000>("map.iterate.int.1000", 1.0),
    IntRow<IterateInts, 100000>("map.iterate.int.100k", 1.0),
    FindTextRow<1000>("map.find.str.1000", 0.4),
    FindTextRow<100000>("map.find.str.100k", 0.6),
    InsertTextRow<1000>("map.insert.str.1000", 0.3),
    InsertTextRow<100000>("map.insert.str.100k", 0.5),
};

} // namespace

extern const Subject kMaps;
const Subject kMaps = { "maps", [](Bench& bench) { bench.Compare(kRows); } };
