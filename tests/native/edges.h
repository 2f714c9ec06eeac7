// edges.h: which ways the library's code was gone, where it was built with -fsanitize-coverage=trace-pc.
//
//     WatchEdges();
//     target.eat(input);
//     const Edges passed = PassedEdges();
#ifndef TESTS_EDGES_H
#define TESTS_EDGES_H

#include <vector>

/// Steps from one block of code to the next, as numbers in growing order. Two steps may have the same number, seldom.
typedef std::vector<unsigned> Edges;

/// From here on what one thread passes is marked.
void WatchEdges();
/// What was marked since, and no more from here on.
Edges PassedEdges();

#endif
