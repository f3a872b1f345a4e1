// Equal calls give equal results to the last bit: repeated, by another generator, between other
// calls, and by a generator that has drawn something else before.
#include "laws/Drawings.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

using laws::Cast;
using laws::CastOf;
using laws::Stage;
using test_support::Describe;
using test_support::RandomScene;
using test_support::Scaled;
using test_support::Scene;

// All that is in a set, in its own order.
struct SetBits {
    bool isNull = true;
    std::vector<std::array<std::uint32_t, 3>> positions;
    std::vector<unsigned int> indices;
    std::vector<std::vector<std::array<long, 4>>> hidden;
    std::vector<std::array<std::uint32_t, 4>> clips;

    bool operator==(const SetBits&) const = default;
};

using DrawingBits = std::array<SetBits, 3>;

SetBits BitsOf(const ctr::LineSegmentSet* set) {
    SetBits bits;
    if (set == nullptr) {
        return bits;
    }
    bits.isNull = false;
    for (const auto& p : test_support::PositionsOf(*set)) {
        bits.positions.push_back(test_support::Bits(p));
    }
    bits.indices = test_support::IndicesOf(*set);
    for (const auto& ranges : set->occlusionIntervals) {
        bits.hidden.push_back(test_support::NumbersOf(ranges));
    }
    for (const auto& clip : set->clipRanges) {
        bits.clips.push_back({test_support::Bits(clip.t0), test_support::Bits(clip.t1),
                              test_support::Bits(clip.w0), test_support::Bits(clip.w1)});
    }
    return bits;
}

DrawingBits BitsOf(const ctr::GeometricFeatures& features) {
    return {BitsOf(features.creaseEdges.get()), BitsOf(features.silhouetteEdges.get()),
            BitsOf(features.intersectionEdges.get())};
}

DrawingBits DrawBits(const Scene& scene, bool removeCommonSegments) {
    const Cast cast = CastOf(scene);
    return BitsOf(Stage(scene.space, cast.drawn, cast.occluders).draw(removeCommonSegments));
}

TEST(DrawingRepetition, GivesTheSameBitsAgain) {
    int lines = 0;
    int pieces = 0;
    for (int trial = 0; trial < Scaled(1500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        Stage stage(scene.space, cast.drawn, cast.occluders);
        Stage other(scene.space, cast.drawn, cast.occluders);
        const DrawingBits bits = BitsOf(stage.draw());
        const DrawingBits without = BitsOf(other.draw(true));
        ASSERT_TRUE(bits == BitsOf(stage.draw())) << Describe(scene);
        ASSERT_TRUE(without == BitsOf(stage.draw(true))) << Describe(scene);
        ASSERT_TRUE(bits == BitsOf(stage.draw())) << Describe(scene);
        ASSERT_TRUE(bits == BitsOf(other.draw())) << Describe(scene);
        lines += static_cast<int>(bits[0].hidden.size());
        pieces += static_cast<int>(bits[2].indices.size() / 2);
    }
    EXPECT_GT(lines, Scaled(15000));
    EXPECT_GT(pieces, Scaled(1000));
}

TEST(DrawingRepetition, WhatAGeneratorDrewBeforeLeavesNoTrace) {
    int different = 0;
    ctr::GeometricFeaturesGenerator generator;
    ctr::GeometricFeatures features;
    for (int trial = 0; trial < Scaled(1500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        const auto occluders = test_support::MeshList(cast.occluders);
        const DrawingBits before = BitsOf(features);
        generator.setProjectionSpace(scene.space);
        generator.setSingleExportCluster(test_support::MeshList(cast.drawn), &occluders);
        generator.computeGeometricFeatures(features, 0, trial % 2 == 0);
        const DrawingBits bits = BitsOf(features);
        ASSERT_TRUE(bits == DrawBits(scene, trial % 2 == 0)) << Describe(scene);
        different += bits == before ? 0 : 1;
    }
    EXPECT_GT(different, Scaled(1400));
}

TEST(DrawingRepetition, GeneratorsThatShareMeshesDrawTheSameAtOnce) {
    for (int trial = 0; trial < Scaled(60); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const DrawingBits bits = DrawBits(scene, false);
        std::array<bool, 3> same{};
        std::vector<std::thread> threads;
        threads.reserve(same.size());
        for (bool& result : same) {
            threads.emplace_back([&] { result = bits == DrawBits(scene, false); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(same, (std::array<bool, 3>{true, true, true})) << Describe(scene);
    }
}

} // namespace
