// excdlg.h: the dialog for exceptions that nobody expected, its switches, and the message box behind it.
//
//     SExceptionActivateDialog(1);                             // once, in a program with a user
//     catch (const SException& e) {
//         if (SExceptionDialog(__FILE__, __LINE__, e.GetFullText()))
//             __debugbreak();
//     }
//
// A program starts with the dialogs suppressed. One that has no user at all says so with SSetConsoleModeApplication; then
// they stay off. user32 is not linked: it is loaded when the first box is shown.
//
// Threads  the switches are plain numbers of the process, set up on the main thread.
// Failure  nothing is thrown. A dialog that is not allowed to show answers 0. Texts that are longer than the dialog's room
//          (1123 characters) are cut there.
#ifndef EXCDLG_H
#define EXCDLG_H

#include "cvbase.h"

// ---- Switches ----

/// Whether the process shows no dialogs at all; 0 at the start. Setting returns the value before.
CVCORE_API int SSetConsoleModeApplication(int on) noexcept;
CVCORE_API int SIsConsoleModeApplication() noexcept;

/// Whether the process stands in for a repository's clients; 0 at the start. The library only keeps it. Setting returns the
/// value before.
CVCORE_API int SSetRepositoryProxy(int on) noexcept;
CVCORE_API int SIsRepositoryProxy() noexcept;

/// Allows the dialogs (nonzero) or suppresses them. Returns 1 when they were allowed before. In console mode it changes
/// nothing and returns 0.
CVCORE_API int SExceptionActivateDialog(int activate) noexcept;
/// 1 when a dialog may be shown: neither console mode nor suppressed.
CVCORE_API int SExceptionHasDialog() noexcept;

// ---- The dialog ----

/// Reports an exception that nobody expected at a place in a source: writes it to the exception log (crashlog.h) and shows
/// it in ShowDbgMessageBox. A null text is "Unexpected exception!".
///
/// Returns 1 when the user wants to look at it in the debugger that is attached; the caller is to break into it. Else 0:
/// also when there is no debugger, when a dialog is not allowed, and when one is being shown already: then nothing is
/// written to the log either. Where a debugger is attached the user may end the process.
/// While the dialog is up, guards that were entered before (crash.h) leave faults alone.
CVCORE_API int SExceptionDialog(const char* file, unsigned long line, const wchar_t* text) noexcept;
/// The same with a failed expression or an exception's type in front.
CVCORE_API int SExceptionDialog(const char* extra, const char* file, unsigned long line,
                                const wchar_t* text) noexcept;
/// The same with a format of SString::FormatPlain: strings go as PszStr().
CVCORE_API int SExceptionDialog_(const char* file, unsigned long line, const wchar_t* format, ...) noexcept;
CVCORE_API int SExceptionDialog_(const char* extra, const char* file, unsigned long line,
                                 const wchar_t* format, ...) noexcept;

// ---- The message box ----

/// Shows a message box and returns the answer (IDOK, ...); 0 when the system cannot show one. `type` is as for MessageBoxW,
/// with these additions, in this order:
///   - 0 stands for abort/retry/ignore with the error icon, topmost;
///   - abort/retry/ignore and cancel/try/continue without a default button get one: the second when a debugger is
///     attached, else the third;
///   - a type without an icon gets the error icon;
///   - on a visible window station the box is topmost and comes to the foreground, on another one it becomes a service
///     notification;
///   - the hook is asked (DbgMessageBoxHook);
///   - in unattended operation the box is not shown (see SSetUnattended).
CVCORE_API int ShowDbgMessageBox(const wchar_t* text, const wchar_t* caption, unsigned type) noexcept;

/// Answers a box in the user's place when it returns a positive number; else the box is shown. For tests and for programs
/// with a message window of their own. One that throws has not answered.
typedef int (*SDbgMessageBoxHook)(const wchar_t* text, const wchar_t* caption, unsigned type);

/// Where the hook is kept; null at the start.
CVCORE_API SDbgMessageBoxHook& DbgMessageBoxHook() noexcept;

// ---- Unattended operation ----

/// Whether nobody sits in front of the program, so that boxes are answered at once; 0 at the start. Setting returns the
/// value before. The answers follow from single bits of the type, in this order, without and with a debugger:
///
///     bit 2         IDIGNORE     IDRETRY        also for yes/no/cancel
///     bit 2 or 4    IDCONTINUE   IDTRYAGAIN     also for yes/no
///     bit 1 or 2    IDCANCEL     IDYES          ok/cancel
///     bit 4         IDNO         IDYES          never reached
///     no bit 1      IDOK         IDOK           ok
///     else          IDCANCEL     IDOK           never reached
///
/// That bits and not the button sets are compared is meant: scripts rely on the answers.
CVCORE_API int SSetUnattended(int on) noexcept;
CVCORE_API int SIsUnattended() noexcept;

/// A host's own answer to whether operation is unattended, beside the flag; nonzero means yes. One that throws says no.
typedef int (*SUnattendedQuery)();
/// Where it is kept; null, which means no, at the start.
CVCORE_API SUnattendedQuery& UnattendedQuery() noexcept;

/// Whether the system has the shell that unattended answers are made for: version 4 or later. Older ones show the box.
CVCORE_API int IsInNewShell() noexcept;

#endif
