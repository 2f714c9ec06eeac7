// faults.h: how a test program ends when it cannot end by itself, and what it says then.
#ifndef TESTS_FAULTS_H
#define TESTS_FAULTS_H

enum {
    kExitHung = 98,    ///< the watchdog ended the program
    kExitCrashed = 99, ///< a fault that nobody handled
};

/// From now on an unhandled fault prints its code and place and ends the program with kExitCrashed. Without
/// this a crashed program can end with status 0 under Wine.
void ReportCrashes();

/// Starts a thread that, unless the program ends within `seconds`, prints where every other thread stands and
/// ends the program with kExitHung.
void StartWatchdog(unsigned seconds);

/// Gives the program so many seconds from now: for one that works on many inputs and must get on with each.
void RestartWatchdog(unsigned seconds);

/// Called before the program ends with kExitHung or kExitCrashed, to save what it was at work on. The process is broken
/// then: nothing on the heap may be touched. Null calls nothing.
void AtFault(void (*tell)());

#endif
