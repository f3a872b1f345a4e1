// Counters of the shortcuts on scenes whose counts are known. Builds without counters say so.
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/TrianglesIntersection.h>
#include <ctr/detail/Statistics.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"
#include "visibility/GridTriangles.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace {

using Counts = std::map<std::string, std::uint64_t>;

Counts ReadCounts() {
    Counts counts;
    for (const ctr::detail::StatisticsEntry& entry : ctr::detail::ReadStatistics()) {
        counts[entry.name] = entry.count;
    }
    return counts;
}

#ifdef CTR_STATS

// The counts of one operation.
template <class Operation> Counts CountsOf(Operation operation) {
    const Counts before = ReadCounts();
    operation();
    Counts counts = ReadCounts();
    for (auto& [name, count] : counts) {
        count -= before.at(name);
    }
    return counts;
}

Counts CountsOfPair(const test_support::GridTriangle& a, const test_support::GridTriangle& b) {
    const ctr::DiscreteProjectionSpace space = test_support::LatticeSpace(8, 8);
    const ctr::BakedTriangles baked = test_support::OnTheGrid(space, {a, b});
    return CountsOf([&] {
        const test_support::SetPointer lines(
            ctr::TrianglesIntersection(baked).computeIntersectionEdges());
    });
}

TEST(Statistics, CountAnIntersectingPair) {
    const Counts counts = CountsOfPair({{{10, 10, 50}, {90, 10, 50}, {50, 90, 50}}},
                                       {{{20, 20, 20}, {80, 30, 20}, {50, 60, 90}}});
    EXPECT_EQ(counts.at("candidate pairs"), 1U);
    EXPECT_EQ(counts.at("pairs tested exactly"), 1U);
    EXPECT_EQ(counts.at("intersections"), 1U);
    EXPECT_EQ(counts.at("intersection edges"), 1U);
}

TEST(Statistics, CountARejectedPair) {
    const Counts counts = CountsOfPair({{{10, 10, 50}, {90, 10, 50}, {50, 90, 50}}},
                                       {{{20, 20, 60}, {80, 30, 60}, {50, 60, 90}}});
    EXPECT_EQ(counts.at("candidate pairs"), 1U);
    EXPECT_EQ(counts.at("pairs rejected by boxes"), 1U);
    EXPECT_EQ(counts.at("pairs tested exactly"), 0U);
    EXPECT_EQ(counts.at("intersections"), 0U);
}

std::size_t SegmentsInView(const kx::kxPointer<ctr::LineSegmentSet>& set) {
    std::size_t count = 0;
    for (const ctr::LineSegmentSet::ClipRange& clip :
         set ? set->clipRanges : std::vector<ctr::LineSegmentSet::ClipRange>{}) {
        count += clip.t0 < clip.t1 ? 1 : 0;
    }
    return count;
}

// Two boxes that intersect.
TEST(Statistics, AddUpInAScene) {
    const auto first = test_support::MakeMesh(test_support::Box({-1, -1, -1}, {1, 1, 1}));
    const auto second = test_support::MakeMesh(test_support::Box({0, 0, 0}, {2, 2, 2}));
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(test_support::SlantedSpace(12, 12, 20.0F));
    generator.setSingleExportCluster({first.get(), second.get()}, nullptr);
    ctr::FeaturesByMesh features;
    const Counts counts =
        CountsOf([&] { ASSERT_TRUE(generator.computeFeaturesByMesh(features, 0, {})); });
    std::size_t segments = 0;
    for (const ctr::MeshFeatures& mesh : features.meshes) {
        segments += SegmentsInView(mesh.silhouetteEdges) + SegmentsInView(mesh.creaseEdges);
    }
    EXPECT_GT(segments, 0U);
    EXPECT_EQ(counts.at("segments of feature edges"), segments);
    EXPECT_GT(counts.at("BVH nodes visited"), 0U);
    EXPECT_GT(counts.at("intersections"), 0U);
    EXPECT_EQ(counts.at("intersection edges"), counts.at("intersections"));
    EXPECT_EQ(counts.at("candidate pairs"),
              counts.at("pairs rejected by boxes") +
                  counts.at("pairs rejected, both being occluded") +
                  counts.at("pairs rejected by planes of the packet") +
                  counts.at("pairs rejected by the plane of the other triangle") +
                  counts.at("pairs tested exactly"));
    EXPECT_LE(counts.at("occluded intervals") +
                  counts.at("triangles rejected by the box of the segment"),
              counts.at("triangles tested for occlusion"));
}

#endif

TEST(Statistics, AreReadIfBuiltIn) {
#ifdef CTR_STATS
    EXPECT_TRUE(ctr::detail::StatisticsAreBuiltIn());
    EXPECT_FALSE(ReadCounts().empty());
#else
    EXPECT_FALSE(ctr::detail::StatisticsAreBuiltIn());
    EXPECT_TRUE(ReadCounts().empty());
#endif
}

} // namespace
