// Dialogs.
#include "sdlg.h"

#include "support/importpatch.h"
#include "support/templog.h"
#include "support/testwindow.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

// Showing a window costs seconds where there is no window manager to answer.
BOOL WINAPI StayHidden(HWND, int)
{
    return TRUE;
}

class Dialogs : public Windows {
    ImportPatch m_hidden{ "CVCore16.dll", nullptr, "ShowWindow", StayHidden };
};

class Dialog : public SDlg {
public:
    int OnInitDialog() override
    {
        See(FromHandlePermanent(GetHandle()) == this ? "init" : "init unattached");
        if (throws)
            throw std::runtime_error("no dialog today");
        if (owner)
            See(::IsWindowEnabled(owner->GetHandle()) ? "owner enabled" : "owner rests");
        ::PostMessageW(GetHandle(), WM_COMMAND, command, 0);
        return 1;
    }
    void OnOK() override
    {
        See(owner && ::IsWindowEnabled(owner->GetHandle()) ? "ok" : "ok, owner rests");
        if (throwsInOk)
            throw std::out_of_range("bad entry");
        SDlg::OnOK();
    }
    void PostNcDestroy() override { See("gone"); }

    bool throws = false, throwsInOk = false;
    WPARAM command = IDOK;
    SWnd* owner = nullptr;
};

} // namespace

TEST_F(Dialogs, RunUntilTheyAreAnswered)
{
    Window owner;
    ASSERT_TRUE(owner.Make());
    g_seen.clear();
    Dialog dialog;
    dialog.owner = &owner;
    EXPECT_EQ(IDOK, dialog.DoModal(&g_template.dialog, &owner));
    EXPECT_EQ("init owner enabled ok, owner rests gone ", g_seen);
    EXPECT_TRUE(::IsWindowEnabled(owner.GetHandle()));
    EXPECT_EQ(nullptr, dialog.GetHandle());
    dialog.command = IDCANCEL;
    EXPECT_EQ(IDCANCEL, dialog.DoModal(&g_template.dialog, &owner));
    EXPECT_EQ(-1, dialog.DoModal(static_cast<const DLGTEMPLATE*>(nullptr), &owner));
    EXPECT_EQ(-1, dialog.DoModal(L"no such template", &owner));

    dialog.command = IDOK;
    dialog.throwsInOk = true;
    EXPECT_THROW(dialog.DoModal(&g_template.dialog, &owner), std::out_of_range);
    EXPECT_EQ(nullptr, dialog.GetHandle());
    EXPECT_TRUE(::IsWindowEnabled(owner.GetHandle())) << "also when a handler threw";
    dialog.throws = true;
    EXPECT_THROW(dialog.DoModal(&g_template.dialog, &owner), std::runtime_error);
    EXPECT_EQ(nullptr, dialog.GetHandle());

    Dialog modeless;
    modeless.command = 0;
    ASSERT_EQ(TRUE, modeless.Create(&g_template.dialog, &owner));
    EXPECT_EQ(FALSE, modeless.Create(&g_template.dialog, &owner)) << "it is there already";
    modeless.EndDialog(5);
    EXPECT_EQ(nullptr, modeless.GetHandle());
    ::PostQuitMessage(7);
    Dialog waiting;
    waiting.command = 0;
    EXPECT_EQ(-1, waiting.DoModal(&g_template.dialog, &owner));
    MSG message;
    EXPECT_TRUE(::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE)) << "for the loop outside";
    EXPECT_EQ(7u, message.wParam);
}

namespace {

/// Ends its window, and so itself, in the middle of a modal run; or throws at two places.
class HeapDialog : public SDlg {
public:
    int OnInitDialog() override
    {
        ::PostMessageW(GetHandle(), WM_COMMAND, 500, 0);
        return 1;
    }
    void On500()
    {
        if (throws)
            throw std::out_of_range("first");
        ::DestroyWindow(GetHandle());
    }
    void OnDestroy()
    {
        if (throws)
            throw std::runtime_error("second");
    }
    void PostNcDestroy() override
    {
        See("gone");
        delete this;
    }
    bool throws = false;
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(HeapDialog, SDlg)
S_ON_COMMAND(500, On500)
S_ON_WM_DESTROY()
S_END_MESSAGE_MAP()

} // namespace

TEST_F(Dialogs, MayGoWithTheirObjectInAModalRun)
{
    const TempLog log;
    EXPECT_EQ(-1, (new HeapDialog)->DoModal(&g_template.dialog, nullptr));
    HeapDialog* const thrower = new HeapDialog;
    thrower->throws = true;
    EXPECT_THROW(thrower->DoModal(&g_template.dialog, nullptr), std::out_of_range) << "the first one counts";
    EXPECT_NE(std::string::npos, log.Text().find("std::runtime_error: second"));
    EXPECT_EQ("gone gone ", g_seen);

    Dialog dialog;
    dialog.command = 0;
    EXPECT_EQ(-1, dialog.DoModal(L"no such template", nullptr));
    ASSERT_TRUE(dialog.Create(&g_template.dialog, nullptr));
    EXPECT_EQ(-1, dialog.DoModal(&g_template.dialog, nullptr)) << "it is there already";
    dialog.EndDialog(5);
    EXPECT_EQ(nullptr, dialog.GetHandle()) << "a modeless dialog again";
}
