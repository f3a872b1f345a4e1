// The effect of a contact tolerance on occluded intervals: it removes some and changes nothing
// else.
#include "laws/Drawings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using laws::Cast;
using laws::CastOf;
using laws::Intervals;
using laws::MeshPointers;
using laws::Stage;
using test_support::Describe;
using test_support::Random;
using test_support::RandomScene;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;

std::vector<Intervals> HiddenOf(const ctr::LineSegmentSet& chords,
                                const Scene& scene,
                                const MeshPointers& drawn,
                                const MeshPointers& occluders,
                                unsigned int tolerance) {
    const SetPointer set =
        test_support::MakeSet(test_support::PositionsOf(chords), test_support::IndicesOf(chords));
    Stage(scene.space, drawn, occluders, tolerance).generator.computeOcclusion(*set, 0);
    return set->occlusionIntervals;
}

/// Asserts that each list lies within its counterpart; returns how many are smaller.
int CheckWithin(const std::vector<Intervals>& less,
                const std::vector<Intervals>& more,
                const Scene& scene) {
    int smaller = 0;
    for (std::size_t i = 0; i < more.size(); ++i) {
        EXPECT_TRUE(laws::IsWithin(less.at(i), more[i])) << "chord " << i << '\n'
                                                         << Describe(scene);
        smaller += laws::IsWithin(more[i], less[i]) ? 0 : 1;
    }
    return smaller;
}

TEST(DrawingContactTolerance, ALargerOneNeverHidesMore) {
    int smaller = 0;
    for (int trial = 0; trial < Scaled(1500) && !testing::Test::HasFailure(); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        Random random(scene.seed);
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 30);
        auto before = HiddenOf(*chords, scene, cast.drawn, cast.occluders, 0);
        for (const unsigned int tolerance : {1U, 2U, 4U}) {
            auto after = HiddenOf(*chords, scene, cast.drawn, cast.occluders, tolerance);
            smaller += CheckWithin(after, before, scene);
            before = std::move(after);
        }
    }
    EXPECT_GT(smaller, Scaled(1500));
}

TEST(DrawingContactTolerance, OneMoreOccluderNeverReveals) {
    int moreHidden = 0;
    for (int trial = 0; trial < Scaled(1500) && !testing::Test::HasFailure(); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Scene other = RandomScene(static_cast<std::uint64_t>(trial) + 100000U);
        const Cast cast = CastOf(scene);
        Random random(scene.seed);
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 30);
        const auto tolerance = static_cast<unsigned int>(random.between(1, 3));
        const auto before = HiddenOf(*chords, scene, cast.drawn, cast.occluders, tolerance);
        const auto after = HiddenOf(*chords, scene, cast.drawn,
                                    laws::Together(cast.occluders, CastOf(other).drawn), tolerance);
        moreHidden += CheckWithin(before, after, scene);
    }
    EXPECT_GT(moreHidden, Scaled(1000));
}

// Counted from the other end, the ranges are those of the line.
TEST(DrawingContactTolerance, TurningTheEndsOfALineRoundChangesNothingOnTheGrid) {
    int ranges = 0;
    for (int trial = 0; trial < Scaled(3000); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        Random random(scene.seed);
        Stage stage(scene.space, scene.meshes, {}, static_cast<unsigned int>(random.between(1, 3)));
        const ctr::BakedTriangles& baked = stage.generator.getBakedTriangles(0);
        const auto any = [&] {
            return baked.vertices[static_cast<std::size_t>(
                random.below(static_cast<int>(baked.vertices.size())))];
        };
        for (int i = 0; i < 10 && !baked.vertices.empty(); ++i) {
            const ctr::BakedVertex a = any();
            const ctr::BakedVertex b = any();
            if (std::max(a.x, b.x) > 64) { // a vertex outside the view
                continue;
            }
            const auto query = [&](const ctr::BakedVertex& from, const ctr::BakedVertex& to) {
                Intervals found;
                baked.computeOcclusionIntervals(from, to, found);
                ctr::IntervalTools::FuseOverlappingIntervals(found);
                return laws::ValuesOf(found);
            };
            const laws::RangeValues forward = query(a, b);
            ASSERT_EQ(laws::Mirrored(query(b, a)), forward) << Describe(scene);
            ranges += static_cast<int>(forward.size());
        }
    }
    EXPECT_GT(ranges, Scaled(3000));
}

} // namespace
