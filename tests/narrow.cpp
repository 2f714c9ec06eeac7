// Narrow text: the converters' answers at every edge, against the system's; the two holders.
#include "narrow.h"

#include "sexcept.h"

#include "support/importpatch.h"
#include "support/seed.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

// What a converter does, told by the system's plain call: the model.
template <class Unit>
struct Outcome {
    int result;
    std::basic_string<Unit> output; // the whole buffer, units not written are '#'
    bool operator==(const Outcome& other) const { return result == other.result && output == other.output; }
};
template <class Unit>
std::ostream& operator<<(std::ostream& out, const Outcome<Unit>& outcome)
{
    return out << outcome.result << ' ' << testing::PrintToString(outcome.output);
}

template <class Unit, class Raw>
Outcome<Unit> Model(bool null, int length, int size, Raw raw)
{
    Outcome<Unit> outcome{ 0, std::basic_string<Unit>(static_cast<size_t>(size), '#') };
    if (null || length == 0) {
        if (size > 0)
            outcome.output[0] = 0;
        return outcome;
    }
    if (size == 0) {
        outcome.result = raw(nullptr, 0);
        return outcome;
    }
    std::basic_string<Unit> converted(outcome.output);
    int made = raw(&converted[0], size);
    if (made == 0) {
        outcome.output[0] = 0;
        return outcome;
    }
    std::copy(converted.begin(), converted.begin() + made, outcome.output.begin());
    if (made == size)
        outcome.output[made - 1] = 0;
    else if (outcome.output[made - 1] != 0)
        outcome.output[made++] = 0;
    outcome.result = made;
    return outcome;
}

// Past a failure or a cut only the first unit says anything.
template <class Unit, class Convert>
Outcome<Unit> Actual(int size, Convert convert, const Outcome<Unit>& model)
{
    Outcome<Unit> outcome{ 0, std::basic_string<Unit>(static_cast<size_t>(size) + 1, '#') };
    outcome.result = convert(size > 0 ? &outcome.output[0] : nullptr, size);
    EXPECT_EQ(Unit('#'), outcome.output[static_cast<size_t>(size)]) << "written past the end";
    outcome.output.resize(static_cast<size_t>(size));
    if (outcome.result == 0 && size > 0)
        outcome.output.replace(1, outcome.output.npos, model.output.substr(1));
    return outcome;
}

void CompareWide(const wchar_t* text, int length, int size)
{
    SCOPED_TRACE(testing::Message() << "length " << length << ", size " << size);
    const auto utf8 = Model<char>(!text, length, size, [=](char* to, int room) {
        return ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text, length, to, room, nullptr, nullptr);
    });
    ASSERT_EQ(utf8,
              Actual<char>(
                  size,
                  [=](char* to, int room) { return SUtf8String::WideCharToUTF8(text, length, to, room); },
                  utf8));
    const auto ansi = Model<char>(!text, length, size, [=](char* to, int room) {
        return ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS | WC_COMPOSITECHECK | WC_SEPCHARS, text,
                                     length, to, room, nullptr, nullptr);
    });
    ASSERT_EQ(ansi,
              Actual<char>(
                  size,
                  [=](char* to, int room) { return SAnsiString::WideCharToAnsi(text, length, to, room); },
                  ansi));
}

void CompareNarrow(const char* text, int length, int size)
{
    SCOPED_TRACE(testing::Message() << "length " << length << ", size " << size);
    const auto utf8 = Model<wchar_t>(!text, length, size, [=](wchar_t* to, int room) {
        return ::MultiByteToWideChar(CP_UTF8, 0, text, length, to, room);
    });
    ASSERT_EQ(utf8,
              Actual<wchar_t>(
                  size,
                  [=](wchar_t* to, int room) { return SUtf8String::UTF8ToWideChar(text, length, to, room); },
                  utf8));
    const auto ansi = Model<wchar_t>(!text, length, size, [=](wchar_t* to, int room) {
        return ::MultiByteToWideChar(CP_ACP, 0, text, length, to, room);
    });
    ASSERT_EQ(ansi,
              Actual<wchar_t>(
                  size,
                  [=](wchar_t* to, int room) { return SAnsiString::AnsiToWideChar(text, length, to, room); },
                  ansi));
}

} // namespace

TEST(Converters, AnswerAsTheSystemAtEveryLengthAndRoom)
{
    const std::wstring wide[] = {
        L"plain ASCII text of more than one block",
        L"",
        L"x",
        std::wstring(L"nul\0inside", 10),
        L"\u00e9t\u00e9 \u20ac",
        L"\u65e5\u672c\u8a9e, \u65e5\u672c",
        L"\U0001F600 smile",
        L"half \xD83D pair",
        L"\xDE00",
        L"e\u0301 composed",
        L"\u0100\uFFFD",
    };
    for (const std::wstring& text : wide) {
        const int length = static_cast<int>(text.size());
        SCOPED_TRACE(testing::PrintToString(text));
        for (int size = 0; size < 3 * length + 4; ++size) {
            CompareWide(text.c_str(), length, size);
            CompareWide(text.c_str(), -1, size);
            CompareWide(text.c_str(), length / 2, size);
            ASSERT_FALSE(HasFatalFailure());
        }
    }
    const std::string narrow[] = {
        "plain ASCII text of more than one block",
        "",
        std::string("nul\0inside", 10),
        "\xC3\xA9t\xC3\xA9 \xE2\x82\xAC",
        "cut \xE2\x82",
        "overlong \xC0\xAF \xE0\x80\xAF",
        "surrogate \xED\xA0\x80",
        "above \xF4\x90\x80\x80",
        "\xF0\x9F\x98\x80 smile",
        "alone \x80 and \xFF",
        "long run \xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 end of it all",
    };
    for (const std::string& text : narrow) {
        const int length = static_cast<int>(text.size());
        SCOPED_TRACE(testing::PrintToString(text));
        for (int size = 0; size < length + 4; ++size) {
            CompareNarrow(text.c_str(), length, size);
            CompareNarrow(text.c_str(), -1, size);
            CompareNarrow(text.c_str(), length / 2, size);
            ASSERT_FALSE(HasFatalFailure());
        }
    }
}

namespace {

std::string Utf8Of(const std::wstring& wide)
{
    std::string bytes(wide.size() * 3, '\0');
    bytes.resize(static_cast<size_t>(
        ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), bytes.data(),
                              static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

// Whether some bytes may become a pair of units. Only with room for it is that comparable: Wine takes half of one where
// Windows refuses.
bool MayHoldAPair(const std::string& bytes)
{
    constexpr size_t kLongest = 4;
    for (size_t at = 0; at + kLongest <= bytes.size(); ++at) {
        const auto isTail = [&](size_t i) { return (bytes[at + i] & 0xC0) == 0x80; };
        if (static_cast<unsigned char>(bytes[at]) >= 0xF0 && isTail(1) && isTail(2) && isTail(3))
            return true;
    }
    return false;
}

} // namespace

TEST(Converters, AnswerAsTheSystemForRandomTexts)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < Cases(20000); ++round) {
        const unsigned kind = random() % 4;
        std::wstring wide;
        std::string narrow;
        for (unsigned n = random() % 60; n > 0; --n) {
            const unsigned c = random() % 3 == 0 ? random() % 0x10000
                               : kind == 0       ? random() % 0x80
                               : kind == 1       ? random() % 0x800
                                                 : 0x4E00 + random() % 0x500;
            wide += static_cast<wchar_t>(kind == 3 ? 0xD800 + random() % 0x900 : c);
            narrow += static_cast<char>(kind == 0 || random() % 4 ? random() % 0x80 : random());
        }
        const int size = static_cast<int>(random() % 100);
        const auto room = [size](const std::string& bytes) { return MayHoldAPair(bytes) ? 200 : size; };
        CompareWide(wide.c_str(), static_cast<int>(wide.size()), size);
        CompareNarrow(narrow.c_str(), static_cast<int>(narrow.size()), room(narrow));
        // Sound texts, and sound ones with one byte changed.
        std::string utf8 = Utf8Of(wide);
        if (!utf8.empty() && random() % 2)
            utf8[random() % utf8.size()] = static_cast<char>(random());
        CompareNarrow(utf8.c_str(), static_cast<int>(utf8.size()), room(utf8));
        ASSERT_FALSE(HasFatalFailure()) << testing::PrintToString(wide) << testing::PrintToString(narrow);
    }
}

TEST(Converters, CarryEveryScalarValueThereAndBack)
{
    std::wstring all;
    for (unsigned c = 1; c < 0x110000; ++c) {
        if (c >= 0xD800 && c < 0xE000)
            continue;
        if (c > 0xFFFF)
            all += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
        all += static_cast<wchar_t>(c > 0xFFFF ? 0xDC00 + (c & 0x3FF) : c);
    }
    const int length = static_cast<int>(all.size());
    std::string utf8(static_cast<size_t>(SUtf8String::LengthByte(all.c_str(), length)), '\0');
    ASSERT_EQ(127u + 1920 * 2 + 61440 * 3 + 0x100000 * 4, utf8.size());
    std::vector<char> bytes(utf8.size() + 1);
    EXPECT_EQ(static_cast<int>(bytes.size()),
              SUtf8String::WideCharToUTF8(all.c_str(), length, bytes.data(), static_cast<int>(bytes.size())));
    std::vector<wchar_t> back(all.size() + 1);
    EXPECT_EQ(length, SUtf8String::Length(bytes.data(), static_cast<int>(utf8.size())));
    SUtf8String::UTF8ToWideChar(bytes.data(), static_cast<int>(utf8.size()), back.data(),
                                static_cast<int>(back.size()));
    EXPECT_TRUE(all == back.data());
    for (unsigned c = 0xD800; c < 0xE000; ++c) {
        const wchar_t half = static_cast<wchar_t>(c);
        const char escaped[] = { '\xED', static_cast<char>(0x80 | (c >> 6 & 63)),
                                 static_cast<char>(0x80 | (c & 63)), '\0' };
        for (int before = 0; before < 4; ++before) {
            const SString text = SString(L'x', before) + SString(&half, 1) + SString(L'y', 3 - before);
            ASSERT_TRUE(SUtf8String(text).IsEmpty()) << c << ' ' << before;
        }
        const SString replaced = SUtf8String::ToUnicode(escaped);
        ASSERT_TRUE(replaced.FindPos(L'\uFFFD') == 0 && replaced.FindPos(half) < 0) << c;
    }
}

TEST(Converters, TellNullAndEmptyApart)
{
    char bytes[] = "#";
    wchar_t units[] = L"#";
    EXPECT_EQ(1, SAnsiString::WideCharToAnsi(nullptr, 5, bytes, 2)) << "this one alone";
    EXPECT_EQ('\0', bytes[0]);
    EXPECT_EQ(0, SAnsiString::WideCharToAnsi(nullptr, 5, nullptr, 0));
    EXPECT_EQ(0, SAnsiString::WideCharToAnsi(nullptr, 5, bytes, 0));
    EXPECT_EQ(0, SUtf8String::UTF8ToWideChar(nullptr, 5, units, 2));
    EXPECT_EQ(L'\0', units[0]);
    bytes[0] = '#';
    EXPECT_EQ(0, SUtf8String::WideCharToUTF8(nullptr, 5, bytes, 2));
    EXPECT_EQ('\0', bytes[0]);
    for (int length : { 0, -2 }) {
        bytes[0] = '#';
        units[0] = L'#';
        EXPECT_EQ(0, SAnsiString::WideCharToAnsi(L"x", length, bytes, 2));
        EXPECT_EQ(0, SUtf8String::UTF8ToWideChar("x", length, units, 2));
        EXPECT_TRUE(bytes[0] == '\0' && units[0] == L'\0') << length;
    }
}

TEST(NarrowTexts, AreMadeCopiedAndAssigned)
{
    const SString text(L"\u00e9\u20ac!");
    SUtf8String utf8(text);
    EXPECT_STREQ("\xC3\xA9\xE2\x82\xAC!", utf8);
    EXPECT_EQ(6, utf8.LengthByte());
    EXPECT_STREQ(text, utf8.ToUnicode());
    SAnsiString ansi(text);
    EXPECT_STREQ("\xE9\x80!", ansi);
    EXPECT_EQ(3, ansi.Length());
    EXPECT_EQ(3, ansi.LengthByte());
    EXPECT_STREQ(text, ansi.ToUnicode());
    EXPECT_STREQ("?", SAnsiString(L"\u0100")) << "no letter that is merely similar";

    SUtf8String copy(utf8);
    EXPECT_STREQ(utf8, copy);
    EXPECT_NE(static_cast<char*>(utf8), static_cast<char*>(copy));
    copy = L"wide";
    EXPECT_STREQ("wide", copy);
    copy = text;
    EXPECT_STREQ(utf8, copy);
    copy = "narrow";
    EXPECT_STREQ("narrow", copy);
    copy = copy;
    EXPECT_STREQ("narrow", copy);
    SUtf8String moved(std::move(copy));
    EXPECT_EQ(nullptr, static_cast<char*>(copy));
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_EQ(0, copy.LengthByte());
    EXPECT_STREQ(L"", copy.ToUnicode());
    copy = std::move(moved);
    EXPECT_STREQ("narrow", copy);

    EXPECT_STREQ("ab", SUtf8String(L"abc", 2));
    EXPECT_STREQ("ab", SUtf8String("abc", 2));
    EXPECT_STREQ("abc", SUtf8String("abc", 9));
    EXPECT_EQ(nullptr, static_cast<char*>(SUtf8String(static_cast<const wchar_t*>(nullptr))));
    EXPECT_STREQ("", SUtf8String(L"abc", 0x4000001)) << "beyond the longest text, which is never looked at";
    EXPECT_STREQ("", SUtf8String(L"abc", -2));
    EXPECT_STREQ("", SAnsiString(L"abc", -2));
    EXPECT_STREQ("", SUtf8String(L"half \xD83D"));
    EXPECT_STREQ(L"\uFFFDx", SUtf8String::ToUnicode("\xFFx"));
    EXPECT_STREQ(L"", SUtf8String::ToUnicode(nullptr));
}
