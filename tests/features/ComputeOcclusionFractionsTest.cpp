// The fractions of occluded intervals: those of the caller are kept, and an entirely occluded
// segment gets 0/1 .. 1/1.
#include <ctr/GeometricFeaturesGenerator.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using test_support::LatticeSpace;
using test_support::MakeSet;
using test_support::NumbersOf;
using test_support::Point;
using test_support::Range;
using test_support::SetPointer;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;
using Ranges = std::vector<ctr::RationalInterval>;
using Numbers = std::vector<std::array<long, 4>>;

MeshPointer Wall(float left, float right) {
    return test_support::MakeMesh(
        test_support::Quad({left, 0, 1}, {right, 0, 1}, {right, 14, 1}, {left, 14, 1}));
}

/// Compares what is hidden of a segment from 2 to 10 that has a list of its own already.
void ExpectHidden(const std::vector<MeshPointer>& walls,
                  const std::vector<MeshPointer>& occluders,
                  const Ranges& own,
                  const Numbers& expected) {
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(LatticeSpace(4, 4));
    const auto hiding = test_support::MeshList(occluders);
    generator.setSingleExportCluster(test_support::MeshList(walls), &hiding);
    const SetPointer set = MakeSet({Point(2, 7, 9), Point(10, 7, 9)}, {0, 1});
    set->occlusionIntervals.assign(1, own);
    generator.computeOcclusion(*set, 0);
    EXPECT_EQ(NumbersOf(set->occlusionIntervals.front()), expected);
}

// A list that was whole used to become 0/1 .. 1/1.
TEST(ComputeOcclusionFractions, OwnListsStayWhereNothingElseHides) {
    const std::vector<Numbers> lists = {
        {{0, 7, 7, 7}}, {{0, 1, 1, 1}}, {{0, 3, 2, 4}}, {{1, 7, 2, 7}, {3, 7, 14, 14}}};
    for (const Numbers& numbers : lists) {
        Ranges own;
        for (const auto& [a, b, c, d] : numbers) {
            own.push_back(Range(a, b, c, d));
        }
        ExpectHidden({}, {}, own, numbers);
        ExpectHidden({Wall(12, 14)}, {Wall(0, 1)}, own, numbers);
    }
}

TEST(ComputeOcclusionFractions, OwnListsAreFusedWhereNothingElseHides) {
    ExpectHidden({}, {}, {Range(1, 2, 7, 7), Range(0, 5, 3, 5)}, {{0, 5, 7, 7}});
    ExpectHidden({}, {}, {Range(4, 6, 5, 6), Range(1, 6, 2, 6)}, {{1, 6, 2, 6}, {4, 6, 5, 6}});
}

TEST(ComputeOcclusionFractions, OwnListsThatAreWholeStayWhereTrianglesHideAPart) {
    ExpectHidden({Wall(4, 8)}, {}, {Range(0, 7, 7, 7)}, {{0, 7, 7, 7}});
    ExpectHidden({}, {Wall(4, 8)}, {Range(0, 7, 7, 7)}, {{0, 7, 7, 7}});
}

TEST(ComputeOcclusionFractions, WhatTrianglesHideAsAWholeIsOneRange) {
    const Numbers whole = {{0, 1, 1, 1}};
    ExpectHidden({Wall(0, 14)}, {}, {}, whole);
    ExpectHidden({}, {Wall(0, 14)}, {}, whole);
    ExpectHidden({Wall(0, 7)}, {Wall(6, 14)}, {}, whole);
    ExpectHidden({Wall(0, 14)}, {}, {Range(0, 7, 7, 7)}, whole);
    ExpectHidden({Wall(0, 7)}, {Wall(6, 14)}, {Range(2, 7, 3, 7)}, whole);
}

} // namespace
