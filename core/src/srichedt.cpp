// srichedt.cpp: the system's rich-edit control.
#include "srichedt.h"

#include "callback.h"
#include "compiler.h"
#include "smemstream.h"
#include "systemlibrary.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

S_IMPLEMENT_DYNCREATE(SRichEditCtrl, SWnd)

S_BEGIN_MESSAGE_MAP(SRichEditCtrl, SWnd)
S_ON_NOTIFY_REFLECT(EN_REQUESTRESIZE, OnRequestResize)
S_END_MESSAGE_MAP()

namespace {

constexpr wchar_t kRtf[] = L"{\\rtf", kUrtf[] = L"{\\urtf";
// Else the control takes no more than what a person would type.
constexpr LPARAM kNoLimit = 0x7FFFFFFE;

const struct {
    const wchar_t* library;
    const wchar_t* windowClass;
} kControls[] = {
    { L"msftedit.dll", L"RICHEDIT50W" },
    { L"riched20.dll", L"RichEdit20W" },
};

// ---- Streams: the system calls these ----

struct Source {
    const char* at;
    size_t left;
};

S_SYSTEM_CALLS DWORD CALLBACK Give(DWORD_PTR cookie, BYTE* room, LONG size, LONG* given)
{
    Source& source = *reinterpret_cast<Source*>(cookie);
    const size_t count = std::min(source.left, static_cast<size_t>(size));
    std::memcpy(room, source.at, count);
    source.at += count;
    source.left -= count;
    *given = static_cast<LONG>(count);
    return 0;
}

S_SYSTEM_CALLS DWORD CALLBACK Take(DWORD_PTR cookie, BYTE* bytes, LONG size, LONG* taken)
{
    *taken = 0;
    return SRunCallback(DWORD{ 1 }, [&]() -> DWORD {
        reinterpret_cast<SOutputGlobal*>(cookie)->Write(bytes, static_cast<unsigned long>(size));
        *taken = size;
        return 0;
    });
}

// ---- Bytes of RTF ----

void ToBytes(const SString& rtf, SOutputGlobal& bytes)
{
    constexpr int kRoom = 1024, kLongestEscape = 8;
    char chunk[kRoom];
    int filled = 0;
    for (const wchar_t c : rtf) {
        if (filled > kRoom - kLongestEscape) {
            bytes.Write(chunk, static_cast<unsigned long>(filled));
            filled = 0;
        }
        char* const at = chunk + filled;
        if (c < 0x80) {
            *at = static_cast<char>(c);
            ++filled;
        } else if (c <= 0xFF) {
            filled += std::snprintf(at, kLongestEscape, "\\'%02x", static_cast<unsigned>(c));
        } else { // the format has numbers of 16 bits with a sign
            filled +=
                std::snprintf(at, kLongestEscape + 1, "\\u%d?", static_cast<int>(static_cast<short>(c)));
        }
    }
    bytes.Write(chunk, static_cast<unsigned long>(filled));
}

SString FromBytes(const SOutputGlobal& bytes)
{
    const unsigned char* const from = static_cast<const unsigned char*>(bytes.GetBytes());
    const int count = static_cast<int>(bytes.GetSize());
    SString text;
    wchar_t* const room = text.LockBuffer(count + 1);
    std::copy(from, from + count, room);
    room[count] = L'\0';
    text.UnlockBuffer();
    return text;
}

} // namespace

const wchar_t* SRichEditCtrl::ControlClass() noexcept
{
    for (const auto& control : kControls) {
        if (LoadFromSystem(control.library))
            return control.windowClass;
    }
    return nullptr;
}

int SRichEditCtrl::IsRtf(const SString& text)
{
    return text.Compare(kRtf, 5) == 0 || text.Compare(kUrtf, 6) == 0;
}

int SRichEditCtrl::Create(DWORD style, const RECT& rect, SWnd* parent, UINT_PTR id)
{
    const wchar_t* const windowClass = ControlClass();
    if (!windowClass || !CreateEx(0, windowClass, nullptr, style, rect, parent, id))
        return FALSE;
    SendMessage(EM_EXLIMITTEXT, 0, kNoLimit);
    return TRUE;
}

// ---- The content ----

int SRichEditCtrl::StreamIn(UINT format, const void* bytes, size_t size)
{
    if (!GetHandle())
        return FALSE;
    Source source = { static_cast<const char*>(bytes), size };
    EDITSTREAM stream = { reinterpret_cast<DWORD_PTR>(&source), 0, Give };
    SendMessage(EM_STREAMIN, format, reinterpret_cast<LPARAM>(&stream));
    return stream.dwError == 0 && source.left == 0;
}

int SRichEditCtrl::SetText(const SString& text)
{
    if (!IsRtf(text))
        return StreamIn(SF_TEXT | SF_UNICODE, text.PszStr(),
                        static_cast<size_t>(text.Length()) * sizeof(wchar_t));
    SOutputGlobal bytes;
    ToBytes(text, bytes);
    return StreamIn(SF_RTF, bytes.GetBytes(), bytes.GetSize());
}

SString SRichEditCtrl::StreamOut(UINT format)
{
    SOutputGlobal bytes;
    if (GetHandle()) {
        EDITSTREAM stream = { reinterpret_cast<DWORD_PTR>(&bytes), 0, Take };
        SendMessage(EM_STREAMOUT, format, reinterpret_cast<LPARAM>(&stream));
    }
    if (!(format & SF_UNICODE))
        return FromBytes(bytes);
    return SString(static_cast<const wchar_t*>(bytes.GetBytes()),
                   static_cast<int>(bytes.GetSize() / sizeof(wchar_t)));
}

SString SRichEditCtrl::GetText()
{
    return StreamOut(SF_TEXT | SF_UNICODE);
}

SString SRichEditCtrl::GetRtf()
{
    return StreamOut(SF_RTF);
}

SString SRichEditCtrl::GetSelRtf()
{
    return StreamOut(SF_RTF | SFF_SELECTION);
}

SString SRichEditCtrl::GetSelText()
{
    const bool isRich = GetHandle() && (SendMessage(EM_GETTEXTMODE) & TM_RICHTEXT) != 0;
    return isRich ? GetSelRtf() : StreamOut(SF_TEXT | SF_UNICODE | SFF_SELECTION);
}

void SRichEditCtrl::SetSel(long first, long last)
{
    CHARRANGE range = { first, last };
    if (GetHandle())
        SendMessage(EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
}

CHARRANGE SRichEditCtrl::GetSel()
{
    CHARRANGE range = { 0, 0 };
    if (GetHandle())
        SendMessage(EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&range));
    return range;
}

// ---- Its size ----

// The control answers by a notification to its parent, which gives it back.
SSize SRichEditCtrl::GetRtfTextSize()
{
    m_asked = SSize();
    if (!GetHandle())
        return m_asked;
    const LRESULT mask = SendMessage(EM_GETEVENTMASK);
    SendMessage(EM_SETEVENTMASK, 0, mask | ENM_REQUESTRESIZE);
    SendMessage(EM_REQUESTRESIZE);
    SendMessage(EM_SETEVENTMASK, 0, mask);
    return m_asked;
}

void SRichEditCtrl::OnRequestResize(NMHDR* header, LRESULT*)
{
    m_asked = SRect(reinterpret_cast<const REQRESIZE*>(header)->rc).Size();
}
