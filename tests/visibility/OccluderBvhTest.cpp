// Nodes and triangles assembled from the scene on each access, as in large scenes, against packed
// copies: every triangle reached with copies is reached without, and results are the same.
#include "visibility/bvh/OccluderBvh.h"

#include "support/ExactFractions.h"
#include "support/Random.h"
#include "support/Scenes.h"
#include "visibility/GridTriangles.h"
#include "visibility/intersections/PairSearch.h"
#include "visibility/occlusion/EdgeOcclusion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using ctr::ItemCounter;
using ctr::OccluderBvh;
using ctr::RationalInterval;
using ctr::SlotTriangle;
using ctr::SlotTriangles;
using test_support::GridTriangle;
using test_support::LatticeSpace;
using test_support::OnTheGrid;
using test_support::PutInSingleLeaves;
using test_support::Random;
using test_support::Scaled;
using test_support::Shuffled;
using test_support::TextOf;

BakedVertex AnyPoint(Random& random, unsigned int bits) {
    const auto any = [&] { return random.below(1 << bits); };
    return {any(), any(), any()};
}

// Small and large triangles, and needles a step or two wide, whose enlarged boxes are much larger
// than their boxes.
std::vector<GridTriangle> MixedTriangles(Random& random, unsigned int bits, int count) {
    std::vector<GridTriangle> triangles;
    while (static_cast<int>(triangles.size()) < count) {
        GridTriangle t{AnyPoint(random, bits), AnyPoint(random, bits), AnyPoint(random, bits)};
        const int kind = random.below(3);
        const auto beside = [&](const BakedVertex& p, int reach) {
            const auto near = [&](std::int32_t c) {
                return std::clamp(c + random.between(-reach, reach), 0, (1 << bits) - 1);
            };
            return BakedVertex{near(p.x), near(p.y), near(p.z)};
        };
        if (kind > 0) {
            t[2] = beside(t[1], kind == 1 ? 2 : 40);
        }
        if (kind > 1) {
            t[0] = beside(t[1], 40);
        }
        if (test_support::TurnCounterClockwise(t)) {
            triangles.push_back(t);
        }
    }
    return triangles;
}

// Triangles on the grid under a BVH of any shape.
struct MixedScene {
    explicit MixedScene(std::uint64_t seed)
        : random(seed), bits(static_cast<unsigned int>(random.between(5, 16))),
          space(LatticeSpace(bits, bits)),
          baked(OnTheGrid(space, MixedTriangles(random, bits, random.between(1, 60)))) {
        PutInSingleLeaves(baked, Shuffled(random, baked.trianglePlanes.size()));
        baked.setContactTolerance(random.percent(50) ? 2 : 0);
    }
    MixedScene(const MixedScene&) = delete;
    MixedScene& operator=(const MixedScene&) = delete;

    Random random;
    unsigned int bits;
    ctr::DiscreteProjectionSpace space;
    BakedTriangles baked;
};

std::vector<std::uint32_t>
SlotsReached(const OccluderBvh& bvh, const BakedVertex& a, const BakedVertex& b) {
    std::vector<std::uint32_t> slots;
    const auto visit = [&](const SlotTriangle& /*triangle*/, std::uint32_t slot) {
        slots.push_back(slot);
        return false;
    };
    bvh.traverse(ctr::SegmentSlabClipper(a, b), ctr::SegmentCoverage(), visit);
    std::sort(slots.begin(), slots.end());
    return slots;
}

TEST(OccluderBvh, ReachWhateverCopiesReachAndLittleElse) {
    const int scenes = Scaled(800);
    std::size_t copied = 0;
    std::size_t gathered = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        MixedScene scene(static_cast<std::uint64_t>(seed));
        ItemCounter work;
        const OccluderBvh copies(scene.baked, work);
        const OccluderBvh gathering(scene.baked, work, 0);
        ASSERT_NE(copies.triangles().copies(), nullptr);
        ASSERT_EQ(gathering.triangles().copies(), nullptr);
        for (int i = 0; i < 20; ++i) {
            const BakedVertex a = AnyPoint(scene.random, scene.bits);
            const BakedVertex b = AnyPoint(scene.random, scene.bits);
            const auto expected = SlotsReached(copies, a, b);
            const auto reached = SlotsReached(gathering, a, b);
            ASSERT_TRUE(
                std::includes(reached.begin(), reached.end(), expected.begin(), expected.end()))
                << "seed " << seed << ", segment " << i;
            copied += expected.size();
            gathered += reached.size();
        }
    }
    EXPECT_GT(copied, static_cast<std::size_t>(20 * scenes));
    EXPECT_LT(static_cast<double>(gathered), 1.1 * static_cast<double>(copied));
}

TEST(OccluderBvh, AreTheTrianglesThatAreCopied) {
    MixedScene scene(7);
    ItemCounter work;
    const SlotTriangles gathered(scene.baked);
    const ctr::TriangleCopies made(gathered, work);
    const SlotTriangles copies(made.all());
    ASSERT_EQ(gathered.size(), scene.baked.trianglePlanes.size());
    ASSERT_EQ(copies.size(), gathered.size());
    EXPECT_EQ(&ctr::TriangleCopies(copies, work).all(), &made.all());
    const auto valuesOf = [](const SlotTriangle& t) {
        const auto& [p, q, r] = t.corners;
        return std::vector<std::int32_t>{p.x, p.y, p.z, q.x, q.y, q.z, r.x, r.y, r.z};
    };
    for (std::size_t slot = 0; slot < gathered.size(); ++slot) {
        EXPECT_EQ(copies[slot].number, scene.baked.bvh.primitives[slot]);
        EXPECT_EQ(gathered[slot].number, copies[slot].number);
        EXPECT_EQ(valuesOf(gathered[slot]), valuesOf(copies[slot]));
    }
}

// What is hidden of random segments, in the open and in clusters.
std::vector<std::string> HiddenOf(const MixedScene& scene, const ctr::OcclusionLimits& limits) {
    Random random(11);
    ItemCounter work;
    ctr::EdgeOcclusion occlusion(scene.baked, limits);
    constexpr std::size_t kMany = 1000;
    occlusion.announce(kMany, work);
    std::vector<std::string> texts;
    for (int i = 0; i < 40; ++i) {
        const BakedVertex a = AnyPoint(random, scene.bits);
        const BakedVertex b = AnyPoint(random, scene.bits);
        std::vector<RationalInterval> hidden;
        occlusion.append(a, b, hidden);
        texts.push_back(TextOf(hidden));
        occlusion.considerDenseSearch(hidden.size(), work);
    }
    if (limits.testsPerTriangle == 0) {
        texts.emplace_back(occlusion.usesDenseSearch() ? "dense" : "");
    }
    return texts;
}

TEST(OccluderBvh, OccludeWhatCopiesOcclude) {
    const int scenes = Scaled(400);
    constexpr std::size_t kEndless = std::size_t{1} << 40;
    std::size_t partly = 0;
    int denseCount = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        const MixedScene scene(static_cast<std::uint64_t>(seed));
        for (const std::size_t tests : {std::size_t{0}, kEndless}) {
            const auto expected = HiddenOf(scene, {tests, 0, 0, 4});
            ASSERT_EQ(HiddenOf(scene, {tests, 0, 0, 4, 0}), expected) << "seed " << seed;
            denseCount += expected.back() == "dense" ? 1 : 0;
            partly += static_cast<std::size_t>(
                std::count_if(expected.begin(), expected.end(), [](const std::string& text) {
                    return !text.empty() && text != "whole" && text != "dense";
                }));
        }
    }
    EXPECT_GT(partly, static_cast<std::size_t>(scenes));
    EXPECT_GT(denseCount, scenes / 4);
}

using Pair = std::tuple<std::uint32_t, std::uint32_t, int, int, bool>;

std::vector<Pair> PairsOf(const MixedScene& scene,
                          const SlotTriangles& triangles,
                          const ctr::PairSearchLimits& limits) {
    ItemCounter work;
    ctr::PairSearch search(
        scene.baked, triangles, [](std::size_t) {}, work, limits);
    std::vector<Pair> pairs;
    for (const ctr::FoundIntersection& found : search.run()) {
        pairs.emplace_back(found.first, found.secondSlot, found.ends[0], found.ends[1],
                           found.grazing);
    }
    return pairs;
}

TEST(OccluderBvh, IntersectAsCopiesDo) {
    const int scenes = Scaled(400);
    std::size_t pairs = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        const MixedScene scene(static_cast<std::uint64_t>(seed));
        ItemCounter work;
        const SlotTriangles gathered(scene.baked);
        const ctr::TriangleCopies copies(gathered, work);
        for (const ctr::PairSearchLimits& limits :
             {ctr::PairSearchLimits(), ctr::PairSearchLimits{0, 0, 4}}) {
            const auto expected = PairsOf(scene, copies.all(), limits);
            ASSERT_EQ(PairsOf(scene, gathered, limits), expected) << "seed " << seed;
            pairs += expected.size();
        }
    }
    EXPECT_GT(pairs, static_cast<std::size_t>(10 * scenes));
}

} // namespace
