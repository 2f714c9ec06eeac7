// The main of the native lane: GoogleTest under the sanitizers.
#include "support/seed.h"

#include <gtest/gtest.h>

#include <cstdio>

// What a sanitizer finds ends the program with a status of its own. A length that nothing can meet is refused by malloc, as
// on the system. C++ exceptions leave the fake stack of use-after-return in a state that it takes for a fault.
extern "C" const char* __asan_default_options()
{
    return "exitcode=99:allocator_may_return_null=1:max_allocation_size_mb=1024:detect_stack_use_after_"
           "return=0:"
           "detect_leaks=1:quarantine_size_mb=32";
}
extern "C" const char* __ubsan_default_options()
{
    return "print_stacktrace=1:halt_on_error=1";
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    ::setlinebuf(stdout);
    std::printf("seed %u\n", TestSeed());
    const int status = RUN_ALL_TESTS();
    const testing::UnitTest& unit = *testing::UnitTest::GetInstance();
    if (status != 0)
        std::printf("repeat with: CV_SEED=%u %s\n", TestSeed(), argv[0]);
    else if (unit.successful_test_count() == 0)
        std::printf("no test ran\n");
    else
        std::printf("test program passed: %d tests, %d skipped\n", unit.successful_test_count(),
                    unit.skipped_test_count());
    return status;
}
