// cmdtarg.cpp: routing of commands through message maps.
#include "cmdtarg.h"

#include "cmdui.h"
#include "crash.h"
#include "msgcache.h"
#include "winapp.h"

S_IMPLEMENT_DYNCREATE(SCmdTarget, SObject)

SOwnMsgMap::~SOwnMsgMap()
{
    ForgetCachedMap(this);
}

SOleCommandContext& SGetOleCommandContext() noexcept
{
    static SOleCommandContext context = {};
    return context;
}

const SMsgMap* SCmdTarget::GetMessageMap() const
{
    return GetThisMessageMap();
}

const SMsgMap* SCmdTarget::GetThisMessageMap()
{
    static const SMsgMapEntry kEntries[] = { { 0, 0, 0, 0, 0, nullptr } };
    static const SMsgMap kMap = { nullptr, kEntries };
    return &kMap;
}

// ---- Routing ----

namespace {

constexpr int kUpdateCode = -1;

const SMsgMapEntry* FindEntry(const SMsgMap* map, UINT message, UINT code, UINT id)
{
    for (; map; map = map->getBase ? map->getBase() : nullptr) {
        for (const SMsgMapEntry* entry = map->entries; entry->form != 0; ++entry) {
            // The id first: of most entries of a map it alone is different.
            if (id <= entry->lastId && id >= entry->firstId && entry->message == message &&
                entry->code == code)
                return entry;
        }
    }
    return nullptr;
}

// The record of an OLE command that came without one; empty where the process's context is not for it.
class OwnOleCommand {
public:
    explicit OwnOleCommand(UINT id) noexcept : m_command()
    {
        const SOleCommandContext& context = SGetOleCommandContext();
        if (!::IsWindow(context.window) || !context.object || context.id != id || !context.isActive)
            return;
        void* object = nullptr;
        if (SUCCEEDED(context.object->QueryInterface(__uuidof(IUnknown), &object))) {
            m_command.object = static_cast<IUnknown*>(object);
            m_command.id = id;
        }
    }
    ~OwnOleCommand()
    {
        if (m_command.object)
            m_command.object->Release();
    }
    OwnOleCommand(const OwnOleCommand&) = delete;
    OwnOleCommand& operator=(const OwnOleCommand&) = delete;

    SOleCommand* Get() { return m_command.object ? &m_command : nullptr; }

private:
    SOleCommand m_command;
};

} // namespace

int SCmdTarget::OnCmdMsg(UINT id, int code, void* extra, S_CMDHANDLERINFO* info)
{
    UINT message = WM_COMMAND;
    if (code != kUpdateCode) {
        const UINT high = HIWORD(code);
        message = high ? high : static_cast<UINT>(WM_COMMAND);
        code = LOWORD(code);
    }
    const SMsgMapEntry* const entry = FindEntry(GetMessageMap(), message, static_cast<UINT>(code), id);
    if (!entry)
        return FALSE;
    if (info) {
        info->target = this;
        info->handler = entry->handler;
        return TRUE;
    }
    return CallHandler(*entry, id, extra);
}

namespace {

template <UINT_PTR form, class... Arguments>
auto CallAs(SCmdTarget* target, S_PMSG handler, Arguments... arguments)
{
    return SHandler<typename SCmdFormOf<form>::Type>::Call(target, handler, arguments...);
}

int CallNotify(SCmdTarget* target, const SMsgMapEntry& entry, UINT id, const SNotifyRecord& notify)
{
    const S_PMSG handler = entry.handler;
    NMHDR* const header = notify.header;
    LRESULT* const result = notify.result;
    switch (entry.form) {
    case SCmdForm::kNotify: CallAs<SCmdForm::kNotify>(target, handler, header, result); return TRUE;
    case SCmdForm::kNotifyAsked: return CallAs<SCmdForm::kNotifyAsked>(target, handler, header, result);
    case SCmdForm::kIdNotify: CallAs<SCmdForm::kIdNotify>(target, handler, id, header, result); return TRUE;
    default: return CallAs<SCmdForm::kIdNotifyAsked>(target, handler, id, header, result);
    }
}

int CallOle(SCmdTarget* target, const SMsgMapEntry& entry, UINT id, SOleCommand* command)
{
    OwnOleCommand own(id);
    if (!command)
        command = own.Get();
    if (!command)
        return FALSE;
    if (entry.form == SCmdForm::kOleCommand) {
        CallAs<SCmdForm::kOleCommand>(target, entry.handler, command);
        return command->declined == 0;
    }
    const int taken = CallAs<SCmdForm::kOleCommandAsked>(target, entry.handler, command);
    if (!taken)
        command->declined = TRUE;
    return taken;
}

} // namespace

int SCmdTarget::CallHandler(const SMsgMapEntry& entry, UINT id, void* extra)
{
    const SHandlerGuard guard;
    const S_PMSG handler = entry.handler;
    switch (entry.form) {
    case SCmdForm::kIdAsked: return CallAs<SCmdForm::kIdAsked>(this, handler, id);
    case SCmdForm::kPlain: CallAs<SCmdForm::kPlain>(this, handler); return TRUE;
    case SCmdForm::kId: CallAs<SCmdForm::kId>(this, handler, id); return TRUE;
    case SCmdForm::kPlainAsked: return CallAs<SCmdForm::kPlainAsked>(this, handler);
    case SCmdForm::kNotify:
    case SCmdForm::kNotifyAsked:
    case SCmdForm::kIdNotify:
    case SCmdForm::kIdNotifyAsked:
        return extra ? CallNotify(this, entry, id, *static_cast<const SNotifyRecord*>(extra)) : FALSE;
    case SCmdForm::kUpdate:
    case SCmdForm::kIdUpdate: {
        SCmdUI* const ui = static_cast<SCmdUI*>(extra);
        if (!ui)
            return FALSE;
        if (entry.form == SCmdForm::kUpdate)
            CallAs<SCmdForm::kUpdate>(this, handler, ui);
        else
            CallAs<SCmdForm::kIdUpdate>(this, handler, ui, id);
        return !ui->TakeContinueRouting();
    }
    case SCmdForm::kExtra: CallAs<SCmdForm::kExtra>(this, handler, extra); return TRUE;
    case SCmdForm::kExtraAsked: return CallAs<SCmdForm::kExtraAsked>(this, handler, extra);
    case SCmdForm::kOleCommand:
    case SCmdForm::kOleCommandAsked: return CallOle(this, entry, id, static_cast<SOleCommand*>(extra));
    default: return FALSE;
    }
}

// ---- The wait cursor ----

namespace {

void AskApplication(int change)
{
    if (SWinApp* const app = SWinApp::Get())
        app->DoWaitCursor(change);
}

} // namespace

void SCmdTarget::BeginWaitCursor()
{
    AskApplication(1);
}

void SCmdTarget::EndWaitCursor()
{
    AskApplication(-1);
}

void SCmdTarget::RestoreWaitCursor()
{
    AskApplication(0);
}
