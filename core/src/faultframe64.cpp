// faultframe64.cpp: guards on the 64-bit system, which finds handlers by the tables of the functions on the stack.
//
// A full guard's call goes through a frame in assembly that names a handler; the system asks it when its turn comes. A handler guard has
// no frame of its own. It is served by a handler that the system asks before all others, and only where no other one is on
// the way to it. That first handler also serves full guards which the system would not find any more, because frames in
// between are broken.
#include "faultframe.h"

#if !S_TARGET_32BIT

#include "compiler.h"
#include "crashrecord.h"
#include "framewalk.h"
#include "threadblock.h"

#include <malloc.h>

// ---- The chain ----

namespace {

// Fibers of one thread share it.
class ChainSlot {
public:
    ChainSlot() noexcept : m_slot(::TlsAlloc()) {}
    ~ChainSlot() { ::TlsFree(m_slot); }
    ChainSlot(const ChainSlot&) = delete;
    ChainSlot& operator=(const ChainSlot&) = delete;
    HandlerRecord* Get() const
    {
        const DWORD error = ::GetLastError();
        void* const head = ::TlsGetValue(m_slot);
        ::SetLastError(error);
        return static_cast<HandlerRecord*>(head);
    }
    void Set(HandlerRecord* head) { ::TlsSetValue(m_slot, head); }

private:
    DWORD m_slot;
};
S_INIT_PRIORITY(101) ChainSlot g_chain;

} // namespace

HandlerRecord* ChainHead() noexcept
{
    return g_chain.Get();
}

void SetChainHead(HandlerRecord* record) noexcept
{
    g_chain.Set(record);
}

// ---- The handler that is asked first ----

namespace {

// What the system is to keep free at the end of a thread's stack, for handlers to be asked after an overflow. It keeps too
// little by itself.
constexpr ULONG kStackForFaults = 0x4000;

// The faulting thread as the unwinder is to see it.
CONTEXT PlaceOfFault(const EXCEPTION_RECORD& record, const CONTEXT& context)
{
    CONTEXT place = context;
    place.Rip = reinterpret_cast<DWORD64>(StepBehind(record, &place));
    return place;
}

// With less stack than that the system's way has to do: it needs little.
bool HasRoomToLook(const CONTEXT& context)
{
    constexpr UINT_PTR kRoom = 0x6000;
    const void* const stack = reinterpret_cast<const void*>(context.Rsp);
    MEMORY_BASIC_INFORMATION memory;
    return ::VirtualQuery(stack, &memory, sizeof memory) != 0 &&
           context.Rsp - reinterpret_cast<UINT_PTR>(memory.AllocationBase) > kStackForFaults + kRoom;
}

bool TakeBeforeOthers(const EXCEPTION_RECORD& record, CONTEXT* context)
{
    HandlerRecord* const head = ChainHead();
    // An overflow leaves no room for what follows.
    const bool overflow = record.ExceptionCode == static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW);
    if (!head || head->handler == OnSuspended || overflow || !IsMachineFault(record.ExceptionCode) ||
        IsPassedBy(head))
        return false;
    Guard* const guard = static_cast<Guard*>(head);
    const bool serves = guard->handler == OnHandlerGuard && VectoredExceptionHook::IsInstalled();
    if (serves && guard->fault) // in the middle of dealing with one
        return TakeFault(record, guard, context);
    if (!HasRoomToLook(*context))
        return false;
    const WayOut way = LookOut(PlaceOfFault(record, *context), guard);
    if (way.arrives)
        return serves && !way.asksHandlers && way.letsExceptionOut && TakeFault(record, guard, context);
    FullGuard* const full = EnclosingFullGuard(head);
    return full && TakeFault(record, full, context);
}

LONG CALLBACK OnFirstChance(EXCEPTION_POINTERS* pointers)
{
    return TakeBeforeOthers(*pointers->ExceptionRecord, pointers->ContextRecord)
               ? EXCEPTION_CONTINUE_EXECUTION
               : EXCEPTION_CONTINUE_SEARCH;
}

// It stays until the library is unloaded.
class FirstHandler {
public:
    ~FirstHandler()
    {
        if (void* const handler = m_handler.exchange(nullptr))
            ::RemoveVectoredExceptionHandler(handler);
    }
    void PutUp()
    {
        if (m_handler.load(std::memory_order_relaxed))
            return;
        void* const handler = ::AddVectoredExceptionHandler(1, OnFirstChance);
        void* none = nullptr;
        if (handler && !m_handler.compare_exchange_strong(none, handler))
            ::RemoveVectoredExceptionHandler(handler);
    }

private:
    std::atomic<void*> m_handler{ nullptr };
};
FirstHandler g_first;

} // namespace

void PrepareFrames() noexcept
{
    g_first.PutUp();
    ULONG bytes = kStackForFaults;
    // It begins to count with the next guard page that is put up: a system that commits whole stacks has put up the last one.
    if (::SetThreadStackGuarantee(&bytes) && bytes < kStackForFaults)
        ::_resetstkoflw();
}

void GoOnAt(CONTEXT* context) noexcept
{
    ::RtlRestoreContext(context, nullptr);
}

// ---- The guard's call ----

extern "C" {

// Calls `call(context)` from a frame that the guard can be found by. 1 when it returned, 0 when CvReturnToGuard came.
int CvCallAround(FullGuard* guard, void** frame, void (*call)(void*), void* context);
// `frame` is what CvCallAround stored.
[[noreturn]] void CvReturnToGuard(void* frame);
void CvBackInCallAround(); // no function: where its call returns to

// All registers that a function must keep are on the stack, so that the jump finds them there.
asm(".text\n"
    ".globl CvCallAround\n"
    ".def CvCallAround; .scl 2; .type 32; .endef\n"
    ".seh_proc CvCallAround\n"
    "CvCallAround:\n"
    "    pushq %rbp\n"
    "    .seh_pushreg %rbp\n"
    "    pushq %rbx\n"
    "    .seh_pushreg %rbx\n"
    "    pushq %rdi\n"
    "    .seh_pushreg %rdi\n"
    "    pushq %rsi\n"
    "    .seh_pushreg %rsi\n"
    "    pushq %r12\n"
    "    .seh_pushreg %r12\n"
    "    pushq %r13\n"
    "    .seh_pushreg %r13\n"
    "    pushq %r14\n"
    "    .seh_pushreg %r14\n"
    "    pushq %r15\n"
    "    .seh_pushreg %r15\n"
    "    subq $0xD8, %rsp\n"
    "    .seh_stackalloc 0xD8\n"
    "    movaps %xmm6, 0x30(%rsp)\n"
    "    .seh_savexmm %xmm6, 0x30\n"
    "    movaps %xmm7, 0x40(%rsp)\n"
    "    .seh_savexmm %xmm7, 0x40\n"
    "    movaps %xmm8, 0x50(%rsp)\n"
    "    .seh_savexmm %xmm8, 0x50\n"
    "    movaps %xmm9, 0x60(%rsp)\n"
    "    .seh_savexmm %xmm9, 0x60\n"
    "    movaps %xmm10, 0x70(%rsp)\n"
    "    .seh_savexmm %xmm10, 0x70\n"
    "    movaps %xmm11, 0x80(%rsp)\n"
    "    .seh_savexmm %xmm11, 0x80\n"
    "    movaps %xmm12, 0x90(%rsp)\n"
    "    .seh_savexmm %xmm12, 0x90\n"
    "    movaps %xmm13, 0xA0(%rsp)\n"
    "    .seh_savexmm %xmm13, 0xA0\n"
    "    movaps %xmm14, 0xB0(%rsp)\n"
    "    .seh_savexmm %xmm14, 0xB0\n"
    "    movaps %xmm15, 0xC0(%rsp)\n"
    "    .seh_savexmm %xmm15, 0xC0\n"
    "    .seh_endprologue\n"
    "    movq %rcx, 0x20(%rsp)\n" // kGuardInFrame
    "    movq %rsp, (%rdx)\n"
    "    movq %r9, %rcx\n"
    "    call *%r8\n"
    ".globl CvBackInCallAround\n"
    "CvBackInCallAround:\n"
    "    movl $1, %eax\n"
    "CvLeaveCallAround:\n"
    "    movaps 0x30(%rsp), %xmm6\n"
    "    movaps 0x40(%rsp), %xmm7\n"
    "    movaps 0x50(%rsp), %xmm8\n"
    "    movaps 0x60(%rsp), %xmm9\n"
    "    movaps 0x70(%rsp), %xmm10\n"
    "    movaps 0x80(%rsp), %xmm11\n"
    "    movaps 0x90(%rsp), %xmm12\n"
    "    movaps 0xA0(%rsp), %xmm13\n"
    "    movaps 0xB0(%rsp), %xmm14\n"
    "    movaps 0xC0(%rsp), %xmm15\n"
    "    addq $0xD8, %rsp\n"
    "    popq %r15\n"
    "    popq %r14\n"
    "    popq %r13\n"
    "    popq %r12\n"
    "    popq %rsi\n"
    "    popq %rdi\n"
    "    popq %rbx\n"
    "    popq %rbp\n"
    "    ret\n"
    "    .seh_handler CvOnGuardFrame, @except, @unwind\n"
    "    .seh_endproc\n"
    ".globl CvReturnToGuard\n"
    ".def CvReturnToGuard; .scl 2; .type 32; .endef\n"
    "CvReturnToGuard:\n"
    "    movq %rcx, %rsp\n"
    "    xorl %eax, %eax\n"
    "    jmp CvLeaveCallAround\n");

// The system asks this about each exception that comes by, and tells it when the frame is taken down.
__attribute__((used)) EXCEPTION_DISPOSITION CvOnGuardFrame(EXCEPTION_RECORD* record, void* frame,
                                                           CONTEXT* context, void*)
{
    constexpr int kGuardInFrame = 0x20;
    constexpr DWORD kUnwinding = 0x2 | 0x4;
    FullGuard* const guard = *reinterpret_cast<FullGuard**>(static_cast<char*>(frame) + kGuardInFrame);
    if ((record->ExceptionFlags & kUnwinding) == 0)
        return OnFullGuard(record, guard, context, nullptr);
    // Not every unwinding runs destructors.
    SetChainHead(guard->previous);
    return ExceptionContinueSearch;
}
}

namespace {

void* FrameOf(const FullGuard* guard)
{
    return guard->resume[0];
}

} // namespace

bool CallAround(FullGuard& guard, void (*call)(void*), void* context)
{
    PrepareFrames();
    const PutUpHere here(guard);
    return CvCallAround(&guard, &guard.resume[0], call, context) != 0;
}

void ReturnToGuard(FullGuard* guard) noexcept
{
    // Handlers of Wine's own in frames that are left behind.
    NT_TIB* const thread = ThreadBlock();
    const UINT_PTR base = reinterpret_cast<UINT_PTR>(thread->StackBase);
    const UINT_PTR limit = reinterpret_cast<UINT_PTR>(thread->StackLimit);
    for (UINT_PTR record; (record = reinterpret_cast<UINT_PTR>(thread->ExceptionList)) >= limit &&
                          record < base && record < reinterpret_cast<UINT_PTR>(FrameOf(guard));)
        thread->ExceptionList = thread->ExceptionList->Next;
    CvReturnToGuard(FrameOf(guard));
}

// ---- Sending a thread elsewhere ----

// Calls the function in r9 with the fault in rcx, under a frame like the one of an interrupt: it says where the thread was, and
// restores the stack pointer whatever it was. Not earlier: what lies below the stack pointer belongs to the system until the
// thread runs again.
extern "C" void CvEnter();
asm(".text\n"
    ".globl CvEnter\n"
    ".def CvEnter; .scl 2; .type 32; .endef\n"
    ".seh_proc CvEnter\n"
    "CvEnter:\n"
    "    andq $-16, %rsp\n"
    "    pushq $0x2B\n"
    "    pushq %r8\n" // stack pointer
    "    pushfq\n"
    "    pushq $0x33\n"
    "    pushq %rdx\n" // place
    "    .seh_pushframe\n"
    "    subq $0x28, %rsp\n"
    "    .seh_stackalloc 0x28\n"
    "    .seh_endprologue\n"
    "    call *%r9\n"
    "    int3\n"
    "    .seh_endproc\n");

namespace {

// Sends the thread on at `place`, in a state in which a function may begin.
void Redirect(CONTEXT* context, void (*place)(FaultInWork*), FaultInWork* fault)
{
    constexpr DWORD kDirection = 0x400, kTrap = 0x100, kAlignment = 0x40000, kPendingFaults = 0x3F;
    context->Rip = reinterpret_cast<DWORD64>(CvEnter);
    context->Rcx = reinterpret_cast<DWORD64>(fault);
    context->R9 = reinterpret_cast<DWORD64>(place);
    context->EFlags &= ~(kDirection | kTrap | kAlignment);
    if ((context->ContextFlags & CONTEXT_FLOATING_POINT) == CONTEXT_FLOATING_POINT) {
        context->MxCsr &= ~kPendingFaults;
        context->FltSave.MxCsr &= ~kPendingFaults;
        context->FltSave.StatusWord = 0;
        context->FltSave.TagWord = 0; // none of the registers in use
    }
}

} // namespace

void SendToFault(CONTEXT* context, FaultInWork* fault) noexcept
{
    context->Rdx = reinterpret_cast<DWORD64>(fault->returnsTo);
    context->R8 = context->Rsp;
    Redirect(context, CvOnFault, fault);
}

void SendToLostFault(CONTEXT* context, FaultInWork* fault, const Guard* guard) noexcept
{
    if (guard->handler == OnFullGuard) {
        constexpr DWORD64 kBelow = 64;
        const DWORD64 frame = reinterpret_cast<DWORD64>(FrameOf(static_cast<const FullGuard*>(guard)));
        context->Rdx = reinterpret_cast<DWORD64>(CvBackInCallAround);
        context->R8 = frame;
        context->Rsp = frame - kBelow;
    } else {
        // The frames are still wanted: the first fault may have to be let by.
        context->Rdx = context->Rip + 1;
        context->R8 = context->Rsp;
    }
    Redirect(context, CvOnLostFault, fault);
}

// ---- For the hook ----

bool CanFindHandlers(const EXCEPTION_RECORD& record, const CONTEXT& context) noexcept
{
    return EnclosingFullGuard(ChainHead()) || !HasRoomToLook(context) ||
           LookOut(PlaceOfFault(record, context), nullptr).arrives;
}

extern "C" void CvCallOnStack(void (*call)(void*), void* argument, void* top);
asm(".text\n"
    ".globl CvCallOnStack\n"
    ".def CvCallOnStack; .scl 2; .type 32; .endef\n"
    ".seh_proc CvCallOnStack\n"
    "CvCallOnStack:\n"
    "    pushq %rbp\n"
    "    .seh_pushreg %rbp\n"
    "    movq %rsp, %rbp\n"
    "    .seh_setframe %rbp, 0\n"
    "    .seh_endprologue\n"
    "    leaq -0x20(%r8), %rsp\n"
    "    movq %rcx, %rax\n"
    "    movq %rdx, %rcx\n"
    "    call *%rax\n"
    "    leaq (%rbp), %rsp\n"
    "    popq %rbp\n"
    "    ret\n"
    "    .seh_endproc\n");

void CallOnStack(void (*call)(void*), void* argument, void* top) noexcept
{
    CvCallOnStack(call, argument, top);
}

#endif
