// Conversion between plain vectors and buffers or line sets, for the tests of all folders.
#pragma once

#include <ctr/LineSegmentSet.h>

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxPointer.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace test_support {

using Vec3 = Wm4::Vector3<float>;
using SetPointer = kx::kxPointer<ctr::LineSegmentSet>;
using VerticesPointer = kx::kxPointer<kx::kxVertexBuffer>;
using IndicesPointer = kx::kxPointer<kx::kxIndexBuffer>;
using Transformation = kx::kxGenericTransformation<float>;

/// Vertex numbers of a segment, first to second.
using Segment = std::pair<unsigned int, unsigned int>;

/// Distinguishes -0 from 0 and NaNs from each other, unlike ==.
inline std::uint32_t Bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

inline std::array<std::uint32_t, 3> Bits(const Vec3& point) {
    return {Bits(point[0]), Bits(point[1]), Bits(point[2])};
}

/// A key under which -0 and 0 are the same, like positions in the library.
inline std::array<float, 3> KeyOf(const Vec3& point) {
    return {point[0], point[1], point[2]};
}

inline VerticesPointer MakeVertices(const std::vector<Vec3>& positions,
                                    const std::vector<Vec3>& normals = {}) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(normals.empty() ? 0 : 3);
    VerticesPointer vertices(
        new kx::kxVertexBuffer(attributes, static_cast<int>(positions.size())));
    for (std::size_t i = 0; i < positions.size(); ++i) {
        vertices->Position3(static_cast<int>(i)) = positions[i];
    }
    for (std::size_t i = 0; i < normals.size(); ++i) {
        vertices->Normal3(static_cast<int>(i)) = normals[i];
    }
    return vertices;
}

inline IndicesPointer MakeIndices(const std::vector<unsigned int>& indices,
                                  kx::IndexBufferType type = kx::IBT_LINES) {
    IndicesPointer buffer(new kx::kxIndexBuffer(static_cast<int>(indices.size()), type));
    for (std::size_t i = 0; i < indices.size(); ++i) {
        buffer->GetData()[i] = indices[i];
    }
    return buffer;
}

inline SetPointer MakeSet(const VerticesPointer& vertices, const IndicesPointer& indices) {
    SetPointer set(new ctr::LineSegmentSet);
    set->SetVertexBuffer(vertices.get());
    set->SetIndexBuffer(indices.get());
    return set;
}

inline SetPointer MakeSet(const std::vector<Vec3>& positions,
                          const std::vector<unsigned int>& indices) {
    return MakeSet(MakeVertices(positions), MakeIndices(indices));
}

inline std::vector<unsigned int> IndicesOf(const kx::kxIndexBuffer* buffer) {
    if (buffer == nullptr) {
        return {};
    }
    return {buffer->GetData(), buffer->GetData() + buffer->GetIndexQuantity()};
}

inline std::vector<unsigned int> IndicesOf(const ctr::LineSegmentSet& set) {
    return IndicesOf(set.GetIndexBuffer());
}

inline std::vector<Vec3> PositionsOf(const kx::kxVertexBuffer* buffer) {
    std::vector<Vec3> positions;
    for (int i = 0; buffer != nullptr && i < buffer->GetVertexQuantity(); ++i) {
        positions.push_back(buffer->Position3(i));
    }
    return positions;
}

inline std::vector<Vec3> PositionsOf(const ctr::LineSegmentSet& set) {
    return PositionsOf(set.GetVertexBuffer());
}

/// The end positions of every segment, in order; an odd last index is left out.
inline std::vector<std::pair<Vec3, Vec3>> EndsOf(const ctr::LineSegmentSet& set) {
    std::vector<std::pair<Vec3, Vec3>> ends;
    const std::vector<unsigned int> indices = IndicesOf(set);
    for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
        ends.emplace_back(set.GetVertexBuffer()->Position3(static_cast<int>(indices[i])),
                          set.GetVertexBuffer()->Position3(static_cast<int>(indices[i + 1])));
    }
    return ends;
}

inline ctr::RationalInterval
Range(long startNumerator, long startDenominator, long endNumerator, long endDenominator) {
    ctr::RationalInterval range;
    range.start = Wm4::Vector2<std::int64_t>(startNumerator, startDenominator);
    range.end = Wm4::Vector2<std::int64_t>(endNumerator, endDenominator);
    return range;
}

/// The four numbers of a range, for comparisons that see every one of them.
inline std::array<long, 4> NumbersOf(const ctr::RationalInterval& range) {
    return {range.start[0], range.start[1], range.end[0], range.end[1]};
}

inline std::vector<std::array<long, 4>>
NumbersOf(const std::vector<ctr::RationalInterval>& ranges) {
    std::vector<std::array<long, 4>> numbers;
    numbers.reserve(ranges.size());
    for (const ctr::RationalInterval& range : ranges) {
        numbers.push_back(NumbersOf(range));
    }
    return numbers;
}

inline std::array<float, 4> NumbersOf(const ctr::LineSegmentSet::ClipRange& record) {
    return {record.t0, record.t1, record.w0, record.w1};
}

/// Row vectors: the scale on the diagonal, the offset in the fourth row.
inline Transformation ScaleAndMove(const Vec3& scale, const Vec3& offset) {
    Wm4::Matrix4<float> matrix(false);
    for (int i = 0; i < 3; ++i) {
        matrix[i][i] = scale[i];
        matrix[3][i] = offset[i];
    }
    Transformation transformation;
    transformation.SetMatrix(matrix);
    return transformation;
}

/// Counts polls and cancels from a given poll on (the first is number 1).
class CancelAtQuestion : public kx::kxCancelInterfaceReadOnly {
public:
    explicit CancelAtQuestion(long question) : question_(question) {}

    bool isCanceled() const override { return ++polls_ >= question_; }
    long polls() const { return polls_; }

private:
    long question_;
    mutable long polls_ = 0;
};

constexpr long kNever = 1L << 60;

} // namespace test_support
