// sdlg.h: SDlg, a dialog made of a template.
//
//     class Ask : public SDlg {
//         int OnInitDialog() override { ... return 1; }
//         void OnOK() override { ... SDlg::OnOK(); }
//     };
//     if (Ask().DoModal(MAKEINTRESOURCEW(107), frame) == IDOK) ...
//
// Threads  the user-interface thread.
// Failure  what a handler throws comes out of Create or DoModal; the dialog is gone then.
#ifndef SDLG_H
#define SDLG_H

#include "window.h"

class CVCORE_API SDlg : public SWnd {
    S_DECLARE_DYNCREATE(SDlg)
public:
    SDlg() noexcept : m_outcome(nullptr) {}

    /// Makes the dialog without waiting for it. The template is a resource of `module` (null: the program), or stands in
    /// memory. 0 when the system refuses.
    int Create(const wchar_t* templateName, SWnd* parent, HINSTANCE module = nullptr);
    int Create(const DLGTEMPLATE* dialog, SWnd* parent);
    /// Makes it, disables the parent, and runs until EndDialog; what that was given, or -1 when there was no dialog, or the
    /// program is to end (the WM_QUIT stays in the queue). The object may be deleted in PostNcDestroy.
    int DoModal(const wchar_t* templateName, SWnd* parent, HINSTANCE module = nullptr);
    int DoModal(const DLGTEMPLATE* dialog, SWnd* parent);
    /// Ends a modal dialog with a result; a modeless one is destroyed.
    void EndDialog(int result);

    /// Keys that move about in a dialog are the dialog's.
    int PreTranslateMessage(MSG* message) override;

protected:
    /// Before the dialog is shown; not 0 lets the system choose who has the focus.
    virtual int OnInitDialog();
    /// IDOK and IDCANCEL; each ends the dialog with its id.
    virtual void OnOK();
    virtual void OnCancel();

    S_DECLARE_MESSAGE_MAP()

private:
    static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
    struct Outcome;
    int RunModal(SWnd* parent, const Outcome& outcome);
    template <class Make>
    int DoModalWith(SWnd* parent, Make make);

    Outcome* m_outcome; // of the modal run; null for a modeless dialog
};

#endif
