// Turned, mirrored or shifted scenes give turned, mirrored or shifted drawings, and a line does not
// depend on which of its ends comes first.
//
// Scenes stand on a lattice whose points lie in the middle of their cells and are mapped onto each
// other, within the view: there the grid follows exactly. Creases, silhouettes and what is hidden
// of them then follow exactly too. Intersection lines follow a shift exactly. Their ends are
// rounded down, which a mirror turns into rounding up, so under turns and mirror images they are
// compared pair by pair: exactly where x and y are exchanged, which rounding does not notice,
// unless two ends that are compared are equal; to two steps otherwise.
#include "laws/Drawings.h"
#include "support/Baking.h"
#include "support/ExactIntersections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

namespace {

using laws::Cast;
using laws::CastOf;
using laws::Draw;
using laws::Drawing;
using laws::Line;
using laws::Lines;
using laws::MeshPointer;
using laws::MeshPointers;
using laws::Moved;
using laws::Same;
using laws::Stage;
using test_support::Describe;
using test_support::MeshData;
using test_support::Point;
using test_support::Random;
using test_support::RandomScene;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;
using Space = ctr::DiscreteProjectionSpace;

// --- scenes wholly on the lattice ---

bool IsLatticePoint(const Point& p, const std::array<float, 3>& highest) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float c = p[static_cast<int>(axis)];
        if (!(c >= 0.0F && c <= highest[axis]) || c != std::floor(c)) {
            return false;
        }
    }
    return true;
}

std::array<float, 3> HighestPoint(const Space& space) {
    const auto across = static_cast<float>((1 << space.xyBits) - 2);
    return {across, across, static_cast<float>((1 << space.zBits) - 2)};
}

// Seen through a square lattice view, with every vertex in the middle of a cell.
bool StandsOnTheLattice(const Scene& scene) {
    const Space lattice = test_support::LatticeSpace(scene.space.xyBits, scene.space.zBits);
    if (scene.space.worldToClip != lattice.worldToClip) {
        return false;
    }
    const std::array<float, 3> highest = HighestPoint(scene.space);
    return std::all_of(scene.meshes.begin(), scene.meshes.end(), [&](const MeshPointer& mesh) {
        const auto places = mesh ? laws::PlacesOf(*mesh) : std::vector<Point>();
        return std::all_of(places.begin(), places.end(),
                           [&](const Point& p) { return IsLatticePoint(p, highest); });
    });
}

using GridPoint = std::array<long, 3>;
using GridPieces = std::vector<std::array<GridPoint, 2>>;

// One of the eight turns and mirror images of the screen.
struct Turn {
    bool exchange; ///< x and y, first.
    bool mirrorX;
    bool mirrorY;
    float highest;

    GridPoint operator()(const GridPoint& p) const {
        const auto last = static_cast<long>(highest);
        const long x = exchange ? p[1] : p[0];
        const long y = exchange ? p[0] : p[1];
        return {mirrorX ? last - x : x, mirrorY ? last - y : y, p[2]};
    }

    Point operator()(const Point& p) const {
        const float x = exchange ? p[1] : p[0];
        const float y = exchange ? p[0] : p[1];
        return {mirrorX ? highest - x : x, mirrorY ? highest - y : y, p[2]};
    }
};

Turn TurnOf(int number, const Space& space) {
    return {(number & 1) != 0, (number & 2) != 0, (number & 4) != 0, HighestPoint(space)[0]};
}

struct Counts {
    int scenes = 0;
    int lines = 0;
    int partlyHidden = 0;
    int intersections = 0;
};

void CheckTurn(const Scene& scene, const Turn& turn, Counts& counts) {
    const Cast cast = CastOf(scene);
    Random random(scene.seed);
    Stage stage(scene.space, cast.drawn, cast.occluders);
    const SetPointer chords = laws::RandomChords(random, scene.meshes, 10);
    stage.generator.computeOcclusion(*chords, 0);
    const Drawing drawing = laws::DrawingOf(stage.draw());

    Stage turned(scene.space, Moved(cast.drawn, turn), Moved(cast.occluders, turn));
    std::vector<Point> ends = test_support::PositionsOf(*chords);
    std::transform(ends.begin(), ends.end(), ends.begin(), turn);
    const SetPointer turnedChords = test_support::MakeSet(ends, test_support::IndicesOf(*chords));
    turned.generator.computeOcclusion(*turnedChords, 0);
    const Drawing image = laws::DrawingOf(turned.draw());

    ASSERT_TRUE(Same(Moved(drawing.creases, turn), image.creases)) << Describe(scene);
    ASSERT_TRUE(Same(Moved(drawing.silhouettes, turn), image.silhouettes)) << Describe(scene);
    ++counts.scenes;
    counts.lines += static_cast<int>(drawing.creases.size() + drawing.silhouettes.size());
    counts.partlyHidden += laws::CountPartlyHidden(drawing.creases);
    counts.intersections += static_cast<int>(drawing.intersections.size());
}

TEST(DrawingSymmetry, TurnedAndMirroredScenesGiveTurnedAndMirroredLines) {
    Counts counts;
    for (int trial = 0; trial < Scaled(4000); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        if (StandsOnTheLattice(scene)) {
            ASSERT_NO_FATAL_FAILURE(CheckTurn(scene, TurnOf(1 + trial % 7, scene.space), counts));
        }
    }
    EXPECT_GT(counts.scenes, Scaled(1000));
    EXPECT_GT(counts.lines, Scaled(15000));
    EXPECT_GT(counts.partlyHidden, Scaled(1500));
}

// --- shifts ---

// Lattice points are half a step beyond the start of their cell, where pieces end.
GridPoint GridPointAt(const laws::Place& place) {
    const Point p = laws::PointOf(place);
    return {std::lround(p[0] + 0.5F), std::lround(p[1] + 0.5F), std::lround(p[2] + 0.5F)};
}

// The pieces on the grid, moved there.
template <typename Map> GridPieces OnTheGrid(const Lines& lines, const Map& map) {
    GridPieces pieces;
    for (const Line& line : lines) {
        std::array<GridPoint, 2> ends = {map(GridPointAt(line.ends[0])),
                                         map(GridPointAt(line.ends[1]))};
        std::sort(ends.begin(), ends.end());
        pieces.push_back(ends);
    }
    std::sort(pieces.begin(), pieces.end());
    return pieces;
}

GridPieces OnTheGrid(const Lines& lines) {
    return OnTheGrid(lines, [](const GridPoint& p) { return p; });
}

// Any shift that keeps all vertices within the view.
GridPoint RandomShift(Random& random, const Scene& scene) {
    const std::array<float, 3> highest = HighestPoint(scene.space);
    std::array<float, 3> low = highest;
    std::array<float, 3> high = {0.0F, 0.0F, 0.0F};
    for (const MeshPointer& mesh : scene.meshes) {
        for (const Point& p : mesh ? laws::PlacesOf(*mesh) : std::vector<Point>()) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], p[static_cast<int>(axis)]);
                high[axis] = std::max(high[axis], p[static_cast<int>(axis)]);
            }
        }
    }
    GridPoint shift{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        shift[axis] = random.between(-static_cast<int>(low[axis]),
                                     static_cast<int>(highest[axis] - high[axis]));
    }
    return shift;
}

void CheckShift(const Scene& scene, Counts& counts) {
    const Cast cast = CastOf(scene);
    Random random(scene.seed);
    const GridPoint shift = RandomShift(random, scene);
    const auto move = [&](const Point& p) {
        return p + Point(static_cast<float>(shift[0]), static_cast<float>(shift[1]),
                         static_cast<float>(shift[2]));
    };
    const Drawing drawing = Draw(scene.space, cast.drawn, cast.occluders);
    const Drawing shifted = Draw(scene.space, Moved(cast.drawn, move), Moved(cast.occluders, move));
    ASSERT_TRUE(Same(Moved(drawing.creases, move), shifted.creases)) << Describe(scene);
    ASSERT_TRUE(Same(Moved(drawing.silhouettes, move), shifted.silhouettes)) << Describe(scene);
    const auto moveOnGrid = [&](const GridPoint& p) {
        return GridPoint{p[0] + shift[0], p[1] + shift[1], p[2] + shift[2]};
    };
    ASSERT_EQ(OnTheGrid(drawing.intersections, moveOnGrid), OnTheGrid(shifted.intersections))
        << Describe(scene);
    counts.scenes += shift != GridPoint{} ? 1 : 0;
    counts.partlyHidden += laws::CountPartlyHidden(drawing.creases);
    counts.intersections +=
        shift != GridPoint{} ? static_cast<int>(drawing.intersections.size()) : 0;
}

TEST(DrawingSymmetry, AShiftByWholeStepsShiftsTheDrawing) {
    Counts counts;
    for (int trial = 0; trial < Scaled(4000); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        if (StandsOnTheLattice(scene)) {
            ASSERT_NO_FATAL_FAILURE(CheckShift(scene, counts));
        }
    }
    EXPECT_GT(counts.scenes, Scaled(500));
    EXPECT_GT(counts.partlyHidden, Scaled(1000));
    EXPECT_GT(counts.intersections, Scaled(500));
}

// --- intersection lines, pair by pair ---

// Two triangles on a square lattice.
Scene RandomPair(std::uint64_t seed) {
    Random random(seed);
    Scene scene;
    scene.seed = seed;
    const auto xyBits = static_cast<unsigned int>(random.between(3, 6));
    const auto zBits = static_cast<unsigned int>(random.between(3, 6));
    scene.space = test_support::LatticeSpace(xyBits, zBits);
    const auto any = [&] {
        return Point(static_cast<float>(random.between(0, (1 << xyBits) - 2)),
                     static_cast<float>(random.between(0, (1 << xyBits) - 2)),
                     static_cast<float>(random.between(0, (1 << zBits) - 2)));
    };
    MeshData data;
    for (int i = 0; i < 2; ++i) {
        const Point a = any();
        const Point b = any();
        data.addTriangle(a, b, any());
    }
    scene.meshes.push_back(test_support::MakeMesh(data));
    return scene;
}

Lines IntersectionsOf(const Space& space, const MeshPointers& meshes) {
    return Draw(space, meshes).intersections;
}

bool HasTie(const Space& space, const MeshPointers& meshes) {
    const ctr::BakedTriangles baked = test_support::Bake(space, test_support::MeshList(meshes));
    test_support::IntersectionCounts counts;
    if (baked.trianglePlanes.size() == 2) {
        test_support::IntersectionOf(baked, 0, 1, counts);
    }
    return counts.ties > 0;
}

TEST(DrawingSymmetry, ExchangingXAndYExchangesIntersectionLines) {
    int intersections = 0;
    int tied = 0;
    for (int trial = 0; trial < Scaled(20000); ++trial) {
        const Scene scene = RandomPair(static_cast<std::uint64_t>(trial));
        const Turn exchange = TurnOf(1, scene.space);
        const MeshPointers image = Moved(scene.meshes, exchange);
        if (HasTie(scene.space, scene.meshes) || HasTie(scene.space, image)) {
            ++tied;
            continue;
        }
        const GridPieces pieces = OnTheGrid(IntersectionsOf(scene.space, scene.meshes), exchange);
        ASSERT_EQ(pieces, OnTheGrid(IntersectionsOf(scene.space, image))) << Describe(scene);
        intersections += static_cast<int>(pieces.size());
    }
    EXPECT_GT(intersections, Scaled(2000));
    EXPECT_LT(tied, Scaled(20000) / 4);
}

long Longest(const GridPieces& pieces) {
    long longest = 0;
    for (const auto& [p, q] : pieces) {
        longest = std::max({longest, std::labs(p[0] - q[0]), std::labs(p[1] - q[1])});
    }
    return longest;
}

bool AreNear(const GridPoint& p, const GridPoint& q) {
    return std::labs(p[0] - q[0]) <= 2 && std::labs(p[1] - q[1]) <= 2;
}

TEST(DrawingSymmetry, TurnsAndMirrorImagesMoveIntersectionLinesByAtMostTwoSteps) {
    int intersections = 0;
    for (int trial = 0; trial < Scaled(20000); ++trial) {
        const Scene scene = RandomPair(static_cast<std::uint64_t>(trial));
        const Turn turn = TurnOf(1 + trial % 7, scene.space);
        const GridPieces image = OnTheGrid(IntersectionsOf(scene.space, scene.meshes), turn);
        const GridPieces turned =
            OnTheGrid(IntersectionsOf(scene.space, Moved(scene.meshes, turn)));
        if (std::min(image.size(), turned.size()) == 0) { // rounded away, perhaps in one of them
            ASSERT_LE(std::max(Longest(image), Longest(turned)), 2) << Describe(scene);
            continue;
        }
        ASSERT_EQ(image.size(), 1U) << Describe(scene);
        ASSERT_EQ(turned.size(), 1U) << Describe(scene);
        const auto& [p, q] = image[0];
        const auto& [r, s] = turned[0];
        ASSERT_TRUE((AreNear(p, r) && AreNear(q, s)) || (AreNear(p, s) && AreNear(q, r)))
            << testing::PrintToString(image) << ' ' << testing::PrintToString(turned) << '\n'
            << Describe(scene);
        ++intersections;
    }
    EXPECT_GT(intersections, Scaled(2000));
}

// --- ends turned round ---

using ClipRange = ctr::LineSegmentSet::ClipRange;

// Whether the view was met in a point. The parameters of both its ends are then the same but for
// rounding, which decides whether the segment is in the view at all, perhaps another way when it is
// turned round.
bool MeetsTheViewInAPoint(const ClipRange& clip) {
    return std::abs(clip.t1 - clip.t0) < 0x1p-20F;
}

struct EndCounts {
    int clipped = 0;
    int partlyHidden = 0;
    int inAPoint = 0;
};

SetPointer TurnedRound(const ctr::LineSegmentSet& set) {
    std::vector<unsigned int> indices = test_support::IndicesOf(set);
    for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
        std::swap(indices[i], indices[i + 1]);
    }
    return test_support::MakeSet(test_support::PositionsOf(set), indices);
}

void CheckTurnedRound(const ctr::LineSegmentSet& set,
                      const ctr::LineSegmentSet& turned,
                      const Scene& scene,
                      EndCounts& counts) {
    for (std::size_t i = 0; i < set.occlusionIntervals.size(); ++i) {
        const ClipRange& clip = set.clipRanges[i];
        const ClipRange& other = turned.clipRanges[i];
        const laws::RangeValues hidden = laws::ValuesOf(set.occlusionIntervals[i]);
        if ((clip.t0 < clip.t1) != (other.t0 < other.t1)) {
            ++counts.inAPoint;
            ASSERT_TRUE(MeetsTheViewInAPoint(clip.t0 < clip.t1 ? clip : other))
                << "chord " << i << '\n'
                << Describe(scene);
            continue;
        }
        ASSERT_EQ(laws::Mirrored(hidden), laws::ValuesOf(turned.occlusionIntervals[i]))
            << "chord " << i << '\n'
            << Describe(scene);
        counts.clipped += clip.t0 < clip.t1 && (clip.t0 > 0.0F || clip.t1 < 1.0F) ? 1 : 0;
        counts.partlyHidden += !hidden.empty() && hidden != laws::WholeLine() ? 1 : 0;
    }
}

TEST(DrawingSymmetry, TurningTheEndsOfALineRoundChangesNoVisiblePoint) {
    EndCounts counts;
    for (int trial = 0; trial < Scaled(5000); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        Random random(scene.seed);
        Stage stage(scene.space, cast.drawn, cast.occluders);
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 30);
        const SetPointer turned = TurnedRound(*chords);
        stage.generator.computeOcclusion(*chords, 0);
        stage.generator.computeOcclusion(*turned, 0);
        ASSERT_NO_FATAL_FAILURE(CheckTurnedRound(*chords, *turned, scene, counts));
    }
    RecordProperty("inAPoint", counts.inAPoint);
    EXPECT_GT(counts.clipped, Scaled(5000));
    EXPECT_GT(counts.partlyHidden, Scaled(5000));
    EXPECT_LE(counts.inAPoint, 5 + Scaled(5000) / 100);
}

} // namespace
