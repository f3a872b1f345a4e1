// Line lists of runs, and the runs that are found in them.
#pragma once

#include "linesets/RunChecks.h"
#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace test_support {

using Points = std::vector<Vec3>;

constexpr double kDegree = 3.141592653589793 / 180.0;
inline const Vec3 kCentre(5.0F, 5.0F, 3.0F);

// First index, end and kind of every record, in the order of the index buffer.
using Summary = std::vector<std::array<std::uint32_t, 3>>;

inline Summary Summarize(const Polylines& lines) {
    Summary summary;
    for (const Record& run : lines.runs) {
        summary.push_back({run.first, run.end, run.kind});
    }
    std::sort(summary.begin(), summary.end());
    return summary;
}

inline Polylines Checked(const LineList& list) {
    Polylines lines = Chain(list);
    CheckPolylines(list, lines);
    return lines;
}

inline Summary RunsOf(const LineList& list) {
    return Summarize(Checked(list));
}

inline LineList Path(const Points& points) {
    LineList list;
    list.addPath(points);
    return list;
}

inline LineList FlaggedPath(const Points& points) {
    return Path(points).flagged();
}

// Permutes the segments, their directions and the numbers of the vertices.
inline LineList Shuffled(const LineList& list, Random& random) {
    std::vector<unsigned int> numbers(list.positions.size());
    for (unsigned int i = 0; i < numbers.size(); ++i) {
        numbers[i] = i;
        std::swap(numbers[i],
                  numbers[static_cast<std::size_t>(random.below(static_cast<int>(i) + 1))]);
    }
    LineList result = list;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        result.positions[numbers[i]] = list.positions[i];
    }
    for (std::size_t i = list.segmentCount(); i > 0; --i) {
        const auto other = static_cast<std::size_t>(random.below(static_cast<int>(i)));
        std::swap(result.indices[2 * i - 2], result.indices[2 * other]);
        std::swap(result.indices[2 * i - 1], result.indices[2 * other + 1]);
        if (!list.flags.empty()) {
            const bool flag = result.flags[i - 1];
            result.flags[i - 1] = result.flags[other];
            result.flags[other] = flag;
        }
        if (random.percent(50)) {
            std::swap(result.indices[2 * i - 2], result.indices[2 * i - 1]);
        }
    }
    for (unsigned int& index : result.indices) {
        index = numbers[index];
    }
    return result;
}

} // namespace test_support
