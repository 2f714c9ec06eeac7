// crashlog.cpp: the exception log.
//
// It is written when the heap may be broken and when locks may be held for ever, so a record is put together in a static
// buffer that one thread at a time owns, and what cannot be had in time is left out.
#include "crashlog.h"

#include "crashrecord.h"
#include "systemlibrary.h"
#include "utf8.h"

#include <atomic>
#include <cstdlib>
#include <cwchar>
#include <type_traits>

namespace {

constexpr wchar_t kFolder[] = L"\\CVCore16";
constexpr wchar_t kFile[] = L"\\exceptions.log";
constexpr wchar_t kRotated[] = L".1";
constexpr LONGLONG kLargestLog = 1 << 20;
constexpr int kLongestPath = 1000;
constexpr int kPathRoom = kLongestPath + 40; // and what is put behind a path
constexpr int kRecordRoom = 1 << 15;
constexpr DWORD kPatienceMs = 2000;

typedef FixedText<kPathRoom> PathText;

// ---- One record at a time ----

std::atomic<DWORD> g_writer{ 0 }; // the thread that puts a record together
char g_record[kRecordRoom];       // its bytes
HANDLE g_openLog;                 // what it holds open meanwhile
wchar_t g_chosenPath[kLongestPath + 1];

// Holds g_writer, unless this thread has it already or another one does not give it back.
class WriterTurn {
public:
    WriterTurn() noexcept
    {
        const DWORD self = ::GetCurrentThreadId();
        // By the clock: one sleep may last as long as fifteen.
        for (const DWORD begun = ::GetTickCount(); ::GetTickCount() - begun < kPatienceMs;) {
            DWORD holder = 0;
            m_mine = g_writer.compare_exchange_strong(holder, self);
            if (m_mine || holder == self)
                return;
            ::Sleep(1);
        }
    }
    ~WriterTurn()
    {
        if (m_mine)
            g_writer.store(0);
    }
    WriterTurn(const WriterTurn&) = delete;
    WriterTurn& operator=(const WriterTurn&) = delete;
    explicit operator bool() const { return m_mine; }

private:
    bool m_mine = false;
};

// Keeps the last error as it was: a log must not change what its caller is about to look at.
class LastErrorKeeper {
public:
    LastErrorKeeper() noexcept : m_error(::GetLastError()) {}
    ~LastErrorKeeper() { ::SetLastError(m_error); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

private:
    DWORD m_error;
};

// UTF-8 in a given room; line feeds become CRLF, half surrogate pairs U+FFFD. What does not fit is cut between characters.
class RecordBytes {
public:
    static constexpr int kMostPerUnit = 3;

    RecordBytes(char* bytes, size_t room) : m_bytes(bytes), m_room(room) {}

    RecordBytes& operator<<(const wchar_t* text)
    {
        for (; *text != L'\0'; ++text) {
            if (*text == L'\n' && m_last != L'\r')
                Put(L'\r');
            m_last = *text;
            const bool pair = (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
            if (pair) {
                Put(0x10000u + ((text[0] & 0x3FFu) << 10) + (text[1] & 0x3FFu));
                ++text;
            } else {
                Put((*text & 0xF800) == 0xD800 ? 0xFFFDu : *text);
            }
        }
        return *this;
    }
    void EndLine()
    {
        if (m_last != L'\n')
            *this << L"\n";
    }

    const char* Bytes() const { return m_bytes; }
    DWORD Size() const { return static_cast<DWORD>(m_size); }

private:
    void Put(unsigned c)
    {
        char unit[kMostUtf8];
        const size_t length = static_cast<size_t>(PutUtf8(c, unit));
        if (m_size + length > m_room) {
            m_room = m_size; // nothing behind the cut
            return;
        }
        for (size_t i = 0; i < length; ++i)
            m_bytes[m_size++] = unit[i];
    }

    char* m_bytes;
    size_t m_room;
    size_t m_size = 0;
    wchar_t m_last = L'\n';
};

// ---- Where the log is ----

// The usual folder, and the log in it.
void UsualPath(PathText& folder, PathText& path)
{
    wchar_t base[kLongestPath - 40];
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

void LogPath(PathText& path, bool makeFolder)
{
    if (g_chosenPath[0] != L'\0') {
        path << g_chosenPath;
        return;
    }
    PathText folder;
    UsualPath(folder, path);
    if (makeFolder)
        ::CreateDirectoryW(folder.Text(), nullptr);
}

// ---- Appending ----

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
    bool Write(const RecordBytes& record) const
    {
        DWORD written = 0;
        return ::WriteFile(m_file, record.Bytes(), record.Size(), &written, nullptr) &&
               written == record.Size();
    }

private:
    HANDLE m_file;
    OVERLAPPED m_place;
    bool m_locked = false;
};

int AppendToLog(const RecordBytes& record)
{
    PathText path;
    LogPath(path, true);
    {
        const LogFile log(path.Text());
        if (!log.IsOpen())
            return 0;
        const LONGLONG size = log.Size();
        if (size == 0 || size + record.Size() <= kLargestLog)
            return log.Write(record);
        // Renamed while it is open and locked: who waits for the lock writes into the renamed file, and nothing is lost.
        PathText old;
        old << path.Text() << kRotated;
        if (!::MoveFileExW(path.Text(), old.Text(), MOVEFILE_REPLACE_EXISTING))
            return log.Write(record);
    }
    const LogFile log(path.Text());
    return log.IsOpen() && log.Write(record);
}

// ---- Parts of a record ----

void AddHeader(RecordBytes& record)
{
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    wchar_t program[64];
    FindModulePlace(::GetModuleHandleW(nullptr), program, static_cast<int>(std::size(program)));
    FixedText<200> line;
    line << L"==== ";
    line.Number(now.wYear, 4) << L"-";
    line.Number(now.wMonth, 2) << L"-";
    line.Number(now.wDay, 2) << L" ";
    line.Number(now.wHour, 2) << L":";
    line.Number(now.wMinute, 2) << L":";
    line.Number(now.wSecond, 2) << L".";
    line.Number(now.wMilliseconds, 3) << L"Z, process ";
    line.Number(::GetCurrentProcessId()) << L", thread ";
    line.Number(::GetCurrentThreadId()) << L", " << program << L"\n";
    record << line.Text();
}

void AddFrames(RecordBytes& record, const StackWalk& walk, int most)
{
    for (int i = 0; i < walk.count && i < most; ++i) {
        wchar_t module[SMachineFault::kModuleRoom];
        const UINT_PTR offset = FindModulePlace(walk.frames[i], module, static_cast<int>(std::size(module)));
        FaultText place;
        FormatPlace(module, offset, place);
        record << (i < walk.scanned ? L"  " : L"? ") << place.Text() << L"\n";
    }
}

// ---- Dumps ----

// As dbghelp.h declares them; the header's library would be linked for nothing.
struct DumpException {
    DWORD thread;
    EXCEPTION_POINTERS* pointers;
    BOOL clientPointers;
} __attribute__((packed, aligned(4)));
typedef BOOL(WINAPI* WriteDump)(HANDLE process, DWORD id, HANDLE file, int type, DumpException* exception,
                                void* streams, void* callback);

constexpr int kUsefulDump = 0x1 | 0x40; // data segments and what the stacks point to
std::atomic<WriteDump> g_writeDump{ nullptr };
std::atomic<int> g_wantsDumps{ 0 };
std::atomic<unsigned> g_dumps{ 0 };

void AddDump(RecordBytes& record, EXCEPTION_POINTERS* pointers)
{
    const WriteDump write = g_writeDump.load();
    if (!g_wantsDumps.load() || !write)
        return;
    PathText path;
    LogPath(path, true);
    path << L".";
    path.Number(::GetCurrentProcessId()) << L"-";
    path.Number(++g_dumps) << L".dmp";
    const HANDLE file =
        ::CreateFileW(path.Text(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    DumpException exception = { ::GetCurrentThreadId(), pointers, FALSE };
    const BOOL written = write(::GetCurrentProcess(), ::GetCurrentProcessId(), file, kUsefulDump,
                               pointers ? &exception : nullptr, nullptr, nullptr);
    ::CloseHandle(file);
    if (written)
        record << L"dump " << path.Text() << L"\n";
    else
        ::DeleteFileW(path.Text());
}

// Room for a record of a long text; the static buffer serves where the heap has none.
class RecordRoom {
public:
    explicit RecordRoom(size_t bytes)
    {
        if (bytes > sizeof g_record)
            m_large = static_cast<char*>(std::malloc(bytes));
        m_size = m_large ? bytes : sizeof g_record;
    }
    ~RecordRoom() { std::free(m_large); }
    RecordRoom(const RecordRoom&) = delete;
    RecordRoom& operator=(const RecordRoom&) = delete;
    RecordBytes Bytes() const { return RecordBytes(m_large ? m_large : g_record, m_size); }

private:
    char* m_large = nullptr;
    size_t m_size;
};

} // namespace

int AppendToExceptionLogPrefixed(const wchar_t* text, const wchar_t* prefix, int frames) noexcept
{
    const LastErrorKeeper keeper;
    const WriterTurn turn;
    if (!turn)
        return 0;
    text = text ? text : L"";
    prefix = prefix ? prefix : L"";
    constexpr size_t kRest = 8192; // header and frames
    const RecordRoom room((std::wcslen(text) + std::wcslen(prefix)) * RecordBytes::kMostPerUnit + kRest);
    RecordBytes record = room.Bytes();
    AddHeader(record);
    record << prefix << text;
    record.EndLine();
    if (frames > 0) {
        StackWalk walk;
        WalkStack(walk, __builtin_return_address(0), nullptr);
        AddFrames(record, walk, frames);
    }
    return AppendToLog(record);
}

int SSetExceptionLog(const wchar_t* path) noexcept
{
    path = path ? path : L"";
    const size_t length = std::wcslen(path);
    if (length > kLongestPath)
        return 0;
    const WriterTurn turn;
    if (!turn)
        return 0;
    std::wmemcpy(g_chosenPath, path, length + 1);
    return 1;
}

SString SExceptionLogPath()
{
    PathText path;
    LogPath(path, false);
    return SString(path.Text());
}

int SSetExceptionDumps(int on) noexcept
{
    if (on && !g_writeDump.load()) {
        // Now, and for good: it must be there when the heap no longer is.
        const WriteDump found =
            FindInSystem<std::remove_pointer_t<WriteDump>>(L"dbghelp.dll", "MiniDumpWriteDump");
        if (!found)
            return 0;
        g_writeDump.store(found);
    }
    g_wantsDumps.store(on != 0);
    return 1;
}

// ---- For the guards and the hook ----

void LogFault(const wchar_t* headline, const SMachineFault& fault, const StackWalk& walk,
              EXCEPTION_POINTERS* pointers) noexcept
{
    const LastErrorKeeper keeper;
    const WriterTurn turn;
    if (!turn)
        return;
    RecordBytes record(g_record, sizeof g_record);
    FaultText text, place;
    FormatFault(fault, text);
    FormatPlace(fault.module, fault.offset, place);
    AddHeader(record);
    record << headline << L"\n" << text.Text() << L"\nat " << place.Text() << L"\n";
    AddFrames(record, walk, StackWalk::kMost);
    AddDump(record, pointers);
    AppendToLog(record);
}

void AbandonExceptionLog() noexcept
{
    if (g_writer.load() != ::GetCurrentThreadId())
        return;
    // With the handle goes its lock, which would hold up every later record.
    if (g_openLog)
        ::CloseHandle(g_openLog);
    g_openLog = nullptr;
    g_writer.store(0);
}
