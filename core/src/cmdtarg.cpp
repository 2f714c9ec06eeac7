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
            if (entry->message == message && entry->code == code && id >= entry->firstId &&
                id <= entry->lastId)
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

int SCmdTarget::CallHandler(const SMsgMapEntry& entry, UINT id, void* extra)
{
    const SHandlerGuard guard;
    const S_PMSG handler = entry.handler;
    const SNotifyRecord* const notify = static_cast<const SNotifyRecord*>(extra);
    SCmdUI* const ui = static_cast<SCmdUI*>(extra);
    switch (entry.form) {
    case SCmdForm::kIdAsked: return SHandler<int(UINT)>::Call(this, handler, id);
    case SCmdForm::kPlain: SHandler<void()>::Call(this, handler); return TRUE;
    case SCmdForm::kId: SHandler<void(UINT)>::Call(this, handler, id); return TRUE;
    case SCmdForm::kPlainAsked: return SHandler<int()>::Call(this, handler);
    case SCmdForm::kNotify:
        SHandler<void(NMHDR*, LRESULT*)>::Call(this, handler, notify->header, notify->result);
        return TRUE;
    case SCmdForm::kNotifyAsked:
        return SHandler<int(NMHDR*, LRESULT*)>::Call(this, handler, notify->header, notify->result);
    case SCmdForm::kIdNotify:
        SHandler<void(UINT, NMHDR*, LRESULT*)>::Call(this, handler, id, notify->header, notify->result);
        return TRUE;
    case SCmdForm::kIdNotifyAsked:
        return SHandler<int(UINT, NMHDR*, LRESULT*)>::Call(this, handler, id, notify->header, notify->result);
    case SCmdForm::kUpdate:
        SHandler<void(SCmdUI*)>::Call(this, handler, ui);
        return !ui->TakeContinueRouting();
    case SCmdForm::kIdUpdate:
        SHandler<void(SCmdUI*, UINT)>::Call(this, handler, ui, id);
        return !ui->TakeContinueRouting();
    case SCmdForm::kExtra: SHandler<void(void*)>::Call(this, handler, extra); return TRUE;
    case SCmdForm::kExtraAsked: return SHandler<int(void*)>::Call(this, handler, extra);
    case SCmdForm::kOleCommand:
    case SCmdForm::kOleCommandAsked: {
        OwnOleCommand own(id);
        SOleCommand* const command = extra ? static_cast<SOleCommand*>(extra) : own.Get();
        if (!command)
            return FALSE;
        if (entry.form == SCmdForm::kOleCommand) {
            SHandler<void(SOleCommand*)>::Call(this, handler, command);
            return command->declined == 0;
        }
        const int taken = SHandler<int(SOleCommand*)>::Call(this, handler, command);
        if (!taken)
            command->declined = TRUE;
        return taken;
    }
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
