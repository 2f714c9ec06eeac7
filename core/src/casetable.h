// casetable.h: the system's simple case mapping of every code unit, as two tables.
//
// Built on the first use for a unit above 127; ASCII is mapped without them, so a program that stays within
// ASCII never pays for them. Any thread may ask at any time, static initialisation included: nothing waits,
// nothing allocates. Surrogates map to themselves.
#ifndef CASETABLE_H
#define CASETABLE_H

#include "cvbase.h"

#include <atomic>
#include <cstddef>

namespace CaseTable {

constexpr size_t kUnits = 0x10000;
constexpr wchar_t kAsciiEnd = 0x80;

/// The tables are blank until the state is kReady: read them through Upper and Lower, or ask IsReady before a
/// loop.
enum State : int { kUnbuilt, kBeingBuilt, kReady };
extern std::atomic<int> g_state;
extern wchar_t g_upper[kUnits];
extern wchar_t g_lower[kUnits];

/// The same mappings while the tables are not ready; builds them when the unit is not ASCII.
wchar_t UpperUnready(wchar_t c);
wchar_t LowerUnready(wchar_t c);

inline bool IsReady()
{
    return S_LIKELY(g_state.load(std::memory_order_acquire) == kReady);
}
inline wchar_t Upper(wchar_t c)
{
    return IsReady() ? g_upper[c] : UpperUnready(c);
}
inline wchar_t Lower(wchar_t c)
{
    return IsReady() ? g_lower[c] : LowerUnready(c);
}

} // namespace CaseTable

#endif
