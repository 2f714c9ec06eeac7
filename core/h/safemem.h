// safemem.h: text primitives on plain pointers that no input can upset.
//
//     if (SSafeStrICmp(extension, L"rtf") == 0) ...
//     wchar_t name[32];
//     SSafeStrCpy(name, 32, title);                 // always terminated, cut when too long
//
// Value    nothing is kept; a null text counts as an empty one everywhere.
// Threads  any.
// Failure  none throws; a result that does not fit is cut at its last character. Not declared noexcept, so that the fault
//          of a wild pointer can reach a handler as an exception.
// Cost     linear in the texts, whatever they hold, and only up to where the answer is known; long texts go 8
//          characters at a time.
//
// Texts are UTF-16, NUL-terminated unless a length is given; "character" means a code unit and lengths count
// units. Comparisons answer negative, 0 or positive. "Ignoring case" upper-cases a unit at a time by the
// system's table (SUpperChar), the same for every locale.
#ifndef SAFEMEM_H
#define SAFEMEM_H

#include "cvbase.h"

#include <cstddef>

// ---- Length ----

/// Characters before the terminator.
CVCORE_API size_t SSafeStrLen(const wchar_t* text);
/// The same, but looks at `most` characters at the most and returns `most` when there is no NUL among them.
CVCORE_API size_t SSafeStrNLen(const wchar_t* text, size_t most);

// ---- Comparison ----

/// By code units.
CVCORE_API int SSafeStrCmp(const wchar_t* a, const wchar_t* b);
/// At most `count` characters of either.
CVCORE_API int SSafeStrNCmp(const wchar_t* a, const wchar_t* b, size_t count);
/// Ignoring case.
CVCORE_API int SSafeStrICmp(const wchar_t* a, const wchar_t* b);
CVCORE_API int SSafeStrNICmp(const wchar_t* a, const wchar_t* b, size_t count);
/// Whether SSafeStrNbCmp tells upper from lower case.
enum SCaseRule { kMatchCase, kIgnoreCase };
/// Number-aware, at most `count` characters of either: runs of the digits 0-9 compare by value, of whatever
/// length, the rest by code unit (also a digit and another character). Of two texts equal by that, the one
/// whose first differing run has fewer leading zeros comes first. A strict weak order, fit for sorting.
CVCORE_API int SSafeStrNbCmp(const wchar_t* a, const wchar_t* b, size_t count, SCaseRule rule);

/// The same comparisons for texts of known length, in which a NUL is a character like any other.
CVCORE_API int SSafeMemCmp(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength);
CVCORE_API int SSafeMemICmp(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength);

// ---- Search: null when there is nothing. In a null text nothing is found, not even a terminator. ----

/// First and last occurrence of a character. Looking for NUL finds the terminator.
CVCORE_API const wchar_t* SSafeStrChr(const wchar_t* text, wchar_t c);
CVCORE_API const wchar_t* SSafeStrRChr(const wchar_t* text, wchar_t c);
/// First occurrence of a text; an empty one is found at the start.
CVCORE_API const wchar_t* SSafeStrStr(const wchar_t* text, const wchar_t* wanted);
CVCORE_API const wchar_t* SSafeStrIStr(const wchar_t* text, const wchar_t* wanted);
/// The same in a text of known length, in which a NUL is a character like any other.
CVCORE_API const wchar_t* SSafeMemChr(const wchar_t* text, size_t length, wchar_t c);
CVCORE_API const wchar_t* SSafeMemRChr(const wchar_t* text, size_t length, wchar_t c);
CVCORE_API const wchar_t* SSafeMemStr(const wchar_t* text, size_t length, const wchar_t* wanted,
                                      size_t wantedLength);
CVCORE_API const wchar_t* SSafeMemIStr(const wchar_t* text, size_t length, const wchar_t* wanted,
                                       size_t wantedLength);

// ---- Copying into a buffer of a given size ----

/// Copies the text, cut to what fits into `room` characters with the terminator. Returns 1 when it was not
/// cut. A room of 0, or a null buffer, writes nothing and returns 0. The areas may overlap.
CVCORE_API int SSafeStrCpy(wchar_t* to, size_t room, const wchar_t* from);
/// Appends in the same way; a buffer without a terminator within `room` is cut at its last character and
/// returns 0.
CVCORE_API int SSafeStrCat(wchar_t* to, size_t room, const wchar_t* from);

// ---- Case, a unit at a time ----

/// The system's simple mapping of one unit (that of CharUpperW and CharLowerW); the same for every locale.
CVCORE_API wchar_t SUpperChar(wchar_t c);
CVCORE_API wchar_t SLowerChar(wchar_t c);
/// In place.
CVCORE_API void SSafeStrUpper(wchar_t* text, size_t length);
CVCORE_API void SSafeStrLower(wchar_t* text, size_t length);

#endif
