// textkern.h: the loops over characters that everything above is fast by.
//
// Texts are given by pointer and length, may hold NULs and may stand at odd addresses; nothing outside of
// them is read. The few that search for a terminator read whole blocks of 16 aligned bytes (64 where that is
// measurably better), and only such that hold a character of the text, so they never touch a page that the
// text does not reach.
//
// No kernel keeps anything, allocates, or needs anything initialised: static objects of other modules use
// them first. All are plain functions, so that wider ones can be chosen at run time through a table of
// pointers.
#ifndef TEXTKERN_H
#define TEXTKERN_H

#include "cvbase.h"

#include <cstddef>

namespace TextKern {

// ---- Texts with a terminator ----

/// Units before the NUL, at most `most`.
size_t Length(const wchar_t* text, size_t most);
/// The first `c` or the NUL, whichever comes first.
const wchar_t* FindCharOrEnd(const wchar_t* text, wchar_t c);
/// Order of at most `most` units of each; the texts end at their NUL.
int CompareTerminated(const wchar_t* a, const wchar_t* b, size_t most);
int CompareTerminatedNoCase(const wchar_t* a, const wchar_t* b, size_t most);

// ---- Comparison ----

/// Order of two texts: the first different unit decides, else the shorter one comes first.
int Compare(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength);
/// The same by upper-cased units.
int CompareNoCase(const wchar_t* a, size_t aLength, const wchar_t* b, size_t bLength);
/// Position of the first difference of two texts of the same length; `length` when there is none.
size_t Mismatch(const wchar_t* a, const wchar_t* b, size_t length);
/// The same by upper-cased units.
size_t MismatchNoCase(const wchar_t* a, const wchar_t* b, size_t length);

// ---- Search: null when there is nothing ----

const wchar_t* FindChar(const wchar_t* text, size_t length, wchar_t c);
const wchar_t* FindLastChar(const wchar_t* text, size_t length, wchar_t c);
/// First occurrence of a text; an empty one is found at the start. Linear whatever the texts hold.
const wchar_t* FindPart(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength);
const wchar_t* FindPartNoCase(const wchar_t* text, size_t length, const wchar_t* wanted, size_t wantedLength);

// ---- Runs: units at the start (end) of a text that are `c`, or that are in a set ----

size_t SpanChar(const wchar_t* text, size_t length, wchar_t c);
size_t SpanCharBack(const wchar_t* text, size_t length, wchar_t c);
size_t SpanSet(const wchar_t* text, size_t length, const wchar_t* set, size_t setLength);
size_t SpanSetBack(const wchar_t* text, size_t length, const wchar_t* set, size_t setLength);

// ---- Changing in place ----

/// Replaces every `from` by `to` and returns how many there were.
size_t ReplaceChar(wchar_t* text, size_t length, wchar_t from, wchar_t to);
void ToUpper(wchar_t* text, size_t length);
void ToLower(wchar_t* text, size_t length);

} // namespace TextKern

#endif
