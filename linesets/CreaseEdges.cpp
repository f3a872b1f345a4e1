// Crease edges: edges of triangles are matched by the exact positions of their ends, and a group of
// edges at one place is a crease where the vertex normals at either end disagree.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include "linesets/EdgeSort.h"
#include "linesets/PositionOrder.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <tuple>

namespace ctr {
namespace {

constexpr std::uint32_t kPerpendicularFlag = 0x80000000U;
constexpr std::uint32_t kIndexMask = 0x7fffffffU;
constexpr std::size_t kTrianglesPerPoll = 1000;
/// |n . d| below |d| / 1024 counts as perpendicular.
constexpr float kPerpendicularTolerance = 0.0009765625F;

/// An edge whose first end is not behind its second in the order of positions.
struct OrderedEdge {
    std::uint32_t firstRank;
    std::uint32_t secondRank;
    std::uint32_t a;
    std::uint32_t b;

    bool samePlace(const OrderedEdge& other) const {
        return firstRank == other.firstRank && secondRank == other.secondRank;
    }
};

/// The order of edges: places of the ends, then vertex numbers.
bool IsBefore(const OrderedEdge& x, const OrderedEdge& y) {
    return std::tie(x.firstRank, x.secondRank, x.a, x.b) <
           std::tie(y.firstRank, y.secondRank, y.a, y.b);
}

/// Smaller position first; at equal positions the smaller number, read as signed.
OrderedEdge Orient(const std::vector<std::uint32_t>& ranks, std::uint32_t a, std::uint32_t b) {
    const bool swap = ranks[a] != ranks[b]
                          ? ranks[b] < ranks[a]
                          : static_cast<std::int32_t>(b) < static_cast<std::int32_t>(a);
    if (swap) {
        std::swap(a, b);
    }
    return {ranks[a], ranks[b], a, b};
}

/// Oriented edges of all triangles; false when cancelled.
bool CollectEdges(std::vector<OrderedEdge>& edges,
                  const std::vector<std::uint32_t>& ranks,
                  const kx::kxIndexBuffer& triangles,
                  const kx::kxCancelInterfaceReadOnly& cancel) {
    const std::size_t count = static_cast<std::size_t>(triangles.GetIndexQuantity()) / 3;
    const unsigned int* index = triangles.GetData();
    edges.reserve(3 * count);
    for (std::size_t begin = 0; begin < count; begin += kTrianglesPerPoll) {
        const std::size_t end = std::min(begin + kTrianglesPerPoll, count);
        for (std::size_t i = begin; i < end; ++i, index += 3) {
            edges.push_back(Orient(ranks, index[0], index[1]));
            edges.push_back(Orient(ranks, index[1], index[2]));
            edges.push_back(Orient(ranks, index[2], index[0]));
        }
        if (cancel.isCanceled()) {
            return false;
        }
    }
    return true;
}

float Dot(const Wm4::Vector3<float>& a, const Wm4::Vector3<float>& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Whether vertex normals are perpendicular to one edge.
class PerpendicularTest {
public:
    PerpendicularTest(const kx::kxVertexBuffer& vertices, std::uint32_t a, std::uint32_t b)
        : vertices_(vertices), direction_(vertices.Position3(static_cast<int>(b)) -
                                          vertices.Position3(static_cast<int>(a))),
          tolerance_(std::sqrt(direction_.SquaredLength()) * kPerpendicularTolerance) {}

    bool holds(std::uint32_t vertex) const {
        return std::fabs(Dot(vertices_.Normal3(static_cast<int>(vertex)), direction_)) < tolerance_;
    }
    bool holds(const OrderedEdge& edge) const { return holds(edge.a) && holds(edge.b); }

private:
    const kx::kxVertexBuffer& vertices_;
    Wm4::Vector3<float> direction_;
    float tolerance_;
};

CreaseEdgeInfo MakeInfo(const OrderedEdge& edge, bool flag) {
    return {edge.a, edge.b | (flag ? kPerpendicularFlag : 0U)};
}

bool SameVertices(const CreaseEdgeInfo& x, const CreaseEdgeInfo& y) {
    return x.vertexA == y.vertexA && (x.vertexB & kIndexMask) == (y.vertexB & kIndexMask);
}

/// Writes the creases of the edges at one place.
void AppendGroup(std::vector<CreaseEdgeInfo>& edges,
                 const OrderedEdge* begin,
                 const OrderedEdge* end,
                 const kx::kxVertexBuffer& vertices,
                 float cosLimit) {
    const OrderedEdge& first = *begin;
    const PerpendicularTest perpendicular(vertices, first.a, first.b);
    if (end - begin == 1) {
        edges.push_back(MakeInfo(first, perpendicular.holds(first)));
        return;
    }
    const auto bends = [&](std::uint32_t v, std::uint32_t w) {
        return Dot(vertices.Normal3(static_cast<int>(v)), vertices.Normal3(static_cast<int>(w))) <
               cosLimit;
    };
    bool firstWritten = false;
    for (const OrderedEdge* edge = begin + 1; edge != end; ++edge) {
        if (!bends(first.a, edge->a) && !bends(first.b, edge->b)) {
            continue;
        }
        const bool flag = perpendicular.holds(first) && perpendicular.holds(*edge);
        if (!firstWritten) {
            edges.push_back(MakeInfo(first, flag));
            firstWritten = true;
        }
        edges.push_back(MakeInfo(*edge, flag));
        if (SameVertices(edges.back(), edges[edges.size() - 2])) {
            edges.pop_back();
        }
    }
}

bool HasVertices(const kx::kxVertexBuffer* vertices) {
    return vertices != nullptr && vertices->GetVertexQuantity() >= 1;
}

std::uint32_t RankCount(const kx::kxVertexBuffer& vertices) {
    return static_cast<std::uint32_t>(vertices.GetVertexQuantity());
}

/// Turns the segments of a line list in place and returns them in the order of edges.
std::vector<OrderedEdge> OrientAndSort(kx::kxIndexBuffer& lines,
                                       const std::vector<std::uint32_t>& ranks,
                                       std::uint32_t rankCount) {
    std::vector<OrderedEdge> segments(SegmentCount(&lines));
    unsigned int* index = lines.GetData();
    for (OrderedEdge& segment : segments) {
        segment = Orient(ranks, index[0], index[1]);
        index[0] = segment.a;
        index[1] = segment.b;
        index += 2;
    }
    SortByFirstRank(segments, rankCount, IsBefore);
    return segments;
}

} // namespace

bool ComputeCreaseEdgeInfo(std::vector<CreaseEdgeInfo>& edges,
                           const kx::kxVertexBuffer* vertices,
                           const kx::kxIndexBuffer* triangles,
                           float angleInDegrees,
                           const kx::kxCancelInterfaceReadOnly& cancel) {
    edges.clear();
    if (!HasVertices(vertices) || triangles == nullptr) {
        return false;
    }
    std::vector<OrderedEdge> sorted;
    if (!CollectEdges(sorted, RankPositions(*vertices), *triangles, cancel)) {
        return false;
    }
    SortByFirstRank(sorted, RankCount(*vertices), IsBefore);

    const float cosLimit = std::cos(angleInDegrees * Wm4::Math<float>::DEG_TO_RAD);
    const OrderedEdge* const end = sorted.data() + sorted.size();
    for (const OrderedEdge* group = sorted.data(); group != end;) {
        if (cancel.isCanceled()) {
            break;
        }
        const OrderedEdge* groupEnd = std::find_if_not(
            group, end, [group](const OrderedEdge& edge) { return edge.samePlace(*group); });
        AppendGroup(edges, group, groupEnd, *vertices, cosLimit);
        group = groupEnd;
    }
    return !cancel.isCanceled();
}

bool MakeBuffersFromEdgeInfo(const std::vector<CreaseEdgeInfo>& edges,
                             kx::kxPointer<kx::kxIndexBuffer>& lines,
                             std::vector<bool>* flags) {
    constexpr std::size_t kMaxEdges = 0x3fffffff;
    lines = nullptr;
    if (flags != nullptr) {
        flags->clear();
    }
    if (edges.empty() || edges.size() > kMaxEdges) {
        return false;
    }
    lines = MakeLineBuffer(edges.size());
    if (flags != nullptr) {
        flags->resize(edges.size(), false);
    }
    unsigned int* index = lines->GetData();
    for (std::size_t i = 0; i < edges.size(); ++i) {
        index[2 * i] = edges[i].vertexA;
        index[2 * i + 1] = edges[i].vertexB & kIndexMask;
        if (flags != nullptr) {
            (*flags)[i] = (edges[i].vertexB & kPerpendicularFlag) != 0;
        }
    }
    return true;
}

bool ComputeEdgeInfoFromIBuffer(std::vector<CreaseEdgeInfo>& edges,
                                const kx::kxVertexBuffer* vertices,
                                kx::kxIndexBuffer* lines,
                                std::vector<unsigned char>& tags) {
    constexpr unsigned char kLineOnly = 1;
    constexpr unsigned char kCreaseOnly = 2;
    constexpr unsigned char kBoth = 3;
    if (!HasVertices(vertices)) {
        return false;
    }
    const std::size_t creaseCount = edges.size();
    tags.clear();
    tags.reserve(creaseCount + SegmentCount(lines));
    tags.resize(creaseCount, kCreaseOnly);
    if (lines == nullptr) {
        return true;
    }
    const std::vector<std::uint32_t> ranks = RankPositions(*vertices);
    const std::vector<OrderedEdge> segments = OrientAndSort(*lines, ranks, RankCount(*vertices));
    std::size_t crease = 0;
    for (const OrderedEdge& segment : segments) {
        const auto creaseEdge = [&] {
            const std::uint32_t b = edges[crease].vertexB & kIndexMask;
            return OrderedEdge{ranks[edges[crease].vertexA], ranks[b], edges[crease].vertexA, b};
        };
        while (crease < creaseCount && IsBefore(creaseEdge(), segment)) {
            ++crease;
        }
        if (crease < creaseCount && !IsBefore(segment, creaseEdge())) {
            tags[crease] = kBoth;
            continue;
        }
        const bool repeated =
            edges.size() > creaseCount && SameVertices(edges.back(), MakeInfo(segment, false));
        if (!repeated) {
            const PerpendicularTest perpendicular(*vertices, segment.a, segment.b);
            edges.push_back(MakeInfo(segment, perpendicular.holds(segment)));
            tags.push_back(kLineOnly);
        }
    }
    return true;
}

LineSegmentSet* LineSegmentSet::GetCreaseEdgesFromMesh(const kx::kxVertexBuffer* vertices,
                                                       const kx::kxIndexBuffer* triangles,
                                                       const kx::kxCancelInterfaceReadOnly& cancel,
                                                       float angleInDegrees,
                                                       bool withFlags) {
    if (vertices == nullptr || triangles == nullptr) {
        return nullptr;
    }
    auto set = std::make_unique<LineSegmentSet>();
    kx::kxPointer<kx::kxIndexBuffer> lines;
    {
        std::vector<CreaseEdgeInfo> edges;
        if (!ComputeCreaseEdgeInfo(edges, vertices, triangles, angleInDegrees, cancel) ||
            !MakeBuffersFromEdgeInfo(edges, lines, withFlags ? &set->segmentFlags : nullptr)) {
            return nullptr;
        }
    }
    if (cancel.isCanceled()) {
        return nullptr;
    }
    set->SetVertexBuffer(const_cast<kx::kxVertexBuffer*>(vertices));
    set->SetIndexBuffer(lines.get());
    return set.release();
}

LineSegmentSet*
LineSegmentSet::GetCreaseEdgesFromTriMesh(const kx::kxTriMesh* mesh,
                                          const kx::kxCancelInterfaceReadOnly& cancel,
                                          float angleInDegrees,
                                          bool withFlags) {
    std::unique_ptr<LineSegmentSet> set(GetCreaseEdgesFromMesh(
        mesh->GetVertexBuffer(), mesh->GetIndexBuffer(), cancel, angleInDegrees, withFlags));
    if (set != nullptr) {
        Place(*set, mesh->GetLocalTransformation(), mesh->GetWorldTransformation());
        UpdateModelSpace(*set, true);
    }
    return set.release();
}

} // namespace ctr
