// faultguard.cpp: guards, which turn the machine faults of their thread into exceptions.
//
// The system asks a guard when its turn comes, like any structured handler. The thread is not left to the system's own unwinding
// then, which knows nothing of our frames or would not run their destructors: it is sent on in CvOnFault, as if the faulting
// instruction had called that. From there on it is an ordinary thread again: it writes the log, looks whether every frame up to the
// guard can be unwound, and throws. The return address is one behind the faulting instruction's first byte, since the unwinder
// looks a call's address up one before where it returns to.
//
// Where an exception cannot go all the way, the guard's call is resumed instead, by a jump that SCallGuarded prepared.
// A fault in the middle of all that (in the log, in the run-time's throw) takes this way too; so does a stack overflow,
// for there is no stack left to do anything on.
#include "faultguard.h"

#include "compiler.h"
#include "crashrecord.h"
#include "faultframe.h"
#include "logfile.h"

#include <malloc.h>

namespace {

// More threads with a fault at the same moment wait for one of these.
constexpr int kFaultsInWork = 16;
FaultInWork g_inWork[kFaultsInWork];

FaultInWork* TakeRoom()
{
    for (;;) {
        for (FaultInWork& fault : g_inWork) {
            int free = 0;
            if (fault.taken.compare_exchange_strong(free, 1))
                return &fault;
        }
        ::Sleep(1);
    }
}

FaultInWork g_passed; // where `fault` leads for a guard that lets the next fault by

// Whether a suspension lies inside the guard.
bool IsSuspended(const HandlerRecord* guard)
{
    for (const HandlerRecord* record = ChainHead(); record != guard && record != kChainEnd;
         record = record->previous) {
        if (record->handler == OnSuspended)
            return true;
    }
    return false;
}

#if !S_TARGET_32BIT
// A handler guard inside may have had a fault in work when the stack overflowed; nobody asks it about the overflow.
void GiveUpInside(const Guard* guard)
{
    for (HandlerRecord* record = ChainHead(); record != guard && record != kChainEnd;
         record = record->previous) {
        Guard* const inner = static_cast<Guard*>(record);
        if (record->handler == OnHandlerGuard && inner->fault && inner->fault != &g_passed) {
            inner->fault->taken.store(0);
            inner->fault = nullptr;
        }
    }
}
#endif

// The thread goes on in the call of `guard`; destructors in between are skipped.
[[noreturn]] void ResumeAt(FullGuard* guard, const SMachineFault& fault)
{
    guard->described = fault;
    guard->fault = nullptr;
    SetChainHead(guard);
    ReturnToGuard(guard);
}

constexpr wchar_t kHeadline[] = L"*** Fault caught by a guard";

void Report(FaultInWork* fault, const StackWalk& walk)
{
    const SMachineFault described = DescribeFault(fault->record);
    fault->reported = true; // before it is: a fault in the log must not come back to it
    AbandonLogTurn();       // it may have come in the middle of a record, and nothing leads back there
    LogFault(kHeadline, described, walk, &fault->pointers);
    NoteKnownException(described);
}

// For a fault that no exception can carry out of, below a handler guard with no full one around. The faulting instruction is
// run once more, with everything as it was, and the guard lets that fault by: whoever looks at it then sees where it is.
void PassBy(FaultInWork* fault)
{
    // Those farther out could do no better, and each would run it once more.
    for (HandlerRecord* record = fault->guard; record != kChainEnd && record->handler != OnSuspended;
         record = record->previous) {
        if (record->handler == OnHandlerGuard)
            static_cast<Guard*>(record)->fault = &g_passed;
    }
    CONTEXT context = fault->context;
    fault->taken.store(0);
    GoOnAt(&context);
}

// The same where the frames in between have been written over: the fault is raised from here, for those farther out.
[[noreturn]] void RaiseAgain(FaultInWork* fault)
{
    static_cast<Guard*>(fault->guard)->fault = nullptr;
    SetChainHead(fault->guard->previous);
    const EXCEPTION_RECORD record = fault->record;
    fault->taken.store(0);
    ::RaiseException(record.ExceptionCode, EXCEPTION_NONCONTINUABLE, record.NumberParameters,
                     record.ExceptionInformation);
    ::TerminateProcess(::GetCurrentProcess(), record.ExceptionCode);
    __builtin_unreachable();
}

[[noreturn]] void LeaveByResuming(FaultInWork* fault)
{
    AbandonLogTurn();
    FullGuard* const full = EnclosingFullGuard(fault->guard);
    if (!full) {
        if (!S_TARGET_32BIT)
            PassBy(fault); // the frames are there still
        RaiseAgain(fault);
    }
    static_cast<Guard*>(fault->guard)->fault = nullptr;
    const SMachineFault described = DescribeFault(fault->record);
    fault->taken.store(0);
    ResumeAt(full, described);
}

} // namespace

// The thread comes here as if the faulting instruction had called this.
void CvOnFault(FaultInWork* fault)
{
    Guard* const guard = static_cast<Guard*>(fault->guard);
    StackWalk walk;
    WalkStack(walk, fault->returnsTo, guard);
    // The unwinder's first place is behind the instruction. That of a call into nothing is the caller's and right.
    if (walk.count > 0 && FaultAccess(fault->record) != SMachineFault::kExecute)
        walk.frames[0] = fault->record.ExceptionAddress;
    if (walk.count == 0)
        ScanStack(walk, fault->record.ExceptionAddress,
                  reinterpret_cast<const void*>(StackOf(fault->context)));
    if (!walk.canUnwind && !EnclosingFullGuard(guard))
        PassBy(fault);
    Report(fault, walk);
    if (!walk.canUnwind)
        LeaveByResuming(fault);
    const SMachineFault described = DescribeFault(fault->record);
    guard->fault = nullptr;
    SetChainHead(guard);
    fault->taken.store(0);
    ThrowFault(described);
}

// The thread comes here after an overflow, and after a fault in CvOnFault.
void CvOnLostFault(FaultInWork* fault)
{
    AbandonLogTurn();
    if (fault->reported && fault->lost == 1)
        fault->reported = false; // there may have been too little stack for the record; here is more
    if (!fault->reported) {
        // Nothing has been written yet, and this is the last try. What lies below is dead by now, but it tells who called whom.
        fault->reported = true;
        StackWalk walk;
        ScanStack(walk, fault->record.ExceptionAddress,
                  reinterpret_cast<const void*>(StackOf(fault->context)));
        Report(fault, walk);
    }
    LeaveByResuming(fault);
}

const void* StepBehind(const EXCEPTION_RECORD& record, CONTEXT* context) noexcept
{
    if (FaultAccess(record) == SMachineFault::kExecute) {
        const void* const caller = *reinterpret_cast<const void* const*>(StackOf(*context));
        if (FollowsCall(caller)) {
            StackOf(*context) += sizeof caller;
            return caller;
        }
    }
    return static_cast<const char*>(record.ExceptionAddress) + 1;
}

FullGuard* EnclosingFullGuard(HandlerRecord* record) noexcept
{
    for (; record != kChainEnd; record = record->previous) {
        if (record->handler == OnFullGuard)
            return static_cast<FullGuard*>(record);
        if (record->handler == OnSuspended)
            return nullptr;
    }
    return nullptr;
}

bool IsPassedBy(HandlerRecord* record) noexcept
{
    bool isPassed = false;
    for (; record != kChainEnd && record->handler != OnSuspended; record = record->previous) {
        Guard* const guard = static_cast<Guard*>(record);
        if (guard->fault == &g_passed) {
            guard->fault = nullptr;
            isPassed = true;
        }
    }
    return isPassed;
}

bool TakeFault(const EXCEPTION_RECORD& record, Guard* guard, CONTEXT* context) noexcept
{
    constexpr DWORD kUnwinding = 0x2 | 0x4; // the chain is being taken down: nothing to catch any more
    if ((record.ExceptionFlags & (kUnwinding | EXCEPTION_NONCONTINUABLE)) != 0 ||
        !IsMachineFault(record.ExceptionCode) || IsSuspended(guard))
        return false;

    if (guard->fault == &g_passed) {
        guard->fault = nullptr;
        return false;
    }
    if (guard->fault) { // in the middle of dealing with one
        constexpr int kEnough = 3;
        if (++guard->fault->lost > kEnough) {
            guard->fault->taken.store(0); // whatever is wrong here, let the next one try
            guard->fault = nullptr;
            return false;
        }
        SendToLostFault(context, guard->fault, guard);
        return true;
    }
    const bool overflow = record.ExceptionCode == static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW);
    if (overflow) {
        // It comes once only, so it cannot be looked at and let by.
        if (!EnclosingFullGuard(guard))
            return false;
        // What deals with it needs a stack, which guards at the end of a recursion do not have below them.
        constexpr UINT_PTR kRoom = 0x10000;
        if (reinterpret_cast<UINT_PTR>(guard) - StackOf(*context) < kRoom &&
            EnclosingFullGuard(guard->previous))
            return false;
    }
#if !S_TARGET_32BIT
    if (overflow)
        GiveUpInside(guard);
#endif
    FaultInWork* const fault = TakeRoom();
    fault->guard = guard;
    fault->record = record;
    constexpr DWORD kExtendedState = 0x40; // it lies behind the context, where the copy does not reach
    fault->context = *context;
    fault->context.ContextFlags &= ~kExtendedState;
    fault->pointers = { &fault->record, &fault->context };
    fault->reported = false;
    fault->lost = 0;
    guard->fault = fault;
    if (overflow) {
        SendToLostFault(context, fault, guard);
    } else {
        fault->returnsTo = StepBehind(record, context);
        SendToFault(context, fault);
    }
    return true;
}

// ---- Kinds of records ----

namespace {

EXCEPTION_DISPOSITION Answer(bool taken)
{
    return taken ? ExceptionContinueExecution : ExceptionContinueSearch;
}

} // namespace

// The 32-bit system calls these with a stack that is aligned to four bytes only.
S_SYSTEM_CALLS EXCEPTION_DISPOSITION __cdecl OnFullGuard(EXCEPTION_RECORD* record, void* guard,
                                                         CONTEXT* context, void*)
{
    return Answer(TakeFault(*record, static_cast<FullGuard*>(static_cast<HandlerRecord*>(guard)), context));
}

S_SYSTEM_CALLS EXCEPTION_DISPOSITION __cdecl OnHandlerGuard(EXCEPTION_RECORD* record, void* guard,
                                                            CONTEXT* context, void*)
{
    return Answer(VectoredExceptionHook::IsInstalled() &&
                  TakeFault(*record, static_cast<Guard*>(static_cast<HandlerRecord*>(guard)), context));
}

EXCEPTION_DISPOSITION __cdecl OnSuspended(EXCEPTION_RECORD*, void*, CONTEXT*, void*)
{
    return ExceptionContinueSearch;
}

// ---- For the other parts ----

void ResumeGuardWith(const SMachineFault& fault) noexcept
{
    if (FullGuard* const full = EnclosingFullGuard(ChainHead()))
        ResumeAt(full, fault);
}

void ResumeLostFault(void (*before)()) noexcept
{
    FullGuard* const full = EnclosingFullGuard(ChainHead());
    const SMachineFault* const lost = full ? full->underWay->LostFault() : nullptr;
    if (!lost)
        return;
    before();
    ResumeAt(full, *lost);
}

void PrepareHandlerGuards() noexcept
{
    PrepareFrames();
}

void SCallGuarded(void (*call)(void*), void* context)
{
    FullGuard guard;
    const ThreadUnderWay underWay;
    guard.underWay = &underWay;
    guard.fault = nullptr;
    guard.handler = OnFullGuard;
    if (CallAround(guard, call, context))
        return;
    // The guard is gone by now: what comes up from here on is for the next one.
    underWay.Restore();
    ::_resetstkoflw(); // or the next overflow ends the process at once; a fault near the end of the stack uses it up too
    ThrowFault(guard.described);
}

// ---- The classes ----

namespace {

void PutUp(HandlerRecord* record, decltype(HandlerRecord::handler) handler)
{
    record->handler = handler;
    PutUp(*record);
}

} // namespace

SHandlerGuard::SHandlerGuard() noexcept
{
    Guard* const guard = reinterpret_cast<Guard*>(m_record);
    static_assert(sizeof(Guard) == sizeof m_record, "the client's frame has room for it");
    guard->fault = nullptr;
    PutUp(guard, OnHandlerGuard);
}

SHandlerGuard::~SHandlerGuard()
{
    SetChainHead(reinterpret_cast<Guard*>(m_record)->previous);
}

SSuspendExceptionHook::SSuspendExceptionHook() noexcept
{
    static_assert(sizeof(HandlerRecord) == sizeof m_record, "the client's frame has room for it");
    PutUp(reinterpret_cast<HandlerRecord*>(m_record), OnSuspended);
}

SSuspendExceptionHook::~SSuspendExceptionHook()
{
    SetChainHead(reinterpret_cast<HandlerRecord*>(m_record)->previous);
}
