// Message maps and the routing of commands, without windows.
#include "cmdtarg.h"

#include "cmdui.h"
#include "crash.h"
#include "notifmgr.h"

#include "support/stringhelp.h"
#include "support/templog.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <string>
#include <vector>

namespace {

std::string g_calls;
void Note(const char* what)
{
    g_calls += what;
    g_calls += ' ';
}

/// One handler for each form of command routing.
class Base : public SCmdTarget {
public:
    void OnPlain() { Note("plain"); }
    void OnId(UINT id) { Note(("id" + std::to_string(id)).c_str()); }
    int OnIdAsked(UINT id) { return static_cast<int>(id) - 200; }
    int OnPlainAsked() { return 5; }
    void OnNotified(NMHDR* header, LRESULT* result) { *result = static_cast<LRESULT>(header->idFrom); }
    int OnNotifiedAsked(NMHDR*, LRESULT* result) { return static_cast<int>(*result = 3); }
    void OnIdNotified(UINT id, NMHDR*, LRESULT* result) { *result = static_cast<LRESULT>(id); }
    int OnIdNotifiedAsked(UINT id, NMHDR*, LRESULT*) { return id == 8; }
    void OnUpdate(SCmdUI* ui) { ui->HandlerEnable(1); }
    void OnUpdateAndGoOn(SCmdUI* ui) { ui->ContinueRouting(); }
    void OnIdUpdate(SCmdUI* ui, UINT id) { ui->Init(id + 1, 0, nullptr); }
    void OnExtra(void* extra) { *static_cast<int*>(extra) = 9; }
    int OnExtraAsked(void* extra) { return *static_cast<int*>(extra); }
    void OnOle(SOleCommand* command) { command->declined = command->in != nullptr; }
    int OnOleAsked(SOleCommand* command) { return command->in == nullptr; }
    void OnThrow() { throw std::string("from the handler"); }
    void OnFault() { *static_cast<volatile int*>(nullptr) = 1; }

    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(Base, SCmdTarget)
S_ON_COMMAND(1, OnPlain)
S_ON_COMMAND(1, OnThrow) // never reached: the earlier one wins
S_ON_COMMAND_RANGE(100, 110, OnId)
S_ON_COMMAND_EX(200, OnIdAsked)
S_ON_COMMAND_EX(201, OnIdAsked)
S_ON_CMD(WM_COMMAND, 0, 2, 2, SCmdForm::kPlainAsked, OnPlainAsked)
S_ON_NOTIFY(NM_CLICK, 5, OnNotified)
S_ON_CMD(WM_NOTIFY, 1, 6, 6, SCmdForm::kNotifyAsked, OnNotifiedAsked)
S_ON_CMD(WM_NOTIFY, 1, 7, 7, SCmdForm::kIdNotify, OnIdNotified)
S_ON_CMD(WM_NOTIFY, 1, 8, 9, SCmdForm::kIdNotifyAsked, OnIdNotifiedAsked)
S_ON_UPDATE_COMMAND_UI(1, OnUpdate)
S_ON_UPDATE_COMMAND_UI(3, OnUpdateAndGoOn)
S_ON_CMD(WM_COMMAND, ~0u, 4, 4, SCmdForm::kIdUpdate, OnIdUpdate)
S_ON_CMD(WM_COMMAND, 0, 10, 10, SCmdForm::kExtra, OnExtra)
S_ON_CMD(WM_COMMAND, 0, 11, 11, SCmdForm::kExtraAsked, OnExtraAsked)
S_ON_CMD(WM_COMMAND, 0, 12, 12, SCmdForm::kOleCommand, OnOle)
S_ON_CMD(WM_COMMAND, 0, 13, 13, SCmdForm::kOleCommandAsked, OnOleAsked)
S_ON_ANY(WM_COMMAND, 0, 14, 14, 99, void(), OnPlain) // no such form
S_ON_CONTROL(0x300, 20, OnPlain)
S_ON_COMMAND(30, OnThrow)
S_ON_COMMAND(31, OnFault)
S_END_MESSAGE_MAP()

/// Without a map of its own.
class Between : public Base {};

class Derived : public Between {
public:
    void OnOwn() { Note("own"); }
    S_DECLARE_MESSAGE_MAP()
};
S_BEGIN_MESSAGE_MAP(Derived, Between)
S_ON_COMMAND(1, OnOwn)
S_END_MESSAGE_MAP()

/// Remembers what it is told.
class Ui : public SCmdUI {
public:
    void Enable(int on) override { enabled = on; }
    int enabled = -1;
};

} // namespace

TEST(Routing, CallsEachFormAndAnswersAsItSays)
{
    Base target;
    NMHDR header = { nullptr, 77, 1 };
    LRESULT result = 0;
    SNotifyRecord notify = { &result, &header };
    const auto notified = [&](UINT id, UINT code) {
        result = 0;
        return target.OnCmdMsg(id, static_cast<int>(MAKELONG(code, WM_NOTIFY)), &notify, nullptr);
    };
    g_calls.clear();
    EXPECT_EQ(TRUE, target.OnCmdMsg(1, 0, nullptr, nullptr));
    EXPECT_EQ(TRUE, target.OnCmdMsg(100, 0, nullptr, nullptr));
    EXPECT_EQ(TRUE, target.OnCmdMsg(110, 0, nullptr, nullptr));
    EXPECT_EQ(FALSE, target.OnCmdMsg(99, 0, nullptr, nullptr));
    EXPECT_EQ(FALSE, target.OnCmdMsg(111, 0, nullptr, nullptr));
    EXPECT_EQ(TRUE, target.OnCmdMsg(20, 0x300, nullptr, nullptr));
    EXPECT_EQ(FALSE, target.OnCmdMsg(20, 0x301, nullptr, nullptr));
    EXPECT_EQ("plain id100 id110 plain ", g_calls);
    EXPECT_EQ(0, target.OnCmdMsg(200, 0, nullptr, nullptr));
    EXPECT_EQ(1, target.OnCmdMsg(201, 0, nullptr, nullptr));
    EXPECT_EQ(5, target.OnCmdMsg(2, 0, nullptr, nullptr));
    EXPECT_EQ(TRUE, notified(5, static_cast<UINT>(NM_CLICK)));
    EXPECT_EQ(77, result);
    EXPECT_EQ(3, notified(6, 1));
    EXPECT_EQ(TRUE, notified(7, 1));
    EXPECT_EQ(7, result);
    EXPECT_EQ(1, notified(8, 1));
    EXPECT_EQ(0, notified(9, 1));
    EXPECT_EQ(FALSE, target.OnCmdMsg(6, static_cast<int>(MAKELONG(1, WM_NOTIFY)), nullptr, nullptr))
        << "nothing to give the handler";
    EXPECT_EQ(FALSE, target.OnCmdMsg(1, -1, nullptr, nullptr));
    int extra = 4;
    EXPECT_EQ(4, target.OnCmdMsg(11, 0, &extra, nullptr));
    EXPECT_EQ(TRUE, target.OnCmdMsg(10, 0, &extra, nullptr));
    EXPECT_EQ(9, extra);
    EXPECT_EQ(FALSE, target.OnCmdMsg(14, 0, nullptr, nullptr)) << "a form that nobody knows";

    Ui ui;
    ui.Init(1, 0, nullptr);
    EXPECT_EQ(TRUE, target.OnCmdMsg(1, -1, &ui, nullptr));
    EXPECT_EQ(1, ui.GetHandlerEnabled());
    EXPECT_EQ(1, ui.enabled);
    EXPECT_EQ(FALSE, target.OnCmdMsg(3, -1, &ui, nullptr)) << "ContinueRouting";
    EXPECT_EQ(TRUE, target.OnCmdMsg(1, -1, &ui, nullptr)) << "and forgotten again";
    EXPECT_EQ(TRUE, target.OnCmdMsg(4, -1, &ui, nullptr));
    EXPECT_EQ(5u, ui.GetID());

    SOleCommand ole = {};
    EXPECT_EQ(TRUE, target.OnCmdMsg(12, 0, &ole, nullptr));
    EXPECT_EQ(TRUE, target.OnCmdMsg(13, 0, &ole, nullptr));
    EXPECT_EQ(0, ole.declined);
    ole.in = &ole;
    EXPECT_EQ(FALSE, target.OnCmdMsg(12, 0, &ole, nullptr));
    ole.declined = 0;
    EXPECT_EQ(FALSE, target.OnCmdMsg(13, 0, &ole, nullptr));
    EXPECT_EQ(TRUE, ole.declined);
    EXPECT_EQ(FALSE, target.OnCmdMsg(12, 0, nullptr, nullptr)) << "no record, and no context to make one of";
}

TEST(Routing, SearchesTheClassAndThenItsBases)
{
    Derived target;
    Between between;
    EXPECT_EQ(between.GetMessageMap(), Base().GetMessageMap());
    g_calls.clear();
    target.OnCmdMsg(1, 0, nullptr, nullptr);
    target.OnCmdMsg(105, 0, nullptr, nullptr);
    between.OnCmdMsg(1, 0, nullptr, nullptr);
    EXPECT_EQ("own id105 plain ", g_calls);
    S_CMDHANDLERINFO info = {};
    g_calls.clear();
    EXPECT_EQ(TRUE, target.OnCmdMsg(1, 0, nullptr, &info));
    EXPECT_EQ(&target, info.target);
    EXPECT_TRUE(SHandler<void()>::Of(&Derived::OnOwn) == info.handler);
    EXPECT_EQ("", g_calls) << "only asked";
    EXPECT_EQ(nullptr, SCmdTarget::CreateObject()->GetMessageMap()->getBase);
}

TEST(Routing, LetsWhatHandlersThrowThroughAndFaultsWhileTheHookIsThere)
{
    const TempLog log;
    Base target;
    EXPECT_THROW(target.OnCmdMsg(30, 0, nullptr, nullptr), std::string);
    VectoredExceptionHook::Install();
    EXPECT_THROW(target.OnCmdMsg(31, 0, nullptr, nullptr), SEMachineFault);
    VectoredExceptionHook::Remove();
    g_calls.clear();
    target.OnCmdMsg(1, 0, nullptr, nullptr);
    EXPECT_EQ("plain ", g_calls);
}

TEST(CommandUi, OrdersFallingAndDisablesWhatNobodyHandles)
{
    Ui a, b;
    a.Init(5, 1, nullptr);
    b.Init(7, 0, nullptr);
    EXPECT_EQ(2, a.Compare(b));
    b.Init(5, 4, nullptr);
    EXPECT_EQ(3, a.Compare(b));
    EXPECT_EQ(0, a.Compare(a));
    Base target;
    const struct {
        UINT id;
        int answered, enabled;
    } kCases[] = { { 1, 1, 1 }, { 105, 0, 1 }, { 999, 0, 0 }, { 0, 0, -1 } };
    for (const auto& c : kCases) {
        Ui ui;
        ui.Init(c.id, 0, nullptr);
        EXPECT_EQ(c.answered, ui.DoUpdate(&target, TRUE)) << c.id;
        EXPECT_EQ(c.enabled, ui.enabled) << c.id;
    }
}

namespace {

std::vector<int> g_heard;
int g_other;
void Hear(int kind, WPARAM first, LPARAM, void* context)
{
    g_heard.push_back(kind * 100 + static_cast<int>(first) * 10 + *static_cast<int*>(context));
}
void LeaveAndBringAnother(int kind, WPARAM first, LPARAM second, void* context)
{
    Hear(kind, first, second, context);
    SNotificationManager::Unsubscribe(kind, LeaveAndBringAnother, context);
    SNotificationManager::Unsubscribe(kind, Hear, context);
    SNotificationManager::Subscribe(kind, Hear, &g_other);
}
void Throw(int, WPARAM, LPARAM, void*)
{
    throw 1;
}

} // namespace

TEST(Notifications, GoToSubscribersWhoMayLeaveMeanwhile)
{
    int one = 1;
    g_other = 2;
    g_heard.clear();
    SNotificationManager::Subscribe(3, LeaveAndBringAnother, &one);
    SNotificationManager::Subscribe(3, Hear, &one);
    SNotificationManager::Subscribe(3, Hear, &one);
    EXPECT_EQ(0, SNotificationManager::Notify(2, 0, 0));
    EXPECT_EQ(1, SNotificationManager::Notify(3, 5, 0)) << "the second one was taken out by the first";
    EXPECT_EQ(1, SNotificationManager::Notify(3, 6, 0));
    EXPECT_EQ((std::vector<int>{ 351, 362 }), g_heard);
    EXPECT_EQ(1, SNotificationManager::Unsubscribe(3, Hear, &g_other));
    EXPECT_EQ(0, SNotificationManager::Unsubscribe(3, Hear, &g_other));
    SNotificationManager::Subscribe(3, Throw, nullptr);
    EXPECT_THROW(SNotificationManager::Notify(3, 0, 0), int);
    EXPECT_EQ(1, SNotificationManager::Unsubscribe(3, Throw, nullptr));
    EXPECT_EQ(0, SNotificationManager::Notify(3, 0, 0));
}
