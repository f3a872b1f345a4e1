// Best-first searches of the tree of all triangles and of the trees around hubs.
//
// Doubles reject subtrees by the margins of ErrorBounds.h, section 7; the exact interval of each
// triangle that remains decides. O(n) per segment at worst for n triangles, few nodes where planes
// or directions separate them.
#include "visibility/occlusion/DenseOccluders.h"

#include "visibility/ErrorBounds.h"
#include "visibility/dense/BypassConditions.h"
#include "visibility/dense/DenseItems.h"
#include "visibility/exact/FractionOrder.h"
#include "visibility/occlusion/OccludedIntervals.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace ctr {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Flat = std::array<double, 2>;

double AlongFlat(const Flat& direction, const Coordinates& p) {
    return direction[0] * p[0] + direction[1] * p[1];
}

Coordinates CoordinatesOfPoint(const BakedVertex& p) {
    return {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
}

double ValueOf(const Fraction& t) {
    return static_cast<double>(t[0]) / static_cast<double>(t[1]);
}

double DistanceOf(const Flat& p, const Flat& q) {
    const Flat d{p[0] - q[0], p[1] - q[1]};
    return std::sqrt(d[0] * d[0] + d[1] * d[1]);
}

/// An upper bound of the distances of a point from those of a node's box.
double FarthestInBox(const Coordinates& position, const DenseTree::Node& node) {
    double farthest = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        farthest += std::max(std::abs(position[axis] - node.min[axis]),
                             std::abs(position[axis] - node.max[axis]));
    }
    return farthest;
}

/// Whether a point is strictly in front of all planes of a node.
bool IsInFront(const Coordinates& position, const DenseTree::Node& node) {
    const DenseTree::PlaneBounds& planes = node.planes;
    return Along(planes.direction, position) - planes.high >
           planes.spread * FarthestInBox(position, node) + error_bounds::kDistanceMargin;
}

bool IsBehind(const Coordinates& position, const DenseTree::Node& node) {
    const DenseTree::PlaneBounds& planes = node.planes;
    return planes.low - Along(planes.direction, position) >
           planes.spread * FarthestInBox(position, node) + error_bounds::kDistanceMargin;
}

/// The approximate distance of a point from the planes of a node.
double DistanceToPlanes(const DenseTree::Node& node, const Coordinates& position) {
    const double along = Along(node.planes.direction, position);
    return std::max({node.planes.low - along, along - node.planes.high, 0.0});
}

std::size_t LongestSideOf(const BakedVertex* corners) {
    double longest = -1.0;
    std::size_t best = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        const Coordinates side = CoordinatesOf(Difference(corners[(k + 1) % 3], corners[k]));
        const double length = side[0] * side[0] + side[1] * side[1];
        if (length > longest) {
            longest = length;
            best = k;
        }
    }
    return best;
}

/// The unit normal to the right of an edge, which is outside of a counter-clockwise triangle.
Flat OutwardOf(const BakedVertex& from, const BakedVertex& to) {
    const Coordinates side = CoordinatesOf(Difference(to, from));
    const double length = std::sqrt(side[0] * side[0] + side[1] * side[1]);
    return {side[1] / length, -side[0] / length};
}

/// The unit vector on screen.
Flat DirectionOf(const GridVector& v) {
    const Coordinates p = CoordinatesOf(v);
    const double length = std::sqrt(p[0] * p[0] + p[1] * p[1]);
    return {p[0] / length, p[1] / length};
}

/// A monotonic function of the angle of a direction, from -2 to 2.
double PseudoAngleOf(const Flat& direction) {
    const double size = std::abs(direction[0]) + std::abs(direction[1]);
    const double sine = direction[1] / size;
    const double upper = direction[0] >= 0.0 ? sine : 2.0 - sine;
    return upper > 2.0 ? upper - 4.0 : upper;
}

} // namespace

void PendingNodes::start() {
    heap_.clear();
}

void PendingNodes::add(double rank, std::uint32_t node) {
    heap_.emplace_back(rank, node);
    std::push_heap(heap_.begin(), heap_.end(), std::greater<>());
}

std::uint32_t PendingNodes::take() {
    std::pop_heap(heap_.begin(), heap_.end(), std::greater<>());
    const std::uint32_t node = heap_.back().second;
    heap_.pop_back();
    return node;
}

void PrunedIntervals::clear() {
    *this = PrunedIntervals();
}

void PrunedIntervals::add(const RationalInterval& interval) {
    intervals_.push_back(interval);
    isFull_ = isFull_ || IsFullSegment(interval);
    if (interval.start[0] == 0) {
        startsUnusually_ = startsUnusually_ || interval.start[1] != 1;
        leastEndFromStart_ = std::min(leastEndFromStart_, ValueOf(interval.end));
    }
    if (interval.end[0] == interval.end[1]) {
        leastStartToEnd_ = std::min(leastStartToEnd_, ValueOf(interval.start));
    }
    unite(interval);
}

/// Merges the intervals that the new one touches.
void PrunedIntervals::unite(const RationalInterval& interval) {
    const auto first = std::find_if(united_.begin(), united_.end(), [&](const auto& other) {
        return CompareFractions(other.end, interval.start) >= 0;
    });
    const auto end = std::find_if(first, united_.end(), [&](const auto& other) {
        return CompareFractions(other.start, interval.end) > 0;
    });
    RationalInterval both = interval;
    if (first != end) {
        const RationalInterval& last = *(end - 1);
        both.start =
            CompareFractions(first->start, interval.start) < 0 ? first->start : interval.start;
        both.end = CompareFractions(last.end, interval.end) > 0 ? last.end : interval.end;
    }
    united_.insert(united_.erase(first, end), both);
}

bool PrunedIntervals::makeRedundant(double from, double to) const {
    return from > leastStartToEnd_ + error_bounds::kUnitMargin ||
           std::any_of(united_.begin(), united_.end(), [&](const RationalInterval& interval) {
               return from > ValueOf(interval.start) + error_bounds::kUnitMargin &&
                      to < ValueOf(interval.end) - error_bounds::kUnitMargin;
           });
}

bool PrunedIntervals::makeRedundantBeyond(double leastEnd) const {
    return leastEnd > leastEndFromStart_ + error_bounds::kUnitMargin;
}

bool PrunedIntervals::makeRedundantUpTo(double mostEnd) const {
    return !united_.empty() && united_.front().start[0] == 0 &&
           mostEnd < ValueOf(united_.front().end) - error_bounds::kUnitMargin;
}

DenseOccluders::DenseOccluders(const std::vector<Triangle>& triangles,
                               const ContactTolerance& tolerance,
                               std::uint32_t hubDegree,
                               ItemCounter& work)
    : tolerance_(tolerance), distinct_(triangles, work) {
    for (const Triangle& triangle : triangles) {
        const kx::kxBBox box = BoxOfCorners(triangle);
        for (int axis = 0; axis < 3; ++axis) {
            extent_.min[axis] = std::min(extent_.min[axis], box.min[axis]);
            extent_.max[axis] = std::max(extent_.max[axis], box.max[axis]);
        }
    }
    layOutHubs(hubDegree, work);
    layOutGlobalTree(work);
}

void DenseOccluders::layOutHubs(std::uint32_t hubDegree, ItemCounter& work) {
    const std::vector<std::uint32_t> degrees = distinct_.degrees();
    hubsOf_.assign(distinct_.count(), kNoHubs);
    aroundOf_.assign(distinct_.positionCount(), kNoHub);
    std::vector<std::uint32_t> hubs;
    std::vector<std::vector<DenseItem>> items;
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        auto next = hubsOf_[i].begin();
        for (const std::uint32_t position : distinct_.positions(i)) {
            if (degrees[position] <= hubDegree) {
                continue;
            }
            if (aroundOf_[position] == kNoHub) {
                aroundOf_[position] = static_cast<std::uint32_t>(items.size());
                hubs.push_back(position);
                items.emplace_back();
            }
            items[aroundOf_[position]].push_back(directionsOf(i, position));
            *next++ = position;
        }
        std::sort(hubsOf_[i].begin(), hubsOf_[i].end());
        work.count(1);
    }
    for (std::size_t k = 0; k < items.size(); ++k) {
        SetSharedHubs(distinct_, hubs[k], hubDegree, items[k]);
        hubTrees_.push_back({DenseTree(std::move(items[k]), work), {}, {}});
        HubTree& around = hubTrees_.back();
        for (const DenseTree::Node& node : around.tree.nodes()) {
            around.hubBounds.push_back(hubBoundsOf(around.tree, node, hubs[k]));
            around.corners.push_back(cornersOf(around.tree, node));
            work.count(node.count());
        }
    }
}

void DenseOccluders::layOutGlobalTree(ItemCounter& work) {
    std::vector<DenseItem> items;
    items.reserve(distinct_.count());
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        items.push_back(itemOf(i));
    }
    global_.emplace(GlobalTree{DenseTree(std::move(items), work), {}, {}});
    for (const DenseTree::Node& node : global_->tree.nodes()) {
        global_->edgeBounds.push_back(edgeBoundsOf(global_->tree, node));
        global_->corners.push_back(cornersOf(global_->tree, node));
        work.count(node.count());
    }
}

DenseItem DenseOccluders::itemOf(std::uint32_t triangle) const {
    const Triangle& corners = distinct_[triangle];
    DenseItem item = ItemOfTriangle(corners, triangle);
    const std::size_t side = LongestSideOf(corners.corners);
    item.hubs = hubsOf_[triangle];
    item.pseudoAngle =
        PseudoAngleOf(OutwardOf(corners.corners[side], corners.corners[(side + 1) % 3]));
    return item;
}

/// The directions on screen.
DenseItem DenseOccluders::directionsOf(std::uint32_t triangle, std::uint32_t hub) const {
    const BakedVertex* const corners = distinct_[triangle].corners;
    const std::size_t corner = cornerAt(triangle, hub);
    const auto onScreen = [&](std::size_t other) {
        const GridVector direction = Difference(corners[(corner + other) % 3], corners[corner]);
        return GridVector(direction[0], direction[1], 0);
    };
    DenseItem item = ItemOfDirections(onScreen(1), onScreen(2), triangle);
    item.normal = UnitOf(NormalOf(corners));
    return item;
}

DenseOccluders::EdgeBounds DenseOccluders::edgeBoundsOf(const DenseTree& tree,
                                                        const DenseTree::Node& node) const {
    EdgeBounds edgeBounds{};
    for (std::uint32_t i = node.begin; i < node.end; ++i) {
        const BakedVertex* const corners = tree.itemAt(i).corners;
        const std::size_t longest = LongestSideOf(corners);
        for (std::size_t k = 0; k < 3; ++k) {
            const BakedVertex& from = corners[(longest + k) % 3];
            const Flat outward = OutwardOf(from, corners[(longest + k + 1) % 3]);
            if (i == node.begin) {
                edgeBounds.outward[k] = outward;
                edgeBounds.nearest[k] = kInfinity;
                edgeBounds.farthest[k] = -kInfinity;
            }
            edgeBounds.spread[k] =
                std::max(edgeBounds.spread[k], DistanceOf(outward, edgeBounds.outward[k]));
            edgeBounds.nearest[k] = std::min(
                edgeBounds.nearest[k], AlongFlat(edgeBounds.outward[k], CoordinatesOfPoint(from)));
            for (int corner = 0; corner < 3; ++corner) {
                edgeBounds.farthest[k] =
                    std::max(edgeBounds.farthest[k],
                             AlongFlat(edgeBounds.outward[k], CoordinatesOfPoint(corners[corner])));
            }
        }
    }
    return edgeBounds;
}

CornerBoxes DenseOccluders::cornersOf(const DenseTree& tree, const DenseTree::Node& node) const {
    CornerBoxes boxes;
    for (std::uint32_t i = node.begin; i < node.end; ++i) {
        boxes.extend(distinct_[tree.itemAt(i).number].corners);
    }
    return boxes;
}

/// Whether the segment is known to be in contact with all triangles in the boxes, which occlude
/// nothing of it then.
bool DenseOccluders::areInContact(const CornerBoxes& triangles, const Query& query) const {
    return !tolerance_.isOff() &&
           triangles.areWithin(tolerance_.steps(), *query.ends[0], *query.ends[1]);
}

DenseOccluders::HubBounds DenseOccluders::hubBoundsOf(const DenseTree& tree,
                                                      const DenseTree::Node& node,
                                                      std::uint32_t hub) const {
    HubBounds hubBounds;
    for (std::uint32_t i = node.begin; i < node.end; ++i) {
        const std::uint32_t triangle = tree.itemAt(i).number;
        const BakedVertex* const corners = distinct_[triangle].corners;
        const std::size_t corner = cornerAt(triangle, hub);
        const GridVector p = Difference(corners[(corner + 1) % 3], corners[corner]);
        const GridVector q = Difference(corners[(corner + 2) % 3], corners[corner]);
        const auto area = static_cast<double>(CrossXY(p, q));
        hubBounds.normals.extend(UnitOf(NormalOf(corners)));
        hubBounds.firsts.extend(DirectionOf(p));
        hubBounds.seconds.extend(DirectionOf(q));
        hubBounds.across.extend(
            {static_cast<double>(q[1] - p[1]) / area, static_cast<double>(p[0] - q[0]) / area});
    }
    return hubBounds;
}

/// The corner of a triangle at a position.
std::size_t DenseOccluders::cornerAt(std::uint32_t triangle, std::uint32_t position) const {
    const DistinctTriangles::Positions& positions = distinct_.positions(triangle);
    return static_cast<std::size_t>(std::find(positions.begin(), positions.end(), position) -
                                    positions.begin());
}

bool DenseOccluders::fits(const BakedVertex& a, const BakedVertex& b) const {
    const std::int32_t p[3] = {a.x, a.y, a.z};
    const std::int32_t q[3] = {b.x, b.y, b.z};
    kx::kxBBox box = extent_;
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(box.min[axis], static_cast<float>(std::min(p[axis], q[axis])));
        box.max[axis] = std::max(box.max[axis], static_cast<float>(std::max(p[axis], q[axis])));
    }
    return PlaneValuesFit(box) && (a.x != b.x || a.y != b.y);
}

void DenseOccluders::append(const BakedVertex& a,
                            const BakedVertex& b,
                            const IntervalOf& intervalOf,
                            const std::vector<RationalInterval>& known,
                            std::vector<RationalInterval>& occluded) {
    const auto hubAt = [this](const BakedVertex& end) {
        const std::optional<std::uint32_t> position = distinct_.positionAt(end);
        return position && aroundOf_[*position] != kNoHub ? *position : kNoHub;
    };
    Query query{{&a, &b},
                CoordinatesOfPoint(a),
                CoordinatesOfPoint(b),
                {hubAt(a), hubAt(b)},
                &intervalOf,
                &known,
                true,
                false};
    search(query);
    if (query.hasSkippedPlainStarts && intervals_.startsUnusually()) {
        query.skipsPlainStarts = false;
        search(query);
    }
    std::vector<RationalInterval> fused = intervals_.all();
    IntervalTools::FuseOverlappingIntervals(fused);
    if (intervals_.isFull() || AreFullSegment(fused)) {
        occluded.push_back(FullSegment());
    } else {
        occluded.insert(occluded.end(), intervals_.all().begin(), intervals_.all().end());
    }
}

void DenseOccluders::search(Query& query) {
    intervals_.clear();
    for (const RationalInterval& interval : *query.known) {
        intervals_.add(interval);
    }
    for (int end = 0; end < 2; ++end) {
        if (query.hubs[end] != kNoHub) {
            searchHub(hubTrees_[aroundOf_[query.hubs[end]]], end, query);
        }
    }
    if (!global_->tree.nodes().empty()) {
        searchTree(query);
    }
}

/// Nodes whose planes are nearest to the segment come first: among stacked sheets, the nearest one
/// occludes the most.
void DenseOccluders::searchTree(Query& query) {
    Coordinates middle;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        middle[axis] = 0.5 * (query.from[axis] + query.to[axis]);
    }
    const auto& nodes = global_->tree.nodes();
    const Hubs hubs{query.hubs[0], query.hubs[1], kNoHub};
    pending_.start();
    pending_.add(0.0, 0);
    while (!pending_.isEmpty() && !intervals_.isFull()) {
        const std::uint32_t number = pending_.take();
        const DenseTree::Node& node = nodes[number];
        ++visits_;
        if (ShareHub(node.hubs, hubs) || isRedundant(number, query)) {
            continue;
        }
        if (!node.isLeaf()) {
            pending_.add(DistanceToPlanes(nodes[number + 1], middle), number + 1);
            pending_.add(DistanceToPlanes(nodes[node.secondChild], middle), node.secondChild);
            continue;
        }
        for (std::uint32_t i = node.begin; i < node.end; ++i) {
            const DenseItem& item = global_->tree.itemAt(i);
            if (!ShareHub(item.hubs, hubs)) {
                testTriangle(item.number, query);
            }
        }
    }
}

bool DenseOccluders::isRedundant(std::uint32_t number, Query& query) const {
    const DenseTree::Node& node = global_->tree.nodes()[number];
    const auto& [from, to] = std::tie(query.from, query.to);
    if (node.min[2] >= std::max(from[2], to[2]) || (IsInFront(from, node) && IsInFront(to, node))) {
        return true;
    }
    if (areInContact(global_->corners[number], query)) {
        return true;
    }
    const Span span = spanOf(number, query);
    if (span.enter > span.leave || intervals_.makeRedundant(span.enter, span.leave)) {
        return true;
    }
    if (query.skipsPlainStarts && intervals_.makeRedundantUpTo(span.leave) &&
        IsBehind(from, node) && isInsideAllTriangles(number, from)) {
        query.hasSkippedPlainStarts = true;
        return true;
    }
    return false;
}

/// The part of the segment within the box of a node and the bounds of its edges on screen.
DenseOccluders::Span DenseOccluders::spanOf(std::uint32_t number, const Query& query) const {
    const DenseTree::Node& node = global_->tree.nodes()[number];
    const EdgeBounds& edgeBounds = global_->edgeBounds[number];
    Span span{0.0, 1.0};
    const auto clipTo = [&span](double limit, double from, double to) {
        limit += error_bounds::kDistanceMargin;
        if (from > limit && to > limit) {
            span.leave = -1.0;
        } else if (from > limit) {
            span.enter = std::max(span.enter, (from - limit) / (from - to));
        } else if (to > limit) {
            span.leave = std::min(span.leave, (limit - from) / (to - from));
        }
    };
    for (std::size_t axis = 0; axis < 2; ++axis) {
        clipTo(node.max[axis], query.from[axis], query.to[axis]);
        clipTo(-node.min[axis], -query.from[axis], -query.to[axis]);
    }
    for (std::size_t k = 0; k < 3; ++k) {
        clipTo(edgeBounds.farthest[k], AlongFlat(edgeBounds.outward[k], query.from),
               AlongFlat(edgeBounds.outward[k], query.to));
    }
    return span;
}

/// Whether a point is strictly inside all triangles of a node on screen. The distance of an edge
/// differs from that of its bound by at most the spread of the normals times the reach.
bool DenseOccluders::isInsideAllTriangles(std::uint32_t number,
                                          const std::array<double, 3>& point) const {
    const EdgeBounds& edgeBounds = global_->edgeBounds[number];
    const double reach = FarthestInBox(point, global_->tree.nodes()[number]);
    bool isWithin = true;
    for (std::size_t k = 0; k < 3; ++k) {
        const double inside = edgeBounds.nearest[k] - AlongFlat(edgeBounds.outward[k], point);
        isWithin =
            isWithin && inside > edgeBounds.spread[k] * reach + error_bounds::kDistanceMargin;
    }
    return isWithin;
}

/// The segment starts at a common vertex of the triangles. A triangle occludes nothing of it if the
/// direction of the segment is not between its edges there, or leads to its front; otherwise it
/// occludes the segment up to the crossing with the opposite edge. Only the intervals that end
/// first and last are needed, or the longest at the other end of the segment.
void DenseOccluders::searchHub(const HubTree& around, int end, Query& query) {
    searchHub(around, end, query, [this, end](const Exits& exits) {
        const bool isRedundant = end == 0 ? intervals_.makeRedundantUpTo(exits.most)
                                          : intervals_.makeRedundant(1.0 - exits.most, 1.0);
        return isRedundant ? std::nullopt : std::optional(-exits.most);
    });
    if (end == 0) {
        searchHub(around, end, query, [this](const Exits& exits) {
            return intervals_.makeRedundantBeyond(exits.least) ? std::nullopt
                                                               : std::optional(exits.least);
        });
    }
}

/// rankOf(exits) is the rank of a node, none for a redundant one.
void DenseOccluders::searchHub(const HubTree& around,
                               int end,
                               Query& query,
                               const std::function<std::optional<double>(const Exits&)>& rankOf) {
    const auto& nodes = around.tree.nodes();
    const Hubs otherEnd{query.hubs[1 - end], kNoHub, kNoHub};
    pending_.start();
    const auto consider = [&](std::uint32_t number) {
        ++visits_;
        // An edge of a triangle lies in its plane.
        if (ShareHub(nodes[number].hubs, otherEnd) || areInContact(around.corners[number], query)) {
            return;
        }
        if (const auto exits = exitsOf(around, number, end, query)) {
            if (const auto rank = rankOf(*exits)) {
                pending_.add(*rank, number);
            }
        }
    };
    consider(0);
    while (!pending_.isEmpty() && !intervals_.isFull()) {
        const std::uint32_t number = pending_.take();
        const DenseTree::Node& node = nodes[number];
        if (!rankOf(*exitsOf(around, number, end, query))) {
            return;
        }
        if (!node.isLeaf()) {
            consider(number + 1);
            consider(node.secondChild);
            continue;
        }
        for (std::uint32_t i = node.begin; i < node.end; ++i) {
            const DenseItem& item = around.tree.itemAt(i);
            if (!ShareHub(item.hubs, otherEnd)) {
                testTriangle(item.number, query);
            }
        }
    }
}

/// Bounds of the parameters at which the segment leaves triangles that may occlude some of it; none
/// if none of them can.
std::optional<DenseOccluders::Exits> DenseOccluders::exitsOf(const HubTree& around,
                                                             std::uint32_t number,
                                                             int end,
                                                             const Query& query) const {
    const HubBounds& hubBounds = around.hubBounds[number];
    const Coordinates direction = CoordinatesOf(Difference(*query.ends[1 - end], *query.ends[end]));
    // Products with the turned direction are the sides on which other directions lie: the segment
    // is to the left of the first edge and to the right of the second.
    const Flat turned{direction[1], -direction[0]};
    if (hubBounds.normals.leastProduct(direction) > error_bounds::kDistanceMargin ||
        hubBounds.firsts.mostProduct(turned) < -error_bounds::kDistanceMargin ||
        hubBounds.seconds.leastProduct(turned) > error_bounds::kDistanceMargin) {
        return std::nullopt;
    }
    const Flat onScreen{direction[0], direction[1]};
    const double leastValue = hubBounds.across.leastProduct(onScreen);
    const double mostValue = hubBounds.across.mostProduct(onScreen);
    const double margin = error_bounds::kUnitMargin * hubBounds.across.largestTerms(onScreen);
    const auto exitAt = [](double value) { return value > 0.0 ? std::min(1.0 / value, 1.0) : 1.0; };
    return Exits{exitAt(mostValue + margin), exitAt(leastValue - margin)};
}

void DenseOccluders::testTriangle(std::uint32_t triangle, Query& query) {
    ++visits_;
    if (const auto part = (*query.intervalOf)(distinct_[triangle])) {
        intervals_.add(*part);
    }
}

} // namespace ctr
