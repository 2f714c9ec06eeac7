#include "seed.h"

#include <chrono>
#include <cstdlib>

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

int Cases(int usual)
{
    return std::getenv("CV_LONG") ? 1000000 : usual;
}
