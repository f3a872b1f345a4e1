// Construction and cloning of sets, and sets that share a mesh's outline.
#include <ctr/LineSegmentSet.h>

#include "linesets/SetConstruction.h"

#include <cassert>
#include <memory>

namespace ctr {

LineSegmentSet::LineSegmentSet() : kx::kxLine(nullptr, nullptr, false) {}

LineSegmentSet::~LineSegmentSet() = default;

bool LineSegmentSet::Clone(kx::kxRttiInterface*& target) const {
    std::unique_ptr<LineSegmentSet> made(target == nullptr ? new LineSegmentSet : nullptr);
    auto* const set = made != nullptr ? made.get() : dynamic_cast<LineSegmentSet*>(target);
    kx::kxRttiInterface* copy = set;
    if (set == nullptr || !kxLine::Clone(copy)) {
        return false;
    }
    set->segmentFlags.clear();
    if (set != this) {
        set->occlusionIntervals = occlusionIntervals;
        set->clipRanges = clipRanges;
    }
    if (made != nullptr) {
        target = made.release();
    }
    return true;
}

LineSegmentSet* LineSegmentSet::GetOutlineEdgesFromMesh(
    const kx::kxVertexBuffer* vertices,
    kx::kxPointer<kx::kxIndexBuffer> outline, // NOLINT(performance-unnecessary-value-param)
    const kx::kxGenericTransformation<float>& transformation) {
    if (vertices == nullptr || !outline) {
        return nullptr;
    }
    auto set = std::make_unique<LineSegmentSet>();
    set->SetVertexBuffer(const_cast<kx::kxVertexBuffer*>(vertices));
    set->SetIndexBuffer(outline.get());
    Place(*set, transformation, transformation);
    UpdateModelSpace(*set, true);
    return set.release();
}

LineSegmentSet*
LineSegmentSet::GetOutlineEdgesFromTriMesh(const kx::kxTriMesh* mesh,
                                           kx::kxPointer<kx::kxIndexBuffer> outline) {
    assert(mesh != nullptr);
    return GetOutlineEdgesFromMesh(mesh->GetVertexBuffer(), std::move(outline),
                                   mesh->GetWorldTransformation());
}

} // namespace ctr
