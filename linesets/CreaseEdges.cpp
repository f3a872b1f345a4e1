// Crease edges: edges of triangles are matched by the exact positions of their ends, and a group of
// edges at one place is a crease where the vertex normals at either end disagree.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include "fitting/Angles.h"
#include "linesets/EdgeGroups.h"
#include "linesets/EdgeSort.h"
#include "linesets/IndexRange.h"
#include "linesets/PositionOrder.h"
#include "linesets/SetConstruction.h"
#include "linesets/Steps.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <functional>
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

/// Asks whether to stop a given number of times, evenly spread over work of a given extent.
class EvenPolls {
public:
    EvenPolls(const kx::kxCancelInterfaceReadOnly& cancel, std::size_t polls, std::size_t work)
        : cancel_(cancel), polls_(polls), work_(work) {}

    /// Asks what is due after so much more work; false when cancelled.
    bool after(std::size_t work) {
        done_ += work;
        for (; (asked_ + 1) * work_ <= done_ * polls_; ++asked_) {
            if (cancel_.isCanceled()) {
                return false;
            }
        }
        return true;
    }

private:
    const kx::kxCancelInterfaceReadOnly& cancel_;
    std::size_t polls_;
    std::size_t work_;
    std::size_t asked_ = 0;
    std::size_t done_ = 0;
};

/// Asks whether to stop once for each group of edges: for the first few now and then while all
/// groups are worked on, for the others in the end.
class GroupPolls {
public:
    /// At least so many groups are there.
    GroupPolls(const kx::kxCancelInterfaceReadOnly& cancel, std::size_t leastGroups)
        : cancel_(cancel), leastGroups_(leastGroups) {}

    void expect(std::size_t leastGroups) { leastGroups_ = std::max(leastGroups_, leastGroups); }

    /// Asks if it is time to after so much more work; false when cancelled.
    bool operator()(std::size_t work) {
        constexpr std::size_t kWorkPerPoll = 8 * kUnitsPerStep;
        work_ += work;
        if (work_ < kWorkPerPoll || asked_ == leastGroups_) {
            return true;
        }
        work_ = 0;
        return ask();
    }

    /// Asks for the others of so many groups; false when cancelled.
    bool finish(std::size_t groups) {
        while (asked_ < groups) {
            if (!ask()) {
                return false;
            }
        }
        return true;
    }

    /// How many groups come before the one for which the answer was to stop.
    std::size_t groupsBefore() const { return asked_ - 1; }

private:
    bool ask() {
        ++asked_;
        return !cancel_.isCanceled();
    }

    const kx::kxCancelInterfaceReadOnly& cancel_;
    std::size_t leastGroups_;
    std::size_t asked_ = 0;
    std::size_t work_ = 0;
};

/// The positions of the ends of a group of edges, the smaller first.
struct GroupKey {
    PositionKey first;
    PositionKey second;

    std::uint32_t firstX() const { return static_cast<std::uint32_t>(first.xy >> 32U); }
    bool operator==(const GroupKey&) const = default;
    bool operator<(const GroupKey& other) const {
        return std::tie(first, second) < std::tie(other.first, other.second);
    }
};

/// An edge with the group that it belongs to.
struct GroupedEdge {
    GroupKey group;
    VertexPair vertices;

    bool operator<(const GroupedEdge& other) const {
        return std::tie(group, vertices) < std::tie(other.group, other.vertices);
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
          cosLimit_(cosLimit), keyOf_{vertices}, buckets_(RankCount(vertices)) {}

    /// Reads all vertices and triangles; false when cancelled, which is asked once a block of
    /// triangles.
    bool collect(const kx::kxCancelInterfaceReadOnly& cancel) {
        // By the time that a vertex or a triangle takes.
        constexpr std::size_t kNumbering = 6;
        constexpr std::size_t kLookingAtNormals = 1;
        constexpr std::size_t kCounting = 3;
        constexpr std::size_t kAdding = 6;
        const std::size_t vertexCount = RankCount(vertices_);
        EvenPolls polls(cancel, (triangleCount_ + kTrianglesPerPoll - 1) / kTrianglesPerPoll,
                        (kNumbering + kLookingAtNormals) * vertexCount +
                            (kCounting + kAdding) * triangleCount_);
        const auto weighing = [&polls](std::size_t weight) {
            return [&polls, weight](std::size_t work) { return polls.after(weight * work); };
        };
        places_ = NumberPlaces(vertexCount, keyOf_, weighing(kNumbering));
        return places_.size() == vertexCount && findPlainPlaces(weighing(kLookingAtNormals)) &&
               fillBuckets(weighing(kCounting), weighing(kAdding));
    }

    /// At least so many groups of edges are there.
    std::size_t leastGroups() const { return buckets_.leastGroups(); }

    /// Writes all creases in no order and counts the groups of edges; false when polls say so.
    bool findCreases(std::vector<CreaseEdgeInfo>& edges, std::size_t& groups, GroupPolls& polls) {
        const auto mayBeDull = [&](std::uint32_t place, const BucketEdge* edge,
                                   const BucketEdge* end) {
            return plain_[place] && std::all_of(edge, end, [&](const BucketEdge& other) {
                       return plain_[other.otherPlace()];
                   });
        };
        std::vector<VertexPair> members;
        const auto append = [&](std::uint32_t place, const BucketEdge* edge,
                                const BucketEdge* end) {
            const std::uint32_t first = firstInOrder(place, edge->otherPlace());
            members.clear();
            for (; edge != end; ++edge) {
                members.push_back(orient(edge->number(), first));
            }
            std::sort(members.begin(), members.end());
            AppendGroup(edges, members.data(), members.data() + members.size(), vertices_,
                        cosLimit_);
        };
        groups = 0;
        for (std::size_t place = 0; place < places_.size(); place += kUnitsPerStep) {
            const std::size_t end = std::min(places_.size(), place + kUnitsPerStep);
            groups += buckets_.forEachGroup(place, end, mayBeDull, append);
            polls.expect(groups);
            if (!polls(buckets_.edgeCount(place, end))) {
                return false;
            }
        }
        return true;
    }

    /// Puts creases into the order of edges; false when polls say so.
    bool sort(std::vector<CreaseEdgeInfo>& edges, GroupPolls& polls) const {
        const auto goOn = std::ref(polls);
        PlaceRanks ranks(places_.size());
        std::vector<OrderedEdge> sorted;
        sorted.reserve(edges.size());
        const auto use = [&](std::size_t i, std::size_t end) {
            for (; i < end; ++i) {
                ranks.use(places_[edges[i].vertexA]);
                ranks.use(places_[edges[i].vertexB & kIndexMask]);
            }
        };
        const auto rank = [&](std::size_t i, std::size_t end) {
            for (; i < end; ++i) {
                sorted.push_back({ranks[places_[edges[i].vertexA]],
                                  ranks[places_[edges[i].vertexB & kIndexMask]], edges[i].vertexA,
                                  edges[i].vertexB});
            }
        };
        const auto isBefore = [](const OrderedEdge& x, const OrderedEdge& y) {
            return std::tuple(x.secondRank, x.a, x.b & kIndexMask) <
                   std::tuple(y.secondRank, y.a, y.b & kIndexMask);
        };
        const auto write = [&](std::size_t i, std::size_t end) {
            for (; i < end; ++i) {
                edges[i] = {sorted[i].a, sorted[i].b};
            }
        };
        return InSteps(edges.size(), goOn, use) && ranks.rank(keyOf_, goOn) &&
               InSteps(edges.size(), goOn, rank) &&
               SortByFirstRank(sorted, ranks.count(), isBefore, goOn) &&
               InSteps(edges.size(), goOn, write);
    }

    /// Keeps of all creases, sorted, those of the first groups, which are not all.
    void
    keepGroups(std::vector<CreaseEdgeInfo>& edges, std::size_t count, std::size_t groups) const {
        const GroupKey next = groupAt(count, groups);
        edges.erase(
            std::partition_point(
                edges.begin(), edges.end(),
                [&](const CreaseEdgeInfo& edge) {
                    return GroupKey{keyOf_(edge.vertexA), keyOf_(edge.vertexB & kIndexMask)} < next;
                }),
            edges.end());
    }

    /// Writes the creases of the first few groups alone, in one pass over the triangles: of those
    /// edges that a sample says to come first, more if these turn out to be too few groups.
    void findFirstCreases(std::vector<CreaseEdgeInfo>& edges, std::size_t count) const {
        constexpr std::size_t kSample = 4096;
        constexpr std::size_t kEdgesPerGroup = 16;
        edges.clear();
        const std::size_t edgeCount = 3 * triangleCount_;
        // No multiple of 3, so that all sides of triangles are in the sample.
        const std::size_t stride = edgeCount / kSample / 3 * 3 + 1;
        std::vector<GroupKey> sample;
        for (std::size_t number = 0; number < edgeCount; number += stride) {
            sample.push_back(groupOf(static_cast<std::uint32_t>(number)));
        }
        std::sort(sample.begin(), sample.end());
        std::size_t most = 4 + count * kEdgesPerGroup / stride;
        std::vector<GroupedEdge> first;
        std::vector<std::size_t> begins; // Of the groups in `first`, and the end of all.
        do {
            first = edgesBefore(most < sample.size() ? &sample[most] : nullptr);
            begins = beginsOfGroups(first);
            most *= 8;
        } while (begins.size() <= count);
        std::vector<VertexPair> members;
        for (std::size_t group = 0; group < count; ++group) {
            members.clear();
            for (std::size_t i = begins[group]; i < begins[group + 1]; ++i) {
                members.push_back(first[i].vertices);
            }
            AppendGroup(edges, members.data(), members.data() + members.size(), vertices_,
                        cosLimit_);
        }
    }

private:
    std::uint32_t firstInOrder(std::uint32_t place, std::uint32_t other) const {
        return keyOf_(other) < keyOf_(place) ? other : place;
    }

    /// With the order of x.
    std::uint32_t xOf(std::uint32_t vertex) const {
        return OrderedBits(vertices_.Position3(static_cast<int>(vertex))[0]);
    }

    GroupKey groupOf(std::uint32_t place, std::uint32_t other) const {
        const PositionKey p = keyOf_(place);
        const PositionKey q = keyOf_(other);
        return {std::min(p, q), std::max(p, q)};
    }

    GroupKey groupOf(std::uint32_t number) const {
        return groupOf(indices_[number], indices_[next(number)]);
    }

    static std::uint32_t next(std::uint32_t number) {
        return number % 3 == 2 ? number - 2 : number + 1;
    }

    /// The group that comes after `count` others of all, found without sorting them: a sample says
    /// which are around it. All groups have been shown once.
    GroupKey groupAt(std::size_t count, std::size_t groups) const {
        constexpr std::size_t kSampledPlaces = 4096;
        const std::size_t stride = places_.size() / kSampledPlaces + 1;
        std::vector<GroupKey> sample;
        for (std::size_t place = 0; place < places_.size(); place += stride) {
            buckets_.forEachGroupAgain(place, place + 1, [&](std::uint32_t p, std::uint32_t q) {
                sample.push_back(groupOf(p, q));
            });
        }
        std::sort(sample.begin(), sample.end());
        const std::size_t middle = count * sample.size() / groups;
        std::vector<GroupKey> around;
        for (std::size_t margin = 64 + sample.size() / 64;; margin *= 8) {
            const GroupKey* const low = margin < middle ? &sample[middle - margin] : nullptr;
            const GroupKey* const high =
                middle + margin < sample.size() ? &sample[middle + margin] : nullptr;
            const std::size_t below = groupsBelow(low, high, around);
            if (below <= count && count < below + around.size()) {
                const auto at = around.begin() + static_cast<std::ptrdiff_t>(count - below);
                std::nth_element(around.begin(), at, around.end());
                return *at;
            }
        }
    }

    /// How many groups come before low; collects those from low on that come before high. Null is
    /// no limit.
    std::size_t
    groupsBelow(const GroupKey* low, const GroupKey* high, std::vector<GroupKey>& between) const {
        const std::uint32_t lowX = low == nullptr ? 0 : low->firstX();
        const std::uint32_t highX = high == nullptr ? 0xffffffffU : high->firstX();
        std::size_t below = 0;
        between.clear();
        buckets_.forEachGroupAgain(0, places_.size(), [&](std::uint32_t p, std::uint32_t q) {
            // Most are told by x.
            const std::uint32_t x = std::min(xOf(p), xOf(q));
            if (x < lowX) {
                ++below;
            } else if (x <= highX) {
                const GroupKey group = groupOf(p, q);
                if (low != nullptr && group < *low) {
                    ++below;
                } else if (high == nullptr || group < *high) {
                    between.push_back(group);
                }
            }
        });
        return below;
    }

    /// All edges of groups before a limit (null: all edges), in the order of edges.
    std::vector<GroupedEdge> edgesBefore(const GroupKey* limit) const {
        std::vector<GroupedEdge> edges;
        const std::uint32_t lastX = limit == nullptr ? 0xffffffffU : limit->firstX();
        for (std::uint32_t corner = 0; corner < 3 * triangleCount_; corner += 3) {
            // Nearly all end here.
            if (lastX < std::min({xOf(indices_[corner]), xOf(indices_[corner + 1]),
                                  xOf(indices_[corner + 2])})) {
                continue;
            }
            for (std::uint32_t number = corner; number < corner + 3; ++number) {
                const GroupKey group = groupOf(number);
                if (limit == nullptr || group < *limit) {
                    const std::uint32_t place = places_[indices_[number]];
                    const std::uint32_t other = places_[indices_[next(number)]];
                    edges.push_back({group, orient(number, firstInOrder(place, other))});
                }
            }
        }
        std::sort(edges.begin(), edges.end());
        return edges;
    }

    /// Where the groups of sorted edges begin, and the end of the last one.
    static std::vector<std::size_t> beginsOfGroups(const std::vector<GroupedEdge>& edges) {
        std::vector<std::size_t> begins;
        for (std::size_t i = 0; i < edges.size(); ++i) {
            if (i == 0 || !(edges[i - 1].group == edges[i].group)) {
                begins.push_back(i);
            }
        }
        begins.push_back(edges.size());
        return begins;
    }

    /// Puts all edges into buckets; false when given up.
    template <class Counting, class Adding> bool fillBuckets(Counting goOn, Adding goOnAdding) {
        const auto countEdges = [this](std::size_t begin, std::size_t end) {
            forEachEdge(begin, end, [this](std::uint32_t from, std::uint32_t to, std::uint32_t) {
                buckets_.count(from, to);
            });
        };
        const auto addEdges = [this](std::size_t begin, std::size_t end) {
            forEachEdge(begin, end,
                        [this](std::uint32_t from, std::uint32_t to, std::uint32_t number) {
                            buckets_.add(from, to, number);
                        });
        };
        if (!InSteps(triangleCount_, goOn, countEdges)) {
            return false;
        }
        buckets_.startAdding(3 * triangleCount_);
        return InSteps(triangleCount_, goOnAdding, addEdges);
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
        VertexPair edge{indices_[number], indices_[next(number)]};
        const bool swap =
            places_[edge.a] != places_[edge.b]
                ? places_[edge.b] == first
                : static_cast<std::int32_t>(edge.b) < static_cast<std::int32_t>(edge.a);
        if (swap) {
            std::swap(edge.a, edge.b);
        }
        return edge;
    }

    /// Finds the places with one vertex whose normal does not even disagree with itself, as one of
    /// no length does: edges between such places that have the same vertices are no creases. False
    /// when given up.
    template <class GoOn> bool findPlainPlaces(GoOn goOn) {
        plain_.assign(places_.size(), true);
        return InSteps(places_.size(), goOn, [this](std::size_t vertex, std::size_t end) {
            for (; vertex < end; ++vertex) {
                const Wm4::Vector3<float>& normal = vertices_.Normal3(static_cast<int>(vertex));
                if (places_[vertex] != vertex || Dot(normal, normal) < cosLimit_) {
                    plain_[places_[vertex]] = false;
                }
            }
        });
    }

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    std::size_t triangleCount_;
    float cosLimit_;
    VertexKeys keyOf_;
    EdgeBuckets buckets_;
    std::vector<std::uint32_t> places_;
    std::vector<bool> plain_;
};

/// What is left of a search that is cancelled among the groups.
enum class WhenCancelled { kKeepsFirstGroups, kKeepsNothing };

bool FindCreases(std::vector<CreaseEdgeInfo>& edges,
                 const kx::kxVertexBuffer* vertices,
                 const kx::kxIndexBuffer* triangles,
                 float angleInDegrees,
                 const kx::kxCancelInterfaceReadOnly& cancel,
                 WhenCancelled cancelled) {
    edges.clear();
    if (!HasVertices(vertices) || triangles == nullptr) {
        return false;
    }
    assert(IndicesAreInRange(triangles, vertices, 3));
    const float cosLimit = Cosine(angleInDegrees * Wm4::Math<float>::DEG_TO_RAD);
    CreaseSearch search(*vertices, *triangles, cosLimit);
    if (!search.collect(cancel)) {
        return false;
    }
    GroupPolls polls(cancel, search.leastGroups());
    std::size_t groups = 0;
    const bool isSorted = search.findCreases(edges, groups, polls) && search.sort(edges, polls);
    const bool isDone = isSorted && polls.finish(groups);
    if (!isDone && cancelled == WhenCancelled::kKeepsFirstGroups) {
        if (isSorted) {
            search.keepGroups(edges, polls.groupsBefore(), groups);
        } else {
            search.findFirstCreases(edges, polls.groupsBefore());
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
                       WhenCancelled::kKeepsFirstGroups);
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
    assert(IndicesAreInRange(lines, vertices, 2));
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
        if (!FindCreases(edges, vertices, triangles, angleInDegrees, cancel,
                         WhenCancelled::kKeepsNothing) ||
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
