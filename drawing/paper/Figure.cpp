// Ends become points, lines become links.
#include "drawing/paper/Figure.h"

#include "drawing/paper/PointClusters.h"

namespace kxcontour {

Figure FigureOf(const std::vector<PageLine>& lines, double tolerance) {
    Figure figure;
    PointClusters clusters(tolerance, lines.size());
    figure.links.reserve(lines.size());
    for (const PageLine& line : lines) {
        const std::uint32_t from = clusters.add(line.a);
        const std::uint32_t to = clusters.add(line.b);
        if (from != to) {
            figure.links.push_back({from, to});
        }
    }
    figure.points = clusters.representatives();
    return figure;
}

std::vector<std::uint32_t> DegreesOf(const Figure& figure) {
    std::vector<std::uint32_t> degrees(figure.points.size());
    for (const Link& link : figure.links) {
        ++degrees[link.from];
        ++degrees[link.to];
    }
    return degrees;
}

} // namespace kxcontour
