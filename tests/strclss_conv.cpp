// The string's number texts, classification, narrow texts, resources; and that nothing is lost when memory runs out.
#include "strclss.h"

#include "sexcept.h"
#include "strbuffer.h"
#include "support/allocfail.h"
#include "support/seed.h"
#include "support/stringhelp.h"
#include "support/uilanguage.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <string>

namespace {

std::wstring Shortest(double number)
{
    char text[32];
    return std::wstring(text, std::to_chars(text, std::end(text), number).ptr);
}

} // namespace

TEST(StringNumbers, RoundTrip)
{
    std::mt19937 random(TestSeed());
    for (int i = 0; i < Cases(200000, kMillion); ++i) {
        const long whole = static_cast<long>(random() >> random() % 32) * (i % 2 ? 1 : -1);
        ASSERT_EQ(std::to_wstring(whole), Wide(SString(whole)));
        ASSERT_EQ(whole, SString(whole).ToLONG());
        const unsigned long positive = random() >> random() % 32;
        ASSERT_EQ(std::to_wstring(positive), Wide(SString(positive)));
        ASSERT_EQ(positive, SString(positive).ToULONG());
        const unsigned long long bits = (static_cast<unsigned long long>(random()) << 32) | random();
        double number;
        std::memcpy(&number, &bits, sizeof number);
        if (std::isnan(number))
            continue;
        const SString text(number);
        ASSERT_EQ(number, text.ToDouble()) << text;
        ASSERT_LE(text.Length(), 24) << text;
        // Decimals of any length: the text is the shortest one, by the standard library's account too.
        const double decimal = static_cast<double>(static_cast<long long>(bits >> (10 + random() % 50))) /
                               std::pow(10, random() % 12);
        ASSERT_EQ(Shortest(decimal), Wide(SString(decimal)));
        ASSERT_EQ(Shortest(-decimal), Wide(SString(-decimal)));
    }
    const struct {
        double number;
        const wchar_t* text;
    } shortest[] = { { 0.1, L"0.1" },
                     { 1e300, L"1e+300" },
                     { -2.5, L"-2.5" },
                     { 0, L"0" },
                     { -0.0, L"-0" },
                     { 5e-324, L"5e-324" },
                     { 1.0 / 3, L"0.3333333333333333" },
                     { 123456, L"123456" },
                     { 100000, L"1e+05" },
                     { 0.0012, L"0.0012" },
                     { 123456789.123, L"123456789.123" },
                     { std::numeric_limits<double>::infinity(), L"inf" },
                     { -std::numeric_limits<double>::infinity(), L"-inf" },
                     { std::numeric_limits<double>::quiet_NaN(), L"nan" },
                     { -std::numeric_limits<double>::quiet_NaN(), L"nan" } };
    for (const auto& c : shortest)
        EXPECT_STREQ(c.text, SString(c.number));
}

TEST(StringNumbers, ReadWhatStandsAtTheStart)
{
    const struct {
        const wchar_t* text;
        int base;
        long whole;
        unsigned long positive;
    } wholes[] = { { L"", 10, 0, 0 },
                   { L" \t42abc", 10, 42, 42 },
                   { L"-7", 10, -7, 0 },
                   { L"+7", 10, 7, 7 },
                   { L"2147483648", 10, 2147483647, 2147483648u },
                   { L"-2147483648", 10, -2147483647 - 1, 0 },
                   { L"-99999999999999999999999", 10, -2147483647 - 1, 0 },
                   { L"99999999999999999999999", 10, 2147483647, 4294967295u },
                   { L"0x1F", 10, 0, 0 },
                   { L"0x1F", 16, 31, 31 },
                   { L"0X1f", 0, 31, 31 },
                   { L"1F", 16, 31, 31 },
                   { L"010", 0, 10, 10 },
                   { L"0xg", 16, 0, 0 },
                   { L"- 5", 10, 0, 0 } };
    for (const auto& c : wholes) {
        EXPECT_EQ(c.whole, SString(c.text).ToLONG(c.base)) << SString(c.text);
        EXPECT_EQ(c.positive, SString(c.text).ToULONG(c.base)) << SString(c.text);
    }
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const wchar_t* text;
        double number;
    } reals[] = { { L"", 0 },
                  { L"x", 0 },
                  { L" 1.5kg", 1.5 },
                  { L"+.5", .5 },
                  { L"5.", 5 },
                  { L".", 0 },
                  { L"-1e3", -1000 },
                  { L"1e", 1 },
                  { L"1e+", 1 },
                  { L"1,5", 1 },
                  { L"1e999", infinity },
                  { L"-1e999", -infinity },
                  { L"1e-999", 0 },
                  { L"-Inf", -infinity },
                  { L"infinite", infinity },
                  { L"0001", 1 },
                  { L"0.0000001e999999999999", infinity } };
    for (const auto& c : reals)
        EXPECT_EQ(c.number, SString(c.text).ToDouble()) << SString(c.text);
    EXPECT_TRUE(std::isnan(SString(L"nan").ToDouble()));
    EXPECT_EQ(infinity, SString(L'9', 400).ToDouble());
    EXPECT_EQ(1.0, (L"1." + SString(L'0', 5000)).ToDouble());
    const SString zeros(L'0', 500);
    EXPECT_EQ(0.0, (L"0." + zeros + L"1").ToDouble());
    EXPECT_EQ(0.0, (L"." + zeros + L"1e+10").ToDouble());
    EXPECT_EQ(infinity, (L"1" + zeros + L"e-10").ToDouble());
    EXPECT_EQ(1e10, (L"." + zeros + L"1e511").ToDouble());
    for (const wchar_t* yes : { L"1", L"TRUE", L"yes", L"On", L"-0.5" })
        EXPECT_EQ(1, SString(yes).ToBOOL()) << SString(yes);
    for (const wchar_t* no : { L"", L"0", L"0.0", L"false", L"no", L"truest" })
        EXPECT_EQ(0, SString(no).ToBOOL()) << SString(no);
    const GUID guid = { 0x01234567, 0x89ab, 0xcdef, { 1, 2, 3, 4, 5, 6, 7, 0xF8 } };
    EXPECT_STREQ(L"{01234567-89AB-CDEF-0102-0304050607F8}", SString(guid, 1));
    EXPECT_STREQ(L"01234567-89AB-CDEF-0102-0304050607F8", SString(guid, 0));
}

TEST(StringClasses, HoldForWholeTexts)
{
    typedef bool (SString::*Predicate)() const;
    const struct {
        const char* name;
        Predicate predicate;
        std::vector<const wchar_t*> yes, no;
    } cases[] = {
        { "IsASCII", &SString::IsASCII, { L"a~\x7f" }, { L"a\u0080" } },
        { "IsAlpha", &SString::IsAlpha, { L"a\u00e9\u0416" }, { L"a1", L"a b" } },
        { "IsAlphaNum", &SString::IsAlphaNum, { L"a\u00e91" }, { L"a_1" } },
        { "IsDigit", &SString::IsDigit, { L"0123456789" }, { L"1a", L"-1" } },
        { "IsXDigit", &SString::IsXDigit, { L"09afAF" }, { L"0x1", L"g" } },
        { "IsHexa", &SString::IsHexa, { L"0x0", L"0XfF9" }, { L"0x", L"12", L"0x1g", L"x1" } },
        { "IsInteger", &SString::IsInteger, { L"0", L"-12", L"+12" }, { L"-", L"1.", L" 1", L"1e2" } },
        { "IsNumber",
          &SString::IsNumber,
          { L"0", L"-1.5e3", L".5", L"5.", L"+1E-7" },
          { L".", L"-", L"1e", L"1 ", L"e5", L"1.2.3", L"inf" } },
        { "IsLower", &SString::IsLower, { L"ab\u00e9" }, { L"aB", L"a1" } },
        { "IsUpper", &SString::IsUpper, { L"AB\u00c9" }, { L"aB", L"A1" } },
        { "IsWhitespace", &SString::IsWhitespace, { L" \t\r\n\u00a0" }, { L" a " } },
        { "IsRtf", &SString::IsRtf, { L"{\\rtf1 x}", L"{\\rtf" }, { L" {\\rtf1}", L"{\\rt", L"{\\RTF1" } },
        { "IsRtfText", &SString::IsRtfText, { L"{\\rtf1 x}", L" \r\n{\\rtf1" }, { L"x{\\rtf1}" } },
        { "CanConvertToMBCS", &SString::CanConvertToMBCS, { L"plain" }, { L"\u4e2d\u6587 \U0001F600" } },
    };
    for (const auto& c : cases) {
        EXPECT_FALSE((SString().*c.predicate)()) << c.name << " of the empty text";
        for (const wchar_t* text : c.yes)
            EXPECT_TRUE((SString(text).*c.predicate)()) << c.name << SString(text);
        for (const wchar_t* text : c.no)
            EXPECT_FALSE((SString(text).*c.predicate)()) << c.name << SString(text);
    }
    const SString longLetters(L'a', 1000);
    EXPECT_TRUE(longLetters.IsAlpha());
    EXPECT_FALSE((longLetters + L"1").IsAlpha());
}

TEST(StringNarrow, GoesThroughTheAnsiCodePage)
{
    char bytes[256];
    for (int i = 0; i < 255; ++i)
        bytes[i] = static_cast<char>(i + 1);
    bytes[255] = '\0';
    wchar_t expected[256];
    ASSERT_GT(::MultiByteToWideChar(CP_ACP, 0, bytes, -1, expected, 256), 0);
    const SString text(bytes);
    EXPECT_STREQ(expected, text);
    char back[256];
    const int needed = text._ToAnsi(nullptr, 0);
    ASSERT_LE(needed, 256);
    back[0] = '?';
    text._ToAnsi(back, needed - 1);
    EXPECT_EQ('?', back[0]) << "too small a buffer stays as it is";
    text._ToAnsi(back, needed);
    EXPECT_STREQ(expected, SString(back)) << "what the code page holds comes back";
    EXPECT_EQ(needed - 1, text.LengthByte(CP_ACP));
    EXPECT_EQ(6, SString(L"a\u00e9\u4e2d").LengthByte(CP_UTF8));
    EXPECT_EQ(6, SString(L"abc").LengthByte());
    EXPECT_STREQ(L"ab", SString("abc", 2));
    EXPECT_STREQ(L"abc", SString("abc", 99));
    EXPECT_TRUE(SString("abc", 0).IsEmpty());
    EXPECT_STREQ(L"abc", SString(static_cast<const void*>("abc"), false));
    EXPECT_STREQ(L"abc", SString(static_cast<const void*>(L"abc"), true));
    SString s(L"x");
    s = "narrow";
    s += '!';
    EXPECT_STREQ(L"narrow!", s);
    s = 'c';
    EXPECT_STREQ(L"c", s);
    s = static_cast<const char*>(nullptr);
    EXPECT_TRUE(s.IsEmpty());
}

TEST(StringResources, ComeFromTheModulesStringTable)
{
    // The test program's own table: ids 1000, 1001 and 1015; see strclss.rc.
    SString s(L"kept");
    EXPECT_EQ(0, s.TryLoad(nullptr, 1003));
    EXPECT_STREQ(L"kept", s);
    EXPECT_EQ(1, s.TryLoad(nullptr, 1000));
    EXPECT_STREQ(L"%s has %d parts", s);
    EXPECT_EQ(1, s.LoadString(1015));
    EXPECT_STREQ(L"the last of its block", s);
    EXPECT_EQ(0, s.LoadString(60000));
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_STREQ(L"second", SString(static_cast<HINSTANCE>(nullptr), 1001));
    EXPECT_STREQ(L"it has 3 parts", s.Format(1000u, L"it", 3));
    EXPECT_TRUE(s.Format(60000u, 1).IsEmpty());
}

TEST(StringResources, AreInTheUiLanguageOfTheThreadWhereThereIsOne)
{
    const WORD french = MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH);
    const WORD canadian = MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH_CANADIAN);
    const WORD swiss = MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH_SWISS);
    const WORD german = MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN);
    const struct {
        WORD language;
        unsigned id;
        const wchar_t* wanted;
    } kTexts[] = {
        { french, 1000, L"%s a %d parties" },
        { swiss, 1000, L"%s a %d parties" },
        { canadian, 1000, L"%s a %d parties, icitte" },
        { canadian, 1002, L"seulement" }, // not in its own table, in that of the language
        { french, 1001, L"second" },      // in none of French
        { canadian, 1015, L"the last of its block" },
        { german, 1000, L"%s has %d parts" },
        { MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_UK), 1000, L"%s has %d parts" },
        { german, 1003, L"" },
    };
    for (const auto& t : kTexts) {
        SCOPED_TRACE(testing::Message() << "language " << t.language << ", text " << t.id);
        const UiLanguage language(t.language);
        SString text;
        EXPECT_EQ(*t.wanted != 0, text.LoadString(t.id) == 1);
        EXPECT_STREQ(t.wanted, text);
    }
}

TEST(StringOutOfMemory, ThrowsWithItsPlace)
{
    struct Place {
        int length;
        const wchar_t* location;
    };
    const Place places[] = { { 17, L"(1040)" },   { 33, L"(1041)" },   { 65, L"(1042)" },
                             { 129, L"(1043)" },  { 257, L"(1044)" },  { 513, L"(1045)" },
                             { 1025, L"(1046)" }, { 2049, L"(1047)" }, { 2050, L"(1060)" } };
    const StringsAtRest rest;
    for (const Place& place : places) {
        std::vector<SString> hoard;
        FillPools(hoard);
        AllocationFailures failures;
        failures.Arm(1, FailMode::FromThenOn);
        try {
            SString taken[200];
            for (SString& s : taken)
                s = SString(L'h', place.length);
            failures.Disarm();
            ADD_FAILURE() << "memory for all of " << place.length;
        }
        catch (const SEOutOfMemory& e) {
            // Asked for its texts while the heap is still empty.
            const wchar_t* location = e.GetLocation();
            const wchar_t* text = e.GetText();
            const SEOutOfMemory copy(e);
            failures.Disarm();
            EXPECT_NE(nullptr, std::wcsstr(location, place.location));
            EXPECT_STREQ(L"\n    HRESULT = 0x8007000E", text);
            EXPECT_STREQ(location, copy.GetLocation());
        }
    }
}

TEST(StringNumbers, OfEveryWholeTypeAreWritten)
{
    EXPECT_STREQ(L"4294967295", SString(4294967295u));
    EXPECT_STREQ(L"-9223372036854775808", SString(std::numeric_limits<long long>::min()));
    EXPECT_STREQ(L"18446744073709551615", SString(std::numeric_limits<unsigned long long>::max()));
    EXPECT_STREQ(L"0", SString(0ull));
    SStringBuffer buffer;
    buffer << 1u << L' ' << -2ll << L' ' << 3ull << L' ' << 0.5 << L' ' << std::wstring_view(L"view");
    EXPECT_STREQ(L"1 -2 3 0.5 view", SString(buffer));
    SString text(L"old");
    text = nullptr;
    EXPECT_STREQ(L"", text);
    EXPECT_STREQ(L"", SString(nullptr));
}
