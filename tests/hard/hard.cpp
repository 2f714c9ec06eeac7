// Hostile input: whatever comes, the targets refuse it or take it, in work that is bounded by its size.
//
// CV_TEST_SECONDS is the time for each test of a target; without it there is a taste of each, and of mutations, where a run is
// full (support/seed.h), two million and more in all.
#include "lane.h"
#include "mutate.h"
#include "target.h"

#include "sexcept.h"

#include "support/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

// No input of these sizes takes a hundredth of that on a machine of its own; what hangs, or goes over all of a large one for
// each of its parts, is seen.
const unsigned kHungAfterSeconds = 60;
const double kUsualSeconds = 0.25, kFullMutatedSeconds = 3;

// ---- The input at work: what is saved when it brings the program down ----

std::string g_saveAs;
const std::string* g_input;

void SaveInputAtFault()
{
    if (g_input)
        WriteFileAtFault(g_saveAs.c_str(), g_input->data(), g_input->size());
}

void SetInput(const Target& target, const std::string& input)
{
    static std::string current; // keeps its room
    g_input = nullptr;
    current = input;
    if (g_saveAs.find(target.name) == std::string::npos)
        g_saveAs = std::string("hard-") + target.name + "-fault.bin";
    g_input = &current;
    MustGoOnWithin(kHungAfterSeconds, SaveInputAtFault);
}

// ---- One input ----

struct Tally {
    unsigned long inputs = 0, refused = 0;
    unsigned long long bytes = 0;
};

// What tables, pools and piecewise reading need for any input, and how much more for each byte of it. Texts become
// UTF-16, buffers double, and a short text fills a pool's block: a generous account, but a length that is believed or a
// text that is copied again for each of its parts goes far beyond.
const unsigned long long kBytesAtOnce = 1 << 20, kBytesForOne = 400;
const unsigned long kNameCallsAtOnce = 100;

// An empty text for an input that was taken or refused as it should be, else what was wrong.
std::string Trouble(const Target& target, const std::string& input, const WorkCounter& work, Tally& tally)
{
    SetInput(target, input);
    ++tally.inputs;
    tally.bytes += input.size();
    const unsigned long long askedBefore = work.BytesAsked();
    const unsigned long namesBefore = work.NameCalls();
    size_t made = 0;
    bool ranOut = false;
    try {
        made = target.eat(input);
    }
    catch (const Broken& broken) {
        return broken.what();
    }
    catch (const SEOutOfMemory&) {
        // A claim too large to be met is refused so too, but then without an attempt.
        ranOut = target.mayRunOut;
        ++tally.refused;
    }
    catch (const SException&) {
        ++tally.refused;
    }
    catch (const std::exception& error) {
        return std::string("a foreign exception: ") + error.what();
    }
    const unsigned long long asked = work.BytesAsked() - askedBefore;
    if (!ranOut && asked > kBytesAtOnce + kBytesForOne * (input.size() + made))
        return "it asked for " + std::to_string(asked) + " bytes of memory";
    if (work.NameCalls() - namesBefore > kNameCallsAtOnce)
        return "it looked " + std::to_string(work.NameCalls() - namesBefore) + " names up";
    return std::string();
}

// Whether two troubles are the same, whatever the numbers in them.
bool IsSameTrouble(const std::string& a, const std::string& b)
{
    const char kDigits[] = "0123456789";
    const size_t end = a.find_first_of(kDigits);
    return b.find_first_of(kDigits) == end && a.compare(0, end, b, 0, end) == 0;
}

// The input without every piece that the trouble does not need.
std::string Reduced(const Target& target, std::string input, const std::string& trouble,
                    const WorkCounter& work)
{
    constexpr unsigned long kMostTries = 2000;
    Tally tally;
    for (size_t piece = input.size() / 2; piece >= target.unit; piece /= 2) {
        const size_t cut = piece / target.unit * target.unit;
        for (size_t at = 0; at < input.size() && tally.inputs < kMostTries;) {
            std::string shorter = input;
            shorter.erase(at, cut);
            if (IsSameTrouble(trouble, Trouble(target, shorter, work, tally)))
                input = shorter;
            else
                at += cut;
        }
    }
    return input;
}

// Whether an input is taken as it should be; if not, it is made small, saved and reported.
bool Eats(const Target& target, const std::string& input, const WorkCounter& work, Tally& tally)
{
    const std::string trouble = Trouble(target, input, work, tally);
    if (trouble.empty())
        return true;
    static int troubles = 0;
    g_saveAs = std::string("hard-") + target.name + "-" + std::to_string(++troubles) + ".bin";
    const std::string small = Reduced(target, input, trouble, work);
    std::ofstream(g_saveAs, std::ios::binary) << small;
    ADD_FAILURE() << target.name << ": " << trouble << "; the " << small.size() << " bytes in " << g_saveAs
                  << " show it";
    return false;
}

double SecondsToSpend()
{
    const char* asked = std::getenv("CV_TEST_SECONDS");
    return asked ? std::strtod(asked, nullptr) : kUsualSeconds;
}

double SecondsToMutate()
{
    const bool isFull = WantedAmount() == Amount::Full && !std::getenv("CV_TEST_SECONDS");
    return isFull ? kFullMutatedSeconds : SecondsToSpend();
}

// ---- The corpus: a file for each fault that ever was ----

namespace fs = std::filesystem;

fs::path CorpusFolder()
{
    for (fs::path folder = ProgramFolder(); folder != folder.parent_path(); folder = folder.parent_path()) {
        if (fs::is_directory(folder / "tests" / "corpus"))
            return folder / "tests" / "corpus";
    }
    ADD_FAILURE() << "no tests/corpus above the program";
    return fs::path();
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
    const fs::path folder = CorpusFolder() / m_target.name;
    if (!fs::is_directory(folder))
        return; // no fault was ever found there
    for (const auto& entry : fs::directory_iterator(folder)) {
        SCOPED_TRACE(entry.path().filename().string());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        EXPECT_TRUE(file.is_open());
        Eats(m_target, input, m_work, m_tally);
    }
    EXPECT_GT(m_tally.inputs, 0u);
}

TEST(HostileCorpus, BelongsToTargets)
{
    static const std::set<std::string> kOfTheSystem = { "dde", "commandline", "filekind", "path", "url" };
    std::set<std::string> names = kOfTheSystem;
    for (const Target& target : Targets())
        names.insert(target.name);
    for (const auto& entry : fs::directory_iterator(CorpusFolder()))
        EXPECT_EQ(1u, names.count(entry.path().filename().string())) << entry.path();
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
    const double end = Seconds() + SecondsToMutate();
    do {
        for (unsigned i = 0; i < kBetweenLooks; ++i)
            ASSERT_TRUE(Eats(m_target, mutator.Next(), m_work, m_tally));
        ASSERT_TRUE(IsHeapWhole());
    } while (Seconds() < end);
    std::printf("%s: %lu mutated inputs of %lu bytes on average, %lu of them refused\n", m_target.name,
                m_tally.inputs, static_cast<unsigned long>(m_tally.bytes / m_tally.inputs), m_tally.refused);
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
