// rtfdoc.cpp: a piece of Rich Text Format and its hidden control.
#include "rtfdoc.h"

#include "describe.h"
#include "excdlg.h"
#include "modstate.h"
#include "winapp.h"

S_IMPLEMENT_DYNAMIC(SRtfDocument, SDlg)

namespace {

constexpr int kHostTemplate = 107;
// Far outside of any screen: laid out, the control has to be shown.
constexpr int kOffScreen = 30000;

constexpr wchar_t kConstruction[] = L"Shared RTF dialog helper construction%s";
constexpr wchar_t kDestruction[] = L"Shared RTF dialog helper destruction%s";

// Whether a document has its control in the shared host.
int g_isHostInUse = 0;

class SharedHost : public SDlg {
    void PostNcDestroy() override { g_isHostInUse = 0; }
};

// Never destroyed: windows do not outlive the process, and the end of a DLL is no time to destroy one.
SDlg& TheHost()
{
    static SDlg* const host = new SharedHost;
    return *host;
}

} // namespace

// ---- Life ----

SRtfDocument::SRtfDocument(SWnd* parent) : m_pParent(parent) {}

SRtfDocument::SRtfDocument(const SString& rtf) : SRtfDocument(static_cast<SWnd*>(nullptr))
{
    if (SRichEditCtrl::IsRtf(rtf))
        SetRtfText(rtf);
}

// By way of another constructor, so that a content that cannot be copied ends in the destructor, which gives the shared host
// back.
SRtfDocument::SRtfDocument(const SRtfDocument& other) : SRtfDocument(other.m_pParent)
{
    CopyContent(other);
}

SRtfDocument& SRtfDocument::operator=(const SRtfDocument& other)
{
    if (this == &other)
        return *this;
    m_pParent = other.m_pParent;
    DeleteEditCtrl();
    CopyContent(other);
    return *this;
}

SRtfDocument::~SRtfDocument()
{
    DeleteEditCtrl();
}

void SRtfDocument::CopyContent(const SRtfDocument& other)
{
    // Reading changes nothing in the other one; the control's members are not const because messages are not.
    if (other.GetEditCtrlHwnd())
        SetRtfText(const_cast<SRtfDocument&>(other).m_edit.GetRtf());
}

// ---- Text surgery ----

int SRtfDocument::ExtractHeader(SString& header, SString& rtf, int remove)
{
    return SRtfText::ExtractHeader(header, rtf, remove);
}

int SRtfDocument::ExtractFontTable(SString& table, SString& rtf, int remove)
{
    return SRtfText::ExtractFontTable(table, rtf, remove);
}

int SRtfDocument::ExtractColorTable(SString& table, SString& rtf, int remove)
{
    return SRtfText::ExtractColorTable(table, rtf, remove);
}

int SRtfDocument::ExtractStyleTable(SString& table, SString& rtf, int remove)
{
    return SRtfText::ExtractStyleTable(table, rtf, remove);
}

int SRtfDocument::ChangeFontAndColor(SString& out, const SString& body, const SRtfNumberMap& fontMap,
                                     const SRtfNumberMap& colorMap, const SRtfNumberMap& styleMap)
{
    return SRtfText::ChangeFontAndColor(out, body, fontMap, colorMap, styleMap);
}

int SRtfDocument::GetNextTag(const wchar_t** tagStart, long* tagLength, const wchar_t* text, int wholeGroup)
{
    return SRtfText::GetNextTag(tagStart, tagLength, text, wholeGroup);
}

int SRtfDocument::SkipSpace(wchar_t** cursor)
{
    return SRtfText::SkipSpace(cursor);
}

int SRtfDocument::RemoveTag(wchar_t* at, long count)
{
    return SRtfText::RemoveTag(at, count);
}

// ---- The control ----

SDlg* SRtfDocument::ChooseHost()
{
    return g_isHostInUse ? this : &TheHost();
}

bool SRtfDocument::CreateHost(SDlg& host)
{
    SWnd* owner = m_pParent;
    if (!owner)
        owner = SWnd::FromHandle(::GetCapture());
    if (!owner && SWinApp::Get())
        owner = SWinApp::Get()->GetMainWnd();
    return host.Create(MAKEINTRESOURCEW(kHostTemplate), owner, SModuleState::CoreInstance());
}

int SRtfDocument::CreateEditCtrl()
{
    if (m_edit.GetHandle())
        return 1;
    SDlg* const host = ChooseHost();
    const bool isShared = host != this;
    if (isShared)
        g_isHostInUse = 1;
    try {
        if (host->GetHandle() || CreateHost(*host))
            m_edit.Create(WS_CHILD | ES_MULTILINE, SRect(), host, 0);
    }
    catch (...) {
        if (isShared)
            g_isHostInUse = 0;
        throw;
    }
    if (isShared && !m_edit.GetHandle())
        g_isHostInUse = 0;
    return m_edit.GetHandle() != nullptr;
}

void SRtfDocument::DeleteEditCtrl()
{
    if (GetHandle()) { // a host of its own, which takes the control along
        DestroyWindow();
    } else if (m_edit.GetHandle()) {
        const bool isShared = ::GetParent(m_edit.GetHandle()) == TheHost().GetHandle();
        m_edit.DestroyWindow();
        if (isShared)
            g_isHostInUse = 0;
    }
}

int SRtfDocument::SetRtfText(const SString& rtf)
{
    if (!CreateEditCtrl())
        return 0;
    if (rtf.IsEmpty())
        return 1;
    const LRESULT mode = m_edit.SendMessage(EM_GETTEXTMODE);
    // The control changes its mode only while it is empty.
    if (!(mode & TM_RICHTEXT))
        m_edit.SetText(SString());
    m_edit.SendMessage(EM_SETTEXTMODE, TM_RICHTEXT);
    m_edit.SetText(rtf);
    return 1;
}

int SRtfDocument::RtfToText(SString* text, const SString& rtf)
{
    if (rtf.IsEmpty()) {
        if (text)
            text->Empty();
        return 1;
    }
    if (!text || !SetRtfText(rtf))
        return 0;
    *text = m_edit.GetText();
    return text->Length() > 0;
}

int SRtfDocument::TextToRtf(SString* rtf, const SString& text)
{
    if (text.IsEmpty()) {
        if (rtf)
            rtf->Empty();
        return 1;
    }
    if (!rtf || !SetRtfText(text))
        return 0;
    *rtf = m_edit.GetRtf();
    return rtf->Length() > 0;
}

long SRtfDocument::GetLength()
{
    m_edit.SetSel(0, -1);
    return m_edit.GetSel().cpMax;
}

SSize SRtfDocument::GetTextExtent(int width, int start, int end)
{
    const SSize unknown(width, 0);
    if (!m_edit.GetHandle())
        return unknown;
    if (start != 0 || end != -1) {
        m_edit.SetSel(start, end);
        SRtfDocument part(m_edit.GetSelText());
        return part.GetTextExtent(width, 0, -1);
    }
    const HWND edit = m_edit.GetHandle();
    ::MoveWindow(edit, kOffScreen, kOffScreen, width, width, TRUE);
    ::ShowWindow(edit, SW_SHOW);
    const SSize size = m_edit.GetRtfTextSize();
    ::ShowWindow(edit, SW_HIDE);
    return size == SSize() ? unknown : size;
}

// ---- The frame's ----

namespace {

template <class Work>
void Reported(unsigned long line, const wchar_t* format, Work work) noexcept
{
    try {
        work();
    }
    catch (...) {
        const SString what = SDescribeCurrentException();
        SExceptionDialog_(__FILE__, line, format, what.PszStr());
    }
}

} // namespace

SRtfDocumentSharedDlgOwner::~SRtfDocumentSharedDlgOwner()
{
    OnFrameDestroyed();
}

int SRtfDocumentSharedDlgOwner::OnFrameCreated(SWnd* frame) noexcept
{
    Reported(__LINE__, kConstruction, [&] {
        SDlg& host = TheHost();
        if (!host.GetHandle())
            m_owns = host.Create(MAKEINTRESOURCEW(kHostTemplate), frame, SModuleState::CoreInstance());
    });
    return TheHost().GetHandle() != nullptr;
}

void SRtfDocumentSharedDlgOwner::OnFrameDestroyed() noexcept
{
    if (!m_owns)
        return;
    m_owns = false;
    Reported(__LINE__, kDestruction, [] { TheHost().DestroyWindow(); });
}
