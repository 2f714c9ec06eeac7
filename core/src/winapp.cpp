// winapp.cpp: the message loop, idle work, commands from outside.
#include "winapp.h"

#include "callback.h"
#include "crash.h"
#include "crashlog.h"
#include "hardening.h"
#include "modalst.h"
#include "notifmgr.h"
#include "sgdi.h"
#include "smenu.h"
#include "systemlibrary.h"

#include <memory>
#include <utility>

S_IMPLEMENT_DYNAMIC(SWinApp, SCmdTarget)

namespace {

SWinApp* g_app = nullptr;
int g_exiting = 0;

constexpr UINT kSystemTimer = 0x0118;
constexpr UINT kHoverFirst = 0x02A0, kHoverLast = 0x02A3;
constexpr wchar_t kQueueMessage[] = L"DispatcherProcessQueue";

const struct {
    const wchar_t* start;
    int kind;
} kCommands[] = {
    { L"open(\"", SWinApp::AssyncCommand::kOpen },
    { L"openworkspace(\"", SWinApp::AssyncCommand::kOpenWorkspace },
    { L"runscript(\"", SWinApp::AssyncCommand::kRunScript },
    { L"quit(", SWinApp::AssyncCommand::kQuit },
};

bool IsMessageWaiting()
{
    MSG waiting;
    return ::PeekMessageW(&waiting, nullptr, 0, 0, PM_NOREMOVE) != FALSE;
}

SString FileNameOf(HINSTANCE program)
{
    wchar_t path[MAX_PATH + 1];
    const DWORD length = ::GetModuleFileNameW(program, path, MAX_PATH);
    return SString(path, static_cast<int>(length));
}

SString NameOf(const SString& path)
{
    const SString name = path.Mid(path.ReverseFindPos(L'\\') + 1);
    const int mark = name.ReverseFindPos(L'.');
    return mark < 0 ? name : name.Left(mark);
}

// Input is what a person does, as against what the system asks for.
bool IsMouseMove(UINT message)
{
    return message == WM_MOUSEMOVE || message == WM_NCMOUSEMOVE;
}

} // namespace

SWinApp::SWinApp()
    : m_mainWnd(nullptr),
      m_message(),
      m_lastNumber(0),
      m_lastMessage(),
      m_lastMouse(),
      m_idleAnnounced(0),
      m_needIdle(0),
      m_idleCount(0),
      m_instance(nullptr),
      m_show(SW_SHOWNORMAL),
      m_namesProgram(0),
      m_waitCount(0),
      m_cursorBefore(nullptr),
      m_printerMode(nullptr),
      m_printerNames(nullptr)
{
    if (!g_app)
        g_app = this;
}

SWinApp::~SWinApp()
{
    ::GlobalFree(m_printerMode);
    ::GlobalFree(m_printerNames);
    if (g_app != this)
        return;
    g_app = nullptr;
    try {
        SNotificationManager::Notify(SNotificationManager::kAppEnds, 0, 0);
    }
    catch (...) { // nobody is left to hear of it
    }
}

SWinApp* SWinApp::Get() noexcept
{
    return g_app;
}

int SWinApp::Init(HINSTANCE instance, HINSTANCE, char* commandLine, int show)
{
    const HINSTANCE program = instance ? instance : ::GetModuleHandleW(nullptr);
    // The texts before anything is taken over: a text that cannot be held leaves the application as it was.
    SString line = commandLine ? SString(commandLine) : SString(::GetCommandLineW());
    m_appName = NameOf(FileNameOf(program));
    m_commandLine = std::move(line);
    m_instance = program;
    m_show = show;
    m_namesProgram = !commandLine;
    HardenProcess();
    return 1;
}

// ---- The loop ----

int SWinApp::Run()
{
    if (m_needIdle)
        m_idleCount = 0;
    m_needIdle = 0;
    if (m_commands.Count() > 0)
        SetNeedOnIdle(1); // one of them ended an earlier run by throwing; these are still to come
    for (;;) {
        DoIdle();
        do {
            if (!PumpMessage())
                return ExitInstance();
        } while (IsMessageWaiting());
    }
}

int SWinApp::ExitInstance()
{
    return static_cast<int>(m_message.wParam);
}

// What keeps a window painted and alive goes through.
int SWinApp::IsDroppedForModalState()
{
    const SModalState* const modal = SModalState::GetCurrent();
    if (!modal || modal->IsEnabled())
        return FALSE;
    HWND owner = modal->GetOwnerWnd();
    if (const SWnd* const usual = owner ? nullptr : GetOwnerWnd())
        owner = usual->GetHandle();
    if (!owner || m_message.hwnd != owner)
        return FALSE;
    switch (m_message.message) {
    case WM_TIMER:
    case WM_PAINT:
    case WM_SIZE:
    case WM_MOVE:
    case WM_SHOWWINDOW:
    case WM_SYSCOMMAND:
    case WM_MOUSELEAVE: return FALSE;
    default: return TRUE;
    }
}

int SWinApp::PumpMessage()
{
    if (VectoredExceptionHook::IsInstalled() && VectoredExceptionHook::IsKnownException()) {
        AppendToExceptionLogPrefixed(VectoredExceptionHook::FormatException(VectoredExceptionHook::kShow, 1),
                                     nullptr, -1);
        VectoredExceptionHook::FormatException(VectoredExceptionHook::kForget, 1);
    }
    // What is parked by now goes out before a message is fetched, which would be lost; what messages from elsewhere park during
    // the wait goes out when the one that ended it has been dealt with.
    SRethrowParked();
    if (!::GetMessageW(&m_message, nullptr, 0, 0)) {
        if (SIsExceptionParked())
            ::PostQuitMessage(static_cast<int>(m_message.wParam));
        SRethrowParked();
        return FALSE;
    }
    HandleMessage();
    SRethrowParked();
    return TRUE;
}

void SWinApp::HandleMessage()
{
    if (IsDroppedForModalState())
        return;
    if (IsIdleMessage(&m_message)) {
        if (!m_needIdle)
            m_idleCount = 0;
        m_needIdle = 1;
    }
    if (m_message.message == kKickIdle)
        return;
    // A nested loop puts messages of its own into the current one.
    MSG message = m_message;
    if (message.message != 0 && PreTranslateMessage(&message))
        return;
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
}

int SWinApp::PreTranslateMessage(MSG* message)
{
    const HWND main = m_mainWnd ? m_mainWnd->GetHandle() : nullptr;
    return main && message->hwnd && SWnd::WalkPreTranslateTree(main, message);
}

int SWinApp::IsIdleMessage(MSG* message)
{
    if (::GetCapture())
        return FALSE;
    static const UINT kQueue = ::RegisterWindowMessageW(kQueueMessage);
    static HWND queueWindow = nullptr;
    if (kQueue != 0 && message->message == kQueue && !queueWindow)
        queueWindow = message->hwnd;
    if (queueWindow && message->hwnd == queueWindow)
        return FALSE;
    const UINT number = message->message;
    if (IsMouseMove(number)) {
        if (number == m_lastNumber && message->pt.x == m_lastMouse.x && message->pt.y == m_lastMouse.y)
            return FALSE;
        m_lastMouse = message->pt;
        m_lastNumber = number;
        if (m_idleAnnounced)
            return TRUE;
    } else {
        if (number == WM_PAINT || number == kSystemTimer)
            return FALSE;
        if (m_idleAnnounced) {
            if (number == WM_MOUSEWHEEL || number == WM_TIMER ||
                (number >= kHoverFirst && number <= kHoverLast))
                return TRUE;
            m_idleAnnounced = 0;
            m_idleCount = 0;
        }
    }
    m_lastMessage = *message;
    return TRUE;
}

// ---- Idle work ----

int SWinApp::DoIdle()
{
    while (m_needIdle && !IsMessageWaiting()) {
        SRethrowParked(); // asking lets messages of other threads through
        const SHandlerGuard guard;
        RunAsyncCommands();
        const int more = OnIdle(m_idleCount);
        ++m_idleCount;
        if (!more) {
            SetNeedOnIdle(0);
            SNotificationManager::Notify(SNotificationManager::kIdleDone, 0, 0);
        } else {
            ::Sleep(0);
        }
    }
    return static_cast<int>(m_idleCount);
}

int SWinApp::OnIdle(long count)
{
    if (count == 0) {
        SNotificationManager::Notify(SNotificationManager::kIdleStep, 0, 0);
        if (!m_idleAnnounced) {
            m_idleAnnounced = 1;
            SNotificationManager::Notify(SNotificationManager::kFirstIdle, 0, 0);
        }
    } else if (count == 1) {
        long& locks = STempMapLock::Count();
        ++locks;
        if (--locks == 0) {
            const SHandlerGuard guard;
            SWnd::DeleteTempMap();
            SImageList::DeleteTempMap();
            SMenu::DeleteTempMap();
            SDC::DeleteTempMap();
            SGdiObject::DeleteTempMap();
            SFontOld::DeleteTempMap();
        }
    }
    return count <= 0;
}

void SWinApp::SetNeedOnIdle(int need)
{
    if (!need != !m_needIdle)
        m_idleCount = 0;
    m_needIdle = need;
}

void SWinApp::IdleStep(int step)
{
    if (step)
        ++m_idleCount;
}

SWnd* SWinApp::GetOwnerWnd()
{
    return m_mainWnd;
}

SWnd* SWinApp::GetFrameWnd()
{
    return m_mainWnd;
}

// ---- Commands from outside ----

int SWinApp::OnDDECommand(wchar_t* command)
{
    const SString text(command);
    for (const auto& known : kCommands) {
        const int length = static_cast<int>(std::wcslen(known.start));
        if (text.CompareNoCase(known.start, length) != 0)
            continue;
        // Up to the closing quote; without one up to the end.
        const int end = text.FindPos(L'"', length);
        const bool isQuit = known.kind == AssyncCommand::kQuit;
        Queue(known.kind,
              isQuit ? SString() : text.Mid(length, end < 0 ? SString::kMaxLength : end - length));
        return TRUE;
    }
    return FALSE;
}

void SWinApp::Queue(int kind, const SString& argument)
{
    m_commands.Add({ kind, argument });
    if (!m_needIdle)
        m_idleCount = 0;
    m_needIdle = 1;
    if (m_mainWnd && m_mainWnd->GetHandle())
        ::PostMessageW(m_mainWnd->GetHandle(), kKickIdle, 0, 0);
    else
        ::PostThreadMessageW(::GetCurrentThreadId(), kKickIdle, 0, 0);
}

int SWinApp::ProcessCommandLine()
{
    const auto split =
        FindInSystem<wchar_t* * WINAPI(const wchar_t*, int*)>(L"shell32.dll", "CommandLineToArgvW");
    // The system's function takes the first word for the program's name in any case.
    const SString line = m_namesProgram ? m_commandLine : L"x " + m_commandLine;
    int count = 0, files = 0;
    const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> words(split ? split(line, &count) : nullptr,
                                                                  ::LocalFree);
    for (int i = 1; words && i < count; ++i) {
        const wchar_t* const word = words.get()[i];
        if (*word == L'\0' || *word == L'/' || *word == L'-')
            continue;
        Queue(AssyncCommand::kOpen, word);
        ++files;
    }
    return files;
}

// Each is taken out before it runs, so one that throws does not come again and those behind it stay.
void SWinApp::RunAsyncCommands()
{
    while (m_commands.Count() > 0) {
        const AssyncCommand command = m_commands[0];
        m_commands.Remove(0);
        OnAsyncCommand(command.kind, command.argument);
    }
}

void SWinApp::OnAsyncCommand(int kind, const SString&)
{
    if (kind == AssyncCommand::kQuit && m_mainWnd && m_mainWnd->GetHandle())
        ::PostMessageW(m_mainWnd->GetHandle(), WM_CLOSE, 0, 0);
}

// ---- The wait cursor ----

void SWinApp::DoWaitCursor(int change)
{
    if (change > 0 && m_waitCount++ == 0)
        m_cursorBefore = ::SetCursor(::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT)));
    else if (change < 0 && m_waitCount > 0 && --m_waitCount == 0)
        ::SetCursor(m_cursorBefore);
    else if (change == 0 && m_waitCount > 0)
        ::SetCursor(::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT)));
}

// ---- Look ----

SString SWinApp::GetExeFileName() const
{
    return FileNameOf(m_instance);
}

SString SWinApp::GetExeName() const
{
    return NameOf(FileNameOf(m_instance));
}

int SWinApp::IsRegServerCmdLine() const
{
    return m_commandLine.MatchNoCase(L"*/regserver*") || m_commandLine.MatchNoCase(L"*-regserver*");
}

void SWinApp::SetExiting(int exiting) noexcept
{
    g_exiting = exiting;
}

int SWinApp::IsExiting() noexcept
{
    return g_exiting;
}
