// wndcreate.cpp: an object for a window that is being created.
#include "wndcreate.h"

#include "callback.h"
#include "compiler.h"
#include "handledesc.h"

#include <utility>

SWndCreation* SWndCreation::s_current = nullptr;

S_SYSTEM_CALLS LRESULT CALLBACK SWndCreation::OnEvent(int code, WPARAM wParam, LPARAM lParam)
{
    SWndCreation* const current = s_current;
    if (code == HCBT_CREATEWND && current && current->m_window) {
        SWnd* const window = std::exchange(current->m_window, nullptr);
        const LRESULT refused = SRunCallback(LRESULT{ 1 }, [&]() -> LRESULT {
            const HWND created = reinterpret_cast<HWND>(wParam);
            window->Enter(created);
            // Asking the window for its title would be its first message.
            const wchar_t* const title = reinterpret_cast<const CBT_CREATEWNDW*>(lParam)->lpcs->lpszName;
            DescribeHandle(created, window->GetClassInfo(), IS_INTRESOURCE(title) ? L"" : title);
            return window->PutProcedure() ? 0 : 1;
        });
        if (refused)
            return refused;
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

void SWndCreation::Settle(SWnd* object, HWND window)
{
    if (!window && object && object->m_hWnd)
        object->Detach(); // the system has taken the window away without a last message
    if (!SIsExceptionParked())
        return;
    if (window)
        ::DestroyWindow(window);
    SRethrowParked();
}
