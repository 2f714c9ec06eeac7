// A test program whose cases end it in the ways that must never look like success. runner_check.sh asks for
// one.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <cstdlib>

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
