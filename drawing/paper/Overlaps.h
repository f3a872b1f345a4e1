// Removal of coincident lines, so that each line is drawn once.
#pragma once

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kxcontour {

/// Removes from every line the parts that earlier lines show already.
///
/// Two lines coincide when, over their common interval (the projection of one onto the other),
/// neither end of the interval is farther than tolerance from the other line, and the interval is
/// longer than tolerance. If one of them is no longer than tolerance itself, more than half of it
/// suffices, provided that both have nearly the same direction. Visible lines come before hidden
/// ones; among these silhouettes before creases before intersections; then the order of groups and
/// lines. Lines of zero length are removed when another line touches them. Groups keep their number
/// and order; the parts of a line that are left are in order along it.
///
/// Lines are compared with the remaining parts of earlier lines, so a removed part is within
/// tolerance of something that stays, except for remainders shorter than tolerance, which are
/// removed as well and may be twice as far. No two lines of the result coincide.
///
/// tolerance in millimetres, over 0. Coordinates are finite. Expected O(n log n) for n lines of
/// which few cross each other, however many coincide: the search for an earlier line that covers
/// all of a line stops with the first. A line that only many shorter ones cover together costs as
/// much as there are of these.
///
/// Returns whether anything was removed.
bool RemoveOverlaps(PageLines& lines, double tolerance);

/// A part of a line, from 0 at a to 1 at b.
struct LineShare {
    std::uint32_t line = 0; ///< Its number in the group.
    double from = 0.0;
    double to = 1.0;
};

/// The parts of the lines of each group that RemoveOverlaps() would keep, in order along each line.
std::vector<std::vector<LineShare>> SharesLeft(const PageLines& lines, double tolerance);

/// The work of RemoveOverlaps(), independent of the machine: the number of grid cells, lines in
/// them and parts of lines that it examines.
std::size_t OverlapWork(const PageLines& lines, double tolerance);

} // namespace kxcontour
