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
/// Threads  PutUp and TakeAway one at a time; calls of the handler may come meanwhile.
template <class Handler, Handler (*set)(Handler)>
class PassedOn {
public:
    constexpr explicit PassedOn(Handler ours) : m_ours(ours) {}

    void PutUp() noexcept
    {
        const Handler before = set(m_ours);
        if (before == m_ours)
            return;
        (m_stays ? m_over : m_below).store(before);
        m_isOver.store(m_stays);
    }

    void TakeAway() noexcept
    {
        const Handler top = set(m_isOver.load() ? m_over.load() : m_below.load());
        if (top == m_ours) {
            m_isOver.store(false);
            return;
        }
        set(top);
        m_stays = true;
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
    bool m_stays = false;
};

#endif
