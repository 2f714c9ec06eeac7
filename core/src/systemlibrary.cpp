// systemlibrary.cpp: functions of DLLs that the library does not link.
#include "systemlibrary.h"

#include <cwchar>

void* FindInSystem(const wchar_t* library, const char* function) noexcept
{
    constexpr UINT kRoomForName = 32;
    wchar_t path[MAX_PATH + kRoomForName];
    const UINT length = ::GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH || std::wcslen(library) + 2 > kRoomForName)
        return nullptr;
    path[length] = L'\\';
    std::wcscpy(path + length + 1, library);
    const HMODULE module = ::LoadLibraryW(path);
    return module ? reinterpret_cast<void*>(::GetProcAddress(module, function)) : nullptr;
}
