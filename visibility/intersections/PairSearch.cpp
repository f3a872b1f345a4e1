// The hierarchy against itself, and the quick part of the test of a pair.
#include "visibility/intersections/PairSearch.h"

#include "visibility/dense/BypassConditions.h"
#include "visibility/dense/DensePairs.h"
#include "visibility/dense/RegionCover.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <utility>

namespace ctr {
namespace {

constexpr std::uint32_t kLanes = 4;
constexpr std::uint32_t kTaken = 512;

Lanes CornerOf(const BakedVertex* corner) {
    return __builtin_convertvector(NumbersOf(corner), Lanes);
}

bool Overlap(const kx::kxBBox& a, const kx::kxBBox& b) {
    return a.min[0] <= b.max[0] && b.min[0] <= a.max[0] && a.min[1] <= b.max[1] &&
           b.min[1] <= a.max[1] && a.min[2] <= b.max[2] && b.min[2] <= a.max[2];
}

float Extent(const kx::kxBBox& box) {
    return (box.max[0] - box.min[0]) + (box.max[1] - box.min[1]) + (box.max[2] - box.min[2]);
}

/// The largest coordinates, axis by axis, whichever their sign.
Lanes FarthestOf(const SlotTriangles& triangles) {
    Lanes farthest{};
    OccluderTree::Triangle room;
    for (std::size_t slot = 0; slot < triangles.size(); ++slot) {
        for (const BakedVertex& corner : triangles.get(slot, room).corners) {
            const Lanes p = CornerOf(&corner);
            farthest = Most(farthest, Most(p, -p));
        }
    }
    return farthest;
}

/// About how many pairs of triangles have boxes that meet, from samples.
double EstimatedMeetings(const SlotTriangles& triangles, const std::vector<std::uint32_t>& slots) {
    constexpr int kSamples = 1 << 16;
    std::mt19937_64 random; // the standard says which numbers it gives
    const auto any = [&] { return triangles[slots[random() % slots.size()]]; };
    int met = 0;
    for (int i = 0; i < kSamples; ++i) {
        met += BoxesMeet(any(), any()) ? 1 : 0;
    }
    const auto count = static_cast<double>(slots.size());
    return 0.5 * count * count * met / kSamples;
}

} // namespace

PairSearch::PairSearch(const BakedTriangles& baked,
                       const SlotTriangles& triangles,
                       std::function<void(std::size_t)> triangleDone,
                       ItemCounter& work,
                       const CrowdLimits& limits)
    : baked_(baked), triangles_(triangles), recent_(triangles),
      triangleDone_(std::move(triangleDone)), work_(work),
      test_(baked.contactTolerance == 0 ? EdgeOnPlane::touches : EdgeOnPlane::isInFront),
      limits_(limits) {
    // Let a plane have values up to v in the scene, the offset among them. Rounding by 2^-24 costs
    // v three times for terms (coordinate, normal, product), twice for each of three sums with the
    // offset, and once for the offset: ten of sixteen. What a box adds to the terms on one side of
    // the comparison it takes from the other.
    constexpr float kRounding = 0x1p-20F;
    constexpr float kLastExact = 0x1p24F;
    const Lanes farthest = FarthestOf(triangles);
    for (int axis = 0; axis < 3; ++axis) {
        rounding_[axis] = kRounding * farthest[axis];
        floatsAreExact_ = floatsAreExact_ && farthest[axis] <= kLastExact;
    }
}

void PairSearch::leaveOut(std::vector<bool> marked) {
    marked_ = std::move(marked);
    allMarked_.assign(baked_.bvh.nodes.size(), false);
    if (!allMarked_.empty()) {
        markBelow(0);
    }
}

bool PairSearch::markBelow(unsigned int node) {
    const HierarchyNode& here = baked_.bvh.nodes[node];
    bool all = true;
    if (IsLeaf(here)) {
        const auto first = marked_.begin() + FirstSlot(here);
        all = std::all_of(first, first + here.second, [](bool marked) { return marked; });
    } else {
        const bool both[2] = {markBelow(FirstChild(here)), markBelow(SecondChild(here))};
        all = both[0] && both[1];
    }
    allMarked_[node] = all;
    return all;
}

std::vector<FoundIntersection> PairSearch::run() {
    marked_.resize(triangles_.size());
    allMarked_.resize(baked_.bvh.nodes.size());
    taken_.resize(kTaken);
    meetAll();
    if (beginsAnew_) {
        beginsAnew_ = false;
        found_.clear();
        done_ = 0;
        meetAll();
    }
    if (isCrowded_) {
        const TriangleCopies copies(triangles_, work_);
        CrowdedPairs pairs(copies.all(), marked_, test_, limits_.hubDegree, work_);
        found_ = pairs.find();
        looks_ += pairs.looks();
    }
    // What no leaf holds is met by nothing.
    finish(baked_.trianglePlanes.size() - done_);
    std::sort(found_.begin(), found_.end(), [this](const auto& x, const auto& y) {
        work_.count(1);
        return std::tie(x.first, x.secondSlot) < std::tie(y.first, y.secondSlot);
    });
    return std::move(found_);
}

void PairSearch::meetAll() {
    if (!baked_.bvh.nodes.empty()) {
        meetSelf(0);
    }
}

/// Whether so many edges have been found that the search begins anew without those hidden in
/// crowds.
bool PairSearch::leavesHidden() {
    if (!hiddenIsWanted_ && found_.size() > limits_.hiddenPerTriangle * triangles_.size()) {
        hiddenIsWanted_ = true;
        std::vector<unsigned int> crowds = FindCrowds(baked_, work_);
        beginsAnew_ = !crowds.empty() && MayLeaveHierarchy(baked_, triangles_);
        if (beginsAnew_) {
            crowds_ = std::move(crowds);
        }
    }
    return beginsAnew_;
}

/// Whether the hierarchy has been looked at for too long, and may be given up.
bool PairSearch::isGivenUp() {
    if (leavesHidden()) {
        return true;
    }
    const std::size_t limit =
        limits_.looksPerTriangle * triangles_.size() + limits_.looksPerEdge * found_.size();
    if (isCrowded_ || looks_ <= limit) {
        return isCrowded_;
    }
    isCrowded_ = MayLeaveHierarchy(baked_, triangles_);
    if (!isCrowded_) {
        limits_.looksPerTriangle =
            std::numeric_limits<std::size_t>::max() / (triangles_.size() + 1);
        limits_.looksPerEdge = 0;
    }
    return isCrowded_;
}

void PairSearch::boundCorners(unsigned int node) {
    const HierarchyNode& here = baked_.bvh.nodes[node];
    CornerBoxes corners;
    Triangle room;
    if (IsLeaf(here)) {
        for (std::uint32_t slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
            corners.extend(triangles_.get(slot, room).corners);
        }
    } else {
        for (const unsigned int child : {FirstChild(here), SecondChild(here)}) {
            boundCorners(child);
            corners.extend(corners_[child]);
        }
    }
    corners_[node] = corners;
}

/// Whether all triangles below two nodes are known to be in contact, so that nothing is drawn of
/// their edges. Looked at where there are many edges alone.
bool PairSearch::areInContact(unsigned int a, unsigned int b) {
    const ContactTolerance tolerance(baked_);
    if (tolerance.isOff() || found_.size() < limits_.edgesPerTriangle * triangles_.size()) {
        return false;
    }
    if (corners_.empty()) {
        corners_.resize(baked_.bvh.nodes.size());
        boundCorners(0);
    }
    CornerBoxes both = corners_[a];
    both.extend(corners_[b]);
    return both.areWithin(tolerance.steps());
}

void PairSearch::meetSelf(unsigned int node) {
    if (isGivenUp()) {
        return;
    }
    const HierarchyNode& here = baked_.bvh.nodes[node];
    if (IsLeaf(here)) {
        finishLeaf(here);
        return;
    }
    if (std::binary_search(crowds_.begin(), crowds_.end(), node) && meetInSight(node)) {
        return;
    }
    const unsigned int first = FirstChild(here);
    const unsigned int second = SecondChild(here);
    meet(first, second);
    meetSelf(first);
    meetSelf(second);
}

void PairSearch::finishLeaf(const HierarchyNode& leaf) {
    const std::uint32_t end = FirstSlot(leaf) + leaf.second;
    for (std::uint32_t first = FirstSlot(leaf); first < end && !isGivenUp(); first += kLanes) {
        take(first, std::min(first + kLanes, end));
        for (std::uint32_t slot = first + 1; slot < end; ++slot) {
            const std::uint32_t before = std::min(slot - first, kLanes);
            holdAgainstSlot(slot, (1U << before) - 1);
        }
    }
    finish(leaf.second);
}

void PairSearch::finish(std::size_t triangles) {
    for (done_ += triangles; toldDone_ < done_; ++toldDone_) {
        triangleDone_(found_.size());
    }
}

/// The pairs of a crowd that may be in sight, unless that would take as long as all of them.
bool PairSearch::meetInSight(unsigned int node) {
    if (!PlaneValuesFit(baked_.bvh.nodes[node].box, CellsOnAxis::kParts)) {
        return false;
    }
    const std::vector<std::uint32_t> slots = SlotsBelow(baked_, node);
    PairsInSight pairs(triangles_, slots, ContactTolerance(baked_), work_);
    if (pairs.estimate() > limits_.inSightPerMeeting * EstimatedMeetings(triangles_, slots)) {
        return false;
    }
    Triangle rooms[2];
    pairs.forEach([&](std::uint32_t a, std::uint32_t b) {
        ++looksInSight_;
        const Triangle& first = triangles_.get(a, rooms[0]);
        const Triangle& second = triangles_.get(b, rooms[1]);
        if ((marked_[a] && marked_[b]) || !BoxesMeet(first, second)) {
            return;
        }
        if (const auto found = test_.find({first, NormalOf(first.corners), a},
                                          {second, NormalOf(second.corners), b})) {
            found_.push_back(*found);
        }
    });
    finish(slots.size());
    return true;
}

void PairSearch::meet(unsigned int a, unsigned int b) {
    const HierarchyNode& nodeA = baked_.bvh.nodes[a];
    const HierarchyNode& nodeB = baked_.bvh.nodes[b];
    if (!Overlap(nodeA.box, nodeB.box) || (allMarked_[a] && allMarked_[b]) || isGivenUp() ||
        areInContact(a, b)) {
        return;
    }
    if (IsLeaf(nodeA)) {
        meetLeaf(a, b);
    } else if (IsLeaf(nodeB)) {
        meetLeaf(b, a);
    } else if (Extent(nodeA.box) > Extent(nodeB.box)) {
        meet(FirstChild(nodeA), b);
        meet(SecondChild(nodeA), b);
    } else {
        meet(a, FirstChild(nodeB));
        meet(a, SecondChild(nodeB));
    }
}

void PairSearch::meetLeaf(unsigned int leaf, unsigned int node) {
    const HierarchyNode& here = baked_.bvh.nodes[leaf];
    const std::uint32_t end = FirstSlot(here) + here.second;
    for (std::uint32_t first = FirstSlot(here); first < end && !isGivenUp(); first += kLanes) {
        take(first, std::min(first + kLanes, end));
        holdAgainst(node, four_->present);
    }
}

PairSearch::RoughPlane<float> PairSearch::roughPlaneOf(const BakedVertex& origin,
                                                       const GridVector& normal) const {
    const double n[3] = {static_cast<double>(normal[0]), static_cast<double>(normal[1]),
                         static_cast<double>(normal[2])};
    RoughPlane<float> plane;
    plane.offset = static_cast<float>(n[0] * origin.x + n[1] * origin.y + n[2] * origin.z);
    plane.slack = 0.0F;
    for (int axis = 0; axis < 3; ++axis) {
        plane.normal[axis] = static_cast<float>(n[axis]);
        plane.slack += std::abs(plane.normal[axis]) * rounding_[axis];
    }
    return plane;
}

/// A leaf is often held against one neighbour after another.
void PairSearch::take(std::uint32_t firstSlot, std::uint32_t endSlot) {
    Four& four = taken_[firstSlot / 2 % kTaken];
    if (four.present == 0 || four.firstSlot != firstSlot) {
        four.firstSlot = firstSlot;
        fill(four, endSlot);
    }
    four_ = &four;
}

void PairSearch::fill(Four& four, std::uint32_t endSlot) const {
    constexpr float kFar = std::numeric_limits<float>::infinity();
    Triangle room;
    four.marked = 0;
    for (int axis = 0; axis < 3; ++axis) {
        four.min[axis] = All(kFar);
        four.max[axis] = All(-kFar);
    }
    for (std::uint32_t slot = four.firstSlot; slot < endSlot; ++slot) {
        const std::uint32_t lane = slot - four.firstSlot;
        const auto& corners = triangles_.get(slot, room).corners;
        const Lanes p[3] = {CornerOf(corners), CornerOf(corners + 1), CornerOf(corners + 2)};
        const Lanes min = Least(p[0], Least(p[1], p[2]));
        const Lanes max = Most(p[0], Most(p[1], p[2]));
        four.normals[lane] = NormalOf(corners);
        four.marked |= static_cast<Chosen>(marked_[slot]) << lane;
        const RoughPlane<float> plane = roughPlaneOf(corners[0], four.normals[lane]);
        four.planes.offset[lane] = plane.offset;
        four.planes.slack[lane] = plane.slack;
        for (int axis = 0; axis < 3; ++axis) {
            four.min[axis][lane] = min[axis];
            four.max[axis][lane] = max[axis];
            four.planes.normal[axis][lane] = plane.normal[axis];
            for (int k = 0; k < 3; ++k) {
                four.corners[k][axis][lane] = p[k][axis];
            }
        }
    }
    four.present = (1U << (endSlot - four.firstSlot)) - 1;
}

/// Whose boxes share a point with a box.
template <class Numbers>
PairSearch::Chosen PairSearch::Four::meeting(const Numbers& otherMin,
                                             const Numbers& otherMax) const {
    return BitsOf((min[0] <= otherMax[0]) & (max[0] >= otherMin[0]) & (min[1] <= otherMax[1]) &
                  (max[1] >= otherMin[1]) & (min[2] <= otherMax[2]) & (max[2] >= otherMin[2]));
}

/// Whose planes may have some of a box strictly on either side. What lies in a box that a plane
/// does not cut cannot straddle that plane.
PairSearch::Chosen PairSearch::Four::cutting(const kx::kxBBox& box) const {
    Lanes middle = -planes.offset;
    Lanes reach = planes.slack;
    for (int axis = 0; axis < 3; ++axis) {
        const Lanes& n = planes.normal[axis];
        middle += n * (0.5F * (box.max[axis] + box.min[axis]));
        reach += Most(n, -n) * (0.5F * (box.max[axis] - box.min[axis]));
    }
    return BitsOf((middle < reach) & (-middle < reach));
}

/// Whose planes a triangle may straddle. A corner that both share lies on the plane, which matters
/// as most pairs that come so far are neighbours; floats of corners may be told apart for it.
PairSearch::Chosen PairSearch::Four::cutting(const Lanes (&other)[3], bool floatsAreExact) const {
    const auto& [x, y, z] = planes.normal;
    const Lanes above = planes.offset + planes.slack;
    const Lanes below = planes.offset - planes.slack;
    IntegerLanes front[3];
    IntegerLanes behind[3];
    for (int k = 0; k < 3; ++k) {
        const Lanes value = x * other[k][0] + y * other[k][1] + z * other[k][2];
        front[k] = value < above;
        behind[k] = value > below;
    }
    const Chosen may =
        BitsOf((front[0] | front[1] | front[2]) & (behind[0] | behind[1] | behind[2]));
    if (may == 0 || !floatsAreExact) {
        return may;
    }
    for (int k = 0; k < 3; ++k) {
        IntegerLanes shared{};
        for (const auto& own : corners) {
            shared |= (own[0] == other[k][0]) & (own[1] == other[k][1]) & (own[2] == other[k][2]);
        }
        front[k] &= ~shared;
        behind[k] &= ~shared;
    }
    return BitsOf((front[0] | front[1] | front[2]) & (behind[0] | behind[1] | behind[2]));
}

/// Which may straddle a plane.
PairSearch::Chosen PairSearch::Four::cutBy(const RoughPlane<float>& plane) const {
    IntegerLanes front{};
    IntegerLanes behind{};
    for (const auto& [x, y, z] : corners) {
        const Lanes value = plane.normal[0] * x + plane.normal[1] * y + plane.normal[2] * z;
        front |= value < plane.offset + plane.slack;
        behind |= value > plane.offset - plane.slack;
    }
    return BitsOf(front & behind);
}

/// Holds the chosen ones of the four against what is below a node.
void PairSearch::holdAgainst(unsigned int node, Chosen chosen) {
    const HierarchyNode& here = baked_.bvh.nodes[node];
    ++looks_;
    chosen &= four_->meeting(here.box.min, here.box.max);
    if (allMarked_[node]) {
        chosen &= ~four_->marked;
    }
    if (chosen == 0) {
        return;
    }
    chosen &= four_->cutting(here.box);
    if (chosen == 0) {
        return;
    }
    if (!IsLeaf(here)) {
        holdAgainst(FirstChild(here), chosen);
        holdAgainst(SecondChild(here), chosen);
        return;
    }
    for (std::uint32_t slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        holdAgainstSlot(slot, chosen);
    }
    work_.count(here.second);
}

void PairSearch::holdAgainstSlot(std::uint32_t slot, Chosen chosen) {
    ++looks_;
    const Triangle& triangle = recent_.get(slot);
    const auto& corners = triangle.corners;
    const Lanes p[3] = {CornerOf(corners), CornerOf(corners + 1), CornerOf(corners + 2)};
    const Lanes min = Least(p[0], Least(p[1], p[2]));
    const Lanes max = Most(p[0], Most(p[1], p[2]));
    chosen &= four_->meeting(min, max);
    if (marked_[slot]) {
        chosen &= ~four_->marked;
    }
    if (chosen == 0) {
        return;
    }
    chosen &= four_->cutting(p, floatsAreExact_);
    if (chosen == 0) {
        return;
    }
    const GridVector normal = NormalOf(corners);
    chosen &= four_->cutBy(roughPlaneOf(corners[0], normal));
    for (std::uint32_t lane = 0; chosen >> lane != 0; ++lane) {
        if ((chosen >> lane & 1U) != 0) {
            test({triangle, normal, slot}, lane);
        }
    }
}

/// Tests a triangle with one of the four.
void PairSearch::test(const PairMember& other, std::uint32_t lane) {
    const std::uint32_t slot = four_->firstSlot + lane;
    Triangle room;
    if (const auto found =
            test_.find(other, {triangles_.get(slot, room), four_->normals[lane], slot})) {
        found_.push_back(*found);
    }
}

} // namespace ctr
