// What may be shared between threads, used by several at a time. The native lane runs this too, where a checker follows each
// access: only what is the same there may be used here.
#include "salloc.h"
#include "shglobal.h"
#include "smap.h"

#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// How often to do what is done so often: a hundred times that in a long run. CV_ROUNDS is the most, for a checker that takes a
/// thousand times as long. Asked for before there are threads, since that checker does not follow the making of static objects.
const char* const g_mostRounds = std::getenv("CV_ROUNDS");
int Rounds(int usual)
{
    constexpr int kTimesInALongRun = 100;
    const int wanted = WantedAmount() == Amount::Long ? kTimesInALongRun * usual : usual;
    return g_mostRounds ? std::min(wanted, std::atoi(g_mostRounds)) : wanted;
}

constexpr int kThreads = 8;

/// Does `work`, given the thread's number and dice of its own, on all threads at a time.
template <typename Work>
void OnAllThreads(Work work)
{
    const unsigned seed = TestSeed();
    std::atomic<int> waiting{ 0 };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&work, &waiting, seed, t] {
            std::mt19937 dice(seed + static_cast<unsigned>(t));
            for (++waiting; waiting < kThreads;)
                std::this_thread::yield();
            work(t, dice);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

/// Now and then another thread's turn, amid what is done: on few cores they would hardly meet else.
void MaybeYield(std::mt19937& dice)
{
    if (dice() % 512 == 0)
        std::this_thread::yield();
}

std::string Bytes(const SBlob& blob)
{
    const std::string text(static_cast<const char*>(blob.LockForRead()), blob.GetSize());
    blob.Unlock();
    return text;
}

} // namespace

TEST(StringThreads, ShareOneBufferWithoutLosingACount)
{
    const StringsAtRest rest;
    {
        const SString text(L"shared between threads"), other(L'z', 4000);
        OnAllThreads([&text, &other, rounds = Rounds(1250000)](int, std::mt19937& dice) {
            for (int i = 0; i < rounds; ++i) {
                const SString copy(text);
                MaybeYield(dice);
                SString second(i % 2 ? copy : other);
                MaybeYield(dice);
                if (i % 64 == 0)
                    second += L"!"; // parts from the shared buffer
            }
        });
        EXPECT_STREQ(L"shared between threads", text.PszStr());
        SString sole(text);
        const wchar_t* const buffer = text;
        sole.Empty();
        const_cast<SString&>(text) += L"?";
        EXPECT_EQ(33, text.Capacity());
        EXPECT_EQ(buffer, static_cast<const wchar_t*>(text))
            << "the count is 1 again, so the buffer is private";
    }
}

TEST(BlobThreads, ShareOneContentWithoutLosingAReference)
{
    SBlob origin;
    ASSERT_EQ(1, origin.SetAsText(L"shared by all"));
    OnAllThreads([&shared = std::as_const(origin), rounds = Rounds(250000)](int, std::mt19937& dice) {
        for (int i = 0; i < rounds; ++i) {
            SBlob mine(shared);
            MaybeYield(dice);
            SBlob again = mine;
            MaybeYield(dice);
            if (i % 100 == 0)
                static_cast<char*>(mine.Lock())[0] = 'X';
        }
    });
    EXPECT_EQ("shared by all", Bytes(origin));
    SBlob last(origin);
    const void* const address = origin.LockForRead();
    origin.Unlock();
    origin.Free();
    EXPECT_EQ(address, last.Lock()) << "the last owner writes in place: no reference was lost";
    last.Unlock();
}

TEST(PoolThreads, KeepEveryBlockAndEveryCount)
{
    SFixedAlloc small(8, 64, L"Threads"), middle(48, 64, L"Threads"), large(260, 16, L"Threads");
    SFixedAlloc* const pools[] = { &small, &middle, &large };
    OnAllThreads([&pools, rounds = Rounds(500000)](int t, std::mt19937& dice) {
        struct {
            SFixedAlloc* pool;
            unsigned* block;
        } held[50] = {};
        unsigned number = 0;
        // Blocks begin with whose they are and which one, and end with it too, where they are long enough.
        const auto release = [t](auto& place) {
            if (!place.block)
                return;
            const unsigned long last = place.pool->ElementSize() / sizeof(unsigned) - 1;
            ASSERT_EQ(t, static_cast<int>(place.block[1] >> 24)) << "two owners of one block";
            ASSERT_EQ(place.block[1], place.block[last]) << "two owners of one block";
            place.pool->Free(place.block);
            place.block = nullptr;
        };
        for (int i = 0; i < rounds; ++i) {
            auto& place = held[dice() % std::size(held)];
            release(place);
            MaybeYield(dice);
            place.pool = pools[dice() % std::size(pools)];
            place.block = static_cast<unsigned*>(place.pool->Alloc());
            place.block[1] = place.block[place.pool->ElementSize() / sizeof(unsigned) - 1] =
                static_cast<unsigned>(t) << 24 | (++number & 0xFFFFFF);
            if (i % 5000 == 0)
                place.pool->FreeUnused();
        }
        for (auto& place : held)
            release(place);
    });
    for (SFixedAlloc* pool : pools) {
        EXPECT_EQ(0u, pool->InUse());
        pool->FreeUnused();
        EXPECT_EQ(0u, pool->Bytes());
    }
}

// ---- Pools of entries ----

namespace {

// A map whose entries have a size that nobody else uses.
template <int kBytes>
void UseMapOf()
{
    struct Value {
        char bytes[kBytes];
    };
    SMap<int, Value> map;
    map[1];
}

// Works under the idle list's lock, as every idle consumer does.
struct MapUsingConsumer : SIdleConsumer {
    std::thread other;

    int OnIdle(int) override
    {
        other = std::thread(UseMapOf<5004>);
        ::Sleep(50); // it waits for the idle list now, to register its pool
        UseMapOf<5008>();
        return 0;
    }
};

} // namespace

// Hung while a thread that made a pool held a lock of the pools and waited for that of the idle list.
TEST(EntryPools, AreMadeInAnIdleConsumerWhileAnotherThreadMakesOne)
{
    MapUsingConsumer consumer;
    SIdleConsumerList::Process().OnIdle(0);
    consumer.other.join();
}

TEST(EntryPools, AreOneForASizeHoweverManyThreadsAskFirst)
{
    for (unsigned long bytes = 6000; bytes < 6400; bytes += sizeof(void*)) {
        SFixedAlloc* pools[4] = {};
        std::atomic<int> waiting{ 0 };
        std::vector<std::thread> threads;
        for (unsigned long i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] {
                for (++waiting; waiting < 4;)
                    ::Sleep(0);
                pools[i] = SEntryPool(bytes - i);
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        for (SFixedAlloc* pool : pools) {
            ASSERT_NE(nullptr, pool);
            ASSERT_EQ(pools[0], pool) << "a size is rounded up to words: " << bytes;
        }
        ASSERT_EQ(bytes, pools[0]->ElementSize());
    }
}
