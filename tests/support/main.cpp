// The main of every test program: GoogleTest between a crash report, a watchdog and a closing line.
#include "faults.h"
#include "guardheap.h"
#include "seed.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Longer than any sound program takes here, shorter than the limit that ctest sets, which would tell nothing.
const unsigned kHungAfterSeconds = 240;
const unsigned kLongRunHungAfterSeconds = 3600;

unsigned HungAfterSeconds()
{
    const char* asked = std::getenv("CV_HUNG_SECONDS");
    if (asked)
        return static_cast<unsigned>(std::strtoul(asked, nullptr, 10));
    return WantedAmount() == Amount::Long ? kLongRunHungAfterSeconds : kHungAfterSeconds;
}

// What the command that repeats this run sets besides the seed.
const char* AmountVariable()
{
    switch (WantedAmount()) {
    case Amount::Full: return "CV_FULL=1 ";
    case Amount::Long: return "CV_LONG=1 ";
    default: return "";
    }
}

std::string FailedTests()
{
    std::string names;
    const testing::UnitTest& unit = *testing::UnitTest::GetInstance();
    for (int s = 0; s < unit.total_test_suite_count(); ++s) {
        const testing::TestSuite& suite = *unit.GetTestSuite(s);
        for (int t = 0; t < suite.total_test_count(); ++t) {
            const testing::TestInfo& test = *suite.GetTestInfo(t);
            if (!test.should_run() || test.result()->Passed() || test.result()->Skipped())
                continue;
            if (!names.empty())
                names += ':';
            names += std::string(suite.name()) + '.' + test.name();
        }
    }
    return names;
}

std::atomic<int> g_startedThreads(0);

void NTAPI CountStartedThreads(void*, DWORD reason, void*)
{
    if (reason == DLL_THREAD_ATTACH)
        ++g_startedThreads;
}

// The watchdog, and the thread that GoogleTest starts for its thread-local data when it is first used.
const int kThreadsBesidesMain = 2;

// A thread that is still starting allocates, and that would show up in whatever the first test counts.
void WaitForBackgroundThreads()
{
    {
        SCOPED_TRACE("first use of thread-local data");
    }
    for (int waitedMs = 0; g_startedThreads < kThreadsBesidesMain; ++waitedMs) {
        if (waitedMs > 10000) {
            std::printf("only %d of %d background threads started\n", g_startedThreads.load(),
                        kThreadsBesidesMain);
            std::exit(1);
        }
        ::Sleep(1);
    }
}

} // namespace

// A pointer in a section of this name makes the loader call the function on each new thread, after the start
// routines of all DLLs.
extern "C" {
extern const PIMAGE_TLS_CALLBACK g_countStartedThreads;
__attribute__((section(".CRT$XLF"), used)) const PIMAGE_TLS_CALLBACK g_countStartedThreads =
    CountStartedThreads;
}

int main(int argc, char** argv)
{
    ReportCrashes();
#ifdef CVCORE_POOLS_PASS
    GuardHeap();
#endif
    StartWatchdog(HungAfterSeconds());
    testing::InitGoogleTest(&argc, argv);
    WaitForBackgroundThreads();
    std::printf("seed %u\n", TestSeed());

    const int status = RUN_ALL_TESTS();
    const testing::UnitTest& unit = *testing::UnitTest::GetInstance();
    if (testing::GTEST_FLAG(list_tests))
        return status;
    if (status != 0) {
        std::printf("repeat with: CV_SEED=%u %stools/wine-test '%s' --gtest_filter='%s'\n", TestSeed(),
                    AmountVariable(), argv[0], FailedTests().c_str());
        return status;
    }
    if (unit.successful_test_count() == 0) {
        std::printf("no test ran\n");
        return 1;
    }
#ifdef CVCORE_POOLS_PASS
    const GuardHeapCounts counts = CountGuardedBlocks();
    std::printf("guarded heap: %lu blocks, and %lu for which there was no room\n", counts.guarded,
                counts.unguarded);
#endif
    // tools/wine-test looks for this line.
    std::printf("test program passed: %d tests, %d skipped\n", unit.successful_test_count(),
                unit.skipped_test_count());
    std::fflush(stdout);
    return 0;
}
