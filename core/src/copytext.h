// copytext.h: copying characters. Most texts are short, and for those a call of the run-time's function costs more than the
// copying.
#ifndef COPYTEXT_H
#define COPYTEXT_H

#include "textblock.h"

#include <cwchar>

namespace TextKern {

/// Copies `n` characters that do not overlap.
inline void CopyText(wchar_t* to, const wchar_t* from, size_t n)
{
    constexpr size_t kWorthACall = 256;
    // Two pieces that may overlap each other do for a length up to their sum.
    const auto twice = [=](auto piece) {
        decltype(piece) first, last;
        const size_t back = n - sizeof piece / sizeof(wchar_t);
        std::memcpy(&first, from, sizeof first);
        std::memcpy(&last, from + back, sizeof last);
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + back, &last, sizeof last);
    };
    if (n > kWorthACall) {
        std::wmemcpy(to, from, n);
    } else if (n >= kBlockUnits) {
        const Block last = Load(from + n - kBlockUnits);
        for (size_t i = 0; i < n - kBlockUnits; i += kBlockUnits)
            Store(to + i, Load(from + i));
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
