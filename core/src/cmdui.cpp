// cmdui.cpp: how a command looks at the moment.
#include "cmdui.h"

#include "cmdtarg.h"
#include "smenu.h"

#include <utility>

SCmdUI::SCmdUI() noexcept
    : m_id(0),
      m_index(0),
      m_item(nullptr),
      m_continueRouting(0),
      m_handlerEnabled(0),
      m_owner(nullptr),
      m_menu(nullptr),
      m_subMenu(nullptr),
      m_parentMenu(nullptr)
{}

SCmdUI::~SCmdUI() = default;

void SCmdUI::Init(UINT id, UINT index, SMenu* menu)
{
    m_id = id;
    m_index = index;
    m_menu = menu;
    m_continueRouting = m_handlerEnabled = 0;
}

void SCmdUI::Enable(int on)
{
    if (m_menu)
        ::EnableMenuItem(m_menu->GetHandle(), m_index,
                         MF_BYPOSITION | (on ? MF_ENABLED : MF_DISABLED | MF_GRAYED));
}

void SCmdUI::SetCheck(int check)
{
    if (m_menu)
        ::CheckMenuItem(m_menu->GetHandle(), m_index, MF_BYPOSITION | (check ? MF_CHECKED : MF_UNCHECKED));
}

void SCmdUI::SetRadio(int on)
{
    SetCheck(on);
    if (!m_menu || !on)
        return;
    ::CheckMenuRadioItem(m_menu->GetHandle(), m_index, m_index, m_index, MF_BYPOSITION);
}

void SCmdUI::SetText(const wchar_t* text)
{
    if (!m_menu)
        return;
    MENUITEMINFOW info = {};
    info.cbSize = sizeof info;
    info.fMask = MIIM_STRING;
    info.dwTypeData = const_cast<wchar_t*>(text ? text : L"");
    ::SetMenuItemInfoW(m_menu->GetHandle(), m_index, TRUE, &info);
}

void SCmdUI::HandlerEnable(int on)
{
    m_handlerEnabled = 1;
    Enable(on);
}

int SCmdUI::TakeContinueRouting()
{
    return std::exchange(m_continueRouting, 0);
}

int SCmdUI::DoUpdate(SCmdTarget* target, int disable)
{
    if (m_id == 0)
        return 0;
    const int answered = target->OnCmdMsg(m_id, -1, this, nullptr);
    if (!answered && disable && !m_handlerEnabled) {
        S_CMDHANDLERINFO info = {};
        Enable(target->OnCmdMsg(m_id, 0, nullptr, &info));
    }
    return answered;
}

int SCmdUI::Compare(const SCmdUI& other) const
{
    const int order = static_cast<int>(other.m_id - m_id);
    return order != 0 ? order : static_cast<int>(other.m_index - m_index);
}
