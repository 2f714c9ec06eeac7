// modulename.cpp: names of modules, found without the loader.
#include "modulename.h"

#include <psapi.h>

#include <iterator>

namespace {

void CopyFileName(const wchar_t* path, wchar_t* name, int room)
{
    const wchar_t* file = path;
    for (const wchar_t* at = path; *at != L'\0'; ++at) {
        if (*at == L'\\' || *at == L'/')
            file = at + 1;
    }
    int i = 0;
    for (; i < room - 1 && file[i] != L'\0'; ++i)
        name[i] = file[i];
    name[i] = L'\0';
}

// Taken down at the start, when asking the loader is safe.
const struct Program {
    Program() noexcept
    {
        static wchar_t path[MAX_PATH + 1];
        if (::GetModuleFileNameW(nullptr, path, MAX_PATH) > 0)
            CopyFileName(path, name, static_cast<int>(std::size(name)));
        module = ::GetModuleHandleW(nullptr);
    }
    wchar_t name[MAX_PATH + 1] = L"";
    HMODULE module = nullptr;
} g_program;

// The name that the module's own table of exports has; a program seldom has one.
void CopyExportName(const unsigned char* module, wchar_t* name, int room)
{
    const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(module);
    const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS*>(module + dos.e_lfanew);
    const IMAGE_DATA_DIRECTORY& place = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    if (place.Size == 0)
        return;
    const auto& exports = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(module + place.VirtualAddress);
    const unsigned char* const text = module + exports.Name;
    int i = 0;
    for (; i < room - 1 && text[i] != '\0'; ++i)
        name[i] = text[i];
    name[i] = L'\0';
}

} // namespace

const wchar_t* ProgramName() noexcept
{
    return g_program.name;
}

UINT_PTR FindModulePlace(const void* address, wchar_t* name, int room) noexcept
{
    name[0] = L'\0';
    MEMORY_BASIC_INFORMATION memory;
    if (::VirtualQuery(address, &memory, sizeof memory) == 0 || memory.Type != MEM_IMAGE)
        return reinterpret_cast<UINT_PTR>(address);
    if (memory.AllocationBase == g_program.module) {
        CopyFileName(g_program.name, name, room);
    } else {
        wchar_t path[MAX_PATH + 1];
        const DWORD length =
            ::GetMappedFileNameW(::GetCurrentProcess(), memory.AllocationBase, path, MAX_PATH);
        path[length < MAX_PATH ? length : MAX_PATH] = L'\0';
        CopyFileName(path, name, room);
        if (name[0] == L'\0')
            CopyExportName(static_cast<const unsigned char*>(memory.AllocationBase), name, room);
    }
    if (name[0] == L'\0')
        return reinterpret_cast<UINT_PTR>(address);
    return reinterpret_cast<UINT_PTR>(address) - reinterpret_cast<UINT_PTR>(memory.AllocationBase);
}
