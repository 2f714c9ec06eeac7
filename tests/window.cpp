// Window objects: handles, creation, dispatch, reflection, destruction; the application's loop.
#include "window.h"

#include "callback.h"
#include "cmdui.h"
#include "crash.h"
#include "modalst.h"
#include "notifmgr.h"
#include "sdlg.h"
#include "sgdi.h"
#include "sgeom.h"
#include "smenu.h"
#include "winapp.h"
#include "winctl.h"

#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr UINT kTest = WM_USER + 1, kThrow = WM_USER + 2, kNested = WM_USER + 3, kDelete = WM_USER + 4,
               kFault = WM_USER + 5;
const UINT g_registered = ::RegisterWindowMessageW(L"a message of these tests");
const RECT kPlace = { 10, 10, 310, 210 };

std::string g_seen;
void See(const std::string& what)
{
    g_seen += what + " ";
}

class Window : public SWnd {
public:
    bool Make(DWORD style = WS_OVERLAPPEDWINDOW, SWnd* parent = nullptr, UINT_PTR id = 0)
    {
        return CreateEx(0, RegisterWindowClass(), L"test", style, kPlace, parent, id) != 0;
    }
    LRESULT OnTest(WPARAM w, LPARAM l) { return static_cast<LRESULT>(w) * 100 + l; }
    LRESULT OnThrow(WPARAM, LPARAM) { throw std::out_of_range("thrown inside"); }
    LRESULT OnNested(WPARAM, LPARAM)
    {
        const SLastMessage before = GetLastMessage();
        try {
            SendMessage(kThrow);
        }
        catch (const std::out_of_range&) {
            See("caught");
        }
        return GetLastMessage().message == before.message;
    }
    LRESULT OnDelete(WPARAM deletes, LPARAM)
    {
        if (deletes)
            delete this;
        else
            DestroyWindow();
        return 1;
    }
    LRESULT OnFault(WPARAM, LPARAM) { return *static_cast<volatile int*>(nullptr); }
    LRESULT OnRegistered(WPARAM w, LPARAM) { return static_cast<LRESULT>(w) + 1; }
    LRESULT OnCreate(LPARAM)
    {
        See(FromHandlePermanent(GetHandle()) == this ? "create" : "create unattached");
        if (throwsInCreate)
            throw std::runtime_error("no window today");
        return 0;
    }
    void OnDestroy() { See("destroy"); }
    void PostNcDestroy() override { See("gone"); }
    void OnCommand1() { See("command1"); }
    void OnUpdate1(SCmdUI* ui)
    {
        ui->Enable(0);
        ui->SetCheck(1);
        ui->SetText(L"renamed");
    }
    void OnChange() { See("change in the parent"); }
    void OnNotice(NMHDR*, LRESULT* result) { *result = 42; }
    using SWnd::OnWndMsg;

    bool throwsInCreate = false;
    S_DECLARE_MESSAGE_MAP()
};
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

/// An edit control that hears of its own changes.
class Edit : public SWnd {
public:
    void OnOwnChange() { See("change in the control"); }
    void OnOwnClick(NMHDR*, LRESULT* result) { *result = 7; }
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(Edit, SWnd)
S_ON_CONTROL_REFLECT(EN_CHANGE, OnOwnChange)
S_ON_NOTIFY_REFLECT(NM_CLICK, OnOwnClick)
S_END_MESSAGE_MAP()

LRESULT CALLBACK Refuse(HWND, UINT message, WPARAM, LPARAM)
{
    return message != WM_NCCREATE;
}

class Windows : public testing::Test {
protected:
    Windows() { g_seen.clear(); }
    ~Windows() override { SWnd::DeleteTempMap(); }
};

} // namespace

TEST_F(Windows, AreAttachedFromBeforeTheirFirstMessageToTheirLast)
{
    Window window;
    ASSERT_TRUE(window.Make());
    const HWND handle = window.GetHandle();
    EXPECT_EQ(&window, SWnd::FromHandlePermanent(handle));
    EXPECT_EQ(&window, SWnd::FromHandle(handle));
    EXPECT_EQ(102, window.SendMessage(kTest, 1, 2));
    EXPECT_EQ(102, ::SendMessageW(handle, kTest, 1, 2));
    EXPECT_EQ(8, window.SendMessage(g_registered, 7));
    EXPECT_EQ(0, window.SendMessage(WM_USER + 99)) << "nobody handles it";
    EXPECT_EQ(TRUE, window.DestroyWindow());
    EXPECT_EQ("create destroy gone ", g_seen);
    EXPECT_EQ(nullptr, window.GetHandle());
    EXPECT_EQ(nullptr, SWnd::FromHandlePermanent(handle));
    EXPECT_EQ(FALSE, window.DestroyWindow());
    {
        Window ended;
        ASSERT_TRUE(ended.Make());
    }
    Window again;
    EXPECT_TRUE(again.Make()) << "an object that ends takes its window along";
}

TEST_F(Windows, ThatCannotBeMadeLeaveNothingAttached)
{
    Window window;
    EXPECT_EQ(FALSE, window.CreateEx(0, L"no such class of windows", L"", WS_OVERLAPPED, kPlace, nullptr, 0));
    EXPECT_EQ(nullptr, window.GetHandle());
    window.throwsInCreate = true;
    EXPECT_THROW(window.Make(), std::runtime_error);
    EXPECT_EQ(nullptr, window.GetHandle());
    EXPECT_EQ("create ", g_seen.substr(0, 7));
    EXPECT_NE(std::string::npos, g_seen.find("gone ")) << g_seen;
    // A class that refuses at its first message.
    WNDCLASSW refusing = {};
    refusing.lpfnWndProc = Refuse;
    refusing.hInstance = ::GetModuleHandleW(nullptr);
    refusing.lpszClassName = L"refuses at WM_NCCREATE";
    ASSERT_NE(0, ::RegisterClassW(&refusing));
    window.throwsInCreate = false;
    EXPECT_EQ(FALSE, window.CreateEx(0, refusing.lpszClassName, L"", WS_OVERLAPPED, kPlace, nullptr, 0));
    EXPECT_EQ(nullptr, window.GetHandle());
    EXPECT_TRUE(window.Make());
}

TEST_F(Windows, OfOthersHaveTemporaryObjects)
{
    const HWND foreign =
        ::CreateWindowExW(0, L"static", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    SWnd* const temporary = SWnd::FromHandle(foreign);
    EXPECT_EQ(temporary, SWnd::FromHandle(foreign));
    EXPECT_EQ(nullptr, SWnd::FromHandlePermanent(foreign));
    EXPECT_EQ(nullptr, SWnd::FromHandle(nullptr));
    EXPECT_EQ(foreign, temporary->GetHandle());
    SWnd::DeleteTempMap();
    EXPECT_TRUE(::IsWindow(foreign)) << "the window is not the temporary object's";
    SWnd own;
    EXPECT_EQ(FALSE, own.Attach(nullptr));
    EXPECT_EQ(TRUE, own.Attach(foreign));
    EXPECT_EQ(&own, SWnd::FromHandle(foreign));
    EXPECT_EQ(foreign, own.Detach());
    EXPECT_EQ(nullptr, own.Detach());
    ::DestroyWindow(foreign);
}

TEST_F(Windows, GiveWhatTheirHandlersThrowToTheCallAroundTheDispatch)
{
    const TempLog log;
    Window window;
    ASSERT_TRUE(window.Make());
    EXPECT_THROW(window.SendMessage(kThrow), std::out_of_range);
    EXPECT_FALSE(SIsExceptionParked());
    g_seen.clear();
    EXPECT_EQ(TRUE, window.SendMessage(kNested)) << "the last message is the outer one again";
    EXPECT_EQ("caught ", g_seen);
    EXPECT_EQ(102, window.SendMessage(kTest, 1, 2));
    // Below a caller who does not ask: it waits for the next one who does, and a second one goes to the log.
    ::SendMessageW(window.GetHandle(), kThrow, 0, 0);
    ::SendMessageW(window.GetHandle(), kThrow, 0, 0);
    EXPECT_TRUE(SIsExceptionParked());
    EXPECT_THROW(window.SendMessage(kTest), std::out_of_range);
    EXPECT_NE(std::string::npos,
              log.Text().find("while another one was on its way\r\nstd::out_of_range: thrown inside"));
    VectoredExceptionHook::Install();
    EXPECT_THROW(window.SendMessage(kFault), SEMachineFault);
    VectoredExceptionHook::Remove();
    EXPECT_EQ(102, window.SendMessage(kTest, 1, 2));
}

TEST_F(Windows, MayEndInsideTheirOwnHandlers)
{
    Window window;
    ASSERT_TRUE(window.Make());
    EXPECT_EQ(1, window.SendMessage(kDelete, 0));
    EXPECT_EQ(nullptr, window.GetHandle());
    Window* const heap = new Window;
    ASSERT_TRUE(heap->Make());
    const HWND handle = heap->GetHandle();
    EXPECT_EQ(1, ::SendMessageW(handle, kDelete, 1, 0));
    EXPECT_FALSE(::IsWindow(handle));
    EXPECT_EQ(0, ::SendMessageW(handle, kTest, 1, 2)) << "goes nowhere";
}

TEST_F(Windows, ReflectNotificationsToTheirControls)
{
    Window parent;
    ASSERT_TRUE(parent.Make());
    Edit own, plain;
    ASSERT_TRUE(own.CreateEx(0, L"edit", L"", WS_CHILD, kPlace, &parent, 50));
    const HWND other = ::CreateWindowExW(0, L"edit", L"", WS_CHILD, 0, 0, 9, 9, parent.GetHandle(),
                                         reinterpret_cast<HMENU>(51), nullptr, nullptr);
    g_seen.clear();
    ::SetWindowTextW(own.GetHandle(), L"typed");
    EXPECT_EQ("change in the control ", g_seen);
    g_seen.clear();
    ::SetWindowTextW(other, L"typed");
    EXPECT_EQ("change in the parent ", g_seen);
    wchar_t text[10];
    ::GetWindowTextW(own.GetHandle(), text, 10);
    EXPECT_STREQ(L"typed", text) << "the edit's own procedure works";

    NMHDR header = { own.GetHandle(), 60, static_cast<UINT>(NM_CLICK) };
    EXPECT_EQ(7, parent.SendMessage(WM_NOTIFY, 60, reinterpret_cast<LPARAM>(&header)));
    header.hwndFrom = other;
    EXPECT_EQ(42, parent.SendMessage(WM_NOTIFY, 60, reinterpret_cast<LPARAM>(&header)));
    header.hwndFrom = nullptr;
    EXPECT_EQ(0, parent.SendMessage(WM_NOTIFY, 60, reinterpret_cast<LPARAM>(&header)));
    g_seen.clear();
    EXPECT_EQ(1, parent.SendMessage(WM_COMMAND, 1, 0));
    EXPECT_EQ(1, parent.SendMessage(WM_COMMAND, MAKELONG(1, 1), 0)) << "an accelerator";
    EXPECT_EQ("command1 command1 ", g_seen);

    EXPECT_EQ(TRUE, plain.SubclassChild(51, &parent));
    EXPECT_EQ(FALSE, Edit().SubclassWindow(other)) << "it has an object already";
    g_seen.clear();
    ::SetWindowTextW(other, L"again");
    EXPECT_EQ("change in the control ", g_seen);
    EXPECT_EQ(other, plain.UnsubclassWindow());
    g_seen.clear();
    ::SetWindowTextW(other, L"and again");
    EXPECT_EQ("change in the parent ", g_seen);
}

TEST_F(Windows, BringTheirMenusUpToDateWhenTheyOpen)
{
    Window window;
    ASSERT_TRUE(window.Make());
    SMenu menu;
    ASSERT_EQ(TRUE, menu.Attach(::CreatePopupMenu()));
    ::AppendMenuW(menu.GetHandle(), MF_STRING, 1, L"one");
    ::AppendMenuW(menu.GetHandle(), MF_SEPARATOR, 0, nullptr);
    ::AppendMenuW(menu.GetHandle(), MF_STRING, 999, L"nobody's");
    window.SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu.GetHandle()), 0);
    EXPECT_EQ(UINT{ MF_CHECKED | MF_GRAYED | MF_DISABLED },
              ::GetMenuState(menu.GetHandle(), 0, MF_BYPOSITION) & (MF_CHECKED | MF_GRAYED | MF_DISABLED));
    EXPECT_NE(0u, ::GetMenuState(menu.GetHandle(), 2, MF_BYPOSITION) & MF_GRAYED);
    wchar_t text[20] = L"";
    ::GetMenuStringW(menu.GetHandle(), 0, text, 20, MF_BYPOSITION);
    EXPECT_STREQ(L"renamed", text);
    SMenu* const temporary = SMenu::FromHandle(::GetSystemMenu(window.GetHandle(), FALSE));
    EXPECT_EQ(temporary, SMenu::FromHandle(::GetSystemMenu(window.GetHandle(), FALSE)));
    EXPECT_EQ(&menu, SMenu::FromHandlePermanent(menu.GetHandle()));
    SMenu::DeleteTempMap();
}

namespace {

class App : public SWinApp {
public:
    int OnIdle(long count) override
    {
        steps.push_back(count);
        return SWinApp::OnIdle(count);
    }
    void OnAsyncCommand(int kind, const SString& argument) override
    {
        See(std::to_string(kind) + ":" + std::string(argument.begin(), argument.end()));
        if (argument == L"bad")
            throw std::invalid_argument("bad command");
        SWinApp::OnAsyncCommand(kind, argument);
    }
    /// Pumps all that waits, with idle work, as Run does.
    void Turn()
    {
        DoIdle();
        MSG waiting;
        while (::PeekMessageW(&waiting, nullptr, 0, 0, PM_NOREMOVE) && PumpMessage()) {}
        DoIdle();
    }
    std::vector<long> steps;
};

int DDE(App& app, const wchar_t* command)
{
    SString text(command);
    wchar_t* const buffer = text.LockBuffer();
    const int taken = app.OnDDECommand(buffer);
    text.UnlockBuffer();
    return taken;
}

HWND WINAPI Captured()
{
    return reinterpret_cast<HWND>(1);
}

} // namespace

TEST_F(Windows, AndTheOtherWrappersKeepOneMapEach)
{
    const HPEN foreign = ::CreatePen(PS_SOLID, 1, 0), own = ::CreatePen(PS_SOLID, 2, 0);
    SGdiObject* const temporary = SGdiObject::FromHandle(foreign);
    EXPECT_EQ(temporary, SGdiObject::FromHandle(foreign));
    EXPECT_EQ(nullptr, SGdiObject::FromHandlePermanent(foreign));
    EXPECT_EQ(nullptr, SFontOld::FromHandle(nullptr));
    {
        SGdiObject pen;
        EXPECT_EQ(1, pen.Attach(own));
        EXPECT_EQ(0, SGdiObject().Attach(nullptr));
        EXPECT_EQ(&pen, SGdiObject::FromHandle(own));
        SDC context;
        context.Attach(::CreateCompatibleDC(nullptr));
        EXPECT_EQ(&context, SDC::FromHandle(context.GetHandle()));
        {
            const STempMapLock lock;
            App app;
            app.OnIdle(1);
            EXPECT_EQ(temporary, SGdiObject::FromHandle(foreign)) << "somebody holds the lock";
        }
    }
    App().OnIdle(1);
    EXPECT_EQ(OBJ_PEN, static_cast<int>(::GetObjectType(foreign)))
        << "a temporary object leaves its handle alone";
    EXPECT_EQ(0u, ::GetObjectType(own)) << "a permanent one does not";
    ::DeleteObject(foreign);

    SRect rect(SPoint(1, 2), SSize(10, 20));
    EXPECT_EQ(SRect(1, 2, 11, 22), rect);
    rect.Deflate(1, 2);
    EXPECT_EQ(SSize(8, 16), rect.Size());
    EXPECT_TRUE(rect.Contains(rect.TopLeft()) && !rect.Contains(SPoint(rect.right, rect.top)));
    EXPECT_EQ(SRect(5, 5, 10, 9), rect.Intersection(SRect(5, 5, 50, 9)));
    EXPECT_TRUE(rect.Intersection(SRect(100, 0, 200, 9)).IsEmpty() && SRect(5, 0, 4, 9).IsEmpty());
}

// ---- Forms ----

namespace {

/// One handler for all forms; the arguments as text.
class Forms : public SWnd {
public:
    LRESULT W1(SWnd* w) { return Seen({ P(w) }); }
    LRESULT W2(WPARAM w) { return Seen({ N(w) }); }
    LRESULT W3(SWnd* w, UINT a, UINT b) { return Seen({ P(w), N(a), N(b) }); }
    LRESULT W5(SWnd* w, SWnd* l) { return Seen({ P(w), P(l) }); }
    LRESULT W8(UINT a, SWnd* w, UINT b) { return Seen({ N(a), P(w), N(b) }); }
    LRESULT W9(UINT a, UINT b) { return Seen({ N(a), N(b) }); }
    LRESULT W11(LPARAM l) { return Seen({ N(l) }); }
    LRESULT W12(WPARAM w, LPARAM l) { return Seen({ N(w), N(l) }); }
    LRESULT W14() { return Seen({}); }
    void V() { Seen({}); }
    void V17(WPARAM w) { Seen({ N(w) }); }
    void V18(UINT a) { Seen({ N(a) }); }
    void V19(WPARAM w, UINT a) { Seen({ N(w), N(a) }); }
    void V22(int same, SWnd* l, SWnd* w) { Seen({ N(same), P(l), P(w) }); }
    void V23(SWnd* w) { Seen({ P(w) }); }
    void V27(SWnd* w, UINT a, UINT b) { Seen({ P(w), N(a), N(b) }); }
    void V28(SWnd* w, int a, int b) { Seen({ P(w), N(a), N(b) }); }
    void V29(SWnd* w, LPARAM l) { Seen({ P(w), N(l) }); }
    void V30(WPARAM w, SWnd* l) { Seen({ N(w), P(l) }); }
    void V31(UINT a, SWnd* l, UINT b) { Seen({ N(a), P(l), N(b) }); }
    void V32(int a, UINT zero, SWnd* l) { Seen({ N(a), N(zero), P(l) }); }
    void V33(int a) { Seen({ N(a) }); }
    void V35(WPARAM w, LPARAM l) { Seen({ N(w), N(l) }); }
    LRESULT W37(int a, int b) { return Seen({ N(a), N(b) }); }
    LRESULT W48(UINT a, UINT b, UINT c, UINT d) { return Seen({ N(a), N(b), N(c), N(d) }); }
    void V53(UINT a, UINT b) { Seen({ N(a), N(b) }); }
    void V54(WPARAM w, int a) { Seen({ N(w), N(a) }); }
    using SWnd::OnWndMsg;

    std::string seen;
    LRESULT answer = 5;
    S_DECLARE_MESSAGE_MAP()

private:
    template <class T>
    static std::string N(T value)
    {
        return std::to_string(value);
    }
    static std::string P(SWnd* window) { return window ? "window" : "null"; }
    LRESULT Seen(std::initializer_list<std::string> arguments)
    {
        seen.clear();
        for (const std::string& argument : arguments)
            seen += (seen.empty() ? "" : ",") + argument;
        return answer;
    }
};
#define FORM(form, Type, fn) S_ON_FORM(WM_USER + (form), form, Type, fn)
S_BEGIN_MESSAGE_MAP(Forms, SWnd)
FORM(1, LRESULT(SWnd*), W1)
FORM(7, LRESULT(SWnd*), W1)
FORM(2, LRESULT(WPARAM), W2)
FORM(3, LRESULT(SWnd*, UINT, UINT), W3)
FORM(10, LRESULT(SWnd*, UINT, UINT), W3)
FORM(5, LRESULT(SWnd*, SWnd*), W5)
FORM(8, LRESULT(UINT, SWnd*, UINT), W8)
FORM(9, LRESULT(UINT, UINT), W9)
FORM(11, LRESULT(LPARAM), W11)
FORM(12, LRESULT(WPARAM, LPARAM), W12)
FORM(36, LRESULT(WPARAM, LPARAM), W12)
FORM(14, LRESULT(), W14)
FORM(38, LRESULT(), W14)
FORM(15, void(), V)
FORM(16, void(), V)
FORM(17, void(WPARAM), V17)
FORM(21, void(WPARAM), V17)
FORM(40, void(WPARAM), V17)
FORM(18, void(UINT), V18)
FORM(19, void(WPARAM, UINT), V19)
FORM(20, void(WPARAM, UINT), V19)
FORM(22, void(int, SWnd*, SWnd*), V22)
FORM(23, void(SWnd*), V23)
FORM(26, void(SWnd*), V23)
FORM(27, void(SWnd*, UINT, UINT), V27)
FORM(28, void(SWnd*, int, int), V28)
FORM(29, void(SWnd*, LPARAM), V29)
FORM(30, void(WPARAM, SWnd*), V30)
FORM(31, void(UINT, SWnd*, UINT), V31)
FORM(32, void(int, UINT, SWnd*), V32)
FORM(33, void(int), V33)
FORM(34, void(), V)
FORM(39, void(), V)
FORM(35, void(WPARAM, LPARAM), V35)
FORM(46, void(WPARAM, LPARAM), V35)
FORM(37, LRESULT(int, int), W37)
FORM(45, LRESULT(LPARAM), W11)
FORM(47, void(SWnd*), V23)
FORM(48, LRESULT(UINT, UINT, UINT, UINT), W48)
FORM(53, void(UINT, UINT), V53)
FORM(54, void(WPARAM, int), V54)
FORM(99, void(), V)
S_END_MESSAGE_MAP()

} // namespace

TEST_F(Windows, CallEachFormWithItsArgumentsAndResult)
{
    Forms target;
    Window real;
    ASSERT_TRUE(real.Make());
    const UINT_PTR handle = reinterpret_cast<UINT_PTR>(real.GetHandle());
    // wParam -2 : 3, lParam -4 : 5 as halves; H stands for the window's handle.
    const WPARAM w = MAKELONG(0xFFFE, 3);
    const LPARAM l = MAKELONG(0xFFFC, 5);
    const std::string W = std::to_string(w), L = std::to_string(l);
    enum Result { kOwn, kFromW, kFromL, kOne, kHiL, kShiL, kShiW, kSelf };
    const struct {
        UINT form;
        WPARAM w;
        LPARAM l;
        std::string seen;
        Result result;
    } kCases[] = {
        { 1, handle, l, "window", kOwn },
        { 7, 0, l, "null", kOwn },
        { 2, w, l, W, kOwn },
        { 3, handle, l, "window,65532,5", kOwn },
        { 10, handle, l, "window,65532,5", kOwn },
        { 5, handle, 0, "window,null", kOwn },
        { 8, w, 0, "65534,null,3", kOwn },
        { 9, w, l, "65534,3", kOwn },
        { 11, w, l, L, kOwn },
        { 12, w, l, W + "," + L, kOwn },
        { 36, w, l, W + "," + L, kOwn },
        { 14, w, l, "", kOwn },
        { 38, w, l, "", kOwn },
        { 15, w, l, "", kSelf },
        { 16, w, l, "", kFromW },
        { 17, w, l, W, kFromL },
        { 21, w, l, W, kFromL },
        { 40, w, l, W, kFromL },
        { 18, w, l, "65532", kHiL },
        { 19, w, l, W + ",65532", kHiL },
        { 20, w, l, W + ",65532", kHiL },
        { 22, handle, 0, "1,null,window", kFromW },
        { 23, handle, l, "window", kFromW },
        { 26, 0, l, "null", kFromW },
        { 27, handle, l, "window,65532,5", kFromW },
        { 28, handle, l, "window,-4,5", kFromW },
        { 29, handle, l, "window," + L, kFromW },
        { 30, w, 0, W + ",null", kFromL },
        { 31, w, 0, "65534,null,3", kFromL },
        { 32, w, 0, "-2,0,null", kFromL },
        { 33, w, l, "-2", kShiW },
        { 34, w, l, "", kFromL },
        { 39, w, l, "", kFromL },
        { 35, w, l, W + "," + L, kOne },
        { 46, w, l, W + "," + L, kOne },
        { 37, w, l, "-4,5", kOwn },
        { 45, w, l, L, kOwn },
        { 47, w, 0, "null", kFromL },
        { 48, w, l, "65534,3,65532,5", kOwn },
        { 53, w, l, "65534,3", kFromL },
        { 54, w, l, W + ",-4", kShiL },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.form);
        LRESULT result = 0;
        target.seen = "not called";
        EXPECT_EQ(TRUE, target.OnWndMsg(WM_USER + c.form, c.w, c.l, &result));
        EXPECT_EQ(c.seen, target.seen);
        const LRESULT kResults[] = { 5, static_cast<LRESULT>(c.w),         c.l, 1, 5, 5,
                                     3, reinterpret_cast<LRESULT>(&target) };
        EXPECT_EQ(kResults[c.result], result);
        EXPECT_EQ(TRUE, target.OnWndMsg(WM_USER + c.form, c.w, c.l, nullptr))
            << "from the cache, nobody asks for the result";
    }
    target.answer = 0;
    LRESULT result = 9;
    EXPECT_EQ(FALSE, target.OnWndMsg(WM_USER + 45, w, l, &result)) << "0 counts as not handled";
    EXPECT_EQ(FALSE, target.OnWndMsg(WM_USER + 48, w, l, &result));
    EXPECT_EQ(FALSE, target.OnWndMsg(WM_USER + 99, w, l, &result)) << "no such form";
}

// ---- The application ----

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

// ---- Dialogs ----

namespace {

/// A template in memory: no controls, no menu, the usual class, no title.
struct {
    DLGTEMPLATE dialog = { WS_POPUP | WS_CAPTION, 0, 0, 0, 0, 60, 30 };
    WORD rest[3] = {};
} g_template;

class Dialog : public SDlg {
public:
    int OnInitDialog() override
    {
        See(FromHandlePermanent(GetHandle()) == this ? "init" : "init unattached");
        if (throws)
            throw std::runtime_error("no dialog today");
        if (owner)
            See(::IsWindowEnabled(owner->GetHandle()) ? "owner enabled" : "owner rests");
        ::PostMessageW(GetHandle(), WM_COMMAND, command, 0);
        return 1;
    }
    void OnOK() override
    {
        See(owner && ::IsWindowEnabled(owner->GetHandle()) ? "ok" : "ok, owner rests");
        if (throwsInOk)
            throw std::out_of_range("bad entry");
        SDlg::OnOK();
    }
    void PostNcDestroy() override { See("gone"); }

    bool throws = false, throwsInOk = false;
    WPARAM command = IDOK;
    SWnd* owner = nullptr;
};

} // namespace

TEST_F(Windows, OfDialogsRunUntilTheyAreAnswered)
{
    Window owner;
    ASSERT_TRUE(owner.Make());
    g_seen.clear();
    Dialog dialog;
    dialog.owner = &owner;
    EXPECT_EQ(IDOK, dialog.DoModal(&g_template.dialog, &owner));
    EXPECT_EQ("init owner enabled ok, owner rests gone ", g_seen);
    EXPECT_TRUE(::IsWindowEnabled(owner.GetHandle()));
    EXPECT_EQ(nullptr, dialog.GetHandle());
    dialog.command = IDCANCEL;
    EXPECT_EQ(IDCANCEL, dialog.DoModal(&g_template.dialog, &owner));
    EXPECT_EQ(-1, dialog.DoModal(static_cast<const DLGTEMPLATE*>(nullptr), &owner));
    EXPECT_EQ(-1, dialog.DoModal(L"no such template", &owner));

    dialog.command = IDOK;
    dialog.throwsInOk = true;
    EXPECT_THROW(dialog.DoModal(&g_template.dialog, &owner), std::out_of_range);
    EXPECT_EQ(nullptr, dialog.GetHandle());
    EXPECT_TRUE(::IsWindowEnabled(owner.GetHandle())) << "also when a handler threw";
    dialog.throws = true;
    EXPECT_THROW(dialog.DoModal(&g_template.dialog, &owner), std::runtime_error);
    EXPECT_EQ(nullptr, dialog.GetHandle());

    Dialog modeless;
    modeless.command = 0;
    ASSERT_EQ(TRUE, modeless.Create(&g_template.dialog, &owner));
    EXPECT_EQ(FALSE, modeless.Create(&g_template.dialog, &owner)) << "it is there already";
    modeless.EndDialog(5);
    EXPECT_EQ(nullptr, modeless.GetHandle());
    ::PostQuitMessage(7);
    Dialog waiting;
    waiting.command = 0;
    EXPECT_EQ(-1, waiting.DoModal(&g_template.dialog, &owner));
    MSG message;
    EXPECT_TRUE(::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) << "for the loop outside";
    EXPECT_EQ(7u, message.wParam);
}
