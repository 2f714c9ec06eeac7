// inflight.cpp: exceptions that are under way when a thread leaves its frames by a jump.
//
// The run-time keeps, per thread, the chain of exceptions that handlers hold and the count of those being thrown. Both
// would stay as they were in the frames that a jump skips: std::current_exception would answer with an exception that
// nobody handles any more, and std::uncaught_exceptions with one too many for ever.
#include "inflight.h"

#include "terminate.h"

#include <cxxabi.h>
#include <unwind.h>

#include <atomic>
#include <cstddef>
#include <exception>
#include <new>

namespace {

// What stands in front of each thrown object, and the thread's record of them, as the C++ ABI has them. Objects lie where
// malloc puts them, which may be less aligned than the type asks for: so fields are reached by their places alone.
struct Header {
    std::type_info* type;
    void (*destroy)(void*);
    void (*unexpected)();
    void (*terminate)();
    Header* next; // in the chain of those that handlers hold; first set when one catches it
    int handlers;
    int choice;
    const unsigned char* action;
    const unsigned char* table;
    void* landingPad;
    void* adjusted;
    _Unwind_Exception unwinding;
};
struct ThreadState {
    Header* caught; // the latest first
    unsigned uncaught;
};

ThreadState& State()
{
    return *reinterpret_cast<ThreadState*>(abi::__cxa_get_globals());
}

unsigned char* HeaderOf(void* object)
{
    return static_cast<unsigned char*>(object) - sizeof(Header);
}

Header*& NextOf(void* header)
{
    return *reinterpret_cast<Header**>(static_cast<unsigned char*>(header) + offsetof(Header, next));
}

// ---- Faults under way ----

struct FaultUnderWay {
    std::atomic<void*> object{ nullptr };
    DWORD thread;
    unsigned number; // they are counted
};

// In `next` of a fault that no handler has caught so far. One that was caught may lie parked somewhere.
Header* const kNeverCaught = reinterpret_cast<Header*>(1);

// More at a time than this do without the way back from std::terminate.
constexpr int kMostUnderWay = 64;
FaultUnderWay g_underWay[kMostUnderWay];
std::atomic<unsigned> g_thrown{ 0 };
char g_taken; // where an entry is being filled in

void Note(void* object)
{
    for (FaultUnderWay& entry : g_underWay) {
        void* none = nullptr;
        if (entry.object.compare_exchange_strong(none, &g_taken)) {
            entry.thread = ::GetCurrentThreadId();
            entry.number = ++g_thrown;
            entry.object.store(object);
            return;
        }
    }
}

// Called the way the ABI calls destructors.
void _GLIBCXX_CDTOR_CALLABI DestroyFault(void* object)
{
    for (FaultUnderWay& entry : g_underWay) {
        void* known = object;
        if (entry.object.compare_exchange_strong(known, nullptr))
            break;
    }
    LeaveTerminateHandler();
    static_cast<SEMachineFault*>(object)->~SEMachineFault();
}

// The latest fault of this thread behind number `behind` that was never caught; null when there is none.
SEMachineFault* LatestUnderWay(unsigned behind)
{
    void* latest = nullptr;
    unsigned number = behind;
    for (const FaultUnderWay& entry : g_underWay) {
        // Entries of this thread stay as they are meanwhile; those of others may not even be read.
        void* const object = entry.object.load();
        if (!object || object == &g_taken || entry.thread != ::GetCurrentThreadId())
            continue;
        if (static_cast<int>(entry.number - number) > 0 && NextOf(HeaderOf(object)) == kNeverCaught) {
            latest = object;
            number = entry.number;
        }
    }
    return static_cast<SEMachineFault*>(latest);
}

// ---- What handlers hold ----

bool IsHeld(const void* header)
{
    for (Header* at = State().caught; at; at = NextOf(at)) {
        if (at == header)
            return true;
    }
    return !header;
}

} // namespace

void ThrowFault(const SMachineFault& fault)
{
    void* const object = abi::__cxa_allocate_exception(sizeof(SEMachineFault));
    ::new (object) SEMachineFault(fault);
    NextOf(HeaderOf(object)) = kNeverCaught;
    UseTerminateHandler();
    Note(object);
    abi::__cxa_throw(object, const_cast<std::type_info*>(&typeid(SEMachineFault)), DestroyFault);
}

void ResumeLostFault() noexcept
{
    if (std::uncaught_exceptions() == 0)
        return; // then somebody caught what this is about
    if (const SEMachineFault* const lost = LatestUnderWay(g_thrown.load() - (~0u >> 2)))
        ResumeGuardWith(lost->GetFault());
}

ThreadUnderWay::ThreadUnderWay() noexcept : m_faults(g_thrown.load(std::memory_order_relaxed))
{
    const ThreadState& state = State();
    m_caught = state.caught;
    m_uncaught = state.uncaught;
    asm volatile("fnstcw %0" : "=m"(m_x87));
    asm volatile("stmxcsr %0" : "=m"(m_sse));
}

void ThreadUnderWay::Restore() const noexcept
{
    asm volatile("fninit\n\tfldcw %0" : : "m"(m_x87));
    asm volatile("ldmxcsr %0" : : "m"(m_sse));
    // Those being thrown first: they belong to nobody.
    while (SEMachineFault* const lost = LatestUnderWay(m_faults))
        _Unwind_DeleteException(
            reinterpret_cast<_Unwind_Exception*>(HeaderOf(lost) + offsetof(Header, unwinding)));
    ThreadState& state = State();
    if (IsHeld(m_caught)) {
        while (state.caught != m_caught)
            abi::__cxa_end_catch();
    }
    state.caught = static_cast<Header*>(m_caught);
    state.uncaught = m_uncaught;
}
