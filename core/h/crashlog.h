// crashlog.h: the exception log, a text file to which crashes and unexpected exceptions are written.
//
//     SSetExceptionLog(L"D:\\Support\\drawing.log");           // else: see SExceptionLogPath
//     SSetExceptionDumps(1);                                   // and a dump file beside it
//
// A record is
//
//     ==== 2026-11-21 06:53:40.123Z, process 2204, thread 2208, drawing.exe
//     *** Fault caught by a guard
//     access violation (0xC0000005) writing 0x00000010
//     at plugin.dll+0x00001a2f
//       plugin.dll+0x00001a2f
//       drawing.exe+0x00004c11
//     ? ntdll.dll+0x0004b2d0
//
// in UTF-8, with CRLF line ends. The lines at its end are the stack, the latest call first, at most 32; those behind a
// question mark were found by looking through the stack for return addresses and may be left-overs of earlier calls.
//
// A record is appended in one write, under a lock of the file, so that several processes may share one log. When it would
// grow beyond 1 MiB the file is renamed to the same name with ".1" behind it, replacing an earlier one.
//
// Threads  any. A record of another thread is waited for, two seconds at most.
// Failure  nothing is thrown; what cannot be written is left out and 0 returned. A record that comes up while this thread
//          writes one is left out too.
// Cost     opens, writes and closes the file for each record. No heap for records of faults.
#ifndef CRASHLOG_H
#define CRASHLOG_H

#include "cvbase.h"
#include "strclss.h"

/// Appends a record: `prefix`, directly followed by `text`; null is the empty text. `frames` is how many calls of the
/// stack to add, from the caller on; negative: none. 1 when it was written.
CVCORE_API int AppendToExceptionLogPrefixed(const wchar_t* text, const wchar_t* prefix = nullptr,
                                            int frames = -1) noexcept;

/// Where the log is, for the whole process; a null or empty path means the usual place again. 0 and no change for a path
/// of more than 1000 characters. Its folder must exist; that of the usual place is made when the first record is.
CVCORE_API int SSetExceptionLog(const wchar_t* path) noexcept;

/// The path in use. Usually "CVCore16\exceptions.log" in the user's local application data folder (LOCALAPPDATA), or in
/// the temporary folder for a user who has none.
CVCORE_API SString SExceptionLogPath();

/// Whether caught and unhandled faults also leave a dump file for a debugger, beside the log: its path with
/// ".<process>-<number>.dmp" behind it; the record names it. Off at the start. 0 when dumps are asked for and the system
/// has no means to write them; else 1.
CVCORE_API int SSetExceptionDumps(int on) noexcept;

#endif
