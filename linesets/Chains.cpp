// Polyline chaining over a flat adjacency (prefix sums): a step along a chain takes two array
// reads. Linear in the numbers of vertices and segments. Exact: only indices are compared. Seeds
// are taken in the order of vertices, so the chains depend on nothing but the input.
#include "linesets/Chains.h"

#include <algorithm>
#include <utility>

namespace ctr {
namespace {

/// One segment end at a vertex: the vertex at the other end, and the index of the segment.
struct SegmentEnd {
    unsigned int neighbour;
    unsigned int segment;
};

/// The segment ends at each vertex in one flat array, in the order of the segments.
class Adjacency {
public:
    Adjacency(std::size_t vertexCount, const unsigned int* indices, std::size_t segmentCount)
        : firstEnd_(vertexCount + 1, 0), ends_(2 * segmentCount) {
        for (std::size_t i = 0; i < 2 * segmentCount; ++i) {
            ++firstEnd_[indices[i] + std::size_t{1}];
        }
        for (std::size_t vertex = 0; vertex < vertexCount; ++vertex) {
            firstEnd_[vertex + 1] += firstEnd_[vertex];
        }
        std::vector<std::size_t> next(firstEnd_.begin(), firstEnd_.end() - 1);
        for (std::size_t i = 0; i < 2 * segmentCount; ++i) {
            ends_[next[indices[i]]++] = {indices[i ^ 1U], static_cast<unsigned int>(i / 2)};
        }
    }

    std::size_t vertexCount() const { return firstEnd_.size() - 1; }
    std::size_t valence(std::size_t vertex) const {
        return firstEnd_[vertex + 1] - firstEnd_[vertex];
    }
    const SegmentEnd* begin(std::size_t vertex) const { return ends_.data() + firstEnd_[vertex]; }
    const SegmentEnd* end(std::size_t vertex) const { return begin(vertex) + valence(vertex); }

private:
    std::vector<std::size_t> firstEnd_;
    std::vector<SegmentEnd> ends_;
};

/// Appends every segment once, chain by chain.
class ChainBuilder {
public:
    ChainBuilder(const Adjacency& adjacency, std::size_t segmentCount)
        : adjacency_(adjacency), used_(segmentCount, false) {
        links_.reserve(segmentCount);
    }

    /// The links of all chains; chainEnds receives the number of links up to the end of each.
    std::vector<ChainLink> build(std::vector<std::size_t>& chainEnds) {
        for (std::size_t vertex = 0; vertex < adjacency_.vertexCount(); ++vertex) {
            for (const SegmentEnd* seed = adjacency_.begin(vertex); seed != adjacency_.end(vertex);
                 ++seed) {
                if (!used_[seed->segment]) {
                    buildChain(static_cast<unsigned int>(vertex), *seed);
                    chainEnds.push_back(links_.size());
                }
            }
        }
        return std::move(links_);
    }

private:
    void buildChain(unsigned int vertex, const SegmentEnd& seed) {
        const auto chainBegin = static_cast<std::ptrdiff_t>(links_.size());
        used_[seed.segment] = true;
        walk(vertex, seed.neighbour);
        std::reverse(links_.begin() + chainBegin, links_.end());
        std::for_each(links_.begin() + chainBegin, links_.end(),
                      [](ChainLink& link) { std::swap(link.from, link.to); });
        links_.push_back({vertex, seed.neighbour, seed.segment});
        walk(seed.neighbour, vertex);
    }

    /// Appends the segments that continue from a vertex, away from the previous one.
    void walk(unsigned int vertex, unsigned int previous) {
        while (adjacency_.valence(vertex) == 2) {
            const SegmentEnd* ends = adjacency_.begin(vertex);
            const SegmentEnd& next = ends[0].neighbour != previous ? ends[0] : ends[1];
            if (used_[next.segment]) {
                return;
            }
            used_[next.segment] = true;
            links_.push_back({vertex, next.neighbour, next.segment});
            previous = vertex;
            vertex = next.neighbour;
        }
    }

    const Adjacency& adjacency_;
    std::vector<bool> used_;
    std::vector<ChainLink> links_;
};

} // namespace

std::vector<ChainLink> BuildChains(std::size_t vertexCount,
                                   const unsigned int* indices,
                                   std::size_t segmentCount,
                                   std::vector<std::size_t>& chainEnds) {
    const Adjacency adjacency(vertexCount, indices, segmentCount);
    return ChainBuilder(adjacency, segmentCount).build(chainEnds);
}

} // namespace ctr
