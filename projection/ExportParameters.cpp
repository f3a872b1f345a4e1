// The map from normalised device coordinates to page millimetres: the largest centred rectangle
// with the aspect of the view. Constant time, in single precision.
#include <ctr/ExportParameters.h>

#include "projection/Homogeneous.h"

#include <cmath>

namespace ctr {
namespace {

/// The world point of an NDC point on the near plane; a very distant one if w is zero.
Wm4::Vector3<float> NearPlanePoint(const Wm4::Matrix4<float>& clipToWorld, float x, float y) {
    const Wm4::Vector4<float> p = TransformPoint(clipToWorld, Wm4::Vector3<float>(x, y, -1.0F));
    if (p[3] == 0.0F) {
        const float far = Wm4::Math<float>::MAX_REAL;
        return {far, far, far};
    }
    return DivideByW(p);
}

} // namespace

ExportParameters::ExportParameters(const DiscreteProjectionSpace& projectionSpace)
    : DiscreteProjectionSpace(projectionSpace),
      pageSizeInMM(210.0F, 297.0F), pageTransform{0.0F, 0.0F, 0.0F, 0.0F}, pageOffset(0.0F, 0.0F) {
    computeBestFitTransform();
}

void ExportParameters::setPageSizeInMM(const Wm4::Vector2<float>& size) {
    pageSizeInMM = size;
}

void ExportParameters::computeBestFitTransform() {
    const Wm4::Vector2<float> frustumSize = computeFrustumSizeXY();
    const float fx = frustumSize[0];
    const float fy = frustumSize[1];
    const float width = pageSizeInMM[0];
    const float height = pageSizeInMM[1];
    if (height / fy >= width / fx) {
        pageTransform = {width / 2.0F, 0.0F, 0.0F, (fy / fx) * (width / 2.0F)};
    } else {
        pageTransform = {(fx / fy) * (height / 2.0F), 0.0F, 0.0F, height / 2.0F};
    }
    pageOffset = Wm4::Vector2<float>(width / 2.0F, height / 2.0F);
}

float ExportParameters::getWorldUnitsPerMM() const {
    const auto [a, b, c, d] = pageTransform;
    const float width = pageSizeInMM[0];
    const float det = a * d - b * c;
    float x = 0.0F;
    float y = 0.0F;
    if (std::fabs(det) > Wm4::Math<float>::ZERO_TOLERANCE) {
        x = d * width / det;
        y = -c * width / det;
    }
    const Wm4::Vector3<float> p0 = NearPlanePoint(clipToWorld, 0.0F, 0.0F);
    const Wm4::Vector3<float> p1 = NearPlanePoint(clipToWorld, x, y);
    return Distance(p1, p0) / width;
}

} // namespace ctr
