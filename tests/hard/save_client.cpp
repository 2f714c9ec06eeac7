// save_client HELPER PATH EVENT: saves new content over a file again and again, until it is ended from outside. The event
// is set once the first content stands.
#include "hard/savers.h"

#include <cwchar>

int wmain(int argc, wchar_t** argv)
{
    if (argc != 4)
        return 2;
    const HANDLE begun = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, argv[3]);
    for (const SavingHelper& helper : kSavingHelpers) {
        if (!begun || std::wcscmp(helper.name, argv[1]) != 0)
            continue;
        for (unsigned round = 0;; ++round) {
            helper.save(argv[2], SavedContent(round));
            ::SetEvent(begun);
        }
    }
    return 2;
}
