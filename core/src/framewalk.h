// framewalk.h: the calls on the stack as the unwinder goes through them. framewalk32.cpp and framewalk64.cpp have it, for what
// each system's unwinder is.
#ifndef FRAMEWALK_H
#define FRAMEWALK_H

#include "cvbase.h"

/// One call that has not returned yet.
struct WalkedFrame {
    const void* at; ///< where it goes on; behind the instruction that the frame is in
    UINT_PTR stack; ///< its stack pointer there
    bool passable;  ///< the unwinder can leave it: it has tables, and is not one of the system's
    const unsigned char* language; ///< its table of call sites; null when it has none
    UINT_PTR function;             ///< what places in that table are counted from
};

/// Calls `visit` for the frames of this thread from the caller's on, latest first, until it returns false, and for a last one
/// that cannot be gone beyond.
void VisitFrames(bool (*visit)(const WalkedFrame& frame, void* context), void* context) noexcept;

#if !S_TARGET_32BIT
/// What lies between a fault and a guard.
struct WayOut {
    bool arrives;          ///< the frames lead there
    bool asksHandlers;     ///< a handler that is not of C++ is on the way; the system asks it first
    bool letsExceptionOut; ///< every frame does where it stands
};

/// Looks from `from` on as far as the frame that holds `limit`; to the thread's first frame for null. Touches nothing outside of the
/// thread's stack.
WayOut LookOut(const CONTEXT& from, const void* limit) noexcept;
#endif

#endif
