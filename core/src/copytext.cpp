// copytext.cpp: functions of their own and not in line, for this target's stack: whoever uses vectors and calls others must align
// it first, which takes as long as copying a short text. Here the only call is the last thing done.
#include "copytext.h"

#include "textblock.h"

#include <cwchar>

namespace TextKern {

namespace {

// More than two blocks. Four of them a step: one a step takes three times as long.
S_NOINLINE void CopyBlocks(wchar_t* to, const wchar_t* from, size_t n)
{
    size_t i = 0;
    for (; n - i >= kStepUnits; i += kStepUnits) {
        const Block a = Load(from + i), b = Load(from + i + 8), c = Load(from + i + 16),
                    d = Load(from + i + 24);
        Store(to + i, a);
        Store(to + i + 8, b);
        Store(to + i + 16, c);
        Store(to + i + 24, d);
    }
    for (; n - i >= kBlockUnits; i += kBlockUnits)
        Store(to + i, Load(from + i));
    Store(to + n - kBlockUnits, Load(from + n - kBlockUnits));
}

S_NOINLINE void CopyByRunTime(wchar_t* to, const wchar_t* from, size_t n)
{
    std::wmemcpy(to, from, n);
}

} // namespace

void CopyText(wchar_t* to, const wchar_t* from, size_t n)
{
    constexpr size_t kWorthACall = 2048;
    // Pieces that may overlap each other do for all lengths up to their sum.
    if (n > kWorthACall) {
        CopyByRunTime(to, from, n);
    } else if (n > 2 * kBlockUnits) {
        CopyBlocks(to, from, n);
    } else if (n >= kBlockUnits) {
        const Block first = Load(from), last = Load(from + n - kBlockUnits);
        Store(to, first);
        Store(to + n - kBlockUnits, last);
    } else if (n >= 4) {
        const Block first = LoadHalf(from), last = LoadHalf(from + n - 4);
        StoreHalf(to, first);
        StoreHalf(to + n - 4, last);
    } else if (n > 0) {
        const wchar_t first = UnitAt(from, 0), middle = UnitAt(from, n / 2), last = UnitAt(from, n - 1);
        SetUnitAt(to, 0, first);
        SetUnitAt(to, n / 2, middle);
        SetUnitAt(to, n - 1, last);
    }
}

void MoveText(wchar_t* to, const wchar_t* from, size_t n)
{
    if (from >= to + n || from + n <= to)
        CopyText(to, from, n);
    else
        std::wmemmove(to, from, n);
}

} // namespace TextKern
