// terminate.h: the library's place in std::terminate.
//
// Ours sends the thread to the guard of a fault whose exception could not get there, logs what ends the program while the hook
// is installed, and passes on to the handler before.
#ifndef TERMINATE_H
#define TERMINATE_H

/// For the hook, for as long as it is installed. One at a time.
void InstallTerminateHandler() noexcept;
void RemoveTerminateHandler() noexcept;

/// For each fault whose exception is under way, so that ours is the process's handler until it has arrived.
void UseTerminateHandler() noexcept;
void LeaveTerminateHandler() noexcept;

#endif
