// The application: its loop, idle work, commands from outside, pre-translation.
#include "winapp.h"

#include "modalst.h"
#include "notifmgr.h"
#include "winctl.h"

#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

// The system's dialog for printers: what it is asked, and a printer that it gives.
DWORD g_printFlags;
BOOL WINAPI GivePrinter(PRINTDLGW* dialog)
{
    g_printFlags = dialog->Flags;
    if (dialog->hDevNames && (dialog->Flags & PD_RETURNDEFAULT) != 0)
        return FALSE; // the system refuses to give the default to a caller who has one
    if (!dialog->hDevNames)
        dialog->hDevNames = ::GlobalAlloc(GMEM_MOVEABLE, 20);
    return TRUE;
}
bool g_hasPrinters = true;
FARPROC WINAPI FindPrinting(HMODULE module, const char* name)
{
    if (std::strcmp(name, "PrintDlgW") != 0)
        return ::GetProcAddress(module, name);
    return g_hasPrinters ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(GivePrinter)) : nullptr;
}

// A system that has a policy on faults in callbacks.
DWORD g_policy;
bool g_hasPolicy = true;
BOOL WINAPI GetPolicy(DWORD* policy)
{
    *policy = g_policy;
    return TRUE;
}
BOOL WINAPI SetPolicy(DWORD policy)
{
    g_policy = policy;
    return TRUE;
}
FARPROC WINAPI FindPolicy(HMODULE module, const char* name)
{
    if (!std::strstr(name, "ProcessUserModeExceptionPolicy"))
        return ::GetProcAddress(module, name);
    void* const function =
        name[0] == 'G' ? reinterpret_cast<void*>(GetPolicy) : reinterpret_cast<void*>(SetPolicy);
    return g_hasPolicy ? reinterpret_cast<FARPROC>(function) : nullptr;
}
int g_heapAsked;
BOOL WINAPI SetHeapSeen(HANDLE heap, HEAP_INFORMATION_CLASS kind, void* data, SIZE_T size)
{
    g_heapAsked += !heap && kind == HeapEnableTerminationOnCorruption && !data && size == 0;
    return TRUE;
}

HCURSOR g_cursor;
HCURSOR WINAPI SetCursorSeen(HCURSOR cursor)
{
    const HCURSOR before = g_cursor;
    g_cursor = cursor;
    return before;
}

HWND WINAPI Captured()
{
    return reinterpret_cast<HWND>(1);
}

} // namespace

TEST_F(Windows, AreRunByTheApplicationUntilTheMainOneGoes)
{
    App app;
    EXPECT_EQ(&app, SWinApp::Get());
    ASSERT_EQ(1, app.Init(nullptr, nullptr, nullptr, SW_HIDE));
    EXPECT_STREQ(L"window_test", app.GetAppName());
    Window main;
    ASSERT_TRUE(main.Make());
    app.SetMainWnd(&main);
    app.Turn();
    app.steps.clear();
    ::PostMessageW(main.GetHandle(), WM_KEYDOWN, VK_F2, 0);
    app.Turn();
    EXPECT_EQ((std::vector<long>{ 0, 1 }), app.steps) << "two steps after input, and no more";
    app.Turn();
    EXPECT_EQ(2u, app.steps.size());
    ::PostMessageW(main.GetHandle(), kThrow, 0, 0);
    EXPECT_THROW(app.Turn(), std::out_of_range) << "out of the pump";
    ::PostMessageW(main.GetHandle(), kDelete, 0, 0);
    EXPECT_EQ(0, app.Run());
    EXPECT_EQ(nullptr, app.GetMainWnd());
    EXPECT_EQ(nullptr, main.GetHandle());
}

TEST_F(Windows, RunCommandsFromOutsideInTheIdleLoop)
{
    App app;
    Window main;
    ASSERT_TRUE(main.Make());
    app.SetMainWnd(&main);
    app.Turn();
    g_seen.clear();
    EXPECT_EQ(TRUE, DDE(app, L"open(\"C:\\a b.txt\")"));
    EXPECT_EQ(TRUE, DDE(app, L"OpenWorkspace(\"bad\")"));
    EXPECT_EQ(TRUE, DDE(app, L"runscript(\"x\")"));
    EXPECT_EQ(FALSE, DDE(app, L"close(\"x\")"));
    EXPECT_EQ(FALSE, DDE(app, L"open(x)"));
    EXPECT_EQ("", g_seen) << "not inside the transaction";
    EXPECT_EQ(1, app.NeedOnIdle());
    EXPECT_THROW(app.Turn(), std::invalid_argument);
    EXPECT_EQ("1:C:\\a b.txt 2:bad ", g_seen);
    EXPECT_EQ(1, app.CountAsyncCommands()) << "the rest of the queue survives";
    app.SetNeedOnIdle(1);
    app.Turn();
    EXPECT_EQ("1:C:\\a b.txt 2:bad 3:x ", g_seen);
    EXPECT_EQ(TRUE, DDE(app, L"quit()"));
    EXPECT_EQ(0, app.Run());
}

TEST(Application, CountsWhatIsInput)
{
    App app;
    const auto isInput = [&app](UINT number, int x = 0) {
        MSG message = {};
        message.message = number;
        message.pt.x = x;
        return app.IsIdleMessage(&message);
    };
    EXPECT_EQ(TRUE, isInput(WM_KEYDOWN));
    EXPECT_EQ(FALSE, isInput(WM_PAINT));
    EXPECT_EQ(FALSE, isInput(0x0118));
    EXPECT_EQ(TRUE, isInput(WM_MOUSEMOVE, 5));
    EXPECT_EQ(FALSE, isInput(WM_MOUSEMOVE, 5)) << "nothing has moved";
    EXPECT_EQ(TRUE, isInput(WM_NCMOUSEMOVE, 5));
    EXPECT_EQ(TRUE, isInput(WM_TIMER));
    const UINT queue = ::RegisterWindowMessageW(L"DispatcherProcessQueue");
    MSG message = {};
    message.hwnd = reinterpret_cast<HWND>(0x1234);
    message.message = queue;
    EXPECT_EQ(FALSE, app.IsIdleMessage(&message));
    message.message = WM_KEYDOWN;
    EXPECT_EQ(FALSE, app.IsIdleMessage(&message)) << "whatever else goes to that window";
    const ImportPatch capture("CVCore16.dll", nullptr, "GetCapture", Captured);
    ASSERT_TRUE(capture.Found());
    EXPECT_EQ(FALSE, isInput(WM_KEYDOWN));
}

TEST_F(Windows, RestWhileTheProgramWaitsForAnother)
{
    App app;
    Window main;
    ASSERT_TRUE(main.Make());
    app.SetMainWnd(&main);
    app.Turn();
    g_seen.clear();
    {
        SModalState modal(main.GetHandle());
        ::PostMessageW(main.GetHandle(), WM_COMMAND, 1, 0);
        app.Turn();
        EXPECT_EQ("", g_seen) << "dropped";
        modal.SetEnabled(1);
        ::PostMessageW(main.GetHandle(), WM_COMMAND, 1, 0);
        app.Turn();
        EXPECT_EQ("command1 ", g_seen);
    }
    EXPECT_EQ(nullptr, SModalState::GetCurrent());
}

namespace {

class Offered : public Window {
public:
    int PreTranslateMessage(MSG*) override
    {
        See(name);
        return takes;
    }
    std::string name;
    bool takes = false;
};

} // namespace

TEST_F(Windows, AreOfferedMessagesFromTheirTargetUpwards)
{
    Offered top, middle;
    top.name = "top";
    middle.name = "middle";
    ASSERT_TRUE(top.Make() && middle.Make(WS_CHILD, &top, 5));
    const HWND edit = ::CreateWindowExW(0, L"edit", L"", WS_CHILD, 0, 0, 9, 9, middle.GetHandle(), nullptr,
                                        nullptr, nullptr);
    MSG message = {};
    message.message = WM_KEYDOWN;
    message.hwnd = edit;
    g_seen.clear();
    EXPECT_EQ(FALSE, SWnd::WalkPreTranslateTree(top.GetHandle(), &message));
    EXPECT_EQ("middle middle ", g_seen) << "as its parent, and on the way up; the top one is not offered it";
    message.hwnd = middle.GetHandle();
    g_seen.clear();
    EXPECT_EQ(FALSE, SWnd::WalkPreTranslateTree(top.GetHandle(), &message));
    EXPECT_EQ("middle ", g_seen);
    message.hwnd = top.GetHandle();
    top.takes = true;
    EXPECT_EQ(TRUE, SWnd::WalkPreTranslateTree(top.GetHandle(), &message));

    SListViewCtrl list;
    ASSERT_TRUE(list.CreateEx(0, L"static", L"", WS_CHILD, kPlace, &middle, 6));
    const HWND label =
        ::CreateWindowExW(0, L"Edit", L"", WS_CHILD, 0, 0, 9, 9, list.GetHandle(), nullptr, nullptr, nullptr);
    message.hwnd = label;
    message.message = WM_CHAR;
    message.wParam = L'x';
    g_seen.clear();
    EXPECT_EQ(TRUE, SWnd::WalkPreTranslateTree(top.GetHandle(), &message)) << "a label editor keeps its keys";
    EXPECT_EQ("", g_seen);
    wchar_t text[5] = L"";
    ::GetWindowTextW(label, text, 5);
    EXPECT_STREQ(L"x", text);
    EXPECT_EQ(IDNO, SWnd::GetDefaultMBReturn(MB_YESNO | MB_DEFBUTTON2));
    EXPECT_EQ(IDABORT, SWnd::GetDefaultMBReturn(MB_ABORTRETRYIGNORE));
}

TEST_F(Windows, LoseNoMessageToAnExceptionFromElsewhere)
{
    App app;
    Window main;
    ASSERT_TRUE(main.Make());
    app.SetMainWnd(&main);
    app.Turn();
    g_seen.clear();
    ::PostMessageW(main.GetHandle(), WM_COMMAND, 1, 0);
    ::SendMessageW(main.GetHandle(), kThrow, 0, 0);
    EXPECT_THROW(app.Turn(), std::out_of_range);
    app.Turn();
    EXPECT_EQ("command1 ", g_seen);
    ::PostQuitMessage(3);
    ::SendMessageW(main.GetHandle(), kThrow, 0, 0);
    EXPECT_THROW(app.Run(), std::out_of_range);
    EXPECT_EQ(3, app.Run()) << "and WM_QUIT is still there";
}

TEST_F(Windows, FindCommandsThatCameEarlyOrStayedBehind)
{
    App app;
    DDE(app, L"open(\"early\")"); // before there is a main window to wake
    DDE(app, L"open(\"bad\")");
    DDE(app, L"open(\"late\")");
    EXPECT_THROW(app.Run(), std::invalid_argument);
    ::PostQuitMessage(0);
    EXPECT_EQ(0, app.Run());
    EXPECT_EQ(1, app.CountAsyncCommands()) << "WM_QUIT came first";
    Window main;
    ASSERT_TRUE(main.Make());
    app.SetMainWnd(&main);
    MSG waiting;
    while (::PeekMessageW(&waiting, nullptr, 0, 0, PM_REMOVE)) {}
    app.SetNeedOnIdle(1);
    app.DoIdle();
    EXPECT_EQ("1:early 1:bad create 1:late ", g_seen);
}

TEST_F(Windows, RestForTheApplicationsOwnerWhereAModalStateNamesNone)
{
    App app;
    Window main;
    ASSERT_TRUE(main.Make());
    app.SetMainWnd(&main);
    app.Turn();
    g_seen.clear();
    const SModalState modal(nullptr);
    ::PostMessageW(main.GetHandle(), WM_COMMAND, 1, 0);
    app.Turn();
    EXPECT_EQ("", g_seen);
    app.SetMainWnd(nullptr);
    ::PostThreadMessageW(::GetCurrentThreadId(), WM_USER + 500, 0, 0);
    app.SetNeedOnIdle(0);
    app.PumpMessage();
    EXPECT_EQ(1, app.NeedOnIdle()) << "a message of the thread is nobody's to drop";
}

TEST_F(Windows, OpenTheFilesThatTheCommandLineNames)
{
    App app;
    char line[] = "/quiet \"C:\\a b.txt\" plain.txt -x";
    app.Init(nullptr, nullptr, line, SW_HIDE);
    EXPECT_EQ(2, app.ProcessCommandLine());
    app.Turn();
    EXPECT_EQ("1:C:\\a b.txt 1:plain.txt ", g_seen);
    app.Init(nullptr, nullptr, nullptr, SW_HIDE);
    EXPECT_NE(nullptr, app.GetCmdLineString().Find(L"window_test"));
    g_seen.clear();
    app.ProcessCommandLine();
    app.Turn();
    EXPECT_EQ(std::string::npos, g_seen.find("window_test")) << "not the program itself";
}

// Wine has no such policy and keeps its heap's settings to itself: the calls are what can be seen.
TEST(Application, AsksThatDamageBeNotLivedWith)
{
    const ImportPatch heap("CVCore16.dll", nullptr, "HeapSetInformation", SetHeapSeen);
    const ImportPatch policy("CVCore16.dll", nullptr, "GetProcAddress", FindPolicy);
    ASSERT_TRUE(heap.Found() && policy.Found());
    g_heapAsked = 0;
    g_policy = 5;
    App app;
    EXPECT_EQ(1, app.Init(nullptr, nullptr, nullptr, SW_HIDE));
    EXPECT_EQ(1, g_heapAsked);
    EXPECT_EQ(4u, g_policy) << "one bit is taken out, the others stay";
    g_hasPolicy = false;
    EXPECT_EQ(1, app.Init(nullptr, nullptr, nullptr, SW_HIDE));
    g_hasPolicy = true;
}

TEST(Application, KnowsItsPrinter)
{
    const ImportPatch printing("CVCore16.dll", nullptr, "GetProcAddress", FindPrinting);
    ASSERT_TRUE(printing.Found());
    App app;
    PRINTDLGW dialog = {};
    g_hasPrinters = false;
    EXPECT_EQ(0, app.GetPrinterDeviceDefaults(&dialog));
    EXPECT_EQ(0, app.DoPrintDialog(&dialog));
    g_hasPrinters = true;
    EXPECT_EQ(1, app.GetPrinterDeviceDefaults(&dialog));
    EXPECT_EQ(static_cast<DWORD>(PD_RETURNDEFAULT), g_printFlags) << "nothing was shown";
    const HGLOBAL names = dialog.hDevNames;
    EXPECT_NE(nullptr, names);
    EXPECT_EQ(1, app.GetPrinterDeviceDefaults(&dialog));
    const HGLOBAL again = dialog.hDevNames; // the structure is packed: no reference into it
    EXPECT_EQ(names, again) << "the one in use";
    dialog.Flags = PD_NOSELECTION;
    EXPECT_EQ(1, app.DoPrintDialog(&dialog));
    EXPECT_EQ(static_cast<DWORD>(PD_NOSELECTION), g_printFlags);
    EXPECT_EQ(1, app.UpdatePrinterSelection(TRUE));
}

namespace {

/// A button of a toolbar that is brought up to date when the program has time.
class Button : public SCmdUI {
public:
    explicit Button(UINT id) { Init(id, 0, nullptr); }
    void Enable(int on) override { enabled = on; }
    void SetCheck(int check) override { checked = check; }
    int enabled = -1, checked = -1;
};
struct Toolbar {
    SWnd* frame;
    Button one{ 1 }, nobodys{ 999 };
    static void AtIdle(int, WPARAM, LPARAM, void* bar)
    {
        Toolbar& self = *static_cast<Toolbar*>(bar);
        self.one.DoUpdate(self.frame, TRUE);
        self.nobodys.DoUpdate(self.frame, TRUE);
    }
};

} // namespace

TEST_F(Windows, BringToolbarsUpToDateAtIdle)
{
    App app;
    Window main;
    ASSERT_TRUE(main.Make());
    Toolbar bar{ &main };
    SNotificationManager::Subscribe(SNotificationManager::kIdleStep, Toolbar::AtIdle, &bar);
    app.SetNeedOnIdle(1);
    app.Turn();
    SNotificationManager::Unsubscribe(SNotificationManager::kIdleStep, Toolbar::AtIdle, &bar);
    EXPECT_EQ(0, bar.one.enabled);
    EXPECT_EQ(1, bar.one.checked);
    EXPECT_EQ(0, bar.nobodys.enabled) << "a command that nobody handles";
}

TEST_F(Windows, ShowTheWaitCursorUntilTheOutermostWorkEnds)
{
    const ImportPatch cursors("CVCore16.dll", nullptr, "SetCursor", SetCursorSeen);
    const HCURSOR before = reinterpret_cast<HCURSOR>(1);
    const HCURSOR wait = ::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT));
    g_cursor = before;
    App app;
    app.EndWaitCursor(); // one too many changes nothing
    EXPECT_EQ(before, g_cursor);
    app.BeginWaitCursor();
    app.BeginWaitCursor();
    EXPECT_EQ(wait, g_cursor);
    app.EndWaitCursor();
    EXPECT_EQ(1, app.GetWaitCount());
    EXPECT_EQ(wait, g_cursor);
    g_cursor = nullptr; // a window has set its own meanwhile
    app.RestoreWaitCursor();
    EXPECT_EQ(wait, g_cursor);
    app.EndWaitCursor();
    EXPECT_EQ(before, g_cursor);
    app.RestoreWaitCursor();
    EXPECT_EQ(before, g_cursor);
}

TEST(Application, HasClassesThatMakeTheirObjectsByName)
{
    int made = 0;
    for (SClassInfo* info = g_pClassInfo; info; info = info->next) {
        SObject* const object = info->CreateObject();
        if (!object)
            continue;
        ++made;
        EXPECT_EQ(info, object->GetClassInfoW()) << info->name;
        EXPECT_EQ(info, SClassInfo::Find(info->name));
        delete object;
    }
    EXPECT_LE(9, made) << "windows, controls, dialogs, menus and what wraps handles";
}
