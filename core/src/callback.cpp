// callback.cpp: exceptions across frames of the system.
#include "callback.h"

#include "crashlog.h"
#include "describe.h"

#include <atomic>
#include <exception>
#include <utility>

namespace {

thread_local std::exception_ptr t_parked;

// How many threads have parked one: asking must cost next to nothing where there is none.
std::atomic<int> g_parked{ 0 };

constexpr wchar_t kSecond[] = L"*** Exception while another one was on its way\n";

} // namespace

void SParkException() noexcept
{
    if (t_parked) {
        AppendToExceptionLogPrefixed(SDescribeCurrentException(), kSecond);
        return;
    }
    t_parked = std::current_exception();
    ++g_parked;
}

void SDropParked() noexcept
{
    if (!SIsExceptionParked())
        return;
    --g_parked;
    AppendToExceptionLogPrefixed(SDescribeException(std::exchange(t_parked, nullptr)), kSecond);
}

bool SIsExceptionParked() noexcept
{
    return g_parked.load(std::memory_order_relaxed) != 0 && t_parked;
}

void SRethrowParked()
{
    if (!SIsExceptionParked())
        return;
    --g_parked;
    std::rethrow_exception(std::exchange(t_parked, nullptr));
}
