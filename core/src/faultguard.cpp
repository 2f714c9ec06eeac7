// faultguard.cpp: guards, which turn the machine faults of their thread into exceptions.
//
// A guard registers a handler with the system, like any structured handler. When its turn comes, the thread is not left to
// the system's own unwinding, which knows nothing of our frames: it is sent on in OnFault, as if the faulting instruction
// had called that. From there on it is an ordinary thread again: it writes the log, looks whether every frame up to the
// guard can be unwound, and throws. The return address is one behind the faulting instruction, since the unwinder looks
// a call's address up one before where it returns to.
//
// Where an exception cannot go all the way, the guard's call is resumed instead, by the jump that SCallGuarded prepared.
// A fault in the middle of all that (in the log, in the run-time's throw) takes this way too; so does a stack overflow,
// for there is no stack left to do anything on.
#include "faultguard.h"

#include "crashrecord.h"
#include "inflight.h"
#include "logfile.h"

#include <malloc.h>

#include <atomic>

#if S_TARGET_32BIT

namespace {

// A fault on its way. They are static because the stack may be gone and the frame of a handler guard has no room.
struct FaultInWork {
    std::atomic<int> taken{ 0 };
    HandlerRecord* guard; // whose turn it was
    bool reported;        // the log has been told, or has been begun to be
    int lost;             // how often it has led to another fault
    EXCEPTION_RECORD record;
    CONTEXT context;
    EXCEPTION_POINTERS pointers;
    const void* returnsTo; // the address that OnFault returns to, as far as the unwinder knows
};

// More threads with a fault at the same moment wait for one of these.
constexpr int kFaultsInWork = 16;
FaultInWork g_inWork[kFaultsInWork];

FaultInWork* TakeFault()
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

// What a guard is, from its registration on. A handler guard has no more than this.
struct Guard : HandlerRecord {
    FaultInWork* fault; // null while none is in work
};
FaultInWork g_passed; // where `fault` leads for a guard that lets the next fault by

struct FullGuard : Guard {
    SMachineFault described; // where `resume` leads, the fault that led there
    void* resume[5];         // the compiler's jump buffer
    const ThreadUnderWay* underWay;
};

EXCEPTION_DISPOSITION __cdecl OnFullGuard(EXCEPTION_RECORD*, void*, CONTEXT*, void*);
EXCEPTION_DISPOSITION __cdecl OnHandlerGuard(EXCEPTION_RECORD*, void*, CONTEXT*, void*);
EXCEPTION_DISPOSITION __cdecl OnSuspended(EXCEPTION_RECORD*, void*, CONTEXT*, void*)
{
    return ExceptionContinueSearch;
}

FullGuard* EnclosingFullGuard(HandlerRecord* record)
{
    for (; record != kChainEnd; record = record->previous) {
        if (record->handler == OnFullGuard)
            return static_cast<FullGuard*>(record);
        if (record->handler == OnSuspended)
            return nullptr;
    }
    return nullptr;
}

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

// The thread goes on in the call of `guard`; destructors in between are skipped.
[[noreturn]] void ResumeAt(FullGuard* guard, const SMachineFault& fault)
{
    guard->described = fault;
    guard->fault = nullptr;
    SetChainHead(guard);
    __builtin_longjmp(guard->resume, 1);
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

typedef LONG(NTAPI* Continue)(CONTEXT*, BOOLEAN raiseAlert);
Continue g_continue;

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
    if (g_continue)
        g_continue(&context, FALSE);
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
    if (!full)
        RaiseAgain(fault);
    static_cast<Guard*>(fault->guard)->fault = nullptr;
    const SMachineFault described = DescribeFault(fault->record);
    fault->taken.store(0);
    ResumeAt(full, described);
}

} // namespace

extern "C" {

// The thread comes here as if the faulting instruction had called this.
[[noreturn]] __attribute__((force_align_arg_pointer, fastcall, used)) void CvOnFault(FaultInWork* fault)
{
    Guard* const guard = static_cast<Guard*>(fault->guard);
    StackWalk walk;
    WalkStack(walk, fault->returnsTo, guard);
    // The unwinder's first place is behind the instruction. That of a call into nothing is the caller's and right.
    if (walk.count > 0 && FaultAccess(fault->record) != SMachineFault::kExecute)
        walk.frames[0] = fault->record.ExceptionAddress;
    if (walk.count == 0)
        ScanStack(walk, fault->record.ExceptionAddress, reinterpret_cast<const void*>(fault->context.Esp));
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

// The thread comes here on a stack that ends just below its guard: after an overflow, and after a fault in CvOnFault.
[[noreturn]] __attribute__((force_align_arg_pointer, fastcall, used)) void CvOnLostFault(FaultInWork* fault)
{
    AbandonLogTurn();
    if (fault->reported && fault->lost == 1)
        fault->reported = false; // there may have been too little stack for the record; here is more
    if (!fault->reported) {
        // Nothing has been written yet, and this is the last try. What lies below is dead by now, but it tells who called whom.
        fault->reported = true;
        StackWalk walk;
        ScanStack(walk, fault->record.ExceptionAddress, reinterpret_cast<const void*>(fault->context.Esp));
        Report(fault, walk);
    }
    LeaveByResuming(fault);
}

// Pushes the address that the unwinder is to see, and goes on in CvOnFault. Not earlier: what lies below the stack pointer
// belongs to the system until the thread runs again.
void CvEnterOnFault();
asm(".text\n"
    ".globl _CvEnterOnFault\n"
    "_CvEnterOnFault:\n"
    "    pushl %edx\n"
    "    jmp @CvOnFault@4\n");
}

namespace {

// Sends the thread on at `place` with the fault in ecx, in a state in which a function may begin.
void Redirect(CONTEXT* context, void (*place)(), FaultInWork* fault)
{
    constexpr DWORD kDirection = 0x400, kTrap = 0x100, kAlignment = 0x40000;
    context->Eip = reinterpret_cast<DWORD>(place);
    context->Ecx = reinterpret_cast<DWORD>(fault);
    context->EFlags &= ~(kDirection | kTrap | kAlignment);
    if ((context->ContextFlags & CONTEXT_FLOATING_POINT) == CONTEXT_FLOATING_POINT) {
        // No pending floating-point fault, and none of the registers in use.
        context->FloatSave.StatusWord = 0xFFFF0000;
        context->FloatSave.TagWord = 0xFFFFFFFF;
    }
    if ((context->ContextFlags & CONTEXT_EXTENDED_REGISTERS) == CONTEXT_EXTENDED_REGISTERS) {
        constexpr int kStatus = 2, kTags = 4, kMxcsr = 24; // in the image that FXSAVE writes
        unsigned char* const image = context->ExtendedRegisters;
        image[kStatus] = image[kStatus + 1] = image[kTags] = 0;
        image[kMxcsr] &= 0xC0; // its low six bits are the pending faults
    }
}

// Far enough below a guard not to touch the frame that it lies in while CvOnLostFault works.
DWORD StackBelow(const HandlerRecord* guard)
{
    constexpr DWORD kFrame = 512;
    return (reinterpret_cast<DWORD>(guard) - kFrame) & ~DWORD{ 15 };
}

EXCEPTION_DISPOSITION Take(EXCEPTION_RECORD* record, Guard* guard, CONTEXT* context)
{
    constexpr DWORD kUnwinding = 0x2 | 0x4; // the chain is being taken down: nothing to catch any more
    if ((record->ExceptionFlags & (kUnwinding | EXCEPTION_NONCONTINUABLE)) != 0 ||
        !IsMachineFault(record->ExceptionCode) || IsSuspended(guard))
        return ExceptionContinueSearch;

    if (guard->fault == &g_passed) {
        guard->fault = nullptr;
        return ExceptionContinueSearch;
    }
    if (guard->fault) { // in the middle of dealing with one
        constexpr int kEnough = 3;
        if (++guard->fault->lost > kEnough) {
            guard->fault->taken.store(0); // whatever is wrong here, let the next one try
            guard->fault = nullptr;
            return ExceptionContinueSearch;
        }
        context->Esp = StackBelow(guard);
        Redirect(context, reinterpret_cast<void (*)()>(CvOnLostFault), guard->fault);
        return ExceptionContinueExecution;
    }
    const bool overflow = record->ExceptionCode == static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW);
    if (overflow) {
        // It comes once only, so it cannot be looked at and let by.
        if (!EnclosingFullGuard(guard))
            return ExceptionContinueSearch;
        // What deals with it needs a stack, which guards at the end of a recursion do not have below them.
        constexpr DWORD kRoom = 0x10000;
        if (reinterpret_cast<DWORD>(guard) - context->Esp < kRoom && EnclosingFullGuard(guard->previous))
            return ExceptionContinueSearch;
    }
    FaultInWork* const fault = TakeFault();
    fault->guard = guard;
    fault->record = *record;
    constexpr DWORD kExtendedState = 0x40; // it lies behind the context, where the copy does not reach
    fault->context = *context;
    fault->context.ContextFlags &= ~kExtendedState;
    fault->pointers = { &fault->record, &fault->context };
    fault->reported = false;
    fault->lost = 0;
    guard->fault = fault;
    if (overflow) {
        context->Esp = StackBelow(guard);
        Redirect(context, reinterpret_cast<void (*)()>(CvOnLostFault), fault);
        return ExceptionContinueExecution;
    }
    DWORD returnsTo = reinterpret_cast<DWORD>(record->ExceptionAddress) + 1;
    if (FaultAccess(*record) == SMachineFault::kExecute) {
        // A call of something that is no code has pushed where it came from: the caller's frame is whole.
        const DWORD caller = *reinterpret_cast<const DWORD*>(context->Esp);
        if (FollowsCall(reinterpret_cast<const void*>(caller))) {
            returnsTo = caller;
            context->Esp += sizeof caller;
        }
    }
    fault->returnsTo = reinterpret_cast<const void*>(returnsTo);
    context->Edx = returnsTo;
    Redirect(context, CvEnterOnFault, fault);
    return ExceptionContinueExecution;
}

// The system calls these with a stack that is aligned to four bytes only.
__attribute__((force_align_arg_pointer))
EXCEPTION_DISPOSITION __cdecl OnFullGuard(EXCEPTION_RECORD* record, void* guard, CONTEXT* context, void*)
{
    return Take(record, static_cast<FullGuard*>(static_cast<HandlerRecord*>(guard)), context);
}

__attribute__((force_align_arg_pointer))
EXCEPTION_DISPOSITION __cdecl OnHandlerGuard(EXCEPTION_RECORD* record, void* guard, CONTEXT* context, void*)
{
    if (!VectoredExceptionHook::IsInstalled())
        return ExceptionContinueSearch;
    return Take(record, static_cast<Guard*>(static_cast<HandlerRecord*>(guard)), context);
}

void PutUp(HandlerRecord* record, decltype(HandlerRecord::handler) handler)
{
    record->handler = handler;
    record->previous = ChainHead();
    SetChainHead(record);
}

class PutUpHere {
public:
    explicit PutUpHere(FullGuard& guard) : m_guard(guard)
    {
        guard.fault = nullptr;
        PutUp(&guard, OnFullGuard);
    }
    ~PutUpHere() { SetChainHead(m_guard.previous); }
    PutUpHere(const PutUpHere&) = delete;
    PutUpHere& operator=(const PutUpHere&) = delete;

private:
    FullGuard& m_guard;
};

// Whether the call returned; false when the jump came back instead. A function of its own that returns either way: only
// then does the compiler keep all the registers of its callers for the jump.
__attribute__((noinline)) bool Call(FullGuard& guard, void (*call)(void*), void* context)
{
    const PutUpHere here(guard);
    if (__builtin_setjmp(guard.resume) != 0)
        return false;
    call(context);
    return true;
}

} // namespace

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
    if (!g_continue)
        g_continue = reinterpret_cast<Continue>(
            reinterpret_cast<void (*)()>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtContinue")));
}

void SCallGuarded(void (*call)(void*), void* context)
{
    FullGuard guard;
    const ThreadUnderWay underWay;
    guard.underWay = &underWay;
    if (Call(guard, call, context))
        return;
    // The guard is gone by now: what comes up from here on is for the next one.
    underWay.Restore();
    ::_resetstkoflw(); // or the next overflow ends the process at once; a fault near the end of the stack uses it up too
    ThrowFault(guard.described);
}

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

#else
#error "The guards are written for the 32-bit system's chain of handlers; a 64-bit build needs its own."
#endif
