// counters.h: what the process holds, counted so that a leak shows.
//
//     const ResourceCount before = CountResources();
//     ... what must give everything back ...
//     EXPECT_EQ(before, CountResources());
//
// The documented calls answer 0 for everything under Wine, so that a test on them always passes; there the
// numbers come from tables of the system. Run the work once before the first count: caches and first-use
// objects are no leaks.
//
// Threads of the test must have ended. One that used SCOPED_TRACE or an ASSERT_NO_... leaves thread-local
// data of GoogleTest behind, which goes a little later.
#ifndef TESTS_COUNTERS_H
#define TESTS_COUNTERS_H

#include <iosfwd>

struct ResourceCount {
    long heapBlocks; ///< blocks in use in all heaps of the process: malloc, new, GlobalAlloc, HeapAlloc
    long handles;    ///< kernel handles
    long gdiObjects; ///< pens, brushes, bitmaps, regions, contexts, ...
};

/// Counts now. Allocates nothing on a heap and leaves no handle open; other threads should be at rest.
ResourceCount CountResources();

bool operator==(const ResourceCount& a, const ResourceCount& b);
std::ostream& operator<<(std::ostream& out, const ResourceCount& count);

#endif
