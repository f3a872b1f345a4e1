// Chooses between the baked tree as it is and one laid out for many questions.
#include "visibility/occlusion/EdgeOcclusion.h"

#include "visibility/baking/BakedMesh.h"
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
    constexpr std::size_t kTrianglesPerSegment = 256;
    const BakedState state(*baked_);
    if (stateOfLayout_ != state) {
        release();
        announced_ = 0;
        stateOfLayout_ = state;
    }
    announced_ += segments;
    if (!layout_ && HasTriangles(*baked_) &&
        announced_ * kTrianglesPerSegment >= baked_->trianglePlanes.size()) {
        layout_.emplace(*baked_, work, limits_.mostCopied);
    }
}

void EdgeOcclusion::considerCrowds(std::size_t ranges, ItemCounter& work) {
    hidden_ += ranges;
    if (haveConsideredCrowds_ || !layout_ || !layout_->isFaithful() ||
        tested_ <= limits_.testsPerTriangle * baked_->trianglePlanes.size() +
                       limits_.testsPerSegment * asked_ + limits_.testsPerRange * hidden_) {
        return;
    }
    haveConsideredCrowds_ = true;
    const SlotTriangles triangles = layout_->tree.triangles();
    if (MayLeaveHierarchy(*baked_, triangles)) {
        surfaces_.emplace(*baked_, triangles, work);
        copies_.emplace(triangles, work);
        crowd_.emplace(copies_->all(), ContactTolerance(*baked_), limits_.hubDegree, work);
    }
}

void EdgeOcclusion::append(const BakedVertex& a,
                           const BakedVertex& b,
                           std::vector<RationalInterval>& hidden) {
    if (!layout_ || !layout_->isFaithful()) {
        baked_->computeOcclusionIntervals(a, b, hidden);
        return;
    }
    if (layout_->map.hides(a, b)) {
        hidden.push_back(WholeSegment());
        return;
    }
    // What begins at the farthest end of the segment, or beyond, hides nothing of it.
    constexpr std::int32_t kLeast = TriangleSieve::kLeast;
    const std::int32_t farthest = std::max({a.z, b.z, kLeast + 1});
    const TriangleSieve sieve({std::min(a.x, b.x), std::min(a.y, b.y), kLeast},
                              {std::max(a.x, b.x), std::max(a.y, b.y), farthest - 1});
    const ContactTolerance tolerance(*baked_);
    const auto partOf = [&](const OccluderTree::Triangle& triangle) {
        const auto& [p0, p1, p2] = triangle.corners;
        ++tested_;
        if (sieve.isBeside(triangle.corners)) {
            return std::optional<RationalInterval>();
        }
        return HiddenPart(p0, p1, p2, baked_->trianglePlanes[triangle.number], tolerance, a, b);
    };
    ++asked_;
    if (surfaces_) {
        surfaces_->turnTo(a, b);
        const auto nearest = [this](double t) -> const auto& {
            return surfaces_->nearestAt(t);
        };
        if (ranges_.areHiding(layout_->tree, partOf, nearest)) {
            hidden.push_back(WholeSegment());
            return;
        }
    }
    if (crowd_ && crowd_->fits(a, b)) {
        crowd_->append(a, b, partOf, ranges_.known(), hidden);
        return;
    }
    const auto& found = ranges_.find(layout_->tree, SegmentProbe(a, b), partOf);
    hidden.insert(hidden.end(), found.begin(), found.end());
}

void EdgeOcclusion::release() {
    surfaces_.reset();
    crowd_.reset();
    copies_.reset();
    layout_.reset();
    haveConsideredCrowds_ = false;
    asked_ = 0;
    tested_ = 0;
    hidden_ = 0;
}

} // namespace ctr
