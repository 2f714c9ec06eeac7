// Window objects: handles, creation, dispatch, reflection; the other wrappers' maps.
#include "window.h"

#include "callback.h"
#include "crash.h"
#include "sgdi.h"
#include "sgeom.h"
#include "smenu.h"
#include "winctl.h"

#include "support/importpatch.h"
#include "support/templog.h"
#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace {

// The per-user value that asks for descriptions of handles is on in this program. It is read once, so from the start on.
LSTATUS WINAPI OpenAnyKey(HKEY, const wchar_t*, DWORD, REGSAM, HKEY* key)
{
    return ::RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, 0, KEY_QUERY_VALUE, key);
}
LSTATUS WINAPI AnswerTrue(HKEY, const wchar_t* name, DWORD*, DWORD* type, BYTE* bytes, DWORD* size)
{
    if (std::wcscmp(name, L"UseHandleDesc") != 0)
        return ERROR_FILE_NOT_FOUND;
    *type = REG_SZ;
    *size = sizeof L"True";
    std::memcpy(bytes, L"True", *size);
    return ERROR_SUCCESS;
}
const ImportPatch g_openKey("CVCore16.dll", "ADVAPI32.dll", "RegOpenKeyExW", OpenAnyKey);
const ImportPatch g_answer("CVCore16.dll", "ADVAPI32.dll", "RegQueryValueExW", AnswerTrue);

LRESULT CALLBACK Refuse(HWND, UINT message, WPARAM, LPARAM)
{
    return message != WM_NCCREATE;
}

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

TEST_F(Windows, HaveAPermanentObjectWhereATemporaryOneIsAttached)
{
    const auto makeForeign = [] {
        return ::CreateWindowExW(0, L"static", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    };
    const HWND first = makeForeign(), second = makeForeign();
    std::unique_ptr<SWnd> object(SWnd::FromHandle(first));
    for (const HWND window : { first, second }) {
        EXPECT_EQ(TRUE, object->Attach(window));
        SWnd::DeleteTempMap();
        EXPECT_EQ(object.get(), SWnd::FromHandlePermanent(window));
        EXPECT_EQ(window, object->GetHandle());
    }
    EXPECT_EQ(nullptr, SWnd::FromHandlePermanent(first));
    object.reset(SWnd::FromHandle(first));
    EXPECT_FALSE(::IsWindow(second)) << "an object that ends takes its window along";
    EXPECT_EQ(TRUE, object->Attach(makeForeign()));
    EXPECT_TRUE(::IsWindow(first)) << "it was not the object's";
    ::DestroyWindow(first);

    const HPEN pens[] = { ::CreatePen(PS_SOLID, 1, 0), ::CreatePen(PS_SOLID, 2, 0) };
    std::unique_ptr<SGdiObject> pen(SGdiObject::FromHandle(pens[0]));
    EXPECT_EQ(1, pen->Attach(pens[0]));
    SGdiObject::DeleteTempMap();
    EXPECT_EQ(pen.get(), SGdiObject::FromHandlePermanent(pens[0]));
    EXPECT_EQ(DWORD{ OBJ_PEN }, ::GetObjectType(pens[0])) << "attached, not ended";
    pen->Detach();
    pen.reset(SGdiObject::FromHandle(pens[0]));
    EXPECT_EQ(1, pen->Attach(pens[1]));
    EXPECT_EQ(DWORD{ OBJ_PEN }, ::GetObjectType(pens[0])) << "it was not the object's";
    ::DeleteObject(pens[0]);
}

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

TEST_F(Windows, AreDescribedForDiagnosticsWhileTheUserAsksForThat)
{
    Window window;
    ASSERT_TRUE(window.Make());
    const HWND handle = window.GetHandle();
    EXPECT_TRUE(SWnd::GetHandleDescription(handle).Match(L"CVCore16:* \"test\" of SWnd"));
    window.DestroyWindow();
    EXPECT_STREQ(L"", SWnd::GetHandleDescription(handle));
    const HWND foreign =
        ::CreateWindowExW(0, L"edit", L"theirs", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    Edit edit;
    ASSERT_TRUE(edit.SubclassWindow(foreign));
    EXPECT_TRUE(SWnd::GetHandleDescription(foreign).MatchNoCase(L"edit \"theirs\" of SWnd"));
}

namespace {

/// Its map is that of a module that comes and goes.
class OfModule : public SWnd {
public:
    LRESULT OnFirst(WPARAM, LPARAM) { return 1; }
    LRESULT OnSecond(WPARAM, LPARAM) { return 2; }
    const SMsgMap* GetMessageMap() const override { return map; }
    const SMsgMap* map = nullptr;
    using SWnd::OnWndMsg;
    static const SMsgMap* NoBase() { return nullptr; }
};

} // namespace

TEST_F(Windows, ForgetTheMapsOfModulesThatGo)
{
    typedef OfModule ThisClass;
    const SMsgMapEntry kEnd = { 0, 0, 0, 0, 0, nullptr };
    const SMsgMapEntry first[] = { S_ON_MESSAGE(kTest, OnFirst) kEnd },
                       second[] = { S_ON_MESSAGE(kTest, OnSecond) kEnd };
    OfModule window;
    alignas(SOwnMsgMap) unsigned char place[sizeof(SOwnMsgMap)];
    for (const SMsgMapEntry* entries : { first, second }) {
        SOwnMsgMap* const map = ::new (static_cast<void*>(place)) SOwnMsgMap(OfModule::NoBase, entries);
        window.map = map;
        LRESULT result = 0;
        for (int i = 0; i < 2; ++i) // the second time from the cache
            EXPECT_EQ(TRUE, window.OnWndMsg(kTest, 0, 0, &result));
        EXPECT_EQ(entries == first ? 1 : 2, result) << "another map stands where the first one stood";
        map->~SOwnMsgMap();
    }
}
