// No line is drawn twice.
#pragma once

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kxcontour {

/// Takes out of every line what lines before it show already.
///
/// Two lines lie on each other when, over their common stretch (what the projection of one onto the
/// other covers of it), neither end of the stretch is farther than tolerance from the other line,
/// and the stretch is longer than tolerance. If one of them is no longer than tolerance itself,
/// more than half of it is enough, should both go nearly the same way. Visible lines come before
/// hidden ones; among these silhouettes before creases before intersections; then the order of
/// groups and lines. Lines of no length are dropped when something else touches them. Groups keep
/// their number and order; their lines are cut, in order along the line they come from.
///
/// Lines are compared with what is left of those before them, so what goes is within tolerance of
/// something that stays; but for rests shorter than tolerance, which go as well and may be twice as
/// far. No two lines of the result lie on each other.
///
/// tolerance in millimetres, over 0. Coordinates are finite. Expected O(n log n) for n lines of
/// which few cross each other, however many lie on one: what one earlier line shows as a whole is
/// looked for until the first such line is found. Lines that only many shorter ones cover together
/// cost as much as there are of these.
///
/// Returns whether anything went.
bool RemoveOverlaps(PageLines& lines, double tolerance);

/// A part of a line, from 0 at a to 1 at b.
struct LineShare {
    std::uint32_t line = 0; ///< Its number in the group.
    double from = 0.0;
    double to = 1.0;
};

/// What RemoveOverlaps() would leave of the lines of each group, in order along each line.
std::vector<std::vector<LineShare>> SharesLeft(const PageLines& lines, double tolerance);

/// What that costs on any machine: how many cells of a grid, lines in them and parts of lines are
/// looked at.
std::size_t LooksForOverlaps(const PageLines& lines, double tolerance);

} // namespace kxcontour
