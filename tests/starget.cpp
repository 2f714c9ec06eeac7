// Exceptions that name who is to catch them, and the register of active targets.
#include "starget.h"

#include "excdlg.h"
#include "sexcept.h"

#include "support/allocfail.h"
#include "support/stringhelp.h"

#include <gtest/gtest.h>

namespace {

STargetedException For(const wchar_t* targets)
{
    return STargetedException("g", "f", 3, targets, L"message", 17);
}

/// Activates when it is told to.
class LateTarget : public SThrowTarget {
public:
    using SThrowTarget::Activate;
    using SThrowTarget::SThrowTarget;
};

} // namespace

TEST(ThrowTargets, MatchByTheEndOfANameAtItsFirstOccurrence)
{
    const struct {
        const wchar_t* exception;
        const wchar_t* target;
        int matches;
    } kCases[] = {
        { L"Load", L"Load", 1 },
        { L"Load", L"FileLoad,Save", 1 }, // only the end of the occurrence counts
        { L"Load", L"LoadFile", 0 },
        { L"Load", L"LoadFile,Load", 0 }, // and only the first occurrence
        { L"Print,Save", L"Load,Save", 1 },
        { L"Save", L"Load,Save,Print", 1 },
        { L"load", L"Load", 0 },
        { L"", L"Load", 0 },
        { L",,", L"Load", 0 },
        { L"Load", L"", 0 },
        { L"Load", nullptr, 0 },
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(SString::Concat(c.exception, L" for ", c.target ? c.target : L"(null)"));
        EXPECT_EQ(c.matches, For(c.exception).Match(SThrowTarget(c.target)));
    }
}

TEST(ThrowTargets, AreFoundByTheirWholeNamesWhileTheyAreActive)
{
    EXPECT_EQ(0, For(L"Open").HasTarget());
    {
        const SThrowTarget passive(L"Open");
        EXPECT_EQ(0, For(L"Open").HasTarget());
        const SActiveThrowTarget outer(L"Open,,Close,"), listed(L"Close");
        SActiveThrowTarget inner(L"Open");
        EXPECT_EQ(1, inner.IsActive());
        EXPECT_EQ(1, For(L"Open").HasTarget());
        EXPECT_EQ(1, For(L"Print,Close").HasTarget());
        EXPECT_EQ(0, For(L"Clos").HasTarget());
        EXPECT_EQ(0, For(L"open").HasTarget());
        EXPECT_EQ(0, For(L"").HasTarget());
        inner.Done();
        inner.Done();
        EXPECT_EQ(0, inner.IsActive());
        EXPECT_EQ(1, For(L"Open").HasTarget()) << "the outer one still is";
    }
    EXPECT_EQ(0, For(L"Open,Close").HasTarget());
    LateTarget twice(L"Again,Again");
    twice.Activate();
    twice.Activate();
    twice.Done();
    EXPECT_EQ(0, For(L"Again").HasTarget()) << "as often out as in";
}

TEST(ThrowTargets, OutOfMemoryActivatesNothing)
{
    int round = 0;
    SString names;
    const int points = WalkAllocationFailures(
        [&] {
            // Names that no earlier round has left in the register, long enough for blocks of the heap.
            ++round;
            names = SString().Format(L"%d%s,%dx", round, SString(L'n', 3000), round);
        },
        [&] {
            LateTarget target(names);
            target.Activate();
            EXPECT_EQ(1, For(names).HasTarget());
        },
        [&](const AllocationTrial& trial) {
            EXPECT_EQ(0, For(names).HasTarget());
            // A single failure is made good by giving back what the pools do not need.
            EXPECT_TRUE(trial.error
                            ? Threw<SEOutOfMemory>(trial)
                            : testing::AssertionResult(!trial.failed || trial.mode == FailMode::Once));
        });
    EXPECT_GT(points, 0);
}

TEST(TargetedException, ShowsItsPlaceOnlyWhereDialogsAreAllowed)
{
    try {
        throw For(L"Load");
    }
    catch (const STargetedException& e) {
        EXPECT_EQ(17, e.GetValue());
        EXPECT_STREQ(L"message", e.GetText());
        EXPECT_STREQ(L"\nThrown from:\n f(3): g", e.GetLocation());
        EXPECT_STREQ(L"message", e.GetDisplayText());
        SExceptionActivateDialog(1);
        EXPECT_STREQ(L"message\nThrown from:\n f(3): g", e.GetDisplayText());
        SSetConsoleModeApplication(1);
        EXPECT_STREQ(L"message", e.GetDisplayText());
        SSetConsoleModeApplication(0);
        SExceptionActivateDialog(0);
    }
}
