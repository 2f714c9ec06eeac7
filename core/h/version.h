// version.h: which version of the library a client was compiled for, and which one it runs with.
//
//     if (SGetVersion() < CVCORE_VERSION)
//         return Refuse(L"An older CVCore16.dll stands in front of ours.");
//
// Versions are semantic: a higher patch mends, a higher minor number adds, a higher major number may break. A program
// runs with every DLL of its major version that is not older than its headers.
//
// Threads  any.
// Failure  none.
//
// The numbers stand here and nowhere else: the build, the package and the resource of the DLL read them from this file.
#ifndef CVCORE_VERSION_H
#define CVCORE_VERSION_H

#define CVCORE_VERSION_MAJOR 16
#define CVCORE_VERSION_MINOR 0
#define CVCORE_VERSION_PATCH 0

/// The three as one number that grows with the version: 160203 for 16.2.3.
#define CVCORE_VERSION (CVCORE_VERSION_MAJOR * 10000 + CVCORE_VERSION_MINOR * 100 + CVCORE_VERSION_PATCH)

#ifndef RC_INVOKED

#include "cvbase.h"

/// The version of the DLL that the process has loaded, made like CVCORE_VERSION.
CVCORE_API int SGetVersion() noexcept;

/// The same for people: L"16.2.3". The text lives as long as the DLL is loaded.
CVCORE_API const wchar_t* SGetVersionText() noexcept;

#endif

#endif
