// crashrecord.h: records of machine faults in the exception log, for the guards and the hook.
#ifndef CRASHRECORD_H
#define CRASHRECORD_H

#include "crash.h"
#include "fixedtext.h"
#include "stackwalk.h"

typedef FixedText<160> FaultText;

/// Whether a code is one of the machine's, as against breakpoints, C++ exceptions and messages to a debugger.
bool IsMachineFault(DWORD code) noexcept;

/// "access violation"; "exception" for a code that is none of them.
const wchar_t* FaultName(DWORD code) noexcept;

/// What a fault tried to do with an address.
SMachineFault::Access FaultAccess(const EXCEPTION_RECORD& record) noexcept;

/// Takes down what is known of a fault.
SMachineFault DescribeFault(const EXCEPTION_RECORD& record) noexcept;

/// "access violation (0xC0000005) writing 0x00000010".
void FormatFault(const SMachineFault& fault, FaultText& text) noexcept;

/// "drawing.exe+0x00004c11", or the bare address.
void FormatPlace(const wchar_t* module, UINT_PTR offset, FaultText& text) noexcept;

/// Writes a record for a fault, and the dump when one is wanted. No heap.
void LogFault(const wchar_t* headline, const SMachineFault& fault, const StackWalk& walk,
              EXCEPTION_POINTERS* pointers) noexcept;

#endif
