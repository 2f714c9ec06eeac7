// Formatting against the C run-time's own formatter, which is told a buffer that is large enough. Whole numbers of
// great width or precision are left out there: Wine's run-time overruns a buffer of its own on them.
#include "strclss.h"

#include "damage.h"
#include "sexcept.h"
#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <cwchar>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

// Arguments as the calling convention of Windows lays them out, in words of a pointer's size, so that they can be made up at run time.
static_assert(sizeof(va_list) == sizeof(char*), "a va_list is a pointer to packed arguments");

class Arguments {
public:
    template <class T>
    void Add(T value)
    {
        m_bytes.resize((m_bytes.size() + kWord - 1) & ~(kWord - 1));
        const char* bytes = reinterpret_cast<const char*>(&value);
        m_bytes.insert(m_bytes.end(), bytes, bytes + sizeof value);
    }
    va_list List()
    {
        m_bytes.resize(m_bytes.size() + 64); // what a malformed format may read beyond
        return reinterpret_cast<va_list>(m_bytes.data());
    }

private:
    static constexpr size_t kWord = sizeof(void*);
    std::vector<char> m_bytes;
};

int g_damages;

class FormatProperty : public testing::Test {
protected:
    FormatProperty() : random(TestSeed()), longWide(70000, L'w'), longNarrow(5000, 'n') {}

    int Below(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }

    // One conversion with its arguments.
    void AddConversion(std::wstring& format, Arguments& arguments)
    {
        const int conversion = Below(8);
        // Where Wine goes another way than Windows is documented to go, the next test looks: a precision means nothing for
        // a character, turns the flag 0 off for a whole number, and one of 0 leaves the 0 of "%#o".
        const bool precise = conversion != 7 && Below(3) == 0;
        format += L'%';
        for (int n = Below(3); n > 0; --n)
            format += L"-+ #0"[Below(precise && conversion <= 2 ? 4 : 5)];
        if (Below(3) == 0) {
            static const int kWidths[] = { 0, 1, 5, 30, 300, 3000 };
            const int width = kWidths[Below(conversion <= 2 ? 3 : 6)];
            if (Below(2)) {
                format += L'*';
                arguments.Add(Below(2) ? width : -width);
            } else if (width > 0) {
                format += std::to_wstring(width);
            }
        }
        if (precise) {
            static const int kPrecisions[] = { 0, 1, 3, 10, 200, -1 };
            const int precision = kPrecisions[conversion <= 2 ? 1 + Below(3) : Below(6)];
            if (Below(2)) {
                format += L".*";
                arguments.Add(precision);
            } else {
                format += L'.';
                if (precision > 0)
                    format += std::to_wstring(precision);
            }
        }
        static const wchar_t* const kIntegers[] = { L"d", L"i",  L"u",  L"x",    L"X",
                                                    L"o", L"ld", L"hd", L"I32u", L"hx" };
        static const wchar_t* const kLongs[] = { L"I64d", L"I64u", L"I64x", L"lld", L"llo" };
        static const wchar_t* const kReals[] = { L"f", L"e", L"E", L"g", L"G", L"lf", L"Lg" };
        static const wchar_t* const kWides[] = { L"s", L"ls", L"ws", L"lS" };
        static const wchar_t* const kNarrows[] = { L"hs", L"S", L"hS" };
        switch (conversion) {
        case 0:
        case 1:
            format += kIntegers[Below(10)];
            arguments.Add(static_cast<int>(random() >> Below(32)));
            break;
        case 2:
            format += kLongs[Below(5)];
            arguments.Add((static_cast<long long>(random()) << 32 | random()) >> Below(64));
            break;
        case 3: {
            static const double kSpecial[] = { 0,
                                               -0.0,
                                               1e308,
                                               -1e308,
                                               5e-324,
                                               1e15,
                                               9.999999999999999e15,
                                               1e16,
                                               0.1,
                                               std::numeric_limits<double>::infinity(),
                                               std::numeric_limits<double>::quiet_NaN() };
            format += kReals[Below(7)];
            arguments.Add(kSpecial[Below(11)] * (Below(2) ? 1.0 : Below(1000) + 0.5));
            break;
        }
        case 4:
        case 5: {
            static const wchar_t* const kTexts[] = { L"", L"text", L"\u00e9\u4e2d", L"%d%s" };
            format += kWides[Below(4)];
            const int which = Below(60);
            arguments.Add(which == 0 ? nullptr : which == 1 ? longWide.c_str() : kTexts[which % 4]);
            break;
        }
        case 6: {
            static const char* const kTexts[] = { "", "text", "%d%s" };
            format += kNarrows[Below(3)];
            const int which = Below(30);
            arguments.Add(which == 0 ? nullptr : which == 1 ? longNarrow.c_str() : kTexts[which % 3]);
            break;
        }
        default:
            format += Below(2) ? L"c" : L"hc";
            arguments.Add(1 + Below(126));
            break;
        }
    }

    std::mt19937 random;
    const std::wstring longWide;
    const std::string longNarrow;
};

} // namespace

TEST_F(FormatProperty, IsTheRunTimesTextAndNeverLeavesTheBuffer)
{
    g_damages = 0;
    const SDamageReporter before =
        SSetDamageReporter([](const char*, const char*, unsigned long, const wchar_t*) { ++g_damages; });
    const StringsAtRest rest;
    std::vector<wchar_t> reference(2000000);
    for (int round = 0; round < 60000; ++round) {
        std::wstring format;
        Arguments arguments;
        for (int n = Below(5); n >= 0; --n) {
            static const wchar_t* const kLiterals[] = { L"", L"%%", L"plain ", L"\u00e9%%", L"x" };
            format += kLiterals[Below(5)];
            AddConversion(format, arguments);
        }
        static const wchar_t* const kTails[] = { L"",   L" end", L"%",  L"%-",  L"%5",
                                                 L"%y", L"%.3",  L"%l", L"%I64" };
        format += kTails[Below(Below(10) ? 2 : 9)];
        const va_list list = arguments.List();
        const int length = ::_vsnwprintf(reference.data(), reference.size(), format.c_str(), list);
        SString s(L"old text");
        s.FormatV(format.c_str(), list);
        const std::wstring expected = length < 0 ? std::wstring() : std::wstring(reference.data(), length);
        ASSERT_EQ(expected, Wide(s)) << testing::PrintToString(format);
        s.PszStr();
        ASSERT_EQ(0, g_damages) << testing::PrintToString(format);
    }
    SSetDamageReporter(before);
}

TEST(Formatting, KeepsWindowsMeaningAndRefusesToWriteThroughArguments)
{
    SString s;
    EXPECT_STREQ(L"wide narrow narrow wide",
                 s.Format(L"%s %hs %S %ls", L"wide", "narrow", "narrow", L"wide"));
    EXPECT_STREQ(L"(null) 100% 007 1f", s.Format(L"%s %d%% %03d %x", nullptr, 100, 7, 31));
    EXPECT_STREQ(L"5 of text, 7 8 9", s.Format(L"%Iu of %s, %zu %td %jd", size_t(5), SString(L"text"),
                                               size_t(7), ptrdiff_t(8), 9ll));
    EXPECT_TRUE(s.Format(L"%c%300s", 0, L"x").Capacity() == 0) << "an empty text is the static buffer";
    int written = 42;
    EXPECT_TRUE(s.Format(L"abc%n", &written).IsEmpty());
    EXPECT_TRUE(s.Format(L"%%%5.2ln", &written).IsEmpty());
    EXPECT_EQ(42, written);
    EXPECT_STREQ(L"%n", s.Format(L"%%n"));
    EXPECT_TRUE(s.Format(static_cast<const wchar_t*>(nullptr)).IsEmpty());
    const SString address = SString(L'0', 2 * sizeof(void*) - 2) + L"1F";
    const void* const there = reinterpret_cast<void*>(31);
    EXPECT_STREQ(address + L"|  " + address + L"|", s.Format(L"%p|%*p|", there, address.Length() + 2, there))
        << "an address has all its digits";
    EXPECT_STREQ(L"  007|A||0|", s.Format(L"%05.3d|%.0c|%.0d|%#.0o|", 7, L'A', 0, 0));
    // Beyond what some run-times bear.
    EXPECT_STREQ(SString(L'0', 299) + L"7", s.Format(L"%.300d", 7));
    EXPECT_STREQ(L"0x" + SString(L'0', 296) + L"ff", s.Format(L"%#0300I64x", 255ll));
    EXPECT_STREQ(SString(L' ', 50) + L"1777777777777777777777", s.Format(L"%72llo", -1ll));
    EXPECT_STREQ(L"ab", s.Format(L"ab%cde", 0)) << "the text ends at a NUL";
    const SString huge(L'h', 100000);
    EXPECT_EQ(L"<" + huge + L">", s.Format(L"<%s>", huge.PszStr()));
    EXPECT_EQ((s.Length() + 511) & ~511, s.Capacity()) << "the estimate's surplus is given back";
    EXPECT_EQ(SString(L' ', 4999) + L"7", s.Format(L"%*d", 5000, 7));
    // A buffer that has grown large must refuse it too, also where the heap would have as much.
    EXPECT_THROW(s.Format(L"%9000d%2147483647d", 7, 8), SEOutOfMemory);
}
