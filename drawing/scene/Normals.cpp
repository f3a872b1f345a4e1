// Whether normals say anything is looked up by shape first, then by the objects that the shapes are
// part of. Unit normals are computed in doubles: their dot products decide at 5 degrees, where a
// length off by a thousandth would already count as 3.6 degrees.
#include "drawing/scene/Normals.h"

#include "drawing/common/Angles.h"
#include "drawing/scene/Box.h"
#include "drawing/scene/SharedVertices.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace kxcontour {
namespace {

using Vector = Wm4::Vector3<double>;

/// Sines of small angles, which are the angles. The corners of a flat triangle repeat one normal,
/// up to a hundredth of a degree that rounding adds.
constexpr double kSameSine = 0.01 * kDegree;
constexpr double kFlatSine = kFlatNormalTolerance * kDegree;

/// A coordinate is off by one part in 2^24 at most. At a hundred times that, it turns the plane of
/// a triangle of this height by half a degree.
constexpr double kLeastHeight = 100.0 / 8388608.0;

/// Whether two vectors make no more than the angle of that sine, either way round if asked.
bool IsAlong(const Vector& a, const Vector& b, double sine, bool eitherWay) {
    const Vector cross = a.Cross(b);
    return cross.Dot(cross) <= sine * sine * a.Dot(a) * b.Dot(b) && (eitherWay || a.Dot(b) > 0.0);
}

/// As long as twice the area; zero for a triangle whose plane is uncertain, which is along
/// everything.
Vector FaceNormal(const std::array<Vector, 3>& corners) {
    const auto& [a, b, c] = corners;
    const Vector normal = (b - a).Cross(c - a);
    const double longest = std::max({(b - a).Dot(b - a), (c - b).Dot(c - b), (a - c).Dot(a - c)});
    const double farthest = std::max({a.Dot(a), b.Dot(b), c.Dot(c)});
    // The height, twice the area by the longest side, against the size of the coordinates.
    const bool certain = normal.Dot(normal) > kLeastHeight * kLeastHeight * farthest * longest;
    return certain ? normal : Vector(0.0, 0.0, 0.0);
}

/// Whether the normals at the corners of a triangle are its own.
bool IsFlatTriangle(const kx::kxVertexBuffer& vertices, const unsigned int* corner) {
    std::array<Vector, 3> positions;
    std::array<Vector, 3> normals;
    for (std::size_t k = 0; k < 3; ++k) {
        positions[k] = ToDouble(vertices.Position3(static_cast<int>(corner[k])));
        normals[k] = ToDouble(vertices.Normal3(static_cast<int>(corner[k])));
    }
    const Vector face = FaceNormal(positions);
    const auto hasDirection = [](const Vector& normal) {
        const double squared = normal.Dot(normal);
        return squared != 0.0 && std::isfinite(squared);
    };
    auto* const first = std::find_if(normals.begin(), normals.end(), hasDirection);
    return std::all_of(first, normals.end(), [&](const Vector& normal) {
        return !hasDirection(normal) || (IsAlong(*first, normal, kSameSine, false) &&
                                         IsAlong(face, normal, kFlatSine, true));
    });
}

bool IsFlat(const Shape& shape) {
    const unsigned int* const corners = shape.triangles->GetData();
    for (int i = 0; i + 2 < shape.triangles->GetIndexQuantity(); i += 3) {
        if (!IsFlatTriangle(*shape.vertices, corners + i)) {
            return false;
        }
    }
    return true;
}

/// By shape: whether it has normals that tell where it is smooth.
std::vector<bool> TellingShapes(const Model& model) {
    std::vector<bool> telling;
    telling.reserve(model.shapes.size());
    for (const Shape& shape : model.shapes) {
        telling.push_back(shape.hasNormals() && !IsFlat(shape));
    }
    return telling;
}

/// The same, and also those that are placed in one object with a telling shape.
std::vector<bool> KeptShapes(const Model& model) {
    std::vector<bool> kept = TellingShapes(model);
    std::vector<bool> tellingObjects(model.objects.size(), false);
    for (const Placement& placement : model.placements) {
        if (kept[placement.shape]) {
            tellingObjects[placement.object] = true;
        }
    }
    for (const Placement& placement : model.placements) {
        if (tellingObjects[placement.object]) {
            kept[placement.shape] = true;
        }
    }
    return kept;
}

/// Squared lengths this near to 1 differ from it by rounding only.
constexpr double kUnitTolerance = 1e-6;

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

Vector UnitNormal(const kx::kxVertexBuffer& vertices, const unsigned int* corner) {
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
            const Vector normal = UnitNormal(vertices, corner);
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

void DropFlatNormals(Model& model) {
    const std::vector<bool> kept = KeptShapes(model);
    for (std::size_t i = 0; i < model.shapes.size(); ++i) {
        if (model.shapes[i].hasNormals() && !kept[i]) {
            ShareVertices(model.shapes[i]);
        }
    }
}

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
