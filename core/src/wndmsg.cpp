// wndmsg.cpp: from a message to its handler, and notifications back to their controls.
#include "window.h"

#include "callback.h"
#include "cmdui.h"
#include "msgcache.h"
#include "smenu.h"
#include "winctl.h"
#include "wndwatch.h"

#include <cwchar>

namespace {

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
S_ON_MESSAGE(WM_DRAWITEM, OnReflected)
S_ON_MESSAGE(WM_MEASUREITEM, OnReflected)
S_ON_MESSAGE(WM_DELETEITEM, OnReflected)
S_ON_MESSAGE(WM_COMPAREITEM, OnReflected)
S_ON_MESSAGE(WM_VKEYTOITEM, OnReflected)
S_ON_MESSAGE(WM_CHARTOITEM, OnReflected)
S_ON_MESSAGE(WM_HSCROLL, OnReflected)
S_ON_MESSAGE(WM_VSCROLL, OnReflected)
S_ON_MESSAGE(WM_PARENTNOTIFY, OnReflected)
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
    if (message >= kFirstRegisteredMessage) {
        *answer = SHandler<LRESULT(WPARAM, LPARAM)>::Call(this, entry->handler, wParam, lParam);
        return TRUE;
    }
    return CallHandler(*entry, wParam, lParam, answer);
}

namespace {

template <UINT_PTR form, class... Arguments>
auto CallAs(SCmdTarget* target, S_PMSG handler, Arguments... arguments)
{
    return SHandler<typename SWndFormOf<form>::Type>::Call(target, handler, arguments...);
}

} // namespace

// The object may be gone when a handler returns: nothing behind a call looks at it. Numbers without a name are second ones of
// the form beside them.
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
    case SWndForm::kWindowW:
    case 7: *result = CallAs<SWndForm::kWindowW>(this, f, window(w)); break;
    case SWndForm::kW: *result = CallAs<SWndForm::kW>(this, f, w); break;
    case SWndForm::kWindowWHalvesL:
    case 10: *result = CallAs<SWndForm::kWindowWHalvesL>(this, f, window(w), loL, hiL); break;
    case SWndForm::kWindowWWindowL:
        *result = CallAs<SWndForm::kWindowWWindowL>(this, f, window(w), window(l));
        break;
    case SWndForm::kLoWWindowLHiW:
        *result = CallAs<SWndForm::kLoWWindowLHiW>(this, f, loW, window(l), hiW);
        break;
    case SWndForm::kHalvesW: *result = CallAs<SWndForm::kHalvesW>(this, f, loW, hiW); break;
    case SWndForm::kL: *result = CallAs<SWndForm::kL>(this, f, l); break;
    case SWndForm::kWL:
    case 36: *result = CallAs<SWndForm::kWL>(this, f, w, l); break;
    case SWndForm::kHalvesWMenuL:
        *result = CallAs<SWndForm::kHalvesWMenuL>(this, f, loW, hiW, menu(l));
        break;
    case SWndForm::kNothing:
    case 38: *result = CallAs<SWndForm::kNothing>(this, f); break;
    case SWndForm::kNothingObject: {
        const LRESULT address = reinterpret_cast<LRESULT>(this);
        CallAs<SWndForm::kNothingObject>(this, f);
        *result = address;
        break;
    }
    case SWndForm::kNothingW:
        CallAs<SWndForm::kNothingW>(this, f);
        *result = asW;
        break;
    case SWndForm::kWAnswersL:
    case 21:
    case 40:
        CallAs<SWndForm::kWAnswersL>(this, f, w);
        *result = l;
        break;
    case SWndForm::kLoLAnswersHiL:
        CallAs<SWndForm::kLoLAnswersHiL>(this, f, loL);
        *result = static_cast<LRESULT>(hiL);
        break;
    case SWndForm::kWLoLAnswersHiL:
    case 20:
        CallAs<SWndForm::kWLoLAnswersHiL>(this, f, w, loL);
        *result = static_cast<LRESULT>(hiL);
        break;
    case SWndForm::kActivate:
        CallAs<SWndForm::kActivate>(this, f, m_hWnd == reinterpret_cast<HWND>(l), window(l), window(w));
        *result = asW;
        break;
    case SWndForm::kWindowWAnswersW:
    case 26:
        CallAs<SWndForm::kWindowWAnswersW>(this, f, window(w));
        *result = asW;
        break;
    case SWndForm::kMenuWAnswersW:
        CallAs<SWndForm::kMenuWAnswersW>(this, f, menu(w));
        *result = asW;
        break;
    case SWndForm::kMenuWWLoL:
        CallAs<SWndForm::kMenuWWLoL>(this, f, menu(w), w, loL);
        *result = static_cast<LRESULT>(hiL);
        break;
    case SWndForm::kWindowWHalvesLVoid:
        CallAs<SWndForm::kWindowWHalvesLVoid>(this, f, window(w), loL, hiL);
        *result = asW;
        break;
    case SWndForm::kWindowWSignedL:
        CallAs<SWndForm::kWindowWSignedL>(this, f, window(w), SignedLow(lBits), SignedHigh(lBits));
        *result = asW;
        break;
    case SWndForm::kWindowWL:
        CallAs<SWndForm::kWindowWL>(this, f, window(w), l);
        *result = asW;
        break;
    case SWndForm::kWWindowL:
        CallAs<SWndForm::kWWindowL>(this, f, w, window(l));
        *result = l;
        break;
    case SWndForm::kLoWWindowLHiWVoid:
        CallAs<SWndForm::kLoWWindowLHiWVoid>(this, f, loW, window(l), hiW);
        *result = l;
        break;
    case SWndForm::kSloWZeroWindowL:
        CallAs<SWndForm::kSloWZeroWindowL>(this, f, SignedLow(w), 0u, window(l));
        *result = l;
        break;
    case SWndForm::kSloW:
        CallAs<SWndForm::kSloW>(this, f, SignedLow(w));
        *result = SignedHigh(w);
        break;
    case SWndForm::kNothingL:
    case 39:
        CallAs<SWndForm::kNothingL>(this, f);
        *result = l;
        break;
    case SWndForm::kWLAnswers1:
    case 46:
        CallAs<SWndForm::kWLAnswers1>(this, f, w, l);
        *result = 1;
        break;
    case SWndForm::kSignedL:
        *result = CallAs<SWndForm::kSignedL>(this, f, SignedLow(lBits), SignedHigh(lBits));
        break;
    case SWndForm::kLDecides: *result = CallAs<SWndForm::kLDecides>(this, f, l); return *result != 0;
    case SWndForm::kWindowL:
        CallAs<SWndForm::kWindowL>(this, f, window(l));
        *result = l;
        break;
    case SWndForm::kHalvesDecide:
        *result = CallAs<SWndForm::kHalvesDecide>(this, f, loW, hiW, loL, hiL);
        return *result != 0;
    case SWndForm::kHalvesWAnswersL:
        CallAs<SWndForm::kHalvesWAnswersL>(this, f, loW, hiW);
        *result = l;
        break;
    case SWndForm::kWSloL:
        CallAs<SWndForm::kWSloL>(this, f, w, SignedLow(lBits));
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
    const SWndWatch watch(this);
    if (ReflectLastMsg(control, nullptr))
        return TRUE;
    if (!watch.IsAlive())
        return TRUE; // the control's object took this one with it
    return id != 0 && OnCmdMsg(id, HIWORD(wParam), nullptr, nullptr);
}

int SWnd::OnNotify(WPARAM, LPARAM lParam, LRESULT* result)
{
    NMHDR* const header = reinterpret_cast<NMHDR*>(lParam);
    const SLastMessage last = GetLastMessage();
    LRESULT ignored = 0;
    result = result ? result : &ignored;
    const SWndWatch watch(this);
    // Not FromHandlePermanent: with that in line the compiler takes the watch for a pointer that dangles.
    SWnd* const source = SearchPermanent(header->hwndFrom);
    if (source && source->OnChildNotify(last.message, last.wParam, last.lParam, result))
        return TRUE;
    if (!watch.IsAlive())
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
        const int taken = OnCmdMsg(
            0, static_cast<int>(MAKELONG(HIWORD(wParam), kReflectedMessage + WM_COMMAND)), nullptr, nullptr);
        if (taken && result)
            *result = 1;
        return taken;
    }
    case WM_NOTIFY: {
        NMHDR* const header = reinterpret_cast<NMHDR*>(lParam);
        LRESULT ignored = 0;
        SNotifyRecord notify = { result ? result : &ignored, header };
        return OnCmdMsg(0, static_cast<int>(MAKELONG(header->code, kReflectedMessage + WM_NOTIFY)), &notify,
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
    case WM_PARENTNOTIFY: return OnWndMsg(kReflectedMessage + message, wParam, lParam, result);
    default: return FALSE;
    }
}

LRESULT SWnd::OnInitMenuPopup(WPARAM menu, LPARAM place)
{
    const SWndWatch watch(this);
    const bool isSystemMenu = HIWORD(place) != 0;
    const bool isControlsOwn = m_oldProc && (::GetWindowLongPtrW(m_hWnd, GWL_STYLE) & WS_CHILD) != 0;
    if (!isSystemMenu && !isControlsOwn) {
        if (SMenu* const opened = SMenu::FromHandle(reinterpret_cast<HMENU>(menu)))
            opened->UpdateItems(this);
    }
    return watch.IsAlive() ? Default() : 0;
}

namespace {

// The control that a message to its parent is about.
HWND ControlOf(HWND parent, const SLastMessage& message)
{
    switch (message.message) {
    case WM_DRAWITEM: return reinterpret_cast<const DRAWITEMSTRUCT*>(message.lParam)->hwndItem;
    case WM_DELETEITEM: return reinterpret_cast<const DELETEITEMSTRUCT*>(message.lParam)->hwndItem;
    case WM_COMPAREITEM: return reinterpret_cast<const COMPAREITEMSTRUCT*>(message.lParam)->hwndItem;
    case WM_MEASUREITEM: {
        const auto& item = *reinterpret_cast<const MEASUREITEMSTRUCT*>(message.lParam);
        return item.CtlType == ODT_MENU ? nullptr : ::GetDlgItem(parent, static_cast<int>(item.CtlID));
    }
    case WM_PARENTNOTIFY: {
        const UINT event = LOWORD(message.wParam);
        return event == WM_CREATE || event == WM_DESTROY ? reinterpret_cast<HWND>(message.lParam) : nullptr;
    }
    default: return reinterpret_cast<HWND>(message.lParam);
    }
}

bool HasRecord(UINT message)
{
    return message == WM_DRAWITEM || message == WM_DELETEITEM || message == WM_COMPAREITEM ||
           message == WM_MEASUREITEM;
}

} // namespace

LRESULT SWnd::OnReflected(WPARAM, LPARAM lParam)
{
    const SLastMessage& last = GetLastMessage();
    const SWndWatch watch(this);
    LRESULT result = 0;
    if ((lParam || !HasRecord(last.message)) && ReflectLastMsg(ControlOf(m_hWnd, last), &result))
        return result;
    return watch.IsAlive() ? Default() : 0;
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
