// winprint.cpp: the application's printer.
#include "winapp.h"

#include "callback.h"
#include "systemlibrary.h"

// The system frees or replaces the handles that it is given, so what comes back is the truth.
int SWinApp::AskPrintDialog(PRINTDLGW* dialog)
{
    const auto ask = FindInSystem<BOOL WINAPI(PRINTDLGW*)>(L"comdlg32.dll", "PrintDlgW");
    if (!ask)
        return FALSE;
    dialog->lStructSize = sizeof *dialog;
    dialog->hDevMode = m_printerMode;
    dialog->hDevNames = m_printerNames;
    const int done = ask(dialog);
    m_printerMode = dialog->hDevMode;
    m_printerNames = dialog->hDevNames;
    SRethrowParked(); // the dialog runs a loop of its own
    return done != FALSE;
}

int SWinApp::UpdatePrinterSelection(int force)
{
    if (m_printerNames && !force)
        return TRUE;
    m_printerMode = ::GlobalFree(m_printerMode);
    m_printerNames = ::GlobalFree(m_printerNames);
    PRINTDLGW dialog = {};
    dialog.Flags = PD_RETURNDEFAULT;
    return AskPrintDialog(&dialog) && m_printerNames;
}

int SWinApp::GetPrinterDeviceDefaults(PRINTDLGW* dialog)
{
    const int known = UpdatePrinterSelection(FALSE);
    dialog->hDevMode = m_printerMode;
    dialog->hDevNames = m_printerNames;
    return known;
}

int SWinApp::DoPrintDialog(PRINTDLGW* dialog)
{
    UpdatePrinterSelection(FALSE);
    if (!dialog->hwndOwner && GetOwnerWnd())
        dialog->hwndOwner = GetOwnerWnd()->GetHandle();
    return AskPrintDialog(dialog);
}
