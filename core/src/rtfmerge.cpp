// rtfmerge.cpp: one RTF document made of several.
#include "rtfmerge.h"

#include "rtfbody.h"
#include "rtfcolors.h"
#include "rtffragment.h"
#include "rtfindex.h"
#include "sexcept.h"
#include "strbuffer.h"

#include <new>
#include <utility>

namespace {

constexpr wchar_t kDefaultStyle[] = L"Normal";
constexpr int kNone = RtfSurvey::kNone;

// A font is told by its name and its charset: bytes that stay in the text, a symbol font's, are that charset's.
SString FontKey(const SRtfFontEntry& entry)
{
    static constexpr wchar_t kCharset[] = L"\\fcharset";
    const wchar_t* const found = entry.m_strControls.Find(kCharset);
    const long charset = found ? SString(found + std::size(kCharset) - 1).ToLONG() : 0;
    return SString::Concat(entry.m_strName, L"\x1", SString(charset));
}

SString StyleKey(const SRtfStyleEntry& entry)
{
    const wchar_t* const kind = entry.m_bCharStyle      ? L"c"
                                : entry.m_bSectionStyle ? L"d"
                                : entry.m_bTableStyle   ? L"t"
                                                        : L"s";
    return SString::Concat(kind, entry.m_strName);
}

struct ByFont {
    typedef SAscNoCase Order;
    static SString Of(const SRtfFontEntry& entry) { return FontKey(entry); }
};
struct ByStyle {
    typedef SAscNoCase Order;
    static SString Of(const SRtfStyleEntry& entry) { return StyleKey(entry); }
};

RtfFragment::StyleKind KindOf(const SRtfStyleEntry& entry)
{
    return entry.m_bCharStyle      ? RtfFragment::kCharacter
           : entry.m_bSectionStyle ? RtfFragment::kSection
           : entry.m_bTableStyle   ? RtfFragment::kTable
                                   : RtfFragment::kParagraph;
}

// The number of the table's entry with that key; the entry is added when there is none.
template <class Table, class Index, class Entry>
int Merge(Table& table, Index& index, const SString& key, Entry entry)
{
    const int found = index.Find(std::as_const(table), key);
    if (found >= 0)
        return found;
    entry.m_nNumber = table.Count();
    return table.Add(std::move(entry));
}

template <class Table>
void CutTable(Table& table, int count)
{
    while (table.Count() > count)
        table.Remove(table.Count() - 1);
}

// The standard library says it with an exception of its own.
template <class Work>
auto WithOurOutOfMemory(Work work)
{
    try {
        return work();
    }
    catch (const std::bad_alloc&) {
        throw SEOutOfMemory(S_HERE);
    }
}

// A word of the header, unless the document has not got it.
void AppendHeaderWord(SStringBuffer& out, const wchar_t* word, int number)
{
    if (number != kNone)
        out << word << number;
}

} // namespace

struct SRtfMerger::Parts {
    SRtfFontTable fonts;
    SRtfColorTable colors;
    SRtfStyleTable styles;
    RtfIndex<ByFont> fontIndex;
    RtfIndex<RtfByDefinition> colorIndex;
    RtfIndex<ByStyle> styleIndex;
    SStringBuffer front;         // what the first fragment says of the whole document
    SStringBuffer lists;         // the entries of the list table
    SStringBuffer listOverrides; // and of the list override table
    SStringBuffer body;          // the fragments' groups, the last one still open
    SString header;

    // What is put back by copying when adding fails.
    struct Counts {
        int fragments = 0;
        RtfListNumbers lists;
        int defaultFont = kNone; // numbers of the merged document
        int defaultLanguage = kNone;
        bool open = false; // the last fragment's last paragraph is
    } counts;

    void Add(const RtfSurvey& survey, Break before);
    SString Document() const;

private:
    void AddTables(RtfFragment& fragment, RtfDecoder& decoder);
    void AddStyles(RtfFragment& fragment, RtfDecoder& decoder);
    void SetHeader(const RtfFragment& fragment);
    SString PlainTail(const RtfFragment& fragment) const;
    void BeginGroup(const RtfFragment& fragment, Break before);
    void CutTo(const Counts& before, const int (&lengths)[7]);
};

// ---- Tables ----

void SRtfMerger::Parts::AddTables(RtfFragment& fragment, RtfDecoder& decoder)
{
    struct Job {
        Parts& parts;
        RtfFragment& fragment;
    } job{ *this, fragment };
    const RtfSurvey& survey = fragment.survey;
    if (!survey.fonts.empty()) {
        RtfReadFonts(
            survey, decoder,
            [](void* context, const SRtfFontEntry& entry, int page) {
                Job& job = *static_cast<Job*>(context);
                job.fragment.pages.Set(entry.m_nNumber, page);
                job.fragment.fonts.Set(entry.m_nNumber,
                                       Merge(job.parts.fonts, job.parts.fontIndex, FontKey(entry), entry));
            },
            &job);
    }
    if (!survey.colors.empty())
        RtfAddColors(colors, colorIndex, RtfCleanColors(survey.colors), fragment.colors);
    if (!survey.styles.empty())
        AddStyles(fragment, decoder);
}

// Entries refer to one another, so all have their numbers before the first one is changed.
void SRtfMerger::Parts::AddStyles(RtfFragment& fragment, RtfDecoder& decoder)
{
    STable<SRtfStyleEntry> sheet;
    RtfReadStyles(
        fragment.survey, decoder,
        [](void* context, const SRtfStyleEntry& entry) {
            static_cast<STable<SRtfStyleEntry>*>(context)->Add(entry);
        },
        &sheet);

    // Number 0 is the default style for those who know no number, so it must be one of paragraphs.
    const int known = styles.Count();
    if (known == 0) {
        SRtfStyleEntry first;
        first.m_strName = kDefaultStyle;
        for (const SRtfStyleEntry& entry : std::as_const(sheet)) {
            if (KindOf(entry) == RtfFragment::kParagraph && entry.m_nNumber == 0) {
                first = entry;
                break;
            }
            if (KindOf(entry) == RtfFragment::kParagraph && entry.m_strName.CompareNoCase(kDefaultStyle) == 0)
                first = entry;
        }
        Merge(styles, styleIndex, StyleKey(first), first);
    }
    for (const SRtfStyleEntry& entry : std::as_const(sheet))
        fragment.styles[KindOf(entry)].Set(entry.m_nNumber,
                                           Merge(styles, styleIndex, StyleKey(entry), entry));
    for (int i = known; i < styles.Count(); ++i)
        styles[i].m_strControls = RtfRenumbered(styles[i].m_strControls, fragment);
}

// ---- Header and defaults ----

void SRtfMerger::Parts::SetHeader(const RtfFragment& fragment)
{
    const RtfSurvey& survey = fragment.survey;
    const auto mapped = [&](int font) {
        const int number = font == kNone ? kNone : fragment.NewNumber(RtfWord::kFont, font);
        return number == RtfFragment::kDrop ? kNone : number;
    };
    static constexpr const wchar_t* kSheetWords[] = { L"\\stshfdbch", L"\\stshfloch", L"\\stshfhich",
                                                      L"\\stshfbi" };
    SStringBuffer out;
    out << L"{\\rtf1\\" << (survey.charset.empty() ? std::wstring_view(L"ansi") : survey.charset);
    AppendHeaderWord(out, L"\\ansicpg", survey.codePage);
    out << L"\\uc1";
    counts.defaultFont = mapped(fragment.DefaultFont());
    counts.defaultLanguage = survey.language;
    AppendHeaderWord(out, L"\\deff", counts.defaultFont);
    AppendHeaderWord(out, L"\\adeff", mapped(survey.bidiFont));
    for (int i = 0; i < RtfSurvey::kSheetFonts; ++i)
        AppendHeaderWord(out, kSheetWords[i], mapped(survey.sheetFonts[i]));
    AppendHeaderWord(out, L"\\deflang", survey.language);
    AppendHeaderWord(out, L"\\deflangfe", survey.farEastLanguage);
    AppendHeaderWord(out, L"\\adeflang", survey.bidiLanguage);
    header = out.Detach();
}

SString SRtfMerger::Parts::PlainTail(const RtfFragment& fragment) const
{
    SStringBuffer tail;
    const int font = fragment.NewNumber(RtfWord::kFont, fragment.DefaultFont());
    if (font >= 0 && font != counts.defaultFont)
        tail << L"\\f" << font;
    if (fragment.survey.language != counts.defaultLanguage)
        AppendHeaderWord(tail, L"\\lang", fragment.survey.language);
    return tail.Detach();
}

// ---- Adding ----

void SRtfMerger::Parts::BeginGroup(const RtfFragment& fragment, Break before)
{
    if (counts.fragments > 0)
        body << (counts.open ? L"\\par}\r\n" : L"}\r\n");
    body << L"{\\pard" << fragment.plainTail << L"\\uc1";
    if (counts.fragments > 0 && before == kPageBreak)
        body << L"\\page";
    body << L' ';
}

void SRtfMerger::Parts::Add(const RtfSurvey& survey, Break before)
{
    const Counts was(counts);
    const int lengths[] = { fonts.Count(),  colors.Count(),         styles.Count(), front.Length(),
                            lists.Length(), listOverrides.Length(), body.Length() };
    try {
        RtfDecoder decoder;
        RtfFragment fragment{ survey, counts.fragments == 0, {}, {}, {}, {}, {} };
        AddTables(fragment, decoder);
        if (fragment.isFirst)
            SetHeader(fragment);
        fragment.plainTail = PlainTail(fragment);
        BeginGroup(fragment, before);
        RtfBodyRewriter rewriter(fragment, decoder, counts.lists, { body, front, lists, listOverrides });
        rewriter.Run();
        counts.open = rewriter.EndsInsideParagraph();
        ++counts.fragments;
    }
    catch (...) {
        CutTo(was, lengths);
        throw;
    }
}

void SRtfMerger::Parts::CutTo(const Counts& before, const int (&lengths)[7])
{
    counts = before;
    CutTable(fonts, lengths[0]);
    CutTable(colors, lengths[1]);
    CutTable(styles, lengths[2]);
    fontIndex.Clear();
    colorIndex.Clear();
    styleIndex.Clear();
    front.Truncate(lengths[3]);
    lists.Truncate(lengths[4]);
    listOverrides.Truncate(lengths[5]);
    body.Truncate(lengths[6]);
}

SString SRtfMerger::Parts::Document() const
{
    if (counts.fragments == 0)
        return SString();
    SStringBuffer out(body.Length() + front.Length() + lists.Length());
    out << header << L"\r\n";
    if (!fonts.IsEmpty())
        out << fonts.GetFontTable();
    if (!colors.IsEmpty())
        out << colors.GetColorTable();
    if (!styles.IsEmpty())
        out << styles.GetStyleTable();
    const auto append = [&](const wchar_t* opening, const SStringBuffer& text) {
        if (!text.IsEmpty())
            out.Append(opening).Append(text.Text(), text.Length()).Append(L"}\r\n");
    };
    append(L"{\\*\\listtable", lists);
    append(L"{\\*\\listoverridetable", listOverrides);
    out.Append(front.Text(), front.Length()).Append(body.Text(), body.Length()).Append(L"}}\r\n");
    return out.Detach();
}

// ---- The class ----

SRtfMerger::SRtfMerger() : m_parts(WithOurOutOfMemory([] { return new Parts; })) {}

SRtfMerger::~SRtfMerger()
{
    delete m_parts;
}

int SRtfMerger::Check(const SString& rtf, SString* why)
{
    return WithOurOutOfMemory([&] {
        const SString kept(rtf); // `why` may be `rtf`
        const RtfSurvey survey(kept, kMaxDepth);
        if (why)
            *why = survey.fault;
        return survey.fault.IsEmpty() ? 1 : 0;
    });
}

int SRtfMerger::AddFragment(const SString& rtf, Break before, SString* why)
{
    return WithOurOutOfMemory([&] {
        const SString kept(rtf); // `why` may be `rtf`, and the survey points into the text
        const RtfSurvey survey(kept, kMaxDepth);
        const bool sound = survey.fault.IsEmpty();
        if (sound)
            m_parts->Add(survey, before);
        if (why)
            *why = survey.fault;
        return sound ? 1 : 0;
    });
}

int SRtfMerger::Count() const
{
    return m_parts->counts.fragments;
}

SString SRtfMerger::GetDocument() const
{
    return m_parts->Document();
}

void SRtfMerger::Clear()
{
    Parts* const fresh = WithOurOutOfMemory([] { return new Parts; });
    delete std::exchange(m_parts, fresh);
}

const SRtfFontTable& SRtfMerger::GetFonts() const
{
    return m_parts->fonts;
}

const SRtfColorTable& SRtfMerger::GetColors() const
{
    return m_parts->colors;
}

const SRtfStyleTable& SRtfMerger::GetStyles() const
{
    return m_parts->styles;
}
