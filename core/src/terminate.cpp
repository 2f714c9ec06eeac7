// terminate.cpp: the library's place in std::terminate.
#include "terminate.h"

#include "crash.h"
#include "crashlog.h"
#include "describe.h"
#include "inflight.h"
#include "passedon.h"
#include "stackwalk.h"

#include <cstdlib>
#include <exception>

namespace {

constexpr wchar_t kUncaught[] = L"*** Exception that nobody caught\n";
constexpr wchar_t kTerminated[] = L"*** std::terminate\n";
constexpr wchar_t kUnknown[] = L"an exception that may not pass, or a call of the program's own";

std::terminate_handler SetTerminate(std::terminate_handler handler)
{
    return std::set_terminate(handler);
}

void OnTerminate();
PassedOn<std::terminate_handler, SetTerminate> g_handler(OnTerminate);

SRWLOCK g_lock = SRWLOCK_INIT;
bool g_isHooked = false;
int g_faults = 0; // under way

void OnTerminate()
{
    // Before the turn, which would never end. Something else may have ended here instead of the fault; then the log says so.
    ResumeLostFault([] {
        if (std::current_exception())
            AppendToExceptionLogPrefixed(SDescribeCurrentException(), kTerminated);
    });
    const decltype(g_handler)::Turn turn(g_handler);
    if (!turn.again && VectoredExceptionHook::IsInstalled()) {
        if (std::current_exception())
            AppendToExceptionLogPrefixed(SDescribeCurrentException(), kUncaught, StackWalk::kMost);
        else
            AppendToExceptionLogPrefixed(kUnknown, kTerminated, StackWalk::kMost);
    }
    if (turn.next)
        turn.next();
    std::abort();
}

class Locked {
public:
    Locked() noexcept { ::AcquireSRWLockExclusive(&g_lock); }
    ~Locked() { ::ReleaseSRWLockExclusive(&g_lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

} // namespace

void InstallTerminateHandler() noexcept
{
    const Locked locked;
    g_isHooked = true;
    g_handler.PutUp();
}

void RemoveTerminateHandler() noexcept
{
    const Locked locked;
    g_isHooked = false;
    if (g_faults == 0)
        g_handler.TakeAway();
}

void UseTerminateHandler() noexcept
{
    const Locked locked;
    ++g_faults;
    g_handler.PutUp(); // also when there is one under way: somebody may have set another handler since
}

void LeaveTerminateHandler() noexcept
{
    const Locked locked;
    if (--g_faults > 0)
        return;
    if (g_isHooked)
        g_handler.StepDown();
    else
        g_handler.TakeAway();
}
