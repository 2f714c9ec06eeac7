// The named file: parts, handle, transfer, searching, and each failure code made to happen.
#include "sfile.h"

#include "sexcept.h"

#include "support/counters.h"
#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// ---- What the system answers when it fails ----

BOOL WINAPI NoClose(HANDLE)
{
    ::SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}
HANDLE WINAPI NoFile(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE)
{
    ::SetLastError(ERROR_SHARING_VIOLATION);
    return INVALID_HANDLE_VALUE;
}
BOOL WINAPI NoTransfer(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*)
{
    ::SetLastError(ERROR_IO_DEVICE);
    return FALSE;
}
DWORD WINAPI NoSize(HANDLE, DWORD*)
{
    ::SetLastError(ERROR_IO_DEVICE);
    return INVALID_FILE_SIZE;
}
DWORD WINAPI NoSeek(HANDLE, LONG, LONG*, DWORD)
{
    ::SetLastError(ERROR_SEEK);
    return INVALID_SET_FILE_POINTER;
}
BOOL WINAPI NoTimes(HANDLE, FILETIME*, FILETIME*, FILETIME*)
{
    return FALSE;
}
BOOL WINAPI NoDuplicate(HANDLE, HANDLE, HANDLE, HANDLE*, DWORD, BOOL, DWORD)
{
    return FALSE;
}

// What CreateFileW was asked for; passes the call on, or refuses the first `g_refusals`.
struct Asked {
    DWORD access, share, disposition, flags;
    BOOL inherit;
};
std::vector<Asked> g_asked;
int g_refusals;
HANDLE WINAPI RecordFile(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                         DWORD disposition, DWORD flags, HANDLE pattern)
{
    g_asked.push_back({ access, share, disposition, flags, security && security->bInheritHandle });
    if (g_refusals-- > 0)
        return INVALID_HANDLE_VALUE;
    return ::CreateFileW(path, access, share, security, disposition, flags, pattern);
}

BOOL WINAPI SystemAttribute(const wchar_t*, GET_FILEEX_INFO_LEVELS, void* data)
{
    static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(data)->dwFileAttributes = FILE_ATTRIBUTE_SYSTEM;
    return TRUE;
}

ImportPatch Fail(const char* function, void* replacement)
{
    ImportPatch patch(::GetModuleHandleA("CVCore16.dll"), "KERNEL32.dll", function, replacement);
    EXPECT_TRUE(patch.Found()) << function;
    return patch;
}
template <class Function>
ImportPatch Fail(const char* function, Function* replacement)
{
    return Fail(function, reinterpret_cast<void*>(replacement));
}

SString Text(const std::wstring& text)
{
    return SString(text.c_str());
}

SString Parts(const SFile& file)
{
    return SString::Concat(file.GetDrive(), L"|", file.GetDirectory(), L"|", file.GetName(), L"|",
                           file.GetExtension());
}

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

} // namespace

TEST(FileNames, SplitIntoDriveDirectoryNameAndExtension)
{
    const SString drive = SFile::GetCurrentDrive(), here = SFile::GetCurrentDirectoryW();
    ASSERT_EQ(3, drive.Length());
    const struct {
        const wchar_t* full;
        SString parts;
    } kCases[] = {
        { L"C:\\a\\b\\c.txt", L"C:\\|a\\b\\|c|txt" },
        { L"C:\\c.txt", L"C:\\||c|txt" },
        { L"\\a\\c.txt", drive + L"|a\\|c|txt" },
        { L"\\\\srv\\share\\a.txt", L"\\\\srv\\|share\\|a|txt" },
        { L"C:a.txt", L"C:\\|" + here + L"|a|txt" },
        { L"C:", L"C:\\|" + here + L"||" },
        { L"a.txt", drive + L"|" + here + L"|a|txt" },
        { L"sub\\a.txt", drive + L"|" + here + L"sub\\|a|txt" },
        { L"C:\\file.tar.gz", L"C:\\||file.tar|gz" },
        { L"C:\\.profile", L"C:\\|||profile" },
        { L"C:\\a.b\\c", L"C:\\|a.b\\|c|" },
        { L"C:\\a/b.txt", L"C:\\||a/b|txt" },
    };
    for (const auto& c : kCases) {
        SFile file;
        file.Init(SString(c.full));
        EXPECT_STREQ(c.parts, Parts(file)) << SString(c.full);
        EXPECT_STREQ(c.full, file.GetFullName());
    }
    SFile root;
    EXPECT_EQ(0, root.FindFirst(L"C:\\windows"));
    EXPECT_STREQ(L"C:\\windows", root.GetFullName()) << "found in the root, not in the current directory";
    // A server's name without anything behind it is no drive.
    SFile file;
    file.Init(SString(L"\\\\srv"));
    EXPECT_STREQ(drive, file.GetDrive());
}

TEST(FileNames, AreJoinedFromPartsAndChecked)
{
    SFile file;
    EXPECT_EQ(0, file.Init(L"C:\\", L"a\\b", L"c", L"txt"));
    EXPECT_STREQ(L"C:\\a\\b\\c.txt", file.GetFullName());
    EXPECT_EQ(0, file.Init(L"C:", L"\\a\\", L"c", L""));
    EXPECT_STREQ(L"C:\\a\\c", file.GetFullName());
    EXPECT_EQ(0, file.Init(L"C:", L"a", L"c", L""));
    EXPECT_STREQ(L"C:\\a\\c", file.GetFullName());
    EXPECT_EQ(0, file.Init(L"", L"", L"c", L"t"));
    EXPECT_STREQ(
        SFile::ConcatPath(SFile::GetCurrentDrive(), SFile::ConcatPath(SFile::GetCurrentDirectoryW(), L"c.t")),
        file.GetFullName());

    for (const wchar_t* bad : { L"C:\\a?b", L"C:\\a*", L"C:\\a<b.txt", L"C:\\a.t|t", L"C:\\a\"b", L"C:\\",
                                L"", L"C:\\a/b", L"C:\\a.txt:stream", L"C:\\a:b" })
        EXPECT_EQ(SFileCode::kName, file.Init(SString(bad))) << SString(bad);
    EXPECT_EQ(SFileCode::kName, file.Init(L"C:\\", L"a", L"b\\c", L"txt")) << "a backslash in the name";
    EXPECT_EQ(0, file.Init(L"C:\\", L"a", L"b", L"t\\t")) << "one in the extension is not looked for";
}

TEST(Files, AreMadeWrittenReadAndLookedAt)
{
    const TempFolder folder;
    ResourceCount before = CountResources();
    for (int round = 0; round < 2; ++round) { // the first one fills pools
        if (round == 1)
            before = CountResources();
        SFile file;
        ASSERT_EQ(0, file.Init(Text(folder.Path(L"new.txt"))));
        EXPECT_EQ(0, file.Exists());
        EXPECT_EQ(SFileCode::kMissing, file.OpenExisting());
        ASSERT_EQ(0, file.Create());
        EXPECT_EQ(kReadWrite, file.GetAccess());
        DWORD count = 100;
        EXPECT_EQ(0, file.Write("hello world", &count, 11));
        EXPECT_EQ(11u, count);
        EXPECT_EQ(1, file.IsEOF());
        DWORD position = static_cast<DWORD>(-5);
        EXPECT_EQ(0, file.Seek(&position, FILE_CURRENT));
        EXPECT_EQ(6u, position);
        EXPECT_EQ(0, file.IsEOF());
        DWORD kept;
        EXPECT_EQ(1, file.SavePosition(&kept));
        EXPECT_EQ(6u, kept) << "IsEOF leaves the position";
        char bytes[20] = "";
        count = sizeof bytes;
        EXPECT_EQ(0, file.Read(bytes, &count));
        EXPECT_EQ(5u, count);
        EXPECT_STREQ("world", bytes);
        EXPECT_EQ(1, file.RestorePosition(kept));
        EXPECT_EQ(1, file.SetEndOfFile());
        DWORD size = 0, high = 9;
        EXPECT_EQ(0, file.GetSize(&size, &high));
        EXPECT_EQ(6u, size);
        EXPECT_EQ(0u, high);
        EXPECT_EQ(1, file.Flush());
        FILETIME written, made;
        EXPECT_EQ(0, file.GetDateTime(&written));
        EXPECT_EQ(0, file.GetDateTime(&made, 1));
        EXPECT_EQ(0, file.Close());
        EXPECT_EQ(0u, file.GetAccess());
        EXPECT_EQ(0, file.CompareDateTime(&written)) << "by name, once it is closed";
        ++written.dwHighDateTime;
        EXPECT_EQ(-1, file.CompareDateTime(&written));

        // Create keeps what is there.
        ASSERT_EQ(0, file.Create());
        EXPECT_EQ(0, file.GetSize(&size));
        EXPECT_EQ(6u, size);
        EXPECT_EQ(1, file.IsFile());
        EXPECT_EQ(0, file.IsDirectory());
        EXPECT_EQ(1, file.CanBeWritten());
        EXPECT_EQ(0, file.Close());
        EXPECT_EQ(0, file.Rename(Text(folder.Path(L"x.dat"))));
        EXPECT_STREQ(L"dat", file.GetExtension());
        EXPECT_EQ(0, file.Copy(Text(folder.Path(L"y.dat")), 0));
        EXPECT_EQ(SFileCode::kCopy, file.Copy(Text(folder.Path(L"y.dat")), 0));
        EXPECT_EQ(0, file.Copy(Text(folder.Path(L"y.dat")), 1));
        EXPECT_EQ(0, file.Delete());
        EXPECT_STREQ(L"", file.GetFullName());
        EXPECT_EQ(0, SFile::Delete(Text(folder.Path(L"y.dat"))));
        EXPECT_EQ(SFileCode::kDelete, SFile::Delete(Text(folder.Path(L"y.dat"))));
    }
    EXPECT_EQ(before, CountResources());
}

TEST(Files, AskTheSystemForWhatTheirAttributesSay)
{
    const TempFolder folder;
    const SString plain = Text(folder.File(L"plain.txt", "abc")),
                  locked = Text(folder.File(L"locked.txt", "abc"));
    ASSERT_TRUE(::SetFileAttributesW(locked, FILE_ATTRIBUTE_READONLY));
    const ImportPatch record = Fail("CreateFileW", RecordFile);
    enum How { kOpen, kCreate, kExisting };
    const DWORD kArchive = FILE_ATTRIBUTE_ARCHIVE;
    const struct {
        How how;
        SString path;
        DWORD attributes, share;
        int refusals;
        long result;
        std::vector<Asked> asked;
    } kCases[] = {
        { kOpen, plain, ~0u, 1, 0, 0, { { kReadWrite, 1, OPEN_ALWAYS, kArchive, TRUE } } },
        { kOpen, locked, ~0u, 1, 0, 0, { { GENERIC_READ, 1, OPEN_ALWAYS, FILE_ATTRIBUTE_READONLY, TRUE } } },
        { kOpen,
          plain,
          FILE_ATTRIBUTE_READONLY,
          3,
          0,
          0,
          { { GENERIC_READ, 3, OPEN_ALWAYS, FILE_ATTRIBUTE_READONLY, TRUE } } },
        { kOpen,
          Text(folder.Path(L"made.txt")),
          ~0u,
          0,
          0,
          0,
          { { kReadWrite, 0, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, TRUE } } },
        { kCreate,
          plain,
          FILE_FLAG_RANDOM_ACCESS,
          0,
          0,
          0,
          { { kReadWrite, 0, OPEN_ALWAYS, FILE_FLAG_RANDOM_ACCESS, TRUE } } },
        { kOpen, plain, 0, 0, 1, SFileCode::kOpen, { { kReadWrite, 0, OPEN_ALWAYS, 0, TRUE } } },
        { kCreate, plain, 0, 0, 1, SFileCode::kCreate, { { kReadWrite, 0, OPEN_ALWAYS, 0, TRUE } } },
        { kExisting, plain, 0, 1, 0, 0, { { kReadWrite, 1, OPEN_EXISTING, kArchive, TRUE } } },
        { kExisting, plain, 0, 3, 0, 0, { { GENERIC_READ, 3, OPEN_EXISTING, kArchive, TRUE } } },
        { kExisting,
          plain,
          0,
          3,
          1,
          SFileCode::kOpen,
          { { GENERIC_READ, 3, OPEN_EXISTING, kArchive, TRUE } } },
        { kExisting,
          plain,
          0,
          1,
          1,
          1,
          { { kReadWrite, 1, OPEN_EXISTING, kArchive, TRUE },
            { GENERIC_READ, 3, OPEN_EXISTING, kArchive, TRUE } } },
        { kExisting,
          plain,
          0,
          1,
          2,
          SFileCode::kOpen,
          { { kReadWrite, 1, OPEN_EXISTING, kArchive, TRUE },
            { GENERIC_READ, 3, OPEN_EXISTING, kArchive, TRUE } } },
        { kExisting, Text(folder.Path(L"missing")), 0, 1, 0, SFileCode::kMissing, {} },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << "row " << (&c - kCases));
        SFile file;
        file.Init(c.path);
        g_asked.clear();
        g_refusals = c.refusals;
        const long result = c.how == kExisting ? file.OpenExisting(c.share)
                            : c.how == kOpen   ? file.Open(c.attributes, c.share)
                                               : file.Create(c.attributes, c.share);
        EXPECT_EQ(c.result, result);
        EXPECT_EQ(result >= 0, file.IsOpen() != 0);
        EXPECT_EQ(result >= 0 ? c.asked.back().access : 0, file.GetAccess());
        ASSERT_EQ(c.asked.size(), g_asked.size());
        for (size_t i = 0; i < g_asked.size(); ++i) {
            EXPECT_EQ(c.asked[i].access, g_asked[i].access);
            EXPECT_EQ(c.asked[i].share, g_asked[i].share);
            EXPECT_EQ(c.asked[i].disposition, g_asked[i].disposition);
            // Wine marks new files as archived or not, as it likes.
            EXPECT_EQ(c.asked[i].flags & ~kArchive & ~FILE_ATTRIBUTE_NORMAL,
                      g_asked[i].flags & ~kArchive & ~FILE_ATTRIBUTE_NORMAL);
            EXPECT_EQ(c.asked[i].inherit, g_asked[i].inherit);
        }
    }
    SFile reader;
    reader.Init(locked);
    EXPECT_EQ(1, reader.IsReadOnly());
    EXPECT_EQ(0, reader.CanBeWritten());
    DWORD attributes = 0;
    EXPECT_EQ(1, reader.GetAttributes(&attributes));
    EXPECT_EQ(DWORD{ FILE_ATTRIBUTE_READONLY }, attributes & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(1, reader.SetAttributes(FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(0, reader.IsReadOnly());

    SFile made;
    made.Init(Text(folder.Path(L"made by asking.txt")));
    g_asked.clear();
    EXPECT_EQ(1, made.CanBeWritten());
    EXPECT_EQ(1, made.Exists()) << "the question makes the file";
    ASSERT_EQ(1u, g_asked.size());
    EXPECT_EQ(0x20000080u, g_asked[0].flags);
    EXPECT_EQ(DWORD{ OPEN_ALWAYS }, g_asked[0].disposition);
    EXPECT_EQ(DWORD{ FILE_SHARE_READ }, g_asked[0].share);
    g_refusals = 1;
    EXPECT_EQ(0, made.CanBeWritten());
}

TEST(Files, TellEachFailureByItsCodeAndKeepTheirName)
{
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.txt", "0123456789"));
    SFile file;
    file.Init(path);
    char bytes[20];
    DWORD count = 5, high;
    FILETIME time;
    short type;
    EXPECT_EQ(SFileCode::kNotOpen, file.Read(bytes, &count));
    EXPECT_EQ(SFileCode::kNotOpen, file.Write(bytes, &count));
    EXPECT_EQ(SFileCode::kNotOpen, file.GetSize(&count));
    EXPECT_EQ(SFileCode::kSeek, file.Seek(&count, FILE_BEGIN));
    EXPECT_EQ(0, file.Flush() || file.SetEndOfFile() || file.IsEOF() || file.SavePosition(&count));
    ASSERT_EQ(0, file.Open());
    EXPECT_EQ(SFileCode::kNullPointer, file.Read(nullptr, &count));
    EXPECT_EQ(SFileCode::kNullPointer, file.Read(bytes, nullptr));
    EXPECT_EQ(SFileCode::kNullPointer, file.Write(nullptr, &count));
    EXPECT_EQ(SFileCode::kNullPointer, file.GetSize(nullptr));
    EXPECT_EQ(SFileCode::kNullPointer, file.GetDateTime(nullptr));
    EXPECT_EQ(SFileCode::kNullPointer, file.CompareDateTime(nullptr));
    EXPECT_EQ(SFileCode::kNullPointer, file.GetContentType(nullptr));
    {
        const ImportPatch read = Fail("ReadFile", NoTransfer), write = Fail("WriteFile", NoTransfer);
        count = 5;
        EXPECT_EQ(SFileCode::kRead, file.Read(bytes, &count));
        EXPECT_EQ(SFileCode::kWrite, file.Write(bytes, &count));
        EXPECT_EQ(0, file.IsEOF());
        count = 0;
        EXPECT_EQ(0, file.Read(bytes, &count)) << "nothing to read: the system is not asked";
        count = 5;
        EXPECT_EQ(0, file.Write(bytes, &count, 0));
        EXPECT_EQ(0u, count);
    }
    {
        const ImportPatch size = Fail("GetFileSize", NoSize), seek = Fail("SetFilePointer", NoSeek),
                          times = Fail("GetFileTime", NoTimes);
        EXPECT_EQ(SFileCode::kSize, file.GetSize(&count));
        EXPECT_EQ(0, file.GetSize(&count, &high)) << "the caller looks at the last error himself";
        EXPECT_EQ(DWORD{ ERROR_IO_DEVICE }, ::GetLastError());
        EXPECT_EQ(SFileCode::kSeek, file.Seek(&count, FILE_BEGIN));
        EXPECT_EQ(SFileCode::kTime, file.GetDateTime(&time));
        EXPECT_EQ(-2, file.CompareDateTime(&time));
    }
    {
        const ImportPatch close = Fail("CloseHandle", NoClose);
        EXPECT_EQ(SFileCode::kClose, file.Close());
        EXPECT_EQ(1, file.IsOpen()) << "it can be tried again";
        EXPECT_EQ(kReadWrite, file.GetAccess());
    }
    EXPECT_EQ(0, file.Close());
    EXPECT_STREQ(path, file.GetFullName());
    {
        const ImportPatch open = Fail("CreateFileW", NoFile);
        EXPECT_EQ(SFileCode::kOpen, file.Open());
        EXPECT_EQ(SFileCode::kCreate, file.Create());
        EXPECT_EQ(SFileCode::kOpen, file.OpenExisting());
        EXPECT_EQ(SFileCode::kOpen, file.GetContentType(&type));
    }
    {
        const ImportPatch close = Fail("FindClose", NoClose);
        EXPECT_EQ(0, file.FindFirst(path));
        EXPECT_EQ(SFileCode::kFindClose, file.FindClose());
        EXPECT_EQ(SFileCode::kFindClose, file.FindFirst(path));
        EXPECT_EQ(SFileCode::kFindClose, file.Done());
    }
    file.Init(path);
    ASSERT_EQ(0, file.Open());
    {
        const ImportPatch close = Fail("CloseHandle", NoClose);
        EXPECT_EQ(SFileCode::kClose, file.Done());
        EXPECT_EQ(SFileCode::kNoMoreFiles, file.FindNext()) << "the search was left running";
    }
    EXPECT_EQ(0, file.Done());
    file.Init(Text(folder.Path(L"missing.txt")));
    EXPECT_EQ(SFileCode::kDelete, file.Delete());
    EXPECT_EQ(SFileCode::kRename, file.Rename(Text(folder.Path(L"other.txt"))));
    EXPECT_EQ(SFileCode::kCopy, file.Copy(Text(folder.Path(L"other.txt")), 1));
    EXPECT_EQ(SFileCode::kTime, file.GetDateTime(&time));
    EXPECT_EQ(SFileCode::kSize, SFile::GetSize(file.GetFullName(), &count));
    EXPECT_EQ(0, file.GetContentType(&type));
    EXPECT_EQ(0, type);
    EXPECT_STREQ(L"missing", file.GetName());
    SString text;
    EXPECT_EQ(1, GetResultFormat(SFileCode::kMissing, &text));
    EXPECT_STREQ(L"The file does not exist.", text);
}

TEST(Files, TakeOverAnOpenOneWithTheAnswersReversed)
{
    const TempFolder folder;
    SFile source, copy;
    source.Init(Text(folder.File(L"a.txt", "abc")));
    EXPECT_EQ(0, copy.Init(source)) << "a closed one";
    EXPECT_STREQ(source.GetFullName(), copy.GetFullName());
    ASSERT_EQ(0, source.Open());
    EXPECT_EQ(E_FAIL, copy.Init(source));
    EXPECT_EQ(1, copy.IsOpen());
    EXPECT_EQ(0u, copy.GetAccess());
    EXPECT_NE(source.GetHandle(), copy.GetHandle());
    const ImportPatch fail = Fail("DuplicateHandle", NoDuplicate);
    EXPECT_EQ(0, copy.Init(source));
    EXPECT_EQ(0, copy.IsOpen());
    EXPECT_EQ(kReadWrite, copy.GetAccess());
}

TEST(Files, SearchTheirFolder)
{
    const TempFolder folder;
    folder.File(L"a.txt");
    folder.File(L"b.tar.gz");
    folder.Folder(L"sub");
    SFile file;
    std::vector<std::wstring> found;
    for (long r = file.FindFirst(Text(folder.Path(L"*"))); r >= 0; r = file.FindNext())
        found.push_back(Wide(file.GetName()) + L"|" + Wide(file.GetExtension()));
    std::sort(found.begin(), found.end());
    EXPECT_EQ((std::vector<std::wstring>{ L"..|", L".|", L"a|txt", L"b.tar|gz", L"sub|" }), found);
    EXPECT_EQ(SFileCode::kNoMoreFiles, file.FindNext());
    EXPECT_EQ(0, file.FindFirst(Text(folder.Path(L"b*"))));
    EXPECT_STREQ(folder.Path(L"b.tar.gz").c_str(), file.GetFullName());
    EXPECT_EQ(SFileCode::kMissing, file.FindFirst(Text(folder.Path(L"*.none"))));
    EXPECT_EQ(SFileCode::kNoMoreFiles, file.FindNext());
    EXPECT_EQ(SFileCode::kName, file.FindFirst(L""));
}

TEST(Files, HaveLongNamesAndNoneWithANulInside)
{
    const TempFolder folder;
    std::wstring deep;
    for (int i = 0; i < 5; ++i) {
        deep += (i ? L"\\" : L"") + std::wstring(60, static_cast<wchar_t>(L'a' + i));
        folder.Folder(deep);
    }
    const SString path = Text(folder.Path(deep + L"\\file.txt"));
    ASSERT_GT(path.Length(), 300);
    SFile file;
    ASSERT_EQ(0, file.Init(path));
    ASSERT_EQ(0, file.Create());
    DWORD count = 3;
    EXPECT_EQ(0, file.Write("abc", &count));
    EXPECT_EQ(0, file.Close());
    EXPECT_EQ(1, SFile::IsFile(path));
    EXPECT_EQ(0, file.Copy(path + L".copy", 0));
    EXPECT_EQ(0, SFile::CompareBinaryFiles(path, path + L".copy"));
    EXPECT_EQ(0, SFile::Delete(path + L".copy"));
    EXPECT_STREQ(path, SFile::ToLongNames(path));
    EXPECT_EQ(0, file.FindFirst(Text(folder.Path(deep + L"\\*.txt"))));
    EXPECT_STREQ(path, file.GetFullName());
    file.FindClose();
    // Steps and slashes are done away with before the long form is used.
    EXPECT_EQ(1,
              SFile::Exists(Text(folder.Path(deep + L"\\..\\" + std::wstring(60, L'e') + L"/./file.txt"))));
    EXPECT_EQ(0, SFile::CreateFilePath(path, nullptr, 1)) << "defined by a buffer of 260 characters";
    EXPECT_STREQ(L"", SFile::GetTempFileNameW(Text(folder.Path(deep)), L"x", 0));
    EXPECT_EQ(0, file.Delete());

    const SString name = Text(folder.File(L"cut"));
    const SString hidden = SString(std::wstring_view((Wide(name) + std::wstring(1, L'\0') + L".txt")));
    EXPECT_EQ(0, SFile::Exists(hidden));
    EXPECT_EQ(DWORD{ ERROR_INVALID_NAME }, ::GetLastError());
    EXPECT_EQ(SFileCode::kDelete, SFile::Delete(hidden));
    EXPECT_EQ(1, SFile::Exists(name)) << "not what stands before the NUL";
}

TEST(Files, AreReservedWhenTheyAreTheSystems)
{
    const TempFolder folder;
    const SString path = Text(folder.File(L"a.sys"));
    EXPECT_EQ(0, SFile::IsReserved(path));
    EXPECT_EQ(0, SFile::IsReserved(L""));
    EXPECT_EQ(0, SFile::IsReserved(Text(folder.Path(L"missing"))));
    ::SetFileAttributesW(path, FILE_ATTRIBUTE_SYSTEM);
    // Wine keeps no such attribute; the call is answered in its place.
    const ImportPatch system = Fail("GetFileAttributesExW", SystemAttribute);
    EXPECT_EQ(1, SFile::IsReserved(path));
}

// ---- Content ----

TEST(FileContent, IsToldByItsFirstBytes)
{
    const TempFolder folder;
    const auto le32 = [](unsigned v) {
        return std::string{ char(v), char(v >> 8), char(v >> 16), char(v >> 24) };
    };
    const std::string rest(200, '\0');
    const std::string enhanced = le32(1) + le32(108) + std::string(32, '\0') + le32(0x464D4520) + rest;
    const std::string placeable = le32(0x9AC6CDD7) + rest,
                      metafile = std::string("\1\0\x09\0\0\3", 6) + le32(18) + rest;
    const std::string jpeg = std::string("\xFF\xD8\xFF\xE0\0\x10JFIF\0", 11);
    const struct {
        std::string bytes;
        short type;
    } kCases[] = {
        { "BM" + rest.substr(0, 12), 1 },
        { "BM" + rest.substr(0, 11), 0 },
        { placeable.substr(0, 22), 2 },
        { placeable.substr(0, 21), 0 },
        { metafile.substr(0, 18), 4 },
        { metafile.substr(0, 17), 0 },
        { std::string("\1\0\x09\0\0\3", 6) + le32(17) + rest, 0 },
        { enhanced.substr(0, 108), 4 },
        { enhanced.substr(0, 107), 0 },
        { "GIF", 6 },
        { "GIF89a" + rest, 6 },
        { jpeg, 5 },
        { jpeg.substr(0, 10), 0 },
        { jpeg.substr(0, 10) + "x", 0 },
        { "<?xml version='1.0'?>", 0 },
        { std::string("\xFF\xFE<\0?\0x\0m\0l\0", 12), 0 },
        { "", 0 },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << "row " << (&c - kCases));
        SFile file;
        file.Init(Text(folder.File(L"a.bin", c.bytes)));
        short type = -1;
        EXPECT_EQ(0, file.GetContentType(&type));
        EXPECT_EQ(c.type, type);
        EXPECT_EQ(0, file.IsOpen());
        ASSERT_EQ(0, file.Open());
        DWORD at = static_cast<DWORD>(c.bytes.size() / 2);
        file.Seek(&at, FILE_BEGIN);
        type = -1;
        EXPECT_EQ(0, file.GetContentType(&type)) << "through a handle that shares with nobody";
        EXPECT_EQ(c.type, type);
        DWORD here = 0;
        file.SavePosition(&here);
        EXPECT_EQ(at, here);
    }
}

namespace {

void* __cdecl NoMalloc(size_t)
{
    return nullptr;
}
int g_reads;
BOOL WINAPI SecondReadIsShort(HANDLE file, void* buffer, DWORD count, DWORD* got, OVERLAPPED* place)
{
    return ::ReadFile(file, buffer, ++g_reads == 2 ? count - 1 : count, got, place);
}

} // namespace

TEST(FileContent, IsComparedPieceByPieceAndTheLastOneDecides)
{
    const TempFolder folder;
    const std::string zeros(40000, '\0');
    const auto with = [&](size_t at, char c) {
        std::string bytes(zeros);
        bytes[at] = c;
        return bytes;
    };
    const std::wstring base = folder.File(L"base", zeros);
    const struct {
        std::string bytes;
        int result;
    } kCases[] = {
        { zeros, 0 },
        { with(0, 1), 0 }, // before the last piece
        { with(32767, 1), 0 },
        { with(32768, 1), -1 }, // its first byte
        { with(39999, '\xFF'), -1 },
        { zeros + "x", 1 }, // base is shorter
        { zeros.substr(1), -1 },
        { "", -1 },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << "row " << (&c - kCases));
        const std::wstring other = folder.File(L"other", c.bytes);
        EXPECT_EQ(c.result, SFile::CompareBinaryFiles(base.c_str(), other.c_str()));
        EXPECT_EQ(-c.result, SFile::CompareBinaryFiles(other.c_str(), base.c_str()));
    }
    const std::wstring empty = folder.File(L"empty"), other = folder.File(L"other", with(39999, 1));
    EXPECT_EQ(0, SFile::CompareBinaryFiles(empty.c_str(), empty.c_str()));
    EXPECT_EQ(-2, SFile::CompareBinaryFiles(base.c_str(), folder.Path(L"missing").c_str()));
    EXPECT_EQ(-2, SFile::CompareBinaryFiles(nullptr, base.c_str()));
    EXPECT_EQ(-2, SFile::CompareBinaryFiles(base.c_str(), L""));
    {
        g_reads = 0;
        const ImportPatch read = Fail("ReadFile", SecondReadIsShort);
        EXPECT_EQ(-2, SFile::CompareBinaryFiles(base.c_str(), other.c_str()));
    }
    const ImportPatch heap("CVCore16.dll", nullptr, "malloc", NoMalloc);
    ASSERT_TRUE(heap.Found());
    EXPECT_EQ(0, SFile::CompareBinaryFiles(base.c_str(), other.c_str())) << "without buffers: equal";
}
