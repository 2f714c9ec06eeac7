// winapp.h: SWinApp, the application: its message loop, its idle work, and commands that come from outside.
//
//     class App : public SWinApp { ... };
//     int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, wchar_t*, int show)
//     {
//         App app;
//         return app.Init(instance, nullptr, nullptr, show) ? app.Run() : 1;
//     }
//
// A program has one application object; it may as well be made in main, where Init takes null handles.
//
// Threads  the user-interface thread.
// Failure  what a handler throws comes out of Run; the loop can be run again.
// Cost     a message costs the system's own calls; the queue is asked once a turn.
#ifndef WINAPP_H
#define WINAPP_H

#include "cmdtarg.h"
#include "strclss.h"
#include "tablemem.h"
#include "window.h"

#include <commdlg.h>

/// Wakes the loop so that it does idle work; nothing is dispatched for it.
inline constexpr UINT kKickIdle = 0x036A;

/// A command that came from outside and waits for the idle loop.
struct SAssyncCommand {
    enum Kind { kOpen = 1, kOpenWorkspace = 2, kRunScript = 3, kQuit = 4 };
    int kind;
    SString argument;
};
S_RELOCATABLE(SAssyncCommand);

class CVCORE_API SWinApp : public SCmdTarget {
    S_DECLARE_DYNAMIC(SWinApp)
public:
    typedef SAssyncCommand AssyncCommand;

    SWinApp();
    ~SWinApp() override;
    SWinApp(const SWinApp&) = delete;
    SWinApp& operator=(const SWinApp&) = delete;

    /// The program's one; null when there is none.
    static SWinApp* Get() noexcept;

    /// Takes over what the program was started with. A null instance is the program's own, a null command line the
    /// process's. Returns 1; a derived class makes its windows here. Throws SEOutOfMemory, with nothing taken over. From here on a
    /// broken heap ends the process where it is found, and Windows swallows no fault below a window procedure, where it can be
    /// told so.
    virtual int Init(HINSTANCE instance, HINSTANCE previous, char* commandLine, int show);
    /// Runs the loop until WM_QUIT and returns what ExitInstance does.
    virtual int Run();

    // ---- What the loop calls ----

    /// The exit code: that of WM_QUIT.
    virtual int ExitInstance();
    /// Offers a message to the windows around its target, up to the main window.
    virtual int PreTranslateMessage(MSG* message);
    /// Fetches and dispatches one message; 0 for WM_QUIT.
    virtual int PumpMessage();
    /// One step of idle work; not 0 when there is more. Steps 0 and 1 are the library's.
    virtual int OnIdle(long count);
    /// Whether a message counts as input, after which there is idle work.
    virtual int IsIdleMessage(MSG* message);
    /// Whom a modal state without an owner keeps at rest: the main window.
    virtual SWnd* GetOwnerWnd();
    virtual SWnd* GetFrameWnd();
    /// Does idle work while there is any and no message waits; returns the count of the next step, 0 when the work is done.
    int DoIdle();

    int NeedOnIdle() const { return m_needIdle; }
    void SetNeedOnIdle(int need);
    /// Adds one to the count of steps, unless `step` is 0.
    void IdleStep(int step);

    // ---- Commands from outside ----

    /// Takes open("..."), openworkspace("..."), runscript("...") and quit(): puts it in the queue and wakes the loop. 0 for
    /// anything else.
    virtual int OnDDECommand(wchar_t* command);
    /// Runs one of them, from the idle loop. It may throw: the rest of the queue stays. Does nothing but for kQuit, which
    /// closes the main window.
    virtual void OnAsyncCommand(int kind, const SString& argument);
    int CountAsyncCommands() const { return m_commands.Count(); }

    // ---- The wait cursor ----

    /// 1 shows the hour-glass, -1 ends that, 0 shows it again; they nest.
    virtual void DoWaitCursor(int change);
    virtual int GetWaitCount() const { return m_waitCount; }

    // ---- Look ----

    SWnd* GetMainWnd() const { return m_mainWnd; }
    void SetMainWnd(SWnd* window) { m_mainWnd = window; }
    HINSTANCE GetInstance() const { return m_instance; }
    int GetShowCommand() const { return m_show; }
    const MSG& GetCurrentMessage() const { return m_message; }
    const SString& GetAppName() const { return m_appName; }
    SString GetExeName() const;
    SString GetExeFileName() const;
    const SString& GetCmdLineString() const { return m_commandLine; }
    /// Is the program to enter itself in the registry and end (/regserver)?
    int IsRegServerCmdLine() const;
    /// Queues the files that the command line names, as open("...") would; how many there were. What begins with "/" or "-" is
    /// an option and passed over.
    virtual int ProcessCommandLine();

    // ---- Printers ----
    // The system's dialogs are looked up when they are needed; without them, or without a printer, all answer 0.

    /// Puts the printer in use, with its settings, into `dialog` (hDevMode, hDevNames, which stay the application's). The first
    /// time that is the user's default printer.
    virtual int GetPrinterDeviceDefaults(PRINTDLGW* dialog);
    /// Shows the system's dialog for the printer in use and takes over what the user chose; 1 for OK.
    virtual int DoPrintDialog(PRINTDLGW* dialog);
    /// Goes back to the user's default printer; without `force` only when none is in use. 1 when there is one then.
    int UpdatePrinterSelection(int force);

    /// Whether the process is on its way out.
    static void SetExiting(int exiting) noexcept;
    static int IsExiting() noexcept;

private:
    int IsDroppedForModalState();
    void HandleMessage();
    void RunAsyncCommands();
    void Queue(int kind, const SString& argument);
    int AskPrintDialog(PRINTDLGW* dialog);

    SWnd* m_mainWnd;
    MSG m_message;
    UINT m_lastNumber;
    MSG m_lastMessage;
    POINT m_lastMouse;
    int m_idleAnnounced;
    int m_needIdle;
    long m_idleCount;

    HINSTANCE m_instance;
    int m_show;
    int m_namesProgram; // whether the command line begins with the program
    SString m_appName;
    SString m_commandLine;
    STable<AssyncCommand> m_commands;
    int m_waitCount;
    HCURSOR m_cursorBefore;
    HGLOBAL m_printerMode;  // a DEVMODEW; as the system's dialog gave it
    HGLOBAL m_printerNames; // a DEVNAMES
};

#endif
