// The lane that runs the DLL as it is shipped: allocations and look-ups are counted in its import table, which also answers
// most look-ups.
#include "lane.h"

#include "support/faults.h"
#include "support/importpatch.h"

#include <windows.h>

#include <cwchar>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

namespace {

unsigned long long g_asked;
unsigned long g_names;

struct Real {
    void* (*malloc)(size_t);
    void* (*calloc)(size_t, size_t);
    void* (*realloc)(void*, size_t);
    void* (*newOne)(size_t);
    void* (*newMany)(size_t);
    HGLOBAL(WINAPI* globalAlloc)(UINT, SIZE_T);
    HGLOBAL(WINAPI* globalReAlloc)(HGLOBAL, SIZE_T, UINT);
    DWORD(WINAPI* longName)(const wchar_t*, wchar_t*, DWORD);
    DWORD(WINAPI* shortName)(const wchar_t*, wchar_t*, DWORD);
    DWORD(WINAPI* attributes)(const wchar_t*);
};
Real g_real;

void* CountedMalloc(size_t bytes)
{
    g_asked += bytes;
    return g_real.malloc(bytes);
}
void* CountedCalloc(size_t count, size_t bytes)
{
    g_asked += static_cast<unsigned long long>(count) * bytes;
    return g_real.calloc(count, bytes);
}
void* CountedRealloc(void* block, size_t bytes)
{
    g_asked += bytes;
    return g_real.realloc(block, bytes);
}
void* CountedNew(size_t bytes)
{
    g_asked += bytes;
    return g_real.newOne(bytes);
}
void* CountedNewMany(size_t bytes)
{
    g_asked += bytes;
    return g_real.newMany(bytes);
}
HGLOBAL WINAPI CountedGlobalAlloc(UINT flags, SIZE_T bytes)
{
    g_asked += bytes;
    return g_real.globalAlloc(flags, bytes);
}
HGLOBAL WINAPI CountedGlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT flags)
{
    g_asked += bytes;
    return g_real.globalReAlloc(memory, bytes, flags);
}
// ---- Names: most are looked up on a disk that is made up ----

// One path in so many asks the system's disk; the others are there, as files or as folders, or not, as their text has it.
constexpr unsigned kAskingTheSystem = 32;

unsigned HashOf(const wchar_t* path)
{
    unsigned hash = 2166136261u;
    for (; *path; ++path)
        hash = (hash ^ *path) * 16777619u;
    return hash >> 8;
}
bool g_isMadeUp;

bool AsksTheSystem(const wchar_t* path)
{
    return !g_isMadeUp || HashOf(path) % kAskingTheSystem == 0;
}

DWORD MadeUpAttributes(const wchar_t* path)
{
    const DWORD kinds[] = { INVALID_FILE_ATTRIBUTES, FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_NORMAL };
    const DWORD kind = kinds[HashOf(path) % std::size(kinds)];
    if (kind == INVALID_FILE_ATTRIBUTES)
        ::SetLastError(ERROR_FILE_NOT_FOUND);
    return kind;
}
// What is there is named so in both ways.
DWORD MadeUpName(const wchar_t* path, wchar_t* buffer, DWORD room)
{
    if (MadeUpAttributes(path) == INVALID_FILE_ATTRIBUTES)
        return 0;
    const DWORD units = static_cast<DWORD>(std::wcslen(path));
    if (room <= units)
        return units + 1;
    std::wmemcpy(buffer, path, units + 1);
    return units;
}

DWORD WINAPI CountedLongName(const wchar_t* path, wchar_t* buffer, DWORD room)
{
    ++g_names;
    return AsksTheSystem(path) ? g_real.longName(path, buffer, room) : MadeUpName(path, buffer, room);
}
DWORD WINAPI CountedShortName(const wchar_t* path, wchar_t* buffer, DWORD room)
{
    ++g_names;
    return AsksTheSystem(path) ? g_real.shortName(path, buffer, room) : MadeUpName(path, buffer, room);
}
DWORD WINAPI CountedAttributes(const wchar_t* path)
{
    ++g_names;
    return AsksTheSystem(path) ? g_real.attributes(path) : MadeUpAttributes(path);
}

std::vector<ImportPatch> g_patches;

template <class Function>
void Count(const char* name, Function* counted, Function*& real)
{
    ImportPatch patch("CVCore16.dll", nullptr, name, counted);
    if (!patch.Found())
        return; // that one costs it nothing
    real = patch.Original<Function>();
    g_patches.push_back(std::move(patch));
}

} // namespace

WorkCounter::WorkCounter()
{
    Count("malloc", CountedMalloc, g_real.malloc);
    Count("calloc", CountedCalloc, g_real.calloc);
    Count("realloc", CountedRealloc, g_real.realloc);
    constexpr bool kIs32Bit = sizeof(size_t) == 4; // the name of its type is in theirs
    Count(kIs32Bit ? "_Znwj" : "_Znwy", CountedNew, g_real.newOne);
    Count(kIs32Bit ? "_Znaj" : "_Znay", CountedNewMany, g_real.newMany);
    Count("GlobalAlloc", CountedGlobalAlloc, g_real.globalAlloc);
    Count("GlobalReAlloc", CountedGlobalReAlloc, g_real.globalReAlloc);
    Count("GetLongPathNameW", CountedLongName, g_real.longName);
    Count("GetShortPathNameW", CountedShortName, g_real.shortName);
    Count("GetFileAttributesW", CountedAttributes, g_real.attributes);
}

WorkCounter::~WorkCounter()
{
    while (!g_patches.empty())
        g_patches.pop_back();
}

unsigned long long WorkCounter::BytesAsked() const
{
    return g_asked;
}

unsigned long WorkCounter::NameCalls() const
{
    return g_names;
}

MadeUpDisk::MadeUpDisk()
{
    g_isMadeUp = true;
}

MadeUpDisk::~MadeUpDisk()
{
    g_isMadeUp = false;
}

// ---- Walls: pages that cannot be touched, each behind a room that is used again ----

namespace {

constexpr size_t kPage = 4096, kRoom = 8 << 20, kWalls = 4;

struct Wall {
    char* end = nullptr;
    bool isUsed = false;
};
Wall g_walls[kWalls];

} // namespace

Walled::Walled(const std::string& bytes) : m_index(0)
{
    while (m_index < kWalls && g_walls[m_index].isUsed)
        ++m_index;
    if (m_index == kWalls || bytes.size() > kRoom)
        throw std::bad_alloc();
    Wall& wall = g_walls[m_index];
    if (!wall.end) {
        char* const base =
            static_cast<char*>(::VirtualAlloc(nullptr, kRoom + kPage, MEM_RESERVE, PAGE_NOACCESS));
        if (!base || !::VirtualAlloc(base, kRoom, MEM_COMMIT, PAGE_READWRITE))
            throw std::bad_alloc();
        wall.end = base + kRoom;
    }
    wall.isUsed = true;
    m_bytes = wall.end - bytes.size();
    bytes.copy(static_cast<char*>(m_bytes), bytes.size());
}

Walled::~Walled()
{
    g_walls[m_index].isUsed = false;
}

// ---- The rest ----

void* LowMemory(size_t bytes)
{
    constexpr UINT_PTR kStep = 0x10000, kEnd = 0x400000;
    // On 64 bits the program stands there; above, a number of 32 bits that is read from the address is as low.
    const UINT_PTR above = static_cast<UINT_PTR>(sizeof(void*) == 4 ? 0 : 0x200000000);
    for (UINT_PTR at = above + kStep; at < above + kEnd; at += kStep) {
        void* const got =
            ::VirtualAlloc(reinterpret_cast<void*>(at), bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
        if (got)
            return got;
    }
    throw std::bad_alloc();
}

void MustGoOnWithin(unsigned seconds, void (*tell)())
{
    AtFault(tell);
    RestartWatchdog(seconds);
}

bool IsHeapWhole()
{
    return ::HeapValidate(::GetProcessHeap(), 0, nullptr) != FALSE;
}

void WriteFileAtFault(const char* name, const void* bytes, size_t size)
{
    const HANDLE file = ::CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written;
    ::WriteFile(file, bytes, static_cast<DWORD>(size), &written, nullptr);
    ::CloseHandle(file);
}

std::string ProgramFolder()
{
    char path[MAX_PATH] = "";
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string name(path);
    return name.substr(0, name.find_last_of('\\'));
}

double Seconds()
{
    return static_cast<double>(::GetTickCount64()) / 1000;
}
