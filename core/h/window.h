// window.h: SWnd, an object for a window of the system.
//
//     class Frame : public SWnd {
//         void OnPaint();
//         S_DECLARE_MESSAGE_MAP()
//     };
//     S_BEGIN_MESSAGE_MAP(Frame, SWnd)
//         S_ON_WM_PAINT()
//         S_ON_COMMAND(kOpen, OnOpen)
//     S_END_MESSAGE_MAP()
//
//     Frame frame;
//     frame.CreateEx(0, SWnd::RegisterWindowClass(), L"Title", WS_OVERLAPPEDWINDOW, rect, nullptr, 0);
//
// Identity an object is attached to one handle at a time, from creation, Attach or SubclassWindow until Detach or WM_NCDESTROY.
//          A window object that the program made is permanent. FromHandle makes temporary ones for foreign windows: they are
//          gone after the next idle clean-up, so keep no pointer to one across turns of the loop.
// Threads  the user-interface thread.
// Failure  what a handler throws comes out of our own call around the dispatch: SendMessage, CreateEx, DestroyWindow, the message
//          pump (callback.h). While the hook of crash.h is installed that goes for machine faults in a handler too.
//          A window may be destroyed, and its object deleted, inside its own handler.
// Cost     finding the object of a handle and the handler of a message are constant-time for those that repeat.
#ifndef WINDOW_H
#define WINDOW_H

#include "cmdtarg.h"
#include "cvbase.h"
#include "strclss.h"
#include "winhand.h"
#include "wndform.h"

class SWndWatch;

/// Messages from here on are registered by name; entries for them have this number.
inline constexpr UINT kFirstRegisteredMessage = 0xC000;

/// The message that is being dispatched on this thread.
struct SLastMessage {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

class CVCORE_API SWnd : public SCmdTarget {
    S_DECLARE_DYNCREATE(SWnd)
public:
    SWnd() noexcept : m_hWnd(nullptr), m_flags(0), m_oldProc(nullptr), m_watches(nullptr) {}
    SWnd(const SWnd&) = delete;
    SWnd& operator=(const SWnd&) = delete;
    /// Destroys a window that is still attached; its handlers are not called any more then. When it was the application's main
    /// window the loop ends, as it does when that is destroyed.
    ~SWnd() override;

    HWND GetHandle() const { return m_hWnd; }

    // ---- Objects and handles ----

    /// The window's permanent object, its temporary one, or a new temporary one; null for a null handle.
    static SWnd* FromHandle(HWND window);
    /// The permanent object or null.
    static SWnd* FromHandlePermanent(HWND window)
    {
        return window == s_lastFound.handle ? s_lastFound.object : SearchPermanent(window);
    }
    /// Ends all temporary objects. The idle loop calls this while nobody holds an STempMapLock.
    static void DeleteTempMap() noexcept;
    /// Enters the object as the window's. 0 for a null handle. An object that had another window lets that go, as Detach does; a
    /// window that had another object is taken over from it. A temporary object becomes a permanent one, which is the caller's to
    /// delete.
    int Attach(HWND window);
    /// Takes it out again, with our procedure where the window has one of its own; the handle that it had. Where somebody put a
    /// procedure over ours, ours stays and passes on to the window's own.
    HWND Detach() noexcept;
    /// What Attach recorded for diagnostics while the per-user value UseHandleDesc is on: class, title and object. Else empty.
    static SString GetHandleDescription(HWND window);

    // ---- Creating and destroying ----

    /// A window class with our procedure, registered on first use; the name stays good.
    static const wchar_t* RegisterWindowClass(UINT style = 0, HCURSOR cursor = nullptr,
                                              HBRUSH background = nullptr, HICON icon = nullptr);
    /// Creates the window; the object is attached before the first message. `id` is a child's number or a menu. 0 when the
    /// object has a window already, and when the system or a handler refuses (GetLastError tells why); then there is no window,
    /// and where WM_NCDESTROY came (OnCreate answered -1), PostNcDestroy has been called. Throws what a handler threw; then there
    /// is no window either.
    int CreateEx(DWORD exStyle, const wchar_t* className, const wchar_t* title, DWORD style, const RECT& rect,
                 SWnd* parent, UINT_PTR id, void* parameter = nullptr);
    /// 0 without a window. The object may be deleted by this.
    int DestroyWindow();
    /// Attaches the object to a window that exists and puts our procedure in front of its own. 0 when the object has a window or
    /// the window an object, when there is no such window, and for windows of other threads.
    int SubclassWindow(HWND window);
    /// The same for a child by its number.
    int SubclassChild(int id, SWnd* parent);
    /// Puts the window's own procedure back and detaches; null when somebody has put another one in front of ours since.
    HWND UnsubclassWindow();

    // ---- Messages ----

    /// The system's call; throws what the window's handler threw.
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    /// To every window that is below at the start of its turn, each before those in it; with `onlyPermanent` only to those with permanent objects.
    static void SendMessageToDescendants(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                         int deep = TRUE, int onlyPermanent = FALSE);
    /// DefWindowProc with the message that is being dispatched.
    LRESULT Default();
    /// That message.
    static const SLastMessage& GetLastMessage() noexcept;

    virtual int PreTranslateMessage(MSG* message);
    /// Offers a message to its window and to those around it up to `top`; 1 when one took it.
    static int WalkPreTranslateTree(HWND top, MSG* message);

    /// Gives a notification back to the control that sent it; 1 when its own object handled it.
    static int ReflectLastMsg(HWND child, LRESULT* result);
    int SendChildNotifyLastMsg(LRESULT* result);

    /// What a message box of a type answers by default: the button that its default bits name.
    static int GetDefaultMBReturn(UINT type);

protected:
    // In the order in which the dispatch uses them.

    /// The procedure that the window's class would use; null: the system's.
    virtual WNDPROC GetSuperWndProc() const;
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    /// Looks for a handler; 1 when there was one, with its result.
    virtual int OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
    virtual int OnCommand(WPARAM wParam, LPARAM lParam);
    virtual int OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* result);
    virtual LRESULT DefWindowProcW(UINT message, WPARAM wParam, LPARAM lParam);
    /// The last call for a window that has been destroyed; an object of the heap may delete itself here.
    virtual void PostNcDestroy();
    virtual int OnChildNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
    int ReflectChildNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);

    void OnNcDestroy();
    /// Brings the items of a menu that opens up to date; but not those of the window's system menu, and not those that a control
    /// of the system shows for itself.
    LRESULT OnInitMenuPopup(WPARAM menu, LPARAM place);
    /// Gives a message that is about a control (WM_DRAWITEM and its kin, scroll bars) to the control's own object first.
    LRESULT OnReflected(WPARAM wParam, LPARAM lParam);

    S_DECLARE_MESSAGE_MAP()

private:
    friend class SHandleMap<HWND, SWnd>;
    friend class SWndCreation;
    friend class SWndWatch;

    static SLastFound<HWND, SWnd> s_lastFound;
    static SHandleMap<HWND, SWnd>& Map();
    static SWnd* SearchPermanent(HWND window);
    static SWnd* MakeTemporary(HWND window);
    static void EndTemporary(SWnd* window) noexcept;
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    int CallHandler(const SMsgMapEntry& entry, WPARAM wParam, LPARAM lParam, LRESULT* result);
    void Enter(HWND window);
    bool PutProcedure();
    void LeaveMainWindow() noexcept;

    HWND m_hWnd;
    UINT m_flags;
    WNDPROC m_oldProc;
    SWndWatch* m_watches; // calls below which the object must not go unseen
};

// ---- Entries for messages of windows ----

/// A message whose handler is called in a form of SWndForm; its type is SWndFormOf<form>::Type.
#define S_ON_FORM(message, form, fn) S_ON_ANY(message, 0, 0, 0, form, SWndFormOf<form>::Type, fn)
/// LRESULT fn(WPARAM, LPARAM)
#define S_ON_MESSAGE(message, fn) S_ON_FORM(message, SWndForm::kWL, fn)
/// The same for the message whose number stands in the variable (RegisterWindowMessageW).
#define S_ON_REGISTERED_MESSAGE(variable, fn)                                                                \
    S_ON_ANY(kFirstRegisteredMessage, 0, 0, 0,                                                               \
             reinterpret_cast<UINT_PTR>(static_cast<const UINT*>(&(variable))), LRESULT(WPARAM, LPARAM), fn)
#define S_ON_WM_CREATE() S_ON_FORM(WM_CREATE, SWndForm::kL, OnCreate)
#define S_ON_WM_DESTROY() S_ON_FORM(WM_DESTROY, SWndForm::kNothingW, OnDestroy)
#define S_ON_WM_NCDESTROY() S_ON_FORM(WM_NCDESTROY, SWndForm::kNothingW, OnNcDestroy)
#define S_ON_WM_CLOSE() S_ON_FORM(WM_CLOSE, SWndForm::kNothingW, OnClose)
#define S_ON_WM_PAINT() S_ON_FORM(WM_PAINT, SWndForm::kNothingL, OnPaint)
#define S_ON_WM_SIZE() S_ON_FORM(WM_SIZE, SWndForm::kWL, OnSize)
#define S_ON_WM_TIMER() S_ON_FORM(WM_TIMER, SWndForm::kWAnswersL, OnTimer)
#define S_ON_WM_SETFOCUS() S_ON_FORM(WM_SETFOCUS, SWndForm::kWindowWAnswersW, OnSetFocus)
#define S_ON_WM_KILLFOCUS() S_ON_FORM(WM_KILLFOCUS, SWndForm::kWindowWAnswersW, OnKillFocus)
#define S_ON_WM_ERASEBKGND() S_ON_FORM(WM_ERASEBKGND, SWndForm::kW, OnEraseBkgnd)

#endif
