// window.cpp: objects and handles, creation, the window procedure, destruction.
//
// Nothing is thrown through the system: Procedure parks what comes out of a handler, and our calls around the dispatch throw it
// on. After a handler no member of the object is touched, since the handler may have deleted it.
#include "window.h"

#include "callback.h"
#include "crash.h"
#include "handledesc.h"
#include "winapp.h"
#include "wndcreate.h"

#include <utility>

S_IMPLEMENT_DYNCREATE(SWnd, SCmdTarget)

namespace {

SLastMessage g_last;

SHandleMap<HWND, SWnd>& Map()
{
    static SHandleMap<HWND, SWnd> map;
    return map;
}

WNDPROC ProcedureOf(HWND window)
{
    return reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(window, GWLP_WNDPROC));
}

} // namespace

// ---- Objects and handles ----

SWnd::~SWnd()
{
    if (const HWND window = Detach())
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

SWnd* SWnd::FromHandlePermanent(HWND window)
{
    return Map().FindPermanent(window);
}

void SWnd::DeleteTempMap() noexcept
{
    Map().DeleteTemporary();
}

int SWnd::Attach(HWND window)
{
    if (!window)
        return FALSE;
    Map().SetPermanent(window, this);
    m_hWnd = window;
    DescribeHandle(window, GetClassInfo());
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
    // Without its object our procedure has nowhere to pass messages on to.
    if (own && ProcedureOf(window) == Procedure)
        ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(own));
    return window;
}

SString SWnd::GetHandleDescription(HWND window)
{
    return HandleDescription(window);
}

// ---- Creating ----

// Puts our procedure in front, unless the window's class has it already.
void SWnd::PutProcedure()
{
    const WNDPROC own = ProcedureOf(m_hWnd);
    if (own == Procedure)
        return;
    m_oldProc = own;
    ::SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Procedure));
}

const wchar_t* SWnd::RegisterWindowClass(UINT style, HCURSOR cursor, HBRUSH background, HICON icon)
{
    static SMap<SString, SString> names; // each under itself, so that its text can be given away
    const HINSTANCE instance = ::GetModuleHandleW(nullptr);
    const SString name =
        SString().Format(L"CVCore16:%x:%p:%p:%p:%p", style, instance, cursor, background, icon);
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
    if (!window && m_hWnd)
        Detach(); // the system has taken the window away without a last message
    SRethrowParked();
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
    if (m_hWnd || !::IsWindow(window) || FromHandlePermanent(window) || !Attach(window))
        return FALSE;
    PutProcedure();
    return TRUE;
}

int SWnd::SubclassChild(int id, SWnd* parent)
{
    return SubclassWindow(::GetDlgItem(parent->GetHandle(), id));
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

__attribute__((force_align_arg_pointer)) LRESULT CALLBACK SWnd::Procedure(HWND window, UINT message,
                                                                          WPARAM wParam, LPARAM lParam)
{
    SWnd* const object = FromHandlePermanent(window);
    if (!object)
        return ::DefWindowProcW(window, message, wParam, lParam);
    const LastMessageKeeper last(message, wParam, lParam);
    try {
        if (!VectoredExceptionHook::IsInstalled())
            return object->WindowProc(message, wParam, lParam);
        return SRunGuarded([&] { return object->WindowProc(message, wParam, lParam); });
    }
    catch (...) {
        SParkException();
        return AnswerForFailure(window, message);
    }
}

WNDPROC SWnd::GetSuperWndProc() const
{
    return nullptr;
}

LRESULT SWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    LRESULT result = 0;
    return OnWndMsg(message, wParam, lParam, &result) ? result : DefWindowProcW(message, wParam, lParam);
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
    for (HWND child = ::GetTopWindow(window); child;) {
        const HWND next = ::GetWindow(child, GW_HWNDNEXT); // the message may destroy the child
        if (!onlyPermanent || FromHandlePermanent(child))
            ::SendMessageW(child, message, wParam, lParam);
        SRethrowParked();
        if (deep && ::IsWindow(child))
            SendMessageToDescendants(child, message, wParam, lParam, deep, onlyPermanent);
        child = next;
    }
}

// ---- Destruction ----

void SWnd::OnNcDestroy()
{
    if (SWinApp* const app = SWinApp::Get(); app && app->GetMainWnd() == this) {
        ::PostQuitMessage(0);
        app->SetMainWnd(nullptr);
    }
    const HWND window = m_hWnd;
    const WNDPROC before = ProcedureOf(window);
    Default();
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
