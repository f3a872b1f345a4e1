// Plain geometry.
#include "drawing/output/PathShape.h"

#include "drawing/common/Angles.h"

namespace kxcontour {
bool IsClosed(const Path& path) {
    const Point& first = path.points.front();
    const Point& last = path.points.back();
    return path.points.size() > 2 && first.x == last.x && first.y == last.y;
}

Point PointAt(const Arc& arc, double parameter) {
    const Turn onCircle = TurnBy(parameter);
    const Turn axis = TurnBy(arc.rotation);
    const double along = arc.radiusX * onCircle.cosine;
    const double across = arc.radiusY * onCircle.sine;
    return {arc.center.x + axis.cosine * along - axis.sine * across,
            arc.center.y + axis.sine * along + axis.cosine * across};
}

} // namespace kxcontour
