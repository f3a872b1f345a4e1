// Which triangles of a crowd are in front: they hide most cuts, each by one or two.
//
// The triangles over the middle of each cell are known, the nearest first. (After N. Greene, M.
// Kass and G. Miller, Hierarchical Z-buffer visibility, SIGGRAPH 1993; but nothing is decided here,
// it is only told what to ask first.)
#pragma once

#include "visibility/Crowds.h"
#include "visibility/CutOcclusion.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

/// Of one crowd.
class CrowdSurface {
public:
    /// Nothing is borrowed. O(n) for n triangles.
    CrowdSurface(const std::vector<OccluderTree::Triangle>& triangles,
                 const std::vector<std::uint32_t>& slots,
                 WorkCounter& work);

    /// Appends the slots of those that may hide much of a cut.
    void appendNearest(const CutOcclusion& cut, std::vector<std::uint32_t>& slots) const;

private:
    struct Place {
        float depth = std::numeric_limits<float>::infinity();
        std::uint32_t slot = 0;
    };
    /// Nearest first.
    using Cell = std::array<Place, 16>;

    void add(const OccluderTree::Triangle& triangle, std::uint32_t slot);

    CellsOfCrowd cells_;
    std::vector<Cell> nearest_;
};

/// Of all crowds of a hierarchy.
class CrowdSurfaces {
public:
    /// As for FindCrowds(); the triangles are those of the hierarchy, slot by slot.
    CrowdSurfaces(const BakedTriangles& baked,
                  const std::vector<OccluderTree::Triangle>& triangles,
                  WorkCounter& work);

    /// Appends the slots of triangles that may hide much of the cut of two triangles, by their
    /// numbers.
    void appendNearest(const CutOcclusion& cut,
                       std::uint32_t first,
                       std::uint32_t second,
                       std::vector<std::uint32_t>& slots) const;

private:
    std::vector<CrowdSurface> surfaces_;
    std::vector<std::uint32_t> crowdOf_; ///< By triangle; empty without crowds.
};

} // namespace ctr
