// passedon.h: a process-wide handler of which there is one, put over another's and passing on to it.
#ifndef PASSEDON_H
#define PASSEDON_H

#include "cvbase.h"

#include <atomic>

/// `set` installs a handler and returns the one before. Taking ours out again is possible only while nobody put another
/// one over it: whoever did may call ours for ever. It is then left in its place, passes everything on, and keeps this
/// module in memory.
///
/// When ours is put up again over such a one, the same call comes by twice, from the top and from below. Then ours does its
/// work at the top and leaves downwards from below.
///
/// Threads  all but Turn one at a time; calls of the handler may come meanwhile.
template <class Handler, Handler (*set)(Handler)>
class PassedOn {
public:
    constexpr explicit PassedOn(Handler ours) : m_ours(ours) {}

    /// Ours is the one from now on; also when somebody else's is above it.
    void PutUp() noexcept
    {
        const Handler before = set(m_ours);
        if (before == m_ours)
            return;
        (m_isUp ? m_over : m_below).store(before);
        m_isOver.store(m_isUp);
        m_isUp = true;
    }

    /// Puts back whom ours was put over in its second place; the first one stays.
    void StepDown() noexcept
    {
        if (!m_isOver.exchange(false))
            return;
        const Handler top = set(m_over.load());
        if (top != m_ours)
            set(top);
    }

    void TakeAway() noexcept
    {
        const bool wasOver = m_isOver.load();
        StepDown();
        if (!wasOver) {
            const Handler top = set(m_below.load());
            m_isUp = top != m_ours;
            if (m_isUp)
                set(top);
        }
        if (!m_isUp)
            return;
        HMODULE self;
        ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                             reinterpret_cast<LPCWSTR>(m_ours), &self);
    }

    /// One call of ours. While it lives, a further one of this thread is `again`, from below.
    class Turn {
    public:
        explicit Turn(PassedOn& handler) noexcept : m_handler(handler)
        {
            const DWORD self = ::GetCurrentThreadId();
            again = handler.m_caller.load() == self;
            m_before = handler.m_caller.exchange(self);
            next = !again && handler.m_isOver.load() ? handler.m_over.load() : handler.m_below.load();
        }
        ~Turn() { m_handler.m_caller.store(m_before); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        bool again;
        Handler next; ///< whom to pass on to; may be null

    private:
        PassedOn& m_handler;
        DWORD m_before;
    };

private:
    const Handler m_ours;
    std::atomic<Handler> m_below{ nullptr }; // whom ours was put over first
    std::atomic<Handler> m_over{ nullptr };  // whom it was put over when it was still below
    std::atomic<bool> m_isOver{ false };
    std::atomic<DWORD> m_caller{ 0 };
    bool m_isUp = false; // in the first place
};

#endif
