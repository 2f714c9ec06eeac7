// rtfnumbers.cpp: new numbers in the control words of RTF text.
//
// Most of a text stays as it is. So it is first gone through for what changes, from one brace or backslash to the next; what
// stands between them, whether text or the end of a control word, matters only where it begins. Then the result is made in
// one piece of the right size and filled in stretches as long as they come.
#include "rtftext.h"

#include "compiler.h"
#include "copytext.h"
#include "madetext.h"
#include "numbertext.h"
#include "rtftags.h"
#include "sexcept.h"
#include "tablemem.h"

#include <algorithm>
#include <iterator>

using RtfTags::Tag;

namespace {

enum class Table { Font, Color, Style };

struct Rule {
    std::wstring_view prefix; // behind the backslash
    Table table;
};

// By far the most frequent ones, known by their first letter.
constexpr Rule kFont = { L"f", Table::Font };
constexpr Rule kStyle = { L"s", Table::Style };
constexpr Rule kOthers[] = {
    { L"cf", Table::Color }, { L"cb", Table::Color }, { L"highlight", Table::Color }, { L"af", Table::Font },
    { L"cs", Table::Style }, { L"ds", Table::Style }, { L"ts", Table::Style },
};

const Rule* RuleFor(const Tag& tag)
{
    if (tag.Length() < 3 || *tag.start != L'\\')
        return nullptr;
    const wchar_t first = tag.start[1];
    switch (first) {
    case L'f': return &kFont;
    case L's': return &kStyle;
    case L'a':
    case L'c':
    case L'd':
    case L'h':
    case L't': break;
    default: return nullptr;
    }
    for (const Rule& rule : kOthers) {
        if (first == rule.prefix.front() && tag.Text().substr(1, rule.prefix.size()) == rule.prefix)
            return &rule;
    }
    return nullptr;
}

// The number behind a prefix and the end of its digits; false when what stands there is no number.
bool ReadNumber(const Tag& rest, int& number, const wchar_t*& end)
{
    constexpr int kSafeDigits = 9;
    const wchar_t* at = rest.start;
    number = 0;
    while (at != rest.end && RtfTags::IsDigit(*at) && at - rest.start < kSafeDigits)
        number = number * 10 + (*at++ - L'0');
    end = at;
    // A single blank is the one white space that a tag can hold.
    if (at != rest.start && (at == rest.end || RtfTags::IsSpace(*at)))
        return true;
    if (at == rest.start && (at == rest.end || (*at >= L'a' && *at <= L'z')))
        return false;

    // With a sign, a point or an exponent, or too long: rare, and the string knows.
    const SString text = rest.TrimRight().ToString();
    if (!text.IsNumber())
        return false;
    number = static_cast<int>(text.ToLONG());
    at = rest.start;
    if (*at == L'-' || *at == L'+')
        ++at;
    while (at != rest.end && RtfTags::IsDigit(*at))
        ++at;
    end = at;
    return true;
}

// A map that remembers what it was asked for small numbers, of which a text has few and those often.
class KnownNumbers {
public:
    explicit KnownNumbers(const SRtfNumberMap& map) : m_map(map)
    {
        std::fill(std::begin(m_known), std::end(m_known), &kNotAsked);
    }

    /// Null without one.
    const int* Find(int number)
    {
        if (number < 0 || number >= kNumbers)
            return m_map.Find(number);
        const int*& known = m_known[number];
        if (known == &kNotAsked)
            known = m_map.Find(number);
        return known;
    }

private:
    static constexpr int kNumbers = 32;
    static constexpr int kNotAsked = 0; // its address counts

    const SRtfNumberMap& m_map;
    const int* m_known[kNumbers];
};

// What stands between two places goes. The number, where there is one, comes instead.
struct Change {
    const wchar_t* from;
    const wchar_t* to;
    const int* number;
};

int DigitsOf(int number)
{
    return number >= 0 && number < 10 ? 1 : NumberText(number).Length();
}

wchar_t* WriteNumber(wchar_t* to, int number)
{
    if (number >= 0 && number < 10) {
        *to = static_cast<wchar_t>(L'0' + number);
        return to + 1;
    }
    const NumberText text(number);
    TextKern::CopyText(to, text.first, static_cast<size_t>(text.Length()));
    return to + text.Length();
}

// What changes in a text, in order.
class Changes {
public:
    Changes(const SString& text, const SRtfNumberMap& fonts, const SRtfNumberMap& colors,
            const SRtfNumberMap& styles)
        : m_start(text),
          m_end(m_start + text.Length()),
          m_fonts(fonts),
          m_colors(colors),
          m_styles(styles),
          m_length(text.Length())
    {}

    void Find();
    bool IsEmpty() const { return m_changes.IsEmpty(); }
    SString Made() const;

private:
    void CutSpace(const wchar_t* at);
    const wchar_t* CheckControl(const wchar_t* at);
    void Add(const Change& change);

    const wchar_t* m_start;
    const wchar_t* m_end; // a NUL stands there
    KnownNumbers m_fonts, m_colors, m_styles;
    STable<Change> m_changes;
    long long m_length; // of the text after them
};

void Changes::Add(const Change& change)
{
    // Room for many at once, where that many may come: growing moves what is there, into fresh memory each time.
    constexpr ptrdiff_t kUnitsPerChange = 32, kMostRoom = 0x8000;
    if (m_changes.IsEmpty())
        m_changes.GrowTo(static_cast<int>(std::min((m_end - change.from) / kUnitsPerChange + 4, kMostRoom)));
    m_changes.Add(change);
    m_length += (change.number ? DigitsOf(*change.number) : 0) - (change.to - change.from);
}

// No tag begins with white space.
void Changes::CutSpace(const wchar_t* at)
{
    if (!RtfTags::IsSpace(*at))
        return;
    const wchar_t* const from = at;
    while (RtfTags::IsSpace(*at))
        ++at;
    Add({ from, at, nullptr });
}

// Of a control word. Returns its end.
const wchar_t* Changes::CheckControl(const wchar_t* at)
{
    const wchar_t* const tagEnd = at + RtfTags::ControlLength(at, RtfTags::ToPosition{ m_end });
    const Rule* const rule = RuleFor({ at, tagEnd });
    if (!rule)
        return tagEnd;
    const Tag rest = { at + 1 + rule->prefix.size(), tagEnd };
    int number;
    const wchar_t* end;
    if (!ReadNumber(rest, number, end) || (rule->table == Table::Color && number == 0))
        return tagEnd;
    KnownNumbers& numbers = rule->table == Table::Font    ? m_fonts
                            : rule->table == Table::Color ? m_colors
                                                          : m_styles;
    if (const int* const mapped = numbers.Find(number))
        Add({ rest.start, end, mapped });
    return tagEnd;
}

void Changes::Find()
{
    CutSpace(m_start);
    const wchar_t* escaped = nullptr; // the second one of two backslashes
    RtfTags::MarkPlaces places;
    for (const wchar_t* piece = m_start; piece < m_end;) {
        const wchar_t* const end = piece + std::min<ptrdiff_t>(m_end - piece, places.kUnits);
        places.Find(piece, end);
        piece = end;
        for (const wchar_t* const at : places) {
            if (at == escaped)
                continue;
            const wchar_t* tagEnd = at + 1;
            if (*at == L'\\') {
                if (at[1] == L'\\')
                    tagEnd = (escaped = at + 1) + 1;
                else if (RtfTags::IsEscape(at, RtfTags::ToNul()))
                    continue;
                else
                    tagEnd = CheckControl(at);
            }
            if (S_UNLIKELY(RtfTags::IsSpace(*tagEnd)))
                CutSpace(tagEnd);
        }
    }
}

SString Changes::Made() const
{
    using namespace TextKern;
    constexpr ptrdiff_t kShortStretch = 16 * kBlockUnits;
    if (m_length == 0)
        return SString();
    if (m_length > SString::kMaxLength)
        throw SEOutOfMemory(S_HERE);
    MadeText made;
    wchar_t* to = made.Make(static_cast<int>(m_length));
    const wchar_t* kept = m_start;
    const wchar_t* const toEnd = to + m_length;
    const auto keepTo = [&](const wchar_t* end) {
        const ptrdiff_t length = end - kept;
        // Whole blocks, where what lies behind them is still to be written.
        if (S_LIKELY(length <= kShortStretch && m_end - kept >= kShortStretch &&
                     toEnd - to >= kShortStretch)) {
            for (ptrdiff_t i = 0; i < length; i += 2 * kBlockUnits) {
                const Block first = Load(kept + i), second = Load(kept + i + kBlockUnits);
                Store(to + i, first);
                Store(to + i + kBlockUnits, second);
            }
        } else {
            TextKern::CopyText(to, kept, static_cast<size_t>(length));
        }
        to += length;
    };
    for (const Change& change : m_changes) {
        keepTo(change.from);
        if (change.number)
            to = WriteNumber(to, *change.number);
        kept = change.to;
    }
    keepTo(m_end);
    return std::move(made);
}

} // namespace

int SRtfText::ChangeFontAndColor(SString& out, const SString& body, const SRtfNumberMap& fontMap,
                                 const SRtfNumberMap& colorMap, const SRtfNumberMap& styleMap)
{
    const SString source(body); // `out` may be `body`
    Changes changes(source, fontMap, colorMap, styleMap);
    changes.Find();
    if (changes.IsEmpty())
        out = source;
    else
        out = changes.Made();
    return 1;
}
