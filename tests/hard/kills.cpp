// Programs that are killed while they save: the file has the old content or the new one, and nothing stays behind.
#include "hard/savers.h"

#include "support/seed.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

namespace {

// A round costs the start of a process. CV_LONG asks for as many as a release needs.
int Rounds()
{
    return std::getenv("CV_LONG") ? 200 : 8;
}

std::wstring ClientPath()
{
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program(path);
    return program.substr(0, program.rfind(L'\\') + 1) + L"save_client.exe";
}

enum class Moment { kAny, kHalfway };

HANDLE StartClient(const std::wstring& helper, const std::wstring& path, const std::wstring& event,
                   Moment moment)
{
    std::wstring line = L"\"" + ClientPath() + L"\" " + helper + L" \"" + path + L"\" " + event;
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

// Ends one writer at any moment, or in the middle of its saving.
void KillOne(const std::wstring& helper, const std::wstring& path, Moment moment, std::mt19937& random)
{
    static int number = 0;
    const std::wstring event =
        L"cv-save-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++number);
    const HANDLE begun = ::CreateEventW(nullptr, TRUE, FALSE, event.c_str());
    const HANDLE client = StartClient(helper, path, event, moment);
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

Outcome KillWriters(const SavingHelper& helper, Moment moment, int rounds, std::mt19937& random)
{
    const TempFolder folder;
    const std::wstring path = folder.Path(L"letters.txt");
    Outcome outcome;
    for (int i = 0; i < rounds && !testing::Test::HasFatalFailure(); ++i) {
        KillOne(helper.name, path, moment, random);
        const std::string content = TempFolder::Content(path);
        if (!IsWhole(content))
            ++outcome.torn;
        outcome.leftOver += TempFolder::Entries(folder.Path()) - 1;
        const std::string next =
            SavedContent(content.empty() ? 0 : static_cast<unsigned>(content[0] - 'A') + 1);
        helper.save(path.c_str(), next);
        EXPECT_EQ(next, TempFolder::Content(path));
        EXPECT_EQ(1, TempFolder::Entries(folder.Path())) << "the next save sweeps what the killed one left";
    }
    return outcome;
}

} // namespace

TEST(KilledWriters, LeaveTheOldContentOrTheNewOne)
{
    std::mt19937 random(TestSeed());
    for (const SavingHelper& helper : kSavingHelpers) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(helper.name)));
        const Outcome outcome = KillWriters(helper, Moment::kAny, Rounds(), random);
        std::printf("%-10ls %d writers killed, %d torn, %d temporary files left and swept\n", helper.name,
                    Rounds(), outcome.torn, outcome.leftOver);
        EXPECT_TRUE(outcome.torn == 0 || helper.save == Overwrite);
    }
}

// Where the moment is known, the outcome is: it also shows that the one above would see a torn file.
TEST(KilledWriters, HalfwayLeaveTheOldContentAndAFileToSweep)
{
    std::mt19937 random(TestSeed());
    for (const SavingHelper& helper : kSavingHelpers) {
        if (helper.save != Overwrite && helper.save != ReplaceInPieces)
            continue;
        SCOPED_TRACE(testing::PrintToString(std::wstring(helper.name)));
        const bool control = helper.save == Overwrite;
        const Outcome outcome = KillWriters(helper, Moment::kHalfway, 2, random);
        EXPECT_EQ(control ? 2 : 0, outcome.torn);
        EXPECT_EQ(control ? 0 : 2, outcome.leftOver);
    }
}
