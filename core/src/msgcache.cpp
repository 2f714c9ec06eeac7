// msgcache.cpp: which handler a class has for a message.
#include "msgcache.h"

#include "window.h"

namespace {

struct Slot {
    UINT message;
    const SMsgMapEntry* entry;
    const SMsgMap* map; // null: nothing is known
};
constexpr unsigned kSlots = 256;
Slot g_slots[kSlots];

// A registered message has another number in each session, so its entry has the address of the variable that holds it.
bool Fits(const SMsgMapEntry& entry, UINT message)
{
    if (entry.code != 0 || entry.firstId != 0)
        return false;
    if (message < kFirstRegisteredMessage)
        return entry.message == message;
    return entry.message == kFirstRegisteredMessage && *reinterpret_cast<const UINT*>(entry.form) == message;
}

const SMsgMapEntry* Search(const SMsgMap* map, UINT message)
{
    for (; map; map = map->getBase ? map->getBase() : nullptr) {
        for (const SMsgMapEntry* entry = map->entries; entry->form != 0; ++entry) {
            if (Fits(*entry, message))
                return entry;
        }
    }
    return nullptr;
}

} // namespace

const SMsgMapEntry* FindWindowEntry(const SMsgMap* map, UINT message)
{
    Slot& slot = g_slots[(reinterpret_cast<UINT_PTR>(map) ^ message) % kSlots];
    if (slot.message != message || slot.map != map)
        slot = { message, Search(map, message), map };
    return slot.entry;
}

// Entries of the map may be remembered under a class derived from it, which lives in another module: those go too.
void ForgetCachedMap(const SMsgMap*) noexcept
{
    for (Slot& slot : g_slots)
        slot = Slot();
}
