// cmdui.h: SCmdUI, through which a handler says how its command looks at the moment: enabled, checked, named.
//
//     void Drawing::OnUpdateGrid(SCmdUI* ui) { ui->Enable(1); ui->SetCheck(m_grid); }
//
// Whoever shows a command (a menu that opens, a toolbar at idle) derives from SCmdUI, fills in the id and calls DoUpdate.
#ifndef CMDUI_H
#define CMDUI_H

#include "cvbase.h"

class SCmdTarget;
class SMenu;

class CVCORE_API SCmdUI {
public:
    /// All fields zero.
    SCmdUI() noexcept;

    /// Enables or disables the item. Here and in the next three: nothing without a menu; a derived class says what it is for
    /// its items. A menu of the system is changed at `index`.
    virtual void Enable(int on);
    /// 0 none, 1 checked, 2 undecided (a check mark in a menu).
    virtual void SetCheck(int check);
    /// A check mark that says "one of several".
    virtual void SetRadio(int on);
    virtual void SetText(const wchar_t* text);
    virtual ~SCmdUI();

    /// Marks that a handler has answered, and enables or disables.
    void HandlerEnable(int on);
    /// Whether a handler has answered.
    int GetHandlerEnabled() const { return m_handlerEnabled; }
    /// For a handler: the next target is to be asked too.
    void ContinueRouting() { m_continueRouting = 1; }
    /// For the routing: whether the handler called that; forgets it.
    int TakeContinueRouting();

    UINT GetID() const { return m_id; }
    UINT GetIndex() const { return m_index; }
    SMenu* GetMenu() const { return m_menu; }
    void Init(UINT id, UINT index, SMenu* menu);

    /// Asks the target for the command's look; 1 when somebody answered. Nobody: with `disable` the item is disabled when there
    /// is no handler for the command either.
    int DoUpdate(SCmdTarget* target, int disable);

    /// By id, then by index, the other one's minus this one's: falling, as meant.
    int Compare(const SCmdUI& other) const;

protected:
    UINT m_id;
    UINT m_index;
    void* m_item;
    int m_continueRouting;
    int m_handlerEnabled;
    void* m_owner;
    SMenu* m_menu;
    void* m_subMenu;
    void* m_parentMenu;
};

/// The same for an item of the window's own menu.
class CVCORE_API SSysCmdUI : public SCmdUI {
public:
    SSysCmdUI() noexcept : m_command(0), m_state(0) {}

protected:
    UINT m_command;
    UINT m_state;
};

#endif
