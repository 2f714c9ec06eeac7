// Hostile input that finds its way: an input that reaches new code is a seed of further ones, for CV_TEST_SECONDS a target. At
// the end few and small inputs that reach all that was found are kept in tests/corpus, where the other runs take them.
#include "edges.h"

#include "hard/corpus.h"
#include "hard/eating.h"
#include "hard/mutate.h"
#include "hard/target.h"

#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

// Of one target: most take less, and the files of all of them are to stay below 64 KiB.
constexpr size_t kMostKept = 7000;
constexpr double kUsualSeconds = 5;

struct Find {
    std::string input;
    Edges edges; // those that no seed reaches
};

// Goes on from one target's seeds.
class Guide {
public:
    explicit Guide(const Target& target) : m_target(target), m_mutator(target, TestSeed())
    {
        for (const std::string& seed : target.seeds())
            m_ofSeeds.Add(Passed(seed));
        m_known = m_ofSeeds;
    }

    size_t Known() const { return m_known.Count(); }
    const Tally& Eaten() const { return m_tally; }
    bool IsSound() const { return m_isSound; }

    void Mutate() { Try(m_mutator.Next()); }

    /// Keeps an input that reaches something new, cut down to what it needs for that.
    void Try(const std::string& input)
    {
        if (m_known.NewOnes(Passed(input)).empty())
            return;
        // What pools and caches have left over decides some ways: those are not the input's.
        const Edges fresh = m_known.NewOnes(Passed(input));
        if (fresh.empty())
            return;
        const std::string small = Reduced(input, fresh);
        const Edges edges = m_ofSeeds.NewOnes(Passed(small));
        m_known.Add(edges);
        m_finds.push_back({ small, edges });
        m_mutator.AddSeeds({ small });
    }

    /// Inputs that reach what was found: the small ones first, each for something that none before it reaches, and then without
    /// those that later ones made needless. As many as there is room for.
    Inputs Fewest()
    {
        std::stable_sort(m_finds.begin(), m_finds.end(),
                         [](const Find& a, const Find& b) { return a.input.size() < b.input.size(); });
        std::vector<const Find*> chosen;
        EdgeSet reached;
        size_t size = 0;
        for (const Find& find : m_finds) {
            if (size + KeptSize(find.input) > kMostKept || reached.NewOnes(find.edges).empty())
                continue;
            reached.Add(find.edges);
            chosen.push_back(&find);
            size += KeptSize(find.input);
        }
        for (size_t i = 0; i < chosen.size();) {
            EdgeSet others;
            for (size_t other = 0; other < chosen.size(); ++other) {
                if (other != i)
                    others.Add(chosen[other]->edges);
            }
            if (others.NewOnes(chosen[i]->edges).empty())
                chosen.erase(chosen.begin() + static_cast<std::ptrdiff_t>(i));
            else
                ++i;
        }
        Inputs inputs;
        for (const Find* find : chosen)
            inputs.push_back(find->input);
        return inputs;
    }

private:
    Edges Passed(const std::string& input)
    {
        WatchEdges();
        m_isSound = Eats(m_target, input, m_work, m_tally) && m_isSound;
        return PassedEdges();
    }

    std::string Reduced(std::string input, const Edges& wanted)
    {
        constexpr int kMostTries = 1000;
        int tries = 0;
        for (size_t piece = input.size() / 2; piece >= m_target.unit; piece /= 2) {
            const size_t cut = piece / m_target.unit * m_target.unit;
            for (size_t at = 0; at < input.size() && tries < kMostTries; ++tries) {
                std::string shorter = input;
                shorter.erase(at, cut);
                const Edges passed = Passed(shorter);
                if (std::includes(passed.begin(), passed.end(), wanted.begin(), wanted.end()))
                    input = shorter;
                else
                    at += cut;
            }
        }
        return input;
    }

    const Target& m_target;
    Mutator m_mutator;
    const WorkCounter m_work;
    Tally m_tally;
    bool m_isSound = true;
    EdgeSet m_ofSeeds, m_known;
    std::vector<Find> m_finds;
};

class GuidedInput : public testing::TestWithParam<size_t> {};

} // namespace

TEST_P(GuidedInput, DoesNoHarm)
{
    const Target& target = Targets()[GetParam()];
    const char* const asked = std::getenv("CV_TEST_SECONDS");
    const double end = Seconds() + (asked ? std::strtod(asked, nullptr) : kUsualSeconds);
    Guide guide(target);
    const size_t ofSeeds = guide.Known();
    EXPECT_GT(ofSeeds, 0u) << "the library was built without its calls";
    for (const std::string& input : ReachingInputs(target))
        guide.Try(input);
    const size_t ofKept = guide.Known();
    while (guide.IsSound() && Seconds() < end)
        guide.Mutate();
    const Inputs fewest = guide.Fewest();
    std::printf("%s: %zu edges by seeds, %zu with what was kept, %zu after %lu inputs; %zu inputs kept\n",
                target.name, ofSeeds, ofKept, guide.Known(), guide.Eaten().inputs, fewest.size());
    KeepReachingInputs(target, fewest);
}

INSTANTIATE_TEST_SUITE_P(Of, GuidedInput, testing::Range<size_t>(0, Targets().size()),
                         [](const testing::TestParamInfo<size_t>& info) {
                             return Targets()[info.param].name;
                         });
