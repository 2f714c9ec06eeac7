// Machine faults as exceptions, the hook, and the log that they leave.
#include "crash.h"

#include "crashlog.h"
#include "support/allocfail.h"
#include "support/counters.h"
#include "support/faulting.h"
#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <cstdlib>
#include <cwchar>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

TEST(FaultGuard, CatchesAThousandFaultsOfFiveKindsAtTwoDepthsAndLogsEachOne)
{
    const TempLog log;
    const int rounds = 100;
    for (int round = 0; round < rounds; ++round) {
        for (const FaultKind& kind : kFaults) {
            for (int depth : { 0, 20 }) {
                SCOPED_TRACE(kind.name);
                g_destroyed = 0;
                const SEMachineFault fault = FaultOf([&] { Deeper(depth, kind.cause); });
                ASSERT_EQ(kind.code, fault.GetCode());
                ASSERT_STREQ(kind.text, fault.GetText());
                ASSERT_EQ(kind.unwinds ? depth + 1 : 0, g_destroyed) << "destructors that ran";
            }
        }
    }
    const std::string text = log.WithOlder();
    EXPECT_EQ(rounds * 5 * 2, Occurrences(text, "*** Fault caught by a guard\r\n"));
    EXPECT_EQ(rounds * 2, Occurrences(text, "integer division by zero"));
    EXPECT_LT(20 * 5 * rounds, Occurrences(text, "\r\n  crash_test.exe+0x")) << "frames";
}

namespace {

// A client's function is compiled without tables for its own statements: there the compiler saw nothing that could throw.
__attribute__((noinline)) void FaultBesideDestructor()
{
    const Witness witness;
    g_sink = *static_cast<volatile int*>(g_null);
    std::printf("%s", ""); // keeps the witness alive and is a call that may throw
}
__attribute__((noinline)) void CannotThrow() noexcept
{
    Deeper(1, ReadNull);
}
int __cdecl CompareWithFault(const void*, const void*)
{
    Deeper(1, ReadNull);
    return 0;
}
__attribute__((noinline)) void FaultBelowTheRunTime()
{
    int numbers[] = { 2, 1 };
    std::qsort(numbers, 2, sizeof numbers[0], CompareWithFault);
}
struct FaultsAtItsEnd {
    ~FaultsAtItsEnd() { DivideByZero(); }
};
__attribute__((noinline)) void FaultDuringUnwinding()
{
    const FaultsAtItsEnd second;
    Deeper(0, ReadNull);
}
// Its tables let an exception pass, but not without looking in at its handler, and behind that is std::terminate.
__attribute__((noinline)) void CannotThrowAndCatchesOthers() noexcept
{
    try {
        Deeper(1, ReadNull);
    }
    catch (const std::out_of_range&) {
        g_sink = 2;
    }
}
struct CatchesOthersAtItsEnd {
    ~CatchesOthersAtItsEnd() { CannotThrowAndCatchesOthers(); }
};
__attribute__((noinline)) void DestructorCatchesOthers()
{
    const CatchesOthersAtItsEnd last;
    g_sink = 1;
}
__attribute__((noinline)) void CannotThrowAndCatchesIt() noexcept
{
    try {
        Deeper(1, ReadNull);
    }
    catch (const SException&) {
        g_sink = 3;
    }
    DivideByZero();
}
// What a caller's frame points to is gone, so that the walk over the stack runs into the next fault.
__attribute__((noinline)) void FaultWithoutFrame()
{
#if S_TARGET_32BIT
    asm volatile("movl $64, %%ebp\n\tmovl $0, 0" : : : "memory");
#else
    asm volatile("movq $64, %%rbp\n\tmovl $0, 0" : : : "memory");
#endif
    Deeper(1, ReadNull);
}
__attribute__((noinline, optimize("no-omit-frame-pointer"))) void FaultInBrokenFrame()
{
    const Witness witness;
    FaultWithoutFrame();
}
__attribute__((noinline)) int UseUpTheStack(int depth)
{
    volatile char room[2000];
    room[0] = static_cast<char>(depth);
    return g_null ? depth : UseUpTheStack(depth + 1) + room[0];
}

} // namespace

TEST(FaultGuard, ComesBackFromWhereNoExceptionCanPass)
{
    const TempLog log;
    const std::terminate_handler terminate = std::get_terminate();
    const struct {
        const char* where;
        void (*cause)();
        DWORD code;
    } kCases[] = {
        { "a statement that cannot throw", FaultBesideDestructor, EXCEPTION_ACCESS_VIOLATION },
        { "a noexcept function", CannotThrow, EXCEPTION_ACCESS_VIOLATION },
        { "one with a handler for others", CannotThrowAndCatchesOthers, EXCEPTION_ACCESS_VIOLATION },
        { "a destructor with one", DestructorCatchesOthers, EXCEPTION_ACCESS_VIOLATION },
        { "one that caught a fault before", CannotThrowAndCatchesIt, EXCEPTION_INT_DIVIDE_BY_ZERO },
        { "a frame that is broken", FaultInBrokenFrame, EXCEPTION_ACCESS_VIOLATION },
        { "a callback of the run-time", FaultBelowTheRunTime, EXCEPTION_ACCESS_VIOLATION },
        { "a destructor, during unwinding", FaultDuringUnwinding, EXCEPTION_INT_DIVIDE_BY_ZERO },
        { "a stack that is used up", [] { g_sink = UseUpTheStack(0); }, EXCEPTION_STACK_OVERFLOW },
        { "and once more", [] { g_sink = UseUpTheStack(0); }, EXCEPTION_STACK_OVERFLOW },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(c.code, FaultOf(c.cause).GetCode());
    }
    EXPECT_EQ(2, Occurrences(log.Text(), "stack overflow (0xC00000FD)\r\n"));
    EXPECT_EQ(static_cast<int>(std::size(kCases)) + 2, Occurrences(log.Text(), "*** Fault caught by a guard"))
        << "two of the cases have two faults";
    EXPECT_NE(terminate, nullptr);
    EXPECT_EQ(terminate, std::get_terminate());
}

TEST(FaultGuard, EndsWhatTheSkippedFramesHadBegun)
{
    const TempLog log;
    const unsigned precision = ::_controlfp(0, 0);
    std::exception_ptr parked;
    const SEMachineFault fault = FaultOf([&] {
        try {
            SRunGuarded(DivideByZero);
        }
        catch (...) {
            parked = std::current_exception();
        }
        ::_controlfp(_PC_24 | _RC_DOWN, _MCW_PC | _MCW_RC);
        try {
            throw std::out_of_range("held by a handler");
        }
        catch (const std::exception&) {
            CopyFromNull();
        }
    });
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, fault.GetCode());
    EXPECT_FALSE(std::current_exception());
    EXPECT_EQ(0, std::uncaught_exceptions());
    EXPECT_EQ(precision, ::_controlfp(0, 0));
    try {
        std::rethrow_exception(parked);
    }
    catch (const SEMachineFault& kept) {
        EXPECT_EQ(EXCEPTION_INT_DIVIDE_BY_ZERO, kept.GetCode()) << "what was caught and kept is not touched";
    }
    try {
        throw std::out_of_range("outside");
    }
    catch (const std::exception&) {
        FaultOf(FaultDuringUnwinding);
        EXPECT_TRUE(std::current_exception()) << "what was held outside the guard stays held";
    }
    EXPECT_EQ(0, std::uncaught_exceptions());
}

TEST(FaultGuard, LetsResultsExceptionsAndOthersHandlersAlone)
{
    const TempLog log;
    EXPECT_EQ(7, SRunGuarded([] { return 7; }));
    EXPECT_THROW(SRunGuarded(ReadNull), SEMachineFault) << "a plain function";
    const auto constant = [] { return 8; };
    EXPECT_EQ(8, SRunGuarded(constant));
    int number = 0;
    EXPECT_EQ(&number, &SRunGuarded([&]() -> int& { return number; }));
    EXPECT_STREQ(L"text", SRunGuarded([] { return SString(L"text"); }));
    EXPECT_THROW(SRunGuarded([]() -> SString { throw std::out_of_range("row"); }), std::out_of_range);
    EXPECT_TRUE(SRunGuarded([] { return ::IsBadReadPtr(g_null, 4); }))
        << "the system's own handler is asked first";
    EXPECT_EQ(1, Occurrences(log.Text(), "*** Fault"));

    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, SRunGuarded([] {
                  const SSuspendExceptionHook suspended;
                  return FaultOf(ReadNull).GetCode();
              }))
        << "a guard inside the suspension";
    EXPECT_EQ(EXCEPTION_INT_DIVIDE_BY_ZERO, FaultOf([] {
                                                FaultOf(ReadNull);
                                                DivideByZero();
                                            }).GetCode())
        << "the outer guard after the inner one";
}

TEST(FaultGuard, TellsWhereTheFaultWas)
{
    const TempLog log;
    const SEMachineFault fault = FaultOf(WriteNear);
    EXPECT_STREQ(L"SEMachineFault", fault.GetExceptionName());
    EXPECT_STREQ(L"crash_test.exe", fault.GetFault().module);
    EXPECT_EQ(SMachineFault::kWrite, fault.GetFault().access);
    EXPECT_EQ(reinterpret_cast<const void*>(16), fault.GetFault().target);
    SString place;
    place.Format(L"crash_test.exe+0x%08x", static_cast<unsigned>(fault.GetFault().offset));
    EXPECT_STREQ(L"\nThrown from:\n " + place, fault.GetLocation());
    EXPECT_STREQ(SString::Concat(L"SEMachineFault: ", fault.GetText(), fault.GetLocation()),
                 fault.GetFullText());
    const char* const writeNear = reinterpret_cast<const char*>(WriteNear);
    EXPECT_GT(32u, static_cast<size_t>(static_cast<const char*>(fault.GetFault().address) - writeNear));
    const std::string text = log.Text(), narrow(place.Length(), ' ');
    EXPECT_NE(text.npos, text.find("\r\nat crash_test.exe+0x")) << text;
    EXPECT_NE(text.npos, text.find(", crash_test.exe\r\n")) << text;

    EXPECT_STREQ(L"\nThrown from:\n 0x00000000", FaultOf(CallNull).GetLocation());
    EXPECT_STREQ(L"msvcrt.dll", SString(FaultOf(CopyFromNull).GetFault().module).ToLower());
    const SException sliced = fault; // by value, as a client may catch it
    EXPECT_STREQ(fault.GetLocation(), sliced.GetLocation()) << "the texts made so far stay with a copy";
}

TEST(FaultGuard, HasATextWithoutMemory)
{
    const TempLog log;
    const SEMachineFault fault = FaultOf(WriteNear);
    AllocationFailures failures;
    failures.Arm(1, FailMode::FromThenOn);
    const wchar_t* const text = fault.GetText();
    const wchar_t* const location = fault.GetLocation();
    failures.Disarm();
    // Pools of strings may have had room for the one or the other.
    EXPECT_EQ(0, std::wcsncmp(L"access violation", text, 16));
    EXPECT_NE(nullptr, location);
    EXPECT_STREQ(L"access violation (0xC0000005) writing 0x00000010", fault.GetText()) << "later";
}

TEST(FaultGuard, ServesSeveralThreadsAndLeavesNothingBehind)
{
    const TempLog log;
    std::atomic<int> caught{ 0 };
    const auto work = [&] {
        for (int i = 0; i < 100; ++i) {
            try {
                SRunGuarded([i] { Deeper(i % 7, kFaults[i % 5].cause); });
            }
            catch (const SException&) {
                ++caught;
            }
        }
    };
    work();
    const ResourceCount before = CountResources();
    work();
    EXPECT_EQ(before, CountResources());
    std::thread threads[] = { std::thread(work), std::thread(work), std::thread(work) };
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(500, caught);
    EXPECT_EQ(500, Occurrences(log.WithOlder(), "*** Fault caught by a guard\r\n"));
}

// ---- The hook ----

namespace {

void* WINAPI RefuseHandler(ULONG, PVECTORED_EXCEPTION_HANDLER)
{
    return nullptr;
}

} // namespace

TEST(Hook, InstallsOnceRemovesOnceAndSaysWhenTheSystemRefuses)
{
    {
        const ImportPatch refuse("CVCore16.dll", "KERNEL32.dll", "AddVectoredExceptionHandler",
                                 RefuseHandler);
        ASSERT_TRUE(refuse.Found());
        EXPECT_EQ(0, VectoredExceptionHook::Install());
        EXPECT_EQ(0, VectoredExceptionHook::IsInstalled());
    }
    const std::terminate_handler before = std::get_terminate();
    EXPECT_EQ(1, VectoredExceptionHook::Install());
    EXPECT_EQ(1, VectoredExceptionHook::Install());
    EXPECT_EQ(1, VectoredExceptionHook::IsInstalled());
    VectoredExceptionHook::Remove();
    VectoredExceptionHook::Remove();
    EXPECT_EQ(0, VectoredExceptionHook::IsInstalled());
    EXPECT_EQ(before, std::get_terminate());
}

TEST(Hook, MakesHandlerGuardsWork)
{
    const TempLog log;
    const auto handled = [] {
        try {
            const SHandlerGuard guard;
            Deeper(0, ReadNull);
        }
        catch (const SEMachineFault&) {
            return "inside";
        }
        return "not";
    };
    VectoredExceptionHook::Install();
    EXPECT_STREQ("inside", SRunGuarded(handled));
    EXPECT_STREQ("inside", handled());
    EXPECT_THROW(SRunGuarded([] {
                     const SHandlerGuard guard;
                     CopyFromNull();
                 }),
                 SEMachineFault)
        << "where unwinding is impossible the guard around it resumes";
    const auto asks = [] {
        const SHandlerGuard guard;
        return ::IsBadReadPtr(g_null, 4);
    };
    EXPECT_TRUE(asks()) << "the system's own handler is asked first";
    VectoredExceptionHook::Remove();
}

TEST(Hook, KnowsTheLatestFaultUntilItIsConsumed)
{
    const TempLog log;
    VectoredExceptionHook::FormatException(VectoredExceptionHook::kForget, 1);
    EXPECT_EQ(0, VectoredExceptionHook::IsKnownException());
    EXPECT_STREQ(L"", VectoredExceptionHook::FormatException(VectoredExceptionHook::kShow, 1));
    FaultOf(ReadNull);
    FaultOf(DivideByZero);
    EXPECT_EQ(1, VectoredExceptionHook::IsKnownException());
    EXPECT_STREQ(L"integer division by zero (0xC0000094)",
                 VectoredExceptionHook::FormatException(VectoredExceptionHook::kShow, 0));
    EXPECT_TRUE(VectoredExceptionHook::FormatException(-2, 1).Match(
        L"integer division by zero (0xC0000094)\nat crash_test.exe+0x*"));
    EXPECT_EQ(0, VectoredExceptionHook::IsKnownException());
}

namespace {

// Starts the client and returns how it ended.
DWORD RunClient(const std::wstring& arguments)
{
    std::wstring line = L"crash_client.exe " + arguments;
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION process;
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring path(program);
    path.replace(path.rfind(L'\\') + 1, path.npos, L"crash_client.exe");
    if (!::CreateProcessW(path.c_str(), &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                          &process))
        return ~DWORD{ 0 };
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return status;
}

} // namespace

TEST(Hook, LeavesARecordOfEveryEndAndLetsTheEndBeTheSame)
{
    const struct {
        const wchar_t* way;
        DWORD status; // what the client's own filters end it with
        const char* record;
    } kCases[] = {
        { L"fault", 99,
          "*** Unhandled fault\r\naccess violation (0xC0000005) writing 0x00000000\r\nat crash_client.exe+" },
        { L"suspended", 99, "*** Unhandled fault\r\n" },
        { L"dialog", 99, "*** Unhandled fault\r\n" },
        { L"overflow", 99, "*** Unhandled fault\r\nstack overflow (0xC00000FD)\r\nat crash_client.exe+" },
        { L"guarded-overflow", 99, "*** Unhandled fault\r\nstack overflow (0xC00000FD)\r\n" },
        { L"passed-by", 99,
          "*** Unhandled fault\r\naccess violation (0xC0000005) reading 0x00000000\r\nat msvcrt.dll+" },
        { L"many-handlers", 99, "*** Unhandled fault\r\n" },
        { L"terminate", 98, "*** std::terminate\r\n" },
        { L"terminate-removed", 98, nullptr },
        { L"raise", 99, "*** Unhandled fault\r\nexception (0xE0001234)\r\n" },
        { L"other-filter", 97, "*** Unhandled fault\r\n" },
        { L"throw", 98, "*** Exception that nobody caught\r\nstd::out_of_range: no such row\r\n" },
        { L"broken", 0, "*** Fault with a broken chain of handlers\r\n" },
        { L"removed", 99, nullptr },
        { L"abort", 3, "*** Unexpected exception...\r\nf.cpp(1): the user ends it\r\n" },
        { L"cancel", 3, "*** Unexpected exception...\r\nf.cpp(1): the user ends it\r\n" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << SString(c.way).PszStr());
        const TempLog log;
        const DWORD status = RunClient(std::wstring(c.way) + L" \"" + log.Path() + L"\"");
        if (c.status != 0) { // a program with a broken chain ends as the system likes
            EXPECT_EQ(c.status, status);
        }
        const std::string text = log.Text();
        EXPECT_TRUE(c.record ? text.find(c.record) != text.npos : text.empty()) << text;
        EXPECT_GE(1, Occurrences(text, "***") - Occurrences(text, "f.cpp(1): shown")) << text;
    }
}
