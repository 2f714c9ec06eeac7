// modstate.cpp: where a module's code and its resources are.
#include "modstate.h"

#include <utility>

extern "C" IMAGE_DOS_HEADER
    __ImageBase; // the linker's name for the start of the module that this is linked into

namespace {

SModuleState g_core(SModuleState::CoreInstance());
SModuleState* g_current = nullptr;

} // namespace

HINSTANCE SModuleState::SetInstanceHandle(HINSTANCE instance) noexcept
{
    return std::exchange(m_instance, instance);
}

HINSTANCE SModuleState::SetResourceHandle(HINSTANCE resources) noexcept
{
    return std::exchange(m_resources, resources);
}

int SModuleState::TryLoadString(unsigned id, SString& text) const
{
    for (HINSTANCE module : { m_resources, m_instance, CoreInstance() }) {
        if (module && text.TryLoad(module, id))
            return 1;
    }
    return 0;
}

SModuleState& SModuleState::Core() noexcept
{
    return g_core;
}

SModuleState& SModuleState::Current() noexcept
{
    return g_current ? *g_current : g_core;
}

void SModuleState::SetCurrent(SModuleState* state) noexcept
{
    g_current = state;
}

HINSTANCE SModuleState::CoreInstance() noexcept
{
    return reinterpret_cast<HINSTANCE>(&__ImageBase);
}
