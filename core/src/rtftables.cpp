// rtftables.cpp: entries and tables of RTF documents.
#include "rtftables.h"

#include "crash.h"
#include "describe.h"
#include "excdlg.h"
#include "rtfcolors.h"
#include "rtfindex.h"
#include "rtftags.h"
#include "strbuffer.h"

#include <utility>

using RtfTags::Cursor;
using RtfTags::Tag;

namespace {

constexpr wchar_t kClosing[] = L"}\r\n";
constexpr wchar_t kLineEnd[] = L"\r\n";
constexpr int kShortestName = 2; // with its ";"

// What clients know the reports of the three Add members by.
constexpr char kReportSource[] = "core/src/rtfdoc.cpp";
constexpr unsigned long kFontLine = 271, kColorLine = 462, kStyleLine = 708;
constexpr wchar_t kFontReport[] = L"RTF Font table: Add font table%s";
constexpr wchar_t kColorReport[] = L"RTF Color table: Add color table%s";
constexpr wchar_t kStyleReport[] = L"RTF Style table: Add style table%s";

template <class Work>
void RunReported(unsigned long line, const wchar_t* format, Work work) noexcept
{
    try {
        SRunGuarded(work);
    }
    catch (...) {
        const SString what = SDescribeCurrentException();
        SExceptionDialog_(kReportSource, line, format, what.PszStr());
    }
}

Tag TrimmedEntryTag(const Tag& tag)
{
    Tag trimmed = tag.TrimRight();
    while (!trimmed.IsEmpty() && trimmed.end[-1] == L';')
        --trimmed.end;
    return trimmed;
}

void AppendTag(SString& text, const Tag& tag)
{
    text.Append(tag.start, tag.Length());
}

int NumberBehind(const Tag& tag, size_t prefix)
{
    return tag.Text().size() < prefix ? 0 : RtfTags::NumberOf(tag.Text().substr(prefix));
}

struct ByName {
    typedef SAscNoCase Order;
    template <class Entry>
    static const SString& Of(const Entry& entry)
    {
        return entry.m_strName;
    }
};

// The groups of a font table or style sheet, each read by `parse` and added when no entry equals it.
template <class Entry, class Table>
void AddGroups(Table& table, const SString& text, int (Entry::*parse)(const SString&), SRtfNumberMap& map)
{
    RtfIndex<ByName> index;
    Cursor cursor(text);
    cursor.Next(); // the brace
    cursor.Next(); // the keyword
    for (;;) {
        const Tag group = cursor.Next(RtfTags::kWholeGroup);
        if (group.First() != L'{')
            return;
        Entry entry;
        if (!(entry.*parse)(group.ToString()))
            continue;
        const int number = entry.m_nNumber;
        const int found = index.Find(std::as_const(table), entry.m_strName);
        if (found >= 0) {
            map.Set(number, std::as_const(table)[found].m_nNumber);
        } else {
            entry.m_nNumber = table.Count();
            map.Set(number, table.Add(std::move(entry)));
        }
    }
}

void AppendEscaped(SStringBuffer& out, const SString& text)
{
    for (const wchar_t c : text) {
        if (c < 0x80)
            out << c;
        else
            out.AppendFormat(c > 0xFF ? L"\\u%d ?" : L"\\'%x", static_cast<int>(c));
    }
}

} // namespace

// ---- Fonts ----

int SRtfFontEntry::SetFontEntry(const SString& text)
{
    m_strName.Empty();
    m_strControls.Empty();
    m_strAltGroup.Empty();
    Cursor cursor(text);
    cursor.Next();
    m_nNumber = NumberBehind(cursor.Next(), 2);
    for (;;) {
        Tag tag = cursor.Next();
        if (tag.IsEmpty())
            return 0;
        if (tag.First() == L'{') {
            cursor.MoveTo(tag.start);
            AppendTag(m_strControls, cursor.Next(RtfTags::kWholeGroup));
            continue;
        }
        if (tag.IsControl()) {
            AppendTag(m_strControls, TrimmedEntryTag(tag));
            continue;
        }
        if (tag.Length() < kShortestName)
            return 0;
        if (tag.end[-1] == L';') {
            --tag.end;
        } else if (!cursor.AtEnd() && *cursor.At() == L'{') {
            m_strAltGroup = cursor.Next(RtfTags::kWholeGroup).ToString();
        }
        m_strName = tag.ToString();
        return 1;
    }
}

SString SRtfFontEntry::GetFontEntry() const
{
    return SString::Concat(L"{\\f", SString(m_nNumber), m_strControls, L" ", m_strName, m_strAltGroup, L";}");
}

SRtfNumberMap SRtfFontTable::AddFontTable(const SString& fontTableText)
{
    SRtfNumberMap map;
    RunReported(kFontLine, kFontReport,
                [&] { AddGroups(*this, fontTableText, &SRtfFontEntry::SetFontEntry, map); });
    return map;
}

SString SRtfFontTable::GetFontTable() const
{
    SStringBuffer out;
    out << L"{\\fonttbl\r\n";
    for (const SRtfFontEntry& entry : *this) {
        AppendEscaped(out, entry.GetFontEntry());
        out << kLineEnd;
    }
    out << kClosing;
    return out.Detach();
}

// ---- Colours ----

int SRtfColorEntry::SetColorEntry(const SString& text)
{
    m_nNumber = 0;
    m_strDefinition = text;
    if (text.GetAt(text.Length() - 1) == L';')
        m_strDefinition = text.Left(text.Length() - 1);
    m_strDefinition.TrimRight(L" \t\r\n");
    return 1;
}

SString SRtfColorEntry::GetColorEntry() const
{
    return m_strDefinition + L';';
}

void RtfAddColors(SRtfColorTable& table, RtfIndex<RtfByDefinition>& index, const SString& text,
                  SRtfNumberMap& map)
{
    constexpr size_t kKeywordLength = 9; // "\colortbl"
    if (table.IsEmpty())
        table.Add(SRtfColorEntry());
    Cursor cursor(text);
    cursor.Next();
    const Tag keyword = cursor.Next();
    if (keyword.Text().size() > kKeywordLength && keyword.end[-1] == L';')
        cursor.MoveTo(keyword.start + kKeywordLength);
    for (int k = 0;; ++k) {
        cursor.SkipSpace();
        const wchar_t* const start = cursor.At();
        while (!cursor.AtEnd() && *cursor.At() != L'}' && *cursor.At() != L';')
            cursor.MoveTo(cursor.At() + 1);
        if (cursor.AtEnd() || *cursor.At() == L'}')
            return;
        cursor.MoveTo(cursor.At() + 1);

        SRtfColorEntry entry;
        entry.SetColorEntry(SString(start, cursor.At()));
        const int found = index.Find(std::as_const(table), entry.m_strDefinition);
        if (found >= 0) {
            map.Set(k, std::as_const(table)[found].m_nNumber);
        } else {
            entry.m_nNumber = table.Count();
            map.Set(k, table.Add(std::move(entry)));
        }
    }
}

SRtfNumberMap SRtfColorTable::AddColorTable(const SString& colorTableText)
{
    SRtfNumberMap map;
    RunReported(kColorLine, kColorReport, [&] {
        RtfIndex<RtfByDefinition> index;
        RtfAddColors(*this, index, colorTableText, map);
    });
    return map;
}

SString SRtfColorTable::GetColorTable() const
{
    SStringBuffer out;
    out << L"{\\colortbl\r\n";
    for (const SRtfColorEntry& entry : *this)
        out << entry.m_strDefinition << L';' << kLineEnd;
    out << kClosing;
    return out.Detach();
}

// ---- Styles ----

int SRtfStyleEntry::SetStyleEntry(const SString& text)
{
    static constexpr struct {
        std::wstring_view prefix;
        int SRtfStyleEntry::*flag;
    } kKinds[] = {
        { L"\\s", nullptr },
        { L"\\cs", &SRtfStyleEntry::m_bCharStyle },
        { L"\\ds", &SRtfStyleEntry::m_bSectionStyle },
        { L"\\ts", &SRtfStyleEntry::m_bTableStyle },
    };
    m_nNumber = 0;
    m_strName.Empty();
    m_strControls.Empty();
    m_bCharStyle = m_bSectionStyle = m_bTableStyle = 0;

    Cursor cursor(text);
    cursor.Next();
    Tag tag = cursor.Next();
    if (tag.BeginsWith(L"\\*"))
        tag = cursor.Next();
    for (const auto& kind : kKinds) {
        if (!tag.BeginsWith(kind.prefix))
            continue;
        m_nNumber = NumberBehind(tag, kind.prefix.size());
        if (kind.flag)
            this->*kind.flag = 1;
        tag = cursor.Next();
        break;
    }
    for (; tag.First() == L'\\'; tag = cursor.Next())
        AppendTag(m_strControls, TrimmedEntryTag(tag));
    if (tag.Length() < kShortestName)
        return 0;
    --tag.end;
    m_strName = tag.ToString();
    return 1;
}

SString SRtfStyleEntry::GetStyleEntry() const
{
    if (m_nNumber <= 0 && m_strControls.IsEmpty() && m_strName.IsEmpty())
        return SString();
    SStringBuffer out;
    out << L'{';
    if (m_nNumber > 0) {
        out << (m_bCharStyle ? L"\\*\\cs" : m_bSectionStyle ? L"\\ds" : m_bTableStyle ? L"\\*\\ts" : L"\\s");
        out << m_nNumber;
    }
    out << m_strControls;
    if (!m_strName.IsEmpty())
        out << L' ' << m_strName;
    out << L";}";
    return out.Detach();
}

SRtfNumberMap SRtfStyleTable::AddStyleTable(const SString& styleSheetText)
{
    SRtfNumberMap map;
    RunReported(kStyleLine, kStyleReport,
                [&] { AddGroups(*this, styleSheetText, &SRtfStyleEntry::SetStyleEntry, map); });
    return map;
}

SString SRtfStyleTable::GetStyleTable() const
{
    SStringBuffer out;
    out << L"{\\stylesheet\r\n";
    for (const SRtfStyleEntry& entry : *this)
        out << entry.GetStyleEntry() << kLineEnd;
    out << kClosing;
    return out.Detach();
}

int SRtfStyleTable::HasStyle(const SString& name) const
{
    for (const SRtfStyleEntry& entry : *this) {
        if (entry.m_strName == name)
            return 1;
    }
    return 0;
}

SString SRtfStyleTable::GetStyleAttribute(int number) const
{
    for (const SRtfStyleEntry& entry : *this) {
        if (entry.m_nNumber == number)
            return entry.m_strControls;
    }
    return SString();
}
