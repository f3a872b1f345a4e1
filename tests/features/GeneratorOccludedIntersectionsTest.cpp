// The generator skips intersections that are certainly occluded. Its results in large scenes are
// compared with testing every pair of triangles, bit for bit, also on coarse grids, where rounding
// moves ends the farthest.
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/TrianglesIntersection.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "visibility/GridTriangles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace {

using ctr::BakedVertex;
using test_support::GridTriangle;
using test_support::Point;
using test_support::Random;
using test_support::Scaled;
using test_support::SetPointer;

struct Grid {
    unsigned int xyBits;
    unsigned int zBits;
    int across() const { return (1 << xyBits) - 1; }
    int deep() const { return (1 << zBits) - 1; }
};

// About a place, within a reach, between two depths.
GridTriangle RandomTriangle(Random& random, const Grid& grid, int reach, int nearest, int deepest) {
    const int x = random.below(grid.across());
    const int y = random.below(grid.across());
    const int z = random.between(nearest, deepest);
    GridTriangle triangle;
    for (BakedVertex& corner : triangle) {
        const auto near = [&](int c, int least, int most) {
            return std::clamp(c + random.between(-reach, reach), least, most);
        };
        corner = {near(x, 0, grid.across()), near(y, 0, grid.across()), near(z, nearest, deepest)};
    }
    return triangle;
}

// A cluster behind some large triangles, which intersect as well.
std::vector<GridTriangle> RandomCluster(Random& random, const Grid& grid, std::size_t count) {
    const int front = grid.deep() / 3;
    std::vector<GridTriangle> triangles;
    for (int i = random.between(2, 6); i > 0; --i) {
        triangles.push_back(RandomTriangle(random, grid, grid.across(), 0, front));
    }
    const int reach = std::max(2, grid.across() / random.between(15, 50));
    while (triangles.size() < count) {
        triangles.push_back(RandomTriangle(random, grid, reach, front / 2, grid.deep()));
    }
    triangles.erase(
        std::remove_if(triangles.begin(), triangles.end(),
                       [](GridTriangle& t) { return !test_support::TurnCounterClockwise(t); }),
        triangles.end());
    return triangles;
}

std::vector<std::array<std::uint32_t, 3>> PiecesOf(const SetPointer& set) {
    std::vector<std::array<std::uint32_t, 3>> points;
    if (set) {
        for (const auto& [p, q] : test_support::EndsOf(*set)) {
            points.push_back(test_support::Bits(p));
            points.push_back(test_support::Bits(q));
        }
    }
    return points;
}

// So many that the generator lays the triangles out.
void ComputeAllOcclusion(ctr::GeometricFeaturesGenerator& generator) {
    const std::vector<Point> ends(2, Point(1, 1, 1));
    std::vector<unsigned int> indices(200);
    std::iota(indices.begin(), indices.end(), 0U);
    std::transform(indices.begin(), indices.end(), indices.begin(),
                   [](unsigned int i) { return i % 2; });
    generator.computeOcclusion(*test_support::MakeSet(ends, indices), 0);
}

/// A generator with a cluster on a grid.
struct Cluster {
    Cluster(Random& random, const Grid& grid)
        : space(test_support::LatticeSpace(grid.xyBits, grid.zBits)) {
        const std::vector<GridTriangle> triangles = RandomCluster(random, grid, 4400);
        generator.setProjectionSpace(space);
        generator.setSingleExportCluster({}, nullptr);
        test_support::PutOnGrid(baked(), triangles);
        test_support::PutInSingleLeaves(baked(), test_support::Shuffled(random, triangles.size()));
    }
    ctr::BakedTriangles& baked() { return generator.getBakedTriangles(0); }

    ctr::DiscreteProjectionSpace space;
    ctr::GeometricFeaturesGenerator generator;
};

/// Counts steps.
class Asked : public kx::kxProgressNotifierInterface {
public:
    bool isCanceled() const override { return false; }
    void setTotal(double /*steps*/) override {}
    void getRange(double& start, double& end) const override {
        start = 0.0;
        end = 1.0;
    }
    void advance(double /*steps*/) override { ++steps; }

    long steps = 0;
};

void CheckClusters(int clusters, unsigned int tolerance, std::size_t leastPieces) {
    long tried = 0;
    long looked = 0;
    std::size_t pieces = 0;
    for (int seed = 0; seed < clusters; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        constexpr std::array<Grid, 4> kGrids = {{{7, 9}, {9, 7}, {12, 12}, {19, 20}}};
        Cluster cluster(random, kGrids[static_cast<std::size_t>(random.below(4))]);
        cluster.baked().setContactTolerance(tolerance);
        Asked everywhere;
        ctr::TrianglesIntersection all(cluster.baked());
        all.setProgressNotifier(&everywhere);
        const SetPointer expected(all.computeIntersectionEdges());
        ComputeAllOcclusion(cluster.generator);
        Asked whereSeen;
        cluster.generator.setProgressNotifier(&whereSeen);
        const SetPointer found(cluster.generator.computeIntersectionEdges(0));

        ASSERT_EQ(PiecesOf(found), PiecesOf(expected)) << "seed " << seed;
        const auto triangles = static_cast<long>(cluster.baked().trianglePlanes.size());
        tried += everywhere.steps - triangles;
        looked += whereSeen.steps - triangles;
        pieces += PiecesOf(found).size() / 2;
    }
    EXPECT_GT(pieces, leastPieces);
    EXPECT_LT(looked, tried * 9 / 10);
}

TEST(GeneratorOccludedIntersections, AreLeftOutAndNothingElse) {
    CheckClusters(std::max(3, Scaled(12)), 0, 500);
}

TEST(GeneratorOccludedIntersections, AreLeftOutAndNothingElseWithinAnyTolerance) {
    CheckClusters(std::max(3, Scaled(6)), 2, 200);
    CheckClusters(std::max(3, Scaled(6)), 9, 100);
}

TEST(GeneratorOccludedIntersections, AreFoundWhenTheyAreWanted) {
    Random random(1);
    Cluster cluster(random, {12, 12});
    SetPointer expectedHidden;
    const SetPointer expected(
        ctr::TrianglesIntersection(cluster.baked()).computeIntersectionEdges(&expectedHidden));
    ComputeAllOcclusion(cluster.generator);
    SetPointer hidden;
    const SetPointer found(cluster.generator.computeIntersectionEdges(0, &hidden));
    EXPECT_EQ(PiecesOf(found), PiecesOf(expected));
    EXPECT_EQ(PiecesOf(hidden), PiecesOf(expectedHidden));
    EXPECT_GT(PiecesOf(hidden).size(), 100U);
}

} // namespace
