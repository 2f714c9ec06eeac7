// damagehook.h: how the dialog, which stands above, becomes the usual reporter of damage.
#ifndef DAMAGEHOOK_H
#define DAMAGEHOOK_H

#include "damage.h"

/// Sets who reports damage while no reporter is installed.
void SetUsualDamageReporter(SDamageReporter reporter) noexcept;

/// One line to the debugger's output and to standard error.
void WriteDamage(const char* function, const char* file, unsigned long line, const wchar_t* text);

#endif
