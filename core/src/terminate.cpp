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

std::terminate_handler SetTerminate(std::terminate_handler handler)
{
    return std::set_terminate(handler);
}

void OnTerminate();
PassedOn<std::terminate_handler, SetTerminate> g_handler(OnTerminate);

void OnTerminate()
{
    ResumeLostFault(); // before the turn, which would never end
    const decltype(g_handler)::Turn turn(g_handler);
    if (!turn.again && VectoredExceptionHook::IsInstalled() && std::current_exception())
        AppendToExceptionLogPrefixed(SDescribeCurrentException(), kUncaught, StackWalk::kMost);
    if (turn.next)
        turn.next();
    std::abort();
}

SRWLOCK g_lock = SRWLOCK_INIT;
int g_users = 0;

} // namespace

void UseTerminateHandler() noexcept
{
    ::AcquireSRWLockExclusive(&g_lock);
    if (g_users++ == 0)
        g_handler.PutUp();
    ::ReleaseSRWLockExclusive(&g_lock);
}

void LeaveTerminateHandler() noexcept
{
    ::AcquireSRWLockExclusive(&g_lock);
    if (--g_users == 0)
        g_handler.TakeAway();
    ::ReleaseSRWLockExclusive(&g_lock);
}
