// systemlibrary.h: functions of DLLs that the library does not link, looked up when they are needed.
#ifndef SYSTEMLIBRARY_H
#define SYSTEMLIBRARY_H

#include "cvbase.h"

/// A DLL of the system's folder, and of no other; null when there is none. It stays loaded.
HMODULE LoadFromSystem(const wchar_t* library) noexcept;

/// A function of a DLL in the system's folder, and in no other; null when there is none. The DLL stays loaded.
void* FindInSystem(const wchar_t* library, const char* function) noexcept;

template <class Function>
Function* FindInSystem(const wchar_t* library, const char* function) noexcept
{
    return reinterpret_cast<Function*>(FindInSystem(library, function));
}

#endif
