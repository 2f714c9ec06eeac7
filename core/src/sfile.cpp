// sfile.cpp: the named file: its parts, its handle, its search.
#include "sfile.h"

#include "systempath.h"

#include <cwchar>
#include <utility>

namespace {

constexpr wchar_t kSeparator = L'\\';
constexpr wchar_t kExtensionMark = L'.';
constexpr wchar_t kServer[] = L"\\\\";
constexpr wchar_t kForbidden[] = L"/:*?<>|\"";
constexpr DWORD kWriteTestFlags = 0x20000080;
constexpr DWORD kNoLimit = ~DWORD{ 0 };
constexpr DWORD kAsTheFile = ~DWORD{ 0 };

bool HoldsForbidden(const SString& part)
{
    for (wchar_t c : part) {
        if (c != L'\0' && std::wcschr(kForbidden, c))
            return true;
    }
    return false;
}

// A name at its last point, which belongs to neither part.
void SplitName(const SString& whole, SString& name, SString& extension)
{
    const int mark = whole.ReverseFindPos(kExtensionMark);
    name = mark < 0 ? whole : whole.Left(mark);
    extension = mark < 0 ? SString() : whole.Mid(mark + 1);
}

DWORD AttributesOf(const SString& path)
{
    return path.IsEmpty() ? INVALID_FILE_ATTRIBUTES : ::GetFileAttributesW(SystemPath(path));
}

bool IsReadOnlyIn(DWORD attributes)
{
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

// Reading and writing differ in the call and in the code.
template <class Buffer>
long Transfer(HANDLE file, Buffer* buffer, DWORD* count, DWORD max,
              BOOL(WINAPI* call)(HANDLE, Buffer*, DWORD, DWORD*, OVERLAPPED*), long failure)
{
    if (!buffer || !count)
        return SFileCode::kNullPointer;
    if (!file)
        return SFileCode::kNotOpen;
    const DWORD wanted = max != kNoLimit && max < *count ? max : *count;
    DWORD moved = 0;
    if (wanted > 0 && !call(file, buffer, wanted, &moved, nullptr))
        return failure;
    *count = moved;
    return 0;
}

} // namespace

SFile::SFile() noexcept : m_access(0), m_file(nullptr), m_find(nullptr), m_found() {}

SFile::~SFile()
{
    Init();
}

// ---- Naming ----

long SFile::Init()
{
    Done();
    // What could not be closed is the system's business from now on.
    FindClose();
    m_file = m_find = nullptr;
    m_access = 0;
    return 0;
}

long SFile::Init(const SString& fullName)
{
    m_fullName = fullName;
    return SplitFilename() && CheckFilename() ? 0 : SFileCode::kName;
}

long SFile::Init(const SString& drive, const SString& directory, const SString& name,
                 const SString& extension)
{
    m_access = 0;
    m_file = m_find = nullptr;
    m_drive = drive;
    m_directory = directory;
    m_name = name;
    m_extension = extension;
    MakeFilename();
    return CheckFilename() ? 0 : SFileCode::kName;
}

long SFile::Init(const SFile& other)
{
    if (this == &other)
        return 0;
    Done();
    m_drive = other.m_drive;
    m_directory = other.m_directory;
    m_name = other.m_name;
    m_extension = other.m_extension;
    m_fullName = other.m_fullName;
    if (!other.m_file)
        return 0;
    HANDLE duplicate = nullptr;
    const HANDLE process = ::GetCurrentProcess();
    if (::DuplicateHandle(process, other.m_file, process, &duplicate, 0, TRUE, DUPLICATE_SAME_ACCESS)) {
        // The reversed answer is part of the interface.
        m_file = duplicate;
        return E_FAIL;
    }
    m_access = other.m_access;
    return 0;
}

long SFile::Done()
{
    for (SString* part : { &m_drive, &m_directory, &m_name, &m_extension, &m_fullName })
        part->Empty();
    const long closed = Close();
    return closed < 0 ? closed : FindClose();
}

int SFile::SplitFilename()
{
    for (SString* part : { &m_directory, &m_name, &m_extension })
        part->Empty();
    m_drive = GetCurrentDrive();
    if (m_fullName.IsEmpty())
        return 0;

    int at = 0;
    if (m_fullName.Compare(kServer, 2) == 0) {
        const int end = m_fullName.FindPos(kSeparator, 2);
        if (end >= 0) {
            m_drive = m_fullName.Left(end + 1);
            at = end;
        }
    } else if (m_fullName.GetAt(1) == L':') {
        m_drive = m_fullName.Left(2) + kSeparator;
        at = 2;
    }
    if (m_fullName.GetAt(at) == kSeparator)
        ++at;
    else
        m_directory = GetCurrentDirectoryW();

    const int last = m_fullName.ReverseFindPos(kSeparator);
    const int nameAt = last >= at ? last + 1 : at;
    m_directory += m_fullName.Mid(at, nameAt - at);
    SplitName(m_fullName.Mid(nameAt), m_name, m_extension);
    return 1;
}

void SFile::MakeFilename()
{
    if (m_drive.IsEmpty())
        m_drive = GetCurrentDrive();
    if (m_directory.IsEmpty())
        m_directory = GetCurrentDirectoryW();
    JoinParts();
}

void SFile::JoinParts()
{
    if (!m_directory.IsEmpty() && m_directory[m_directory.Length() - 1] != kSeparator)
        m_directory += kSeparator;
    m_fullName = m_drive;
    const bool parted =
        m_drive.GetAt(m_drive.Length() - 1) == kSeparator || m_directory.GetAt(0) == kSeparator;
    if (!parted)
        m_fullName += kSeparator;
    m_fullName += m_directory;
    m_fullName += m_name;
    if (!m_extension.IsEmpty()) {
        m_fullName += kExtensionMark;
        m_fullName += m_extension;
    }
}

int SFile::CheckFilename() const
{
    return !m_fullName.IsEmpty() && !m_name.IsEmpty() && m_name.FindPos(kSeparator) < 0 &&
           !HoldsForbidden(m_name) && !HoldsForbidden(m_extension);
}

// ---- The handle ----

long SFile::OpenWith(DWORD access, DWORD share, DWORD disposition, DWORD attributes, long failure)
{
    SECURITY_ATTRIBUTES inheritable = { sizeof inheritable, nullptr, TRUE };
    const HANDLE file =
        ::CreateFileW(SystemPath(m_fullName), access, share, &inheritable, disposition, attributes, nullptr);
    m_file = file == INVALID_HANDLE_VALUE ? nullptr : file;
    m_access = m_file ? access : 0;
    return m_file ? 0 : failure;
}

long SFile::OpenOrMake(DWORD attributes, DWORD share, long failure)
{
    Close();
    m_file = nullptr;
    m_access = 0;
    if (attributes == kAsTheFile) {
        const DWORD now = AttributesOf(m_fullName);
        attributes = now == INVALID_FILE_ATTRIBUTES ? FILE_ATTRIBUTE_NORMAL : now;
    }
    const DWORD access = attributes & FILE_ATTRIBUTE_READONLY ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    return OpenWith(access, share, OPEN_ALWAYS, attributes, failure);
}

long SFile::Open(DWORD attributes, DWORD share)
{
    return OpenOrMake(attributes, share, SFileCode::kOpen);
}

long SFile::Create(DWORD attributes, DWORD share)
{
    return OpenOrMake(attributes, share, SFileCode::kCreate);
}

long SFile::OpenExisting(DWORD share)
{
    Close();
    m_file = nullptr;
    m_access = 0;
    const DWORD attributes = AttributesOf(m_fullName);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return SFileCode::kMissing;
    const bool shared = (share & FILE_SHARE_WRITE) != 0;
    const DWORD access = shared || IsReadOnlyIn(attributes) ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    if (OpenWith(access, share, OPEN_EXISTING, attributes, SFileCode::kOpen) >= 0)
        return 0;
    if (shared)
        return SFileCode::kOpen;
    const long again = OpenWith(access & ~GENERIC_WRITE, share | FILE_SHARE_WRITE, OPEN_EXISTING, attributes,
                                SFileCode::kOpen);
    return again < 0 ? again : 1;
}

long SFile::Close()
{
    if (!m_file)
        return 0;
    if (!::CloseHandle(m_file))
        return SFileCode::kClose;
    m_file = nullptr;
    m_access = 0;
    return 0;
}

long SFile::Read(void* buffer, DWORD* count, DWORD max) const
{
    return Transfer(m_file, buffer, count, max, ::ReadFile, SFileCode::kRead);
}

long SFile::Write(const void* buffer, DWORD* count, DWORD max) const
{
    return Transfer(m_file, buffer, count, max, ::WriteFile, SFileCode::kWrite);
}

long SFile::Seek(DWORD* position, DWORD method) const
{
    if (!position)
        return SFileCode::kNullPointer;
    const DWORD reached = ::SetFilePointer(m_file, static_cast<LONG>(*position), nullptr, method);
    if (reached == INVALID_SET_FILE_POINTER)
        return SFileCode::kSeek;
    *position = reached;
    return 0;
}

int SFile::Flush() const
{
    return m_file && ::FlushFileBuffers(m_file) != 0;
}

int SFile::SetEndOfFile() const
{
    return m_file && ::SetEndOfFile(m_file) != 0;
}

int SFile::IsEOF() const
{
    DWORD position;
    if (!SavePosition(&position))
        return 0;
    char byte;
    DWORD got = 0;
    const bool atEnd = ::ReadFile(m_file, &byte, 1, &got, nullptr) && got == 0;
    RestorePosition(position);
    return atEnd;
}

int SFile::SavePosition(DWORD* position) const
{
    if (!position)
        return 0;
    DWORD here = 0;
    if (Seek(&here, FILE_CURRENT) < 0)
        return 0;
    *position = here;
    return 1;
}

int SFile::RestorePosition(DWORD position) const
{
    // A position of 2 GiB and more is no negative one: the high half says so.
    LONG high = 0;
    return ::SetFilePointer(m_file, static_cast<LONG>(position), &high, FILE_BEGIN) !=
               INVALID_SET_FILE_POINTER ||
           ::GetLastError() == NO_ERROR;
}

long SFile::GetSize(DWORD* low, DWORD* high) const
{
    if (!low)
        return SFileCode::kNullPointer;
    if (!m_file)
        return SFileCode::kNotOpen;
    const DWORD size = ::GetFileSize(m_file, high);
    if (size == INVALID_FILE_SIZE && !high)
        return SFileCode::kSize;
    *low = size;
    return 0;
}

long SFile::GetDateTime(FILETIME* time, int creation) const
{
    if (!time)
        return SFileCode::kNullPointer;
    if (!m_file)
        return GetDateTime(m_fullName, time, creation);
    return ::GetFileTime(m_file, creation ? time : nullptr, nullptr, creation ? nullptr : time)
               ? 0
               : SFileCode::kTime;
}

long SFile::CompareDateTime(FILETIME* time, int creation) const
{
    if (!time)
        return SFileCode::kNullPointer;
    constexpr long kUnknown = -2;
    FILETIME own;
    return GetDateTime(&own, creation) < 0 ? kUnknown : ::CompareFileTime(&own, time);
}

// ---- The named file ----

long SFile::Delete()
{
    Close();
    m_file = nullptr;
    m_access = 0;
    if (!::DeleteFileW(SystemPath(m_fullName)))
        return SFileCode::kDelete;
    Done();
    return 0;
}

long SFile::Rename(const SString& newName)
{
    if (!::MoveFileW(SystemPath(m_fullName), SystemPath(newName)))
        return SFileCode::kRename;
    m_fullName = newName;
    return SplitFilename() ? 0 : SFileCode::kRename;
}

long SFile::Copy(const SString& target, int overwrite) const
{
    return ::CopyFileW(SystemPath(m_fullName), SystemPath(target), !overwrite) ? 0 : SFileCode::kCopy;
}

int SFile::Exists() const
{
    return Exists(m_fullName);
}

int SFile::IsFile() const
{
    return IsFile(m_fullName);
}

int SFile::IsDirectory() const
{
    return IsDirectory(m_fullName);
}

int SFile::IsReserved() const
{
    return IsReserved(m_fullName);
}

int SFile::IsReadOnly() const
{
    return IsReadOnlyIn(AttributesOf(m_fullName));
}

int SFile::CanBeWritten() const
{
    if (m_file) {
        Flush();
        return !IsReadOnly() && (m_access & GENERIC_WRITE) != 0;
    }
    if (IsReadOnly())
        return 0;
    const HANDLE file = ::CreateFileW(SystemPath(m_fullName), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                      nullptr, OPEN_ALWAYS, kWriteTestFlags, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 0;
    ::FlushFileBuffers(file);
    return ::CloseHandle(file) != 0;
}

int SFile::GetAttributes(DWORD* attributes) const
{
    const DWORD now = AttributesOf(m_fullName);
    if (!attributes || now == INVALID_FILE_ATTRIBUTES)
        return 0;
    *attributes = now;
    return 1;
}

int SFile::SetAttributes(DWORD attributes) const
{
    return ::SetFileAttributesW(SystemPath(m_fullName), attributes) != 0;
}

// ---- A search ----

long SFile::TakeFoundName()
{
    const SString found(m_found.cFileName);
    if (found.IsEmpty())
        return SFileCode::kName;
    if (found == L"." || found == L"..") {
        m_name = found;
        m_extension.Empty();
    } else {
        SplitName(found, m_name, m_extension);
    }
    JoinParts(); // an empty directory is the root here, not the current one
    return 0;
}

long SFile::FindFirst(const SString& pattern)
{
    const long closed = FindClose();
    if (closed < 0)
        return closed;
    m_fullName = pattern;
    if (!SplitFilename())
        return SFileCode::kName;
    const HANDLE find = ::FindFirstFileW(SystemPath(m_fullName), &m_found);
    if (find == INVALID_HANDLE_VALUE)
        return SFileCode::kMissing;
    m_find = find;
    return TakeFoundName();
}

long SFile::FindNext()
{
    if (!m_find || !::FindNextFileW(m_find, &m_found))
        return SFileCode::kNoMoreFiles;
    return TakeFoundName();
}

long SFile::FindClose()
{
    if (m_find && !::FindClose(m_find))
        return SFileCode::kFindClose;
    m_find = nullptr;
    return 0;
}

// ---- Files by path ----

long SFile::Delete(const SString& path)
{
    return ::DeleteFileW(SystemPath(path)) ? 0 : SFileCode::kDelete;
}

int SFile::Exists(const SString& path)
{
    return AttributesOf(path) != INVALID_FILE_ATTRIBUTES;
}

int SFile::IsFile(const SString& path)
{
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

int SFile::IsDirectory(const SString& path)
{
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int SFile::IsReserved(const SString& path)
{
    if (path.IsEmpty())
        return 0;
    const SystemPath system(path);
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (::GetFileAttributesExW(system, GetFileExInfoStandard, &data))
        return (data.dwFileAttributes & FILE_ATTRIBUTE_SYSTEM) != 0;
    return ::GetFileAttributesW(system) != INVALID_FILE_ATTRIBUTES; // as for the names of devices
}

long SFile::GetSize(const SString& path, DWORD* low, DWORD* high)
{
    if (!low)
        return SFileCode::kNullPointer;
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(SystemPath(path), GetFileExInfoStandard, &data))
        return SFileCode::kSize;
    *low = data.nFileSizeLow;
    if (high)
        *high = data.nFileSizeHigh;
    return 0;
}

long SFile::GetDateTime(const SString& path, FILETIME* time, int creation)
{
    if (!time)
        return SFileCode::kNullPointer;
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(SystemPath(path), GetFileExInfoStandard, &data))
        return SFileCode::kTime;
    *time = creation ? data.ftCreationTime : data.ftLastWriteTime;
    return 0;
}
