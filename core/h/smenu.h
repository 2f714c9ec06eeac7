// smenu.h: SMenu, a menu of the system.
#ifndef SMENU_H
#define SMENU_H

#include "baseobj.h"
#include "winhand.h"

class SCmdTarget;

class CVCORE_API SMenu : public SObject {
    S_DECLARE_DYNCREATE(SMenu)
public:
    SMenu() noexcept : m_handle(nullptr) {}
    SMenu(const SMenu&) = delete;
    SMenu& operator=(const SMenu&) = delete;
    /// Destroys a menu that is still attached.
    ~SMenu() override;

    /// 0 for a null handle. Throws SEOutOfMemory.
    int Attach(HMENU menu);
    HMENU Detach() noexcept;
    HMENU GetHandle() const { return m_handle; }
    int DestroyMenu() noexcept;

    static SMenu* FromHandle(HMENU menu);
    static SMenu* FromHandlePermanent(HMENU menu);
    static void DeleteTempMap() noexcept;

    /// Brings the items of the menu up to date before it opens: each asks `target`, and is disabled when nobody handles its
    /// command. Separators and submenus are left alone.
    void UpdateItems(SCmdTarget* target);

private:
    friend class SHandleMap<HMENU, SMenu>;
    static SMenu* MakeTemporary(HMENU menu);
    static void EndTemporary(SMenu* menu) noexcept;
    static SHandleMap<HMENU, SMenu>& Map();

    HMENU m_handle;
};

#endif
