// allocwalk.h: scenarios in which one allocation after the other fails, and what must hold then for all of them.
//
//     struct Names {                                     // what a scenario works on; each trial gets a fresh one
//         SStringTable table{ Long(L'a') };
//         std::wstring Look() const { return ...; }      // everything of it that a client can see
//     };
//     const Row<Names> kRows[] = {
//         { "SStringTable::Sort", [](Names& n) { n.table.Sort(); return true; } },
//     };
//     const int g_rows = AddRows("Names", kRows);        // one test a row
//
// A scenario answers whether it did its work. Left undisturbed it makes one look into another. With a failing
// allocation it must do one of three things: throw SEOutOfMemory and leave the first look, answer false and leave the
// first look, or answer true and show the second. Once everything is gone, heap, handles and GDI objects are back.
#ifndef TESTS_ALLOCWALK_H
#define TESTS_ALLOCWALK_H

#include "salloc.h"
#include "sexcept.h"
#include "smap.h"

#include "support/allocfail.h"
#include "support/counters.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <vector>

enum Keeps {
    kKeepsAll, ///< as above
    kKeepsSome, ///< a failure may leave a part of the work, which the comment beside the row names; it is still sound
};

enum Counts {
    kCounted, ///< once all is gone, heap, handles and GDI objects are as before
    kKeptBySystem, ///< not asked for: the system keeps something on each run, which the comment beside the row names
};

/// What `covers` lists: exported names without their parameters, "Class::Member", separated by blanks; overloads share one.
template <class State>
struct Row {
    const char* covers;
    bool (*run)(State& state);
    Keeps keeps = kKeepsAll;
    Counts counts = kCounted;
};

/// Names a test "WithoutMemory.<state>_<first of covers>" and notes what it covers.
void AddWalk(const char* state, const char* covers, std::function<int()> walk);

/// A text that no pool holds, so that each copy of it asks the heap.
inline SString Long(wchar_t c)
{
    return SString(c, 3000);
}

/// All free blocks of the pools of texts and of maps from one word to another, which those from handles are: what needs one
/// more asks the heap. The last thing that a state makes.
class NoSpareBlocks {
public:
    NoSpareBlocks()
    {
        FillPools(m_texts);
        for (UINT_PTR key = 0;; ++key) {
            const unsigned long before = SFixedAlloc::TotalBytes();
            m_entries.Set(key, nullptr);
            if (SFixedAlloc::TotalBytes() != before) { // the first block of a new chunk, which goes again
                m_entries.Remove(key);
                break;
            }
        }
        SIdleConsumerList::Process().OnIdle(1);
    }

private:
    std::vector<SString> m_texts;
    SMap<UINT_PTR, void*> m_entries;
};

/// Runs of one character as their length, so that a difference can be read.
std::wstring Shortened(const std::wstring& text);

/// Returns the number of points.
template <class State>
int WalkRow(const Row<State>& row)
{
    std::wstring before, after;
    for (int warm = 0; warm < 2; ++warm) { // caches that are filled once are no leaks
        State state;
        before = state.Look();
        EXPECT_TRUE(row.run(state)) << "undisturbed";
        after = state.Look();
    }
    WalkAllocationFailures([] {}, [] {}, [](const AllocationTrial&) {}); // the same holds for the walk's
    SIdleConsumerList::Process().OnIdle(1);
    const ResourceCount rest = CountResources();
    std::unique_ptr<State> state;
    bool done = false;
    const int points = WalkAllocationFailures(
        [&] {
            state.reset();
            SIdleConsumerList::Process().OnIdle(1);
            state = std::make_unique<State>();
            done = false;
        },
        [&] { done = row.run(*state); },
        [&](const AllocationTrial& trial) {
            if (trial.error) {
                EXPECT_TRUE(Threw<SEOutOfMemory>(trial));
            }
            const std::wstring look = state->Look();
            if (row.keeps == kKeepsAll || done || !trial.failed) {
                EXPECT_EQ(Shortened(done ? after : before), Shortened(look));
            }
        });
    EXPECT_GT(points, 0) << "it allocates nothing";
    state.reset();
    SIdleConsumerList::Process().OnIdle(1);
    if (row.counts == kCounted && !testing::Test::HasFailure()) { // whose texts are kept
        EXPECT_EQ(rest, CountResources());
    }
    return points;
}

template <class State, size_t count>
int AddRows(const char* state, const Row<State> (&rows)[count])
{
    for (const Row<State>& row : rows)
        AddWalk(state, row.covers, [&row] { return WalkRow(row); });
    return count;
}

#endif
