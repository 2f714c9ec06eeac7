#include "processor.h"

#include "compiler.h"

#include <cstdlib>

namespace {

Processor::Features Ask()
{
    if (std::getenv("CVCORE_PLAIN"))
        return { false, false };
    return { OffersAvx2(), OffersSsse3() };
}

} // namespace

S_INIT_PRIORITY(101) const Processor::Features Processor::g_features = Ask();
