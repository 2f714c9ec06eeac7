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

class SMenu;

/// How OnWndMsg calls a handler, by the forms that entries name. W and L are wParam and lParam, "window" and "menu" are
/// objects made by FromHandle, lo and hi are halves, slo and shi signed ones.
namespace SWndForm {
enum : UINT_PTR {
    kWindowW = 1,             // LRESULT (SWnd*)
    kW = 2,                   // LRESULT (WPARAM)
    kWindowWHalvesL = 3,      // LRESULT (SWnd*, UINT lo L, UINT hi L)
    kWindowWWindowL = 5,      // LRESULT (SWnd*, SWnd*)
    kLoWWindowLHiW = 8,       // LRESULT (UINT lo W, SWnd*, UINT hi W)
    kHalvesW = 9,             // LRESULT (UINT lo W, UINT hi W)
    kL = 11,                  // LRESULT (LPARAM)
    kWL = 12,                 // LRESULT (WPARAM, LPARAM)
    kHalvesWMenuL = 13,       // LRESULT (UINT, UINT, SMenu*)
    kNothing = 14,            // LRESULT ()
    kNothingObject = 15,      // void (); answers the object's address
    kNothingW = 16,           // void (); answers W
    kWAnswersL = 17,          // void (WPARAM); answers L
    kLoLAnswersHiL = 18,      // void (UINT lo L); answers hi L
    kWLoLAnswersHiL = 19,     // void (WPARAM, UINT lo L); answers hi L
    kActivate = 22,           // void (int isThis, SWnd* from L, SWnd* from W); answers W
    kWindowWAnswersW = 23,    // void (SWnd*); answers W
    kMenuWAnswersW = 24,      // void (SMenu*); answers W
    kMenuWWLoL = 25,          // void (SMenu*, WPARAM, UINT lo L); answers hi L
    kWindowWHalvesLVoid = 27, // void (SWnd*, UINT lo L, UINT hi L); answers W
    kWindowWSignedL = 28,     // void (SWnd*, int slo L, int shi L); answers W
    kWindowWL = 29,           // void (SWnd*, LPARAM); answers W
    kWWindowL = 30,           // void (WPARAM, SWnd*); answers L
    kLoWWindowLHiWVoid = 31,  // void (UINT lo W, SWnd*, UINT hi W); answers L
    kSloWZeroWindowL = 32,    // void (int slo W, UINT 0, SWnd*); answers L
    kSloW = 33,               // void (int slo W); answers shi W
    kNothingL = 34,           // void (); answers L
    kWLAnswers1 = 35,         // void (WPARAM, LPARAM); answers 1
    kSignedL = 37,            // LRESULT (int slo L, int shi L)
    kLDecides = 45,           // LRESULT (LPARAM); 0: not handled
    kWindowL = 47,            // void (SWnd* from L); answers L
    kHalvesDecide = 48,       // LRESULT (UINT lo W, UINT hi W, UINT lo L, UINT hi L); 0: not handled
    kHalvesWAnswersL = 53,    // void (UINT lo W, UINT hi W); answers L
    kWSloL = 54               // void (WPARAM, int slo L); answers shi L
};
}

/// The message that is being dispatched on this thread.
struct SLastMessage {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

class CVCORE_API SWnd : public SCmdTarget {
    S_DECLARE_DYNCREATE(SWnd)
public:
    SWnd() noexcept : m_hWnd(nullptr), m_flags(0), m_oldProc(nullptr) {}
    SWnd(const SWnd&) = delete;
    SWnd& operator=(const SWnd&) = delete;
    /// Destroys a window that is still attached; handlers of derived classes are not called any more then.
    ~SWnd() override;

    HWND GetHandle() const { return m_hWnd; }

    // ---- Objects and handles ----

    /// The window's permanent object, its temporary one, or a new temporary one; null for a null handle.
    static SWnd* FromHandle(HWND window);
    /// The permanent object or null.
    static SWnd* FromHandlePermanent(HWND window);
    /// Ends all temporary objects. The idle loop calls this while nobody holds an STempMapLock.
    static void DeleteTempMap() noexcept;
    /// Enters the object as the window's. 0 for a null handle.
    int Attach(HWND window);
    /// Takes it out again, with our procedure where the window has one of its own; the handle that it had.
    HWND Detach() noexcept;
    /// What Attach recorded for diagnostics while the per-user value UseHandleDesc is on: class, title and object. Else empty.
    static SString GetHandleDescription(HWND window);

    // ---- Creating and destroying ----

    /// A window class with our procedure, registered on first use; the name stays good.
    static const wchar_t* RegisterWindowClass(UINT style = 0, HCURSOR cursor = nullptr,
                                              HBRUSH background = nullptr, HICON icon = nullptr);
    /// Creates the window; the object is attached before the first message. `id` is a child's number or a menu. 0 when the
    /// system refuses (GetLastError tells why); then the object is not attached. Throws what a handler threw.
    int CreateEx(DWORD exStyle, const wchar_t* className, const wchar_t* title, DWORD style, const RECT& rect,
                 SWnd* parent, UINT_PTR id, void* parameter = nullptr);
    /// 0 without a window. The object may be deleted by this.
    int DestroyWindow();
    /// Attaches the object to a window that exists and puts our procedure in front of its own. 0 when it cannot.
    int SubclassWindow(HWND window);
    /// The same for a child by its number.
    int SubclassChild(int id, SWnd* parent);
    /// Puts the window's own procedure back and detaches; null when somebody has put another one in front of ours since.
    HWND UnsubclassWindow();

    // ---- Messages ----

    /// The system's call; throws what the window's handler threw.
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    /// To every window below, each before those in it; with `onlyPermanent` only to those with permanent objects.
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
    /// Brings the items of a menu that opens up to date.
    LRESULT OnInitMenuPopup(WPARAM menu, LPARAM place);

    S_DECLARE_MESSAGE_MAP()

private:
    friend class SHandleMap<HWND, SWnd>;
    friend class SWndCreation;

    static SWnd* MakeTemporary(HWND window);
    static void EndTemporary(SWnd* window) noexcept;
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    int CallHandler(const SMsgMapEntry& entry, WPARAM wParam, LPARAM lParam, LRESULT* result);
    void PutProcedure();

    HWND m_hWnd;
    UINT m_flags;
    WNDPROC m_oldProc;
};

// ---- Entries for messages of windows ----

#define S_ON_FORM(message, form, Type, fn) S_ON_ANY(message, 0, 0, 0, form, Type, fn)
/// LRESULT fn(WPARAM, LPARAM)
#define S_ON_MESSAGE(message, fn) S_ON_FORM(message, SWndForm::kWL, LRESULT(WPARAM, LPARAM), fn)
/// The same for the message whose number stands in the variable (RegisterWindowMessageW).
#define S_ON_REGISTERED_MESSAGE(variable, fn)                                                                \
    S_ON_ANY(0xC000, 0, 0, 0, reinterpret_cast<UINT_PTR>(static_cast<const UINT*>(&(variable))),             \
             LRESULT(WPARAM, LPARAM), fn)
#define S_ON_WM_CREATE() S_ON_FORM(WM_CREATE, SWndForm::kL, LRESULT(LPARAM), OnCreate)
#define S_ON_WM_DESTROY() S_ON_FORM(WM_DESTROY, SWndForm::kNothingW, void(), OnDestroy)
#define S_ON_WM_NCDESTROY() S_ON_FORM(WM_NCDESTROY, SWndForm::kNothingW, void(), OnNcDestroy)
#define S_ON_WM_CLOSE() S_ON_FORM(WM_CLOSE, SWndForm::kNothingW, void(), OnClose)
#define S_ON_WM_PAINT() S_ON_FORM(WM_PAINT, SWndForm::kNothingL, void(), OnPaint)
#define S_ON_WM_SIZE() S_ON_FORM(WM_SIZE, SWndForm::kWL, LRESULT(WPARAM, LPARAM), OnSize)
#define S_ON_WM_TIMER() S_ON_FORM(WM_TIMER, SWndForm::kWAnswersL, void(WPARAM), OnTimer)
#define S_ON_WM_SETFOCUS() S_ON_FORM(WM_SETFOCUS, SWndForm::kWindowWAnswersW, void(SWnd*), OnSetFocus)
#define S_ON_WM_KILLFOCUS() S_ON_FORM(WM_KILLFOCUS, SWndForm::kWindowWAnswersW, void(SWnd*), OnKillFocus)
#define S_ON_WM_ERASEBKGND() S_ON_FORM(WM_ERASEBKGND, SWndForm::kW, LRESULT(WPARAM), OnEraseBkgnd)

#endif
