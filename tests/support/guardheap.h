// guardheap.h: a C heap that sees every byte too far (preset win32-guard).
//
// Each block ends where a page begins that cannot be touched: reading or writing one byte behind it is a fault, as is touching
// it after it was freed. What was written in front of it is seen when it is freed. A block begins at a multiple of 4, so of up
// to three bytes behind one of another size only writing is seen, and only when it is freed.
#ifndef TESTS_GUARDHEAP_H
#define TESTS_GUARDHEAP_H

/// From now on malloc and its kin are those of this heap wherever the program, the library and the C++ run-time call them.
/// Blocks that came before stay where they are. For good.
void GuardHeap();

struct GuardHeapCounts {
    unsigned long guarded;   ///< blocks that were
    unsigned long unguarded; ///< blocks for which there was no room: too many at a time, or too large
};
GuardHeapCounts CountGuardedBlocks();

#endif
