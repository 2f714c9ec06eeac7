// sfolders.cpp: folders: the current one, the system's, the shell's, and making them.
#include "sfile.h"

#include "systemlibrary.h"
#include "systempath.h"

#include <cwchar>

namespace {

constexpr DWORD kFirstRoom = 256;
constexpr int kFixedRoom = MAX_PATH;

SString CurrentDirectory()
{
    return TextOfSystem(MAX_PATH,
                        [](wchar_t* buffer, DWORD room) { return ::GetCurrentDirectoryW(room, buffer); });
}

// Characters of the drive or the server, without the backslash behind it.
int DriveLength(const SString& path)
{
    if (path.GetAt(1) == L':')
        return 2;
    if (path.Compare(L"\\\\", 2) != 0)
        return 0;
    const int end = path.FindPos(L'\\', 2);
    return end < 0 ? path.Length() : end;
}

// Characters of what cannot be made: "X:\", or server and share with the backslash behind them. 0 when there is no such.
int RootLength(const SString& path)
{
    if (path.GetAt(1) == L':')
        return path.GetAt(2) == L'\\' ? 3 : 0;
    if (path.Compare(L"\\\\", 2) != 0)
        return 0;
    const int server = path.FindPos(L'\\', 2);
    if (server < 0)
        return 0;
    const int share = path.FindPos(L'\\', server + 1);
    return share < 0 ? path.Length() : share + 1;
}

bool MakeFolder(const SString& path)
{
    return ::CreateDirectoryW(SystemPath(path), nullptr) ||
           (::GetLastError() == ERROR_ALREADY_EXISTS && SFile::IsDirectory(path)); // somebody else was faster
}

// Volumes are asked for by a folder, with a backslash behind it.
ULARGE_INTEGER DiskSpace(const SString& path, bool all)
{
    ULARGE_INTEGER mine = {}, total = {};
    SString folder = SFile::IsFile(path) ? SFile::GetParentFolder(path) : path;
    if (!folder.IsEmpty() && folder[folder.Length() - 1] != L'\\')
        folder += L'\\';
    if (!::GetDiskFreeSpaceExW(SystemPath(folder), &mine, &total, nullptr))
        return {};
    return all ? total : mine;
}

} // namespace

SString SFile::GetCurrentDirectoryW()
{
    const SString current = CurrentDirectory();
    SString directory = current.Mid(DriveLength(current) + 1);
    if (!directory.IsEmpty() && directory[directory.Length() - 1] != L'\\')
        directory += L'\\';
    return directory;
}

SString SFile::GetCurrentDrive()
{
    const SString current = CurrentDirectory();
    const int length = DriveLength(current);
    return length == 0 ? SString() : current.Left(length) + L'\\';
}

int SFile::SetCurrentDrive(const SString& drive)
{
    // "D:" without a backslash is the directory that was last current there.
    return drive.GetAt(1) == L':' && ::SetCurrentDirectoryW(drive.Left(2)) != 0;
}

int SFile::CreateDirectoryW(const SString& path)
{
    return ::CreateDirectoryW(SystemPath(path), nullptr) != 0;
}

int SFile::RemoveDirectoryW(const SString& path)
{
    return ::RemoveDirectoryW(SystemPath(path)) != 0;
}

int SFile::CreateFilePath(const SString& path, SString* result, int isFile)
{
    if (result)
        result->Empty();
    wchar_t expanded[kFixedRoom];
    if (path.IsEmpty() || !::_wfullpath(expanded, SystemPath(path), kFixedRoom))
        return 0;
    const SString full(expanded);
    if (result)
        *result = full;
    const SString folder = isFile ? GetParentFolder(full) : full;
    if (IsDirectory(folder))
        return 1;
    const int root = RootLength(folder);
    if (root == 0 || !IsDirectory(folder.Left(root)))
        return 0;
    // From the deepest folder that is there downwards.
    int end = folder.Length();
    while (end > root && !IsDirectory(folder.Left(end)))
        end = folder.ReverseFindPos(L'\\', end - 1);
    while (end < folder.Length()) {
        const int next = folder.FindPos(L'\\', end + 1);
        end = next < 0 ? folder.Length() : next;
        if (folder[end - 1] != L'\\' && !MakeFolder(folder.Left(end)))
            return 0;
    }
    return 1;
}

SString SFile::GetSystemDirectoryW()
{
    return TextOfSystem(kFirstRoom,
                        [](wchar_t* buffer, DWORD room) { return ::GetSystemDirectoryW(buffer, room); });
}

SString SFile::GetWindowsDirectoryW()
{
    return TextOfSystem(kFirstRoom,
                        [](wchar_t* buffer, DWORD room) { return ::GetWindowsDirectoryW(buffer, room); });
}

SString SFile::GetTempDirectory()
{
    wchar_t buffer[kFirstRoom];
    const DWORD length = ::GetTempPathW(kFirstRoom, buffer);
    return length == 0 || length >= kFirstRoom ? SString() : ToLongNames(SString(buffer));
}

SString SFile::GetTempFileNameW(const SString& directory, const SString& prefix, UINT unique)
{
    wchar_t buffer[MAX_PATH + 1];
    constexpr int kLongestDirectory = MAX_PATH - 14; // as the system has it
    if (directory.Length() > kLongestDirectory ||
        ::GetTempFileNameW(SystemPath(directory), SystemPath(prefix), unique, buffer) == 0)
        return SString();
    return SString(buffer);
}

SString SFile::GetFolderPath(int csidl, int create)
{
    constexpr int kCreate = 0x8000; // CSIDL_FLAG_CREATE
    const auto find =
        FindInSystem<HRESULT WINAPI(HWND, int, HANDLE, DWORD, wchar_t*)>(L"shell32.dll", "SHGetFolderPathW");
    wchar_t path[MAX_PATH];
    if (!find || find(nullptr, create ? csidl | kCreate : csidl, nullptr, 0, path) != S_OK)
        return SString();
    return SString(path);
}

SString SFile::GetFolderPathAndSubDir(int csidl, SString subDirectory, int create)
{
    const SString folder = GetFolderPath(csidl, create);
    if (folder.IsEmpty())
        return SString();
    SString path = ConcatPath(folder, subDirectory.TrimRight(L'\\'), L'\\');
    if (create && !CreateFilePath(path))
        return SString();
    return path;
}

ULONGLONG SFile::GetFreeDiskSpace(const SString& path)
{
    return DiskSpace(path, false).QuadPart;
}

ULONGLONG SFile::GetTotalDiskSpace(const SString& path)
{
    return DiskSpace(path, true).QuadPart;
}
