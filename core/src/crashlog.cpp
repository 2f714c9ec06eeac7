// crashlog.cpp: the records of the exception log.
//
// A record is put together in a static buffer that one thread at a time owns: the heap may be what broke.
#include "crashlog.h"

#include "crashdump.h"
#include "crashrecord.h"
#include "logfile.h"
#include "modulename.h"
#include "utf8.h"

#include <cstdlib>
#include <cwchar>

namespace {

constexpr int kRecordRoom = 1 << 15;
char g_record[kRecordRoom]; // whoever has the turn writes here

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

// ---- Parts of a record ----

void AddHeader(RecordBytes& record)
{
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    FixedText<400> line;
    line << L"==== ";
    line.Number(now.wYear, 4) << L"-";
    line.Number(now.wMonth, 2) << L"-";
    line.Number(now.wDay, 2) << L" ";
    line.Number(now.wHour, 2) << L":";
    line.Number(now.wMinute, 2) << L":";
    line.Number(now.wSecond, 2) << L".";
    line.Number(now.wMilliseconds, 3) << L"Z, process ";
    line.Number(::GetCurrentProcessId()) << L", thread ";
    line.Number(::GetCurrentThreadId()) << L", " << ProgramName() << L"\n";
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
    const LogTurn turn;
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
    return AppendToLogFile(record.Bytes(), record.Size());
}

int SSetExceptionLog(const wchar_t* path) noexcept
{
    path = path ? path : L"";
    const size_t length = std::wcslen(path);
    if (length > kLongestLogPath)
        return 0;
    const LogTurn turn;
    if (!turn)
        return 0;
    ChooseLogPath(path);
    return 1;
}

SString SExceptionLogPath()
{
    LogPathText path;
    {
        const LogTurn turn; // while another thread chooses one, its text is not whole
        GetLogPath(path, false);
    }
    return SString(path.Text());
}

// ---- For the guards and the hook ----

void LogFault(const wchar_t* headline, const SMachineFault& fault, const StackWalk& walk,
              EXCEPTION_POINTERS* pointers) noexcept
{
    const LastErrorKeeper keeper;
    const LogTurn turn;
    if (!turn)
        return;
    RecordBytes record(g_record, sizeof g_record);
    FaultText text, place;
    FormatFault(fault, text);
    FormatPlace(fault.module, fault.offset, place);
    AddHeader(record);
    record << headline << L"\n" << text.Text() << L"\nat " << place.Text() << L"\n";
    AddFrames(record, walk, StackWalk::kMost);
    // The record comes first, for the dump may fail in ways that end the process. So it tells what is going to be.
    LogPathText dump;
    const bool wantsDump = WantsDumps();
    if (wantsDump) {
        NextDumpPath(dump);
        record << L"dump " << dump.Text() << L"\n";
    }
    AppendToLogFile(record.Bytes(), record.Size());
    if (wantsDump && !WriteDumpFile(dump.Text(), pointers)) {
        RecordBytes note(g_record, sizeof g_record);
        AddHeader(note);
        note << L"no dump: it could not be written to " << dump.Text() << L"\n";
        AppendToLogFile(note.Bytes(), note.Size());
    }
}
