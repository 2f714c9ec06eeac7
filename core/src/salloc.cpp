// salloc.cpp: pools of equal blocks and the idle list.
//
// The order of static objects matters here: strings and maps use pools while other modules initialise, and statics are
// destroyed in reverse. Everything a pool registers with is therefore constructed on first use, from the pool's own
// constructor, and so outlives every pool.
#include "salloc.h"

#include "damage.h"
#include "sexcept.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// Where a chunk that cannot be had is reported from.
const char kCreateSignature[] = "static SPlex* SPlex::Create(SPlex*&, unsigned long, unsigned long)";
const char kSourceFile[] = "core/src/salloc";
constexpr unsigned long kCreateLine = 544;

// Blocks of one pool are spread over whole pages where at least this many fit.
constexpr unsigned long kBlocksWorthAPage = 17;
// What the heap keeps for itself at the end of a page or granule.
constexpr unsigned long kHeapReserve = 16;

std::atomic<unsigned long> g_totalBytes{ 0 };
std::atomic<unsigned long> g_idleThreshold{ 0 };

class SectionGuard {
public:
    explicit SectionGuard(CRITICAL_SECTION& section) : m_section(section)
    {
        ::EnterCriticalSection(&m_section);
    }
    ~SectionGuard() { ::LeaveCriticalSection(&m_section); }
    SectionGuard(const SectionGuard&) = delete;
    SectionGuard& operator=(const SectionGuard&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

// The named pools of the process, linked through the pools themselves, so that registering cannot fail.
struct NamedPools {
    CRITICAL_SECTION lock;
    SFixedAlloc* first = nullptr;

    NamedPools() { ::InitializeCriticalSection(&lock); }
    ~NamedPools() { ::DeleteCriticalSection(&lock); }
};

NamedPools& Named()
{
    static NamedPools pools;
    return pools;
}

// At process exit Windows ends the other threads where they stand, locks and all.
bool IsProcessEnding() noexcept
{
    typedef BOOLEAN(WINAPI * Query)();
    static std::atomic<Query> query{ nullptr };
    Query ask = query.load(std::memory_order_relaxed);
    if (!ask) {
        HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
        FARPROC found = ntdll ? ::GetProcAddress(ntdll, "RtlDllShutdownInProgress") : nullptr;
        if (!found)
            return false;
        ask = reinterpret_cast<Query>(reinterpret_cast<void*>(found));
        query.store(ask, std::memory_order_relaxed);
    }
    return ask() != FALSE;
}

bool IsWithin(const void* p, const void* first, unsigned long bytes)
{
    return reinterpret_cast<UINT_PTR>(p) - reinterpret_cast<UINT_PTR>(first) < bytes;
}

// ---- Sorting linked nodes by address, without memory of its own ----

template <class Node>
Node* Merge(Node* a, Node* b)
{
    Node* head = nullptr;
    Node** tail = &head;
    while (a && b) {
        Node*& lower = a < b ? a : b;
        *tail = lower;
        tail = &lower->next;
        lower = lower->next;
    }
    *tail = a ? a : b;
    return head;
}

template <class Node>
Node* SortByAddress(Node* list)
{
    Node* bins[32] = {}; // bins[i] holds a sorted list of 2^i runs, or nothing
    while (list) {
        Node* run = list;
        Node* last = run;
        while (last->next && last < last->next)
            last = last->next;
        list = last->next;
        last->next = nullptr;
        int i = 0;
        for (; i < 31 && bins[i]; ++i) {
            run = Merge(bins[i], run);
            bins[i] = nullptr;
        }
        bins[i] = bins[i] ? Merge(bins[i], run) : run;
    }
    Node* sorted = nullptr;
    for (Node* bin : bins)
        sorted = sorted && bin ? Merge(bin, sorted) : (bin ? bin : sorted);
    return sorted;
}

} // namespace

// ---- SIdleConsumerList ----

SIdleConsumerList::SIdleConsumerList() : m_consumers(nullptr), m_count(0), m_capacity(0), m_running(0)
{
    ::InitializeCriticalSection(&m_lock);
}

SIdleConsumerList::~SIdleConsumerList()
{
    ::DeleteCriticalSection(&m_lock);
    std::free(m_consumers);
}

SIdleConsumerList& SIdleConsumerList::Process()
{
    static SIdleConsumerList list;
    return list;
}

void SIdleConsumerList::Add(SIdleConsumer* consumer)
{
    SectionGuard guard(m_lock);
    if (m_count == m_capacity) {
        const int capacity = m_capacity + m_capacity / 2 + 16;
        void* grown = std::realloc(m_consumers, capacity * sizeof *m_consumers);
        if (!grown)
            throw SEOutOfMemory("void SIdleConsumerList::Add(SIdleConsumer*)", kSourceFile, __LINE__);
        m_consumers = static_cast<SIdleConsumer**>(grown);
        m_capacity = capacity;
    }
    m_consumers[m_count++] = consumer;
}

void SIdleConsumerList::Remove(SIdleConsumer* consumer)
{
    SectionGuard guard(m_lock);
    for (int i = 0; i < m_count; ++i) {
        if (m_consumers[i] == consumer) {
            m_consumers[i] = nullptr; // a running OnIdle must not see places move
            Compact();
            return;
        }
    }
}

int SIdleConsumerList::OnIdle(int force)
{
    SectionGuard guard(m_lock);
    struct Running {
        SIdleConsumerList& list;
        explicit Running(SIdleConsumerList& l) : list(l) { ++list.m_running; }
        ~Running()
        {
            --list.m_running;
            list.Compact();
        }
    } running(*this);
    int more = 0;
    for (int i = 0; i < m_count; ++i) {
        if (m_consumers[i] && m_consumers[i]->OnIdle(force) != 0)
            more = 1;
    }
    return more;
}

int SIdleConsumerList::Count() const
{
    SectionGuard guard(m_lock);
    int count = 0;
    for (int i = 0; i < m_count; ++i)
        count += m_consumers[i] != nullptr;
    return count;
}

void SIdleConsumerList::Compact()
{
    if (m_running > 0)
        return;
    int kept = 0;
    for (int i = 0; i < m_count; ++i) {
        if (m_consumers[i])
            m_consumers[kept++] = m_consumers[i];
    }
    m_count = kept;
}

// ---- SIdleConsumer ----

SIdleConsumer::SIdleConsumer(SIdleConsumerList* list)
    : m_idleList(list ? list : &SIdleConsumerList::Process())
{
    m_idleList->Add(this);
}

SIdleConsumer::~SIdleConsumer()
{
    m_idleList->Remove(this);
}

// ---- SPlex ----

SPlex* SPlex::TryCreate(SPlex*& head, unsigned long count, unsigned long size) noexcept
{
    const unsigned long long bytes = static_cast<unsigned long long>(count) * size + sizeof(SPlex);
    if (bytes > 0x7FFFFFFF)
        return nullptr;
    void* memory = ::operator new[](static_cast<size_t>(bytes), std::nothrow);
    if (!memory)
        return nullptr;
    SPlex* plex = static_cast<SPlex*>(memory);
    plex->next = head;
    head = plex;
    return plex;
}

SPlex* SPlex::Create(SPlex*& head, unsigned long count, unsigned long size)
{
    SPlex* plex = TryCreate(head, count, size);
    if (!plex)
        ThrowOutOfMemory();
    return plex;
}

void SPlex::ThrowOutOfMemory()
{
    throw SEOutOfMemory(kCreateSignature, kSourceFile, kCreateLine);
}

void SPlex::FreeChain(SPlex* head) noexcept
{
    while (head) {
        SPlex* next = head->next;
        ::operator delete[](head);
        head = next;
    }
}

// ---- SPoolLock ----

void SPoolLock::EnterContended(CRITICAL_SECTION& queue) noexcept
{
    if (IsProcessEnding())
        return; // the last thread is running: whoever holds the lock is gone
    // Holders leave within some instructions, or within one heap call: poll first, then give the processor away, then
    // sleep, so that a holder of lower priority gets its turn too.
    constexpr unsigned kPolls = 200;
    constexpr unsigned kYields = 2000;
    ::EnterCriticalSection(&queue);
    for (unsigned tries = 0;; ++tries) {
        if (m_taken.load(std::memory_order_relaxed) == 0 &&
            m_taken.exchange(1, std::memory_order_acquire) == 0)
            break;
        if (tries < kPolls)
            YieldProcessor();
        else if (tries < kYields)
            ::SwitchToThread();
        else
            ::Sleep(1);
    }
    ::LeaveCriticalSection(&queue);
}

// ---- SPoolCounters ----

void SPoolCounters::ForEach(int (*visit)(const SPoolCounter& counter, void* context), void* context)
{
    NamedPools& named = Named();
    SectionGuard guard(named.lock);
    for (const SFixedAlloc* pool = named.first; pool; pool = pool->m_nextNamed) {
        const SPoolCounter counter = { pool->m_name, &pool->m_bytes, &pool->m_inUse, pool->m_elementSize };
        if (!visit(counter, context))
            return;
    }
}

// ---- SFixedAlloc ----

// Makes the compiler emit the constant, so that clients find it in the DLL where they take its address.
constexpr unsigned long SFixedAlloc::kNoAccounting;

// A block that was overrun. The record cannot stand in the block: its owner still uses it.
struct SFixedAlloc::BadRegion {
    BadRegion* next;
    const void* first;
};

#if S_TARGET_32BIT
// offsetof on a class with virtual members is not promised by the language; this compiler defines it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct SAllocLayout {
    static_assert(offsetof(SFixedAlloc, m_idleList) == 4, "field 1 follows the virtual table pointer");
    static_assert(offsetof(SFixedAlloc, m_elementSize) == 8, "element size");
    static_assert(offsetof(SFixedAlloc, m_blocksPerChunk) == 12, "blocks per chunk");
    static_assert(offsetof(SFixedAlloc, m_chunks) == 16, "chunk list");
    static_assert(offsetof(SFixedAlloc, m_free) == 20, "free list");
    static_assert(offsetof(SFixedAlloc, m_freedCount) == 24, "freed count");
    static_assert(offsetof(SFixedAlloc, m_bytes) == 28, "bytes counter");
    static_assert(offsetof(SFixedAlloc, m_inUse) == 32, "in-use count");
    static_assert(offsetof(SFixedAlloc, m_gate) == 36, "the gate shares the counters' cache line");
    static_assert(offsetof(SFixedAlloc, m_name) == 40, "name");
    static_assert(offsetof(SFixedAlloc, m_queue) == 240, "critical section");
    static_assert(offsetof(SFixedAlloc, m_bad) == 264, "locked bad regions");
    static_assert(sizeof(SPlex) == 4, "a chunk is its blocks and 4 bytes");
};
#pragma GCC diagnostic pop
#endif

SFixedAlloc::SFixedAlloc(unsigned long elementBytes, unsigned long blocksPerChunk, const wchar_t* name,
                         SIdleConsumerList* list)
    : SIdleConsumer(list),
      m_elementSize((elementBytes + sizeof(Block) - 1) & ~(sizeof(Block) - 1)),
      m_blocksPerChunk(blocksPerChunk),
      m_chunks(nullptr),
      m_free(nullptr),
      m_freedCount(0),
      m_bytes(kNoAccounting),
      m_inUse(0),
      m_name(),
      m_bad(nullptr),
      m_nextNamed(nullptr)
{
    if (m_elementSize == 0)
        m_elementSize = sizeof(Block);
    ::InitializeCriticalSection(&m_queue);
    if (!name)
        return;
    m_bytes = 0;
    SSafeStrCpy(m_name, kMaxName + 1, name);
    NamedPools& named = Named();
    SectionGuard guard(named.lock);
    SFixedAlloc** last = &named.first;
    while (*last)
        last = &(*last)->m_nextNamed;
    *last = this;
}

SFixedAlloc::SFixedAlloc(const SFixedAlloc& other)
    : SFixedAlloc(other.m_elementSize, other.m_blocksPerChunk, other.Accounts() ? other.m_name : nullptr,
                  other.m_idleList)
{}

SFixedAlloc::~SFixedAlloc()
{
    if (Accounts()) {
        NamedPools& named = Named();
        SectionGuard guard(named.lock);
        for (SFixedAlloc** link = &named.first; *link; link = &(*link)->m_nextNamed) {
            if (*link == this) {
                *link = m_nextNamed;
                break;
            }
        }
    }
    FreeAllUnlocked();
    ::DeleteCriticalSection(&m_queue);
}

bool SFixedAlloc::AddChunk() noexcept
{
    InitBlocksPerChunk();
    SPlex* chunk = SPlex::TryCreate(m_chunks, m_blocksPerChunk, m_elementSize);
    if (!chunk)
        return false;
    const unsigned long bytes = m_blocksPerChunk * m_elementSize + sizeof(SPlex);
    if (Accounts())
        m_bytes += bytes;
    g_totalBytes.fetch_add(bytes, std::memory_order_relaxed);
    // Forward, so that fresh memory is touched once in order and blocks come out in the order of their addresses.
    char* at = static_cast<char*>(chunk->Data());
    m_free = reinterpret_cast<Block*>(at);
    for (unsigned long i = 1; i < m_blocksPerChunk; ++i, at += m_elementSize)
        reinterpret_cast<Block*>(at)->next = reinterpret_cast<Block*>(at + m_elementSize);
    reinterpret_cast<Block*>(at)->next = nullptr;
    return true;
}

void* SFixedAlloc::AllocFromNewChunk() noexcept
{
    void* block = AddChunk() ? Pop() : nullptr;
    Leave();
    return block;
}

#ifdef CVCORE_POOLS_PASS

// Blocks stand 4 bytes behind a multiple of 8, as in a chunk.
void* SFixedAlloc::AllocFromHeap() noexcept
{
    Block* const block = static_cast<Block*>(std::malloc(sizeof(Block) + m_elementSize));
    if (!block)
        return nullptr;
    block[1].next = nullptr;
    Enter();
    m_inUse += Accounts();
    Leave();
    return block + 1;
}

void SFixedAlloc::FreeToHeap(void* block) noexcept
{
    std::free(static_cast<Block*>(block) - 1);
    Enter();
    ++m_freedCount;
    m_inUse -= Accounts();
    Leave();
}

#endif

void SFixedAlloc::FreeIntoBadRegion(Block* block) noexcept
{
    if (IsLockedBad(block))
        std::memset(block, 0, m_elementSize);
    else
        Push(block);
}

bool SFixedAlloc::IsLockedBad(const void* block) const noexcept
{
    for (const BadRegion* region = m_bad; region; region = region->next) {
        if (IsWithin(block, region->first, m_elementSize))
            return true;
    }
    return false;
}

// The chunk found comes to the front: blocks made together are mostly freed together, and a checked build asks at each Free.
bool SFixedAlloc::IsBlockOfThisPool(const void* block) noexcept
{
    const unsigned long bytes = m_blocksPerChunk * m_elementSize;
    for (SPlex** link = &m_chunks; *link; link = &(*link)->next) {
        SPlex* const chunk = *link;
        if (!IsWithin(block, chunk->Data(), bytes))
            continue;
        *link = chunk->next;
        chunk->next = m_chunks;
        m_chunks = chunk;
        return (static_cast<const char*>(block) - static_cast<char*>(chunk->Data())) % m_elementSize == 0;
    }
    return false;
}

void SFixedAlloc::ReportForeignBlock() const noexcept
{
    SReportDamage("void SFixedAlloc::Free(void*)", kSourceFile, __LINE__,
                  L"A pointer was freed into a pool that it does not come from.");
}

void SFixedAlloc::ReturnedToHeap(unsigned long chunks) noexcept
{
    const unsigned long bytes = chunks * (m_blocksPerChunk * m_elementSize + sizeof(SPlex));
    if (Accounts())
        m_bytes -= bytes;
    g_totalBytes.fetch_sub(bytes, std::memory_order_relaxed);
    m_freedCount = 0;
}

void SFixedAlloc::FreeAll() noexcept
{
    Enter();
    FreeAllUnlocked();
    Leave();
}

void SFixedAlloc::FreeAllUnlocked() noexcept
{
    ReturnedToHeap(CountChunks());
    SPlex::FreeChain(m_chunks);
    m_chunks = nullptr;
    m_free = nullptr;
    m_inUse = 0;
    while (BadRegion* region = m_bad) {
        m_bad = region->next;
        std::free(region);
    }
}

int SFixedAlloc::FreeUnused() noexcept
{
    Enter();
    const int freed = FreeUnusedUnlocked();
    Leave();
    return freed;
}

int SFixedAlloc::FreeUnusedUnlocked() noexcept
{
    // With chunks and free blocks both in the order of their addresses, the free blocks of a chunk are one run of the
    // list, and one pass over both tells how long each run is.
    m_chunks = SortByAddress(m_chunks);
    m_free = SortByAddress(m_free);
    const unsigned long bytes = m_blocksPerChunk * m_elementSize;
    int freed = 0;
    Block** block = &m_free;
    SPlex** link = &m_chunks;
    while (SPlex* chunk = *link) {
        Block** run = block;
        unsigned long count = 0;
        for (; *block && IsWithin(*block, chunk->Data(), bytes); block = &(*block)->next)
            ++count;
        if (count < m_blocksPerChunk) {
            link = &chunk->next;
            continue;
        }
        *run = *block;
        block = run;
        *link = chunk->next;
        ::operator delete[](chunk);
        ++freed;
    }
    ReturnedToHeap(freed);
    return freed;
}

unsigned long SFixedAlloc::CountChunks() const noexcept
{
    unsigned long count = 0;
    for (const SPlex* chunk = m_chunks; chunk; chunk = chunk->next)
        ++count;
    return count;
}

// Follows the free list as far as its links can be trusted. `found` tells whether `wanted` stands in that part,
// `lastSound` is the last block whose link was not followed to the end: null when already the head is wrong.
SFixedAlloc::ListFinding SFixedAlloc::WalkFreeList(const void* wanted, bool* found,
                                                   Block** lastSound) noexcept
{
    unsigned long left = CountChunks() * m_blocksPerChunk;
    *found = false;
    *lastSound = nullptr;
    for (Block* block = m_free; block; block = block->next) {
        if (!IsBlockOfThisPool(block))
            return kListBroken;
        if (left-- == 0)
            return kListCircular;
        *found = *found || block == wanted;
        *lastSound = block;
    }
    return kListSound;
}

// Ends a free list that runs into itself behind its last block that was not met before.
void SFixedAlloc::CutCircle() noexcept
{
    Block* slow = m_free;
    Block* fast = m_free;
    do {
        slow = slow->next;
        fast = fast->next->next;
    } while (slow != fast);
    // They met as far behind the circle's entry as the list's head lies before it, modulo the circle's length.
    Block* entry = m_free;
    while (entry != slow) {
        entry = entry->next;
        slow = slow->next;
    }
    while (slow->next != entry)
        slow = slow->next;
    slow->next = nullptr;
}

void SFixedAlloc::RepairFreeList() noexcept
{
    bool found;
    Block* lastSound;
    const ListFinding finding = WalkFreeList(nullptr, &found, &lastSound);
    if (finding == kListCircular)
        CutCircle();
    else if (finding == kListBroken && lastSound)
        lastSound->next = nullptr;
    else if (finding == kListBroken)
        m_free = nullptr;
}

int SFixedAlloc::LockBadBlockAndRepairFreeList(void* block) noexcept
{
    Enter();
    int recorded = 0;
    if (IsBlockOfThisPool(block)) {
        recorded = IsLockedBad(block);
        BadRegion* region = recorded ? nullptr : static_cast<BadRegion*>(std::malloc(sizeof(BadRegion)));
        if (region) {
            region->next = m_bad;
            region->first = block;
            m_bad = region;
            recorded = 1;
        }
    }
    RepairFreeList();
    Leave();
    return recorded;
}

int SFixedAlloc::_Validate(const void* block, int* blockFinding, int* listFinding) const noexcept
{
    SFixedAlloc* self = const_cast<SFixedAlloc*>(this);
    self->Enter();
    bool isFree;
    Block* lastSound;
    const ListFinding list = self->WalkFreeList(block, &isFree, &lastSound);
    BlockFinding finding = kBlockInUse;
    if (!self->IsBlockOfThisPool(block))
        finding = kBlockForeign;
    else if (isFree)
        finding = kBlockFree;
    else if (IsLockedBad(block))
        finding = kBlockLockedBad;
    self->Leave();
    if (blockFinding)
        *blockFinding = finding;
    if (listFinding)
        *listFinding = list;
    return finding == kBlockInUse && list == kListSound;
}

int SFixedAlloc::OnIdle(int force)
{
    Enter();
    const unsigned long threshold = g_idleThreshold.load(std::memory_order_relaxed);
    const bool due = force ? m_freedCount > 0 : threshold > 0 && m_freedCount >= threshold;
    if (due && m_chunks && m_free)
        FreeUnusedUnlocked();
    Leave();
    return 0;
}

void SFixedAlloc::DelayedInitBlockSize() noexcept
{
    Enter();
    InitBlocksPerChunk();
    Leave();
}

void SFixedAlloc::InitBlocksPerChunk() noexcept
{
    if (m_blocksPerChunk != 0)
        return;
    static const SYSTEM_INFO system = [] {
        SYSTEM_INFO info;
        ::GetSystemInfo(&info);
        return info;
    }();
    m_blocksPerChunk =
        ComputeBlocksPerChunk(m_elementSize, system.dwPageSize, system.dwAllocationGranularity);
}

unsigned long SFixedAlloc::ComputeBlocksPerChunk(unsigned long elementBytes, unsigned long pageBytes,
                                                 unsigned long granularityBytes) noexcept
{
    if (pageBytes / elementBytes >= kBlocksWorthAPage)
        return (pageBytes - kHeapReserve) / elementBytes;
    const unsigned long perGranule = granularityBytes / elementBytes;
    if (perGranule >= kBlocksWorthAPage)
        return (granularityBytes / 2 - kHeapReserve) / elementBytes;
    return perGranule < 2 ? 4 : perGranule;
}

unsigned long SFixedAlloc::TotalBytes() noexcept
{
    return g_totalBytes.load(std::memory_order_relaxed);
}

void SFixedAlloc::SetIdleThreshold(unsigned long freedBlocks) noexcept
{
    g_idleThreshold.store(freedBlocks, std::memory_order_relaxed);
}
