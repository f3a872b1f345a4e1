// Positions are welded in order, even those that were chosen to collide in the hash table.
#include "drawing/scene/SharedVertices.h"
#include "linesets/SegmentBuilders.h"
#include "support/BestTime.h"
#include "support/CollidingPositions.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <numeric>
#include <vector>

namespace {

using kxcontour::Shape;
using test_support::CollidingPositions;
using test_support::Collision;
using test_support::MakeIndices;
using test_support::MakeVertices;
using test_support::Vec3;

// All positions twice, each used by one index.
Shape Twice(std::vector<Vec3> positions) {
    const std::vector<Vec3> once = positions;
    positions.insert(positions.end(), once.begin(), once.end());
    std::vector<unsigned int> indices(positions.size());
    std::iota(indices.begin(), indices.end(), 0U);
    return {MakeVertices(positions), MakeIndices(indices, kx::IBT_TRIANGLES)};
}

void ExpectWelded(const Shape& shape, const std::vector<Vec3>& positions) {
    ASSERT_EQ(shape.vertices->GetVertexQuantity(), static_cast<int>(positions.size()));
    for (std::size_t i = 0; i < positions.size(); ++i) {
        ASSERT_EQ(shape.vertices->Position3(static_cast<int>(i)), positions[i]);
    }
    for (std::size_t i = 0; i < 2 * positions.size(); ++i) {
        ASSERT_EQ(shape.triangles->GetData()[i], i % positions.size());
    }
}

TEST(ShareVertices, NumbersPositionsInOrderWhateverTheyAre) {
    for (const std::size_t count : {std::size_t{1}, std::size_t{128}, std::size_t{1000}}) {
        const std::vector<Vec3> positions = CollidingPositions(count, Collision::kSameHash);
        Shape shape = Twice(positions);
        ShareVertices(shape);
        ExpectWelded(shape, positions);
    }
}

TEST(ShareVertices, OfChosenPositionsTakesAboutTheUsualTime) {
    constexpr std::size_t kPositions = 80000;
    const auto secondsOver = [](const std::vector<Vec3>& positions) {
        return test_support::SecondsOf([&] {
            Shape shape = Twice(positions);
            ShareVertices(shape);
            ExpectWelded(shape, positions);
        });
    };
    std::vector<Vec3> usual;
    for (std::size_t i = 0; i < kPositions; ++i) {
        usual.emplace_back(static_cast<float>(i), static_cast<float>(i % 7), 0.5F);
    }
    EXPECT_LT(secondsOver(CollidingPositions(kPositions, Collision::kSameHash)),
              40.0 * secondsOver(usual));
}

} // namespace
