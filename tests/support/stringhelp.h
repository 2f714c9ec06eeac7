// stringhelp.h: what the tests of strings share.
#ifndef TESTS_STRINGHELP_H
#define TESTS_STRINGHELP_H

#include "salloc.h"
#include "strclss.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

inline std::wstring Wide(const SString& text)
{
    return std::wstring(text, static_cast<size_t>(text.Length()));
}

inline std::ostream& operator<<(std::ostream& out, const SString& text)
{
    return out << testing::PrintToString(Wide(text));
}

/// Blocks that all named pools have handed out, and the heap bytes of large strings: what strings hold.
struct StringHoldings {
    unsigned long blocks = 0;
    unsigned long largeBytes = SString::LargeBytes();

    StringHoldings()
    {
        SPoolCounters::ForEach(
            [](const SPoolCounter& counter, void* context) {
                static_cast<StringHoldings*>(context)->blocks += *counter.inUse;
                return 1;
            },
            this);
    }
};

/// Takes all free blocks of the string pools, so that the next string of any class needs a new chunk.
inline void FillPools(std::vector<SString>& hoard)
{
    SIdleConsumerList::Process().OnIdle(1);
    for (const int length : { 17, 33, 65, 129, 257, 513, 1025, 2049 }) {
        for (;;) {
            const unsigned long before = SFixedAlloc::TotalBytes();
            SString taken(L'h', length);
            if (SFixedAlloc::TotalBytes() != before)
                break; // the first block of a new chunk
            hoard.push_back(std::move(taken));
        }
    }
    SIdleConsumerList::Process().OnIdle(1); // the new chunks go again
}

/// Expects at its end that strings hold what they held at its beginning.
class StringsAtRest {
public:
    ~StringsAtRest()
    {
        const StringHoldings after;
        EXPECT_EQ(m_before.blocks, after.blocks) << "pool blocks were lost or freed twice";
        EXPECT_EQ(m_before.largeBytes, after.largeBytes);
    }

private:
    StringHoldings m_before;
};

#endif
