// smap.h: SMap, the ordered map with unique keys.
//
//     SMap<SString, long> stock;
//     stock.Set(L"apples", 3);
//     ++stock[L"pears"];
//     long n;
//     if (stock.Lookup(L"apples", n)) ...
//     for (auto& [name, count] : stock)             // in the order of the keys
//
// A key is kept as the copy of what it was set with. A copy of a string that begins with a NUL is empty, so such a key is the
// empty key: set, found and removed as that.
//
// Value    copying copies every pair, in linear time; moving and swapping cost nothing.
// Threads  one map belongs to one thread at a time; reading on several is safe while none writes.
// Failure  what must add an entry throws SEOutOfMemory, or what copying a key or value throws, and leaves the map as it was.
// Cost     16 bytes an entry beside the pair, from a pool, and 16 more where the keys are strings; finding, adding and removing
//          are logarithmic. Pairs never move: pointers and iterators to a pair stay good until that pair is removed.
#ifndef SMAP_H
#define SMAP_H

#include "mapkey.h"
#include "stree.h"

#include <atomic>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

/// What a map keeps of a key and its value.
template <class K, class V>
struct SPair {
    const K key;
    V value;
};

namespace SMapDetail {

/// The types Other and Probe of a comparator; one that nobody has where it names none.
struct NoOther {
    NoOther() = delete;
};
template <class C, class = void>
struct OtherOf {
    typedef NoOther Type;
    typedef NoOther Probe;
};
template <class C>
struct OtherOf<C, std::void_t<typename C::Other>> {
    typedef typename C::Other Type;
    typedef typename C::Probe Probe;
};

/// Whether a comparator has hints.
template <class C, class = void>
constexpr bool kHasHints = false;
template <class C>
constexpr bool kHasHints<C, std::void_t<typename C::Hinted>> = std::is_same_v<typename C::Hinted, C>;

} // namespace SMapDetail

template <class K, class V, class C = SAsc<K>, class P = SPair<K, V>>
class SMap : public __STree {
    template <class Pair>
    class Cursor;
    typedef typename SMapDetail::OtherOf<C>::Probe Probe;

public:
    typedef K key_type;
    typedef V mapped_type;
    typedef P value_type;
    typedef int size_type;
    typedef Cursor<P> iterator;
    typedef Cursor<const P> const_iterator;
    typedef std::reverse_iterator<iterator> reverse_iterator;
    typedef std::reverse_iterator<const_iterator> const_reverse_iterator;
    /// What Find and its kin also take in place of a key.
    typedef typename SMapDetail::OtherOf<C>::Type Other;

    SMap() = default;
    SMap(const SMap& other) : __STree()
    {
        static_assert(std::is_copy_constructible_v<P>, "the values of this map can be moved but not copied");
        __STree::operator=(other);
    }
    SMap(SMap&& other) noexcept { SwapTrees(other); }
    /// Of equal keys the last one's value stays.
    SMap(std::initializer_list<P> pairs)
    {
        try {
            for (const P& pair : pairs)
                Set(pair.key, pair.value);
        }
        catch (...) {
            FreeTree();
            throw;
        }
    }
    ~SMap() override { FreeTree(); }
    SMap& operator=(const SMap& other)
    {
        static_assert(std::is_copy_constructible_v<P>, "the values of this map can be moved but not copied");
        __STree::operator=(other);
        return *this;
    }
    SMap& operator=(SMap&& other) noexcept
    {
        SMap moved(std::move(other));
        SwapTrees(moved);
        return *this;
    }
    void swap(SMap& other) noexcept { SwapTrees(other); }

    // ---- Looking ----

    /// Copies the value of a key out; false and an untouched `value` when there is none.
    bool Lookup(const K& key, V& value) const { return CopyOut(Find(key), value); }
    bool Lookup(Other key, V& value) const { return CopyOut(Find(key), value); }
    /// The value of a key, null when there is none.
    V* Find(const K& key) { return ValueOf(Search(key)); }
    V* Find(Other key) { return ValueOf(Search(Probe(key))); }
    const V* Find(const K& key) const { return ValueOf(Search(key)); }
    const V* Find(Other key) const { return ValueOf(Search(Probe(key))); }

    // ---- Changing ----

    /// Gives a key its value; true when the key is new.
    bool Set(const K& key, const V& value) { return Store(key, value); }
    bool Set(const K& key, V&& value) { return Store(key, std::move(value)); }
    /// The value of a key, added as V() when there is none.
    V& operator[](const K& key)
    {
        Place place;
        Entry* entry = Search(key, place);
        return PairOf(entry ? entry : Add(place, key, V())).value;
    }
    /// Takes a key out; false when there is none.
    bool Remove(const K& key) { return RemoveFound(Search(key)); }
    bool Remove(Other key) { return RemoveFound(Search(Probe(key))); }
    /// Takes the pair at an iterator out and returns an iterator to the next one.
    iterator Remove(const_iterator at)
    {
        iterator next(this, Successor(at.m_entry));
        RemoveEntry(at.m_entry);
        return next;
    }
    void Clear() { FreeTree(); }

    // ---- Walking, in the order of the keys ----

    iterator begin() { return { this, GetMinimum() }; }
    iterator end() { return { this, nullptr }; }
    const_iterator begin() const { return { this, GetMinimum() }; }
    const_iterator end() const { return { this, nullptr }; }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }
    reverse_iterator rbegin() { return reverse_iterator(end()); }
    reverse_iterator rend() { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const { return const_reverse_iterator(begin()); }

protected:
    static P& PairOf(Entry* entry) { return *static_cast<P*>(entry->Payload()); }

    // The descents below ask the comparator directly: the same one that CompareKeys asks, so there is one order.

    template <class Q>
    Entry* Search(const Q& key) const
    {
        Place place;
        return Search(key, place);
    }

    /// Same, and where the key belongs when it is not there.
    template <class Q>
    Entry* Search(const Q& key, Place& place) const
    {
        place = { nullptr, false };
        if constexpr (kHasHints) {
            const STextHint hint = C::HintOf(key);
            for (Entry* entry = Root();; entry = entry->Child(place.right)) {
                entry = Descend(entry, hint, place);
                const int order = entry ? C::Compare(key, PairOf(entry).key) : 0;
                if (order == 0)
                    return entry;
                place = { entry, order > 0 };
            }
        } else {
            Entry* entry = Root();
            Entry* parent = nullptr;
            Entry* const* link = nullptr;
            while (entry) {
                const int order = C::Compare(key, PairOf(entry).key);
                if (order == 0)
                    break;
                parent = entry;
                link = entry->ChildLink(order > 0);
                entry = *link;
            }
            place = { parent, parent && link != parent->ChildLink(false) };
            return entry;
        }
    }

    /// Adds an entry at the place that a search gave.
    template <class Value>
    Entry* Add(Place place, const K& key, Value&& value)
    {
        Entry* entry = BuyEntry(place.parent, kRed);
        try {
            ::new (entry->Payload()) P{ key, std::forward<Value>(value) };
        }
        catch (...) {
            FreeEntry(entry);
            throw;
        }
        SetHint(entry);
        LinkEntry(entry, place);
        return entry;
    }

    // Final, since what stands in front of an entry is this class's own.
    Entry* AllocEntry() final
    {
        SFixedAlloc* const pool = Pool();
        char* block = pool ? static_cast<char*>(pool->TryAlloc()) : nullptr;
        return block ? reinterpret_cast<Entry*>(block + Lead()) : nullptr;
    }
    void FreeEntry(Entry* entry) final { Pool()->Free(reinterpret_cast<char*>(entry) - Lead()); }
    void DestroyPayload(void* payload) override { static_cast<P*>(payload)->~P(); }
    void CopyPayload([[maybe_unused]] void* payload, [[maybe_unused]] const void* value) final
    {
        // Who copies a map of values that cannot be copied is stopped by SMap's own copying.
        if constexpr (std::is_copy_constructible_v<P>) {
            ::new (payload) P(*static_cast<const P*>(value));
            SetHint(EntryOf(payload));
        }
    }
    int CompareKeys(Key a, Key b) const override
    {
        return C::Compare(*reinterpret_cast<const K*>(a), *reinterpret_cast<const K*>(b));
    }
    Key GetKey(const void* payload) const override
    {
        return reinterpret_cast<Key>(&static_cast<const P*>(payload)->key);
    }

private:
    using __STree::GetVoid; // leaves an entry without its hint

    static constexpr bool kHasHints = SMapDetail::kHasHints<C>;

    static void SetHint([[maybe_unused]] Entry* entry) noexcept
    {
        if constexpr (kHasHints)
            ::new (reinterpret_cast<STextHint*>(entry) - 1) STextHint(C::HintOf(PairOf(entry).key));
    }

    // Blocks of a pool stand 4 bytes behind a multiple of 8 where a pointer has 4; what wants 8 is moved on by that. A
    // function, because a value may hold a map of its own kind and is not complete while this class is.
    static constexpr unsigned Gap()
    {
        static_assert(alignof(P) <= 8,
                      "a pair in a map is aligned to 8 bytes at most: keep it behind a pointer");
        return alignof(P) > sizeof(void*) ? 4 : 0;
    }
    // From the beginning of a block to the entry.
    static constexpr unsigned Lead() { return Gap() + (kHasHints ? sizeof(STextHint) : 0); }

    // The pool of the process for entries of this size, remembered in each module that uses the map: an entry may be made
    // by the code of one and freed by that of another.
    static SFixedAlloc* Pool()
    {
        static std::atomic<SFixedAlloc*> s_pool{ nullptr };
        SFixedAlloc* pool = s_pool.load(std::memory_order_relaxed);
        if (S_UNLIKELY(!pool)) {
            pool = SEntryPool(Lead() + sizeof(Entry) + sizeof(P) + Gap());
            s_pool.store(pool, std::memory_order_relaxed);
        }
        return pool;
    }

    static V* ValueOf(Entry* entry) { return entry ? &PairOf(entry).value : nullptr; }
    static bool CopyOut(const V* found, V& value)
    {
        if (!found)
            return false;
        value = *found;
        return true;
    }
    bool RemoveFound(Entry* entry)
    {
        if (!entry)
            return false;
        RemoveEntry(entry);
        return true;
    }
    template <class Value>
    bool Store(const K& key, Value&& value)
    {
        Place place;
        if (Entry* entry = Search(key, place)) {
            PairOf(entry).value =
                std::forward<Value>(value); // assigned, not rebuilt: it may throw and loses nothing
            return false;
        }
        Add(place, key, std::forward<Value>(value));
        return true;
    }

    template <class Pair>
    class Cursor {
    public:
        typedef std::bidirectional_iterator_tag iterator_category;
        typedef P value_type;
        typedef ptrdiff_t difference_type;
        typedef Pair* pointer;
        typedef Pair& reference;

        Cursor() noexcept : m_map(nullptr), m_entry(nullptr) {}
        /// From iterator to const_iterator.
        template <class Other, class = std::enable_if_t<std::is_convertible_v<Other*, Pair*>>>
        Cursor(const Cursor<Other>& other) noexcept : m_map(other.m_map), m_entry(other.m_entry)
        {}

        reference operator*() const { return PairOf(m_entry); }
        pointer operator->() const { return &PairOf(m_entry); }
        Cursor& operator++()
        {
            m_entry = Successor(m_entry);
            return *this;
        }
        Cursor operator++(int)
        {
            Cursor old(*this);
            ++*this;
            return old;
        }
        Cursor& operator--()
        {
            m_entry = m_entry ? Predecessor(m_entry) : m_map->GetMaximum();
            return *this;
        }
        Cursor operator--(int)
        {
            Cursor old(*this);
            --*this;
            return old;
        }
        friend bool operator==(const Cursor& a, const Cursor& b) { return a.m_entry == b.m_entry; }
        friend bool operator!=(const Cursor& a, const Cursor& b) { return a.m_entry != b.m_entry; }

    private:
        friend class SMap;
        template <class>
        friend class Cursor;

        Cursor(const SMap* map, Entry* entry) noexcept : m_map(map), m_entry(entry) {}

        const SMap* m_map;
        Entry* m_entry;
    };
};

template <class K, class V, class C, class P>
void swap(SMap<K, V, C, P>& a, SMap<K, V, C, P>& b) noexcept
{
    a.swap(b);
}

#endif
