// Type records, cancellation, character sets, boxes and colours.
#include <Wm4Foundation.h>
#include <kxSceneGraph/kxLine.h>
#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxBBox.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxProgressNotifierInterface.h>
#include <kxSystem/kxRtti.h>
#include <kxSystem/kxStringUtils.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <string>

namespace {

TEST(TypeRecord, AClassDerivesFromItselfAndFromAllItsBases) {
    using kx::kxLine;
    EXPECT_TRUE(kxLine::TYPE.IsDerived(kxLine::TYPE));
    EXPECT_TRUE(kxLine::TYPE.IsDerived(kx::kxBaseGeometry::TYPE));
    EXPECT_TRUE(kxLine::TYPE.IsDerived(kx::kxSpatial::TYPE));
    EXPECT_TRUE(kxLine::TYPE.IsDerived(kx::kxObject::TYPE));
    EXPECT_FALSE(kxLine::TYPE.IsDerived(kx::kxTriMesh::TYPE));
    EXPECT_FALSE(kx::kxObject::TYPE.IsDerived(kxLine::TYPE));
}

TEST(TypeRecord, IsKnownByItsAddressAndNotByItsName) {
    const kx::kxRtti impostor("kxLine", &kx::kxBaseGeometry::TYPE);
    EXPECT_TRUE(kx::kxLine::TYPE.IsExactly(kx::kxLine::TYPE));
    EXPECT_FALSE(impostor.IsExactly(kx::kxLine::TYPE));
    EXPECT_STREQ(impostor.GetName(), kx::kxLine::TYPE.GetName());
}

TEST(TypeRecord, EveryObjectAnswersWithTheRecordOfItsClass) {
    const kx::kxLine line(nullptr, nullptr, false);
    const kx::kxTriMesh mesh(nullptr, nullptr);
    const kx::kxOutlineMetadata metadata(nullptr);
    const kx::kxVertexBuffer vertices(kx::kxAttributes(), 0);
    const kx::kxIndexBuffer indices(0, kx::IBT_LINES);
    EXPECT_TRUE(line.GetType().IsExactly(kx::kxLine::TYPE));
    EXPECT_TRUE(mesh.GetType().IsExactly(kx::kxTriMesh::TYPE));
    EXPECT_TRUE(metadata.GetType().IsExactly(kx::kxOutlineMetadata::TYPE));
    EXPECT_TRUE(metadata.GetType().IsDerived(kx::kxMetadata::TYPE));
    EXPECT_TRUE(vertices.GetType().IsExactly(kx::kxVertexBuffer::TYPE));
    EXPECT_TRUE(indices.GetType().IsExactly(kx::kxIndexBuffer::TYPE));
}

TEST(CancelProxy, FollowsItsFlagBothWays) {
    std::atomic<bool> flag{false};
    const kx::kxCancelInterfaceProxyReadOnly proxy(flag);
    EXPECT_FALSE(proxy.isCanceled());
    flag = true;
    EXPECT_TRUE(proxy.isCanceled());
    flag = false;
    EXPECT_FALSE(proxy.isCanceled());
}

class Notifier : public kx::kxProgressNotifierInterface {
public:
    bool isCanceled() const override { return done_ > 2.0; }
    void setTotal(double steps) override {
        total_ = steps;
        done_ = 0.0;
    }
    void getRange(double& start, double& end) const override {
        start = done_;
        end = total_;
    }
    void advance(double steps) override { done_ += steps; }

private:
    double done_ = 0.0;
    double total_ = 0.0;
};

TEST(ProgressNotifier, ServesAsACancelInterface) {
    Notifier notifier;
    const kx::kxCancelInterfaceReadOnly& cancel = notifier;
    notifier.setTotal(10.0);
    notifier.advance(2.0);
    EXPECT_FALSE(cancel.isCanceled());
    notifier.advance(0.5);
    EXPECT_TRUE(cancel.isCanceled());
}

TEST(ConvertCharset, GivesEveryByteBack) {
    std::string allBytes;
    for (int byte = 0; byte < 256; ++byte) {
        allBytes.push_back(static_cast<char>(byte));
    }
    using Strings = kx::kxStringUtils;
    EXPECT_EQ(Strings::convertCharset(allBytes, Strings::CS_UTF8, Strings::CS_FILE_SYSTEM),
              allBytes);
    EXPECT_EQ(Strings::convertCharset(allBytes, Strings::CS_FILE_SYSTEM, Strings::CS_UTF8),
              allBytes);
}

TEST(BBox, IsEmptyByDefault) {
    const kx::kxBBox box;
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(box.min[axis], std::numeric_limits<float>::infinity());
        EXPECT_EQ(box.max[axis], -std::numeric_limits<float>::infinity());
    }
    EXPECT_EQ(box, kx::kxBBox());
}

TEST(BBox, ComparesAllSixNumbers) {
    const kx::kxBBox box{{1, 2, 3}, {4, 5, 6}};
    EXPECT_TRUE(box == kx::kxBBox(box));
    EXPECT_FALSE(box != kx::kxBBox(box));
    for (int axis = 0; axis < 3; ++axis) {
        kx::kxBBox lower = box;
        kx::kxBBox higher = box;
        lower.min[axis] = 0;
        higher.max[axis] = 7;
        EXPECT_TRUE(box != lower);
        EXPECT_FALSE(box == higher);
    }
    EXPECT_TRUE(kx::kxBBox() == kx::kxBBox());
}

TEST(Color, IsOpaqueBlackByDefault) {
    EXPECT_EQ(Wm4::ColorRGB(), Wm4::ColorRGB(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(Wm4::ColorRGBA(), Wm4::ColorRGBA(0.0f, 0.0f, 0.0f, 1.0f));
}

TEST(Color, ComparesAllChannels) {
    const Wm4::ColorRGBA color(0.1f, 0.2f, 0.3f, 0.4f);
    EXPECT_EQ(color, Wm4::ColorRGBA(color.R(), color.G(), color.B(), color.A()));
    EXPECT_NE(color, Wm4::ColorRGBA(0.5f, 0.2f, 0.3f, 0.4f));
    EXPECT_NE(color, Wm4::ColorRGBA(0.1f, 0.5f, 0.3f, 0.4f));
    EXPECT_NE(color, Wm4::ColorRGBA(0.1f, 0.2f, 0.5f, 0.4f));
    EXPECT_NE(color, Wm4::ColorRGBA(0.1f, 0.2f, 0.3f, 0.5f));
    EXPECT_NE(Wm4::ColorRGB(0.1f, 0.2f, 0.3f), Wm4::ColorRGB(0.1f, 0.2f, 0.4f));
}

// The convention everything else is written in: the translation is the fourth row.
TEST(Matrix, MovesARowVectorByItsFourthRow) {
    Wm4::Matrix4<float> matrix(false);
    matrix(3, 0) = 5.0f;
    matrix(3, 1) = 6.0f;
    matrix(3, 2) = 7.0f;
    const Wm4::Vector4<float> moved = Wm4::Vector4<float>(1.0f, 2.0f, 3.0f, 1.0f) * matrix;
    EXPECT_EQ(moved, Wm4::Vector4<float>(6.0f, 8.0f, 10.0f, 1.0f));
}

// Grid vectors hold whole numbers that a double cannot.
TEST(Vector, OfLongsIsExact) {
    constexpr long kOdd = (1L << 53) + 1;
    const Wm4::Vector3<std::int64_t> sum =
        Wm4::Vector3<std::int64_t>(kOdd, 0, -kOdd) + Wm4::Vector3<std::int64_t>(2, 3, 4);
    EXPECT_EQ(sum.X(), kOdd + 2);
    EXPECT_EQ(sum.Y(), 3);
    EXPECT_EQ(sum.Z(), 4 - kOdd);
}

} // namespace
