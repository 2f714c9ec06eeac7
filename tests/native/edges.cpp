#include "edges.h"

#include <algorithm>
#include <cstdint>

// The linker's name for the begin of the program: with it the numbers are those of the last run, wherever it was loaded.
extern "C" const char __executable_start;

namespace {

bool g_watches;
bool g_isMarked[kEdges];
unsigned g_marked[kEdges]; // the marked ones, in the order in which they were passed
unsigned g_count, g_before;

} // namespace

// The compiler calls this at the begin of each block.
extern "C" void __sanitizer_cov_trace_pc()
{
    if (!g_watches)
        return;
    const uintptr_t here = reinterpret_cast<uintptr_t>(__builtin_return_address(0)) -
                           reinterpret_cast<uintptr_t>(&__executable_start);
    const unsigned block = static_cast<unsigned>(here) * 2654435761u >> 14;
    const unsigned edge = (block ^ g_before >> 1) % kEdges; // halved, for there and back are two
    g_before = block;
    if (!g_isMarked[edge]) {
        g_isMarked[edge] = true;
        g_marked[g_count++] = edge;
    }
}

void WatchEdges()
{
    g_before = g_count = 0;
    g_watches = true;
}

Edges PassedEdges()
{
    g_watches = false;
    Edges passed(g_marked, g_marked + g_count);
    for (const unsigned edge : passed)
        g_isMarked[edge] = false;
    std::sort(passed.begin(), passed.end());
    return passed;
}
