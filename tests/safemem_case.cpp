// Case mapping and the number-aware order.
#include "safemem.h"

#include "support/guardedtext.h"
#include "support/importpatch.h"
#include "support/seed.h"
#include "support/systemcase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace {

std::atomic<int> g_mappings;
decltype(&::LCMapStringW) g_originalMap;

int WINAPI CountMapping(LCID locale, DWORD flags, const wchar_t* from, int fromUnits, wchar_t* to,
                        int toUnits)
{
    ++g_mappings;
    return g_originalMap(locale, flags, from, fromUnits, to, toUnits);
}

// What static objects of a client see: they are made before main and may be the first to use the library.
struct BeforeMain {
    bool patched = false;
    bool asciiIsRight = false;
    int mappingsForAscii = -1;
    std::atomic<int> wrongOfThreads{ 0 };
    int mappingsInAll = 0;

    BeforeMain()
    {
        ImportPatch patch("CVCore16.dll", nullptr, "LCMapStringW", CountMapping);
        patched = patch.Found();
        g_originalMap = patch.Original<decltype(::LCMapStringW)>();

        wchar_t text[] = L"The quick brown FOX jumps over [one] lazy `dog`. 0123456789";
        SSafeStrUpper(text, SSafeStrLen(text));
        asciiIsRight =
            SSafeStrCmp(text, L"THE QUICK BROWN FOX JUMPS OVER [ONE] LAZY `DOG`. 0123456789") == 0 &&
            SSafeStrICmp(text, L"the quick brown fox jumps over [one] lazy `dog`. 0123456789") == 0 &&
            SSafeStrICmp(text, L"the quick brown fox jumps over {one} lazy `dog`. 0123456789") < 0 &&
            SSafeStrIStr(text, L"lazy `dog`") == text + 37 && SUpperChar(L'z') == L'Z' &&
            SSafeStrNbCmp(text, L"the quick 9", 11, kIgnoreCase) > 0;
        SSafeStrLower(text, SSafeStrLen(text));
        asciiIsRight = asciiIsRight && SLowerChar(L'Z') == L'z' && SSafeStrChr(text, L'T') == nullptr;
        mappingsForAscii = g_mappings;

        // All at once, while nobody has needed the tables yet.
        std::atomic<bool> go{ false };
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                while (!go)
                    ::SwitchToThread();
                for (int round = 0; round < 2000; ++round)
                    wrongOfThreads += SUpperChar(0xE9) != 0xC9 || SLowerChar(0x410) != 0x430 ||
                                      SUpperChar(0xD83D) != 0xD83D;
            });
        }
        go = true;
        for (std::thread& thread : threads)
            thread.join();
        mappingsInAll = g_mappings;
    }
};
const BeforeMain g_beforeMain;

int Order(const std::wstring& a, const std::wstring& b, SCaseRule rule = kMatchCase,
          size_t count = ~size_t(0))
{
    const int order = SSafeStrNbCmp(a.c_str(), b.c_str(), count, rule);
    return (order > 0) - (order < 0);
}

} // namespace

TEST(SafeMemCase, StaticObjectsMayUseItAndAsciiNeedsNoTable)
{
    ASSERT_TRUE(g_beforeMain.patched);
    EXPECT_TRUE(g_beforeMain.asciiIsRight);
    EXPECT_EQ(0, g_beforeMain.mappingsForAscii);
}

TEST(SafeMemCase, ThreadsThatNeedTheTableFirstAllGetTheRightAnswer)
{
    EXPECT_EQ(0, g_beforeMain.wrongOfThreads);
    EXPECT_GE(g_beforeMain.mappingsInAll, 2);
}

TEST(SafeMemCase, AgreesWithTheSystemForEveryUnit)
{
    const SystemCase& system = SystemCase::Get();
    int wrong = 0;
    for (unsigned c = 0; c < 0x10000 && wrong < 10; ++c) {
        const wchar_t unit = static_cast<wchar_t>(c);
        const bool surrogate = c >= 0xD800 && c < 0xE000;
        if (SUpperChar(unit) != (surrogate ? unit : system.Upper(unit)) ||
            SLowerChar(unit) != (surrogate ? unit : system.Lower(unit))) {
            ADD_FAILURE() << std::hex << c << " becomes " << SUpperChar(unit) << " and " << SLowerChar(unit);
            ++wrong;
        }
    }
}

TEST(SafeMemCase, ChangesTheUnitsOfTheTextAndNoOther)
{
    std::mt19937 random(TestSeed());
    GuardedText guarded;
    for (size_t length = 0; length <= 140; ++length) {
        for (unsigned highest : { 0x7Fu, 0x17Fu, 0x5FFu }) {
            std::wstring text(length, L'\0');
            for (wchar_t& c : text)
                c = static_cast<wchar_t>(random() % 8 ? random() % 0x80 : random() % (highest + 1));
            std::wstring upper(text);
            std::wstring lower(text);
            std::transform(text.begin(), text.end(), upper.begin(), [](wchar_t c) { return SUpperChar(c); });
            std::transform(text.begin(), text.end(), lower.begin(), [](wchar_t c) { return SLowerChar(c); });
            guarded.ForEachPlace(text, [&](wchar_t* at) {
                SSafeStrUpper(at, length);
                ASSERT_EQ(upper, UnitsAt(at, length));
            });
            guarded.ForEachPlace(text, [&](wchar_t* at) {
                SSafeStrLower(at, length);
                ASSERT_EQ(lower, UnitsAt(at, length));
            });
            // Between letters of the same text, which must stay.
            const std::wstring within = L"aZ" + text + L"aZ";
            guarded.ForEachPlace(within, [&](wchar_t* at) {
                SSafeStrUpper(reinterpret_cast<wchar_t*>(reinterpret_cast<char*>(at) + 4), length);
                ASSERT_EQ(L"aZ" + upper + L"aZ", UnitsAt(at, length + 4));
            });
        }
    }
}

TEST(SafeMemNumberAware, OrdersAsAPersonWould)
{
    const struct {
        const wchar_t* a;
        const wchar_t* b;
        int order;
    } kPairs[] = {
        { L"", L"", 0 },
        { L"", L"0", -1 },
        { L"a2", L"a10", -1 },
        { L"a10b2", L"a10b10", -1 },
        { L"2", L"2a", -1 },
        { L"a2", L"a02", -1 },       // equal numbers: fewer leading zeros first
        { L"a02b1", L"a2b2", -1 },   // ... but only when nothing else differs
        { L"a02b02", L"a2b002", 1 }, // ... and by the first such run
        { L"0", L"00", -1 },
        { L"00", L"1", -1 },
        { L"007", L"7", 1 },
        { L"9", L"10000000000000000000000000000000", -1 },
        { L"99999999999999999999999999999999", L"100000000000000000000000000000000", -1 },
        { L"12345678901234567890", L"12345678901234567891", -1 },
        { L"1/", L"1:", -1 },
        { L"/", L"0", -1 }, // other characters keep their place beside the digits
        { L"9", L":", -1 },
        { L"a\u0663", L"a\u0662", 1 }, // digits of other scripts are no numbers
    };
    for (const auto& pair : kPairs) {
        SCOPED_TRACE(&pair - kPairs);
        EXPECT_EQ(pair.order, Order(pair.a, pair.b));
        EXPECT_EQ(-pair.order, Order(pair.b, pair.a));
    }
    EXPECT_EQ(0, Order(L"Item 7", L"iTEM 7", kIgnoreCase));
    EXPECT_EQ(-1, Order(L"\u00C9tape 9", L"\u00E9tape 10", kIgnoreCase));
    EXPECT_EQ(-1, Order(L"Item 7", L"item 7"));
}

TEST(SafeMemNumberAware, TheCountLimitsEachSideEvenInsideANumber)
{
    std::mt19937 random(TestSeed());
    const auto make = [&] {
        std::wstring text(random() % 8, L'\0');
        for (wchar_t& c : text)
            c = L"0012aA"[random() % 6];
        return text;
    };
    GuardedText ours;
    GuardedText others;
    for (int round = 0; round < 20000; ++round) {
        const std::wstring a = make();
        const std::wstring b = make();
        const size_t count = random() % 9;
        const SCaseRule rule = random() % 2 ? kMatchCase : kIgnoreCase;
        ASSERT_EQ(Order(a.substr(0, count), b.substr(0, count), rule), Order(a, b, rule, count)) << round;
        // Nothing behind the count is read.
        const size_t shorter = std::min(a.size(), b.size());
        const int order = SSafeStrNbCmp(ours.AtEnd(a.data(), shorter, 0), others.AtEnd(b.data(), shorter, 0),
                                        shorter, rule);
        ASSERT_EQ(Order(a.substr(0, shorter), b.substr(0, shorter), rule), (order > 0) - (order < 0))
            << round;
    }
}

// All texts of up to five units. Sorted, the order of any two must be that of their groups of equals: this is
// the whole of what std::sort and std::map ask for.
TEST(SafeMemNumberAware, IsAProperOrder)
{
    for (SCaseRule rule : { kMatchCase, kIgnoreCase }) {
        std::vector<std::wstring> texts = { L"" };
        for (size_t i = 0; i < texts.size() && texts[i].size() < 5; ++i) {
            for (wchar_t c : { L'0', L'1', L'a', L'A', L'!' })
                texts.push_back(texts[i] + c);
        }
        std::stable_sort(texts.begin(), texts.end(),
                         [&](const std::wstring& a, const std::wstring& b) { return Order(a, b, rule) < 0; });
        std::vector<int> group(texts.size(), 0);
        for (size_t i = 1; i < texts.size(); ++i)
            group[i] = group[i - 1] + (Order(texts[i - 1], texts[i], rule) != 0);
        for (size_t i = 0; i < texts.size(); ++i) {
            for (size_t k = 0; k < texts.size(); ++k) {
                const int wanted = (group[i] > group[k]) - (group[i] < group[k]);
                ASSERT_EQ(wanted, Order(texts[i], texts[k], rule)) << texts[i] << L" and " << texts[k];
            }
        }
        if (rule == kMatchCase) {
            EXPECT_EQ(static_cast<int>(texts.size()) - 1, group.back()) << "different texts are never equal";
        }
    }
}
