// Gathers several sets into one, in world space: vertices and segments are concatenated. Linear
// time. Positions are rounded once, by the transformation to world space in single precision.
#include "linesets/FuseSets.h"

#include <ctr/LineSegmentSet.h>

#include "linesets/IndexRange.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace ctr {
namespace {

bool TakesPart(const LineSegmentSet* set) {
    return set != nullptr && set->GetIndexBuffer() != nullptr && set->GetVertexBuffer() != nullptr;
}

/// Indices that are out of range in their own set must not refer to vertices of other sets.
void CopyIndices(const LineSegmentSet& source,
                 unsigned int* target,
                 std::size_t firstVertex,
                 ItemCounter& work) {
    const unsigned int* indices = source.GetIndexBuffer()->GetData();
    const std::size_t count = 2 * SegmentCount(source.GetIndexBuffer());
    const unsigned int positions = PositionCount(source.GetVertexBuffer());
    ForEachCounted(count, work, [&](std::size_t i) {
        target[i] = indices[i] < positions ? indices[i] + static_cast<unsigned int>(firstVertex)
                                           : kNoVertex;
    });
}

void CopyVertices(const LineSegmentSet& source,
                  kx::kxVertexBuffer& target,
                  std::size_t firstVertex,
                  ItemCounter& work) {
    const kx::kxVertexBuffer& vertices = *source.GetVertexBuffer();
    const kx::kxGenericTransformation<float>& toWorld = source.GetWorldTransformation();
    ForEachCounted(PositionCount(&vertices), work, [&](std::size_t i) {
        target.Position3(static_cast<int>(firstVertex + i)) =
            toWorld.ApplyForward(vertices.Position3(static_cast<int>(i)), true);
    });
}

/// Numbers the vertices that segments use, in their order; returns their count.
std::size_t NumberUsedVertices(const LineSegmentSet& set,
                               std::vector<unsigned int>& numbers,
                               ItemCounter& work) {
    numbers.assign(PositionCount(set.GetVertexBuffer()), kNoVertex);
    const unsigned int* indices = set.GetIndexBuffer()->GetData();
    ForEachCounted(2 * SegmentCount(set.GetIndexBuffer()), work, [&](std::size_t i) {
        if (indices[i] < numbers.size()) {
            numbers[indices[i]] = 0;
        }
    });
    unsigned int count = 0;
    ForEachCounted(numbers.size(), work,
                   [&](std::size_t i) { numbers[i] = numbers[i] == 0 ? count++ : kNoVertex; });
    return count;
}

} // namespace

LineSegmentSet* MakeWorldSet(const LineSegmentSet* set, ItemCounter& work) {
    if (!TakesPart(set)) {
        return nullptr;
    }
    std::vector<unsigned int> numbers;
    const std::size_t vertexCount = NumberUsedVertices(*set, numbers, work);
    if (vertexCount == 0) {
        return nullptr;
    }
    const std::size_t segmentCount = SegmentCount(set->GetIndexBuffer());
    const kx::kxPointer<kx::kxVertexBuffer> vertices = MakePositionBuffer(vertexCount);
    const kx::kxPointer<kx::kxIndexBuffer> lines = MakeLineBuffer(segmentCount);
    const kx::kxVertexBuffer& source = *set->GetVertexBuffer();
    const kx::kxGenericTransformation<float>& toWorld = set->GetWorldTransformation();
    ForEachCounted(numbers.size(), work, [&](std::size_t i) {
        if (numbers[i] != kNoVertex) {
            vertices->Position3(static_cast<int>(numbers[i])) =
                toWorld.ApplyForward(source.Position3(static_cast<int>(i)), true);
        }
    });
    const unsigned int* indices = set->GetIndexBuffer()->GetData();
    ForEachCounted(2 * segmentCount, work, [&](std::size_t i) {
        lines->GetData()[i] = indices[i] < numbers.size() ? numbers[indices[i]] : kNoVertex;
    });
    auto placed = std::make_unique<LineSegmentSet>();
    placed->occlusionIntervals = set->occlusionIntervals;
    placed->occlusionIntervals.resize(segmentCount);
    placed->SetVertexBuffer(vertices.get());
    placed->SetIndexBuffer(lines.get());
    UpdateModelSpace(*placed, false);
    return placed.release();
}

LineSegmentSet* FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets, ItemCounter& work) {
    std::vector<const LineSegmentSet*> parts;
    std::copy_if(sets.begin(), sets.end(), std::back_inserter(parts), TakesPart);
    std::size_t vertexCount = 0;
    std::size_t segmentCount = 0;
    for (const LineSegmentSet* part : parts) {
        vertexCount += PositionCount(part->GetVertexBuffer());
        segmentCount += SegmentCount(part->GetIndexBuffer());
    }
    if (vertexCount == 0 || segmentCount == 0) {
        return nullptr;
    }
    const kx::kxPointer<kx::kxVertexBuffer> vertices = MakePositionBuffer(vertexCount);
    const kx::kxPointer<kx::kxIndexBuffer> lines = MakeLineBuffer(segmentCount);
    auto fused = std::make_unique<LineSegmentSet>();
    fused->occlusionIntervals.resize(segmentCount);

    std::size_t firstVertex = 0;
    std::size_t firstSegment = 0;
    for (const LineSegmentSet* part : parts) {
        const std::size_t segments = SegmentCount(part->GetIndexBuffer());
        CopyIndices(*part, lines->GetData() + 2 * firstSegment, firstVertex, work);
        CopyVertices(*part, *vertices, firstVertex, work);
        std::copy_n(part->occlusionIntervals.begin(),
                    std::min(segments, part->occlusionIntervals.size()),
                    fused->occlusionIntervals.begin() + static_cast<std::ptrdiff_t>(firstSegment));
        firstVertex += PositionCount(part->GetVertexBuffer());
        firstSegment += segments;
    }
    fused->SetVertexBuffer(vertices.get());
    fused->SetIndexBuffer(lines.get());
    UpdateModelSpace(*fused, false);
    return fused.release();
}

LineSegmentSet* LineSegmentSet::FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets) {
    ItemCounter uncancelled;
    return ctr::FuseLineSegmentSets(sets, uncancelled);
}

} // namespace ctr
