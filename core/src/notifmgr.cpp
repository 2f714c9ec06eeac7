// notifmgr.cpp: who wants to hear of events.
#include "notifmgr.h"

#include "tablemem.h"

namespace {

struct Entry {
    int kind;
    SNotificationManager::Subscriber subscriber; // null: taken out during a call, to be swept afterwards
    void* context;
};

STable<Entry>& Entries()
{
    static STable<Entry> entries;
    return entries;
}

int g_calling = 0; // how many calls of Notify are on the way

int Find(int kind, SNotificationManager::Subscriber subscriber, const void* context)
{
    const STable<Entry>& entries = Entries();
    for (int i = 0; i < entries.Count(); ++i) {
        const Entry& entry = entries[i];
        if (entry.kind == kind && entry.subscriber == subscriber && entry.context == context)
            return i;
    }
    return -1;
}

// A list that nobody is in holds no room either: it would stay for the rest of the process.
void Leave(int at)
{
    STable<Entry>& entries = Entries();
    entries.Remove(at);
    if (entries.Count() == 0)
        entries.Clear();
}

class Calling {
public:
    Calling() noexcept { ++g_calling; }
    ~Calling()
    {
        if (--g_calling > 0)
            return;
        const STable<Entry>& entries = Entries();
        for (int i = entries.Count() - 1; i >= 0; --i) {
            if (!entries[i].subscriber)
                Leave(i);
        }
    }
    Calling(const Calling&) = delete;
    Calling& operator=(const Calling&) = delete;
};

} // namespace

void SNotificationManager::Subscribe(int kind, Subscriber subscriber, void* context)
{
    if (subscriber && Find(kind, subscriber, context) < 0)
        Entries().Add(Entry{ kind, subscriber, context });
}

int SNotificationManager::Unsubscribe(int kind, Subscriber subscriber, void* context) noexcept
{
    const int at = subscriber ? Find(kind, subscriber, context) : -1;
    if (at < 0)
        return 0;
    if (g_calling > 0)
        Entries()[at].subscriber = nullptr;
    else
        Leave(at);
    return 1;
}

int SNotificationManager::Notify(int kind, WPARAM first, LPARAM second)
{
    const Calling calling;
    int called = 0;
    const int count = Entries().Count(); // those who come meanwhile hear the next event
    for (int i = 0; i < count; ++i) {
        const Entry entry = Entries()[i];
        if (entry.kind == kind && entry.subscriber) {
            entry.subscriber(kind, first, second, entry.context);
            ++called;
        }
    }
    return called;
}
