// Clipping of segments: the part inside, the outputs written, independence of the order of the
// ends, and every float compared with a second implementation of the steps and with the definition
// of clipping.
#include <ctr/DiscreteProjectionSpace.h>

#include "projection/ClipReference.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

using namespace clip_reference; // everything here is written in its terms
using test_support::Scaled;

TEST(ClipEdgeWorld, ASegmentInsideIsKeptWhole) {
    const DiscreteProjectionSpace space = SpaceOfBits(2, 2); // 1.5 steps a unit
    const EdgeResult r = ClipEdge(space, Vec3(0.0F, -0.5F, 0.25F), Vec3(0.3F, 0.5F, -0.25F));
    EXPECT_EQ(r.t0, 0.0F);
    EXPECT_EQ(r.t1, 1.0F);
    EXPECT_EQ(Grid(r.b0), (std::array<int, 3>{1, 0, 1}));
    EXPECT_EQ(Grid(r.b1), (std::array<int, 3>{1, 2, 1})); // 1.95 is truncated, not rounded
    EXPECT_EQ(r.w0, 1.0F);
    EXPECT_EQ(r.w1, 1.0F);
}

TEST(ClipEdgeWorld, ASegmentBeyondOnePlaneLeavesTheOutputsAlone) {
    const DiscreteProjectionSpace space;
    for (int axis = 0; axis < 3; ++axis) {
        for (const float side : {-1.0F, 1.0F}) {
            Vec3 p0(0.1F, 0.2F, 0.3F);
            Vec3 p1(-0.3F, 0.1F, 0.2F);
            p0[axis] = side * 1.25F;
            p1[axis] = side * 3.0F;
            const EdgeResult r = ClipEdge(space, p0, p1);
            EXPECT_EQ(r.t0, 1.0F);
            EXPECT_EQ(r.t1, 0.0F);
            EXPECT_EQ(Grid(r.b0), Grid(kUntouched));
            EXPECT_EQ(Grid(r.b1), Grid(kUntouched));
            EXPECT_EQ(r.w0, kUntouchedW);
            EXPECT_EQ(r.w1, kUntouchedW);
        }
    }
}

TEST(ClipEdgeWorld, ASegmentPastACornerIsFoundOutsideByALaterPlane) {
    const EdgeResult r =
        ClipEdge(DiscreteProjectionSpace(), Vec3(0.5F, 3.0F, 0.0F), Vec3(3.0F, 0.5F, 0.0F));
    EXPECT_EQ(r.t0, 1.0F);
    EXPECT_EQ(r.t1, 0.0F);
    EXPECT_EQ(Grid(r.b0), Grid(kUntouched));
}

TEST(ClipEdgeWorld, PointsOnAPlaneAreInside) {
    const DiscreteProjectionSpace space;
    const EdgeResult upper = ClipEdge(space, Vec3(1.0F, -1.0F, 1.0F), Vec3(1.0F, 1.0F, 1.0F));
    EXPECT_EQ(upper.t0, 0.0F);
    EXPECT_EQ(upper.t1, 1.0F);
    EXPECT_EQ(Grid(upper.b0), (std::array<int, 3>{1048575, 0, 1048575}));
    EXPECT_EQ(Grid(upper.b1), (std::array<int, 3>{1048575, 1048575, 1048575}));
    const EdgeResult lower = ClipEdge(space, Vec3(-1.0F, -1.0F, -1.0F), Vec3(-1.0F, 0.5F, -1.0F));
    EXPECT_EQ(lower.t0, 0.0F);
    EXPECT_EQ(lower.t1, 1.0F);
    EXPECT_EQ(Grid(lower.b0), (std::array<int, 3>{0, 0, 0}));
}

TEST(ClipEdgeWorld, ASegmentThatTouchesAPlaneFromOutsideKeepsAPoint) {
    const EdgeResult r =
        ClipEdge(DiscreteProjectionSpace(), Vec3(1.0F, 0.0F, 0.0F), Vec3(2.0F, 0.0F, 0.0F));
    EXPECT_EQ(r.t0, 0.0F);
    EXPECT_EQ(r.t1, 0.0F);
    EXPECT_EQ(Grid(r.b0), Grid(r.b1));
}

TEST(ClipEdgeWorld, CrossingTheNearPlaneMovesTheFirstEndOntoIt) {
    const DiscreteProjectionSpace space = test_support::PerspectiveSpace(12, 12, 1.0F, 1.0F, 5.0F);
    const EdgeResult r = ClipEdge(space, Vec3(0.0F, 0.0F, 0.5F), Vec3(0.0F, 0.0F, 2.5F));
    EXPECT_NEAR(r.t0, 0.25F, 1e-6F);
    EXPECT_EQ(r.t1, 1.0F);
    EXPECT_NEAR(r.w0, 1.0F, 1e-6F);
    EXPECT_EQ(r.w1, 2.5F);
    EXPECT_EQ(r.b0.z, 0);
}

TEST(ClipEdgeWorld, ReachesFromBehindTheEye) {
    const DiscreteProjectionSpace space = test_support::PerspectiveSpace(12, 12, 1.0F, 1.0F, 5.0F);
    const EdgeResult r = ClipEdge(space, Vec3(0.0F, 0.0F, -2.0F), Vec3(0.0F, 0.0F, 2.0F));
    EXPECT_NEAR(r.t0, 0.75F, 1e-5F);
    EXPECT_EQ(r.t1, 1.0F);
    EXPECT_GT(r.w0, 0.99F);
}

TEST(ClipEdgeWorld, BoundaryPointsNeverQuantiseBeyondTheGrid) {
    for (unsigned int bits = 2; bits <= 19; ++bits) {
        const DiscreteProjectionSpace space = SpaceOfBits(bits, bits);
        const int top = (1 << bits) - 1;
        const EdgeResult r = ClipEdge(space, Vec3(-5.0F, -5.0F, -5.0F), Vec3(5.0F, 5.0F, 5.0F));
        EXPECT_EQ(Grid(r.b0), (std::array<int, 3>{0, 0, 0})) << bits;
        EXPECT_EQ(Grid(r.b1), (std::array<int, 3>{top, top, top})) << bits;
    }
}

TEST(ClipEdgeWorld, NumbersThatAreNotFiniteStayOnTheGrid) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::array<float, 6> hostile{
        kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN(), 3e38F, 0.5F, 0.0F};
    const DiscreteProjectionSpace space = SpaceOfBits(4, 4);
    for (int code = 0; code < 6 * 6 * 6 * 6; ++code) {
        const auto number = [&](int divisor) {
            return hostile[static_cast<std::size_t>(code / divisor % 6)];
        };
        const EdgeResult r =
            ClipEdge(space, Vec3(number(1), number(6), 0.0F), Vec3(number(36), 0.0F, number(216)));
        if (r.w0 == kUntouchedW) {
            continue;
        }
        for (const BakedVertex& b : {r.b0, r.b1}) {
            for (const int coordinate : Grid(b)) {
                ASSERT_GE(coordinate, 0) << code;
                ASSERT_LE(coordinate, 15) << code;
            }
        }
    }
}

TEST(ClipEdgeWorld, FollowsItsStepsBitForBit) {
    EdgeCounts counts;
    const int trials = Scaled(30000);
    for (int trial = 0; trial < trials; ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const DiscreteProjectionSpace space = RandomView(random);
        const Vec3 p0 = RandomPoint(random);
        const Vec3 p1 = RandomPoint(random);
        ASSERT_EQ(CompareClippedEdge(space, p0, p1, counts), "") << "seed " << trial;
    }
    EXPECT_GT(counts.clipped, trials / 10);
    EXPECT_GT(counts.dropped, trials / 10);
}

TEST(ClipEdgeWorld, DoesNotDependOnWhichEndComesFirst) {
    Random random(22);
    int clipped = 0;
    const int trials = Scaled(20000);
    for (int trial = 0; trial < trials; ++trial) {
        const DiscreteProjectionSpace space = RandomView(random);
        const Vec3 p0 = RandomPoint(random);
        const Vec3 p1 = RandomPoint(random);
        const EdgeResult r = ClipEdge(space, p0, p1);
        const EdgeResult turned = ClipEdge(space, p1, p0);
        ASSERT_EQ(Grid(r.b0), Grid(turned.b1)) << "trial " << trial;
        ASSERT_EQ(Grid(r.b1), Grid(turned.b0)) << "trial " << trial;
        ASSERT_EQ(Bits(r.w0), Bits(turned.w1)) << "trial " << trial;
        ASSERT_EQ(Bits(r.w1), Bits(turned.w0)) << "trial " << trial;
        if (r.w0 != kUntouchedW) {
            ASSERT_NEAR(r.t0, 1.0F - turned.t1, 2e-6F) << "trial " << trial;
            ASSERT_NEAR(r.t1, 1.0F - turned.t0, 2e-6F) << "trial " << trial;
            clipped += r.t0 > 0.0F && r.t1 < 1.0F ? 1 : 0;
        }
    }
    EXPECT_GT(clipped, trials / 50);
}

// The exact part of the segment on the inner side of all planes moved inwards by `margin`.
std::pair<double, double> InnerRange(const DiscreteProjectionSpace& space,
                                     const std::array<double, 4>& c0,
                                     const std::array<double, 4>& c1,
                                     double margin) {
    double low = 0.0;
    double high = 1.0;
    for (int plane = 0; plane < kPlanes; ++plane) {
        const double f0 = Inside(space, plane, c0) - margin;
        const double f1 = Inside(space, plane, c1) - margin;
        if (f0 < 0.0 && f1 < 0.0) {
            return {1.0, 0.0};
        }
        if (f0 < 0.0) {
            low = std::max(low, f0 / (f0 - f1));
        } else if (f1 < 0.0) {
            high = std::min(high, f0 / (f0 - f1));
        }
    }
    return {low, high};
}

double LeastInside(const DiscreteProjectionSpace& space,
                   const std::array<double, 4>& c0,
                   const std::array<double, 4>& c1,
                   double t) {
    double least = std::numeric_limits<double>::max();
    for (int plane = 0; plane < kPlanes; ++plane) {
        least =
            std::min(least, (1.0 - t) * Inside(space, plane, c0) + t * Inside(space, plane, c1));
    }
    return least;
}

TEST(ClipEdgeWorld, KeepsExactlyThePartInsideTheView) {
    Random random(23);
    int kept = 0;
    int dropped = 0;
    const int trials = Scaled(20000);
    for (int trial = 0; trial < trials; ++trial) {
        const DiscreteProjectionSpace space = RandomView(random);
        const Vec3 p0 = RandomPoint(random);
        const Vec3 p1 = RandomPoint(random);
        const EdgeResult r = ClipEdge(space, p0, p1);
        const std::array<double, 4> c0 = Widened(Transformed(p0, space.worldToClip));
        const std::array<double, 4> c1 = Widened(Transformed(p1, space.worldToClip));
        constexpr double kMargin = 1e-4;
        const auto [low, high] = InnerRange(space, c0, c1, kMargin);
        if (r.t0 >= r.t1) {
            ++dropped;
            ASSERT_GE(low, high) << "trial " << trial;
            continue;
        }
        ++kept;
        for (const float t : {r.t0, r.t1}) {
            const double inside = LeastInside(space, c0, c1, t);
            ASSERT_GE(inside, -kMargin) << "trial " << trial;
            if (t > 0.0F && t < 1.0F) {
                ASSERT_LE(inside, kMargin) << "trial " << trial;
            }
        }
    }
    EXPECT_GT(kept, trials / 5);
    EXPECT_GT(dropped, trials / 5);
}

} // namespace
