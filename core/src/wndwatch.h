// wndwatch.h: whether a window object is still there after a call that may have deleted it.
#ifndef WNDWATCH_H
#define WNDWATCH_H

#include "window.h"

class SWndWatch {
public:
    explicit SWndWatch(SWnd* window) noexcept : m_window(window), m_before(window->m_watches)
    {
        window->m_watches = this;
    }
    ~SWndWatch()
    {
        if (m_window)
            m_window->m_watches = m_before;
    }
    SWndWatch(const SWndWatch&) = delete;
    SWndWatch& operator=(const SWndWatch&) = delete;

    bool IsAlive() const { return m_window != nullptr; }

    /// For the object's destructor.
    static void EndAll(SWnd* window) noexcept
    {
        for (SWndWatch* watch = window->m_watches; watch; watch = watch->m_before)
            watch->m_window = nullptr;
    }

private:
    SWnd* m_window;
    SWndWatch* m_before; // of the same object, farther out on the stack
};

#endif
