// save_client HELPER PATH EVENT [halfway]: saves new content over a file again and again, until it is ended from outside. The event
// is set once the first content stands; with "halfway" in the middle of the second saving, and there it stays.
#include "hard/savers.h"

#include <cwchar>

namespace {

HANDLE g_begun;

void Halt()
{
    ::SetEvent(g_begun);
    ::Sleep(INFINITE);
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const bool halts = argc == 5 && std::wcscmp(argv[4], L"halfway") == 0;
    if (argc != 4 && !halts)
        return 2;
    g_begun = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, argv[3]);
    for (const SavingHelper& helper : kSavingHelpers) {
        if (!g_begun || std::wcscmp(helper.name, argv[1]) != 0)
            continue;
        for (unsigned round = 0;; ++round) {
            helper.save(argv[2], SavedContent(round));
            if (halts)
                g_halfway = Halt;
            else
                ::SetEvent(g_begun);
        }
    }
    return 2;
}
