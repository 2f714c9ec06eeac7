// How windows and their objects end, at bad moments and in bad company.
#include "window.h"

#include "crash.h"
#include "sgdi.h"
#include "smenu.h"

#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

namespace {

/// An object of the heap that goes with its window.
class Heap : public SWnd {
public:
    enum How { kStays, kRefuses, kThrows, kThrowsLater, kEndsInCreate };
    explicit Heap(How way) : how(way) { ++alive; }
    ~Heap() override { --alive; }
    bool Make()
    {
        // Only windows that are shown hear of their size while they are made.
        const DWORD style = how == kThrowsLater ? WS_POPUP | WS_VISIBLE : WS_POPUP;
        return CreateEx(0, RegisterWindowClass(), L"heap", style, kPlace, nullptr, 0) != 0;
    }
    LRESULT OnCreate(LPARAM)
    {
        if (how == kThrows)
            throw std::runtime_error("in OnCreate");
        if (how == kEndsInCreate)
            DestroyWindow();
        return how == kRefuses ? -1 : 0;
    }
    LRESULT OnSize(WPARAM, LPARAM)
    {
        if (how == kThrowsLater)
            throw std::runtime_error("in OnSize");
        return 0;
    }
    int OnDeleting(UINT)
    {
        delete this;
        return 0; // and still says that it did not handle the command
    }
    LRESULT OnDecide(LPARAM)
    {
        delete this;
        return 0;
    }
    void OnUpdate(SCmdUI*) { delete this; }
    void PostNcDestroy() override { delete this; }

    How how;
    static int alive;
    S_DECLARE_MESSAGE_MAP()
};
int Heap::alive = 0;
constexpr UINT kDecide = WM_USER + 20;
S_BEGIN_MESSAGE_MAP(Heap, SWnd)
S_ON_WM_CREATE()
S_ON_WM_SIZE()
S_ON_COMMAND_EX(77, OnDeleting)
S_ON_FORM(kDecide, SWndForm::kLDecides, OnDecide)
S_ON_UPDATE_COMMAND_UI(5, OnUpdate)
S_END_MESSAGE_MAP()

/// Does not do what its base does at the end.
class BadEnd : public SWnd {
public:
    explicit BadEnd(bool itThrows) : throws(itThrows) {}
    void OnNcDestroy()
    {
        if (throws)
            throw std::runtime_error("at the end");
    }
    bool throws;
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(BadEnd, SWnd)
S_ON_WM_NCDESTROY()
S_END_MESSAGE_MAP()

/// A control that ends its parent's object, and one that sees its own scroll bars and items.
class Control : public SWnd {
public:
    void OnOwnChange() { delete parent; }
    LRESULT OnOwn(WPARAM, LPARAM)
    {
        See("own");
        return 5;
    }
    LRESULT OnVisit(WPARAM, LPARAM)
    {
        See("visited");
        if (next)
            ::DestroyWindow(next);
        return 0;
    }
    SWnd* parent = nullptr;
    HWND next = nullptr;
    S_DECLARE_MESSAGE_MAP()
};
constexpr UINT kVisit = WM_USER + 60;
S_BEGIN_MESSAGE_MAP(Control, SWnd)
S_ON_CONTROL_REFLECT(EN_CHANGE, OnOwnChange)
S_ON_MESSAGE(kReflectedMessage + WM_HSCROLL, OnOwn)
S_ON_MESSAGE(kReflectedMessage + WM_DRAWITEM, OnOwn)
S_ON_MESSAGE(kReflectedMessage + WM_MEASUREITEM, OnOwn)
S_ON_MESSAGE(kReflectedMessage + WM_PARENTNOTIFY, OnOwn)
S_ON_MESSAGE(kVisit, OnVisit)
S_END_MESSAGE_MAP()

/// Does idle work, with its clean-up of temporary objects, while a menu is being updated.
class Busy : public Window {
public:
    void OnUpdateAny(SCmdUI* ui)
    {
        App().OnIdle(1);
        ui->Enable(1);
        ++updates;
    }
    int updates = 0;
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(Busy, Window)
S_ON_UPDATE_COMMAND_UI_RANGE(1, 5, OnUpdateAny)
S_END_MESSAGE_MAP()

WNDPROC g_under;
LRESULT CALLBACK InFront(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return ::CallWindowProcW(g_under, window, message, wParam, lParam);
}

bool IsQuitWaiting()
{
    MSG message;
    return ::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE;
}

} // namespace

TEST_F(Windows, TakeAnObjectOfTheHeapAlongAlsoWhenTheyAreNotMade)
{
    for (const Heap::How how : { Heap::kRefuses, Heap::kEndsInCreate })
        EXPECT_EQ(FALSE, (new Heap(how))->Make()) << how;
    for (const Heap::How how : { Heap::kThrows, Heap::kThrowsLater })
        EXPECT_THROW((new Heap(how))->Make(), std::runtime_error) << how;
    EXPECT_EQ(0, Heap::alive);
    EXPECT_EQ(nullptr, ::FindWindowW(nullptr, L"heap")) << "no window stays behind";
}

TEST_F(Windows, MayDeleteTheirObjectInAHandlerThatDeclines)
{
    for (const UINT message : { UINT{ WM_COMMAND }, kDecide }) {
        Heap* const window = new Heap(Heap::kStays);
        ASSERT_TRUE(window->Make());
        EXPECT_EQ(0, ::SendMessageW(window->GetHandle(), message, 77, 0));
    }
    Heap* const window = new Heap(Heap::kStays);
    ASSERT_TRUE(window->Make());
    SMenu menu;
    menu.Attach(::CreatePopupMenu());
    ::AppendMenuW(menu.GetHandle(), MF_STRING, 5, L"five");
    ::SendMessageW(window->GetHandle(), WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu.GetHandle()), 0);
    EXPECT_EQ(0, Heap::alive);

    Window* const parent = new Window;
    ASSERT_TRUE(parent->Make());
    Control control;
    ASSERT_TRUE(control.CreateEx(0, L"edit", L"", WS_CHILD, kPlace, parent, 50));
    control.parent = parent;
    ::SendMessageW(parent->GetHandle(), WM_COMMAND, MAKELONG(50, EN_CHANGE),
                   reinterpret_cast<LPARAM>(control.GetHandle()));
    EXPECT_EQ(nullptr, control.GetHandle());
}

TEST_F(Windows, LeaveNoHandleBehindWhateverTheirLastHandlerDoes)
{
    for (const bool throws : { true, false }) {
        BadEnd object(throws);
        ASSERT_TRUE(
            object.CreateEx(0, SWnd::RegisterWindowClass(), L"", WS_OVERLAPPEDWINDOW, kPlace, nullptr, 0));
        const HWND window = object.GetHandle();
        if (throws)
            EXPECT_THROW(object.DestroyWindow(), std::runtime_error);
        else
            EXPECT_TRUE(object.DestroyWindow());
        EXPECT_EQ(nullptr, SWnd::FromHandlePermanent(window));
        EXPECT_EQ(nullptr, object.GetHandle());
    }
    App app;
    {
        Window main;
        ASSERT_TRUE(main.Make());
        app.SetMainWnd(&main);
    }
    EXPECT_EQ(nullptr, app.GetMainWnd());
    EXPECT_TRUE(IsQuitWaiting()) << "the loop ends with the main window's object too";
}

TEST_F(Windows, BelongToOneObjectAndObjectsToOneWindow)
{
    HWND first;
    {
        Window window;
        ASSERT_TRUE(window.Make());
        first = window.GetHandle();
        EXPECT_FALSE(window.Make()) << "it has one";
        EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_INITIALIZED), ::GetLastError());
        Window other;
        EXPECT_EQ(TRUE, other.Attach(first));
        EXPECT_EQ(nullptr, window.GetHandle()) << "taken over";
        EXPECT_EQ(102, ::SendMessageW(first, kTest, 1, 2));
        Window second;
        ASSERT_TRUE(second.Make());
        const HWND let = second.GetHandle();
        EXPECT_EQ(TRUE, second.Attach(first));
        EXPECT_EQ(nullptr, SWnd::FromHandlePermanent(let));
        ::DestroyWindow(let);
    }
    EXPECT_FALSE(::IsWindow(first));
    const HPEN a = ::CreatePen(PS_SOLID, 1, 0), b = ::CreatePen(PS_SOLID, 2, 0);
    SGdiObject pen, taker;
    EXPECT_TRUE(pen.Attach(a) && pen.Attach(b));
    EXPECT_EQ(nullptr, SGdiObject::FromHandlePermanent(a));
    EXPECT_EQ(0u, ::GetObjectType(a)) << "the one it had is ended";
    EXPECT_TRUE(taker.Attach(b));
    EXPECT_EQ(nullptr, pen.GetHandle());
    SWnd desktop;
    EXPECT_EQ(FALSE, desktop.SubclassWindow(::GetDesktopWindow())) << "it is not this thread's";
    EXPECT_EQ(nullptr, desktop.GetHandle());
    EXPECT_EQ(FALSE, desktop.SubclassChild(5, nullptr));
}

TEST_F(Windows, KeepTheirOwnProcedureUnderAForeignOneWhenTheObjectGoes)
{
    const HWND edit =
        ::CreateWindowExW(0, L"edit", L"text", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    {
        SWnd window;
        ASSERT_TRUE(window.SubclassWindow(edit));
        g_under = reinterpret_cast<WNDPROC>(
            ::SetWindowLongPtrW(edit, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(InFront)));
        ::SendMessageW(edit, EM_SETLIMITTEXT, 77, 0);
        EXPECT_EQ(nullptr, window.UnsubclassWindow()) << "somebody stands in front";
        EXPECT_EQ(edit, window.Detach());
    }
    EXPECT_EQ(77, ::SendMessageW(edit, EM_GETLIMITTEXT, 0, 0));
    EXPECT_TRUE(::DestroyWindow(edit));
}

TEST_F(Windows, AskControlsFirstAboutTheirScrollBarsAndItems)
{
    Window parent;
    ASSERT_TRUE(parent.Make());
    Control control;
    ASSERT_TRUE(control.CreateEx(0, L"scrollbar", L"", WS_CHILD, kPlace, &parent, 50));
    g_seen.clear();
    DRAWITEMSTRUCT draw = {};
    draw.hwndItem = control.GetHandle();
    MEASUREITEMSTRUCT measure = {};
    measure.CtlType = ODT_LISTBOX;
    measure.CtlID = 50;
    const LPARAM itself = reinterpret_cast<LPARAM>(control.GetHandle());
    EXPECT_EQ(5, parent.SendMessage(WM_HSCROLL, 0, itself));
    EXPECT_EQ(5, parent.SendMessage(WM_DRAWITEM, 50, reinterpret_cast<LPARAM>(&draw)));
    EXPECT_EQ(5, parent.SendMessage(WM_MEASUREITEM, 50, reinterpret_cast<LPARAM>(&measure)));
    EXPECT_EQ(5, parent.SendMessage(WM_PARENTNOTIFY, WM_DESTROY, itself));
    EXPECT_EQ("own own own own ", g_seen);
    measure.CtlType = ODT_MENU;
    parent.SendMessage(WM_MEASUREITEM, 50, reinterpret_cast<LPARAM>(&measure));
    parent.SendMessage(WM_PARENTNOTIFY, WM_LBUTTONDOWN, itself);
    parent.SendMessage(WM_DRAWITEM, 50, 0);
    EXPECT_EQ("own own own own ", g_seen) << "these are not about the control";
}

TEST_F(Windows, LeaveMenusAloneThatAreNotTheirs)
{
    Busy window;
    ASSERT_TRUE(window.Make());
    window.SendMessage(WM_INITMENUPOPUP, 0, 0);
    const HMENU system = ::GetSystemMenu(window.GetHandle(), FALSE);
    window.SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(system), MAKELPARAM(0, TRUE));
    EXPECT_EQ(0u, ::GetMenuState(system, SC_CLOSE, MF_BYCOMMAND) & MF_GRAYED);
    const HMENU popup = ::CreatePopupMenu();
    for (UINT id = 1; id <= 5; ++id)
        ::AppendMenuW(popup, MF_STRING | MF_GRAYED, id, L"item");
    SMenu::FromHandle(popup); // a temporary object, which the idle work inside would end
    window.SendMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(popup), 0);
    EXPECT_EQ(5, window.updates);
    Edit edit;
    ASSERT_TRUE(edit.CreateEx(0, L"edit", L"abc", WS_CHILD, kPlace, &window, 50));
    ::AppendMenuW(popup, MF_STRING, WM_COPY, L"Copy");
    ::SendMessageW(edit.GetHandle(), WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(popup), 0);
    EXPECT_EQ(0u, ::GetMenuState(popup, WM_COPY, MF_BYCOMMAND) & MF_GRAYED)
        << "a control's own menu: its commands are not ours to judge";
    ::DestroyMenu(popup);
}

TEST_F(Windows, AreAllVisitedWhoeverGoesMeanwhile)
{
    Window top;
    ASSERT_TRUE(top.Make());
    Control controls[4];
    for (Control& control : controls)
        ASSERT_TRUE(control.CreateEx(WS_EX_NOPARENTNOTIFY, SWnd::RegisterWindowClass(), L"", WS_CHILD, kPlace,
                                     &top, 5));
    const HWND first = ::GetTopWindow(top.GetHandle());
    static_cast<Control*>(SWnd::FromHandlePermanent(first))->next = ::GetWindow(first, GW_HWNDNEXT);
    g_seen.clear();
    SWnd::SendMessageToDescendants(top.GetHandle(), kVisit, 0, 0);
    EXPECT_EQ("visited visited visited ", g_seen) << "all but the one that was destroyed";
}
