// symtab.cpp: named values.
#include "symtab.h"

#include "sexcept.h"

#include <cstring>
#include <utility>

namespace {

unsigned long HashOf(const SString& name)
{
    const wchar_t* at = name;
    const wchar_t* const end = at + SKeyLength(name);
    constexpr unsigned kFactor = 0x9E3779B1; // the golden ratio, which spreads neighbours
    unsigned hash = static_cast<unsigned>(end - at);
    for (; end - at >= 2; at += 2) {
        unsigned two;
        std::memcpy(&two, at, sizeof two);
        hash = (hash ^ two) * kFactor;
        hash ^= hash >> 15;
    }
    if (at != end)
        hash = (hash ^ *at) * kFactor;
    return hash ^ hash >> 16;
}

} // namespace

// ---- SSymbolTable::Index ----

// False when there is no memory: then the names are looked for in the map as before.
bool SSymbolTable::Index::Make(const Names& names)
{
    int count = 8;
    while (count < 2 * names.Count())
        count *= 2;
    try {
        STable<Slot> slots;
        slots.GrowTo(count);
        for (int i = 0; i < count; ++i)
            slots.Add(Slot{ 0, nullptr });
        for (const Names::value_type& entry : names) {
            const unsigned long hash = HashOf(entry.key);
            unsigned long at = hash;
            while (slots[static_cast<int>(at & (count - 1))].entry)
                ++at;
            slots[static_cast<int>(at & (count - 1))] = { hash, &entry };
        }
        m_slots.swap(slots);
        return true;
    }
    catch (const SEOutOfMemory&) {
        m_missed = 0;
        return false;
    }
}

const SSymbolTable::SymbolsOfName* SSymbolTable::Index::Find(const Names& names, const SString& name)
{
    if (m_slots.IsEmpty() && (++m_missed <= names.Count() || !Make(names)))
        return names.Find(name);
    const STable<Slot>& slots = m_slots;
    const unsigned long hash = HashOf(name), last = static_cast<unsigned long>(slots.Count()) - 1;
    constexpr unsigned long kMostSteps =
        16; // names that were chosen for their hash shall not cost more than the map
    for (unsigned long at = hash; at - hash < kMostSteps; ++at) {
        const Slot& slot = slots[static_cast<int>(at & last)];
        if (!slot.entry)
            return nullptr;
        if (slot.hash == hash && SAsc<SString>::Compare(name, slot.entry->key) == 0)
            return &slot.entry->value;
    }
    return names.Find(name);
}

// ---- SSymbolTable ----

// Exported for clients that take its address.
constexpr long SSymbolTable::kAnyId;

bool SSymbolTable::Set(const SString& name, long id, const SString& value)
{
    // A name that is added for nothing, because its symbol could not be, goes again.
    const SString kept(name);
    const bool isKnown = m_names.Find(kept) != nullptr;
    if (!isKnown)
        m_index.Forget();
    try {
        const bool isNew = m_names[kept].Set(id, SSymbol{ kept, id, value });
        m_count += isNew;
        return isNew;
    }
    catch (...) {
        if (!isKnown)
            m_names.Remove(kept);
        throw;
    }
}

const SSymbol* SSymbolTable::Find(const SString& name, long id) const
{
    const SymbolsOfName* const symbols = m_index.Find(m_names, name);
    if (!symbols)
        return nullptr;
    return id == kAnyId ? &symbols->begin()->value : symbols->Find(id);
}

int SSymbolTable::Remove(const SString& name)
{
    const SymbolsOfName* const symbols = m_names.Find(name);
    const int count = symbols ? symbols->Count() : 0;
    m_index.Forget();
    m_names.Remove(name);
    m_count -= count;
    return count;
}

void SSymbolTable::Clear()
{
    m_index.Forget();
    m_names.Clear();
    m_count = 0;
}
