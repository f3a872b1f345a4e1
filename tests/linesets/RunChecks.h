// Checks of the invariants of runs in any set of polylines, and builders of the circles and lines
// in which runs are found.
#pragma once

#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

namespace test_support {

constexpr std::uint32_t kArc = 1;
constexpr std::uint32_t kStraight = 2;

/// A line list with its flags and tags (one per segment, or none).
struct LineList {
    std::vector<Vec3> positions;
    std::vector<unsigned int> indices;
    std::vector<bool> flags;
    std::vector<unsigned char> tags;

    std::size_t segmentCount() const { return indices.size() / 2; }

    unsigned int addVertex(const Vec3& position) {
        positions.push_back(position);
        return static_cast<unsigned int>(positions.size() - 1);
    }

    void addSegment(unsigned int a, unsigned int b) { indices.insert(indices.end(), {a, b}); }

    /// Segments through new vertices, the first of which is returned.
    unsigned int addPath(const std::vector<Vec3>& path) {
        const auto first = static_cast<unsigned int>(positions.size());
        for (const Vec3& point : path) {
            addVertex(point);
        }
        for (unsigned int i = 1; i < path.size(); ++i) {
            addSegment(first + i - 1, first + i);
        }
        return first;
    }

    /// One segment with an end of its own.
    void addSpoke(unsigned int vertex, const Vec3& offset) {
        const Vec3 tip = positions[vertex] + offset;
        addSegment(vertex, addVertex(tip));
    }

    LineList flagged() && {
        flags.assign(segmentCount(), true);
        return std::move(*this);
    }
};

/// What chaining makes of a line list. Moving keeps the links between the records valid.
struct Polylines {
    Polylines() = default;
    Polylines(Polylines&&) = default;
    Polylines& operator=(Polylines&&) = default;
    Polylines(const Polylines&) = delete;
    Polylines& operator=(const Polylines&) = delete;
    ~Polylines() = default;

    bool done = false;
    std::vector<unsigned int> indices;
    std::vector<ctr::LineSegmentSet::ArcFeature> runs;
    std::vector<bool> straight;
    std::vector<unsigned char> tags;
};

inline Polylines Chain(const LineList& list) {
    const VerticesPointer vertices = MakeVertices(list.positions);
    const IndicesPointer input = MakeIndices(list.indices);
    IndicesPointer output;
    Polylines result;
    result.tags = list.tags;
    result.done = ctr::LineSegmentSet::BuildPolylinesImpl(
        *vertices, *input, list.flags.empty() ? nullptr : &list.flags,
        list.tags.empty() ? nullptr : &result.tags, output, result.runs, result.straight);
    EXPECT_EQ(IndicesOf(input.get()), list.indices);
    result.indices = IndicesOf(output.get());
    return result;
}

using Record = ctr::LineSegmentSet::ArcFeature;

/// The index positions of a chain's segments, from its head on.
inline std::vector<std::size_t> SegmentsOfChain(const Record& head) {
    std::vector<std::size_t> segments;
    for (const Record* run = &head; run != nullptr; run = run->next) {
        for (std::size_t i = run->first; i < run->end; i += 2) {
            segments.push_back(i);
        }
    }
    return segments;
}

/// The angle that a chain of points turns through on its way along a circle, found from the turns
/// between its segments: they leave out half of the first and half of the last segment. Segments
/// without length turn nowhere.
inline double SweptAngle(const LineList& list, const Polylines& lines, const Record& head) {
    std::vector<Wm4::Vector3<double>> steps;
    double length = 0.0;
    for (const std::size_t i : SegmentsOfChain(head)) {
        const Vec3 step = list.positions[lines.indices[i + 1]] - list.positions[lines.indices[i]];
        if (step != Vec3(0, 0, 0)) {
            steps.emplace_back(step[0], step[1], step[2]);
            length += steps.back().Length();
        }
    }
    double turns = 0.0;
    for (std::size_t i = 1; i < steps.size(); ++i) {
        turns += std::atan2(steps[i - 1].Cross(steps[i]).Length(), steps[i - 1].Dot(steps[i]));
    }
    return turns / (1.0 - (steps.front().Length() + steps.back().Length()) / (2.0 * length));
}

/// @name One rule each
/// @{

/// Records, sorted by first, cover the index buffer without gap or overlap.
inline void CheckTiling(const Polylines& lines) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges;
    for (const Record& run : lines.runs) {
        ranges.emplace_back(run.first, run.end);
    }
    std::sort(ranges.begin(), ranges.end());
    std::uint32_t end = 0;
    for (const auto& [first, last] : ranges) {
        ASSERT_EQ(first, end);
        ASSERT_LT(first, last);
        ASSERT_EQ(last % 2, 0U);
        end = last;
    }
    ASSERT_EQ(end, lines.indices.size());
}

/// Every segment is written once and has kept its tag.
inline void CheckSegments(const LineList& list, const Polylines& lines) {
    using Key = std::tuple<unsigned int, unsigned int, int>;
    const auto keys = [](const std::vector<unsigned int>& indices,
                         const std::vector<unsigned char>& tags) {
        std::vector<Key> sorted;
        for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
            const auto [low, high] = std::minmax(indices[i], indices[i + 1]);
            sorted.emplace_back(low, high, tags.empty() ? 0 : tags[i / 2]);
        }
        std::sort(sorted.begin(), sorted.end());
        return sorted;
    };
    ASSERT_EQ(lines.tags.size(), list.tags.size());
    ASSERT_EQ(keys(lines.indices, lines.tags), keys(list.indices, list.tags));
}

/// Links point both ways, into the vector, and never in a circle.
inline void CheckLinks(const Polylines& lines) {
    const auto isOurs = [&](const Record* run) {
        return run >= lines.runs.data() && run < lines.runs.data() + lines.runs.size();
    };
    std::size_t reached = 0;
    for (const Record& run : lines.runs) {
        ASSERT_TRUE(run.prev == nullptr || (isOurs(run.prev) && run.prev->next == &run));
        ASSERT_TRUE(run.next == nullptr || (isOurs(run.next) && run.next->prev == &run));
        for (const Record* r = &run; run.prev == nullptr && r != nullptr; r = r->next) {
            ++reached;
        }
    }
    ASSERT_EQ(reached, lines.runs.size()) << "records linked in a circle";
}

/// Each segment of a chain starts where the one before it ends.
inline void CheckConnected(const Polylines& lines) {
    for (const Record& run : lines.runs) {
        if (run.prev != nullptr) {
            continue;
        }
        const std::vector<std::size_t> segments = SegmentsOfChain(run);
        for (std::size_t i = 1; i < segments.size(); ++i) {
            ASSERT_EQ(lines.indices[segments[i - 1] + 1], lines.indices[segments[i]]);
        }
    }
}

/// Runs are straight, arcs or neither; a chain of several is one of the first two throughout; flags
/// mark the straight ones.
inline void CheckKinds(const Polylines& lines) {
    ASSERT_EQ(lines.straight.size(), lines.indices.size() / 2);
    for (const Record& run : lines.runs) {
        ASSERT_LE(run.kind, kStraight);
        if (run.next != nullptr) {
            ASSERT_NE(run.kind, 0U);
            ASSERT_EQ(run.kind, run.next->kind);
        }
        for (std::size_t i = run.first; i < run.end; i += 2) {
            ASSERT_EQ(lines.straight[i / 2], run.kind == kStraight) << "segment " << i / 2;
        }
    }
}

/// For every vertex a number that the vertices connected with it share.
inline std::vector<unsigned int> ComponentsOf(const LineList& list) {
    std::vector<unsigned int> parent(list.positions.size());
    std::iota(parent.begin(), parent.end(), 0U);
    const auto root = [&](unsigned int v) {
        while (parent[v] != v) {
            v = parent[v] = parent[parent[v]];
        }
        return v;
    };
    for (std::size_t i = 0; i < list.segmentCount(); ++i) {
        parent[root(list.indices[2 * i])] = root(list.indices[2 * i + 1]);
    }
    for (unsigned int v = 0; v < parent.size(); ++v) {
        parent[v] = root(v);
    }
    return parent;
}

/// A chain ends at loose ends, at junctions, where one of the two runs that meet has been
/// recognised, and in a closed loop once more, where it was begun.
inline void CheckEnds(const LineList& list, const Polylines& lines) {
    std::vector<int> valence(list.positions.size(), 0);
    for (std::size_t i = 0; i < 2 * list.segmentCount(); ++i) {
        ++valence[list.indices[i]];
    }
    const std::vector<unsigned int> component = ComponentsOf(list);
    std::vector<bool> isLoop(valence.size(), true);
    for (std::size_t v = 0; v < valence.size(); ++v) {
        isLoop[component[v]] = isLoop[component[v]] && valence[v] == 2;
    }
    std::vector<int> plainEnds(valence.size(), 0);
    for (const Record& run : lines.runs) {
        if (run.kind == 0) {
            ++plainEnds[lines.indices[run.first]];
            ++plainEnds[lines.indices[run.end - 1]];
        }
    }
    std::vector<int> intersections(valence.size(), 0);
    for (std::size_t v = 0; v < valence.size(); ++v) {
        intersections[component[v]] += valence[v] == 2 && plainEnds[v] == 2 ? 1 : 0;
    }
    for (std::size_t v = 0; v < valence.size(); ++v) {
        ASSERT_LE(intersections[v], isLoop[v] ? 1 : 0)
            << "chains were interrupted in the component of " << v;
    }
}

/// No arc, all its records taken together, is below 22.5 degrees; 5 % is left to the estimate.
inline void CheckArcs(const LineList& list, const Polylines& lines) {
    constexpr double kLeast = 0.3926991;
    for (const Record& run : lines.runs) {
        if (run.kind == kArc && run.prev == nullptr) {
            ASSERT_GT(SweptAngle(list, lines, run), 0.95 * kLeast) << "run at " << run.first;
        }
    }
}
/// @}

inline void CheckPolylines(const LineList& list, const Polylines& lines) {
    ASSERT_TRUE(lines.done);
    ASSERT_NO_FATAL_FAILURE(CheckTiling(lines));
    ASSERT_NO_FATAL_FAILURE(CheckSegments(list, lines));
    ASSERT_NO_FATAL_FAILURE(CheckLinks(lines));
    ASSERT_NO_FATAL_FAILURE(CheckConnected(lines));
    ASSERT_NO_FATAL_FAILURE(CheckKinds(lines));
    ASSERT_NO_FATAL_FAILURE(CheckEnds(list, lines));
    ASSERT_NO_FATAL_FAILURE(CheckArcs(list, lines));
}

/// Equal in every number; links are compared by the place of the record they lead to.
inline bool Same(const Polylines& a, const Polylines& b) {
    const auto place = [](const Polylines& lines, const Record* run) {
        return run == nullptr ? std::ptrdiff_t{-1} : run - lines.runs.data();
    };
    bool same = a.done == b.done && a.indices == b.indices && a.straight == b.straight &&
                a.tags == b.tags && a.runs.size() == b.runs.size();
    for (std::size_t i = 0; same && i < a.runs.size(); ++i) {
        const Record& r = a.runs[i];
        const Record& s = b.runs[i];
        same = r.first == s.first && r.end == s.end && r.kind == s.kind &&
               place(a, r.prev) == place(b, s.prev) && place(a, r.next) == place(b, s.next);
    }
    return same;
}

/// Points on a circle in a plane z = const, in steps of equal angle (degrees, counter-clockwise),
/// both ends included; a full turn ends exactly where it began.
inline std::vector<Vec3>
ArcPoints(const Vec3& centre, double radius, double from, double sweep, int segments) {
    constexpr double kDegree = 3.141592653589793 / 180.0;
    std::vector<Vec3> points;
    for (int i = 0; i <= segments; ++i) {
        const double angle = (from + sweep * i / segments) * kDegree;
        points.push_back(centre + Vec3(static_cast<float>(radius * std::cos(angle)),
                                       static_cast<float>(radius * std::sin(angle)), 0.0F));
    }
    if (std::abs(sweep) == 360.0) {
        points.back() = points.front();
    }
    return points;
}

/// Points from a point on in equal steps.
inline std::vector<Vec3> LinePoints(const Vec3& start, const Vec3& step, int segments) {
    std::vector<Vec3> points;
    for (int i = 0; i <= segments; ++i) {
        points.push_back(start + static_cast<float>(i) * step);
    }
    return points;
}

/// One path along several that each start where the one before ends.
inline std::vector<Vec3> Concatenated(const std::vector<std::vector<Vec3>>& paths) {
    std::vector<Vec3> all = paths.front();
    for (std::size_t i = 1; i < paths.size(); ++i) {
        const Vec3 shift = all.back() - paths[i].front();
        for (std::size_t j = 1; j < paths[i].size(); ++j) {
            all.push_back(paths[i][j] + shift);
        }
    }
    return all;
}

} // namespace test_support
