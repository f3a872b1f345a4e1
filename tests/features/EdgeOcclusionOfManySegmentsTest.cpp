// Occluded intervals of line sets with many segments, which the generator computes in one pass, and
// of sets with one, compared with the plain query of the baked triangles for the same clipped ends.
#include <ctr/GeometricFeaturesGenerator.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/ExactFractions.h"
#include "support/ExactOcclusion.h"
#include "support/RandomLines.h"
#include "support/RandomScenes.h"
#include "visibility/GridTriangles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using ctr::GeometricFeaturesGenerator;
using test_support::GridEdge;
using test_support::GridTriangle;
using test_support::LatticeSpace;
using test_support::MakeSet;
using test_support::NumbersOf;
using test_support::Point;
using test_support::PutInSingleLeaves;
using test_support::PutOnGrid;
using test_support::Random;
using test_support::Range;
using test_support::SameValue;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;
using test_support::Text;
using Intervals = std::vector<ctr::RationalInterval>;
using Ends = std::array<Point, 2>;

// The cases that the comparisons have covered, to verify that they have covered enough.
struct Met {
    int visible = 0;
    int partly = 0;
    int wholly = 0;
};

/// The generator's sets against the plain query.
class Comparison {
public:
    Comparison(const ctr::DiscreteProjectionSpace& space,
               GeometricFeaturesGenerator& generator,
               const BakedTriangles* occluders = nullptr)
        : space_(space), generator_(generator), occluders_(occluders) {}

    /// Of segments in one set, with intervals stored before: one list per segment, or none.
    std::string ofSet(const std::vector<Ends>& segments,
                      const std::vector<Intervals>& stored = {}) {
        std::vector<Point> points;
        std::vector<unsigned int> indices;
        for (const Ends& ends : segments) {
            for (const Point& p : ends) {
                indices.push_back(static_cast<unsigned int>(points.size()));
                points.push_back(p);
            }
        }
        const SetPointer set = MakeSet(points, indices);
        set->occlusionIntervals = stored;
        generator_.computeOcclusion(*set, 0);
        std::string text;
        for (std::size_t i = 0; i < segments.size() && text.empty(); ++i) {
            text = differenceOf(set->occlusionIntervals.at(i),
                                plainly(segments[i], stored.empty() ? Intervals() : stored[i]), i);
        }
        return text;
    }

    std::string ofSetsOfOne(const std::vector<Ends>& segments,
                            const std::vector<Intervals>& stored = {}) {
        std::string text;
        for (std::size_t i = 0; i < segments.size() && text.empty(); ++i) {
            text =
                ofSet({segments[i]}, stored.empty() ? stored : std::vector<Intervals>{stored[i]});
        }
        return text;
    }

    /// Takes, from now on, the exact part of each of these triangles instead of the plain query.
    void setExact(const std::vector<GridTriangle>& triangles) { exact_ = &triangles; }

    const Met& met() const { return met_; }

private:
    Intervals plainly(const Ends& ends, Intervals ranges) const {
        BakedVertex a{};
        BakedVertex b{};
        float w[2] = {};
        const auto [t0, t1] = space_.clipEdgeWorld(ends[0], ends[1], a, b, w[0], w[1]);
        if (!(t0 < t1) || (a.x == b.x && a.y == b.y)) {
            return {Range(0, 1, 1, 1)};
        }
        if (exact_ == nullptr) {
            generator_.getBakedTriangles(0).computeOcclusionIntervals(a, b, ranges);
        } else {
            appendExactly(a, b, ranges);
        }
        if (occluders_ != nullptr) {
            occluders_->computeOcclusionIntervals(a, b, ranges);
        }
        ctr::IntervalTools::FuseOverlappingIntervals(ranges);
        return ranges;
    }

    void appendExactly(const BakedVertex& a, const BakedVertex& b, Intervals& ranges) const {
        for (const GridTriangle& t : *exact_) {
            if (const auto hidden = test_support::Meet(t, a, b).hidden) {
                ranges.push_back(*hidden);
            }
        }
    }

    /// The same fractions, but all of a segment may be written in any way.
    std::string differenceOf(const Intervals& found, const Intervals& expected, std::size_t i) {
        const bool isWhole = expected.size() == 1 && SameValue(expected.front(), Range(0, 1, 1, 1));
        ++(isWhole ? met_.wholly : expected.empty() ? met_.visible : met_.partly);
        if (isWhole || exact_ != nullptr ? SameValue(found, expected)
                                         : NumbersOf(found) == NumbersOf(expected)) {
            return {};
        }
        return "segment " + std::to_string(i) + ": " + Text(found) + ", not " + Text(expected);
    }

    const ctr::DiscreteProjectionSpace& space_;
    GeometricFeaturesGenerator& generator_;
    const BakedTriangles* occluders_;
    const std::vector<GridTriangle>* exact_ = nullptr;
    Met met_;
};

// --- random scenes ---

// Between vertices of the meshes, or from somewhere on the way to somewhere else.
std::vector<Ends> RandomSegments(Random& random, const Scene& scene, int count) {
    std::vector<Ends> segments;
    for (int i = 0; i < 4 * count && segments.size() < static_cast<std::size_t>(count); ++i) {
        if (auto ends = RandomWorldEdge(random, scene)) {
            if (random.percent(40)) {
                const Point along = (*ends)[1] - (*ends)[0];
                (*ends)[0] += along * random.uniform(-0.5F, 0.5F);
                (*ends)[1] += along * random.uniform(-0.5F, 0.5F);
            }
            segments.push_back(*ends);
        }
    }
    return segments;
}

std::vector<Intervals> RandomStored(Random& random, std::size_t count) {
    std::vector<Intervals> stored(count);
    for (Intervals& ranges : stored) {
        for (int i = random.below(3); i > 0; --i) {
            ranges.push_back(test_support::RandomRange(random));
        }
    }
    return stored;
}

// Each scene is queried with one set and, baked again, with sets of one segment.
std::string CompareScene(
    Random& random, const Scene& scene, int segmentCount, unsigned int tolerance, Met& met) {
    std::vector<const kx::kxTriMesh*> exported = scene.meshList();
    std::vector<const kx::kxTriMesh*> occluders;
    if (random.percent(40)) {
        const auto middle = exported.begin() + random.below(static_cast<int>(exported.size()));
        occluders.assign(middle, exported.end());
        exported.erase(middle, exported.end());
    }
    GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(scene.space);
    generator.setContactTolerance(tolerance);
    generator.setSingleExportCluster(exported, &occluders);
    BakedTriangles hiders = test_support::Bake(scene.space, occluders);
    hiders.setContactTolerance(tolerance);
    Comparison comparison(scene.space, generator, &hiders);
    const std::vector<Ends> segments = RandomSegments(random, scene, segmentCount);
    const std::vector<Intervals> stored =
        random.percent(30) ? RandomStored(random, segments.size()) : std::vector<Intervals>();
    std::string text = comparison.ofSet(segments, stored);
    generator.getBakedTriangles(0).initialize();
    text += comparison.ofSetsOfOne(segments, stored);
    met.visible += comparison.met().visible;
    met.partly += comparison.met().partly;
    met.wholly += comparison.met().wholly;
    return text;
}

void CheckScenes(int scenes, int others, int segmentCount, unsigned int tolerance = 0) {
    Met met;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        Scene scene = test_support::OverlappingScene(random, random.below(others + 1));
        if (random.percent(30)) {
            ASSERT_TRUE(scene.space.setVoxelBitSize(20, 19));
        }
        ASSERT_EQ(CompareScene(random, scene, segmentCount, tolerance, met), "") << "seed " << seed;
    }
    testing::Test::RecordProperty("visible", met.visible);
    testing::Test::RecordProperty("partly", met.partly);
    testing::Test::RecordProperty("wholly", met.wholly);
    EXPECT_GT(met.visible + met.partly, scenes);
    EXPECT_GT(met.wholly, scenes);
}

TEST(EdgeOcclusionOfManySegments, AreHiddenAsThePlainQuerySays) {
    CheckScenes(Scaled(800), 6, 20);
}

TEST(EdgeOcclusionOfManySegments, AreHiddenAsThePlainQuerySaysInScenesOfThousands) {
    CheckScenes(Scaled(40), 400, 60);
}

TEST(EdgeOcclusionOfManySegments, AreHiddenAsThePlainQuerySaysWithinAnyTolerance) {
    for (const unsigned int tolerance : {1U, 2U, 7U}) {
        CheckScenes(Scaled(300), 6, 20, tolerance);
        CheckScenes(Scaled(15), 400, 60, tolerance);
    }
}

TEST(EdgeOcclusionOfManySegments, AreHeldAgainstWhatIsBakedNow) {
    const kx::kxPointer<kx::kxTriMesh> plate =
        test_support::MakeMesh(test_support::Quad({4, 4, 5}, {12, 4, 5}, {12, 12, 5}, {4, 12, 5}));
    const ctr::DiscreteProjectionSpace space = LatticeSpace(5, 5);
    GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(space);
    generator.setSingleExportCluster({plate.get()}, nullptr);
    Comparison comparison(space, generator);
    const std::vector<Ends> segments(8, Ends{Point(2, 8, 20), Point(22, 8, 20)});
    EXPECT_EQ(comparison.ofSet(segments), "");
    plate->SetWorldTransformation(test_support::ScaleAndMove({1, 1, 1}, {5, 0, 0}));
    generator.getBakedTriangles(0).initialize();
    EXPECT_EQ(comparison.ofSet(segments), "");
    EXPECT_EQ(comparison.ofSetsOfOne(segments), "");
    EXPECT_EQ(comparison.met().partly, 24);
}

// --- triangles on the grid, where boxes are at their tightest ---

/// A generator over triangles of the grid, each in a leaf of its own.
struct OnGrid {
    OnGrid(const ctr::DiscreteProjectionSpace& space,
           const std::vector<GridTriangle>& triangles,
           Random& random) {
        generator.setProjectionSpace(space);
        generator.setSingleExportCluster({}, nullptr);
        BakedTriangles& baked = generator.getBakedTriangles(0);
        PutOnGrid(baked, triangles);
        PutInSingleLeaves(baked, test_support::Shuffled(random, triangles.size()));
    }

    GeometricFeaturesGenerator generator;
};

void Add(std::vector<GridTriangle>& triangles, GridTriangle t) {
    if (test_support::TurnCounterClockwise(t)) {
        triangles.push_back(t);
    }
}

// At the grid points closest to the line on the screen: triangles of which one corner reaches over
// it, less than a millionth of a step deep. They lie at depth 0.
void AddCornersOverLine(Random& random,
                        const GridEdge& line,
                        std::vector<GridTriangle>& triangles) {
    const auto& [a, b] = line;
    const std::int32_t up = b.y < a.y ? -1 : 1;
    for (const int n : {-2, -1, 1, 2}) {
        const auto [u, v] = test_support::PointBesideLine(b.x - a.x, b.y - a.y, n);
        const BakedVertex corner{static_cast<std::int32_t>(a.x + u),
                                 static_cast<std::int32_t>(a.y + v), 0};
        const std::int32_t side = n > 0 ? 1 : -1; // the legs lead over the line
        const std::int32_t leg = random.between(1, 900);
        Add(triangles, {{corner,
                         {corner.x + leg * side * up, corner.y, 0},
                         {corner.x, corner.y - leg * side, 0}}});
    }
}

// Level triangles that end on the screen just where the line, which goes back, dips below them.
void AddEndsOverLine(Random& random, const GridEdge& line, std::vector<GridTriangle>& triangles) {
    const auto& [a, b] = line;
    for (const int n : {-2, -1, 1, 2}) {
        const auto [u, w] = test_support::PointBesideLine(b.x - a.x, b.z - a.z, n);
        const auto x = static_cast<std::int32_t>(a.x + u);
        const auto z = static_cast<std::int32_t>(a.z + w);
        const auto y = static_cast<std::int32_t>(a.y + (long{b.y} - a.y) * u / (b.x - a.x));
        const std::int32_t half = random.between(2, 900);
        const std::int32_t leg = random.percent(50) ? half : -half;
        Add(triangles, {{{x, y - half, z}, {x, y + half, z}, {x + leg, y, z}}});
    }
}

// A line of the grid that goes right, between points of the world, and those points.
GridEdge LineToTheRight(Random& random, const ctr::DiscreteProjectionSpace& space, Ends& ends) {
    const auto highest = static_cast<int>((1U << space.xyBits) - 2000);
    const auto deepest = static_cast<int>((1U << space.zBits) - 2);
    for (Point& p : ends) {
        p = Point(static_cast<float>(random.between(1000, highest)),
                  static_cast<float>(random.between(1000, highest)),
                  static_cast<float>(random.between(deepest / 2, deepest)));
    }
    if (ends[1].X() < ends[0].X()) {
        std::swap(ends[0], ends[1]);
    }
    BakedVertex a{};
    BakedVertex b{};
    float w[2] = {};
    space.clipEdgeWorld(ends[0], ends[1], a, b, w[0], w[1]);
    return {a, b};
}

void CheckCorners(unsigned int xyBits, unsigned int zBits, int lines) {
    const ctr::DiscreteProjectionSpace space = LatticeSpace(xyBits, zBits);
    Met met;
    for (int seed = 0; seed < lines; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        Ends ends;
        const GridEdge line = LineToTheRight(random, space, ends);
        if (line.first.x >= line.second.x || line.first.z == line.second.z) {
            continue;
        }
        std::vector<GridTriangle> triangles;
        if (seed % 2 == 0) {
            AddCornersOverLine(random, line, triangles);
        } else {
            AddEndsOverLine(random, line, triangles);
        }
        OnGrid given(space, triangles, random);
        Comparison comparison(space, given.generator);
        if (zBits > 24) { // which the tree of the plain query does not hold
            comparison.setExact(triangles);
        }
        ASSERT_EQ(comparison.ofSet({ends, Ends{ends[1], ends[0]}}), "") << "seed " << seed;
        met.partly += comparison.met().partly;
    }
    EXPECT_GT(met.partly, lines / 2);
}

TEST(EdgeOcclusionOfManySegments, AreHiddenByCornersThatReachOverThemByNextToNothing) {
    CheckCorners(20, 19, Scaled(4000));
}

TEST(EdgeOcclusionOfManySegments, AreHiddenByCornersOnGridsThatFloatsDoNotHold) {
    CheckCorners(28, 3, Scaled(4000));
    CheckCorners(15, 29, Scaled(4000));
}

// --- large triangles over each other, which hide most segments at a glance ---

std::vector<GridTriangle> LargeTriangles(Random& random, int across, int deep) {
    const auto any = [&] { return random.below(across); };
    std::vector<GridTriangle> triangles;
    for (int i = random.between(1, 12); i > 0; --i) {
        const int z = random.below(deep);
        const int tilt = random.percent(40) ? 0 : random.below(deep);
        const auto depth = [&] { return std::min(deep - 1, z + random.below(tilt + 1)); };
        const GridTriangle t{{{any(), any(), depth()}, {any(), any(), depth()}, {any(), any(), z}}};
        Add(triangles, t);
        if (random.percent(50)) { // its neighbour, which leaves no gap
            Add(triangles, {{t[1], t[0], {any(), any(), depth()}}});
        }
    }
    return triangles;
}

// A point on the side of a triangle or within it, some steps aside and before or behind it.
Point NearTriangle(Random& random, const GridTriangle& t, int across, int deep) {
    const float u = random.unit();
    const float v = random.percent(30) ? 0.0F : random.unit() * (1.0F - u);
    const auto at = [&](std::int32_t a, std::int32_t b, std::int32_t c, int most) {
        const float value = static_cast<float>(a) + u * static_cast<float>(b - a) +
                            v * static_cast<float>(c - a) +
                            static_cast<float>(random.between(-3, 3));
        return std::clamp(std::floor(value), 0.0F, static_cast<float>(most - 1));
    };
    return {at(t[0].x, t[1].x, t[2].x, across), at(t[0].y, t[1].y, t[2].y, across),
            at(t[0].z, t[1].z, t[2].z, deep)};
}

void CheckLargeTriangles(unsigned int xyBits, unsigned int zBits, int scenes) {
    constexpr int kSegments = 30;
    const ctr::DiscreteProjectionSpace space = LatticeSpace(xyBits, zBits);
    const int across = (1 << xyBits) - 1;
    const int deep = (1 << zBits) - 1;
    Met met;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const std::vector<GridTriangle> triangles = LargeTriangles(random, across, deep);
        if (triangles.empty()) {
            continue;
        }
        const auto near = [&] {
            const int t = random.below(static_cast<int>(triangles.size()));
            return NearTriangle(random, triangles[static_cast<std::size_t>(t)], across, deep);
        };
        std::vector<Ends> segments;
        while (segments.size() < kSegments) {
            const Point from = near();
            segments.push_back({from, near()});
        }
        OnGrid given(space, triangles, random);
        Comparison comparison(space, given.generator);
        ASSERT_EQ(comparison.ofSet(segments), "") << "seed " << seed;
        met.partly += comparison.met().partly;
        met.wholly += comparison.met().wholly;
    }
    testing::Test::RecordProperty("partly", met.partly);
    testing::Test::RecordProperty("wholly", met.wholly);
    EXPECT_GT(met.partly, scenes);
    EXPECT_GT(met.wholly, scenes);
}

TEST(EdgeOcclusionOfManySegments, AreHiddenByLargeTrianglesAsThePlainQuerySays) {
    CheckLargeTriangles(7, 5, Scaled(500));
    CheckLargeTriangles(11, 8, Scaled(200));
    CheckLargeTriangles(20, 19, Scaled(200));
}

// --- stretches of one line ---

// Stretches of one line, from ends near multiples of a 64th of it.
std::vector<GridTriangle> Stretches(Random& random, int y, int length) {
    std::vector<GridTriangle> triangles;
    const auto end = [&] {
        const int near = random.between(0, 64) * (length / 64) + random.between(-2, 2);
        return std::clamp(random.percent(60) ? near : random.below(length), 0, length);
    };
    for (int i = random.between(4, 80); i > 0; --i) {
        const int from = end();
        const int reach = random.percent(80) ? random.between(1, length / 16) : length / 3;
        const int to = random.percent(50) ? end() : std::min(length, from + reach);
        const int low = std::min(from, to);
        const int high = std::max(from, to);
        if (high - low < length / 4 || random.percent(10)) {
            const int z = random.below(20);
            Add(triangles, {{{low, y, z}, {high, y, z}, {(low + high) / 2, y + 3, z}}});
        }
    }
    return triangles;
}

TEST(EdgeOcclusionOfManySegments, AreHiddenByStretchesThatEndNearEachOther) {
    constexpr int kLength = 4096;
    const int lines = Scaled(1500);
    const ctr::DiscreteProjectionSpace space = LatticeSpace(13, 6);
    Met met;
    for (int seed = 0; seed < lines; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const std::vector<GridTriangle> triangles = Stretches(random, 100, kLength);
        OnGrid given(space, triangles, random);
        Comparison comparison(space, given.generator);
        const Point left(0, 100, 30);
        const Point right(kLength, 100, 40);
        const Point middle(1000, 100, 30);
        ASSERT_EQ(comparison.ofSet({{left, right}, {right, left}, {left, middle}, {right, middle}}),
                  "")
            << "seed " << seed;
        met.partly += comparison.met().partly;
        met.wholly += comparison.met().wholly;
    }
    EXPECT_GT(met.partly, lines);
    EXPECT_GT(met.wholly, lines / 4);
}

} // namespace
