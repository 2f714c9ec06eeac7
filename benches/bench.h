// bench.h: the frame of the benchmark. A subject is a table of rows; a row is one operation of ours beside the same
// operation of its peers.
//
//     const Row kRows[] = {
//         { "str.copy.16", Nanoseconds(1), AtMost(0.06), CopyOurs<16>, { { "std::wstring", CopyPeer<16> } } },
//     };
//     const Subject kStrings("strings", [](Bench& bench) { bench.Compare(kRows); });
//
// An operation does its work `run.n` times and answers a number that is made of its results. Ours and all peers must
// answer the same, before the timing and after it; so what is timed is known to do the work. Fixtures are static
// locals: the first, untimed call makes them.
#ifndef BENCHES_BENCH_H
#define BENCHES_BENCH_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>
#include <x86intrin.h>

/// One call of an operation and the clock that runs while it lasts.
class Run {
public:
    explicit Run(long repeats) : n(repeats), m_cycles(0), m_since(__rdtsc()) {}

    const long n;

    /// Between these two nothing counts: for filling what is about to be emptied.
    void Pause() { m_cycles += __rdtsc() - m_since; }
    void Resume() { m_since = __rdtsc(); }
    /// Ends the run.
    unsigned long long Stop()
    {
        Pause();
        return m_cycles;
    }

private:
    unsigned long long m_cycles;
    unsigned long long m_since;
};

typedef unsigned long (*Operation)(Run& run);
/// The same for a size of the input.
typedef unsigned long (*SizedOperation)(Run& run, long size);
/// Makes `count` things and answers their owner; the heap is measured before and after.
typedef std::shared_ptr<void> (*Maker)(long count);

/// What a row is printed in. One repeat of an operation does `amount` of it.
struct Unit {
    double amount;
    bool isRate;
};
constexpr Unit Nanoseconds(double operations)
{
    return { operations, false };
}
constexpr Unit MegabytesPerSecond(double bytes)
{
    return { bytes, true };
}

/// A bound of the ratio: ours by the best peer's, in the row's unit.
struct Goal {
    double limit;
    bool atLeast;
};
constexpr Goal AtMost(double ratio)
{
    return { ratio, false };
}
constexpr Goal AtLeast(double ratio)
{
    return { ratio, true };
}

/// For what is only shown.
constexpr Goal kNoGoal = { __builtin_huge_val(), false };

struct Peer {
    const char* name;
    Operation operation;
};

struct Row {
    const char* key;
    Unit unit;
    Goal goal;
    Operation ours;
    Peer peers[5]; ///< the best one counts; a null name ends them
};

/// An operation that should cost in proportion to its input: measured at `size`, 4 and 16 times that.
struct GrowthRow {
    const char* key;
    long size;
    SizedOperation operation;
};

struct SizePeer {
    const char* name;
    Maker make;
};

/// Bytes of the heap that one thing takes.
struct SizeRow {
    const char* key;
    long count;
    Goal goal;
    Maker ours;
    SizePeer peers[3];
};

/// Measures rows and prints them as they come.
class Bench {
public:
    enum class Form { Table, Csv, Markdown };

    /// Where a subject is not run whole, its rows are whose key begins with one of `keys`.
    Bench(Form form, bool checkOnly, const std::vector<std::string>& keys);

    template <size_t count>
    void Compare(const Row (&rows)[count])
    {
        for (const Row& row : rows)
            CompareRow(row);
    }
    template <size_t count>
    void Grow(const GrowthRow (&rows)[count])
    {
        for (const GrowthRow& row : rows)
            GrowRow(row);
    }
    template <size_t count>
    void Weigh(const SizeRow (&rows)[count])
    {
        for (const SizeRow& row : rows)
            WeighRow(row);
    }
    void Begin(const char* subject, bool isWhole);
    /// Prints how many goals hold; the number of rows with a wrong answer.
    int Finish();

private:
    void CompareRow(const Row& row);
    void GrowRow(const GrowthRow& row);
    void WeighRow(const SizeRow& row);
    bool IsWanted(const char* key);
    bool SameAnswers(const Row& row, long repeats);
    double Seconds(Operation operation, long repeats) const;
    long Calibrate(Operation operation) const;
    void Print(const std::string& key, const char* unit, double ours, double best, const char* peer,
               double ratio, Goal goal);

    Form m_form;
    bool m_checkOnly;
    std::vector<std::string> m_keys;
    bool m_isWhole;
    std::string m_heading; ///< of the subject, while none of its rows was shown
    double m_cyclesPerSecond;
    int m_rows;
    int m_held;
    int m_wrong;
    std::vector<std::string> m_missed;
};

/// A part of the benchmark, run by its name. They run in the order of kSubjects in main.cpp.
struct Subject {
    const char* name;
    void (*run)(Bench& bench);
};

/// Keeps the compiler from knowing what a value is.
template <class T>
inline T Hidden(T value)
{
    asm volatile("" : "+r"(value));
    return value;
}

/// Keeps the compiler from leaving out the work behind an object in memory.
template <class T>
inline void Keep(T& object)
{
    asm volatile("" : : "r"(&object) : "memory");
}

/// Numbers that look random and are the same in every run.
class Numbers {
public:
    explicit Numbers(unsigned seed) : m_state(seed * 2654435761u + 1) {}
    unsigned Next()
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return m_state;
    }
    unsigned Below(unsigned end) { return Next() % end; }

private:
    unsigned m_state;
};

/// `length` small letters.
std::wstring Letters(size_t length, unsigned seed = 1);
/// 0 to count-1, in disorder.
std::vector<int> Shuffled(int count, unsigned seed = 1);
/// Runs the calling thread on one processor: the last (0), which the Wine server shares, or the one before it (1).
void StayOnProcessor(int fromLast);

#endif
