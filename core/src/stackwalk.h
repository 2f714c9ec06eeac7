// stackwalk.h: which calls led here, and whether an exception could go the same way back.
#ifndef STACKWALK_H
#define STACKWALK_H

#include "framewalk.h"

/// The calls of this thread, latest first.
struct StackWalk {
    enum { kMost = 32 };

    const void* frames[kMost];
    int count = 0;
    int scanned = kMost; ///< frames from here on are guesses
    /// Whether every frame up to the one that holds `limit` has unwind tables and lets an exception out where it stands.
    bool canUnwind = false;
};

/// Fills `walk` with the calls from the one that returns to `first` on (null: from the caller). `limit` is a local object
/// of an outer call, null when nobody wants to unwind. A frame that cannot be unwound ends the certain part; from there
/// on the stack is looked through for return addresses.
void WalkStack(StackWalk& walk, const void* first, const void* limit) noexcept;

/// Whether a frame lets an exception out where it stands, by its table of call sites.
bool LetsExceptionsOut(const WalkedFrame& frame) noexcept;

/// The guesses alone: `at` itself, then return addresses above the stack pointer `stack`.
void ScanStack(StackWalk& walk, const void* at, const void* stack) noexcept;

/// Whether `address` is where a call returns to, as far as the bytes before it tell.
bool FollowsCall(const void* address) noexcept;

#endif
