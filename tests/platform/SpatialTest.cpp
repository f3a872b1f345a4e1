// Transformations, update flags, and geometry.
#include <Wm4Foundation.h>
#include <kxSceneGraph/kxBaseGeometry.h>
#include <kxSceneGraph/kxGenericTransformation.h>
#include <kxSceneGraph/kxLine.h>
#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

namespace {

using kx::kxBBox;
using kx::kxIndexBuffer;
using kx::kxLine;
using kx::kxPointer;
using kx::kxRttiInterface;
using kx::kxSpatial;
using kx::kxTriMesh;
using kx::kxVertexBuffer;
using Transformation = kx::kxGenericTransformation<float>;
using Matrix = Wm4::Matrix4<float>;
using Vector = Wm4::Vector3<float>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

Transformation FromMatrix(const Matrix& matrix) {
    Transformation transformation;
    transformation.SetMatrix(matrix);
    return transformation;
}

Transformation Translation(float x, float y, float z) {
    Matrix matrix(false);
    matrix(3, 0) = x;
    matrix(3, 1) = y;
    matrix(3, 2) = z;
    return FromMatrix(matrix);
}

kxPointer<kxVertexBuffer> Vertices(std::initializer_list<Vector> positions) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    kxPointer<kxVertexBuffer> buffer =
        new kxVertexBuffer(attributes, static_cast<int>(positions.size()));
    int i = 0;
    for (const Vector& position : positions) {
        buffer->Position3(i++) = position;
    }
    return buffer;
}

kxPointer<kxIndexBuffer> Indices(std::initializer_list<unsigned int> indices,
                                 kx::IndexBufferType type) {
    kxPointer<kxIndexBuffer> buffer = new kxIndexBuffer(static_cast<int>(indices.size()), type);
    int i = 0;
    for (const unsigned int index : indices) {
        buffer->GetData()[i++] = index;
    }
    return buffer;
}

void ExpectSameBits(const Vector& actual, const Vector& expected) {
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(std::bit_cast<std::uint32_t>(actual[axis]),
                  std::bit_cast<std::uint32_t>(expected[axis]))
            << "axis " << axis << ": " << actual[axis] << " and " << expected[axis];
    }
}

TEST(Transformation, IsTheIdentityByDefault) {
    const Transformation transformation;
    EXPECT_TRUE(transformation.IsIdentity());
    EXPECT_EQ(transformation.GetMatrix(), Matrix(false));
}

TEST(Transformation, TheIdentityGivesEveryBitBack) {
    const Transformation identity;
    for (const Vector& v : {Vector(-0.0f, 0.0f, -0.0f), Vector(kInfinity, -kInfinity, 1.0f),
                            Vector(kNaN, 2.0f, std::numeric_limits<float>::denorm_min())}) {
        ExpectSameBits(identity.ApplyForward(v, true), v);
        ExpectSameBits(identity.ApplyForward(v, false), v);
    }
}

TEST(Transformation, TheIdentityIsKnownWhenItIsSet) {
    Transformation transformation = Translation(1.0f, 0.0f, 0.0f);
    EXPECT_FALSE(transformation.IsIdentity());
    transformation.SetMatrix(Matrix(false));
    EXPECT_TRUE(transformation.IsIdentity());
}

TEST(Transformation, OnlyPointsAreTranslated) {
    const Transformation transformation = Translation(10.0f, 20.0f, 30.0f);
    const Vector v(1.0f, 2.0f, 3.0f);
    EXPECT_EQ(transformation.ApplyForward(v, true), Vector(11.0f, 22.0f, 33.0f));
    EXPECT_EQ(transformation.ApplyForward(v, false), v);
}

TEST(Transformation, VectorsAreRows) {
    // The first row is where the x axis goes.
    const Transformation transformation =
        FromMatrix(Matrix(2.0f, 3.0f, 5.0f, 0.0f, 7.0f, 11.0f, 13.0f, 0.0f, 17.0f, 19.0f, 23.0f,
                          0.0f, 29.0f, 31.0f, 37.0f, 1.0f));
    EXPECT_EQ(transformation.ApplyForward(Vector(1.0f, 0.0f, 0.0f), false),
              Vector(2.0f, 3.0f, 5.0f));
    EXPECT_EQ(transformation.ApplyForward(Vector(0.0f, 1.0f, 0.0f), true),
              Vector(36.0f, 42.0f, 50.0f));
    EXPECT_EQ(transformation.ApplyForward(Vector(0.0f, 0.0f, 1.0f), false),
              Vector(17.0f, 19.0f, 23.0f));
}

// 2^24 + 1 is not a float, so the order in which these are summed decides what is left.
TEST(Transformation, SumsRunFromLeftToRight) {
    constexpr float kBig = 16777216.0f;
    Matrix matrix(false);
    matrix(0, 0) = kBig;
    matrix(1, 0) = 1.0f;
    matrix(2, 0) = -kBig;
    matrix(3, 0) = 1.0f;
    const Transformation transformation = FromMatrix(matrix);
    const Vector ones(1.0f, 1.0f, 1.0f);
    EXPECT_EQ(transformation.ApplyForward(ones, false).X(), 0.0f);
    EXPECT_EQ(transformation.ApplyForward(ones, true).X(), 1.0f);
}

TEST(Transformation, DoublesKeepTheirPrecision) {
    Wm4::Matrix4<double> matrix(false);
    matrix(3, 0) = 1e-12;
    kx::kxGenericTransformation<double> transformation;
    transformation.SetMatrix(matrix);
    const Wm4::Vector3<double> moved =
        transformation.ApplyForward(Wm4::Vector3<double>(1.0, 0.0, 0.0), true);
    EXPECT_EQ(moved.X(), 1.0 + 1e-12);
}

TEST(Transformation, EqualityLooksAtEveryEntry) {
    const Transformation identity;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            Matrix matrix(false);
            matrix(row, column) += 0.5f;
            EXPECT_FALSE(FromMatrix(matrix) == identity) << row << ", " << column;
            EXPECT_TRUE(FromMatrix(matrix) == FromMatrix(matrix)) << row << ", " << column;
        }
    }
}

// The least a spatial can be.
class Group : public kxSpatial {};

TEST(Spatial, StartsCleanAtTheOrigin) {
    const Group group;
    EXPECT_TRUE(group.GetLocalTransformation().IsIdentity());
    EXPECT_TRUE(group.GetWorldTransformation().IsIdentity());
    EXPECT_EQ(group.GetOwnFlags(), 0u);
    EXPECT_EQ(group.GetBelowFlags(), 0u);
    EXPECT_TRUE(group.GetParents().empty());
}

TEST(Spatial, TheTwoTransformationsAreIndependent) {
    Group group;
    const Transformation local = Translation(1.0f, 0.0f, 0.0f);
    const Transformation world = Translation(0.0f, 2.0f, 0.0f);
    group.SetLocalTransformation(local);
    EXPECT_TRUE(group.GetWorldTransformation().IsIdentity());
    group.SetWorldTransformation(world);
    EXPECT_TRUE(group.GetLocalTransformation() == local);
    EXPECT_TRUE(group.GetWorldTransformation() == world);
}

TEST(Spatial, AMoveFlagsItselfAndBothWordsOfEveryParent) {
    Group first;
    Group second;
    Group child;
    child.AttachParent(&first);
    child.AttachParent(&second);
    child.SetLocalTransformation(Translation(1.0f, 0.0f, 0.0f));
    EXPECT_EQ(child.GetOwnFlags(), kxSpatial::UF_TRANSFORMATION);
    EXPECT_EQ(child.GetBelowFlags(), 0u);
    for (const Group* parent : {&first, &second}) {
        EXPECT_EQ(parent->GetOwnFlags(), child.GetOwnFlags());
        EXPECT_EQ(parent->GetBelowFlags(), child.GetOwnFlags());
    }
}

TEST(Spatial, AWorldTransformationFlagsNothing) {
    Group parent;
    Group child;
    child.AttachParent(&parent);
    child.SetWorldTransformation(Translation(1.0f, 0.0f, 0.0f));
    EXPECT_EQ(child.GetOwnFlags(), 0u);
    EXPECT_EQ(parent.GetBelowFlags(), 0u);
}

TEST(Spatial, DirtIsSetAndClearedWithoutTellingParents) {
    Group parent;
    Group child;
    child.AttachParent(&parent);
    child.setDirtyDown(true);
    EXPECT_EQ(child.GetOwnFlags(), kxSpatial::UF_TRANSFORMATION);
    child.setDirtyDown(false);
    EXPECT_EQ(child.GetOwnFlags(), 0u);
    EXPECT_EQ(parent.GetOwnFlags(), 0u);
    EXPECT_EQ(parent.GetBelowFlags(), 0u);
}

TEST(Spatial, ParentsAreListedOnceAndCanLeave) {
    Group first;
    Group second;
    Group child;
    child.AttachParent(&first);
    child.AttachParent(&second);
    child.AttachParent(&first);
    child.AttachParent(nullptr);
    EXPECT_EQ(child.GetParents(), (std::vector<kxSpatial*>{&first, &second}));
    child.DetachParent(&first);
    child.DetachParent(&first);
    EXPECT_EQ(child.GetParents(), (std::vector<kxSpatial*>{&second}));
    child.SetLocalTransformation(Transformation());
    EXPECT_EQ(first.GetBelowFlags(), 0u);
    EXPECT_NE(second.GetBelowFlags(), 0u);
}

TEST(Geometry, SharesTheBuffersItIsGiven) {
    const kxPointer<kxVertexBuffer> vertices = Vertices({Vector(0.0f, 0.0f, 0.0f)});
    const kxPointer<kxIndexBuffer> indices = Indices({0, 0}, kx::IBT_LINES);
    {
        const kxLine line(vertices.get(), indices.get(), false);
        EXPECT_EQ(line.GetVertexBuffer(), vertices.get());
        EXPECT_EQ(line.GetIndexBuffer(), indices.get());
        EXPECT_EQ(vertices->GetReferences(), 2);
        EXPECT_EQ(indices->GetReferences(), 2);
    }
    EXPECT_EQ(vertices->GetReferences(), 1);
    EXPECT_EQ(indices->GetReferences(), 1);
}

TEST(Geometry, BuffersMayBeReplacedByOthersByThemselvesAndByNull) {
    const kxPointer<kxVertexBuffer> vertices = Vertices({});
    const kxPointer<kxIndexBuffer> indices = Indices({}, kx::IBT_LINES);
    kxLine line(nullptr, nullptr, false);
    line.SetVertexBuffer(vertices.get());
    line.SetVertexBuffer(line.GetVertexBuffer());
    line.SetIndexBuffer(indices.get());
    line.SetIndexBuffer(line.GetIndexBuffer());
    EXPECT_EQ(vertices->GetReferences(), 2);
    EXPECT_EQ(indices->GetReferences(), 2);
    line.SetVertexBuffer(nullptr);
    line.SetIndexBuffer(nullptr);
    EXPECT_EQ(line.GetVertexBuffer(), nullptr);
    EXPECT_EQ(line.GetIndexBuffer(), nullptr);
    EXPECT_EQ(vertices->GetReferences(), 1);
    EXPECT_EQ(indices->GetReferences(), 1);
}

TEST(Geometry, EveryKindSaysWhatItIs) {
    const kxLine line(nullptr, nullptr, false);
    const kxTriMesh mesh(nullptr, nullptr);
    EXPECT_EQ(line.GetGeometryType(), kx::kxBaseGeometry::GT_LINES);
    EXPECT_EQ(mesh.GetGeometryType(), kx::kxBaseGeometry::GT_TRIMESH);
}

TEST(ModelBound, IsRecomputedOnlyWhenAsked) {
    const kxPointer<kxVertexBuffer> vertices =
        Vertices({Vector(1.0f, -2.0f, 3.0f), Vector(-4.0f, 5.0f, 0.0f)});
    kxLine line(vertices.get(), nullptr, false);
    line.UpdateMS(false, true, -2);
    EXPECT_EQ(line.GetModelBound(), kxBBox());
    line.UpdateMS(true, false, -2);
    const kxBBox bound{{-4.0f, -2.0f, 0.0f}, {1.0f, 5.0f, 3.0f}};
    EXPECT_EQ(line.GetModelBound(), bound);
    vertices->Position3(0) = Vector(9.0f, 9.0f, 9.0f);
    line.UpdateMS(false, false, -2);
    EXPECT_EQ(line.GetModelBound(), bound);
}

TEST(ModelBound, IsEmptyWithoutVerticesOrPositions) {
    kxLine line(Vertices({Vector(1.0f, 1.0f, 1.0f)}).get(), nullptr, false);
    line.UpdateMS(true, false, -2);
    EXPECT_NE(line.GetModelBound(), kxBBox());
    const kxPointer<kxVertexBuffer> withoutPositions = new kxVertexBuffer(kx::kxAttributes(), 3);
    line.SetVertexBuffer(withoutPositions.get());
    line.UpdateMS(true, false, -2);
    EXPECT_EQ(line.GetModelBound(), kxBBox());
    line.SetVertexBuffer(nullptr);
    line.UpdateMS(true, false, -2);
    EXPECT_EQ(line.GetModelBound(), kxBBox());
}

TEST(ModelBound, LeavesNaNOutAndKeepsInfinity) {
    kxLine line(Vertices({Vector(kNaN, 1.0f, kNaN), Vector(2.0f, kNaN, -kInfinity)}).get(), nullptr,
                false);
    line.UpdateMS(true, false, -2);
    EXPECT_EQ(line.GetModelBound(), (kxBBox{{2.0f, 1.0f, -kInfinity}, {2.0f, 1.0f, -kInfinity}}));
}

class LineClone : public ::testing::Test {
protected:
    LineClone() {
        line_.SetName("rim");
        line_.SetLocalTransformation(Translation(1.0f, 2.0f, 3.0f));
        line_.SetWorldTransformation(Translation(4.0f, 5.0f, 6.0f));
        line_.setColor(Wm4::ColorRGBA(0.1f, 0.2f, 0.3f, 0.4f));
        line_.setWidth(0.25f);
        line_.UpdateMS(true, false, -2);
    }

    void expectCopy(const kxLine& copy) const {
        EXPECT_EQ(copy.GetVertexBuffer(), line_.GetVertexBuffer());
        EXPECT_EQ(copy.GetIndexBuffer(), line_.GetIndexBuffer());
        EXPECT_EQ(copy.GetName(), "rim");
        EXPECT_TRUE(copy.GetLocalTransformation() == Translation(1.0f, 2.0f, 3.0f));
        EXPECT_TRUE(copy.GetWorldTransformation() == Translation(4.0f, 5.0f, 6.0f));
        EXPECT_EQ(copy.GetOwnFlags(), kxSpatial::UF_TRANSFORMATION);
        EXPECT_EQ(copy.GetModelBound(), line_.GetModelBound());
        EXPECT_EQ(copy.getColor(), Wm4::ColorRGBA(0.1f, 0.2f, 0.3f, 0.4f));
        EXPECT_EQ(copy.getWidth(), 0.25f);
        EXPECT_TRUE(copy.isStrip());
    }

    kxLine line_{Vertices({Vector(1.0f, 2.0f, 3.0f)}).get(), Indices({0, 0}, kx::IBT_LINES).get(),
                 true};
};

TEST_F(LineClone, ANullTargetGetsANewLine) {
    kxRttiInterface* target = nullptr;
    ASSERT_TRUE(line_.Clone(target));
    const auto* made = dynamic_cast<const kxLine*>(target);
    ASSERT_NE(made, nullptr);
    const kxPointer<const kxLine> copy = made;
    EXPECT_EQ(copy->GetReferences(), 1);
    EXPECT_EQ(line_.GetVertexBuffer()->GetReferences(), 2);
    expectCopy(*copy);
}

TEST_F(LineClone, ATargetTakesOverEverythingButThePlaceInTheScene) {
    Group parent;
    line_.AttachParent(&parent);
    kxLine copy(nullptr, nullptr, false);
    kxRttiInterface* target = &copy;
    ASSERT_TRUE(line_.Clone(target));
    EXPECT_EQ(target, &copy);
    EXPECT_TRUE(copy.GetParents().empty());
    expectCopy(copy);
}

TEST_F(LineClone, ATargetOfAnotherClassIsRefusedAndLeftAlone) {
    kxTriMesh mesh(nullptr, nullptr);
    mesh.SetName("body");
    kxRttiInterface* target = &mesh;
    EXPECT_FALSE(line_.Clone(target));
    EXPECT_EQ(target, &mesh);
    EXPECT_EQ(mesh.GetName(), "body");
    EXPECT_EQ(mesh.GetVertexBuffer(), nullptr);
}

TEST_F(LineClone, ALineClonedIntoItselfStaysAsItIs) {
    kxRttiInterface* target = &line_;
    ASSERT_TRUE(line_.Clone(target));
    EXPECT_EQ(line_.GetVertexBuffer()->GetReferences(), 1);
    expectCopy(line_);
}

TEST(Line, IsBlackAndOneWideByDefault) {
    const kxLine line(nullptr, nullptr, false);
    EXPECT_EQ(line.getColor(), Wm4::ColorRGBA(0.0f, 0.0f, 0.0f, 1.0f));
    EXPECT_EQ(line.getWidth(), 1.0f);
    EXPECT_FALSE(line.isStrip());
}

TEST(TriMesh, ReadsTrianglesFromTheIndexBuffer) {
    const kxTriMesh mesh(nullptr, Indices({4, 5, 6, 9, 8, 7}, kx::IBT_TRIANGLES).get());
    int a = 0;
    int b = 0;
    int c = 0;
    EXPECT_EQ(mesh.GetTriangleQuantity(), 2);
    ASSERT_TRUE(mesh.GetTriangle(0, a, b, c));
    EXPECT_EQ((std::vector<int>{a, b, c}), (std::vector<int>{4, 5, 6}));
    ASSERT_TRUE(mesh.GetTriangle(1, a, b, c));
    EXPECT_EQ((std::vector<int>{a, b, c}), (std::vector<int>{9, 8, 7}));
}

TEST(TriMesh, RefusesNumbersOutOfRangeAndWritesNothing) {
    const kxTriMesh mesh(nullptr, Indices({4, 5, 6, 9, 8}, kx::IBT_TRIANGLES).get());
    EXPECT_EQ(mesh.GetTriangleQuantity(), 1);
    int a = -1;
    int b = -2;
    int c = -3;
    for (const int i :
         {-1, 1, 2, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_FALSE(mesh.GetTriangle(i, a, b, c)) << i;
    }
    EXPECT_EQ((std::vector<int>{a, b, c}), (std::vector<int>{-1, -2, -3}));
}

TEST(TriMesh, HasNoTrianglesWithoutIndices) {
    const kxTriMesh mesh(Vertices({Vector(0.0f, 0.0f, 0.0f)}).get(), nullptr);
    int a = 0;
    int b = 0;
    int c = 0;
    EXPECT_EQ(mesh.GetTriangleQuantity(), 0);
    EXPECT_FALSE(mesh.GetTriangle(0, a, b, c));
}

TEST(Metadata, IsListedInTheOrderOfAdding) {
    const kxPointer<kx::kxOutlineMetadata> first = new kx::kxOutlineMetadata(nullptr);
    const kxPointer<kx::kxOutlineMetadata> second = new kx::kxOutlineMetadata(nullptr);
    kxTriMesh mesh(nullptr, nullptr);
    mesh.AddMetadata(first.get());
    mesh.AddMetadata(nullptr);
    mesh.AddMetadata(second.get());
    ASSERT_EQ(mesh.GetMetadataQuantity(), 2);
    EXPECT_EQ(mesh.GetMetadata(0), first.get());
    EXPECT_EQ(mesh.GetMetadata(1), second.get());
    EXPECT_EQ(mesh.GetMetadata(2), nullptr);
    EXPECT_EQ(mesh.GetMetadata(-1), nullptr);
}

TEST(Metadata, LivesAsLongAsItsMesh) {
    const kxPointer<kx::kxOutlineMetadata> metadata = new kx::kxOutlineMetadata(nullptr);
    auto mesh = std::make_unique<kxTriMesh>(nullptr, nullptr);
    mesh->AddMetadata(metadata.get());
    EXPECT_EQ(metadata->GetReferences(), 2);
    mesh.reset();
    EXPECT_EQ(metadata->GetReferences(), 1);
}

TEST(Metadata, AnOutlineSharesItsBuffer) {
    const kxPointer<kxIndexBuffer> outline = Indices({0, 1}, kx::IBT_LINES);
    const kx::kxOutlineMetadata metadata(outline);
    EXPECT_EQ(metadata.getIBuffer(), outline);
    EXPECT_EQ(outline->GetReferences(), 2);
    EXPECT_EQ(metadata.GetMetadataTypeId(), kx::kxOutlineMetadata::MetadataTypeId);
}

} // namespace
