// sfilestream.cpp: streams over files.
#include "sfilestream.h"

#include "sioexcept.h"
#include "systempath.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

[[noreturn]] void ThrowFor(const char* function, unsigned long line, const SString& path, DWORD error)
{
    if (error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL)
        throw SEIODiskFullException(function, __FILE__, line);
    SString why;
    if (!GetResultFormat(HRESULT_FROM_WIN32(error), &why))
        why.Format(L"error %lu", error);
    throw SEIOException(function, __FILE__, line, static_cast<long>(error),
                        SString::Concat(path, L": ", why));
}

HANDLE OpenFile(const SString& path, DWORD access, DWORD share, DWORD disposition)
{
    const HANDLE file =
        ::CreateFileW(SystemPath(path), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file == INVALID_HANDLE_VALUE ? nullptr : file;
}

void CloseFile(HANDLE& file)
{
    if (file)
        ::CloseHandle(file);
    file = nullptr;
}

} // namespace

// ---- SInputFile ----

SInputFile::SInputFile(const SString& path)
    : m_path(path),
      m_file(
          OpenFile(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING))
{
    if (!m_file)
        ThrowFor(S_FUNCTION, __LINE__, path, ::GetLastError());
}

SInputFile::~SInputFile()
{
    CloseFile(m_file);
}

unsigned long SInputFile::Read(void* data, unsigned long bytes, unsigned long)
{
    // A pipe gives what it has; only 0 is the end.
    unsigned long done = 0;
    while (m_file && done < bytes) {
        DWORD got = 0;
        if (!::ReadFile(m_file, static_cast<char*>(data) + done, bytes - done, &got, nullptr)) {
            const DWORD error = ::GetLastError();
            if (error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF)
                break;
            ThrowFor(S_FUNCTION, __LINE__, m_path, error);
        }
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

unsigned long SInputFile::Skip(unsigned long bytes)
{
    const unsigned long left = Available();
    if (left == kUnknown)
        return SInputStream::Skip(bytes);
    const unsigned long passed = std::min(bytes, left);
    LARGE_INTEGER move;
    move.QuadPart = passed;
    if (m_file && !::SetFilePointerEx(m_file, move, nullptr, FILE_CURRENT))
        ThrowFor(S_FUNCTION, __LINE__, m_path, ::GetLastError());
    return passed;
}

unsigned long SInputFile::Available()
{
    if (!m_file)
        return 0;
    LARGE_INTEGER size, here, none = {};
    if (::GetFileType(m_file) != FILE_TYPE_DISK || !::GetFileSizeEx(m_file, &size) ||
        !::SetFilePointerEx(m_file, none, &here, FILE_CURRENT))
        return kUnknown;
    const LONGLONG left = size.QuadPart - here.QuadPart;
    return left < 0                                 ? 0
           : left < static_cast<LONGLONG>(kUnknown) ? static_cast<unsigned long>(left)
                                                    : kUnknown;
}

void SInputFile::Close()
{
    CloseFile(m_file);
}

// ---- SOutputFile ----

SOutputFile::SOutputFile(const SString& path, Mode mode)
    : m_path(path),
      m_file(OpenFile(path, mode == kAppend ? FILE_APPEND_DATA : GENERIC_WRITE, FILE_SHARE_READ,
                      mode == kAppend ? OPEN_ALWAYS : CREATE_ALWAYS))
{
    if (!m_file)
        ThrowFor(S_FUNCTION, __LINE__, path, ::GetLastError());
}

SOutputFile::~SOutputFile()
{
    CloseFile(m_file);
}

unsigned long SOutputFile::Write(const void* data, unsigned long bytes, unsigned long)
{
    DWORD written = 0;
    if (!::WriteFile(m_file, data, bytes, &written, nullptr))
        ThrowFor(S_FUNCTION, __LINE__, m_path, ::GetLastError());
    if (written != bytes) // a disk gives no other reason to take a part
        ThrowFor(S_FUNCTION, __LINE__, m_path, ERROR_DISK_FULL);
    return bytes;
}

void SOutputFile::Flush()
{
    if (!::FlushFileBuffers(m_file))
        ThrowFor(S_FUNCTION, __LINE__, m_path, ::GetLastError());
}

void SOutputFile::Close()
{
    const HANDLE file = std::exchange(m_file, nullptr);
    if (file && !::CloseHandle(file))
        ThrowFor(S_FUNCTION, __LINE__, m_path, ::GetLastError());
}

// ---- SOutputFileOnChange ----

// What is opened here for reading must let itself be replaced.
SOutputFileOnChange::SOutputFileOnChange(const SString& path)
    : m_path(path),
      m_old(OpenFile(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                     OPEN_EXISTING)),
      m_same(0),
      m_changed(false),
      m_open(true),
      m_failure(0)
{
    if (!m_old)
        Begin();
}

SOutputFileOnChange::~SOutputFileOnChange()
{
    CloseFile(m_old);
}

// Throws unless a step was done; from then on for ever, since a part is missing.
void SOutputFileOnChange::Require(bool done)
{
    if (!done && m_failure == 0)
        m_failure = ::GetLastError() != 0 ? ::GetLastError() : ERROR_WRITE_FAULT;
    if (m_failure == 0)
        return;
    m_new.Cancel();
    ThrowFor(S_FUNCTION, __LINE__, m_path, m_failure);
}

void SOutputFileOnChange::WriteNew(const void* data, unsigned long bytes)
{
    Require(m_new.Write(data, bytes) >= 0);
}

// Begins the new file with what was the same so far.
void SOutputFileOnChange::Begin()
{
    Require(m_new.Begin(m_path) >= 0);
    m_changed = true;
    const LARGE_INTEGER start = {};
    Require(m_same == 0 || ::SetFilePointerEx(m_old, start, nullptr, FILE_BEGIN));
    char piece[4096];
    while (m_same > 0) {
        const DWORD wanted = static_cast<DWORD>(std::min<unsigned long long>(m_same, sizeof piece));
        DWORD got = 0;
        ::SetLastError(ERROR_HANDLE_EOF); // which a file that has become shorter does not say
        Require(::ReadFile(m_old, piece, wanted, &got, nullptr) && got == wanted);
        WriteNew(piece, got);
        m_same -= got;
    }
    CloseFile(m_old);
}

unsigned long SOutputFileOnChange::Write(const void* data, unsigned long bytes, unsigned long)
{
    Require(true);
    const char* at = static_cast<const char*>(data);
    unsigned long left = bytes;
    char piece[4096];
    while (m_old && left > 0) {
        const DWORD wanted = std::min<DWORD>(left, sizeof piece);
        DWORD got = 0;
        if (!::ReadFile(m_old, piece, wanted, &got, nullptr) || got != wanted ||
            std::memcmp(piece, at, wanted) != 0) {
            Begin();
        } else {
            m_same += wanted;
            at += wanted;
            left -= wanted;
        }
    }
    if (left > 0)
        WriteNew(at, left);
    return bytes;
}

void SOutputFileOnChange::Close()
{
    if (!std::exchange(m_open, false))
        return;
    char one;
    DWORD got = 0;
    if (m_failure == 0 && m_old && ::ReadFile(m_old, &one, 1, &got, nullptr) && got == 1)
        Begin(); // the old file goes on
    CloseFile(m_old);
    Require(true);
    Require(!m_changed || m_new.Commit() >= 0);
}
