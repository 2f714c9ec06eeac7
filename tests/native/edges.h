// edges.h: which ways the library's code was gone, where it was built with -fsanitize-coverage=trace-pc.
//
//     WatchEdges();
//     target.eat(input);
//     const Edges passed = PassedEdges();
#ifndef TESTS_EDGES_H
#define TESTS_EDGES_H

#include <cstddef>
#include <vector>

/// Steps from one block of code to the next, as numbers in growing order. Two steps may have the same number, seldom.
typedef std::vector<unsigned> Edges;
constexpr unsigned kEdges = 1 << 18; // above all numbers

/// Edges that are known, to be asked for thousands of them with each input.
class EdgeSet {
public:
    EdgeSet() : m_has(kEdges) {}
    void Add(const Edges& edges)
    {
        for (const unsigned edge : edges) {
            m_count += !m_has[edge];
            m_has[edge] = true;
        }
    }
    std::size_t Count() const { return m_count; }
    /// Those that it does not have.
    Edges NewOnes(const Edges& edges) const
    {
        Edges rest;
        for (const unsigned edge : edges) {
            if (!m_has[edge])
                rest.push_back(edge);
        }
        return rest;
    }

private:
    std::vector<bool> m_has;
    std::size_t m_count = 0;
};

/// From here on what one thread passes is marked.
void WatchEdges();
/// What was marked since, and no more from here on.
Edges PassedEdges();

#endif
