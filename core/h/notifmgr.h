// notifmgr.h: SNotificationManager, who wants to hear when the program becomes idle.
//
//     SNotificationManager::Subscribe(SNotificationManager::kFirstIdle, Update, this);
//
// Threads  the user-interface thread.
// Failure  Subscribe throws SEOutOfMemory with nothing changed. What a subscriber throws passes through Notify; those behind it
//          hear nothing of that event.
#ifndef NOTIFMGR_H
#define NOTIFMGR_H

#include "cvbase.h"

class CVCORE_API SNotificationManager {
public:
    /// Kinds of events. A program may use larger numbers for its own.
    enum Kind {
        kIdleStep = 1,  ///< each time idle work begins
        kFirstIdle = 2, ///< the first time since there was input
        kIdleDone = 3,  ///< idle work is done until there is input again
        kAppEnds = 4    ///< the application object goes; what a subscriber throws is dropped
    };
    typedef void (*Subscriber)(int kind, WPARAM first, LPARAM second, void* context);

    /// Calls from now on `subscriber` with `context` for events of a kind; once, however often it was asked for.
    static void Subscribe(int kind, Subscriber subscriber, void* context);
    /// Ends that; also from within a call: who is taken out is not called any more, who is put in not yet. 1 when it was in.
    static int Unsubscribe(int kind, Subscriber subscriber, void* context) noexcept;
    /// Calls the subscribers of a kind in the order in which they came; returns how many.
    static int Notify(int kind, WPARAM first, LPARAM second);
};

#endif
