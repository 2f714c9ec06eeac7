// A test program whose cases end it in the ways that must never look like success. runner_check.sh asks for
// one.
#include "salloc.h"
#include "strclss.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

TEST(Misbehave, Passes) {}

TEST(Misbehave, Fails)
{
    EXPECT_EQ(1, 2);
}

TEST(Misbehave, WritesToNull)
{
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

TEST(Misbehave, EndsEarlyWithStatus0)
{
    std::fflush(stdout);
    ::TerminateProcess(::GetCurrentProcess(), 0);
}

TEST(Misbehave, Hangs)
{
    ::Sleep(INFINITE);
}

// ---- One byte too far, which a guarded heap sees ----

namespace {

volatile int g_seen;

// The compiler must not see that it is wrong.
__attribute__((noinline)) void ReadBehind(const void* block, size_t bytes)
{
    g_seen = static_cast<const volatile char*>(block)[bytes];
}

__attribute__((noinline)) void WriteBehind(void* block, int bytes)
{
    static_cast<volatile char*>(block)[bytes] = 1;
}

} // namespace

TEST(OneByteTooFar, BehindABlock)
{
    void* const block = std::calloc(1, 12);
    ReadBehind(block, 12);
    std::free(block);
}

TEST(OneByteTooFar, BehindAnArray)
{
    const std::vector<wchar_t> units(4);
    ReadBehind(units.data(), 4 * sizeof(wchar_t));
}

TEST(OneByteTooFar, BehindABlockOfAPool)
{
    SFixedAlloc pool(12, 8);
    void* const block = pool.Alloc();
    ReadBehind(block, 12);
    pool.Free(block);
}

TEST(OneByteTooFar, BehindAString)
{
    const SString text(L'x', 5000);
    ReadBehind(text.PszStr(), (static_cast<size_t>(text.Capacity()) + 2) * sizeof(wchar_t));
}

TEST(OneByteTooFar, InFrontOfABlock)
{
    void* const block = std::malloc(13);
    WriteBehind(block, -1);
    std::free(block);
}

TEST(OneByteTooFar, BehindABlockOfAnOddSize)
{
    void* const block = std::malloc(13);
    WriteBehind(block, 13);
    std::free(block);
}

TEST(OneByteTooFar, InABlockThatIsNoMore)
{
    void* volatile block = std::malloc(13);
    std::free(block);
    ReadBehind(block, 0);
}
