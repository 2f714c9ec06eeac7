// sdlg.cpp: dialogs.
#include "sdlg.h"

#include "callback.h"
#include "compiler.h"
#include "winapp.h"
#include "wndcreate.h"
#include "wndwatch.h"

S_IMPLEMENT_DYNCREATE(SDlg, SWnd)

S_BEGIN_MESSAGE_MAP(SDlg, SWnd)
S_ON_COMMAND(IDOK, OnOK)
S_ON_COMMAND(IDCANCEL, OnCancel)
S_END_MESSAGE_MAP()

// Our window procedure stands in front of the dialog's, so only what nobody handled comes here.
S_SYSTEM_CALLS INT_PTR CALLBACK SDlg::DialogProc(HWND dialog, UINT message, WPARAM, LPARAM)
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
    SRethrowParked(); // what is parked behind the call is then the dialog's own
    const SWndWatch watch(this);
    HWND window;
    {
        const SWndCreation creation(this);
        if (!creation.IsHooked())
            return FALSE;
        window = ::CreateDialogIndirectParamW(::GetModuleHandleW(nullptr), dialog,
                                              parent ? parent->GetHandle() : nullptr, DialogProc, 0);
    }
    SWndCreation::Settle(watch.IsAlive() ? this : nullptr, window);
    return window != nullptr;
}

// What a modal run ends with. It lies outside the object, which may delete itself when its window goes.
struct SDlg::Outcome {
    int result = -1;
    bool ended = false;
};

template <class Make>
int SDlg::DoModalWith(SWnd* parent, Make make)
{
    if (GetHandle())
        return -1;
    Outcome outcome;
    const SWndWatch watch(this);
    struct Modal {
        SDlg& dialog;
        const SWndWatch& watch;
        ~Modal()
        {
            if (watch.IsAlive())
                dialog.m_outcome = nullptr;
        }
    } const modal{ *this, watch };
    m_outcome = &outcome;
    return make() ? RunModal(parent, outcome) : -1;
}

int SDlg::DoModal(const wchar_t* templateName, SWnd* parent, HINSTANCE module)
{
    return DoModalWith(parent, [&] { return Create(templateName, parent, module); });
}

int SDlg::DoModal(const DLGTEMPLATE* dialog, SWnd* parent)
{
    return DoModalWith(parent, [&] { return Create(dialog, parent); });
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
bool Pump(SDlg& dialog, const SWndWatch& watch)
{
    SRethrowParked();
    MSG message;
    if (!::GetMessageW(&message, nullptr, 0, 0)) {
        ::PostQuitMessage(static_cast<int>(message.wParam));
        SRethrowParked();
        return false;
    }
    SWinApp* const app = SWinApp::Get();
    const bool taken = (app && app->PreTranslateMessage(&message)) ||
                       (watch.IsAlive() && dialog.GetHandle() && dialog.PreTranslateMessage(&message));
    if (!taken) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    SRethrowParked();
    return true;
}

} // namespace

int SDlg::RunModal(SWnd* parent, const Outcome& outcome)
{
    const SWndWatch watch(this);
    try {
        const Rest rest(parent);
        ::ShowWindow(GetHandle(), SW_SHOW);
        while (!outcome.ended && watch.IsAlive() && GetHandle() && Pump(*this, watch)) {}
    }
    catch (...) {
        if (watch.IsAlive() && GetHandle())
            ::DestroyWindow(GetHandle());
        SDropParked(); // the first exception is the one that counts
        throw;
    }
    if (watch.IsAlive())
        DestroyWindow();
    return outcome.result;
}

void SDlg::EndDialog(int result)
{
    if (!m_outcome) {
        DestroyWindow();
        return;
    }
    m_outcome->result = result;
    m_outcome->ended = true;
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
