// Files, folders and streams where the system answers with what it seldom does: a table of answers for each.
#include "filecodes.h"
#include "sbufstream.h"
#include "sexcept.h"
#include "sfile.h"
#include "sfilestream.h"
#include "shglobal.h"
#include "sioexcept.h"
#include "smemstream.h"
#include "szipstream.h"

#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/systemfails.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// ---- Answers ----

BOOL WINAPI ReadOneLess(HANDLE file, void* buffer, DWORD count, DWORD* got, OVERLAPPED*)
{
    return ::ReadFile(file, buffer, count - 1, got, nullptr);
}
BOOL WINAPI WriteOneLess(HANDLE file, const void* bytes, DWORD count, DWORD* written, OVERLAPPED*)
{
    return ::WriteFile(file, bytes, count - 1, written, nullptr);
}
DWORD WINAPI HugeSize(HANDLE, DWORD* high)
{
    if (high)
        *high = 1;
    return 5;
}
DWORD WINAPI NoSize(HANDLE, DWORD* high)
{
    if (high)
        *high = 0;
    ::SetLastError(g_systemSays);
    return INVALID_FILE_SIZE;
}
BOOL WINAPI HugeSizeEx(HANDLE, LARGE_INTEGER* size)
{
    size->QuadPart = 1ll << 33;
    return TRUE;
}
BOOL WINAPI SizeBeforeHere(HANDLE, LARGE_INTEGER* size)
{
    size->QuadPart = 1; // it was cut meanwhile
    return TRUE;
}
// Tells where it is, and does not move.
BOOL WINAPI NoMove(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* here, DWORD method)
{
    ::SetLastError(g_systemSays);
    return distance.QuadPart == 0 && ::SetFilePointerEx(file, distance, here, method);
}
HANDLE g_notClosed;
BOOL WINAPI NoClose(HANDLE handle)
{
    g_notClosed = handle;
    ::SetLastError(g_systemSays);
    return FALSE;
}

struct Answer {
    const char* function; // null when the system answers as it does
    void* answer;
};
template <class Function>
Answer By(const char* function, Function* answer)
{
    return { function, reinterpret_cast<void*>(answer) };
}

template <auto* function, INT_PTR answer = 0>
Answer Failing(const char* name)
{
    return { name, Fails<function, answer>() };
}

// Does something while a function of the system answers so.
template <class Work>
auto While(const Answer& answer, Work work)
{
    const ImportPatch patch(::GetModuleHandleA("CVCore16.dll"), nullptr,
                            answer.function ? answer.function : "CloseHandle",
                            answer.function ? answer.answer : reinterpret_cast<void*>(::CloseHandle));
    EXPECT_TRUE(patch.Found()) << answer.function;
    return work();
}

SString Text(const std::wstring& text)
{
    return SString(std::wstring_view(text));
}

SBlob BlobOf(const char* bytes)
{
    SBlob blob;
    EXPECT_EQ(1, blob.SetAsText(SString(bytes)));
    return blob;
}

} // namespace

TEST(FileEdges, ABlobIsReadWholeOrLeftAsItWas)
{
    g_systemSays = ERROR_IO_DEVICE;
    const struct {
        const char* what;
        Answer answer;
        long code;
    } kRows[] = {
        { "the size is not told", By("GetFileSize", NoSize), SFileCode::kSize },
        { "more than 4 GiB", By("GetFileSize", HugeSize), E_OUTOFMEMORY },
        { "it cannot go to the start", Failing<&::SetFilePointer, kNoHandle>("SetFilePointer"),
          SFileCode::kSeek },
        { "it became shorter", By("ReadFile", ReadOneLess), SFileCode::kRead },
        { "it cannot be read", Failing<&::ReadFile>("ReadFile"), SFileCode::kRead },
        { "no handle", Failing<&::CreateFileW, kNoHandle>("CreateFileW"), SFileCode::kOpen },
        { "no failure", {}, 0 },
    };
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "content"));
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.what);
        SBlob blob = BlobOf("old");
        EXPECT_EQ(row.code, While(row.answer, [&] { return blob.ReadFromFile(path); }));
        EXPECT_STREQ(row.code == 0 ? L"content" : L"old", blob.GetAsText());
        EXPECT_TRUE(::DeleteFileW(path) && folder.File(L"a.txt", "content") == Wide(path)) << "it is closed";
    }
    SBlob blob = BlobOf("old");
    EXPECT_EQ(SFileCode::kName, blob.ReadFromFile(L""));
    EXPECT_EQ(SFileCode::kMissing, blob.ReadFromFile(Text(folder.Path(L"missing.txt"))));
    SFile other;
    other.Init(Text(folder.File(L"b.txt", "other")));
    ASSERT_EQ(0, other.Open());
    EXPECT_EQ(SFileCode::kClose,
              While(By("CloseHandle", NoClose), [&] { return blob.ReadFromFile(path, other); }));
    EXPECT_EQ(1, other.IsOpen()) << "the file that it was before";
    EXPECT_STREQ(L"old", blob.GetAsText());
}

TEST(FileEdges, ABlobThatCannotBeSavedThroughAFileSaysWhy)
{
    g_systemSays = ERROR_IO_DEVICE;
    const struct {
        const char* what;
        Answer answer;
        const wchar_t* name;
        long code;
    } kRows[] = {
        { "no name", {}, L"", SFileCode::kName },
        { "no handle", Failing<&::CreateFileW, kNoHandle>("CreateFileW"), L"a.txt", SFileCode::kCreate },
        { "a part", By("WriteFile", WriteOneLess), L"a.txt", SFileCode::kWrite },
        { "nothing", Failing<&::WriteFile>("WriteFile"), L"a.txt", SFileCode::kWrite },
        { "the old end stays", Failing<&::SetEndOfFile>("SetEndOfFile"), L"a.txt", SFileCode::kWrite },
        { "it does not close", By("CloseHandle", NoClose), L"a.txt", SFileCode::kClose },
        { "no failure", {}, L"a.txt", 0 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.what);
        const TempFolder folder;
        SFile file;
        const SString path = *row.name ? Text(folder.Path(row.name)) : SString();
        EXPECT_EQ(row.code, While(row.answer, [&] { return BlobOf("new").SaveToFile(path, file); }));
        EXPECT_EQ(row.code == SFileCode::kClose, file.IsOpen() != 0);
        if (row.code == 0) {
            EXPECT_EQ("new", TempFolder::Content(Wide(path)));
        }
    }
    SBlob larger;
    larger.Attach(::GlobalAlloc(GMEM_MOVEABLE, 8), 4000);
    ASSERT_FALSE(larger.IsValid()) << "more by its own account than there is";
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "old"));
    SFile file;
    EXPECT_EQ(SFileCode::kWrite, larger.SaveToFile(path));
    EXPECT_EQ(SFileCode::kWrite, larger.SaveToFile(path, file));
    EXPECT_EQ("old", TempFolder::Content(Wide(path)));
}

TEST(FileEdges, NoPlaceForAnAnswerIsSaidAndTheSameFileStaysOpen)
{
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "0123456789"));
    SFile file;
    file.Init(path);
    ASSERT_EQ(0, file.Open());
    EXPECT_EQ(0, file.Init(file));
    EXPECT_EQ(1, file.IsOpen()) << "itself";
    EXPECT_EQ(SFileCode::kNullPointer, file.Seek(nullptr, FILE_BEGIN));
    EXPECT_EQ(0, file.SavePosition(nullptr));
    EXPECT_EQ(0, file.GetAttributes(nullptr));
    EXPECT_EQ(SFileCode::kNullPointer, SFile::GetSize(path, nullptr));
    EXPECT_EQ(SFileCode::kNullPointer, SFile::GetDateTime(path, nullptr));
    DWORD low = 0, high = 7;
    EXPECT_EQ(0, SFile::GetSize(path, &low, &high));
    EXPECT_EQ(10u, low);
    EXPECT_EQ(0u, high);
    EXPECT_EQ(0, file.IsReserved());
    short type;
    EXPECT_EQ(SFileCode::kSeek, While(Failing<&::SetFilePointer, kNoHandle>("SetFilePointer"),
                                      [&] { return file.GetContentType(&type); }));
    EXPECT_EQ(SFileCode::kRead,
              While(Failing<&::ReadFile>("ReadFile"), [&] { return file.GetContentType(&type); }));
    EXPECT_EQ(0, type);
}

namespace {

HANDLE WINAPI FindNameless(const wchar_t* pattern, WIN32_FIND_DATAW* found)
{
    const HANDLE find = ::FindFirstFileW(pattern, found);
    found->cFileName[0] = L'\0';
    return find;
}

} // namespace

TEST(FileEdges, AReadOnlyFileIsOpenedForReading)
{
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "0123456789"));
    SFile file;
    file.Init(path);
    ASSERT_EQ(1, file.SetAttributes(FILE_ATTRIBUTE_READONLY));
    ASSERT_EQ(0, file.OpenExisting(0));
    EXPECT_EQ(DWORD{ GENERIC_READ }, file.GetAccess());
    EXPECT_EQ(0, file.CanBeWritten()) << "while it is open";
    char bytes[10];
    DWORD count = 3;
    EXPECT_EQ(0, file.Read(bytes, &count, 100));
    EXPECT_EQ(3u, count) << "no more than there is room for";
    EXPECT_EQ(0, file.Close());
    EXPECT_EQ(0, file.CanBeWritten());
    FILETIME made, written;
    EXPECT_EQ(0, SFile::GetDateTime(path, &made, 1));
    EXPECT_EQ(0, SFile::GetDateTime(path, &written));
    file.SetAttributes(FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(1, file.CanBeWritten());
    EXPECT_EQ(SFileCode::kName,
              While(By("FindFirstFileW", FindNameless), [&] { return file.FindFirst(path); }));
    EXPECT_EQ(0, file.FindClose());
}

TEST(FileEdges, FilesThatCannotBeComparedSaySo)
{
    const TempFolder folder;
    const std::wstring a = folder.File(L"a", "same"), b = folder.File(L"b", "same"),
                       none = folder.Path(L"none");
    const struct {
        const char* what;
        const wchar_t *first, *second;
        Answer answer;
        int order;
    } kRows[] = {
        { "equal", a.c_str(), b.c_str(), {}, 0 },
        { "null", nullptr, b.c_str(), {}, -2 },
        { "null behind", a.c_str(), nullptr, {}, -2 },
        { "empty", L"", b.c_str(), {}, -2 },
        { "empty behind", a.c_str(), L"", {}, -2 },
        { "missing", none.c_str(), b.c_str(), {}, -2 },
        { "missing behind", a.c_str(), none.c_str(), {}, -2 },
        { "too large", a.c_str(), b.c_str(), By("GetFileSize", HugeSize), -2 },
        { "no size", a.c_str(), b.c_str(), By("GetFileSize", NoSize), -2 },
        { "cut meanwhile", a.c_str(), b.c_str(), By("ReadFile", ReadOneLess), -2 },
        { "cannot be read", a.c_str(), b.c_str(), Failing<&::ReadFile>("ReadFile"), -2 },
    };
    g_systemSays = ERROR_IO_DEVICE;
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.order,
                  While(row.answer, [&] { return SFile::CompareBinaryFiles(row.first, row.second); }));
    }
}

// ---- Folders ----

namespace {

std::wstring g_current;
DWORD WINAPI CurrentIs(DWORD room, wchar_t* buffer)
{
    if (g_current.size() >= room)
        return static_cast<DWORD>(g_current.size() + 1);
    g_current.copy(buffer, g_current.size());
    buffer[g_current.size()] = L'\0';
    return static_cast<DWORD>(g_current.size());
}

DWORD WINAPI AlwaysLonger(DWORD room, wchar_t*)
{
    return room + 1;
}

// A server with one share, and what is made in it.
std::vector<std::wstring> g_made;
DWORD WINAPI OnTheServer(const wchar_t* path)
{
    std::wstring folder(path);
    while (!folder.empty() && folder.back() == L'\\')
        folder.pop_back();
    bool isThere = folder == L"\\\\srv\\share";
    for (const std::wstring& made : g_made)
        isThere = isThere || made == folder;
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return isThere ? FILE_ATTRIBUTE_DIRECTORY : INVALID_FILE_ATTRIBUTES;
}
BOOL WINAPI MakeOnTheServer(const wchar_t* path, SECURITY_ATTRIBUTES*)
{
    g_made.push_back(path);
    return TRUE;
}

// Somebody else makes it first, a folder or a file.
BOOL WINAPI SlowerFolder(const wchar_t* path, SECURITY_ATTRIBUTES* security)
{
    ::CreateDirectoryW(path, security);
    ::SetLastError(ERROR_ALREADY_EXISTS);
    return FALSE;
}
BOOL WINAPI SlowerThanAFile(const wchar_t* path, SECURITY_ATTRIBUTES*)
{
    ::CloseHandle(::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    ::SetLastError(ERROR_ALREADY_EXISTS);
    return FALSE;
}

} // namespace

TEST(FolderEdges, TheCurrentDirectoryMayBeOnAServer)
{
    const struct {
        const wchar_t *current, *drive, *directory;
    } kRows[] = {
        { L"C:\\", L"C:\\", L"" },
        { L"C:\\a\\b", L"C:\\", L"a\\b\\" },
        { L"\\\\srv\\share\\x", L"\\\\srv\\", L"share\\x\\" },
        { L"\\\\srv\\share\\", L"\\\\srv\\", L"share\\" },
        { L"\\\\srv", L"\\\\srv\\", L"" },
        { L"", L"", L"" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.current));
        g_current = row.current;
        const Answer answer = By("GetCurrentDirectoryW", CurrentIs);
        EXPECT_STREQ(row.drive, While(answer, [] { return SFile::GetCurrentDrive(); }));
        EXPECT_STREQ(row.directory, While(answer, [] { return SFile::GetCurrentDirectoryW(); }));
    }
    g_current = L"C:\\" + std::wstring(2000, L'x');
    EXPECT_EQ(2001, While(By("GetCurrentDirectoryW", CurrentIs),
                          [] { return SFile::GetCurrentDirectoryW().Length(); }));
    EXPECT_STREQ(L"",
                 While(By("GetCurrentDirectoryW", AlwaysLonger), [] { return SFile::GetCurrentDrive(); }))
        << "it is not asked for ever";
}

TEST(FolderEdges, TheCurrentDriveIsThatOfAPath)
{
    const SString drive = SFile::GetCurrentDrive(), directory = SFile::GetCurrentDirectoryW();
    for (const wchar_t* none : { L"", L"x", L"\\\\srv\\share", L"1:\\" })
        EXPECT_EQ(0, SFile::SetCurrentDrive(none)) << SString(none);
    EXPECT_EQ(drive + directory, SFile::GetCurrentDrive() + SFile::GetCurrentDirectoryW());
    EXPECT_EQ(1, SFile::SetCurrentDrive(L"C:\\windows"));
    EXPECT_STREQ(L"C:\\", SFile::GetCurrentDrive());
    EXPECT_EQ(1, SFile::SetCurrentDrive(drive));
    EXPECT_EQ(drive, SFile::GetCurrentDrive());
    ::SetCurrentDirectoryW(drive + directory);
}

TEST(FolderEdges, FoldersAreMadeBelowAShare)
{
    const ImportPatch look("CVCore16.dll", nullptr, "GetFileAttributesW", OnTheServer),
        make("CVCore16.dll", nullptr, "CreateDirectoryW", MakeOnTheServer);
    ASSERT_TRUE(look.Found() && make.Found());
    const struct {
        const wchar_t* path;
        int made;
        std::vector<std::wstring> folders;
    } kRows[] = {
        { L"\\\\srv\\share", 1, {} },
        { L"\\\\srv\\share\\a\\b", 1, { L"\\\\srv\\share\\a", L"\\\\srv\\share\\a\\b" } },
        { L"\\\\srv\\other\\a", 0, {} },
        { L"\\\\srv", 0, {} },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.path));
        g_made.clear();
        EXPECT_EQ(row.made, SFile::CreateFilePath(row.path));
        EXPECT_EQ(row.folders, g_made);
    }
}

TEST(FolderEdges, SomebodyElseMayBeFaster)
{
    const TempFolder folder;
    const SString deep = Text(folder.Path(L"a\\b"));
    EXPECT_EQ(0, While(By("CreateDirectoryW", SlowerThanAFile), [&] { return SFile::CreateFilePath(deep); }));
    EXPECT_EQ(1, SFile::IsFile(Text(folder.Path(L"a"))));
    ::DeleteFileW(folder.Path(L"a").c_str());
    EXPECT_EQ(1, While(By("CreateDirectoryW", SlowerFolder), [&] { return SFile::CreateFilePath(deep); }));
    EXPECT_EQ(1, SFile::IsDirectory(deep));
}

TEST(FolderEdges, FoldersOfTheSystemThatAreNotThereAreEmptyTexts)
{
    constexpr int kNoFolder = 0x7E, kLocalData = 0x1C;
    EXPECT_STREQ(L"", SFile::GetFolderPath(kNoFolder));
    EXPECT_STREQ(L"", SFile::GetFolderPathAndSubDir(kNoFolder, L"x", 1));
    EXPECT_EQ(SFile::GetFolderPath(kLocalData) + L"\\x", SFile::GetFolderPathAndSubDir(kLocalData, L"x\\"));
    EXPECT_STREQ(L"", While(Failing<&::CreateDirectoryW>("CreateDirectoryW"),
                            [] { return SFile::GetFolderPathAndSubDir(kLocalData, L"not there\\x", 1); }));
    EXPECT_STREQ(L"", While(Failing<&::LoadLibraryW>("LoadLibraryW"),
                            [] { return SFile::GetFolderPath(kLocalData); }));
    EXPECT_STREQ(L"", While(Failing<&::GetSystemDirectoryW, MAX_PATH>("GetSystemDirectoryW"),
                            [] { return SFile::GetFolderPath(kLocalData); }));
    EXPECT_STREQ(
        L"", While(Failing<&::GetTempPathW, 4000>("GetTempPathW"), [] { return SFile::GetTempDirectory(); }));
    ULARGE_INTEGER mine, total;
    ASSERT_TRUE(::GetDiskFreeSpaceExW(L"C:\\", &mine, &total, nullptr));
    for (const wchar_t* path : { L"C:", L"C:\\", L"C:\\windows\\" })
        EXPECT_EQ(total.QuadPart, SFile::GetTotalDiskSpace(path)) << SString(path);
    EXPECT_EQ(0u, SFile::GetTotalDiskSpace(L"1:\\"));
}

// ---- Streams ----

TEST(StreamEdges, OfFilesTakeTheEndOfAPipeForTheEndAndThrowTheRest)
{
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "0123456789"));
    char bytes[4];
    for (const DWORD end : { ERROR_BROKEN_PIPE, ERROR_HANDLE_EOF }) {
        SInputFile in(path);
        g_systemSays = end;
        EXPECT_EQ(0u, While(Failing<&::ReadFile>("ReadFile"), [&] { return in.Read(bytes, 4); }));
        EXPECT_EQ(4u, in.Read(bytes, 4));
    }
    g_systemSays = ERROR_IO_DEVICE;
    const struct {
        const char* what;
        Answer answer;
        unsigned long available;
    } kRows[] = {
        { "no disk", Failing<&::GetFileType, FILE_TYPE_PIPE>("GetFileType"), SInputStream::kUnknown },
        { "no size", Failing<&::GetFileSizeEx>("GetFileSizeEx"), SInputStream::kUnknown },
        { "no place", Failing<&::SetFilePointerEx>("SetFilePointerEx"), SInputStream::kUnknown },
        { "more than a number holds", By("GetFileSizeEx", HugeSizeEx), SInputStream::kUnknown },
        { "cut meanwhile", By("GetFileSizeEx", SizeBeforeHere), 0 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.what);
        SInputFile in(path);
        in.Read(bytes, 4);
        EXPECT_EQ(row.available, While(row.answer, [&] { return in.Available(); }));
        EXPECT_EQ(row.available == 0 ? 0u : 3u, While(row.answer, [&] { return in.Skip(3); }));
        EXPECT_EQ(1u, in.Read(bytes, 1));
        EXPECT_EQ(row.available == 0 ? '4' : '7', bytes[0]) << "what is not told is read over";
    }
    SInputFile in(path);
    EXPECT_THROW(While(By("SetFilePointerEx", NoMove), [&] { return in.Skip(3); }), SEIOException);
}

TEST(StreamEdges, OfFilesTellEachFailureOfTheSystem)
{
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "0123456789"));
    const auto open = [&](const SString& name, DWORD why) {
        g_systemSays = why;
        While(Failing<&::CreateFileW, kNoHandle>("CreateFileW"), [&] { return SInputFile(name), 0; });
    };
    for (const DWORD full : { ERROR_DISK_FULL, ERROR_HANDLE_DISK_FULL })
        EXPECT_THROW(open(path, full), SEIODiskFullException);
    constexpr DWORD kNobodys = 0x2000FFFF; // no text stands for it
    try {
        open(path, kNobodys);
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (const SEIOException& e) {
        EXPECT_EQ(static_cast<long>(kNobodys), e.GetError());
        EXPECT_EQ(0, SString(e.GetText()).Compare(path + L": ", path.Length() + 2));
        EXPECT_LT(path.Length() + 2, SString(e.GetText()).Length());
    }
    g_systemSays = ERROR_IO_DEVICE;
    {
        SOutputFile out(path);
        EXPECT_THROW(While(By("CloseHandle", NoClose), [&] { return out.Close(), 0; }), SEIOException);
        out.Close();
        ::CloseHandle(g_notClosed);
    }
    {
        SOutputFileOnChange out(path);
        out.Write("new", 3);
        EXPECT_THROW(While(Failing<&::MoveFileExW>("MoveFileExW"), [&] { return out.Close(), 0; }),
                     SEIOException);
        out.Close();
        EXPECT_EQ(1, TempFolder::Entries(folder.Path())) << "nothing is left behind";
    }
    {
        g_systemSays = NO_ERROR; // a driver that says nothing
        SOutputFileOnChange out(path);
        try {
            const std::string large(100000, 'x');
            While(Failing<&::WriteFile>("WriteFile"), [&] { return out.Write(large.data(), large.size()); });
            ADD_FAILURE() << "nothing was thrown";
        }
        catch (const SEIOException& e) {
            EXPECT_NE(0, e.GetError());
        }
    }
    EXPECT_EQ("", TempFolder::Content(Wide(path))) << "as the plain stream left it";
}

namespace {

// Takes nothing, and says so.
class FullStream : public SOutputStream {
public:
    unsigned long Write(const void*, unsigned long, unsigned long) override
    {
        ++attempts;
        throw SEIODiskFullException(S_HERE);
    }
    int attempts = 0;
};

} // namespace

TEST(StreamEdges, WhatIsWrittenBehindIsLostQuietlyOnlyAtTheEnd)
{
    FullStream full;
    {
        SOutputBufferStream out(full);
        out.Write("abc", 3);
    }
    EXPECT_EQ(1, full.attempts);
    {
        SDeflaterOutputStream out(full);
        out.Write("abc", 3);
    }
    EXPECT_EQ(2, full.attempts);
    {
        SDeflaterOutputStream out(full, 17); // no level at all: the usual one
        out.Write("abc", 3);
        EXPECT_THROW(out.Close(), SEIODiskFullException);
    }
    EXPECT_EQ(3, full.attempts) << "not tried again";
}

TEST(StreamEdges, GiveBackMoreThanOnceAndCloseWhatIsTheirs)
{
    struct Counted : SInputGlobal {
        explicit Counted(int& closed) : SInputGlobal("end", 3), m_closed(closed) {}
        void Close() override { ++m_closed; }
        int& m_closed;
    };
    int closed = 0;
    SInputPushbackStream in(new Counted(closed), true);
    std::string expected = "end";
    for (const std::string bytes : { "three", "two, that is longer than the room was", "", "one" }) {
        in.Unread(bytes.data(), static_cast<unsigned long>(bytes.size()));
        expected = bytes + expected;
    }
    EXPECT_EQ(expected.size(), in.Available());
    if (S_TARGET_32BIT) { // a 64-bit heap may have as much, and then the bytes are read
        EXPECT_THROW(in.Unread("", 0x7FFFFFFF), SEOutOfMemory) << "the length is looked at, not the bytes";
    }
    std::string got(expected.size() + 5, '\0');
    got.resize(in.Read(&got[0], static_cast<unsigned long>(got.size())));
    EXPECT_EQ(expected, got);
    in.Unread("x", 1);
    in.Close();
    EXPECT_EQ(1, closed);
    EXPECT_EQ(0u, in.Available()) << "what was given back is gone";

    SOutputGlobal out;
    out.Write("x", 1);
    if (S_TARGET_32BIT) {
        EXPECT_THROW(out.Write("y", 0x7FFFFFFF), SEOutOfMemory);
    }
    EXPECT_EQ(1u, out.GetSize());
}
