#include "guardheap.h"

#include "importpatch.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace {

constexpr size_t kPage = 4096, kMostPages = 512 * 256, kFewestPages = 64 * 256; // 512 and 64 MiB
// The host's kernel allows a process 65,530 mappings, and each block makes two.
constexpr unsigned long kMostBlocks = 25000;
constexpr size_t kFrontBytes = 32;
constexpr unsigned char kAround = 0xFD, kFresh = 0xCD;
// The library keeps flags in the lowest bits of pointers.
constexpr size_t kAlignment = 4;

struct Real {
    void* (*malloc)(size_t);
    void* (*calloc)(size_t, size_t);
    void* (*realloc)(void*, size_t);
    void (*free)(void*);
    size_t (*msize)(void*);
};
Real g_real;

// ---- Pages: a run of them for each block, the last one never there ----

char* g_arena;
size_t g_pages; // of the arena
bool g_isTaken[kMostPages];
// Of the page in which a block begins.
struct Begin {
    char* block;
    size_t bytes;
} g_begins[kMostPages];
size_t g_next;
unsigned long g_live;
GuardHeapCounts g_counts;
SRWLOCK g_lock = SRWLOCK_INIT;

struct Locked {
    Locked() { ::AcquireSRWLockExclusive(&g_lock); }
    ~Locked() { ::ReleaseSRWLockExclusive(&g_lock); }
};

// Without the run-time, which may want this heap. The report of the crash then tells who called.
template <size_t size>
[[noreturn]] void Die(const char (&why)[size])
{
    DWORD written;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), why, size - 1, &written, nullptr);
    ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    for (;;) {}
}

size_t PagesFor(size_t bytes)
{
    return (bytes + kPage - 1) / kPage;
}

// The first page of a run that is free; g_pages when there is none. The search goes round, so that a freed run stays
// unused for as long as can be.
size_t FindRun(size_t length)
{
    size_t found = 0;
    for (size_t looked = 0; looked < g_pages + length; ++looked) {
        if (g_next == g_pages) {
            g_next = 0;
            found = 0;
        }
        found = g_isTaken[g_next++] ? 0 : found + 1;
        if (found == length)
            return g_next - length;
    }
    return g_pages;
}

// Null when there is no room.
void* TakeGuarded(size_t bytes)
{
    const Locked locked;
    const size_t pages = PagesFor(bytes);
    if (g_live >= kMostBlocks || pages >= g_pages / 8) {
        ++g_counts.unguarded;
        return nullptr;
    }
    const size_t first = FindRun(pages + 1);
    char* const start = g_arena + first * kPage;
    if (first == g_pages ||
        (pages > 0 && !::VirtualAlloc(start, pages * kPage, MEM_COMMIT, PAGE_READWRITE))) {
        ++g_counts.unguarded;
        return nullptr;
    }
    std::fill_n(&g_isTaken[first], pages + 1, true);
    char* const end = start + pages * kPage;
    char* const block = end - (bytes + kAlignment - 1) / kAlignment * kAlignment;
    char* const front = std::max(start, block - kFrontBytes);
    std::fill(front, block, static_cast<char>(kAround));
    std::fill_n(block, bytes, static_cast<char>(kFresh));
    std::fill(block + bytes, end, static_cast<char>(kAround));
    g_begins[first] = { block, bytes };
    ++g_live;
    ++g_counts.guarded;
    return block;
}

bool IsOurs(const void* block)
{
    return block >= g_arena && block < g_arena + g_pages * kPage;
}

Begin& BeginOf(void* block)
{
    Begin& begin = g_begins[static_cast<size_t>(static_cast<char*>(block) - g_arena) / kPage];
    if (begin.block != block)
        Die("\nguarded heap: this is no block, or no longer one\n");
    return begin;
}

void GiveBack(void* block)
{
    const Locked locked;
    Begin& begin = BeginOf(block);
    const size_t first = static_cast<size_t>(&begin - g_begins), pages = PagesFor(begin.bytes);
    char* const start = g_arena + first * kPage;
    const auto isUntouched = [](char byte) { return static_cast<unsigned char>(byte) == kAround; };
    if (!std::all_of(std::max(start, begin.block - kFrontBytes), begin.block, isUntouched))
        Die("\nguarded heap: something was written in front of a block\n");
    if (!std::all_of(begin.block + begin.bytes, start + pages * kPage, isUntouched))
        Die("\nguarded heap: something was written behind a block\n");
    if (pages > 0)
        ::VirtualFree(start, pages * kPage, MEM_DECOMMIT);
    std::fill_n(&g_isTaken[first], pages + 1, false);
    begin = Begin();
    --g_live;
}

// ---- What is put in the place of the run-time's functions ----

void* GuardedMalloc(size_t bytes)
{
    void* const block = TakeGuarded(bytes);
    return block ? block : g_real.malloc(bytes);
}

void* GuardedCalloc(size_t count, size_t bytes)
{
    const unsigned long long all = static_cast<unsigned long long>(count) * bytes;
    void* const block = all == static_cast<size_t>(all) ? TakeGuarded(static_cast<size_t>(all)) : nullptr;
    return block ? std::memset(block, 0, static_cast<size_t>(all)) : g_real.calloc(count, bytes);
}

void GuardedFree(void* block)
{
    if (IsOurs(block))
        GiveBack(block);
    else
        g_real.free(block);
}

size_t GuardedSize(void* block)
{
    return IsOurs(block) ? BeginOf(block).bytes : g_real.msize(block);
}

void* GuardedRealloc(void* block, size_t bytes)
{
    if (block && !IsOurs(block))
        return g_real.realloc(block, bytes);
    void* const moved = block && bytes == 0 ? nullptr : GuardedMalloc(bytes);
    if (moved && block)
        std::memcpy(moved, block, std::min(bytes, BeginOf(block).bytes));
    if (block && (moved || bytes == 0))
        GiveBack(block);
    return moved;
}

template <class Function>
void Replace(const char* name, Function* guarded, Function*& real)
{
    static const HMODULE runtime = ::GetModuleHandleA("msvcrt.dll");
    real = reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(runtime, name)));
    // Whoever frees what another one allocated must know it: all of them, for good.
    static std::vector<ImportPatch>& patches = *new std::vector<ImportPatch>;
    for (const char* module : { static_cast<const char*>(nullptr), "CVCore16.dll", "libstdc++-6.dll",
                                "libgcc_s_dw2-1.dll", "libwinpthread-1.dll" }) {
        const HMODULE handle = ::GetModuleHandleA(module);
        patches.emplace_back(handle, nullptr, name, reinterpret_cast<void*>(guarded));
    }
}

} // namespace

void GuardHeap()
{
    // As much as can be had: what stands where in the address space is the system's affair.
    for (g_pages = kMostPages; !g_arena; g_pages -= g_arena ? 0 : kFewestPages) {
        if (g_pages < kFewestPages)
            throw std::bad_alloc();
        g_arena = static_cast<char*>(::VirtualAlloc(nullptr, g_pages * kPage, MEM_RESERVE, PAGE_NOACCESS));
    }
    // The way back first: a block may be guarded only when everybody can free it.
    Replace("free", GuardedFree, g_real.free);
    Replace("_msize", GuardedSize, g_real.msize);
    Replace("realloc", GuardedRealloc, g_real.realloc);
    Replace("calloc", GuardedCalloc, g_real.calloc);
    Replace("malloc", GuardedMalloc, g_real.malloc);
}

GuardHeapCounts CountGuardedBlocks()
{
    return g_counts;
}
