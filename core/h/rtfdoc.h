// rtfdoc.h: SRtfDocument, a piece of Rich Text Format: what the text surgery does with it, and what the system's rich-edit
// control knows about it.
//
//     SRtfDocument document(frame);
//     SString plain;
//     if (document.RtfToText(&plain, rtf))
//         Index(plain);
//     const SSize size = document.GetTextExtent(400, 0, -1);       // pixels
//
// The control lives in a hidden dialog. One such host is shared: the first document that needs a control takes it, a further
// one makes a host of its own. The control lives from the first call that needs it until DeleteEditCtrl, or until its document
// or the window that owns the host ends.
//
// Value    a copy has the same parent and, when the other one has a control, a control with the same content.
// Threads  the user-interface thread.
// Failure  members with a control answer 0, an empty text or size when none could be made. SEOutOfMemory is thrown where a text
//          cannot be held.
#ifndef RTFDOC_H
#define RTFDOC_H

#include "rtftables.h"
#include "rtftext.h"
#include "sdlg.h"
#include "srichedt.h"

class CVCORE_API SRtfDocument : public SDlg {
    S_DECLARE_DYNAMIC(SRtfDocument)
public:
    /// Nothing in it yet. `parent` is the window that owns a host; null: the one that has the mouse, else the main window.
    explicit SRtfDocument(SWnd* parent = nullptr);
    /// Without a parent; loads a text that begins with "{\rtf" or "{\urtf", and no other.
    explicit SRtfDocument(const SString& rtf);
    SRtfDocument(const SRtfDocument& other);
    SRtfDocument& operator=(const SRtfDocument& other);
    ~SRtfDocument() override;

    // ---- Text surgery: as the members of SRtfText, which see ----

    static int ExtractHeader(SString& header, SString& rtf, int remove);
    static int ExtractFontTable(SString& table, SString& rtf, int remove);
    static int ExtractColorTable(SString& table, SString& rtf, int remove);
    static int ExtractStyleTable(SString& table, SString& rtf, int remove);
    static int ChangeFontAndColor(SString& out, const SString& body, const SRtfNumberMap& fontMap,
                                  const SRtfNumberMap& colorMap, const SRtfNumberMap& styleMap);
    static int GetNextTag(const wchar_t** tagStart, long* tagLength, const wchar_t* text, int wholeGroup);
    static int SkipSpace(wchar_t** cursor);
    static int RemoveTag(wchar_t* at, long count);

    // ---- The control ----

    /// Makes the control unless it is there; whether it is.
    int CreateEditCtrl();
    void DeleteEditCtrl();
    SRichEditCtrl& GetEditCtrl() { return m_edit; }
    HWND GetEditCtrlHwnd() const { return m_edit.GetHandle(); }

    /// Loads a text, plain or RTF. 1 for an empty one, which changes nothing; 0 without a control.
    int SetRtfText(const SString& rtf);
    /// `rtf`, loaded, as plain text; whether there is any. An empty `rtf` gives an empty text and 1. 0 for a null `text`.
    int RtfToText(SString* text, const SString& rtf);
    /// The other way round.
    int TextToRtf(SString* rtf, const SString& text);
    /// How many characters the content has; the end of its last paragraph counts.
    long GetLength();
    /// How large the content is when it is laid out in `width` pixels: all of it for (0, -1), else the characters from `start` to
    /// `end`. (width, 0) when that cannot be told.
    SSize GetTextExtent(int width, int start, int end);

private:
    SDlg* ChooseHost();
    bool CreateHost(SDlg& host);
    void CopyContent(const SRtfDocument& other);

    SRichEditCtrl m_edit;
    SWnd* m_pParent;
};

/// Owns the shared host on behalf of an application's frame: made when the frame is, and gone with it. Without one, the host
/// is made by the first document that needs it and goes with the window that owns it. Problems go to the exception dialog.
class CVCORE_API SRtfDocumentSharedDlgOwner {
public:
    SRtfDocumentSharedDlgOwner() noexcept = default;
    ~SRtfDocumentSharedDlgOwner();
    SRtfDocumentSharedDlgOwner(const SRtfDocumentSharedDlgOwner&) = delete;
    SRtfDocumentSharedDlgOwner& operator=(const SRtfDocumentSharedDlgOwner&) = delete;

    /// Makes the host, owned by the frame; 1 when it is there afterwards.
    int OnFrameCreated(SWnd* frame) noexcept;
    /// Ends it; a document that has its control there loses it.
    void OnFrameDestroyed() noexcept;

private:
    bool m_owns = false;
};

#endif
