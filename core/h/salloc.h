// salloc.h: pools of equal blocks (SFixedAlloc), and the idle list that makes them give memory back.
//
//     SFixedAlloc nodes(sizeof(Node), 64, L"Nodes");
//     Node* node = new (nodes.Alloc()) Node;
//     node->~Node();
//     nodes.Free(node);
//
// Blocks come from chunks: one heap allocation of `blocks per chunk` blocks behind one link word. A freed block goes on
// the pool's free list and is the next one handed out; chunks return to the heap only through FreeUnused (which the idle
// loop calls) and FreeAll.
//
// Identity a pool is never assigned; copying one makes an empty pool with the same settings.
// Threads  every operation takes the pool's lock: any thread may use any pool, and free what another allocated.
// Failure  Alloc throws SEOutOfMemory when no chunk can be had (TryAlloc answers null) and leaves the pool as it was.
// Cost     Alloc and Free are a handful of instructions under one uncontended exchange; 4 bytes of overhead a chunk.
#ifndef SALLOC_H
#define SALLOC_H

#include "cvbase.h"

#include <atomic>
#include <cstddef>

class SIdleConsumer;

/// The consumers that one idle loop serves. The process has one list, Process(); a client with a loop of its own may
/// keep another. Members may be called on any thread; the list must outlive its consumers.
class CVCORE_API SIdleConsumerList {
public:
    SIdleConsumerList();
    SIdleConsumerList(const SIdleConsumerList&) = delete;
    SIdleConsumerList& operator=(const SIdleConsumerList&) = delete;
    ~SIdleConsumerList();

    /// The list that the application's idle loop runs.
    static SIdleConsumerList& Process();

    /// Appends the consumer; it is not owned. Throws SEOutOfMemory when the list cannot grow.
    void Add(SIdleConsumer* consumer);

    /// Takes the consumer off; unknown ones are ignored. A consumer may remove itself or another inside its OnIdle.
    void Remove(SIdleConsumer* consumer);

    /// Calls OnIdle(force) of every consumer, first registered first, under the list's lock. Returns 1 if any of them
    /// wants to be called again soon, else 0. What a consumer throws reaches the caller; the rest is then not called.
    int OnIdle(int force);

    /// How many consumers are registered.
    int Count() const;

private:
    void Compact();

    mutable CRITICAL_SECTION m_lock;
    SIdleConsumer** m_consumers;
    int m_count;
    int m_capacity;
    int m_running;
};

/// Something that can tidy up while the program has nothing else to do.
class CVCORE_API SIdleConsumer {
public:
    /// Registers with `list`, with the process's list when that is null.
    explicit SIdleConsumer(SIdleConsumerList* list = nullptr);
    virtual ~SIdleConsumer();

    /// Called by the list. `force` is nonzero when memory is wanted back whatever it costs. Returns nonzero to be
    /// called again soon.
    virtual int OnIdle(int force) = 0;

    SIdleConsumer(const SIdleConsumer&) = delete;
    SIdleConsumer& operator=(const SIdleConsumer&) = delete;

protected:
    SIdleConsumerList* m_idleList;
};

/// One chunk of a pool: a link, and behind it the blocks.
struct CVCORE_API SPlex {
    SPlex* next;

    /// First byte behind the link.
    void* Data() { return this + 1; }

    /// Makes a chunk of `count` x `size` bytes and pushes it on `head`. Throws SEOutOfMemory when the heap refuses it or
    /// the product overflows; `head` is then as before.
    static SPlex* Create(SPlex*& head, unsigned long count, unsigned long size);

    /// Same, but answers null instead of throwing.
    static SPlex* TryCreate(SPlex*& head, unsigned long count, unsigned long size) noexcept;

    /// What Create throws.
    [[noreturn]] static void ThrowOutOfMemory();

    /// Gives this chunk and all behind it back to the heap. Safe on null.
    static void FreeChain(SPlex* head) noexcept;
};

/// A lock for work of a few instructions: one exchange enters, one store leaves. Threads that find it taken queue in a
/// critical section of the system and poll from there one at a time, so waiters neither pile up nor need waking.
/// Not recursive.
class CVCORE_API SPoolLock {
public:
    SPoolLock() noexcept : m_taken(0) {}
    SPoolLock(const SPoolLock&) = delete;
    SPoolLock& operator=(const SPoolLock&) = delete;

    /// `queue` is where contended callers wait.
    void Enter(CRITICAL_SECTION& queue) noexcept
    {
        if (S_UNLIKELY(m_taken.exchange(1, std::memory_order_acquire) != 0))
            EnterContended(queue);
    }
    void Leave() noexcept { m_taken.store(0, std::memory_order_release); }

private:
    void EnterContended(CRITICAL_SECTION& queue) noexcept;

    std::atomic<long> m_taken;
};

/// What a pool with a name shows of itself; see SPoolCounters.
struct SPoolCounter {
    const wchar_t* name;        ///< the pool's name, valid as long as the pool lives
    const unsigned long* bytes; ///< bytes of the chunks it holds
    const unsigned long* inUse; ///< blocks handed out and not yet freed
    unsigned long blockBytes;   ///< size of one block
};

/// The counters of all pools that were made with a name, in the order of their making.
class CVCORE_API SPoolCounters {
public:
    /// Calls `visit` for every named pool of the process, under the register's lock: do not make or end pools in it.
    /// A `visit` that answers 0 ends the walk. The numbers are read without the pools' locks: exact only at rest.
    static void ForEach(int (*visit)(const SPoolCounter& counter, void* context), void* context);
};

/// A pool of equal blocks. Blocks are 4-aligned (their chunk's link word stands before the first one).
class CVCORE_API SFixedAlloc : public SIdleConsumer {
public:
    /// Longest name, in characters; a longer one is cut.
    enum { kMaxName = 99 };

    /// A pool of blocks of `elementBytes` (rounded up to a multiple of 4, at least 4), `blocksPerChunk` at a time; 0 lets
    /// the pool work the number out on first use (DelayedInitBlockSize). With a name the pool counts its bytes and the
    /// blocks in use and shows both through SPoolCounters; with null, accounting is off. `list` is the idle list to
    /// register with, null for the process's. Allocates no chunk.
    SFixedAlloc(unsigned long elementBytes, unsigned long blocksPerChunk, const wchar_t* name = nullptr,
                SIdleConsumerList* list = nullptr);

    /// An empty pool with the settings, the name and the idle list of `other`. Blocks are not copied.
    SFixedAlloc(const SFixedAlloc& other);
    SFixedAlloc& operator=(const SFixedAlloc&) = delete;

    /// Frees every chunk, also those with blocks in use: no block may be touched afterwards. Takes no lock, since nobody
    /// may use a pool that ends (and at process exit a killed thread may have left it locked).
    ~SFixedAlloc() override;

    // ---- Blocks ----

    /// A block; its first word is 0, the rest is what its last owner left. Throws SEOutOfMemory.
    inline void* Alloc();

    /// Same, but answers null when no chunk can be had.
    inline void* TryAlloc() noexcept;

    /// Puts a block back; null is ignored. A block inside a region locked as bad is zeroed and never handed out again.
    /// A pointer that is not a block of this pool is a caller's bug: checked builds of the library report it
    /// (SReportDamage) and leave it alone, others do not look. A block freed twice is found by _Validate.
    inline void Free(void* block) noexcept;

    /// Gives every chunk back to the heap, also those with blocks in use, and forgets bad regions.
    void FreeAll() noexcept;

    /// Gives back the chunks none of whose blocks is in use; returns how many. Sorts the free list by address on the way
    /// (n log n in the number of free blocks) and allocates nothing, so it may run when the heap is empty.
    int FreeUnused() noexcept;

    // ---- Care ----

    /// For a block that its owner overran: the block is never handed out again once it is freed, and the free list, whose
    /// links the overrun may have destroyed, is cut at the first link that does not name a block of this pool or that
    /// closes a circle; free blocks behind the cut stay out of use until FreeAll. Returns 1, or 0 when the block is not one
    /// of this pool or there was no memory to record it (the free list is repaired all the same).
    int LockBadBlockAndRepairFreeList(void* block) noexcept;

    /// What _Validate found out about a block and about the free list.
    enum BlockFinding { kBlockInUse = 0, kBlockForeign = 1, kBlockFree = 2, kBlockLockedBad = 3 };
    enum ListFinding { kListSound = 0, kListBroken = 1, kListCircular = 2 };

    /// Checks `block` and the free list. Returns 1 when the block is in use and the list is sound. The findings may be
    /// null. A block that is freed twice is kBlockFree; a pointer that is not the start of a block of this pool is
    /// kBlockForeign (null too). A broken list is followed up to the break only. Linear in blocks and chunks.
    int _Validate(const void* block, int* blockFinding, int* listFinding) const noexcept;

    /// The idle work: FreeUnused when a chunk and a free block exist and either `force` is nonzero and a block was freed
    /// since the last time, or a threshold is set and that many were. Returns 0.
    int OnIdle(int force) override;

    /// Works out the blocks per chunk of a pool made with 0 (first use does it): about a page of blocks, or half an
    /// allocation granule, or at least 4.
    void DelayedInitBlockSize() noexcept;

    /// The number that DelayedInitBlockSize arrives at for a block size, a page size and an allocation granularity.
    static unsigned long ComputeBlocksPerChunk(unsigned long elementBytes, unsigned long pageBytes,
                                               unsigned long granularityBytes) noexcept;

    // ---- Look ----

    unsigned long ElementSize() const { return m_elementSize; }
    unsigned long BlocksPerChunk() const { return m_blocksPerChunk; }
    /// How many blocks have been freed since the last FreeUnused or FreeAll.
    unsigned long FreedCount() const { return m_freedCount; }
    /// Bytes of all chunks; kNoAccounting for a pool without a name.
    unsigned long Bytes() const { return m_bytes; }
    /// Blocks handed out and not yet freed; stays 0 without accounting.
    unsigned long InUse() const { return m_inUse; }
    const wchar_t* Name() const { return m_name; }
    /// Bytes of the chunks of all pools of the process, named or not.
    static unsigned long TotalBytes() noexcept;

    /// How many freed blocks make an unforced OnIdle act; 0, the initial value, means never. One for all pools.
    static void SetIdleThreshold(unsigned long freedBlocks) noexcept;

    /// Value of Bytes() while accounting is off.
    static constexpr unsigned long kNoAccounting = 0xFFFFFFFF;

private:
    struct Block {
        Block* next;
    };
    struct BadRegion;
    friend struct SAllocLayout;
    friend class SPoolCounters;

    bool Accounts() const { return m_bytes != kNoAccounting; }
    void Enter() noexcept { m_gate.Enter(m_queue); }
    void Leave() noexcept { m_gate.Leave(); }
    inline Block* Pop() noexcept;
    inline void Push(Block* block) noexcept;
    bool AddChunk() noexcept;
    void* AllocFromNewChunk() noexcept;
#ifdef CVCORE_POOLS_PASS
    // A build under tools that watch each block of the heap: pools pass every block through, so that they see ours.
    void* AllocFromHeap() noexcept;
    void FreeToHeap(void* block) noexcept;
#endif
    void FreeIntoBadRegion(Block* block) noexcept;
    bool IsLockedBad(const void* block) const noexcept;
    bool IsBlockOfThisPool(const void* block) noexcept;
    void ReportForeignBlock() const noexcept;
    unsigned long CountChunks() const noexcept;
    ListFinding WalkFreeList(const void* wanted, bool* found, Block** lastSound) noexcept;
    void CutCircle() noexcept;
    void RepairFreeList() noexcept;
    void InitBlocksPerChunk() noexcept;
    void ReturnedToHeap(unsigned long chunks) noexcept;
    void FreeAllUnlocked() noexcept;
    int FreeUnusedUnlocked() noexcept;

    unsigned long m_elementSize;
    unsigned long m_blocksPerChunk;
    SPlex* m_chunks;
    Block* m_free;
    unsigned long m_freedCount;
    unsigned long m_bytes;
    unsigned long m_inUse;
    SPoolLock m_gate; // beside the counters, so that Alloc and Free stay in one cache line
    wchar_t m_name[kMaxName + 1];
    CRITICAL_SECTION m_queue; // where contended callers of m_gate wait
    BadRegion* m_bad;
    SFixedAlloc* m_nextNamed; // in the register of SPoolCounters
};

// ---- Inline parts: the two operations on which everything sits ----

inline SFixedAlloc::Block* SFixedAlloc::Pop() noexcept
{
    Block* block = m_free;
    m_free = block->next;
    block->next = nullptr;
    if (Accounts())
        ++m_inUse;
    return block;
}

inline void SFixedAlloc::Push(Block* block) noexcept
{
    block->next = m_free;
    m_free = block;
}

inline void* SFixedAlloc::TryAlloc() noexcept
{
#ifdef CVCORE_POOLS_PASS
    return AllocFromHeap();
#endif
    Enter();
    if (S_UNLIKELY(!m_free))
        return AllocFromNewChunk(); // leaves the lock
    void* block = Pop();
    Leave();
    return block;
}

inline void* SFixedAlloc::Alloc()
{
    void* block = TryAlloc();
    if (S_UNLIKELY(!block))
        SPlex::ThrowOutOfMemory();
    return block;
}

inline void SFixedAlloc::Free(void* memory) noexcept
{
    if (!memory)
        return;
#ifdef CVCORE_POOLS_PASS
    FreeToHeap(memory);
    return;
#endif
    Block* block = static_cast<Block*>(memory);
    Enter();
#ifdef CVCORE_CHECKED
    if (!IsBlockOfThisPool(memory)) {
        Leave();
        ReportForeignBlock();
        return;
    }
#endif
    if (S_UNLIKELY(m_bad != nullptr))
        FreeIntoBadRegion(block);
    else
        Push(block);
    ++m_freedCount;
    if (Accounts())
        --m_inUse;
    Leave();
}

#endif
