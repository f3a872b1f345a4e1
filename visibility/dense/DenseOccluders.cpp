// Floats of twice the precision rule out, exact arithmetic decides. Coordinates are at most 2^24 in
// size and unit normals are off by less than 2^-50, so distances are off by less than 2^-20 of a
// step: margins of 2^-10 are far beyond that.
#include "visibility/dense/DenseOccluders.h"

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

constexpr double kStepMargin = 0x1p-10;
constexpr double kParameterMargin = 0x1p-40;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Flat = std::array<double, 2>;

double AlongFlat(const Flat& direction, const Coordinates& p) {
    return direction[0] * p[0] + direction[1] * p[1];
}

Coordinates PlaceOfPoint(const BakedVertex& p) {
    return {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
}

double ValueOf(const Fraction& t) {
    return static_cast<double>(t[0]) / static_cast<double>(t[1]);
}

double DistanceOf(const Flat& p, const Flat& q) {
    const Flat d{p[0] - q[0], p[1] - q[1]};
    return std::sqrt(d[0] * d[0] + d[1] * d[1]);
}

/// No point of the box is farther from the place.
double FarthestInBox(const Coordinates& place, const CrowdTree::Node& node) {
    double farthest = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        farthest += std::max(std::abs(place[axis] - node.min[axis]),
                             std::abs(place[axis] - node.max[axis]));
    }
    return farthest;
}

/// Whether a place is strictly in front of all planes of a node.
bool IsInFront(const Coordinates& place, const CrowdTree::Node& node) {
    const CrowdTree::Bundle& planes = node.planes;
    return Along(planes.direction, place) - planes.high >
           planes.spread * FarthestInBox(place, node) + kStepMargin;
}

bool IsBehind(const Coordinates& place, const CrowdTree::Node& node) {
    const CrowdTree::Bundle& planes = node.planes;
    return planes.low - Along(planes.direction, place) >
           planes.spread * FarthestInBox(place, node) + kStepMargin;
}

/// How far a place is from the planes of a node, about.
double GapTo(const CrowdTree::Node& node, const Coordinates& place) {
    const double along = Along(node.planes.direction, place);
    return std::max({node.planes.low - along, along - node.planes.high, 0.0});
}

std::size_t LongestSideOf(const BakedVertex* corners) {
    double longest = -1.0;
    std::size_t best = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        const Coordinates side = PlaceOf(Difference(corners[(k + 1) % 3], corners[k]));
        const double length = side[0] * side[0] + side[1] * side[1];
        if (length > longest) {
            longest = length;
            best = k;
        }
    }
    return best;
}

/// To the right of a side, which is the outer one where corners are counter-clockwise.
Flat OutwardOf(const BakedVertex& from, const BakedVertex& to) {
    const Coordinates side = PlaceOf(Difference(to, from));
    const double length = std::sqrt(side[0] * side[0] + side[1] * side[1]);
    return {side[1] / length, -side[0] / length};
}

/// On screen.
Flat DirectionOf(const GridVector& v) {
    const Coordinates p = PlaceOf(v);
    const double length = std::sqrt(p[0] * p[0] + p[1] * p[1]);
    return {p[0] / length, p[1] / length};
}

/// Increases with the angle of a direction, from -2 to 2 all around.
double TurnOf(const Flat& direction) {
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

void RangesOfCrowd::clear() {
    *this = RangesOfCrowd();
}

void RangesOfCrowd::add(const RationalInterval& range) {
    ranges_.push_back(range);
    isWhole_ = isWhole_ || IsWhole(range);
    if (range.start[0] == 0) {
        startsUnusually_ = startsUnusually_ || range.start[1] != 1;
        leastEndFromStart_ = std::min(leastEndFromStart_, ValueOf(range.end));
    }
    if (range.end[0] == range.end[1]) {
        leastStartToEnd_ = std::min(leastStartToEnd_, ValueOf(range.start));
    }
    unite(range);
}

/// The ranges that the new one meets become one.
void RangesOfCrowd::unite(const RationalInterval& range) {
    const auto first = std::find_if(united_.begin(), united_.end(), [&](const auto& other) {
        return CompareFractions(other.end, range.start) >= 0;
    });
    const auto end = std::find_if(first, united_.end(), [&](const auto& other) {
        return CompareFractions(other.start, range.end) > 0;
    });
    RationalInterval both = range;
    if (first != end) {
        const RationalInterval& last = *(end - 1);
        both.start = CompareFractions(first->start, range.start) < 0 ? first->start : range.start;
        both.end = CompareFractions(last.end, range.end) > 0 ? last.end : range.end;
    }
    united_.insert(united_.erase(first, end), both);
}

bool RangesOfCrowd::makeNeedless(double from, double to) const {
    return from > leastStartToEnd_ + kParameterMargin ||
           std::any_of(united_.begin(), united_.end(), [&](const RationalInterval& range) {
               return from > ValueOf(range.start) + kParameterMargin &&
                      to < ValueOf(range.end) - kParameterMargin;
           });
}

bool RangesOfCrowd::makeNeedlessBeyond(double leastEnd) const {
    return leastEnd > leastEndFromStart_ + kParameterMargin;
}

bool RangesOfCrowd::makeNeedlessUpTo(double mostEnd) const {
    return !united_.empty() && united_.front().start[0] == 0 &&
           mostEnd < ValueOf(united_.front().end) - kParameterMargin;
}

CrowdedOccluders::CrowdedOccluders(const std::vector<Triangle>& triangles,
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
    layOutAnywhere(work);
}

void CrowdedOccluders::layOutHubs(std::uint32_t hubDegree, ItemCounter& work) {
    const std::vector<std::uint32_t> degrees = distinct_.degrees();
    hubsOf_.assign(distinct_.count(), kNoHubs);
    aroundOf_.assign(distinct_.placeCount(), kNoHub);
    std::vector<std::uint32_t> hubs;
    std::vector<std::vector<CrowdItem>> items;
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        auto next = hubsOf_[i].begin();
        for (const std::uint32_t place : distinct_.places(i)) {
            if (degrees[place] <= hubDegree) {
                continue;
            }
            if (aroundOf_[place] == kNoHub) {
                aroundOf_[place] = static_cast<std::uint32_t>(items.size());
                hubs.push_back(place);
                items.emplace_back();
            }
            items[aroundOf_[place]].push_back(directionsOf(i, place));
            *next++ = place;
        }
        std::sort(hubsOf_[i].begin(), hubsOf_[i].end());
        work.count(1);
    }
    for (std::size_t k = 0; k < items.size(); ++k) {
        SetCrowdedEnds(distinct_, hubs[k], hubDegree, items[k]);
        around_.push_back({CrowdTree(std::move(items[k]), work), {}, {}});
        Around& around = around_.back();
        for (const CrowdTree::Node& node : around.tree.nodes()) {
            around.rays.push_back(raysOf(around.tree, node, hubs[k]));
            around.corners.push_back(cornersOf(around.tree, node));
            work.count(node.count());
        }
    }
}

void CrowdedOccluders::layOutAnywhere(ItemCounter& work) {
    std::vector<CrowdItem> items;
    items.reserve(distinct_.count());
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        items.push_back(itemOf(i));
    }
    anywhere_.emplace(Anywhere{CrowdTree(std::move(items), work), {}, {}});
    for (const CrowdTree::Node& node : anywhere_->tree.nodes()) {
        anywhere_->outlines.push_back(outlinesOf(anywhere_->tree, node));
        anywhere_->corners.push_back(cornersOf(anywhere_->tree, node));
        work.count(node.count());
    }
}

CrowdItem CrowdedOccluders::itemOf(std::uint32_t triangle) const {
    const Triangle& corners = distinct_[triangle];
    CrowdItem item = ItemOfTriangle(corners, triangle);
    const std::size_t side = LongestSideOf(corners.corners);
    item.hubs = hubsOf_[triangle];
    item.turn = TurnOf(OutwardOf(corners.corners[side], corners.corners[(side + 1) % 3]));
    return item;
}

/// On screen.
CrowdItem CrowdedOccluders::directionsOf(std::uint32_t triangle, std::uint32_t hub) const {
    const BakedVertex* const corners = distinct_[triangle].corners;
    const std::size_t corner = cornerAt(triangle, hub);
    const auto onScreen = [&](std::size_t other) {
        const GridVector way = Difference(corners[(corner + other) % 3], corners[corner]);
        return GridVector(way[0], way[1], 0);
    };
    CrowdItem item = ItemOfDirections(onScreen(1), onScreen(2), triangle);
    item.normal = UnitOf(NormalOf(corners));
    return item;
}

CrowdedOccluders::Outlines CrowdedOccluders::outlinesOf(const CrowdTree& tree,
                                                        const CrowdTree::Node& node) const {
    Outlines outlines{};
    for (std::uint32_t i = node.begin; i < node.end; ++i) {
        const BakedVertex* const corners = tree.itemAt(i).corners;
        const std::size_t longest = LongestSideOf(corners);
        for (std::size_t k = 0; k < 3; ++k) {
            const BakedVertex& from = corners[(longest + k) % 3];
            const Flat outward = OutwardOf(from, corners[(longest + k + 1) % 3]);
            if (i == node.begin) {
                outlines.outward[k] = outward;
                outlines.nearest[k] = kInfinity;
                outlines.farthest[k] = -kInfinity;
            }
            outlines.spread[k] =
                std::max(outlines.spread[k], DistanceOf(outward, outlines.outward[k]));
            outlines.nearest[k] =
                std::min(outlines.nearest[k], AlongFlat(outlines.outward[k], PlaceOfPoint(from)));
            for (int corner = 0; corner < 3; ++corner) {
                outlines.farthest[k] =
                    std::max(outlines.farthest[k],
                             AlongFlat(outlines.outward[k], PlaceOfPoint(corners[corner])));
            }
        }
    }
    return outlines;
}

CornerBoxes CrowdedOccluders::cornersOf(const CrowdTree& tree, const CrowdTree::Node& node) const {
    CornerBoxes boxes;
    for (std::uint32_t i = node.begin; i < node.end; ++i) {
        boxes.extend(distinct_[tree.itemAt(i).number].corners);
    }
    return boxes;
}

/// Whether the segment is known to be in contact with all of some triangles, which hide nothing of
/// it then.
bool CrowdedOccluders::areInContact(const CornerBoxes& triangles, const Question& question) const {
    return !tolerance_.isOff() &&
           triangles.areWithin(tolerance_.steps(), *question.ends[0], *question.ends[1]);
}

CrowdedOccluders::Rays CrowdedOccluders::raysOf(const CrowdTree& tree,
                                                const CrowdTree::Node& node,
                                                std::uint32_t hub) const {
    Rays rays;
    for (std::uint32_t i = node.begin; i < node.end; ++i) {
        const std::uint32_t triangle = tree.itemAt(i).number;
        const BakedVertex* const corners = distinct_[triangle].corners;
        const std::size_t corner = cornerAt(triangle, hub);
        const GridVector p = Difference(corners[(corner + 1) % 3], corners[corner]);
        const GridVector q = Difference(corners[(corner + 2) % 3], corners[corner]);
        const auto area = static_cast<double>(CrossXY(p, q));
        rays.normals.extend(UnitOf(NormalOf(corners)));
        rays.firsts.extend(DirectionOf(p));
        rays.seconds.extend(DirectionOf(q));
        rays.across.extend(
            {static_cast<double>(q[1] - p[1]) / area, static_cast<double>(p[0] - q[0]) / area});
    }
    return rays;
}

/// Which corner of a triangle is at a place.
std::size_t CrowdedOccluders::cornerAt(std::uint32_t triangle, std::uint32_t place) const {
    const DistinctTriangles::Places& places = distinct_.places(triangle);
    return static_cast<std::size_t>(std::find(places.begin(), places.end(), place) -
                                    places.begin());
}

bool CrowdedOccluders::fits(const BakedVertex& a, const BakedVertex& b) const {
    const std::int32_t p[3] = {a.x, a.y, a.z};
    const std::int32_t q[3] = {b.x, b.y, b.z};
    kx::kxBBox box = extent_;
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(box.min[axis], static_cast<float>(std::min(p[axis], q[axis])));
        box.max[axis] = std::max(box.max[axis], static_cast<float>(std::max(p[axis], q[axis])));
    }
    return PlaneValuesFit(box) && (a.x != b.x || a.y != b.y);
}

void CrowdedOccluders::append(const BakedVertex& a,
                              const BakedVertex& b,
                              const PartOf& partOf,
                              const std::vector<RationalInterval>& known,
                              std::vector<RationalInterval>& hidden) {
    const auto hubAt = [this](const BakedVertex& end) {
        const std::optional<std::uint32_t> place = distinct_.placeAt(end);
        return place && aroundOf_[*place] != kNoHub ? *place : kNoHub;
    };
    Question question{
        {&a, &b}, PlaceOfPoint(a), PlaceOfPoint(b), {hubAt(a), hubAt(b)}, &partOf, &known, true,
        false};
    ask(question);
    if (question.hasSkippedPlainStarts && ranges_.startsUnusually()) {
        question.skipsPlainStarts = false;
        ask(question);
    }
    std::vector<RationalInterval> fused = ranges_.all();
    IntervalTools::FuseOverlappingIntervals(fused);
    if (ranges_.isWhole() || AreWhole(fused)) {
        hidden.push_back(WholeSegment());
    } else {
        hidden.insert(hidden.end(), ranges_.all().begin(), ranges_.all().end());
    }
}

void CrowdedOccluders::ask(Question& question) {
    ranges_.clear();
    for (const RationalInterval& range : *question.known) {
        ranges_.add(range);
    }
    for (int end = 0; end < 2; ++end) {
        if (question.hubs[end] != kNoHub) {
            askAround(around_[aroundOf_[question.hubs[end]]], end, question);
        }
    }
    if (!anywhere_->tree.nodes().empty()) {
        askAnywhere(question);
    }
}

/// Nodes whose planes are nearest to the segment come first: what hides the most of it among sheets
/// is next to it.
void CrowdedOccluders::askAnywhere(Question& question) {
    Coordinates middle;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        middle[axis] = 0.5 * (question.from[axis] + question.to[axis]);
    }
    const auto& nodes = anywhere_->tree.nodes();
    const Hubs hubs{question.hubs[0], question.hubs[1], kNoHub};
    pending_.start();
    pending_.add(0.0, 0);
    while (!pending_.isEmpty() && !ranges_.isWhole()) {
        const std::uint32_t number = pending_.take();
        const CrowdTree::Node& node = nodes[number];
        ++looks_;
        if (ShareHub(node.hubs, hubs) || isNeedless(number, question)) {
            continue;
        }
        if (!node.isLeaf()) {
            pending_.add(GapTo(nodes[number + 1], middle), number + 1);
            pending_.add(GapTo(nodes[node.secondChild], middle), node.secondChild);
            continue;
        }
        for (std::uint32_t i = node.begin; i < node.end; ++i) {
            const CrowdItem& item = anywhere_->tree.itemAt(i);
            if (!ShareHub(item.hubs, hubs)) {
                askTriangle(item.number, question);
            }
        }
    }
}

bool CrowdedOccluders::isNeedless(std::uint32_t number, Question& question) const {
    const CrowdTree::Node& node = anywhere_->tree.nodes()[number];
    const auto& [from, to] = std::tie(question.from, question.to);
    if (node.min[2] >= std::max(from[2], to[2]) || (IsInFront(from, node) && IsInFront(to, node))) {
        return true;
    }
    if (areInContact(anywhere_->corners[number], question)) {
        return true;
    }
    const Reach reach = reachOf(number, question);
    if (reach.enter > reach.leave || ranges_.makeNeedless(reach.enter, reach.leave)) {
        return true;
    }
    if (question.skipsPlainStarts && ranges_.makeNeedlessUpTo(reach.leave) &&
        IsBehind(from, node) && isCore(number, from)) {
        question.hasSkippedPlainStarts = true;
        return true;
    }
    return false;
}

/// Where the segment is within the box of a node on screen, and within its outlines.
CrowdedOccluders::Reach CrowdedOccluders::reachOf(std::uint32_t number,
                                                  const Question& question) const {
    const CrowdTree::Node& node = anywhere_->tree.nodes()[number];
    const Outlines& outlines = anywhere_->outlines[number];
    Reach reach{0.0, 1.0};
    const auto keepUpTo = [&reach](double limit, double from, double to) {
        limit += kStepMargin;
        if (from > limit && to > limit) {
            reach.leave = -1.0;
        } else if (from > limit) {
            reach.enter = std::max(reach.enter, (from - limit) / (from - to));
        } else if (to > limit) {
            reach.leave = std::min(reach.leave, (limit - from) / (to - from));
        }
    };
    for (std::size_t axis = 0; axis < 2; ++axis) {
        keepUpTo(node.max[axis], question.from[axis], question.to[axis]);
        keepUpTo(-node.min[axis], -question.from[axis], -question.to[axis]);
    }
    for (std::size_t k = 0; k < 3; ++k) {
        keepUpTo(outlines.farthest[k], AlongFlat(outlines.outward[k], question.from),
                 AlongFlat(outlines.outward[k], question.to));
    }
    return reach;
}

/// Whether a place is strictly within all outlines of a node: a side is off the place by as much as
/// the one it is taken for, but for how far it is turned from that.
bool CrowdedOccluders::isCore(std::uint32_t number, const std::array<double, 3>& point) const {
    const Outlines& outlines = anywhere_->outlines[number];
    const double reach = FarthestInBox(point, anywhere_->tree.nodes()[number]);
    bool isWithin = true;
    for (std::size_t k = 0; k < 3; ++k) {
        const double inside = outlines.nearest[k] - AlongFlat(outlines.outward[k], point);
        isWithin = isWithin && inside > outlines.spread[k] * reach + kStepMargin;
    }
    return isWithin;
}

/// The segment begins in a corner of the triangles: those that do not have its direction between
/// their sides there, or that it leaves to the front, hide nothing; others from there to where it
/// crosses the opposite side. Of these the ranges that end first and last matter, or at the end of
/// the segment the longest.
void CrowdedOccluders::askAround(const Around& around, int end, Question& question) {
    askAround(around, end, question, [this, end](const Exits& exits) {
        const bool isNeedless = end == 0 ? ranges_.makeNeedlessUpTo(exits.most)
                                         : ranges_.makeNeedless(1.0 - exits.most, 1.0);
        return isNeedless ? std::nullopt : std::optional(-exits.most);
    });
    if (end == 0) {
        askAround(around, end, question, [this](const Exits& exits) {
            return ranges_.makeNeedlessBeyond(exits.least) ? std::nullopt
                                                           : std::optional(exits.least);
        });
    }
}

/// rankOf(exits) tells which nodes come first, none for those that are not needed.
void CrowdedOccluders::askAround(const Around& around,
                                 int end,
                                 Question& question,
                                 const std::function<std::optional<double>(const Exits&)>& rankOf) {
    const auto& nodes = around.tree.nodes();
    const Hubs otherEnd{question.hubs[1 - end], kNoHub, kNoHub};
    pending_.start();
    const auto consider = [&](std::uint32_t number) {
        ++looks_;
        // A side of a triangle lies in its plane.
        if (ShareHub(nodes[number].hubs, otherEnd) ||
            areInContact(around.corners[number], question)) {
            return;
        }
        if (const auto exits = exitsOf(around, number, end, question)) {
            if (const auto rank = rankOf(*exits)) {
                pending_.add(*rank, number);
            }
        }
    };
    consider(0);
    while (!pending_.isEmpty() && !ranges_.isWhole()) {
        const std::uint32_t number = pending_.take();
        const CrowdTree::Node& node = nodes[number];
        if (!rankOf(*exitsOf(around, number, end, question))) {
            return;
        }
        if (!node.isLeaf()) {
            consider(number + 1);
            consider(node.secondChild);
            continue;
        }
        for (std::uint32_t i = node.begin; i < node.end; ++i) {
            const CrowdItem& item = around.tree.itemAt(i);
            if (!ShareHub(item.hubs, otherEnd)) {
                askTriangle(item.number, question);
            }
        }
    }
}

/// Where the segment may leave triangles that may hide some of it, as shares of it.
std::optional<CrowdedOccluders::Exits> CrowdedOccluders::exitsOf(const Around& around,
                                                                 std::uint32_t number,
                                                                 int end,
                                                                 const Question& question) const {
    constexpr double kShare = 0x1p-40;
    const Rays& rays = around.rays[number];
    const Coordinates way = PlaceOf(Difference(*question.ends[1 - end], *question.ends[end]));
    // Products with these are the sides of the way from directions: it is to the left of the first
    // and to the right of the second.
    const Flat turned{way[1], -way[0]};
    if (rays.normals.leastProduct(way) > kStepMargin ||
        rays.firsts.mostProduct(turned) < -kStepMargin ||
        rays.seconds.leastProduct(turned) > kStepMargin) {
        return std::nullopt;
    }
    const Flat onScreen{way[0], way[1]};
    const double leastValue = rays.across.leastProduct(onScreen);
    const double mostValue = rays.across.mostProduct(onScreen);
    const double margin = kShare * rays.across.largestTerms(onScreen);
    const auto exitAt = [](double value) { return value > 0.0 ? std::min(1.0 / value, 1.0) : 1.0; };
    return Exits{exitAt(mostValue + margin), exitAt(leastValue - margin)};
}

void CrowdedOccluders::askTriangle(std::uint32_t triangle, Question& question) {
    ++looks_;
    if (const auto part = (*question.partOf)(distinct_[triangle])) {
        ranges_.add(*part);
    }
}

} // namespace ctr
