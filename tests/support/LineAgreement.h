// Library and oracle on intervals and lines: unions of intervals, creases of a surface, common
// segments of two sets. Each comparison returns nothing if they agree and a description of the
// difference otherwise.
#pragma once

#include "support/RandomLines.h"

#include <cstddef>
#include <string>
#include <tuple>
#include <vector>

namespace test_support {

/// Fusing against the union as a set of numbers. Ranges have 0 <= start <= end.
std::string CompareFusing(const std::vector<ctr::RationalInterval>& ranges);

/// The first vertex of an edge, the second, and the flag of edges that no normal leans along.
using CreaseEdge = std::tuple<unsigned int, unsigned int, bool>;

/// What the library finds, in its order; nothing when it refuses.
std::vector<CreaseEdge> CreasesOf(const Surface& surface, float degrees);

/// The same with a plain map from pairs of places to the edges there. Positions are numbers.
std::vector<CreaseEdge> CreasesExactly(const Surface& surface, float degrees);

std::string CompareCreases(const Surface& surface, float degrees);

/// What a comparison of common segments has met.
struct CommonSegmentCounts {
    int removed = 0;
    int kept = 0;
};

/// Removes the segments of b from a, which gets records that distinguish its segments first, and
/// compares what is left with what a plain set of pairs of places does not hold. Positions are
/// numbers.
std::string CompareCommonSegments(ctr::LineSegmentSet& a,
                                  const ctr::LineSegmentSet& b,
                                  CommonSegmentCounts& counts);

/// Puts hidden ranges and clip records into a set that name their segment: the first `lists` and
/// the first `records` of them.
void MarkSegments(ctr::LineSegmentSet& set, std::size_t lists, std::size_t records);

/// The segments that MarkSegments() named by hidden ranges, in their present order; -1 for an empty
/// list.
std::vector<long> NamesOf(const ctr::LineSegmentSet& set);

/// The same by clip records.
std::vector<long> RecordNamesOf(const ctr::LineSegmentSet& set);

} // namespace test_support
