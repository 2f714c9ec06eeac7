// rtftext.cpp: tags, header and tables of RTF text.
#include "rtftext.h"

#include "rtftags.h"
#include "strbuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

using RtfTags::Cursor;
using RtfTags::Tag;

namespace {

constexpr std::wstring_view kRtf = L"{\\rtf";
constexpr std::wstring_view kUnicodeRtf = L"{\\urtf";
constexpr int kHeaderTags = 6;

bool BeginsWith(const SString& text, std::wstring_view prefix)
{
    return static_cast<std::wstring_view>(text).substr(0, prefix.size()) == prefix;
}

bool IsHeaderTag(const Tag& tag)
{
    const std::wstring_view text = tag.Text();
    return text == L"\\rtf1" || text == L"\\ansi" || text == L"\\deff0" || tag.BeginsWith(L"\\ansicpg") ||
           tag.BeginsWith(L"\\deflang"); // and with that \deflangfe
}

// What is left of a text when tags are taken out, put together from the stretches between them.
class Remainder {
public:
    explicit Remainder(const SString& text) : m_kept(text), m_end(m_kept + text.Length()) {}

    void Cut(const Tag& tag)
    {
        m_text.Append(m_kept, static_cast<int>(tag.start - m_kept));
        m_kept = tag.end;
    }
    SString Take()
    {
        m_text.Append(m_kept, static_cast<int>(m_end - m_kept));
        return m_text.Detach();
    }
    /// Cuts off the white space at the end and then one closing brace.
    void CutClosingBrace()
    {
        while (m_end > m_kept && RtfTags::IsSpace(m_end[-1]))
            --m_end;
        if (m_end > m_kept && m_end[-1] == L'}')
            --m_end;
    }

private:
    SStringBuffer m_text;
    const wchar_t* m_kept;
    const wchar_t* m_end;
};

int ExtractTable(SString& table, SString& rtf, int remove, std::wstring_view opening)
{
    // `table` may be `rtf`.
    SString found, rest(rtf);
    Cursor cursor(rest);
    if (BeginsWith(rest, kRtf))
        cursor.Next();
    for (Tag tag = cursor.Next(RtfTags::kWholeGroup); !tag.IsEmpty();
         tag = cursor.Next(RtfTags::kWholeGroup)) {
        if (!tag.BeginsWith(opening))
            continue;
        found = tag.TrimRight().ToString();
        if (remove) {
            Remainder remainder(rest);
            remainder.Cut(tag);
            rest = remainder.Take();
        }
        break;
    }
    rtf.swap(rest);
    table.swap(found);
    return 1;
}

} // namespace

// ---- Tags ----

int SRtfText::GetNextTag(const wchar_t** tagStart, long* tagLength, const wchar_t* text, int wholeGroup)
{
    if (!tagStart || !tagLength || !text)
        return 0;
    *tagStart = nullptr;
    *tagLength = 0;
    const Tag tag =
        RtfTags::TagAt(text, RtfTags::ToNul(), wholeGroup ? RtfTags::kWholeGroup : RtfTags::kBrace);
    *tagStart = tag.start;
    *tagLength = tag.Length();
    return tag.IsEmpty() ? 0 : 1;
}

int SRtfText::SkipSpace(wchar_t** cursor)
{
    if (!cursor)
        return 0;
    while (*cursor && RtfTags::IsSpace(**cursor))
        ++*cursor;
    return 1;
}

int SRtfText::RemoveTag(wchar_t* at, long count)
{
    if (!at || count <= 0)
        return 0;
    const size_t length = SSafeStrLen(at);
    if (static_cast<size_t>(count) < length)
        std::memmove(at, at + count, (length - count + 1) * sizeof(wchar_t));
    else
        *at = L'\0';
    return 1;
}

// ---- Parts ----

int SRtfText::ExtractHeader(SString& header, SString& rtf, int remove)
{
    SString rest(rtf); // `header` may be `rtf`
    if (!BeginsWith(rest, kRtf) && !BeginsWith(rest, kUnicodeRtf)) {
        header.Empty();
        return 1;
    }

    SString found(L"{");
    Remainder remainder(rest);
    Cursor cursor(rest);
    remainder.Cut(cursor.Next());
    for (int i = 0; i < kHeaderTags; ++i) {
        const Tag tag = cursor.Next();
        if (tag.IsEmpty())
            break;
        const Tag trimmed = tag.TrimRight();
        if (!IsHeaderTag(trimmed))
            continue;
        found.Append(trimmed.start, trimmed.Length());
        remainder.Cut(tag);
    }
    if (remove) {
        remainder.CutClosingBrace();
        rest = remainder.Take();
    }
    rtf.swap(rest);
    header.swap(found);
    return 1;
}

int SRtfText::ExtractFontTable(SString& table, SString& rtf, int remove)
{
    return ExtractTable(table, rtf, remove, L"{\\fonttbl");
}

int SRtfText::ExtractColorTable(SString& table, SString& rtf, int remove)
{
    return ExtractTable(table, rtf, remove, L"{\\colortbl");
}

int SRtfText::ExtractStyleTable(SString& table, SString& rtf, int remove)
{
    return ExtractTable(table, rtf, remove, L"{\\stylesheet");
}
