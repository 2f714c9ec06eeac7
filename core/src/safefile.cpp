// safefile.cpp: a file that gets its new content whole or keeps the old one.
//
// The temporary file is open for this object alone until it is renamed, so one that can be deleted belongs to nobody any more.
#include "safefile.h"

#include "sfile.h"
#include "systempath.h"

#include <atomic>

namespace {

constexpr wchar_t kMark[] = L".~";
constexpr wchar_t kExtension[] = L".tmp";
constexpr DWORD kOwnAttributes = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                 FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
std::atomic<unsigned long> g_number{ 0 };

SString TemporaryName(const SString& path)
{
    return SString().Format(L"%s%s%lu-%lu%s", path, kMark, ::GetCurrentProcessId(), ++g_number, kExtension);
}

// Deletes what earlier writers of the file left behind.
void Sweep(const SString& path)
{
    WIN32_FIND_DATAW found;
    const HANDLE find = ::FindFirstFileW(SystemPath(SString::Concat(path, kMark, L"*", kExtension)), &found);
    if (find == INVALID_HANDLE_VALUE)
        return;
    const SString folder = path.Left(path.ReverseFindPos(L'\\') + 1);
    do {
        ::DeleteFileW(SystemPath(folder + found.cFileName));
    } while (::FindNextFileW(find, &found));
    ::FindClose(find);
}

} // namespace

SSafeFile::~SSafeFile()
{
    Cancel();
}

long SSafeFile::Begin(const SString& path)
{
    Cancel();
    SFile name;
    const long named = name.Init(path);
    if (named < 0) {
        ::SetLastError(ERROR_INVALID_NAME);
        return named;
    }
    m_path = FullPath(path); // the current directory may change before Commit
    Sweep(m_path);
    m_temporary = TemporaryName(m_path);
    m_state = 0;
    const HANDLE file = ::CreateFileW(SystemPath(m_temporary), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return SFileCode::kCreate;
    m_file = file;
    return 0;
}

long SSafeFile::Write(const void* bytes, size_t count)
{
    if (!m_file)
        return SFileCode::kNotOpen;
    if (!bytes && count > 0)
        return SFileCode::kNullPointer;
    constexpr size_t kPiece = 1 << 24; // networks refuse larger ones
    const char* at = static_cast<const char*>(bytes);
    while (count > 0 && m_state >= 0) {
        const DWORD piece = static_cast<DWORD>(count < kPiece ? count : kPiece);
        DWORD written = 0;
        ::SetLastError(ERROR_DISK_FULL); // a disk gives no other reason to take a part
        if (!::WriteFile(m_file, at, piece, &written, nullptr) || written != piece) {
            m_state = SFileCode::kWrite;
            m_error = ::GetLastError();
        }
        at += piece;
        count -= piece;
    }
    return m_state;
}

long SSafeFile::Commit()
{
    if (!m_file)
        return SFileCode::kNotOpen;
    if (m_state >= 0 && !::FlushFileBuffers(m_file)) {
        m_state = SFileCode::kWrite;
        m_error = ::GetLastError();
    }
    if (m_state < 0) {
        const long failure = m_state;
        Cancel();
        ::SetLastError(m_error);
        return failure;
    }
    // A file that is open for one only cannot be renamed by name.
    const BOOL closed = ::CloseHandle(m_file);
    const DWORD whyClosed = ::GetLastError();
    m_file = nullptr;
    const SystemPath temporary(m_temporary), target(m_path);
    const DWORD attributes = ::GetFileAttributesW(target);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & kOwnAttributes) != 0)
        ::SetFileAttributesW(temporary, attributes & kOwnAttributes);
    if (closed && ::MoveFileExW(temporary, target, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        m_temporary.Empty();
        return 0;
    }
    const DWORD why = closed ? ::GetLastError() : whyClosed;
    Cancel();
    ::SetLastError(why);
    return closed ? SFileCode::kRename : SFileCode::kWrite;
}

void SSafeFile::Cancel() noexcept
{
    const DWORD error = ::GetLastError();
    if (m_file)
        ::CloseHandle(m_file);
    m_file = nullptr;
    m_state = 0;
    if (!m_temporary.IsEmpty()) {
        ::DeleteFileW(SystemPath(m_temporary));
        m_temporary.Empty();
    }
    ::SetLastError(error);
}

long SSafeFile::Replace(const SString& path, const void* bytes, size_t count)
{
    SSafeFile file;
    const long begun = file.Begin(path);
    if (begun < 0)
        return begun;
    const long written = file.Write(bytes, count);
    return written < 0 ? written : file.Commit();
}
