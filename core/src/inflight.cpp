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
    int handlers; // that hold it; negative while one of them throws it again
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

int& HandlersOf(void* header)
{
    return *reinterpret_cast<int*>(static_cast<unsigned char*>(header) + offsetof(Header, handlers));
}

void Delete(void* header)
{
    _Unwind_DeleteException(reinterpret_cast<_Unwind_Exception*>(static_cast<unsigned char*>(header) +
                                                                 offsetof(Header, unwinding)));
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

// ---- Faults under way ----

struct FaultUnderWay {
    std::atomic<void*> object{ nullptr };
    DWORD thread;
    unsigned number; // they are counted
};

// In `next` of a fault that no handler has caught so far. One that was caught may lie parked somewhere.
Header* const kNeverCaught = reinterpret_cast<Header*>(1);

constexpr int kMostUnderWay = 64;
FaultUnderWay g_underWay[kMostUnderWay];
std::atomic<unsigned> g_thrown{ 0 };
char g_taken; // where an entry is being filled in

// Entries of this thread stay as they are while it looks; those of others may not even be read.
bool IsMine(const FaultUnderWay& entry, void*& object)
{
    object = entry.object.load();
    return object && object != &g_taken && entry.thread == ::GetCurrentThreadId();
}

bool WasCaught(void* object)
{
    return NextOf(HeaderOf(object)) != kNeverCaught;
}

bool Note(FaultUnderWay& entry, void* before, void* object)
{
    if (!entry.object.compare_exchange_strong(before, &g_taken))
        return false;
    entry.thread = ::GetCurrentThreadId();
    entry.number = ++g_thrown;
    entry.object.store(object);
    return true;
}

// Where all entries are taken, one goes whose exception was caught: it is likely to lie parked. Else the new one does without.
bool Note(void* object)
{
    for (FaultUnderWay& entry : g_underWay) {
        if (Note(entry, nullptr, object))
            return true;
    }
    for (FaultUnderWay& entry : g_underWay) {
        void* known;
        if (IsMine(entry, known) && WasCaught(known) && Note(entry, known, object))
            return false; // its use of the terminate handler goes over to the new one
    }
    return false;
}

void Forget(void* object) noexcept
{
    for (FaultUnderWay& entry : g_underWay) {
        void* known = object;
        if (entry.object.compare_exchange_strong(known, nullptr)) {
            LeaveTerminateHandler();
            return;
        }
    }
}

// Called the way the ABI calls destructors.
void _GLIBCXX_CDTOR_CALLABI DestroyFault(void* object)
{
    Forget(object);
    static_cast<SEMachineFault*>(object)->~SEMachineFault();
}

enum class Kind { OnItsWay, Kept };

// The latest fault of this thread behind number `behind`; null when there is none. One that handlers have done with keeps their
// count at 1, and one that is thrown again has it at 0 or below. A kept one may be on its way too, inside of another exception
// (std::rethrow_exception), which cannot be told.
SEMachineFault* Latest(unsigned behind, Kind kind)
{
    void* latest = nullptr;
    unsigned number = behind;
    for (const FaultUnderWay& entry : g_underWay) {
        void* object;
        if (!IsMine(entry, object) || static_cast<int>(entry.number - number) <= 0)
            continue;
        const bool onItsWay = !WasCaught(object) || HandlersOf(HeaderOf(object)) <= 0;
        if (kind == Kind::OnItsWay ? onItsWay : !onItsWay && !IsHeld(HeaderOf(object))) {
            latest = object;
            number = entry.number;
        }
    }
    return static_cast<SEMachineFault*>(latest);
}

} // namespace

void ThrowFault(const SMachineFault& fault)
{
    void* const object = abi::__cxa_allocate_exception(sizeof(SEMachineFault));
    ::new (object) SEMachineFault(fault);
    NextOf(HeaderOf(object)) = kNeverCaught;
    if (Note(object))
        UseTerminateHandler();
    // What a throw expression does, but for its end: where no handler can be reached (a frame of the system is in between,
    // inside of which a guard has no handler) there may still be a guard.
    *reinterpret_cast<int*>(abi::__cxa_init_primary_exception(
        object, const_cast<std::type_info*>(&typeid(SEMachineFault)), DestroyFault)) = 1;
    NextOf(HeaderOf(object)) = kNeverCaught;
    ++State().uncaught;
    _Unwind_Exception* const unwinding =
        reinterpret_cast<_Unwind_Exception*>(HeaderOf(object) + offsetof(Header, unwinding));
    _Unwind_RaiseException(unwinding);
    ResumeGuardWith(fault);
    abi::__cxa_begin_catch(unwinding);
    std::terminate();
}

const SMachineFault* ThreadUnderWay::LostFault() const noexcept
{
    if (State().uncaught <= m_uncaught)
        return nullptr; // then somebody caught what this is about
    const SEMachineFault* lost = Latest(m_faults, Kind::OnItsWay);
    if (!lost)
        lost = Latest(m_faults, Kind::Kept);
    return lost ? &lost->GetFault() : nullptr;
}

ThreadUnderWay::ThreadUnderWay() noexcept : m_faults(g_thrown.load(std::memory_order_relaxed))
{
    const ThreadState& state = State();
    m_caught = state.caught;
    m_handlers = m_caught ? HandlersOf(m_caught) : 0;
    m_uncaught = state.uncaught;
    asm volatile("fnstcw %0" : "=m"(m_x87));
    asm volatile("stmxcsr %0" : "=m"(m_sse));
}

void ThreadUnderWay::Restore() const noexcept
{
    asm volatile("fninit\n\tfldcw %0" : : "m"(m_x87));
    asm volatile("ldmxcsr %0" : : "m"(m_sse));
    ThreadState& state = State();
    if (IsHeld(m_caught)) {
        while (state.caught != m_caught)
            abi::__cxa_end_catch();
    }
    // Those being thrown belong to nobody.
    while (SEMachineFault* const lost = Latest(m_faults, Kind::OnItsWay))
        Delete(HeaderOf(lost));
    state.caught = static_cast<Header*>(m_caught);
    if (m_caught)
        HandlersOf(m_caught) = m_handlers;
    state.uncaught = m_uncaught;
}
