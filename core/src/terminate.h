// terminate.h: the library's place in std::terminate.
#ifndef TERMINATE_H
#define TERMINATE_H

/// While somebody uses it, ours is the process's terminate handler: it sends the thread to the guard of a fault whose
/// exception could not get there, logs an exception that nobody caught while the hook is installed, and passes on to the
/// handler before.
void UseTerminateHandler() noexcept;
void LeaveTerminateHandler() noexcept;

#endif
