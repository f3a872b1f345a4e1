// Crease edges: triangle edges are grouped by the exact positions of their ends (Welding,
// EdgeBuckets), and a group is a crease where the vertex normals at either end differ by more than
// an angle. An edge without a partner is a boundary edge and always a crease.
//
// Expected linear time, plus sorting the edges found. Normals are compared by products in single
// precision in a fixed order, without tolerance: cosines within a few 2^-24 of the limit may count
// as either.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include "fitting/Angles.h"
#include "linesets/EdgeBuckets.h"
#include "linesets/EdgeSort.h"
#include "linesets/IndexRange.h"
#include "linesets/PositionOrder.h"
#include "linesets/Progress.h"
#include "linesets/SetConstruction.h"
#include "linesets/Welding.h"

#include <algorithm>
#include <cassert>
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

/// An edge whose first end does not come after its second in the order of positions.
struct OrderedEdge {
    std::uint32_t firstRank;
    std::uint32_t secondRank;
    std::uint32_t a;
    std::uint32_t b;
};

/// The order of edges: positions of the ends, then vertex indices.
bool IsBefore(const OrderedEdge& x, const OrderedEdge& y) {
    return std::tie(x.firstRank, x.secondRank, x.a, x.b) <
           std::tie(y.firstRank, y.secondRank, y.a, y.b);
}

/// Smaller position first; at equal positions the smaller index, compared as signed.
OrderedEdge Orient(const std::vector<std::uint32_t>& ranks, std::uint32_t a, std::uint32_t b) {
    const bool swap = ranks[a] != ranks[b]
                          ? ranks[b] < ranks[a]
                          : static_cast<std::int32_t>(b) < static_cast<std::int32_t>(a);
    if (swap) {
        std::swap(a, b);
    }
    return {ranks[a], ranks[b], a, b};
}

float Dot(const Wm4::Vector3<float>& a, const Wm4::Vector3<float>& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Checks whether vertex normals are perpendicular to one edge.
class PerpendicularityCheck {
public:
    PerpendicularityCheck(const kx::kxVertexBuffer& vertices, std::uint32_t a, std::uint32_t b)
        : vertices_(vertices), direction_(vertices.Position3(static_cast<int>(b)) -
                                          vertices.Position3(static_cast<int>(a))),
          tolerance_(std::sqrt(direction_.SquaredLength()) * kPerpendicularTolerance) {}

    bool holds(std::uint32_t vertex) const {
        return std::fabs(Dot(vertices_.Normal3(static_cast<int>(vertex)), direction_)) < tolerance_;
    }
    /// For both ends of an edge without flag.
    bool holds(const CreaseEdgeInfo& edge) const {
        return holds(edge.vertexA) && holds(edge.vertexB);
    }

private:
    const kx::kxVertexBuffer& vertices_;
    Wm4::Vector3<float> direction_;
    float tolerance_;
};

CreaseEdgeInfo WithFlag(const CreaseEdgeInfo& edge, bool flag) {
    return {edge.vertexA, edge.vertexB | (flag ? kPerpendicularFlag : 0U)};
}

bool SameVertices(const CreaseEdgeInfo& x, const CreaseEdgeInfo& y) {
    return x.vertexA == y.vertexA && (x.vertexB & kIndexMask) == (y.vertexB & kIndexMask);
}

/// The order of edges without flags between the same two points.
bool HasSmallerVertices(const CreaseEdgeInfo& x, const CreaseEdgeInfo& y) {
    return std::tie(x.vertexA, x.vertexB) < std::tie(y.vertexA, y.vertexB);
}

/// Writes the creases of the edges at one point, which are in the order of their vertices and have
/// no flags.
void AppendGroup(std::vector<CreaseEdgeInfo>& edges,
                 const CreaseEdgeInfo* begin,
                 const CreaseEdgeInfo* end,
                 const kx::kxVertexBuffer& vertices,
                 float cosLimit) {
    const CreaseEdgeInfo& first = *begin;
    const auto flagWith = [&](const CreaseEdgeInfo& edge) {
        const PerpendicularityCheck perpendicular(vertices, first.vertexA, first.vertexB);
        return perpendicular.holds(first) && perpendicular.holds(edge);
    };
    if (end - begin == 1) {
        edges.push_back(WithFlag(first, flagWith(first)));
        return;
    }
    const auto exceedsAngle = [&](std::uint32_t v, std::uint32_t w) {
        return Dot(vertices.Normal3(static_cast<int>(v)), vertices.Normal3(static_cast<int>(w))) <
               cosLimit;
    };
    bool firstWritten = false;
    for (const CreaseEdgeInfo* edge = begin + 1; edge != end; ++edge) {
        if (!exceedsAngle(first.vertexA, edge->vertexA) &&
            !exceedsAngle(first.vertexB, edge->vertexB)) {
            continue;
        }
        const bool flag = flagWith(*edge);
        if (!firstWritten) {
            edges.push_back(WithFlag(first, flag));
            firstWritten = true;
        }
        edges.push_back(WithFlag(*edge, flag));
        if (SameVertices(edges.back(), edges[edges.size() - 2])) {
            edges.pop_back();
        }
    }
}

bool HasVertices(const kx::kxVertexBuffer* vertices) {
    return PositionCount(vertices) >= 1;
}

std::uint32_t RankCount(const kx::kxVertexBuffer& vertices) {
    return static_cast<std::uint32_t>(vertices.GetVertexQuantity());
}

/// Orients in place the segments of a line list that exist, and returns them in the order of edges.
std::vector<OrderedEdge> OrientAndSort(kx::kxIndexBuffer& lines,
                                       const std::vector<std::uint32_t>& ranks,
                                       std::uint32_t rankCount) {
    std::vector<OrderedEdge> segments;
    segments.reserve(SegmentCount(&lines));
    unsigned int* index = lines.GetData();
    for (std::size_t i = 0; i < SegmentCount(&lines); ++i, index += 2) {
        if (SegmentExists(index, rankCount)) {
            segments.push_back(Orient(ranks, index[0], index[1]));
            index[0] = segments.back().a;
            index[1] = segments.back().b;
        }
    }
    ItemCounter uncancelled;
    SortByFirstRank(segments, rankCount, IsBefore, uncancelled);
    return segments;
}

/// The positions of vertices as keys.
struct VertexKeys {
    const kx::kxVertexBuffer& vertices;

    PositionKey operator()(std::size_t vertex) const {
        return KeyOf(vertices.Position3(static_cast<int>(vertex)));
    }
};

struct CountedKeys {
    VertexKeys keyOf;
    ItemCounter& work;

    PositionKey operator()(std::size_t vertex) const {
        work.count(1);
        return keyOf(vertex);
    }
};

/// Polls for cancellation exactly as often as its budget says.
class PollBudget : public ItemCounter {
public:
    explicit PollBudget(const kx::kxCancelInterfaceReadOnly& cancel) : ItemCounter(&cancel) {}

    void add(std::size_t polls) { budget_ += polls; }

    /// Polls unless the budget is spent.
    void poll() override {
        if (spent_ < budget_) {
            ++spent_;
            ItemCounter::poll();
        }
    }
    /// Polls for the rest of the budget.
    void spendAll() {
        while (spent_ < budget_) {
            ++spent_;
            if (isGivenUp()) {
                throw Cancelled();
            }
        }
    }
    std::size_t spent() const { return spent_; }

private:
    std::size_t budget_ = 0;
    std::size_t spent_ = 0;
};

/// Finds the creases of one triangle list. Operations with an ItemCounter throw Cancelled.
class CreaseSearch {
public:
    CreaseSearch(const kx::kxVertexBuffer& vertices,
                 const kx::kxIndexBuffer& triangles,
                 float cosLimit)
        : vertices_(vertices), indices_(triangles.GetData()),
          triangleCount_(static_cast<std::size_t>(triangles.GetIndexQuantity()) / 3),
          cosLimit_(cosLimit), keyOf_{vertices}, buckets_(RankCount(vertices)) {}

    /// Reads all vertices and triangles; polls once per block of triangles.
    void collect(PollBudget& polls) {
        polls.add((triangleCount_ + kTrianglesPerPoll - 1) / kTrianglesPerPoll);
        points_ = WeldPositions(RankCount(vertices_), CountedKeys{keyOf_, polls});
        findSmoothPoints(polls);
        forEachEdge(polls, [this](std::uint32_t from, std::uint32_t to, std::uint32_t) {
            buckets_.count(from, to);
        });
        buckets_.startAdding(3 * triangleCount_);
        forEachEdge(polls, [this](std::uint32_t from, std::uint32_t to, std::uint32_t number) {
            buckets_.add(from, to, number);
        });
        polls.spendAll();
    }

    /// Appends all creases in the order of edges; polls once per group of edges.
    void findCreases(std::vector<CreaseEdgeInfo>& edges, PollBudget& polls) {
        std::size_t buckets = 0; // Each has at least one group.
        buckets_.forEachBucket(
            [&](std::uint32_t, const BucketEdge*, const BucketEdge*) { ++buckets; });
        polls.add(buckets);
        const auto maySkipPairs = [&](std::uint32_t point, const BucketEdge* edge,
                                      const BucketEdge* end) {
            polls.count(static_cast<std::size_t>(end - edge));
            return isSmooth_[point] && std::all_of(edge, end, [&](const BucketEdge& other) {
                       return isSmooth_[other.otherPoint()];
                   });
        };
        std::vector<CreaseEdgeInfo> members;
        const auto append = [&](std::uint32_t point, const BucketEdge* edge,
                                const BucketEdge* end) {
            const std::uint32_t first = firstInOrder(point, edge->otherPoint());
            members.clear();
            for (; edge != end; ++edge) {
                members.push_back(orient(edge->number(), first));
            }
            std::sort(members.begin(), members.end(), HasSmallerVertices);
            AppendGroup(edges, members.data(), members.data() + members.size(), vertices_,
                        cosLimit_);
        };
        const std::size_t groups = buckets_.forEachGroup(maySkipPairs, append);
        polls.add(groups - buckets);
        sort(edges, polls);
        polls.spendAll();
    }

    /// Sets edges to the creases of the first groups only, in the order of edges. Call it after
    /// collect(); fast for few groups.
    void findFirstCreases(std::vector<CreaseEdgeInfo>& edges, std::size_t groups) {
        const std::vector<CreaseEdgeInfo> first = edgesOfFirst(groups);
        const CreaseEdgeInfo* begin = first.data();
        edges.clear();
        for (std::size_t group = 0; group < groups; ++group) {
            const CreaseEdgeInfo* end = begin;
            while (end != first.data() + first.size() && joinSamePoints(*begin, *end)) {
                ++end;
            }
            AppendGroup(edges, begin, end, vertices_, cosLimit_);
            begin = end;
        }
    }

private:
    /// Sorts edges, with or without flags.
    void sort(std::vector<CreaseEdgeInfo>& edges, ItemCounter& work) const {
        PositionRanks ranks(points_.size());
        ForEachCounted(edges.size(), work, [&](std::size_t i) {
            ranks.use(pointA(edges[i]));
            ranks.use(pointB(edges[i]));
        });
        ranks.rank(CountedKeys{keyOf_, work}, work);
        std::vector<OrderedEdge> sorted(edges.size());
        ForEachCounted(edges.size(), work, [&](std::size_t i) {
            const CreaseEdgeInfo& edge = edges[i];
            sorted[i] = {ranks[pointA(edge)], ranks[pointB(edge)], edge.vertexA, edge.vertexB};
        });
        const auto isBefore = [](const OrderedEdge& x, const OrderedEdge& y) {
            return std::tuple(x.secondRank, x.a, x.b & kIndexMask) <
                   std::tuple(y.secondRank, y.a, y.b & kIndexMask);
        };
        SortByFirstRank(sorted, ranks.count(), isBefore, work);
        std::transform(sorted.begin(), sorted.end(), edges.begin(), [](const OrderedEdge& edge) {
            return CreaseEdgeInfo{edge.a, edge.b};
        });
    }

    /// All edges of the first groups in the order of edges, followed by some edges of later groups.
    std::vector<CreaseEdgeInfo> edgesOfFirst(std::size_t groups) {
        // Each bucket has at least one group. So if there are more buckets than groups wanted, the
        // groups wanted begin no later than the first groups of that many buckets.
        std::vector<PositionKey> firsts;
        buckets_.forEachBucket([&](std::uint32_t point, const BucketEdge* edge, const BucketEdge*) {
            firsts.push_back(keyOf_(firstInOrder(point, edge->otherPoint())));
        });
        const auto limit =
            firsts.begin() + static_cast<std::ptrdiff_t>(std::min(groups, firsts.size() - 1));
        std::nth_element(firsts.begin(), limit, firsts.end());
        std::vector<bool> early(points_.size());
        for (std::size_t point = 0; point < points_.size(); ++point) {
            early[point] = groups >= firsts.size() || !(*limit < keyOf_(point));
        }
        std::vector<CreaseEdgeInfo> edges;
        ItemCounter uncancelled;
        forEachEdge(uncancelled, [&](std::uint32_t from, std::uint32_t to, std::uint32_t number) {
            if (early[from] || early[to]) {
                edges.push_back(orient(number, firstInOrder(from, to)));
            }
        });
        sort(edges, uncancelled);
        return edges;
    }

    std::uint32_t pointA(const CreaseEdgeInfo& edge) const { return points_[edge.vertexA]; }
    std::uint32_t pointB(const CreaseEdgeInfo& edge) const {
        return points_[edge.vertexB & kIndexMask];
    }
    bool joinSamePoints(const CreaseEdgeInfo& x, const CreaseEdgeInfo& y) const {
        return pointA(x) == pointA(y) && pointB(x) == pointB(y);
    }

    std::uint32_t firstInOrder(std::uint32_t point, std::uint32_t other) const {
        return keyOf_(other) < keyOf_(point) ? other : point;
    }

    /// Calls visit(from, to, number) with the points of all edges of triangles that exist; the
    /// number of an edge is the position of its first index in the index buffer.
    template <class Visit> void forEachEdge(ItemCounter& work, Visit visit) const {
        ForEachCounted(triangleCount_, work, [&](std::size_t i) {
            if (!TriangleExists(indices_ + 3 * i, RankCount(vertices_))) {
                return;
            }
            const auto number = static_cast<std::uint32_t>(3 * i);
            const std::uint32_t point[3] = {points_[indices_[number]],
                                            points_[indices_[number + 1]],
                                            points_[indices_[number + 2]]};
            visit(point[0], point[1], number);
            visit(point[1], point[2], number + 1);
            visit(point[2], point[0], number + 2);
        });
    }

    /// The vertices of an edge, the one at the point `first` first; if both are there, the smaller
    /// index, compared as signed.
    CreaseEdgeInfo orient(std::uint32_t number, std::uint32_t first) const {
        CreaseEdgeInfo edge{indices_[number], indices_[number % 3 == 2 ? number - 2 : number + 1]};
        const bool swap =
            pointA(edge) != pointB(edge)
                ? pointB(edge) == first
                : static_cast<std::int32_t>(edge.vertexB) < static_cast<std::int32_t>(edge.vertexA);
        if (swap) {
            std::swap(edge.vertexA, edge.vertexB);
        }
        return edge;
    }

    /// Finds the points with exactly one vertex whose normal passes the crease test against itself,
    /// as a zero normal does not: an interior edge between two such points cannot be a crease.
    void findSmoothPoints(ItemCounter& work) {
        isSmooth_.assign(points_.size(), true);
        ForEachCounted(points_.size(), work, [this](std::size_t vertex) {
            const Wm4::Vector3<float>& normal = vertices_.Normal3(static_cast<int>(vertex));
            if (points_[vertex] != vertex || Dot(normal, normal) < cosLimit_) {
                isSmooth_[points_[vertex]] = false;
            }
        });
    }

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    std::size_t triangleCount_;
    float cosLimit_;
    VertexKeys keyOf_;
    EdgeBuckets buckets_;
    std::vector<std::uint32_t> points_;
    std::vector<bool> isSmooth_;
};

/// The result of a search that is cancelled in findCreases().
enum class OnCancel { kKeepFirstGroups, kKeepNothing };

bool FindCreases(std::vector<CreaseEdgeInfo>& edges,
                 const kx::kxVertexBuffer* vertices,
                 const kx::kxIndexBuffer* triangles,
                 float angleInDegrees,
                 const kx::kxCancelInterfaceReadOnly& cancel,
                 OnCancel onCancel) {
    edges.clear();
    if (!HasVertices(vertices) || triangles == nullptr) {
        return false;
    }
    const float cosLimit = Cosine(angleInDegrees * Wm4::Math<float>::DEG_TO_RAD);
    CreaseSearch search(*vertices, *triangles, cosLimit);
    PollBudget polls(cancel);
    try {
        search.collect(polls);
    } catch (const Cancelled&) {
        return false;
    }
    const std::size_t pollsBefore = polls.spent();
    bool isDone = true;
    try {
        search.findCreases(edges, polls);
    } catch (const Cancelled&) {
        isDone = false;
        if (onCancel == OnCancel::kKeepFirstGroups) {
            search.findFirstCreases(edges, polls.spent() - pollsBefore - 1);
        }
    }
    const bool isCanceledAtLast = cancel.isCanceled();
    return isDone && !isCanceledAtLast;
}

} // namespace

bool ComputeCreaseEdgeInfo(std::vector<CreaseEdgeInfo>& edges,
                           const kx::kxVertexBuffer* vertices,
                           const kx::kxIndexBuffer* triangles,
                           float angleInDegrees,
                           const kx::kxCancelInterfaceReadOnly& cancel) {
    return FindCreases(edges, vertices, triangles, angleInDegrees, cancel,
                       OnCancel::kKeepFirstGroups);
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
            edges.size() > creaseCount && SameVertices(edges.back(), {segment.a, segment.b});
        if (!repeated) {
            const PerpendicularityCheck perpendicular(*vertices, segment.a, segment.b);
            const CreaseEdgeInfo ends{segment.a, segment.b};
            edges.push_back(WithFlag(ends, perpendicular.holds(ends)));
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
        if (!FindCreases(edges, vertices, triangles, angleInDegrees, cancel,
                         OnCancel::kKeepNothing) ||
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
    assert(mesh != nullptr);
    std::unique_ptr<LineSegmentSet> set(GetCreaseEdgesFromMesh(
        mesh->GetVertexBuffer(), mesh->GetIndexBuffer(), cancel, angleInDegrees, withFlags));
    if (set != nullptr) {
        Place(*set, mesh->GetLocalTransformation(), mesh->GetWorldTransformation());
        UpdateModelSpace(*set, true);
    }
    return set.release();
}

} // namespace ctr
