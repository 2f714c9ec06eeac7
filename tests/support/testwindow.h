// testwindow.h: windows, an application and a dialog for the tests of the framework.
#ifndef TESTS_TESTWINDOW_H
#define TESTS_TESTWINDOW_H

#include "cmdui.h"
#include "window.h"
#include "winapp.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

inline constexpr UINT kTest = WM_USER + 1, kThrow = WM_USER + 2, kNested = WM_USER + 3, kDelete = WM_USER + 4,
                      kFault = WM_USER + 5;
extern const UINT g_registered;
inline const RECT kPlace = { 10, 10, 310, 210 };

/// What has happened, in order.
extern std::string g_seen;
void See(const std::string& what);

class Window : public SWnd {
public:
    bool Make(DWORD style = WS_OVERLAPPEDWINDOW, SWnd* parent = nullptr, UINT_PTR id = 0)
    {
        return CreateEx(0, RegisterWindowClass(), L"test", style, kPlace, parent, id) != 0;
    }
    LRESULT OnTest(WPARAM w, LPARAM l) { return static_cast<LRESULT>(w) * 100 + l; }
    LRESULT OnThrow(WPARAM, LPARAM) { throw std::out_of_range("thrown inside"); }
    LRESULT OnNested(WPARAM, LPARAM)
    {
        const SLastMessage before = GetLastMessage();
        try {
            SendMessage(kThrow);
        }
        catch (const std::out_of_range&) {
            See("caught");
        }
        return GetLastMessage().message == before.message;
    }
    LRESULT OnDelete(WPARAM deletes, LPARAM)
    {
        if (deletes)
            delete this;
        else
            DestroyWindow();
        return 1;
    }
    LRESULT OnFault(WPARAM, LPARAM) { return *static_cast<volatile int*>(nullptr); }
    LRESULT OnRegistered(WPARAM w, LPARAM) { return static_cast<LRESULT>(w) + 1; }
    LRESULT OnCreate(LPARAM)
    {
        See(FromHandlePermanent(GetHandle()) == this ? "create" : "create unattached");
        if (throwsInCreate)
            throw std::runtime_error("no window today");
        return 0;
    }
    void OnDestroy() { See("destroy"); }
    void PostNcDestroy() override { See("gone"); }
    void OnCommand1() { See("command1"); }
    void OnUpdate1(SCmdUI* ui)
    {
        ui->Enable(0);
        ui->SetCheck(1);
        ui->SetText(L"renamed");
    }
    void OnChange() { See("change in the parent"); }
    void OnNotice(NMHDR*, LRESULT* result) { *result = 42; }
    using SWnd::OnWndMsg;

    bool throwsInCreate = false;
    S_DECLARE_MESSAGE_MAP()
};
/// An edit control that hears of its own changes.
class Edit : public SWnd {
public:
    void OnOwnChange() { See("change in the control"); }
    void OnOwnClick(NMHDR*, LRESULT* result) { *result = 7; }
    S_DECLARE_MESSAGE_MAP()
};
class Windows : public testing::Test {
protected:
    Windows()
    {
        g_seen.clear();
        // What an earlier test has left: a main window that ends posts WM_QUIT.
        for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {}
    }
    ~Windows() override { SWnd::DeleteTempMap(); }
};

class App : public SWinApp {
public:
    int OnIdle(long count) override
    {
        steps.push_back(count);
        return SWinApp::OnIdle(count);
    }
    void OnAsyncCommand(int kind, const SString& argument) override
    {
        See(std::to_string(kind) + ":" + std::string(argument.begin(), argument.end()));
        if (argument == L"bad")
            throw std::invalid_argument("bad command");
        SWinApp::OnAsyncCommand(kind, argument);
    }
    /// Pumps all that waits, with idle work, as Run does.
    void Turn()
    {
        DoIdle();
        MSG waiting;
        while (::PeekMessageW(&waiting, nullptr, 0, 0, PM_NOREMOVE) && PumpMessage()) {}
        DoIdle();
    }
    std::vector<long> steps;
};

/// Gives the application a command from outside.
int DDE(App& app, const wchar_t* command);

/// A template in memory, of a kind that no window manager is asked about: no controls, no menu, the usual class, no title.
struct MemoryTemplate {
    DLGTEMPLATE dialog = { WS_POPUP, 0, 0, 0, 0, 60, 30 };
    WORD rest[3] = {};
};
extern MemoryTemplate g_template;

#endif
