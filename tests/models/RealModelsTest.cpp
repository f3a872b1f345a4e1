// Whole drawings of real models, seen from the faces, edges and corners of a cube: points of their
// lines are looked up among all triangles one by one, and lines of intersection are found again.
#include "drawing/camera/Camera.h"
#include "drawing/lines/LineFinder.h"
#include "import/SceneReader.h"
#include "support/Baking.h"
#include "support/ExactBaking.h"
#include "support/ExactIntersections.h"
#include "support/ExactOcclusion.h"
#include "support/Random.h"
#include "support/ScreenBins.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace {

using ctr::BakedVertex;
using ctr::DiscreteProjectionSpace;
using ctr::LineSegmentSet;
using ctr::RationalInterval;
using test_support::BakeExactly;
using test_support::ExactBaked;
using test_support::Fraction;
using test_support::GridTriangle;
using test_support::Random;
using test_support::ScreenBins;
using test_support::SortedWorldBits;
using test_support::ToFraction;

// --- models and cameras ---

struct RealModel {
    const char* name;
    const char* path;
};

void PrintTo(const RealModel& model, std::ostream* stream) {
    *stream << model.name;
}

const RealModel kModels[] = {{"Engine", ASSIMP_MODELS "/glTF2/draco/2CylinderEngine.gltf"},
                             {"House", ASSIMP_MODELS "/IFC/AC14-FZK-Haus.ifc"},
                             {"Scan", SCANNED_MODEL}};

struct Direction {
    int x;
    int y;
    int z;
};

/// The first so many of the 26 to the faces, edges and corners of a cube around the model; the
/// first three are one of each.
std::vector<Direction> Directions(int count) {
    std::vector<Direction> directions;
    for (int i = 0; i < std::min(count, 26); ++i) {
        const int place = i * 5 % 26;
        const int cell = place < 13 ? place : place + 1;
        directions.push_back({cell % 3 - 1, cell / 3 % 3 - 1, cell / 9 - 1});
    }
    return directions;
}

double Degrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

/// Shows the whole model: in perspective from the corners of the cube, else in parallel projection.
DiscreteProjectionSpace Aim(const kxcontour::Scene& scene, const Direction& d) {
    kxdrawing::View request;
    request.azimuth = Degrees(std::atan2(d.x, d.z));
    request.elevation = Degrees(std::atan2(d.y, std::hypot(d.x, d.z)));
    request.projection = d.x * d.y * d.z != 0 ? kxdrawing::Projection::Perspective
                                              : kxdrawing::Projection::Orthographic;
    return kxcontour::AimCamera(request, {scene.meshes, scene.meshes, scene.occluders}, {}).space;
}

ctr::FeaturesByMesh FindLines(const kxcontour::Scene& scene, const DiscreteProjectionSpace& space) {
    kxcontour::DrawingObserver nobody;
    return kxcontour::FindLines(space, scene.meshes, scene.occluders, {.hiddenIntersections = true},
                                nobody);
}

std::vector<GridTriangle> TrianglesOf(const ExactBaked& baked) {
    std::vector<GridTriangle> triangles;
    for (std::size_t i = 0; i < baked.triangles.size(); ++i) {
        triangles.push_back(baked.corners(i));
    }
    return triangles;
}

/// A model on the grid of a camera, and its triangles by their places on the screen.
struct OnGrid {
    OnGrid(const kxcontour::Scene& scene, const DiscreteProjectionSpace& camera)
        : space(camera),
          triangles(TrianglesOf(BakeExactly(camera, test_support::MeshList(scene.meshes)))),
          bins(triangles, camera.xyBits) {}

    DiscreteProjectionSpace space;
    std::vector<GridTriangle> triangles;
    ScreenBins bins;
};

// --- points of lines ---

/// The numbers of cases examined.
struct Counts {
    int visible = 0;
    int hidden = 0;
    int endOn = 0;         ///< Lines seen as a point: hidden as a whole, by rule.
    int intersections = 0; ///< Pieces of intersection lines.
};

/// Parameters of points are multiples of 1 over this prime: hardly any is the end of a range or a
/// place where a line touches an outline.
constexpr std::int64_t kSteps = 1048573;

/// A step strictly between two parameters, each with the same chance.
std::optional<Fraction> StepBetween(Random& random, const Fraction& low, const Fraction& high) {
    const auto first = static_cast<std::int64_t>(low.numerator * kSteps / low.denominator) + 1;
    const auto end =
        static_cast<std::int64_t>((high.numerator * kSteps - 1) / high.denominator) + 1;
    if (first >= end) {
        return std::nullopt;
    }
    const auto steps = static_cast<std::uint64_t>(end - first);
    return Fraction{first + static_cast<std::int64_t>(random.next() % steps), kSteps};
}

/// The lines of one set, whose points are compared with what stands before them.
class LineCheck {
public:
    LineCheck(const OnGrid& grid, const LineSegmentSet& set) : grid_(grid), set_(set) {}

    /// Looks at a point of each visible and of each hidden part of a segment.
    void look(int segment, Random& random, Counts& counts) const {
        const unsigned int* index = set_.GetIndexBuffer()->GetData() + 2 * segment;
        BakedVertex a{};
        BakedVertex b{};
        float w0 = 0.0F;
        float w1 = 0.0F;
        const auto [t0, t1] = grid_.space.clipEdgeWorld(
            set_.GetVertexBuffer()->Position3(static_cast<int>(index[0])),
            set_.GetVertexBuffer()->Position3(static_cast<int>(index[1])), a, b, w0, w1);
        ASSERT_LT(t0, t1) << "the camera shows everything";
        if (a.x == b.x && a.y == b.y) {
            ++counts.endOn;
            return;
        }
        Fraction from{0, 1};
        for (const RationalInterval& range :
             set_.occlusionIntervals[static_cast<std::size_t>(segment)]) {
            expect(false, StepBetween(random, from, ToFraction(range.start)), a, b, counts);
            from = ToFraction(range.end);
            expect(true, StepBetween(random, ToFraction(range.start), from), a, b, counts);
        }
        expect(false, StepBetween(random, from, {1, 1}), a, b, counts);
    }

private:
    void expect(bool hidden,
                const std::optional<Fraction>& t,
                const BakedVertex& a,
                const BakedVertex& b,
                Counts& counts) const {
        if (t) {
            (hidden ? counts.hidden : counts.visible) += 1;
            EXPECT_EQ(isHidden(*t, a, b), hidden)
                << "at " << Text(*t) << " of " << a.x << ' ' << a.y << ' ' << a.z << " -> " << b.x
                << ' ' << b.y << ' ' << b.z;
        }
    }

    bool isHidden(const Fraction& t, const BakedVertex& a, const BakedVertex& b) const {
        const BakedVertex column = test_support::PointAt(a, b, t);
        for (const unsigned int i :
             grid_.bins.trianglesNear(test_support::BoxOf(column, column).grownBy(1))) {
            const auto met =
                test_support::Meet(grid_.triangles[i], a, b, kxcontour::kContactTolerance);
            if (met.hidden && test_support::Contains(std::vector{*met.hidden}, t)) {
                return true;
            }
        }
        return false;
    }

    const OnGrid& grid_;
    const LineSegmentSet& set_;
};

int SegmentsOf(const LineSegmentSet& set) {
    return set.GetIndexBuffer()->GetIndexQuantity() / 2;
}

/// Looks at any segments of all meshes until there are enough visible and enough hidden points.
void LookAtPoints(const OnGrid& grid,
                  const ctr::FeaturesByMesh& lines,
                  std::uint64_t seed,
                  Counts& counts) {
    constexpr int kPoints = 500;
    std::vector<std::pair<const LineSegmentSet*, int>> segments;
    for (const ctr::MeshFeatures& mesh : lines.meshes) {
        for (const LineSegmentSet* set : {mesh.silhouetteEdges.get(), mesh.creaseEdges.get()}) {
            for (int i = 0; set != nullptr && i < SegmentsOf(*set); ++i) {
                segments.emplace_back(set, i);
            }
        }
    }
    ASSERT_FALSE(segments.empty());
    Random random(seed);
    Counts found;
    std::vector<std::size_t> partlyVisible;
    const auto look = [&](std::size_t i) {
        LineCheck(grid, *segments[i].first).look(segments[i].second, random, found);
    };
    for (std::size_t tries = 0; tries < 3 * segments.size(); ++tries) {
        if (found.visible >= kPoints && found.hidden >= kPoints) {
            break;
        }
        const std::size_t i = random.next() % segments.size();
        const int before = found.visible;
        look(i);
        if (found.visible > before) {
            partlyVisible.push_back(i);
        }
    }
    // Of some views hardly a line is visible: more points of those.
    while (!partlyVisible.empty() && found.visible < kPoints) {
        look(partlyVisible[random.next() % partlyVisible.size()]);
    }
    EXPECT_GE(found.visible, kPoints);
    EXPECT_GE(found.hidden, kPoints);
    counts.visible += found.visible;
    counts.hidden += found.hidden;
    counts.endOn += found.endOn;
}

// --- intersection lines ---

using Bits = std::vector<test_support::SegmentBits>;

Bits BitsOf(const kx::kxPointer<LineSegmentSet>& set) {
    Bits bits;
    for (int i = 0; set && i < SegmentsOf(*set); ++i) {
        test_support::SegmentBits& segment = bits.emplace_back();
        for (int end = 0; end < 2; ++end) {
            const unsigned int vertex = set->GetIndexBuffer()->GetData()[2 * i + end];
            const auto& p = set->GetVertexBuffer()->Position3(static_cast<int>(vertex));
            for (int axis = 0; axis < 3; ++axis) {
                segment[static_cast<std::size_t>(3 * end + axis)] =
                    std::bit_cast<std::uint32_t>(p[axis]);
            }
        }
    }
    std::sort(bits.begin(), bits.end());
    return bits;
}

/// Finds all intersections of triangles that are near each other on the screen, and what hides
/// them.
void FindIntersectionsAgain(const OnGrid& grid,
                            const kxcontour::Scene& scene,
                            const ctr::FeaturesByMesh& lines,
                            Counts& counts) {
    const std::vector<const kx::kxTriMesh*> meshes = test_support::MeshList(scene.meshes);
    ctr::BakedTriangles baked = test_support::Bake(grid.space, meshes);
    baked.setContactTolerance(kxcontour::kContactTolerance);
    ASSERT_EQ(baked.trianglePlanes.size(), grid.triangles.size());
    const auto near = [&](const test_support::ScreenBox& box) {
        return grid.bins.trianglesNear(box);
    };
    test_support::IntersectionCounts intersectionCounts;
    const test_support::IntersectionPieces pieces =
        PiecesOfIntersections(baked, near, intersectionCounts);
    EXPECT_EQ(BitsOf(lines.intersectionEdges), SortedWorldBits(grid.space, pieces.visible));
    EXPECT_EQ(BitsOf(lines.hiddenIntersectionEdges), SortedWorldBits(grid.space, pieces.hidden));
    counts.intersections += static_cast<int>(pieces.visible.size() + pieces.hidden.size());
}

// --- all together ---

class RealModels : public testing::TestWithParam<RealModel> {};

// Three directions, or with CTR_TEST_SCALE=9 all.
TEST_P(RealModels, AreDrawnExactlyFromAllSides) {
    kxcontour::InputOptions input;
    input.models = {GetParam().path};
    const kxcontour::Scene scene = LoadScene(input);
    Counts counts;
    std::uint64_t seed = 0;
    for (const Direction& d : Directions(test_support::Scaled(3))) {
        const OnGrid grid(scene, Aim(scene, d));
        const ctr::FeaturesByMesh lines = FindLines(scene, grid.space);
        LookAtPoints(grid, lines, ++seed, counts);
        FindIntersectionsAgain(grid, scene, lines, counts);
        ASSERT_FALSE(HasFailure()) << "seen from " << d.x << ' ' << d.y << ' ' << d.z;
    }
    RecordProperty("visible_points", counts.visible);
    RecordProperty("hidden_points", counts.hidden);
    RecordProperty("lines_seen_end_on", counts.endOn);
    RecordProperty("pieces_of_cuts", counts.intersections);
    std::printf(
        "%d visible points, %d hidden points, %d lines end-on, %d pieces of intersections\n",
        counts.visible, counts.hidden, counts.endOn, counts.intersections);
}

INSTANTIATE_TEST_SUITE_P(, RealModels, testing::ValuesIn(kModels), [](const auto& info) {
    return std::string(info.param.name);
});

} // namespace
