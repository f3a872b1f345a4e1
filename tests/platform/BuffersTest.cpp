// Vertex and index buffers.
#include <Wm4Foundation.h>
#include <kxSceneGraph/kxAttributes.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using kx::kxAttributes;
using kx::kxIndexBuffer;
using kx::kxPointer;
using kx::kxVertexBuffer;
using Vector = Wm4::Vector3<float>;

kxAttributes Channels(int positions, int normals) {
    kxAttributes attributes;
    attributes.SetPositionChannels(positions);
    attributes.SetNormalChannels(normals);
    return attributes;
}

std::vector<unsigned int> Indices(const kxIndexBuffer& buffer) {
    return {buffer.GetData(), buffer.GetData() + buffer.GetIndexQuantity()};
}

TEST(Attributes, HaveNoChannelsUntilAsked) {
    kxAttributes attributes;
    EXPECT_EQ(attributes.GetPositionChannels(), 0);
    EXPECT_EQ(attributes.GetNormalChannels(), 0);
    attributes.SetPositionChannels(3);
    EXPECT_EQ(attributes.GetPositionChannels(), 3);
    EXPECT_EQ(attributes.GetNormalChannels(), 0);
}

TEST(VertexBuffer, StartsWithZeros) {
    const kxPointer<const kxVertexBuffer> buffer = new kxVertexBuffer(Channels(3, 3), 5);
    EXPECT_EQ(buffer->GetVertexQuantity(), 5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(buffer->Position3(i), Vector(0.0f, 0.0f, 0.0f));
        EXPECT_EQ(buffer->Normal3(i), Vector(0.0f, 0.0f, 0.0f));
    }
}

TEST(VertexBuffer, KeepsPositionsApartFromNormals) {
    const kxPointer<kxVertexBuffer> buffer = new kxVertexBuffer(Channels(3, 3), 2);
    buffer->Position3(1) = Vector(1.0f, 2.0f, 3.0f);
    buffer->Normal3(1) = Vector(0.0f, 0.0f, 1.0f);
    EXPECT_EQ(std::as_const(*buffer).Position3(1), Vector(1.0f, 2.0f, 3.0f));
    EXPECT_EQ(std::as_const(*buffer).Normal3(1), Vector(0.0f, 0.0f, 1.0f));
    EXPECT_EQ(std::as_const(*buffer).Position3(0), Vector(0.0f, 0.0f, 0.0f));
}

TEST(VertexBuffer, ReadsZeroNormalsWhereItHasNone) {
    const kxPointer<const kxVertexBuffer> buffer = new kxVertexBuffer(Channels(3, 0), 3);
    EXPECT_EQ(buffer->Normal3(2), Vector(0.0f, 0.0f, 0.0f));
}

TEST(VertexBuffer, RemembersItsLayout) {
    const kxPointer<kxVertexBuffer> buffer = new kxVertexBuffer(Channels(3, 0), 1);
    EXPECT_EQ(buffer->GetAttributes().GetPositionChannels(), 3);
    EXPECT_EQ(buffer->GetAttributes().GetNormalChannels(), 0);
}

TEST(VertexBuffer, MayBeEmpty) {
    EXPECT_EQ(kxVertexBuffer(Channels(3, 3), 0).GetVertexQuantity(), 0);
    EXPECT_EQ(kxVertexBuffer(Channels(3, 3), -1).GetVertexQuantity(), 0);
}

TEST(IndexBuffer, StartsWithZeros) {
    const kxIndexBuffer buffer(4, kx::IBT_LINES);
    EXPECT_EQ(Indices(buffer), (std::vector<unsigned int>{0, 0, 0, 0}));
    EXPECT_EQ(buffer.GetIndexBufferType(), kx::IBT_LINES);
}

TEST(IndexBuffer, TypesHaveTheNumbersThatHostsStore) {
    EXPECT_EQ(static_cast<int>(kx::IBT_POINTS), 0);
    EXPECT_EQ(static_cast<int>(kx::IBT_LINES), 1);
    EXPECT_EQ(static_cast<int>(kx::IBT_TRIANGLES), 2);
}

TEST(IndexBuffer, GrowingKeepsTheOldAndZeroesTheNew) {
    kxIndexBuffer buffer(2, kx::IBT_LINES);
    buffer.GetData()[0] = 7;
    buffer.GetData()[1] = 8;
    buffer.SetIndexQuantity(4);
    EXPECT_EQ(Indices(buffer), (std::vector<unsigned int>{7, 8, 0, 0}));
}

TEST(IndexBuffer, WhatWasIntersectionOffComesBackAsZero) {
    kxIndexBuffer buffer(3, kx::IBT_TRIANGLES);
    for (unsigned int i = 0; i < 3; ++i) {
        buffer.GetData()[i] = i + 1;
    }
    buffer.SetIndexQuantity(1);
    EXPECT_EQ(Indices(buffer), (std::vector<unsigned int>{1}));
    buffer.SetIndexQuantity(3);
    EXPECT_EQ(Indices(buffer), (std::vector<unsigned int>{1, 0, 0}));
}

TEST(IndexBuffer, MayBeEmpty) {
    kxIndexBuffer buffer(-5, kx::IBT_POINTS);
    EXPECT_EQ(buffer.GetIndexQuantity(), 0);
    buffer.SetIndexQuantity(2);
    buffer.SetIndexQuantity(-1);
    EXPECT_EQ(buffer.GetIndexQuantity(), 0);
}

TEST(IndexBuffer, HoldsTheFullRangeOfIndices) {
    kxIndexBuffer buffer(1, kx::IBT_POINTS);
    buffer.GetData()[0] = 0xFFFFFFFFu;
    EXPECT_EQ(buffer.GetData()[0], 0xFFFFFFFFu);
}

} // namespace
