// modstate.h: SModuleState, where a module's code and its resources are.
//
//     SModuleState::Core().SetResourceHandle(frenchTexts);     // the library's texts come from there from now on
//
// Threads  set up on the main thread, before others read.
#ifndef MODSTATE_H
#define MODSTATE_H

#include "cvbase.h"
#include "strclss.h"

/// A module's instance handle, and the handle of the module that has its resources where that is another one.
class CVCORE_API SModuleState {
public:
    /// Handles may be null: not known.
    explicit SModuleState(HINSTANCE instance, HINSTANCE resources = nullptr) noexcept
        : m_instance(instance), m_resources(resources)
    {}

    HINSTANCE GetInstanceHandle() const noexcept { return m_instance; }
    HINSTANCE GetResourceHandle() const noexcept { return m_resources; }
    /// Each returns what was there before. The handles are not owned.
    HINSTANCE SetInstanceHandle(HINSTANCE instance) noexcept;
    HINSTANCE SetResourceHandle(HINSTANCE resources) noexcept;

    /// Where to load resources from: the resource handle, or the instance handle when there is none.
    HINSTANCE GetResourceModule() const noexcept { return m_resources ? m_resources : m_instance; }

    /// Loads a string resource: from the resource handle, the instance handle or the core library itself, whichever has it
    /// first, in the language that SString::LoadString chooses there. 0 and an untouched text when none has. A null handle
    /// is passed over.
    int TryLoadString(unsigned id, SString& text) const;

    /// The core library's own state. Its instance handle is the library's; its resource handle is null at first.
    static SModuleState& Core() noexcept;
    /// The state of the module that is at work, as the application set it; the library's own until then and for null.
    static SModuleState& Current() noexcept;
    static void SetCurrent(SModuleState* state) noexcept;
    /// The module that holds the library's code: the DLL, or the program that the library is linked into.
    static HINSTANCE CoreInstance() noexcept;

private:
    HINSTANCE m_instance;
    HINSTANCE m_resources;
};

#endif
