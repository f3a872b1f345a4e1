// The axes of named views, of angles and of points.
#include "drawing/camera/View.h"

#include <kxDrawing/Errors.h>

#include "drawing/common/Angles.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kxcontour {
namespace {

Wm4::Vector3<double> Normalised(const Wm4::Vector3<double>& v) {
    // Scaled first, so that squares neither overflow nor vanish.
    const double largest = std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])});
    const Wm4::Vector3<double> scaled = v / largest;
    return scaled / std::sqrt(scaled.Dot(scaled));
}

} // namespace

ViewAxes AxesOf(double azimuth, double elevation) {
    const Turn around = TurnBy(azimuth);
    const Turn above = TurnBy(elevation);
    // Adding zero makes a plain zero of a negative one.
    const Wm4::Vector3<double> zero(0, 0, 0);
    return {zero + Wm4::Vector3<double>(around.cosine, 0, -around.sine),
            zero + Wm4::Vector3<double>(-around.sine * above.sine, above.cosine,
                                        -around.cosine * above.sine),
            zero + Wm4::Vector3<double>(around.sine * above.cosine, above.sine,
                                        around.cosine * above.cosine)};
}

ViewAxes AxesLooking(const Wm4::Vector3<double>& back, const Wm4::Vector3<double>& viewUp) {
    if (back == Wm4::Vector3<double>(0, 0, 0)) {
        throw kxdrawing::InvalidArgument("the camera position is the focal point");
    }
    const Wm4::Vector3<double> toEye = Normalised(back);
    const Wm4::Vector3<double> right = Normalised(viewUp).Cross(toEye);
    constexpr double kParallel = 1e-9;
    // Written so that NaN is refused too.
    if (!(right.Dot(right) > kParallel * kParallel)) {
        throw kxdrawing::InvalidArgument("the camera looks along its up direction");
    }
    const Wm4::Vector3<double> unitRight = Normalised(right);
    return {unitRight, toEye.Cross(unitRight), toEye};
}

ViewAxes Rolled(const ViewAxes& axes, double degrees) {
    const Turn turn = TurnBy(degrees);
    return {turn.cosine * axes.right - turn.sine * axes.up,
            turn.sine * axes.right + turn.cosine * axes.up, axes.back};
}

ViewAxes AxesOf(kxdrawing::Direction direction) {
    // Azimuth and elevation: front, back, left, right, top, bottom.
    constexpr double kAngles[][2]{{0, 0}, {180, 0}, {-90, 0}, {90, 0}, {0, 90}, {0, -90}};
    if (direction != kxdrawing::Direction::Iso) {
        const auto [azimuth, elevation] = kAngles[static_cast<std::size_t>(direction)];
        return AxesOf(azimuth, elevation);
    }
    // Square roots and quotients are correctly rounded, so these are the same numbers everywhere.
    using V = Wm4::Vector3<double>;
    const double half = 1.0 / std::sqrt(2.0);
    const double third = 1.0 / std::sqrt(3.0);
    const double sixth = 1.0 / std::sqrt(6.0);
    return {V(half, 0, -half), V(-sixth, 2.0 * sixth, -sixth), V(third, third, third)};
}

} // namespace kxcontour
