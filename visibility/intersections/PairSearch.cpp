// Traverses the BVH against itself and rejects pairs in packets before the exact test.
//
// Subtrees are opened from the larger box, and the triangles of a leaf are tested in packets of
// four against the other subtree. Rejection in floats is conservative: boxes by monotonic rounding,
// planes by kPlaneShare (ErrorBounds.h, section 6). The remaining pairs are decided exactly. About
// O((n + k) log n) for n triangles and k overlapping pairs.
#include "visibility/intersections/PairSearch.h"

#include "visibility/ErrorBounds.h"
#include "visibility/Statistics.h"
#include "visibility/Tuning.h"
#include "visibility/dense/BypassConditions.h"
#include "visibility/dense/PotentiallyVisiblePairs.h"
#include "visibility/intersections/DensePairs.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <utility>

namespace ctr {
namespace {

constexpr std::uint32_t kPacketSize = TrianglePacket::kSize;

bool Overlap(const kx::kxBBox& a, const kx::kxBBox& b) {
    return a.min[0] <= b.max[0] && b.min[0] <= a.max[0] && a.min[1] <= b.max[1] &&
           b.min[1] <= a.max[1] && a.min[2] <= b.max[2] && b.min[2] <= a.max[2];
}

float Extent(const kx::kxBBox& box) {
    return (box.max[0] - box.min[0]) + (box.max[1] - box.min[1]) + (box.max[2] - box.min[2]);
}

/// The largest absolute coordinates per axis.
Float4 FarthestOf(const SlotTriangles& triangles) {
    Float4 farthest{};
    SlotTriangle storage;
    for (std::size_t slot = 0; slot < triangles.size(); ++slot) {
        for (const BakedVertex& corner : triangles.get(slot, storage).corners) {
            const Float4 p = FloatCorner(&corner);
            farthest = Max(farthest, Max(p, -p));
        }
    }
    return farthest;
}

/// Counts the pairs of a packet and a triangle that each test rejects.
class PairCounts {
public:
    explicit PairCounts(LaneMask candidates) : remaining_(candidates) {
        Count(Counter::candidatePairs, CountOf(candidates));
    }
    void count(Counter rejected, LaneMask remaining) {
        Count(rejected, CountOf(remaining_ & ~remaining));
        remaining_ = remaining;
    }

private:
    static std::uint64_t CountOf(LaneMask mask) {
        return static_cast<std::uint64_t>(std::popcount(mask));
    }

    LaneMask remaining_;
};

/// An estimate of the number of pairs of triangles with overlapping boxes, from samples.
double EstimatedOverlaps(const SlotTriangles& triangles, const std::vector<std::uint32_t>& slots) {
    std::mt19937_64 random; // Its numbers are defined by the standard.
    const auto any = [&] { return triangles[slots[random() % slots.size()]]; };
    int overlaps = 0;
    for (int i = 0; i < Tuning::kSampledPairs; ++i) {
        overlaps += BoxesOverlap(any(), any()) ? 1 : 0;
    }
    const auto count = static_cast<double>(slots.size());
    return 0.5 * count * count * overlaps / Tuning::kSampledPairs;
}

} // namespace

PairSearch::PairSearch(const BakedTriangles& baked,
                       const SlotTriangles& triangles,
                       std::function<void(std::size_t)> triangleDone,
                       ItemCounter& work,
                       const PairSearchLimits& limits)
    : baked_(baked), triangles_(triangles), recent_(triangles),
      triangleDone_(std::move(triangleDone)), work_(work),
      intersector_(baked.contactTolerance == 0 ? EdgeOnPlane::touches : EdgeOnPlane::isInFront),
      limits_(limits) {
    // A box adds to the terms of a plane value on one side of a comparison as much as it subtracts
    // on the other, so the bound of single points holds for boxes.
    const Float4 farthest = FarthestOf(triangles);
    for (int axis = 0; axis < 3; ++axis) {
        rounding_[axis] = error_bounds::kPlaneShare * farthest[axis];
        floatsAreExact_ = floatsAreExact_ && farthest[axis] <= error_bounds::kLastExactFloat;
    }
}

void PairSearch::excludePairs(std::vector<bool> marked) {
    marked_ = std::move(marked);
    allMarked_.assign(baked_.bvh.nodes.size(), false);
    if (!allMarked_.empty()) {
        markSubtree(0);
    }
}

bool PairSearch::markSubtree(unsigned int node) {
    const BvhNode& here = baked_.bvh.nodes[node];
    bool all = true;
    if (IsLeaf(here)) {
        const auto first = marked_.begin() + FirstSlot(here);
        all = std::all_of(first, first + here.second, [](bool marked) { return marked; });
    } else {
        const bool both[2] = {markSubtree(FirstChild(here)), markSubtree(SecondChild(here))};
        all = both[0] && both[1];
    }
    allMarked_[node] = all;
    return all;
}

std::vector<FoundIntersection> PairSearch::run() {
    marked_.resize(triangles_.size());
    allMarked_.resize(baked_.bvh.nodes.size());
    packetCache_.resize(Tuning::kCachedPackets);
    traverseAll();
    if (restarts_) {
        restarts_ = false;
        found_.clear();
        done_ = 0;
        traverseAll();
    }
    if (usedDenseSearch_) {
        Count(Counter::densePairSearches);
        const TriangleCopies copies(triangles_, work_);
        DensePairs pairs(copies.all(), marked_, intersector_, limits_.hubDegree, work_);
        found_ = pairs.find();
        visits_ += pairs.visits();
    }
    // Triangles in no leaf have no pairs.
    finish(baked_.trianglePlanes.size() - done_);
    Count(Counter::intersections, found_.size());
    std::sort(found_.begin(), found_.end(), [this](const auto& x, const auto& y) {
        work_.count(1);
        return std::tie(x.first, x.secondSlot) < std::tie(y.first, y.secondSlot);
    });
    return std::move(found_);
}

void PairSearch::traverseAll() {
    if (!baked_.bvh.nodes.empty()) {
        traverseSelf(0);
    }
}

/// Whether so many edges have been found that the search restarts without those occluded in dense
/// regions.
bool PairSearch::restartsWithoutHidden() {
    if (!needsHidden_ && found_.size() > limits_.hiddenPerTriangle * triangles_.size()) {
        needsHidden_ = true;
        std::vector<unsigned int> regions = FindDenseRegions(baked_, work_);
        restarts_ = !regions.empty() && MayBypassBvh(baked_, triangles_);
        if (restarts_) {
            denseRegions_ = std::move(regions);
        }
    }
    return restarts_;
}

/// Whether the traversal stops, because it restarts or has taken too long and may be replaced.
bool PairSearch::shouldStop() {
    if (restartsWithoutHidden()) {
        return true;
    }
    const std::size_t limit =
        limits_.visitsPerTriangle * triangles_.size() + limits_.visitsPerEdge * found_.size();
    if (usedDenseSearch_ || visits_ <= limit) {
        return usedDenseSearch_;
    }
    usedDenseSearch_ = MayBypassBvh(baked_, triangles_);
    if (!usedDenseSearch_) {
        limits_.visitsPerTriangle =
            std::numeric_limits<std::size_t>::max() / (triangles_.size() + 1);
        limits_.visitsPerEdge = 0;
    }
    return usedDenseSearch_;
}

void PairSearch::boundCorners(unsigned int node) {
    const BvhNode& here = baked_.bvh.nodes[node];
    CornerBoxes corners;
    Triangle storage;
    if (IsLeaf(here)) {
        for (std::uint32_t slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
            corners.extend(triangles_.get(slot, storage).corners);
        }
    } else {
        for (const unsigned int child : {FirstChild(here), SecondChild(here)}) {
            boundCorners(child);
            corners.extend(cornerBoxes_[child]);
        }
    }
    cornerBoxes_[node] = corners;
}

/// Whether all triangles below two nodes are known to be in contact, so that none of their edges is
/// drawn. Tested only where there are many edges.
bool PairSearch::areInContact(unsigned int a, unsigned int b) {
    const ContactTolerance tolerance(baked_);
    if (tolerance.isOff() || found_.size() < limits_.edgesPerTriangle * triangles_.size()) {
        return false;
    }
    if (cornerBoxes_.empty()) {
        cornerBoxes_.resize(baked_.bvh.nodes.size());
        boundCorners(0);
    }
    CornerBoxes both = cornerBoxes_[a];
    both.extend(cornerBoxes_[b]);
    return both.areWithin(tolerance.steps());
}

void PairSearch::traverseSelf(unsigned int node) {
    if (shouldStop()) {
        return;
    }
    const BvhNode& here = baked_.bvh.nodes[node];
    if (IsLeaf(here)) {
        finishLeaf(here);
        return;
    }
    if (std::binary_search(denseRegions_.begin(), denseRegions_.end(), node) &&
        findVisiblePairs(node)) {
        return;
    }
    const unsigned int first = FirstChild(here);
    const unsigned int second = SecondChild(here);
    traversePair(first, second);
    traverseSelf(first);
    traverseSelf(second);
}

void PairSearch::finishLeaf(const BvhNode& leaf) {
    const std::uint32_t end = FirstSlot(leaf) + leaf.second;
    for (std::uint32_t first = FirstSlot(leaf); first < end && !shouldStop();
         first += kPacketSize) {
        loadPacket(first, std::min(first + kPacketSize, end));
        for (std::uint32_t slot = first + 1; slot < end; ++slot) {
            const std::uint32_t before = std::min(slot - first, kPacketSize);
            testAgainstSlot(slot, (1U << before) - 1);
        }
    }
    finish(leaf.second);
}

void PairSearch::finish(std::size_t triangles) {
    for (done_ += triangles; reportedDone_ < done_; ++reportedDone_) {
        triangleDone_(found_.size());
    }
}

/// Searches the potentially visible pairs of a dense region, unless that would take as long as all
/// pairs.
bool PairSearch::findVisiblePairs(unsigned int node) {
    if (!PlaneValuesFit(baked_.bvh.nodes[node].box, GridAxis::kSubsteps)) {
        return false;
    }
    const std::vector<std::uint32_t> slots = SlotsBelow(baked_, node);
    PotentiallyVisiblePairs pairs(triangles_, slots, ContactTolerance(baked_), work_);
    if (pairs.estimate() > limits_.visiblePairsPerOverlap * EstimatedOverlaps(triangles_, slots)) {
        return false;
    }
    Triangle storage[2];
    Count(Counter::denseRegionsSearched);
    pairs.forEach([&](std::uint32_t a, std::uint32_t b) {
        ++visiblePairVisits_;
        const Triangle& first = triangles_.get(a, storage[0]);
        const Triangle& second = triangles_.get(b, storage[1]);
        if ((marked_[a] && marked_[b]) || !BoxesOverlap(first, second)) {
            return;
        }
        if (const auto found = intersector_.find({first, NormalOf(first.corners), a},
                                                 {second, NormalOf(second.corners), b})) {
            found_.push_back(*found);
        }
    });
    finish(slots.size());
    return true;
}

void PairSearch::traversePair(unsigned int a, unsigned int b) {
    const BvhNode& nodeA = baked_.bvh.nodes[a];
    const BvhNode& nodeB = baked_.bvh.nodes[b];
    if (!Overlap(nodeA.box, nodeB.box) || (allMarked_[a] && allMarked_[b]) || shouldStop() ||
        areInContact(a, b)) {
        return;
    }
    if (IsLeaf(nodeA)) {
        traverseLeaf(a, b);
    } else if (IsLeaf(nodeB)) {
        traverseLeaf(b, a);
    } else if (Extent(nodeA.box) > Extent(nodeB.box)) {
        traversePair(FirstChild(nodeA), b);
        traversePair(SecondChild(nodeA), b);
    } else {
        traversePair(a, FirstChild(nodeB));
        traversePair(a, SecondChild(nodeB));
    }
}

void PairSearch::traverseLeaf(unsigned int leaf, unsigned int node) {
    const BvhNode& here = baked_.bvh.nodes[leaf];
    const std::uint32_t end = FirstSlot(here) + here.second;
    for (std::uint32_t first = FirstSlot(here); first < end && !shouldStop();
         first += kPacketSize) {
        loadPacket(first, std::min(first + kPacketSize, end));
        testAgainst(node, packet_->present);
    }
}

FloatPlane<float> PairSearch::floatPlaneOf(const BakedVertex& origin,
                                           const GridVector& normal) const {
    const double n[3] = {static_cast<double>(normal[0]), static_cast<double>(normal[1]),
                         static_cast<double>(normal[2])};
    FloatPlane<float> plane;
    plane.offset = static_cast<float>(n[0] * origin.x + n[1] * origin.y + n[2] * origin.z);
    plane.errorBound = 0.0F;
    for (int axis = 0; axis < 3; ++axis) {
        plane.normal[axis] = static_cast<float>(n[axis]);
        plane.errorBound += std::abs(plane.normal[axis]) * rounding_[axis];
    }
    return plane;
}

/// Packets are cached: a leaf is often tested against one neighbour after another.
void PairSearch::loadPacket(std::uint32_t firstSlot, std::uint32_t endSlot) {
    TrianglePacket& packet = packetCache_[firstSlot / 2 % Tuning::kCachedPackets];
    if (packet.present == 0 || packet.firstSlot != firstSlot) {
        packet.firstSlot = firstSlot;
        fill(packet, endSlot);
    }
    packet_ = &packet;
}

void PairSearch::fill(TrianglePacket& packet, std::uint32_t endSlot) const {
    constexpr float kFar = std::numeric_limits<float>::infinity();
    Triangle storage;
    packet.marked = 0;
    for (int axis = 0; axis < 3; ++axis) {
        packet.min[axis] = Broadcast(kFar);
        packet.max[axis] = Broadcast(-kFar);
    }
    for (std::uint32_t slot = packet.firstSlot; slot < endSlot; ++slot) {
        const std::uint32_t lane = slot - packet.firstSlot;
        const auto& corners = triangles_.get(slot, storage).corners;
        const Float4 p[3] = {FloatCorner(corners), FloatCorner(corners + 1),
                             FloatCorner(corners + 2)};
        const Float4 min = Min(p[0], Min(p[1], p[2]));
        const Float4 max = Max(p[0], Max(p[1], p[2]));
        packet.normals[lane] = NormalOf(corners);
        packet.marked |= static_cast<LaneMask>(marked_[slot]) << lane;
        const FloatPlane<float> plane = floatPlaneOf(corners[0], packet.normals[lane]);
        packet.planes.offset[lane] = plane.offset;
        packet.planes.errorBound[lane] = plane.errorBound;
        for (int axis = 0; axis < 3; ++axis) {
            packet.min[axis][lane] = min[axis];
            packet.max[axis][lane] = max[axis];
            packet.planes.normal[axis][lane] = plane.normal[axis];
            for (int k = 0; k < 3; ++k) {
                packet.corners[k][axis][lane] = p[k][axis];
            }
        }
    }
    packet.present = (1U << (endSlot - packet.firstSlot)) - 1;
}

/// Tests the masked triangles of the packet against the subtree of a node.
void PairSearch::testAgainst(unsigned int node, LaneMask mask) {
    const BvhNode& here = baked_.bvh.nodes[node];
    ++visits_;
    Count(Counter::packetNodes);
    mask &= packet_->overlapping(here.box.min, here.box.max);
    if (allMarked_[node]) {
        mask &= ~packet_->marked;
    }
    if (mask != 0) {
        mask &= packet_->planesStraddledBy(here.box);
    }
    if (mask == 0) {
        Count(Counter::packetNodesRejected);
        return;
    }
    if (!IsLeaf(here)) {
        testAgainst(FirstChild(here), mask);
        testAgainst(SecondChild(here), mask);
        return;
    }
    for (std::uint32_t slot = FirstSlot(here); slot < FirstSlot(here) + here.second; ++slot) {
        testAgainstSlot(slot, mask);
    }
    work_.count(here.second);
}

void PairSearch::testAgainstSlot(std::uint32_t slot, LaneMask mask) {
    ++visits_;
    const Triangle& triangle = recent_.get(slot);
    const auto& corners = triangle.corners;
    const Float4 p[3] = {FloatCorner(corners), FloatCorner(corners + 1), FloatCorner(corners + 2)};
    const Float4 min = Min(p[0], Min(p[1], p[2]));
    const Float4 max = Max(p[0], Max(p[1], p[2]));
    PairCounts pairs(mask);
    mask &= packet_->overlapping(min, max);
    pairs.count(Counter::pairsRejectedByBoxes, mask);
    if (marked_[slot]) {
        mask &= ~packet_->marked;
        pairs.count(Counter::pairsRejectedByMarks, mask);
    }
    if (mask == 0) {
        return;
    }
    mask &= packet_->planesStraddledBy(p, floatsAreExact_);
    pairs.count(Counter::pairsRejectedByPacketPlanes, mask);
    if (mask == 0) {
        return;
    }
    const GridVector normal = NormalOf(corners);
    mask &= packet_->straddling(floatPlaneOf(corners[0], normal));
    pairs.count(Counter::pairsRejectedByPlane, mask);
    for (std::uint32_t lane = 0; mask >> lane != 0; ++lane) {
        if ((mask >> lane & 1U) != 0) {
            test({triangle, normal, slot}, lane);
        }
    }
}

/// Tests a triangle against one of the packet exactly.
void PairSearch::test(const PairMember& other, std::uint32_t lane) {
    const std::uint32_t slot = packet_->firstSlot + lane;
    Triangle storage;
    Count(Counter::pairsTested);
    if (const auto found = intersector_.find(
            other, {triangles_.get(slot, storage), packet_->normals[lane], slot})) {
        found_.push_back(*found);
    }
}

} // namespace ctr
