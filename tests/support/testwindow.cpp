// testwindow.cpp: windows, an application and a dialog for the tests of the framework.
#include "testwindow.h"

#include <commctrl.h>

const UINT g_registered = ::RegisterWindowMessageW(L"a message of these tests");
std::string g_seen;
MemoryTemplate g_template;

void See(const std::string& what)
{
    g_seen += what + " ";
}

S_BEGIN_MESSAGE_MAP(Window, SWnd)
S_ON_WM_CREATE()
S_ON_WM_DESTROY()
S_ON_MESSAGE(kTest, OnTest)
S_ON_MESSAGE(kThrow, OnThrow)
S_ON_MESSAGE(kNested, OnNested)
S_ON_MESSAGE(kDelete, OnDelete)
S_ON_MESSAGE(kFault, OnFault)
S_ON_REGISTERED_MESSAGE(g_registered, OnRegistered)
S_ON_COMMAND(1, OnCommand1)
S_ON_UPDATE_COMMAND_UI(1, OnUpdate1)
S_ON_CONTROL(EN_CHANGE, 50, OnChange)
S_ON_CONTROL(EN_CHANGE, 51, OnChange)
S_ON_NOTIFY(NM_CLICK, 60, OnNotice)
S_END_MESSAGE_MAP()

S_BEGIN_MESSAGE_MAP(Edit, SWnd)
S_ON_CONTROL_REFLECT(EN_CHANGE, OnOwnChange)
S_ON_NOTIFY_REFLECT(NM_CLICK, OnOwnClick)
S_END_MESSAGE_MAP()

int DDE(App& app, const wchar_t* command)
{
    SString text(command);
    wchar_t* const buffer = text.LockBuffer();
    const int taken = app.OnDDECommand(buffer);
    text.UnlockBuffer();
    return taken;
}
