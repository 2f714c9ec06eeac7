// symtab.h: SSymbolTable, named values, several a name where their ids differ.
//
//     SSymbolTable symbols;
//     symbols.Set(L"NAME", 0, L"Ann");
//     if (const SSymbol* symbol = symbols.Find(L"NAME", SSymbolTable::kAnyId)) ...
//
// Value    copying copies the entries and shares the texts.
// Threads  one table belongs to one thread at a time.
// Failure  adding throws SEOutOfMemory and leaves the table as it was.
// Cost     logarithmic. Symbols never move: pointers stay good until theirs is removed.
#ifndef SYMTAB_H
#define SYMTAB_H

#include "smap.h"
#include "strclss.h"

/// What is known under a name and an id.
struct SSymbol {
    SString name;
    long id;
    SString value;
};

class CVCORE_API SSymbolTable {
public:
    /// Stands for every id.
    static constexpr long kAnyId = -2;

    /// Gives the symbol of this name and id its value; true when it is new. Names are told apart by case. A symbol may have
    /// the id kAnyId itself; then only a search for every id finds it.
    bool Set(const SString& name, long id, const SString& value);
    /// The symbol of that name and id; for kAnyId the one with the lowest id. Null when there is none.
    const SSymbol* Find(const SString& name, long id) const;
    /// Takes all symbols of a name out and returns how many there were.
    int Remove(const SString& name);
    void Clear();
    int Count() const { return m_count; }

private:
    typedef SMap<long, SSymbol> SymbolsOfName;

    SMap<SString, SymbolsOfName> m_names;
    int m_count = 0;
};

#endif
