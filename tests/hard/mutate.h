// mutate.h: inputs made of good ones.
//
//     Mutator mutator(target, TestSeed());
//     const std::string input = mutator.Next();
#ifndef TESTS_MUTATE_H
#define TESTS_MUTATE_H

#include "target.h"

#include <random>
#include <string>

class Mutator {
public:
    /// The same seed gives the same inputs, however many are taken.
    Mutator(const Target& target, unsigned seed);

    /// Adds to the inputs that others are made of.
    void AddSeeds(const Inputs& more) { m_seeds.insert(m_seeds.end(), more.begin(), more.end()); }

    /// A seed of the target, or several in a row, after one to eight changes, more in a long one: flipped bits, spliced and
    /// moved pieces, lengths and numbers next to the powers of two, the target's own words, cuts. At most kLongest bytes.
    std::string Next();

    static constexpr size_t kLongest = 4000;

private:
    static constexpr size_t kLongestStart = 2000;

    const std::string& Seed() { return m_seeds[Below(m_seeds.size())]; }
    std::string Start();
    size_t Below(size_t end) { return end == 0 ? 0 : static_cast<size_t>(m_random() % end); }
    size_t Place(const std::string& input) { return Below(input.size() + 1) / m_target.unit * m_target.unit; }
    unsigned NearPowerOfTwo();
    std::string NumberText();
    std::string Special();
    void Change(std::string& input);

    const Target& m_target;
    Inputs m_seeds;
    std::mt19937 m_random;
};

#endif
