// stringhelp.h: what the tests of strings share.
#ifndef TESTS_STRINGHELP_H
#define TESTS_STRINGHELP_H

#include "salloc.h"
#include "strclss.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

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
