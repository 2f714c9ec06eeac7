// strtab.cpp: the ordered list of strings.
#include "strtab.h"

#include "listtext.h"
#include "modstate.h"
#include "strbuffer.h"

#include <algorithm>

namespace {

constexpr wchar_t kUsualSeparator[] = L", ";

// A falling order compares the other way round instead of turning the result round, so that equal ones keep their order.
template <class Order>
void SortBy(SStringTable& table, int ascending, Order order)
{
    if (table.IsEmpty())
        return;
    SString* const first = &table[0]; // the table's own from here on
    SString* const last = first + table.Count();
    if (ascending)
        std::stable_sort(first, last,
                         [order](const SString& a, const SString& b) { return order(a, b) < 0; });
    else
        std::stable_sort(first, last,
                         [order](const SString& a, const SString& b) { return order(b, a) < 0; });
}

} // namespace

SStringTable::SStringTable(int capacity, int)
{
    if (capacity > 0)
        GrowTo(capacity);
}

SStringTable::SStringTable(const SString* first, const SString* last)
{
    GrowTo(static_cast<int>(last - first));
    for (; first != last; ++first)
        Add(*first);
}

namespace {

// Takes back what was added behind the end, unless it is told that all of it came.
class AllOrNothing {
public:
    explicit AllOrNothing(SStringTable& table) : m_table(table), m_count(table.Count()) {}
    ~AllOrNothing()
    {
        while (m_count >= 0 && m_table.Count() > m_count)
            m_table.Remove(m_table.Count() - 1);
    }
    AllOrNothing(const AllOrNothing&) = delete;
    AllOrNothing& operator=(const AllOrNothing&) = delete;
    void Keep() { m_count = -1; }

private:
    SStringTable& m_table;
    int m_count;
};

} // namespace

SStringTable& SStringTable::operator=(const SString& text)
{
    SStringTable fresh;
    fresh.Add(text);
    return *this = std::move(fresh);
}

SStringTable& SStringTable::operator=(const wchar_t* const* texts)
{
    SStringTable fresh;
    fresh += texts;
    return *this = std::move(fresh);
}

SStringTable& SStringTable::operator+=(const SStringTable& table)
{
    const SStringTable added(table); // may be this one
    AllOrNothing change(*this);
    for (const SString& text : added)
        Add(text);
    change.Keep();
    return *this;
}

SStringTable& SStringTable::operator+=(const SString& text)
{
    Add(text);
    return *this;
}

SStringTable& SStringTable::operator+=(const wchar_t* const* texts)
{
    AllOrNothing change(*this);
    for (; texts && *texts; ++texts)
        Add(SString(*texts));
    change.Keep();
    return *this;
}

int SStringTable::Compare(const SStringTable& other) const
{
    const int common = std::min(Count(), other.Count());
    for (int i = 0; i < common; ++i) {
        const int order = (*this)[i].Compare(other[i]);
        if (order != 0)
            return order;
    }
    return Count() < other.Count() ? -1 : Count() > other.Count();
}

// ---- Sorting ----

void SStringTable::Sort(int ascending)
{
    SortBy(*this, ascending, [](const SString& a, const SString& b) { return a.Compare(b); });
}

void SStringTable::SortNoCase(int ascending)
{
    SortBy(*this, ascending, [](const SString& a, const SString& b) { return a.CompareNoCase(b); });
}

void SStringTable::SortOnLength(int ascending)
{
    SortBy(*this, ascending, [](const SString& a, const SString& b) { return a.Length() - b.Length(); });
}

void SStringTable::SortNumbered(int ascending)
{
    SortBy(*this, ascending, [](const SString& a, const SString& b) { return a.CompareNb(b); });
}

void SStringTable::SortNumberedNoCase(int ascending)
{
    SortBy(*this, ascending, [](const SString& a, const SString& b) { return a.CompareNbNoCase(b); });
}

// ---- The one-line form ----

void SStringTable::AddFromList(const SString& list, const SString& separators, wchar_t escape)
{
    ListReader reader(list, separators, escape);
    for (SString item; reader.Next(&item);)
        Add(std::move(item));
}

void SStringTable::SetFromList(const SString& list, const SString& separators, wchar_t escape)
{
    const SString kept(list), keptSeparators(separators);
    Clear();
    AddFromList(kept, keptSeparators, escape);
}

void SStringTable::SetFromList(unsigned resourceId, const SString& separators, wchar_t escape)
{
    SString list;
    SModuleState::Current().TryLoadString(resourceId, list);
    SetFromList(list, separators, escape);
}

SString SStringTable::GetAsList(const SString& separator, const SString& escape) const
{
    SStringBuffer out;
    for (int i = 0; i < Count(); ++i) {
        if (i > 0)
            out << separator;
        AppendEscaped(out, (*this)[i], escape, { &separator });
    }
    return out.Detach();
}

SString SStringTable::GetAsList(wchar_t separator, wchar_t escape) const
{
    return GetAsList(SString(separator, 1), SString(escape, 1));
}

// ---- Joining ----

SString SStringTable::Format(const SString& prefix, const SString& separator, const SString& suffix) const
{
    if (IsEmpty())
        return SString();
    // As long as it will be, or as long as a text can be: then appending refuses it.
    unsigned long long length = prefix.Length() +
                                static_cast<unsigned long long>(separator.Length()) * (Count() - 1) +
                                suffix.Length();
    for (const SString& item : *this)
        length += static_cast<unsigned>(item.Length());
    SStringBuffer out(static_cast<int>(std::min<unsigned long long>(length, SString::kMaxLength)));
    out << prefix << (*this)[0];
    for (int i = 1; i < Count(); ++i)
        out << separator << (*this)[i];
    out << suffix;
    return out.Detach();
}

SString SStringTable::Format() const
{
    return Format(SString(), kUsualSeparator, SString());
}

SString SStringTable::Format(const SString& separator) const
{
    return Format(SString(), separator, SString());
}

SString SStringTable::Format(const SString& prefix, const SString& separator) const
{
    return Format(prefix, separator, SString());
}

// ---- Streams ----

SOutputBinaryStream& operator<<(SOutputBinaryStream& out, const SStringTable& table)
{
    out << static_cast<unsigned long>(table.Count());
    for (const SString& text : table)
        out << text;
    return out;
}

SInputBinaryStream& operator>>(SInputBinaryStream& in, SStringTable& table)
{
    table.Clear();
    unsigned long count;
    in >> count;
    // Room for what is claimed, as far as there can be so many: a string takes a byte at least.
    constexpr unsigned long kAtOnce = 4096;
    const unsigned long available = in.Available();
    const unsigned long room = std::min({ count, available, kAtOnce });
    if (room > 0)
        table.GrowTo(static_cast<int>(room));
    for (SString text; count > 0; --count) {
        in >> text;
        table.Add(text);
    }
    return in;
}
