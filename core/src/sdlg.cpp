// sdlg.cpp: dialogs.
#include "sdlg.h"

#include "callback.h"
#include "winapp.h"
#include "wndcreate.h"

S_IMPLEMENT_DYNCREATE(SDlg, SWnd)

S_BEGIN_MESSAGE_MAP(SDlg, SWnd)
S_ON_COMMAND(IDOK, OnOK)
S_ON_COMMAND(IDCANCEL, OnCancel)
S_END_MESSAGE_MAP()

// Our window procedure stands in front of the dialog's, so only what nobody handled comes here.
__attribute__((force_align_arg_pointer)) INT_PTR CALLBACK SDlg::DialogProc(HWND dialog, UINT message, WPARAM,
                                                                           LPARAM)
{
    if (message != WM_INITDIALOG)
        return FALSE;
    SWnd* const object = SWnd::FromHandlePermanent(dialog);
    return object && SRunCallback(INT_PTR{ FALSE }, [object]() -> INT_PTR {
               return static_cast<SDlg*>(object)->OnInitDialog();
           });
}

int SDlg::Create(const wchar_t* templateName, SWnd* parent, HINSTANCE module)
{
    if (!module)
        module = ::GetModuleHandleW(nullptr);
    const HRSRC found = ::FindResourceW(module, templateName, reinterpret_cast<LPCWSTR>(RT_DIALOG));
    const HGLOBAL loaded = found ? ::LoadResource(module, found) : nullptr;
    return loaded && Create(static_cast<const DLGTEMPLATE*>(::LockResource(loaded)), parent);
}

int SDlg::Create(const DLGTEMPLATE* dialog, SWnd* parent)
{
    if (!dialog || GetHandle())
        return FALSE;
    HWND window;
    {
        const SWndCreation creation(this);
        if (!creation.IsHooked())
            return FALSE;
        window = ::CreateDialogIndirectParamW(::GetModuleHandleW(nullptr), dialog,
                                              parent ? parent->GetHandle() : nullptr, DialogProc, 0);
    }
    if (!window && GetHandle())
        Detach();
    if (window && SIsExceptionParked())
        ::DestroyWindow(window);
    SRethrowParked();
    return window != nullptr;
}

int SDlg::DoModal(const wchar_t* templateName, SWnd* parent, HINSTANCE module)
{
    m_isModal = 1;
    m_ended = 0;
    return Create(templateName, parent, module) ? RunModal(parent) : -1;
}

int SDlg::DoModal(const DLGTEMPLATE* dialog, SWnd* parent)
{
    m_isModal = 1;
    m_ended = 0;
    return Create(dialog, parent) ? RunModal(parent) : -1;
}

namespace {

// The owner rests while the dialog runs. It is enabled again before the dialog goes, or the system would make the window of
// another program the active one.
class Rest {
public:
    explicit Rest(SWnd* owner) : m_owner(owner ? owner->GetHandle() : nullptr)
    {
        m_wasEnabled = m_owner && !::EnableWindow(m_owner, FALSE);
    }
    ~Rest()
    {
        if (m_wasEnabled)
            ::EnableWindow(m_owner, TRUE);
    }
    Rest(const Rest&) = delete;
    Rest& operator=(const Rest&) = delete;

private:
    HWND m_owner;
    bool m_wasEnabled;
};

// One message; false for WM_QUIT, which goes back for the loop outside.
bool Pump(SDlg& dialog)
{
    MSG message;
    if (!::GetMessageW(&message, nullptr, 0, 0)) {
        ::PostQuitMessage(static_cast<int>(message.wParam));
        return false;
    }
    SRethrowParked();
    SWinApp* const app = SWinApp::Get();
    const bool taken = (app && app->PreTranslateMessage(&message)) ||
                       (dialog.GetHandle() && dialog.PreTranslateMessage(&message));
    if (!taken) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    SRethrowParked();
    return true;
}

} // namespace

int SDlg::RunModal(SWnd* parent)
{
    int result = -1;
    try {
        const Rest rest(parent);
        ::ShowWindow(GetHandle(), SW_SHOW);
        while (!m_ended && GetHandle() && Pump(*this)) {}
        if (m_ended)
            result = m_result;
    }
    catch (...) {
        DestroyWindow();
        throw;
    }
    m_isModal = 0;
    DestroyWindow();
    return result;
}

void SDlg::EndDialog(int result)
{
    m_result = result;
    m_ended = 1;
    if (!m_isModal)
        DestroyWindow();
    else
        ::PostMessageW(GetHandle(), WM_NULL, 0, 0); // so that the loop looks
}

int SDlg::PreTranslateMessage(MSG* message)
{
    const int taken = ::IsDialogMessageW(GetHandle(), message);
    SRethrowParked();
    return taken;
}

int SDlg::OnInitDialog()
{
    return TRUE;
}

void SDlg::OnOK()
{
    EndDialog(IDOK);
}

void SDlg::OnCancel()
{
    EndDialog(IDCANCEL);
}
