// The driver: the lines of meshes, their occluded intervals, progress and cancellation. World
// points of the scenes are grid points: x, y and z from 0 to 30, z growing away from the eye.
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSceneGraph/kxMetadata.h>
#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxProgressNotifierInterface.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using ctr::RationalInterval;
using test_support::EndsOf;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::KeyOf;
using test_support::MakeIndices;
using test_support::MakeMesh;
using test_support::MakeSet;
using test_support::NumbersOf;
using test_support::Range;
using test_support::ScaleAndMove;
using test_support::SetPointer;
using test_support::Vec3;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;
using Meshes = std::vector<const kx::kxTriMesh*>;

const Vec3 kUp(0.0F, 0.0F, 1.0F);

// A rectangle that faces the eye, of two triangles with equal normals: four border edges.
MeshPointer Plate(float x0, float y0, float x1, float y1, float z) {
    return MakeMesh({Vec3(x0, y0, z), Vec3(x1, y0, z), Vec3(x1, y1, z), Vec3(x0, y1, z)},
                    {kUp, kUp, kUp, kUp}, {0, 1, 2, 0, 2, 3});
}

// Two plates that meet in the ridge x = 10 with split vertices and normals `degrees` apart. Both
// face the eye, so the ridge is no silhouette.
MeshPointer Roof(float degrees) {
    const double radians = degrees * 3.14159265358979323846 / 180.0;
    const Vec3 tilted(static_cast<float>(std::sin(radians)), 0.0F,
                      static_cast<float>(std::cos(radians)));
    return MakeMesh({Vec3(4, 4, 12), Vec3(10, 4, 10), Vec3(10, 16, 10), Vec3(4, 16, 12),
                     Vec3(10, 4, 10), Vec3(16, 4, 12), Vec3(16, 16, 12), Vec3(10, 16, 10)},
                    {kUp, kUp, kUp, kUp, tilted, tilted, tilted, tilted},
                    {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7});
}

using Position = std::array<float, 3>;
using Lines = std::multiset<std::pair<Position, Position>>;

// Segments as pairs of points, the smaller first.
Lines LinesOf(const kx::kxPointer<LineSegmentSet>& set) {
    Lines lines;
    if (set) {
        for (const auto& [p, q] : EndsOf(*set)) {
            lines.insert(std::minmax(KeyOf(p), KeyOf(q)));
        }
    }
    return lines;
}

Lines Borders(float x0, float y0, float x1, float y1, float z) {
    const Position a{x0, y0, z};
    const Position b{x1, y0, z};
    const Position c{x1, y1, z};
    const Position d{x0, y1, z};
    return {std::minmax(a, b), std::minmax(b, c), std::minmax(c, d), std::minmax(d, a)};
}

struct Hidden {
    double from;
    double to;
    bool operator==(const Hidden&) const = default;
};

std::vector<Hidden> ValuesOf(const std::vector<RationalInterval>& ranges) {
    std::vector<Hidden> values;
    values.reserve(ranges.size());
    for (const RationalInterval& r : ranges) {
        values.push_back({static_cast<double>(r.start[0]) / static_cast<double>(r.start[1]),
                          static_cast<double>(r.end[0]) / static_cast<double>(r.end[1])});
    }
    return values;
}

// The hidden ranges of the segment between two points, counted from the first point.
std::vector<Hidden>
HiddenBetween(const LineSegmentSet& set, const Position& from, const Position& to) {
    const auto ends = EndsOf(set);
    EXPECT_EQ(set.occlusionIntervals.size(), ends.size());
    for (std::size_t i = 0; i < ends.size(); ++i) {
        std::vector<Hidden> hidden = ValuesOf(set.occlusionIntervals[i]);
        if (KeyOf(ends[i].first) == from && KeyOf(ends[i].second) == to) {
            return hidden;
        }
        if (KeyOf(ends[i].first) == to && KeyOf(ends[i].second) == from) {
            std::reverse(hidden.begin(), hidden.end());
            for (Hidden& h : hidden) {
                h = {1.0 - h.to, 1.0 - h.from};
            }
            return hidden;
        }
    }
    ADD_FAILURE() << "no such segment";
    return {};
}

// A generator over a 5-bit lattice.
class Drawing {
public:
    explicit Drawing(const Meshes& meshes, const Meshes* occluders = nullptr) {
        generator.setProjectionSpace(test_support::LatticeSpace(5, 5));
        generator.setSingleExportCluster(meshes, occluders);
    }

    GeometricFeatures draw(bool removeCommonSegments = false) {
        GeometricFeatures out;
        generator.computeGeometricFeatures(out, 0, removeCommonSegments);
        return out;
    }

    GeometricFeaturesGenerator generator;
};

// A record that holds a set in every field, for runs that leave some of them alone.
struct FilledRecord {
    SetPointer old = MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0)}, {0, 1});
    GeometricFeatures out{old, old, old};
};

TEST(GeometricFeaturesGenerator, AClusterOutOfRangeEmptiesTheRecord) {
    const MeshPointer plate = Plate(2, 2, 8, 8, 5);
    Drawing drawing({plate.get()});
    FilledRecord record;
    drawing.generator.computeGeometricFeatures(record.out, 1, true);
    EXPECT_FALSE(record.out.creaseEdges);
    EXPECT_FALSE(record.out.silhouetteEdges);
    EXPECT_FALSE(record.out.intersectionEdges);
    EXPECT_EQ(record.old->GetReferences(), 1);
}

TEST(GeometricFeaturesGenerator, HasNoClusterToBeginWith) {
    GeometricFeaturesGenerator generator;
    FilledRecord record;
    generator.computeGeometricFeatures(record.out, 0, false);
    EXPECT_FALSE(record.out.creaseEdges);
    EXPECT_FALSE(record.out.silhouetteEdges);
    EXPECT_FALSE(record.out.intersectionEdges);
}

TEST(GeometricFeaturesGenerator, AnEmptyClusterHasNoLines) {
    for (const Meshes& meshes : {Meshes{}, Meshes{nullptr, nullptr}}) {
        Drawing drawing(meshes);
        const GeometricFeatures out = drawing.draw(true);
        EXPECT_FALSE(out.creaseEdges);
        EXPECT_FALSE(out.silhouetteEdges);
        EXPECT_FALSE(out.intersectionEdges);
    }
}

TEST(GeometricFeaturesGenerator, FindsCreasesAndSilhouettesAndWhatIsVisibleOfThem) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Drawing drawing({plate.get()});
    const GeometricFeatures out = drawing.draw();
    EXPECT_EQ(LinesOf(out.creaseEdges), Borders(2, 3, 8, 9, 5));
    EXPECT_EQ(LinesOf(out.silhouetteEdges), Borders(2, 3, 8, 9, 5));
    for (const auto& set : {out.creaseEdges, out.silhouetteEdges}) {
        ASSERT_EQ(set->occlusionIntervals.size(), 4U);
        ASSERT_EQ(set->clipRanges.size(), 4U);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_TRUE(set->occlusionIntervals[i].empty()); // its own triangles hide nothing
            EXPECT_EQ(NumbersOf(set->clipRanges[i]), (std::array<float, 4>{0, 1, 1, 1}));
        }
        EXPECT_TRUE(set->segmentFlags.empty());
    }
}

TEST(GeometricFeaturesGenerator, NullMeshesInTheListAreSkipped) {
    const MeshPointer a = Plate(2, 3, 8, 9, 5);
    const MeshPointer b = Plate(12, 13, 18, 19, 7);
    Drawing drawing({nullptr, a.get(), nullptr, b.get(), nullptr});
    const GeometricFeatures out = drawing.draw();
    Lines expected = Borders(2, 3, 8, 9, 5);
    expected.merge(Borders(12, 13, 18, 19, 7));
    EXPECT_EQ(LinesOf(out.creaseEdges), expected);
    EXPECT_EQ(LinesOf(out.silhouetteEdges), expected);
}

TEST(GeometricFeaturesGenerator, LinesAreInWorldSpace) {
    const MeshPointer plate = Plate(0, 0, 2, 2, 0);
    plate->SetLocalTransformation(ScaleAndMove(Vec3(7, 7, 7), Vec3(7, 7, 7)));
    plate->SetWorldTransformation(ScaleAndMove(Vec3(3, 3, 1), Vec3(4, 5, 9)));
    Drawing drawing({plate.get()});
    const GeometricFeatures out = drawing.draw();
    EXPECT_EQ(LinesOf(out.creaseEdges), Borders(4, 5, 10, 11, 9));
    EXPECT_EQ(LinesOf(out.silhouetteEdges), Borders(4, 5, 10, 11, 9));
    EXPECT_TRUE(out.creaseEdges->GetWorldTransformation().IsIdentity());
    EXPECT_TRUE(out.silhouetteEdges->GetWorldTransformation().IsIdentity());
}

TEST(GeometricFeaturesGenerator, MeshesBendAtMoreThanFiveDegrees) {
    const Position ridgeStart{10, 4, 10};
    const Position ridgeEnd{10, 16, 10};
    for (const auto& [degrees, copies] :
         std::vector<std::pair<float, std::size_t>>{{4.9F, 0}, {5.1F, 2}}) {
        const MeshPointer roof = Roof(degrees);
        Drawing drawing({roof.get()});
        const GeometricFeatures out = drawing.draw();
        EXPECT_EQ(LinesOf(out.creaseEdges).count({ridgeStart, ridgeEnd}), copies);
        EXPECT_EQ(LinesOf(out.creaseEdges).size(), 6U + copies);
        EXPECT_EQ(LinesOf(out.silhouetteEdges).size(), 6U);
    }
}

TEST(GeometricFeaturesGenerator, ACreaseThatIsASilhouetteIsDrawnOnceOnDemand) {
    const MeshPointer roof = Roof(40.0F);
    Drawing drawing({roof.get()});
    EXPECT_EQ(LinesOf(drawing.draw(false).creaseEdges).size(), 8U);
    const GeometricFeatures out = drawing.draw(true);
    const std::pair<Position, Position> ridge({10, 4, 10}, {10, 16, 10});
    EXPECT_EQ(LinesOf(out.creaseEdges), (Lines{ridge, ridge}));
    EXPECT_EQ(LinesOf(out.silhouetteEdges).size(), 6U);
    EXPECT_EQ(out.creaseEdges->occlusionIntervals.size(), 2U);
}

TEST(GeometricFeaturesGenerator, ACreaseSetEmptiedByTheRemovalBecomesNull) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Drawing drawing({plate.get()});
    const GeometricFeatures out = drawing.draw(true);
    EXPECT_FALSE(out.creaseEdges);
    EXPECT_EQ(LinesOf(out.silhouetteEdges).size(), 4U);
}

TEST(GeometricFeaturesGenerator, AnExportedMeshHidesWhatIsBehindIt) {
    const MeshPointer back = Plate(2, 10, 22, 12, 20);
    const MeshPointer front = Plate(7, 5, 12, 15, 5);
    Drawing drawing({back.get(), front.get()});
    const GeometricFeatures out = drawing.draw();
    for (const auto& set : {out.creaseEdges, out.silhouetteEdges}) {
        ASSERT_TRUE(set);
        EXPECT_EQ(LinesOf(set).size(), 8U);
        EXPECT_EQ(HiddenBetween(*set, {2, 10, 20}, {22, 10, 20}),
                  (std::vector<Hidden>{{0.25, 0.5}}));
        EXPECT_TRUE(HiddenBetween(*set, {2, 10, 20}, {2, 12, 20}).empty());
        EXPECT_TRUE(HiddenBetween(*set, {7, 5, 5}, {7, 15, 5}).empty());
    }
}

TEST(GeometricFeaturesGenerator, AnOccluderHidesButIsNotDrawn) {
    const MeshPointer back = Plate(2, 10, 22, 12, 20);
    const MeshPointer front = Plate(7, 5, 12, 15, 5);
    const Meshes occluders{nullptr, front.get()};
    Drawing drawing({back.get()}, &occluders);
    const GeometricFeatures out = drawing.draw();
    for (const auto& set : {out.creaseEdges, out.silhouetteEdges}) {
        EXPECT_EQ(LinesOf(set), Borders(2, 10, 22, 12, 20));
        EXPECT_EQ(HiddenBetween(*set, {2, 10, 20}, {22, 10, 20}),
                  (std::vector<Hidden>{{0.25, 0.5}}));
    }
}

TEST(GeometricFeaturesGenerator, WithoutOccludersOnlyExportedMeshesHide) {
    const MeshPointer back = Plate(2, 10, 22, 12, 20);
    const MeshPointer front = Plate(7, 5, 12, 15, 5);
    const Meshes occluders{front.get()};
    const Meshes empty;
    Drawing drawing({back.get()}, &occluders);
    for (const Meshes* none : {&empty, static_cast<const Meshes*>(nullptr)}) {
        drawing.generator.setSingleExportCluster({back.get()}, &occluders);
        drawing.generator.setSingleExportCluster({back.get()}, none);
        const GeometricFeatures out = drawing.draw();
        EXPECT_TRUE(HiddenBetween(*out.creaseEdges, {2, 10, 20}, {22, 10, 20}).empty());
    }
}

TEST(GeometricFeaturesGenerator, RangesOfBothListsAreJoined) {
    const MeshPointer back = Plate(2, 10, 22, 12, 20);
    const MeshPointer exported = Plate(6, 5, 10, 15, 5);
    const MeshPointer touching = Plate(10, 5, 14, 15, 8);
    const MeshPointer apart = Plate(18, 5, 20, 15, 8);
    const Meshes occluders{apart.get(), touching.get()};
    Drawing drawing({back.get(), exported.get()}, &occluders);
    const GeometricFeatures out = drawing.draw();
    EXPECT_EQ(HiddenBetween(*out.creaseEdges, {2, 10, 20}, {22, 10, 20}),
              (std::vector<Hidden>{{0.2, 0.6}, {0.8, 0.9}}));
}

TEST(GeometricFeaturesGenerator, ComputesTheSameAgain) {
    const MeshPointer back = Plate(2, 10, 22, 12, 20);
    const MeshPointer front = Plate(7, 5, 12, 15, 5);
    Drawing drawing({back.get(), front.get()});
    const GeometricFeatures first = drawing.draw();
    const GeometricFeatures second = drawing.draw();
    ASSERT_EQ(IndicesOf(*first.creaseEdges), IndicesOf(*second.creaseEdges));
    for (std::size_t i = 0; i < first.creaseEdges->occlusionIntervals.size(); ++i) {
        EXPECT_EQ(NumbersOf(first.creaseEdges->occlusionIntervals[i]),
                  NumbersOf(second.creaseEdges->occlusionIntervals[i]));
    }
}

TEST(GeometricFeaturesGenerator, ReplacesAndReleasesWhatTheRecordHeld) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Drawing drawing({plate.get()});
    FilledRecord record;
    drawing.generator.computeGeometricFeatures(record.out, 0, false);
    EXPECT_FALSE(record.out.creaseEdges == record.old.get());
    EXPECT_FALSE(record.out.silhouetteEdges == record.old.get());
    EXPECT_FALSE(record.out.intersectionEdges == record.old.get());
    EXPECT_EQ(record.old->GetReferences(), 1);
}

TEST(GeometricFeaturesGenerator, TheRecordOutlivesGeneratorAndMeshes) {
    GeometricFeatures out;
    {
        const MeshPointer plate = Plate(2, 3, 8, 9, 5);
        Drawing drawing({plate.get()});
        out = drawing.draw();
    }
    EXPECT_EQ(LinesOf(out.creaseEdges), Borders(2, 3, 8, 9, 5));
    EXPECT_EQ(out.creaseEdges->GetReferences(), 1);
}

TEST(GeometricFeaturesGenerator, KeepsNothingOfTheMeshesBuffers) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    {
        Drawing drawing({plate.get()});
        const GeometricFeatures out = drawing.draw();
        EXPECT_EQ(plate->GetVertexBuffer()->GetReferences(), 1); // per-mesh sets are gone
    }
    EXPECT_EQ(plate->GetReferences(), 1);
    EXPECT_EQ(plate->GetIndexBuffer()->GetReferences(), 1);
}

TEST(GeometricFeaturesGenerator, TheProjectionSpaceIsCopied) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    GeometricFeaturesGenerator generator;
    {
        ctr::DiscreteProjectionSpace space = test_support::LatticeSpace(5, 5);
        generator.setProjectionSpace(space);
        space.setViewProjection(Wm4::Matrix4<float>(true), Wm4::Matrix4<float>(true));
    }
    generator.setSingleExportCluster({plate.get()}, nullptr);
    const ctr::BakedTriangles& baked = generator.getBakedTriangles(0);
    ASSERT_EQ(baked.vertices.size(), 4U);
    EXPECT_EQ(baked.vertices[2].x, 8);
    EXPECT_EQ(baked.vertices[2].y, 9);
    EXPECT_EQ(baked.vertices[2].z, 5);
}

TEST(GeometricFeaturesGenerator, BakesOnlyWhenTheClusterIsSet) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Drawing drawing({plate.get()});
    drawing.generator.setProjectionSpace(test_support::LatticeSpace(8, 8));
    EXPECT_EQ(drawing.generator.getBakedTriangles(0).vertices[2].x, 8);
    drawing.generator.setProjectionSpace(ctr::DiscreteProjectionSpace());
    EXPECT_EQ(drawing.generator.getBakedTriangles(0).triangleIndices.size(), 6U);
    drawing.generator.setSingleExportCluster({plate.get()}, nullptr);
    EXPECT_TRUE(drawing.generator.getBakedTriangles(0).triangleIndices.empty()); // out of view now
}

TEST(GeometricFeaturesGenerator, ANewClusterReplacesTheOldOne) {
    const MeshPointer a = Plate(2, 3, 8, 9, 5);
    const MeshPointer b = Plate(12, 13, 18, 19, 7);
    Drawing drawing({a.get()});
    drawing.generator.setSingleExportCluster({b.get(), b.get()}, nullptr);
    EXPECT_EQ(drawing.generator.getBakedTriangles(0).triangleIndices.size(), 12U);
    drawing.generator.setSingleExportCluster({b.get()}, nullptr);
    EXPECT_EQ(drawing.generator.getBakedTriangles(0).triangleIndices.size(), 6U);
    EXPECT_EQ(LinesOf(drawing.draw().creaseEdges), Borders(12, 13, 18, 19, 7));
}

TEST(GeometricFeaturesGenerator, BakedTrianglesAreThoseOfTheExportedMeshes) {
    const MeshPointer back = Plate(2, 10, 22, 12, 20);
    const MeshPointer front = Plate(7, 5, 12, 15, 5);
    const Meshes occluders{front.get(), front.get()};
    Drawing drawing({back.get()}, &occluders);
    const ctr::BakedTriangles& baked = drawing.generator.getBakedTriangles(0);
    EXPECT_EQ(baked.triangleIndices.size(), 6U);
    EXPECT_EQ(baked.meshes, (Meshes{back.get()}));
}

// ---------------------------------------------------------------------------------------------

class OtherMetadata : public kx::kxMetadata {
public:
    unsigned int GetMetadataTypeId() const override {
        return kx::kxOutlineMetadata::MetadataTypeId + 1;
    }
};

void AddOutline(const MeshPointer& mesh, const IndicesPointer& outline) {
    mesh->AddMetadata(new kx::kxOutlineMetadata(outline));
}

TEST(GeneratorOutlineMetadata, TakesThePlaceOfTheCreases) {
    const MeshPointer roof = Roof(90.0F);
    AddOutline(roof, MakeIndices({0, 2}));
    Drawing drawing({roof.get()});
    const GeometricFeatures out = drawing.draw();
    EXPECT_EQ(LinesOf(out.creaseEdges), (Lines{{{4, 4, 12}, {10, 16, 10}}}));
    EXPECT_EQ(LinesOf(out.silhouetteEdges).size(), 6U);
}

TEST(GeneratorOutlineMetadata, TheFirstOneCounts) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    plate->AddMetadata(new OtherMetadata);
    AddOutline(plate, MakeIndices({0, 2}));
    AddOutline(plate, MakeIndices({1, 3}));
    Drawing drawing({plate.get()});
    EXPECT_EQ(LinesOf(drawing.draw().creaseEdges), (Lines{{{2, 3, 5}, {8, 9, 5}}}));
}

TEST(GeneratorOutlineMetadata, OfAnotherKindIsIgnored) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    plate->AddMetadata(new OtherMetadata);
    Drawing drawing({plate.get()});
    EXPECT_EQ(LinesOf(drawing.draw().creaseEdges).size(), 4U);
}

TEST(GeneratorOutlineMetadata, WithoutABufferMeansNoCreasesAtAll) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    AddOutline(plate, IndicesPointer());
    Drawing drawing({plate.get()});
    const GeometricFeatures out = drawing.draw();
    EXPECT_FALSE(out.creaseEdges);
    EXPECT_EQ(LinesOf(out.silhouetteEdges).size(), 4U);
}

TEST(GeneratorOutlineMetadata, IsMovedWithItsMeshAndJoinedWithOtherMeshes) {
    const MeshPointer outlined = Plate(0, 0, 4, 4, 5);
    outlined->SetWorldTransformation(ScaleAndMove(Vec3(1, 1, 1), Vec3(20, 1, 2)));
    AddOutline(outlined, MakeIndices({0, 2}));
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Drawing drawing({plate.get(), outlined.get()});
    Lines expected = Borders(2, 3, 8, 9, 5);
    expected.insert({{20, 1, 7}, {24, 5, 7}});
    EXPECT_EQ(LinesOf(drawing.draw().creaseEdges), expected);
}

// ---------------------------------------------------------------------------------------------

// A cluster in which a plate at depth 5 covers x from 7 to 12 and y from 5 to 15.
class ComputeOcclusion : public testing::Test {
protected:
    void SetUp() override {
        generator_.setProjectionSpace(test_support::LatticeSpace(5, 5));
        generator_.setSingleExportCluster({plate_.get()}, nullptr);
    }

    MeshPointer plate_ = Plate(7, 5, 12, 15, 5);
    GeometricFeaturesGenerator generator_;
    SetPointer behind_ = MakeSet({Vec3(2, 10, 20), Vec3(22, 10, 20)}, {0, 1});
};

const std::vector<Hidden> kQuarterToHalf{{0.25, 0.5}};
const std::vector<std::array<long, 4>> kWhole{{0, 1, 1, 1}};

TEST_F(ComputeOcclusion, FillsRangesAndClipRecords) {
    generator_.computeOcclusion(*behind_, 0);
    ASSERT_EQ(behind_->occlusionIntervals.size(), 1U);
    EXPECT_EQ(ValuesOf(behind_->occlusionIntervals[0]), kQuarterToHalf);
    ASSERT_EQ(behind_->clipRanges.size(), 1U);
    EXPECT_EQ(NumbersOf(behind_->clipRanges[0]), (std::array<float, 4>{0, 1, 1, 1}));
}

TEST_F(ComputeOcclusion, InFrontNothingIsHidden) {
    const SetPointer front = MakeSet({Vec3(2, 10, 3), Vec3(22, 10, 3)}, {0, 1});
    generator_.computeOcclusion(*front, 0);
    ASSERT_EQ(front->occlusionIntervals.size(), 1U);
    EXPECT_TRUE(front->occlusionIntervals[0].empty());
}

TEST_F(ComputeOcclusion, TheSetsOwnTransformationApplies) {
    const SetPointer set = MakeSet({Vec3(1, 0, 0), Vec3(11, 0, 0)}, {0, 1});
    set->SetLocalTransformation(ScaleAndMove(Vec3(9, 9, 9), Vec3(9, 9, 9)));
    set->SetWorldTransformation(ScaleAndMove(Vec3(2, 1, 1), Vec3(0, 10, 20)));
    generator_.computeOcclusion(*set, 0);
    EXPECT_EQ(ValuesOf(set->occlusionIntervals[0]), kQuarterToHalf);
}

TEST_F(ComputeOcclusion, RangesAreParametersOfTheClippedPart) {
    // The view begins at x = -0.5, half way; what is left runs from column 0 to column 20.
    const SetPointer set = MakeSet({Vec3(-21, 10, 20), Vec3(20, 10, 20)}, {0, 1});
    generator_.computeOcclusion(*set, 0);
    EXPECT_NEAR(set->clipRanges[0].t0, 0.5F, 1e-6F);
    EXPECT_EQ(set->clipRanges[0].t1, 1.0F);
    EXPECT_EQ(ValuesOf(set->occlusionIntervals[0]), (std::vector<Hidden>{{0.35, 0.6}}));
}

TEST_F(ComputeOcclusion, OutsideTheViewAllIsHidden) {
    const SetPointer set = MakeSet({Vec3(-9, 10, 3), Vec3(-2, 12, 3)}, {0, 1});
    generator_.computeOcclusion(*set, 0);
    EXPECT_EQ(NumbersOf(set->occlusionIntervals[0]), kWhole);
    EXPECT_GE(set->clipRanges[0].t0, set->clipRanges[0].t1);
}

TEST_F(ComputeOcclusion, ATouchOfTheViewInAPointIsHiddenToo) {
    GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(ctr::DiscreteProjectionSpace());
    generator.setSingleExportCluster({}, nullptr);
    const SetPointer set = MakeSet({Vec3(1, 0, 0), Vec3(2, 0, 0)}, {0, 1});
    generator.computeOcclusion(*set, 0);
    EXPECT_EQ(set->clipRanges[0].t0, set->clipRanges[0].t1);
    EXPECT_EQ(NumbersOf(set->occlusionIntervals[0]), kWhole);
}

TEST_F(ComputeOcclusion, APartTooShortForItsParametersIsHiddenToo) {
    // The view is so small a part of the segment that both parameters round to one half.
    const Vec3 p(-1e8F, 0.0F, 0.0F);
    const Vec3 q(1e8F, 0.0F, 0.0F);
    ctr::BakedVertex b0{};
    ctr::BakedVertex b1{};
    float w0 = 0.0F;
    float w1 = 0.0F;
    const auto t = ctr::DiscreteProjectionSpace().clipEdgeWorld(p, q, b0, b1, w0, w1);
    ASSERT_EQ(t.first, t.second);
    ASSERT_NE(b0.x, b1.x); // so it is not hidden for being seen end-on
    GeometricFeaturesGenerator generator;
    generator.setSingleExportCluster({}, nullptr);
    const SetPointer set = MakeSet({p, q}, {0, 1});
    generator.computeOcclusion(*set, 0);
    EXPECT_EQ(NumbersOf(set->occlusionIntervals[0]), kWhole);
}

TEST_F(ComputeOcclusion, SeenEndOnAllIsHiddenEvenInFront) {
    const SetPointer set =
        MakeSet({Vec3(20, 20, 1), Vec3(20, 20, 4), Vec3(20, 21, 4)}, {0, 1, 0, 0, 0, 2});
    generator_.computeOcclusion(*set, 0);
    EXPECT_EQ(NumbersOf(set->occlusionIntervals[0]), kWhole);
    EXPECT_EQ(NumbersOf(set->occlusionIntervals[1]), kWhole);
    EXPECT_TRUE(set->occlusionIntervals[2].empty()); // one row apart is not end-on
    EXPECT_EQ(NumbersOf(set->clipRanges[0]), (std::array<float, 4>{0, 1, 1, 1}));
}

TEST_F(ComputeOcclusion, HidingAsAWholeReplacesEarlierRanges) {
    const SetPointer set = MakeSet({Vec3(20, 20, 1), Vec3(20, 20, 4)}, {0, 1});
    set->occlusionIntervals = {{Range(1, 4, 1, 2), Range(3, 4, 1, 1)}};
    generator_.computeOcclusion(*set, 0);
    EXPECT_EQ(NumbersOf(set->occlusionIntervals[0]), kWhole);
}

TEST_F(ComputeOcclusion, EarlierRangesAreKeptAndJoined) {
    behind_->occlusionIntervals = {{Range(1, 8, 1, 4), Range(9, 10, 1, 1)}};
    generator_.computeOcclusion(*behind_, 0);
    EXPECT_EQ(ValuesOf(behind_->occlusionIntervals[0]),
              (std::vector<Hidden>{{0.125, 0.5}, {0.9, 1.0}}));
}

TEST_F(ComputeOcclusion, ListsOfAnotherNumberStartOver) {
    behind_->occlusionIntervals = {{Range(1, 8, 1, 4)}, {}};
    behind_->clipRanges.resize(3, {9.0F, 9.0F, 9.0F, 9.0F});
    generator_.computeOcclusion(*behind_, 0);
    ASSERT_EQ(behind_->occlusionIntervals.size(), 1U);
    EXPECT_EQ(ValuesOf(behind_->occlusionIntervals[0]), kQuarterToHalf);
    ASSERT_EQ(behind_->clipRanges.size(), 1U);
    EXPECT_EQ(NumbersOf(behind_->clipRanges[0]), (std::array<float, 4>{0, 1, 1, 1}));
}

TEST_F(ComputeOcclusion, ASecondTimeChangesNothing) {
    generator_.computeOcclusion(*behind_, 0);
    generator_.computeOcclusion(*behind_, 0);
    ASSERT_EQ(behind_->occlusionIntervals.size(), 1U);
    EXPECT_EQ(ValuesOf(behind_->occlusionIntervals[0]), kQuarterToHalf);
}

TEST_F(ComputeOcclusion, AnOddLastIndexIsDropped) {
    const SetPointer set = MakeSet({Vec3(2, 10, 20), Vec3(22, 10, 20)}, {0, 1, 1, 0, 1});
    generator_.computeOcclusion(*set, 0);
    EXPECT_EQ(set->occlusionIntervals.size(), 2U);
    EXPECT_EQ(set->clipRanges.size(), 2U);
    EXPECT_EQ(IndicesOf(*set).size(), 5U);
}

TEST_F(ComputeOcclusion, AClusterOutOfRangeLeavesTheSetAlone) {
    generator_.computeOcclusion(*behind_, 1);
    EXPECT_TRUE(behind_->occlusionIntervals.empty());
    EXPECT_TRUE(behind_->clipRanges.empty());
    GeometricFeaturesGenerator empty;
    empty.computeOcclusion(*behind_, 0);
    EXPECT_TRUE(behind_->clipRanges.empty());
}

TEST_F(ComputeOcclusion, ASetWithoutBuffersIsLeftAlone) {
    for (const SetPointer& set :
         {SetPointer(new LineSegmentSet),
          MakeSet(test_support::MakeVertices({Vec3(0, 0, 0)}), IndicesPointer()),
          MakeSet(test_support::VerticesPointer(), MakeIndices({0, 1}))}) {
        set->clipRanges.resize(3);
        generator_.computeOcclusion(*set, 0);
        EXPECT_TRUE(set->occlusionIntervals.empty());
        EXPECT_EQ(set->clipRanges.size(), 3U);
    }
}

// ---------------------------------------------------------------------------------------------

// Records the calls: '?' a poll, 'T' a total, '+' a step of 1, 'x' any other step. Cancels from a
// given poll on.
class Recorder : public kx::kxProgressNotifierInterface {
public:
    explicit Recorder(long stopAt = test_support::kNever) : stopAt_(stopAt) {}

    bool isCanceled() const override {
        events_ += '?';
        return ++polls_ >= stopAt_;
    }
    void setTotal(double steps) override {
        events_ += 'T';
        total_ = steps;
        done_ = 0.0;
    }
    void getRange(double& start, double& end) const override {
        start = done_;
        end = total_;
    }
    void advance(double steps) override {
        events_ += steps == 1.0 ? '+' : 'x';
        done_ += steps;
    }

    const std::string& events() const { return events_; }
    double total() const { return total_; }
    long polls() const { return polls_; }

private:
    long stopAt_;
    mutable long polls_ = 0;
    mutable std::string events_;
    double total_ = 0.0;
    double done_ = 0.0;
};

std::string Repeated(const std::string& text, int times) {
    std::string repeated;
    for (int i = 0; i < times; ++i) {
        repeated += text;
    }
    return repeated;
}

TEST(GeneratorProgress, OfAClusterOutOfRangeIsATotalOfNothing) {
    const MeshPointer plate = Plate(2, 2, 8, 8, 5);
    Drawing drawing({plate.get()});
    Recorder recorder;
    drawing.generator.setProgressNotifier(&recorder);
    FilledRecord record;
    drawing.generator.computeGeometricFeatures(record.out, 1, true);
    EXPECT_EQ(recorder.total(), 0.0);
    EXPECT_EQ(recorder.events().find_first_of("+x"), std::string::npos);
    EXPECT_FALSE(record.out.intersectionEdges);
}

TEST(GeneratorProgress, IsReportedInSegmentsAndTriangles) {
    const MeshPointer roof = Roof(40.0F); // 4 triangles, 8 creases, 6 silhouettes
    Drawing drawing({roof.get()});
    Recorder recorder;
    drawing.generator.setProgressNotifier(&recorder);
    drawing.draw();
    EXPECT_EQ(recorder.total(), 2.0 * 4 + 8 + 6);
    EXPECT_EQ(std::count(recorder.events().begin(), recorder.events().end(), 'T'), 1);
}

TEST(GeneratorProgress, TheTotalCountsSegmentsAfterTheRemoval) {
    const MeshPointer roof = Roof(40.0F);
    Drawing drawing({roof.get()});
    Recorder recorder;
    drawing.generator.setProgressNotifier(&recorder);
    drawing.draw(true);
    EXPECT_EQ(recorder.total(), 2.0 * 4 + 2 + 6);
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    drawing.generator.setSingleExportCluster({plate.get()}, nullptr);
    drawing.draw(true); // no crease set at all
    EXPECT_EQ(recorder.total(), 2.0 * 2 + 4);
}

TEST(GeneratorProgress, OccludersAddNoStepsToTheTotal) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    const MeshPointer front = Plate(7, 5, 12, 15, 2);
    const Meshes occluders{front.get()};
    Drawing drawing({plate.get()}, &occluders);
    Recorder recorder;
    drawing.generator.setProgressNotifier(&recorder);
    drawing.draw();
    EXPECT_EQ(recorder.total(), 2.0 * 2 + 4 + 4);
}

TEST(GeneratorProgress, AsksBetweenThePassesAndBeforeEverySegment) {
    const MeshPointer roof = Roof(40.0F);
    Drawing drawing({roof.get()});
    Recorder recorder;
    drawing.generator.setProgressNotifier(&recorder);
    drawing.draw();
    const std::string expected = "??T" + Repeated("?+", 8) + "?" + Repeated("?+", 6) + "?";
    EXPECT_EQ(recorder.events().substr(0, expected.size()), expected);
}

TEST(GeneratorProgress, OccludingASetOfTheCallersReportsOnlyItsSegments) {
    const MeshPointer plate = Plate(7, 5, 12, 15, 5);
    Drawing drawing({plate.get()});
    Recorder recorder;
    drawing.generator.setProgressNotifier(&recorder);
    const SetPointer set = MakeSet({Vec3(2, 10, 20), Vec3(22, 10, 20)}, {0, 1, 1, 0, 0, 0});
    drawing.generator.computeOcclusion(*set, 0);
    EXPECT_EQ(recorder.events(), "?+?+?+");
}

TEST(GeneratorProgress, ANullNotifierSwitchesItOff) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Drawing drawing({plate.get()});
    Recorder recorder(1);
    drawing.generator.setProgressNotifier(&recorder);
    drawing.generator.setProgressNotifier(nullptr);
    EXPECT_EQ(LinesOf(drawing.draw().silhouetteEdges).size(), 4U);
    EXPECT_EQ(recorder.events(), "");
}

// How many segments of a set the occlusion pass has visited: clip records are zeroed before.
std::size_t Visited(const LineSegmentSet& set) {
    return static_cast<std::size_t>(
        std::count_if(set.clipRanges.begin(), set.clipRanges.end(),
                      [](const LineSegmentSet::ClipRange& r) { return r.t1 == 1.0F; }));
}

// A run over one plate (4 creases, 4 silhouettes) that is cancelled at a poll.
struct StoppedRun {
    explicit StoppedRun(long question) : recorder(question), drawing({plate.get()}) {
        drawing.generator.setProgressNotifier(&recorder);
        drawing.generator.computeGeometricFeatures(record.out, 0, false);
    }

    MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Recorder recorder;
    Drawing drawing;
    FilledRecord record;
};

TEST(GeneratorCancellation, AtOnceLeavesTheCreasesAndThePreviousSets) {
    const StoppedRun run(1);
    EXPECT_EQ(LinesOf(run.record.out.creaseEdges), Borders(2, 3, 8, 9, 5));
    EXPECT_TRUE(run.record.out.silhouetteEdges == run.record.old.get());
    EXPECT_TRUE(run.record.out.intersectionEdges == run.record.old.get());
    EXPECT_TRUE(run.record.out.creaseEdges->occlusionIntervals.size() <= 4U);
    EXPECT_EQ(Visited(*run.record.out.creaseEdges), 0U);
    EXPECT_EQ(run.recorder.events(), "?");
}

TEST(GeneratorCancellation, AfterTheSilhouettesLeavesBothSetsUnoccluded) {
    const StoppedRun run(2);
    EXPECT_EQ(LinesOf(run.record.out.creaseEdges), Borders(2, 3, 8, 9, 5));
    EXPECT_EQ(LinesOf(run.record.out.silhouetteEdges), Borders(2, 3, 8, 9, 5));
    EXPECT_EQ(Visited(*run.record.out.creaseEdges), 0U);
    EXPECT_EQ(Visited(*run.record.out.silhouetteEdges), 0U);
    EXPECT_TRUE(run.record.out.intersectionEdges == run.record.old.get());
    EXPECT_EQ(run.recorder.events(), "??"); // no total was set
}

TEST(GeneratorCancellation, StopsBetweenTwoSegmentsOfTheCreases) {
    for (long done = 0; done < 4; ++done) {
        const StoppedRun run(3 + done);
        EXPECT_EQ(Visited(*run.record.out.creaseEdges), static_cast<std::size_t>(done));
        EXPECT_EQ(run.record.out.creaseEdges->occlusionIntervals.size(), 4U);
        EXPECT_EQ(Visited(*run.record.out.silhouetteEdges), 0U);
        EXPECT_TRUE(run.record.out.intersectionEdges == run.record.old.get());
        EXPECT_EQ(run.recorder.total(), 12.0);
    }
}

TEST(GeneratorCancellation, BetweenThePassesLeavesTheSilhouettesUnoccluded) {
    const StoppedRun run(7);
    EXPECT_EQ(Visited(*run.record.out.creaseEdges), 4U);
    EXPECT_EQ(Visited(*run.record.out.silhouetteEdges), 0U);
    EXPECT_EQ(run.recorder.polls(), 7);
}

TEST(GeneratorCancellation, StopsBetweenTwoSegmentsOfTheSilhouettes) {
    for (long done = 0; done < 4; ++done) {
        const StoppedRun run(8 + done);
        EXPECT_EQ(Visited(*run.record.out.creaseEdges), 4U);
        EXPECT_EQ(Visited(*run.record.out.silhouetteEdges), static_cast<std::size_t>(done));
        EXPECT_TRUE(run.record.out.intersectionEdges == run.record.old.get());
    }
}

TEST(GeneratorCancellation, BeforeTheIntersectionsKeepsThePreviousOnes) {
    const StoppedRun run(12);
    EXPECT_EQ(Visited(*run.record.out.silhouetteEdges), 4U);
    EXPECT_TRUE(run.record.out.intersectionEdges == run.record.old.get());
    EXPECT_EQ(run.recorder.polls(), 12);
}

TEST(GeneratorCancellation, ComesAfterTheRemovalOfCommonSegments) {
    const MeshPointer plate = Plate(2, 3, 8, 9, 5);
    Drawing drawing({plate.get()});
    Recorder recorder(2);
    drawing.generator.setProgressNotifier(&recorder);
    FilledRecord record;
    drawing.generator.computeGeometricFeatures(record.out, 0, true);
    EXPECT_FALSE(record.out.creaseEdges);
    EXPECT_EQ(LinesOf(record.out.silhouetteEdges).size(), 4U);
}

} // namespace
