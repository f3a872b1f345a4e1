// What surely hides cuts in a crowd: many triangles over each other, in which nearly every pair
// gives a cut and nearly all cuts are hidden, each by several triangles together.
//
// The crowd's box on screen is divided into cells, down to one step wide. A cell remembers the
// nearest triangles that cover all of it. A cut is hidden if each cell that it crosses has one that
// is in front of the part there. (After N. Greene, M. Kass and G. Miller, Hierarchical Z-buffer
// visibility, SIGGRAPH 1993, with planes in place of depths. DepthMap does so for the whole screen,
// with margins of several steps: too many where a crowd is only some steps wide.)
//
// Why what is hidden here is hidden by CutOcclusion. What a triangle hides of a cut follows from
// the signs of four linear functions, its plane and its sides, at the exact ends of the cut. Where
// the signs of one differ, values rounded by less than 1, and by what doubles lose, tell the place
// between. So the triangle is found to hide every point of the cut at which all four are below
// -(1 + loss), and below the contact band for the plane. What is asked for here is
//  - that a side is below -(1 + loss) throughout the cell, or has the whole crowd on its inner
//  side.
//    Then it has no positive sign at any end, and nothing is rounded. A cut that runs along such a
//    side would count as outside of it without a contact tolerance; but there is none, as the
//    triangles that cut each other have corners strictly on both sides of their cut on screen;
//  - that the plane is below -(1 + loss + band) at both ends of the part in the cell.
// The parts leave nothing of the cut, so the ranges found do not either.
#pragma once

#include <ctr/BakedTriangles.h>

#include "linesets/Work.h"
#include "visibility/ContactTolerance.h"
#include "visibility/CutOcclusion.h"
#include "visibility/OccluderTree.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ctr {

/// The cells of a box on screen along one axis: closed intervals of whole steps.
class CellsOnAxis {
public:
    struct Steps {
        std::int64_t min;
        std::int64_t max;
    };
    /// From the first cell to the last one, empty if reversed.
    struct Run {
        std::int64_t first;
        std::int64_t last;
    };
    static constexpr std::int64_t kMost = 64;

    explicit CellsOnAxis(Steps extent)
        : extent_(extent), size_((extent.max - extent.min) / kMost + 1),
          count_((extent.max - extent.min + size_ - 1) / size_) {}

    const Steps& extent() const { return extent_; }
    Steps operator[](std::int64_t cell) const {
        const std::int64_t begin = extent_.min + cell * size_;
        return {begin, std::min(begin + size_, extent_.max)};
    }
    /// Those with all points in an interval.
    Run within(Steps steps) const {
        return {(steps.min - extent_.min + size_ - 1) / size_,
                steps.max >= extent_.max ? count_ - 1 : (steps.max - extent_.min) / size_ - 1};
    }
    /// The cells of the places from one to another, and those that are nearly reached.
    Run between(double low, double high) const {
        return {cellOf(low - kNearly), cellOf(high + kNearly)};
    }

    /// How far beyond a cell counts as in the cell, in steps: more than doubles lose.
    static constexpr double kNearly = 0x1p-11;

private:
    std::int64_t cellOf(double place) const {
        const double cells =
            (place - static_cast<double>(extent_.min)) / static_cast<double>(size_);
        return std::clamp(static_cast<std::int64_t>(cells), std::int64_t{0}, count_ - 1);
    }

    Steps extent_;
    std::int64_t size_;
    std::int64_t count_;
};

/// One crowd.
class CrowdCover {
public:
    using Triangle = OccluderTree::Triangle;

    /// The triangles are borrowed, the slots are those of the crowd. O(n) for n of them.
    CrowdCover(const std::vector<Triangle>& triangles,
               const std::vector<std::uint32_t>& slots,
               const ContactTolerance& tolerance,
               WorkCounter& work);

    /// Whether all of a cut of two triangles of the crowd is surely hidden by others. If not, adds
    /// the slots of those that hide parts of it.
    bool hides(const CutOcclusion& cut, std::vector<std::uint32_t>& hiders) const;

private:
    static constexpr std::size_t kNearest = 8;
    /// A plane as a linear function of places, negative behind; below the limit it surely hides.
    struct Plane {
        double normal[3];
        double offset[3];
        double limit;
        std::uint32_t slot;
        double at(const double (&p)[3]) const {
            return normal[0] * (p[0] - offset[0]) + normal[1] * (p[1] - offset[1]) +
                   normal[2] * (p[2] - offset[2]);
        }
    };
    struct Cover {
        double depth = std::numeric_limits<double>::infinity(); ///< In the middle of the cell.
        std::uint32_t plane = 0;
    };
    /// Nearest first.
    using Cell = std::array<Cover, kNearest>;

    Plane planeOf(const Triangle& triangle, std::uint32_t slot) const;
    void cover(const Triangle& triangle, std::uint32_t slot);
    bool add(std::int64_t column, std::int64_t row, const Plane& plane);
    Cell& cellAt(std::int64_t column, std::int64_t row) {
        return cells_[static_cast<std::size_t>(row * CellsOnAxis::kMost + column)];
    }
    const Cell& cellAt(std::int64_t column, std::int64_t row) const {
        return cells_[static_cast<std::size_t>(row * CellsOnAxis::kMost + column)];
    }
    const Plane*
    hiderOfPart(const Cell& cell, const CutOcclusion& cut, double from, double to) const;

    ContactTolerance tolerance_;
    CellsOnAxis columns_;
    CellsOnAxis rows_;
    std::vector<Plane> planes_;
    std::vector<Cell> cells_;
};

/// All crowds of a hierarchy.
class CrowdCovers {
public:
    /// Every box of the hierarchy has to hold what is below it.
    CrowdCovers(const BakedTriangles& baked,
                const std::vector<OccluderTree::Triangle>& triangles,
                WorkCounter& work);

    /// Whether all of the cut of two triangles, by their numbers, is surely hidden by others. If
    /// not, adds the slots of triangles that hide parts of it.
    bool hide(const CutOcclusion& cut,
              std::uint32_t first,
              std::uint32_t second,
              std::vector<std::uint32_t>& hiders) const {
        const std::uint32_t crowd = crowdOf_.empty() ? kNone : crowdOf_[first];
        return crowd != kNone && crowd == crowdOf_[second] && covers_[crowd].hides(cut, hiders);
    }

private:
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
    /// What is below a node.
    struct Load {
        double triangles = 0.0;
        double area = 0.0; ///< Of the leaves' boxes on screen, once per triangle.
    };

    Load find(unsigned int node, std::vector<unsigned int>& roots, WorkCounter& work) const;
    void appendSlots(unsigned int node, std::vector<std::uint32_t>& slots) const;

    const BakedTriangles& baked_;
    std::vector<CrowdCover> covers_;
    std::vector<std::uint32_t> crowdOf_; ///< By triangle; empty without crowds.
};

} // namespace ctr
