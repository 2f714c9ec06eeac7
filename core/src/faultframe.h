// faultframe.h: guards as the system and the machine see them. faultguard.cpp decides; faultframe32.cpp and faultframe64.cpp put
// guards where the system finds them, and send threads from one place to another.
#ifndef FAULTFRAME_H
#define FAULTFRAME_H

#include "crash.h"
#include "inflight.h"

#include <atomic>

/// A guard or a suspension of a thread: they form a chain, the latest at the head. On 32 bits it is the system's own chain of
/// exception handlers, on 64 bits one of ours.
struct HandlerRecord {
    HandlerRecord* previous;
    EXCEPTION_DISPOSITION(__cdecl* handler)(EXCEPTION_RECORD*, void* record, CONTEXT*, void*);
};

/// The end of the chain.
#if S_TARGET_32BIT
inline HandlerRecord* const kChainEnd = reinterpret_cast<HandlerRecord*>(~static_cast<UINT_PTR>(0));
#else
inline constexpr HandlerRecord* kChainEnd = nullptr;
#endif

HandlerRecord* ChainHead() noexcept;
void SetChainHead(HandlerRecord* record) noexcept;

/// Makes a record the chain's head.
inline void PutUp(HandlerRecord& record) noexcept
{
    record.previous = ChainHead();
    SetChainHead(&record);
}

/// A record that is in the chain while this lives.
class PutUpHere {
public:
    explicit PutUpHere(HandlerRecord& record) noexcept : m_record(record) { PutUp(record); }
    ~PutUpHere() { SetChainHead(m_record.previous); }
    PutUpHere(const PutUpHere&) = delete;
    PutUpHere& operator=(const PutUpHere&) = delete;

private:
    HandlerRecord& m_record;
};

/// The stack pointer of a context.
#if S_TARGET_32BIT
inline DWORD& StackOf(CONTEXT& context)
{
    return context.Esp;
}
#else
inline DWORD64& StackOf(CONTEXT& context)
{
    return context.Rsp;
}
#endif

/// A fault on its way. They are static because the stack may be gone and the frame of a handler guard has no room.
struct FaultInWork {
    std::atomic<int> taken{ 0 };
    HandlerRecord* guard; // whose turn it was
    bool reported;        // the log has been told, or has been begun to be
    int lost;             // how often it has led to another fault
    EXCEPTION_RECORD record;
    CONTEXT context;
    EXCEPTION_POINTERS pointers;
    const void* returnsTo; // the address that CvOnFault returns to, as far as the unwinder knows
};

/// What a guard is, from its registration on. A handler guard has no more than this.
struct Guard : HandlerRecord {
    FaultInWork* fault; // null while none is in work
};

struct FullGuard : Guard {
    SMachineFault described; // where `resume` leads, the fault that led there
    void* resume[5];         // how the thread comes back to the call; on 32 bits the compiler's jump buffer
    const ThreadUnderWay* underWay;
};

// ---- In faultguard.cpp ----

/// Where the unwinder is to look for the fault: behind the instruction. A call of something that is no code has pushed where it came
/// from; then the fault is there, and the stack pointer is put back.
const void* StepBehind(const EXCEPTION_RECORD& record, CONTEXT* context) noexcept;

/// Which of them a record is.
EXCEPTION_DISPOSITION __cdecl OnFullGuard(EXCEPTION_RECORD*, void* guard, CONTEXT*, void*);
EXCEPTION_DISPOSITION __cdecl OnHandlerGuard(EXCEPTION_RECORD*, void* guard, CONTEXT*, void*);
EXCEPTION_DISPOSITION __cdecl OnSuspended(EXCEPTION_RECORD*, void*, CONTEXT*, void*);

/// The innermost full guard from `record` on that no suspension hides; null when there is none.
FullGuard* EnclosingFullGuard(HandlerRecord* record) noexcept;

/// Decides about a fault when it is the turn of `guard`; true when the thread is to go on, with the context as it is now.
bool TakeFault(const EXCEPTION_RECORD& record, Guard* guard, CONTEXT* context) noexcept;

/// Whether a guard on the way from here outwards was told to let the next fault by. None is any more.
bool IsPassedBy(HandlerRecord* record) noexcept;

// Where the machine's code sends a thread, with the fault in its first register.
#if S_TARGET_32BIT
#define S_SENT_HERE __attribute__((force_align_arg_pointer, fastcall, used))
#else
#define S_SENT_HERE __attribute__((used))
#endif
extern "C" {
[[noreturn]] S_SENT_HERE void CvOnFault(FaultInWork* fault);
[[noreturn]] S_SENT_HERE void CvOnLostFault(FaultInWork* fault);
}

// ---- The machine ----

/// What must not wait for a fault.
void PrepareFrames() noexcept;

/// Puts up the guard, calls, takes it down; whether the call returned. False when ReturnToGuard came instead.
bool CallAround(FullGuard& guard, void (*call)(void*), void* context);
[[noreturn]] void ReturnToGuard(FullGuard* guard) noexcept;

/// Sends the thread on in CvOnFault, as if the faulting instruction had called that.
void SendToFault(CONTEXT* context, FaultInWork* fault) noexcept;

/// Sends it on in CvOnLostFault, where there is stack for that.
void SendToLostFault(CONTEXT* context, FaultInWork* fault, const Guard* guard) noexcept;

/// Lets the thread go on where a context says. Returns when that cannot be.
void GoOnAt(CONTEXT* context) noexcept;

/// Whether the system finds the handlers around a fault, or one of our guards will see it in spite of that.
bool CanFindHandlers(const EXCEPTION_RECORD& record, const CONTEXT& context) noexcept;

/// Calls `call(argument)` with the stack pointer at `top`.
void CallOnStack(void (*call)(void*), void* argument, void* top) noexcept;

#endif
