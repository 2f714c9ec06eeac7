#include "importpatch.h"

#include <cstring>

namespace {

template <class T>
T* At(HMODULE module, DWORD offset)
{
    return reinterpret_cast<T*>(reinterpret_cast<char*>(module) + offset);
}

void Write(void** slot, void* value)
{
    DWORD before;
    ::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    ::InterlockedExchangePointer(slot, value);
    ::VirtualProtect(slot, sizeof *slot, before, &before);
}

std::vector<void**> FindSlots(HMODULE module, const char* from, const char* function)
{
    std::vector<void**> slots;
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0)
        return slots;
    for (const auto* dll = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); dll->Name != 0;
         ++dll) {
        if (from && _stricmp(from, At<char>(module, dll->Name)) != 0)
            continue;
        const auto* name = At<IMAGE_THUNK_DATA>(module, dll->OriginalFirstThunk);
        auto* slot = At<IMAGE_THUNK_DATA>(module, dll->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                continue;
            const auto* entry = At<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
            if (std::strcmp(function, reinterpret_cast<const char*>(entry->Name)) == 0)
                slots.push_back(reinterpret_cast<void**>(&slot->u1.Function));
        }
    }
    return slots;
}

} // namespace

ImportPatch::ImportPatch(HMODULE module, const char* from, const char* function, void* replacement)
    : m_original(nullptr)
{
    if (!module)
        return;
    m_slots = FindSlots(module, from, function);
    for (void** slot : m_slots) {
        m_original = *slot;
        Write(slot, replacement);
    }
}

ImportPatch::~ImportPatch()
{
    for (void** slot : m_slots)
        Write(slot, m_original);
}
