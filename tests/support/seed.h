// seed.h: the one seed from which every random test of a program draws.
//
//     std::mt19937 random(TestSeed());
#ifndef TESTS_SEED_H
#define TESTS_SEED_H

/// The seed of this run: the number in the environment variable CV_SEED, else one taken from the clock. The
/// program prints it at its start and, when a test failed, with the command that repeats the run.
unsigned TestSeed();

/// How many random cases a property is tried on: `usual`, or a million when the environment variable CV_LONG is set, as
/// before a release. That takes minutes: set CV_TEST_SECONDS too, which the watchdog obeys.
int Cases(int usual);

#endif
