// srichedt.h: SRichEditCtrl, the system's rich-edit control.
//
//     SRichEditCtrl edit;
//     if (edit.Create(WS_CHILD | WS_VISIBLE | ES_MULTILINE, rect, frame, kEdit) && edit.SetText(rtf))
//         Show(edit.GetText());
//
// The control is that of msftedit.dll, or of riched20.dll where that is missing, loaded from the system's folder on first use.
//
// Text     goes in and out as a stream, whatever its length. A text that begins with "{\rtf" or "{\urtf" is Rich Text Format, any
//          other one is plain. RTF is made of bytes: of an SString that holds it the characters 0x80 to 0xFF go to the control as
//          "\'xx", those above as "\uN?". What comes out has one character a byte, all below 0x80.
// Lines    plain text comes out with CR LF between its lines.
// Threads  the user-interface thread.
// Failure  without a window every member answers 0 or an empty text. SEOutOfMemory is thrown where a text cannot be held; a text
//          that is being set is then in the control up to there.
#ifndef SRICHEDT_H
#define SRICHEDT_H

#include "sgeom.h"
#include "window.h"

#include <richedit.h>

class CVCORE_API SRichEditCtrl : public SWnd {
    S_DECLARE_DYNCREATE(SRichEditCtrl)
public:
    /// The name of the control's window class; null when the system has none.
    static const wchar_t* ControlClass() noexcept;
    /// Whether a text is taken for Rich Text Format: by its first five or six characters.
    static int IsRtf(const SString& text);

    /// Makes the control in a window of ours. 0 when the system has none or refuses.
    int Create(DWORD style, const RECT& rect, SWnd* parent, UINT_PTR id);

    /// Replaces the content. 0 when the control did not take all of it.
    int SetText(const SString& text);
    /// The content without its formatting.
    SString GetText();
    /// The content, or what of it is selected, as Rich Text Format.
    SString GetRtf();
    SString GetSelRtf();
    /// What is selected: as Rich Text Format while the control is in rich-text mode, else plain.
    SString GetSelText();

    /// Selects characters; (0, -1) is all of them.
    void SetSel(long first, long last);
    CHARRANGE GetSel();

    /// How large the content is, laid out in the control's width, in pixels; (0, 0) when the control does not tell.
    SSize GetRtfTextSize();

protected:
    void OnRequestResize(NMHDR* header, LRESULT* result);
    S_DECLARE_MESSAGE_MAP()

private:
    SString StreamOut(UINT format);
    int StreamIn(UINT format, const void* bytes, size_t size);

    SSize m_asked; // what the control answered last
};

#endif
