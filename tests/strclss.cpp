// The string's buffers: size classes, sharing, copies before writes, locking, the guard, threads.
#include "strclss.h"

#include "damage.h"
#include "salloc.h"
#include "sexcept.h"
#include "strbuffer.h"
#include "support/guardedtext.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

std::wstring Repeat(int n)
{
    return std::wstring(static_cast<size_t>(n), L'r');
}

std::vector<std::wstring> g_reports;
void RememberReport(const char* function, const char* file, unsigned long line, const wchar_t* text)
{
    wchar_t place[300];
    ::_snwprintf(place, 300, L"%hs(%lu): %hs", file, line, function);
    g_reports = { place, text };
}

// Hears the damage reports of one test.
struct Reports {
    SDamageReporter before = SSetDamageReporter(RememberReport);
    Reports() { g_reports.clear(); }
    ~Reports() { SSetDamageReporter(before); }
};

} // namespace

TEST(StringBuffers, TakeTheSmallestClassThatHolds)
{
    const struct {
        int length, capacity;
    } cases[] = { { 1, 17 },         { 3, 17 },      { 17, 17 },     { 18, 33 },     { 33, 33 },
                  { 34, 65 },        { 65, 65 },     { 66, 129 },    { 129, 129 },   { 130, 257 },
                  { 257, 257 },      { 258, 513 },   { 513, 513 },   { 514, 1025 },  { 1025, 1025 },
                  { 1026, 2049 },    { 2049, 2049 }, { 2050, 2560 }, { 2560, 2560 }, { 2561, 3072 },
                  { 100000, 100352 } };
    const StringsAtRest rest;
    for (const auto& c : cases) {
        const unsigned long large = SString::LargeBytes();
        const std::wstring text = Repeat(c.length);
        const SString s(text.c_str());
        EXPECT_EQ(c.length, s.Length());
        EXPECT_EQ(c.capacity, s.Capacity()) << c.length;
        EXPECT_EQ(L'\0', s.PszStr()[c.length]);
        EXPECT_EQ(L'\0', s.PszStr()[c.capacity]);
        EXPECT_EQ(c.length > 2049 ? c.capacity * 2u + 14 : 0u, SString::LargeBytes() - large);
    }
}

// From between pages that must not be touched, at odd addresses too, and without a unit more than there is room for.
TEST(StringBuffers, HoldTextsOfAnyLengthToTheLastUnit)
{
    GuardedText guarded;
    for (int length = 1; length <= 2200; length += length == 140 ? 1900 : 1) {
        std::wstring text;
        for (int i = 0; i < length; ++i)
            text += static_cast<wchar_t>(0x100 + i * 7);
        for (size_t gap = 0; gap < 16; ++gap) {
            const SString taken(guarded.AtEnd(text.c_str(), text.size(), gap), length);
            ASSERT_EQ(text, std::wstring(taken, static_cast<size_t>(taken.Length()))) << length;
            ASSERT_EQ(L'\0', taken.PszStr()[taken.Capacity()]) << length;
        }
    }
}

TEST(StringBuffers, EveryEmptyResultIsTheOneEmptyBuffer)
{
    const wchar_t* const empty = SString().PszStr();
    const SString abc(L"abc"), nothing;
    SString unlocked(L"abc"), trimmed(L"   "), deleted(L"abc"), replaced(L"aa"), cleared(L"x");
    unlocked.Lock();
    unlocked.Unlock(0);
    trimmed.Trim();
    deleted.Delete(0, 3);
    replaced.ReplaceAll(L"a", L"");
    cleared = L"";
    SString moved(std::move(cleared));
    const SString results[] = { SString(L""),
                                SString(static_cast<const wchar_t*>(nullptr)),
                                SString(L"abc", 0),
                                SString(L'x', 0),
                                SString(L'\0', 5),
                                SString(""),
                                abc.Left(-1),
                                abc.Left(0),
                                abc.Right(0),
                                abc.Mid(100, 5),
                                abc.Mid(1, 0),
                                nothing,
                                unlocked,
                                trimmed,
                                deleted,
                                replaced,
                                moved,
                                nothing + L"",
                                SString().Format(L""),
                                SString().Format(L"%s", L""),
                                abc.Mid(-3, -1),
                                SString::Concat(L"", nothing),
                                SStringBuffer(50),
                                SStringBuffer(50).Detach() };
    for (size_t i = 0; i < std::size(results); ++i)
        EXPECT_EQ(empty, results[i].PszStr()) << i;
    EXPECT_EQ(0, nothing.Capacity());
}

TEST(StringSharing, CopiesShareUntilTheFirstEdit)
{
    const struct {
        const char* edit;
        void (*apply)(SString&);
    } edits[] = {
        { "SetAt", [](SString& s) { s.SetAt(0, L'B'); } },
        { "Replace", [](SString& s) { s.Replace(L'b', L'o'); } },
        { "Replace text", [](SString& s) { s.Replace(L"na", L"NANA"); } },
        { "ReplaceAll", [](SString& s) { s.ReplaceAll(L'a', L'o'); } },
        { "ReplaceAll text", [](SString& s) { s.ReplaceAll(L"an", L"no"); } },
        { "ReplaceAllNoCase", [](SString& s) { s.ReplaceAllNoCase(L'A', L'o'); } },
        { "TrimRight", [](SString& s) { s.TrimRight(L' '); } },
        { "TrimLeft", [](SString& s) { s.TrimLeft(L"b"); } },
        { "Trim", [](SString& s) { s.Trim(L"b "); } },
        { "Insert", [](SString& s) { s.Insert(L"x", 3); } },
        { "Delete", [](SString& s) { s.Delete(1, 2); } },
        { "ToUpper", [](SString& s) { s.ToUpper(); } },
        { "ToLower", [](SString& s) { s.ToUpper().ToLower(1, 2); } },
        { "MakeReverse", [](SString& s) { s.MakeReverse(); } },
        { "Translate", [](SString& s) { s.Translate(L"ab", L"xy"); } },
        { "+=", [](SString& s) { s += L'!'; } },
        { "+= text", [](SString& s) { s += L"!!"; } },
        { "Lock",
          [](SString& s) {
              s.Lock()[0] = L'X';
              s.Unlock();
          } },
        { "PszStr", [](SString& s) { s.PszStr()[0] = L'X'; } },
        { "Format", [](SString& s) { s.Format(L"<%s>", s.PszStr()); } },
        { "Randomize", [](SString& s) { s.Randomize(7); } },
        { "=", [](SString& s) { s = L"other"; } },
    };
    const StringsAtRest rest;
    for (const auto& c : edits) {
        SCOPED_TRACE(c.edit);
        const SString original(L"banana ");
        SString copy(original);
        const SString third = copy;
        const wchar_t* const buffer = original;
        ASSERT_EQ(buffer, static_cast<const wchar_t*>(copy));
        c.apply(copy);
        EXPECT_STREQ(L"banana ", original.PszStr());
        EXPECT_EQ(buffer, static_cast<const wchar_t*>(third));
        EXPECT_STRNE(L"banana ", copy.PszStr());
        EXPECT_NE(buffer, static_cast<const wchar_t*>(copy));
        EXPECT_EQ(copy.Length(), static_cast<int>(std::wcslen(copy)));
    }
}

TEST(StringSharing, WhatChangesNothingDetachesNothing)
{
    const SString original(L"banana");
    SString copy(original);
    const wchar_t* const buffer = original;
    EXPECT_EQ(0, copy.Replace(L'x', L'y') + copy.Replace(L"xx", L"y") + copy.ReplaceAll(L'x', L'y') +
                     copy.ReplaceAll(L"xx", L"y") + copy.ReplaceAllNoCase(L"", L"y") +
                     copy.Replace(L"", L"y"));
    copy.Trim().TrimLeft(L"xyz").TrimRight(L"").Insert(L"", 2).Insert(nullptr, 1).Delete(6, 1).Delete(2, 0);
    copy.Translate(L"xyz", L"123");
    copy.SetAt(6, L'x');
    copy.SetAt(-1, L'x');
    copy += L"";
    copy += L'\0';
    copy = copy;
    EXPECT_EQ(buffer, static_cast<const wchar_t*>(copy));
    EXPECT_EQ(buffer, static_cast<const wchar_t*>(copy.Left(6)));
    EXPECT_EQ(buffer, static_cast<const wchar_t*>(copy.Right(99)));
    EXPECT_EQ(buffer, static_cast<const wchar_t*>(copy.Mid(-5, 6)));
}

TEST(StringSharing, PrivateBuffersAreKeptWhileTheyHold)
{
    SString s(L"0123456789");
    const wchar_t* const buffer = s;
    s += L"abcdefg"; // 17 characters
    EXPECT_EQ(buffer, static_cast<const wchar_t*>(s));
    s = L"short";
    EXPECT_EQ(buffer, static_cast<const wchar_t*>(s));
    s.Insert(L"er and long", 5);
    s.Delete(0, 4).ToUpper().MakeReverse().TrimLeft(L'G');
    EXPECT_EQ(buffer, static_cast<const wchar_t*>(s));
    s += L"0123456789";
    EXPECT_NE(buffer, static_cast<const wchar_t*>(s));
    SString moved(std::move(s));
    EXPECT_TRUE(s.IsEmpty());
    s = std::move(moved);
    s.swap(moved);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(21, moved.Length());
}

TEST(StringSharing, ArgumentsMayLieInsideTheString)
{
    for (const int length : { 12, 17, 3000, 3584 }) { // within, at the edge of, and beyond the pools
        SCOPED_TRACE(length);
        std::wstring base;
        for (int i = 0; i < length; ++i)
            base += static_cast<wchar_t>(L'a' + i % 26);
        const std::wstring tail = base.substr(3);
        SString s(base.c_str());
        EXPECT_EQ(base + tail, Wide(s += s.PszStr() + 3));
        s = base.c_str();
        EXPECT_EQ(base + base, Wide(s += s));
        s = base.c_str();
        EXPECT_EQ(tail, Wide(s = s.GetPointerAt(3)));
        s = base.c_str();
        EXPECT_EQ(base.substr(0, 5) + tail + base.substr(5), Wide(s.Insert(s.GetPointerAt(3), 5)));
        s = L"abcabc";
        s.ReplaceAll(s.GetPointerAt(5), s); // "c" by the whole
        EXPECT_STREQ(L"ababcabcababcabc", s.PszStr());
        s = L"abc";
        s.Format(L"%s-%s", s.PszStr(), s.GetPointerAt(1));
        EXPECT_STREQ(L"abc-bc", s.PszStr());
    }
}

TEST(StringLocking, FollowsTheRules)
{
    SString s(L"text");
    const wchar_t* const buffer = s;
    wchar_t* raw = s.Lock();
    EXPECT_EQ(buffer, raw) << "a private buffer that is large enough is locked in place";
    const SString copy(s);
    EXPECT_NE(buffer, static_cast<const wchar_t*>(copy)) << "a locked string is copied, not shared";
    EXPECT_STREQ(L"text", copy);
    std::wcscpy(raw, L"te");
    EXPECT_EQ(2, SString(s).Length()) << "the copy is of what stands in the buffer now";
    std::wcscpy(raw, L"changed");
    s.Unlock();
    EXPECT_EQ(7, s.Length());
    EXPECT_STREQ(L"text", copy);

    const SString other(s);
    raw = s.LockTchar(40);
    EXPECT_NE(buffer, raw);
    EXPECT_STREQ(L"changed", raw);
    EXPECT_EQ(65, s.Capacity());
    s.UnlockTchar(3);
    EXPECT_STREQ(L"cha", s);
    EXPECT_STREQ(L"changed", other);

    raw = s.LockBuffer(10);
    EXPECT_EQ(10, s.Length());
    EXPECT_EQ(L'\0', raw[10]);
    std::wmemset(raw, L'b', 10);
    s.UnlockBuffer();
    EXPECT_EQ(10, s.Length());
    raw = s.GetBufferSetLength(12);
    std::wmemset(raw + 10, L'c', 2);
    s.UnlockTchar(5000); // beyond the capacity: measured
    EXPECT_STREQ(L"bbbbbbbbbbcc", s);
    s.Unlock(); // not locked: nothing happens
    EXPECT_EQ(12, s.Length());

    SString empty;
    raw = empty.Lock();
    EXPECT_EQ(17, empty.Capacity());
    EXPECT_EQ(L'\0', *raw);
    empty = L"";
    EXPECT_EQ(raw, static_cast<const wchar_t*>(empty)) << "an empty text keeps a locked buffer";
    empty.Unlock();
    EXPECT_EQ(SString().PszStr(), empty.PszStr());

    SString measured(L"one two");
    measured.PszStr()[3] = L'\0';
    EXPECT_EQ(7, measured.Length());
    EXPECT_EQ(3, measured.VerifiedLength());
    EXPECT_EQ(0, SString().VerifiedLength());
}

TEST(StringGuard, FindsAnOverrunReportsItAndQuarantinesTheBlock)
{
    const struct {
        const wchar_t* place;
        void (*notice)(SString&);
    } noticers[] = {
        { L"core/src/strclss(6043): const wchar_t* SString::PszStr() const",
          [](SString& s) { static_cast<const SString&>(s).PszStr(); } },
        { L"core/src/strclss(6055): wchar_t* SString::PszStr()", [](SString& s) { s.PszStr(); } },
        { L"core/src/strclss(2839): void SString::UnlockTchar(int)", [](SString& s) { s.UnlockTchar(); } },
        { L"core/src/strclss(3042): void SString::UnlockBuffer(int)", [](SString& s) { s.UnlockBuffer(); } },
        { L"core/src/strclss(6043): const wchar_t* SString::PszStr() const",
          [](SString& s) { s.TrimRight(L'x'); } },
    };
    const Reports reports;
    for (const auto& c : noticers) {
        for (const int length : { 10, 100, 2049, 3000 }) {
            SCOPED_TRACE(length);
            SString s(L'o', length);
            const wchar_t* damaged;
            {
                wchar_t* raw = s.LockTchar();
                damaged = raw;
                raw[s.Capacity()] = L'!';
            }
            c.notice(s);
            ASSERT_EQ(2u, g_reports.size());
            EXPECT_EQ(c.place, g_reports[0]);
            EXPECT_EQ(L"A string buffer overflow has been detected!\n You should try to SAVE-AS your work TO "
                      L"ANOTHER "
                      L"FILE and exit application as soon as possible.",
                      g_reports[1]);
            EXPECT_EQ(1, SHasStringBufferOverflow());
            g_reports.clear();
            s.Unlock();
            EXPECT_EQ(length, s.Length()) << "the string stays usable";
            s.PszStr();
            EXPECT_TRUE(g_reports.empty()) << "one damage, one report";
            if (length > 2049)
                continue;
            s.Empty();
            std::vector<SString> more;
            for (int i = 0; i < 300; ++i) {
                more.emplace_back(L'n', length);
                ASSERT_NE(damaged, static_cast<const wchar_t*>(more.back()));
            }
        }
    }
}

TEST(StringValues, FitTheStandardLibrary)
{
    SString s(std::wstring_view(L"em\0bedded", 9));
    EXPECT_EQ(9, s.Length());
    EXPECT_EQ(std::wstring_view(L"em\0bedded", 9), static_cast<std::wstring_view>(s));
    EXPECT_EQ(3, std::count(s.begin(), s.end(), L'd'));
    std::wstring collected;
    for (const wchar_t c : SString(L"range"))
        collected += c;
    EXPECT_EQ(L"range", collected);
    std::wostringstream stream;
    stream.width(6);
    stream << SString(L"abc") << L'|';
    EXPECT_EQ(L"   abc|", stream.str());
    std::unordered_set<SString> set{ SString(L"a"), SString(L"b"), SString(L"a") };
    EXPECT_EQ(2u, set.size());
    EXPECT_TRUE(set.count(SString(L"b")));
    static_assert(std::is_nothrow_move_constructible_v<SString> &&
                  std::is_nothrow_move_assignable_v<SString>);
    static_assert(!std::is_convertible_v<int, SString>, "a number never becomes a text unasked");
    EXPECT_STREQ(L"one2three", SString::Concat(L"one", L'2', SString(L"three"), std::wstring_view()));
    EXPECT_STREQ(L"a-b-c", L"a" + SString(L"-") + SString(L"b") + L'-' + "c");
    EXPECT_STREQ(L"xab", L'x' + SString(L"a") + 'b');
}

TEST(StringBuilder, GathersAndHandsItsBufferOver)
{
    const StringsAtRest rest;
    SStringBuffer out;
    std::wstring model;
    for (int i = 0; i < 3000; ++i) {
        out << L"piece " << i << L';';
        model += L"piece " + std::to_wstring(i) + L";";
    }
    out.Append(L'-', 3).AppendFormat(L"%d%%", 7).Append(out.Text(), 5);
    model += L"---7%piece";
    EXPECT_EQ(model, out.Text());
    const SString shared(out);
    out << L'!';
    EXPECT_EQ(model, Wide(shared));
    out.Truncate(out.Length() - 1);
    const SString text = out.Detach();
    EXPECT_EQ(model, Wide(text));
    EXPECT_EQ((text.Length() + 511) & ~511, text.Capacity()) << "nothing of the growth is kept";
    EXPECT_TRUE(out.IsEmpty());
    out << L"again";
    out.Clear();
    out << L"x";
    EXPECT_STREQ(L"x", out.Text());
    out.Append(nullptr).Append(L"", 0).Append(L'y', -1);
    EXPECT_EQ(1, out.Length());
}

TEST(StringBuilder, GrowsByWhatIsAddedWhoeverTakesCopiesMeanwhile)
{
    const StringsAtRest rest;
    SStringBuffer out;
    for (int i = 0; i < 100; ++i) {
        const SString copy(out);
        out << L'x';
        ASSERT_EQ(i, copy.Length());
        ASSERT_LE(SString(out).Capacity(), 1000);
    }
}

TEST(StringLengths, ThatOverflowAreOutOfMemory)
{
    SString s(L"abc");
    EXPECT_THROW(s.LockTchar(SString::kMaxLength + 1), SEOutOfMemory);
    EXPECT_THROW(s.LockTchar(0x7FFFFFFF), SEOutOfMemory);
    EXPECT_THROW(SString(L'x', 0x7FFFFFFF), SEOutOfMemory);
    EXPECT_THROW(s.Append(L"x", 0x7FFFFFFF), SEOutOfMemory);
    EXPECT_THROW(s.Format(L"%2147483647d%2147483647d", 1, 2), SEOutOfMemory);
    EXPECT_STREQ(L"abc", s);
    const SString large(L'l', 64 << 20);
    EXPECT_THROW(SString::Concat(large, large, large, large, large, large, large, large, large, large, large,
                                 large, large, large, large, large, large, large),
                 SEOutOfMemory);
    const SString many(L'a', 60000), to(L'b', 60000);
    SString grown(many);
    EXPECT_THROW(grown.ReplaceAll(L"a", to), SEOutOfMemory);
    EXPECT_EQ(many, grown);
}
