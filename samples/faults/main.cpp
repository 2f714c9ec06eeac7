// faults: what becomes of problems in data, of exceptions and of machine faults.
//
//     faults FILE
//
// Looks for lines of the file that are not UTF-8, then does what a program should not, and shows the log that this left.
// Ends with 0, or with 2 and one line on standard error when the file cannot be read.
#include "../console.h"

#include "crash.h"
#include "crashlog.h"
#include "describe.h"
#include "errctx.h"
#include "sioexcept.h"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

constexpr int kDone = 0, kBadInput = 2;
constexpr int kMostProblems = 3;

/// Prints what is logged into it.
class ConsoleLog : public SDErrorContext {
public:
    SString RawMessageOutput(SString text) override
    {
        Print(stdout, L"    " + text + L"\n");
        return text;
    }
};

/// Says when it goes.
class Guest {
public:
    explicit Guest(const wchar_t* name) : m_name(name) {}
    ~Guest() { Print(stdout, SString::Concat(L"    ", m_name, L" leaves\n")); }

private:
    const wchar_t* m_name;
};

std::string ReadBytes(const SString& path)
{
    const SBlob blob = ReadWhole(path);
    const void* const bytes = blob.LockForRead();
    std::string copy(bytes ? static_cast<const char*>(bytes) : "", blob.GetSize());
    blob.Unlock();
    return copy;
}

bool IsUtf8(const char* bytes, int count)
{
    return count == 0 || ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes, count, nullptr, 0) > 0;
}

/// Countable problems: the caller gets them all and decides. Too many of them are a failure of another kind.
void CheckLines(const std::string& bytes, SDErrorContext& log)
{
    int number = 0;
    for (size_t start = 0; start < bytes.size();) {
        size_t end = bytes.find('\n', start);
        end = end == std::string::npos ? bytes.size() : end;
        log.SetLineNo(++number);
        if (!IsUtf8(bytes.data() + start, static_cast<int>(end - start))) {
            log.LogError(L"%u bytes that are not UTF-8", static_cast<unsigned>(end - start));
            if (log.ErrorCount() == kMostProblems) {
                log.LogWarning(L"the rest is not looked at");
                throw SEEncodingException(S_HERE, L"this is no UTF-8 text");
            }
        }
        start = end + 1;
    }
}

volatile int g_zero = 0;
int* volatile g_nowhere = nullptr;

int WriteNowhere()
{
    const Guest guest(L"the guest of WriteNowhere");
    return *g_nowhere = 1;
}

int DivideByZero()
{
    const Guest guest(L"the guest of DivideByZero");
    return 1000 / g_zero;
}

void Survive(const wchar_t* what, int (*risk)())
{
    Print(stdout, SString::Concat(L"\n", what, L"\n"));
    std::fflush(stdout); // what follows may be the program's end
    try {
        SRunGuarded(risk);
    }
    catch (const SException& e) {
        Print(stdout, SString::Concat(L"    survived: ", e.GetFullText(), L"\n"));
    }
}

SString TemporaryLog()
{
    wchar_t folder[MAX_PATH + 1], path[MAX_PATH + 1];
    if (::GetTempPathW(MAX_PATH, folder) == 0 || ::GetTempFileNameW(folder, L"flt", 0, path) == 0)
        throw SECOMException(S_HERE, HRESULT_FROM_WIN32(::GetLastError()));
    return SString(path);
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 2) {
        Print(stderr, L"faults: usage: faults FILE\n");
        return kBadInput;
    }
    const SString path(arguments[1]);
    std::string bytes;
    try {
        bytes = ReadBytes(path);
    }
    catch (const BadInput& bad) {
        Print(stderr, SString::Concat(L"faults: ", bad.message, L"\n"));
        return kBadInput;
    }
    const SString logPath = TemporaryLog();
    SSetExceptionLog(logPath);
    VectoredExceptionHook::Install();

    Print(stdout, L"Problems in the data are counted:\n");
    ConsoleLog log;
    log.SetContextText(path.GetPointerAt(path.ReverseFindPos(L'\\') + 1));
    try {
        CheckLines(bytes, log);
    }
    catch (const SException& e) {
        Print(stdout, L"\nA failure is thrown, with its place:\n    " + e.GetFullText() + L"\n");
    }
    Print(stdout, SString().Format(L"\n%d errors, %d warnings; the last error:\n    %s\n", log.ErrorCount(),
                                   log.WarningCount(), log.LastErrorText()));

    Survive(L"A null pointer is written through:", WriteNowhere);
    Survive(L"A number is divided by zero:", DivideByZero);
    try {
        throw std::out_of_range("row 12 of 10");
    }
    catch (...) {
        AppendToExceptionLogPrefixed(SDescribeCurrentException(), L"*** For the log alone: ");
    }

    VectoredExceptionHook::Remove();
    SSetExceptionLog(nullptr);
    Print(stdout, L"\nThe exception log:\n");
    const std::string record = ReadBytes(logPath);
    std::fwrite(record.data(), 1, record.size(), stdout);
    ::DeleteFileW(logPath);
    return kDone;
}
