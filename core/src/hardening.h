// hardening.h: what a process asks of the system so that damage is not lived with.
#ifndef HARDENING_H
#define HARDENING_H

/// For the start of the application object. What the system does not offer is left out.
void HardenProcess() noexcept;

#endif
