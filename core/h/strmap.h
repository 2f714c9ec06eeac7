// strmap.h: maps from strings to strings: SStringMap and SStringMapNoCase in the order of their keys, SStringUnsortedMap and
// SStringUnsortedMapNoCase in the order in which keys were added.
//
//     SStringUnsortedMap settings;
//     settings.AddFromList(L"width=100; title=a\\;b", L"; ", L'\\');
//     settings.Set(L"width", L"120");
//     SString line = settings.GetAsList(L';', L'\\');          // "width=120;title=a\;b"
//
// Value    copying copies the entries and shares the texts; moving and swapping cost nothing.
// Threads  one map belongs to one thread at a time.
// Failure  what must add an entry throws SEOutOfMemory and leaves the map as it was (AddFromList: with the pairs that were
//          added before).
// Cost     40 bytes an entry and its two texts, 4 more in the unsorted ones, where removing is linear.
//
// The one-line form holds "key=value" items between separators. An escape character takes the meaning from the character
// after it; it is written in front of itself, of separators and of the "=" inside a key or value.
#ifndef STRMAP_H
#define STRMAP_H

#include "smap.h"
#include "strbuffer.h"
#include "table.h"

namespace SStringMapDetail {

/// Takes one pair of a list; what it throws passes.
typedef void (*TakePair)(void* map, const SString& key, const SString& value);

// The one-line form, for the four maps.
CVCORE_API int ReadList(const SString& list, const SString& separators, wchar_t escape, wchar_t divider,
                        TakePair take, void* map);
CVCORE_API void AppendToList(SStringBuffer& out, const SString& text, const SString& escape,
                             const SString& separator, const SString& divider);

/// AddFromList and GetAsList over any of the maps.
template <class Map>
class WithListForm {
public:
    /// Adds the pairs of a list in its one-line form and returns how many items it had; of equal keys the last one's
    /// value stays. An item without the divider is a key with an empty value; in one with several, the first counts. Any
    /// character of `separators` ends an item; behind it other separators are skipped, a repeat of the same one is not and
    /// makes an item with an empty key. An escape of NUL is none; an escape at the very end ends the list.
    int AddFromList(const SString& list, const SString& separators, wchar_t escape, wchar_t divider = L'=')
    {
        const TakePair set = [](void* map, const SString& key, const SString& value) {
            static_cast<Map*>(map)->Set(key, value);
        };
        return ReadList(list, separators, escape, divider, set, static_cast<Map*>(this));
    }
    /// The one-line form of all pairs, in the map's order; linear in its length. Reading it back with the same
    /// separator, escape and divider, three different characters, gives the same pairs. An empty escape protects nothing;
    /// of a longer separator only the whole is protected, and reading takes each of its characters for one.
    SString GetAsList(const SString& separator, const SString& escape, wchar_t divider = L'=') const
    {
        const SString mark(divider, 1);
        SStringBuffer out;
        bool isFirst = true;
        for (const SPair<SString, SString>& pair : static_cast<const Map&>(*this)) {
            if (!isFirst)
                out << separator;
            isFirst = false;
            AppendToList(out, pair.key, escape, separator, mark);
            out << mark;
            AppendToList(out, pair.value, escape, separator, mark);
        }
        return out.Detach();
    }
    SString GetAsList(wchar_t separator, wchar_t escape, wchar_t divider = L'=') const
    {
        return GetAsList(SString(separator, 1), SString(escape, 1), divider);
    }
};

} // namespace SStringMapDetail

/// Strings by string, in the order of the keys' code units.
class CVCORE_API SStringMap : public SMap<SString, SString>,
                              public SStringMapDetail::WithListForm<SStringMap> {
public:
    using SMap::SMap;
};

/// The same with keys that differ only in case being one key, which keeps the case it was added with.
class CVCORE_API SStringMapNoCase : public SMap<SString, SString, SAscNoCase>,
                                    public SStringMapDetail::WithListForm<SStringMapNoCase> {
public:
    using SMap::SMap;
};

/// An ordered map that is walked in the order in which its keys were added. A key whose value is replaced keeps its place;
/// one that is removed and added again goes to the end. Pairs never move, but iterators are positions: adding, removing and
/// clearing ends them all.
template <class C>
class SUnsortedMap : protected SMap<SString, SString, C> {
    typedef SMap<SString, SString, C> Base;
    typedef __STree::Entry Entry;
    template <class Pair>
    class Cursor;

public:
    typedef SPair<SString, SString> value_type;
    typedef Cursor<value_type> iterator;
    typedef Cursor<const value_type> const_iterator;

    SUnsortedMap() noexcept : m_order(sizeof(Entry*)) {}
    SUnsortedMap(const SUnsortedMap& other) : SUnsortedMap()
    {
        for (const value_type& pair : other)
            Set(pair.key, pair.value);
    }
    SUnsortedMap(SUnsortedMap&& other) noexcept : Base(std::move(other)), m_order(std::move(other.m_order)) {}
    SUnsortedMap& operator=(const SUnsortedMap& other)
    {
        SUnsortedMap copy(other);
        swap(copy);
        return *this;
    }
    SUnsortedMap& operator=(SUnsortedMap&& other) noexcept
    {
        SUnsortedMap moved(std::move(other));
        swap(moved);
        return *this;
    }
    void swap(SUnsortedMap& other) noexcept
    {
        Base::swap(other);
        m_order.swap(other.m_order);
    }
    friend void swap(SUnsortedMap& a, SUnsortedMap& b) noexcept { a.swap(b); }

    // ---- As SMap has them ----

    using Base::Count;
    using Base::Find;
    using Base::IsEmpty;
    using Base::Lookup;

    bool Set(const SString& key, const SString& value)
    {
        typename Base::Place place;
        if (Entry* entry = Base::Search(key, place)) {
            Base::PairOf(entry).value = value;
            return false;
        }
        Append(key, place, value);
        return true;
    }
    SString& operator[](const SString& key)
    {
        typename Base::Place place;
        Entry* entry = Base::Search(key, place);
        return Base::PairOf(entry ? entry : Append(key, place, SString())).value;
    }
    bool Remove(const SString& key) { return RemoveFound(Base::Search(key)); }
    bool Remove(const wchar_t* key) { return RemoveFound(Base::Search(typename C::Probe(key))); }
    void Clear()
    {
        m_order.FreeData();
        Base::Clear();
    }

    // ---- Walking, in the order of adding ----

    /// The pair at a position of that order, 0 to Count() - 1.
    const value_type& GetAt(int position) const { return Base::PairOf(Places()[position]); }

    iterator begin() { return iterator(Places()); }
    iterator end() { return iterator(Places() + Count()); }
    const_iterator begin() const { return const_iterator(Places()); }
    const_iterator end() const { return const_iterator(Places() + Count()); }

private:
    // The order table: entries as they were added. Never shared, so looking at it makes no copy.
    Entry* const* Places() const { return static_cast<Entry* const*>(m_order.GetAt(0)); }

    Entry* Append(const SString& key, typename Base::Place place, const SString& value)
    {
        // The slot first: when the entry cannot be had, closing it again cannot fail.
        Entry** slot = static_cast<Entry**>(m_order.NewAt(Count()));
        try {
            return *slot = Base::Add(place, key, value);
        }
        catch (...) {
            m_order.Remove(Count());
            throw;
        }
    }
    bool RemoveFound(Entry* entry)
    {
        if (!entry)
            return false;
        int position = 0;
        while (Places()[position] != entry)
            ++position;
        m_order.Remove(position);
        __STree::RemoveEntry(entry);
        return true;
    }

    template <class Pair>
    class Cursor {
    public:
        typedef std::bidirectional_iterator_tag iterator_category;
        typedef SPair<SString, SString> value_type;
        typedef ptrdiff_t difference_type;
        typedef Pair* pointer;
        typedef Pair& reference;

        Cursor() noexcept : m_place(nullptr) {}
        /// From iterator to const_iterator.
        template <class Other, class = std::enable_if_t<std::is_convertible_v<Other*, Pair*>>>
        Cursor(const Cursor<Other>& other) noexcept : m_place(other.m_place)
        {}

        reference operator*() const { return Base::PairOf(*m_place); }
        pointer operator->() const { return &Base::PairOf(*m_place); }
        Cursor& operator++()
        {
            ++m_place;
            return *this;
        }
        Cursor operator++(int) { return Cursor(m_place++); }
        Cursor& operator--()
        {
            --m_place;
            return *this;
        }
        Cursor operator--(int) { return Cursor(m_place--); }
        friend bool operator==(const Cursor& a, const Cursor& b) { return a.m_place == b.m_place; }
        friend bool operator!=(const Cursor& a, const Cursor& b) { return a.m_place != b.m_place; }

    private:
        friend class SUnsortedMap;
        template <class>
        friend class Cursor;

        explicit Cursor(Entry* const* place) noexcept : m_place(place) {}

        Entry* const* m_place;
    };

    __STableDumb m_order;
};

/// Strings by string, in the order of adding.
class CVCORE_API SStringUnsortedMap : public SUnsortedMap<SAsc<SString>>,
                                      public SStringMapDetail::WithListForm<SStringUnsortedMap> {};

/// The same with keys that differ only in case being one key, which keeps the case it was added with.
class CVCORE_API SStringUnsortedMapNoCase : public SUnsortedMap<SAscNoCase>,
                                            public SStringMapDetail::WithListForm<SStringUnsortedMapNoCase> {
};

#endif
