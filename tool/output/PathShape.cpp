// Plain geometry.
#include "output/PathShape.h"

#include "common/Angles.h"

#include <cmath>

namespace kxcontour {
bool IsClosed(const Path& path) {
    const Point& first = path.points.front();
    const Point& last = path.points.back();
    return path.points.size() > 2 && first.x == last.x && first.y == last.y;
}

Point PointAt(const Arc& arc, double parameter) {
    const double along = arc.radiusX * std::cos(parameter * kDegree);
    const double across = arc.radiusY * std::sin(parameter * kDegree);
    const double c = std::cos(arc.rotation * kDegree);
    const double s = std::sin(arc.rotation * kDegree);
    return {arc.center.x + c * along - s * across, arc.center.y + s * along + c * across};
}

} // namespace kxcontour
