// Several sets gathered into one, in world space.
#include <ctr/LineSegmentSet.h>

#include "linesets/IndexRange.h"
#include "linesets/SetConstruction.h"
#include "linesets/SetOperations.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace ctr {
namespace {

bool TakesPart(const LineSegmentSet* set) {
    return set != nullptr && set->GetIndexBuffer() != nullptr && set->GetVertexBuffer() != nullptr;
}

/// What does not exist in its own set must not come to life among the vertices of others.
void CopyIndices(const LineSegmentSet& source,
                 unsigned int* target,
                 std::size_t firstVertex,
                 WorkCounter& work) {
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
                  WorkCounter& work) {
    const kx::kxVertexBuffer& vertices = *source.GetVertexBuffer();
    const kx::kxGenericTransformation<float>& toWorld = source.GetWorldTransformation();
    ForEachCounted(PositionCount(&vertices), work, [&](std::size_t i) {
        target.Position3(static_cast<int>(firstVertex + i)) =
            toWorld.ApplyForward(vertices.Position3(static_cast<int>(i)), true);
    });
}

} // namespace

LineSegmentSet* FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets, WorkCounter& work) {
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
    WorkCounter unwatched;
    return ctr::FuseLineSegmentSets(sets, unwatched);
}

} // namespace ctr
