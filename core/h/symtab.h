// symtab.h: SSymbolTable, named values, several a name where their ids differ.
//
//     SSymbolTable symbols;
//     symbols.Set(L"NAME", 0, L"Ann");
//     if (const SSymbol* symbol = symbols.Find(L"NAME", SSymbolTable::kAnyId)) ...
//
// Value    copying copies the entries and shares the texts.
// Threads  one table belongs to one thread at a time.
// Failure  adding throws SEOutOfMemory and leaves the table as it was.
// Cost     logarithmic; constant for a table that is asked more often than it has names while no name comes or goes.
//          Symbols never move: pointers stay good until theirs is removed.
#ifndef SYMTAB_H
#define SYMTAB_H

#include "smap.h"
#include "strclss.h"
#include "tablemem.h"

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
    typedef SMap<SString, SymbolsOfName> Names;

    // Where names stand, by their hash: made when it has been missed often enough, gone when a name comes or goes. It points
    // into one table, so another one never gets it.
    class Index {
    public:
        Index() = default;
        Index(const Index&) noexcept {}
        Index(Index&& other) noexcept { other.Forget(); }
        Index& operator=(const Index&) noexcept
        {
            Forget();
            return *this;
        }
        Index& operator=(Index&& other) noexcept
        {
            Forget();
            other.Forget();
            return *this;
        }
        void Forget() noexcept
        {
            m_slots.Clear();
            m_missed = 0;
        }
        const SymbolsOfName* Find(const Names& names, const SString& name);

    private:
        struct Slot {
            unsigned long hash;
            const Names::value_type* entry;
        };

        bool Make(const Names& names);

        STable<Slot> m_slots; // a power of two of them, half of them free at least
        int m_missed = 0;
    };

    Names m_names;
    int m_count = 0;
    mutable Index m_index;
};

#endif
