// logfile.cpp: the exception log's file, and the right to write into it.
#include "logfile.h"

#include <cwchar>
#include <iterator>

namespace {

constexpr wchar_t kFolder[] = L"\\CVCore16";
constexpr wchar_t kFile[] = L"\\exceptions.log";
constexpr wchar_t kRotated[] = L".1";
constexpr LONGLONG kLargestLog = 1 << 20;
constexpr DWORD kPatienceMs = 2000;

std::atomic<DWORD> g_writer{ 0 }; // the thread whose turn it is
const void* g_turn;               // its LogTurn
HANDLE g_openLog;                 // what it holds open meanwhile
wchar_t g_chosenPath[kLongestLogPath + 1];

bool HasEnded(DWORD thread)
{
    const HANDLE handle = ::OpenThread(SYNCHRONIZE, FALSE, thread);
    if (!handle)
        return ::GetLastError() == ERROR_INVALID_PARAMETER; // there is no such thread
    const bool ended = ::WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
    ::CloseHandle(handle);
    return ended;
}

// With the handle goes its lock, which would hold up every later record.
void CloseLeftLog()
{
    if (g_openLog)
        ::CloseHandle(g_openLog);
    g_openLog = nullptr;
}

} // namespace

LogTurn::LogTurn() noexcept
{
    const DWORD self = ::GetCurrentThreadId();
    // A turn in a frame that lies below this one has been left: the system swallowed a fault in the middle of a record.
    if (g_writer.load() == self && reinterpret_cast<UINT_PTR>(g_turn) < reinterpret_cast<UINT_PTR>(this))
        AbandonLogTurn();
    // By the clock: one sleep may last as long as fifteen.
    for (const DWORD begun = ::GetTickCount(); !m_mine && ::GetTickCount() - begun < kPatienceMs;) {
        DWORD holder = 0;
        m_mine = g_writer.compare_exchange_strong(holder, self);
        if (holder == self)
            return;
        if (!m_mine && HasEnded(holder) && g_writer.compare_exchange_strong(holder, self)) {
            m_mine = true;
            CloseLeftLog();
        }
        if (!m_mine)
            ::Sleep(1);
    }
    if (m_mine)
        g_turn = this;
}

LogTurn::~LogTurn()
{
    if (m_mine)
        g_writer.store(0);
}

void AbandonLogTurn() noexcept
{
    if (g_writer.load() != ::GetCurrentThreadId())
        return;
    CloseLeftLog();
    g_writer.store(0);
}

// ---- Where the log is ----

namespace {

// The usual folder, and the log in it.
void UsualPath(LogPathText& folder, LogPathText& path)
{
    wchar_t base[kLongestLogPath - 40];
    const DWORD room = static_cast<DWORD>(std::size(base));
    DWORD length = ::GetEnvironmentVariableW(L"LOCALAPPDATA", base, room);
    if (length == 0 || length >= room) {
        length = ::GetTempPathW(room, base);
        if (length == 0 || length >= room)
            base[length = 0] = L'\0';
        else if (base[length - 1] == L'\\')
            base[length - 1] = L'\0';
    }
    folder << base << kFolder;
    path << folder.Text() << kFile;
}

} // namespace

void GetLogPath(LogPathText& path, bool makeFolder) noexcept
{
    if (g_chosenPath[0] != L'\0') {
        path << g_chosenPath;
        return;
    }
    LogPathText folder;
    UsualPath(folder, path);
    if (makeFolder)
        ::CreateDirectoryW(folder.Text(), nullptr);
}

void ChooseLogPath(const wchar_t* path) noexcept
{
    std::wcscpy(g_chosenPath, path);
}

// ---- Appending ----

namespace {

HANDLE OpenLog(const wchar_t* path)
{
    return ::CreateFileW(path, FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

// The lock is on a byte far behind the end, so that it keeps no reader out. A process that holds it for too long is not
// waited for: two records that run into each other are better than none.
bool LockLog(HANDLE file, OVERLAPPED& place)
{
    place = OVERLAPPED();
    place.OffsetHigh = 0x7FFFFFFF;
    for (const DWORD begun = ::GetTickCount(); ::GetTickCount() - begun < kPatienceMs / 4;) {
        if (::LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place))
            return true;
        ::Sleep(1);
    }
    return false;
}

class LogFile {
public:
    explicit LogFile(const wchar_t* path) : m_file(OpenLog(path))
    {
        if (IsOpen()) {
            g_openLog = m_file;
            m_locked = LockLog(m_file, m_place);
        }
    }
    ~LogFile()
    {
        if (!IsOpen())
            return;
        if (m_locked)
            ::UnlockFileEx(m_file, 0, 1, 0, &m_place);
        g_openLog = nullptr;
        ::CloseHandle(m_file);
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    bool IsOpen() const { return m_file != INVALID_HANDLE_VALUE; }
    LONGLONG Size() const
    {
        LARGE_INTEGER size;
        return ::GetFileSizeEx(m_file, &size) ? size.QuadPart : 0;
    }
    bool Write(const char* bytes, unsigned long size) const
    {
        DWORD written = 0;
        return ::WriteFile(m_file, bytes, size, &written, nullptr) && written == size;
    }

private:
    HANDLE m_file;
    OVERLAPPED m_place;
    bool m_locked = false;
};

} // namespace

bool AppendToLogFile(const char* bytes, unsigned long size) noexcept
{
    LogPathText path;
    GetLogPath(path, true);
    {
        const LogFile log(path.Text());
        if (!log.IsOpen())
            return false;
        const LONGLONG before = log.Size();
        if (before == 0 || before + size <= kLargestLog)
            return log.Write(bytes, size);
        // Renamed while it is open and locked: who waits for the lock writes into the renamed file, and nothing is lost.
        LogPathText old;
        old << path.Text() << kRotated;
        if (!::MoveFileExW(path.Text(), old.Text(), MOVEFILE_REPLACE_EXISTING))
            return log.Write(bytes, size);
    }
    const LogFile log(path.Text());
    return log.IsOpen() && log.Write(bytes, size);
}
