// Nearest line by midpoint, among the lines that share a cell of a grid with it. A path edge
// follows its line to within the tolerance, so the lines of one cell decide; expected linear time.
#include "drawing/lines/PathLines.h"

#include "drawing/paper/Plane.h"
#include "drawing/paper/SpatialGrid.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <tuple>
#include <vector>

namespace kxcontour {
namespace {

using namespace plane;
using kxdrawing::kNoLine;
using kxdrawing::Line;

/// Where the foot of a point on a line lies, from 0 to 1.
double ShareOf(const PageLine& line, const Point& point) {
    const Point along = line.b - line.a;
    const double square = SquaredLength(along);
    return square > 0.0 ? std::clamp(Dot(point - line.a, along) / square, 0.0, 1.0) : 0.0;
}

bool IsHiddenAt(const Line& line, double share) {
    return std::any_of(line.hidden.begin(), line.hidden.end(), [&](const auto& interval) {
        return ValueOf(interval.from) <= share && share <= ValueOf(interval.to);
    });
}

bool IsRepeatedAt(const Line& line, double share) {
    return std::any_of(line.repeated.begin(), line.repeated.end(), [&](const auto& interval) {
        return interval[0] <= share && share <= interval[1];
    });
}

/// The lines on the page, to be found by position.
class LineIndex {
public:
    LineIndex(const std::vector<Line>& lines, double tolerance)
        : lines_(lines), reach_(tolerance), grid_(pageLines(lines), tolerance) {
        for (std::uint32_t i = 0; i < lines.size(); ++i) {
            if (lines[i].onPage) {
                grid_.insert(*lines[i].onPage);
                numbers_.push_back(i);
            }
        }
    }

    /// The line that an edge with this midpoint shows, or kNoLine.
    std::uint32_t find(const Point& midpoint, bool hidden) {
        // Those shown as the edge is come first, then the nearest, then the first.
        std::tuple best(true, reach_ * reach_, kNoLine);
        grid_.visit({midpoint, midpoint}, [&](std::uint32_t entry) {
            const PageLine& onPage = grid_.line(entry);
            const std::uint32_t number = numbers_[entry];
            const double distance = SquaredDistanceToLine(midpoint, onPage.a, onPage.b);
            if (distance <= reach_ * reach_) {
                const bool shown = isShown(lines_[number], ShareOf(onPage, midpoint), hidden);
                best = std::min(best, std::tuple(!shown, distance, number));
            }
            return true;
        });
        return std::get<2>(best);
    }

private:
    static std::vector<PageLine> pageLines(const std::vector<Line>& lines) {
        std::vector<PageLine> all;
        for (const Line& line : lines) {
            if (line.onPage) {
                all.push_back(*line.onPage);
            }
        }
        return all;
    }

    static bool isShown(const Line& line, double share, bool hidden) {
        return IsHiddenAt(line, share) == hidden && (hidden || !IsRepeatedAt(line, share));
    }

    const std::vector<Line>& lines_;
    double reach_;
    SpatialGrid grid_;
    std::vector<std::uint32_t> numbers_; ///< By entry of the grid: the number of the line.
};

std::size_t ObjectOf(const kxdrawing::Path& path, const std::vector<Line>& lines) {
    std::size_t object = kNoObject;
    bool isFirst = true;
    for (const std::uint32_t number : path.lines) {
        if (number == kNoLine) {
            continue;
        }
        if (!isFirst && lines[number].object != object) {
            return kNoObject;
        }
        object = lines[number].object;
        isFirst = false;
    }
    return object;
}

void Link(kxdrawing::Path& path, bool hidden, LineIndex& index) {
    path.lines.reserve(path.points.size() - 1);
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        const Point midpoint = (path.points[i - 1] + path.points[i]) * 0.5;
        path.lines.push_back(index.find(midpoint, hidden));
    }
}

} // namespace

void LinkPathsToLines(kxdrawing::Drawing& drawing, double tolerance) {
    LineIndex index(drawing.lines, tolerance);
    for (kxdrawing::Layer& layer : drawing.layers) {
        for (kxdrawing::PathGroup& group : layer.groups) {
            for (kxdrawing::Path& path : group.paths) {
                Link(path, group.hidden, index);
                path.object = ObjectOf(path, drawing.lines);
            }
        }
    }
}

} // namespace kxcontour
