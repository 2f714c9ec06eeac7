// crashdump.h: dump files for a debugger, beside the exception log.
#ifndef CRASHDUMP_H
#define CRASHDUMP_H

#include "logfile.h"

/// Whether faults are to leave dumps, and the system can write them.
bool WantsDumps() noexcept;

/// Where the next one goes. For the holder of the log's turn.
void NextDumpPath(LogPathText& path) noexcept;

/// Writes a dump of the process; false when it could not be, and then there is no file.
bool WriteDumpFile(const wchar_t* path, EXCEPTION_POINTERS* pointers) noexcept;

#endif
