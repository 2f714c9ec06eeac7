// The ways of a fault to its guard when other exceptions, handlers and guards are in between.
#include "crash.h"

#include "crashlog.h"

#include "support/counters.h"
#include "support/faulting.h"
#include "support/importpatch.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

// Its tables let an exception pass, but behind its handler is std::terminate.
__attribute__((noinline)) void Border(void (*work)()) noexcept
{
    try {
        work();
    }
    catch (const std::out_of_range&) {
        g_sink = 2;
    }
}
void FaultAtBorder()
{
    Border([] { Deeper(1, ReadNull); });
}

__attribute__((noinline)) void CleanUpAndThrowAgain()
{
    try {
        Deeper(1, ReadNull);
    }
    catch (...) {
        g_sink = 9;
        throw;
    }
}
void ThrowKeptAgain()
{
    std::exception_ptr kept;
    try {
        SRunGuarded(ReadNull);
    }
    catch (...) {
        kept = std::current_exception();
    }
    std::rethrow_exception(std::exchange(kept, nullptr));
}
struct DividesAtItsEnd {
    ~DividesAtItsEnd() { DivideByZero(); }
};
__attribute__((noinline)) void ThrowAgainAndFaultAtTheEnd()
{
    const DividesAtItsEnd last;
    CleanUpAndThrowAgain();
}

void EndsTheTest()
{
    std::fprintf(stderr, "the client's terminate handler was called\n");
    std::abort();
}

__attribute__((noinline)) void GuardsAllTheWay()
{
    volatile char room[200];
    room[0] = 1;
    SRunGuarded(GuardsAllTheWay);
    g_sink = room[0];
}
__attribute__((noinline)) void HandlerGuardsAllTheWay()
{
    volatile char room[200];
    room[0] = 1;
    try {
        const SHandlerGuard guard;
        if (!g_null) // which is so
            HandlerGuardsAllTheWay();
    }
    catch (const std::out_of_range&) {
        g_sink = 3;
    }
    g_sink = room[0];
}

void ThrowOut()
{
    throw std::out_of_range("mine");
}

} // namespace

TEST(FaultWays, LeadBackThoughTheExceptionWasThrownAgain)
{
    const TempLog log;
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf([] { Border(CleanUpAndThrowAgain); }).GetCode());
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf([] { Border(ThrowKeptAgain); }).GetCode());
    const std::terminate_handler terminate = std::get_terminate();
    FaultOf(ThrowAgainAndFaultAtTheEnd);
    const ResourceCount before = CountResources();
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(EXCEPTION_INT_DIVIDE_BY_ZERO, FaultOf(ThrowAgainAndFaultAtTheEnd).GetCode());
    EXPECT_EQ(before, CountResources());
    EXPECT_EQ(terminate, std::get_terminate());
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf(FaultAtBorder).GetCode()) << "and the way is still there";
}

TEST(FaultWays, LeadBackHoweverManyFaultsAreKept)
{
    const TempLog log;
    std::vector<std::exception_ptr> kept;
    for (int i = 0; i < 100; ++i) {
        try {
            SRunGuarded(ReadNull);
        }
        catch (...) {
            kept.push_back(std::current_exception());
        }
    }
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf(FaultAtBorder).GetCode());
    for (const std::exception_ptr& one : kept)
        EXPECT_THROW(std::rethrow_exception(one), SEMachineFault);
    // A kept one may end on another thread.
    std::thread([last = std::move(kept.back())]() mutable { last = nullptr; }).join();
}

TEST(FaultWays, LeadBackUnderTerminateHandlersOfTheClient)
{
    const TempLog log;
    VectoredExceptionHook::Install();
    std::terminate_handler before = std::set_terminate(EndsTheTest);
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf(FaultAtBorder).GetCode()) << "set after the hook";
    EXPECT_EQ(EndsTheTest, std::get_terminate());
    std::set_terminate(before);
    VectoredExceptionHook::Remove();
    std::exception_ptr kept;
    try {
        SRunGuarded(ReadNull);
    }
    catch (...) {
        kept = std::current_exception();
    }
    before = std::set_terminate(EndsTheTest);
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf(FaultAtBorder).GetCode()) << "set while a fault is kept";
    kept = nullptr; // until then ours stays above
    EXPECT_EQ(EndsTheTest, std::get_terminate());
    std::set_terminate(before);
}

TEST(FaultWays, LeadOutOfAStackThatGuardsHaveUsedUp)
{
    const TempLog log;
    EXPECT_EQ(EXCEPTION_STACK_OVERFLOW, FaultOf(GuardsAllTheWay).GetCode());
    VectoredExceptionHook::Install();
    EXPECT_EQ(EXCEPTION_STACK_OVERFLOW, FaultOf(HandlerGuardsAllTheWay).GetCode());
    VectoredExceptionHook::Remove();
    EXPECT_LE(2, Occurrences(log.Text(), "stack overflow (0xC00000FD)\r\n"));
}

TEST(FaultWays, LeadBackThroughFramesOfTheRunTimeThatHaveAGuardInside)
{
    const TempLog log;
    const auto sort = [](int(__cdecl * compare)(const void*, const void*)) {
        int numbers[] = { 2, 1 };
        std::qsort(numbers, 2, sizeof numbers[0], compare);
    };
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf([&] {
                                              sort([](const void*, const void*) -> int {
                                                  SRunGuarded([] { Deeper(1, ReadNull); });
                                                  return 0;
                                              });
                                          }).GetCode());
    EXPECT_EQ(0, std::uncaught_exceptions());
}

TEST(FaultWays, LeaveARecordWithLittleStackLeft)
{
    const TempLog log;
    static size_t left;
    struct Down {
        static int To(void (*work)())
        {
            volatile char room[256];
            room[0] = 1;
            MEMORY_BASIC_INFORMATION memory;
            ::VirtualQuery(const_cast<char*>(room), &memory, sizeof memory);
            if (reinterpret_cast<UINT_PTR>(room) - reinterpret_cast<UINT_PTR>(memory.AllocationBase) <=
                left) {
                work();
                return room[0];
            }
            return To(work) + room[0];
        }
    };
    ULONG kept = 0; // what nobody gets at before the overflow
    ::SetThreadStackGuarantee(&kept);
    int faults = 0;
    for (const size_t kilobytes : { 200u, 64u, 32u, 24u, 20u, 16u }) {
        left = kept + kilobytes * 1024;
        EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf([] { g_sink = Down::To(ReadNull); }).GetCode())
            << kilobytes;
        ++faults;
    }
    EXPECT_LE(faults, Occurrences(log.Text(), "access violation"));
    EXPECT_EQ(EXCEPTION_STACK_OVERFLOW, FaultOf([] {
                                            left = 0;
                                            g_sink = Down::To(ReadNull);
                                        }).GetCode());
}

TEST(FaultWays, LeaveWhatIsHeldOutsideAsItWas)
{
    const TempLog log;
    try {
        throw std::out_of_range("outer");
    }
    catch (const std::exception&) {
        FaultOf([] {
            try {
                throw;
            }
            catch (...) {
                CopyFromNull();
            }
        });
        EXPECT_TRUE(std::current_exception());
    }
    EXPECT_FALSE(std::current_exception()) << "not held for ever";
    EXPECT_EQ(0, std::uncaught_exceptions());
}

TEST(FaultWays, LeaveARecordAlsoWhenTheLogItselfIsWhereTheyBegin)
{
    const TempLog log;
    FaultOf([] {
        AppendToExceptionLogPrefixed(reinterpret_cast<const wchar_t*>(static_cast<char*>(g_null) + 16));
    });
    EXPECT_NE(std::string::npos, log.Text().find("reading 0x00000010"))
        << "a fault in the log's own argument";
    EXPECT_EQ(1, AppendToExceptionLogPrefixed(L"later"));
    EXPECT_THROW(SRunGuarded(ThrowOut), std::out_of_range);
}

namespace {

HANDLE WINAPI OpenWithFault(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE)
{
    ReadNull();
    return INVALID_HANDLE_VALUE;
}

} // namespace

TEST(FaultWays, LeadBackWithTheFirstFaultWhenTheLogFaultsEachTime)
{
    const TempLog log;
    VectoredExceptionHook::Install();
    {
        const ImportPatch open("CVCore16.dll", nullptr, "CreateFileW", OpenWithFault);
        ASSERT_TRUE(open.Found());
        for (int i = 0; i < 40; ++i) { // more often than there is room for faults in work
            ASSERT_EQ(EXCEPTION_INT_DIVIDE_BY_ZERO, FaultOf(DivideByZero).GetCode());
            ASSERT_EQ(EXCEPTION_INT_DIVIDE_BY_ZERO, FaultOf([] {
                                                        const SHandlerGuard guard;
                                                        Deeper(1, DivideByZero);
                                                    }).GetCode());
        }
    }
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, FaultOf(ReadNull).GetCode());
    VectoredExceptionHook::Remove();
    EXPECT_EQ(1, Occurrences(log.Text(), "*** Fault caught by a guard\r\n"));
}

TEST(FaultWays, AreFoundByManyThreadsWhileTheHookComesAndGoes)
{
    const TempLog log;
    std::atomic<bool> stop{ false };
    std::atomic<int> caught{ 0 }, late{ 0 };
    std::thread toggler([&] {
        while (!stop) {
            VectoredExceptionHook::Install();
            VectoredExceptionHook::Remove();
        }
    });
    std::vector<std::thread> threads;
    void (*const kWays[])() = { FaultAtBorder, ReadNull, CopyFromNull };
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 30; ++i) {
                const DWORD begun = GetTickCount();
                try {
                    SRunGuarded(kWays[i % 3]);
                }
                catch (const SException&) {
                    ++caught;
                }
                late += GetTickCount() - begun > 1900;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    stop = true;
    toggler.join();
    EXPECT_EQ(180, caught);
    // A record waits for others two seconds at most, which can be too little on a machine that has much else to do.
    EXPECT_LE(180 - late, Occurrences(log.WithOlder(), "*** Fault"));
    EXPECT_GE(180, Occurrences(log.WithOlder(), "*** Fault"));
}
