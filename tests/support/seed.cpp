#include "seed.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace {

constexpr int kTimesInALongRun = 10;

} // namespace

unsigned TestSeed()
{
    static const unsigned seed = [] {
        if (const char* asked = std::getenv("CV_SEED"))
            return static_cast<unsigned>(std::strtoul(asked, nullptr, 10));
        const auto now = std::chrono::system_clock::now().time_since_epoch().count();
        return static_cast<unsigned>(static_cast<unsigned long long>(now) >> 10);
    }();
    return seed;
}

Amount WantedAmount()
{
    static const Amount amount = std::getenv("CV_LONG")   ? Amount::Long
                                 : std::getenv("CV_FULL") ? Amount::Full
                                                          : Amount::Taste;
    return amount;
}

int Cases(int taste, int full)
{
    switch (WantedAmount()) {
    case Amount::Taste: return taste;
    case Amount::Full: return full;
    default: return std::max(kTimesInALongRun * full, kMillion);
    }
}

int Cases(int taste)
{
    return Cases(taste, taste);
}
