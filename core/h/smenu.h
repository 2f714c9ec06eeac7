// smenu.h: SMenu, a menu of the system.
#ifndef SMENU_H
#define SMENU_H

#include "swrap.h"

class SCmdTarget;

class CVCORE_API SMenu : public SWrapped<SMenu, HMENU> {
    S_DECLARE_DYNCREATE(SMenu)
public:
    /// 0 when there was none.
    int DestroyMenu() noexcept;
    /// Brings the items of the menu up to date before it opens: each asks `target`, and is disabled when nobody handles its
    /// command. Separators and submenus are left alone.
    void UpdateItems(SCmdTarget* target);

    static void End(HMENU handle) noexcept;
    static SHandleMap<HMENU, SMenu>& Map();
};

#endif
