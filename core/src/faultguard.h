// faultguard.h: what the guards and the hook share.
#ifndef FAULTGUARD_H
#define FAULTGUARD_H

#include "crash.h"

/// One record of the system's chain of exception handlers of a thread: it lies in the frame of whoever put it up, the
/// latest one at the head.
struct HandlerRecord {
    HandlerRecord* previous;
    EXCEPTION_DISPOSITION(__cdecl* handler)(EXCEPTION_RECORD*, void* record, CONTEXT*, void*);
};

/// The end of the chain.
inline HandlerRecord* const kChainEnd = reinterpret_cast<HandlerRecord*>(~static_cast<UINT_PTR>(0));

inline HandlerRecord* ChainHead()
{
    HandlerRecord* head;
    asm volatile("movl %%fs:0, %0" : "=r"(head));
    return head;
}
inline void SetChainHead(HandlerRecord* record)
{
    asm volatile("movl %0, %%fs:0" : : "r"(record) : "memory");
}

/// For handler guards to work; a part that must not wait for a fault.
void PrepareHandlerGuards() noexcept;

/// Remembers a fault as the one that IsKnownException tells of.
void NoteKnownException(const SMachineFault& fault) noexcept;

#endif
