#include "counters.h"

#include <windows.h>

#include <winternl.h>

#include <cstring>
#include <ostream>
#include <stdexcept>
#include <string>

namespace {

template <class Function>
Function* Find(const char* dll, const char* name)
{
    const HMODULE module = ::GetModuleHandleA(dll);
    return module ? reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module, name)))
                  : nullptr;
}

bool IsWine()
{
    static const bool wine = Find<void()>("ntdll.dll", "wine_get_version") != nullptr;
    return wine;
}

long CountBlocks(HANDLE heap)
{
    long blocks = 0;
    PROCESS_HEAP_ENTRY entry = {};
    ::HeapLock(heap);
    while (::HeapWalk(heap, &entry)) {
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
            ++blocks;
    }
    ::HeapUnlock(heap);
    return blocks;
}

long CountHeapBlocks()
{
    HANDLE heaps[64];
    DWORD count = ::GetProcessHeaps(64, heaps);
    if (count > 64)
        count = 64;
    long blocks = 0;
    for (DWORD i = 0; i < count; ++i)
        blocks += CountBlocks(heaps[i]);
    return blocks;
}

// ---- Handles under Wine ----
//
// The list of processes has the size of our handle table; then each place is asked. Not the table of all
// handles of the system: asking for that while another process starts or ends brings the whole Wine server
// down, and with it every test that runs at the time.

const int kSystemProcessInformation = 5;
const NTSTATUS kLengthMismatch = static_cast<NTSTATUS>(0xC0000004);

// A count that cannot be had must not compare equal to another such one.
[[noreturn]] void CannotCount(const char* what)
{
    throw std::runtime_error(std::string("cannot count the process's ") + what);
}

long HandleTableSize(const char* list)
{
    for (;;) {
        SYSTEM_PROCESS_INFORMATION process; // a copy: the entries are not aligned as their type asks
        std::memcpy(&process, list, sizeof process);
        if (reinterpret_cast<DWORD_PTR>(process.UniqueProcessId) == ::GetCurrentProcessId())
            return static_cast<long>(process.HandleCount);
        if (process.NextEntryOffset == 0)
            CannotCount("handles");
        list += process.NextEntryOffset;
    }
}

long CountOpen(long places)
{
    long handles = 0;
    for (long place = 1; place <= places; ++place) {
        DWORD flags;
        if (::GetHandleInformation(reinterpret_cast<HANDLE>(static_cast<DWORD_PTR>(place) * 4), &flags))
            ++handles;
    }
    return handles;
}

long CountHandlesOfTable()
{
    static const auto query =
        Find<NTSTATUS NTAPI(int, void*, ULONG, ULONG*)>("ntdll.dll", "NtQuerySystemInformation");
    for (SIZE_T bytes = 1 << 16; bytes <= 1 << 24; bytes *= 2) {
        void* list = ::VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        if (!list)
            break;
        ULONG needed = 0;
        const NTSTATUS status = query(kSystemProcessInformation, list, static_cast<ULONG>(bytes), &needed);
        const long places = status == 0 ? HandleTableSize(static_cast<const char*>(list)) : 0;
        ::VirtualFree(list, 0, MEM_RELEASE);
        if (status == 0)
            return CountOpen(places);
        if (status != kLengthMismatch)
            break;
    }
    CannotCount("handles");
}

long CountHandles()
{
    if (IsWine())
        return CountHandlesOfTable();
    DWORD handles = 0;
    if (!::GetProcessHandleCount(::GetCurrentProcess(), &handles))
        CannotCount("handles");
    return static_cast<long>(handles);
}

// ---- GDI objects under Wine: the process's own table, which the environment block points to ----

#if defined(__i386__)
enum { kPebGdiTable = 0x94 };
#else
enum { kPebGdiTable = 0xF8 };
#endif
enum { kGdiEntryBytes = 24, kGdiTypeAt = 14 };

long CountGdiOfTable()
{
    const char* peb = static_cast<const char*>(Find<void * NTAPI()>("ntdll.dll", "RtlGetCurrentPeb")());
    const char* table = *reinterpret_cast<const char* const*>(peb + kPebGdiTable);
    MEMORY_BASIC_INFORMATION info;
    if (!table || !::VirtualQuery(table, &info, sizeof info) || info.State != MEM_COMMIT)
        return 0; // gdi32 is not loaded
    const SIZE_T bytes =
        info.RegionSize - static_cast<SIZE_T>(table - static_cast<const char*>(info.BaseAddress));
    const SIZE_T mostEntries = 1 << 16; // the low half of a handle is the place in the table
    SIZE_T entries = bytes / kGdiEntryBytes;
    if (entries > mostEntries)
        entries = mostEntries;
    long objects = 0;
    for (SIZE_T i = 0; i < entries; ++i) {
        if (table[i * kGdiEntryBytes + kGdiTypeAt] != 0)
            ++objects;
    }
    return objects;
}

long CountGdiObjects()
{
    if (IsWine())
        return CountGdiOfTable();
    // Looked up, so that a program which must not import user32 can count too.
    const auto resources = Find<DWORD WINAPI(HANDLE, DWORD)>("user32.dll", "GetGuiResources");
    return resources ? static_cast<long>(resources(::GetCurrentProcess(), GR_GDIOBJECTS)) : 0;
}

} // namespace

ResourceCount CountResources()
{
    return { CountHeapBlocks(), CountHandles(), CountGdiObjects() };
}

bool operator==(const ResourceCount& a, const ResourceCount& b)
{
    return a.heapBlocks == b.heapBlocks && a.handles == b.handles && a.gdiObjects == b.gdiObjects;
}

std::ostream& operator<<(std::ostream& out, const ResourceCount& count)
{
    return out << count.heapBlocks << " heap blocks, " << count.handles << " handles, " << count.gdiObjects
               << " GDI objects";
}
