// Loose segments chained into polylines, so that each can be drawn as one stroke.
//
// Chains run through vertices that exactly two segment ends share; they end at loose ends, at
// junctions, and where a closed loop has come back to its start.
#include <ctr/LineSegmentSet.h>

#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace ctr {
namespace {

/// One segment end at a vertex: where the segment leads to, and which it is.
struct SegmentEnd {
    unsigned int neighbour;
    unsigned int segment;
};

/// The segment ends at every vertex in one flat array, in the order of the segments.
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

/// A segment as it is written: its two vertices in the direction of the chain, and its number.
struct ChainLink {
    unsigned int from;
    unsigned int to;
    unsigned int segment;
};

/// Writes every segment once, chain by chain.
class ChainBuilder {
public:
    ChainBuilder(const Adjacency& adjacency, std::size_t segmentCount)
        : adjacency_(adjacency), used_(segmentCount, false) {
        links_.reserve(segmentCount);
    }

    /// Links of all chains; chainEnds gets the number of links up to the end of each.
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

    /// Appends segments from a vertex onward, away from the one before it.
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

bool IndicesInRange(const unsigned int* indices, std::size_t count, int vertexQuantity) {
    return std::all_of(indices, indices + count, [vertexQuantity](unsigned int index) {
        return index < static_cast<unsigned int>(vertexQuantity);
    });
}

kx::kxPointer<kx::kxIndexBuffer> WriteLinks(const std::vector<ChainLink>& links) {
    kx::kxPointer<kx::kxIndexBuffer> lines = MakeLineBuffer(links.size());
    unsigned int* index = lines->GetData();
    for (const ChainLink& link : links) {
        *index++ = link.from;
        *index++ = link.to;
    }
    return lines;
}

/// Brings the tags, one for each segment (0 where one is missing), into the order of the links.
void ReorderTags(std::vector<unsigned char>& tags, const std::vector<ChainLink>& links) {
    constexpr unsigned char kTagMask = 3;
    std::vector<unsigned char> reordered(links.size());
    std::transform(links.begin(), links.end(), reordered.begin(), [&](const ChainLink& link) {
        return link.segment < tags.size()
                   ? static_cast<unsigned char>(tags[link.segment] & kTagMask)
                   : static_cast<unsigned char>(0);
    });
    tags = std::move(reordered);
}

} // namespace

bool LineSegmentSet::BuildPolylinesImpl(const kx::kxVertexBuffer& vertices,
                                        const kx::kxIndexBuffer& lines,
                                        const std::vector<bool>* /*flags*/,
                                        std::vector<unsigned char>* tags,
                                        kx::kxPointer<kx::kxIndexBuffer>& polylines,
                                        std::vector<ArcFeature>& arcs,
                                        std::vector<bool>& straightLineFlags) {
    const std::size_t count = SegmentCount(&lines);
    const unsigned int* indices = lines.GetData();
    const int vertexQuantity = vertices.GetVertexQuantity();
    if (count == 0 || !IndicesInRange(indices, 2 * count, vertexQuantity)) {
        return false;
    }
    const Adjacency adjacency(static_cast<std::size_t>(vertexQuantity), indices, count);
    std::vector<std::size_t> chainEnds;
    const std::vector<ChainLink> links = ChainBuilder(adjacency, count).build(chainEnds);

    arcs.clear();
    arcs.reserve(count);
    std::uint32_t first = 0;
    for (const std::size_t chainEnd : chainEnds) {
        const auto end = static_cast<std::uint32_t>(2 * chainEnd);
        arcs.push_back({first, end, nullptr, nullptr, 0});
        first = end;
    }
    polylines = WriteLinks(links);
    if (tags != nullptr) {
        ReorderTags(*tags, links);
    }
    straightLineFlags.assign(count, false);
    return true;
}

LineSegmentSet* LineSegmentSet::BuildPolylines(const LineSegmentSet& source,
                                               std::vector<ArcFeature>& arcs,
                                               bool compactVertices) {
    if (source.GetVertexBuffer() == nullptr || source.GetIndexBuffer() == nullptr) {
        return nullptr;
    }
    kx::kxPointer<kx::kxIndexBuffer> lines;
    std::vector<bool> straightLineFlags;
    if (!BuildPolylinesImpl(*source.GetVertexBuffer(), *source.GetIndexBuffer(),
                            &source.segmentFlags, nullptr, lines, arcs, straightLineFlags)) {
        return nullptr;
    }
    kx::kxPointer<kx::kxVertexBuffer> vertices = source.GetVertexBuffer();
    if (compactVertices) {
        CreateFilteredVertexBufferPatched(*source.GetVertexBuffer(), *lines, vertices);
    }
    auto set = std::make_unique<LineSegmentSet>();
    set->SetVertexBuffer(vertices.get());
    set->SetIndexBuffer(lines.get());
    set->segmentFlags = std::move(straightLineFlags);
    CopyAppearance(*set, source);
    UpdateModelSpace(*set, true);
    return set.release();
}

void LineSegmentSet::ArcFeature::removeStraightLineFlags(
    std::vector<bool>& straightLineFlags) const {
    for (const ArcFeature* record = this; record != nullptr; record = record->next) {
        std::fill(straightLineFlags.begin() + record->first / 2,
                  straightLineFlags.begin() + record->end / 2, false);
    }
}

void LineSegmentSet::ArcFeature::reverseIndexBuffer(unsigned int* indices,
                                                    std::vector<bool>* straightLineFlags,
                                                    std::vector<unsigned char>* tags) const {
    for (const ArcFeature* record = this; record != nullptr; record = record->next) {
        const std::uint32_t firstSegment = record->first / 2;
        const std::uint32_t endSegment = record->end / 2;
        std::reverse(indices + record->first, indices + record->end);
        if (straightLineFlags != nullptr) {
            std::reverse(straightLineFlags->begin() + firstSegment,
                         straightLineFlags->begin() + endSegment);
        }
        if (tags != nullptr) {
            std::reverse(tags->begin() + firstSegment, tags->begin() + endSegment);
        }
    }
}

} // namespace ctr
