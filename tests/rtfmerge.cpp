// SRtfMerger: documents merged into one.
#include "rtfmerge.h"

#include "rtftext.h"
#include "sexcept.h"
#include "support/allocfail.h"
#include "support/importpatch.h"
#include "support/rtffiles.h"
#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <string>

namespace {

SString Merged(std::initializer_list<const wchar_t*> fragments,
               SRtfMerger::Break before = SRtfMerger::kParagraphBreak)
{
    SRtfMerger merger;
    for (const wchar_t* fragment : fragments) {
        SString why;
        EXPECT_EQ(1, merger.AddFragment(fragment, before, &why)) << why;
    }
    return merger.GetDocument();
}

/// The merged document's body: what follows the tables.
std::wstring BodyOf(std::initializer_list<const wchar_t*> fragments)
{
    const std::wstring document = Wide(Merged(fragments));
    const size_t at = document.find(L"{\\pard");
    return at == std::wstring::npos ? document : document.substr(at);
}

/// How often a text occurs in another one.
int Occurrences(const std::wstring& text, const std::wstring& wanted)
{
    int count = 0;
    for (size_t at = 0; (at = text.find(wanted, at)) != std::wstring::npos; ++at)
        ++count;
    return count;
}

bool IsPlainAscii(const SString& text)
{
    return std::all_of(text.begin(), text.end(), [](wchar_t c) { return c > 0 && c < 0x80; });
}

#define HEAD                                                                                                 \
    L"{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 Arial;}{\\f1\\fcharset204 Times;}{\\f2\\fcharset2 "                \
    L"Signs;}{\\f3\\fcharset128 Kana;}}"

} // namespace

// ---- Check ----

TEST(RtfCheck, SaysWhatIsWrongAndWhere)
{
    const struct {
        const wchar_t *rtf, *why;
    } kCases[] = {
        { L"{\\rtf1 x}", L"" },
        { L" \r\n{\\urtf1{\\b{}}}\r\n", L"" },
        { L"{\\rtf1 \\{ \\} \\\\}", L"" },
        { L"{\\rtf1\\bin3 {{{}", L"" },
        { L"{\\rtf1\\'7b}", L"" },
        { L"", L"this is not RTF: it does not begin with {\\rtf" },
        { L"plain", L"this is not RTF: it does not begin with {\\rtf" },
        { L"{\\rtfx}", L"this is not RTF: it does not begin with {\\rtf" },
        { L"{\\rtf1{\\b x}", L"the text ends with 1 groups open; the innermost begins at character 0" },
        { L"{\\rtf1 {\\b{x", L"the text ends with 3 groups open; the innermost begins at character 10" },
        { L"{\\rtf1 a\\}", L"the text ends with 1 groups open; the innermost begins at character 0" },
        { L"{\\rtf1}}", L"character 7: text follows the document's closing brace" },
        { L"{\\rtf1}\n{\\rtf1}", L"character 8: text follows the document's closing brace" },
        { L"{\\rtf1\\bin9 abc}", L"character 6: \\bin announces 9 characters, the text has 4" },
        { L"{\\rtf1\\bin-1 abc}", L"character 6: \\bin announces -1 characters, the text has 0" },
        { L"{\\rtf1\\bin99999999999 abc}",
          L"character 6: \\bin announces 2147483647 characters, the text has 4" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(c.rtf)));
        SString why(L"old");
        EXPECT_EQ(*c.why == L'\0', SRtfMerger::Check(c.rtf, &why) != 0);
        EXPECT_STREQ(c.why, why.PszStr());
        SRtfMerger merger;
        SString refused;
        EXPECT_EQ(SRtfMerger::Check(c.rtf), merger.AddFragment(c.rtf, SRtfMerger::kPageBreak, &refused));
        EXPECT_EQ(why, refused);
        EXPECT_EQ(*c.why == L'\0', merger.Count() == 1);
    }
}

TEST(RtfCheck, AcceptsGroupsUpToItsDepth)
{
    const auto nested = [](int depth) {
        return SString(L"{\\rtf1") + SString(L'{', depth - 1) + SString(L'}', depth);
    };
    SString why;
    EXPECT_EQ(1, SRtfMerger::Check(nested(SRtfMerger::kMaxDepth), &why)) << why;
    EXPECT_EQ(0, SRtfMerger::Check(nested(SRtfMerger::kMaxDepth + 1), &why));
    EXPECT_STREQ(L"character 1005: groups are nested deeper than 1000", why.PszStr());
    EXPECT_EQ(0, SRtfMerger::Check(nested(100000)));
}

// ---- Documents ----

TEST(RtfMerge, GivesEachFragmentItsNumbersInOneSetOfTables)
{
    const SString document =
        Merged({ L"{\\rtf1\\ansi\\ansicpg1252\\deff1\\deflang1033{\\fonttbl{\\f0 Arial;}{\\f1 Times;}}"
                 L"{\\colortbl;\\red255\\green0\\blue0;}{\\stylesheet{\\s0\\f1 "
                 L"Normal;}{\\s5\\b\\cf1\\sbasedon0 Head;}}"
                 L"\\f0\\cf1\\s5 one\\par}",
                 L"{\\rtf1\\ansi\\deff0\\deflang1031{\\fonttbl\\f0\\fswiss Times;\\f9 Courier;}"
                 L"{\\colortbl\\red1\\green1\\blue1;\\red255\\green0\\blue0;}"
                 L"{\\stylesheet{\\*\\cs5\\f9 Head;}{\\s6\\cf0\\sbasedon222\\snext6 Body;}}"
                 L"\\plain\\f9\\cf0\\highlight1\\cs5\\s6\\s7 two}" });
    EXPECT_STREQ(
        L"{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff1\\deflang1033\r\n"
        L"{\\fonttbl\r\n{\\f0 Arial;}\r\n{\\f1 Times;}\r\n{\\f2 Courier;}\r\n}\r\n"
        L"{\\colortbl\r\n;\r\n\\red255\\green0\\blue0;\r\n\\red1\\green1\\blue1;\r\n}\r\n"
        L"{\\stylesheet\r\n{\\f1 Normal;}\r\n{\\s1\\b\\cf1\\sbasedon0 Head;}\r\n{\\*\\cs2\\f2 Head;}\r\n"
        L"{\\s3\\cf2\\snext3 Body;}\r\n}\r\n"
        L"{\\pard\\uc1 \\f0\\cf1\\s1 one\\par}\r\n"
        L"{\\pard\\lang1031\\uc1 \\plain\\lang1031 \\f2\\cf2\\highlight1\\cs2\\s3 two}}\r\n",
        document.PszStr());
}

TEST(RtfMerge, ChangesWhatItMustAndNothingElse)
{
    const struct {
        const wchar_t *body, *wanted;
        const wchar_t* why;
    } kCases[] = {
        { L" {\\b bold} normal\\par", L" {\\b bold} normal\\par", L"white space stays" },
        { L"\\cf7\\f9 text", L"\\cf0 text", L"what is not there is dropped or automatic" },
        { L"\\b\\f9text", L"\\b text", L"text does not run into a word" },
        { L"\\b\\f9\\i text", L"\\b\\i text", L"a word needs no blank in front" },
        { L"\\b{\\fonttbl{\\f1 X;}}{\\*\\generator Y;}text", L"\\b text", L"second tables go" },
        { L"\\f0Hello \\fs24\\f{\\{\\f0\\}}", L"\\f0Hello \\fs24\\f{\\{\\f0\\}}", L"" },
        { L"caf\\'e9 \\'41", L"caf\\u233? \\'41", L"bytes become characters" },
        { L"{\\f1\\'e9}\\'80", L"{\\f1\\u1081?}\\u8364?", L"by their font" },
        { L"{\\f2\\'e9\xe9}", L"{\\f2\\'e9\\'e9}", L"a symbol font's stay" },
        { L"{\\f3\\'82\\'a0\\'83A \\'83\\'5c}", L"{\\f3\\u12354?\\u12450? \\u12477?}", L"pairs of bytes" },
        { L"\\u233\\'e9\\'e8", L"\\u233\\'e9\\u232?", L"a substitute is none" },
        { L"\\uc0\\u233\\'e9 {\\uc2\\'e9\\u12354\\'82\\'a0}",
          L"\\uc0\\u233\\u233  {\\uc2\\u233??\\u12354\\'82\\'a0}", L"" },
        { L"\\uc70000\\'e9", L"\\uc70000\\uc1\\u233?\\uc70000 ", L"" },
        { L"\x3b3\xe9\xffff", L"\\u947?\\u233?\\u-1?", L"units as characters and bytes" },
        { L"\\u947\x3b3", L"\\u947?", L"" },
        { L"{\\pict\\wbmp\\bin3 {\x81}ff}", L"{\\pict\\wbmp 7b817dff}", L"binary data in digits" },
        { L"a\\bin2 {}b", L"ab", L"and none where there is no picture" },
        { L"\\paperw100\\margl5\\sectd x{\\info y}", L"x", L"a later fragment's page is not the document's" },
        { L"{\\header h}x\\sect\\sectd\\cols2{\\header i}y", L"x\\sect\\sectd\\cols2{\\header i}y",
          L"before its own sections" },
        { L"{\\qc{\\trowd\\intbl a\\cell\\row} b}", L"{\\qc{\\trowd\\intbl a\\cell\\row}\\pard\\qc  b}",
          L"text leaves a table" },
        { L"\\trowd\\intbl a\\cell\\row\\intbl b\\cell\\row\\pard c",
          L"\\trowd\\intbl a\\cell\\row\\intbl b\\cell\\row\\pard c", L"" },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(c.body)) +
                     testing::PrintToString(std::wstring(c.why)));
        const SString fragment = SString::Concat(HEAD, c.body, L"}");
        const std::wstring body = BodyOf({ HEAD L"}", fragment });
        const std::wstring before = L"{\\pard\\uc1 }\r\n{\\pard\\uc1 ";
        ASSERT_EQ(before, body.substr(0, before.size()));
        EXPECT_EQ(c.wanted + std::wstring(L"}}\r\n"), body.substr(before.size()));
    }
}

TEST(RtfMerge, EndsAParagraphOnlyWhereOneIsOpen)
{
    const struct {
        const wchar_t* body;
        bool open;
    } kCases[] = {
        { L"text", true },     { L"text\\par", false },       { L"text\\par\r\n", false },
        { L"a\\par b", true }, { L"{\\b text}", true },       { L"\\'e9", true },
        { L"\\u233?", true },  { L"x\\\n", false },           { L"", false },
        { L"\\b\\qc", false }, { L"\\par{\\*\\x y}", false }, { L"\\par{\\pict 00}", true },
        { L"x\\sect", false }, { L"x\\par\\tab", true },      { L"x{\\footnote y\\par}", true },
        { L"\\bullet", true }, { L"a\\cell\\row", false },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(c.body)));
        const std::wstring body = BodyOf({ SString::Concat(L"{\\rtf1 ", c.body, L"}"), L"{\\rtf1 next}" });
        const size_t next = body.find(L"}\r\n{\\pard\\uc1 next}}");
        ASSERT_NE(std::wstring::npos, next);
        const std::wstring closed = std::wstring(c.body) + L"}";
        EXPECT_EQ(c.open, Occurrences(body, L"\\par}") > Occurrences(closed, L"\\par}"))
            << testing::PrintToString(body);
    }
    const std::wstring pages = Wide(Merged({ L"{\\rtf1 a}", L"{\\rtf1 b}" }, SRtfMerger::kPageBreak));
    EXPECT_NE(std::wstring::npos, pages.find(L"{\\pard\\uc1 a\\par}\r\n{\\pard\\uc1\\page b}}"));
}

TEST(RtfMerge, TakesTheDocumentsOwnMattersFromTheFirst)
{
    const std::wstring document =
        Wide(Merged({ L"{\\rtf1\\mac\\deff7\\uc2{\\info{\\title T\\'8e}}\\paperw500\\sectd\\cols2 a}",
                      L"{\\rtf1\\paperw900{\\info{\\title U}}{\\*\\generator G}\\cols3 b}" }));
    EXPECT_NE(
        std::wstring::npos,
        document.find(L"{\\rtf1\\mac\\uc1\r\n{\\info{\\title T\\u233??}}\\paperw500\\sectd\\cols2{\\pard"));
    EXPECT_EQ(0, Occurrences(document, L"900") + Occurrences(document, L"cols3") +
                     Occurrences(document, L"title U"));
}

TEST(RtfMerge, KeepsAWordFromWhatFollowsSomethingThatGoes)
{
    // \\bi and n3 must not become the \\bin3 that swallows three braces.
    static constexpr std::wstring_view kBetween[] = {
        std::wstring_view(L"\0", 1),
        std::wstring_view(L"\0\0", 2),
        L"\\\x80",
        std::wstring_view(L"\\\x80\0", 3),
        L"{\\fonttbl}",
        L"\\bin0 ",
        L"\\ansi ",
    };
    for (const std::wstring_view between : kBetween) {
        std::wstring text(L"{\\rtf1\\bi");
        text += between;
        text += L"n3{{{x}}}}";
        SRtfMerger merger;
        ASSERT_EQ(1, merger.AddFragment(SString(std::wstring_view(text)))) << text;
        const SString document = merger.GetDocument();
        EXPECT_NE(nullptr, document.Find(L"\\bi n3{{{x}}}")) << document;
        EXPECT_EQ(1, SRtfMerger::Check(document)) << document;
    }
}

TEST(RtfMerge, KeepsListsApart)
{
    const wchar_t* const kFragment =
        L"{\\rtf1{\\*\\listtable{\\list\\listtemplateid7{\\listlevel{\\leveltext\\'01\\u8226 ?;}}\\listid42}}"
        L"{\\*\\listoverridetable{\\listoverride\\listid42\\ls3}}\\ls3 item\\par\\ls0 none\\par}";
    const std::wstring document = Wide(Merged({ kFragment, kFragment }));
    EXPECT_EQ(1, Occurrences(document, L"{\\*\\listtable{\\list\\listtemplateid7"));
    for (const wchar_t* wanted : { L"\\listid1}", L"\\listid2}", L"{\\listoverride\\listid1\\ls1}",
                                   L"{\\listoverride\\listid2\\ls2}", L"\\ls1 item", L"\\ls2 item" })
        EXPECT_EQ(1, Occurrences(document, wanted)) << testing::PrintToString(std::wstring(wanted));
    EXPECT_EQ(2, Occurrences(document, L"\\ls0 none"));
}

TEST(RtfMerge, ReadsTablesAsRealDocumentsHaveThem)
{
    SRtfMerger merger;
    EXPECT_EQ(1,
              merger.AddFragment(L"{\\rtf1\\ansicpg1251{\\fonttbl\\f0\\fswiss\\fcharset0 "
                                 L"Helvetica;\\f1\\fmodern \\'c0\\u-3913?x{\\*\\falt Y};}"
                                 L"{\\colortbl ;\\red1 \\green2{\\*\\x y;};}{\\stylesheet{\\s3{\\*\\keycode "
                                 L"k}\\qc H\\'e9;}{\\ql Standard;}}}"));
    EXPECT_EQ(1, merger.AddFragment(L"{\\rtf1{\\fonttbl{\\f0\\fcharset0 HELVETICA;}{\\f1\\fcharset204 "
                                    L"Helvetica;}{\\f2\\b}{\\f3 A\\'3b\\u59?B;}}}"));
    EXPECT_STREQ(L"{\\fonttbl\r\n{\\f0\\fswiss\\fcharset0 Helvetica;}\r\n{\\f1\\fmodern \\u1040 ?\\u61623 "
                 L"?x{\\*\\falt Y};}\r\n"
                 L"{\\f2\\fcharset204 Helvetica;}\r\n{\\f3 A\\'3b\\'3bB;}\r\n}\r\n",
                 merger.GetFonts().GetFontTable().PszStr());
    EXPECT_STREQ(L"{\\colortbl\r\n;\r\n\\red1\\green2;\r\n}\r\n",
                 merger.GetColors().GetColorTable().PszStr());
    EXPECT_STREQ(L"{\\stylesheet\r\n{\\ql Standard;}\r\n{\\s1\\qc H\\u1081 ?;}\r\n}\r\n",
                 merger.GetStyles().GetStyleTable().PszStr());
    EXPECT_EQ(1, merger.GetStyles().HasStyle(L"Standard"));
    merger.Clear();
    EXPECT_EQ(0, merger.Count());
    EXPECT_TRUE(merger.GetDocument().IsEmpty());
}

// ---- Code pages ----

TEST(RtfMerge, ReadsEachByteAsTheSystemDoes)
{
    // Charset, its page; 65001 and a page that there is not come from the document's own word.
    static constexpr struct {
        int charset;
        UINT page;
    } kPages[] = {
        { 0, 1252 },   { 77, 10000 }, { 128, 932 },  { 129, 949 },  { 134, 936 },
        { 136, 950 },  { 161, 1253 }, { 162, 1254 }, { 163, 1258 }, { 177, 1255 },
        { 178, 1256 }, { 186, 1257 }, { 204, 1251 }, { 222, 874 },  { 238, 1250 },
        { 1, 65001 },  { 1, 54936 },  { 1, 65000 },  { 1, 7777 },
    };
    for (const auto& c : kPages) {
        SString escapes, wanted(L" ");
        for (int value = 0x80; value < 0x100; ++value) {
            if (::IsDBCSLeadByteEx(c.page, static_cast<BYTE>(value)))
                continue;
            const char byte = static_cast<char>(value);
            wchar_t character = 0;
            const int made = ::MultiByteToWideChar(c.page, MB_ERR_INVALID_CHARS, &byte, 1, &character, 1);
            const SString escape = SString().Format(L"\\'%x", value);
            escapes += escape;
            wanted += made == 1 ? SString().Format(L"\\u%d?", static_cast<short>(character)) : escape;
        }
        const SString head = SString().Format(
            L"{\\rtf1\\ansi\\ansicpg%u{\\fonttbl{\\f0\\fcharset%d A;}}\\f0 ", c.page, c.charset);
        const SString merged = Merged({ SString::Concat(head, escapes, L"}") });
        EXPECT_NE(nullptr, merged.Find(wanted)) << merged << L"\n" << wanted;
    }
}

namespace {

int g_asked;
decltype(&::GetCPInfo) g_info;
decltype(&::MultiByteToWideChar) g_convert;

BOOL WINAPI CountedInfo(UINT page, CPINFO* info)
{
    ++g_asked;
    return g_info(page, info);
}
int WINAPI CountedConvert(UINT page, DWORD flags, const char* text, int length, wchar_t* output, int room)
{
    ++g_asked;
    return g_convert(page, flags, text, length, output, room);
}

} // namespace

// For a page that it has not got the system looks for a file, each time.
TEST(RtfMerge, AsksTheSystemSeldomAboutACodePage)
{
    const ImportPatch info("CVCore16.dll", nullptr, "GetCPInfo", CountedInfo);
    const ImportPatch convert("CVCore16.dll", nullptr, "MultiByteToWideChar", CountedConvert);
    ASSERT_TRUE(info.Found() && convert.Found());
    g_info = info.Original<BOOL WINAPI(UINT, CPINFO*)>();
    g_convert = convert.Original<int WINAPI(UINT, DWORD, const char*, int, wchar_t*, int)>();
    static constexpr struct {
        const wchar_t *page, *text;
        int asked;
    } kCases[] = {
        { L"1252", L"only ASCII", 0 },
        { L"1252", L"caf\\'e9 na\\'efve", 2 },
        { L"7777", L"caf\\'e9 na\\'efve", 1 },
    };
    for (const auto& c : kCases) {
        g_asked = 0;
        Merged({ SString::Concat(L"{\\rtf1\\ansi\\ansicpg", c.page, L"{\\fonttbl{\\f0 Arial;}}\\f0 ", c.text,
                                 L"}") });
        EXPECT_EQ(c.asked, g_asked) << c.page << L": " << c.text;
    }
}

// ---- Real documents ----

namespace {

/// What a reader would show of a document's paragraphs, by the plainest rules: text outside of hidden groups, escapes decoded
/// as code page 1252, \par as a line end.
class Shown {
public:
    explicit Shown(const SString& rtf) : m_text(Wide(rtf)) {}

    std::wstring Get()
    {
        // From the first brace to the one that closes it: what stands around them is not shown.
        m_at = m_text.find(L'{');
        do {
            Step();
        } while (m_at < m_text.size() && !m_states.empty());
        return m_shown;
    }

private:
    struct State {
        bool hidden;
        int skipCount;
    };

    void Step()
    {
        const wchar_t c = m_text[m_at++];
        if (c == L'{') {
            m_states.push_back(m_states.empty() ? State{ false, 1 } : m_states.back());
            m_first = true;
            m_skip = 0;
        } else if (c == L'}') {
            m_states.pop_back();
            m_skip = 0;
        } else if (c == L'\\') {
            Control();
        } else if (c != L'\r' && c != L'\n') {
            Put(c);
        }
    }
    void Control()
    {
        const wchar_t c = m_text[m_at++];
        if (c == L'\'') {
            const char byte = static_cast<char>(std::stoi(m_text.substr(m_at, 2), nullptr, 16));
            wchar_t wide = 0;
            ::MultiByteToWideChar(1252, 0, &byte, 1, &wide, 1);
            m_at += 2;
            Put(wide);
        } else if (c == L'*') {
            m_states.back().hidden = true;
        } else if (!iswalpha(c)) {
            Put(c);
        } else {
            Word(--m_at);
        }
    }
    void Word(size_t start)
    {
        while (iswalpha(m_text[m_at]))
            ++m_at;
        const std::wstring name = m_text.substr(start, m_at - start);
        wchar_t* end;
        const long number = std::wcstol(&m_text[m_at], &end, 10);
        m_at = m_text[m_at] == L' ' ? m_at : static_cast<size_t>(end - &m_text[0]);
        if (m_text[m_at] == L' ')
            ++m_at;
        static const std::wstring kHidden[] = { L"fonttbl", L"colortbl", L"stylesheet", L"info",
                                                L"pict",    L"footnote", L"fldinst",    L"footer" };
        if (m_first && std::find(std::begin(kHidden), std::end(kHidden), name) != std::end(kHidden))
            m_states.back().hidden = true;
        m_first = false;
        if (name == L"uc")
            m_states.back().skipCount = static_cast<int>(number);
        else if (name == L"par")
            Put(L'\n');
        else if (name == L"tab" || name == L"cell")
            Put(L'\t');
        if (name != L"u")
            return;
        m_skip = 0;
        Put(static_cast<wchar_t>(number));
        m_skip = m_states.back().skipCount;
    }
    void Put(wchar_t c)
    {
        m_first = false;
        if (m_skip > 0)
            --m_skip;
        else if (!m_states.back().hidden)
            m_shown += c;
    }

    std::wstring m_text, m_shown;
    size_t m_at = 0;
    std::vector<State> m_states;
    int m_skip = 0;
    bool m_first = false;
};

} // namespace

TEST(RtfMerge, ShowsTheTextOfFiveProducersInEveryOrder)
{
    std::vector<int> order = { 0, 1, 2, 3, 4 };
    std::wstring alone[kRtfFileCount];
    for (int i = 0; i < kRtfFileCount; ++i) {
        alone[i] = Shown(RtfFile(i)).Get();
        ASSERT_GT(alone[i].size(), 100u);
    }
    do {
        SRtfMerger merger;
        std::wstring wanted;
        for (const int i : order) {
            SString why;
            ASSERT_EQ(1, merger.AddFragment(RtfFile(i), SRtfMerger::kParagraphBreak, &why)) << why;
            if (!wanted.empty() && wanted.back() != L'\n' && wanted.back() != L'\t')
                wanted += L'\n';
            wanted += alone[i];
        }
        const SString document = merger.GetDocument();
        SString why;
        ASSERT_EQ(1, SRtfMerger::Check(document, &why)) << why;
        ASSERT_TRUE(IsPlainAscii(document));
        ASSERT_EQ(wanted, Shown(document).Get());
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(RtfMerge, OfOneDocumentIsThatDocumentAndMergesAgainToItself)
{
    for (int i = 0; i < kRtfFileCount; ++i) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(kRtfFiles[i])));
        SRtfMerger once;
        once.AddFragment(RtfFile(i));
        SRtfMerger twice;
        twice.AddFragment(once.GetDocument());
        EXPECT_EQ(once.GetFonts().GetFontTable(), twice.GetFonts().GetFontTable());
        EXPECT_EQ(once.GetColors().GetColorTable(), twice.GetColors().GetColorTable());
        EXPECT_EQ(once.GetStyles().GetStyleTable(), twice.GetStyles().GetStyleTable());
        EXPECT_EQ(Shown(RtfFile(i)).Get(), Shown(twice.GetDocument()).Get());
    }
}

// ---- Hostile texts ----

TEST(RtfMergeHostile, AFragmentCostsTheSameWhateverCameBefore)
{
    const SString review = RtfFile(4);
    const auto calls = [&](int fragments) {
        SRtfMerger merger;
        for (int i = 0; i < fragments; ++i)
            merger.AddFragment(review);
        AllocationFailures allocations;
        allocations.Arm(0, FailMode::Once);
        for (int i = 0; i < 50; ++i)
            merger.AddFragment(review);
        allocations.Disarm();
        return allocations.Calls();
    };
    const int first = calls(1), later = calls(400);
    EXPECT_GT(first, 0);
    EXPECT_LE(later, first + first / 5);
}

TEST(RtfMergeHostile, HugeDocumentsCostAPass)
{
    std::wstring groups, fonts, bytes;
    for (int i = 0; i < 300000; ++i) {
        groups += L"{\\f9x}{\\fonttbl}";
        bytes += L"\\'83A\\'83\\u1";
    }
    for (int i = 0; i < 100000; ++i)
        fonts += L"{\\f" + std::to_wstring(i) + L" F" + std::to_wstring(i) + L";}";
    const SString kBodies[] = {
        SString(L' ', 10000000),
        SString(L'\xe9', 2000000),
        SString(std::wstring_view(groups)),
        SString(std::wstring_view(L"{\\fonttbl" + fonts + L"}")),
        SString(std::wstring_view(L"{\\fonttbl{\\f0\\fcharset128 A;}}" + bytes)),
        SString(L"\\bin9000000 ") + SString(L'{', 9000000),
        SString(L"{\\colortbl") + SString(L';', 3000000) + L"}",
    };
    for (const SString& body : kBodies) {
        const StringsAtRest atRest;
        SRtfMerger merger;
        SString why;
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(
                1, merger.AddFragment(SString::Concat(L"{\\rtf1", body, L"}"), SRtfMerger::kPageBreak, &why))
                << why;
        const SString document = merger.GetDocument();
        EXPECT_EQ(1, SRtfMerger::Check(document, &why)) << why;
        EXPECT_LE(document.Length(), 20 * body.Length());
    }
}

TEST(RtfMergeHostile, DamagedDocumentsAreRefusedOrMergedIntoSoundOnes)
{
    std::mt19937 random(TestSeed());
    int merged = 0, refused = 0;
    for (int round = 0; round < 1500; ++round) {
        const StringsAtRest atRest;
        SRtfMerger merger;
        for (int i = 0; i < 3; ++i) {
            const SString text = Mutated(RtfFile(static_cast<int>(random() % kRtfFileCount)), random);
            SString why;
            const SString before = merger.GetDocument();
            const int added = merger.AddFragment(text, SRtfMerger::kPageBreak, &why);
            ASSERT_EQ(SRtfMerger::Check(text), added);
            ASSERT_EQ(added == 0, !why.IsEmpty());
            ASSERT_TRUE(added || before == merger.GetDocument());
            ++(added ? merged : refused);
        }
        const SString document = merger.GetDocument();
        SString why;
        if (merger.Count() > 0) {
            ASSERT_EQ(1, SRtfMerger::Check(document, &why)) << why;
            ASSERT_TRUE(IsPlainAscii(document));
        }
    }
    EXPECT_GT(merged, 500);
    EXPECT_GT(refused, 500);
}
