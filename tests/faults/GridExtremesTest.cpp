// Drawings on the coarsest and finest grids, of tiny and huge models, and far from the origin: no
// crash, valid intervals, and exact scalings that change no drawing.
#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/RationalTools.h>
#include <ctr/SVGExporter.h>
#include <ctr/TrianglesIntersection.h>

#include "faults/SmallDrawing.h"
#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/ExactIntersections.h"
#include "support/Random.h"
#include "support/RandomScenes.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

using ctr::DiscreteProjectionSpace;
using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using ctr::RationalTools;
using test_support::Point;
using test_support::Scaled;
using test_support::SetPointer;
using test_support::SmallScene;
using test_support::WriteDrawing;

// --- what every drawing keeps -----------------------------------------------------------------

/// Ranges lie in order and apart, within 0 and 1, none of them a point.
void ExpectRanges(const std::vector<ctr::RationalInterval>& ranges) {
    Wm4::Vector2<std::int64_t> before(0, 1);
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        EXPECT_GT(ranges[i].start[1], 0);
        EXPECT_GT(ranges[i].end[1], 0);
        EXPECT_GE(RationalTools::GreaterThan(ranges[i].start, before), i == 0 ? 0 : 1);
        EXPECT_EQ(RationalTools::GreaterThan(ranges[i].end, ranges[i].start), 1);
        before = ranges[i].end;
    }
    EXPECT_LE(RationalTools::GreaterThan(before, Wm4::Vector2<std::int64_t>(1, 1)), 0);
}

void ExpectRecords(const LineSegmentSet& set) {
    const auto segments = static_cast<std::size_t>(set.GetIndexBuffer()->GetIndexQuantity() / 2);
    ASSERT_EQ(set.occlusionIntervals.size(), segments);
    ASSERT_EQ(set.clipRanges.size(), segments);
    for (const auto& ranges : set.occlusionIntervals) {
        ExpectRanges(ranges);
    }
}

/// Whether the view has a width and a height, in floats; without, its place on the page is none.
bool HasSize(const DiscreteProjectionSpace& space) {
    const Wm4::Vector2<float> size = space.computeFrustumSizeXY();
    return size[0] > 0.0F && size[1] > 0.0F && std::isfinite(size[0]) && std::isfinite(size[1]);
}

/// Whether all vertices are numbers; lines that end at others are nowhere on the page.
bool AreFinite(const std::vector<const kx::kxTriMesh*>& meshes) {
    for (const kx::kxTriMesh* mesh : meshes) {
        if (mesh == nullptr) {
            continue;
        }
        for (const Point& p : test_support::PositionsOf(mesh->GetVertexBuffer())) {
            if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
                return false;
            }
        }
    }
    return true;
}

/// Draws, checks the records, and writes the file, which is only examined for numbers.
void ExpectDrawing(const std::vector<const kx::kxTriMesh*>& meshes,
                   const DiscreteProjectionSpace& space) {
    GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(space);
    generator.setSingleExportCluster(meshes, nullptr);
    GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);
    for (const SetPointer& set : {features.creaseEdges, features.silhouetteEdges}) {
        if (set) {
            ExpectRecords(*set);
            const std::string first = test_support::BytesOf(set.get());
            generator.computeOcclusion(*set, 0);
            EXPECT_TRUE(test_support::BytesOf(set.get()) == first) << "hidden twice";
        }
    }
    const std::string path = test_support::OwnPath("grid");
    ctr::SVGExporter exporter;
    EXPECT_TRUE(WriteDrawing(exporter, space, features, path));
    const std::string text = test_support::FileBytes(path);
    if (HasSize(space) && AreFinite(meshes)) {
        EXPECT_EQ(text.find("nan"), std::string::npos);
        EXPECT_EQ(text.find("inf"), std::string::npos);
    }
    std::filesystem::remove(path);
}

// --- bit sizes --------------------------------------------------------------------------------

using Bits2 = std::pair<unsigned int, unsigned int>;

class DrawingBitSizes : public testing::TestWithParam<Bits2> {};

// The constructor's 20 and 20 bits are one more than the setter takes, so they stay as they are.
DiscreteProjectionSpace WithBits(DiscreteProjectionSpace space, const Bits2& bits) {
    if (bits == Bits2(20, 20)) {
        DiscreteProjectionSpace ofTheConstructor;
        ofTheConstructor.setViewProjection(space.worldToClip, space.clipToWorld);
        ofTheConstructor.updateRatios();
        return ofTheConstructor;
    }
    EXPECT_TRUE(space.setVoxelBitSize(bits.first, bits.second));
    return space;
}

TEST_P(DrawingBitSizes, DrawRandomScenesWithoutHarm) {
    for (int seed = 0; seed < Scaled(50); ++seed) {
        const test_support::Scene scene =
            test_support::RandomScene(static_cast<std::uint64_t>(seed));
        SCOPED_TRACE(test_support::Describe(scene));
        ExpectDrawing(scene.meshList(), WithBits(scene.space, GetParam()));
        ASSERT_FALSE(HasFailure());
    }
}

TEST_P(DrawingBitSizes, DrawTheSmallSceneWithoutHarm) {
    const SmallScene scene;
    ExpectDrawing(test_support::MeshList(scene.meshes), WithBits(scene.space, GetParam()));
    ExpectDrawing(test_support::MeshList(scene.meshes),
                  WithBits(test_support::PerspectiveSpace(8, 8, 1.5F, 0.5F, 30.0F), GetParam()));
}

TEST_P(DrawingBitSizes, IntersectionAsThe128BitReferenceDoes) {
    test_support::IntersectionCounts counts;
    for (int seed = 0; seed < Scaled(200); ++seed) {
        const test_support::Scene scene =
            test_support::RandomScene(static_cast<std::uint64_t>(seed));
        const DiscreteProjectionSpace space = WithBits(scene.space, GetParam());
        const ctr::BakedTriangles baked = test_support::Bake(space, scene.meshList());
        const ctr::TrianglesIntersection intersection(baked);
        const SetPointer found(intersection.computeIntersectionEdges());
        std::vector<test_support::SegmentBits> lines;
        if (found) {
            for (const auto& [p, q] : test_support::EndsOf(*found)) {
                const auto a = test_support::Bits(p);
                const auto b = test_support::Bits(q);
                lines.push_back({a[0], a[1], a[2], b[0], b[1], b[2]});
            }
        }
        std::sort(lines.begin(), lines.end());
        ASSERT_EQ(lines, test_support::SortedWorldBits(
                             space, test_support::VisibleIntersections(baked, counts)))
            << test_support::Describe(scene);
    }
    EXPECT_GT(counts.pairs, 0);
}

INSTANTIATE_TEST_SUITE_P(Coarsest,
                         DrawingBitSizes,
                         testing::Values(Bits2(2, 2), Bits2(2, 3), Bits2(3, 2)));
INSTANTIATE_TEST_SUITE_P(Finest,
                         DrawingBitSizes,
                         testing::Values(Bits2(20, 20), // the constructor's
                                         Bits2(20, 19),
                                         Bits2(28, 3),
                                         Bits2(28, 2),
                                         Bits2(24, 11),
                                         Bits2(15, 29),
                                         Bits2(14, 30),
                                         Bits2(2, 30)));

// --- bit sizes beyond all bounds ---------------------------------------------------------------

// Sizes whose sum is taken for a small one, as it wraps: coordinates saturate at 2^31 - 1, products
// wrap, and the grid is of no use. Nothing may be undefined all the same, which the sanitizers see.

Bits2 RandomWrappingBits(test_support::Random& random) {
    for (;;) {
        const auto upper = static_cast<unsigned int>(random.below(0x10000)) << 16;
        const auto lower = static_cast<unsigned int>(random.below(0x10000));
        const unsigned int xyBits[] = {0x80000000U + lower % 32U, lower % 64U, upper | lower};
        const unsigned int xy = xyBits[random.below(3)];
        const unsigned int z = static_cast<unsigned int>(random.below(60)) - 2U * xy;
        if (xy > 1 && z > 1 && (xy > 28 || z > 55)) {
            return {xy, z};
        }
    }
}

/// Everything that the generator finds of a scene, some of whose meshes only hide, bit by bit.
std::string LinesOf(const test_support::Scene& scene,
                    const DiscreteProjectionSpace& space,
                    unsigned int tolerance) {
    std::vector<const kx::kxTriMesh*> drawn = scene.meshList();
    const std::vector<const kx::kxTriMesh*> hiding(1, drawn.back());
    drawn.pop_back();
    GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(space);
    generator.setContactTolerance(tolerance);
    generator.setSingleExportCluster(drawn, &hiding);
    GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);
    std::string text;
    for (const SetPointer& set : {features.creaseEdges, features.silhouetteEdges}) {
        if (set) {
            generator.computeOcclusion(*set, 0);
            const SetPointer visible(LineSegmentSet::BakeVisibleSegments(set.get()));
            text += test_support::BytesOf(set.get()) + test_support::BytesOf(visible.get());
        }
    }
    SetPointer hidden;
    const SetPointer visible(generator.computeIntersectionEdges(0, &hidden));
    for (const SetPointer& set : {features.intersectionEdges, visible, hidden}) {
        text += test_support::BytesOf(set.get());
    }
    return text;
}

void RequestSegments(const test_support::Scene& scene,
                     const DiscreteProjectionSpace& space,
                     unsigned int tolerance,
                     test_support::Random& random) {
    constexpr std::int32_t kMost = 0x7fffffff;
    ctr::BakedTriangles baked = test_support::Bake(space, scene.meshList());
    baked.setContactTolerance(tolerance);
    const auto coordinate = [&] { return random.percent(30) ? kMost : random.below(kMost); };
    const auto point = [&]() -> ctr::BakedVertex {
        const auto count = static_cast<int>(baked.vertices.size());
        if (count > 0 && random.percent(50)) {
            return baked.vertices[static_cast<std::size_t>(random.below(count))];
        }
        return {coordinate(), coordinate(), coordinate()};
    };
    for (int i = 0; i < 20; ++i) {
        std::vector<ctr::RationalInterval> ranges;
        baked.computeOcclusionIntervals(point(), point(), ranges);
        ctr::IntervalTools::FuseOverlappingIntervals(ranges);
    }
}

void DrawWithoutHarm(int seed, const Bits2& bits) {
    test_support::Random random(static_cast<std::uint64_t>(seed));
    const test_support::Scene scene = test_support::OverlappingScene(random, random.below(4));
    constexpr unsigned int kTolerances[] = {0U, 2U, 1000U, 0xffffffffU};
    const unsigned int tolerance = kTolerances[random.below(4)];
    const DiscreteProjectionSpace space = WithBits(scene.space, bits);
    SCOPED_TRACE(std::to_string(bits.first) + " and " + std::to_string(bits.second) +
                 " bits, tolerance " + std::to_string(tolerance) + ", seed " +
                 std::to_string(seed));
    EXPECT_TRUE(LinesOf(scene, space, tolerance) == LinesOf(scene, space, tolerance));
    RequestSegments(scene, space, tolerance, random);
}

class DrawingWrappingBitSizes : public testing::TestWithParam<Bits2> {};

TEST_P(DrawingWrappingBitSizes, DrawRandomScenesWithoutHarm) {
    for (int seed = 0; seed < Scaled(60); ++seed) {
        DrawWithoutHarm(seed, GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Known,
                         DrawingWrappingBitSizes,
                         testing::Values(Bits2(0x80000002U, 2),
                                         Bits2(0x8000001cU, 3),
                                         Bits2(0x80000010U, 27),
                                         Bits2(0xfffffff0U, 50)));

TEST(DrawingAnyWrappingBitSizes, DrawRandomScenesWithoutHarm) {
    for (int seed = 0; seed < Scaled(300); ++seed) {
        test_support::Random random(static_cast<std::uint64_t>(seed) + 1000U);
        DrawWithoutHarm(seed, RandomWrappingBits(random));
    }
}

// --- sizes of models --------------------------------------------------------------------------

Wm4::Matrix4<float> WithRows(const Wm4::Matrix4<float>& matrix, float factor) {
    Wm4::Matrix4<float> scaled = matrix;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            scaled[row][column] *= factor;
        }
    }
    return scaled;
}

Wm4::Matrix4<float> WithColumns(const Wm4::Matrix4<float>& matrix, float factor) {
    Wm4::Matrix4<float> scaled = matrix;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            scaled[row][column] *= factor;
        }
    }
    return scaled;
}

/// The same mesh, larger by a factor about the origin; normals and outlines stay.
void Enlarge(const kx::kxTriMesh& mesh, float factor) {
    kx::kxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
        vertices.Position3(i) = factor * vertices.Position3(i);
    }
}

/// The small scene with its camera, both larger by a factor.
SmallScene EnlargedScene(float factor) {
    SmallScene scene;
    for (const auto& list : {scene.meshes, scene.hiding}) {
        for (const auto& mesh : list) {
            if (mesh) {
                Enlarge(*mesh, factor);
            }
        }
    }
    scene.space.setViewProjection(WithRows(scene.space.worldToClip, 1.0F / factor),
                                  WithColumns(scene.space.clipToWorld, factor));
    scene.space.updateRatios();
    return scene;
}

/// Lines and what is hidden of them, without their places in space, and the file.
std::string DrawingOf(const SmallScene& scene) {
    GeometricFeaturesGenerator generator;
    GeometricFeatures features;
    DrawScene(generator, scene, features);
    std::string text;
    for (const SetPointer& set :
         {features.creaseEdges, features.silhouetteEdges, features.intersectionEdges}) {
        text += set ? test_support::IndicesText(set->GetIndexBuffer()) : "null";
        for (std::size_t i = 0; set && i < set->occlusionIntervals.size(); ++i) {
            text += test_support::RangesText(set->occlusionIntervals[i]) + '\n';
        }
    }
    const std::string path = test_support::OwnPath("size");
    ctr::SVGExporter exporter;
    EXPECT_TRUE(WriteDrawing(exporter, scene.space, features, path));
    text += test_support::FileBytes(path);
    std::filesystem::remove(path);
    return text;
}

// Factors that are powers of two change no digit of a float, so they change no drawing as long as
// the squares of the view's width and height, which make cells square, are floats as well.
TEST(DrawingSizes, InPowersOfTwoChangeNoDrawing) {
    const std::string drawing = DrawingOf(SmallScene());
    for (int exponent = -57; exponent <= 57; exponent += 3) {
        EXPECT_TRUE(DrawingOf(EnlargedScene(std::ldexp(1.0F, exponent))) == drawing)
            << "larger by 2 to the power of " << exponent;
    }
}

TEST(DrawingSizes, FromTheSmallestToTheLargestDoNoHarm) {
    for (int exponent = -30; exponent <= 30; ++exponent) {
        SCOPED_TRACE(exponent);
        const SmallScene scene =
            EnlargedScene(static_cast<float>(std::pow(10.0, static_cast<double>(exponent))));
        ExpectDrawing(test_support::MeshList(scene.meshes), scene.space);
    }
}

// A model that is tiny or huge in a view that was made for another.
TEST(DrawingSizes, ThatDoNotFitTheViewDoNoHarm) {
    for (int exponent = -30; exponent <= 30; exponent += 5) {
        SCOPED_TRACE(exponent);
        SmallScene scene =
            EnlargedScene(static_cast<float>(std::pow(10.0, static_cast<double>(exponent))));
        ExpectDrawing(test_support::MeshList(scene.meshes), SmallScene().space);
        ExpectDrawing(test_support::MeshList(SmallScene().meshes), scene.space);
    }
}

// --- far away ---------------------------------------------------------------------------------

void Move(const kx::kxTriMesh& mesh, const Point& offset) {
    kx::kxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
        vertices.Position3(i) = vertices.Position3(i) + offset;
    }
}

/// Looks along z at the box of half width 32 around a centre: all its numbers are powers of two.
DiscreteProjectionSpace ViewAround(const Point& centre) {
    Wm4::Matrix4<float> toClip = Wm4::Matrix4<float>::IDENTITY;
    Wm4::Matrix4<float> toWorld = Wm4::Matrix4<float>::IDENTITY;
    for (int axis = 0; axis < 3; ++axis) {
        toClip[axis][axis] = 1.0F / 32.0F;
        toClip[3][axis] = -centre[axis] / 32.0F;
        toWorld[axis][axis] = 32.0F;
        toWorld[3][axis] = centre[axis];
    }
    DiscreteProjectionSpace space;
    space.setViewProjection(toClip, toWorld);
    space.setVoxelBitSize(12, 12);
    return space;
}

SmallScene SceneAt(const Point& centre) {
    SmallScene scene;
    for (const auto& list : {scene.meshes, scene.hiding}) {
        for (const auto& mesh : list) {
            if (mesh) {
                Move(*mesh, centre);
            }
        }
    }
    scene.space = ViewAround(centre);
    return scene;
}

// Whole coordinates are floats up to 2^24, so a place near a million loses nothing of them. The
// intersection lines are left out: their ends are no whole numbers, and are rounded to the floats
// there.
TEST(DrawingFarFromTheOrigin, WholeCoordinatesAreHiddenAsAtTheOrigin) {
    const auto hidden = [](const SmallScene& scene) {
        GeometricFeaturesGenerator generator;
        GeometricFeatures features;
        DrawScene(generator, scene, features);
        std::string text;
        for (const SetPointer& set : {features.creaseEdges, features.silhouetteEdges}) {
            text += test_support::IndicesText(set->GetIndexBuffer());
            for (const auto& ranges : set->occlusionIntervals) {
                text += test_support::RangesText(ranges) + '\n';
            }
        }
        return text;
    };
    const std::string near = hidden(SceneAt({0.0F, 0.0F, 0.0F}));
    EXPECT_NE(near.find('/'), std::string::npos);
    EXPECT_TRUE(hidden(SceneAt({1048576.0F, -1048576.0F, 2097152.0F})) == near);
}

TEST(DrawingFarFromTheOrigin, RoundedCoordinatesDoNoHarm) {
    for (const float away : {1e6F, 1e7F, 1e8F, 1e12F, 1e30F}) {
        SCOPED_TRACE(away);
        const SmallScene scene = SceneAt({away, -away, 0.7F * away});
        ExpectDrawing(test_support::MeshList(scene.meshes), scene.space);
    }
}

} // namespace
