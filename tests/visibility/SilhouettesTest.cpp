// Silhouette edges: by hand, and against a plain map of grid edges on random scenes.
#include <ctr/BakedTriangles.h>
#include <ctr/LineSegmentSet.h>

#include "support/Baking.h"
#include "support/ExactSilhouettes.h"
#include "support/RandomScenes.h"
#include "support/SceneAgreement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::LineSegmentSet;
using test_support::Bake;
using test_support::BakedMeshes;
using test_support::LatticeSpace;
using test_support::MakeMesh;
using test_support::MeshData;
using test_support::Point;
using test_support::Scaled;
using test_support::Triangle;

using Segment = std::array<unsigned int, 2>;
using Segments = std::vector<Segment>;
using SetPointer = kx::kxPointer<LineSegmentSet>;

struct Silhouettes {
    explicit Silhouettes(const BakedTriangles& baked) {
        std::vector<LineSegmentSet*> list;
        found = baked.computeSilhouetteEdges(list);
        sets.assign(list.begin(), list.end());
    }

    bool found = false;
    std::vector<SetPointer> sets;
};

Segments SegmentsOf(const LineSegmentSet& set) {
    const kx::kxIndexBuffer& indices = *set.GetIndexBuffer();
    EXPECT_EQ(indices.GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_EQ(indices.GetIndexQuantity() % 2, 0);
    Segments segments;
    for (int i = 0; i + 1 < indices.GetIndexQuantity(); i += 2) {
        segments.push_back({indices.GetData()[i], indices.GetData()[i + 1]});
    }
    return segments;
}

// The silhouette of a single mesh; no segments when its slot is null.
Segments SilhouetteOf(const MeshData& data,
                      const ctr::DiscreteProjectionSpace& space = LatticeSpace(4, 4)) {
    const BakedMeshes scene({data}, space);
    const Silhouettes silhouettes(scene.baked);
    EXPECT_EQ(silhouettes.sets.size(), 1U);
    return silhouettes.sets[0] ? SegmentsOf(*silhouettes.sets[0]) : Segments();
}

// Segments without direction and order.
std::multiset<Segment> Undirected(const Segments& segments) {
    std::multiset<Segment> edges;
    for (const auto& [a, b] : segments) {
        edges.insert({std::min(a, b), std::max(a, b)});
    }
    return edges;
}

// --- by hand ---

TEST(Silhouettes, RefuseAVectorThatIsNotEmpty) {
    const BakedMeshes scene({Triangle(Point(1, 1, 1), Point(5, 1, 1), Point(1, 5, 1))});
    LineSegmentSet mine;
    std::vector<LineSegmentSet*> sets = {&mine, nullptr};
    EXPECT_FALSE(scene.baked.computeSilhouetteEdges(sets));
    EXPECT_EQ(sets, (std::vector<LineSegmentSet*>{&mine, nullptr}));
}

TEST(Silhouettes, NothingBakedGivesFalseAndNullEntries) {
    const BakedMeshes scene({Triangle(Point(20, 1, 1), Point(25, 1, 1), Point(20, 5, 1)),
                             Triangle(Point(1, 1, 1), Point(5, 5, 1), Point(3, 3, 9))});
    std::vector<LineSegmentSet*> sets;
    EXPECT_FALSE(scene.baked.computeSilhouetteEdges(sets));
    EXPECT_EQ(sets, (std::vector<LineSegmentSet*>{nullptr, nullptr}));
}

TEST(Silhouettes, NoMeshesGiveFalse) {
    const BakedMeshes scene({});
    std::vector<LineSegmentSet*> sets;
    EXPECT_FALSE(scene.baked.computeSilhouetteEdges(sets));
    EXPECT_TRUE(sets.empty());
}

TEST(Silhouettes, AQuadGivesItsFourBordersInOrderAndNotItsDiagonal) {
    // Sorted by x of the smaller end first: from (2, 3), from (2, 9), from (10, 3).
    const MeshData quad =
        test_support::Quad(Point(10, 3, 5), Point(10, 9, 6), Point(2, 9, 7), Point(2, 3, 8));
    EXPECT_EQ(SilhouetteOf(quad), (Segments{{3, 2}, {3, 0}, {2, 1}, {0, 1}}));
    EXPECT_EQ(SilhouetteOf(test_support::Flipped(quad)), SilhouetteOf(quad));
}

TEST(Silhouettes, AFoldGivesItsSharedEdgeOnce) {
    // Both triangles lie on the same side of the edge 0 1 on the screen.
    const MeshData fold =
        test_support::Fan(Point(2, 2, 1), Point(10, 2, 1), {Point(4, 8, 1), Point(6, 9, 9)});
    EXPECT_EQ(SilhouetteOf(fold), (Segments{{0, 2}, {0, 3}, {0, 1}, {2, 1}, {3, 1}}));
}

TEST(Silhouettes, AnEdgeOfThreeTrianglesThatRunBothWaysIsInterior) {
    const MeshData fan = test_support::Fan(Point(2, 6, 1), Point(10, 6, 1),
                                           {Point(4, 8, 1), Point(6, 9, 9), Point(5, 2, 3)});
    const auto edges = Undirected(SilhouetteOf(fan));
    EXPECT_EQ(edges.count({0, 1}), 0U);
    EXPECT_EQ(edges.size(), 6U);
}

TEST(Silhouettes, TrianglesMeetByCoordinatesAndNotByNumbers) {
    const MeshData quad =
        test_support::Quad(Point(2, 3, 5), Point(10, 3, 6), Point(10, 9, 7), Point(2, 9, 8));
    const Segments segments = SilhouetteOf(test_support::Unwelded(quad));
    EXPECT_EQ(segments, (Segments{{3, 5}, {0, 1}, {5, 4}, {1, 2}}));
}

TEST(Silhouettes, EqualScreenPointsAtDifferentDepthsAreDifferent) {
    MeshData apart = Triangle(Point(2, 3, 5), Point(10, 3, 5), Point(10, 9, 5));
    apart.append(Triangle(Point(2, 3, 6), Point(10, 9, 6), Point(2, 9, 6)));
    EXPECT_EQ(SilhouetteOf(apart).size(), 6U);
}

TEST(Silhouettes, TheLowestRecordStandsForItsGroup) {
    // The same triangle twice, first with the vertices 3 to 5, then with 0 to 2.
    const Point a(2, 2, 1);
    const Point b(10, 2, 1);
    const Point c(2, 9, 1);
    MeshData twice = Triangle(a, b, c);
    twice.append(Triangle(a, b, c));
    std::rotate(twice.indices.begin(), twice.indices.begin() + 3, twice.indices.end());
    EXPECT_EQ(SilhouetteOf(twice), (Segments{{3, 5}, {3, 4}, {5, 4}}));
}

TEST(Silhouettes, AClosedConvexMeshGivesItsOutline) {
    // Three faces of a box seen from a corner, three from behind: a hexagon between them.
    const Segments box = SilhouetteOf(test_support::Box(Point(-2, -2, -2), Point(2, 2, 2)),
                                      test_support::SlantedSpace(10, 10, 6));
    EXPECT_EQ(box.size(), 6U);
    for (unsigned int vertex = 0; vertex < 8; ++vertex) {
        const auto meets = std::count_if(box.begin(), box.end(), [&](const Segment& s) {
            return s[0] == vertex || s[1] == vertex;
        });
        EXPECT_TRUE(meets == 0 || meets == 2) << vertex;
    }
}

// Triangles around vertex 0, closed.
MeshData Wheel(unsigned int spokes) {
    constexpr float kTurn = 6.2831853F;
    MeshData wheel;
    wheel.addVertex(Point(64, 64, 5));
    for (unsigned int i = 1; i <= spokes; ++i) {
        const float angle = kTurn * static_cast<float>(i) / static_cast<float>(spokes);
        wheel.addVertex(Point(64 + std::round(60 * std::cos(angle)),
                              64 + std::round(60 * std::sin(angle)), static_cast<float>(i)));
        wheel.indices.insert(wheel.indices.end(), {0, i, i % spokes + 1});
    }
    return wheel;
}

TEST(Silhouettes, SpokesAreInteriorHoweverManyMeet) {
    const auto space = LatticeSpace(7, 7);
    for (unsigned int spokes = 3; spokes <= 40; ++spokes) {
        std::multiset<Segment> rim;
        for (unsigned int i = 1; i <= spokes; ++i) {
            rim.insert({std::min(i, i % spokes + 1), std::max(i, i % spokes + 1)});
        }
        MeshData wheel = Wheel(spokes);
        EXPECT_EQ(Undirected(SilhouetteOf(wheel, space)), rim);

        MeshData twice = wheel;
        twice.indices.insert(twice.indices.end(), wheel.indices.begin(), wheel.indices.end());
        EXPECT_EQ(Undirected(SilhouetteOf(twice, space)), rim);

        // Without the last triangle, which joins the last vertex of the rim to the first.
        wheel.indices.resize(wheel.indices.size() - 3);
        rim.erase({1, spokes});
        rim.insert({{0, 1}, {0, spokes}});
        EXPECT_EQ(Undirected(SilhouetteOf(wheel, space)), rim);
    }
}

// +1 where a triangle of the mesh faces the viewer, -1 where it faces away.
int Facing(const BakedTriangles& baked, const MeshData& data, std::size_t triangle) {
    const auto corner = [&](std::size_t k) {
        return baked.vertices[data.indices[3 * triangle + k]];
    };
    const auto area = test_support::DoubledArea(corner(0), corner(1), corner(2));
    return area > 0 ? 1 : -static_cast<int>(area < 0);
}

TEST(Silhouettes, AClosedMeshGivesTheEdgesBetweenFrontAndBack) {
    const MeshData data = test_support::Sphere(Point(0.2F, -0.3F, 4.5F), 2.5F, 18, 11);
    const BakedMeshes scene({data}, test_support::PerspectiveSpace(12, 12, 1, 1, 9));
    std::map<Segment, int> facings;
    for (std::size_t i = 0; i < data.indices.size() / 3; ++i) {
        const int facing = Facing(scene.baked, data, i);
        ASSERT_NE(facing, 0);
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned int a = data.indices[3 * i + k];
            const unsigned int b = data.indices[3 * i + (k + 1) % 3];
            facings[{std::min(a, b), std::max(a, b)}] += facing;
        }
    }
    std::erase_if(facings, [](const auto& edge) { return edge.second != 0; });
    std::multiset<Segment> expected;
    for (const auto& edge : facings) {
        expected.insert(edge.first);
    }
    EXPECT_GT(expected.size(), 8U);
    const Silhouettes silhouettes(scene.baked);
    ASSERT_TRUE(silhouettes.sets[0]);
    EXPECT_EQ(Undirected(SegmentsOf(*silhouettes.sets[0])), expected);
}

// --- clipped triangles ---

TEST(Silhouettes, ClippedTrianglesGiveTheirSourceEdgesWholeAndNoneOfTheClipping) {
    // The view clips the vertex number 1. On the grid the edges are 0-1 and 0-2 from (2, 2),
    // then 1-2 from (2, 8); each as the clipped triangle's code names it.
    const MeshData data = Triangle(Point(2, 2, 5), Point(20, 2, 5), Point(2, 8, 5));
    EXPECT_EQ(SilhouetteOf(data), (Segments{{0, 2}, {1, 0}, {2, 1}}));
    const MeshData turned = Triangle(Point(2, 2, 5), Point(2, 8, 5), Point(20, 2, 5));
    EXPECT_EQ(SilhouetteOf(turned), (Segments{{1, 0}, {0, 2}, {2, 1}}));
}

TEST(Silhouettes, SourceEdgesAreNumberedInTheMeshOfTheTriangle) {
    MeshData data = {
        {Point(0, 0, 0), Point(2, 2, 5), Point(1, 0, 0), Point(20, 2, 5), Point(2, 8, 5)},
        {1, 3, 4}};
    const BakedMeshes scene({Triangle(Point(3, 3, 3), Point(4, 3, 3), Point(3, 4, 3)), data});
    const Silhouettes silhouettes(scene.baked);
    ASSERT_EQ(silhouettes.sets.size(), 2U);
    ASSERT_TRUE(silhouettes.sets[1]);
    EXPECT_EQ(SegmentsOf(*silhouettes.sets[1]), (Segments{{1, 4}, {3, 1}, {4, 3}}));
}

TEST(Silhouettes, AnEdgeSharedByClippedTrianglesIsInteriorWhereItIsInTheView) {
    // Two triangles about the edge 0 1, which leaves the view on the right.
    MeshData data;
    data.positions = {Point(2, 6, 5), Point(22, 6, 5), Point(2, 10, 5), Point(2, 2, 5)};
    data.indices = {0, 1, 2, 1, 0, 3};
    EXPECT_EQ(Undirected(SilhouetteOf(data)),
              (std::multiset<Segment>{{0, 2}, {0, 3}, {1, 2}, {1, 3}}));
}

TEST(Silhouettes, ATriangleThatFillsTheViewGivesNoLine) {
    const MeshData data = Triangle(Point(-90, -90, 5), Point(190, -90, 5), Point(-90, 190, 5));
    const BakedMeshes scene({data});
    EXPECT_FALSE(scene.baked.triangleIndices.empty());
    const Silhouettes silhouettes(scene.baked);
    EXPECT_TRUE(silhouettes.found);
    EXPECT_FALSE(silhouettes.sets[0]);
}

// A mesh that numbers its triangles' corners itself.
class RenumberedMesh : public kx::kxTriMesh {
public:
    using kx::kxTriMesh::kxTriMesh;

    bool GetTriangle(int i, int& a, int& b, int& c) const override {
        return kx::kxTriMesh::GetTriangle(i, b, c, a);
    }
};

TEST(Silhouettes, SourceEdgesComeFromTheMeshItself) {
    const auto plain = MakeMesh(Triangle(Point(2, 2, 5), Point(20, 2, 5), Point(2, 8, 5)));
    const kx::kxPointer<kx::kxTriMesh> mesh(
        new RenumberedMesh(plain->GetVertexBuffer(), plain->GetIndexBuffer()));
    const auto space = LatticeSpace(4, 4);
    const Silhouettes silhouettes(Bake(space, {mesh.get()}));
    ASSERT_TRUE(silhouettes.sets[0]);
    // The corners are now 2, 0, 1: the edge that ends at the first comes from 1, and so on.
    EXPECT_EQ(SegmentsOf(*silhouettes.sets[0]), (Segments{{0, 2}, {1, 0}, {2, 1}}));
}

// --- the sets ---

TEST(SilhouetteSets, EveryMeshHasItsSlot) {
    const auto space = LatticeSpace(4, 4);
    const auto seen = MakeMesh(Triangle(Point(1, 1, 1), Point(5, 1, 1), Point(1, 5, 1)));
    const auto edgeOn = MakeMesh(Triangle(Point(1, 1, 1), Point(5, 5, 1), Point(3, 3, 9)));
    const Silhouettes silhouettes(
        Bake(space, {nullptr, seen.get(), edgeOn.get(), nullptr, seen.get(), nullptr}));
    EXPECT_TRUE(silhouettes.found);
    std::vector<bool> filled;
    for (const auto& set : silhouettes.sets) {
        filled.push_back(static_cast<bool>(set));
    }
    EXPECT_EQ(filled, (std::vector<bool>{false, true, false, false, true, false}));
    EXPECT_EQ(SegmentsOf(*silhouettes.sets[1]), SegmentsOf(*silhouettes.sets[4]));
    EXPECT_EQ(SegmentsOf(*silhouettes.sets[4]), (Segments{{0, 2}, {0, 1}, {2, 1}}));
}

TEST(SilhouetteSets, MeshesDoNotMeetEachOther) {
    // The two halves of a quad as two meshes: the diagonal is a border of each.
    const BakedMeshes scene({Triangle(Point(2, 3, 5), Point(10, 3, 5), Point(10, 9, 5)),
                             Triangle(Point(2, 3, 5), Point(10, 9, 5), Point(2, 9, 5))});
    const Silhouettes silhouettes(scene.baked);
    for (const auto& set : silhouettes.sets) {
        ASSERT_TRUE(set);
        EXPECT_EQ(SegmentsOf(*set).size(), 3U);
    }
}

TEST(SilhouetteSets, ShareTheMeshsVerticesAndItsPlace) {
    const auto space = LatticeSpace(4, 4);
    const auto mesh = MakeMesh(Triangle(Point(1, 1, 1), Point(5, 1, 1), Point(1, 5, 1)));
    const auto world = test_support::AxisTransformation({1, 0, 2}, {1, 1, 1}, Point(1, 2, 3));
    const auto local = test_support::AxisTransformation({0, 1, 2}, {1, -1, 1}, Point(4, 5, 6));
    mesh->SetWorldTransformation(world);
    mesh->SetLocalTransformation(local);
    const int references = mesh->GetVertexBuffer()->GetReferences();
    {
        const Silhouettes silhouettes(Bake(space, {mesh.get()}));
        const LineSegmentSet& set = *silhouettes.sets.at(0);
        EXPECT_EQ(set.GetVertexBuffer(), mesh->GetVertexBuffer());
        EXPECT_EQ(mesh->GetVertexBuffer()->GetReferences(), references + 1);
        EXPECT_TRUE(set.GetWorldTransformation() == world);
        EXPECT_TRUE(set.GetLocalTransformation() == local);
        EXPECT_EQ(set.GetModelBound(), (kx::kxBBox{{1, 1, 1}, {5, 5, 1}}));
        EXPECT_TRUE(set.segmentFlags.empty() && set.occlusionIntervals.empty() &&
                    set.clipRanges.empty());
        EXPECT_EQ(set.GetReferences(), 1);
    }
    EXPECT_EQ(mesh->GetVertexBuffer()->GetReferences(), references);
}

TEST(SilhouetteSets, BelongToTheCaller) {
    const BakedMeshes scene({Triangle(Point(1, 1, 1), Point(5, 1, 1), Point(1, 5, 1))});
    std::vector<LineSegmentSet*> sets;
    ASSERT_TRUE(scene.baked.computeSilhouetteEdges(sets));
    ASSERT_EQ(sets.size(), 1U);
    EXPECT_EQ(sets[0]->GetReferences(), 0);
    delete sets[0];
}

TEST(SilhouetteSets, AreTheSameEveryTime) {
    const auto scene = test_support::RandomScene(3);
    const BakedTriangles baked = Bake(scene.space, scene.meshList());
    const Silhouettes first(baked);
    const Silhouettes second(baked);
    ASSERT_EQ(first.sets.size(), second.sets.size());
    for (std::size_t i = 0; i < first.sets.size(); ++i) {
        ASSERT_EQ(static_cast<bool>(first.sets[i]), static_cast<bool>(second.sets[i]));
        if (first.sets[i]) {
            EXPECT_EQ(SegmentsOf(*first.sets[i]), SegmentsOf(*second.sets[i]));
        }
    }
}

// --- random scenes ---

TEST(Silhouettes, RandomScenesAgreeWithThePlainMap) {
    const int scenes = Scaled(20000);
    test_support::SilhouetteCounts counts;
    for (int seed = 0; seed < scenes; ++seed) {
        const test_support::BakedScene test(
            test_support::RandomScene(static_cast<std::uint64_t>(seed)));
        ASSERT_EQ(CompareSilhouettes(test, counts), "") << test_support::Describe(test.scene);
    }
    RecordProperty("segments", counts.segments);
    RecordProperty("edges_inside", counts.inside);
    RecordProperty("edges_folded", counts.folded);
    RecordProperty("edges_of_clipping", counts.ofClipping);
    RecordProperty("edges_restored", counts.restored);
    RecordProperty("null_slots", counts.nullSlots);
    EXPECT_GT(counts.segments, scenes * 8);
    EXPECT_GT(counts.inside, scenes);
    EXPECT_GT(counts.folded, scenes);
    EXPECT_GT(counts.ofClipping, scenes);
    EXPECT_GT(counts.restored, scenes);
    EXPECT_GT(counts.nullSlots, scenes / 4);
}

} // namespace
