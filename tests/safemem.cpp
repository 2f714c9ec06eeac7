// Lengths, comparisons, character searches and copying: against plain models, at every alignment, with
// forbidden pages around the texts.
#include "safemem.h"

#include "support/guardedtext.h"
#include "support/seed.h"
#include "support/systemcase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

constexpr size_t kLongest = 140; // two of the longest steps, and a rest
constexpr size_t kAll = ~static_cast<size_t>(0);

int Sign(int order)
{
    return (order > 0) - (order < 0);
}

std::wstring_view UpToNul(std::wstring_view text)
{
    return text.substr(0, text.find(L'\0'));
}

int ModelOrder(std::wstring_view a, std::wstring_view b)
{
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
    }
    return (a.size() > b.size()) - (a.size() < b.size());
}

int ModelOrderNoCase(std::wstring_view a, std::wstring_view b)
{
    return ModelOrder(SystemCase::Get().Upper(a), SystemCase::Get().Upper(b));
}

class Texts {
public:
    // Few different units, so that much is equal: cases of one letter, what stands beside letters, ends of
    // the range.
    wchar_t Unit()
    {
        static constexpr wchar_t kUnits[] = { L'a',  L'A',   L'z',   L'Z',   L'@',   L'[',   L'`',  L'{',
                                              0xE9,  0xC9,   0xDF,   0x131,  0x17F,  0x3C2,  0x3A3, 0x430,
                                              0x410, 0x7FFF, 0x8000, 0xD801, 0xFF41, 0xFFFF, L'\0' };
        return kUnits[Below(std::size(kUnits))];
    }
    std::wstring Make(size_t length)
    {
        std::wstring text(length, L'\0');
        for (wchar_t& c : text)
            c = Below(8) ? L'q' : Unit();
        if (length > 0 && Below(3) == 0)
            text[Below(length)] = L'\0';
        return text;
    }
    // The same text with other cases, and mostly with changes or another end.
    std::wstring Alike(const std::wstring& text)
    {
        const SystemCase& system = SystemCase::Get();
        std::wstring other(text);
        if (Below(2)) {
            for (wchar_t& c : other)
                c = Below(2) ? system.Upper(c) : system.Lower(c);
        }
        for (size_t changes = other.empty() ? 0 : Below(3); changes > 0; --changes)
            other[Below(other.size())] = Unit();
        if (Below(4) == 0)
            other.resize(other.size() - std::min(other.size(), Below(9)));
        return other;
    }
    size_t Below(size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(m_random); }

private:
    std::mt19937 m_random{ TestSeed() };
};

} // namespace

TEST(SafeMemLength, IsFoundWhereverTheTextStandsAndNothingBehindItIsRead)
{
    GuardedText guarded;
    for (size_t length = 0; length <= kLongest; ++length) {
        const std::wstring text(length, L'x');
        guarded.ForEachPlace({ text.c_str(), length + 1 }, [&](const wchar_t* at) {
            ASSERT_EQ(length, SSafeStrLen(at)) << length;
            ASSERT_EQ(length, SSafeStrNLen(at, kAll)) << length;
            for (size_t most : { length / 2, length, length + 1, length + 40 })
                ASSERT_EQ(std::min(length, most), SSafeStrNLen(at, most)) << length << ' ' << most;
        });
        guarded.ForEachPlace(text, [&](const wchar_t* unterminated) {
            ASSERT_EQ(length, SSafeStrNLen(unterminated, length));
        });
    }
}

TEST(SafeMemCompare, AgreesWithAPlainLoopAtAllLengthsAndAlignments)
{
    Texts texts;
    GuardedText ours;
    GuardedText others;
    for (size_t length = 0; length <= kLongest; ++length) {
        for (size_t place = 0; place < 256; ++place) {
            const std::wstring a = texts.Make(length);
            const std::wstring b = texts.Alike(a);
            const auto put = [](GuardedText& in, const std::wstring& text, size_t units, size_t gap) {
                return gap & 1 ? in.AtStart(text.c_str(), units, gap) : in.AtEnd(text.c_str(), units, gap);
            };
            {
                const wchar_t* x = put(ours, a, a.size(), place % 16);
                const wchar_t* y = put(others, b, b.size(), place / 16);
                ASSERT_EQ(ModelOrder(a, b), Sign(SSafeMemCmp(x, a.size(), y, b.size())))
                    << length << ' ' << place;
                ASSERT_EQ(ModelOrderNoCase(a, b), Sign(SSafeMemICmp(x, a.size(), y, b.size())))
                    << length << ' ' << place;
                const size_t count = std::min(a.size(), b.size());
                const std::wstring_view aFirst = UpToNul({ a.data(), count });
                const std::wstring_view bFirst = UpToNul({ b.data(), count });
                ASSERT_EQ(ModelOrder(aFirst, bFirst), Sign(SSafeStrNCmp(x, y, count)))
                    << length << ' ' << place;
                ASSERT_EQ(ModelOrderNoCase(aFirst, bFirst), Sign(SSafeStrNICmp(x, y, count)))
                    << length << ' ' << place;
            }
            const wchar_t* x = put(ours, a, a.size() + 1, place % 16);
            const wchar_t* y = put(others, b, b.size() + 1, place / 16);
            const std::wstring_view aText = UpToNul(a);
            const std::wstring_view bText = UpToNul(b);
            ASSERT_EQ(ModelOrder(aText, bText), Sign(SSafeStrCmp(x, y))) << length << ' ' << place;
            ASSERT_EQ(ModelOrderNoCase(aText, bText), Sign(SSafeStrICmp(x, y))) << length << ' ' << place;
            const size_t count = texts.Below(length + 20);
            ASSERT_EQ(ModelOrder(aText.substr(0, count), bText.substr(0, count)),
                      Sign(SSafeStrNCmp(x, y, count)))
                << length << ' ' << place << ' ' << count;
        }
    }
}

TEST(SafeMemCompare, LongTextsAreComparedToTheirEnds)
{
    Texts texts;
    for (int round = 0; round < 300; ++round) {
        const std::wstring a(texts.Below(3000), L'q');
        std::wstring b = texts.Alike(a);
        const int order = ModelOrder(UpToNul(a), UpToNul(b));
        ASSERT_EQ(order, Sign(SSafeStrCmp(a.c_str(), b.c_str()))) << round;
        ASSERT_EQ(-order, Sign(SSafeStrCmp(b.c_str(), a.c_str()))) << round;
        ASSERT_EQ(ModelOrder(a, b), Sign(SSafeMemCmp(a.data(), a.size(), b.data(), b.size()))) << round;
        ASSERT_EQ(ModelOrderNoCase(UpToNul(a), UpToNul(b)), Sign(SSafeStrICmp(a.c_str(), b.c_str())))
            << round;
    }
}

TEST(SafeMemFindChar, AgreesWithAPlainLoopAtAllLengthsAndAlignments)
{
    Texts texts;
    GuardedText guarded;
    for (size_t length = 0; length <= kLongest; ++length) {
        const std::wstring text = texts.Make(length);
        for (wchar_t wanted : { L'q', L'a', L'\0', wchar_t(0xFFFF), texts.Unit() }) {
            guarded.ForEachPlace(text, [&](const wchar_t* at) {
                const auto pointer = [at](size_t position) {
                    return position == std::wstring::npos ? nullptr : at + position;
                };
                ASSERT_EQ(pointer(text.find(wanted)), SSafeMemChr(at, length, wanted)) << length;
                ASSERT_EQ(pointer(text.rfind(wanted)), SSafeMemRChr(at, length, wanted)) << length;
            });
            // The terminator belongs to what is searched.
            const std::wstring ended = std::wstring(UpToNul(text)) + L'\0';
            guarded.ForEachPlace({ text.c_str(), length + 1 }, [&](const wchar_t* at) {
                const auto pointer = [at](size_t position) {
                    return position == std::wstring::npos ? nullptr : at + position;
                };
                ASSERT_EQ(pointer(ended.find(wanted)), SSafeStrChr(at, wanted)) << length;
                ASSERT_EQ(pointer(ended.rfind(wanted)), SSafeStrRChr(at, wanted)) << length;
            });
        }
    }
}

TEST(SafeMemNull, CountsAsAnEmptyText)
{
    EXPECT_EQ(0u, SSafeStrLen(nullptr));
    EXPECT_EQ(0u, SSafeStrNLen(nullptr, 5));
    const struct {
        const wchar_t* a;
        const wchar_t* b;
        int order;
    } kPairs[] = {
        { nullptr, nullptr, 0 }, { nullptr, L"", 0 },  { L"", nullptr, 0 },
        { nullptr, L"x", -1 },   { L"x", nullptr, 1 },
    };
    for (const auto& pair : kPairs) {
        SCOPED_TRACE(&pair - kPairs);
        EXPECT_EQ(pair.order, Sign(SSafeStrCmp(pair.a, pair.b)));
        EXPECT_EQ(pair.order, Sign(SSafeStrNCmp(pair.a, pair.b, 9)));
        EXPECT_EQ(pair.order, Sign(SSafeStrICmp(pair.a, pair.b)));
        EXPECT_EQ(pair.order, Sign(SSafeStrNICmp(pair.a, pair.b, 9)));
        EXPECT_EQ(pair.order, Sign(SSafeStrNbCmp(pair.a, pair.b, 9, kMatchCase)));
        // A length that comes with a null text does not count.
        const size_t aLength = pair.a ? SSafeStrLen(pair.a) : 7;
        const size_t bLength = pair.b ? SSafeStrLen(pair.b) : 7;
        EXPECT_EQ(pair.order, Sign(SSafeMemCmp(pair.a, aLength, pair.b, bLength)));
        EXPECT_EQ(pair.order, Sign(SSafeMemICmp(pair.a, aLength, pair.b, bLength)));
    }
    EXPECT_EQ(nullptr, SSafeStrChr(nullptr, L'x'));
    EXPECT_EQ(nullptr, SSafeStrRChr(nullptr, L'x'));
    EXPECT_EQ(nullptr, SSafeMemChr(nullptr, 3, L'x'));
    EXPECT_EQ(nullptr, SSafeMemRChr(nullptr, 3, L'x'));
    EXPECT_EQ(nullptr, SSafeStrStr(nullptr, L"x"));
    EXPECT_EQ(nullptr, SSafeMemIStr(nullptr, 3, L"x", 1));
    const wchar_t kText[] = L"text";
    EXPECT_EQ(kText, SSafeStrStr(kText, nullptr));
    EXPECT_EQ(kText, SSafeMemStr(kText, 4, nullptr, 3));
    SSafeStrUpper(nullptr, 3);
    SSafeStrLower(nullptr, 3);
    wchar_t buffer[] = L"text";
    EXPECT_EQ(1, SSafeStrCpy(buffer, 5, nullptr));
    EXPECT_STREQ(L"", buffer);
    EXPECT_EQ(1, SSafeStrCat(buffer, 5, nullptr));
    EXPECT_EQ(0, SSafeStrCpy(nullptr, 5, L"x"));
    EXPECT_EQ(0, SSafeStrCat(nullptr, 5, L"x"));
}

TEST(SafeMemCopy, FillsTheRoomAtMostAndAlwaysTerminates)
{
    GuardedText guarded;
    for (size_t length = 0; length <= 40; ++length) {
        const std::wstring text =
            std::wstring(L"abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz").substr(0, length);
        for (size_t room = 1; room <= 45; ++room) {
            SCOPED_TRACE(testing::Message() << length << " into " << room);
            const std::wstring old(room, L'#');
            wchar_t* to = guarded.AtEnd(old.c_str(), room, 0);
            EXPECT_EQ(length < room ? 1 : 0, SSafeStrCpy(to, room, text.c_str()));
            const std::wstring copied = text.substr(0, room - 1);
            EXPECT_EQ(copied + L'\0' + old.substr(copied.size() + 1), std::wstring(to, room));

            const std::wstring both = std::wstring(L"<>") + text;
            const std::wstring start = std::wstring(L"<>") + L'\0' + std::wstring(50, L'#');
            to = guarded.AtEnd(start.c_str(), room, 0);
            EXPECT_EQ(room >= 3 && both.size() < room ? 1 : 0, SSafeStrCat(to, room, text.c_str()));
            EXPECT_EQ(both.substr(0, room - 1), to);
        }
    }
    wchar_t untouched = L'#';
    EXPECT_EQ(0, SSafeStrCpy(&untouched, 0, L"x"));
    EXPECT_EQ(0, SSafeStrCat(&untouched, 0, L"x"));
    EXPECT_EQ(L'#', untouched);
}

TEST(SafeMemCopy, TheAreasMayOverlap)
{
    wchar_t buffer[32] = L"0123456789";
    EXPECT_EQ(1, SSafeStrCpy(buffer + 3, 29, buffer));
    EXPECT_STREQ(L"0120123456789", buffer);
    EXPECT_EQ(1, SSafeStrCpy(buffer, 32, buffer + 3));
    EXPECT_STREQ(L"0123456789", buffer);
    EXPECT_EQ(1, SSafeStrCat(buffer, 32, buffer + 5));
    EXPECT_STREQ(L"012345678956789", buffer);
    EXPECT_EQ(1, SSafeStrCat(buffer, 32, buffer));
    EXPECT_STREQ(L"012345678956789012345678956789", buffer);
}
