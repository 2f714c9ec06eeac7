// The same for callbacks below the system: what a window procedure, a dialog procedure or the loop calls.
#include "cmdui.h"
#include "sdlg.h"
#include "smenu.h"

#include "support/callbackcase.h"
#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <string>

namespace {

constexpr UINT kMessage = WM_USER + 1;
constexpr int kCommand = 1, kControl = 50;

class Hooked : public SWnd {
public:
    bool Make(SWnd* parent = nullptr)
    {
        return CreateEx(0, RegisterWindowClass(), L"", parent ? WS_CHILD : WS_POPUP, kPlace, parent,
                        parent ? kControl : 0) != 0;
    }
    LRESULT OnMessage(WPARAM, LPARAM)
    {
        Called("handler of a message");
        return 0;
    }
    void OnOne() { Called("handler of a command"); }
    void OnUpdateOne(SCmdUI*) { Called("handler of a command's look"); }
    void OnNotice(NMHDR*, LRESULT*) { Called("handler of a notification"); }
    void OnDestroy() { Called("handler of WM_DESTROY"); }
    int PreTranslateMessage(MSG* message) override
    {
        Called("SWnd::PreTranslateMessage");
        return SWnd::PreTranslateMessage(message);
    }
    int OnCmdMsg(UINT id, int code, void* extra, S_CMDHANDLERINFO* info) override
    {
        Called("SCmdTarget::OnCmdMsg");
        return SWnd::OnCmdMsg(id, code, extra, info);
    }

protected:
    WNDPROC GetSuperWndProc() const override
    {
        Called("SWnd::GetSuperWndProc");
        return SWnd::GetSuperWndProc();
    }
    LRESULT WindowProc(UINT message, WPARAM w, LPARAM l) override
    {
        Called("SWnd::WindowProc");
        return SWnd::WindowProc(message, w, l);
    }
    int OnWndMsg(UINT message, WPARAM w, LPARAM l, LRESULT* result) override
    {
        Called("SWnd::OnWndMsg");
        return SWnd::OnWndMsg(message, w, l, result);
    }
    int OnCommand(WPARAM w, LPARAM l) override
    {
        Called("SWnd::OnCommand");
        return SWnd::OnCommand(w, l);
    }
    int OnNotify(WPARAM w, LPARAM l, LRESULT* result) override
    {
        Called("SWnd::OnNotify");
        return SWnd::OnNotify(w, l, result);
    }
    LRESULT DefWindowProcW(UINT message, WPARAM w, LPARAM l) override
    {
        Called("SWnd::DefWindowProcW");
        return SWnd::DefWindowProcW(message, w, l);
    }
    void PostNcDestroy() override { Called("SWnd::PostNcDestroy"); }
    int OnChildNotify(UINT message, WPARAM w, LPARAM l, LRESULT* result) override
    {
        Called("SWnd::OnChildNotify");
        return SWnd::OnChildNotify(message, w, l, result);
    }
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(Hooked, SWnd)
S_ON_WM_DESTROY()
S_ON_MESSAGE(kMessage, OnMessage)
S_ON_COMMAND(kCommand, OnOne)
S_ON_UPDATE_COMMAND_UI(kCommand, OnUpdateOne)
S_ON_NOTIFY(NM_CLICK, kControl, OnNotice)
S_END_MESSAGE_MAP()

/// A window with a control in it, for as long as the work needs them.
struct Pair {
    Pair() { EXPECT_TRUE(parent.Make() && child.Make(&parent)); }
    Hooked parent, child;
};

void SendMessageTo()
{
    Pair().parent.SendMessage(kMessage);
}
void AskForText()
{
    Pair().parent.SendMessage(WM_GETTEXTLENGTH);
}
void SendDown()
{
    const Pair pair;
    SWnd::SendMessageToDescendants(pair.parent.GetHandle(), kMessage, 0, 0);
}
void SendCommand()
{
    Pair().parent.SendMessage(WM_COMMAND, kCommand);
}
/// As the control tells its parent.
void SendFromControl()
{
    Pair pair;
    pair.parent.SendMessage(WM_COMMAND, MAKEWPARAM(kControl, EN_CHANGE),
                            reinterpret_cast<LPARAM>(pair.child.GetHandle()));
}
void SendNotice()
{
    Pair pair;
    NMHDR notice = { pair.child.GetHandle(), kControl, static_cast<UINT>(NM_CLICK) };
    pair.parent.SendMessage(WM_NOTIFY, kControl, reinterpret_cast<LPARAM>(&notice));
}
void OpenMenu()
{
    Pair pair;
    SMenu menu;
    menu.Attach(::CreatePopupMenu());
    ::AppendMenuW(menu.GetHandle(), MF_STRING, kCommand, L"one");
    pair.parent.SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu.GetHandle()), 0);
}
void Destroy()
{
    Hooked window;
    ASSERT_TRUE(window.Make());
    window.DestroyWindow();
}
void Subclass()
{
    const HWND foreign =
        ::CreateWindowExW(0, L"static", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    struct Ender {
        HWND window;
        ~Ender() { ::DestroyWindow(window); }
    } const ender{ foreign };
    Hooked window;
    ASSERT_TRUE(window.SubclassWindow(foreign));
    window.SendMessage(WM_GETTEXTLENGTH);
}

// ---- Dialogs ----

class HookedDialog : public SDlg {
public:
    int OnInitDialog() override
    {
        Called("SDlg::OnInitDialog");
        return 1;
    }
    void OnOK() override
    {
        Called("SDlg::OnOK");
        SDlg::OnOK();
    }
    void OnCancel() override
    {
        Called("SDlg::OnCancel");
        SDlg::OnCancel();
    }
};
void AnswerDialog(WPARAM id)
{
    HookedDialog dialog;
    ASSERT_TRUE(dialog.Create(&g_template.dialog, nullptr));
    dialog.SendMessage(WM_COMMAND, id);
}

// ---- The application ----

class HookedApp : public SWinApp {
public:
    int ExitInstance() override
    {
        Called("SWinApp::ExitInstance");
        return SWinApp::ExitInstance();
    }
    int PreTranslateMessage(MSG* message) override
    {
        Called("SWinApp::PreTranslateMessage");
        return SWinApp::PreTranslateMessage(message);
    }
    int PumpMessage() override
    {
        Called("SWinApp::PumpMessage");
        return SWinApp::PumpMessage();
    }
    int OnIdle(long count) override
    {
        Called("SWinApp::OnIdle");
        return SWinApp::OnIdle(count);
    }
    int IsIdleMessage(MSG* message) override
    {
        Called("SWinApp::IsIdleMessage");
        return SWinApp::IsIdleMessage(message);
    }
    void OnAsyncCommand(int kind, const SString& argument) override
    {
        Called("SWinApp::OnAsyncCommand");
        SWinApp::OnAsyncCommand(kind, argument);
    }
    void DoWaitCursor(int change) override
    {
        Called("SWinApp::DoWaitCursor");
        SWinApp::DoWaitCursor(change);
    }
};
/// The loop with a message for a window, a command from outside and idle work, until the program is to end.
void RunApp()
{
    // What the last turn left when it was thrown out of.
    for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {}
    HookedApp app;
    const Subscription subscription(SNotificationManager::kIdleStep);
    Pair pair;
    app.SetMainWnd(&pair.parent);
    wchar_t command[] = L"open(\"plan\")";
    app.OnDDECommand(command);
    app.BeginWaitCursor();
    ::PostMessageW(pair.child.GetHandle(), kMessage, 0, 0);
    app.SetNeedOnIdle(1);
    while (app.CountAsyncCommands() > 0 || app.NeedOnIdle()) {
        MSG message;
        app.DoIdle();
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE))
            app.PumpMessage();
    }
    ::PostQuitMessage(0);
    app.Run();
}

} // namespace

TEST_F(Windows, ThrowWhatTheirHooksThrowOutOfTheCallThatSentTheMessage)
{
    const CallbackCase kCases[] = {
        { "handler of a message", SendMessageTo, "SendMessage" },
        { "handler of a message", SendDown, "SendMessageToDescendants" },
        { "SWnd::WindowProc", SendMessageTo },
        { "SWnd::OnWndMsg", SendMessageTo },
        { "SWnd::DefWindowProcW", SendCommand },
        { "SWnd::OnCommand", SendCommand },
        { "SCmdTarget::OnCmdMsg", SendCommand },
        { "handler of a command", SendCommand },
        { "SWnd::OnChildNotify", SendFromControl },
        { "SWnd::OnNotify", SendNotice },
        { "handler of a notification", SendNotice },
        { "handler of a command's look", OpenMenu },
        { "handler of WM_DESTROY", Destroy },
        { "SWnd::PostNcDestroy", Destroy },
        { "SWnd::GetSuperWndProc", AskForText },
        { "SWnd::DefWindowProcW", Subclass, "a window of another class" },
        { "SDlg::OnInitDialog", [] { AnswerDialog(IDOK); } },
        { "SDlg::OnOK", [] { AnswerDialog(IDOK); } },
        { "SDlg::OnCancel", [] { AnswerDialog(IDCANCEL); } },
    };
    for (const CallbackCase& c : kCases)
        ExpectThrownOut(c);
}

TEST_F(Windows, ThrowWhatTheLoopCallsOutOfTheLoop)
{
    const CallbackCase kCases[] = {
        { "SWinApp::PreTranslateMessage", RunApp },
        { "SWnd::PreTranslateMessage", RunApp },
        { "handler of a message", RunApp },
        { "SWinApp::PumpMessage", RunApp },
        { "SWinApp::IsIdleMessage", RunApp },
        { "SWinApp::OnIdle", RunApp },
        { "SWinApp::OnAsyncCommand", RunApp },
        { "SWinApp::DoWaitCursor", RunApp },
        { "SWinApp::ExitInstance", RunApp },
        { "SNotificationManager::Subscriber", RunApp, "kIdleStep" },
    };
    for (const CallbackCase& c : kCases)
        ExpectThrownOut(c);
}

// Where nothing may be thrown out of: the end of the application object.
TEST_F(Windows, DropWhatASubscriberToTheEndOfTheApplicationThrows)
{
    const Subscription subscription(SNotificationManager::kAppEnds);
    g_armed = "SNotificationManager::Subscriber";
    {
        const HookedApp app;
    }
    EXPECT_EQ(nullptr, g_armed) << "nobody called it";
    EXPECT_FALSE(SIsExceptionParked());
}
