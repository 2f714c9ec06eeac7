// What the native lane has instead of the machine-fault guard, the exception dialog and string resources: a fault belongs to the
// sanitizers, whoever would show a dialog ends the program, and there is no resource.
#include "crash.h"
#include "describe.h"
#include "excdlg.h"

#include <cstdio>
#include <cstdlib>

void SCallGuarded(void (*call)(void*), void* context)
{
    call(context);
}

SString SDescribeCurrentException() noexcept
{
    return SString();
}

int SExceptionDialog_(const char* source, unsigned long line, const wchar_t*, ...) noexcept
{
    std::fprintf(stderr, "an exception would be shown: %s(%lu)\n", source, line);
    std::abort();
}

int SString::TryLoad(HINSTANCE, UINT)
{
    return 0;
}
