// What the library's text code takes the system for. Both lanes hold to it: the native one answers with calls of its own.
#include "strclss.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

namespace {

std::wstring Read(UINT page, DWORD flags, const std::string& bytes)
{
    wchar_t units[64];
    const int made =
        ::MultiByteToWideChar(page, flags, bytes.data(), static_cast<int>(bytes.size()), units, 64);
    EXPECT_EQ(made,
              ::MultiByteToWideChar(page, flags, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0));
    return std::wstring(units, static_cast<size_t>(made));
}

std::string Write(UINT page, DWORD flags, const std::wstring& units)
{
    char bytes[64];
    const int count = static_cast<int>(units.size());
    const int made = ::WideCharToMultiByte(page, flags, units.data(), count, bytes, 64, nullptr, nullptr);
    EXPECT_EQ(made, ::WideCharToMultiByte(page, flags, units.data(), count, nullptr, 0, nullptr, nullptr));
    return std::string(bytes, static_cast<size_t>(made));
}

std::wstring Printed(const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    SString made;
    made.FormatV(format, arguments);
    va_end(arguments);
    return std::wstring(made, static_cast<size_t>(made.Length()));
}

} // namespace

TEST(SystemFacts, HowBytesAreRead)
{
    const struct {
        UINT page;
        DWORD flags;
        const char* bytes;
        const wchar_t* units;
    } kCases[] = {
        { CP_UTF8, 0, "a\xC3\xA4\xE4\xB8\xAD", L"a\u00E4\u4E2D" },
        { CP_UTF8, 0, "\xF0\x9F\x98\x80", L"\U0001F600" },
        { CP_UTF8, 0, "x\xFFy", L"x\uFFFDy" },
        { CP_UTF8, 0, "\xE4\xB8", L"\uFFFD" },
        { CP_UTF8, 0, "\xF0\x9F\x98", L"\uFFFD" },
        { CP_UTF8, 0, "\xC0\x80", L"\uFFFD\uFFFD" },
        { CP_UTF8, 0, "\xF5\x80\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD" },
        { CP_UTF8, MB_ERR_INVALID_CHARS, "a\xFF", L"" },
        { CP_UTF8, MB_ERR_INVALID_CHARS, "a\xE4\xB8", L"" },
        { CP_UTF8, MB_ERR_INVALID_CHARS, "\xEF\xBF\xBD", L"\uFFFD" },
        { 1252, 0, "a\x80\xE9\xFF", L"a\u20AC\u00E9\u00FF" },
        { 1252, MB_ERR_INVALID_CHARS, "\x81\x9D", L"\u0081\u009D" },
        { CP_ACP, 0, "\x93\x94", L"\u201C\u201D" },
        { 932, MB_ERR_INVALID_CHARS, "\x82\xA0", L"\u3042" },
        { 932, MB_ERR_INVALID_CHARS, "a", L"a" },
    };
    for (const auto& c : kCases)
        EXPECT_EQ(c.units, Read(c.page, c.flags, c.bytes))
            << c.page << ": " << testing::PrintToString(c.bytes);
}

TEST(SystemFacts, WhatDoesNotFitIsRefused)
{
    wchar_t units[3];
    char bytes[3];
    EXPECT_EQ(0, ::MultiByteToWideChar(CP_UTF8, 0, "abc", 3, units, 2));
    EXPECT_EQ(0, ::MultiByteToWideChar(1252, 0, "abc", 3, units, 2));
    EXPECT_EQ(0, ::WideCharToMultiByte(CP_UTF8, 0, L"\u4E2D", 1, bytes, 2, nullptr, nullptr));
    EXPECT_EQ(3, ::WideCharToMultiByte(CP_UTF8, 0, L"\u4E2D", 1, bytes, 3, nullptr, nullptr));
}

TEST(SystemFacts, HowUnitsAreWritten)
{
    const struct {
        UINT page;
        DWORD flags;
        std::wstring units;
        const char* bytes;
    } kCases[] = {
        { CP_UTF8, 0, L"a\u00E4\u4E2D\U0001F600", "a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80" },
        { CP_UTF8, 0, L"\xD800", "\xEF\xBF\xBD" },
        { CP_UTF8, 0, L"\xDC00x", "\xEF\xBF\xBDx" },
        { CP_UTF8, WC_ERR_INVALID_CHARS, L"a\xD800", "" },
        { CP_UTF8, WC_ERR_INVALID_CHARS, L"\u07FF\u0800\uFFFF", "\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF" },
        { 1252, WC_NO_BEST_FIT_CHARS, L"a\u20AC\u00E9", "a\x80\xE9" },
        { 1252, WC_NO_BEST_FIT_CHARS, L"\u4E2D", "?" },
    };
    for (const auto& c : kCases)
        EXPECT_EQ(c.bytes, Write(c.page, c.flags, c.units))
            << c.page << ": " << testing::PrintToString(c.units);
}

TEST(SystemFacts, WhichBytesLead)
{
    const struct {
        UINT page;
        std::string ranges; // from, to, ...
    } kCases[] = { { 932, "\x81\x9F\xE0\xFC" }, { 1252, "" }, { CP_UTF8, "" } };
    for (const auto& c : kCases) {
        CPINFO info;
        ASSERT_TRUE(::GetCPInfo(c.page, &info)) << c.page;
        const std::string leads(reinterpret_cast<const char*>(info.LeadByte), sizeof info.LeadByte);
        EXPECT_EQ(c.ranges, leads.substr(0, leads.find('\0'))) << c.page;
    }
}

TEST(SystemFacts, WhatLettersAre)
{
    const wchar_t text[] = L"aZ\u00E4\u00DF\u0130\u0301\u03A9 7";
    const int count = static_cast<int>(std::wcslen(text));
    wchar_t upper[16] = {}, lower[16] = {};
    EXPECT_EQ(count, ::LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, text, count, upper, 16));
    EXPECT_EQ(count, ::LCMapStringW(LOCALE_INVARIANT, LCMAP_LOWERCASE, text, count, lower, 16));
    EXPECT_EQ(std::wstring(L"AZ\u00C4\u00DF\u0130\u0301\u03A9 7"), upper);
    EXPECT_EQ(std::wstring(L"az\u00E4\u00DF"), std::wstring(lower, 4));
    WORD types[16] = {};
    EXPECT_TRUE(::GetStringTypeW(CT_CTYPE1, text, count, types));
    EXPECT_EQ(C1_LOWER | C1_ALPHA, types[0] & (C1_LOWER | C1_UPPER | C1_ALPHA | C1_DIGIT | C1_SPACE));
    EXPECT_EQ(C1_UPPER | C1_ALPHA, types[1] & (C1_LOWER | C1_UPPER | C1_ALPHA | C1_DIGIT | C1_SPACE));
    EXPECT_EQ(C1_SPACE, types[7] & (C1_ALPHA | C1_DIGIT | C1_SPACE));
    EXPECT_EQ(C1_DIGIT, types[8] & (C1_ALPHA | C1_DIGIT | C1_SPACE));
}

TEST(SystemFacts, WhatFormatsMake)
{
    EXPECT_EQ(L"1.500000|-2.50e+003|inf", Printed(L"%f|%.2e|%hs", 1.5, -2500.0, "inf"));
    EXPECT_EQ(L"   +7|0x00ff|-3  |42", Printed(L"%+5d|0x%04x|%-4ld|%lu", 7, 255, -3L, 42ul));
    EXPECT_EQ(L"ab   |  c|x", Printed(L"%-5.2ls|%3c|%hs", L"abc", L'c', "x"));
    EXPECT_EQ(L"1e+020|0.0001", Printed(L"%g|%g", 1e20, 0.0001));
}

TEST(SystemFacts, WhatGlobalMemoryDoes)
{
    HGLOBAL memory = ::GlobalAlloc(GHND, 5);
    ASSERT_NE(nullptr, memory);
    EXPECT_EQ(5u, ::GlobalSize(memory));
    char* bytes = static_cast<char*>(::GlobalLock(memory));
    EXPECT_EQ(std::string(5, '\0'), std::string(bytes, 5));
    bytes[4] = 'x';
    ::GlobalUnlock(memory);
    memory = ::GlobalReAlloc(memory, 5000, GMEM_MOVEABLE | GMEM_ZEROINIT);
    ASSERT_NE(nullptr, memory);
    EXPECT_EQ(5000u, ::GlobalSize(memory));
    bytes = static_cast<char*>(::GlobalLock(memory));
    EXPECT_EQ('x', bytes[4]);
    EXPECT_EQ('\0', bytes[4999]);
    ::GlobalUnlock(memory);
    EXPECT_EQ(nullptr, ::GlobalFree(memory));
    if (sizeof(void*) == 4) {
        EXPECT_EQ(nullptr, ::GlobalAlloc(GMEM_MOVEABLE, 0x7FFFFF00));
    }
}

TEST(SystemFacts, WhatTheRunTimesTextFunctionsAnswer)
{
    EXPECT_EQ(0, std::wcsncmp(L"abc", L"abd", 2));
    EXPECT_GT(0, std::wcscmp(L"abc", L"abd"));
    EXPECT_LT(0, std::wcscmp(L"\xFFFF", L"a"));
    const wchar_t text[] = L"banana";
    EXPECT_EQ(text + 1, std::wcsstr(text, L"ana"));
    EXPECT_EQ(text, std::wcsstr(text, L""));
    EXPECT_EQ(text + 6, std::wcschr(text, L'\0'));
    EXPECT_EQ(nullptr, std::wcschr(text, L'x'));
    EXPECT_EQ(3u, std::wcsspn(text, L"abn") - 3);
    wchar_t made[3] = { L'x', L'x', L'x' };
    EXPECT_EQ(-1, _snwprintf(made, 2, L"%d", 123));
    EXPECT_EQ(L'x', made[2]) << "no more than fits";
}
