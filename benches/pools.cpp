// pools.cpp: SFixedAlloc beside the locked pools of Boost, the heap and Windows' own lists.
#include "bench.h"

#include "salloc.h"

#include <boost/config.hpp>
#include <boost/pool/pool_alloc.hpp>
#include <boost/pool/singleton_pool.hpp>

#include <windows.h>
#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <vector>

#ifndef BOOST_HAS_THREADS
#error Without threads Boost leaves the locks out, and its pools would be no peers.
#endif

namespace {

// ---- The pools: each has static Alloc and Free ----

template <int size>
struct Ours {
    static SFixedAlloc& Pool()
    {
        static SFixedAlloc pool(size, 0, nullptr);
        return pool;
    }
    static void* Alloc() { return Pool().Alloc(); }
    static void Free(void* block) { Pool().Free(block); }
};

struct BenchTag {};

template <int size>
struct Singleton {
    typedef boost::singleton_pool<BenchTag, size> Pool;
    static void* Alloc() { return Pool::malloc(); }
    static void Free(void* block) { Pool::free(block); }
};

template <int size>
struct FastAllocator {
    struct Block {
        char bytes[size];
    };
    typedef boost::fast_pool_allocator<Block> Pool;
    static void* Alloc() { return Pool::allocate(); }
    static void Free(void* block) { Pool::deallocate(static_cast<Block*>(block)); }
};

template <int size>
struct Heap {
    static void* Alloc() { return std::malloc(size); }
    static void Free(void* block) { std::free(block); }
};

/// The heap behind a list without locks.
template <int size>
struct LockFree {
    static SLIST_HEADER& List()
    {
        static SLIST_HEADER* const list = [] {
            void* const memory = ::_aligned_malloc(sizeof(SLIST_HEADER), MEMORY_ALLOCATION_ALIGNMENT);
            ::InitializeSListHead(static_cast<SLIST_HEADER*>(memory));
            return static_cast<SLIST_HEADER*>(memory);
        }();
        return *list;
    }
    static void* Alloc()
    {
        void* const block = ::InterlockedPopEntrySList(&List());
        return block ? block : ::_aligned_malloc(size, MEMORY_ALLOCATION_ALIGNMENT);
    }
    static void Free(void* block) { ::InterlockedPushEntrySList(&List(), static_cast<SLIST_ENTRY*>(block)); }
};

// ---- The work ----

template <class Pool>
unsigned long Pairs(long count)
{
    unsigned long sum = 0;
    for (long i = count; i > 0; --i) {
        void* const block = Pool::Alloc();
        static_cast<long*>(block)[1] = i;
        Keep(*static_cast<long*>(block));
        sum += static_cast<unsigned long>(static_cast<long*>(block)[1]);
        Pool::Free(block);
    }
    return sum;
}

template <class Pool>
unsigned long Pair(Run& run)
{
    return Pairs<Pool>(run.n);
}

const int kBatch = 1000;

/// All blocks, then all freed in disorder.
template <class Pool>
unsigned long Batch(Run& run)
{
    static const std::vector<int> order = Shuffled(kBatch);
    unsigned long sum = 0;
    long* blocks[kBatch];
    for (long i = run.n; i > 0; --i) {
        for (int j = 0; j < kBatch; ++j) {
            blocks[j] = static_cast<long*>(Pool::Alloc());
            blocks[j][1] = j;
        }
        for (int j : order) {
            sum += static_cast<unsigned long>(blocks[j][1]);
            Pool::Free(blocks[j]);
        }
    }
    return sum;
}

/// The second thread of the two, on the other processor.
struct Worker {
    unsigned long (*work)(long count);
    long count;
    unsigned long sum;
    std::atomic<int> state; ///< 1 ready, 2 go, 3 done

    static DWORD WINAPI Procedure(void* worker)
    {
        Worker& self = *static_cast<Worker*>(worker);
        StayOnProcessor(1);
        self.state = 1;
        while (self.state != 2)
            ::YieldProcessor();
        self.sum = self.work(self.count);
        self.state = 3;
        return 0;
    }
};

const long kPairsEach = 10000;

template <class Pool>
unsigned long TwoThreads(Run& run)
{
    run.Pause();
    Worker other;
    other.work = Pairs<Pool>;
    other.count = run.n * kPairsEach;
    other.sum = 0;
    other.state = 0;
    const HANDLE thread = ::CreateThread(nullptr, 0, Worker::Procedure, &other, 0, nullptr);
    while (other.state != 1)
        ::Sleep(0);
    run.Resume();
    other.state = 2;
    const unsigned long sum = Pairs<Pool>(run.n * kPairsEach);
    while (other.state != 3)
        ::YieldProcessor();
    run.Pause();
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
    run.Resume();
    return sum + other.sum;
}

template <int size>
Row PairRow(const char* key)
{
    return { key,
             Nanoseconds(1),
             AtMost(0.6),
             Pair<Ours<size>>,
             { { "boost::singleton_pool", Pair<Singleton<size>> },
               { "boost::fast_pool_allocator", Pair<FastAllocator<size>> },
               { "malloc", Pair<Heap<size>> },
               { "SList", Pair<LockFree<size>> } } };
}

template <int size>
Row BatchRow(const char* key)
{
    return { key,
             Nanoseconds(kBatch),
             AtMost(0.75),
             Batch<Ours<size>>,
             { { "boost::singleton_pool", Batch<Singleton<size>> },
               { "boost::fast_pool_allocator", Batch<FastAllocator<size>> },
               { "malloc", Batch<Heap<size>> },
               { "SList", Batch<LockFree<size>> } } };
}

template <int size>
Row TwoThreadsRow(const char* key)
{
    return { key,
             Nanoseconds(kPairsEach),
             AtMost(0.9),
             TwoThreads<Ours<size>>,
             { { "boost::singleton_pool", TwoThreads<Singleton<size>> },
               { "boost::fast_pool_allocator", TwoThreads<FastAllocator<size>> },
               { "malloc", TwoThreads<Heap<size>> },
               { "SList", TwoThreads<LockFree<size>> } } };
}

template <int size>
Row TwoThreadsHeapRow(const char* key)
{
    return { key,
             Nanoseconds(kPairsEach),
             AtMost(0.3),
             TwoThreads<Ours<size>>,
             { { "malloc", TwoThreads<Heap<size>> } } };
}

const Row kRows[] = {
    PairRow<48>("pool.pair.48"),
    PairRow<80>("pool.pair.80"),
    PairRow<144>("pool.pair.144"),
    BatchRow<48>("pool.batch.48"),
    BatchRow<80>("pool.batch.80"),
    BatchRow<144>("pool.batch.144"),
    TwoThreadsRow<48>("pool.2thr.48"),
    TwoThreadsRow<80>("pool.2thr.80"),
    TwoThreadsRow<144>("pool.2thr.144"),
    TwoThreadsHeapRow<48>("pool.2thr.48.heap"),
    TwoThreadsHeapRow<144>("pool.2thr.144.heap"),
};

} // namespace

extern const Subject kPools;
const Subject kPools = { "pools", [](Bench& bench) { bench.Compare(kRows); } };
