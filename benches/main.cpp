// main.cpp: the benchmark's command line, its clock and its tables.
//
//     bench [--csv | --markdown] [--check] [--busy] [SUBJECT... | KEY...]
//
// With --busy, on a machine that does other things too, there are more and shorter rounds, and the shortest counts.
// A word with a point in it is the beginning of keys: "map.find" runs the rows of all finds.
// The status tells whether every answer was right. How fast something was decides nothing: that is for a person to read.
#include "bench.h"

#include "salloc.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>

extern const Subject kStrings, kMaps, kArrays, kPools, kEncodings, kStreams, kMessages, kFiles, kGradients,
    kRtf, kTemplates, kMemory, kGrowth;

namespace {

// Memory first: what the others leave free in the pools would be used up and not counted.
const Subject* const kSubjects[] = { &kMemory,    &kStrings,   &kMaps,     &kArrays, &kPools,
                                     &kEncodings, &kStreams,   &kMessages, &kFiles,  &kGradients,
                                     &kRtf,       &kTemplates, &kGrowth };

// Long enough for the clock, and short enough that what else the machine does hits few of the rounds.
const double kRoundSeconds = 0.004;
const int kRounds = 15;
// Of operations that take long by themselves.
const double kLongSeconds = 0.015;
const int kLongRounds = 5;
// Nothing is so fast that it would be repeated as often for the clock.
const long kTooMany = 1L << 28;
// Of a check without timing.
const long kCheckRepeats = 2;
// Cache misses that a larger input brings are no growth of the work.
const double kLinear = 1.25;
const int kGrowthSteps = 3;
const int kGrowthFactor = 4;

// Of a machine that others use: short enough to fall between what they do.
const double kBusyRoundSeconds = 0.0005;
const int kBusyRounds = 100;
bool g_isBusy = false;

double RoundSeconds()
{
    return g_isBusy ? kBusyRoundSeconds : kRoundSeconds;
}
int Rounds()
{
    return g_isBusy ? kBusyRounds : kRounds;
}

// What counts of several rounds: the median, or on a busy machine the shortest.
double Chosen(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    if (g_isBusy)
        return values.front();
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double MeasureCyclesPerSecond()
{
    LARGE_INTEGER frequency, from, to;
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&from);
    const unsigned long long start = __rdtsc();
    do {
        ::QueryPerformanceCounter(&to);
    } while (to.QuadPart - from.QuadPart < frequency.QuadPart / 20);
    const double seconds =
        static_cast<double>(to.QuadPart - from.QuadPart) / static_cast<double>(frequency.QuadPart);
    return static_cast<double>(__rdtsc() - start) / seconds;
}

size_t BusyHeapBytes()
{
    HANDLE heaps[64];
    const DWORD count = ::GetProcessHeaps(64, heaps);
    size_t bytes = 0;
    for (DWORD i = 0; i < std::min<DWORD>(count, 64); ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        ::HeapLock(heaps[i]);
        while (::HeapWalk(heaps[i], &entry)) {
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                bytes += entry.cbData + entry.cbOverhead;
        }
        ::HeapUnlock(heaps[i]);
    }
    return bytes;
}

double BytesEach(Maker make, long count)
{
    const size_t before = BusyHeapBytes();
    const std::shared_ptr<void> made = make(count);
    return static_cast<double>(BusyHeapBytes() - before) / static_cast<double>(count);
}

int Usage()
{
    std::fprintf(
        stderr,
        "usage: bench [--csv | --markdown] [--check] [--busy] [SUBJECT... | BEGINNING.OF.KEY...]\nsubjects:");
    for (const Subject* subject : kSubjects)
        std::fprintf(stderr, " %s", subject->name);
    std::fprintf(stderr, "\n");
    return 2;
}

} // namespace

std::wstring Letters(size_t length, unsigned seed)
{
    Numbers numbers(seed);
    std::wstring text(length, L'a');
    for (wchar_t& c : text)
        c = static_cast<wchar_t>(L'a' + numbers.Below(26));
    return text;
}

std::vector<int> Shuffled(int count, unsigned seed)
{
    Numbers numbers(seed);
    std::vector<int> values(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        values[static_cast<size_t>(i)] = i;
    for (int i = count - 1; i > 0; --i)
        std::swap(values[static_cast<size_t>(i)], values[numbers.Below(static_cast<unsigned>(i) + 1)]);
    return values;
}

void StayOnProcessor(int fromLast)
{
    DWORD_PTR own, system;
    if (!::GetProcessAffinityMask(::GetCurrentProcess(), &own, &system))
        return;
    DWORD_PTR last = 0;
    for (int i = 0; i <= fromLast && own != 0; ++i) {
        last = DWORD_PTR(1) << (31 - __builtin_clz(static_cast<unsigned>(own)));
        own &= ~last;
    }
    ::SetThreadAffinityMask(::GetCurrentThread(), last);
}

Bench::Bench(Form form, bool checkOnly, const std::vector<std::string>& keys)
    : m_form(form),
      m_checkOnly(checkOnly),
      m_keys(keys),
      m_isWhole(true),
      m_cyclesPerSecond(MeasureCyclesPerSecond()),
      m_rows(0),
      m_held(0),
      m_wrong(0)
{
    if (m_checkOnly)
        return;
    if (m_form == Form::Csv)
        std::printf("key,unit,ours,best peer's,best peer,ratio,goal,holds\n");
    else if (m_form == Form::Markdown)
        std::printf("| row | best peer | ratio | goal | |\n|---|---|---|---|---|\n");
}

void Bench::Begin(const char* subject, bool isWhole)
{
    m_isWhole = isWhole;
    m_heading = subject;
}

bool Bench::IsWanted(const char* key)
{
    const bool isWanted =
        m_isWhole || std::any_of(m_keys.begin(), m_keys.end(), [key](const std::string& beginning) {
            return std::strncmp(key, beginning.c_str(), beginning.size()) == 0;
        });
    if (isWanted && !m_heading.empty()) {
        if (m_form == Form::Table && !m_checkOnly) {
            std::printf("\n%s\n  %-26s %-5s %10s %10s  %-28s %8s %9s\n", m_heading.c_str(), "row", "", "ours",
                        "best peer", "", "ratio", "goal");
        }
        m_heading.clear();
    }
    return isWanted;
}

double Bench::Seconds(Operation operation, long repeats) const
{
    Run run(repeats);
    const unsigned long answer = operation(run);
    const unsigned long long cycles = run.Stop();
    Hidden(answer);
    return static_cast<double>(cycles) / m_cyclesPerSecond;
}

long Bench::Calibrate(Operation operation) const
{
    for (long repeats = 1; repeats < kTooMany; repeats *= 2) {
        const double seconds = Seconds(operation, repeats);
        if (seconds >= RoundSeconds() / 4) {
            const double wanted = static_cast<double>(repeats) * RoundSeconds() / seconds;
            return std::max(1L, static_cast<long>(wanted));
        }
    }
    throw std::runtime_error("the compiler has taken the work out of an operation");
}

bool Bench::SameAnswers(const Row& row, long repeats)
{
    Run run(repeats);
    const unsigned long expected = row.ours(run);
    for (const Peer& peer : row.peers) {
        if (!peer.name)
            break;
        Run other(repeats);
        const unsigned long answer = peer.operation(other);
        if (answer != expected) {
            std::printf("  %s: WRONG: we answer %lu, %s answers %lu\n", row.key, expected, peer.name, answer);
            ++m_wrong;
            return false;
        }
    }
    return true;
}

void Bench::CompareRow(const Row& row)
{
    if (!IsWanted(row.key))
        return;
    ++m_rows;
    if (!SameAnswers(row, kCheckRepeats) || m_checkOnly)
        return;

    std::vector<Operation> operations = { row.ours };
    for (const Peer& peer : row.peers) {
        if (peer.name)
            operations.push_back(peer.operation);
    }
    std::vector<long> repeats;
    for (Operation operation : operations)
        repeats.push_back(Calibrate(operation));
    std::vector<std::vector<double>> seconds(operations.size());
    int rounds = Rounds();
    for (int round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < operations.size(); ++i) {
            const double taken = Seconds(operations[i], repeats[i]);
            seconds[i].push_back(taken / static_cast<double>(repeats[i]));
            if (taken > kLongSeconds)
                rounds = kLongRounds;
        }
    }
    if (!SameAnswers(row, kCheckRepeats))
        return;

    std::vector<double> medians;
    for (const std::vector<double>& of : seconds)
        medians.push_back(Chosen(of));
    const size_t best =
        static_cast<size_t>(std::min_element(medians.begin() + 1, medians.end()) - medians.begin());
    const double amount = row.unit.amount;
    const char* const name = row.peers[best - 1].name;
    if (row.unit.isRate) {
        Print(row.key, "MB/s", amount / medians[0] / 1e6, amount / medians[best] / 1e6, name,
              medians[best] / medians[0], row.goal);
    } else {
        Print(row.key, "ns", medians[0] * 1e9 / amount, medians[best] * 1e9 / amount, name,
              medians[0] / medians[best], row.goal);
    }
}

void Bench::GrowRow(const GrowthRow& row)
{
    if (!IsWanted(row.key))
        return;
    ++m_rows;
    const int steps = m_checkOnly ? 1 : kGrowthSteps;
    double each[kGrowthSteps] = {};
    long size = row.size;
    for (int step = 0; step < steps; ++step, size *= kGrowthFactor) {
        Run first(1);
        const unsigned long answer = row.operation(first, size);
        std::vector<double> seconds;
        for (int round = 0; round < (m_checkOnly ? 1 : Rounds()); ++round) {
            Run probe(1);
            const unsigned long again = row.operation(probe, size);
            const double once = static_cast<double>(probe.Stop()) / m_cyclesPerSecond;
            if (again != answer) {
                std::printf("  %s: WRONG: %lu, then %lu\n", row.key, answer, again);
                ++m_wrong;
                return;
            }
            if (m_checkOnly)
                break;
            Run run(std::max(1L, static_cast<long>(RoundSeconds() / 2 / once)));
            Hidden(row.operation(run, size));
            seconds.push_back(static_cast<double>(run.Stop()) / m_cyclesPerSecond /
                              static_cast<double>(run.n));
        }
        if (!m_checkOnly)
            each[step] = Chosen(seconds);
    }
    if (m_checkOnly)
        return;
    const double range = std::log(std::pow(kGrowthFactor, kGrowthSteps - 1));
    const double exponent = std::log(each[kGrowthSteps - 1] / each[0]) / range;
    const double perUnit = 1e9 / static_cast<double>(row.size);
    Print(row.key, "ns", each[kGrowthSteps - 1] * perUnit / std::pow(kGrowthFactor, kGrowthSteps - 1),
          each[0] * perUnit, "itself at a 16th (exponent)", exponent, AtMost(kLinear));
}

void Bench::WeighRow(const SizeRow& row)
{
    if (!IsWanted(row.key))
        return;
    ++m_rows;
    // The pools give back what they can, and a first lot uses up what is still free in them.
    SIdleConsumerList::Process().OnIdle(1);
    const std::shared_ptr<void> first = row.ours(row.count);
    const double ours = BytesEach(row.ours, row.count);
    double best = 0;
    const char* name = nullptr;
    for (const SizePeer& peer : row.peers) {
        if (!peer.name)
            break;
        const double bytes = BytesEach(peer.make, row.count);
        if (!name || bytes < best) {
            best = bytes;
            name = peer.name;
        }
    }
    if (!m_checkOnly)
        Print(row.key, "bytes", ours, best, name, ours / best, row.goal);
}

void Bench::Print(const std::string& key, const char* unit, double ours, double best, const char* peer,
                  double ratio, Goal goal)
{
    // As it is printed: the third digit of a ratio is noise.
    const double shown = std::round(ratio * 100) / 100;
    const bool holds = goal.atLeast ? shown >= goal.limit : shown <= goal.limit;
    m_held += holds;
    if (!holds)
        m_missed.push_back(key);
    const char* const sign = goal.atLeast ? ">=" : "<=";
    if (m_form == Form::Csv) {
        std::printf("%s,%s,%.4g,%.4g,%s,%.4f,%s%g,%s\n", key.c_str(), unit, ours, best, peer, ratio, sign,
                    goal.limit, holds ? "yes" : "no");
    } else if (m_form == Form::Markdown) {
        std::printf("| %s | %s | %.2f | %s %g | %s |\n", key.c_str(), peer, ratio, goal.atLeast ? "≥" : "≤",
                    goal.limit, holds ? "" : "**missed**");
    } else {
        std::printf("  %-26s %-5s %10.4g %10.4g  %-28s %7.2fx %s%6gx  %s\n", key.c_str(), unit, ours, best,
                    peer, ratio, sign, goal.limit, holds ? "" : "MISSED");
    }
    std::fflush(stdout);
}

int Bench::Finish()
{
    if (m_form == Form::Table && !m_checkOnly) {
        std::printf("\n%d of %d goals hold\n", m_held, m_rows - m_wrong);
        for (const std::string& key : m_missed)
            std::printf("  missed: %s\n", key.c_str());
    }
    if (m_wrong > 0)
        std::printf("%d rows with a wrong answer\n", m_wrong);
    // What the runner of tests looks for, as every test program prints it.
    else if (m_checkOnly)
        std::printf("test program passed: %d tests\n", m_rows);
    return m_wrong;
}

int main(int argc, char** argv)
{
    Bench::Form form = Bench::Form::Table;
    bool checkOnly = false;
    std::vector<const Subject*> chosen;
    std::vector<std::string> keys;
    for (int i = 1; i < argc; ++i) {
        const char* const word = argv[i];
        const auto named =
            std::find_if(std::begin(kSubjects), std::end(kSubjects),
                         [word](const Subject* subject) { return std::strcmp(subject->name, word) == 0; });
        if (std::strcmp(word, "--csv") == 0)
            form = Bench::Form::Csv;
        else if (std::strcmp(word, "--markdown") == 0)
            form = Bench::Form::Markdown;
        else if (std::strcmp(word, "--check") == 0)
            checkOnly = true;
        else if (std::strcmp(word, "--busy") == 0)
            g_isBusy = true;
        else if (named != std::end(kSubjects))
            chosen.push_back(*named);
        else if (std::strchr(word, '.'))
            keys.push_back(word);
        else
            return Usage();
    }
    if (chosen.empty() && keys.empty())
        chosen.assign(std::begin(kSubjects), std::end(kSubjects));

    try {
        StayOnProcessor(0);
        Bench bench(form, checkOnly, keys);
        for (const Subject* subject : kSubjects) {
            const bool isWhole = std::find(chosen.begin(), chosen.end(), subject) != chosen.end();
            if (!isWhole && keys.empty())
                continue;
            bench.Begin(subject->name, isWhole);
            subject->run(bench);
        }
        return bench.Finish() == 0 ? 0 : 1;
    }
    catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
