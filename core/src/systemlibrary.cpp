// systemlibrary.cpp: DLLs of the system, and functions of those that the library does not link.
#include "systemlibrary.h"

#include <cwchar>

HMODULE LoadFromSystem(const wchar_t* library) noexcept
{
    constexpr UINT kRoomForName = 32;
    wchar_t path[MAX_PATH + kRoomForName];
    const UINT length = ::GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH || std::wcslen(library) + 2 > kRoomForName)
        return nullptr;
    path[length] = L'\\';
    std::wcscpy(path + length + 1, library);
    return ::LoadLibraryW(path);
}

void* FindInSystem(const wchar_t* library, const char* function) noexcept
{
    const HMODULE module = LoadFromSystem(library);
    return module ? reinterpret_cast<void*>(::GetProcAddress(module, function)) : nullptr;
}
