// narrowkern.h: the loops between narrow and wide text.
#ifndef NARROWKERN_H
#define NARROWKERN_H

#include "cvbase.h"

#include <cstddef>

namespace NarrowKern {

/// Widens (narrows) from the start while the text is ASCII, and returns how many units were. A NUL is one of them.
size_t CopyAscii(const char* from, size_t count, wchar_t* to);
size_t CopyAscii(const wchar_t* from, size_t count, char* to);
/// Units from the start that are ASCII.
size_t AsciiLength(const char* text, size_t count);
size_t AsciiLength(const wchar_t* text, size_t count);

/// The answer for a text that is not well-formed: its meaning is the system's affair.
inline constexpr size_t kMalformed = ~size_t{ 0 };
/// The answer for an output that is too small.
inline constexpr size_t kNoRoom = ~size_t{ 1 };

/// Well-formed text to the other form; returns the units written. With a null output it only counts.
size_t Utf16To8(const wchar_t* from, size_t count, char* to, size_t room);
size_t Utf8To16(const char* from, size_t count, wchar_t* to, size_t room);

/// Whether bytes below 128 are ASCII in the ANSI code page of the process, as they are in all but a few.
bool AnsiHoldsAscii();

} // namespace NarrowKern

#endif
