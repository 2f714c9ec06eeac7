// System calls that fail, one after the other: the stated code, the object as it was, no handle left. What the suites of
// files, streams, blobs and searches make fail already (reading, writing, seeking, closing, memory) is not repeated here.
#include "curdir.h"
#include "sexcept.h"
#include "sfile.h"
#include "sfilestream.h"
#include "sfind.h"
#include "sgdi.h"
#include "sioexcept.h"
#include "window.h"

#include "support/counters.h"
#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/systemfails.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

namespace {

struct Place {
    TempFolder folder;
    SString path = folder.File(L"plan.txt", "content").c_str();
    SString other = folder.Path(L"other.txt").c_str();
    SFile file;

    Place() { file.Init(path); }
    SString State() const
    {
        return SString().Format(L"%s %d %s", file.GetFullName(), file.IsOpen(),
                                SString(TempFolder::Content(Wide(path)).c_str()));
    }
};

struct Row {
    const char* function;
    void* failing;
    long (*call)(Place& place);
    long code;
};

long Thrown(long (*call)(Place&), Place& place)
{
    try {
        return call(place);
    }
    catch (const SEIOException& e) {
        EXPECT_NE(nullptr, SString(e.GetText()).Find(place.folder.Path().c_str())) << "it names the file";
        return E_ABORT;
    }
}

const Row kRows[] = {
    { "MoveFileW", Fails<&::MoveFileW>(), [](Place& p) { return p.file.Rename(p.other); },
      SFileCode::kRename },
    { "CopyFileW", Fails<&::CopyFileW>(), [](Place& p) { return p.file.Copy(p.other, 1); },
      SFileCode::kCopy },
    { "DeleteFileW", Fails<&::DeleteFileW>(), [](Place& p) { return p.file.Delete(); }, SFileCode::kDelete },
    { "DeleteFileW", Fails<&::DeleteFileW>(), [](Place& p) { return SFile::Delete(p.path); },
      SFileCode::kDelete },
    { "GetFileAttributesExW", Fails<&::GetFileAttributesExW>(),
      [](Place& p) {
          FILETIME time;
          return SFile::GetDateTime(p.path, &time);
      },
      SFileCode::kTime },
    { "GetFileAttributesExW", Fails<&::GetFileAttributesExW>(),
      [](Place& p) {
          DWORD size;
          return SFile::GetSize(p.path, &size);
      },
      SFileCode::kSize },
    { "GetFileTime", Fails<&::GetFileTime>(),
      [](Place& p) {
          FILETIME time;
          p.file.OpenExisting();
          const long code = p.file.GetDateTime(&time);
          return p.file.Close(), code;
      },
      SFileCode::kTime },
    { "GetFileTime", Fails<&::GetFileTime>(),
      [](Place& p) {
          FILETIME time = {};
          p.file.OpenExisting();
          const long code = p.file.CompareDateTime(&time);
          return p.file.Close(), code;
      },
      -2 },
    { "FlushFileBuffers", Fails<&::FlushFileBuffers>(),
      [](Place& p) {
          p.file.OpenExisting();
          const long done = p.file.Flush();
          return p.file.Close(), done;
      },
      0 },
    { "SetEndOfFile", Fails<&::SetEndOfFile>(),
      [](Place& p) {
          p.file.OpenExisting();
          const long done = p.file.SetEndOfFile();
          return p.file.Close(), done;
      },
      0 },
    { "CreateFileW", Fails<&::CreateFileW, kNoHandle>(), [](Place& p) { return p.file.Create(); },
      SFileCode::kCreate },
    { "CreateFileW", Fails<&::CreateFileW, kNoHandle>(), [](Place& p) { return p.file.OpenExisting(); },
      SFileCode::kOpen },
    { "SetFileAttributesW", Fails<&::SetFileAttributesW>(),
      [](Place& p) { return static_cast<long>(p.file.SetAttributes(FILE_ATTRIBUTE_HIDDEN)); }, 0 },
    { "FindFirstFileW", Fails<&::FindFirstFileW, kNoHandle>(),
      [](Place& p) { return p.file.FindFirst(p.path); }, SFileCode::kMissing },
    { "FindNextFileW", Fails<&::FindNextFileW>(),
      [](Place& p) {
          SFile search;
          search.FindFirst(p.path);
          const long code = search.FindNext();
          return search.FindClose(), code;
      },
      SFileCode::kNoMoreFiles },
    { "FindFirstFileW", Fails<&::FindFirstFileW, kNoHandle>(),
      [](Place& p) {
          SFileFind search;
          return static_cast<long>(search.FindFile(p.path));
      },
      0 },
    { "CreateDirectoryW", Fails<&::CreateDirectoryW>(),
      [](Place& p) { return static_cast<long>(SFile::CreateDirectoryW(p.other)); }, 0 },
    { "CreateDirectoryW", Fails<&::CreateDirectoryW>(),
      [](Place& p) { return static_cast<long>(SFile::CreateFilePath(p.other + L"\\deep")); }, 0 },
    { "RemoveDirectoryW", Fails<&::RemoveDirectoryW>(),
      [](Place& p) { return static_cast<long>(SFile::RemoveDirectoryW(p.folder.Path().c_str())); }, 0 },
    { "SetCurrentDirectoryW", Fails<&::SetCurrentDirectoryW>(),
      [](Place& p) { return static_cast<long>(SCurrentDirectory::Set(p.folder.Path().c_str())); }, 0 },
    { "SetCurrentDirectoryW", Fails<&::SetCurrentDirectoryW>(),
      [](Place& p) {
          SCurrentDirectory there;
          return static_cast<long>(there.Assign(p.folder.Path().c_str(), 1));
      },
      0 },
    { "GetCurrentDirectoryW", Fails<&::GetCurrentDirectoryW>(),
      [](Place&) { return static_cast<long>(SCurrentDirectory::Get().Length()); }, 0 },
    { "GetTempPathW", Fails<&::GetTempPathW>(),
      [](Place&) { return static_cast<long>(SFile::GetTempDirectory().Length()); }, 0 },
    { "GetTempFileNameW", Fails<&::GetTempFileNameW>(),
      [](Place& p) {
          return static_cast<long>(SFile::GetTempFileNameW(p.folder.Path().c_str(), L"x").Length());
      },
      0 },
    { "GetDiskFreeSpaceExW", Fails<&::GetDiskFreeSpaceExW>(),
      [](Place& p) {
          return static_cast<long>(SFile::GetFreeDiskSpace(p.path) + SFile::GetTotalDiskSpace(p.path));
      },
      0 },
    { "CreateFileW", Fails<&::CreateFileW, kNoHandle>(), [](Place& p) { return SInputFile(p.path), 0l; },
      E_ABORT },
    { "CreateFileW", Fails<&::CreateFileW, kNoHandle>(), [](Place& p) { return SOutputFile(p.other), 0l; },
      E_ABORT },
    { "SetFilePointerEx", Fails<&::SetFilePointerEx>(),
      [](Place& p) {
          SOutputFileOnChange out(p.path);
          out.Write("cont", 4);
          out.Write("more", 4);
          return out.Close(), 0l;
      },
      E_ABORT },
};

// Those of the framework: a window, its class, a region.
struct Frame {
    const char* function;
    void* failing;
    bool (*call)();
};

bool MakeWindow(UINT style)
{
    const wchar_t* const name = SWnd::RegisterWindowClass(style);
    if (!name)
        return false;
    SWnd window;
    const RECT rect = { 0, 0, 10, 10 };
    const bool made = window.CreateEx(0, name, L"", WS_POPUP, rect, nullptr, 0) != 0;
    EXPECT_EQ(made, window.GetHandle() != nullptr);
    if (made)
        window.DestroyWindow();
    return made;
}

const Frame kFrame[] = {
    { "CreateWindowExW", Fails<&::CreateWindowExW>(), [] { return MakeWindow(0); } },
    { "RegisterClassW", Fails<&::RegisterClassW>(), [] { return MakeWindow(CS_DBLCLKS | CS_NOCLOSE); } },
    { "SetWindowsHookExW", Fails<&::SetWindowsHookExW>(), [] { return MakeWindow(0); } },
    { "LoadCursorW", Fails<&::LoadCursorW>(),
      [] { return !MakeWindow(CS_HREDRAW | CS_NOCLOSE); } }, // none is no failure
};

} // namespace

TEST(FailingSystem, AnswersTheStatedCodeAndLeavesEverythingAsItWas)
{
    MakeWindow(0);
    EXPECT_THROW(SInputFile(L"no such file"), SEIOException); // what the first exception allocates stays
    int rows = 0;
    for (const Row& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.function << ", row " << ++rows);
        Place place;
        const SString before = place.State();
        const SString here = SCurrentDirectory::Get();
        const long handles = CountResources().handles;
        {
            const ImportPatch patch(::GetModuleHandleA("CVCore16.dll"), nullptr, row.function, row.failing);
            ASSERT_TRUE(patch.Found());
            g_systemCalls = 0;
            EXPECT_EQ(row.code, Thrown(row.call, place));
            EXPECT_GT(g_systemCalls, 0) << "it was not called";
        }
        EXPECT_EQ(before, place.State());
        EXPECT_EQ(here, SCurrentDirectory::Get());
        EXPECT_EQ(handles, CountResources().handles);
        EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesW(place.other)) << "nothing was made";
    }
    std::printf("%d calls of the system failed\n", rows);
}

TEST(FailingSystem, MakesNoWindowAndLosesNone)
{
    MakeWindow(0);
    for (const Frame& row : kFrame) {
        SCOPED_TRACE(row.function);
        const ResourceCount before = CountResources();
        {
            const ImportPatch patch(::GetModuleHandleA("CVCore16.dll"), nullptr, row.function, row.failing);
            ASSERT_TRUE(patch.Found());
            g_systemCalls = 0;
            EXPECT_FALSE(row.call());
            EXPECT_GT(g_systemCalls, 0) << "it was not called";
        }
        EXPECT_EQ(before.handles, CountResources().handles);
        EXPECT_EQ(before.gdiObjects, CountResources().gdiObjects);
        EXPECT_TRUE(MakeWindow(0)) << "the next one is made";
    }
}
