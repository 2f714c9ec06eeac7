// modalst.h: SModalState, while the program waits for one window and lets the others rest.
//
// Threads  the user-interface thread.
#ifndef MODALST_H
#define MODALST_H

#include "cvbase.h"

/// The current one is the one that was made last. While its enabled field is 0, the message pump drops what is meant for
/// the owner window, but for the messages that keep it painted and alive.
class CVCORE_API SModalState {
public:
    /// A null owner stands for the application's (SWinApp::GetOwnerWnd).
    explicit SModalState(HWND owner, int enabled = 0) noexcept;
    ~SModalState();
    SModalState(const SModalState&) = delete;
    SModalState& operator=(const SModalState&) = delete;

    static SModalState* GetCurrent() noexcept;
    HWND GetOwnerWnd() const { return m_owner; }
    int IsEnabled() const { return m_enabled; }
    void SetEnabled(int enabled) { m_enabled = enabled; }

private:
    HWND m_owner;
    int m_enabled;
    SModalState* m_before;
};

#endif
