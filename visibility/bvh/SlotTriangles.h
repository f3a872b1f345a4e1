// The triangles of a baked scene in the leaf order of its BVH.
//
// A slot is a position in the primitive order of the hierarchy: the triangles of a leaf are in
// consecutive slots.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Progress.h"
#include "visibility/Tuning.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

/// A triangle with the values of its corners.
struct SlotTriangle {
    BakedVertex corners[3];
    std::uint32_t number; ///< In the baked scene. Has to follow the corners, see GridBox.
};

inline SlotTriangle TriangleOf(const BakedTriangles& baked, std::uint32_t number) {
    const unsigned int* corners = baked.triangleIndices.data() + 3 * std::size_t{number};
    return {{baked.vertices[corners[0]], baked.vertices[corners[1]], baked.vertices[corners[2]]},
            number};
}

/// Triangles by slot, in the order of baked.bvh.primitives: contiguous copies, which are fastest to
/// read, or gathered from the scene on each access, which takes no memory. The values are the same.
/// Copies and scene are borrowed.
class SlotTriangles {
public:
    SlotTriangles(const std::vector<SlotTriangle>& copies)
        : copies_(&copies), size_(copies.size()) {}
    explicit SlotTriangles(const BakedTriangles& scene)
        : scene_(&scene), size_(scene.bvh.primitives.size()) {}

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

    /// The triangle in a slot; written to `storage` if it has to be gathered.
    const SlotTriangle& get(std::size_t slot, SlotTriangle& storage) const {
        return copies_ != nullptr ? (*copies_)[slot] : gather(slot, storage);
    }
    SlotTriangle operator[](std::size_t slot) const {
        SlotTriangle storage;
        return get(slot, storage);
    }

    /// Null where they are gathered.
    const std::vector<SlotTriangle>* copies() const { return copies_; }

private:
    const SlotTriangle& gather(std::size_t slot, SlotTriangle& storage) const;

    const std::vector<SlotTriangle>* copies_ = nullptr;
    const BakedTriangles* scene_ = nullptr;
    std::size_t size_;
};

/// The same for slots that are read repeatedly: a direct-mapped cache of gathered triangles.
class RecentTriangles {
public:
    explicit RecentTriangles(const SlotTriangles& triangles)
        : triangles_(triangles),
          entries_(triangles.copies() == nullptr ? Tuning::kGatheredTriangles : 0) {}

    /// Valid until the next call.
    const SlotTriangle& get(std::uint32_t slot) {
        const std::vector<SlotTriangle>* const copies = triangles_.copies();
        return copies != nullptr ? (*copies)[slot] : gatherOnce(slot);
    }

private:
    struct Entry {
        std::size_t slot = std::numeric_limits<std::size_t>::max();
        SlotTriangle triangle{};
    };

    const SlotTriangle& gatherOnce(std::uint32_t slot);

    SlotTriangles triangles_;
    std::vector<Entry> entries_; ///< Slot s is cached in entry s modulo the size.
};

/// Contiguous copies of triangles: existing ones are borrowed, otherwise new ones are made.
class TriangleCopies {
public:
    TriangleCopies(const SlotTriangles& triangles, ItemCounter& work);

    const std::vector<SlotTriangle>& all() const {
        return borrowed_ != nullptr ? *borrowed_ : made_;
    }

private:
    const std::vector<SlotTriangle>* borrowed_;
    std::vector<SlotTriangle> made_;
};

} // namespace ctr
