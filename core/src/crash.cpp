// crash.cpp: the exception that a fault becomes, and the process's hook.
#include "crash.h"

#include "compiler.h"
#include "crashrecord.h"
#include "faultframe.h"
#include "faultguard.h"
#include "location.h"
#include "logfile.h"
#include "passedon.h"
#include "terminate.h"

#include <atomic>

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

// Their texts are asked for in handlers, where nothing may be thrown; without memory there is a plainer one.
const wchar_t* SEMachineFault::GetText() const
{
    if (m_message.IsEmpty()) {
        FaultText text;
        FormatFault(m_fault, text);
        try {
            m_message = text.Text();
        }
        catch (const SEOutOfMemory&) {
            return FaultName(m_fault.code);
        }
    }
    return m_message;
}

const wchar_t* SEMachineFault::GetExceptionName() const
{
    return L"SEMachineFault";
}

const wchar_t* SEMachineFault::GetLocation() const
{
    if (m_location.IsEmpty()) {
        try {
            m_location = kThrownFrom + PlaceText(m_fault);
        }
        catch (const SEOutOfMemory&) {
            return L"";
        }
    }
    return m_location;
}

// ---- The fault that is known ----

namespace {

// Written by the thread that has the fault, read by the loop of another; a spin is enough for two copies of plain data.
std::atomic_flag g_knownTurn = ATOMIC_FLAG_INIT;
SMachineFault g_known;
unsigned g_knownNumber = 0;
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
        ++g_knownNumber;
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
    unsigned number = 0;
    WithKnown([&] {
        known = g_isKnown.load();
        number = g_knownNumber;
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
    if (action == kForget) {
        WithKnown([&] {
            if (g_knownNumber == number) // a later one is news still
                g_isKnown.store(0);
        });
    }
    return result;
}

// ---- The hook ----

namespace {

std::atomic<int> g_installed{ 0 };
SRWLOCK g_installing = SRWLOCK_INIT;
std::atomic<DWORD> g_brokenThread{ 0 };
std::atomic<const void*> g_brokenAt{ nullptr };
void* g_vectored = nullptr;

constexpr wchar_t kBrokenChain[] = L"*** Fault with a broken chain of handlers";
constexpr wchar_t kUnhandled[] = L"*** Unhandled fault";

void LogFromContext(const wchar_t* headline, EXCEPTION_POINTERS* pointers)
{
    AbandonLogTurn(); // the fault may have come in the middle of a record
    StackWalk walk;
    ScanStack(walk, pointers->ExceptionRecord->ExceptionAddress,
              reinterpret_cast<const void*>(StackOf(*pointers->ContextRecord)));
    LogFault(headline, DescribeFault(*pointers->ExceptionRecord), walk, pointers);
}

// Asked first of all, for the one case in which nobody else will be: the system ends a process whose chain is broken
// without another word. Once a thread: asking the handlers of such a chain is the next fault, and the one after that.
S_SYSTEM_CALLS LONG CALLBACK OnFirstChance(EXCEPTION_POINTERS* pointers)
{
    if (IsMachineFault(pointers->ExceptionRecord->ExceptionCode) &&
        pointers->ExceptionRecord->ExceptionCode != static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW) &&
        !CanFindHandlers(*pointers->ExceptionRecord, *pointers->ContextRecord) &&
        g_brokenThread.exchange(::GetCurrentThreadId()) != ::GetCurrentThreadId()) {
        g_brokenAt.store(pointers->ExceptionRecord->ExceptionAddress);
        LogFromContext(kBrokenChain, pointers);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

// ---- Faults that nobody handled ----

namespace {

// Where a stack is used up there is no room on it for a record. One such fault at a time; another thread's waits.
void LogOverflow(EXCEPTION_POINTERS* pointers)
{
    constexpr int kStackRoom = 1 << 16;
    alignas(16) static unsigned char stack[kStackRoom];
    static std::atomic_flag taken = ATOMIC_FLAG_INIT;
    while (taken.test_and_set(std::memory_order_acquire))
        ::Sleep(1);
    CallOnStack([](void* fault) { LogFromContext(kUnhandled, static_cast<EXCEPTION_POINTERS*>(fault)); },
                pointers, stack + kStackRoom);
    taken.clear(std::memory_order_release);
}

LPTOP_LEVEL_EXCEPTION_FILTER SetFilter(LPTOP_LEVEL_EXCEPTION_FILTER filter)
{
    return ::SetUnhandledExceptionFilter(filter);
}

LONG WINAPI OnUnhandled(EXCEPTION_POINTERS* pointers);
PassedOn<LPTOP_LEVEL_EXCEPTION_FILTER, SetFilter> g_filter(OnUnhandled);

// On 64 bits an exception of C++ that nobody catches comes by here. The throw returns when it is told to go on, and ends in
// std::terminate, where the record is written. On 32 bits the system does not hear of it.
bool IsOfCpp(const EXCEPTION_RECORD& record)
{
    constexpr DWORD kThrown = 0x20474343;
    return record.ExceptionCode == kThrown && (record.ExceptionFlags & EXCEPTION_NONCONTINUABLE) == 0;
}

S_SYSTEM_CALLS LONG WINAPI OnUnhandled(EXCEPTION_POINTERS* pointers)
{
    const decltype(g_filter)::Turn turn(g_filter);
    if (!turn.again && g_installed.load()) {
        if (IsOfCpp(*pointers->ExceptionRecord))
            return EXCEPTION_CONTINUE_EXECUTION;
        // The system may have found its way out of a broken chain.
        const bool isLogged = g_brokenThread.load() == ::GetCurrentThreadId() &&
                              g_brokenAt.load() == pointers->ExceptionRecord->ExceptionAddress;
        if (pointers->ExceptionRecord->ExceptionCode == static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW))
            LogOverflow(pointers);
        else if (!isLogged)
            LogFromContext(kUnhandled, pointers);
    }
    return turn.next ? turn.next(pointers) : EXCEPTION_CONTINUE_SEARCH;
}

class Installing {
public:
    Installing() noexcept { ::AcquireSRWLockExclusive(&g_installing); }
    ~Installing() { ::ReleaseSRWLockExclusive(&g_installing); }
    Installing(const Installing&) = delete;
    Installing& operator=(const Installing&) = delete;
};

} // namespace

int VectoredExceptionHook::Install() noexcept
{
    const Installing installing;
    if (g_installed.load())
        return 1;
    g_vectored = ::AddVectoredExceptionHandler(1, OnFirstChance);
    if (!g_vectored)
        return 0;
    PrepareHandlerGuards();
    g_filter.PutUp();
    InstallTerminateHandler();
    g_installed.store(1);
    return 1;
}

void VectoredExceptionHook::Remove() noexcept
{
    const Installing installing;
    if (!g_installed.exchange(0))
        return;
    ::RemoveVectoredExceptionHandler(g_vectored);
    RemoveTerminateHandler();
    g_filter.TakeAway();
}

int VectoredExceptionHook::IsInstalled() noexcept
{
    return g_installed.load();
}
