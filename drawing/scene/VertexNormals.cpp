// Unit normals, in doubles: their dot products decide at 5 degrees, where a length off by a
// thousandth would already count as 3.6 degrees.
#include "drawing/scene/VertexNormals.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace kxcontour {
namespace {

using Vector = Wm4::Vector3<double>;

/// Squared lengths this near to 1 differ from it by rounding only.
constexpr double kUnitTolerance = 1e-6;

Vector ToDouble(const Wm4::Vector3<float>& v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

Wm4::Vector3<float> ToFloat(const Vector& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

/// The vector scaled to unit length; zero where it has no direction.
Vector Unit(const Vector& v) {
    const double squared = v.Dot(v);
    if (!std::isfinite(squared) || squared == 0.0) {
        return {0.0, 0.0, 0.0};
    }
    return v / std::sqrt(squared);
}

/// Scales all normals and marks those without a direction, which become zero.
std::vector<bool> ScaleNormals(kx::kxVertexBuffer& vertices) {
    std::vector<bool> missing(static_cast<std::size_t>(vertices.GetVertexQuantity()), false);
    for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
        const Vector normal = ToDouble(vertices.Normal3(i));
        const double squared = normal.Dot(normal);
        if (std::abs(squared - 1.0) < kUnitTolerance) {
            continue;
        }
        const Vector unit = Unit(normal);
        missing[static_cast<std::size_t>(i)] = unit.Dot(unit) == 0.0;
        vertices.Normal3(i) = ToFloat(unit);
    }
    return missing;
}

Vector FaceNormal(const kx::kxVertexBuffer& vertices, const unsigned int* corner) {
    const Vector a = ToDouble(vertices.Position3(static_cast<int>(corner[0])));
    const Vector b = ToDouble(vertices.Position3(static_cast<int>(corner[1])));
    const Vector c = ToDouble(vertices.Position3(static_cast<int>(corner[2])));
    return Unit((b - a).Cross(c - a));
}

/// Sums the normals of its triangles at every vertex that is marked.
void FillMissing(kx::kxVertexBuffer& vertices,
                 const kx::kxIndexBuffer& triangles,
                 const std::vector<bool>& missing) {
    std::vector<Vector> sums(missing.size(), Vector(0.0, 0.0, 0.0));
    const unsigned int* indices = triangles.GetData();
    for (int i = 0; i + 2 < triangles.GetIndexQuantity(); i += 3) {
        const unsigned int* corner = indices + i;
        if (missing[corner[0]] || missing[corner[1]] || missing[corner[2]]) {
            const Vector normal = FaceNormal(vertices, corner);
            for (int k = 0; k < 3; ++k) {
                sums[corner[k]] += normal;
            }
        }
    }
    for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
        if (missing[static_cast<std::size_t>(i)]) {
            vertices.Normal3(i) = ToFloat(Unit(sums[static_cast<std::size_t>(i)]));
        }
    }
}

} // namespace

bool RepairNormals(kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles) {
    const std::vector<bool> missing = ScaleNormals(vertices);
    std::size_t found = 0;
    std::size_t lost = 0;
    const unsigned int* indices = triangles.GetData();
    for (int i = 0; i < triangles.GetIndexQuantity(); ++i) {
        ++(missing[indices[i]] ? lost : found);
    }
    if (found == 0) {
        return false;
    }
    if (lost > 0) {
        FillMissing(vertices, triangles, missing);
    }
    return true;
}

} // namespace kxcontour
