// The front-most triangles of a crowd. Most edges are hidden by one or two of them.
//
// The triangles over the middle of each cell are known, the nearest first. (After N. Greene, M.
// Kass and G. Miller, Hierarchical Z-buffer visibility, SIGGRAPH 1993; but nothing is decided here:
// it only determines which triangles are tested first.)
#pragma once

#include "visibility/dense/DenseRegions.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

/// Of one crowd.
class CrowdSurface {
public:
    /// Nothing is borrowed. O(n) for n triangles.
    CrowdSurface(const SlotTriangles& triangles,
                 const std::vector<std::uint32_t>& slots,
                 ItemCounter& work);

    /// The slots of those over a place, nearest first, in `slots`.
    void findNearest(double x, double y, std::vector<std::uint32_t>& slots) const;

private:
    struct Place {
        float depth = std::numeric_limits<float>::infinity();
        std::uint32_t slot = 0;
    };
    /// Nearest first.
    using Cell = std::array<Place, 16>;

    void add(const SlotTriangle& triangle, std::uint32_t slot, ItemCounter& work);

    CellsOfCrowd cells_;
    std::vector<Cell> nearest_;
};

/// Of all crowds of a hierarchy.
class CrowdSurfaces {
public:
    /// As for FindCrowds(); the hierarchy is borrowed, the triangles are its own, slot by slot.
    CrowdSurfaces(const BakedTriangles& baked, const SlotTriangles& triangles, ItemCounter& work);

    /// Prepares for questions about a segment.
    void turnTo(const BakedVertex& a, const BakedVertex& b);
    /// The slots of triangles of its crowd, if it lies in one, that are over the place at a
    /// parameter, from a (0) to b (1): nearest first, at most 16. Valid until the next call.
    const std::vector<std::uint32_t>& nearestAt(double t);

private:
    struct Crowd {
        unsigned int root;
        CrowdSurface surface;
    };

    const Crowd* crowdOf(unsigned int node, const BakedVertex& a, const BakedVertex& b) const;

    const BakedTriangles& baked_;
    std::vector<Crowd> crowds_; ///< By root.
    const Crowd* current_ = nullptr;
    double from_[2] = {};
    double along_[2] = {};
    std::vector<std::uint32_t> nearest_;
};

} // namespace ctr
