// The effects of occluders on the lines of other meshes, in any scene.
#include <ctr/BakedTriangles.h>

#include "laws/Drawings.h"
#include "support/Baking.h"
#include "support/ExactBaking.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using laws::Cast;
using laws::CastOf;
using laws::Draw;
using laws::Drawing;
using laws::Intervals;
using laws::Line;
using laws::Lines;
using laws::MeshPointer;
using laws::MeshPointers;
using laws::Same;
using laws::Stage;
using laws::Together;
using test_support::Describe;
using test_support::MeshData;
using test_support::Point;
using test_support::Random;
using test_support::RandomScene;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;
using Space = ctr::DiscreteProjectionSpace;

// --- meshes placed by where they are seen ---

// The world point at a place of the view: -1 to 1 across, -1 to 1 from near to far.
Point SeenAt(const Space& space, float x, float y, float z) {
    std::array<float, 4> v{};
    const Wm4::Matrix4<float>& m = space.clipToWorld;
    for (int c = 0; c < 4; ++c) {
        v.at(static_cast<std::size_t>(c)) = x * m[0][c] + y * m[1][c] + z * m[2][c] + m[3][c];
    }
    return {v[0] / v[3], v[1] / v[3], v[2] / v[3]};
}

// Covers the view and more at the depth of a grid step, crossed by both diagonals: what lies on one
// of them is inside a triangle of the other quad.
MeshData Screen(const Space& space, float step) {
    const float z = space.frustumMin[2] + (step + 0.25F) * space.voxelSize[2];
    const std::array<Point, 4> corner = {SeenAt(space, -2, -2, z), SeenAt(space, 2, -2, z),
                                         SeenAt(space, 2, 2, z), SeenAt(space, -2, 2, z)};
    MeshData screen = test_support::Quad(corner[0], corner[1], corner[2], corner[3]);
    screen.append(test_support::Quad(corner[1], corner[2], corner[3], corner[0]));
    return screen;
}

// Triangles anywhere on the screen, between two depths of the view.
MeshData AnyTriangles(Random& random, const Space& space, float nearest, float farthest) {
    MeshData data;
    const auto any = [&] {
        const float x = random.uniform(-1.5F, 1.5F);
        const float y = random.uniform(-1.5F, 1.5F);
        return SeenAt(space, x, y, random.uniform(nearest, farthest));
    };
    for (int i = random.between(1, 6); i > 0; --i) {
        const Point a = any();
        const Point b = any();
        data.addTriangle(a, b, any());
    }
    return data;
}

std::int32_t HighestStep(const Space& space, int axis) {
    return static_cast<std::int32_t>((space.frustumMax[axis] - space.frustumMin[axis]) *
                                     space.voxelScale[axis]);
}

// Baked, a screen reaches every column and row, and lies in the nearest layer.
bool CoversTheGrid(const Space& space, const MeshPointer& screen) {
    const BakedTriangles baked = test_support::Bake(space, {screen.get()});
    std::array<std::array<bool, 2>, 2> reached{};
    for (const unsigned int index : baked.triangleIndices) {
        const BakedVertex& v = baked.vertices[index];
        if (v.z != 0) {
            return false;
        }
        reached[0][0] = reached[0][0] || (v.x == 0 && v.y == 0);
        reached[0][1] = reached[0][1] || (v.x == 0 && v.y == HighestStep(space, 1));
        reached[1][0] = reached[1][0] || (v.x == HighestStep(space, 0) && v.y == 0);
        reached[1][1] =
            reached[1][1] || (v.x == HighestStep(space, 0) && v.y == HighestStep(space, 1));
    }
    return reached[0][0] && reached[0][1] && reached[1][0] && reached[1][1];
}

// The two grid points of a segment; false when it is not in the view.
bool GridEnds(const Space& space,
              const std::pair<Point, Point>& ends,
              BakedVertex& a,
              BakedVertex& b) {
    float w0 = 0.0F;
    float w1 = 0.0F;
    const auto [t0, t1] = space.clipEdgeWorld(ends.first, ends.second, a, b, w0, w1);
    return t0 < t1;
}

std::vector<std::pair<Point, Point>> EndsOf(const ctr::LineSegmentSet* set) {
    return set != nullptr ? test_support::EndsOf(*set) : std::vector<std::pair<Point, Point>>();
}

// --- in front of everything ---

struct FrontCounts {
    int covered = 0;
    int seenBefore = 0;
    int inTheNearestLayer = 0;
    int intersectionsBefore = 0;
};

void CheckCovered(const Scene& scene, const ctr::LineSegmentSet* set, FrontCounts& counts) {
    const auto ends = EndsOf(set);
    for (std::size_t i = 0; i < ends.size(); ++i) {
        BakedVertex a{};
        BakedVertex b{};
        if (GridEnds(scene.space, ends[i], a, b) && a.z == 0 && b.z == 0) {
            ++counts.inTheNearestLayer; // nothing is before it
            continue;
        }
        ++counts.covered;
        ASSERT_EQ(laws::ValuesOf(set->occlusionIntervals[i]), laws::WholeLine())
            << "segment " << i << '\n'
            << Describe(scene);
    }
}

// No intersection line is seen but those on the view's border or in the nearest layer: a line on
// the outline of a triangle is not behind it.
void CheckIntersections(const Scene& scene, const ctr::LineSegmentSet* intersections) {
    for (const auto& [p, q] :
         intersections != nullptr
             ? test_support::EndsOf(*intersections)
             : std::vector<std::pair<test_support::Vec3, test_support::Vec3>>()) {
        const std::array<Point, 2> ends = {p, q};
        std::array<bool, 5> everywhere = {true, true, true, true, true};
        for (const Point& end : ends) {
            const auto clip = test_support::ClipPosition(scene.space, end);
            std::array<long, 3> g{};
            for (int axis = 0; axis < 3; ++axis) {
                g.at(static_cast<std::size_t>(axis)) =
                    std::lround((clip[axis] / clip[3] - scene.space.frustumMin[axis]) *
                                scene.space.voxelScale[axis]);
            }
            everywhere[0] = everywhere[0] && g[0] == 0;
            everywhere[1] = everywhere[1] && g[0] == HighestStep(scene.space, 0);
            everywhere[2] = everywhere[2] && g[1] == 0;
            everywhere[3] = everywhere[3] && g[1] == HighestStep(scene.space, 1);
            everywhere[4] = everywhere[4] && g[2] == 0;
        }
        ASSERT_TRUE(std::find(everywhere.begin(), everywhere.end(), true) != everywhere.end())
            << Describe(scene);
    }
}

TEST(DrawingOccluders, OneInFrontOfEverythingHidesEverything) {
    FrontCounts counts;
    for (int trial = 0; trial < Scaled(2500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const MeshPointer screen = test_support::MakeMesh(Screen(scene.space, 0.0F));
        if (!CoversTheGrid(scene.space, screen)) {
            continue;
        }
        Random random(scene.seed);
        const Drawing before = Draw(scene.space, scene.meshes);
        Stage stage(scene.space, scene.meshes, {screen});
        const ctr::GeometricFeatures features = stage.draw();
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 20);
        stage.generator.computeOcclusion(*chords, 0);
        for (const auto* set :
             {features.creaseEdges.get(), features.silhouetteEdges.get(), chords.get()}) {
            ASSERT_NO_FATAL_FAILURE(CheckCovered(scene, set, counts));
        }
        const ctr::GeometricFeatures drawn =
            Stage(scene.space, Together(scene.meshes, {screen})).draw();
        ASSERT_NO_FATAL_FAILURE(CheckIntersections(scene, drawn.intersectionEdges.get()));
        counts.seenBefore +=
            static_cast<int>(std::count_if(before.creases.begin(), before.creases.end(),
                                           [](const Line& line) { return line.hidden.empty(); }));
        counts.intersectionsBefore += static_cast<int>(before.intersections.size());
    }
    EXPECT_GT(counts.covered, Scaled(20000));
    EXPECT_GT(counts.seenBefore, Scaled(5000));
    EXPECT_GT(counts.intersectionsBefore, Scaled(1000));
    EXPECT_LT(counts.inTheNearestLayer, counts.covered / 10);
}

// --- behind everything ---

// The farthest step that any line of a drawing or triangle of its meshes reaches.
std::int32_t FarthestStep(const Scene& scene, const ctr::GeometricFeatures& features) {
    std::int32_t farthest = 0;
    for (const auto* set : {features.creaseEdges.get(), features.silhouetteEdges.get()}) {
        for (const auto& ends : EndsOf(set)) {
            BakedVertex a{};
            BakedVertex b{};
            if (GridEnds(scene.space, ends, a, b)) {
                farthest = std::max({farthest, a.z, b.z});
            }
        }
    }
    return farthest;
}

std::int32_t NearestStep(const Space& space, const MeshPointer& mesh) {
    const BakedTriangles baked = test_support::Bake(space, {mesh.get()});
    std::int32_t nearest = std::numeric_limits<std::int32_t>::max();
    for (const unsigned int index : baked.triangleIndices) {
        nearest = std::min(nearest, baked.vertices[index].z);
    }
    return nearest;
}

TEST(DrawingOccluders, OneBehindEverythingChangesNothing) {
    int scenes = 0;
    int tight = 0;
    for (int trial = 0; trial < Scaled(3000); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        Random random(scene.seed);
        const ctr::GeometricFeatures features = Stage(scene.space, scene.meshes).draw();
        const std::int32_t farthest = FarthestStep(scene, features);
        const float nearest = scene.space.frustumMin[2] +
                              (static_cast<float>(farthest) + 0.3F) * scene.space.voxelSize[2];
        MeshData behind = AnyTriangles(random, scene.space, std::min(nearest, 1.0F), 1.0F);
        behind.append(Screen(scene.space, static_cast<float>(farthest)));
        const MeshPointer mesh = test_support::MakeMesh(behind);
        if (NearestStep(scene.space, mesh) < farthest) {
            continue; // rounded forward
        }
        ASSERT_TRUE(Same(laws::DrawingOf(features), Draw(scene.space, scene.meshes, {mesh})))
            << Describe(scene);
        ++scenes;
        tight += NearestStep(scene.space, mesh) == farthest ? 1 : 0;
    }
    EXPECT_GT(scenes, Scaled(2000));
    EXPECT_GT(tight, Scaled(1500));
}

// --- one more ---

TEST(DrawingOccluders, OneMoreNeverReveals) {
    int moreHidden = 0;
    int lines = 0;
    for (int trial = 0; trial < Scaled(2500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        Random random(scene.seed);
        const MeshPointer one =
            test_support::MakeMesh(AnyTriangles(random, scene.space, -1.2F, 1.2F));
        const SetPointer before = laws::RandomChords(random, scene.meshes, 30);
        const SetPointer after = test_support::MakeSet(test_support::PositionsOf(*before),
                                                       test_support::IndicesOf(*before));
        Stage(scene.space, cast.drawn, cast.occluders).generator.computeOcclusion(*before, 0);
        Stage(scene.space, cast.drawn, Together(cast.occluders, {one}))
            .generator.computeOcclusion(*after, 0);
        for (std::size_t i = 0; i < before->occlusionIntervals.size(); ++i) {
            const Intervals& less = before->occlusionIntervals[i];
            const Intervals& more = after->occlusionIntervals[i];
            ASSERT_TRUE(laws::IsWithin(less, more)) << "chord " << i << '\n' << Describe(scene);
            moreHidden += laws::IsWithin(more, less) ? 0 : 1;
            ++lines;
        }
    }
    EXPECT_GT(lines, Scaled(50000));
    EXPECT_GT(moreHidden, Scaled(5000));
}

// --- twice ---

Lines Occluded(const ctr::LineSegmentSet& chords, const std::vector<Stage*>& stages) {
    const SetPointer set =
        test_support::MakeSet(test_support::PositionsOf(chords), test_support::IndicesOf(chords));
    for (Stage* stage : stages) {
        stage->generator.computeOcclusion(*set, 0);
    }
    return laws::LinesOf(set.get());
}

TEST(DrawingOccluders, ASetOccludedTwiceIsUnchangedAndOneOccludedByTwoIsAsByBoth) {
    int partlyHidden = 0;
    int byBoth = 0;
    for (int trial = 0; trial < Scaled(2500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const MeshPointers other = {scene.meshes.back(), test_support::MakeMesh([&] {
                                        Random random(scene.seed);
                                        return AnyTriangles(random, scene.space, -1.0F, 1.0F);
                                    }())};
        Random random(scene.seed + 1);
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 20);
        Stage first(scene.space, scene.meshes);
        Stage second(scene.space, other);
        Stage both(scene.space, scene.meshes, other);
        const Lines byFirst = Occluded(*chords, {&first});
        const Lines bySecond = Occluded(*chords, {&second});
        const Lines together = Occluded(*chords, {&both});
        ASSERT_TRUE(Same(byFirst, Occluded(*chords, {&first, &first}))) << Describe(scene);
        ASSERT_TRUE(Same(together, Occluded(*chords, {&first, &second}))) << Describe(scene);
        ASSERT_TRUE(Same(together, Occluded(*chords, {&second, &first}))) << Describe(scene);
        partlyHidden += laws::CountPartlyHidden(byFirst);
        byBoth += together != byFirst && together != bySecond ? 1 : 0;
    }
    EXPECT_GT(partlyHidden, Scaled(3000));
    EXPECT_GT(byBoth, Scaled(500));
}

// --- out of sight ---

// Triangles beyond one of the sides of the view, or beyond its far end.
MeshData OutOfSight(Random& random, const Space& space) {
    MeshData data;
    const int side = random.below(5);
    const auto any = [&] {
        std::array<float, 3> p = {random.uniform(-3.0F, 3.0F), random.uniform(-3.0F, 3.0F),
                                  random.uniform(-0.9F, 1.2F)};
        if (side < 4) {
            const float beyond = random.uniform(1.01F, 3.0F);
            p.at(static_cast<std::size_t>(side / 2)) = side % 2 == 0 ? beyond : -beyond;
        } else {
            p[2] = random.uniform(1.01F, 1.2F);
        }
        return SeenAt(space, p[0], p[1], p[2]);
    };
    for (int i = random.between(1, 8); i > 0; --i) {
        const Point a = any();
        const Point b = any();
        data.addTriangle(a, b, any());
    }
    return data;
}

TEST(DrawingOccluders, AMeshOutOfSightChangesNothing) {
    int scenes = 0;
    int partlyHidden = 0;
    for (int trial = 0; trial < Scaled(2500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        Random random(scene.seed);
        const MeshPointer mesh = test_support::MakeMesh(OutOfSight(random, scene.space));
        ASSERT_TRUE(test_support::Bake(scene.space, {mesh.get()}).trianglePlanes.empty());
        const Drawing drawing = Draw(scene.space, cast.drawn, cast.occluders);
        ASSERT_TRUE(Same(drawing, Draw(scene.space, cast.drawn, Together({mesh}, cast.occluders))))
            << Describe(scene);

        const Drawing with = Draw(scene.space, Together({mesh}, cast.drawn), cast.occluders);
        ASSERT_TRUE(Same(drawing.silhouettes, with.silhouettes)) << Describe(scene);
        ASSERT_TRUE(Same(drawing.intersections, with.intersections)) << Describe(scene);
        ASSERT_TRUE(laws::Surplus(drawing.creases, with.creases).empty()) << Describe(scene);
        for (const Line& line : laws::Surplus(with.creases, drawing.creases)) {
            ASSERT_EQ(line.hidden, laws::WholeLine()) << Describe(scene);
        }
        ++scenes;
        partlyHidden += laws::CountPartlyHidden(drawing.creases);
    }
    EXPECT_GT(scenes, Scaled(2000));
    EXPECT_GT(partlyHidden, Scaled(1000));
}

} // namespace
