// smenu.cpp: menus, and the maps' lock.
#include "smenu.h"

#include "cmdui.h"

#include <utility>

S_IMPLEMENT_DYNCREATE(SMenu, SObject)

long& STempMapLock::Count() noexcept
{
    static long count = 0;
    return count;
}

SHandleMap<HMENU, SMenu>& SMenu::Map()
{
    static SHandleMap<HMENU, SMenu> map;
    return map;
}

SMenu* SMenu::MakeTemporary(HMENU menu)
{
    SMenu* const made = new SMenu;
    made->m_handle = menu;
    return made;
}

void SMenu::EndTemporary(SMenu* menu) noexcept
{
    menu->m_handle = nullptr;
    delete menu;
}

SMenu::~SMenu()
{
    DestroyMenu();
}

int SMenu::Attach(HMENU menu)
{
    if (!menu)
        return FALSE;
    Map().SetPermanent(menu, this);
    m_handle = menu;
    return TRUE;
}

HMENU SMenu::Detach() noexcept
{
    if (m_handle)
        Map().RemovePermanent(m_handle);
    return std::exchange(m_handle, nullptr);
}

int SMenu::DestroyMenu() noexcept
{
    const HMENU menu = Detach();
    return menu && ::DestroyMenu(menu);
}

SMenu* SMenu::FromHandle(HMENU menu)
{
    return Map().FindOrMake(menu);
}

SMenu* SMenu::FromHandlePermanent(HMENU menu)
{
    return Map().FindPermanent(menu);
}

void SMenu::DeleteTempMap() noexcept
{
    Map().DeleteTemporary();
}

void SMenu::UpdateItems(SCmdTarget* target)
{
    const int count = ::GetMenuItemCount(m_handle);
    for (int i = 0; i < count; ++i) {
        const UINT id = ::GetMenuItemID(m_handle, i);
        if (id == 0 || id == static_cast<UINT>(-1))
            continue;
        SCmdUI ui;
        ui.Init(id, static_cast<UINT>(i), this);
        ui.DoUpdate(target, TRUE);
    }
}
