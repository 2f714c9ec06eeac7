// save_client FOLDER EVENT [halfway]: each helper on a thread of its own saves new content over the file in its folder again and
// again, until all are ended from outside. The event is set once every file stands; with "halfway" once each of those who save
// in pieces is in the middle of its second saving, and there it stays.
#include "hard/savers.h"

#include <atomic>
#include <cwchar>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

HANDLE g_begun;
std::atomic<size_t> g_notReady(std::size(kSavingHelpers));

void BeReady()
{
    if (--g_notReady == 0)
        ::SetEvent(g_begun);
}

void Halt()
{
    BeReady();
    ::Sleep(INFINITE);
}

void SaveForEver(const SavingHelper& helper, const std::wstring& folder, bool halts)
{
    const std::wstring path = folder + L"\\" + helper.name + L"\\" + kSavedFile;
    helper.save(path.c_str(), SavedContent(0));
    if (halts && helper.inPieces)
        t_halfway = Halt;
    else
        BeReady();
    for (unsigned round = 1;; ++round)
        helper.save(path.c_str(), SavedContent(round));
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const bool halts = argc == 4 && std::wcscmp(argv[3], L"halfway") == 0;
    if (argc != 3 && !halts)
        return 2;
    g_begun = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, argv[2]);
    if (!g_begun)
        return 2;
    std::vector<std::thread> savers;
    for (const SavingHelper& helper : kSavingHelpers)
        savers.emplace_back(SaveForEver, helper, std::wstring(argv[1]), halts);
    for (std::thread& saver : savers)
        saver.join();
    return 2;
}
