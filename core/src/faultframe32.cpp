// faultframe32.cpp: guards as handlers in the chain that the 32-bit system keeps of each thread.
#include "faultframe.h"

#if S_TARGET_32BIT

#include "threadblock.h"

namespace {

typedef LONG(NTAPI* Continue)(CONTEXT*, BOOLEAN raiseAlert);
Continue g_continue;

} // namespace

HandlerRecord* ChainHead() noexcept
{
    HandlerRecord* head;
    asm volatile("movl %%fs:0, %0" : "=r"(head));
    return head;
}

void SetChainHead(HandlerRecord* record) noexcept
{
    asm volatile("movl %0, %%fs:0" : : "r"(record) : "memory");
}

void PrepareFrames() noexcept
{
    if (!g_continue)
        g_continue = reinterpret_cast<Continue>(
            reinterpret_cast<void (*)()>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtContinue")));
}

void GoOnAt(CONTEXT* context) noexcept
{
    if (g_continue)
        g_continue(context, FALSE);
}

// ---- The guard's call ----

// A function of its own that returns either way: only then does the compiler keep all the registers of its callers for the jump.
__attribute__((noinline)) bool CallAround(FullGuard& guard, void (*call)(void*), void* context)
{
    const PutUpHere here(guard);
    if (__builtin_setjmp(guard.resume) != 0)
        return false;
    call(context);
    return true;
}

void ReturnToGuard(FullGuard* guard) noexcept
{
    __builtin_longjmp(guard->resume, 1);
}

// ---- Sending a thread elsewhere ----

// Pushes the address that the unwinder is to see, and goes on in CvOnFault. Not earlier: what lies below the stack pointer
// belongs to the system until the thread runs again.
extern "C" void CvEnterOnFault();
asm(".text\n"
    ".globl _CvEnterOnFault\n"
    "_CvEnterOnFault:\n"
    "    pushl %edx\n"
    "    jmp @CvOnFault@4\n");

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

} // namespace

void SendToFault(CONTEXT* context, FaultInWork* fault) noexcept
{
    context->Edx = reinterpret_cast<DWORD>(fault->returnsTo);
    Redirect(context, CvEnterOnFault, fault);
}

// Far enough below the guard not to touch the frame that it lies in.
void SendToLostFault(CONTEXT* context, FaultInWork* fault, const Guard* guard) noexcept
{
    constexpr DWORD kFrame = 512;
    context->Esp = (reinterpret_cast<DWORD>(guard) - kFrame) & ~DWORD{ 15 };
    Redirect(context, reinterpret_cast<void (*)()>(CvOnLostFault), fault);
}

// ---- For the hook ----

// Records of handlers lie on the thread's stack, each farther out than the one before.
bool CanFindHandlers(const EXCEPTION_RECORD&, const CONTEXT&) noexcept
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

extern "C" __attribute__((fastcall)) void CvCallOnStack(void* argument, void* top, void (*call)(void*));
asm(".text\n"
    ".globl @CvCallOnStack@12\n"
    "@CvCallOnStack@12:\n"
    "    pushl %ebp\n"
    "    movl %esp, %ebp\n"
    "    movl 8(%ebp), %eax\n"
    "    leal -16(%edx), %esp\n"
    "    movl %ecx, (%esp)\n"
    "    call *%eax\n"
    "    movl %ebp, %esp\n"
    "    popl %ebp\n"
    "    ret $4\n");

void CallOnStack(void (*call)(void*), void* argument, void* top) noexcept
{
    CvCallOnStack(argument, top, call);
}

#endif
