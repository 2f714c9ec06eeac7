// faultguard.h: what the hook needs of the guards.
#ifndef FAULTGUARD_H
#define FAULTGUARD_H

#include "crash.h"

/// For handler guards to work; a part that must not wait for a fault.
void PrepareHandlerGuards() noexcept;

/// Remembers a fault as the one that IsKnownException tells of.
void NoteKnownException(const SMachineFault& fault) noexcept;

#endif
