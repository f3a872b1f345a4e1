// Ends become points, lines become links between points, links become trails, trails paths.
#include "paper/Joining.h"

#include "paper/Plane.h"
#include "paper/PointClusters.h"
#include "paper/Trails.h"

#include <algorithm>

namespace kxcontour {
namespace {

/// The lines as links between points.
struct Figure {
    std::vector<Point> points;
    std::vector<Link> links;
};

Figure FigureOf(const std::vector<PaperLine>& lines, double tolerance) {
    Figure figure;
    PointClusters clusters(tolerance, lines.size());
    figure.links.reserve(lines.size());
    for (const PaperLine& line : lines) {
        const std::uint32_t from = clusters.add(line.a);
        const std::uint32_t to = clusters.add(line.b);
        if (from != to) {
            figure.links.push_back({from, to});
        }
    }
    figure.points = clusters.representatives();
    return figure;
}

/// Takes spurs off a figure. All of them are looked for in the figure as it is: where two short
/// ones are all that goes on from a point, both go.
class SpurCutter {
public:
    SpurCutter(Figure& figure, double spurLength)
        : figure_(figure), spurLength_(spurLength), degrees_(figure.points.size()),
          linkSums_(figure.points.size()), isSpur_(figure.links.size()) {
        for (std::uint32_t i = 0; i < figure.links.size(); ++i) {
            for (const std::uint32_t point : {figure.links[i].from, figure.links[i].to}) {
                ++degrees_[point];
                linkSums_[point] ^= i;
            }
        }
    }

    void cut() {
        for (std::uint32_t point = 0; point < figure_.points.size(); ++point) {
            if (degrees_[point] == 1) {
                markFrom(point);
            }
        }
        dropMarked();
    }

private:
    double lengthOf(const Link& link) const {
        return plane::Distance(figure_.points[link.from], figure_.points[link.to]);
    }

    /// Follows the lines from a loose end to where three or more meet.
    void markFrom(std::uint32_t point) {
        std::uint32_t link = linkSums_[point];
        double length = 0.0;
        trace_.clear();
        do {
            trace_.push_back(link);
            length += lengthOf(figure_.links[link]);
            point = figure_.links[link].from ^ figure_.links[link].to ^ point;
            link ^= linkSums_[point];
        } while (degrees_[point] == 2 && length < spurLength_);
        if (degrees_[point] > 2 && length < spurLength_) {
            for (const std::uint32_t spur : trace_) {
                isSpur_[spur] = true;
            }
        }
    }

    void dropMarked() {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < figure_.links.size(); ++i) {
            if (!isSpur_[i]) {
                figure_.links[kept++] = figure_.links[i];
            }
        }
        figure_.links.resize(kept);
    }

    Figure& figure_;
    double spurLength_;
    std::vector<std::uint32_t> degrees_;
    /// By point: the numbers of its links, added without carry. Of two, one tells the other.
    std::vector<std::uint32_t> linkSums_;
    std::vector<bool> isSpur_;
    std::vector<std::uint32_t> trace_; ///< The links from the loose end at hand.
};

Path PathAlong(const Trail& trail, const Figure& figure) {
    Path path;
    path.points.reserve(trail.steps.size() + 1);
    for (const std::uint32_t step : trail.steps) {
        const Link& link = figure.links[step / 2];
        path.points.push_back(figure.points[step % 2 == 0 ? link.from : link.to]);
    }
    const std::uint32_t last = trail.steps.back();
    const Link& link = figure.links[last / 2];
    path.points.push_back(figure.points[last % 2 == 0 ? link.to : link.from]);
    return path;
}

} // namespace

std::vector<Path>
JoinLines(const std::vector<PaperLine>& lines, double tolerance, double spurLength) {
    Figure figure = FigureOf(lines, tolerance);
    if (spurLength > 0.0) {
        SpurCutter(figure, spurLength).cut();
    }
    std::vector<Path> paths;
    for (const Trail& trail : FindTrails(figure.points, figure.links)) {
        paths.push_back(PathAlong(trail, figure));
    }
    return paths;
}

double LengthOf(const Path& path) {
    double length = 0.0;
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        length += plane::Distance(path.points[i - 1], path.points[i]);
    }
    return length;
}

double ExtentOf(const Path& path) {
    Point low = path.points.front();
    Point high = low;
    for (const Point& point : path.points) {
        low = {std::min(low.x, point.x), std::min(low.y, point.y)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y)};
    }
    return std::max(high.x - low.x, high.y - low.y);
}

} // namespace kxcontour
