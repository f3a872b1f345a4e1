// Where the search for intersections and for what hides them takes shortcuts, against brute force:
// many triangles and few intersections, many intersections, slivers that rounding makes longer,
// spans that end side by side. Pieces are compared in their order: by the first triangle, then by
// the leaf slot of the second.
#include <ctr/TrianglesIntersection.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/BestTime.h"
#include "support/Differences.h"
#include "support/ExactIntersections.h"
#include "support/SceneAgreement.h"
#include "support/ScreenBins.h"
#include "visibility/GridTriangles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using test_support::BakedMeshes;
using test_support::DifferenceOf;
using test_support::GridPiece;
using test_support::GridTriangle;
using test_support::Intersection;
using test_support::IntersectionCounts;
using test_support::IntersectionPieces;
using test_support::LatticeSpace;
using test_support::MeshData;
using test_support::OnTheGrid;
using test_support::Point;
using test_support::PutInSingleLeaves;
using test_support::Random;
using test_support::Scaled;
using test_support::ScreenBox;
using test_support::SegmentBits;
using test_support::SetPointer;
using test_support::Shuffled;
using test_support::TurnCounterClockwise;

std::vector<GridTriangle> TrianglesOf(const BakedTriangles& baked) {
    std::vector<GridTriangle> triangles(baked.trianglePlanes.size());
    for (std::size_t i = 0; i < 3 * triangles.size(); ++i) {
        triangles[i / 3][i % 3] = baked.vertices[baked.triangleIndices[i]];
    }
    return triangles;
}

// A plain double loop over all pairs that are near each other, the second by its slot.
IntersectionPieces PiecesInOrder(const BakedTriangles& baked, IntersectionCounts& counts) {
    const test_support::ScreenBins bins(TrianglesOf(baked), baked.projectionSpace->xyBits);
    std::vector<unsigned int> slotOf(baked.trianglePlanes.size());
    for (unsigned int slot = 0; slot < slotOf.size(); ++slot) {
        slotOf[baked.bvh.primitives[slot]] = slot;
    }
    const auto near = [&](const ScreenBox& box) {
        std::vector<unsigned int> found = bins.trianglesNear(box);
        std::sort(found.begin(), found.end(),
                  [&](unsigned int a, unsigned int b) { return slotOf[a] < slotOf[b]; });
        return found;
    };
    return PiecesOfIntersections(baked, near, counts);
}

std::vector<SegmentBits> WorldBits(const ctr::DiscreteProjectionSpace& space,
                                   const std::vector<GridPiece>& pieces) {
    std::vector<SegmentBits> bits;
    bits.reserve(pieces.size());
    for (const GridPiece& piece : pieces) {
        bits.push_back(test_support::SortedWorldBits(space, {piece}).front());
    }
    return bits;
}

std::vector<SegmentBits> LaneMaskOf(const SetPointer& set) {
    std::vector<SegmentBits> bits;
    if (set) {
        for (const auto& [p, q] : test_support::EndsOf(*set)) {
            const auto a = test_support::Bits(p);
            const auto b = test_support::Bits(q);
            bits.push_back({a[0], a[1], a[2], b[0], b[1], b[2]});
        }
    }
    return bits;
}

std::string CompareInOrder(const BakedTriangles& baked, IntersectionCounts& counts) {
    const IntersectionPieces expected = PiecesInOrder(baked, counts);
    SetPointer hidden;
    const SetPointer visible(ctr::TrianglesIntersection(baked).computeIntersectionEdges(&hidden));
    const ctr::DiscreteProjectionSpace& space = *baked.projectionSpace;
    return DifferenceOf("visible pieces", LaneMaskOf(visible), WorldBits(space, expected.visible)) +
           DifferenceOf("hidden pieces", LaneMaskOf(hidden), WorldBits(space, expected.hidden));
}

// --- many triangles ---

// Three in ten triangles of a mesh are left out.
void Perforate(Random& random, MeshData& data) {
    std::vector<unsigned int> kept;
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        if (!random.percent(30)) {
            kept.insert(kept.end(), {data.indices[i], data.indices[i + 1], data.indices[i + 2]});
        }
    }
    data.indices = kept;
}

// Sheets with holes, of cells of a given side, under each other, so far apart that they do not
// meet.
std::vector<MeshData> Sheets(Random& random, int sheets, int cells, int side) {
    std::vector<MeshData> data;
    for (int i = 0; i < sheets; ++i) {
        const int level = 40 * (i + 1);
        data.push_back(test_support::GridOfQuads(
            cells, cells, [&](int, int) { return static_cast<float>(level + random.below(12)); }));
        Perforate(random, data.back());
        for (Point& p : data.back().positions) {
            p.X() = p.X() * static_cast<float>(side) + static_cast<float>(5 * i);
            p.Y() = p.Y() * static_cast<float>(side) + static_cast<float>(7 * i);
        }
    }
    return data;
}

// A triangle about a place on the screen that reaches through some of the sheets.
MeshData Spike(Random& random, int across, int reach, int deep) {
    const auto corner = [&](int x, int y) {
        const auto near = [&](int c) {
            return static_cast<float>(std::clamp(c + random.between(-reach, reach), 0, across));
        };
        return Point(near(x), near(y), static_cast<float>(random.below(deep)));
    };
    const int x = random.below(across);
    const int y = random.below(across);
    const Point a = corner(x, y);
    const Point b = corner(x, y);
    return test_support::Triangle(a, b, corner(x, y));
}

void CheckSheets(int scenes, int reach, IntersectionCounts& counts) {
    constexpr int kCells = 12;
    constexpr int kSide = 16;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const int sheets = random.between(1, 3);
        std::vector<MeshData> data = Sheets(random, sheets, kCells, kSide);
        for (int i = random.between(1, 2); i > 0; --i) {
            data.insert(data.begin() + random.below(static_cast<int>(data.size()) + 1),
                        Spike(random, kCells * kSide, reach, 40 * (sheets + 1)));
        }
        const BakedMeshes scene(data, LatticeSpace(8, 8));
        ASSERT_EQ(CompareInOrder(scene.baked, counts), "") << "seed " << seed;
    }
    EXPECT_EQ(counts.atOwnTriangle, 0);
}

// Two triangles that intersect, each in a leaf of its own, either first.
void CheckThePair(const ctr::DiscreteProjectionSpace& space, GridTriangle a, GridTriangle b) {
    ASSERT_TRUE(TurnCounterClockwise(a) && TurnCounterClockwise(b));
    for (const std::vector<unsigned int>& order :
         {std::vector<unsigned int>{0, 1}, std::vector<unsigned int>{1, 0}}) {
        BakedTriangles baked = OnTheGrid(space, {a, b});
        PutInSingleLeaves(baked, order);
        IntersectionCounts counts;
        EXPECT_EQ(CompareInOrder(baked, counts), "") << "first " << order[0];
        EXPECT_EQ(counts.intersections, 1);
    }
}

TEST(PairSearch, APlaneThatReachesOneStepIntoABoxIsTestedAgainstIt) {
    CheckThePair(LatticeSpace(5, 5), {{{10, 10, 1}, {11, 10, 1}, {10, 11, 1}}},
                 {{{4, 4, 0}, {22, 14, 2}, {10, 20, 2}}});
}

// Floats have every 64th number here: the boxes of the leaves are rounded away from each other.
TEST(PairSearch, BoxesThatFloatsSeparateAreTestedAgainstEachOther) {
    constexpr std::int32_t kFar = 1 << 29;
    CheckThePair(LatticeSpace(14, 30),
                 {{{100, 100, kFar + 10}, {1100, 100, kFar + 31}, {100, 1100, kFar + 31}}},
                 {{{100, 90, kFar + 40}, {1100, 120, kFar + 20}, {150, 1200, kFar + 20}}});
}

// The first corners are one step apart, and one number in floats.
TEST(PairSearch, CornersThatAreEqualAsFloatsAreDistinguished) {
    constexpr std::int32_t kFar = 1 << 29;
    CheckThePair(LatticeSpace(14, 30), {{{100, 100, kFar}, {1100, 100, kFar}, {100, 1100, kFar}}},
                 {{{100, 100, kFar + 1}, {16000, 8000, kFar - 2000}, {8000, 16000, kFar - 2000}}});
}

TEST(PairSearch, FewIntersectionsOfSheetsOfManyTriangles) {
    const int scenes = Scaled(50);
    IntersectionCounts counts;
    CheckSheets(scenes, 10, counts);
    EXPECT_GT(counts.intersections, scenes);
    EXPECT_LT(counts.intersections, 8 * scenes); // a few in a thousand triangles
    EXPECT_GE(counts.partlyHidden, scenes / 15);
}

TEST(PairSearch, ManyIntersectionsOfSheetsOfManyTriangles) {
    const int scenes = Scaled(40);
    IntersectionCounts counts;
    CheckSheets(scenes, 150, counts);
    EXPECT_GT(counts.intersections, 10 * scenes);
    EXPECT_GT(counts.partlyHidden, scenes / 4);
}

TEST(PairSearch, OverlappingTrianglesUnderShuffledTrees) {
    const int scenes = Scaled(20);
    IntersectionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const auto bits = static_cast<unsigned int>(random.between(4, 10));
        const ctr::DiscreteProjectionSpace space = LatticeSpace(bits, 8);
        std::vector<GridTriangle> triangles;
        for (int i = random.between(20, 60); i > 0; --i) {
            const auto any = [&] { return random.below(1 << bits); };
            GridTriangle t{};
            for (BakedVertex& v : t) {
                v = {any(), any(), random.below(256)};
            }
            if (TurnCounterClockwise(t)) {
                triangles.push_back(t);
            }
        }
        BakedTriangles baked = OnTheGrid(space, triangles);
        PutInSingleLeaves(baked, Shuffled(random, triangles.size()));
        ASSERT_EQ(CompareInOrder(baked, counts), "") << "seed " << seed;
    }
    EXPECT_GT(counts.intersections, 100 * scenes);
    EXPECT_GT(counts.partlyHidden, 20 * scenes);
    EXPECT_EQ(counts.atOwnTriangle, 0);
}

// --- slivers ---

struct Line {
    BakedVertex from;
    BakedVertex to;
};

// Two triangles that intersect along a line of the grid at depth z, level along it.
void AddIntersectionAlong(const Line& line, std::vector<GridTriangle>& triangles) {
    for (const int lift : {-3, 3}) {
        const BakedVertex& a = line.from;
        const BakedVertex& b = line.to;
        const std::int32_t midX = (a.x + b.x) / 2;
        const std::int32_t midY = (a.y + b.y) / 2;
        const std::int32_t asideX = (a.y - b.y) / 16;
        const std::int32_t asideY = (b.x - a.x) / 16;
        // One corner a bit off each end on one side of the line, the third on the other side.
        GridTriangle t{{{a.x - asideX, a.y - asideY, a.z - lift},
                        {b.x - asideX, b.y - asideY, b.z - lift},
                        {midX + asideX, midY + asideY, a.z + lift}}};
        if (TurnCounterClockwise(t)) {
            triangles.push_back(t);
        }
    }
}

// Twice the area is 1 to 3, the length some hundreds. The longer axis points at the middle part of
// the line and ends up to its own length away from there.
bool AddSliver(Random& random, const Line& line, std::vector<GridTriangle>& triangles) {
    const long along = random.between(100, 600);
    const long across = random.between(-600, 600);
    const auto share = static_cast<double>(random.between(20, 80)) / 100.0;
    const auto at = [share](std::int32_t a, std::int32_t b) {
        return static_cast<std::int32_t>(a + share * (b - a));
    };
    const std::array<long, 2> beside =
        test_support::PointBesideLine(along, across, random.between(1, 3));
    const int gap = random.between(0, 30);
    const int way = random.percent(50) ? 1 : -1;
    const auto point = [&](long x, long y, int depth) {
        const double aside = gap / 30.0;
        const auto stepX = static_cast<long>(aside * static_cast<double>(along));
        const auto stepY = static_cast<long>(aside * static_cast<double>(across));
        return BakedVertex{
            static_cast<std::int32_t>(at(line.from.x, line.to.x) + way * (stepX + x)),
            static_cast<std::int32_t>(at(line.from.y, line.to.y) + way * (stepY + y)), depth};
    };
    const auto depth = [&] { return random.percent(70) ? random.below(400) : random.below(1000); };
    const int first = depth();
    const int second = random.percent(50) ? first : depth();
    GridTriangle t{{point(0, 0, first), point(along, across, second),
                    point(beside[0], beside[1], random.percent(50) ? first : depth())}};
    const bool isInside = std::all_of(t.begin(), t.end(), [](const BakedVertex& v) {
        return std::min(v.x, v.y) >= 0 && std::max(v.x, v.y) < 4096;
    });
    if (isInside && TurnCounterClockwise(t)) {
        triangles.push_back(t);
    }
    return isInside;
}

// Whether a segment on the screen comes nowhere within some steps of a triangle's box.
bool PassesBy(const BakedVertex& a, const BakedVertex& b, const GridTriangle& t, double steps) {
    double enter = 0.0;
    double leave = 1.0;
    const ScreenBox box = test_support::BoxOf(t);
    const auto narrow = [&](double from, double to, double low, double high) {
        if (from == to) {
            leave = from < low || from > high ? -1.0 : leave;
            return;
        }
        const double p = (low - from) / (to - from);
        const double q = (high - from) / (to - from);
        enter = std::max(enter, std::min(p, q));
        leave = std::min(leave, std::max(p, q));
    };
    narrow(a.x, b.x, box.lowX - steps, box.highX + steps);
    narrow(a.y, b.y, box.lowY - steps, box.highY + steps);
    return enter > leave;
}

// How many triangles seem to hide some of the intersection of the first two though they are well
// beside it.
int HidersBeside(const BakedTriangles& baked) {
    IntersectionCounts counts;
    const auto intersection = test_support::IntersectionOf(baked, 0, 1, counts);
    if (!intersection) {
        return 0;
    }
    const BakedVertex& a = intersection->first.point;
    const BakedVertex& b = intersection->second.point;
    const ScreenBox near = test_support::BoxOf(a, b).grownBy(1);
    const std::vector<GridTriangle> triangles = TrianglesOf(baked);
    int found = 0;
    for (unsigned int i = 2; i < triangles.size(); ++i) {
        found += test_support::BoxOf(triangles[i]).meets(near) &&
                         PassesBy(a, b, triangles[i], 6.0) &&
                         HiddenOfIntersection(baked, *intersection, i)
                     ? 1
                     : 0;
    }
    return found;
}

TEST(PairSearch, SliversThatRoundingMakesLongerHideWhatTheySeemTo) {
    const int scenes = Scaled(150);
    const ctr::DiscreteProjectionSpace space = LatticeSpace(12, 10);
    IntersectionCounts counts;
    int beside = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        std::vector<GridTriangle> triangles;
        const auto any = [&] { return random.between(300, 3700); };
        const Line line{{any(), any(), 500}, {any(), any(), 500}};
        AddIntersectionAlong(line, triangles);
        for (int i = 0; triangles.size() < 40 && i < 200; ++i) {
            AddSliver(random, line, triangles);
        }
        BakedTriangles baked = OnTheGrid(space, triangles);
        PutInSingleLeaves(baked, Shuffled(random, triangles.size()));
        beside += HidersBeside(baked);
        ASSERT_EQ(CompareInOrder(baked, counts), "") << "seed " << seed;
    }
    RecordProperty("hiders_beside", beside);
    EXPECT_GT(beside, scenes / 10);
    EXPECT_GT(counts.intersections, scenes);
    EXPECT_GT(counts.hiddenRanges, scenes);
}

// --- spans that end side by side ---

BakedVertex Moved(const BakedVertex& p, const std::array<int, 3>& by, int times) {
    return {p.x + times * by[0], p.y + times * by[1], p.z + times * by[2]};
}

// Two triangles with a common line along `along`: the span of one ends at a point, that of the
// other begins within a few steps of there.
std::vector<GridTriangle> SpansSideBySide(Random& random, int across) {
    const auto upTo = [&](int n) { return random.between(-n, n); };
    const int far = across / 16;
    std::array<int, 3> along{0, 0, 0};
    switch (random.below(4)) {
    case 0:
        along[0] = 1;
        break;
    case 1:
        along[1] = 1;
        break;
    case 2:
        along = {1, upTo(1), 0};
        break;
    default:
        along = {upTo(7), upTo(7), 0};
    }
    const std::array<int, 3> steep{upTo(far), upTo(far), random.between(1, far)};
    const std::array<int, 3> level{upTo(far), upTo(far), 0};
    const BakedVertex middle{across / 2 + upTo(far), across / 2 + upTo(far), across / 2};
    const BakedVertex beside{middle.x + upTo(6), middle.y + upTo(6), middle.z};
    GridTriangle intersecting{
        Moved(middle, steep, random.between(1, 3)),
        Moved(Moved(middle, steep, -random.between(1, 3)), along, upTo(3)),
        Moved(Moved(middle, along, random.between(1, far / 8)), steep, upTo(1))};
    GridTriangle intersection{Moved(beside, level, random.between(1, 3)),
                              Moved(Moved(beside, level, -random.between(1, 3)), along, upTo(3)),
                              Moved(beside, along, -random.between(1, far / 8))};
    const int tiltX = upTo(1);
    const int tiltY = upTo(1);
    std::vector<GridTriangle> triangles;
    for (GridTriangle& t : {std::ref(intersecting), std::ref(intersection)}) {
        for (BakedVertex& v : t) {
            v.z += tiltX * (v.x - middle.x) + tiltY * (v.y - middle.y);
        }
        if (TurnCounterClockwise(t)) {
            triangles.push_back(t);
        }
    }
    return triangles;
}

TEST(PairSearch, SpansThatEndSideBySideOnOneLine) {
    const int pairs = Scaled(8000);
    IntersectionCounts counts;
    for (int seed = 0; seed < pairs; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const unsigned int bits = seed % 2 == 0 ? 10 : 19;
        const ctr::DiscreteProjectionSpace space = LatticeSpace(bits, bits);
        const auto triangles = SpansSideBySide(random, 1 << bits);
        if (triangles.size() < 2) {
            continue;
        }
        const BakedTriangles baked = OnTheGrid(space, triangles);
        IntersectionCounts ofPair;
        const auto intersection = test_support::IntersectionOf(baked, 0, 1, ofPair);
        counts.intersections += intersection ? 1 : 0;
        counts.apart += ofPair.apart;
        counts.ties += ofPair.ties;
        ASSERT_EQ(CompareIntersections(baked, ofPair), "") << "seed " << seed;
    }
    RecordProperty("intersections", counts.intersections);
    RecordProperty("apart", counts.apart);
    RecordProperty("ties", counts.ties);
    EXPECT_GT(counts.intersections, pairs / 8);
    EXPECT_GT(counts.apart, pairs / 8);
    EXPECT_GT(counts.ties, pairs / 10);
}

// --- clusters ---

// A box of some steps across that all triangles of a cluster are in.
struct ClusterBox {
    int left;
    int bottom;
    int nearest;
    int across;
    int deep;

    BakedVertex any(Random& random) const {
        return {left + random.below(across + 1), bottom + random.below(across + 1),
                nearest + random.below(deep + 1)};
    }
    BakedVertex held(const BakedVertex& p) const {
        return {std::clamp(p.x, left, left + across), std::clamp(p.y, bottom, bottom + across),
                std::clamp(p.z, nearest, nearest + deep)};
    }
};

using AnyTriangle = std::function<GridTriangle()>;

// Corners anywhere, many of them on the border.
AnyTriangle Soup(Random& random, const ClusterBox& box, int percentOnBorder) {
    return [&random, box, percentOnBorder] {
        GridTriangle t{};
        for (BakedVertex& p : t) {
            p = box.any(random);
            if (random.percent(percentOnBorder)) {
                std::int32_t& place = random.percent(50) ? p.x : p.y;
                const int least = &place == &p.x ? box.left : box.bottom;
                place = random.percent(50) ? least : least + box.across;
            }
        }
        return t;
    };
}

// One triangle again and again, each corner moved by some steps.
AnyTriangle NearlyOne(Random& random, const ClusterBox& box, int steps) {
    const GridTriangle one{box.any(random), box.any(random), box.any(random)};
    return [&random, box, one, steps] {
        GridTriangle t = one;
        for (BakedVertex& p : t) {
            const auto step = [&] { return random.between(-steps, steps); };
            p = box.held({p.x + step(), p.y + step(), p.z + step()});
        }
        return t;
    };
}

// Nearly in one plane, which may be inclined.
AnyTriangle Stack(Random& random, const ClusterBox& box) {
    const int perX = random.between(-1, 1);
    const int perY = random.between(-1, 1);
    return [&random, box, perX, perY] {
        GridTriangle t{};
        for (BakedVertex& p : t) {
            p = box.any(random);
            p.z = box.nearest + box.deep / 2 + random.below(3) + perX * (p.x - box.left) +
                  perY * (p.y - box.bottom);
            p = box.held(p);
        }
        return t;
    };
}

AnyTriangle AnyCluster(Random& random, const ClusterBox& box) {
    switch (random.below(6)) {
    case 0:
        return NearlyOne(random, box, random.below(4));
    case 1:
        return Stack(random, box);
    case 2:
        return Soup(random, box, 40);
    default:
        return Soup(random, box, 0);
    }
}

ClusterBox AnyClusterBox(Random& random, const ctr::DiscreteProjectionSpace& space) {
    const int across = random.between(3, 20);
    const int lastColumn = (1 << space.xyBits) - 1;
    const int lastStep = (1 << space.zBits) - 1;
    const int deep = random.percent(50) ? random.between(2, 20) : lastStep;
    return {random.below(lastColumn - across + 1), random.below(lastColumn - across + 1),
            random.below(lastStep - deep + 1), across, deep};
}

// A cluster, at times with a triangle behind it that makes the scene large, or in one leaf.
void CheckCluster(Random& random, unsigned int tolerance, IntersectionCounts& counts) {
    const auto bits = static_cast<unsigned int>(random.percent(70) ? 6 : 14);
    const ctr::DiscreteProjectionSpace space = LatticeSpace(bits, 10);
    const ClusterBox box = AnyClusterBox(random, space);
    const AnyTriangle any = AnyCluster(random, box);
    const int last = (1 << bits) - 1;
    std::vector<GridTriangle> triangles;
    for (int i = random.between(70, 90); i > 0; --i) {
        GridTriangle t = any();
        if (TurnCounterClockwise(t)) {
            triangles.push_back(t);
        }
    }
    if (random.percent(30)) {
        triangles.push_back({{{0, 0, 1023}, {last, 0, 1023}, {0, last, 1023}}});
    }
    BakedTriangles baked = OnTheGrid(space, triangles);
    baked.setContactTolerance(tolerance);
    if (random.percent(70)) {
        PutInSingleLeaves(baked, test_support::InOrder(triangles.size()));
    }
    ASSERT_EQ(CompareInOrder(baked, counts), "");
    const SetPointer visible(ctr::TrianglesIntersection(baked).computeIntersectionEdges());
    SetPointer hidden;
    const SetPointer both(ctr::TrianglesIntersection(baked).computeIntersectionEdges(&hidden));
    ASSERT_EQ(LaneMaskOf(visible), LaneMaskOf(both));
}

TEST(PairSearch, ManyTrianglesInFewColumnsShowTheNearest) {
    const int scenes = Scaled(60);
    IntersectionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        CheckCluster(random, 0, counts);
        ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
    }
    EXPECT_GT(counts.intersections, 200 * scenes);
    EXPECT_GT(counts.partlyHidden, 5 * scenes);
}

TEST(PairSearch, ManyTrianglesInFewColumnsShowTheNearestWithinAnyTolerance) {
    const int scenes = Scaled(40);
    IntersectionCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        CheckCluster(random, static_cast<unsigned int>(1 + seed % 9), counts);
        ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
    }
    EXPECT_GT(counts.intersections, 200 * scenes);
}

// Seconds for triangles that are nearly one, all in contact: nothing of their intersections is
// drawn.
double SecondsInContact(int count) {
    Random random(1);
    const ctr::DiscreteProjectionSpace space = LatticeSpace(19, 20);
    const ClusterBox box{100000, 100000, 200000, 300000, 200000};
    const AnyTriangle any = NearlyOne(random, box, 1);
    std::vector<GridTriangle> triangles;
    for (int i = 0; i < count; ++i) {
        triangles.push_back(any());
        EXPECT_TRUE(TurnCounterClockwise(triangles.back()));
    }
    BakedTriangles baked = OnTheGrid(space, triangles);
    baked.setContactTolerance(2);
    PutInSingleLeaves(baked, test_support::InOrder(triangles.size()));
    return test_support::SecondsOf(
        [&] { EXPECT_EQ(ctr::TrianglesIntersection(baked).computeIntersectionEdges(), nullptr); });
}

// What hides an intersection is not searched for among all of them. With the search, twice as many
// take eight times as long, without it four times.
TEST(PairSearch, TrianglesInContactTakeTimeByTheirPairs) {
    EXPECT_LT(SecondsInContact(600), 6.0 * SecondsInContact(300));
}

// Seconds for so many triangles anywhere in twenty columns and rows, through all depths.
double SecondsOfSoup(int triangles) {
    constexpr int kAcross = 19;
    Random random(1);
    const ctr::DiscreteProjectionSpace space = LatticeSpace(12, 19);
    const AnyTriangle any = Soup(random, {1000, 1000, 0, kAcross, (1 << 19) - 2}, 0);
    MeshData data;
    for (int i = 0; i < triangles; ++i) {
        const auto corner = [](const BakedVertex& p) {
            return Point(static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z));
        };
        const GridTriangle t = any();
        data.addTriangle(corner(t[0]), corner(t[1]), corner(t[2]));
    }
    const BakedMeshes scene({data}, space);
    return test_support::SecondsOf([&] {
        EXPECT_TRUE(SetPointer(ctr::TrianglesIntersection(scene.baked).computeIntersectionEdges()));
    });
}

// Few triangles hide all of an intersection where columns are few, and margins of some steps leave
// nothing. With each pair examined, and each intersection tested against all triangles near it,
// twice as many take five times as long.
TEST(PairSearch, ManyTrianglesInFewColumnsTakeTimeByTheVisibleOnes) {
    EXPECT_LT(SecondsOfSoup(3000), 4.0 * SecondsOfSoup(1500));
}

} // namespace
