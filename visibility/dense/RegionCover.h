// Pairs of triangles of a crowd whose cut may be visible. In a crowd nearly every pair gives a cut,
// and nearly all cuts are hidden, each by several triangles together.
//
// A cell remembers the nearest triangles that cover all of it. Where a triangle of the crowd is
// surely behind one of these, throughout the cell, no cut is visible on it. (After N. Greene, M.
// Kass and G. Miller, Hierarchical Z-buffer visibility, SIGGRAPH 1993, with planes in place of
// depths. DepthMap does so for the whole screen, with margins of several steps: too many where a
// crowd is only some steps wide.)
//
// Why what is hidden here is hidden by CutOcclusion. What a triangle hides of a cut follows from
// the signs of four linear functions, its plane and its sides, at the exact ends of the cut. Where
// the signs of one differ, values rounded by less than 1, and by what doubles lose, tell the place
// between. So the triangle is found to hide every point of the cut at which all four are below
// -(1 + loss), and below the contact band for the plane. What is asked for here is
//  - that a side is below -(1 + loss) throughout the cell, or has the whole crowd on its inner
//    side. Then it has no positive sign at any end, and nothing is rounded. A cut that runs along
//    such a side would count as outside of it without a contact tolerance; but there is none, as
//    the triangles that cut each other have corners strictly on both sides of their cut on screen;
//  - that the plane is below -(1 + loss + band) at every point in question.
// If all points of a cut are hidden so, the ranges found leave nothing of it.
//
// Why it is enough to look where triangles are, although crossings are rounded. The ends of a cut
// are exact; which of the four crossings become its ends is decided by rounded coordinates. Two
// on the same side that are less than a step apart on the axis of order may be mistaken for each
// other. So the cut may go beyond either triangle, but not beyond both: if both ends are of one
// triangle, that has all of the cut, and spans that are apart give no cut with an end of each. What
// goes beyond is less than a step long on the axis of order, and on the other axis less than three,
// as that has the smaller extent in rounded steps: it is (e + 1) / (e - 1) times as far for extents
// of e >= 2, and below 2 in all for smaller ones. Hence a visible point lies on one triangle, in
// front of what covers its cell, and on the plane of the other at most so far beyond that.
#pragma once

#include "linesets/Work.h"
#include "visibility/dense/DenseRegions.h"
#include "visibility/exact/ContactTolerance.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

namespace ctr {

/// The nearest triangles that cover each cell of one crowd.
class CrowdCover {
public:
    /// A set of blocks, which are cells side by side.
    using Blocks = std::bitset<256>;

    /// In which blocks a triangle may be seen.
    struct InSight {
        Blocks own;    ///< Itself.
        Blocks around; ///< Points of its plane in it or as little beside it as cuts may go beyond.
    };

    /// Nothing is borrowed. Triangles face the eye, and values of their planes and sides in the box
    /// of the crowd are below 2^59. O(n) for n triangles.
    CrowdCover(const SlotTriangles& triangles,
               const std::vector<std::uint32_t>& slots,
               const ContactTolerance& tolerance,
               WorkCounter& work);

    /// Of a triangle of the crowd.
    InSight inSight(const SlotTriangle& triangle, WorkCounter& work) const;

private:
    static constexpr std::int64_t kBlocksPerAxis = 16;

    /// A plane as a linear function of places, negative behind; below the limit it surely hides.
    struct Plane {
        double normal[3];
        double offset[3];
        double limit;
        double at(double x, double y, double z) const {
            return normal[0] * (x - offset[0]) + normal[1] * (y - offset[1]) +
                   normal[2] * (z - offset[2]);
        }
    };
    struct Cover {
        float depth = std::numeric_limits<float>::infinity(); ///< In the middle of the cell.
        std::uint32_t plane = 0;
    };
    /// Nearest first.
    using Cell = std::array<Cover, 8>;
    /// Points of a plane, or places of one depth, at the corners of a cell.
    struct Corners;

    void cover(const SlotTriangle& triangle, WorkCounter& work);
    bool add(Cell& cell, const Corners& corners);
    bool hides(const Cell& cell, const Corners& corners) const;
    std::size_t blockOf(std::int64_t column, std::int64_t row) const;

    ContactTolerance tolerance_;
    CellsOfCrowd cells_;
    std::vector<Plane> planes_;
    std::vector<Cell> covers_;
};

/// The pairs of one crowd whose cut may be visible.
class PairsInSight {
public:
    /// Nothing is borrowed but the counter; see CrowdCover.
    PairsInSight(const SlotTriangles& triangles,
                 const std::vector<std::uint32_t>& slots,
                 const ContactTolerance& tolerance,
                 WorkCounter& work);

    /// About how many pairs forEach() looks at, most of them twice; from samples.
    double estimate();
    /// Calls visit(slot, slot) for each pair once.
    void forEach(const std::function<void(std::uint32_t, std::uint32_t)>& visit);

private:
    using Word = std::uint64_t;
    static constexpr std::size_t kWordBits = 64;

    const std::vector<Word>& partnersOf(std::size_t own);
    bool areMetFromBoth(std::size_t own, std::size_t around) const;

    WorkCounter& work_;
    std::vector<std::uint32_t> slots_; ///< Of the triangles that are around any block.
    std::vector<CrowdCover::InSight> inSight_;
    std::vector<std::vector<Word>> around_; ///< Who is around a block, bit by bit.
    std::vector<Word> partners_;
};

} // namespace ctr
