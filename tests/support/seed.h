// seed.h: the one seed from which every random test of a program draws, and how much random work a run does.
//
//     std::mt19937 random(TestSeed());
//     for (int i = 0; i < Cases(10000, kMillion); ++i)
#ifndef TESTS_SEED_H
#define TESTS_SEED_H

/// The seed of this run: the number in the environment variable CV_SEED, else one taken from the clock. The
/// program prints it at its start and, when a test failed, with the command that repeats the run.
unsigned TestSeed();

/// A plain run takes the numbers in full in one preset, whose tests have CV_FULL set in their environment, and a taste of
/// them in the others and when a program is started by hand. CV_LONG asks for those of a release: minutes, up to an hour.
enum class Amount { Taste, Full, Long };
Amount WantedAmount();

const int kMillion = 1000000;

/// How many random cases a property is tried on: `taste`, or `full` where a run is full, or ten times as many, at least a
/// million, in a long one.
int Cases(int taste, int full);
/// For those that a full run tries no more often.
int Cases(int taste);

#endif
