// Pools of equal blocks: order of blocks, accounting, giving memory back, damage, threads.
#include "salloc.h"

#include "damage.h"
#include "sexcept.h"
#include "support/allocfail.h"
#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

char* Bytes(void* block)
{
    return static_cast<char*>(block);
}

struct Found {
    int block = -1, list = -1, sound = -1;
};
Found Validate(const SFixedAlloc& pool, const void* block)
{
    Found found;
    found.sound = pool._Validate(block, &found.block, &found.list);
    return found;
}

std::vector<void*> Take(SFixedAlloc& pool, int count)
{
    std::vector<void*> blocks;
    for (int i = 0; i < count; ++i)
        blocks.push_back(pool.Alloc());
    return blocks;
}

// What a link in a free block takes, and one in front of a chunk.
constexpr unsigned kWord = sizeof(void*);

} // namespace

TEST(Pool, HandsBlocksOutInOrderAndTheLastFreedFirst)
{
    constexpr int kBytes = 5 * kWord;
    SFixedAlloc pool(kBytes, 3);
    const std::vector<void*> blocks = Take(pool, 3);
    EXPECT_EQ(kBytes, Bytes(blocks[1]) - Bytes(blocks[0]));
    EXPECT_EQ(kBytes, Bytes(blocks[2]) - Bytes(blocks[1]));
    void* other = pool.Alloc(); // the next chunk
    pool.Free(blocks[0]);
    std::memset(blocks[2], 0xEE, kBytes);
    pool.Free(blocks[2]);
    void* again = pool.Alloc();
    EXPECT_EQ(blocks[2], again);
    EXPECT_EQ(0u, *static_cast<UINT_PTR*>(again)) << "the first word is cleared";
    EXPECT_EQ(0xEE, static_cast<unsigned char*>(again)[kWord]) << "the rest is not";
    EXPECT_EQ(blocks[0], pool.Alloc());
    pool.Free(nullptr);
    pool.Free(other);
    EXPECT_EQ(3u, pool.FreedCount());
}

TEST(Pool, CountsOnlyWhenItHasAName)
{
    const unsigned long before = SFixedAlloc::TotalBytes();
    SFixedAlloc named(48, 10, L"Named for a test"), silent(48, 10);
    const std::vector<void*> blocks = Take(named, 11);
    Take(silent, 1);
    EXPECT_EQ(2u * (48 * 10 + kWord), named.Bytes());
    EXPECT_EQ(11u, named.InUse());
    named.Free(blocks[3]);
    EXPECT_EQ(10u, named.InUse());
    EXPECT_EQ(SFixedAlloc::kNoAccounting, silent.Bytes());
    EXPECT_EQ(0u, silent.InUse());
    EXPECT_EQ(before + 3u * (48 * 10 + kWord), SFixedAlloc::TotalBytes());

    struct Seen {
        int times = 0;
        unsigned long inUse = 0, blockBytes = 0;
    } seen;
    auto look = [](const SPoolCounter& counter, void* context) {
        auto* out = static_cast<Seen*>(context);
        if (std::wstring(L"Named for a test") == counter.name) {
            ++out->times;
            out->inUse = *counter.inUse;
            out->blockBytes = counter.blockBytes;
        }
        return 1;
    };
    SPoolCounters::ForEach(look, &seen);
    EXPECT_EQ(1, seen.times);
    EXPECT_EQ(10u, seen.inUse);
    EXPECT_EQ(48u, seen.blockBytes);
    {
        SFixedAlloc copy(named);
        EXPECT_EQ(0u, copy.Bytes());
        EXPECT_EQ(48u, copy.ElementSize());
        EXPECT_EQ(10u, copy.BlocksPerChunk());
        SPoolCounters::ForEach(look, &seen);
        EXPECT_EQ(3, seen.times);
    }
    named.FreeAll();
    silent.FreeAll();
    EXPECT_EQ(0u, named.Bytes());
    EXPECT_EQ(0u, named.InUse());
    EXPECT_EQ(before, SFixedAlloc::TotalBytes());

    SFixedAlloc longName(8, 1, std::wstring(150, L'n').c_str());
    EXPECT_EQ(99u, std::wcslen(longName.Name()));
}

TEST(Pool, WorksOutItsChunkFromPageAndGranularity)
{
    const struct {
        unsigned long size, page, granularity, expected;
    } cases[] = {
        { 48, 4096, 65536, (4096 - 16) / 48 },
        { 240, 4096, 65536, (4096 - 16) / 240 },
        { 241, 4096, 65536, (32768 - 16) / 241 },
        { 3855, 4096, 65536, (32768 - 16) / 3855 },
        { 4112, 4096, 65536, 15 },
        { 32768, 4096, 65536, 2 },
        { 32769, 4096, 65536, 4 },
        { 100000, 4096, 65536, 4 },
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.expected, SFixedAlloc::ComputeBlocksPerChunk(c.size, c.page, c.granularity)) << c.size;
    SFixedAlloc pool(4112, 0);
    EXPECT_EQ(0u, pool.BlocksPerChunk());
    pool.Free(pool.Alloc());
    EXPECT_EQ(15u, pool.BlocksPerChunk());
    SFixedAlloc odd(1, 2);
    EXPECT_EQ(kWord, odd.ElementSize()) << "a block holds a link and stays aligned";
}

TEST(Pool, GivesBackExactlyTheUnusedChunks)
{
    std::mt19937 random(TestSeed());
    SFixedAlloc pool(16, 8, L"Giving back");
    for (int round = 0; round < 50; ++round) {
        std::vector<void*> blocks = Take(pool, 400);
        std::shuffle(blocks.begin(), blocks.end(), random);
        const size_t kept = random() % 20;
        for (size_t i = kept; i < blocks.size(); ++i)
            pool.Free(blocks[i]);
        blocks.resize(kept);
        pool.FreeUnused();
        EXPECT_EQ(0u, pool.FreedCount());
        EXPECT_LE(pool.Bytes(), kept * (16u * 8 + kWord));
        EXPECT_GE(pool.Bytes(), (kept + 7) / 8 * (16u * 8 + kWord));
        for (void* block : blocks)
            ASSERT_EQ(1, Validate(pool, block).sound);
        // What is left of those chunks serves before a new chunk is made.
        const unsigned long bytes = pool.Bytes();
        const std::vector<void*> rest = Take(pool, static_cast<int>(bytes / (16 * 8 + 4) * 8 - kept));
        EXPECT_EQ(bytes, pool.Bytes());
        std::set<void*> distinct(rest.begin(), rest.end());
        distinct.insert(blocks.begin(), blocks.end());
        EXPECT_EQ(rest.size() + blocks.size(), distinct.size());
        for (void* block : distinct)
            pool.Free(block);
    }
    EXPECT_EQ(0u, pool.InUse());
    pool.FreeUnused();
    EXPECT_EQ(0u, pool.Bytes());
}

TEST(Pool, ActsAtIdleWhenForcedOrPastTheThreshold)
{
    SIdleConsumerList list;
    SFixedAlloc pool(32, 4, L"Idle", &list);
    EXPECT_EQ(0, pool.OnIdle(1)) << "no chunk";
    const std::vector<void*> blocks = Take(pool, 8);
    list.OnIdle(1);
    EXPECT_NE(0u, pool.Bytes()) << "nothing was freed";
    for (void* block : blocks)
        pool.Free(block);
    list.OnIdle(0);
    EXPECT_NE(0u, pool.Bytes()) << "no threshold is set";
    SFixedAlloc::SetIdleThreshold(9);
    list.OnIdle(0);
    EXPECT_NE(0u, pool.Bytes()) << "the threshold is not reached";
    SFixedAlloc::SetIdleThreshold(8);
    EXPECT_EQ(0, list.OnIdle(0));
    EXPECT_EQ(0u, pool.Bytes());
    SFixedAlloc::SetIdleThreshold(0);
    pool.Free(pool.Alloc());
    list.OnIdle(1);
    EXPECT_EQ(0u, pool.Bytes());
}

TEST(IdleList, SurvivesConsumersThatLeaveWhileItRuns)
{
    SIdleConsumerList list;
    struct Once : SIdleConsumer {
        SIdleConsumer** victim;
        int* calls;
        Once(SIdleConsumerList* l, int* c, SIdleConsumer** v = nullptr)
            : SIdleConsumer(l), victim(v), calls(c)
        {}
        int OnIdle(int) override
        {
            ++*calls;
            if (victim) {
                delete *victim;
                *victim = nullptr;
                victim = nullptr;
            }
            return 1;
        }
    };
    int calls = 0;
    SIdleConsumer* victim = nullptr;
    Once first(&list, &calls, &victim);
    SIdleConsumer* self = new Once(&list, &calls, &self);
    victim = new Once(&list, &calls);
    EXPECT_EQ(3, list.Count());
    EXPECT_EQ(1, list.OnIdle(0));
    EXPECT_EQ(2, calls) << "the victim was gone before its turn";
    EXPECT_EQ(1, list.Count());
}

TEST(PoolDamage, ValidateTellsWhatIsWrong)
{
    SFixedAlloc pool(16, 4), other(16, 4);
    const std::vector<void*> blocks = Take(pool, 4);
    void* foreign = other.Alloc();
    EXPECT_EQ(1, Validate(pool, blocks[2]).sound);
    for (const void* p : { static_cast<const void*>(nullptr), static_cast<const void*>(foreign),
                           static_cast<const void*>(Bytes(blocks[1]) + 4) })
        EXPECT_EQ(SFixedAlloc::kBlockForeign, Validate(pool, p).block);
    pool.Free(blocks[0]);
    pool.Free(blocks[1]);
    EXPECT_EQ(SFixedAlloc::kBlockFree, Validate(pool, blocks[0]).block);
    EXPECT_EQ(SFixedAlloc::kListSound, Validate(pool, blocks[0]).list);
    void* const link = *static_cast<void**>(blocks[1]);
    *static_cast<void**>(blocks[1]) = foreign;
    EXPECT_EQ(SFixedAlloc::kListBroken, Validate(pool, blocks[2]).list);
    *static_cast<void**>(blocks[1]) = link;
    *static_cast<void**>(blocks[0]) = blocks[1]; // as a second Free of blocks[1] would leave it
    EXPECT_EQ(SFixedAlloc::kListCircular, Validate(pool, blocks[2]).list);
    EXPECT_EQ(0, pool._Validate(blocks[2], nullptr, nullptr));
    pool.FreeAll();
}

TEST(PoolDamage, AnOverrunBlockIsNeverHandedOutAgain)
{
    SFixedAlloc pool(16, 6, L"Overrun");
    std::vector<void*> blocks = Take(pool, 6);
    for (int i : { 5, 3, 2 })
        pool.Free(blocks[i]);                 // free list: 2, 3, 5
    std::memset(blocks[1], 'x', 16 + 16 + 4); // runs over block 2 and the link of 3
    EXPECT_EQ(1, pool.LockBadBlockAndRepairFreeList(blocks[1]));
    EXPECT_EQ(1, pool.LockBadBlockAndRepairFreeList(blocks[1])) << "once more does no harm";
    EXPECT_EQ(SFixedAlloc::kBlockLockedBad, Validate(pool, blocks[1]).block);
    EXPECT_EQ(SFixedAlloc::kListSound, Validate(pool, blocks[0]).list);
    pool.Free(blocks[1]);
    EXPECT_EQ(0, *static_cast<int*>(blocks[1])) << "zeroed";
    EXPECT_EQ(2u, pool.InUse());
    const std::vector<void*> more = Take(pool, 12);
    EXPECT_EQ(more.end(), std::find(more.begin(), more.end(), blocks[1]));
    EXPECT_EQ(12u, std::set<void*>(more.begin(), more.end()).size());
    EXPECT_EQ(0, pool.LockBadBlockAndRepairFreeList(&pool));
}

TEST(PoolDamage, ACircularFreeListIsCutWithoutLosingABlock)
{
    for (int entry = 0; entry < 5; ++entry) {
        SCOPED_TRACE(entry);
        SFixedAlloc pool(16, 5);
        const std::vector<void*> blocks = Take(pool, 5);
        for (int i = 4; i >= 0; --i)
            pool.Free(blocks[i]); // free list: 0, 1, 2, 3, 4
        *static_cast<void**>(blocks[4]) = blocks[entry];
        pool.LockBadBlockAndRepairFreeList(nullptr);
        EXPECT_EQ(SFixedAlloc::kListSound, Validate(pool, nullptr).list);
        EXPECT_EQ(blocks, Take(pool, 5));
    }
}

#ifdef CVCORE_CHECKED
TEST(PoolDamage, ForeignPointersAreReportedInCheckedBuilds)
{
    static int reports;
    reports = 0;
    const SDamageReporter before =
        SSetDamageReporter([](const char*, const char*, unsigned long, const wchar_t*) { ++reports; });
    SFixedAlloc pool(16, 4, L"Foreign");
    void* block = pool.Alloc();
    int stranger[4] = { 1, 2, 3, 4 };
    pool.Free(stranger);
    EXPECT_EQ(1, reports);
    EXPECT_EQ(1, stranger[0]);
    EXPECT_EQ(1u, pool.InUse());
    pool.Free(block);
    EXPECT_EQ(1, reports);
    SSetDamageReporter(before);
}
#endif

TEST(Pool, FailsCleanlyWithoutMemory)
{
    SFixedAlloc pool(64, 4, L"Without memory");
    void* block = nullptr;
    const int points = WalkAllocationFailures(
        [&] { pool.FreeAll(); }, [&] { block = pool.Alloc(); },
        [&](const AllocationTrial& trial) {
            if (!trial.failed) {
                EXPECT_EQ(1u, pool.InUse());
                return;
            }
            EXPECT_TRUE(Threw<SEOutOfMemory>(trial, [](const SEOutOfMemory& e) {
                EXPECT_NE(nullptr, std::wcsstr(e.GetLocation(),
                                               L" core/src/salloc(544): static SPlex* SPlex::Create("));
            }));
            EXPECT_EQ(0u, pool.InUse());
            EXPECT_EQ(0u, pool.Bytes());
        });
    EXPECT_GT(points, 0);
    EXPECT_THROW(SFixedAlloc(0x10000, 0x10000).Alloc(), SEOutOfMemory) << "the product overflows 32 bits";
}
