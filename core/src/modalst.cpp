// modalst.cpp: waiting for one window.
#include "modalst.h"

namespace {

SModalState* g_current = nullptr;

} // namespace

SModalState::SModalState(HWND owner, int enabled) noexcept
    : m_owner(owner), m_enabled(enabled), m_before(g_current)
{
    g_current = this;
}

// They need not end in the order of a stack.
SModalState::~SModalState()
{
    if (g_current == this) {
        g_current = m_before;
        return;
    }
    for (SModalState* state = g_current; state; state = state->m_before) {
        if (state->m_before == this) {
            state->m_before = m_before;
            return;
        }
    }
}

SModalState* SModalState::GetCurrent() noexcept
{
    return g_current;
}
