// wndmsg.cpp: from a message to its handler, and notifications back to their controls.
#include "window.h"

#include "callback.h"
#include "cmdui.h"
#include "msgcache.h"
#include "smenu.h"
#include "winctl.h"

#include <cwchar>

namespace {

// Reflected messages, for a control's own map.
constexpr UINT kReflected = 0xBC00;
constexpr UINT kFirstRegistered = 0xC000;

int Low(ULONG_PTR value)
{
    return LOWORD(value);
}
int High(ULONG_PTR value)
{
    return HIWORD(value);
}
int SignedLow(ULONG_PTR value)
{
    return static_cast<short>(LOWORD(value));
}
int SignedHigh(ULONG_PTR value)
{
    return static_cast<short>(HIWORD(value));
}

} // namespace

S_BEGIN_MESSAGE_MAP(SWnd, SCmdTarget)
S_ON_WM_NCDESTROY()
S_ON_MESSAGE(WM_INITMENUPOPUP, OnInitMenuPopup)
S_END_MESSAGE_MAP()

int SWnd::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    if (message == WM_COMMAND) {
        if (!OnCommand(wParam, lParam))
            return FALSE;
        if (result)
            *result = 1;
        return TRUE;
    }
    if (message == WM_NOTIFY) {
        const NMHDR* const header = reinterpret_cast<const NMHDR*>(lParam);
        LRESULT answer = 0;
        if (!header || !header->hwndFrom || !OnNotify(wParam, lParam, &answer))
            return FALSE;
        if (result)
            *result = answer;
        return TRUE;
    }
    const SMsgMapEntry* const entry = FindWindowEntry(GetMessageMap(), message);
    if (!entry)
        return FALSE;
    LRESULT ignored;
    LRESULT* const answer = result ? result : &ignored;
    if (message >= kFirstRegistered) {
        *answer = SHandler<LRESULT(WPARAM, LPARAM)>::Call(this, entry->handler, wParam, lParam);
        return TRUE;
    }
    return CallHandler(*entry, wParam, lParam, answer);
}

// The object may be gone when a handler returns: nothing behind a call looks at it.
int SWnd::CallHandler(const SMsgMapEntry& entry, WPARAM w, LPARAM l, LRESULT* result)
{
    const S_PMSG f = entry.handler;
    const auto window = [](auto value) { return FromHandle(reinterpret_cast<HWND>(value)); };
    const auto menu = [](auto value) { return SMenu::FromHandle(reinterpret_cast<HMENU>(value)); };
    const UINT loW = static_cast<UINT>(Low(w)), hiW = static_cast<UINT>(High(w));
    const ULONG_PTR lBits = static_cast<ULONG_PTR>(l);
    const UINT loL = static_cast<UINT>(Low(lBits)), hiL = static_cast<UINT>(High(lBits));
    const LRESULT asW = static_cast<LRESULT>(w);

    switch (entry.form) {
    case 1:
    case 7: *result = SHandler<LRESULT(SWnd*)>::Call(this, f, window(w)); break;
    case 2: *result = SHandler<LRESULT(WPARAM)>::Call(this, f, w); break;
    case 3:
    case 10: *result = SHandler<LRESULT(SWnd*, UINT, UINT)>::Call(this, f, window(w), loL, hiL); break;
    case 5: *result = SHandler<LRESULT(SWnd*, SWnd*)>::Call(this, f, window(w), window(l)); break;
    case 8: *result = SHandler<LRESULT(UINT, SWnd*, UINT)>::Call(this, f, loW, window(l), hiW); break;
    case 9: *result = SHandler<LRESULT(UINT, UINT)>::Call(this, f, loW, hiW); break;
    case 11: *result = SHandler<LRESULT(LPARAM)>::Call(this, f, l); break;
    case 12:
    case 36: *result = SHandler<LRESULT(WPARAM, LPARAM)>::Call(this, f, w, l); break;
    case 13: *result = SHandler<LRESULT(UINT, UINT, SMenu*)>::Call(this, f, loW, hiW, menu(l)); break;
    case 14:
    case 38: *result = SHandler<LRESULT()>::Call(this, f); break;
    case 15: {
        const LRESULT address = reinterpret_cast<LRESULT>(this);
        SHandler<void()>::Call(this, f);
        *result = address;
        break;
    }
    case 16:
        SHandler<void()>::Call(this, f);
        *result = asW;
        break;
    case 17:
    case 21:
    case 40:
        SHandler<void(WPARAM)>::Call(this, f, w);
        *result = l;
        break;
    case 18:
        SHandler<void(UINT)>::Call(this, f, loL);
        *result = static_cast<LRESULT>(hiL);
        break;
    case 19:
    case 20:
        SHandler<void(WPARAM, UINT)>::Call(this, f, w, loL);
        *result = static_cast<LRESULT>(hiL);
        break;
    case 22:
        SHandler<void(int, SWnd*, SWnd*)>::Call(this, f, m_hWnd == reinterpret_cast<HWND>(l), window(l),
                                                window(w));
        *result = asW;
        break;
    case 23:
    case 26:
        SHandler<void(SWnd*)>::Call(this, f, window(w));
        *result = asW;
        break;
    case 24:
        SHandler<void(SMenu*)>::Call(this, f, menu(w));
        *result = asW;
        break;
    case 25:
        SHandler<void(SMenu*, WPARAM, UINT)>::Call(this, f, menu(w), w, loL);
        *result = static_cast<LRESULT>(hiL);
        break;
    case 27:
        SHandler<void(SWnd*, UINT, UINT)>::Call(this, f, window(w), loL, hiL);
        *result = asW;
        break;
    case 28:
        SHandler<void(SWnd*, int, int)>::Call(this, f, window(w), SignedLow(lBits), SignedHigh(lBits));
        *result = asW;
        break;
    case 29:
        SHandler<void(SWnd*, LPARAM)>::Call(this, f, window(w), l);
        *result = asW;
        break;
    case 30:
        SHandler<void(WPARAM, SWnd*)>::Call(this, f, w, window(l));
        *result = l;
        break;
    case 31:
        SHandler<void(UINT, SWnd*, UINT)>::Call(this, f, loW, window(l), hiW);
        *result = l;
        break;
    case 32:
        SHandler<void(int, UINT, SWnd*)>::Call(this, f, SignedLow(w), 0u, window(l));
        *result = l;
        break;
    case 33:
        SHandler<void(int)>::Call(this, f, SignedLow(w));
        *result = SignedHigh(w);
        break;
    case 34:
    case 39:
        SHandler<void()>::Call(this, f);
        *result = l;
        break;
    case 35:
    case 46:
        SHandler<void(WPARAM, LPARAM)>::Call(this, f, w, l);
        *result = 1;
        break;
    case 37: *result = SHandler<LRESULT(int, int)>::Call(this, f, SignedLow(lBits), SignedHigh(lBits)); break;
    case 45: *result = SHandler<LRESULT(LPARAM)>::Call(this, f, l); return *result != 0;
    case 47:
        SHandler<void(SWnd*)>::Call(this, f, window(l));
        *result = l;
        break;
    case 48:
        *result = SHandler<LRESULT(UINT, UINT, UINT, UINT)>::Call(this, f, loW, hiW, loL, hiL);
        return *result != 0;
    case 53:
        SHandler<void(UINT, UINT)>::Call(this, f, loW, hiW);
        *result = l;
        break;
    case 54:
        SHandler<void(WPARAM, int)>::Call(this, f, w, SignedLow(lBits));
        *result = SignedHigh(lBits);
        break;
    default: return FALSE;
    }
    return TRUE;
}

// ---- Commands and notifications ----

int SWnd::OnCommand(WPARAM wParam, LPARAM lParam)
{
    const UINT id = LOWORD(wParam);
    const HWND control = reinterpret_cast<HWND>(lParam);
    if (!control)
        return id != 0 && OnCmdMsg(id, 0, nullptr, nullptr);
    if (ReflectLastMsg(control, nullptr))
        return TRUE;
    return id != 0 && OnCmdMsg(id, HIWORD(wParam), nullptr, nullptr);
}

int SWnd::OnNotify(WPARAM, LPARAM lParam, LRESULT* result)
{
    NMHDR* const header = reinterpret_cast<NMHDR*>(lParam);
    const SLastMessage last = GetLastMessage();
    SWnd* const source = FromHandlePermanent(header->hwndFrom);
    if (source && source->OnChildNotify(last.message, last.wParam, last.lParam, result))
        return TRUE;
    SNotifyRecord notify = { result, header };
    return OnCmdMsg(static_cast<UINT>(header->idFrom), static_cast<int>(MAKELONG(header->code, WM_NOTIFY)),
                    &notify, nullptr);
}

int SWnd::ReflectLastMsg(HWND child, LRESULT* result)
{
    SWnd* const control = FromHandlePermanent(child);
    return control && control->SendChildNotifyLastMsg(result);
}

int SWnd::SendChildNotifyLastMsg(LRESULT* result)
{
    const SLastMessage last = GetLastMessage();
    return OnChildNotify(last.message, last.wParam, last.lParam, result);
}

int SWnd::OnChildNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    return ReflectChildNotify(message, wParam, lParam, result);
}

int SWnd::ReflectChildNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    switch (message) {
    case WM_COMMAND: {
        const int taken = OnCmdMsg(0, static_cast<int>(MAKELONG(HIWORD(wParam), kReflected + WM_COMMAND)),
                                   nullptr, nullptr);
        if (taken && result)
            *result = 1;
        return taken;
    }
    case WM_NOTIFY: {
        NMHDR* const header = reinterpret_cast<NMHDR*>(lParam);
        SNotifyRecord notify = { result, header };
        return OnCmdMsg(0, static_cast<int>(MAKELONG(header->code, kReflected + WM_NOTIFY)), &notify,
                        nullptr);
    }
    case WM_DRAWITEM:
    case WM_MEASUREITEM:
    case WM_DELETEITEM:
    case WM_VKEYTOITEM:
    case WM_CHARTOITEM:
    case WM_COMPAREITEM:
    case WM_HSCROLL:
    case WM_VSCROLL:
    case WM_PARENTNOTIFY: return OnWndMsg(kReflected + message, wParam, lParam, result);
    default: return FALSE;
    }
}

LRESULT SWnd::OnInitMenuPopup(WPARAM menu, LPARAM)
{
    SMenu::FromHandle(reinterpret_cast<HMENU>(menu))->UpdateItems(this);
    return Default();
}

// ---- Pre-translation ----

namespace {

// A label that is being edited in a tree or list keeps its keys.
bool IsLabelEditor(const SWnd* parent, HWND window)
{
    if (!parent->IsKindOf(S_RUNTIME_CLASS(STreeViewExCtrl)) &&
        !parent->IsKindOf(S_RUNTIME_CLASS(SListViewCtrl)))
        return false;
    constexpr int kNameRoom = 20;
    wchar_t name[kNameRoom];
    return ::GetClassNameW(window, name, kNameRoom) != 0 && ::_wcsicmp(name, L"edit") == 0;
}

} // namespace

int SWnd::WalkPreTranslateTree(HWND top, MSG* message)
{
    const HWND first = message->hwnd;
    if (SWnd* const window = FromHandlePermanent(first)) {
        if (window->PreTranslateMessage(message))
            return TRUE;
    } else if (SWnd* const parent = FromHandlePermanent(::GetAncestor(first, GA_PARENT))) {
        if (IsLabelEditor(parent, first)) {
            ::TranslateMessage(message);
            ::DispatchMessageW(message);
            SRethrowParked();
            return TRUE;
        }
        if (parent->PreTranslateMessage(message))
            return TRUE;
    }
    if (first == top)
        return FALSE;
    for (HWND at = ::GetParent(first); at && at != top; at = ::GetParent(at)) {
        SWnd* const window = FromHandlePermanent(at);
        if (window && window->PreTranslateMessage(message))
            return TRUE;
    }
    return FALSE;
}

int SWnd::GetDefaultMBReturn(UINT type)
{
    static const int kButtons[][3] = {
        { IDOK, IDOK, IDOK },
        { IDOK, IDCANCEL, IDOK },
        { IDABORT, IDRETRY, IDIGNORE },
        { IDYES, IDNO, IDCANCEL },
        { IDYES, IDNO, IDYES },
        { IDRETRY, IDCANCEL, IDRETRY },
        { IDCANCEL, IDTRYAGAIN, IDCONTINUE },
    };
    const UINT buttons = type & MB_TYPEMASK, chosen = (type & MB_DEFMASK) / MB_DEFBUTTON2;
    return buttons < 7 && chosen < 3 ? kButtons[buttons][chosen] : 0;
}
