// Ends become points, lines become links between points, links become trails, trails paths.
#include "paper/Joining.h"

#include "paper/Plane.h"
#include "paper/PointClusters.h"
#include "paper/Trails.h"

namespace kxcontour {
namespace {

/// The lines as links between points, and apart from them those whose ends are one point.
struct Figure {
    std::vector<Point> points;
    std::vector<Link> links;
    std::vector<std::uint32_t> lineOfLink;

    struct Dot {
        std::uint32_t line = 0;
        std::uint32_t point = 0;
    };
    std::vector<Dot> dots;
};

Figure FigureOf(const std::vector<PaperLine>& lines, double tolerance) {
    Figure figure;
    PointClusters clusters(tolerance, lines.size());
    figure.links.reserve(lines.size());
    for (std::uint32_t i = 0; i < lines.size(); ++i) {
        const std::uint32_t from = clusters.add(lines[i].a);
        const std::uint32_t to = clusters.add(lines[i].b);
        if (from == to) {
            figure.dots.push_back({i, from});
        } else {
            figure.links.push_back({from, to});
            figure.lineOfLink.push_back(i);
        }
    }
    figure.points = clusters.representatives();
    return figure;
}

/// The dots that nothing else touches, one for each point.
std::vector<Figure::Dot> LonelyDots(const Figure& figure) {
    std::vector<bool> touched(figure.points.size());
    for (const Link& link : figure.links) {
        touched[link.from] = true;
        touched[link.to] = true;
    }
    std::vector<Figure::Dot> lonely;
    for (const Figure::Dot& dot : figure.dots) {
        if (!touched[dot.point]) {
            touched[dot.point] = true;
            lonely.push_back(dot);
        }
    }
    return lonely;
}

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

std::uint32_t LeastLinkOf(const Trail& trail) {
    std::uint32_t least = trail.steps.front() / 2;
    for (const std::uint32_t step : trail.steps) {
        least = std::min(least, step / 2);
    }
    return least;
}

} // namespace

std::vector<Path> JoinLines(const std::vector<PaperLine>& lines, double tolerance) {
    const Figure figure = FigureOf(lines, tolerance);
    const std::vector<Trail> trails = FindTrails(figure.points, figure.links);
    const std::vector<Figure::Dot> dots = LonelyDots(figure);
    std::vector<Path> paths;
    paths.reserve(trails.size() + dots.size());
    // Both lists are in the order of lines: merged, the paths are as well.
    auto dot = dots.begin();
    for (const Trail& trail : trails) {
        const std::uint32_t line = figure.lineOfLink[LeastLinkOf(trail)];
        for (; dot != dots.end() && dot->line < line; ++dot) {
            paths.push_back({{lines[dot->line].a, lines[dot->line].b}, {}});
        }
        paths.push_back(PathAlong(trail, figure));
    }
    for (; dot != dots.end(); ++dot) {
        paths.push_back({{lines[dot->line].a, lines[dot->line].b}, {}});
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

} // namespace kxcontour
