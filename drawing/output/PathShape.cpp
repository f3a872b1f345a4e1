// Plain geometry.
#include "drawing/output/PathShape.h"

#include "drawing/common/Angles.h"

namespace kxcontour {

Point PointAt(const Arc& arc, double parameter) {
    const Turn onCircle = TurnBy(parameter);
    const Turn axis = TurnBy(arc.rotation);
    const double along = arc.radiusX * onCircle.cosine;
    const double across = arc.radiusY * onCircle.sine;
    return {arc.center.x + axis.cosine * along - axis.sine * across,
            arc.center.y + axis.sine * along + axis.cosine * across};
}

} // namespace kxcontour
