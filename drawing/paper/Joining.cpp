// Ends become points, lines become links between points, links become trails, trails paths.
#include "drawing/paper/Joining.h"

#include "drawing/paper/Figure.h"
#include "drawing/paper/LooseEnds.h"
#include "drawing/paper/Plane.h"
#include "drawing/paper/Spurs.h"
#include "drawing/paper/Trails.h"

#include <algorithm>

namespace kxcontour {
namespace {

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

std::vector<Path> JoinLines(const std::vector<PageLine>& lines, const JoiningRules& rules) {
    Figure figure = FigureOf(lines, rules.joint);
    CutSpurs(figure, rules.spur);
    ContractBridges(figure, rules.bridge);
    JoinLooseEnds(figure, rules.gap);
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
