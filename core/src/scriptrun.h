// scriptrun.h: UTF-8 and UTF-16 of texts beyond ASCII, eight characters at a time where the processor can shuffle bytes.
#ifndef SCRIPTRUN_H
#define SCRIPTRUN_H

#include "cvbase.h"

#include <cstddef>

namespace ScriptRun {

/// Whether the functions below do anything. False until the library's static objects are made, which is harmless.
bool IsFast();

/// Take characters of one unit of UTF-16 as long as there is plenty of text and room, and stop at everything else and at longer
/// runs of ASCII. `at` and `made` are moved behind what was taken and written.
void To8(const wchar_t* from, size_t count, size_t& at, char* to, size_t room, size_t& made);
void To16(const unsigned char* from, size_t count, size_t& at, wchar_t* to, size_t room, size_t& made);

} // namespace ScriptRun

#endif
