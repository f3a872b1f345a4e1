// Each sampled visible point of a drawing is visible and each hidden one is not, by a test of that
// point alone: whether a triangle is strictly in front of it. The triangles are those baked by the
// library; neither their planes nor the tree nor any parameter of a line is used.
#include <ctr/BakedTriangles.h>
#include <ctr/TrianglesIntersection.h>

#include "laws/Drawings.h"
#include "support/Baking.h"
#include "support/ExactIntersections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using laws::Cast;
using laws::CastOf;
using laws::Intervals;
using laws::MeshPointers;
using laws::Stage;
using test_support::Crossing;
using test_support::Describe;
using test_support::Fraction;
using test_support::Intersection;
using test_support::Random;
using test_support::RandomScene;
using test_support::Scaled;
using test_support::Scene;
using test_support::SegmentBits;
using test_support::SetPointer;
using test_support::Wide;

// --- the test of one point ---

// The point (x, y, z) / w with a positive w.
struct ExactPoint {
    Wide x;
    Wide y;
    Wide z;
    Wide w;
};

// a (1 - t) + b t.
ExactPoint Between(const ExactPoint& a, const ExactPoint& b, const Fraction& t) {
    const Wide ofA = (t.denominator - t.numerator) * b.w;
    const Wide ofB = t.numerator * a.w;
    return {a.x * ofA + b.x * ofB, a.y * ofA + b.y * ofB, a.z * ofA + b.z * ofB,
            t.denominator * a.w * b.w};
}

ExactPoint ToExact(const BakedVertex& v) {
    return {v.x, v.y, v.z, 1};
}

using Corners = std::array<BakedVertex, 3>;

Corners CornersOf(const BakedTriangles& baked, std::size_t triangle) {
    const unsigned int* corner = baked.triangleIndices.data() + 3 * triangle;
    return {baked.vertices[corner[0]], baked.vertices[corner[1]], baked.vertices[corner[2]]};
}

// How much of the triangle's area each corner takes at a point, times its w: the areas of the three
// triangles that the point makes with the sides, all positive for points inside.
std::array<Wide, 3> WeightsAt(const Corners& t, const ExactPoint& p) {
    const auto area = [&](const BakedVertex& a, const BakedVertex& b) {
        return (Wide{b.x} - a.x) * (p.y - a.y * p.w) - (Wide{b.y} - a.y) * (p.x - a.x * p.w);
    };
    return {area(t[1], t[2]), area(t[2], t[0]), area(t[0], t[1])};
}

// Outlines belong to triangles as occluders of lines, and do not where they intersect.
enum class Outline { belongs, doesNot };

bool IsBefore(const Corners& t, const ExactPoint& p, Outline outline) {
    const std::array<Wide, 3> weights = WeightsAt(t, p);
    const Wide least = *std::min_element(weights.begin(), weights.end());
    if (outline == Outline::belongs ? least < 0 : least <= 0) {
        return false;
    }
    const Wide area = (weights[0] + weights[1] + weights[2]) / p.w;
    const Wide depth = weights[0] * t[0].z + weights[1] * t[1].z + weights[2] * t[2].z;
    return depth < p.z * area;
}

bool IsHidden(const std::vector<Corners>& triangles, const ExactPoint& p, Outline outline) {
    return std::any_of(triangles.begin(), triangles.end(),
                       [&](const Corners& t) { return IsBefore(t, p, outline); });
}

std::vector<Corners> TrianglesOf(const ctr::DiscreteProjectionSpace& space,
                                 const MeshPointers& meshes) {
    const BakedTriangles baked = test_support::Bake(space, test_support::MeshList(meshes));
    std::vector<Corners> triangles;
    for (std::size_t i = 0; i < baked.trianglePlanes.size(); ++i) {
        triangles.push_back(CornersOf(baked, i));
    }
    return triangles;
}

// --- lines with hidden ranges ---

struct Counts {
    int visible = 0;
    int hidden = 0;
    int onPartlyHidden = 0;
};

void CheckSet(const ctr::LineSegmentSet* set,
              const Scene& scene,
              const std::vector<Corners>& triangles,
              Counts& counts) {
    const auto ends = set != nullptr ? test_support::EndsOf(*set)
                                     : std::vector<std::pair<laws::Point, laws::Point>>();
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const Intervals& hidden = set->occlusionIntervals[i];
        BakedVertex a{};
        BakedVertex b{};
        float w0 = 0.0F;
        float w1 = 0.0F;
        const auto [t0, t1] =
            scene.space.clipEdgeWorld(ends[i].first, ends[i].second, a, b, w0, w1);
        if (!(t0 < t1) || (a.x == b.x && a.y == b.y)) {
            ASSERT_EQ(laws::ValuesOf(hidden), laws::WholeLine()) << Describe(scene);
            continue;
        }
        for (const Fraction& t : test_support::SamplesBetweenEnds(hidden)) {
            const bool expected = test_support::Contains(hidden, t);
            const ExactPoint p = Between(ToExact(a), ToExact(b), t);
            ASSERT_EQ(IsHidden(triangles, p, Outline::belongs), expected)
                << "segment " << i << " at " << test_support::Text(t) << '\n'
                << Describe(scene);
            ++(expected ? counts.hidden : counts.visible);
            counts.onPartlyHidden += hidden.empty() ? 0 : 1;
        }
    }
}

TEST(DrawingPointVisibility, SampledPointsOfLinesAreSeenJustWhereTheyAreVisible) {
    Counts counts;
    for (int trial = 0; trial < Scaled(2500); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        Random random(scene.seed);
        Stage stage(scene.space, cast.drawn, cast.occluders);
        const ctr::GeometricFeatures features = stage.draw(scene.seed % 3 == 0);
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 20);
        stage.generator.computeOcclusion(*chords, 0);
        const std::vector<Corners> triangles = TrianglesOf(scene.space, scene.meshes);
        for (const auto* set :
             {features.creaseEdges.get(), features.silhouetteEdges.get(), chords.get()}) {
            ASSERT_NO_FATAL_FAILURE(CheckSet(set, scene, triangles, counts));
        }
    }
    EXPECT_GT(counts.visible, Scaled(30000));
    EXPECT_GT(counts.hidden, Scaled(10000));
    EXPECT_GT(counts.onPartlyHidden, Scaled(10000));
}

// --- intersection lines ---
//
// Where a triangle's outline passes an intersection line is rounded, so only lines are examined of
// which every triangle hides all or nothing: those are decided exactly, from end to end.

ExactPoint ToExact(const Crossing& c) {
    return Between(ToExact(c.from), ToExact(c.to), c.t);
}

int SignOf(Wide value) {
    return value < 0 ? -1 : static_cast<int>(value > 0);
}

// Depth of the point less that of the triangle's plane there, times positive numbers.
Wide DepthBehind(const Corners& t, const ExactPoint& p) {
    const std::array<Wide, 3> weights = WeightsAt(t, p);
    const Wide area = (weights[0] + weights[1] + weights[2]) / p.w;
    return p.z * area - (weights[0] * t[0].z + weights[1] * t[1].z + weights[2] * t[2].z);
}

// Whether a side or the plane of the triangle is passed strictly between two points.
bool Passes(const Corners& t, const ExactPoint& p, const ExactPoint& q) {
    const std::array<Wide, 3> atP = WeightsAt(t, p);
    const std::array<Wide, 3> atQ = WeightsAt(t, q);
    bool passes = SignOf(DepthBehind(t, p)) * SignOf(DepthBehind(t, q)) < 0;
    for (std::size_t k = 0; k < 3; ++k) {
        passes = passes || SignOf(atP[k]) * SignOf(atQ[k]) < 0;
    }
    return passes;
}

bool IsUndecided(const std::vector<Corners>& triangles, const ExactPoint& p, const ExactPoint& q) {
    return std::any_of(triangles.begin(), triangles.end(),
                       [&](const Corners& t) { return Passes(t, p, q); });
}

std::vector<SegmentBits> BitsOf(const ctr::LineSegmentSet* set) {
    std::vector<SegmentBits> segments;
    for (const auto& [p, q] : set != nullptr ? test_support::EndsOf(*set)
                                             : std::vector<std::pair<laws::Point, laws::Point>>()) {
        const auto first = test_support::Bits(p);
        const auto second = test_support::Bits(q);
        segments.push_back({first[0], first[1], first[2], second[0], second[1], second[2]});
    }
    std::sort(segments.begin(), segments.end());
    return segments;
}

struct IntersectionCounts {
    int visible = 0;
    int hidden = 0;
    int hiddenGiven = 0;
    int undecided = 0;
    int beside = 0; ///< Within a grid step or so of another line, whose piece may look the same.
    int inOneColumn = 0;
};

bool IsBetween(std::int32_t a, std::int32_t value, std::int32_t b) {
    return std::min(a, b) <= value && value <= std::max(a, b);
}

// Whether a point of the grid lies in the box of an intersection.
bool BoxHolds(const Intersection& intersection, const BakedVertex& p) {
    const BakedVertex& from = intersection.first.point;
    const BakedVertex& to = intersection.second.point;
    return IsBetween(from.x, p.x, to.x) && IsBetween(from.y, p.y, to.y) &&
           IsBetween(from.z, p.z, to.z);
}

// Pieces bear no name: another intersection may give the one that this intersection would give.
bool MayBeOfAnother(const Intersection& intersection,
                    const std::vector<Intersection>& intersections) {
    return std::count_if(intersections.begin(), intersections.end(),
                         [&](const Intersection& other) {
                             return BoxHolds(other, intersection.first.point) &&
                                    BoxHolds(other, intersection.second.point);
                         }) > 1;
}

struct IntersectionSets {
    std::vector<SegmentBits> visible;
    std::vector<SegmentBits> hidden;
};

bool Holds(const std::vector<SegmentBits>& segments, const SegmentBits& segment) {
    return std::binary_search(segments.begin(), segments.end(), segment);
}

void CheckIntersection(const Scene& scene,
                       const std::vector<Corners>& triangles,
                       const Intersection& intersection,
                       const std::vector<Intersection>& intersections,
                       const IntersectionSets& drawn,
                       IntersectionCounts& counts) {
    const ExactPoint p = ToExact(intersection.first);
    const ExactPoint q = ToExact(intersection.second);
    const BakedVertex& from = intersection.first.point;
    const BakedVertex& to = intersection.second.point;
    if (from.x == to.x && from.y == to.y) {
        ++counts.inOneColumn;
        return;
    }
    if (IsUndecided(triangles, p, q) || MayBeOfAnother(intersection, intersections)) {
        ++(IsUndecided(triangles, p, q) ? counts.undecided : counts.beside);
        return;
    }
    const SegmentBits whole = test_support::SortedWorldBits(scene.space, {{from, to}}).at(0);
    const bool hidden = IsHidden(triangles, Between(p, q, {1, 3}), Outline::doesNot);
    ASSERT_EQ(hidden, IsHidden(triangles, Between(p, q, {5, 7}), Outline::doesNot))
        << Describe(scene);
    ASSERT_EQ(Holds(drawn.visible, whole), !hidden) << Describe(scene);
    ++(hidden ? counts.hidden : counts.visible);
    counts.hiddenGiven += hidden && Holds(drawn.hidden, whole) ? 1 : 0;
    if (!hidden) {
        ASSERT_FALSE(Holds(drawn.hidden, whole)) << Describe(scene);
    }
}

std::vector<Intersection> IntersectionsOf(const BakedTriangles& baked) {
    std::vector<Intersection> intersections;
    const auto count = static_cast<unsigned int>(baked.trianglePlanes.size());
    for (unsigned int i = 0; i < count; ++i) {
        for (unsigned int j = i + 1; j < count; ++j) {
            test_support::IntersectionCounts ignored;
            if (const auto intersection = test_support::IntersectionOf(baked, i, j, ignored)) {
                intersections.push_back(*intersection);
            }
        }
    }
    return intersections;
}

void CheckIntersections(const Scene& scene, IntersectionCounts& counts) {
    const BakedTriangles baked = test_support::Bake(scene.space, scene.meshList());
    const std::vector<Corners> triangles = TrianglesOf(scene.space, scene.meshes);
    SetPointer hidden;
    const SetPointer visible(ctr::TrianglesIntersection(baked).computeIntersectionEdges(&hidden));
    const IntersectionSets drawn{BitsOf(visible.get()), BitsOf(hidden.get())};
    const std::vector<Intersection> intersections = IntersectionsOf(baked);
    for (const Intersection& intersection : intersections) {
        ASSERT_NO_FATAL_FAILURE(
            CheckIntersection(scene, triangles, intersection, intersections, drawn, counts));
    }
}

TEST(DrawingPointVisibility, IntersectionLinesHiddenAsAWholeOrNotAtAllAreDrawnAccordingly) {
    IntersectionCounts counts;
    for (int trial = 0; trial < Scaled(20000); ++trial) {
        ASSERT_NO_FATAL_FAILURE(
            CheckIntersections(laws::CrossedTriangles(static_cast<std::uint64_t>(trial)), counts));
    }
    RecordProperty("visible", counts.visible);
    RecordProperty("hidden", counts.hidden);
    RecordProperty("hiddenGiven", counts.hiddenGiven);
    RecordProperty("undecided", counts.undecided);
    RecordProperty("beside", counts.beside);
    EXPECT_GT(counts.visible, Scaled(5000));
    EXPECT_GT(counts.hidden, Scaled(700));
    EXPECT_GT(counts.hiddenGiven, Scaled(300));
}

} // namespace
