// copytext.h: copying characters. Most texts are short, and for those a call of the run-time's function costs more than the
// copying.
#ifndef COPYTEXT_H
#define COPYTEXT_H

#include "textblock.h"

#include <cwchar>

namespace TextKern {

/// Copies more than two blocks of characters. Four blocks a step: one a step takes three times as long here.
inline void CopyLong(wchar_t* to, const wchar_t* from, size_t n)
{
    constexpr size_t kWorthACall = 2048;
    if (n > kWorthACall) {
        std::wmemcpy(to, from, n);
        return;
    }
    const Block last = Load(from + n - kBlockUnits);
    wchar_t* const end = to + n - kBlockUnits;
    for (; n >= kStepUnits; n -= kStepUnits, from += kStepUnits, to += kStepUnits) {
        const Block a = Load(from), b = Load(from + 8), c = Load(from + 16), d = Load(from + 24);
        Store(to, a);
        Store(to + 8, b);
        Store(to + 16, c);
        Store(to + 24, d);
    }
    for (; n > kBlockUnits; n -= kBlockUnits, from += kBlockUnits, to += kBlockUnits)
        Store(to, Load(from));
    Store(end, last);
}

/// Copies `n` characters that do not overlap.
inline void CopyText(wchar_t* to, const wchar_t* from, size_t n)
{
    // Two pieces that may overlap each other do for a length up to their sum.
    const auto twice = [=](auto piece) {
        decltype(piece) first, last;
        const size_t back = n - sizeof piece / sizeof(wchar_t);
        std::memcpy(&first, from, sizeof first);
        std::memcpy(&last, from + back, sizeof last);
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + back, &last, sizeof last);
    };
    if (n > 2 * kBlockUnits) {
        CopyLong(to, from, n);
    } else if (n >= kBlockUnits) {
        const Block first = Load(from), last = Load(from + n - kBlockUnits);
        Store(to, first);
        Store(to + n - kBlockUnits, last);
    } else if (n >= 4) {
        twice(0.0);
    } else if (n >= 2) {
        twice(0u);
    } else if (n == 1) {
        *to = *from;
    }
}

/// The same for characters that may overlap, as when a part of a text becomes all of it.
inline void MoveText(wchar_t* to, const wchar_t* from, size_t n)
{
    if (from >= to + n || from + n <= to)
        CopyText(to, from, n);
    else
        std::wmemmove(to, from, n);
}

} // namespace TextKern

#endif
