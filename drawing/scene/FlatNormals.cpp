// Looks at shapes first, then at the objects that they are part of.
#include "drawing/scene/FlatNormals.h"

#include "drawing/common/Angles.h"
#include "drawing/scene/SharedVertices.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace kxcontour {
namespace {

using Direction = Wm4::Vector3<double>;

/// Sines of small angles, which are the angles. The corners of a flat triangle repeat one normal,
/// up to a hundredth of a degree that rounding adds.
constexpr double kSameSine = 0.01 * kDegree;
constexpr double kFlatSine = kFlatNormalTolerance * kDegree;

/// A coordinate is off by one part in 2^24 at most. At a hundred times that, it turns the plane of
/// a triangle of this height by half a degree.
constexpr double kLeastHeight = 100.0 / 8388608.0;

Direction DirectionOf(const Wm4::Vector3<float>& v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

/// Whether two vectors make no more than the angle of that sine, either way round if asked.
bool IsAlong(const Direction& a, const Direction& b, double sine, bool eitherWay) {
    const Direction cross = a.Cross(b);
    return cross.Dot(cross) <= sine * sine * a.Dot(a) * b.Dot(b) && (eitherWay || a.Dot(b) > 0.0);
}

/// Tells whether the normals of a shape are its triangles' own.
class FlatnessTest {
public:
    explicit FlatnessTest(const kx::kxVertexBuffer& vertices) : vertices_(vertices) {}

    bool isFlat(const kx::kxIndexBuffer& triangles) const {
        const unsigned int* corners = triangles.GetData();
        for (int i = 0; i + 2 < triangles.GetIndexQuantity(); i += 3) {
            if (!isFlatTriangle(corners + i)) {
                return false;
            }
        }
        return true;
    }

private:
    bool isFlatTriangle(const unsigned int* corner) const {
        const Direction face = faceNormal(corner);
        const Direction* first = nullptr;
        Direction normals[3];
        for (int k = 0; k < 3; ++k) {
            normals[k] = DirectionOf(vertices_.Normal3(static_cast<int>(corner[k])));
            const double squared = normals[k].Dot(normals[k]);
            if (squared == 0.0 || !std::isfinite(squared)) {
                continue;
            }
            if (first == nullptr) {
                first = &normals[k];
            }
            if (!IsAlong(*first, normals[k], kSameSine, false) ||
                !IsAlong(face, normals[k], kFlatSine, true)) {
                return false;
            }
        }
        return true;
    }

    /// As long as twice the area; zero for a triangle whose plane is uncertain, which is along
    /// everything.
    Direction faceNormal(const unsigned int* corner) const {
        const Direction a = positionOf(corner[0]);
        const Direction b = positionOf(corner[1]);
        const Direction c = positionOf(corner[2]);
        const Direction normal = (b - a).Cross(c - a);
        const double longest =
            std::max({(b - a).Dot(b - a), (c - b).Dot(c - b), (a - c).Dot(a - c)});
        const double farthest = std::max({a.Dot(a), b.Dot(b), c.Dot(c)});
        // The height, twice the area by the longest side, against the size of the coordinates.
        const bool certain = normal.Dot(normal) > kLeastHeight * kLeastHeight * farthest * longest;
        return certain ? normal : Direction(0.0, 0.0, 0.0);
    }

    Direction positionOf(unsigned int vertex) const {
        return DirectionOf(vertices_.Position3(static_cast<int>(vertex)));
    }

    const kx::kxVertexBuffer& vertices_;
};

bool HasNormalChannels(const Shape& shape) {
    return shape.vertices->GetAttributes().GetNormalChannels() == 3;
}

/// By shape: whether it has normals that tell where it is smooth.
std::vector<bool> TellingShapes(const Model& model) {
    std::vector<bool> telling;
    telling.reserve(model.shapes.size());
    for (const Shape& shape : model.shapes) {
        telling.push_back(HasNormalChannels(shape) &&
                          !FlatnessTest(*shape.vertices).isFlat(*shape.triangles));
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

} // namespace

void DropFlatNormals(Model& model) {
    const std::vector<bool> kept = KeptShapes(model);
    for (std::size_t i = 0; i < model.shapes.size(); ++i) {
        if (HasNormalChannels(model.shapes[i]) && !kept[i]) {
            ShareVertices(model.shapes[i]);
        }
    }
}

} // namespace kxcontour
