// allocfail.h: makes the run-time's allocations fail, one after the other.
//
//     const int points = WalkAllocationFailures(
//         [&] { text = SString(L"before"); },                          // not armed
//         [&] { text += tail; },                                       // armed: one call in here fails
//         [&](const AllocationTrial& trial) {                          // not armed
//             if (!trial.failed) return;
//             EXPECT_TRUE(Threw<SEOutOfMemory>(trial));
//             EXPECT_STREQ(L"before", text.PszStr());
//         });
//     EXPECT_GT(points, 0);
//
// What fails: malloc, calloc, realloc, _aligned_malloc, GlobalAlloc, GlobalReAlloc and every operator new that the
// given modules import, on the thread that armed it, and nowhere else. The library's DLL alone would miss what
// libstdc++ allocates for it. Standard containers and streams of the test itself allocate through libstdc++ too:
// keep them out of the armed part.
#ifndef TESTS_ALLOCFAIL_H
#define TESTS_ALLOCFAIL_H

#include "importpatch.h"

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <initializer_list>
#include <vector>

enum class FailMode {
    Once,      ///< the n-th call fails, later ones succeed
    FromThenOn ///< the n-th call and all later ones fail
};

/// While one lives, allocations of the modules are counted and fail as asked. Only one may live at a time.
class AllocationFailures {
public:
    typedef std::initializer_list<const char*> Modules;

    explicit AllocationFailures(Modules modules = { "CVCore16.dll", "libstdc++-6.dll" });
    AllocationFailures(const AllocationFailures&) = delete;
    AllocationFailures& operator=(const AllocationFailures&) = delete;
    ~AllocationFailures();

    /// Starts counting at 0, on this thread; call number `point` (from 1) fails. With 0 it only counts.
    void Arm(int point, FailMode mode);

    /// Ends counting and failing; the counts stay.
    void Disarm();

    /// Allocating calls since Arm, failed ones included.
    int Calls() const;

    /// How many of them failed.
    int Failed() const;

private:
    void Patch(HMODULE module);

    std::vector<ImportPatch> m_patches;
};

/// One run of a scenario under WalkAllocationFailures.
struct AllocationTrial {
    int point;                ///< which call failed, from 1
    FailMode mode;            ///< whether later ones failed too
    int failed;               ///< failed calls; 0 in the last trial of a mode, which must simply work
    std::exception_ptr error; ///< what left the scenario; null when it returned
};

/// For each mode: runs `prepare`, then `operate` with the first call failing, then `verify`; again with the
/// second one, and so on, until a run ends without a failed call (verified too). Stops at the first failed
/// expectation. Returns the number of calls that could fail. Each run must start from the same state, or the
/// walk ends early: `prepare` makes it, emptying pools and caches where the scenario fills them.
int WalkAllocationFailures(const std::function<void()>& prepare, const std::function<void()>& operate,
                           const std::function<void(const AllocationTrial&)>& verify);

/// Whether the trial's scenario threw an `Error`; the thrown one is shown to `visit`.
template <class Error, class Visit>
testing::AssertionResult Threw(const AllocationTrial& trial, Visit visit)
{
    if (!trial.error)
        return testing::AssertionFailure() << "it returned";
    try {
        std::rethrow_exception(trial.error);
    }
    catch (const Error& error) {
        visit(error);
        return testing::AssertionSuccess();
    }
    catch (const std::exception& error) {
        return testing::AssertionFailure() << "it threw another exception: " << error.what();
    }
    catch (...) {
        return testing::AssertionFailure() << "it threw another exception";
    }
}

template <class Error>
testing::AssertionResult Threw(const AllocationTrial& trial)
{
    return Threw<Error>(trial, [](const Error&) {});
}

#endif
