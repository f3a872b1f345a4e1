// The camera, its integer grid, and clipping to the view volume in homogeneous coordinates.
//
// Clipping follows I. Sutherland and G. Hodgman, Reentrant polygon clipping, CACM 17(1), 1974, with
// the homogeneous planes of J. Blinn and M. Newell, Clipping using homogeneous coordinates,
// SIGGRAPH 1978. Intersections are computed from the midpoint of a segment, so that the result does
// not depend on the order of its ends. Constant time and no allocation per segment or triangle.
//
// All arithmetic is in single precision, in a fixed order. No bound to the exact projection is
// needed: the grid points that result are the exact input of everything that follows.
#include <ctr/DiscreteProjectionSpace.h>

#include "projection/GridQuantisation.h"
#include "projection/Homogeneous.h"

#include <cassert>

namespace ctr {
namespace {

using Point = Wm4::Vector4<float>;

/// A triangle gains at most one vertex per plane, of six.
constexpr unsigned int kMaxPolygonVertices = 9;

/// One bounding plane of the view; inside is coordinate >= bound * w, or <= for an upper plane.
struct ClipPlane {
    int axis;
    bool upper;
    float bound;

    bool isOutside(const Point& p) const {
        const float limit = bound * p[3];
        return upper ? p[axis] > limit : limit > p[axis];
    }
};

/// The clipping order: x low, x high, y low, y high, z low, z high.
ClipPlane PlaneOf(const DiscreteProjectionSpace& space, int number) {
    const int axis = number / 2;
    const bool upper = number % 2 == 1;
    return {axis, upper, upper ? space.frustumMax[axis] : space.frustumMin[axis]};
}

/// A point on the line p, q: m + s * d with the midpoint m and d = q - p.
struct Crossing {
    Point point;
    float s;
};

Crossing Intersect(const ClipPlane& plane, const Point& p, const Point& q) {
    Point m;
    Point d;
    for (int i = 0; i < 4; ++i) {
        m[i] = (p[i] + q[i]) / 2.0F;
        d[i] = q[i] - p[i];
    }
    const float s = (m[3] * plane.bound - m[plane.axis]) / (d[plane.axis] - d[3] * plane.bound);
    Point point;
    for (int i = 0; i < 4; ++i) {
        point[i] = m[i] + s * d[i];
    }
    return {point, s};
}

/// A polygon under construction, with two bits per edge.
struct PolygonWriter {
    Point* vertices;
    unsigned int count = 0;
    unsigned int codes = 0;

    /// A convex polygon never has more than kMaxPolygonVertices vertices; rounding of extreme
    /// coordinates can make one concave, and vertices beyond the buffer are then dropped.
    void emit(const Point& vertex, unsigned int code) {
        if (count < kMaxPolygonVertices) {
            vertices[count] = vertex;
            codes |= code << (2 * count);
            ++count;
        }
    }
};

/// Clips a polygon by one plane into writer.
void ClipPolygon(const ClipPlane& plane,
                 const Point* polygon,
                 unsigned int count,
                 unsigned int codes,
                 PolygonWriter& writer) {
    const Point* previous = &polygon[count - 1];
    bool previousOutside = plane.isOutside(*previous);
    for (unsigned int i = 0; i < count; ++i) {
        const Point& current = polygon[i];
        const bool outside = plane.isOutside(current);
        const unsigned int code = (codes >> (2 * i)) & 3U;
        if (outside != previousOutside) {
            writer.emit(Intersect(plane, *previous, current).point, outside ? code : 0U);
        }
        if (!outside) {
            writer.emit(current, code);
        }
        previous = &current;
        previousOutside = outside;
    }
}

unsigned int CountOutside(const ClipPlane& plane, const Point* polygon, unsigned int count) {
    unsigned int outside = 0;
    for (unsigned int i = 0; i < count; ++i) {
        outside += plane.isOutside(polygon[i]) ? 1U : 0U;
    }
    return outside;
}

/// 2^bits - 1 as an unsigned 32-bit integer, saturated.
float GridSteps(unsigned int bits) {
    const std::uint32_t steps = bits < 32 ? (std::uint32_t{1} << bits) - 1U : ~std::uint32_t{0};
    return static_cast<float>(steps);
}

} // namespace

DiscreteProjectionSpace::DiscreteProjectionSpace()
    : worldToClip(Wm4::Matrix4<float>::IDENTITY), clipToWorld(Wm4::Matrix4<float>::IDENTITY),
      frustumMin(-1.0F, -1.0F, -1.0F), frustumMax(1.0F, 1.0F, 1.0F), xyBits(20), zBits(20) {
    updateRatios();
}

void DiscreteProjectionSpace::setViewProjection(const Wm4::Matrix4<float>& newWorldToClip,
                                                const Wm4::Matrix4<float>& newClipToWorld) {
    worldToClip = newWorldToClip;
    clipToWorld = newClipToWorld;
}

bool DiscreteProjectionSpace::setVoxelBitSize(unsigned int newXYBits, unsigned int newZBits) {
    if (newXYBits <= 1 || newZBits <= 1 || 2U * newXYBits + newZBits > 59U) {
        return false;
    }
    xyBits = newXYBits;
    zBits = newZBits;
    updateRatios();
    return true;
}

void DiscreteProjectionSpace::updateRatios() {
    const Wm4::Vector2<float> frustumSize = computeFrustumSizeXY();
    const float dx = frustumMax[0] - frustumMin[0];
    const float dy = frustumMax[1] - frustumMin[1];
    const float dz = frustumMax[2] - frustumMin[2];
    const float wx = frustumSize[0] * dx;
    const float wy = frustumSize[1] * dy;
    const float n = GridSteps(xyBits);
    const float nz = GridSteps(zBits);
    float nx = n;
    float ny = n;
    voxelSize = Wm4::Vector3<float>(dx / n, dy / n, dz / nz);
    if (wx >= wy) {
        ny = wy * n / wx;
        voxelSize[1] = ny < 1.0F ? dy : dy / ny;
        ny = ny < 1.0F ? 1.0F : ny;
    } else {
        nx = wx * n / wy;
        voxelSize[0] = nx < 1.0F ? dx : dx / nx;
        nx = nx < 1.0F ? 1.0F : nx;
    }
    voxelScale = Wm4::Vector3<float>(nx / dx, ny / dy, nz / dz);
}

Wm4::Vector2<float> DiscreteProjectionSpace::computeFrustumSizeXY() const {
    const auto toWorld = [this](float x, float y) {
        return DivideByW(TransformPoint(clipToWorld, Wm4::Vector3<float>(x, y, 0.0F)));
    };
    const Wm4::Vector3<float> origin = toWorld(0.0F, 0.0F);
    return {Distance(toWorld(1.0F, 0.0F), origin), Distance(toWorld(0.0F, 1.0F), origin)};
}

std::pair<float, float> DiscreteProjectionSpace::clipEdgeWorld(const Wm4::Vector3<float>& p0,
                                                               const Wm4::Vector3<float>& p1,
                                                               BakedVertex& b0,
                                                               BakedVertex& b1,
                                                               float& w0,
                                                               float& w1) const {
    Point c0 = TransformPoint(worldToClip, p0);
    Point c1 = TransformPoint(worldToClip, p1);
    float t0 = 0.0F;
    float t1 = 1.0F;
    for (int number = 0; number < 6; ++number) {
        const ClipPlane plane = PlaneOf(*this, number);
        const bool outside0 = plane.isOutside(c0);
        const bool outside1 = plane.isOutside(c1);
        if (outside0 && outside1) {
            return {1.0F, 0.0F};
        }
        if (outside0 == outside1) {
            continue;
        }
        const Crossing crossing = Intersect(plane, c0, c1);
        const float t = t0 + (crossing.s + 0.5F) * (t1 - t0);
        (outside0 ? c0 : c1) = crossing.point;
        (outside0 ? t0 : t1) = t;
    }
    b0 = QuantiseClamped(*this, c0);
    b1 = QuantiseClamped(*this, c1);
    w0 = c0[3];
    w1 = c1[3];
    return {t0, t1};
}

bool DiscreteProjectionSpace::clipTriangle(Wm4::Vector4<float>*& poly,
                                           Wm4::Vector4<float>*& scratch,
                                           unsigned int& count,
                                           unsigned int& edgeCodes) const {
    assert(poly != nullptr && scratch != nullptr && poly != scratch);
    unsigned int vertexCount = 3;
    unsigned int codes = 1U | 2U << 2 | 3U << 4;
    for (int number = 0; number < 6; ++number) {
        const ClipPlane plane = PlaneOf(*this, number);
        const unsigned int outside = CountOutside(plane, poly, vertexCount);
        if (outside == vertexCount) {
            return false;
        }
        if (outside == 0) {
            continue;
        }
        PolygonWriter writer{scratch};
        ClipPolygon(plane, poly, vertexCount, codes, writer);
        std::swap(poly, scratch);
        vertexCount = writer.count;
        codes = writer.codes;
    }
    count = vertexCount;
    edgeCodes = codes;
    return true;
}

} // namespace ctr
