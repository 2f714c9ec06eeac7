// The dialog for unexpected exceptions, its switches, and the message box. No test here may show a real box: each goes
// through the hook, the unattended answers, or a patched import.
#include "excdlg.h"

#include "crash.h"
#include "damage.h"
#include "sexcept.h"

#include "support/importpatch.h"
#include "support/stringhelp.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

struct Box {
    std::wstring text, caption;
    unsigned type;
};
std::vector<Box> g_boxes;
int g_answer;
std::function<void()> g_whileShown;

int Remember(const wchar_t* text, const wchar_t* caption, unsigned type)
{
    g_boxes.push_back({ text, caption, type });
    if (g_whileShown)
        g_whileShown();
    return g_answer;
}

BOOL WINAPI DebuggerIsThere()
{
    return TRUE;
}
BOOL WINAPI NoDebugger()
{
    return FALSE;
}

// What user32 would do, as far as the box looks it up.
bool g_visible = true;
int g_realBoxes;
unsigned g_realType;
HWINSTA WINAPI Station()
{
    return nullptr;
}
BOOL WINAPI StationFlags(HANDLE, int, void* flags, DWORD, DWORD*)
{
    static_cast<USEROBJECTFLAGS*>(flags)->dwFlags = g_visible ? WSF_VISIBLE : 0;
    return TRUE;
}
int WINAPI CountBox(HWND, const wchar_t*, const wchar_t*, UINT type)
{
    ++g_realBoxes;
    g_realType = type;
    return IDCANCEL;
}
bool g_hasUser32 = true;
FARPROC WINAPI Replacement(HMODULE, const char* name)
{
    const struct {
        const char* name;
        void* function;
    } kFunctions[] = {
        { "GetProcessWindowStation", reinterpret_cast<void*>(Station) },
        { "GetUserObjectInformationW", reinterpret_cast<void*>(StationFlags) },
        { "MessageBoxW", reinterpret_cast<void*>(CountBox) },
    };
    for (const auto& f : kFunctions) {
        if (g_hasUser32 && std::strcmp(f.name, name) == 0)
            return reinterpret_cast<FARPROC>(f.function);
    }
    return nullptr;
}
DWORD WINAPI OldSystem()
{
    return 3;
}

class Dialogs : public testing::Test {
protected:
    Dialogs()
        : m_user32("CVCore16.dll", "KERNEL32.dll", "GetProcAddress", Replacement),
          m_noDebugger("CVCore16.dll", "KERNEL32.dll", "IsDebuggerPresent", NoDebugger)
    {
        EXPECT_TRUE(m_user32.Found() && m_noDebugger.Found());
        g_boxes.clear();
        g_answer = IDOK;
        g_whileShown = nullptr;
        g_realBoxes = 0;
        g_visible = g_hasUser32 = true;
        DbgMessageBoxHook() = Remember;
        SExceptionActivateDialog(1);
    }
    ~Dialogs() override
    {
        DbgMessageBoxHook() = nullptr;
        UnattendedQuery() = nullptr;
        SSetUnattended(0);
        SSetConsoleModeApplication(0);
        SExceptionActivateDialog(0);
    }

    static std::wstring ShownText() { return g_boxes.empty() ? L"(no box)" : g_boxes.back().text; }

private:
    ImportPatch m_user32;
    ImportPatch m_noDebugger;
};

ImportPatch WithDebugger()
{
    return ImportPatch("CVCore16.dll", "KERNEL32.dll", "IsDebuggerPresent", DebuggerIsThere);
}

} // namespace

TEST_F(Dialogs, TellPlaceAndTextAndLeaveThemInTheLog)
{
    const TempLog log;
    const std::wstring exactly60(60, L'x'), below60(59, L'x');
    EXPECT_EQ(0, SExceptionDialog("f.cpp", 7, L"short"));
    EXPECT_EQ(L"f.cpp(7): short", ShownText());
    EXPECT_EQ(L"Unexpected exception", g_boxes.back().caption);
    EXPECT_EQ(unsigned(MB_OK | MB_ICONHAND | MB_TOPMOST | MB_SETFOREGROUND), g_boxes.back().type);
    SExceptionDialog("f.cpp", 7, (below60 + L"\n" + exactly60).c_str());
    EXPECT_EQ(L"f.cpp(7): " + below60 + L"\n" + exactly60, ShownText());
    SExceptionDialog("f.cpp", 7, exactly60.c_str());
    EXPECT_EQ(L"f.cpp(7):\n" + exactly60, ShownText());
    SExceptionDialog("f.cpp", 7, L"");
    EXPECT_EQ(L"f.cpp(7): ", ShownText());
    SExceptionDialog("f.cpp", 7, nullptr);
    EXPECT_EQ(L"f.cpp(7): Unexpected exception!", ShownText());
    SExceptionDialog("a < b", "f.cpp", 7, exactly60.c_str());
    EXPECT_EQ(L"f.cpp(7): a < b\n   " + exactly60, ShownText());
    SExceptionDialog_("f.cpp", 7, L"%d of %s", 3, L"nine");
    EXPECT_EQ(L"f.cpp(7): 3 of nine", ShownText());
    SExceptionDialog_("a < b", "f.cpp", 7, L"%d", 3);
    EXPECT_EQ(L"f.cpp(7): a < b\n   3", ShownText());
    SExceptionDialog_("f.cpp", 7, nullptr);
    EXPECT_EQ(L"f.cpp(7): Unexpected exception!", ShownText());
    EXPECT_NE(std::string::npos,
              log.Text().find("\r\n*** Unexpected exception...\r\nf.cpp(7): 3 of nine\r\n"));

    SExceptionDialog("f.cpp", 7, std::wstring(5000, L'y').c_str());
    EXPECT_EQ(1123u, ShownText().size()) << "cut at the last character of its room";
}

TEST_F(Dialogs, AreShownOnlyWhereTheyAreAllowedAndNotInsideOneAnother)
{
    const TempLog log;
    SExceptionActivateDialog(0);
    EXPECT_EQ(0, SExceptionHasDialog());
    EXPECT_EQ(0, SExceptionDialog("f", 1, L"suppressed"));
    EXPECT_EQ(0, SExceptionActivateDialog(1));
    EXPECT_EQ(1, SExceptionActivateDialog(5)) << "they were before";
    EXPECT_EQ(1, SExceptionHasDialog());
    EXPECT_EQ(0, SSetConsoleModeApplication(1));
    EXPECT_EQ(1, SIsConsoleModeApplication());
    EXPECT_EQ(0, SExceptionDialog("f", 1, L"console"));
    EXPECT_EQ(0, SExceptionActivateDialog(0)) << "changes nothing in console mode";
    EXPECT_EQ(0, SExceptionHasDialog());
    EXPECT_EQ(1, SSetConsoleModeApplication(0));
    EXPECT_EQ(1, SExceptionHasDialog());
    EXPECT_TRUE(g_boxes.empty());
    EXPECT_EQ("", log.Text()) << "what is not shown is not logged";

    int inner = -1;
    g_whileShown = [&] {
        inner = SExceptionDialog("f", 2, L"inner");
        EXPECT_THROW(SRunGuarded([] { *static_cast<volatile int*>(nullptr) = 1; }), SEMachineFault)
            << "a guard inside works while those around are suspended";
    };
    SExceptionDialog("f", 1, L"outer");
    EXPECT_EQ(0, inner);
    EXPECT_EQ(1u, g_boxes.size());
    g_whileShown = [] { SReportDamage("void F()", "f.cpp", 7, L"damage (this line is expected)"); };
    SExceptionDialog("f", 1, L"outer");
    EXPECT_NE(std::string::npos, log.Text().find("f.cpp(7): void F()\r\n   damage"))
        << "damage that is found meanwhile is not lost";
    g_boxes.resize(1);
    g_whileShown = [] { throw 1; };
    SExceptionDialog("f", 1, L"a hook that throws has not answered");
    EXPECT_EQ(1, g_realBoxes);
    g_boxes.resize(1);
    g_whileShown = nullptr;
    SExceptionDialog("f", 3, L"later");
    EXPECT_EQ(2u, g_boxes.size());

    EXPECT_EQ(0, SIsRepositoryProxy());
    EXPECT_EQ(0, SSetRepositoryProxy(4));
    EXPECT_EQ(4, SSetRepositoryProxy(0));
}

TEST_F(Dialogs, AskWhatToDoWhenADebuggerIsAttached)
{
    const TempLog log;
    const ImportPatch debugger = WithDebugger();
    ASSERT_TRUE(debugger.Found());
    const struct {
        int button, result;
    } kAnswers[] = { { IDRETRY, 1 }, { IDTRYAGAIN, 1 }, { IDIGNORE, 0 }, { IDCONTINUE, 0 } };
    for (const auto& answer : kAnswers) {
        g_answer = answer.button;
        EXPECT_EQ(answer.result, SExceptionDialog("f", 1, L"text")) << answer.button;
    }
    EXPECT_EQ(L"f(1): text\n\nDo you want to continue?", ShownText());
    EXPECT_EQ(unsigned(MB_ABORTRETRYIGNORE | MB_ICONHAND | MB_DEFBUTTON2 | MB_TOPMOST | MB_SETFOREGROUND),
              g_boxes.back().type);
    EXPECT_EQ(std::string::npos, log.Text().find("continue?"));
}

TEST_F(Dialogs, DamageTurnsThemOnUnlessTheProgramHasNoUser)
{
    const TempLog log;
    SExceptionActivateDialog(0);
    SReportDamage("void F()", "f.cpp", 7, L"A buffer is broken.");
    EXPECT_EQ(L"f.cpp(7): A buffer is broken.", ShownText());
    EXPECT_EQ(1, SExceptionHasDialog());
    SSetConsoleModeApplication(1);
    SReportDamage("void F()", "f.cpp", 7, L"again (this line on standard error is expected)");
    EXPECT_EQ(1u, g_boxes.size());
}

TEST_F(Dialogs, BoxesGetTheirButtonsIconAndPlace)
{
    const unsigned place = MB_TOPMOST | MB_SETFOREGROUND;
    const struct {
        unsigned asked, alone, debugged;
    } kCases[] = {
        { 0, MB_ABORTRETRYIGNORE | MB_ICONHAND | MB_DEFBUTTON3,
          MB_ABORTRETRYIGNORE | MB_ICONHAND | MB_DEFBUTTON2 },
        { MB_ABORTRETRYIGNORE | MB_ICONWARNING, MB_ABORTRETRYIGNORE | MB_ICONWARNING | MB_DEFBUTTON3,
          MB_ABORTRETRYIGNORE | MB_ICONWARNING | MB_DEFBUTTON2 },
        { MB_CANCELTRYCONTINUE, MB_CANCELTRYCONTINUE | MB_ICONHAND | MB_DEFBUTTON3,
          MB_CANCELTRYCONTINUE | MB_ICONHAND | MB_DEFBUTTON2 },
        { MB_CANCELTRYCONTINUE | MB_DEFBUTTON4, MB_CANCELTRYCONTINUE | MB_ICONHAND | MB_DEFBUTTON4,
          MB_CANCELTRYCONTINUE | MB_ICONHAND | MB_DEFBUTTON4 },
        { MB_YESNO, MB_YESNO | MB_ICONHAND, MB_YESNO | MB_ICONHAND },
        { MB_OKCANCEL | MB_ICONQUESTION, MB_OKCANCEL | MB_ICONQUESTION, MB_OKCANCEL | MB_ICONQUESTION },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.asked);
        ShowDbgMessageBox(L"t", L"c", c.asked);
        EXPECT_EQ(c.alone | place, g_boxes.back().type);
        const ImportPatch debugger = WithDebugger();
        ShowDbgMessageBox(L"t", L"c", c.asked);
        EXPECT_EQ(c.debugged | place, g_boxes.back().type);
    }
    g_visible = false;
    ShowDbgMessageBox(L"t", L"c", MB_YESNO);
    EXPECT_EQ(unsigned(MB_YESNO | MB_ICONHAND | MB_SERVICE_NOTIFICATION), g_boxes.back().type);
    g_hasUser32 = false;
    ShowDbgMessageBox(L"t", L"c", MB_YESNO);
    EXPECT_EQ(unsigned(MB_YESNO | MB_ICONHAND | MB_SERVICE_NOTIFICATION), g_boxes.back().type);
}

TEST_F(Dialogs, BoxesAreAnsweredByTheHookElseUnattendedElseByTheUser)
{
    g_answer = IDYES;
    SSetUnattended(1);
    EXPECT_EQ(1, SIsUnattended());
    EXPECT_EQ(IDYES, ShowDbgMessageBox(L"t", L"c", MB_YESNO)) << "the hook comes first";
    g_answer = 0; // it has no answer
    const struct {
        unsigned type;
        int alone, debugged;
    } kCases[] = {
        { MB_OK | MB_ICONHAND, IDOK, IDOK },        { 0, IDIGNORE, IDRETRY }, // stands for abort/retry/ignore
        { MB_OKCANCEL, IDCANCEL, IDYES },           { MB_ABORTRETRYIGNORE, IDIGNORE, IDRETRY },
        { MB_YESNOCANCEL, IDIGNORE, IDRETRY },      { MB_YESNO, IDCONTINUE, IDTRYAGAIN },
        { MB_RETRYCANCEL, IDCONTINUE, IDTRYAGAIN }, { MB_CANCELTRYCONTINUE, IDIGNORE, IDRETRY },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.type);
        EXPECT_EQ(c.alone, ShowDbgMessageBox(L"t", L"c", c.type));
        const ImportPatch debugger = WithDebugger();
        EXPECT_EQ(c.debugged, ShowDbgMessageBox(L"t", L"c", c.type));
    }
    EXPECT_EQ(0, g_realBoxes);
    {
        const ImportPatch old("CVCore16.dll", "KERNEL32.dll", "GetVersion", OldSystem);
        ASSERT_TRUE(old.Found());
        EXPECT_EQ(0, IsInNewShell());
        EXPECT_EQ(IDCANCEL, ShowDbgMessageBox(L"t", L"c", MB_YESNO))
            << "an old system shows the box all the same";
        EXPECT_EQ(1, g_realBoxes);
    }
    EXPECT_EQ(1, IsInNewShell());

    SSetUnattended(0);
    UnattendedQuery() = [] { return 1; };
    EXPECT_EQ(IDCONTINUE, ShowDbgMessageBox(L"t", L"c", MB_YESNO));
    UnattendedQuery() = []() -> int { throw 1; };
    EXPECT_EQ(IDCANCEL, ShowDbgMessageBox(L"t", L"c", MB_YESNO));
    EXPECT_EQ(2, g_realBoxes);
    UnattendedQuery() = nullptr;
    DbgMessageBoxHook() = nullptr;
    EXPECT_EQ(IDCANCEL, ShowDbgMessageBox(L"t", L"c", MB_YESNO));
    EXPECT_EQ(unsigned(MB_YESNO | MB_ICONHAND | MB_TOPMOST | MB_SETFOREGROUND), g_realType);
    EXPECT_EQ(3, g_realBoxes);
    g_hasUser32 = false;
    EXPECT_EQ(0, ShowDbgMessageBox(L"t", L"c", MB_YESNO)) << "no system to show it";
}
