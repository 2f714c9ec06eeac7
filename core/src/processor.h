// processor.h: what the processor offers beyond SSE2, which every one of this target has.
//
// Asked once, before the other static objects of the library are made. A process that starts with CVCORE_PLAIN in its environment
// goes without all of it: the tests run the plain loops so, and whoever doubts a result can ask them for a second opinion.
#ifndef PROCESSOR_H
#define PROCESSOR_H

namespace Processor {

struct Features {
    bool avx2, ssse3;
};
extern const Features g_features;

inline bool HasAvx2()
{
    return g_features.avx2;
}
inline bool HasSsse3()
{
    return g_features.ssse3;
}

} // namespace Processor

#endif
