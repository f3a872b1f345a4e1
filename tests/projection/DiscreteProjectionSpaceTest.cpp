// The grid of the camera: defaults, accepted bit sizes, and the exact ratios.
#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>

#include "projection/ClipReference.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace {

using namespace clip_reference; // everything here is written in its terms
using test_support::Scaled;

constexpr float kFull20 = 1048575.0F;

Matrix Diagonal(float x, float y, float z) {
    Matrix matrix(false);
    matrix[0][0] = x;
    matrix[1][1] = y;
    matrix[2][2] = z;
    return matrix;
}

// A view of fx by fy world units for each NDC unit; the ratios are not updated.
void SetFrustumSize(DiscreteProjectionSpace& space, float fx, float fy) {
    space.setViewProjection(Diagonal(1.0F / fx, 1.0F / fy, 1.0F), Diagonal(fx, fy, 1.0F));
}

Vec3 NdcToWorld(const Vec3& ndc, const Matrix& clipToWorld) {
    const Clip c = Transformed(ndc, clipToWorld);
    return {c[0] / c[3], c[1] / c[3], c[2] / c[3]};
}

float Distance(const Vec3& a, const Vec3& b) {
    const float x = a[0] - b[0];
    const float y = a[1] - b[1];
    const float z = a[2] - b[2];
    return std::sqrt(x * x + y * y + z * z);
}

Wm4::Vector2<float> ExpectedFrustumSize(const DiscreteProjectionSpace& space) {
    const Vec3 o = NdcToWorld(Vec3(0.0F, 0.0F, 0.0F), space.clipToWorld);
    const Vec3 x = NdcToWorld(Vec3(1.0F, 0.0F, 0.0F), space.clipToWorld);
    const Vec3 y = NdcToWorld(Vec3(0.0F, 1.0F, 0.0F), space.clipToWorld);
    return {Distance(x, o), Distance(y, o)};
}

struct Ratios {
    Vec3 scale;
    Vec3 size;
};

Ratios ExpectedRatios(const DiscreteProjectionSpace& space) {
    const Wm4::Vector2<float> f = ExpectedFrustumSize(space);
    const Vec3 d(space.frustumMax[0] - space.frustumMin[0],
                 space.frustumMax[1] - space.frustumMin[1],
                 space.frustumMax[2] - space.frustumMin[2]);
    const float wx = f[0] * d[0];
    const float wy = f[1] * d[1];
    const auto n = static_cast<float>((1U << space.xyBits) - 1U);
    const auto nz = static_cast<float>((1U << space.zBits) - 1U);
    float nx = n;
    float ny = n;
    Vec3 size(d[0] / n, d[1] / n, d[2] / nz);
    if (wx >= wy) {
        ny = wy * n / wx;
        size[1] = ny < 1.0F ? d[1] : d[1] / ny;
        ny = ny < 1.0F ? 1.0F : ny;
    } else {
        nx = wx * n / wy;
        size[0] = nx < 1.0F ? d[0] : d[0] / nx;
        nx = nx < 1.0F ? 1.0F : nx;
    }
    return {Vec3(nx / d[0], ny / d[1], nz / d[2]), size};
}

void ExpectRatios(const DiscreteProjectionSpace& space, const Ratios& expected) {
    EXPECT_EQ(Bits(space.voxelScale), Bits(expected.scale));
    EXPECT_EQ(Bits(space.voxelSize), Bits(expected.size));
}

// ---------------------------------------------------------------------------------------------

TEST(DiscreteProjectionSpace, StartsWithIdentityMatricesAnd20Bits) {
    const DiscreteProjectionSpace space;
    EXPECT_EQ(space.worldToClip, Matrix(false));
    EXPECT_EQ(space.clipToWorld, Matrix(false));
    EXPECT_EQ(space.frustumMin, Vec3(-1.0F, -1.0F, -1.0F));
    EXPECT_EQ(space.frustumMax, Vec3(1.0F, 1.0F, 1.0F));
    EXPECT_EQ(space.xyBits, 20U);
    EXPECT_EQ(space.zBits, 20U);
}

TEST(DiscreteProjectionSpace, StartsWithAFullSquareGrid) {
    const DiscreteProjectionSpace space;
    const float scale = kFull20 / 2.0F;
    const float size = 2.0F / kFull20;
    ExpectRatios(space, {Vec3(scale, scale, scale), Vec3(size, size, size)});
    EXPECT_EQ(space.computeFrustumSizeXY(), Wm4::Vector2<float>(1.0F, 1.0F));
}

TEST(SetVoxelBitSize, RejectsItsOwnDefault) {
    DiscreteProjectionSpace space;
    EXPECT_FALSE(space.setVoxelBitSize(20, 20));
}

TEST(SetVoxelBitSize, AcceptsUpTo59BitsInAll) {
    DiscreteProjectionSpace space;
    EXPECT_TRUE(space.setVoxelBitSize(20, 19));
    EXPECT_EQ(space.xyBits, 20U);
    EXPECT_EQ(space.zBits, 19U);
    EXPECT_EQ(space.voxelScale[2], 524287.0F / 2.0F);
    EXPECT_TRUE(space.setVoxelBitSize(28, 3));
    EXPECT_FALSE(space.setVoxelBitSize(28, 4));
}

TEST(SetVoxelBitSize, RejectsFewerThanTwoBits) {
    DiscreteProjectionSpace space;
    for (const auto& [xy, z] : std::vector<std::pair<unsigned int, unsigned int>>{
             {1, 30}, {0, 30}, {30, 1}, {10, 0}, {1, 1}, {0, 0}}) {
        EXPECT_FALSE(space.setVoxelBitSize(xy, z)) << xy << " " << z;
    }
    EXPECT_TRUE(space.setVoxelBitSize(2, 2));
}

TEST(SetVoxelBitSize, ARejectionChangesNothing) {
    DiscreteProjectionSpace space = SpaceOfBits(7, 5);
    SetFrustumSize(space, 3.0F, 1.0F); // ratios are of the camera before
    const Ratios before{space.voxelScale, space.voxelSize};
    EXPECT_FALSE(space.setVoxelBitSize(20, 20));
    EXPECT_FALSE(space.setVoxelBitSize(1, 4));
    EXPECT_EQ(space.xyBits, 7U);
    EXPECT_EQ(space.zBits, 5U);
    ExpectRatios(space, before);
}

TEST(SetVoxelBitSize, TheLimitIsComputedIn32BitsAndWraps) {
    for (const auto& [xy, z] : std::vector<std::pair<unsigned int, unsigned int>>{
             {0x80000002U, 10U}, {2U, 0xFFFFFFFFU}, {0x7FFFFFFFU, 5U}, {0x80000000U, 59U}}) {
        DiscreteProjectionSpace space;
        EXPECT_TRUE(space.setVoxelBitSize(xy, z)) << xy << " " << z;
        EXPECT_EQ(space.xyBits, xy);
        EXPECT_EQ(space.zBits, z);
    }
    DiscreteProjectionSpace space;
    EXPECT_FALSE(space.setVoxelBitSize(0x80000000U, 60U));
    EXPECT_FALSE(space.setVoxelBitSize(2U, 0xFFFFFFF0U));
}

TEST(SetVoxelBitSize, EveryAcceptedSizeGivesAUsableRatioAndNonNegativeCoordinates) {
    for (const auto& [xy, z] : std::vector<std::pair<unsigned int, unsigned int>>{
             {2U, 31U}, {2U, 32U}, {2U, 33U}, {2U, 55U}, {28U, 3U}, {0x80000002U, 10U}}) {
        const DiscreteProjectionSpace space = SpaceOfBits(xy, z);
        for (int i = 0; i < 3; ++i) {
            EXPECT_GT(space.voxelScale[i], 0.0F);
            EXPECT_TRUE(std::isfinite(space.voxelScale[i]));
        }
        const EdgeResult r = ClipEdge(space, Vec3(-1.0F, -1.0F, -1.0F), Vec3(1.0F, 1.0F, 1.0F));
        EXPECT_EQ(Grid(r.b0), (std::array<int, 3>{0, 0, 0}));
        for (const int top : Grid(r.b1)) {
            EXPECT_GT(top, 0) << xy << " " << z;
        }
    }
}

TEST(SetViewProjection, IsStoredAsGivenWithoutTouchingTheRatios) {
    DiscreteProjectionSpace space;
    const Ratios before{space.voxelScale, space.voxelSize};
    const Matrix a = Diagonal(2.0F, 3.0F, 4.0F);
    const Matrix b = Diagonal(7.0F, 1.0F, 9.0F); // not the inverse: nothing is checked
    space.setViewProjection(a, b);
    EXPECT_EQ(space.worldToClip, a);
    EXPECT_EQ(space.clipToWorld, b);
    ExpectRatios(space, before);
}

TEST(SetViewProjection, RatiosFollowOnUpdateAndOnAcceptedBitSizes) {
    DiscreteProjectionSpace updated;
    SetFrustumSize(updated, 2.0F, 1.0F);
    updated.updateRatios();
    EXPECT_EQ(updated.voxelScale[1], kFull20 / 4.0F);

    DiscreteProjectionSpace resized;
    SetFrustumSize(resized, 2.0F, 1.0F);
    EXPECT_TRUE(resized.setVoxelBitSize(20, 10));
    EXPECT_EQ(resized.voxelScale[1], kFull20 / 4.0F);
}

TEST(SetViewProjection, ACopyKeepsItsOwnCamera) {
    DiscreteProjectionSpace space = SpaceOfBits(9, 9);
    const DiscreteProjectionSpace copy = space;
    SetFrustumSize(space, 5.0F, 1.0F);
    EXPECT_TRUE(space.setVoxelBitSize(4, 4));
    EXPECT_EQ(copy.xyBits, 9U);
    EXPECT_EQ(copy.worldToClip, Matrix(false));
    EXPECT_EQ(copy.voxelScale[0], 511.0F / 2.0F);
}

TEST(UpdateRatios, AWideViewGetsAllColumnsAndUnroundedRows) {
    DiscreteProjectionSpace space;
    SetFrustumSize(space, 2.0F, 1.0F);
    space.updateRatios();
    const float rows = kFull20 / 2.0F; // 524287.5
    ExpectRatios(space, {Vec3(kFull20 / 2.0F, rows / 2.0F, kFull20 / 2.0F),
                         Vec3(2.0F / kFull20, 2.0F / rows, 2.0F / kFull20)});
}

TEST(UpdateRatios, ATallViewGetsAllRowsAndUnroundedColumns) {
    DiscreteProjectionSpace space = SpaceOfBits(5, 4);
    SetFrustumSize(space, 1.0F, 4.0F);
    space.updateRatios();
    const float columns = 31.0F / 4.0F;
    ExpectRatios(space, {Vec3(columns / 2.0F, 31.0F / 2.0F, 15.0F / 2.0F),
                         Vec3(2.0F / columns, 2.0F / 31.0F, 2.0F / 15.0F)});
}

TEST(UpdateRatios, OnATieTheColumnsAreFull) {
    // w * N / w is not always N in floats; only then does the choice show.
    DiscreteProjectionSpace space;
    bool shown = false;
    for (int i = 1; i < 4000 && !shown; ++i) {
        const float f = 1.0F + 0.001F * static_cast<float>(i);
        const float w = f * 2.0F;
        if (w * kFull20 / w != kFull20) {
            SetFrustumSize(space, f, f);
            space.updateRatios();
            EXPECT_EQ(Bits(space.voxelScale[0]), Bits(kFull20 / 2.0F));
            EXPECT_EQ(Bits(space.voxelScale[1]), Bits(w * kFull20 / w / 2.0F));
            shown = true;
        }
    }
    EXPECT_TRUE(shown);
}

TEST(UpdateRatios, TheShorterAxisHasAtLeastOneStep) {
    DiscreteProjectionSpace wide = SpaceOfBits(3, 3);
    SetFrustumSize(wide, 8.0F, 1.0F); // 7 / 8 of a row
    wide.updateRatios();
    ExpectRatios(wide, {Vec3(3.5F, 0.5F, 3.5F), Vec3(2.0F / 7.0F, 2.0F, 2.0F / 7.0F)});
    DiscreteProjectionSpace tall = SpaceOfBits(3, 3);
    SetFrustumSize(tall, 1.0F, 8.0F);
    tall.updateRatios();
    ExpectRatios(tall, {Vec3(0.5F, 3.5F, 3.5F), Vec3(2.0F, 2.0F / 7.0F, 2.0F / 7.0F)});
}

TEST(UpdateRatios, FollowTheirFormulaBitForBit) {
    Random random(11);
    for (int trial = 0; trial < Scaled(4000); ++trial) {
        DiscreteProjectionSpace space;
        Matrix toWorld(false);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                toWorld[i][j] += random.uniform(-0.6F, 0.6F);
            }
        }
        space.setViewProjection(Matrix(false), toWorld);
        if (random.percent(50)) {
            space.frustumMin = Vec3{random.uniform(-2.0F, -0.1F), -0.5F, random.uniform(-1.0F, 0)};
            space.frustumMax = Vec3{random.uniform(0.1F, 2.0F), 0.7F, random.uniform(0.5F, 1.0F)};
        }
        const auto xyBits = static_cast<unsigned int>(random.between(2, 20));
        const auto zBits = static_cast<unsigned int>(random.between(2, 19));
        ASSERT_TRUE(space.setVoxelBitSize(xyBits, zBits));
        const Wm4::Vector2<float> size = space.computeFrustumSizeXY();
        const Wm4::Vector2<float> expected = ExpectedFrustumSize(space);
        ASSERT_EQ(Bits(size[0]), Bits(expected[0])) << "trial " << trial;
        ASSERT_EQ(Bits(size[1]), Bits(expected[1])) << "trial " << trial;
        const Ratios ratios = ExpectedRatios(space);
        ASSERT_EQ(Bits(space.voxelScale), Bits(ratios.scale)) << "trial " << trial;
        ASSERT_EQ(Bits(space.voxelSize), Bits(ratios.size)) << "trial " << trial;
    }
}

TEST(ComputeFrustumSizeXY, IsMeasuredAtDepthZeroOfAPerspectiveView) {
    // w = z: NDC depth 0 lies at 2 n f / (n + f), where a unit of NDC is slope times that long.
    const DiscreteProjectionSpace space = test_support::PerspectiveSpace(10, 10, 0.5F, 1.0F, 3.0F);
    const Wm4::Vector2<float> size = space.computeFrustumSizeXY();
    EXPECT_NEAR(size[0], 0.75F, 1e-6F);
    EXPECT_NEAR(size[1], 0.75F, 1e-6F);
}

} // namespace
