#include "eating.h"

#include "lane.h"

#include "sexcept.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace {

// No input of these sizes takes a hundredth of that on a machine of its own; what hangs, or goes over all of a large one for
// each of its parts, is seen.
const unsigned kHungAfterSeconds = 60;

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
    const double begun = Seconds();
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
    tally.slowest = std::max(tally.slowest, Seconds() - begun);
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

} // namespace

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
