// msgbox.cpp: the message box for reports of faults.
//
// user32 is looked up at run time: the foundation must run in programs that have no windows.
#include "excdlg.h"

#include "systemlibrary.h"

#include <utility>

namespace {

int g_unattended = 0;
SDbgMessageBoxHook g_hook = nullptr;
SUnattendedQuery g_query = nullptr;

constexpr wchar_t kUser32[] = L"user32.dll";

bool IsStationVisible()
{
    const auto getStation = FindInSystem<HWINSTA WINAPI()>(kUser32, "GetProcessWindowStation");
    const auto getInformation =
        FindInSystem<BOOL WINAPI(HANDLE, int, void*, DWORD, DWORD*)>(kUser32, "GetUserObjectInformationW");
    if (!getStation || !getInformation)
        return false;
    USEROBJECTFLAGS flags = {};
    return getInformation(getStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) &&
           (flags.dwFlags & WSF_VISIBLE) != 0;
}

// What a client's function answers; 0 when it throws, for there may be nobody left to catch that.
template <class Ask>
int AnswerOf(Ask ask)
{
    try {
        return ask();
    }
    catch (...) {
        return 0;
    }
}

bool IsOperationUnattended()
{
    return (g_unattended || (g_query && AnswerOf(g_query))) && IsInNewShell();
}

// Tests of bits, in this order; see the header.
int UnattendedAnswer(unsigned type, bool debugger)
{
    if (type & 2)
        return debugger ? IDRETRY : IDIGNORE;
    if (type & 6)
        return debugger ? IDTRYAGAIN : IDCONTINUE;
    if (type & 3)
        return debugger ? IDYES : IDCANCEL;
    if (type & 4)
        return debugger ? IDYES : IDNO;
    if (!(type & 1))
        return IDOK;
    return debugger ? IDOK : IDCANCEL;
}

unsigned CompleteType(unsigned type, bool debugger)
{
    if (type == 0)
        type = MB_ABORTRETRYIGNORE | MB_ICONHAND | MB_TOPMOST;
    const unsigned buttons = type & MB_TYPEMASK;
    if ((buttons == MB_ABORTRETRYIGNORE || buttons == MB_CANCELTRYCONTINUE) && (type & MB_DEFMASK) == 0)
        type |= debugger ? MB_DEFBUTTON2 : MB_DEFBUTTON3;
    if ((type & MB_ICONMASK) == 0)
        type |= MB_ICONHAND;
    return type | (IsStationVisible() ? MB_TOPMOST | MB_SETFOREGROUND : MB_SERVICE_NOTIFICATION);
}

} // namespace

int ShowDbgMessageBox(const wchar_t* text, const wchar_t* caption, unsigned type) noexcept
{
    const bool debugger = ::IsDebuggerPresent();
    type = CompleteType(type, debugger);
    if (g_hook) {
        const int answer = AnswerOf([&] { return g_hook(text, caption, type); });
        if (answer > 0)
            return answer;
    }
    if (IsOperationUnattended())
        return UnattendedAnswer(type, debugger);
    const auto show =
        FindInSystem<int WINAPI(HWND, const wchar_t*, const wchar_t*, UINT)>(kUser32, "MessageBoxW");
    return show ? show(nullptr, text, caption, type) : 0;
}

SDbgMessageBoxHook& DbgMessageBoxHook() noexcept
{
    return g_hook;
}

int SSetUnattended(int on) noexcept
{
    return std::exchange(g_unattended, on);
}

int SIsUnattended() noexcept
{
    return g_unattended;
}

SUnattendedQuery& UnattendedQuery() noexcept
{
    return g_query;
}

int IsInNewShell() noexcept
{
    constexpr DWORD kFirstWithShell = 4;
    return (::GetVersion() & 0xFF) >= kFirstWithShell;
}
