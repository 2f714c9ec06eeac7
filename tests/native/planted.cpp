// Faults that each checker of the lane must see; tools/native runs them one at a time and wants each to fail.
#include "strclss.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

volatile int g_seen;
int g_shared;

} // namespace

TEST(Planted, DISABLED_ReadsBehindAString)
{
    const SString text(L'x', 10);
    g_seen = text.PszStr()[text.Capacity() + 4];
}

TEST(Planted, DISABLED_Overflows)
{
    volatile int most = 0x7FFFFFFF;
    g_seen = most + 1;
}

TEST(Planted, DISABLED_Races)
{
    const auto count = [] {
        for (int i = 0; i < 100; ++i)
            ++g_shared;
    };
    std::thread other(count);
    count();
    other.join();
    g_seen = g_shared;
}
