// symtab.cpp: named values.
#include "symtab.h"

// Exported for clients that take its address.
constexpr long SSymbolTable::kAnyId;

bool SSymbolTable::Set(const SString& name, long id, const SString& value)
{
    // A name that is added for nothing, because its symbol could not be, goes again.
    const SString kept(name);
    const bool isKnown = m_names.Find(kept) != nullptr;
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
    const SymbolsOfName* const symbols = m_names.Find(name);
    if (!symbols)
        return nullptr;
    return id == kAnyId ? &symbols->begin()->value : symbols->Find(id);
}

int SSymbolTable::Remove(const SString& name)
{
    const SymbolsOfName* const symbols = m_names.Find(name);
    const int count = symbols ? symbols->Count() : 0;
    m_names.Remove(name);
    m_count -= count;
    return count;
}

void SSymbolTable::Clear()
{
    m_names.Clear();
    m_count = 0;
}
