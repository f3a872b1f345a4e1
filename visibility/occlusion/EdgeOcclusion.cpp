// Chooses between the baked BVH, its packed layout and the search for dense scenes, by the numbers
// of segments announced and triangles tested (Tuning.h). Each of them is exact, so the choice
// affects cost only: O(log n) per segment in scenes of low depth complexity, see the header for
// others.
#include "visibility/occlusion/EdgeOcclusion.h"

#include "visibility/Statistics.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/bvh/GridBox.h"
#include "visibility/dense/BypassConditions.h"
#include "visibility/occlusion/TriangleOcclusion.h"

#include <algorithm>
#include <bit>

namespace ctr {
namespace {

template <class T> BakedState::Extent ExtentOf(const std::vector<T>& array) {
    return {array.data(), array.size()};
}

std::array<std::uint32_t, 6> RootBoxOf(const BakedTriangles& baked) {
    const kx::kxBBox box = baked.bvh.nodes.empty() ? kx::kxBBox() : baked.bvh.nodes.front().box;
    return std::bit_cast<std::array<std::uint32_t, 6>>(box);
}

} // namespace

BakedState::BakedState(const BakedTriangles& baked)
    : changes(baked.bakeCount),
      tolerance(baked), arrays{ExtentOf(baked.vertices), ExtentOf(baked.triangleIndices),
                               ExtentOf(baked.trianglePlanes), ExtentOf(baked.bvh.nodes),
                               ExtentOf(baked.bvh.primitives)},
      rootBox(RootBoxOf(baked)) {}

void EdgeOcclusion::announce(std::size_t segments, ItemCounter& work) {
    const BakedState state(*baked_);
    if (stateOfLayout_ != state) {
        release();
        announced_ = 0;
        stateOfLayout_ = state;
    }
    announced_ += segments;
    if (!layout_ && HasTriangles(*baked_) &&
        announced_ * Tuning::kTrianglesPerSegment >= baked_->trianglePlanes.size()) {
        layout_.emplace(*baked_, work, limits_.mostCopied);
    }
}

void EdgeOcclusion::considerDenseSearch(std::size_t intervals, ItemCounter& work) {
    intervalCount_ += intervals;
    if (haveConsideredDenseSearch_ || !layout_ || !layout_->isConservative() ||
        tested_ <= limits_.testsPerTriangle * baked_->trianglePlanes.size() +
                       limits_.testsPerSegment * segments_ +
                       limits_.testsPerInterval * intervalCount_) {
        return;
    }
    haveConsideredDenseSearch_ = true;
    const SlotTriangles triangles = layout_->bvh.triangles();
    if (MayBypassBvh(*baked_, triangles)) {
        fronts_.emplace(*baked_, triangles, work);
        copies_.emplace(triangles, work);
        dense_.emplace(copies_->all(), ContactTolerance(*baked_), limits_.hubDegree, work);
    }
}

void EdgeOcclusion::append(const BakedVertex& a,
                           const BakedVertex& b,
                           std::vector<RationalInterval>& occluded) {
    if (!layout_ || !layout_->isConservative()) {
        baked_->computeOcclusionIntervals(a, b, occluded);
        return;
    }
    Count(Counter::segments);
    if (layout_->depthBuffer.occludes(a, b)) {
        Count(Counter::segmentsOccludedByDepthBuffer);
        occluded.push_back(FullSegment());
        return;
    }
    // A triangle at or beyond the farthest end of the segment occludes nothing of it.
    constexpr std::int32_t kLowest = GridBox::kLowest;
    const std::int32_t farthest = std::max({a.z, b.z, kLowest + 1});
    const GridBox box({std::min(a.x, b.x), std::min(a.y, b.y), kLowest},
                      {std::max(a.x, b.x), std::max(a.y, b.y), farthest - 1});
    const ContactTolerance tolerance(*baked_);
    const auto intervalOf = [&](const SlotTriangle& triangle) {
        const auto& [p0, p1, p2] = triangle.corners;
        ++tested_;
        Count(Counter::trianglesTested);
        if (box.excludes(triangle.corners)) {
            Count(Counter::trianglesBesideBox);
            return std::optional<RationalInterval>();
        }
        return OccludedInterval(p0, p1, p2, baked_->trianglePlanes[triangle.number], tolerance, a,
                                b);
    };
    ++segments_;
    if (fronts_) {
        fronts_->selectSegment(a, b);
        const auto nearest = [this](double t) -> const auto& {
            return fronts_->nearestAt(t);
        };
        if (intervals_.isOccludedByNearest(layout_->bvh, intervalOf, nearest)) {
            Count(Counter::occludedByFronts);
            occluded.push_back(FullSegment());
            return;
        }
    }
    if (dense_ && dense_->fits(a, b)) {
        Count(Counter::denseSegments);
        dense_->append(a, b, intervalOf, intervals_.found(), occluded);
        return;
    }
    const auto& found = intervals_.find(layout_->bvh, SegmentSlabClipper(a, b), intervalOf);
    occluded.insert(occluded.end(), found.begin(), found.end());
}

void EdgeOcclusion::release() {
    fronts_.reset();
    dense_.reset();
    copies_.reset();
    layout_.reset();
    haveConsideredDenseSearch_ = false;
    segments_ = 0;
    tested_ = 0;
    intervalCount_ = 0;
}

} // namespace ctr
