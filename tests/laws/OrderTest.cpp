// The order in which triangles and meshes are given, and how occluders are divided into meshes,
// never reaches the drawing, but for two ties that the rules settle by order:
// - Sides of different triangles of a mesh that fall on the same two grid points are one
//   silhouette edge, drawn as the side that comes first.
// - Of two ends of spans in one grid column or row, which of them ends an intersection line follows
//   from which triangle comes first.
// Just these lines are left out, and counted.
#include <ctr/BakedTriangles.h>

#include "laws/Drawings.h"
#include "support/Baking.h"
#include "support/ExactIntersections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using laws::Cast;
using laws::CastOf;
using laws::Draw;
using laws::Drawing;
using laws::Ends;
using laws::Line;
using laws::Lines;
using laws::MeshPointer;
using laws::MeshPointers;
using laws::Same;
using laws::Stage;
using laws::Surplus;
using test_support::Bake;
using test_support::CoordinatesOf;
using test_support::Describe;
using test_support::MeshData;
using test_support::Point;
using test_support::Random;
using test_support::RandomScene;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;
using Space = ctr::DiscreteProjectionSpace;

// --- other orders ---

template <typename Item> void Shuffle(Random& random, std::vector<Item>& items) {
    for (std::size_t i = items.size(); i > 1; --i) {
        std::swap(items[i - 1], items[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
    }
}

using Corners = std::array<unsigned int, 3>;

std::vector<Corners> TrianglesOf(const MeshData& data) {
    std::vector<Corners> triangles;
    for (std::size_t i = 0; i + 2 < data.indices.size(); i += 3) {
        triangles.push_back({data.indices[i], data.indices[i + 1], data.indices[i + 2]});
    }
    return triangles;
}

MeshPointer WithTriangles(const kx::kxTriMesh& mesh, const std::vector<Corners>& triangles) {
    MeshData data = laws::DataOf(mesh);
    data.indices.clear();
    for (const Corners& corners : triangles) {
        data.addTriangle(corners[0], corners[1], corners[2]);
    }
    return laws::MakeLike(mesh, data);
}

MeshPointers Shuffled(Random& random, const MeshPointers& meshes) {
    MeshPointers shuffled;
    for (const MeshPointer& mesh : meshes) {
        if (!mesh) {
            shuffled.emplace_back(nullptr);
            continue;
        }
        std::vector<Corners> triangles = TrianglesOf(laws::DataOf(*mesh));
        Shuffle(random, triangles);
        shuffled.push_back(WithTriangles(*mesh, triangles));
    }
    Shuffle(random, shuffled);
    return shuffled;
}

// Each mesh as two that share its triangles between them.
MeshPointers Halved(Random& random, const MeshPointers& meshes) {
    MeshPointers halves;
    for (const MeshPointer& mesh : meshes) {
        if (mesh) {
            std::array<std::vector<Corners>, 2> parts;
            for (const Corners& corners : TrianglesOf(laws::DataOf(*mesh))) {
                parts.at(static_cast<std::size_t>(random.below(2))).push_back(corners);
            }
            halves.push_back(WithTriangles(*mesh, parts[0]));
            halves.push_back(WithTriangles(*mesh, parts[1]));
        }
    }
    return halves;
}

// --- silhouettes that depend on which triangle comes first ---

struct EdgeGroup {
    std::set<bool> directions;
    std::set<std::optional<Ends>> outcomes; ///< Nothing for an edge that clipping made.
};

using EdgeGroups = std::map<std::array<test_support::Coordinates, 2>, EdgeGroup>;

// The segment that a baked edge stands for, of a mesh that is baked alone.
std::optional<Ends> OutcomeOf(const BakedTriangles& baked, std::size_t triangle, std::size_t k) {
    const kx::kxTriMesh& mesh = *baked.meshes[0];
    const std::vector<Point> places = laws::PlacesOf(mesh);
    const std::size_t whole =
        baked.trianglePlanes.size() - baked.clippedTriangleOrigins.at(0).size();
    if (triangle < whole) {
        return laws::EndsBetween(places[baked.triangleIndices[3 * triangle + (k + 2) % 3]],
                                 places[baked.triangleIndices[3 * triangle + k]]);
    }
    const unsigned int word = baked.clippedTriangleOrigins[0][triangle - whole];
    const unsigned int code = (word >> (26 + 2 * k)) & 3U;
    if (code == 0) {
        return std::nullopt;
    }
    std::array<int, 3> corners{};
    mesh.GetTriangle(static_cast<int>(word & 0x3ffffffU), corners[0], corners[1], corners[2]);
    return laws::EndsBetween(places[static_cast<std::size_t>(corners.at(code - 1))],
                             places[static_cast<std::size_t>(corners.at((code + 1) % 3))]);
}

EdgeGroups GroupsOf(const BakedTriangles& baked) {
    EdgeGroups groups;
    for (std::size_t i = 0; i < baked.triangleIndices.size(); ++i) {
        const std::size_t triangle = i / 3;
        const std::size_t k = i % 3;
        const auto from =
            CoordinatesOf(baked.vertices[baked.triangleIndices[3 * triangle + (k + 2) % 3]]);
        const auto to = CoordinatesOf(baked.vertices[baked.triangleIndices[i]]);
        EdgeGroup& group = groups[{std::min(from, to), std::max(from, to)}];
        group.directions.insert(from < to);
        group.outcomes.insert(OutcomeOf(baked, triangle, k));
    }
    return groups;
}

// The ends of all lines that a tie may draw instead of another.
std::set<Ends> TiedSilhouettes(const Space& space, const MeshPointers& meshes) {
    std::set<Ends> tied;
    for (const MeshPointer& mesh : meshes) {
        if (!mesh) {
            continue;
        }
        for (const auto& [edge, group] : GroupsOf(Bake(space, {mesh.get()}))) {
            if (group.directions.size() == 1 && group.outcomes.size() > 1) {
                for (const auto& ends : group.outcomes) {
                    tied.insert(ends.value_or(Ends{}));
                }
            }
        }
    }
    return tied;
}

Lines Without(const Lines& lines, const std::set<Ends>& ends, int& leftOut) {
    Lines rest;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(rest),
                 [&](const Line& line) { return ends.count(line.ends) == 0; });
    leftOut += static_cast<int>(lines.size() - rest.size());
    return rest;
}

// --- intersection lines that depend on which triangle comes first ---

struct GridBox {
    std::array<std::int32_t, 3> lowest;
    std::array<std::int32_t, 3> highest;

    bool holds(const std::array<std::int32_t, 3>& p) const {
        bool inside = true;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            inside = inside && lowest[axis] <= p[axis] && p[axis] <= highest[axis];
        }
        return inside;
    }
};

GridBox BoxOf(const BakedTriangles& baked, std::size_t triangle) {
    GridBox box{CoordinatesOf(baked.vertices[baked.triangleIndices[3 * triangle]]), {}};
    box.highest = box.lowest;
    for (std::size_t k = 1; k < 3; ++k) {
        const auto p = CoordinatesOf(baked.vertices[baked.triangleIndices[3 * triangle + k]]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.lowest[axis] = std::min(box.lowest[axis], p[axis]);
            box.highest[axis] = std::max(box.highest[axis], p[axis]);
        }
    }
    return box;
}

// The pairs of triangles of which two ends that are compared are equal.
std::vector<std::pair<GridBox, GridBox>> TiedPairs(const BakedTriangles& baked) {
    std::vector<std::pair<GridBox, GridBox>> tied;
    const auto count = static_cast<unsigned int>(baked.trianglePlanes.size());
    for (unsigned int i = 0; i < count; ++i) {
        for (unsigned int j = i + 1; j < count; ++j) {
            test_support::IntersectionCounts counts;
            test_support::IntersectionOf(baked, i, j, counts);
            if (counts.ties > 0) {
                tied.emplace_back(BoxOf(baked, i), BoxOf(baked, j));
            }
        }
    }
    return tied;
}

// The grid point that was turned into a place of the world.
std::array<std::int32_t, 3> GridPointAt(const Space& space, const Point& world) {
    const auto clip = test_support::ClipPosition(space, world);
    std::array<std::int32_t, 3> p{};
    for (int axis = 0; axis < 3; ++axis) {
        const float steps =
            (clip[axis] / clip[3] - space.frustumMin[axis]) * space.voxelScale[axis];
        p.at(static_cast<std::size_t>(axis)) = static_cast<std::int32_t>(std::lround(steps));
    }
    return p;
}

// Every piece has to belong to a tied pair: each of its ends lies on a side of one of the two
// triangles, though perhaps beside the other, which a tie may take for crossed there.
testing::AssertionResult ComeFromTies(const Space& space,
                                      const Lines& pieces,
                                      const std::vector<std::pair<GridBox, GridBox>>& tied) {
    for (const Line& piece : pieces) {
        const auto p = GridPointAt(space, laws::PointOf(piece.ends[0]));
        const auto q = GridPointAt(space, laws::PointOf(piece.ends[1]));
        const bool found = std::any_of(tied.begin(), tied.end(), [&](const auto& pair) {
            return (pair.first.holds(p) || pair.second.holds(p)) &&
                   (pair.first.holds(q) || pair.second.holds(q));
        });
        if (!found) {
            return testing::AssertionFailure() << "no tie explains " << piece;
        }
    }
    return testing::AssertionSuccess();
}

// --- the laws ---

struct OrderCounts {
    int lines = 0;
    int partlyHidden = 0;
    int silhouettes = 0;
    int tiedSilhouettes = 0;
    int pieces = 0;
    int tiedPieces = 0;
};

void CheckShuffled(const Scene& scene, OrderCounts& counts) {
    const Cast cast = CastOf(scene);
    Random random(scene.seed);
    Stage given(scene.space, cast.drawn, cast.occluders);
    const Drawing drawing = laws::DrawingOf(given.draw());
    const Drawing shuffled =
        Draw(scene.space, Shuffled(random, cast.drawn), Shuffled(random, cast.occluders));
    ASSERT_TRUE(Same(drawing.creases, shuffled.creases)) << Describe(scene);

    int ignored = 0;
    const std::set<Ends> tied = TiedSilhouettes(scene.space, cast.drawn);
    const Lines silhouettes = Without(drawing.silhouettes, tied, counts.tiedSilhouettes);
    ASSERT_TRUE(Same(silhouettes, Without(shuffled.silhouettes, tied, ignored))) << Describe(scene);

    const Lines lost = Surplus(drawing.intersections, shuffled.intersections);
    const Lines gained = Surplus(shuffled.intersections, drawing.intersections);
    const auto pairs = TiedPairs(given.generator.getBakedTriangles(0));
    ASSERT_TRUE(ComeFromTies(scene.space, lost, pairs)) << Describe(scene);
    ASSERT_TRUE(ComeFromTies(scene.space, gained, pairs)) << Describe(scene);

    counts.lines += static_cast<int>(drawing.creases.size());
    counts.partlyHidden += laws::CountPartlyHidden(drawing.creases);
    counts.silhouettes += static_cast<int>(silhouettes.size());
    counts.pieces += static_cast<int>(drawing.intersections.size());
    counts.tiedPieces += static_cast<int>(lost.size());
}

TEST(DrawingOrder, TrianglesAndMeshesMayComeInAnyOrder) {
    OrderCounts counts;
    for (int trial = 0; trial < Scaled(4000); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        ASSERT_NO_FATAL_FAILURE(CheckShuffled(scene, counts));
    }
    RecordProperty("tiedSilhouettes", counts.tiedSilhouettes);
    RecordProperty("tiedPieces", counts.tiedPieces);
    EXPECT_GT(counts.lines, Scaled(30000));
    EXPECT_GT(counts.partlyHidden, Scaled(3000));
    EXPECT_GT(counts.silhouettes, Scaled(15000));
    EXPECT_GT(counts.pieces, Scaled(4000));
    EXPECT_LT(counts.tiedSilhouettes, counts.silhouettes / 4);
    EXPECT_LT(counts.tiedPieces, counts.pieces / 10);
}

TEST(DrawingOrder, AnOccluderMayBeIntersectionInTwo) {
    int hiddenByOccluders = 0;
    int partlyHidden = 0;
    for (int trial = 0; trial < Scaled(1500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        Random random(scene.seed);
        const MeshPointers drawn(scene.meshes.begin(), scene.meshes.begin() + 1);
        const MeshPointers occluders = RandomScene(scene.seed + 1).meshes;
        const Drawing drawing = Draw(scene.space, drawn, occluders);
        const Drawing halved = Draw(scene.space, drawn, Halved(random, occluders));
        ASSERT_TRUE(Same(drawing.creases, halved.creases)) << Describe(scene);
        ASSERT_TRUE(Same(drawing.silhouettes, halved.silhouettes)) << Describe(scene);
        ASSERT_TRUE(Same(drawing.intersections, halved.intersections)) << Describe(scene);
        hiddenByOccluders += drawing.creases != Draw(scene.space, drawn).creases ? 1 : 0;
        partlyHidden += laws::CountPartlyHidden(drawing.creases);
    }
    EXPECT_GT(hiddenByOccluders, Scaled(200));
    EXPECT_GT(partlyHidden, Scaled(500));
}

// A mesh hides the lines of others alike whether it is drawn itself or not.
TEST(DrawingOrder, ADrawnMeshHidesAsAnOccluderDoes) {
    int partlyHidden = 0;
    for (int trial = 0; trial < Scaled(1500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        Random random(scene.seed);
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 20);
        const SetPointer again = test_support::MakeSet(test_support::PositionsOf(*chords),
                                                       test_support::IndicesOf(*chords));
        const std::size_t middle = scene.meshes.size() / 2;
        const auto split = scene.meshes.begin() + static_cast<std::ptrdiff_t>(middle);
        Stage(scene.space, scene.meshes).generator.computeOcclusion(*chords, 0);
        Stage(scene.space, MeshPointers(scene.meshes.begin(), split),
              MeshPointers(split, scene.meshes.end()))
            .generator.computeOcclusion(*again, 0);
        ASSERT_TRUE(Same(laws::LinesOf(chords.get()), laws::LinesOf(again.get())))
            << Describe(scene);
        partlyHidden += laws::CountPartlyHidden(laws::LinesOf(chords.get()));
    }
    EXPECT_GT(partlyHidden, Scaled(2000));
}

} // namespace
