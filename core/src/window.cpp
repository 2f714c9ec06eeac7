// window.cpp: objects and handles, creation, the window procedure, destruction.
//
// Nothing is thrown through the system: Procedure parks what comes out of a handler, and our calls around the dispatch throw it
// on. A handler may delete the object: where it is needed behind a call, an SWndWatch tells whether it is still there.
#include "window.h"

#include "callback.h"
#include "compiler.h"
#include "crash.h"
#include "handledesc.h"
#include "tablemem.h"
#include "winapp.h"
#include "wndcreate.h"
#include "wndwatch.h"

#include <utility>

S_IMPLEMENT_DYNCREATE(SWnd, SCmdTarget)

namespace {

SLastMessage g_last;

// Windows that no object belongs to any more, in whose chain of procedures ours could not be taken out, with their own.
SMap<HWND, WNDPROC>& LeftBehind()
{
    static SMap<HWND, WNDPROC> left;
    return left;
}

WNDPROC ProcedureOf(HWND window)
{
    return reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(window, GWLP_WNDPROC));
}

} // namespace

// ---- Objects and handles ----

SLastFound<HWND, SWnd> SWnd::s_lastFound;

SHandleMap<HWND, SWnd>& SWnd::Map()
{
    static SHandleMap<HWND, SWnd> map(s_lastFound);
    return map;
}

SWnd::~SWnd()
{
    SWndWatch::EndAll(this);
    if (!m_hWnd)
        return;
    LeaveMainWindow();
    const HWND window = Detach();
    ::DestroyWindow(window);
}

SWnd* SWnd::MakeTemporary(HWND window)
{
    SWnd* const made = new SWnd;
    made->m_hWnd = window;
    return made;
}

void SWnd::EndTemporary(SWnd* window) noexcept
{
    window->m_hWnd = nullptr;
    delete window;
}

SWnd* SWnd::FromHandle(HWND window)
{
    return Map().FindOrMake(window);
}

SWnd* SWnd::SearchPermanent(HWND window)
{
    return Map().FindPermanent(window);
}

void SWnd::DeleteTempMap() noexcept
{
    Map().DeleteTemporary();
}

// The part of Attach that the creation hook needs too.
void SWnd::Enter(HWND window)
{
    SWnd* const owner = Map().FindPermanent(window);
    if (owner == this)
        return;
    Map().SetPermanent(window, this);
    if (m_hWnd && !Map().ReleaseTemporary(m_hWnd, this))
        Detach();
    m_hWnd = window;
    if (owner) {
        owner->m_hWnd = nullptr;
        m_oldProc = std::exchange(owner->m_oldProc, nullptr);
    }
}

int SWnd::Attach(HWND window)
{
    if (!window)
        return FALSE;
    Enter(window);
    DescribeHandle(window, GetClassInfo(), nullptr);
    return TRUE;
}

HWND SWnd::Detach() noexcept
{
    const HWND window = std::exchange(m_hWnd, nullptr);
    const WNDPROC own = std::exchange(m_oldProc, nullptr);
    if (!window)
        return nullptr;
    if (Map().FindPermanent(window) == this) {
        Map().RemovePermanent(window);
        ForgetHandle(window);
    }
    if (!own || !::IsWindow(window))
        return window;
    if (ProcedureOf(window) == Procedure) {
        ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(own));
        return window;
    }
    // Somebody else's stands in front and will go on calling ours.
    try {
        LeftBehind().Set(window, own);
    }
    catch (const SEOutOfMemory&) {
        // The window loses what its own procedure does; nothing better can be had.
    }
    return window;
}

SString SWnd::GetHandleDescription(HWND window)
{
    return HandleDescription(window);
}

// ---- Creating ----

// Puts our procedure in front, unless the window's class has it already.
bool SWnd::PutProcedure()
{
    if (ProcedureOf(m_hWnd) == Procedure)
        return true;
    m_oldProc = reinterpret_cast<WNDPROC>(
        ::SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Procedure)));
    return m_oldProc != nullptr;
}

const wchar_t* SWnd::RegisterWindowClass(UINT style, HCURSOR cursor, HBRUSH background, HICON icon)
{
    static SMap<SString, SString> names; // each under itself, so that its text can be given away
    const HINSTANCE instance = ::GetModuleHandleW(nullptr);
    // With our own address: the class outlives the library where that is unloaded and comes again at another place.
    const SString name = SString().Format(L"CVCore16:%x:%p:%p:%p:%p:%p", style, instance, cursor, background,
                                          icon, reinterpret_cast<void*>(Procedure));
    if (const SString* const known = names.Find(name))
        return *known;
    names.Set(name, name); // before the class exists: a class whose name is lost could never be had again
    WNDCLASSW description = {};
    description.style = style;
    description.lpfnWndProc = Procedure;
    description.hInstance = instance;
    description.hIcon = icon;
    description.hCursor = cursor ? cursor : ::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    description.hbrBackground = background;
    description.lpszClassName = name;
    if (::RegisterClassW(&description) || ::GetLastError() == ERROR_CLASS_ALREADY_EXISTS)
        return *names.Find(name);
    names.Remove(name);
    return nullptr;
}

int SWnd::CreateEx(DWORD exStyle, const wchar_t* className, const wchar_t* title, DWORD style,
                   const RECT& rect, SWnd* parent, UINT_PTR id, void* parameter)
{
    if (m_hWnd) {
        ::SetLastError(ERROR_ALREADY_INITIALIZED);
        return FALSE;
    }
    SRethrowParked(); // what is parked behind the call is then the window's own
    const SWndWatch watch(this);
    HWND window = nullptr;
    DWORD error;
    {
        const SWndCreation creation(this);
        if (!creation.IsHooked())
            return FALSE;
        window =
            ::CreateWindowExW(exStyle, className, title, style, rect.left, rect.top, rect.right - rect.left,
                              rect.bottom - rect.top, parent ? parent->GetHandle() : nullptr,
                              reinterpret_cast<HMENU>(id), ::GetModuleHandleW(nullptr), parameter);
        error = ::GetLastError();
    }
    SWndCreation::Settle(watch.IsAlive() ? this : nullptr, window);
    ::SetLastError(error);
    return window != nullptr;
}

int SWnd::DestroyWindow()
{
    if (!m_hWnd)
        return FALSE;
    // The object may be gone behind this line.
    const BOOL done = ::DestroyWindow(m_hWnd);
    SRethrowParked();
    return done;
}

int SWnd::SubclassWindow(HWND window)
{
    if (m_hWnd || !::IsWindow(window) || FromHandlePermanent(window) ||
        ::GetWindowThreadProcessId(window, nullptr) != ::GetCurrentThreadId() || !Attach(window))
        return FALSE;
    if (PutProcedure())
        return TRUE;
    Detach();
    return FALSE;
}

int SWnd::SubclassChild(int id, SWnd* parent)
{
    return parent && SubclassWindow(::GetDlgItem(parent->GetHandle(), id));
}

HWND SWnd::UnsubclassWindow()
{
    return m_hWnd && m_oldProc && ProcedureOf(m_hWnd) == Procedure ? Detach() : nullptr;
}

// ---- The window procedure ----

namespace {

// What the system is to hear in place of a handler that threw: creation fails, everything else is dealt with.
LRESULT AnswerForFailure(HWND window, UINT message)
{
    if (message == WM_PAINT)
        ::ValidateRect(window, nullptr); // or it would come again for ever
    return message == WM_CREATE ? -1 : 0;
}

class LastMessageKeeper {
public:
    LastMessageKeeper(UINT message, WPARAM wParam, LPARAM lParam) noexcept : m_before(g_last)
    {
        g_last = { message, wParam, lParam };
    }
    ~LastMessageKeeper() { g_last = m_before; }
    LastMessageKeeper(const LastMessageKeeper&) = delete;
    LastMessageKeeper& operator=(const LastMessageKeeper&) = delete;

private:
    SLastMessage m_before;
};

} // namespace

namespace {

// For a window whose object went while our procedure had to stay.
LRESULT PassToOwn(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const WNDPROC* const own = LeftBehind().Find(window);
    if (!own)
        return ::DefWindowProcW(window, message, wParam, lParam);
    const LRESULT result = ::CallWindowProcW(*own, window, message, wParam, lParam);
    if (message == WM_NCDESTROY)
        LeftBehind().Remove(window);
    return result;
}

} // namespace

S_SYSTEM_CALLS LRESULT CALLBACK SWnd::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    SWnd* const object = FromHandlePermanent(window);
    if (!object)
        return PassToOwn(window, message, wParam, lParam);
    const LastMessageKeeper last(message, wParam, lParam);
    LRESULT result;
    try {
        if (!VectoredExceptionHook::IsInstalled())
            result = object->WindowProc(message, wParam, lParam);
        else
            result = SRunGuarded([&] { return object->WindowProc(message, wParam, lParam); });
    }
    catch (...) {
        SParkException();
        result = AnswerForFailure(window, message);
    }
    if (message == WM_NCDESTROY) {
        // A handler that threw, or did not call its base, has left the object with a handle that will be another window's.
        if (SWnd* const left = FromHandlePermanent(window))
            left->Detach();
        LeftBehind().Remove(window);
    }
    return result;
}

WNDPROC SWnd::GetSuperWndProc() const
{
    return nullptr;
}

LRESULT SWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    LRESULT result = 0;
    const SWndWatch watch(this);
    if (OnWndMsg(message, wParam, lParam, &result) || !watch.IsAlive())
        return result;
    return DefWindowProcW(message, wParam, lParam);
}

LRESULT SWnd::DefWindowProcW(UINT message, WPARAM wParam, LPARAM lParam)
{
    const WNDPROC procedure = m_oldProc ? m_oldProc : GetSuperWndProc();
    return procedure ? ::CallWindowProcW(procedure, m_hWnd, message, wParam, lParam)
                     : ::DefWindowProcW(m_hWnd, message, wParam, lParam);
}

LRESULT SWnd::Default()
{
    return DefWindowProcW(g_last.message, g_last.wParam, g_last.lParam);
}

const SLastMessage& SWnd::GetLastMessage() noexcept
{
    return g_last;
}

LRESULT SWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    const LRESULT result = ::SendMessageW(m_hWnd, message, wParam, lParam);
    SRethrowParked();
    return result;
}

void SWnd::SendMessageToDescendants(HWND window, UINT message, WPARAM wParam, LPARAM lParam, int deep,
                                    int onlyPermanent)
{
    // All of them first: the message may destroy any, or bring them into another order.
    STable<HWND> children;
    for (HWND child = ::GetTopWindow(window); child; child = ::GetWindow(child, GW_HWNDNEXT))
        children.Add(child);
    for (const HWND child : children) {
        if (!::IsWindow(child))
            continue;
        if (!onlyPermanent || FromHandlePermanent(child))
            ::SendMessageW(child, message, wParam, lParam);
        SRethrowParked();
        if (deep && ::IsWindow(child))
            SendMessageToDescendants(child, message, wParam, lParam, deep, onlyPermanent);
    }
}

// ---- Destruction ----

void SWnd::LeaveMainWindow() noexcept
{
    SWinApp* const app = SWinApp::Get();
    if (!app || app->GetMainWnd() != this)
        return;
    ::PostQuitMessage(0);
    app->SetMainWnd(nullptr);
}

void SWnd::OnNcDestroy()
{
    LeaveMainWindow();
    const SWndWatch watch(this);
    const HWND window = m_hWnd;
    const WNDPROC before = ProcedureOf(window);
    Default();
    if (!watch.IsAlive())
        return;
    const WNDPROC super = GetSuperWndProc();
    if (super && ProcedureOf(window) == before)
        ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(super));
    Detach();
    PostNcDestroy();
}

void SWnd::PostNcDestroy() {}

// ---- Pre-translation ----

int SWnd::PreTranslateMessage(MSG*)
{
    return FALSE;
}
