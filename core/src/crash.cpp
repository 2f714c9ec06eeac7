// crash.cpp: the exception that a fault becomes, and the process's hook.
#include "crash.h"

#include "crashlog.h"
#include "crashrecord.h"
#include "describe.h"
#include "faultguard.h"
#include "location.h"
#include "threadblock.h"

#include <atomic>
#include <exception>

// ---- SEMachineFault ----

namespace {

SString PlaceText(const SMachineFault& fault)
{
    FaultText place;
    FormatPlace(fault.module, fault.offset, place);
    return SString(place.Text());
}

} // namespace

// Nothing is allocated here: the fault may have come while a lock of the heap or of a pool was held.
SEMachineFault::SEMachineFault(const SMachineFault& fault) : SException(SString()), m_fault(fault) {}

const wchar_t* SEMachineFault::GetText() const
{
    if (m_message.IsEmpty()) {
        FaultText text;
        FormatFault(m_fault, text);
        m_message = text.Text();
    }
    return m_message;
}

const wchar_t* SEMachineFault::GetExceptionName() const
{
    return L"SEMachineFault";
}

const wchar_t* SEMachineFault::GetLocation() const
{
    if (m_location.IsEmpty())
        m_location = kThrownFrom + PlaceText(m_fault);
    return m_location;
}

// ---- The fault that is known ----

namespace {

// Written by the thread that has the fault, read by the loop of another; a spin is enough for two copies of plain data.
std::atomic_flag g_knownTurn = ATOMIC_FLAG_INIT;
SMachineFault g_known;
std::atomic<int> g_isKnown{ 0 };

template <class Use>
void WithKnown(Use use)
{
    while (g_knownTurn.test_and_set(std::memory_order_acquire))
        ::Sleep(0);
    use();
    g_knownTurn.clear(std::memory_order_release);
}

} // namespace

void NoteKnownException(const SMachineFault& fault) noexcept
{
    WithKnown([&] {
        g_known = fault;
        g_isKnown.store(1);
    });
}

int VectoredExceptionHook::IsKnownException() noexcept
{
    return g_isKnown.load();
}

SString VectoredExceptionHook::FormatException(int action, int withPlace)
{
    SMachineFault fault;
    int known = 0;
    WithKnown([&] {
        known = g_isKnown.load();
        fault = g_known;
    });
    if (!known)
        return SString();
    FaultText text;
    FormatFault(fault, text);
    if (withPlace) {
        text << L"\nat ";
        FormatPlace(fault.module, fault.offset, text);
    }
    SString result(text.Text());
    if (action == kForget)
        g_isKnown.store(0);
    return result;
}

// ---- The hook ----

namespace {

std::atomic<int> g_installed{ 0 };
void* g_vectored = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER g_filterBefore = nullptr;
std::terminate_handler g_terminateBefore = nullptr;
// Somebody put another one above ours and may call it for ever.
bool g_filterStays = false;
bool g_terminateStays = false;

constexpr wchar_t kBrokenChain[] = L"*** Fault with a broken chain of handlers";
constexpr wchar_t kUnhandled[] = L"*** Unhandled fault";
constexpr wchar_t kUncaught[] = L"*** Exception that nobody caught\n";

void LogFromContext(const wchar_t* headline, EXCEPTION_POINTERS* pointers)
{
    AbandonExceptionLog(); // the fault may have come in the middle of a record
    StackWalk walk;
    ScanStack(walk, pointers->ExceptionRecord->ExceptionAddress,
              reinterpret_cast<const void*>(pointers->ContextRecord->Esp));
    LogFault(headline, DescribeFault(*pointers->ExceptionRecord), walk, pointers);
}

// Records of handlers lie on the thread's stack, each farther out than the one before.
bool IsChainWhole()
{
    const NT_TIB* const thread = ThreadBlock();
    const UINT_PTR base = reinterpret_cast<UINT_PTR>(thread->StackBase);
    UINT_PTR least = reinterpret_cast<UINT_PTR>(thread->StackLimit);
    for (const HandlerRecord* record = ChainHead(); record != kChainEnd; record = record->previous) {
        const UINT_PTR at = reinterpret_cast<UINT_PTR>(record);
        if (at < least || at % alignof(HandlerRecord) != 0 || at + sizeof *record > base)
            return false;
        least = at + 1;
    }
    return true;
}

// Asked first of all, for the one case in which nobody else will be: the system ends a process whose chain is broken
// without another word.
__attribute__((force_align_arg_pointer)) LONG CALLBACK OnFirstChance(EXCEPTION_POINTERS* pointers)
{
    if (IsMachineFault(pointers->ExceptionRecord->ExceptionCode) &&
        pointers->ExceptionRecord->ExceptionCode != static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW) &&
        !IsChainWhole())
        LogFromContext(kBrokenChain, pointers);
    return EXCEPTION_CONTINUE_SEARCH;
}

__attribute__((force_align_arg_pointer)) LONG WINAPI OnUnhandled(EXCEPTION_POINTERS* pointers)
{
    if (g_installed.load())
        LogFromContext(kUnhandled, pointers);
    return g_filterBefore ? g_filterBefore(pointers) : EXCEPTION_CONTINUE_SEARCH;
}

void OnTerminate()
{
    if (g_installed.load() && std::current_exception())
        AppendToExceptionLogPrefixed(SDescribeCurrentException(), kUncaught, StackWalk::kMost);
    if (g_terminateBefore)
        g_terminateBefore();
    std::abort();
}

} // namespace

int VectoredExceptionHook::Install() noexcept
{
    if (g_installed.load())
        return 1;
    g_vectored = ::AddVectoredExceptionHandler(1, OnFirstChance);
    if (!g_vectored)
        return 0;
    if (!g_filterStays)
        g_filterBefore = ::SetUnhandledExceptionFilter(OnUnhandled);
    if (!g_terminateStays)
        g_terminateBefore = std::set_terminate(OnTerminate);
    g_installed.store(1);
    return 1;
}

void VectoredExceptionHook::Remove() noexcept
{
    if (!g_installed.exchange(0))
        return;
    ::RemoveVectoredExceptionHandler(g_vectored);
    // What is not ours any more is not ours to take away. Whoever it belongs to may hold on to our address.
    const std::terminate_handler terminate = std::set_terminate(g_terminateBefore);
    g_terminateStays = terminate != OnTerminate;
    if (g_terminateStays)
        std::set_terminate(terminate);
    const LPTOP_LEVEL_EXCEPTION_FILTER filter = ::SetUnhandledExceptionFilter(g_filterBefore);
    g_filterStays = filter != OnUnhandled;
    if (g_filterStays)
        ::SetUnhandledExceptionFilter(filter);
    if (g_filterStays || g_terminateStays) {
        HMODULE self;
        ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                             reinterpret_cast<LPCWSTR>(OnUnhandled), &self);
    }
}

int VectoredExceptionHook::IsInstalled() noexcept
{
    return g_installed.load();
}
