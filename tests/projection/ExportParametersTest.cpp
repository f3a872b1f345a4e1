// The page: fitting the view onto it, and world units per millimetre.
#include <ctr/ExportParameters.h>

#include <Wm4Foundation.h>

#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

using ctr::DiscreteProjectionSpace;
using ctr::ExportParameters;
using test_support::Random;
using test_support::Scaled;
using Matrix = Wm4::Matrix4<float>;
using Vec2 = Wm4::Vector2<float>;

std::uint32_t Bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

std::array<std::uint32_t, 4> Bits(const std::array<float, 4>& m) {
    return {Bits(m[0]), Bits(m[1]), Bits(m[2]), Bits(m[3])};
}

// A view of fx by fy world units for each NDC unit.
DiscreteProjectionSpace ViewOfSize(float fx, float fy) {
    Matrix toClip(false);
    Matrix toWorld(false);
    toClip[0][0] = 1.0F / fx;
    toClip[1][1] = 1.0F / fy;
    toWorld[0][0] = fx;
    toWorld[1][1] = fy;
    DiscreteProjectionSpace space;
    space.setViewProjection(toClip, toWorld);
    space.updateRatios();
    return space;
}

TEST(ExportParameters, StartsWithTheViewCentredOnA4InPortrait) {
    const ExportParameters page((DiscreteProjectionSpace()));
    EXPECT_EQ(page.pageSizeInMM, Vec2(210.0F, 297.0F));
    EXPECT_EQ(page.pageTransform, (std::array<float, 4>{105.0F, 0.0F, 0.0F, 105.0F}));
    EXPECT_EQ(page.pageOffset, Vec2(105.0F, 148.5F));
}

TEST(ExportParameters, AWideViewFillsTheWidth) {
    const ExportParameters page(ViewOfSize(2.0F, 1.0F));
    EXPECT_EQ(page.pageTransform, (std::array<float, 4>{105.0F, 0.0F, 0.0F, 52.5F}));
    EXPECT_EQ(page.pageOffset, Vec2(105.0F, 148.5F));
}

TEST(ExportParameters, ATallViewFillsTheHeight) {
    const ExportParameters page(ViewOfSize(1.0F, 4.0F));
    EXPECT_EQ(page.pageTransform, (std::array<float, 4>{37.125F, 0.0F, 0.0F, 148.5F}));
    EXPECT_EQ(page.pageOffset, Vec2(105.0F, 148.5F));
}

TEST(ExportParameters, TakesTheWholeProjectionSpaceAndKeepsItsOwnCopy) {
    DiscreteProjectionSpace space = ViewOfSize(2.0F, 1.0F);
    ASSERT_TRUE(space.setVoxelBitSize(12, 9));
    const ExportParameters page(space);
    space.setViewProjection(Matrix(false), Matrix(false));
    ASSERT_TRUE(space.setVoxelBitSize(4, 4));
    EXPECT_EQ(page.xyBits, 12U);
    EXPECT_EQ(page.zBits, 9U);
    EXPECT_EQ(page.clipToWorld[0][0], 2.0F);
    EXPECT_EQ(page.voxelScale[0], 4095.0F / 2.0F);
    EXPECT_EQ(page.computeFrustumSizeXY(), Vec2(2.0F, 1.0F));
}

TEST(ExportParameters, ProjectionOperationsWorkOnThePageObject) {
    ExportParameters page((DiscreteProjectionSpace()));
    EXPECT_TRUE(page.setVoxelBitSize(3, 3));
    ctr::BakedVertex b0{};
    ctr::BakedVertex b1{};
    float w0 = 0.0F;
    float w1 = 0.0F;
    const auto t = page.clipEdgeWorld(Wm4::Vector3<float>(-1.0F, 0.0F, 0.0F),
                                      Wm4::Vector3<float>(3.0F, 0.0F, 0.0F), b0, b1, w0, w1);
    EXPECT_EQ(t.first, 0.0F);
    EXPECT_EQ(t.second, 0.5F);
    EXPECT_EQ(b1.x, 7);
}

TEST(SetPageSizeInMM, AloneDoesNotChangeTheMap) {
    ExportParameters page((DiscreteProjectionSpace()));
    const std::array<float, 4> transform = page.pageTransform;
    const Vec2 offset = page.pageOffset;
    page.setPageSizeInMM(Vec2(297.0F, 210.0F));
    EXPECT_EQ(page.pageSizeInMM, Vec2(297.0F, 210.0F));
    EXPECT_EQ(page.pageTransform, transform);
    EXPECT_EQ(page.pageOffset, offset);
}

TEST(SetPageSizeInMM, TakesEffectWithTheNextFit) {
    ExportParameters page((DiscreteProjectionSpace()));
    page.setPageSizeInMM(Vec2(297.0F, 210.0F));
    page.computeBestFitTransform();
    EXPECT_EQ(page.pageTransform, (std::array<float, 4>{105.0F, 0.0F, 0.0F, 105.0F}));
    EXPECT_EQ(page.pageOffset, Vec2(148.5F, 105.0F));
}

TEST(ComputeBestFitTransform, OnATieTheWidthIsFilled) {
    // Both branches agree but for rounding; look for views in which the rounding shows.
    Random random(40);
    int shown = 0;
    for (int i = 0; i < 20000; ++i) {
        const float width = random.uniform(100.0F, 300.0F);
        const float height = random.uniform(100.0F, 300.0F);
        const float scale = random.uniform(0.01F, 3.0F);
        const float fx = width * scale;
        const float fy = height * scale;
        const float sy = fy / fx * (width / 2.0F);
        if (height / fy == width / fx && sy != height / 2.0F) {
            ExportParameters page(ViewOfSize(fx, fy));
            page.setPageSizeInMM(Vec2(width, height));
            page.computeBestFitTransform();
            ASSERT_EQ(Bits(page.pageTransform), Bits({width / 2.0F, 0.0F, 0.0F, sy}));
            ++shown;
        }
    }
    EXPECT_GT(shown, 0);
}

TEST(ComputeBestFitTransform, FollowsItsFormulaBitForBit) {
    Random random(41);
    int tall = 0;
    const int trials = Scaled(3000);
    for (int trial = 0; trial < trials; ++trial) {
        const float fx = random.uniform(0.1F, 10.0F);
        const float fy = random.uniform(0.1F, 10.0F);
        ExportParameters page(ViewOfSize(fx, fy));
        const float width = random.uniform(50.0F, 1200.0F);
        const float height = random.uniform(50.0F, 1200.0F);
        page.pageTransform = {1.0F, 2.0F, 3.0F, 4.0F};
        page.setPageSizeInMM(Vec2(width, height));
        page.computeBestFitTransform();
        const bool fillsWidth = height / fy >= width / fx;
        tall += fillsWidth ? 0 : 1;
        const float sx = fillsWidth ? width / 2.0F : fx / fy * (height / 2.0F);
        const float sy = fillsWidth ? fy / fx * (width / 2.0F) : height / 2.0F;
        ASSERT_EQ(Bits(page.pageTransform), Bits({sx, 0.0F, 0.0F, sy})) << "trial " << trial;
        ASSERT_EQ(page.pageOffset, Vec2(width / 2.0F, height / 2.0F)) << "trial " << trial;
    }
    EXPECT_GT(tall, trials / 10);
    EXPECT_LT(tall, trials - trials / 10);
}

TEST(GetWorldUnitsPerMM, IsTheWidthOfTheViewOverTheWidthOfThePage) {
    const ExportParameters page((DiscreteProjectionSpace()));
    EXPECT_EQ(Bits(page.getWorldUnitsPerMM()), Bits(2.0F / 210.0F));
}

TEST(GetWorldUnitsPerMM, IsMeasuredOnTheNearPlane) {
    // w = z: a unit of NDC is slope * depth long; the near plane lies at depth 1.
    const ExportParameters page(test_support::PerspectiveSpace(10, 10, 0.5F, 1.0F, 3.0F));
    EXPECT_NEAR(page.computeFrustumSizeXY()[0], 0.75F, 1e-6F);
    EXPECT_NEAR(page.getWorldUnitsPerMM() * 210.0F, 1.0F, 1e-6F);
}

TEST(GetWorldUnitsPerMM, FollowsTheMapThatTheCallerSet) {
    ExportParameters page((DiscreteProjectionSpace()));
    page.setPageSizeInMM(Vec2(100.0F, 100.0F));
    page.pageTransform = {0.0F, -50.0F, 50.0F, 0.0F}; // a quarter turn; det is 2500
    EXPECT_EQ(page.getWorldUnitsPerMM(), 2.0F / 100.0F);
    page.pageTransform = {-50.0F, 0.0F, 0.0F, 50.0F}; // mirrored; det is negative
    EXPECT_EQ(page.getWorldUnitsPerMM(), 2.0F / 100.0F);
}

TEST(GetWorldUnitsPerMM, IsZeroForASingularMap) {
    ExportParameters page((DiscreteProjectionSpace()));
    page.pageTransform = {0.0F, 0.0F, 0.0F, 0.0F};
    EXPECT_EQ(page.getWorldUnitsPerMM(), 0.0F);
    page.pageTransform = {2.0F, 4.0F, 1.0F, 2.0F};
    EXPECT_EQ(page.getWorldUnitsPerMM(), 0.0F);
}

TEST(GetWorldUnitsPerMM, ADeterminantAtTheToleranceCountsAsSingular) {
    const float tolerance = Wm4::Math<float>::ZERO_TOLERANCE;
    ExportParameters page((DiscreteProjectionSpace()));
    for (const float sign : {1.0F, -1.0F}) {
        page.pageTransform = {sign * tolerance, 0.0F, 0.0F, 1.0F};
        EXPECT_EQ(page.getWorldUnitsPerMM(), 0.0F);
        page.pageTransform[0] = sign * std::nextafter(tolerance, 1.0F);
        EXPECT_GT(page.getWorldUnitsPerMM(), 0.0F);
    }
}

TEST(GetWorldUnitsPerMM, APointAtInfinityIsReplacedByTheLargestNumber) {
    DiscreteProjectionSpace space;
    Matrix toWorld(false);
    toWorld[2][3] = 1.0F; // the fourth component is z + 1: zero on the near plane
    space.setViewProjection(Matrix(false), toWorld);
    EXPECT_EQ(ExportParameters(space).getWorldUnitsPerMM(), 0.0F); // both points are
    toWorld[0][3] = 1.0F; // x + z + 1: zero for the first point only
    space.setViewProjection(Matrix(false), toWorld);
    EXPECT_EQ(ExportParameters(space).getWorldUnitsPerMM(), std::numeric_limits<float>::infinity());
}

Wm4::Vector3<float> OnNearPlane(const Matrix& m, float x, float y) {
    std::array<float, 4> c{};
    for (int i = 0; i < 4; ++i) {
        c[static_cast<std::size_t>(i)] = x * m[0][i] + y * m[1][i] + -1.0F * m[2][i] + m[3][i];
    }
    return {c[0] / c[3], c[1] / c[3], c[2] / c[3]};
}

TEST(GetWorldUnitsPerMM, FollowsItsFormulaBitForBit) {
    Random random(42);
    for (int trial = 0; trial < Scaled(3000); ++trial) {
        DiscreteProjectionSpace space;
        Matrix toWorld(false);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                toWorld[i][j] += random.uniform(-0.3F, 0.3F);
            }
        }
        space.setViewProjection(Matrix(false), toWorld);
        ExportParameters page(space);
        const float width = random.uniform(50.0F, 500.0F);
        page.setPageSizeInMM(Vec2(width, 100.0F));
        for (float& entry : page.pageTransform) {
            entry = random.uniform(-100.0F, 100.0F);
        }
        const auto [a, b, c, d] = page.pageTransform;
        const float det = a * d - b * c;
        const Wm4::Vector3<float> p0 = OnNearPlane(toWorld, 0.0F, 0.0F);
        const Wm4::Vector3<float> p1 = OnNearPlane(toWorld, d * width / det, -c * width / det);
        const float x = p1[0] - p0[0];
        const float y = p1[1] - p0[1];
        const float z = p1[2] - p0[2];
        const float expected = std::sqrt(x * x + y * y + z * z) / width;
        ASSERT_EQ(Bits(page.getWorldUnitsPerMM()), Bits(expected)) << "trial " << trial;
    }
}

} // namespace
