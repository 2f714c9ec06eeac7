// strtab.h: SStringTable, an ordered list of strings.
//
//     SStringTable names;
//     names.AddFromList(L"pear;apple,fig", L";,", L'\\');
//     names.Sort(1);
//     for (const SString& name : names) ...
//     SString line = names.Format(L"(", L", ", L")");           // "(apple, fig, pear)"
//
// Value    copies share their block until one is changed. Moving and swapping cost nothing.
// Threads  one table belongs to one thread at a time; tables that share a block too.
// Failure  what must allocate throws SEOutOfMemory and leaves the table as it was; adding from a list or a stream leaves what was
//          added before.
// Cost     as an STable (tablemem.h). Lists are linear in their text, sorts n log n comparisons.
#ifndef STRTAB_H
#define STRTAB_H

#include "sstream.h"
#include "strclss.h"
#include "tablemem.h"

#include <cstddef>
#include <iterator>

class CVCORE_API SStringTable : public STable<SString> {
    typedef STable<SString> Base;

    // Walks one table by position; Step is 1 or -1. Adding and removing elements leave it where it is.
    template <int kStep>
    class Walker {
    public:
        typedef std::random_access_iterator_tag iterator_category;
        typedef SString value_type;
        typedef ptrdiff_t difference_type;
        typedef SString* pointer;
        typedef SString& reference;

        Walker() noexcept : m_table(nullptr), m_at(0) {}
        /// At the first element in its direction.
        Walker(SStringTable& table) noexcept : m_table(&table), m_at(0) { reset(); }
        Walker(SStringTable& table, int at) noexcept : m_table(&table), m_at(at) {}

        /// Back to the first element in its direction.
        void reset() noexcept { m_at = kStep > 0 ? 0 : m_table->Count() - 1; }
        /// Whether it stands at an element.
        explicit operator bool() const noexcept { return m_table && m_at >= 0 && m_at < m_table->Count(); }
        /// The position of the element in the table.
        int Index() const noexcept { return m_at; }

        SString& operator*() const { return (*m_table)[m_at]; }
        SString* operator->() const { return &**this; }
        SString& operator[](ptrdiff_t n) const { return *(*this + n); }
        Walker& operator++() noexcept { return *this += 1; }
        Walker& operator--() noexcept { return *this -= 1; }
        Walker operator++(int) noexcept
        {
            const Walker before(*this);
            ++*this;
            return before;
        }
        Walker operator--(int) noexcept
        {
            const Walker before(*this);
            --*this;
            return before;
        }
        Walker& operator+=(ptrdiff_t n) noexcept
        {
            m_at += static_cast<int>(n) * kStep;
            return *this;
        }
        Walker& operator-=(ptrdiff_t n) noexcept { return *this += -n; }
        Walker operator+(ptrdiff_t n) const noexcept { return Walker(*this) += n; }
        Walker operator-(ptrdiff_t n) const noexcept { return Walker(*this) -= n; }
        friend Walker operator+(ptrdiff_t n, const Walker& walker) noexcept { return walker + n; }
        ptrdiff_t operator-(const Walker& other) const noexcept { return (m_at - other.m_at) * kStep; }
        bool operator==(const Walker& other) const noexcept { return m_at == other.m_at; }
        bool operator!=(const Walker& other) const noexcept { return m_at != other.m_at; }
        bool operator<(const Walker& other) const noexcept { return *this - other < 0; }
        bool operator>(const Walker& other) const noexcept { return other < *this; }
        bool operator<=(const Walker& other) const noexcept { return !(other < *this); }
        bool operator>=(const Walker& other) const noexcept { return !(*this < other); }

    private:
        SStringTable* m_table;
        int m_at;
    };

public:
    typedef Walker<1> iterator;
    typedef Walker<-1> reverse_iterator;

    SStringTable() noexcept = default;
    /// With room for `capacity` strings. The second number is taken and not used: growth is the table's.
    SStringTable(int capacity, int growBy);
    /// The strings from `first` up to, not including, `last`.
    SStringTable(const SString* first, const SString* last);
    SStringTable(std::initializer_list<SString> strings) : Base(strings) {}
    SStringTable(const SStringTable&) noexcept = default;
    SStringTable(SStringTable&&) noexcept = default;
    SStringTable& operator=(const SStringTable&) noexcept = default;
    SStringTable& operator=(SStringTable&&) noexcept = default;
    /// The one string, or the strings up to a null pointer (a null array is none), instead of what was there.
    SStringTable& operator=(const SString& text);
    SStringTable& operator=(const wchar_t* const* texts);
    /// The same behind what is there. A table may be added to itself.
    SStringTable& operator+=(const SStringTable& table);
    SStringTable& operator+=(const SString& text);
    SStringTable& operator+=(const wchar_t* const* texts);

    // ---- Walking ----

    // An iterator is a position in one table: it can be made of a table, asked whether it stands at an element, and given to
    // Remove and MoveTo. It stays good while strings come and go. A const table is walked by plain pointers.

    iterator begin() noexcept { return iterator(*this, 0); }
    iterator end() noexcept { return iterator(*this, Count()); }
    const SString* begin() const { return Base::begin(); }
    const SString* end() const { return Base::end(); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(*this); }
    reverse_iterator rend() noexcept { return reverse_iterator(*this, -1); }

    // ---- Editing: see also Add, Insert, Swap, Reverse, Clear of STable ----

    using Base::MoveTo;
    using Base::Remove;
    /// Takes the element out; the cursor then stands at the one behind it (in the table's order).
    bool Remove(const iterator& at) { return Base::Remove(at.Index()); }
    bool Remove(const reverse_iterator& at) { return Base::Remove(at.Index()); }
    bool MoveTo(const iterator& from, int to) { return Base::MoveTo(from.Index(), to); }

    // ---- Comparison: by the first strings that differ, else the shorter table comes first ----

    int Compare(const SStringTable& other) const;
    bool operator==(const SStringTable& other) const { return Compare(other) == 0; }
    bool operator!=(const SStringTable& other) const { return Compare(other) != 0; }
    bool operator<(const SStringTable& other) const { return Compare(other) < 0; }
    bool operator>(const SStringTable& other) const { return Compare(other) > 0; }
    bool operator<=(const SStringTable& other) const { return Compare(other) <= 0; }
    bool operator>=(const SStringTable& other) const { return Compare(other) >= 0; }

    // ---- Sorting: rising when `ascending` is not 0, else falling; equal strings keep their order ----

    /// By code unit.
    void Sort(int ascending = 1);
    /// Ignoring case.
    void SortNoCase(int ascending = 1);
    /// By length alone.
    void SortOnLength(int ascending = 1);
    /// Numbers in the texts by their value, as SString::CompareNb and CompareNbNoCase.
    void SortNumbered(int ascending = 1);
    void SortNumberedNoCase(int ascending = 1);

    // ---- The one-line form ----
    // Items stand between separators. The escape character takes the meaning from the character after it.

    /// Appends the items of a list; nothing for an empty one. An item ends at any character of `separators`. Behind that
    /// one other separators are skipped, a repeat of the same one is not and makes an empty item: with ";," the list "a;,b"
    /// has two items, "a;;b" three. An escape at the end of the list ends it; a separator there opens no further item. An
    /// escape of NUL is none.
    void AddFromList(const SString& list, const SString& separators, wchar_t escape);
    /// Appends the strings of another table.
    void AddFromList(const SStringTable& table) { *this += table; }
    /// The same instead of what was there. `list` may be one of the table's strings.
    void SetFromList(const SString& list, const SString& separators, wchar_t escape);
    /// From a string resource of the module at work, or else of the core library (SModuleState::Current); a missing one is an
    /// empty list.
    void SetFromList(unsigned resourceId, const SString& separators, wchar_t escape);
    /// All strings in one line: in each the escapes are doubled and the separators get an escape in front, then a separator
    /// stands between two. Reading it back with the same two characters gives the same strings; only empty strings at the
    /// end are lost.
    SString GetAsList(const SString& separator, const SString& escape) const;
    SString GetAsList(wchar_t separator, wchar_t escape) const;

    // ---- Joining ----

    /// Prefix, the strings with the separator between two, suffix. Of an empty table an empty text, without either. What is not
    /// given: the prefix and the suffix are empty, the separator is ", ".
    SString Format(const SString& prefix, const SString& separator, const SString& suffix) const;
    SString Format() const;
    SString Format(const SString& separator) const;
    SString Format(const SString& prefix, const SString& separator) const;
};

CVCORE_API SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringTable& table);
/// Empties the table and reads its strings. SEEOFException.
CVCORE_API SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringTable& table);

#endif
