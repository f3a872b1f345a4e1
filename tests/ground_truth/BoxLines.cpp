// Rays are points of the line plus s times the way to the eye, with s from 0 to 1 in perspective
// and to infinity in parallel views.
#include "BoxLines.h"

#include <algorithm>
#include <array>
#include <limits>
#include <sstream>
#include <utility>

namespace ground_truth {
namespace {

constexpr double kSame = 1e-9;
constexpr double kFar = std::numeric_limits<double>::infinity();

struct Range {
    double low;
    double high;

    bool isEmpty() const { return !(high - low > kSame); }
    void clip(double from, double to) {
        low = std::max(low, from);
        high = std::min(high, to);
    }
};

/// A line parallel to an axis: all points of `at` but for that coordinate, which has the range.
struct AxisLine {
    std::size_t axis;
    std::array<double, 3> at;
    Range range;
    bool isEdge;
};

std::array<std::size_t, 2> OtherAxes(std::size_t axis) {
    return {(axis + 1) % 3, (axis + 2) % 3};
}

void AddEdges(const Cuboid& box, std::vector<AxisLine>& lines) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto [j, k] = OtherAxes(axis);
        for (const int u : {box.low[j], box.high[j]}) {
            for (const int v : {box.low[k], box.high[k]}) {
                AxisLine line{axis, {}, {double(box.low[axis]), double(box.high[axis])}, true};
                line.at[j] = u;
                line.at[k] = v;
                lines.push_back(line);
            }
        }
    }
}

/// The lines along an axis where the faces of one box across j cross those of another across k.
void AddCrossings(const Cuboid& one,
                  std::size_t j,
                  const Cuboid& other,
                  std::size_t k,
                  std::vector<AxisLine>& lines) {
    const std::size_t axis = 3 - j - k;
    const Range range{double(std::max(one.low[axis], other.low[axis])),
                      double(std::min(one.high[axis], other.high[axis]))};
    if (range.isEmpty()) {
        return;
    }
    for (const int u : {one.low[j], one.high[j]}) {
        for (const int v : {other.low[k], other.high[k]}) {
            // On the rim of either face the line is part of an edge.
            if (other.low[j] < u && u < other.high[j] && one.low[k] < v && v < one.high[k]) {
                AxisLine line{axis, {}, range, false};
                line.at[j] = u;
                line.at[k] = v;
                lines.push_back(line);
            }
        }
    }
}

std::vector<AxisLine> AllLines(const std::vector<Cuboid>& boxes) {
    std::vector<AxisLine> lines;
    for (const Cuboid& box : boxes) {
        AddEdges(box, lines);
    }
    for (std::size_t a = 0; a < boxes.size(); ++a) {
        for (std::size_t b = a + 1; b < boxes.size(); ++b) {
            for (std::size_t j = 0; j < 3; ++j) {
                for (const std::size_t k : OtherAxes(j)) {
                    AddCrossings(boxes[a], j, boxes[b], k, lines);
                }
            }
        }
    }
    return lines;
}

/// The s for which start + s * way lies between low and high, within what the range has been.
void ClipToSlab(Range& s, double start, double way, double low, double high) {
    if (way == 0.0) {
        if (!(start > low + kSame && start < high - kSame)) {
            s = {0.0, 0.0};
        }
        return;
    }
    const double first = (low - start) / way;
    const double last = (high - start) / way;
    s.clip(std::min(first, last), std::max(first, last));
}

/// Coordinates on a line that a box hides, as an open range.
Range HiddenBy(const Cuboid& box, const AxisLine& line, const Eye& eye) {
    Range s{0.0, eye.parallel ? kFar : 1.0};
    const auto place = [&](std::size_t i) { return eye.place[static_cast<int>(i)]; };
    for (const std::size_t i : OtherAxes(line.axis)) {
        const double way = eye.parallel ? place(i) : place(i) - line.at[i];
        ClipToSlab(s, line.at[i], way, box.low[i], box.high[i]);
    }
    if (s.isEmpty()) {
        return {0.0, 0.0};
    }
    // A point at t is at t + s * way along the axis, or in perspective at (1 - s) t + s * eye. The
    // t that bring it to a face of the box run one way with s: the ends of s give the ends of t.
    const double towards = place(line.axis);
    const auto reach = [&](double face, double at) {
        if (eye.parallel) {
            return towards == 0.0 ? face : face - at * towards;
        }
        return face == towards ? face : towards + (face - towards) / (1.0 - at);
    };
    const double low = box.low[line.axis];
    const double high = box.high[line.axis];
    return {std::min(reach(low, s.low), reach(low, s.high)),
            std::max(reach(high, s.low), reach(high, s.high))};
}

std::vector<Range> VisibleRanges(const AxisLine& line, std::vector<Range> hidden) {
    std::sort(hidden.begin(), hidden.end(), [](const Range& a, const Range& b) {
        return std::pair(a.low, a.high) < std::pair(b.low, b.high);
    });
    std::vector<Range> visible;
    double reached = line.range.low;
    const auto add = [&](double to) {
        const Range gap{reached, std::min(to, line.range.high)};
        if (!gap.isEmpty()) {
            visible.push_back(gap);
        }
    };
    for (const Range& range : hidden) {
        add(range.low);
        reached = std::max(reached, range.high);
    }
    add(line.range.high);
    return visible;
}

Vector PointAt(const AxisLine& line, double along) {
    Vector point(line.at[0], line.at[1], line.at[2]);
    point[static_cast<int>(line.axis)] = along;
    return point;
}

} // namespace

std::string Describe(const SpaceLine& line) {
    std::ostringstream text;
    const auto add = [&](const Vector& p) {
        text << "(" << p[0] << " " << p[1] << " " << p[2] << ")";
    };
    text << (line.isEdge ? "edge " : "crossing ");
    add(line.from);
    text << " - ";
    add(line.to);
    return text.str();
}

std::vector<SpaceLine> VisibleLines(const std::vector<Cuboid>& boxes, const Eye& eye) {
    std::vector<SpaceLine> visible;
    for (const AxisLine& line : AllLines(boxes)) {
        std::vector<Range> hidden;
        for (const Cuboid& box : boxes) {
            const Range range = HiddenBy(box, line, eye);
            if (!range.isEmpty()) {
                hidden.push_back(range);
            }
        }
        for (const Range& range : VisibleRanges(line, std::move(hidden))) {
            visible.push_back({PointAt(line, range.low), PointAt(line, range.high), line.isEdge});
        }
    }
    return visible;
}

} // namespace ground_truth
