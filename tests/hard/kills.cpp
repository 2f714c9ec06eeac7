// Programs that are killed while they save: the file has the old content or the new one, and nothing stays behind.
#include "hard/savers.h"

#include "support/seed.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

namespace {

// A round costs the start of a process, and ends one writer of each helper.
int Rounds()
{
    switch (WantedAmount()) {
    case Amount::Full: return 200;
    case Amount::Long: return 2000;
    default: return 8;
    }
}

std::wstring ClientPath()
{
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program(path);
    return program.substr(0, program.rfind(L'\\') + 1) + L"save_client.exe";
}

enum class Moment { kAny, kHalfway };

HANDLE StartClient(const std::wstring& folder, const std::wstring& event, Moment moment)
{
    std::wstring line = L"\"" + ClientPath() + L"\" \"" + folder + L"\" " + event;
    if (moment == Moment::kHalfway)
        line += L" halfway";
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process))
        return nullptr;
    ::CloseHandle(process.hThread);
    return process.hProcess;
}

struct Outcome {
    int torn = 0;
    int leftOver = 0; // temporary files that a killed writer left
};

// Ends a client, and so a writer of each helper, at any moment or in the middle of their saving.
void KillOne(const std::wstring& folder, Moment moment, std::mt19937& random)
{
    static int number = 0;
    const std::wstring event =
        L"cv-save-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++number);
    const HANDLE begun = ::CreateEventW(nullptr, TRUE, FALSE, event.c_str());
    const HANDLE client = StartClient(folder, event, moment);
    ASSERT_NE(nullptr, client);
    const HANDLE either[] = { begun, client };
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForMultipleObjects(2, either, FALSE, 60000)) << "it saved nothing";
    // Between two ticks of the clock, too.
    const LONGLONG until = static_cast<LONGLONG>(random() % 30000);
    LARGE_INTEGER from, now, perSecond;
    ::QueryPerformanceFrequency(&perSecond);
    ::QueryPerformanceCounter(&from);
    do {
        ::Sleep(0);
        ::QueryPerformanceCounter(&now);
    } while ((now.QuadPart - from.QuadPart) * 1000000 / perSecond.QuadPart < until);
    ::TerminateProcess(client, 1);
    ::WaitForSingleObject(client, INFINITE);
    ::CloseHandle(client);
    ::CloseHandle(begun);
}

// Looks at what the killed writer left, and saves once more.
void LookAndSave(const SavingHelper& helper, const std::wstring& folder, Outcome& outcome)
{
    const std::wstring path = folder + L"\\" + kSavedFile;
    const std::string content = TempFolder::Content(path);
    if (!IsWhole(content))
        ++outcome.torn;
    outcome.leftOver += TempFolder::Entries(folder) - 1;
    const std::string next = SavedContent(content.empty() ? 0 : static_cast<unsigned>(content[0] - 'A') + 1);
    helper.save(path.c_str(), next);
    EXPECT_EQ(next, TempFolder::Content(path));
    EXPECT_EQ(1, TempFolder::Entries(folder)) << "the next save sweeps what the killed one left";
}

class KilledWriters : public testing::Test {
protected:
    // Leaves in m_outcomes what became of each helper's file.
    void Kill(Moment moment, int rounds)
    {
        const TempFolder folder;
        for (const SavingHelper& helper : kSavingHelpers)
            folder.Folder(helper.name);
        std::mt19937 random(TestSeed());
        for (int i = 0; i < rounds && !HasFatalFailure(); ++i) {
            KillOne(folder.Path(), moment, random);
            for (size_t h = 0; h < std::size(kSavingHelpers); ++h) {
                SCOPED_TRACE(testing::PrintToString(std::wstring(kSavingHelpers[h].name)));
                LookAndSave(kSavingHelpers[h], folder.Path(kSavingHelpers[h].name), m_outcomes[h]);
            }
        }
    }

    Outcome m_outcomes[std::size(kSavingHelpers)];
};

} // namespace

TEST_F(KilledWriters, LeaveTheOldContentOrTheNewOne)
{
    Kill(Moment::kAny, Rounds());
    for (size_t h = 0; h < std::size(kSavingHelpers); ++h) {
        const SavingHelper& helper = kSavingHelpers[h];
        const Outcome& outcome = m_outcomes[h];
        std::printf("%-10ls %d writers killed, %d torn, %d temporary files left and swept\n", helper.name,
                    Rounds(), outcome.torn, outcome.leftOver);
        EXPECT_TRUE(outcome.torn == 0 || helper.save == Overwrite);
        // The kills hit. A few of them may not.
        EXPECT_TRUE(outcome.torn > 0 || helper.save != Overwrite || Rounds() < 200);
    }
}

// Where the moment is known, the outcome is: it also shows that the one above would see a torn file.
TEST_F(KilledWriters, HalfwayLeaveTheOldContentAndAFileToSweep)
{
    Kill(Moment::kHalfway, 2);
    for (size_t h = 0; h < std::size(kSavingHelpers); ++h) {
        const SavingHelper& helper = kSavingHelpers[h];
        if (helper.save != Overwrite && helper.save != ReplaceInPieces)
            continue;
        SCOPED_TRACE(testing::PrintToString(std::wstring(helper.name)));
        const bool control = helper.save == Overwrite;
        EXPECT_EQ(control ? 2 : 0, m_outcomes[h].torn);
        EXPECT_EQ(control ? 0 : 2, m_outcomes[h].leftOver);
    }
}
