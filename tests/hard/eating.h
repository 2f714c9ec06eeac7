// eating.h: one input given to a target, and what must hold whatever it is.
//
//     const WorkCounter work;
//     Tally tally;
//     EXPECT_TRUE(Eats(target, input, work, tally));
#ifndef TESTS_EATING_H
#define TESTS_EATING_H

#include "lane.h"
#include "target.h"

#include <string>

struct Tally {
    unsigned long inputs = 0, refused = 0;
    unsigned long long bytes = 0;
    double slowest = 0; ///< seconds that one of them took, of a clock that may tick in hundredths
};

/// Whether an input is taken or refused as it should be, with memory and look-ups in proportion. If not, it is made small, saved
/// beside the program, and the running test fails. One that ends the program, or hangs, is saved first.
bool Eats(const Target& target, const std::string& input, const WorkCounter& work, Tally& tally);

#endif
