// msgcache.h: which handler a class has for a message, for the messages that come again and again.
#ifndef MSGCACHE_H
#define MSGCACHE_H

#include "cmdtarg.h"

/// The entry of a map and its bases for a window message; null when there is none. Remembers both in one of 256 slots.
const SMsgMapEntry* FindWindowEntry(const SMsgMap* map, UINT message);

/// Forgets a map that ends: another one may come to stand at its address.
void ForgetCachedMap(const SMsgMap* map) noexcept;

#endif
