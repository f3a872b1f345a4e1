// Trails through a figure of lines: the fewest that go along each line once.
#pragma once

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kxcontour {

/// A line between two different points, by their numbers.
struct Link {
    std::uint32_t from = 0;
    std::uint32_t to = 0;
};

/// Lines one after the other. Each is told by where it is entered: 2 i at the first point of link i
/// and 2 i + 1 at the second.
struct Trail {
    std::vector<std::uint32_t> steps;
    bool closed = false;
};

/// Covers all links with trails: one for every two points of odd degree in a connected figure, and
/// one closed trail in a figure that has none (Euler 1736). Where lines cross, trails go straight
/// on as far as that number permits.
///
/// Trails come in the order of their least link, and go along that link from first to second point.
/// A closed one starts at the first corner from there on (30 degrees or more), else at the first
/// point of more than two ends, else with its least link. O(n log n).
std::vector<Trail> FindTrails(const std::vector<Point>& points, const std::vector<Link>& links);

} // namespace kxcontour
