// rtfnumbers.cpp: new numbers in the control words of RTF text.
//
// Most of a text stays as it is, so it is copied in stretches as long as they come, up to the next new number or the next
// white space between tags.
#include "rtftext.h"

#include "rtftags.h"
#include "strbuffer.h"

#include <algorithm>

using RtfTags::Cursor;
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
    if (first == L'f')
        return &kFont;
    if (first == L's')
        return &kStyle;
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

// Room in front: a part of the text's length.
constexpr int kRoomForNumbers = 16;
constexpr int kMostRoomForNumbers = 1 << 20;

} // namespace

int SRtfText::ChangeFontAndColor(SString& out, const SString& body, const SRtfNumberMap& fontMap,
                                 const SRtfNumberMap& colorMap, const SRtfNumberMap& styleMap)
{
    const SString source(body); // `out` may be `body`
    // New numbers may be longer; growing once more would move all of it.
    SStringBuffer changed(source.Length() + std::min(source.Length() / kRoomForNumbers, kMostRoomForNumbers));
    Cursor cursor(source);
    const wchar_t* kept = source; // from here on nothing has been copied yet
    const wchar_t* done = kept;   // the end of the last tag
    const auto copyTo = [&](const wchar_t* end) { changed.Append(kept, static_cast<int>(end - kept)); };
    for (Tag tag = cursor.Next(); !tag.IsEmpty(); tag = cursor.Next()) {
        if (tag.start != done) {
            copyTo(done);
            kept = tag.start;
        }
        done = tag.end;
        const Rule* const rule = RuleFor(tag);
        if (!rule)
            continue;
        const SRtfNumberMap& map = rule->table == Table::Font    ? fontMap
                                   : rule->table == Table::Color ? colorMap
                                                                 : styleMap;
        int number;
        const wchar_t* end;
        const Tag rest = { tag.start + 1 + rule->prefix.size(), tag.end };
        if (!ReadNumber(rest, number, end) || (rule->table == Table::Color && number == 0))
            continue;
        const int* const mapped = map.Find(number);
        if (!mapped)
            continue;
        copyTo(rest.start);
        changed << *mapped;
        kept = end;
    }
    copyTo(done);
    out = changed.Detach();
    return 1;
}
