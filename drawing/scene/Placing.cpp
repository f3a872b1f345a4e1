// Turns by right angles, and boxes of shapes and of the whole scene.
#include "drawing/scene/Placing.h"

#include <algorithm>
#include <cmath>

namespace kxcontour {
namespace {

/// A model this many times its size away from the origin has lost three of its 24 bits.
constexpr double kFarAway = 8.0;

Wm4::Vector3<double> Corner(const Box& box, unsigned int bits) {
    return {(bits & 1U) != 0 ? box.max[0] : box.min[0], (bits & 2U) != 0 ? box.max[1] : box.min[1],
            (bits & 4U) != 0 ? box.max[2] : box.min[2]};
}

Wm4::Vector3<double> Apply(const Wm4::Matrix4<double>& m, const Wm4::Vector3<double>& p) {
    const auto along = [&](int axis) {
        return p[0] * m[0][axis] + p[1] * m[1][axis] + p[2] * m[2][axis] + m[3][axis];
    };
    return {along(0), along(1), along(2)};
}

/// A box around everything: that of the turned boxes of the shapes.
template <class BoxOfShape> Box PlacedBox(const Model& model, const BoxOfShape& boxOf) {
    std::vector<Box> shapeBoxes;
    shapeBoxes.reserve(model.shapes.size());
    for (const Shape& shape : model.shapes) {
        shapeBoxes.push_back(boxOf(shape));
    }
    Box world;
    for (const Placement& placement : model.placements) {
        const Box& box = shapeBoxes[placement.shape];
        for (unsigned int bits = 0; bits < 8 && !box.isEmpty(); ++bits) {
            const Wm4::Vector3<double> corner = Apply(placement.world, Corner(box, bits));
            if (IsFinite(corner)) {
                world.add(corner);
            }
        }
    }
    return world;
}

double Largest(const Wm4::Vector3<double>& v) {
    return std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])});
}

} // namespace

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

Box BoxOf(const Shape& shape) {
    Box box;
    const unsigned int* indices = shape.triangles->GetData();
    for (int i = 0; i < shape.triangles->GetIndexQuantity(); ++i) {
        box.add(ToDouble(shape.vertices->Position3(static_cast<int>(indices[i]))));
    }
    return box;
}

Box VertexBox(const Model& model) {
    return PlacedBox(model, [](const Shape& shape) {
        Box box;
        for (int i = 0; i < shape.vertices->GetVertexQuantity(); ++i) {
            const Wm4::Vector3<double> p = ToDouble(shape.vertices->Position3(i));
            if (IsFinite(p)) {
                box.add(p);
            }
        }
        return box;
    });
}

bool LiesFarAway(const Box& box) {
    return !box.isEmpty() && Largest(box.center()) > kFarAway * Largest(box.size());
}

Wm4::Vector3<double> RoundOrigin(const Box& box) {
    Wm4::Vector3<double> origin(0.0, 0.0, 0.0);
    if (!LiesFarAway(box)) {
        return origin;
    }
    const Wm4::Vector3<double> size = box.size();
    const Wm4::Vector3<double> center = box.center();
    int exponent = 0;
    std::frexp(std::max({size[0], size[1], size[2]}), &exponent);
    const double step = std::ldexp(1.0, exponent - 1);
    for (int axis = 0; axis < 3; ++axis) {
        origin[axis] = std::round(center[axis] / step) * step;
    }
    return origin;
}

Wm4::Vector3<double> ChooseOrigin(const Model& model) {
    const Box world = PlacedBox(model, BoxOf);
    return LiesFarAway(world) ? world.center() : Wm4::Vector3<double>(0.0, 0.0, 0.0);
}

} // namespace kxcontour
