// The concrete streams: files, memory, buffers, compression, text.
#include "sbufstream.h"
#include "sfilestream.h"
#include "sioexcept.h"
#include "smemstream.h"
#include "stextin.h"
#include "szipstream.h"

#include "support/counters.h"
#include "support/importpatch.h"
#include "support/seed.h"
#include "support/stringhelp.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

SString Text(const std::wstring& text)
{
    return SString(text.c_str());
}
std::string Bytes(const SOutputGlobal& out)
{
    return out.GetSize() ? std::string(static_cast<const char*>(out.GetBytes()), out.GetSize()) : "";
}
SInputGlobal From(const std::string& bytes)
{
    return SInputGlobal(bytes.data(), static_cast<unsigned long>(bytes.size()));
}
SInputGlobal From(std::string&&) = delete; // it must live as long as the stream
void Put(SOutputStream& out, const std::string& bytes)
{
    EXPECT_EQ(bytes.size(), out.Write(bytes.data(), static_cast<unsigned long>(bytes.size())));
}
std::string Rest(SInputStream& in, unsigned long piece = 1000)
{
    std::string bytes, part(piece, '\0');
    for (unsigned long got; (got = in.Read(&part[0], piece)) > 0;)
        bytes.append(part, 0, got);
    return bytes;
}
FILETIME TimeOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    ::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
    return data.ftLastWriteTime;
}

BOOL WINAPI DiskIsFull(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}
BOOL WINAPI PartIsWritten(HANDLE, const void*, DWORD bytes, DWORD* written, OVERLAPPED*)
{
    *written = bytes - 1;
    return TRUE;
}
BOOL WINAPI NoAccess(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}
BOOL WINAPI NoRead(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*)
{
    ::SetLastError(ERROR_CRC);
    return FALSE;
}
BOOL WINAPI NoFlush(HANDLE)
{
    ::SetLastError(ERROR_IO_DEVICE);
    return FALSE;
}

} // namespace

TEST(FileStreams, ReadAndWriteWholeFiles)
{
    const TempFolder folder;
    const std::wstring path = folder.Path(L"a.txt");
    {
        SOutputFile out(Text(path));
        Put(out, "0123456789");
        out.Flush();
        out.Close();
        out.Close();
    }
    {
        SOutputFile more(Text(path), SOutputFile::kAppend);
        Put(more, "end");
    }
    SInputFile in(Text(path));
    EXPECT_EQ(13u, in.Available());
    char two[2];
    EXPECT_EQ(2u, in.Read(two, 2));
    EXPECT_EQ(3u, in.Skip(3));
    EXPECT_EQ(8u, in.Available());
    EXPECT_EQ("56789end", Rest(in, 3));
    EXPECT_EQ(0u, in.Skip(5));
    in.Close();
    EXPECT_EQ(0u, in.Available());
    EXPECT_EQ(0u, in.Read(two, 2));
    {
        SOutputFile empty((Text(path)));
    }
    EXPECT_EQ("", TempFolder::Content(path));
}

TEST(FileStreams, ThrowWhatTheSystemSays)
{
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "old"));
    try {
        SInputFile in(Text(folder.Path(L"missing.txt")));
        ADD_FAILURE();
    }
    catch (const SEIOException& e) {
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, e.GetError());
        EXPECT_EQ(0, SString(e.GetText())
                         .Compare(Text(folder.Path(L"missing.txt: ")), folder.Path(L"missing.txt: ").size()));
    }
    EXPECT_THROW(SOutputFile(Text(folder.Path())), SEIOException) << "a folder";
    SOutputFile out(path);
    const auto writing = [&](void* replacement) {
        const ImportPatch write(::GetModuleHandleA("CVCore16.dll"), "KERNEL32.dll", "WriteFile", replacement);
        EXPECT_TRUE(write.Found());
        out.Write("x", 1);
    };
    EXPECT_THROW(writing(reinterpret_cast<void*>(DiskIsFull)), SEIODiskFullException);
    EXPECT_THROW(writing(reinterpret_cast<void*>(PartIsWritten)), SEIODiskFullException);
    EXPECT_THROW(writing(reinterpret_cast<void*>(NoAccess)), SEIOException);
    {
        const ImportPatch flush("CVCore16.dll", "KERNEL32.dll", "FlushFileBuffers", NoFlush);
        EXPECT_THROW(out.Flush(), SEIOException);
    }
    SInputFile in(path);
    const ImportPatch read("CVCore16.dll", "KERNEL32.dll", "ReadFile", NoRead);
    char byte;
    EXPECT_THROW(in.Read(&byte, 1), SEIOException);
}

TEST(FileStreams, OnChangeLeavesTheSameFileAlone)
{
    const TempFolder folder;
    const std::string old = std::string(10000, 'x') + "end";
    const std::wstring path = folder.File(L"a.txt", old);
    FILETIME stamp = { 12345678, 30000000 };
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ::SetFileTime(file, nullptr, nullptr, &stamp);
    ::CloseHandle(file);
    stamp = TimeOf(path);
    const auto write = [&](const std::string& bytes, bool close, size_t piece) {
        SOutputFileOnChange out((Text(path)));
        for (size_t at = 0; at < bytes.size(); at += piece)
            Put(out, bytes.substr(at, piece));
        if (close)
            out.Close();
        return out.HasChanged();
    };
    for (size_t piece : { 1000u, 20000u, 7u }) {
        EXPECT_EQ(0, write(old, true, piece));
        EXPECT_EQ(0, ::CompareFileTime(&stamp, &(const FILETIME&)TimeOf(path)));
    }
    write(std::string(20000, 'y'), false, 1000);
    EXPECT_EQ(old, TempFolder::Content(path)) << "without Close";
    EXPECT_EQ(1, TempFolder::Entries(folder.Path()));
    for (const std::string& bytes : { old.substr(0, 9000), old + "more", std::string(9999, 'x') + "Xend",
                                      std::string("short"), std::string() }) {
        EXPECT_EQ(1, write(bytes, true, 1000));
        EXPECT_EQ(bytes, TempFolder::Content(path));
        EXPECT_EQ(0, write(bytes, true, 333));
        EXPECT_EQ(1, TempFolder::Entries(folder.Path()));
    }
    const std::wstring fresh = folder.Path(L"new.txt");
    SOutputFileOnChange out((Text(fresh)));
    Put(out, "first");
    out.Close();
    EXPECT_EQ("first", TempFolder::Content(fresh));
    SOutputFileOnChange full((Text(fresh)));
    const ImportPatch patch("CVCore16.dll", "KERNEL32.dll", "WriteFile", DiskIsFull);
    EXPECT_THROW(full.Write("second", 6), SEIODiskFullException);
    EXPECT_EQ("first", TempFolder::Content(fresh));
    EXPECT_THROW(full.Close(), SEIODiskFullException) << "a part is missing for ever";
}

namespace {

// The first of the calls from now on fails, the others work.
int g_failing;
BOOL WINAPI ReadFailsOnce(HANDLE file, void* bytes, DWORD size, DWORD* got, OVERLAPPED* place)
{
    if (--g_failing == 0) {
        ::SetLastError(ERROR_CRC);
        return FALSE;
    }
    return ::ReadFile(file, bytes, size, got, place);
}

} // namespace

TEST(FileStreams, OnChangeNeverPutsAPartInPlaceOfTheOldFile)
{
    const TempFolder folder;
    const std::string old(20000, 'x');
    const std::wstring path = folder.File(L"a.txt", old);
    // It reads to compare, and once more what was the same: each of these reads fails once.
    for (int failing = 1; failing <= 10; ++failing) {
        g_failing = failing;
        SOutputFileOnChange out((Text(path)));
        const ImportPatch patch("CVCore16.dll", "KERNEL32.dll", "ReadFile", ReadFailsOnce);
        bool failed = false;
        try {
            Put(out, std::string(9000, 'x') + std::string(11000, 'y'));
        }
        catch (const SEIOException&) {
            failed = true;
            EXPECT_THROW(out.Close(), SEIOException);
        }
        if (!failed)
            break;
        EXPECT_EQ(old, TempFolder::Content(path)) << failing;
    }
    EXPECT_EQ(1, TempFolder::Entries(folder.Path()));
    SOutputFileOnChange part((Text(path)));
    const ImportPatch patch("CVCore16.dll", "KERNEL32.dll", "WriteFile", PartIsWritten);
    EXPECT_THROW(Put(part, "new"), SEIODiskFullException);
}

TEST(MemoryStreams, ShareAndGather)
{
    SOutputGlobal out;
    EXPECT_EQ(1, out.GetBlob().IsNull());
    for (int i = 0; i < 1000; ++i)
        Put(out, "0123456789");
    SBlob blob = out.GetBlob();
    EXPECT_EQ(10000u, blob.GetSize());
    SInputGlobal in(blob);
    blob.Free();
    EXPECT_EQ(10000u, in.Available());
    EXPECT_EQ(9990u, in.Skip(9990));
    EXPECT_EQ("0123456789", Rest(in));
    in.Close();
    SInputGlobal none((SBlob()));
    EXPECT_EQ(0u, none.Available());
    SOutputStringStream text;
    Put(text, "\xE2\x82\xAC and \xC3");
    EXPECT_STREQ(L"\u20ac and \uFFFD", text.GetString());
    EXPECT_STREQ(L"", SOutputStringStream().GetString());
}

TEST(MemoryStreams, KeepNulsInTexts)
{
    SOutputStringStream out;
    Put(out, std::string("a\0b", 3));
    EXPECT_EQ(3, out.GetString().Length());
}

TEST(BufferStreams, PassEverythingOnInLargePieces)
{
    std::mt19937 random(TestSeed());
    std::string data(5000, '\0');
    for (char& c : data)
        c = static_cast<char>(random());
    for (unsigned long room : { 1ul, 7ul, 64ul, 8192ul }) {
        SInputGlobal source = From(data);
        SInputBufferStream in(source, room);
        SOutputGlobal target;
        {
            SOutputBufferStream out(target, room);
            unsigned long left = static_cast<unsigned long>(data.size());
            while (left > 0) {
                EXPECT_EQ(left, in.Available());
                char piece[200];
                const unsigned long wanted = random() % sizeof piece;
                const unsigned long got = in.Read(piece, wanted);
                EXPECT_EQ(std::min(wanted, left), got);
                left -= got;
                out.Write(piece, got);
                if (random() % 10 == 0)
                    out.Flush();
            }
        }
        EXPECT_EQ(data, Bytes(target));
        SInputGlobal again = From(data);
        SInputBufferStream skipping(again, room);
        char one;
        skipping.Read(&one, 1);
        EXPECT_EQ(3999u, skipping.Skip(3999));
        EXPECT_EQ(data.substr(4000), Rest(skipping, 100));
        EXPECT_EQ(0u, skipping.Skip(1));
    }
}

TEST(PushbackStream, GivesBackWhatWasUnread)
{
    const std::string world = "world";
    SInputGlobal source = From(world);
    SInputPushbackStream in(source);
    in.Unread("lo ", 3);
    in.Unread("Hel", 3);
    EXPECT_EQ(11u, in.Available());
    EXPECT_EQ(1u, in.Skip(1));
    in.Unread("J", 1);
    char four[4];
    EXPECT_EQ(4u, in.Read(four, 4));
    in.Unread(four, 4);
    EXPECT_EQ("Jello world", Rest(in, 4));
    in.Unread(std::string(5000, 'x').data(), 5000);
    EXPECT_EQ(5000u, in.Skip(9000));
}

TEST(ZipStreams, BringEverythingBackAndNothingElse)
{
    std::mt19937 random(TestSeed());
    for (int size : { 0, 1, 100, 20000, 300000 }) {
        for (int level : { -1, 0, 1, 9 }) {
            std::string data(static_cast<size_t>(size), '\0');
            for (char& c : data)
                c = static_cast<char>(random() % 5 ? 'a' : random());
            SOutputGlobal packed;
            {
                SDeflaterOutputStream out(packed, level);
                for (size_t at = 0; at < data.size(); at += 30000)
                    Put(out, data.substr(at, 30000));
                if (size == 100) {
                    out.Flush();
                    const std::string soFar = Bytes(packed);
                    SInputGlobal part = From(soFar);
                    SInflaterInputStream in(part);
                    std::string got(100, '\0');
                    EXPECT_EQ(100u, in.Read(&got[0], 100)) << "flushed: all there already";
                }
                out.Close();
                out.Close();
            }
            const std::string bytes = Bytes(packed) + "behind it";
            SInputGlobal source = From(bytes);
            SInputPushbackStream giving(source);
            SInflaterInputStream in(giving);
            EXPECT_EQ(data.empty() ? 0 : SInputStream::kUnknown, in.Available());
            ASSERT_EQ(data, Rest(in, 7777));
            EXPECT_EQ(0u, in.Available());
            EXPECT_EQ("behind it", Rest(giving)) << "what follows is given back";
            SInputGlobal cut(bytes.data(), packed.GetSize() - 1);
            SInflaterInputStream broken(cut);
            EXPECT_THROW(Rest(broken), SEEOFException);
        }
    }
    SOutputGlobal left;
    {
        SDeflaterOutputStream out(left);
        Put(out, "closed by its end");
    }
    const std::string bytes = Bytes(left);
    SInputGlobal source = From(bytes);
    SInflaterInputStream in(source);
    EXPECT_EQ("closed by its end", Rest(in));
}

namespace {

/// Takes some bytes and then no more.
class Refusing : public SOutputStream {
public:
    explicit Refusing(unsigned long room) : left(room) {}
    unsigned long Write(const void*, unsigned long bytes, unsigned long) override
    {
        if (bytes > left)
            throw SEIODiskFullException(S_HERE);
        left -= bytes;
        return bytes;
    }
    unsigned long left;
};

} // namespace

TEST(ZipStreams, WhatCouldNotBeWrittenIsNotTriedAgain)
{
    for (const bool close : { true, false }) {
        Refusing disk(100);
        SDeflaterOutputStream out(disk, 0);
        {
            // In memory of its own, which is gone when the stream ends.
            const std::string data(200000, 'z');
            EXPECT_THROW(out.Write(data.data(), 200000), SEIODiskFullException);
        }
        disk.left = ~0ul;
        EXPECT_THROW(out.Write("more", 4), SEZipException);
        EXPECT_THROW(out.Flush(), SEZipException);
        if (close) {
            EXPECT_THROW(out.Close(), SEZipException);
        }
        EXPECT_EQ(~0ul, disk.left) << "an end behind a hole would be a lie";
    }
}

TEST(ZipStreams, MeetTheirEndWhereverThePiecesEnd)
{
    std::mt19937 random(TestSeed());
    for (int size = 16340; size < 16400; ++size) { // about as large as a piece when it is only stored
        std::string data(static_cast<size_t>(size), '\0');
        for (char& c : data)
            c = static_cast<char>(random());
        SOutputGlobal packed;
        {
            SDeflaterOutputStream out(packed);
            Put(out, data);
            out.Close();
        }
        const std::string bytes = Bytes(packed) + "behind it";
        SInputGlobal source = From(bytes);
        SInputPushbackStream giving(source);
        SInflaterInputStream in(giving);
        std::string got(data.size(), '\0');
        ASSERT_EQ(data.size(), in.Read(&got[0], static_cast<unsigned long>(got.size())));
        ASSERT_EQ(0u, in.Available()) << size;
        ASSERT_EQ("behind it", Rest(giving)) << size;
    }
    const std::string two = "closed early";
    SOutputGlobal packed;
    {
        SDeflaterOutputStream out(packed, 0);
        Put(out, two);
        out.Close();
    }
    const std::string bytes = Bytes(packed);
    SInputGlobal source = From(bytes);
    SInputPushbackStream giving(source);
    SInflaterInputStream in(giving);
    char one;
    EXPECT_EQ(1u, in.Read(&one, 1));
    in.Close();
    EXPECT_FALSE(Rest(giving).empty()) << "what was read ahead is given back";
}

TEST(ZipStreams, DamageThrowsAndEnds)
{
    std::mt19937 random(TestSeed());
    SOutputGlobal packed;
    {
        SDeflaterOutputStream out(packed);
        for (int i = 0; i < 2000; ++i)
            Put(out, "line " + std::to_string(random() % 500) + "\n");
    }
    const ResourceCount before = CountResources();
    int threw = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = Bytes(packed);
        for (unsigned n = 1 + random() % 4; n > 0; --n)
            bytes[random() % bytes.size()] ^= static_cast<char>(1 << random() % 8);
        bytes.resize(random() % 4 ? bytes.size() : random() % bytes.size());
        SInputGlobal source = From(bytes);
        SInflaterInputStream in(source);
        try {
            const std::string made = Rest(in);
            ASSERT_GT(bytes.size() * 1100 + 1000, made.size()) << "no more than deflate can hold";
        }
        catch (const SEZipException&) {
            ++threw;
        }
        catch (const SEEOFException&) {
            ++threw;
        }
    }
    EXPECT_LT(500, threw);
    EXPECT_EQ(before.handles, CountResources().handles);
}

namespace {

struct Opened {
    SInputTextStream::Encoding encoding;
    std::wstring lines; // each with its number and "|"
};
Opened Open(const std::string& bytes,
            SInputTextStream::Malformed malformed = SInputTextStream::kThrowMalformed,
            SInputTextStream::Encoding encoding = SInputTextStream::kDetect)
{
    SInputGlobal source = From(bytes);
    SInputTextStream in(source, malformed, encoding);
    Opened opened{ in.GetEncoding(), L"" };
    EXPECT_EQ(0, in.GetLineNo());
    for (SString line; in.ReadLine(line);)
        opened.lines += std::to_wstring(in.GetLineNo()) + Wide(line) + L"|";
    return opened;
}

} // namespace

TEST(TextStream, FindsTheEncodingAndTheLines)
{
    typedef SInputTextStream In;
    const struct {
        std::string bytes;
        In::Encoding encoding;
        std::wstring lines;
    } kCases[] = {
        { "a\nb\r\nc\rd", In::kUtf8, L"1a|2b|3c|4d|" },
        { "a\n\n\r\n\rb\n", In::kUtf8, L"1a|2|3|4|5b|" },
        { "", In::kUtf8, L"" },
        { "\xC3\xA9\n\xE2\x82\xAC", In::kUtf8, L"1\u00e9|2\u20ac|" },
        { "\xEF\xBB\xBF"
          "a",
          In::kUtf8, L"1a|" },
        { "\xEF\xBB\xBF", In::kUtf8, L"" },
        { "\xE9\x80\n", In::kAnsi, L"1\u00e9\u20ac|" },
        { std::string("\xFF\xFE"
                      "a\0\r\0\n\0\xAC\x20",
                      10),
          In::kUtf16LittleEndian, L"1a|2\u20ac|" },
        { std::string("\xFE\xFF\0a\0\n\x20\xAC", 8), In::kUtf16BigEndian, L"1a|2\u20ac|" },
        { std::string("a\0b\n", 4), In::kUtf8, std::wstring(L"1a\0b|", 5) },
    };
    for (const auto& c : kCases) {
        const Opened opened = Open(c.bytes);
        EXPECT_EQ(c.encoding, opened.encoding);
        EXPECT_EQ(c.lines, opened.lines);
    }
    EXPECT_EQ(L"1\u00c3\u00a9|", Open("\xC3\xA9", In::kThrowMalformed, In::kAnsi).lines)
        << "the caller knows better";
    EXPECT_EQ(L"1ab|", Open(std::string("a\0b\0", 4), In::kThrowMalformed, In::kUtf16LittleEndian).lines);
}

TEST(TextStream, MalformedTextThrowsWithItsLineOrIsReplaced)
{
    typedef SInputTextStream In;
    const struct {
        std::string bytes;
        In::Encoding encoding;
        const wchar_t* place;
        std::wstring lines;
    } kCases[] = {
        { "a\nb\xFF\n", In::kUtf8, L"line 2", L"1a|2b\uFFFD|" },
        { "\xEF\xBB\xBF\n\n\xC3", In::kDetect, L"line 3", L"1|2|3\uFFFD|" },
        { std::string("\xFF\xFE\n\0\x00\xD8"
                      "a\0",
                      8),
          In::kDetect, L"line 2", L"1|2\uFFFDa|" },
        { std::string("\xFF\xFE"
                      "a\0b",
                      5),
          In::kDetect, L"line 1", L"1a\uFFFD|" },
        { std::string("\xFE\xFF\xDC\x00", 4), In::kDetect, L"line 1", L"1\uFFFD|" },
        { "a\rb\r\nc\r\xFF", In::kUtf8, L"line 4", L"1a|2b|3c|4\uFFFD|" },
    };
    for (const auto& c : kCases) {
        try {
            Open(c.bytes, In::kThrowMalformed, c.encoding);
            ADD_FAILURE() << c.place;
        }
        catch (const SEEncodingException& e) {
            EXPECT_NE(nullptr, std::wcsstr(e.GetText(), c.place)) << SString(e.GetText());
        }
        EXPECT_EQ(c.lines, Open(c.bytes, In::kReplaceMalformed, c.encoding).lines);
    }
}
