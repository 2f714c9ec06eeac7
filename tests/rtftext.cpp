// RTF text: tags, extraction, entries and tables, renumbering.
#include "rtftables.h"
#include "rtftext.h"

#include "excdlg.h"
#include "sexcept.h"
#include "support/allocfail.h"
#include "support/guardedtext.h"
#include "support/rtffiles.h"
#include "support/seed.h"
#include "support/stringhelp.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <utility>

namespace {

/// The tags of a text, each followed by a bar.
std::wstring Tags(std::wstring text, int wholeGroup)
{
    std::wstring all;
    const wchar_t* at = text.c_str();
    const wchar_t* start;
    for (long length; SRtfText::GetNextTag(&start, &length, at, wholeGroup); at = start + length)
        all.append(start, static_cast<size_t>(length)).append(L"|");
    return all;
}

/// What is left of a text when the white space between its tags goes.
std::wstring JoinedTags(const std::wstring& text)
{
    std::wstring all;
    const wchar_t *at = text.c_str(), *start;
    for (long length; SRtfText::GetNextTag(&start, &length, at, 0); at = start + length)
        all.append(start, static_cast<size_t>(length));
    return all;
}

std::wstring Pairs(const SRtfNumberMap& map)
{
    std::wstring all;
    for (const auto& pair : map)
        all += std::to_wstring(pair.key) + L">" + std::to_wstring(pair.value) + L" ";
    return all;
}

SRtfNumberMap Numbers(std::initializer_list<SPair<int, int>> pairs)
{
    return SRtfNumberMap(pairs);
}

struct Parts {
    SString header, fonts, colors, styles, body;

    explicit Parts(const SString& rtf, int remove = 1) : body(rtf)
    {
        SRtfText::ExtractHeader(header, body, remove);
        SRtfText::ExtractFontTable(fonts, body, remove);
        SRtfText::ExtractColorTable(colors, body, remove);
        SRtfText::ExtractStyleTable(styles, body, remove);
    }
};

SString Repeated(const wchar_t* piece, int times)
{
    std::wstring all;
    for (; times > 0; --times)
        all += piece;
    return SString(std::wstring_view(all));
}

// ---- The rules of rtftext.h, a character at a time ----

bool IsWhite(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

struct PlainTag {
    size_t start, end;
    bool isControl;
};

/// The tag behind the white space at `at`. NULs are characters like others.
PlainTag PlainTagAt(const std::wstring& text, size_t at)
{
    const auto unit = [&](size_t i) { return i < text.size() ? text[i] : L'\0'; };
    const auto isEscape = [&](size_t i) {
        return unit(i + 1) == L'\'' || (unit(i + 1) == L'u' && unit(i + 2) >= L'0' && unit(i + 2) <= L'9');
    };
    while (IsWhite(unit(at)))
        ++at;
    size_t end = at + 1;
    if (at >= text.size())
        return { at, at, false };
    if (text[at] == L'{' || text[at] == L'}')
        return { at, end, false };
    if (text[at] == L'\\' && unit(at + 1) == L'\\')
        return { at, at + 2, false };
    if (text[at] == L'\\' && !isEscape(at)) {
        for (; end < text.size() && !wcschr(L"\\{}\r\n \t", text[end] ? text[end] : L'x'); ++end) {}
        const bool hasBlank = unit(end) == L' ' || unit(end) == L'\t';
        return { at, end + hasBlank, true };
    }
    while (end < text.size() && text[end] != L'{' && text[end] != L'}' &&
           (text[end] != L'\\' || isEscape(end)))
        ++end;
    return { at, end, false };
}

std::wstring PlainTags(const std::wstring& text)
{
    std::wstring all;
    for (PlainTag tag = PlainTagAt(text, 0); tag.end != tag.start; tag = PlainTagAt(text, tag.end))
        all.append(text, tag.start, tag.end - tag.start).append(L"|");
    return all;
}

/// A control word with its new number, by the first row whose prefix fits.
std::wstring PlainChanged(const std::wstring& tag, const SRtfNumberMap& fonts, const SRtfNumberMap& colors,
                          const SRtfNumberMap& styles)
{
    const struct {
        const wchar_t* prefix;
        const SRtfNumberMap& map;
        bool zero;
    } kRules[] = {
        { L"\\f", fonts, true },    { L"\\af", fonts, true },          { L"\\cf", colors, false },
        { L"\\cb", colors, false }, { L"\\highlight", colors, false }, { L"\\s", styles, true },
        { L"\\cs", styles, true },  { L"\\ds", styles, true },         { L"\\ts", styles, true },
    };
    for (const auto& rule : kRules) {
        const std::wstring prefix = rule.prefix;
        if (tag.size() <= prefix.size() || tag.compare(0, prefix.size(), prefix) != 0)
            continue;
        const std::wstring rest = tag.substr(prefix.size());
        const std::wstring number = rest.substr(0, rest.find_last_not_of(L" \t") + 1);
        if (!SString(std::wstring_view(number)).IsNumber())
            return tag;
        const long value = SString(std::wstring_view(number)).ToLONG();
        const int* const mapped = rule.map.Find(static_cast<int>(value));
        if (!mapped || (value == 0 && !rule.zero))
            return tag;
        const size_t sign = number[0] == L'-' || number[0] == L'+';
        const size_t digits = std::min(number.find_first_not_of(L"0123456789", sign), number.size());
        return prefix + std::to_wstring(*mapped) + rest.substr(digits);
    }
    return tag;
}

/// A text of pieces that meet the rules at their edges, up to `most` units.
std::wstring RandomRtf(std::mt19937& random, size_t most)
{
    const std::wstring_view kPieces[] = {
        L"{",
        L"}",
        L"\\",
        L"\\\\",
        L"\\'e9",
        L"\\u233?",
        L"\\f",
        L"\\s",
        L"\\cf",
        L"\\af",
        L"\\highlight",
        L"\\ds",
        L"\\fs24",
        L"\\par",
        L"\\pard",
        L"\\u",
        L"0",
        L"7",
        L"31",
        L"32",
        L"123456789",
        L"12345678901",
        L"-1",
        L"+2",
        L"x",
        L"text",
        L"longer text of words",
        L" ",
        L"\t",
        L"\r\n",
        L"  \n ",
        L"\x2028",
        L"\xFF5C\xFF7B",
        L"\x5C00\x7B00\x7D00",
        L"\x01\x1F",
        std::wstring_view(L"\0", 1),
    };
    std::wstring text;
    const size_t length = random() % (most + 1), kinds = 1 + random() % std::size(kPieces);
    const size_t first = random() % std::size(kPieces);
    while (text.size() < length)
        text += kPieces[(first + random() % kinds) % std::size(kPieces)];
    text.resize(length);
    return text;
}

} // namespace

// ---- Tags ----

TEST(RtfTags, AreThoseOfALoopOverTheirCharacters)
{
    std::mt19937 random(TestSeed());
    GuardedText guarded;
    for (int i = 0; i < Cases(20000, kMillion); ++i) {
        std::wstring text = RandomRtf(random, 200);
        text.resize(std::min(text.find(L'\0'), text.size()));
        // The NUL is the last thing that may be read.
        const wchar_t* at = guarded.AtEnd(text.c_str(), text.size() + 1, random() % 32 * sizeof(wchar_t));
        const wchar_t* start;
        std::wstring tags;
        for (long length; SRtfText::GetNextTag(&start, &length, at, 0); at = start + length)
            tags.append(start, static_cast<size_t>(length)).append(L"|");
        ASSERT_EQ(PlainTags(text), tags) << testing::PrintToString(text);
    }
}

TEST(RtfTags, AreCutByTheirFirstCharacters)
{
    const struct {
        const wchar_t *text, *tags, *groups;
    } kCases[] = {
        { L"", L"", L"" },
        { L" \t\r\n", L"", L"" },
        { L"{\\b bold}", L"{|\\b |bold|}|", L"{\\b bold}|" },
        { L"{\\b bold", L"{|\\b |bold|", L"{\\b bold|" },
        { L" {a{b}{c}} d}", L"{|a|{|b|}|{|c|}|}|d|}|", L"{a{b}{c}}|d|}|" },
        { L"\\fs20\\f0;x y", L"\\fs20|\\f0;x |y|", L"\\fs20|\\f0;x |y|" },
        { L"\\b\ttwo\\i\r\nthree", L"\\b\t|two|\\i|three|", L"\\b\t|two|\\i|three|" },
        { L"a\\\\b", L"a|\\\\|b|", L"a|\\\\|b|" },
        { L"caf\\'e9 \\u947?\\ul z", L"caf\\'e9 \\u947?|\\ul |z|", L"caf\\'e9 \\u947?|\\ul |z|" },
        { L"\\'e9\\u", L"\\'e9|\\u|", L"\\'e9|\\u|" },
        { L"\\u-12?", L"\\u-12?|", L"\\u-12?|" },
        { L"\\", L"\\|", L"\\|" },
        { L"\\{", L"\\|{|", L"\\|{|" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(c.text)));
        EXPECT_EQ(c.tags, Tags(c.text, 0));
        EXPECT_EQ(c.groups, Tags(c.text, 1));
    }
}

TEST(RtfTags, EndWhereTheirFirstSpecialCharacterStandsHoweverLongTheyAre)
{
    for (int length = 1; length < 70; ++length) {
        for (const wchar_t* end : { L"{", L"}", L"\\b", L"" }) {
            for (int before = 0; before < 9; ++before) {
                const std::wstring run(length, L'x');
                const std::wstring text = std::wstring(before, L'}') + run + end;
                const wchar_t* start;
                long found;
                ASSERT_EQ(1, SRtfText::GetNextTag(&start, &found, text.c_str() + before, 0));
                ASSERT_EQ(length, found) << before;
            }
        }
    }
}

TEST(RtfTags, AnswerNullArguments)
{
    const wchar_t* start = L"unchanged";
    long length = 7;
    EXPECT_EQ(0, SRtfText::GetNextTag(nullptr, &length, L"x", 0));
    EXPECT_EQ(0, SRtfText::GetNextTag(&start, nullptr, L"x", 0));
    EXPECT_EQ(0, SRtfText::GetNextTag(&start, &length, nullptr, 0));
    EXPECT_EQ(0, SRtfText::SkipSpace(nullptr));
    EXPECT_EQ(0, SRtfText::RemoveTag(nullptr, 1));
}

TEST(RtfTags, AreSkippedToAndRemoved)
{
    wchar_t text[] = L" \t\r\n\\b bold";
    wchar_t* cursor = text;
    EXPECT_EQ(1, SRtfText::SkipSpace(&cursor));
    EXPECT_EQ(text + 4, cursor);
    EXPECT_EQ(0, SRtfText::RemoveTag(cursor, 0));
    EXPECT_EQ(1, SRtfText::RemoveTag(cursor, 3));
    EXPECT_STREQ(L" \t\r\nbold", text);
    EXPECT_EQ(1, SRtfText::RemoveTag(cursor + 2, 2));
    EXPECT_EQ(1, SRtfText::RemoveTag(cursor + 1, 100));
    EXPECT_STREQ(L" \t\r\nb", text);
}

// ---- Extraction ----

TEST(RtfExtraction, TakesTheHeaderFromTheFirstSixTags)
{
    const struct {
        const wchar_t *rtf, *header, *body;
    } kCases[] = {
        { L"plain", L"", L"plain" },
        { L" {\\rtf1}", L"", L" {\\rtf1}" },
        { L"{\\rtf1\\ansi x}", L"{\\rtf1\\ansi", L"x" },
        { L"{\\urtf1\\ansi x} \r\n", L"{\\ansi", L"\\urtf1x" },
        { L"{\\rtf1 \\ansi\\ansicpg1252\\deff0\\deflang1033\\deflangfe1031\\ansi y}",
          L"{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033\\deflangfe1031", L"\\ansi y" },
        { L"{\\rtf1\\mac\\deff3\\uc1{\\fonttbl\\ansi}", L"{\\rtf1", L"\\mac\\deff3\\uc1{\\fonttbl\\ansi" },
        { L"{\\rtf", L"{", L"\\rtf" },
        { L"{\\rtf1\\ansi}}", L"{\\rtf1\\ansi", L"}" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(c.rtf)));
        SString header(L"old"), rtf(c.rtf);
        EXPECT_EQ(1, SRtfText::ExtractHeader(header, rtf, 0));
        EXPECT_STREQ(c.header, header.PszStr());
        EXPECT_STREQ(c.rtf, rtf.PszStr()) << "kept";
        EXPECT_EQ(1, SRtfText::ExtractHeader(header, rtf, 1));
        EXPECT_STREQ(c.header, header.PszStr());
        EXPECT_STREQ(c.body, rtf.PszStr());
    }
}

TEST(RtfExtraction, TakesTheFirstGroupOfEachTable)
{
    const SString rtf =
        L"{\\rtf1{\\x{\\fonttbl no}}{\\fonttbl{\\f0 A;}}\r\n{\\colortbl;}{\\stylesheet{ N;}}t{\\fonttbl}}";
    Parts kept(rtf, 0);
    EXPECT_STREQ(L"{\\fonttbl{\\f0 A;}}", kept.fonts.PszStr());
    EXPECT_STREQ(L"{\\colortbl;}", kept.colors.PszStr());
    EXPECT_STREQ(L"{\\stylesheet{ N;}}", kept.styles.PszStr());
    EXPECT_EQ(rtf, kept.body);
    Parts taken(rtf);
    EXPECT_EQ(kept.fonts, taken.fonts);
    EXPECT_EQ(kept.colors, taken.colors);
    EXPECT_EQ(kept.styles, taken.styles);
    EXPECT_STREQ(L"{\\x{\\fonttbl no}}\r\nt{\\fonttbl}", taken.body.PszStr());

    SString table(L"old"), plain(L"no table { here");
    EXPECT_EQ(1, SRtfText::ExtractStyleTable(table, plain, 1));
    EXPECT_STREQ(L"", table.PszStr());
    EXPECT_STREQ(L"no table { here", plain.PszStr());
    SString open(L"x{\\colortbl;\\red1 \r\n");
    EXPECT_EQ(1, SRtfText::ExtractColorTable(table, open, 1));
    EXPECT_STREQ(L"{\\colortbl;\\red1", table.PszStr());
    EXPECT_STREQ(L"x", open.PszStr());
}

// ---- Entries ----

TEST(RtfEntries, AreReadAndWritten)
{
    const struct {
        const wchar_t* text;
        int ok, number;
        const wchar_t *name, *controls, *alt, *written;
    } kFonts[] = {
        { L"{\\f1\\fswiss\\fcharset0 Arial;}", 1, 1, L"Arial", L"\\fswiss\\fcharset0", L"",
          L"{\\f1\\fswiss\\fcharset0 Arial;}" },
        { L"{\\f0 \\fmodern Courier;}", 1, 0, L"Courier", L"\\fmodern", L"", L"{\\f0\\fmodern Courier;}" },
        { L"{\\f5\\fnil{\\*\\panose 02;}\\fcharset2 Open Symbol{\\*\\falt A B};}", 1, 5, L"Open Symbol",
          L"\\fnil{\\*\\panose 02;}\\fcharset2", L"{\\*\\falt A B}",
          L"{\\f5\\fnil{\\*\\panose 02;}\\fcharset2 Open Symbol{\\*\\falt A B};}" },
        { L"{\\f2 \\u947 ?;}", 1, 2, L"\\u947 ?", L"", L"", L"{\\f2 \\u947 ?;}" },
        { L"{\\f3 A;}", 1, 3, L"A", L"", L"", L"{\\f3 A;}" },
        { L"{\\f4 ;}", 0, 4, L"", L"", L"", L"{\\f4 ;}" },
        { L"{\\f6\\froman}", 0, 6, L"", L"\\froman", L"", L"{\\f6\\froman ;}" },
        { L"", 0, 0, L"", L"", L"", L"{\\f0 ;}" },
    };
    for (const auto& c : kFonts) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(c.text)));
        SRtfFontEntry entry;
        entry.m_strName = entry.m_strControls = entry.m_strAltGroup = L"old";
        EXPECT_EQ(c.ok, entry.SetFontEntry(c.text) != 0);
        EXPECT_EQ(c.number, entry.m_nNumber);
        EXPECT_STREQ(c.name, entry.m_strName.PszStr());
        EXPECT_STREQ(c.controls, entry.m_strControls.PszStr());
        EXPECT_STREQ(c.alt, entry.m_strAltGroup.PszStr());
        EXPECT_STREQ(c.written, entry.GetFontEntry().PszStr());
    }
    const struct {
        const wchar_t* text;
        int ok, number;
        const wchar_t *name, *kind, *written;
    } kStyles[] = {
        { L"{\\s2\\qc\\fs40 \\snext0 heading 1;}", 1, 2, L"heading 1", L"",
          L"{\\s2\\qc\\fs40\\snext0 heading 1;}" },
        { L"{\\*\\cs10\\i Emphasis;}", 1, 10, L"Emphasis", L"c", L"{\\*\\cs10\\i Emphasis;}" },
        { L"{\\cs10 \\additive Default;}", 1, 10, L"Default", L"c", L"{\\*\\cs10\\additive Default;}" },
        { L"{\\ds3 Section;}", 1, 3, L"Section", L"d", L"{\\ds3 Section;}" },
        { L"{\\*\\ts11\\tsrowd Table;}", 1, 11, L"Table", L"t", L"{\\*\\ts11\\tsrowd Table;}" },
        { L"{\\s0 Normal;}", 1, 0, L"Normal", L"", L"{ Normal;}" },
        { L"{\\qc Normal;}", 1, 0, L"Normal", L"", L"{\\qc Normal;}" },
        { L"{Normal}", 1, 0, L"Norma", L"", L"{ Norma;}" },
        { L"{\\s7{\\*\\keycode x}Named;}", 0, 7, L"", L"", L"{\\s7;}" },
        { L"{\\s1 ;}", 0, 1, L"", L"", L"{\\s1;}" },
        { L"", 0, 0, L"", L"", L"" },
    };
    for (const auto& c : kStyles) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(c.text)));
        SRtfStyleEntry entry;
        entry.m_strName = entry.m_strControls = L"old";
        entry.m_bCharStyle = entry.m_bSectionStyle = entry.m_bTableStyle = 1;
        EXPECT_EQ(c.ok, entry.SetStyleEntry(c.text) != 0);
        EXPECT_EQ(c.number, entry.m_nNumber);
        EXPECT_STREQ(c.name, entry.m_strName.PszStr());
        const std::wstring kind(c.kind);
        EXPECT_EQ(kind == L"c", entry.m_bCharStyle != 0);
        EXPECT_EQ(kind == L"d", entry.m_bSectionStyle != 0);
        EXPECT_EQ(kind == L"t", entry.m_bTableStyle != 0);
        EXPECT_STREQ(c.written, entry.GetStyleEntry().PszStr());
    }
    SRtfColorEntry color;
    color.m_nNumber = 4;
    EXPECT_EQ(1, color.SetColorEntry(L"\\red1\\green2 \r\n;"));
    EXPECT_EQ(0, color.m_nNumber);
    EXPECT_STREQ(L"\\red1\\green2;", color.GetColorEntry().PszStr());
    EXPECT_EQ(1, color.SetColorEntry(L";"));
    EXPECT_STREQ(L";", color.GetColorEntry().PszStr());
}

// ---- Tables ----

TEST(RtfTables, GiveEqualFontsOneNumber)
{
    SRtfFontTable fonts;
    const SString first = L"{\\fonttbl{\\f3\\fnil Times;}\r\n{\\f7 Arial;}{\\f8 ;}{\\f9 TIMES;}}";
    EXPECT_EQ(L"3>0 7>1 9>0 ", Pairs(fonts.AddFontTable(first)));
    EXPECT_EQ(L"3>0 7>1 9>0 ", Pairs(fonts.AddFontTable(first)));
    EXPECT_EQ(L"0>2 1>1 ",
              Pairs(fonts.AddFontTable(L"{\\fonttbl{\\f0 M\x3b3\xe9\xfffd;}{\\f1 aRIAL;}{\\f2\\fnil")));
    EXPECT_EQ(L"", Pairs(fonts.AddFontTable(L"")));
    EXPECT_EQ(L"", Pairs(fonts.AddFontTable(L"{\\fonttbl\\f0 Bare;}")));
    EXPECT_STREQ(
        L"{\\fonttbl\r\n{\\f0\\fnil Times;}\r\n{\\f1 Arial;}\r\n{\\f2 M\\u947 ?\\'e9\\u65533 ?;}\r\n}\r\n",
        fonts.GetFontTable().PszStr());
    fonts.Clear();
    EXPECT_STREQ(L"{\\fonttbl\r\n}\r\n", fonts.GetFontTable().PszStr());
}

TEST(RtfTables, BeginColorsWithTheAutomaticOne)
{
    SRtfColorTable colors;
    EXPECT_EQ(L"0>0 1>1 ", Pairs(colors.AddColorTable(L"{\\colortbl;\\red255\\green0\\blue0;}")));
    EXPECT_EQ(L"0>0 1>2 2>1 ",
              Pairs(colors.AddColorTable(L"{\\colortbl;\\red0\\green0\\blue255;\\red255\\green0\\blue0;}")));
    EXPECT_EQ(L"0>1 1>3 ",
              Pairs(colors.AddColorTable(L"{\\colortbl\r\n\\red255\\green0\\blue0 ;\r\n\\RED1;\\red9}")))
        << "a table without the automatic colour";
    EXPECT_EQ(L"0>0 1>0 ", Pairs(colors.AddColorTable(L"{\\colortbl;;}")));
    EXPECT_STREQ(
        L"{\\colortbl\r\n;\r\n\\red255\\green0\\blue0;\r\n\\red0\\green0\\blue255;\r\n\\RED1;\r\n}\r\n",
        colors.GetColorTable().PszStr());
}

TEST(RtfTables, FindStylesByNameAndNumber)
{
    SRtfStyleTable styles;
    EXPECT_EQ(L"0>0 2>1 10>2 ",
              Pairs(styles.AddStyleTable(
                  L"{\\stylesheet{\\s0\\qj Normal;}{\\s2\\b heading 1;}{\\*\\cs10 Strong;}}")));
    EXPECT_EQ(L"4>1 5>3 ", Pairs(styles.AddStyleTable(L"{\\stylesheet{\\s4 Heading 1;}{\\ds5 New;}}")));
    EXPECT_EQ(1, styles.HasStyle(L"heading 1"));
    EXPECT_EQ(0, styles.HasStyle(L"Heading 1"));
    EXPECT_STREQ(L"\\b", styles.GetStyleAttribute(1).PszStr());
    EXPECT_STREQ(L"", styles.GetStyleAttribute(9).PszStr());
    EXPECT_STREQ(L"{\\stylesheet\r\n{\\qj Normal;}\r\n{\\s1\\b heading 1;}\r\n{\\*\\cs2 Strong;}\r\n{\\ds3 "
                 L"New;}\r\n}\r\n",
                 styles.GetStyleTable().PszStr());
}

TEST(RtfTables, NumberManyFontsAsASearchFromTheFirstOneWould)
{
    std::mt19937 random(TestSeed());
    SRtfFontTable fonts;
    std::vector<std::wstring> model;
    for (int round = 0; round < 40; ++round) {
        std::wstring text = L"{\\fonttbl", wanted;
        for (int i = 0; i < 20; ++i) {
            const std::wstring name = L"Font " + std::to_wstring(random() % 300);
            text += L"{\\f" + std::to_wstring(i) + (random() % 2 ? L" f" : L" F") + name.substr(1) + L";}";
            size_t at = 0;
            while (at < model.size() && model[at] != name)
                ++at;
            if (at == model.size())
                model.push_back(name);
            wanted += std::to_wstring(i) + L">" + std::to_wstring(at) + L" ";
        }
        ASSERT_EQ(wanted, Pairs(fonts.AddFontTable(SString(std::wstring_view(text + L"}")))));
    }
}

namespace {

std::wstring g_report;

int KeepReport(const wchar_t* text, const wchar_t*, unsigned)
{
    g_report = text;
    return IDIGNORE;
}

/// A client's table that goes wrong when it has to copy its elements.
class BadFonts : public SRtfFontTable {
protected:
    void Allocate(void* where, const void* from) override
    {
        if (fault)
            *static_cast<volatile int*>(bad) = 1;
        SRtfFontTable::Allocate(where, from);
    }

public:
    bool fault = false;
    int* bad = nullptr;
};

} // namespace

TEST(RtfTables, ReportAFaultInAClientsTableAndReturnWhatWasAdded)
{
    const TempLog log;
    DbgMessageBoxHook() = KeepReport;
    SExceptionActivateDialog(1);
    g_report.clear();
    {
        BadFonts fonts;
        fonts.AddFontTable(L"{\\fonttbl{\\f0 Arial;}}");
        SRtfFontTable shared(fonts); // so that the next addition copies the elements
        fonts.fault = true;
        EXPECT_EQ(L"4>0 ", Pairs(fonts.AddFontTable(L"{\\fonttbl{\\f4 ARIAL;}{\\f5 Times;}{\\f6 Arial;}}")));
        EXPECT_EQ(1, fonts.Count());
        fonts.fault = false;
        EXPECT_EQ(L"5>1 ", Pairs(fonts.AddFontTable(L"{\\fonttbl{\\f5 Times;}}"))) << "the table is sound";
    }
    SExceptionActivateDialog(0);
    DbgMessageBoxHook() = nullptr;
    EXPECT_NE(std::wstring::npos, g_report.find(L"RTF Font table: Add font table"))
        << testing::PrintToString(g_report);
    EXPECT_NE(std::wstring::npos, g_report.find(L"SEMachineFault"));
    EXPECT_NE(std::wstring::npos, g_report.find(L"271"));
}

TEST(RtfTables, AreSoundAndReturnWhatWasAddedWhenMemoryRunsOut)
{
    const SString sheet = L"{\\stylesheet{\\s0 Normal;}{\\s3\\b A long name of a style;}{\\cs4 Third;}}";
    SRtfStyleTable styles;
    SRtfNumberMap map;
    const int points =
        WalkAllocationFailures([&] { styles.Clear(); }, [&] { map = styles.AddStyleTable(sheet); },
                               [&](const AllocationTrial& trial) {
                                   EXPECT_FALSE(trial.error);
                                   EXPECT_EQ(0u, std::wstring(L"0>0 3>1 4>2 ").find(Pairs(map)));
                                   EXPECT_TRUE(trial.failed || map.Count() == 3);
                                   EXPECT_LE(map.Count(), styles.Count());
                               });
    EXPECT_GT(points, 0);
}

// ---- Numbers ----

TEST(RtfNumbers, AreChangedWhereTheirMapHasThem)
{
    const SRtfNumberMap fonts = Numbers({ { 0, 5 }, { 1, 12 }, { -1, 7 } });
    const SRtfNumberMap colors = Numbers({ { 0, 9 }, { 2, 1 } });
    const SRtfNumberMap styles = Numbers({ { 0, 3 }, { 10, 4 }, { 1234567890, 6 } });
    const struct {
        const wchar_t *body, *changed;
    } kCases[] = {
        { L"", L"" },
        { L"\\f0\\f1 \\f2\\f text", L"\\f5\\f12 \\f2\\f text" },
        { L"\\af1\\fs24\\f0;\\afs24", L"\\af12\\fs24\\f0;\\afs24" },
        { L"\\cf0\\cb0\\highlight0\\cf2\\cb2 \\highlight2\\cf3",
          L"\\cf0\\cb0\\highlight0\\cf1\\cb1 \\highlight1\\cf3" },
        { L"\\s0\\s10 x\\cs10\\ds0\\ts10\\sb10\\s1234567890", L"\\s3\\s4 x\\cs4\\ds3\\ts4\\sb10\\s6" },
        { L"\\f-1\\f01\\f+0\\f1x", L"\\f7\\f12\\f5\\f1x" },
        { L"\\'f0 \\\\f0", L"\\'f0 \\\\f0" },
        { L"{\\f0\tone}\r\n  two\\par", L"{\\f5\tone}two\\par" },
    };
    for (const auto& c : kCases) {
        SString out(L"old");
        EXPECT_EQ(1, SRtfText::ChangeFontAndColor(out, c.body, fonts, colors, styles));
        EXPECT_STREQ(c.changed, out.PszStr());
        SString same(c.body);
        SRtfText::ChangeFontAndColor(same, same, fonts, colors, styles);
        EXPECT_EQ(out, same) << "in place";
    }
}

TEST(RtfNumbers, AreChangedAsTagByTag)
{
    std::mt19937 random(TestSeed());
    const SRtfNumberMap fonts =
        Numbers({ { 0, 5 }, { 7, 12 }, { 31, -4 }, { 32, 0 }, { -1, 7 }, { 123456789, 1 } });
    const SRtfNumberMap colors = Numbers({ { 0, 9 }, { 2, 1 }, { 7, 1234567890 }, { 3, 3 } });
    const SRtfNumberMap styles = Numbers({ { 0, 3 }, { 7, 10 }, { 31, 31 } });
    for (int i = 0; i < Cases(20000, kMillion); ++i) {
        // Now and then longer than what is looked through at once.
        std::wstring body = RandomRtf(random, i % 64 ? 300 : 5000);
        if (!body.empty() && body[0] == L'\0')
            body[0] = L'x'; // a string that begins with a NUL is copied as an empty one
        std::wstring expected;
        for (PlainTag tag = PlainTagAt(body, 0); tag.end != tag.start; tag = PlainTagAt(body, tag.end)) {
            const std::wstring text = body.substr(tag.start, tag.end - tag.start);
            expected += tag.isControl ? PlainChanged(text, fonts, colors, styles) : text;
        }
        SString out;
        ASSERT_EQ(1,
                  SRtfText::ChangeFontAndColor(out, SString(std::wstring_view(body)), fonts, colors, styles));
        ASSERT_EQ(expected, std::wstring(std::wstring_view(out))) << testing::PrintToString(body);
    }
}

// ---- Real documents ----

TEST(RtfFiles, GiveTheirTables)
{
    const struct {
        int fonts, colors, styles;
        const wchar_t* header;
    } kWanted[] = {
        { 4, 5, 0, L"{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033" },
        { 2, 3, 0, L"{\\rtf1\\ansi\\deff0" },
        { 3, 3, 40, L"{\\rtf1\\ansi\\ansicpg1252\\deff0" },
        { 6, 9, 0, L"{\\rtf1\\ansi\\deff0\\deflang1024" },
        { 8, 22, 0, L"{\\rtf1\\ansi" },
    };
    SRtfFontTable allFonts;
    SRtfColorTable allColors;
    SRtfStyleTable allStyles;
    for (int i = 0; i < kRtfFileCount; ++i) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(kRtfFiles[i])));
        const SString file = RtfFile(i);
        ASSERT_GT(file.Length(), 500);
        Parts parts(file);
        EXPECT_STREQ(kWanted[i].header, parts.header.PszStr());
        SRtfFontTable fonts;
        SRtfColorTable colors;
        SRtfStyleTable styles;
        fonts.AddFontTable(parts.fonts);
        colors.AddColorTable(parts.colors);
        styles.AddStyleTable(parts.styles);
        EXPECT_EQ(kWanted[i].fonts, fonts.Count());
        EXPECT_EQ(kWanted[i].colors, colors.Count());
        EXPECT_TRUE(kWanted[i].styles == 0 || kWanted[i].styles == styles.Count()) << styles.Count();

        // Nothing but the parts was cut, and a document's numbers come out again through the maps turned round.
        EXPECT_EQ(Wide(file).find(Wide(parts.fonts)) + parts.fonts.Length() <= size_t(file.Length()), true);
        const SRtfNumberMap to = allFonts.AddFontTable(parts.fonts), none;
        allColors.AddColorTable(parts.colors);
        allStyles.AddStyleTable(parts.styles);
        SRtfNumberMap shifted, back;
        for (const auto& pair : to) {
            shifted.Set(pair.key, pair.key + 500);
            back.Set(pair.key + 500, pair.key);
        }
        SString there, again, plain;
        SRtfText::ChangeFontAndColor(there, parts.body, shifted, none, none);
        SRtfText::ChangeFontAndColor(again, there, back, none, none);
        SRtfText::ChangeFontAndColor(plain, parts.body, none, none, none);
        EXPECT_NE(plain, there);
        EXPECT_EQ(plain, again);
    }
    EXPECT_GT(allFonts.Count(), 8);
    SRtfFontTable read; // what is written is read again
    read.AddFontTable(allFonts.GetFontTable());
    EXPECT_EQ(allFonts.Count(), read.Count());
    EXPECT_EQ(allFonts.GetFontTable(), read.GetFontTable());
    SRtfStyleTable readStyles;
    readStyles.AddStyleTable(allStyles.GetStyleTable());
    EXPECT_EQ(allStyles.GetStyleTable(), readStyles.GetStyleTable());
}

// ---- Hostile texts ----

// Each of these takes minutes, and the watchdog's patience, where anything is done once a tag with the whole rest.
TEST(RtfHostile, HugeTextsCostAPass)
{
    const SString kTexts[] = {
        L"{\\rtf1 " + SString(L'x', 10000000),
        L"{\\rtf1" + SString(L'{', 2000000),
        L"{\\rtf1" + Repeated(L"{}", 1000000),
        L"{\\rtf1" + Repeated(L"\\ansi ", 500000),
        SString(L'{', 100000) + SString(L'}', 100000),
        L"{\\rtf1{\\fonttbl" + Repeated(L"{\\f1 Arial;}{", 300000),
        L"{\\rtf1{\\colortbl" + Repeated(L"\\red1;", 300000),
        L"{\\rtf1\\" + SString(L'f', 5000000),
        SString(L'\\', 5000001),
    };
    const SRtfNumberMap map = Numbers({ { 1, 2 } });
    for (const SString& text : kTexts) {
        const StringsAtRest atRest;
        Parts parts(text);
        SRtfFontTable fonts;
        SRtfColorTable colors;
        SRtfStyleTable styles;
        fonts.AddFontTable(parts.fonts);
        colors.AddColorTable(parts.colors);
        styles.AddStyleTable(parts.styles);
        SString out;
        EXPECT_EQ(1, SRtfText::ChangeFontAndColor(out, parts.body, map, map, map));
        EXPECT_LE(out.Length(), text.Length());
    }
}

TEST(RtfHostile, ManyDifferentEntriesAreFoundWithoutLookingAtAll)
{
    std::wstring fontText = L"{\\fonttbl", colorText = L"{\\colortbl;";
    constexpr int kEntries = 100000;
    for (int i = 0; i < kEntries; ++i) {
        fontText += L"{\\f" + std::to_wstring(i) + L" F" + std::to_wstring(i) + L";}";
        colorText += L"\\red" + std::to_wstring(i) + L";";
    }
    SRtfFontTable fonts;
    SRtfColorTable colors;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(kEntries, fonts.AddFontTable(SString(std::wstring_view(fontText))).Count());
        EXPECT_EQ(kEntries + 1, colors.AddColorTable(SString(std::wstring_view(colorText))).Count());
    }
    EXPECT_EQ(kEntries, fonts.Count());
    EXPECT_EQ(kEntries + 1, colors.Count());
}

TEST(RtfHostile, DamagedDocumentsGivePartsOfThemselves)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 3000; ++round) {
        const SString text = Mutated(RtfFile(static_cast<int>(random() % kRtfFileCount)), random);
        const StringsAtRest atRest;
        Parts kept(text, 0), parts(text);
        ASSERT_EQ(text, kept.body);
        ASSERT_LE(parts.body.Length() + parts.fonts.Length() + parts.colors.Length() + parts.styles.Length(),
                  text.Length());
        SRtfFontTable fonts;
        SRtfColorTable colors;
        SRtfStyleTable styles;
        const SRtfNumberMap f = fonts.AddFontTable(parts.fonts), c = colors.AddColorTable(parts.colors),
                            s = styles.AddStyleTable(parts.styles);
        for (const auto& pair : f)
            ASSERT_TRUE(pair.value >= 0 && pair.value < fonts.Count());
        SString out;
        SRtfText::ChangeFontAndColor(out, parts.body, f, c, s);
        const SRtfNumberMap none;
        SRtfText::ChangeFontAndColor(out, parts.body, none, none, none);
        if (Wide(parts.body).find(L'\0') == std::wstring::npos) { // the plain tokenizer ends there
            ASSERT_EQ(JoinedTags(Wide(parts.body)), Wide(out));
        }
    }
}
