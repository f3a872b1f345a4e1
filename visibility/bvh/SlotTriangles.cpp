// Access to triangles that are not copied. Gathering is kept out of line, so that access to copies
// stays short enough to be inlined. O(1) per triangle.
#include "visibility/bvh/SlotTriangles.h"

namespace ctr {

const SlotTriangle& SlotTriangles::gather(std::size_t slot, SlotTriangle& storage) const {
    storage = TriangleOf(*scene_, scene_->bvh.primitives[slot]);
    return storage;
}

const SlotTriangle& RecentTriangles::gatherOnce(std::uint32_t slot) {
    Entry& entry = entries_[slot % Tuning::kGatheredTriangles];
    if (entry.slot != slot) {
        entry.slot = slot;
        entry.triangle = triangles_[slot];
    }
    return entry.triangle;
}

TriangleCopies::TriangleCopies(const SlotTriangles& triangles, ItemCounter& work)
    : borrowed_(triangles.copies()) {
    if (borrowed_ == nullptr) {
        made_.reserve(triangles.size());
        ForEachCounted(triangles.size(), work,
                       [&](std::size_t slot) { made_.push_back(triangles[slot]); });
    }
}

} // namespace ctr
