// The shared fixtures must find what they are for: each is shown a planted fault.
#include "allocfail.h"
#include "counters.h"
#include "importpatch.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

// ---- Counters ----

namespace {

struct Leak {
    const char* kind;
    long ResourceCount::*counter;
    long count;
    void* (*make)();
    void (*end)(void*);
};

const Leak kLeaks[] = {
    { "malloc", &ResourceCount::heapBlocks, 7, [] { return std::malloc(40); },
      [](void* p) { std::free(p); } },
    { "new", &ResourceCount::heapBlocks, 7, []() -> void* { return ::operator new(40); },
      [](void* p) { ::operator delete(p); } },
    { "GlobalAlloc", &ResourceCount::heapBlocks, 7, []() -> void* { return ::GlobalAlloc(GMEM_FIXED, 40); },
      [](void* p) { ::GlobalFree(p); } },
    { "large block", &ResourceCount::heapBlocks, 3, [] { return std::malloc(3 << 20); },
      [](void* p) { std::free(p); } },
    { "event", &ResourceCount::handles, 50,
      []() -> void* { return ::CreateEventW(nullptr, FALSE, FALSE, nullptr); },
      [](void* p) { ::CloseHandle(p); } },
    { "pen", &ResourceCount::gdiObjects, 100,
      []() -> void* { return ::CreatePen(PS_SOLID, 1, RGB(1, 2, 3)); }, [](void* p) { ::DeleteObject(p); } },
    { "memory DC", &ResourceCount::gdiObjects, 20, []() -> void* { return ::CreateCompatibleDC(nullptr); },
      [](void* p) { ::DeleteDC(static_cast<HDC>(p)); } },
};

} // namespace

TEST(Counters, ALeakOfEachKindShowsInItsNumberAndInNoOther)
{
    for (const Leak& leak : kLeaks) {
        SCOPED_TRACE(leak.kind);
        leak.end(leak.make()); // what the first use makes and keeps is no leak
        CountResources();
        std::vector<void*> made(static_cast<size_t>(leak.count));
        const ResourceCount before = CountResources();
        for (void*& one : made) {
            one = leak.make();
            ASSERT_NE(nullptr, one);
        }
        const ResourceCount during = CountResources();
        EXPECT_EQ(before.*leak.counter + leak.count, during.*leak.counter);
        EXPECT_FALSE(before == during);
        if (leak.counter != &ResourceCount::handles) {
            EXPECT_EQ(before.handles, during.handles);
        }
        if (leak.counter != &ResourceCount::gdiObjects) {
            EXPECT_EQ(before.gdiObjects, during.gdiObjects);
        }
        for (void* one : made)
            leak.end(one);
        EXPECT_EQ(before, CountResources());
    }
}

// ---- Imports ----

namespace {

const DWORD kFrozen = 12345;
DWORD WINAPI FrozenClock()
{
    return kFrozen;
}
DWORD WINAPI OtherClock()
{
    return kFrozen + 1;
}

// Not inlined: the compiler would read the import once and keep it for all calls of a test.
__attribute__((noinline)) DWORD Clock()
{
    return ::GetTickCount();
}

HMODULE ThisProgram()
{
    return ::GetModuleHandleW(nullptr);
}

} // namespace

TEST(ImportPatches, AreInForceUntilTheyEndAndNest)
{
    const DWORD before = Clock();
    {
        ImportPatch patch(ThisProgram(), "kernel32.DLL", "GetTickCount",
                          reinterpret_cast<void*>(FrozenClock));
        ASSERT_TRUE(patch.Found());
        EXPECT_EQ(kFrozen, Clock());
        EXPECT_GE(patch.Original<DWORD WINAPI()>()(), before);
        {
            ImportPatch inner(ThisProgram(), nullptr, "GetTickCount", reinterpret_cast<void*>(OtherClock));
            EXPECT_EQ(kFrozen + 1, Clock());
        }
        EXPECT_EQ(kFrozen, Clock());
        ImportPatch moved(std::move(patch));
        EXPECT_EQ(kFrozen, Clock());
    }
    EXPECT_GE(Clock(), before);
    EXPECT_NE(kFrozen, Clock());
}

TEST(ImportPatches, OfWhatIsNotThereSaySo)
{
    EXPECT_FALSE(ImportPatch("no-such.dll", nullptr, "GetTickCount", FrozenClock).Found());
    EXPECT_FALSE(ImportPatch(ThisProgram(), "gdi32.dll", "GetTickCount", nullptr).Found());
    EXPECT_FALSE(ImportPatch(ThisProgram(), nullptr, "NoSuchFunction", nullptr).Found());
}

// ---- Allocations ----

namespace {

// Calls and not new-expressions: the compiler may leave out a pair of those.
void* New()
{
    return ::operator new(4);
}
void Delete(void* block)
{
    ::operator delete(block);
}

// Three allocations by the C++ run-time; when one fails those before it are given back.
struct Three {
    Three() : blocks()
    {
        try {
            blocks[0] = New();
            blocks[1] = ::operator new[](12);
            blocks[2] = New();
        }
        catch (...) {
            Clear();
            throw;
        }
    }
    ~Three() { Clear(); }
    void Clear()
    {
        Delete(blocks[0]);
        ::operator delete[](blocks[1]);
        Delete(blocks[2]);
    }
    void* blocks[3];
};

} // namespace

TEST(AllocationFailures, TheWalkMeetsEveryAllocationOnceAndEndsWithASuccess)
{
    std::vector<int> met;
    int successes = 0;
    const auto verify = [&](const AllocationTrial& trial) {
        if (trial.failed == 0) {
            EXPECT_FALSE(trial.error);
            ++successes;
            return;
        }
        EXPECT_TRUE(Threw<std::bad_alloc>(trial));
        EXPECT_FALSE(Threw<std::runtime_error>(trial));
        met.push_back(trial.point);
    };
    const int points = WalkAllocationFailures([] {}, [] { Three(); }, verify);
    EXPECT_EQ(3, points);
    EXPECT_EQ(2, successes); // once a mode
    EXPECT_EQ((std::vector<int>{ 1, 2, 3, 1, 2, 3 }), met);
}

TEST(AllocationFailures, AScenarioThatLosesABlockShowsInTheCounters)
{
    const auto lossOf = [](void (*scenario)()) {
        scenario();
        const ResourceCount before = CountResources();
        AllocationFailures failures;
        failures.Arm(2, FailMode::Once);
        try {
            scenario();
        }
        catch (const std::bad_alloc&) {
        }
        failures.Disarm();
        EXPECT_EQ(1, failures.Failed());
        return CountResources().heapBlocks - before.heapBlocks;
    };
    const long sound = lossOf([] { Three(); });
    const long leaky = lossOf([] {
        void* lost = New();
        Delete(New()); // this New fails
        Delete(lost);
    });
    EXPECT_EQ(1, leaky - sound);
}

TEST(AllocationFailures, PersistentFailureLeavesTheExceptionItself)
{
    AllocationFailures failures;
    failures.Arm(1, FailMode::FromThenOn);
    bool caught = false;
    for (int i = 0; i < 3; ++i) {
        try {
            Delete(New());
        }
        catch (const std::bad_alloc&) {
            caught = true;
        }
    }
    void* none = ::operator new(8, std::nothrow);
    failures.Disarm();
    EXPECT_TRUE(caught);
    EXPECT_EQ(nullptr, none);
    EXPECT_EQ(failures.Calls(), failures.Failed());
}

namespace {

DWORD WINAPI AllocateOnce(void*)
{
    void* block = ::operator new(8, std::nothrow);
    ::operator delete(block);
    return block ? 1 : 0;
}

} // namespace

TEST(AllocationFailures, ANewOfAPatchedModuleIsOneCallAndNotTwo)
{
    const char* self = "support_test.exe"; // beside libstdc++, whose malloc stands behind its new
    AllocationFailures failures({ self, "libstdc++-6.dll" });
    for (int point : { 0, 1 }) {
        failures.Arm(point, FailMode::Once);
        void* blocks[] = { ::operator new(8, std::nothrow), ::operator new(8, std::align_val_t(64)) };
        failures.Disarm();
        EXPECT_EQ(point == 1, blocks[0] == nullptr);
        EXPECT_NE(nullptr, blocks[1]);
        EXPECT_EQ(2, failures.Calls());
        EXPECT_EQ(point, failures.Failed());
        ::operator delete(blocks[0]);
        ::operator delete(blocks[1], std::align_val_t(64));
    }
}

TEST(AllocationFailures, OtherThreadsGoOn)
{
    AllocationFailures failures;
    failures.Arm(1, FailMode::FromThenOn);
    const HANDLE thread = ::CreateThread(nullptr, 0, AllocateOnce, nullptr, 0, nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    DWORD worked = 0;
    ::GetExitCodeThread(thread, &worked);
    failures.Disarm();
    ::CloseHandle(thread);
    EXPECT_EQ(1u, worked);
    EXPECT_EQ(0, failures.Calls());
}
