// smenu.cpp: menus, and the maps' lock.
#include "smenu.h"

#include "cmdui.h"

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

void SMenu::End(HMENU handle) noexcept
{
    ::DestroyMenu(handle);
}

int SMenu::DestroyMenu() noexcept
{
    const HMENU menu = Detach();
    return menu && ::DestroyMenu(menu);
}

void SMenu::UpdateItems(SCmdTarget* target)
{
    const STempMapLock lock; // a handler may run a loop of its own, and this may be a temporary object
    const int count = ::GetMenuItemCount(GetHandle());
    for (int i = 0; i < count; ++i) {
        const UINT id = ::GetMenuItemID(GetHandle(), i);
        if (id == 0 || id == static_cast<UINT>(-1))
            continue;
        SCmdUI ui;
        ui.Init(id, static_cast<UINT>(i), this);
        ui.DoUpdate(target, TRUE);
    }
}
