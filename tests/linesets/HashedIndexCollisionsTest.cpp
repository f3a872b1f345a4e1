// Positions chosen to collide in one slot of the hash table: the results are the same, in a small
// multiple of the usual time rather than quadratic time.
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/BestTime.h"
#include "support/CollidingPositions.h"
#include "support/LineAgreement.h"
#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::CollidingPositions;
using test_support::Collision;
using test_support::IndicesOf;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::Random;
using test_support::SecondsOf;
using test_support::SetPointer;
using test_support::Surface;
using test_support::Vec3;

constexpr std::size_t kPositions = 80000;

/// The square of the number took a hundred times and more. Trees miss the caches.
constexpr double kMostTimes = 25.0;

std::vector<Vec3> OrdinaryPositions(std::size_t count) {
    Random random(1);
    std::vector<Vec3> positions;
    for (std::size_t i = 0; i < count; ++i) {
        positions.emplace_back(random.uniform(-9, 9), random.uniform(-9, 9), random.uniform(-9, 9));
    }
    return positions;
}

// Every position in two triangles, with a vertex of its own in each; sides are shared by two.
Surface StripOver(const std::vector<Vec3>& positions) {
    std::vector<Vec3> corners;
    std::vector<unsigned int> triangles;
    for (std::size_t i = 0; i + 3 < positions.size(); i += 2) {
        for (const std::size_t corner : {i, i + 1, i + 2, i + 2, i + 1, i + 3}) {
            triangles.push_back(static_cast<unsigned int>(corners.size()));
            corners.push_back(positions[corner]);
        }
    }
    return {MakeVertices(corners), MakeIndices(triangles, kx::IBT_TRIANGLES)};
}

TEST(HashedIndexCollisions, GiveTheCreasesOfAPlainMap) {
    for (const Collision collision : {Collision::kSameHash, Collision::kSameSlot}) {
        for (const std::size_t count : {std::size_t{50}, std::size_t{200}, std::size_t{5000}}) {
            const Surface surface = StripOver(CollidingPositions(count, collision));
            EXPECT_EQ(CompareCreases(surface, 5.0F), "") << count;
        }
    }
}

TEST(HashedIndexCollisions, GiveCreasesInAboutTheUsualTime) {
    const auto secondsOver = [](const std::vector<Vec3>& positions) {
        const Surface surface = StripOver(positions);
        return SecondsOf([&] {
            const test_support::CancelAtQuestion never(test_support::kNever);
            std::vector<ctr::CreaseEdgeInfo> edges;
            EXPECT_TRUE(ctr::ComputeCreaseEdgeInfo(edges, surface.vertices.get(),
                                                   surface.triangles.get(), 5.0F, never));
            EXPECT_FALSE(edges.empty());
        });
    };
    const double usual = secondsOver(OrdinaryPositions(kPositions));
    for (const Collision collision : {Collision::kSameHash, Collision::kSameSlot}) {
        EXPECT_LT(secondsOver(CollidingPositions(kPositions, collision)), kMostTimes * usual);
    }
}

// Segments from one point to all positions, in that order.
SetPointer StarOver(const std::vector<Vec3>& positions, std::size_t stride) {
    std::vector<unsigned int> indices;
    for (std::size_t i = 0; i < positions.size(); i += stride) {
        indices.insert(indices.end(), {0U, static_cast<unsigned int>(i)});
    }
    return MakeSet(positions, indices);
}

TEST(HashedIndexCollisions, LetCommonSegmentsBeFound) {
    test_support::CommonSegmentCounts counts;
    for (const Collision collision : {Collision::kSameHash, Collision::kSameSlot}) {
        const std::vector<Vec3> positions = CollidingPositions(2000, collision);
        const SetPointer a = StarOver(positions, 1);
        const SetPointer b = StarOver(positions, 3);
        EXPECT_EQ(CompareCommonSegments(*a, *b, counts), "");
    }
    EXPECT_EQ(counts.removed, 2 * 667);
}

TEST(HashedIndexCollisions, LetCommonSegmentsBeFoundInAboutTheUsualTime) {
    const auto secondsOver = [](const std::vector<Vec3>& positions) {
        const SetPointer b = StarOver(positions, 2);
        return SecondsOf([&] {
            const SetPointer a = StarOver(positions, 1);
            LineSegmentSet::RemoveCommonSegments(a.get(), b.get());
            EXPECT_EQ(IndicesOf(*a).size(), positions.size());
        });
    };
    const double usual = secondsOver(OrdinaryPositions(kPositions));
    for (const Collision collision : {Collision::kSameHash, Collision::kSameSlot}) {
        EXPECT_LT(secondsOver(CollidingPositions(kPositions, collision)), kMostTimes * usual);
    }
}

} // namespace
