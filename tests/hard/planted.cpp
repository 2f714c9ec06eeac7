// What planted faults (tools/plant) showed that no other test saw: small promises at the edges, a case each.
#include "narrow.h"
#include "sbufstream.h"
#include "crash.h"
#include "sfile.h"
#include "sfilestream.h"
#include "shglobal.h"
#include "smap.h"
#include "smemstream.h"
#include "sstream.h"
#include "strclss.h"
#include "striter.h"
#include "strmap.h"
#include "szipstream.h"

#include "support/allocfail.h"
#include "support/guardedtext.h"
#include "support/stringhelp.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <exception>

TEST(Unseen, EditsFromAPositionDetachASharedTextAndReachItsFirstCharacter)
{
    const struct {
        const char* edit;
        void (*apply)(SString& text);
        const wchar_t* wanted;
    } kEdits[] = {
        { "ToLower", [](SString& s) { s.ToLower(0, 2); }, L"baNANA" },
        { "ToUpper", [](SString& s) { s.ToLower(), s.ToUpper(0, 2); }, L"BAnana" },
        { "ReplaceAllNoCase", [](SString& s) { EXPECT_EQ(1, s.ReplaceAllNoCase(L'b', L'x')); }, L"xANANA" },
        { "ReplaceAll", [](SString& s) { EXPECT_EQ(1, s.ReplaceAll(L'B', L'x')); }, L"xANANA" },
        { "UnlockBuffer", [](SString& s) { s.LockBuffer(20), s.UnlockBuffer(3); }, L"BAN" },
    };
    for (const auto& e : kEdits) {
        SCOPED_TRACE(e.edit);
        const SString original(L"BANANA");
        SString copy(original);
        e.apply(copy);
        EXPECT_STREQ(e.wanted, copy.PszStr());
        EXPECT_STREQ(L"BANANA", original.PszStr());
        EXPECT_EQ(static_cast<const wchar_t*>(copy), static_cast<const wchar_t*>(SString(copy)))
            << "a lock that has ended lets the buffer be shared";
    }
}

TEST(Unseen, ALargeTextMayBeAddedToItself)
{
    SString text(L'x', 5000);
    std::wstring model(5000, L'x');
    for (int i = 0; i < 8; ++i) {
        text += static_cast<const wchar_t*>(text);
        model += model;
        ASSERT_EQ(model, Wide(text));
    }
}

TEST(Unseen, NumbersReadEveryDigitInTheirBase)
{
    const struct {
        const wchar_t* text;
        int base;
        long value;
    } kNumbers[] = { { L"10", 16, 16 },
                     { L"0x1234567", 0, 0x1234567 },
                     { L"777", 8, 0777 },
                     { L"10", 2, 2 },
                     { L"1234567890", 10, 1234567890 } };
    for (const auto& n : kNumbers)
        EXPECT_EQ(n.value, SString(n.text).ToLONG(n.base)) << n.base;
}

TEST(Unseen, ASearchThatTurnsLinearStopsAtTheEndOfTheText)
{
    GuardedText guarded;
    const std::wstring text(4000, L'a'), wanted = std::wstring(60, L'a') + L'b' + std::wstring(60, L'a');
    guarded.ForEachPlace(text, [&](const wchar_t* at) {
        EXPECT_EQ(nullptr, SSafeMemStr(at, text.size(), wanted.data(), wanted.size()));
    });
    // The unit behind the text would complete it.
    const std::wstring ends = text + wanted;
    EXPECT_EQ(nullptr, SSafeMemStr(ends.data(), ends.size() - 1, wanted.data(), wanted.size()));
}

TEST(Unseen, WordsEndAtForeignPunctuationAndKeepTheirMarks)
{
    const struct {
        const wchar_t* text;
        int words;
    } kTexts[] = { { L"one\u2014two", 2 },
                   { L"e\u0301te\u0301", 1 },
                   { L"a\U0001D49Cb", 1 },
                   { L"\u00ab\u00e9\u00bb", 1 } };
    for (const auto& t : kTexts) {
        const SString text(t.text);
        int words = 0;
        for (SString::word_iterator word(text); word; ++word)
            ++words;
        EXPECT_EQ(t.words, words) << testing::PrintToString(t.text);
    }
}

TEST(Unseen, TheSecondTryForMemoryFindsWhatPoolsCanSpare)
{
    {
        std::vector<SString> many;
        for (int i = 0; i < 2000; ++i)
            many.emplace_back(L'p', 17);
    }
    const unsigned long held = SFixedAlloc::TotalBytes();
    AllocationFailures failures;
    failures.Arm(1, FailMode::Once);
    const SString text(L'x', 3000);
    failures.Disarm();
    EXPECT_EQ(1, failures.Failed());
    EXPECT_EQ(3000, text.Length());
    EXPECT_LT(SFixedAlloc::TotalBytes(), held) << "the pools gave nothing back";
}

TEST(Unseen, AnExceptionWithoutMemoryTellsItsPlaceInItsFullText)
{
    AllocationFailures failures;
    failures.Arm(1, FailMode::FromThenOn);
    try {
        SString(L'x', 3000);
        ADD_FAILURE() << "it had memory";
    }
    catch (const SEOutOfMemory& e) {
        const SString shortOfMemory = e.GetFullText();
        failures.Disarm();
        EXPECT_NE(nullptr, shortOfMemory.Find(L"Thrown from:")) << shortOfMemory;
        EXPECT_EQ(SString(shortOfMemory.PszStr()), shortOfMemory) << "its length is that of its text";
        EXPECT_NE(nullptr, e.GetFullText().Find(L"Thrown from:")) << e.GetFullText();
    }
    failures.Disarm();
}

namespace {

struct CopyFails {
    CopyFails() = default;
    CopyFails(const CopyFails&) { throw 1; }
    CopyFails& operator=(const CopyFails&) = default;
};

} // namespace

TEST(Unseen, AMapGivesTheEntryBackWhoseValueCouldNotBeCopied)
{
    SMap<int, CopyFails> map;
    const CopyFails value;
    const unsigned long before = SFixedAlloc::TotalBytes();
    for (int round = 0; round < 5000; ++round)
        EXPECT_THROW(map.Set(round, value), int);
    EXPECT_EQ(0, map.Count());
    EXPECT_LT(SFixedAlloc::TotalBytes(), before + 2 * 0x10000) << "one chunk may have been taken";
}

TEST(Unseen, AMapGivesTheEntryBackThatItRemoves)
{
    SMap<SString, SString> sorted;
    SStringUnsortedMap unsorted;
    sorted.Set(L"stays", L"1");
    unsorted.Set(L"stays", L"1");
    const unsigned long before = SFixedAlloc::TotalBytes();
    for (int round = 0; round < 5000; ++round) {
        sorted.Set(L"goes", L"2");
        unsorted.Set(L"goes", L"2");
        sorted.Remove(L"goes");
        unsorted.Remove(L"goes");
    }
    const unsigned long chunks = 4 * 0x10000; // each pool may have taken one
    EXPECT_LT(SFixedAlloc::TotalBytes(), before + chunks);
}

// ---- Streams ----

namespace {

// It has no Skip of its own, and notes when it is closed.
struct Plain : SInputStream {
    explicit Plain(int& closed) : m_closed(closed) {}
    unsigned long Read(void* data, unsigned long bytes, unsigned long) override
    {
        const unsigned long got = bytes < m_left ? bytes : m_left;
        std::memset(data, 'p', got);
        m_left -= got;
        return got;
    }
    unsigned long Available() override { return m_left; }
    void Close() override { ++m_closed; }

private:
    int& m_closed;
    unsigned long m_left = 10000;
};

struct PlainOut : SOutputStream {
    explicit PlainOut(int& closed) : m_closed(closed) {}
    unsigned long Write(const void*, unsigned long bytes, unsigned long) override { return bytes; }
    void Close() override { ++m_closed; }

private:
    int& m_closed;
};

} // namespace

TEST(Unseen, SkippingBySteppingStopsWhereItWasAsked)
{
    int closed = 0;
    Plain stream(closed);
    EXPECT_EQ(5000u, stream.Skip(5000));
    EXPECT_EQ(5000u, stream.Available());
    EXPECT_EQ(0u, stream.Skip(0));
    EXPECT_EQ(5000u, stream.Skip(9000));
}

TEST(Unseen, ClosingAFilterClosesTheStreamThatItOwns)
{
    const struct {
        const char* filter;
        void (*close)(int& closed, int& before);
    } kFilters[] = {
        { "input buffer",
          [](int& closed, int& before) {
              SInputBufferStream in(new Plain(closed), true);
              in.Close();
              before = closed;
          } },
        { "output buffer",
          [](int& closed, int& before) {
              SOutputBufferStream out(new PlainOut(closed), true);
              out.Close();
              before = closed;
          } },
        { "inflater",
          [](int& closed, int& before) {
              SInflaterInputStream in(new Plain(closed), true);
              in.Close();
              before = closed;
          } },
        { "deflater",
          [](int& closed, int& before) {
              SDeflaterOutputStream out(new PlainOut(closed), true);
              out.Close();
              before = closed;
          } },
    };
    for (const auto& f : kFilters) {
        int closed = 0, before = 0;
        f.close(closed, before);
        EXPECT_EQ(1, before) << f.filter;
    }
}

TEST(Unseen, TextsOfEveryShortLengthComeBackFromABinaryStream)
{
    for (int length = 0; length < 600; ++length) {
        SOutputGlobal memory;
        SOutputBinaryStream out(memory);
        const SString text(L'\u20AC', length);
        out << text << 7l;
        SInputGlobal bytes(memory.GetBytes(), memory.GetSize());
        SInputBinaryStream in(bytes);
        SString back;
        long mark = 0;
        in >> back >> mark;
        ASSERT_EQ(text, back);
        ASSERT_EQ(7, mark) << length;
    }
}

TEST(Unseen, AClosedStreamLetsGoOfItsBlob)
{
    SBlob blob;
    blob.Alloc(100);
    SInputGlobal in(blob);
    in.Close();
    const void* const before = blob.LockForRead();
    blob.Unlock();
    EXPECT_EQ(before, blob.Lock()) << "it was still shared, so its bytes were copied";
    blob.Unlock();
}

// ---- Files and names ----

TEST(Unseen, FilesAreClosedAndCodesAreZeroAfterSuccess)
{
    const TempFolder folder;
    const SString path = folder.File(L"plan.txt", "content").c_str();
    SBlob blob;
    SFile file;
    EXPECT_EQ(0, blob.ReadFromFile(path, file));
    EXPECT_EQ(7u, blob.GetSize());
    EXPECT_FALSE(file.IsOpen());
    FILETIME time;
    DWORD size;
    EXPECT_EQ(0, SFile::GetDateTime(path, &time));
    EXPECT_EQ(0, SFile::GetDateTime(path, &time, 1));
    EXPECT_EQ(0, SFile::GetSize(path, &size));
}

TEST(Unseen, EscapesNeedTwoDigitsAndAPageNeedsNoName)
{
    for (const wchar_t* url : { L"file:///c:/a%4Gb", L"file:///c:/a%G4b", L"file:///c:/a%4" })
        EXPECT_NE(nullptr, SFile::URLToPath(url).Find(L'%')) << SFile::URLToPath(url);
    EXPECT_EQ(L"c:\\aJb", SFile::URLToPath(L"file:///c:/a%4Ab"));
    EXPECT_EQ(1, SFile::IsValidURL(L".htm"));
}

TEST(Unseen, ANameThatTheRunTimeCannotExpandGivesNone)
{
    const ImportPatch patch(
        "CVCore16.dll", nullptr, "_wfullpath",
        +[](wchar_t* to, const wchar_t*, size_t) -> wchar_t* { return to[0] = L'x', nullptr; });
    ASSERT_TRUE(patch.Found());
    EXPECT_EQ(L"", SFile::NormalizeFileName(L"c:\\some\\file.txt"));
}

TEST(Unseen, ConvertedTextsCanBeShared)
{
    const SString texts[] = { SUtf8String::ToUnicode("wide"), SString("narrow text"),
                              SFile::GetTempDirectory() };
    for (const SString& text : texts)
        EXPECT_EQ(static_cast<const wchar_t*>(text), static_cast<const wchar_t*>(SString(text))) << text;
}

TEST(Unseen, RemovingTheHookPutsTheHandlerOfUncaughtExceptionsBack)
{
    const std::terminate_handler before = std::get_terminate();
    ASSERT_EQ(1, VectoredExceptionHook::Install());
    EXPECT_NE(before, std::get_terminate());
    VectoredExceptionHook::Remove();
    EXPECT_EQ(before, std::get_terminate());
}
