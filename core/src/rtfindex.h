// rtfindex.h: where in a table the first entry with a key stands, without looking at every entry.
#ifndef RTFINDEX_H
#define RTFINDEX_H

#include "smap.h"
#include "strclss.h"

/// For a table that only grows while the index lives. KeyOf::Of(entry) gives the key, KeyOf::Order tells which are equal.
template <class KeyOf>
class RtfIndex {
public:
    /// The first of the table's entries with that key, -1 when there is none.
    template <class Table>
    int Find(const Table& table, const SString& key)
    {
        // A map for a handful of entries costs more than looking at them.
        constexpr int kFew = 8;
        if (table.Count() <= kFew) {
            for (int i = 0; i < table.Count(); ++i) {
                if (KeyOf::Order::Compare(KeyOf::Of(table[i]), key) == 0)
                    return i;
            }
            return -1;
        }
        for (; m_known < table.Count(); ++m_known) {
            const SString known = KeyOf::Of(table[m_known]);
            if (!m_first.Find(known))
                m_first.Set(known, m_known);
        }
        const int* const found = m_first.Find(key);
        return found ? *found : -1;
    }
    /// For a table that has shrunk.
    void Clear()
    {
        m_first.Clear();
        m_known = 0;
    }

private:
    SMap<SString, int, typename KeyOf::Order> m_first;
    int m_known = 0; // entries that are in the map
};

#endif
