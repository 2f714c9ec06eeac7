// damage.h: the report of damage that the library finds: overrun buffers, misused pools.
//
// Threads  the reporter is called on the thread that noticed the damage, outside the library's locks.
// Failure  nothing is thrown: damage is found in places that must go on with their work.
#ifndef DAMAGE_H
#define DAMAGE_H

#include "cvbase.h"

/// Takes a report of damage: the member that noticed it (signature, source, line) and what it is.
typedef void (*SDamageReporter)(const char* function, const char* file, unsigned long line,
                                const wchar_t* text);

/// Installs who hears of damage and returns the one before; null stands for the usual one. That allows the unexpected-
/// exception dialog (excdlg.h), whether it was suppressed or not, and shows the report in it; in console mode, and while
/// another report is shown, it writes one line to the debugger's output and to standard error instead, in the latter case
/// also a record to the exception log. Process-wide; set it before other threads run.
CVCORE_API SDamageReporter SSetDamageReporter(SDamageReporter reporter);

/// Hands a report to the reporter. What the reporter throws is swallowed.
CVCORE_API void SReportDamage(const char* function, const char* file, unsigned long line,
                              const wchar_t* text) noexcept;

#endif
