// inflight.h: exceptions that are under way when a thread leaves its frames by a jump.
#ifndef INFLIGHT_H
#define INFLIGHT_H

#include "crash.h"

/// Throws the fault. Until the exception is caught, std::terminate on this thread (an exception that met a noexcept
/// function on its way) leads to the guard instead, where there is one.
[[noreturn]] void ThrowFault(const SMachineFault& fault);

/// Sends this thread to the innermost full guard around it; returns when there is none. faultguard.cpp has it.
void ResumeGuardWith(const SMachineFault& fault) noexcept;

/// The same with the fault that is under way inside of that guard; `before` is called first when there is one.
void ResumeLostFault(void (*before)()) noexcept;

/// What a thread has under way when it enters a guard: which exceptions its handlers hold, how many are being thrown, how
/// its floating-point units compute.
class ThreadUnderWay {
public:
    ThreadUnderWay() noexcept;
    /// After a jump back: ends what was begun since.
    void Restore() const noexcept;
    /// A fault of this thread that is under way since; null when there is none.
    const SMachineFault* LostFault() const noexcept;

private:
    void* m_caught;
    int m_handlers; // that hold the latest of those
    unsigned m_uncaught;
    unsigned m_faults; // how many had been thrown
    unsigned short m_x87;
    unsigned m_sse;
};

#endif
