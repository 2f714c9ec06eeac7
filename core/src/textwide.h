// textwide.h: the loops that gain from registers of 32 bytes, for processors that have them (AVX2). Each does what the kernel of
// its name in textkern.h does, for kWorthWide characters at least.
#ifndef TEXTWIDE_H
#define TEXTWIDE_H

#include "processor.h"

#include <cstddef>

namespace TextKern {

constexpr size_t kWorthWide = 64;

/// Whether the wide loops are to be used for a text.
inline bool IsWorthWide(size_t length)
{
    return length >= kWorthWide && Processor::HasAvx2();
}

size_t MismatchWide(const wchar_t* a, const wchar_t* b, size_t length);

/// Changes the case of the 26 ASCII letters from `first` on, up to the first step with another character than ASCII; returns
/// how many characters are done.
size_t ChangeAsciiWide(wchar_t* text, size_t length, wchar_t first);

} // namespace TextKern

#endif
