// crash_client WAY LOG: a program that ends in the given way, with the hook installed. The test looks at what is left.
#include "crash.h"
#include "crashlog.h"
#include "excdlg.h"
#include "importpatch.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <stdexcept>

namespace {

volatile int* volatile g_nowhere = nullptr;

// Ends the program at once, without the system's own debugger.
LONG WINAPI EndWith99(EXCEPTION_POINTERS*)
{
    ::TerminateProcess(::GetCurrentProcess(), 99);
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

void FaultWithoutHook()
{
    VectoredExceptionHook::Remove();
    Fault();
}

void Throw()
{
    throw std::out_of_range("no such row");
}

// A record of a handler that an overrun array has written over.
__attribute__((noinline)) void FaultWithBrokenChain()
{
    volatile unsigned record[2] = { 0x61616161, 0x62626262 };
    asm volatile("movl %0, %%fs:0" : : "r"(record) : "memory");
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
    ::SetUnhandledExceptionFilter(EndWith99);
    std::set_terminate([] { ::TerminateProcess(::GetCurrentProcess(), 98); });
    VectoredExceptionHook::Install();
    const wchar_t* const way = arguments[1];
    const struct {
        const wchar_t* name;
        void (*go)();
    } kWays[] = {
        { L"fault", Fault },
        { L"suspended", FaultWhileSuspended },
        { L"broken", FaultWithBrokenChain },
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
