// Files that get their new content whole or keep the old one.
#include "safefile.h"

#include "curdir.h"

#include "support/counters.h"
#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

BOOL WINAPI DiskIsFull(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*)
{
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}
BOOL WINAPI ShortWrite(HANDLE file, const void* bytes, DWORD count, DWORD* written, OVERLAPPED* place)
{
    return ::WriteFile(file, bytes, count - 1, written, place);
}
BOOL WINAPI NoFlush(HANDLE)
{
    ::SetLastError(ERROR_IO_DEVICE);
    return FALSE;
}
BOOL WINAPI NoMove(const wchar_t*, const wchar_t*, DWORD)
{
    ::SetLastError(ERROR_SHARING_VIOLATION);
    return FALSE;
}
BOOL WINAPI CloseBadly(HANDLE handle)
{
    ::CloseHandle(handle);
    ::SetLastError(ERROR_IO_DEVICE);
    return FALSE;
}
HANDLE WINAPI NoFile(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

} // namespace

TEST(SafeFile, ReplacesTheContentWholeOrNotAtAll)
{
    const TempFolder folder;
    const std::wstring path = folder.File(L"plan.txt", "old content");
    const SString target(path.c_str());
    ASSERT_EQ(0, SSafeFile::Replace(target, "new", 3));
    EXPECT_EQ("new", TempFolder::Content(path));
    {
        SSafeFile file;
        ASSERT_EQ(0, file.Begin(target));
        EXPECT_EQ(0, file.Write("half of ", 8));
        EXPECT_EQ("new", TempFolder::Content(path)) << "untouched until Commit";
        EXPECT_EQ(2, TempFolder::Entries(folder.Path()));
    }
    EXPECT_EQ("new", TempFolder::Content(path)) << "and without it";
    EXPECT_EQ(1, TempFolder::Entries(folder.Path()));
    {
        SSafeFile file;
        SCurrentDirectory there;
        ASSERT_EQ(1, there.Assign(SString(folder.Path().c_str()), 1));
        ASSERT_EQ(0, file.Begin(L"plan.txt"));
        EXPECT_EQ(0, file.Write("relative", 8));
        there.Restore(0);
        EXPECT_EQ(0, file.Commit()) << "the current directory is another one by now";
        EXPECT_EQ("relative", TempFolder::Content(path));
    }
    const SString other = SString(folder.Path(L"made.txt").c_str());
    EXPECT_EQ(0, SSafeFile::Replace(other, "", 0));
    EXPECT_EQ("", TempFolder::Content(folder.Path(L"made.txt")));
    EXPECT_EQ(2, TempFolder::Entries(folder.Path()));
}

TEST(SafeFile, KeepsTheOldContentWhateverFails)
{
    const TempFolder folder;
    const std::wstring path = folder.File(L"plan.txt", "old");
    const SString target(path.c_str());
    SSafeFile::Replace(target, "old", 3);
    const ResourceCount before = CountResources();
    const auto fails = [&](const char* function, void* replacement, long code, DWORD why) {
        SCOPED_TRACE(function);
        const ImportPatch patch(::GetModuleHandleA("CVCore16.dll"), "KERNEL32.dll", function, replacement);
        ASSERT_TRUE(patch.Found());
        ::SetLastError(0);
        EXPECT_EQ(code, SSafeFile::Replace(target, "new", 3));
        if (why != 0) {
            EXPECT_EQ(why, ::GetLastError());
        }
        EXPECT_EQ("old", TempFolder::Content(path));
        EXPECT_EQ(1, TempFolder::Entries(folder.Path()));
    };
    fails("WriteFile", reinterpret_cast<void*>(DiskIsFull), SFileCode::kWrite, ERROR_DISK_FULL);
    fails("WriteFile", reinterpret_cast<void*>(ShortWrite), SFileCode::kWrite, 0);
    fails("FlushFileBuffers", reinterpret_cast<void*>(NoFlush), SFileCode::kWrite, ERROR_IO_DEVICE);
    fails("CloseHandle", reinterpret_cast<void*>(CloseBadly), SFileCode::kWrite, ERROR_IO_DEVICE);
    fails("MoveFileExW", reinterpret_cast<void*>(NoMove), SFileCode::kRename, ERROR_SHARING_VIOLATION);
    fails("CreateFileW", reinterpret_cast<void*>(NoFile), SFileCode::kCreate, ERROR_ACCESS_DENIED);
    EXPECT_EQ(before.handles, CountResources().handles);

    SSafeFile file;
    EXPECT_EQ(SFileCode::kNotOpen, file.Write("x", 1));
    EXPECT_EQ(SFileCode::kNotOpen, file.Commit());
    EXPECT_EQ(SFileCode::kName, file.Begin(SString((path + L"?").c_str())));
    ASSERT_EQ(0, file.Begin(target));
    EXPECT_EQ(SFileCode::kNullPointer, file.Write(nullptr, 1));
    {
        const ImportPatch full("CVCore16.dll", "KERNEL32.dll", "WriteFile", DiskIsFull);
        EXPECT_EQ(SFileCode::kWrite, file.Write("x", 1));
    }
    EXPECT_EQ(SFileCode::kWrite, file.Write("y", 1)) << "what is missing cannot be made good";
    EXPECT_EQ(SFileCode::kWrite, file.Commit());
    EXPECT_EQ("old", TempFolder::Content(path));
}

TEST(SafeFile, SweepsWhatAKilledProgramLeftButNotWhatIsInUse)
{
    const TempFolder folder;
    const SString target(folder.File(L"plan.txt", "old").c_str());
    const std::wstring stale = folder.File(L"plan.txt.~99999-1.tmp", "half"),
                       other = folder.File(L"plan.txt.old", "mine");
    SSafeFile first, second;
    ASSERT_EQ(0, first.Begin(target));
    EXPECT_EQ("(no file)", TempFolder::Content(stale));
    EXPECT_EQ("mine", TempFolder::Content(other));
    ASSERT_EQ(0, second.Begin(target));
    EXPECT_EQ(0, first.Write("first", 5));
    EXPECT_EQ(0, second.Write("second", 6));
    EXPECT_EQ(0, second.Commit());
    EXPECT_EQ(0, first.Commit()) << "the other one's sweep left it alone";
    EXPECT_EQ("first", TempFolder::Content(folder.Path(L"plan.txt")));
    EXPECT_EQ(2, TempFolder::Entries(folder.Path()));
}
