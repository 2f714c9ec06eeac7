// crash_client WAY LOG: a program that ends in the given way, with the hook installed. The test looks at what is left.
#include "crash.h"
#include "crashlog.h"
#include "excdlg.h"
#include "importpatch.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <exception>
#include <stdexcept>

namespace {

volatile int* volatile g_nowhere = nullptr;

UINT g_status = 99;

#ifdef CVCORE_COVERAGE
// The counts of what was reached would be lost. A thread of its own writes them: there may be no stack left.
void (*const g_keepReachedCounts)() = reinterpret_cast<void (*)()>(
    ::GetProcAddress(::GetModuleHandleW(L"CVCore16.dll"), MAKEINTRESOURCEA(4000)));

const HANDLE g_ends = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
const HANDLE g_main = ::OpenThread(SYNCHRONIZE, FALSE, ::GetCurrentThreadId());

DWORD WINAPI KeepAtTheEnd(void*)
{
    const HANDLE either[] = { g_ends, g_main };
    const DWORD ended = ::WaitForMultipleObjects(2, either, FALSE, INFINITE);
    g_keepReachedCounts();
    if (ended != WAIT_OBJECT_0) // a thread without a chain of handlers ends alone
        ::TerminateProcess(::GetCurrentProcess(), 1);
    return 0;
}
const HANDLE g_keeper = ::CreateThread(nullptr, 0, KeepAtTheEnd, nullptr, 0, nullptr);

void KeepCounts()
{
    constexpr DWORD kPatienceMs = 10000;
    ::SetEvent(g_ends);
    ::WaitForSingleObject(g_keeper, kPatienceMs);
}
#else
void KeepCounts() {}
#endif

// At once, without the system's own debugger.
void EndTheProgram(UINT status)
{
    KeepCounts();
    ::TerminateProcess(::GetCurrentProcess(), status);
}

LONG WINAPI EndAtFault(EXCEPTION_POINTERS*)
{
    EndTheProgram(g_status);
    return EXCEPTION_CONTINUE_SEARCH;
}

void Fault()
{
    *g_nowhere = 1;
}

void FaultWhileSuspended()
{
    SRunGuarded([] {
        const SSuspendExceptionHook suspended;
        Fault();
    });
}

// The guard around the dialog must not take the fault that comes while it is shown.
void FaultInDialog()
{
    DbgMessageBoxHook() = [](const wchar_t*, const wchar_t*, unsigned) {
        Fault();
        return IDOK;
    };
    SExceptionActivateDialog(1);
    SRunGuarded([] { SExceptionDialog("f.cpp", 1, L"shown"); });
}

void FaultWithoutHook()
{
    VectoredExceptionHook::Remove();
    Fault();
}

void Throw()
{
    throw std::out_of_range("no such row");
}

__attribute__((noinline)) int UseUpTheStack(int depth)
{
    volatile char room[2000];
    room[0] = static_cast<char>(depth);
    return g_nowhere ? depth : UseUpTheStack(depth + 1) + room[0];
}

void Overflow()
{
    UseUpTheStack(0);
}

void OverflowBelowHandlerGuard()
{
    const SHandlerGuard guard;
    UseUpTheStack(0);
}

// No exception can pass the run-time's function, and no other guard is there.
void FaultThatTheGuardLetsBy()
{
    const SHandlerGuard guard;
    static void* (*volatile const copy)(void*, const void*, size_t) = std::memcpy;
    char room[64];
    copy(room, const_cast<int*>(g_nowhere), sizeof room);
}

__attribute__((noinline)) void Nest(int depth)
{
    try {
        const SHandlerGuard guard;
        if (depth > 0)
            Nest(depth - 1);
        else
            FaultThatTheGuardLetsBy();
    }
    catch (const std::out_of_range&) {
        g_status = 1;
    }
}

// Each guard of many has to let it by; a rerun for each combination of them would never end.
void FaultBelowManyHandlerGuards()
{
    Nest(40);
}

// Nothing that the machine reports, and not what C++ throws.
void Raise()
{
    ::RaiseException(0xE0001234, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

void TerminateWithoutHook()
{
    VectoredExceptionHook::Remove();
    std::terminate();
}

void Terminate()
{
    std::terminate();
}

LPTOP_LEVEL_EXCEPTION_FILTER g_below;
LONG WINAPI PassOnDown(EXCEPTION_POINTERS* pointers)
{
    g_status = 97;
    return g_below(pointers);
}

// The hook is put up again over a filter that was put over it, and that passes on to it.
void FaultWithHookAboveAndBelow()
{
    g_below = ::SetUnhandledExceptionFilter(PassOnDown);
    VectoredExceptionHook::Remove();
    VectoredExceptionHook::Install();
    Fault();
}

// What an overrun array has written over: on 32 bits a record of a handler, on 64 the return addresses by which the system
// finds handlers.
__attribute__((noinline)) void FaultWithBrokenChain()
{
#if S_TARGET_32BIT
    volatile unsigned record[2] = { 0x61616161, 0x62626262 };
    asm volatile("movl %0, %%fs:0" : : "r"(record) : "memory");
#else
    volatile UINT_PTR record[2];
    volatile UINT_PTR* volatile at = record;
    for (int i = 0; i < 40; ++i)
        at[i] = 0x6161616161616161;
#endif
    Fault();
}

BOOL WINAPI DebuggerIsThere()
{
    return TRUE;
}

template <int kAnswer>
void AnswerWith()
{
    const ImportPatch debugger("CVCore16.dll", nullptr, "IsDebuggerPresent", DebuggerIsThere);
    DbgMessageBoxHook() = [](const wchar_t*, const wchar_t*, unsigned) { return kAnswer; };
    SExceptionActivateDialog(1);
    SExceptionDialog("f.cpp", 1, L"the user ends it");
}

void Append(const wchar_t* howMany)
{
    for (int i = 0; i < std::wcstol(howMany, nullptr, 10); ++i) {
        wchar_t text[200];
        std::swprintf(text, 200, L"entry %d of %lu, %100s end", i, ::GetCurrentProcessId(), L"");
        AppendToExceptionLogPrefixed(text);
    }
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 3 || !SSetExceptionLog(arguments[2]))
        return 2;
    ::SetUnhandledExceptionFilter(EndAtFault);
    std::set_terminate([] { EndTheProgram(98); });
    VectoredExceptionHook::Install();
    const wchar_t* const way = arguments[1];
    const struct {
        const wchar_t* name;
        void (*go)();
    } kWays[] = {
        { L"fault", Fault },
        { L"suspended", FaultWhileSuspended },
        { L"dialog", FaultInDialog },
        { L"broken", FaultWithBrokenChain },
        { L"overflow", Overflow },
        { L"guarded-overflow", OverflowBelowHandlerGuard },
        { L"passed-by", FaultThatTheGuardLetsBy },
        { L"many-handlers", FaultBelowManyHandlerGuards },
        { L"terminate", Terminate },
        { L"terminate-removed", TerminateWithoutHook },
        { L"raise", Raise },
        { L"other-filter", FaultWithHookAboveAndBelow },
        { L"removed", FaultWithoutHook },
        { L"throw", Throw },
        { L"abort", AnswerWith<IDABORT> },
        { L"cancel", AnswerWith<IDCANCEL> },
    };
    for (const auto& known : kWays) {
        if (std::wcscmp(way, known.name) == 0) {
            known.go();
            return 0;
        }
    }
    Append(way);
    return 0;
}
