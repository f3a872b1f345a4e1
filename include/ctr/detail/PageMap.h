// From world space to the page. Constant time; rounded in the type of the computation.
#pragma once

#include <ctr/ExportParameters.h>

#include <Wm4Foundation.h>

#include <cstddef>

namespace ctr::detail {

/// The page coordinates of a point of the world in millimetres, y pointing down, computed in Real.
///
/// The clip coordinates are summed row by row, as everywhere; a point with w = 0 is not on the page
/// and gives coordinates that are not finite.
template <class Real>
Wm4::Vector2<Real> ToPage(const ExportParameters& parameters, const Wm4::Vector3<float>& world) {
    const Real point[3] = {static_cast<Real>(world[0]), static_cast<Real>(world[1]),
                           static_cast<Real>(world[2])};
    const Wm4::Matrix4<float>& m = parameters.worldToClip;
    const auto clip = [&](int column) {
        return point[0] * static_cast<Real>(m[0][column]) +
               point[1] * static_cast<Real>(m[1][column]) +
               point[2] * static_cast<Real>(m[2][column]) + static_cast<Real>(m[3][column]);
    };
    const auto transform = [&](std::size_t i) {
        return static_cast<Real>(parameters.pageTransform[i]);
    };
    const auto offset = [&](int i) { return static_cast<Real>(parameters.pageOffset[i]); };
    const Real w = clip(3);
    const Real x = clip(0) / w;
    const Real y = clip(1) / w;
    return {transform(0) * x + transform(1) * y + offset(0),
            static_cast<Real>(parameters.pageSizeInMM[1]) -
                (transform(2) * x + transform(3) * y + offset(1))};
}

} // namespace ctr::detail
