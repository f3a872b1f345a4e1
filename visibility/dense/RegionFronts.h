// The front-most triangles of a dense region. Most edges are occluded by one or two of them.
//
// Each cell stores the nearest triangles that cover its centre, as a z-buffer with several layers
// does. Nothing is decided here, so doubles suffice: the result only determines which triangles are
// tested first. O(n + c) for n triangles and c cells rasterised.
#pragma once

#include "visibility/Tuning.h"
#include "visibility/dense/DenseRegions.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

/// The fronts of one region.
class RegionFront {
public:
    /// Nothing is borrowed. O(n) for n triangles.
    RegionFront(const SlotTriangles& triangles,
                const std::vector<std::uint32_t>& slots,
                ItemCounter& work);

    /// The slots of the triangles that cover a point, nearest first, in `slots`.
    void findNearest(double x, double y, std::vector<std::uint32_t>& slots) const;

private:
    struct Entry {
        float depth = std::numeric_limits<float>::infinity();
        std::uint32_t slot = 0;
    };
    /// Nearest first.
    using Cell = std::array<Entry, Tuning::kFrontsPerCell>;

    void add(const SlotTriangle& triangle, std::uint32_t slot, ItemCounter& work);

    RegionGrid cells_;
    std::vector<Cell> nearest_;
};

/// The fronts of all dense regions of a BVH.
class RegionFronts {
public:
    /// As for FindDenseRegions(). The BVH is borrowed; the triangles are its own, slot by slot.
    RegionFronts(const BakedTriangles& baked, const SlotTriangles& triangles, ItemCounter& work);

    /// Selects the segment for nearestAt().
    void selectSegment(const BakedVertex& a, const BakedVertex& b);
    /// The slots of triangles that cover the point of the segment at a parameter, from a (0) to b
    /// (1), in the region that contains it, if any: nearest first, at most
    /// Tuning::kFrontsPerCell. Valid until the next
    /// call.
    const std::vector<std::uint32_t>& nearestAt(double t);

private:
    struct Region {
        unsigned int root;
        RegionFront front;
    };

    const Region* regionOf(unsigned int node, const BakedVertex& a, const BakedVertex& b) const;

    const BakedTriangles& baked_;
    std::vector<Region> denseRegions_; ///< Sorted by root.
    const Region* current_ = nullptr;
    double from_[2] = {};
    double along_[2] = {};
    std::vector<std::uint32_t> nearest_;
};

} // namespace ctr
