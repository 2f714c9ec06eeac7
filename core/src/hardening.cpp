#include "hardening.h"

#include "systemlibrary.h"

void HardenProcess() noexcept
{
    // A heap whose account is broken ends the process where that is found, and not anywhere later.
    ::HeapSetInformation(nullptr, HeapEnableTerminationOnCorruption, nullptr, 0);
    // 64-bit Windows may swallow a fault below a window procedure, in 32-bit processes too. The functions are not in every
    // version, nor in any header.
    constexpr wchar_t kKernel[] = L"kernel32.dll";
    constexpr DWORD kFilterCallbacks = 1;
    const auto get = FindInSystem<BOOL WINAPI(DWORD*)>(kKernel, "GetProcessUserModeExceptionPolicy");
    const auto set = FindInSystem<BOOL WINAPI(DWORD)>(kKernel, "SetProcessUserModeExceptionPolicy");
    DWORD policy = 0;
    if (get && set && get(&policy))
        set(policy & ~kFilterCallbacks);
}
