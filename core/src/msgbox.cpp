// msgbox.cpp: the message box for reports of faults.
//
// user32 is looked up at run time: the foundation must run in programs that have no windows.
#include "excdlg.h"

#include <cwchar>
#include <utility>

namespace {

int g_unattended = 0;
SDbgMessageBoxHook g_hook = nullptr;
SUnattendedQuery g_query = nullptr;

// From the system's folder and no other; null when the system has no such function.
template <class Function>
Function* FindInUser32(const char* name)
{
    wchar_t path[MAX_PATH + 16];
    const UINT length = ::GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return nullptr;
    std::wcscpy(path + length, L"\\user32.dll");
    const HMODULE user32 = ::LoadLibraryW(path); // kept: a box is seldom the last one
    return user32 ? reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(user32, name)))
                  : nullptr;
}

bool IsStationVisible()
{
    const auto getStation = FindInUser32<HWINSTA WINAPI()>("GetProcessWindowStation");
    const auto getInformation =
        FindInUser32<BOOL WINAPI(HANDLE, int, void*, DWORD, DWORD*)>("GetUserObjectInformationW");
    if (!getStation || !getInformation)
        return false;
    USEROBJECTFLAGS flags = {};
    return getInformation(getStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) &&
           (flags.dwFlags & WSF_VISIBLE) != 0;
}

bool IsOperationUnattended()
{
    return (g_unattended || (g_query && g_query())) && IsInNewShell();
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
        const int answer = g_hook(text, caption, type);
        if (answer > 0)
            return answer;
    }
    if (IsOperationUnattended())
        return UnattendedAnswer(type, debugger);
    const auto show = FindInUser32<int WINAPI(HWND, const wchar_t*, const wchar_t*, UINT)>("MessageBoxW");
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
