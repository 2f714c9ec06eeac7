// cvbase.h: what every header of the library stands on, and nothing else.
//
// The library is built for the wide-character configuration: UNICODE is defined here, before <windows.h>, so that
// names which that header makes macros (GetClassInfo, LoadString, ...) mean the same in a client and in the DLL.
//
// A client includes cvcore.h (everything) or the header of one family; each compiles alone and first.
#ifndef CVBASE_H
#define CVBASE_H

#if defined(_MSC_VER) && !defined(__clang__)
#error "CVCore16 classes have the g++ binary interface: build this client with mingw-w64 g++."
#endif

#if defined(_WINDOWS_) && !defined(UNICODE)
#error "<windows.h> was included without UNICODE before a CVCore16 header: include the CVCore16 header first."
#endif

#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

/// Marks what the DLL exports. CVCORE_EXPORTS is defined where the library itself is compiled, CVCORE_STATIC where its
/// objects are linked straight into a program.
#if defined(CVCORE_STATIC)
#define CVCORE_API
#elif defined(CVCORE_EXPORTS)
#define CVCORE_API __declspec(dllexport)
#else
#define CVCORE_API __declspec(dllimport)
#endif

/// The place of the call as exception constructors take it: function signature, source file, line.
#define S_HERE S_FUNCTION, __FILE__, __LINE__
/// The signature of the function in which it stands, as narrow text.
#define S_FUNCTION __PRETTY_FUNCTION__

/// Branch hints for paths that a client's data hardly ever takes.
#define S_LIKELY(condition) __builtin_expect(!!(condition), 1)
#define S_UNLIKELY(condition) __builtin_expect(!!(condition), 0)

/// A function that is not to be merged into its callers.
#define S_NOINLINE __attribute__((noinline))

/// Ends the process where a checked build finds a caller's mistake.
#define S_TRAP() __builtin_trap()

/// Whether Windows is the 32-bit one, for which field offsets and sizes are promised and asserted.
#if defined(_WIN64)
#define S_TARGET_32BIT 0
#else
#define S_TARGET_32BIT 1
#endif

#endif
