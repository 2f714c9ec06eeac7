// Hostile input: whatever comes, the targets refuse it or take it, in work that is bounded by its size.
//
// CV_TEST_SECONDS is the time for each test of a target; without it there is a taste of each, and of mutations, where a run is
// full (support/seed.h), two million and more in all; ten seconds where it is long.
#include "corpus.h"
#include "eating.h"
#include "lane.h"
#include "mutate.h"
#include "target.h"

#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

const double kUsualSeconds = 0.25, kFullMutatedSeconds = 3, kLongSeconds = 10;

double SecondsToSpend()
{
    const char* asked = std::getenv("CV_TEST_SECONDS");
    if (asked)
        return std::strtod(asked, nullptr);
    return WantedAmount() == Amount::Long ? kLongSeconds : kUsualSeconds;
}

double SecondsToMutate()
{
    const bool isFull = WantedAmount() == Amount::Full && !std::getenv("CV_TEST_SECONDS");
    return isFull ? kFullMutatedSeconds : SecondsToSpend();
}

class HostileInput : public testing::TestWithParam<size_t> {
protected:
    void TearDown() override { EXPECT_TRUE(IsHeapWhole()); }
    static void TearDownTestSuite()
    {
        std::printf("%lu mutated inputs of %lu bytes on average in all\n", s_mutated.inputs,
                    static_cast<unsigned long>(s_mutated.bytes / std::max(1ul, s_mutated.inputs)));
    }

    const Target& m_target = Targets()[GetParam()];
    const WorkCounter m_work;
    Tally m_tally;
    static Tally s_mutated; // of all targets
};

Tally HostileInput::s_mutated;

} // namespace

TEST_P(HostileInput, ThatDidHarmOnceDoesNoneAnyMore)
{
    for (const auto& [name, input] : HarmfulInputs(m_target)) {
        SCOPED_TRACE(name);
        Eats(m_target, input, m_work, m_tally);
    }
}

TEST_P(HostileInput, ThatReachesWhatNoSeedDoesIsTakenToo)
{
    for (const std::string& input : ReachingInputs(m_target))
        EXPECT_TRUE(Eats(m_target, input, m_work, m_tally));
}

TEST(HostileCorpus, BelongsToTargets)
{
    static const std::set<std::string> kOfTheSystem = { "dde", "commandline", "filekind", "path", "url" };
    std::set<std::string> names = kOfTheSystem;
    for (const Target& target : Targets())
        names.insert(target.name);
    for (const auto& entry : std::filesystem::directory_iterator(CorpusFolder()))
        EXPECT_EQ(1u, names.count(entry.path().filename().string())) << entry.path();
}

TEST(HostileCorpus, IsFound)
{
    size_t harmful = 0, reaching = 0;
    for (const Target& target : Targets()) {
        harmful += HarmfulInputs(target).size();
        reaching += ReachingInputs(target).size();
    }
    EXPECT_GT(harmful, 0u);
    EXPECT_GT(reaching, 0u);
}

// All of them where that takes no more than the time, else as many in any order.
TEST_P(HostileInput, CutAnywhereOrWithABitTurnedDoesNoHarm)
{
    constexpr size_t kFlippedBytes = 300;
    struct Damage {
        const std::string* seed;
        size_t end, bit; // the bit that is turned, when the end is the seed's
    };
    const Inputs seeds = m_target.seeds();
    std::vector<Damage> damages;
    for (const std::string& seed : seeds) {
        ASSERT_TRUE(Eats(m_target, seed, m_work, m_tally));
        for (size_t end = 0; end < seed.size(); ++end)
            damages.push_back({ &seed, end, 0 });
        for (size_t bit = 0; bit < 8 * std::min(seed.size(), kFlippedBytes); ++bit)
            damages.push_back({ &seed, seed.size(), bit });
    }
    EXPECT_GT(m_tally.inputs, m_tally.refused) << "not even the seeds were taken";
    std::mt19937 random(TestSeed());
    std::shuffle(damages.begin(), damages.end(), random);
    const double stop = Seconds() + SecondsToSpend();
    size_t done = 0;
    for (; done < damages.size() && (done % 16 != 0 || Seconds() < stop); ++done) {
        const Damage& damage = damages[done];
        std::string input = damage.seed->substr(0, damage.end);
        if (damage.end == damage.seed->size())
            input[damage.bit / 8] ^= static_cast<char>(1 << damage.bit % 8);
        ASSERT_TRUE(Eats(m_target, input, m_work, m_tally));
    }
    std::printf("%s: %u of %u ways to damage a seed\n", m_target.name, static_cast<unsigned>(done),
                static_cast<unsigned>(damages.size()));
}

TEST_P(HostileInput, ThatIsMutatedDoesNoHarm)
{
    constexpr unsigned kBetweenLooks = 16;
    Mutator mutator(m_target, TestSeed());
    mutator.AddSeeds(ReachingInputs(m_target));
    const double end = Seconds() + SecondsToMutate();
    do {
        for (unsigned i = 0; i < kBetweenLooks; ++i)
            ASSERT_TRUE(Eats(m_target, mutator.Next(), m_work, m_tally));
        ASSERT_TRUE(IsHeapWhole());
    } while (Seconds() < end);
    std::printf(
        "%s: %lu mutated inputs of %lu bytes on average, %lu of them refused, the slowest in %.2f s\n",
        m_target.name, m_tally.inputs, static_cast<unsigned long>(m_tally.bytes / m_tally.inputs),
        m_tally.refused, m_tally.slowest);
    s_mutated.inputs += m_tally.inputs;
    s_mutated.bytes += m_tally.bytes;
}

// Work that grows with the square of the input would take minutes here, hours in a long run: the watchdog, and the count of what was asked for,
// see it.
TEST_P(HostileInput, CostsNoMoreThanItsSize)
{
    const size_t kLarge = SecondsToSpend() > kUsualSeconds ? 1 << 20 : 1 << 18;
    const Inputs seeds = m_target.seeds();
    std::vector<std::pair<std::string, std::string>> pieces; // how it begins, what follows over and over
    for (const std::string& seed : seeds)
        pieces.push_back({ std::string(), seed });
    for (const std::string& word : m_target.words)
        pieces.push_back({ seeds.front().substr(0, 4 * m_target.unit), word });
    std::mt19937 random(TestSeed());
    std::shuffle(pieces.begin(), pieces.end(), random);
    // What asks the system a lot cannot be tried whole in a short run.
    const double stop = Seconds() + 4 * SecondsToSpend();
    for (size_t i = 0; i < pieces.size() && Seconds() < stop; ++i) {
        std::string large = pieces[i].first;
        while (!pieces[i].second.empty() && large.size() < kLarge)
            large += pieces[i].second;
        ASSERT_TRUE(Eats(m_target, large, m_work, m_tally));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, HostileInput, testing::Range<size_t>(0, Targets().size()),
                         [](const testing::TestParamInfo<size_t>& info) {
                             return Targets()[info.param].name;
                         });
