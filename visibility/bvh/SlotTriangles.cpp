// Gathering is kept out of line, so that access to copies stays short enough to be inlined.
#include "visibility/bvh/SlotTriangles.h"

namespace ctr {

const SlotTriangle& SlotTriangles::gather(std::size_t slot, SlotTriangle& room) const {
    room = TriangleOf(*scene_, scene_->bvh.primitives[slot]);
    return room;
}

const SlotTriangle& RecentTriangles::gatherOnce(std::uint32_t slot) {
    Room& room = rooms_[slot % kRooms];
    if (room.slot != slot) {
        room.slot = slot;
        room.triangle = triangles_[slot];
    }
    return room.triangle;
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
