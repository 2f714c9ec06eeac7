// wndcreate.cpp: an object for a window that is being created.
#include "wndcreate.h"

#include "callback.h"

#include <utility>

SWndCreation* SWndCreation::s_current = nullptr;

__attribute__((force_align_arg_pointer)) LRESULT CALLBACK SWndCreation::OnEvent(int code, WPARAM wParam,
                                                                                LPARAM lParam)
{
    SWndCreation* const current = s_current;
    if (code == HCBT_CREATEWND && current && current->m_window) {
        SWnd* const window = std::exchange(current->m_window, nullptr);
        const LRESULT refused = SRunCallback(LRESULT{ 1 }, [&]() -> LRESULT {
            window->Attach(reinterpret_cast<HWND>(wParam));
            window->PutProcedure();
            return 0;
        });
        if (refused)
            return refused;
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}
