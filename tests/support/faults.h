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

#endif
