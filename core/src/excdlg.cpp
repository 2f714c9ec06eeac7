// excdlg.cpp: the dialog for exceptions that nobody expected, and its switches.
#include "excdlg.h"

#include "crash.h"
#include "crashlog.h"
#include "damagehook.h"
#include "strclss.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <utility>

namespace {

int g_consoleMode = 0;
int g_repositoryProxy = 0;
int g_suppressed = 1;
int g_inProgress = 0;

constexpr int kTextRoom = 1124;
constexpr int kShortFirstLine = 60;
constexpr wchar_t kNoText[] = L"Unexpected exception!";
constexpr wchar_t kCaption[] = L"Unexpected exception";
constexpr wchar_t kLogPrefix[] = L"*** Unexpected exception...\n";
constexpr wchar_t kQuestion[] = L"\n\nDo you want to continue?";

bool IsFirstLineShort(const wchar_t* text)
{
    return std::wcscspn(text, L"\n") < kShortFirstLine;
}

// Into kTextRoom characters and cut at the last one: the text may come from a program in which little works any more.
void FormatReport(wchar_t* buffer, const char* extra, const char* file, unsigned long line,
                  const wchar_t* text)
{
    file = file ? file : "";
    const int number = static_cast<int>(line);
    if (extra)
        ::_snwprintf(buffer, kTextRoom, L"%hs(%i): %hs\n   %s", file, number, extra, text);
    else
        ::_snwprintf(buffer, kTextRoom, IsFirstLineShort(text) ? L"%hs(%i): %s" : L"%hs(%i):\n%s", file,
                     number, text);
    buffer[kTextRoom - 1] = L'\0';
}

// What the user of a debugger wants: 1 to look, 0 to go on. Does not return when the process is to end.
int AskForDebugger(const wchar_t* report)
{
    wchar_t question[kTextRoom + std::size(kQuestion)];
    std::wcscat(std::wcscpy(question, report), kQuestion);
    switch (ShowDbgMessageBox(question, kCaption, MB_ABORTRETRYIGNORE | MB_ICONHAND)) {
    case IDABORT:
    case IDCANCEL: std::abort();
    case IDRETRY:
    case IDTRYAGAIN: return 1;
    default: return 0;
    }
}

class InProgress {
public:
    InProgress() noexcept : m_before(std::exchange(g_inProgress, 1)) {}
    ~InProgress() { g_inProgress = m_before; }
    InProgress(const InProgress&) = delete;
    InProgress& operator=(const InProgress&) = delete;

private:
    int m_before;
};

bool MayShow()
{
    return SExceptionHasDialog() && !g_inProgress;
}

// Formats for those entries that take a format. A text that there is no memory for is reported without its arguments.
int FormatAndShow(const char* extra, const char* file, unsigned long line, const wchar_t* format,
                  va_list arguments) noexcept
{
    if (!MayShow())
        return 0;
    SString text;
    try {
        text.FormatV(format, arguments);
    }
    catch (...) {
        return SExceptionDialog(extra, file, line, format);
    }
    return SExceptionDialog(extra, file, line, format ? text.PszStr() : nullptr);
}

void ShowDamage(const char* function, const char* file, unsigned long line, const wchar_t* text)
{
    SExceptionActivateDialog(1);
    if (MayShow()) {
        SExceptionDialog(file, line, text);
        return;
    }
    // In console mode, or while another report is on the screen.
    WriteDamage(function, file, line, text);
    if (g_inProgress) {
        wchar_t report[kTextRoom];
        FormatReport(report, function, file, line, text);
        AppendToExceptionLogPrefixed(report, kLogPrefix);
    }
}

const struct UsualReporter {
    UsualReporter() { SetUsualDamageReporter(ShowDamage); }
} g_usualReporter;

} // namespace

// ---- Switches ----

int SSetConsoleModeApplication(int on) noexcept
{
    return std::exchange(g_consoleMode, on);
}

int SIsConsoleModeApplication() noexcept
{
    return g_consoleMode;
}

int SSetRepositoryProxy(int on) noexcept
{
    return std::exchange(g_repositoryProxy, on);
}

int SIsRepositoryProxy() noexcept
{
    return g_repositoryProxy;
}

int SExceptionActivateDialog(int activate) noexcept
{
    if (g_consoleMode)
        return 0;
    return !std::exchange(g_suppressed, !activate);
}

int SExceptionHasDialog() noexcept
{
    return !g_consoleMode && !g_suppressed;
}

// ---- The dialog ----

int SExceptionDialog(const char* file, unsigned long line, const wchar_t* text) noexcept
{
    return SExceptionDialog(nullptr, file, line, text);
}

int SExceptionDialog(const char* extra, const char* file, unsigned long line, const wchar_t* text) noexcept
{
    if (!MayShow())
        return 0;
    const SSuspendExceptionHook suspended;
    const InProgress inProgress;
    wchar_t report[kTextRoom];
    FormatReport(report, extra, file, line, text ? text : kNoText);
    AppendToExceptionLogPrefixed(report, kLogPrefix);
    if (::IsDebuggerPresent())
        return AskForDebugger(report);
    ShowDbgMessageBox(report, kCaption, MB_OK | MB_ICONHAND);
    return 0;
}

int SExceptionDialog_(const char* file, unsigned long line, const wchar_t* format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    const int answer = FormatAndShow(nullptr, file, line, format, arguments);
    va_end(arguments);
    return answer;
}

int SExceptionDialog_(const char* extra, const char* file, unsigned long line, const wchar_t* format,
                      ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    const int answer = FormatAndShow(extra, file, line, format, arguments);
    va_end(arguments);
    return answer;
}
