// Rotations by right angles, written out.
#include "drawing/scene/Axes.h"

namespace kxcontour {

Wm4::Matrix4<double> StandUp(UpAxis up) {
    using Matrix = Wm4::Matrix4<double>;
    switch (up) {
    case UpAxis::X:
        return Matrix(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    case UpAxis::Z:
        return Matrix(1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1);
    case UpAxis::Y:
        break;
    }
    return Matrix(false);
}

} // namespace kxcontour
