// Crease edges: edges of triangles are matched by the exact positions of their ends, and a group of
// edges at one place is a crease where the vertex normals at either end disagree.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include "fitting/Angles.h"
#include "linesets/EdgeGroups.h"
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

/// An edge by its vertices alone.
struct VertexPair {
    std::uint32_t a;
    std::uint32_t b;

    bool operator<(const VertexPair& other) const {
        return std::tie(a, b) < std::tie(other.a, other.b);
    }
};

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
    bool holds(const VertexPair& edge) const { return holds(edge.a) && holds(edge.b); }

private:
    const kx::kxVertexBuffer& vertices_;
    Wm4::Vector3<float> direction_;
    float tolerance_;
};

CreaseEdgeInfo MakeInfo(const VertexPair& edge, bool flag) {
    return {edge.a, edge.b | (flag ? kPerpendicularFlag : 0U)};
}

bool SameVertices(const CreaseEdgeInfo& x, const CreaseEdgeInfo& y) {
    return x.vertexA == y.vertexA && (x.vertexB & kIndexMask) == (y.vertexB & kIndexMask);
}

/// Writes the creases of the edges at one place, which are in the order of their vertices.
void AppendGroup(std::vector<CreaseEdgeInfo>& edges,
                 const VertexPair* begin,
                 const VertexPair* end,
                 const kx::kxVertexBuffer& vertices,
                 float cosLimit) {
    const VertexPair& first = *begin;
    const auto flagWith = [&](const VertexPair& edge) {
        const PerpendicularTest perpendicular(vertices, first.a, first.b);
        return perpendicular.holds(first) && perpendicular.holds(edge);
    };
    if (end - begin == 1) {
        edges.push_back(MakeInfo(first, flagWith(first)));
        return;
    }
    const auto bends = [&](std::uint32_t v, std::uint32_t w) {
        return Dot(vertices.Normal3(static_cast<int>(v)), vertices.Normal3(static_cast<int>(w))) <
               cosLimit;
    };
    bool firstWritten = false;
    for (const VertexPair* edge = begin + 1; edge != end; ++edge) {
        if (!bends(first.a, edge->a) && !bends(first.b, edge->b)) {
            continue;
        }
        const bool flag = flagWith(*edge);
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

/// The positions of vertices as keys.
struct VertexKeys {
    const kx::kxVertexBuffer& vertices;

    PositionKey operator()(std::size_t vertex) const {
        return KeyOf(vertices.Position3(static_cast<int>(vertex)));
    }
};

/// The creases of one list of triangles.
class CreaseSearch {
public:
    CreaseSearch(const kx::kxVertexBuffer& vertices,
                 const kx::kxIndexBuffer& triangles,
                 float cosLimit)
        : vertices_(vertices), indices_(triangles.GetData()),
          triangleCount_(static_cast<std::size_t>(triangles.GetIndexQuantity()) / 3),
          cosLimit_(cosLimit), keyOf_{vertices}, places_(NumberPlaces(RankCount(vertices), keyOf_)),
          buckets_(places_.size()) {}

    /// Reads all triangles; false when cancelled.
    bool collect(const kx::kxCancelInterfaceReadOnly& cancel) {
        for (std::size_t begin = 0; begin < triangleCount_; begin += kTrianglesPerPoll) {
            forEachEdge(begin, std::min(begin + kTrianglesPerPoll, triangleCount_),
                        [this](std::uint32_t from, std::uint32_t to, std::uint32_t) {
                            buckets_.count(from, to);
                        });
            if (cancel.isCanceled()) {
                return false;
            }
        }
        buckets_.startAdding(3 * triangleCount_);
        forEachEdge(0, triangleCount_,
                    [this](std::uint32_t from, std::uint32_t to, std::uint32_t number) {
                        buckets_.add(from, to, number);
                    });
        return true;
    }

    /// Writes all creases in no order; returns how many groups of edges there are.
    std::size_t findCreases(std::vector<CreaseEdgeInfo>& edges) {
        const std::vector<bool> plain = plainPlaces();
        const auto mayBeDull = [&](std::uint32_t place, const BucketEdge* edge,
                                   const BucketEdge* end) {
            return plain[place] && std::all_of(edge, end, [&](const BucketEdge& other) {
                       return plain[other.otherPlace()];
                   });
        };
        std::vector<VertexPair> members;
        return buckets_.forEachGroup(
            mayBeDull, [&](std::uint32_t place, const BucketEdge* edge, const BucketEdge* end) {
                const std::uint32_t first = firstInOrder(place, edge->otherPlace());
                members.clear();
                for (; edge != end; ++edge) {
                    members.push_back(orient(edge->number(), first));
                }
                std::sort(members.begin(), members.end());
                AppendGroup(edges, members.data(), members.data() + members.size(), vertices_,
                            cosLimit_);
            });
    }

    /// Puts creases into the order of edges.
    void sort(std::vector<CreaseEdgeInfo>& edges) const {
        PlaceRanks ranks(places_.size());
        for (const CreaseEdgeInfo& edge : edges) {
            ranks.use(places_[edge.vertexA]);
            ranks.use(places_[edge.vertexB & kIndexMask]);
        }
        ranks.rank(keyOf_);
        std::vector<OrderedEdge> sorted(edges.size());
        std::transform(edges.begin(), edges.end(), sorted.begin(), [&](const CreaseEdgeInfo& edge) {
            return OrderedEdge{ranks[places_[edge.vertexA]],
                               ranks[places_[edge.vertexB & kIndexMask]], edge.vertexA,
                               edge.vertexB};
        });
        SortByFirstRank(sorted, ranks.count(), [](const OrderedEdge& x, const OrderedEdge& y) {
            return std::tuple(x.secondRank, x.a, x.b & kIndexMask) <
                   std::tuple(y.secondRank, y.a, y.b & kIndexMask);
        });
        std::transform(sorted.begin(), sorted.end(), edges.begin(), [](const OrderedEdge& edge) {
            return CreaseEdgeInfo{edge.a, edge.b};
        });
    }

    /// Keeps of the sorted creases those of the first groups, which are not all.
    void keepGroups(std::vector<CreaseEdgeInfo>& edges, std::size_t count) {
        const auto isBefore = [this](const VertexPair& x, const VertexPair& y) {
            return std::tuple(keyOf_(x.a), keyOf_(x.b)) < std::tuple(keyOf_(y.a), keyOf_(y.b));
        };
        std::vector<VertexPair> groups;
        buckets_.forEachGroup(
            [](std::uint32_t, const BucketEdge*, const BucketEdge*) { return false; },
            [&](std::uint32_t place, const BucketEdge* edge, const BucketEdge*) {
                const std::uint32_t other = edge->otherPlace();
                const std::uint32_t first = firstInOrder(place, other);
                groups.push_back({first, first == place ? other : place});
            });
        const auto next = groups.begin() + static_cast<std::ptrdiff_t>(count);
        std::nth_element(groups.begin(), next, groups.end(), isBefore);
        edges.erase(std::partition_point(
                        edges.begin(), edges.end(),
                        [&](const CreaseEdgeInfo& edge) {
                            return isBefore({edge.vertexA, edge.vertexB & kIndexMask}, *next);
                        }),
                    edges.end());
    }

private:
    std::uint32_t firstInOrder(std::uint32_t place, std::uint32_t other) const {
        return keyOf_(other) < keyOf_(place) ? other : place;
    }

    /// Calls visit(from, to, number) with the places of the edges of some triangles; an edge's
    /// number is where its first index stands.
    template <class Visit>
    void forEachEdge(std::size_t firstTriangle, std::size_t endTriangle, Visit visit) const {
        auto number = static_cast<std::uint32_t>(3 * firstTriangle);
        for (std::size_t i = firstTriangle; i < endTriangle; ++i, number += 3) {
            const std::uint32_t place[3] = {places_[indices_[number]],
                                            places_[indices_[number + 1]],
                                            places_[indices_[number + 2]]};
            visit(place[0], place[1], number);
            visit(place[1], place[2], number + 1);
            visit(place[2], place[0], number + 2);
        }
    }

    /// The vertices of an edge, that at the place `first` first; of two there the smaller number,
    /// read as signed.
    VertexPair orient(std::uint32_t number, std::uint32_t first) const {
        VertexPair edge{indices_[number], indices_[number % 3 == 2 ? number - 2 : number + 1]};
        const bool swap =
            places_[edge.a] != places_[edge.b]
                ? places_[edge.b] == first
                : static_cast<std::int32_t>(edge.b) < static_cast<std::int32_t>(edge.a);
        if (swap) {
            std::swap(edge.a, edge.b);
        }
        return edge;
    }

    /// The places with one vertex whose normal does not even disagree with itself, as one of no
    /// length does: edges between such places that have the same vertices are no creases.
    std::vector<bool> plainPlaces() const {
        std::vector<bool> plain(places_.size(), true);
        for (std::size_t vertex = 0; vertex < places_.size(); ++vertex) {
            const Wm4::Vector3<float>& normal = vertices_.Normal3(static_cast<int>(vertex));
            if (places_[vertex] != vertex || Dot(normal, normal) < cosLimit_) {
                plain[places_[vertex]] = false;
            }
        }
        return plain;
    }

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    std::size_t triangleCount_;
    float cosLimit_;
    VertexKeys keyOf_;
    std::vector<std::uint32_t> places_;
    EdgeBuckets buckets_;
};

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
    const float cosLimit = Cosine(angleInDegrees * Wm4::Math<float>::DEG_TO_RAD);
    CreaseSearch search(*vertices, *triangles, cosLimit);
    if (!search.collect(cancel)) {
        return false;
    }
    const std::size_t groups = search.findCreases(edges);
    search.sort(edges);
    for (std::size_t group = 0; group < groups; ++group) {
        if (cancel.isCanceled()) {
            search.keepGroups(edges, group);
            break;
        }
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
        const bool repeated = edges.size() > creaseCount &&
                              SameVertices(edges.back(), MakeInfo({segment.a, segment.b}, false));
        if (!repeated) {
            const PerpendicularTest perpendicular(*vertices, segment.a, segment.b);
            const VertexPair ends{segment.a, segment.b};
            edges.push_back(MakeInfo(ends, perpendicular.holds(ends)));
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
