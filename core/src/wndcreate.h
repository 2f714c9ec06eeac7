// wndcreate.h: an object for a window that is being created.
#ifndef WNDCREATE_H
#define WNDCREATE_H

#include "window.h"

/// While one lives, the first window that this thread creates gets the object attached before its first message.
class SWndCreation {
public:
    explicit SWndCreation(SWnd* window)
        : m_before(s_current),
          m_window(window),
          m_hook(::SetWindowsHookExW(WH_CBT, OnEvent, nullptr, ::GetCurrentThreadId()))
    {
        s_current = this;
    }
    ~SWndCreation()
    {
        s_current = m_before;
        if (m_hook)
            ::UnhookWindowsHookEx(m_hook);
    }
    SWndCreation(const SWndCreation&) = delete;
    SWndCreation& operator=(const SWndCreation&) = delete;

    bool IsHooked() const { return m_hook != nullptr; }

    /// After the system's call: a window that was not made leaves no handle in the object (null when that is gone), and one
    /// whose handlers threw is destroyed. Throws what is parked.
    static void Settle(SWnd* object, HWND window);

private:
    static LRESULT CALLBACK OnEvent(int code, WPARAM wParam, LPARAM lParam);

    static SWndCreation* s_current;
    SWndCreation* m_before;
    SWnd* m_window;
    HHOOK m_hook;
};

#endif
