// The container: an empty set, clones, and sets made from the outline of a mesh.
#include <ctr/LineSegmentSet.h>

#include <kxSceneGraph/kxLine.h>
#include <kxSceneGraph/kxTriMesh.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::IndicesPointer;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::NumbersOf;
using test_support::Range;
using test_support::ScaleAndMove;
using test_support::SetPointer;
using test_support::Transformation;
using test_support::Vec3;
using test_support::VerticesPointer;

const Transformation kLocal = ScaleAndMove(Vec3(2.0F, 2.0F, 2.0F), Vec3(1.0F, 0.0F, 0.0F));
const Transformation kWorld = ScaleAndMove(Vec3(3.0F, 1.0F, 1.0F), Vec3(0.0F, 5.0F, 0.0F));

// Two segments with everything that a set can carry.
SetPointer FullSet() {
    SetPointer set = MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)}, {0, 1, 1, 2});
    set->segmentFlags = {true, false};
    set->occlusionIntervals = {{Range(0, 1, 1, 2), Range(3, 4, 1, 1)}, {}};
    set->clipRanges = {{0.0F, 0.5F, 1.0F, 2.0F}, {0.25F, 1.0F, 3.0F, 4.0F}};
    set->SetLocalTransformation(kLocal);
    set->SetWorldTransformation(kWorld);
    set->SetName("outline");
    set->setColor(Wm4::ColorRGBA(0.1F, 0.2F, 0.3F, 0.4F));
    set->setWidth(2.5F);
    return set;
}

void ExpectSameRecords(const LineSegmentSet& a, const LineSegmentSet& b) {
    ASSERT_EQ(a.occlusionIntervals.size(), b.occlusionIntervals.size());
    for (std::size_t i = 0; i < a.occlusionIntervals.size(); ++i) {
        EXPECT_EQ(NumbersOf(a.occlusionIntervals[i]), NumbersOf(b.occlusionIntervals[i]));
    }
    ASSERT_EQ(a.clipRanges.size(), b.clipRanges.size());
    for (std::size_t i = 0; i < a.clipRanges.size(); ++i) {
        EXPECT_EQ(NumbersOf(a.clipRanges[i]), NumbersOf(b.clipRanges[i]));
    }
}

TEST(LineSegmentSet, StartsEmpty) {
    const SetPointer set(new LineSegmentSet);
    EXPECT_EQ(set->GetVertexBuffer(), nullptr);
    EXPECT_EQ(set->GetIndexBuffer(), nullptr);
    EXPECT_TRUE(set->segmentFlags.empty());
    EXPECT_TRUE(set->occlusionIntervals.empty());
    EXPECT_TRUE(set->clipRanges.empty());
}

TEST(LineSegmentSet, ReportsItselfAsAPlainLine) {
    const SetPointer set(new LineSegmentSet);
    EXPECT_TRUE(set->GetType().IsExactly(kx::kxLine::TYPE));
    EXPECT_EQ(set->GetGeometryType(), kx::kxBaseGeometry::GT_LINES);
}

TEST(LineSegmentSet, ReleasesItsBuffersWhenItGoes) {
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0)});
    const IndicesPointer indices = MakeIndices({0, 1});
    {
        const SetPointer set = MakeSet(vertices, indices);
        EXPECT_EQ(vertices->GetReferences(), 2);
        EXPECT_EQ(indices->GetReferences(), 2);
    }
    EXPECT_EQ(vertices->GetReferences(), 1);
    EXPECT_EQ(indices->GetReferences(), 1);
}

TEST(ArcFeature, StartsUnlinkedAndUnmarked) {
    const LineSegmentSet::ArcFeature feature{};
    EXPECT_EQ(feature.first, 0U);
    EXPECT_EQ(feature.end, 0U);
    EXPECT_EQ(feature.prev, nullptr);
    EXPECT_EQ(feature.next, nullptr);
    EXPECT_EQ(feature.kind, 0U);
}

TEST(LineSegmentSetClone, TakesRecordsButNoFlags) {
    const SetPointer set = FullSet();
    kx::kxRttiInterface* target = nullptr;
    ASSERT_TRUE(set->Clone(target));
    auto* const made = dynamic_cast<LineSegmentSet*>(target);
    ASSERT_NE(made, nullptr);
    const SetPointer clone(made);
    EXPECT_NE(clone.get(), set.get());
    EXPECT_TRUE(clone->segmentFlags.empty());
    ExpectSameRecords(*clone, *set);
    EXPECT_EQ(set->segmentFlags, (std::vector<bool>{true, false}));
}

TEST(LineSegmentSetClone, SharesBuffersAndCopiesTheRestOfTheLine) {
    const SetPointer set = FullSet();
    kx::kxRttiInterface* target = nullptr;
    ASSERT_TRUE(set->Clone(target));
    const SetPointer clone(dynamic_cast<LineSegmentSet*>(target));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->GetVertexBuffer(), set->GetVertexBuffer());
    EXPECT_EQ(clone->GetIndexBuffer(), set->GetIndexBuffer());
    EXPECT_EQ(clone->GetLocalTransformation(), kLocal);
    EXPECT_EQ(clone->GetWorldTransformation(), kWorld);
    EXPECT_EQ(clone->GetName(), "outline");
    EXPECT_EQ(clone->getColor(), set->getColor());
    EXPECT_EQ(clone->getWidth(), 2.5F);
}

TEST(LineSegmentSetClone, HasRangesOfItsOwn) {
    const SetPointer set = FullSet();
    kx::kxRttiInterface* target = nullptr;
    ASSERT_TRUE(set->Clone(target));
    const SetPointer clone(dynamic_cast<LineSegmentSet*>(target));
    ASSERT_TRUE(clone);
    clone->occlusionIntervals[0].clear();
    clone->clipRanges[0].t0 = 9.0F;
    EXPECT_EQ(set->occlusionIntervals[0].size(), 2U);
    EXPECT_EQ(set->clipRanges[0].t0, 0.0F);
}

TEST(LineSegmentSetClone, ReplacesWhatAnExistingSetHeld) {
    const SetPointer set = FullSet();
    const SetPointer other = MakeSet({Vec3(7, 7, 7), Vec3(8, 8, 8)}, {0, 1});
    other->segmentFlags = {true};
    other->occlusionIntervals = {{Range(1, 8, 1, 4)}, {}, {}};
    other->clipRanges.resize(5);
    kx::kxRttiInterface* target = other.get();
    ASSERT_TRUE(set->Clone(target));
    EXPECT_EQ(target, other.get());
    EXPECT_TRUE(other->segmentFlags.empty());
    EXPECT_EQ(other->GetVertexBuffer(), set->GetVertexBuffer());
    ExpectSameRecords(*other, *set);
}

TEST(LineSegmentSetClone, RefusesATargetOfAnotherClass) {
    const SetPointer set = FullSet();
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0)});
    const kx::kxPointer<kx::kxTriMesh> mesh(new kx::kxTriMesh(vertices.get(), nullptr));
    kx::kxRttiInterface* target = mesh.get();
    EXPECT_FALSE(set->Clone(target));
    EXPECT_EQ(target, mesh.get());
    EXPECT_EQ(mesh->GetVertexBuffer(), vertices.get());
    EXPECT_NE(mesh->GetName(), "outline");
}

TEST(LineSegmentSetClone, RefusesAPlainLineToo) {
    const SetPointer set = FullSet();
    const kx::kxPointer<kx::kxLine> line(new kx::kxLine(nullptr, nullptr, false));
    kx::kxRttiInterface* target = line.get();
    EXPECT_FALSE(set->Clone(target));
    EXPECT_EQ(line->GetVertexBuffer(), nullptr);
    EXPECT_EQ(line->getWidth(), 1.0F);
}

TEST(LineSegmentSetClone, OntoItselfOnlyLosesTheFlags) {
    const SetPointer set = FullSet();
    const SetPointer same = FullSet();
    kx::kxRttiInterface* target = set.get();
    ASSERT_TRUE(set->Clone(target));
    EXPECT_EQ(target, set.get());
    EXPECT_TRUE(set->segmentFlags.empty());
    ExpectSameRecords(*set, *same);
    EXPECT_EQ(test_support::IndicesOf(*set), (std::vector<unsigned int>{0, 1, 1, 2}));
    EXPECT_EQ(set->GetName(), "outline");
}

TEST(LineSegmentSetClone, OfAnEmptySetIsEmpty) {
    const SetPointer set(new LineSegmentSet);
    kx::kxRttiInterface* target = nullptr;
    ASSERT_TRUE(set->Clone(target));
    const SetPointer clone(dynamic_cast<LineSegmentSet*>(target));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->GetVertexBuffer(), nullptr);
    EXPECT_TRUE(clone->clipRanges.empty());
}

TEST(GetOutlineEdgesFromMesh, SharesTheBuffersItIsGiven) {
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0), Vec3(1, 2, 3)});
    const IndicesPointer outline = MakeIndices({0, 1});
    {
        const SetPointer set(
            LineSegmentSet::GetOutlineEdgesFromMesh(vertices.get(), outline, kWorld));
        ASSERT_TRUE(set);
        EXPECT_EQ(set->GetVertexBuffer(), vertices.get());
        EXPECT_EQ(set->GetIndexBuffer(), outline.get());
        EXPECT_EQ(vertices->GetReferences(), 2);
        EXPECT_EQ(outline->GetReferences(), 2);
        EXPECT_TRUE(set->segmentFlags.empty());
        EXPECT_TRUE(set->occlusionIntervals.empty());
        EXPECT_TRUE(set->clipRanges.empty());
    }
    EXPECT_EQ(vertices->GetReferences(), 1);
    EXPECT_EQ(outline->GetReferences(), 1);
}

TEST(GetOutlineEdgesFromMesh, TakesTheTransformationAsLocalAndAsWorld) {
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0), Vec3(1, 2, 3)});
    const SetPointer set(
        LineSegmentSet::GetOutlineEdgesFromMesh(vertices.get(), MakeIndices({0, 1}), kWorld));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->GetLocalTransformation(), kWorld);
    EXPECT_EQ(set->GetWorldTransformation(), kWorld);
}

TEST(GetOutlineEdgesFromMesh, ComesWithItsBound) {
    const VerticesPointer vertices = MakeVertices({Vec3(-1, 0, 4), Vec3(1, 2, 3)});
    const SetPointer set(
        LineSegmentSet::GetOutlineEdgesFromMesh(vertices.get(), MakeIndices({0, 1}), kWorld));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->GetModelBound().min[0], -1.0F);
    EXPECT_EQ(set->GetModelBound().max[2], 4.0F);
}

TEST(GetOutlineEdgesFromMesh, DoesNotLookIntoTheBuffers) {
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0)});
    const IndicesPointer outline = MakeIndices({17, 4, 99}); // out of range, and odd
    const SetPointer set(LineSegmentSet::GetOutlineEdgesFromMesh(vertices.get(), outline, kWorld));
    ASSERT_TRUE(set);
    EXPECT_EQ(test_support::IndicesOf(*set), (std::vector<unsigned int>{17, 4, 99}));
}

TEST(GetOutlineEdgesFromMesh, IsNullWithoutVerticesOrWithoutAnOutline) {
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0), Vec3(1, 2, 3)});
    const IndicesPointer outline = MakeIndices({0, 1});
    EXPECT_EQ(LineSegmentSet::GetOutlineEdgesFromMesh(nullptr, outline, kWorld), nullptr);
    EXPECT_EQ(LineSegmentSet::GetOutlineEdgesFromMesh(vertices.get(), IndicesPointer(), kWorld),
              nullptr);
    EXPECT_EQ(vertices->GetReferences(), 1);
    EXPECT_EQ(outline->GetReferences(), 1);
}

TEST(GetOutlineEdgesFromTriMesh, TakesItsVerticesAndItsWorldTransformation) {
    const auto mesh =
        test_support::MakeMesh(test_support::Triangle(Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)));
    mesh->SetLocalTransformation(kLocal);
    mesh->SetWorldTransformation(kWorld);
    const IndicesPointer outline = MakeIndices({1, 2});
    const SetPointer set(LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh.get(), outline));
    ASSERT_TRUE(set);
    EXPECT_EQ(set->GetVertexBuffer(), mesh->GetVertexBuffer());
    EXPECT_EQ(set->GetIndexBuffer(), outline.get());
    EXPECT_EQ(set->GetLocalTransformation(), kWorld);
    EXPECT_EQ(set->GetWorldTransformation(), kWorld);
}

TEST(GetOutlineEdgesFromTriMesh, IsNullWithoutAnOutline) {
    const auto mesh =
        test_support::MakeMesh(test_support::Triangle(Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0)));
    EXPECT_EQ(LineSegmentSet::GetOutlineEdgesFromTriMesh(mesh.get(), IndicesPointer()), nullptr);
}

} // namespace
