// Text search: every result against a plain search, and shapes on which a careless one takes for ever.
#include "safemem.h"

#include "support/guardedtext.h"
#include "support/seed.h"
#include "support/systemcase.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

class Random {
public:
    size_t Below(size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(m_random); }
    std::wstring Text(size_t length, std::wstring_view units)
    {
        std::wstring text(length, L'\0');
        for (wchar_t& c : text)
            c = units[Below(units.size())];
        return text;
    }

private:
    std::mt19937 m_random{ TestSeed() };
};

// By the table of borders of the wanted text: slow steps, but never more than two a unit.
size_t ModelFind(std::wstring_view text, std::wstring_view wanted)
{
    if (wanted.empty())
        return 0;
    std::vector<size_t> border(wanted.size(), 0);
    for (size_t i = 1, k = 0; i < wanted.size(); ++i) {
        while (k > 0 && wanted[i] != wanted[k])
            k = border[k - 1];
        border[i] = k += wanted[i] == wanted[k];
    }
    for (size_t i = 0, k = 0; i < text.size(); ++i) {
        while (k > 0 && text[i] != wanted[k])
            k = border[k - 1];
        k += text[i] == wanted[k];
        if (k == wanted.size())
            return i + 1 - k;
    }
    return text.npos;
}

size_t ModelFindNoCase(std::wstring_view text, std::wstring_view wanted)
{
    return ModelFind(SystemCase::Get().Upper(text), SystemCase::Get().Upper(wanted));
}

size_t PositionIn(const wchar_t* text, const wchar_t* found)
{
    return found ? static_cast<size_t>(reinterpret_cast<const char*>(found) -
                                       reinterpret_cast<const char*>(text)) /
                       sizeof(wchar_t)
                 : std::wstring::npos;
}

// Units of one case class each, so that texts of them are mostly equal but for case; some upper-case to ASCII
// or to something that is not a pair.
constexpr std::wstring_view kAlphabets[] = { L"ab",
                                             L"aA",
                                             L"aAbB",
                                             L"kK[{",
                                             L"aA\u00E9\u00C9",
                                             L"aaaaaaaaaaaaaaaaaaaaaaaa\u00E9\u00C9",
                                             L"iI\u0131\u0130",
                                             L"sS\u017F\u00DF",
                                             L"\u03C3\u03C2\u03A3" };

} // namespace

TEST(SafeMemFind, AgreesWithAPlainSearchAtAllLengthsAndAlignments)
{
    Random random;
    GuardedText texts;
    GuardedText patterns;
    for (size_t length = 0; length <= 100; ++length) {
        for (size_t place = 0; place < 256; ++place) {
            const std::wstring_view units = kAlphabets[random.Below(std::size(kAlphabets))];
            std::wstring text = random.Text(length, units);
            const size_t start = random.Below(length + 1);
            std::wstring wanted = random.Below(3)
                                      ? text.substr(start, 1 + random.Below(place % 2 ? 6 : length + 2))
                                      : random.Text(random.Below(7), units);
            if (!wanted.empty() && random.Below(3) == 0)
                wanted[random.Below(wanted.size())] = units[random.Below(units.size())];
            SCOPED_TRACE(testing::Message() << length << ' ' << place << ' ' << wanted.size());

            const wchar_t* y = patterns.AtEnd(wanted.c_str(), wanted.size(), place / 16);
            const wchar_t* x = place & 1 ? texts.AtStart(text.c_str(), length, place % 16)
                                         : texts.AtEnd(text.c_str(), length, place % 16);
            ASSERT_EQ(ModelFind(text, wanted), PositionIn(x, SSafeMemStr(x, length, y, wanted.size())));
            ASSERT_EQ(ModelFindNoCase(text, wanted),
                      PositionIn(x, SSafeMemIStr(x, length, y, wanted.size())));

            x = texts.AtEnd(text.c_str(), length + 1, place % 16);
            y = patterns.AtEnd(wanted.c_str(), wanted.size() + 1, place / 16);
            ASSERT_EQ(ModelFind(text, wanted), PositionIn(x, SSafeStrStr(x, y)));
            ASSERT_EQ(ModelFindNoCase(text, wanted), PositionIn(x, SSafeStrIStr(x, y)));
        }
    }
}

// The text begins with so many near misses that comparing everywhere is given up; what follows are wanted
// texts with one wrong unit, parts of them, and in half of the rounds a right one.
TEST(SafeMemFind, AgreesWithAPlainSearchAfterManyNearMisses)
{
    Random random;
    size_t found = 0;
    for (int round = 0; round < 4000; ++round) {
        const std::wstring_view units = kAlphabets[random.Below(std::size(kAlphabets))];
        const std::wstring period = random.Text(1 + random.Below(3), units);
        const auto repeat = [&](size_t length) {
            std::wstring text;
            while (text.size() < length)
                text += period;
            return text.substr(0, length);
        };
        const std::wstring start = repeat(40 * period.size() + random.Below(period.size()));
        const std::wstring wanted = start + random.Text(random.Below(2) * random.Below(9), units);
        std::wstring text = repeat(1500);
        for (size_t i = wanted.size() / 2; i < text.size(); i += wanted.size() - 1)
            text[i] = L'#';
        for (size_t pieces = random.Below(12); pieces > 0; --pieces) {
            std::wstring piece = random.Below(2) ? wanted : repeat(wanted.size() + random.Below(20));
            const size_t places[] = { 0, wanted.size() - 1, start.size() - 1, random.Below(wanted.size()) };
            piece[places[random.Below(std::size(places))]] =
                random.Below(2) ? L'#' : units[random.Below(units.size())];
            text += random.Below(2) ? piece : piece.substr(random.Below(piece.size()));
        }
        if (random.Below(2))
            text += wanted + random.Text(random.Below(2) * random.Below(20), units);
        SCOPED_TRACE(testing::Message() << round << ": wanted " << wanted.size() << " in " << text.size());
        const size_t place = ModelFind(text, wanted);
        found += place != std::wstring::npos;
        ASSERT_EQ(place, PositionIn(text.data(),
                                    SSafeMemStr(text.data(), text.size(), wanted.data(), wanted.size())));
        ASSERT_EQ(
            ModelFindNoCase(text, wanted),
            PositionIn(text.data(), SSafeMemIStr(text.data(), text.size(), wanted.data(), wanted.size())));
    }
    EXPECT_LT(1000u, found);
    EXPECT_GT(3800u, found);
}

// Neither where the comparisons are given up nor where a text of unknown length is measured further is a
// place lost.
TEST(SafeMemFind, FindsTheTextAtEveryPlace)
{
    const std::wstring kWanted[] = { L"n", L"need",
                                     std::wstring(3000, L'a') + L'b' + std::wstring(10, L'a') };
    for (const std::wstring& wanted : kWanted) {
        for (size_t i = 0; i < 2200; ++i) {
            const size_t place = i / 2;
            const std::wstring text = std::wstring(place, L'a') + wanted + std::wstring(i % 2 * 40, L'a');
            ASSERT_EQ(place, PositionIn(text.data(),
                                        SSafeMemStr(text.data(), text.size(), wanted.data(), wanted.size())));
            ASSERT_EQ(place, PositionIn(text.data(), SSafeMemIStr(text.data(), text.size(), wanted.data(),
                                                                  wanted.size())));
            ASSERT_EQ(place, PositionIn(text.data(), SSafeStrStr(text.c_str(), wanted.c_str())));
            ASSERT_EQ(place, PositionIn(text.data(), SSafeStrIStr(text.c_str(), wanted.c_str())));
        }
    }
}

TEST(SafeMemFind, ANulIsACharacterOnlyWhereALengthIsGiven)
{
    const std::wstring text(L"ab\0cd\0cde", 9);
    const std::wstring wanted(L"\0cde", 4);
    EXPECT_EQ(5u,
              PositionIn(text.data(), SSafeMemStr(text.data(), text.size(), wanted.data(), wanted.size())));
    EXPECT_EQ(5u,
              PositionIn(text.data(), SSafeMemIStr(text.data(), text.size(), wanted.data(), wanted.size())));
    EXPECT_EQ(nullptr, SSafeStrStr(text.c_str(), L"cd"));
    EXPECT_EQ(text.c_str(), SSafeStrStr(text.c_str(), wanted.c_str()));
}

// The sizes let a search that compares everywhere run for many minutes, beyond what the watchdog waits.
TEST(SafeMemFind, TextsOfOneLetterDoNotMakeItQuadratic)
{
    constexpr size_t kTextUnits = 16 << 20;
    constexpr size_t kWantedUnits = 4 << 20;
    const struct {
        const char* shape;
        size_t other;
    } kShapes[] = {
        { "the other letter comes first", 0 },
        { "the other letter stands in the middle", kWantedUnits / 2 },
        { "the other letter stands near the end", kWantedUnits - 2 },
        { "the other letter comes last", kWantedUnits - 1 },
    };
    std::wstring text(kTextUnits, L'a');
    for (const auto& shape : kShapes) {
        SCOPED_TRACE(shape.shape);
        std::wstring wanted(kWantedUnits, L'a');
        wanted[shape.other] = L'b';
        EXPECT_EQ(nullptr, SSafeMemStr(text.data(), text.size(), wanted.data(), wanted.size()));
        EXPECT_EQ(nullptr, SSafeStrIStr(text.c_str(), wanted.c_str()));

        const size_t place = kTextUnits - kWantedUnits - 5;
        text[place + shape.other] = L'b';
        EXPECT_EQ(place, PositionIn(text.data(), SSafeStrStr(text.c_str(), wanted.c_str())));
        wanted[shape.other] = L'B';
        EXPECT_EQ(place, PositionIn(text.data(),
                                    SSafeMemIStr(text.data(), text.size(), wanted.data(), wanted.size())));
        text[place + shape.other] = L'a';
    }
}

// Measuring the whole text at each of these calls would take many minutes in all.
TEST(SafeMemFind, AShortAnswerInALongTextCostsLittle)
{
    constexpr size_t kTextUnits = 16 << 20;
    std::wstring text(kTextUnits, L'a');
    for (size_t i = 0; i < kTextUnits; i += 16)
        text[i] = L'x';
    size_t found = 0;
    for (const wchar_t* at = text.c_str(); (at = SSafeStrStr(at, L"xa")) != nullptr; ++at)
        ++found;
    EXPECT_EQ(kTextUnits / 16, found);
    found = 0;
    for (const wchar_t* at = text.c_str(); (at = SSafeStrIStr(at, L"XAAA")) != nullptr; ++at)
        ++found;
    EXPECT_EQ(kTextUnits / 16, found);

    std::wstring other(text);
    other[100] = L'b';
    for (int i = 0; i < 1000000; ++i) {
        ASSERT_GT(0, SSafeStrCmp(text.c_str(), other.c_str()));
        ASSERT_LT(0, SSafeStrICmp(other.c_str(), text.c_str()));
        ASSERT_EQ(&other[100], SSafeStrChr(other.c_str(), L'b'));
    }
}
