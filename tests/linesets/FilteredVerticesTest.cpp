// Vertex buffers reduced to the positions that a line list uses.
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <set>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::KeyOf;
using test_support::MakeIndices;
using test_support::MakeVertices;
using test_support::PositionsOf;
using test_support::Random;
using test_support::Scaled;
using test_support::Vec3;
using test_support::VerticesPointer;
using Indices = std::vector<unsigned int>;
using Points = std::vector<Vec3>;

TEST(CreateFilteredVertexBuffer, SortsUsedVerticesAndWeldsEqualOnes) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(2, 0, 0), Vec3(1, 1, 0), Vec3(0, 0, 0), Vec3(1, 0, 5), Vec3(2, 0, 0),
                      Vec3(9, 9, 9), Vec3(1, 0, -5)});
    const IndicesPointer lines = MakeIndices({0, 1, 4, 3, 6, 1});
    VerticesPointer filtered = vertices;
    std::vector<unsigned int> remapping{77};
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *lines, filtered, remapping);
    ASSERT_TRUE(filtered);
    EXPECT_EQ(PositionsOf(filtered.get()),
              (Points{Vec3(1, 0, -5), Vec3(1, 0, 5), Vec3(1, 1, 0), Vec3(2, 0, 0)}));
    EXPECT_EQ(remapping, (std::vector<unsigned int>{3, 2, 0, 1, 3, 0, 0}));
    EXPECT_EQ(IndicesOf(lines.get()), (Indices{0, 1, 4, 3, 6, 1}));
    EXPECT_EQ(PositionsOf(vertices.get()).size(), 7U);
}

TEST(CreateFilteredVertexBuffer, HoldsPositionsOnly) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0)}, {Vec3(0, 0, 1), Vec3(0, 0, 1)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({0, 1}), filtered,
                                               remapping);
    ASSERT_TRUE(filtered);
    EXPECT_EQ(filtered->GetAttributes().GetPositionChannels(), 3);
    EXPECT_EQ(filtered->GetAttributes().GetNormalChannels(), 0);
}

TEST(CreateFilteredVertexBuffer, ZerosOfEitherSignAreOnePoint) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(0.0F, -0.0F, 1), Vec3(-0.0F, 0.0F, 1), Vec3(5, 0, 0)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({0, 2, 1, 2}), filtered,
                                               remapping);
    EXPECT_EQ(filtered->GetVertexQuantity(), 2);
    EXPECT_EQ(remapping, (std::vector<unsigned int>{0, 0, 1}));
}

TEST(CreateFilteredVertexBuffer, OneFloatBitKeepsPointsApart) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(1, 0, 0), Vec3(std::nextafter(1.0F, 2.0F), 0, 0)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({1, 0}), filtered,
                                               remapping);
    EXPECT_EQ(filtered->GetVertexQuantity(), 2);
    EXPECT_EQ(remapping, (std::vector<unsigned int>{0, 1}));
}

TEST(CreateFilteredVertexBuffer, AnOddLastIndexUsesNoVertex) {
    const VerticesPointer vertices = MakeVertices({Vec3(3, 0, 0), Vec3(2, 0, 0), Vec3(1, 0, 0)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({0, 1, 2}), filtered,
                                               remapping);
    EXPECT_EQ(PositionsOf(filtered.get()), (Points{Vec3(2, 0, 0), Vec3(3, 0, 0)}));
    EXPECT_EQ(remapping, (std::vector<unsigned int>{1, 0, 0}));
}

TEST(CreateFilteredVertexBuffer, PatchingRewritesEveryIndex) {
    const VerticesPointer vertices = MakeVertices({Vec3(3, 0, 0), Vec3(2, 0, 0), Vec3(1, 0, 0)});
    const IndicesPointer lines = MakeIndices({0, 1, 1, 0, 2});
    VerticesPointer filtered;
    LineSegmentSet::CreateFilteredVertexBufferPatched(*vertices, *lines, filtered);
    EXPECT_EQ(filtered->GetVertexQuantity(), 2);
    EXPECT_EQ(IndicesOf(lines.get()), (Indices{1, 0, 0, 1, 0}));
}

TEST(CreateFilteredVertexBuffer, AgreesWithAPlainMapOnRandomSets) {
    Random random(92);
    int welded = 0;
    const int trials = Scaled(3000);
    for (int trial = 0; trial < trials; ++trial) {
        Points positions;
        const int vertexCount = random.between(1, 30);
        for (int i = 0; i < vertexCount; ++i) {
            positions.push_back(Vec3{static_cast<float>(random.between(-1, 1)),
                                     static_cast<float>(random.between(-1, 1)),
                                     static_cast<float>(random.between(-1, 1))});
        }
        Indices lines;
        for (int i = random.below(30); i > 0; --i) {
            lines.push_back(static_cast<unsigned int>(random.below(vertexCount)));
        }
        std::map<std::array<float, 3>, unsigned int> numbers;
        std::set<unsigned int> used(lines.begin(),
                                    lines.begin() + static_cast<long>(lines.size() / 2 * 2));
        for (const unsigned int v : used) {
            numbers[KeyOf(positions[v])] = 0;
        }
        unsigned int next = 0;
        for (auto& [place, number] : numbers) {
            number = next++;
        }
        const VerticesPointer vertices = MakeVertices(positions);
        VerticesPointer filtered;
        std::vector<unsigned int> remapping;
        LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices(lines), filtered,
                                                   remapping);
        ASSERT_EQ(filtered->GetVertexQuantity(), static_cast<int>(numbers.size()));
        ASSERT_EQ(remapping.size(), positions.size());
        for (unsigned int v = 0; v < positions.size(); ++v) {
            ASSERT_EQ(remapping[v], used.count(v) != 0 ? numbers[KeyOf(positions[v])] : 0U)
                << "trial " << trial;
        }
        for (const auto& [place, number] : numbers) {
            ASSERT_EQ(KeyOf(filtered->Position3(static_cast<int>(number))), place);
        }
        welded += static_cast<int>(used.size() - numbers.size());
    }
    EXPECT_GT(welded, trials / 5);
}

} // namespace
