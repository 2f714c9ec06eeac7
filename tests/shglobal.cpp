// Global memory, and the shared buffer over it: sharing, copies before writes, text forms, streams, files.
#include "shglobal.h"

#include "filecodes.h"
#include "sexcept.h"
#include "sfile.h"

#include "support/counters.h"
#include "support/importpatch.h"
#include "support/seed.h"
#include "support/stringhelp.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <objidl.h>

#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

SBlob Blob(const std::string& bytes)
{
    SBlob blob;
    EXPECT_EQ(1, blob.Alloc(static_cast<unsigned long>(bytes.size())));
    if (!bytes.empty()) {
        std::memcpy(blob.Lock(), bytes.data(), bytes.size());
        blob.Unlock();
    }
    return blob;
}
std::string Bytes(const SBlob& blob)
{
    const void* bytes = blob.LockForRead();
    if (!bytes)
        return "";
    std::string text(static_cast<const char*>(bytes), blob.GetSize());
    blob.Unlock();
    return text;
}
const void* Address(const SBlob& blob)
{
    const void* bytes = blob.LockForRead();
    blob.Unlock();
    return bytes;
}

HGLOBAL WINAPI NoGlobal(UINT, SIZE_T)
{
    return nullptr;
}
HGLOBAL WINAPI NoReGlobal(HGLOBAL, SIZE_T, UINT)
{
    return nullptr;
}
BOOL WINAPI NoRead(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*)
{
    return FALSE;
}
BOOL WINAPI NoWrite(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    return FALSE;
}
void* __cdecl NoChunk(size_t, const std::nothrow_t&)
{
    return nullptr;
}
template <class Function>
ImportPatch Fail(const char* function, Function* replacement)
{
    ImportPatch patch("CVCore16.dll", nullptr, function, replacement);
    EXPECT_TRUE(patch.Found()) << function;
    return patch;
}

} // namespace

TEST(GlobalMemory, IsOwnedAndCopiedWithItsBytes)
{
    const ResourceCount before = CountResources();
    {
        SHGlobal memory;
        EXPECT_TRUE(memory.IsNull());
        EXPECT_EQ(nullptr, memory.Lock());
        ASSERT_EQ(1, memory.Alloc(10));
        std::strcpy(static_cast<char*>(memory.Lock()), "bytes");
        memory.Unlock();
        SHGlobal copy(memory);
        EXPECT_NE(memory.GetHandle(), copy.GetHandle());
        ASSERT_EQ(1, memory.Realloc(1000));
        EXPECT_STREQ("bytes", static_cast<char*>(memory.Lock()));
        EXPECT_EQ('\0', static_cast<char*>(memory.Lock())[999]);
        memory.Unlock();
        memory.Unlock();
        EXPECT_STREQ("bytes", static_cast<char*>(copy.Lock()));
        copy.Unlock();
        const ImportPatch alloc = Fail("GlobalAlloc", NoGlobal), realloc = Fail("GlobalReAlloc", NoReGlobal);
        EXPECT_EQ(0, memory.Realloc(5));
        EXPECT_LE(1000u, memory.GetSize()) << "as it was";
        EXPECT_TRUE(SHGlobal(memory).IsNull());
        copy = std::move(memory);
        const HGLOBAL handle = copy.Detach();
        EXPECT_TRUE(copy.IsNull());
        memory.Attach(handle);
    }
    EXPECT_EQ(before, CountResources());
}

TEST(Blobs, ShareTheirBytesUntilOneIsWritten)
{
    SBlob a = Blob("abc"), b(a), c;
    c = a;
    EXPECT_EQ(Address(a), Address(b)) << "reading copies nothing";
    static_cast<char*>(b.Lock())[0] = 'X';
    b.Unlock();
    EXPECT_EQ("abc", Bytes(a));
    EXPECT_EQ("Xbc", Bytes(b));
    EXPECT_EQ(Address(a), Address(c));
    const void* alone = Address(b);
    EXPECT_EQ(alone, b.Lock()) << "its own are not copied again";
    b.Unlock();
    a = a;
    EXPECT_EQ("abc", Bytes(a));
    a = std::move(b);
    EXPECT_EQ("Xbc", Bytes(a));
    EXPECT_EQ(1, b.IsNull());
    a.Free();
    EXPECT_EQ(1, a.IsNull());
    EXPECT_EQ("abc", Bytes(c));
}

TEST(Blobs, AreAllocatedResizedAndEmpty)
{
    SBlob none;
    EXPECT_EQ(1, none.IsNull() && none.IsEmpty() && !none.IsValid());
    EXPECT_EQ(0u, none.GetSize());
    EXPECT_EQ(nullptr, none.Lock());
    EXPECT_EQ(0, none.Unlock());
    SBlob empty;
    EXPECT_EQ(1, empty.Alloc(0));
    EXPECT_EQ(1, empty.IsNull() && empty.IsEmpty());
    EXPECT_EQ(0u, empty.GetSize());
    EXPECT_EQ(nullptr, empty.LockForRead());
    empty.Lock();
    EXPECT_EQ(0, empty.IsNull()) << "an empty block of its own now";
    EXPECT_EQ(1, empty.IsEmpty());
    SBlob other;
    other.Alloc(0);
    EXPECT_EQ(1, other.IsNull()) << "the null block was not written";

    SBlob blob = Blob("abcdef");
    EXPECT_EQ(1, blob.Realloc(8));
    EXPECT_EQ(std::string("abcdef\0\0", 8), Bytes(blob));
    EXPECT_EQ(1, blob.Realloc(2));
    EXPECT_EQ("ab", Bytes(blob));
    EXPECT_EQ(1, blob.Realloc(0));
    EXPECT_EQ(1, blob.IsEmpty());
    EXPECT_EQ(1, blob.Realloc(3));
    EXPECT_EQ(std::string(3, '\0'), Bytes(blob));
    EXPECT_EQ(1, blob.Alloc(2));
    EXPECT_EQ(std::string(2, '\0'), Bytes(blob));

    SBlob shared = Blob("abc"), second(shared);
    EXPECT_EQ(1, second.Realloc(5));
    EXPECT_EQ(std::string(5, '\0'), Bytes(second)) << "shared bytes are treated as by Alloc";
    EXPECT_EQ("abc", Bytes(shared));
}

TEST(Blobs, TakeMemoryOverAndGiveItAway)
{
    const HGLOBAL memory = ::GlobalAlloc(GMEM_MOVEABLE, 64);
    std::strcpy(static_cast<char*>(::GlobalLock(memory)), "handed over");
    ::GlobalUnlock(memory);
    SBlob blob;
    EXPECT_EQ(1, blob.Attach(memory, 6));
    EXPECT_EQ("handed", Bytes(blob));
    SBlob copy(blob);
    void* given = copy.Detach();
    EXPECT_NE(memory, given) << "shared bytes are copied for that";
    EXPECT_EQ(1, copy.IsNull());
    EXPECT_EQ(memory, blob.Detach());
    EXPECT_EQ(1, blob.Attach(memory, SBlob::kNotRecorded));
    EXPECT_LE(64u, blob.GetSize());
    EXPECT_EQ(1, blob.IsValid());
    EXPECT_EQ(1, blob.Attach(given, 0x100000)) << "claims more than there is";
    EXPECT_EQ(0, blob.IsValid());
    EXPECT_EQ(nullptr, blob.LockForRead());
    EXPECT_EQ(0, blob.Attach(nullptr, 5));
    EXPECT_EQ(1, blob.IsNull());
    EXPECT_EQ(nullptr, blob.Detach());
}

TEST(Blobs, OrderByBytesAndThenByLength)
{
    const std::string kSorted[] = { "", std::string(1, '\0'), "a", "ab", "b", "\xFF" };
    for (const std::string& a : kSorted) {
        for (const std::string& b : kSorted) {
            const int order = Blob(a).Compare(Blob(b)), expected = a < b ? -1 : a > b;
            EXPECT_EQ(expected, (order > 0) - (order < 0)) << a << " " << b;
            EXPECT_EQ(expected == 0, Blob(a) == Blob(b));
        }
    }
    const SBlob same = Blob("x"), alike(same);
    EXPECT_EQ(0, same.Compare(alike));
}

TEST(Blobs, SayWhatFailed)
{
    SBlob own = Blob("abc"), shared = Blob("def"), second(shared);
    {
        const ImportPatch alloc = Fail("GlobalAlloc", NoGlobal), realloc = Fail("GlobalReAlloc", NoReGlobal);
        EXPECT_EQ(0, own.Realloc(100));
        EXPECT_EQ("abc", Bytes(own)) << "the old memory stays";
        EXPECT_EQ(0, own.Alloc(5));
        EXPECT_EQ(1, own.IsEmpty());
        EXPECT_EQ(nullptr, second.Lock());
        EXPECT_EQ("def", Bytes(second)) << "still shared";
        EXPECT_EQ(nullptr, second.Detach());
        EXPECT_EQ("def", Bytes(second));
    }
    const struct {
        unsigned long line;
        void (*work)(SBlob&);
    } kCases[] = { { 976, [](SBlob& blob) { blob.Alloc(5); } },
                   { 1015, [](SBlob& blob) { blob.Realloc(5); } },
                   { 1106, [](SBlob& blob) { blob.Lock(); } } };
    for (const auto& c : kCases) {
        const ImportPatch heap =
            Fail(sizeof(size_t) == 4 ? "_ZnajRKSt9nothrow_t" : "_ZnayRKSt9nothrow_t", NoChunk);
        std::vector<SBlob> fill; // every block that the pool still has
        try {
            for (;;) {
                SBlob blob;
                blob.Alloc(1);
                fill.push_back(std::move(blob));
            }
        }
        catch (const SEOutOfMemory&) {
        }
        try {
            c.work(second);
            ADD_FAILURE() << "line " << c.line << ": nothing was thrown";
        }
        catch (const SEOutOfMemory& e) {
            const std::wstring place = L" core/src/shglobal(" + std::to_wstring(c.line) + L"): ";
            EXPECT_NE(nullptr, std::wcsstr(e.GetLocation(), place.c_str())) << c.line;
        }
        EXPECT_EQ("def", Bytes(second)) << "as it was";
    }
}

// ---- Text forms ----

TEST(BlobText, HexadecimalGoesBothWays)
{
    const SBlob blob = Blob(std::string("\x00\xFF\x7A\x01\x02", 5));
    EXPECT_STREQ(L"00FF7A0102", blob.GetAsHex());
    EXPECT_STREQ(L"00 FF|7A 01|02", SBlob::BytesToHex("\x00\xFF\x7A\x01\x02", 5, 2, L" ", L"|"));
    EXPECT_STREQ(L"00-FF-7A-01-02", SBlob::BytesToHex("\x00\xFF\x7A\x01\x02", 5, 0, L"-", nullptr));
    EXPECT_STREQ(L"00\r\nFF", SBlob::BytesToHex("\x00\xFF", 2, 1, L"-", L"\r\n"));
    EXPECT_STREQ(L"", SBlob::BytesToHex(nullptr, 5, 1, L"-", L"\r\n"));
    SBlob read = Blob("old");
    EXPECT_EQ(1, read.SetAsHex(L" 00 fF\r\n\t7a01 02 "));
    EXPECT_EQ(0, read.Compare(blob));
    for (const wchar_t* bad :
         { L"0", L"0 0", L"00F", L"0G", L"00,01", L"00\u00a0", L"\u0660\u0660", L"0\uFF11" }) {
        EXPECT_EQ(0, read.SetAsHex(bad)) << SString(bad);
        EXPECT_EQ(0, read.Compare(blob)) << "left as it was";
    }
    EXPECT_EQ(1, read.SetAsHex(L" "));
    EXPECT_EQ(1, read.IsEmpty());
}

TEST(BlobText, IsReadInTheEncodingThatItsMarkSays)
{
    const struct {
        std::string bytes;
        const wchar_t* text;
    } kCases[] = {
        { "\xC3\xA9!", L"\u00e9!" },
        { "\xEF\xBB\xBF\xC3\xA9", L"\u00e9" },
        { "\xEF\xBB\xBF", L"" },
        { std::string("\xFF\xFE\xE9\x00!\x00", 6), L"\u00e9!" },
        { std::string("\xFE\xFF\x00\xE9\x00!x", 7), L"\u00e9!\uFFFD" },
        { std::string("\xFF\xFE\x04\xDB!\x00", 6), L"\uFFFD!" },
        { "\xFF\xFE", L"" },
        { "bad \xFF", L"bad \uFFFD" },
        { "", L"" },
    };
    for (const auto& c : kCases)
        EXPECT_STREQ(c.text, Blob(c.bytes).GetAsText());
    SBlob blob = Blob("old");
    EXPECT_EQ(0, blob.SetAsText(L"half \xD83D"));
    EXPECT_EQ("old", Bytes(blob));
    EXPECT_EQ(1, blob.SetAsText(L"\u00e9\U0001F600"));
    EXPECT_EQ("\xC3\xA9\xF0\x9F\x98\x80", Bytes(blob));
    EXPECT_EQ(1, blob.SetAsText(L""));
    EXPECT_EQ(1, blob.IsEmpty());
}

TEST(BlobText, UuencodeLinesGoBothWays)
{
    EXPECT_STREQ(L"#0V%T\n`\n", Blob("Cat").GetAsUUElike());
    EXPECT_STREQ(L"`\n", SBlob().GetAsUUElike());
    SBlob read;
    for (const wchar_t* text : { L"#0V%T\n`\n", L"#0V%T", L"#0V%T\r\n`\r\n",
                                 L"From: x\n\nbegin 644 cat.txt\n#0V%T\n`\nend\n", L"#0V%T\n \n" }) {
        read = Blob("old");
        EXPECT_EQ(1, read.SetAsUUElike(text)) << SString(text);
        EXPECT_EQ("Cat", Bytes(read));
    }
    read = Blob("old");
    for (const wchar_t* bad : { L"#0V%", L"#0V%T12", L"#0V\u20ac%", L"M0V%T\n", L"a", L"#0V%T\nxyz" }) {
        EXPECT_EQ(0, read.SetAsUUElike(bad)) << SString(bad);
        EXPECT_EQ("old", Bytes(read));
    }
}

// Every length up to some lines, then short ones.
TEST(BlobText, BringsAllBytesBack)
{
    constexpr int kSomeLines = 200, kShort = 24;
    std::mt19937 random(TestSeed());
    const int cases = Cases(1000, kMillion);
    std::string bytes;
    SBlob read;
    for (int round = 0; round < cases; ++round) {
        bytes.resize(static_cast<size_t>(round < kSomeLines ? round : static_cast<int>(random() % kShort)));
        for (char& c : bytes)
            c = static_cast<char>(random() % 5 ? random() : 0);
        const SBlob blob = Blob(bytes);
        const SString hex = blob.GetAsHex();
        ASSERT_EQ(1, read.SetAsHex(hex)) << hex;
        ASSERT_EQ(0, read.Compare(blob)) << hex;
        SString uu = blob.GetAsUUElike();
        if (round % 2) // other writers put blanks for zeros
            uu.ReplaceAll(L'`', L' ');
        ASSERT_EQ(1, read.SetAsUUElike(uu)) << uu;
        ASSERT_EQ(0, read.Compare(blob)) << uu;
    }
}

// ---- Streams ----

TEST(BlobStream, ReadsSeeksAndWritesItsOwnCopy)
{
    SBlob blob = Blob("0123456789");
    IStream* const stream = blob.CreateStream();
    blob.Free();
    char bytes[20] = "";
    ULONG count;
    LARGE_INTEGER move;
    ULARGE_INTEGER place, size;
    EXPECT_EQ(S_OK, stream->Read(bytes, 4, &count));
    EXPECT_EQ(0, std::memcmp("0123", bytes, 4));
    move.QuadPart = -2;
    EXPECT_EQ(S_OK, stream->Seek(move, STREAM_SEEK_END, &place));
    EXPECT_EQ(8u, place.QuadPart);
    EXPECT_EQ(S_FALSE, stream->Read(bytes, 4, &count));
    EXPECT_EQ(2u, count);
    EXPECT_EQ(STG_E_INVALIDFUNCTION, (move.QuadPart = -20, stream->Seek(move, STREAM_SEEK_CUR, nullptr)));
    EXPECT_EQ(STG_E_INVALIDFUNCTION, stream->Seek(move, 7, nullptr));
    IStream* clone = nullptr;
    ASSERT_EQ(S_OK, stream->Clone(&clone));
    EXPECT_EQ(S_OK, stream->Write("AB", 2, &count)) << "at its end";
    move.QuadPart = 14;
    EXPECT_EQ(S_OK, stream->Seek(move, STREAM_SEEK_SET, nullptr));
    EXPECT_EQ(S_OK, stream->Write("Z", 1, nullptr)) << "behind its end";
    move.QuadPart = 0;
    stream->Seek(move, STREAM_SEEK_SET, nullptr);
    EXPECT_EQ(S_FALSE, stream->Read(bytes, 20, &count));
    EXPECT_EQ(std::string("0123456789AB\0\0Z", 15), std::string(bytes, count));
    STATSTG status;
    EXPECT_EQ(S_OK, clone->Stat(&status, STATFLAG_NONAME));
    EXPECT_EQ(10u, status.cbSize.QuadPart) << "a clone goes its own way";
    size.QuadPart = 3;
    EXPECT_EQ(S_OK, stream->SetSize(size));
    stream->Seek(move, STREAM_SEEK_SET, nullptr);
    size.QuadPart = ~0ull;
    EXPECT_EQ(S_OK, stream->CopyTo(clone, size, &place, nullptr));
    EXPECT_EQ(3u, place.QuadPart);
    EXPECT_EQ(STG_E_MEDIUMFULL, stream->SetSize(size));
    IUnknown* unknown = nullptr;
    EXPECT_EQ(S_OK, stream->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void**>(&unknown)));
    unknown->Release();
    EXPECT_EQ(E_NOINTERFACE, stream->QueryInterface(__uuidof(IStorage), reinterpret_cast<void**>(&unknown)));
    EXPECT_EQ(STG_E_INVALIDPOINTER, stream->Read(nullptr, 1, nullptr));
    {
        const ImportPatch realloc = Fail("GlobalReAlloc", NoReGlobal);
        EXPECT_EQ(STG_E_MEDIUMFULL, stream->Write("long enough to grow", 19, &count));
        EXPECT_EQ(0u, count);
    }
    EXPECT_EQ(0u, clone->Release());
    EXPECT_EQ(0u, stream->Release());
}

// ---- Files ----

TEST(BlobFile, IsTheWholeFileAndIsReplacedWhole)
{
    const TempFolder folder;
    const SString path(folder
                           .File(L"a.bin", std::string("12\0"
                                                       "45",
                                                       5))
                           .c_str());
    SBlob blob;
    EXPECT_EQ(0, blob.ReadFromFile(path));
    EXPECT_EQ(std::string("12\0"
                          "45",
                          5),
              Bytes(blob));
    EXPECT_EQ(SFileCode::kMissing, blob.ReadFromFile(SString(folder.Path(L"none").c_str())));
    EXPECT_EQ(SFileCode::kName, blob.ReadFromFile(SString(folder.Path(L"a?b").c_str())));
    {
        const ImportPatch read = Fail("ReadFile", NoRead);
        EXPECT_EQ(SFileCode::kRead, blob.ReadFromFile(path));
        const ImportPatch alloc = Fail("GlobalAlloc", NoGlobal);
        EXPECT_EQ(E_OUTOFMEMORY, blob.ReadFromFile(path));
    }
    EXPECT_EQ(5u, blob.GetSize()) << "kept";
    const SString target(folder.File(L"b.bin", "old content").c_str());
    EXPECT_EQ(0, blob.SaveToFile(target));
    EXPECT_EQ(0, SFile::CompareBinaryFiles(path, target));
    SFile file;
    EXPECT_EQ(0, Blob("new").SaveToFile(target, file));
    EXPECT_EQ("new", TempFolder::Content(Wide(target)));
    EXPECT_EQ(0, file.IsOpen());
    EXPECT_STREQ(L"b", file.GetName());
    ASSERT_EQ(0, file.Open());
    DWORD at = 2;
    file.Seek(&at, FILE_BEGIN);
    EXPECT_EQ(0, blob.ReadFromFile(target, file)) << "an open one from its start";
    EXPECT_EQ("new", Bytes(blob));
    EXPECT_EQ(1, file.IsOpen());
    file.Close();
    {
        const ImportPatch write = Fail("WriteFile", NoWrite);
        EXPECT_EQ(SFileCode::kWrite, Blob("lost").SaveToFile(target));
        EXPECT_EQ("new", TempFolder::Content(Wide(target)));
    }
    {
        // What it says of its size is more than there is.
        SBlob lying;
        lying.Attach(::GlobalAlloc(GMEM_MOVEABLE, 10), 1000000);
        EXPECT_EQ(SFileCode::kWrite, lying.SaveToFile(target));
        EXPECT_EQ("new", TempFolder::Content(Wide(target)));
    }
    EXPECT_EQ(0, SBlob().SaveToFile(target));
    EXPECT_EQ("", TempFolder::Content(Wide(target)));
    EXPECT_EQ(0, blob.ReadFromFile(target));
    EXPECT_EQ(1, blob.IsNull());
}
