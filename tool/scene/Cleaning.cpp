// Drops triangles in one pass over each index buffer.
#include "scene/Cleaning.h"

#include <algorithm>
#include <cmath>

namespace kxcontour {
namespace {

using Position = Wm4::Vector3<float>;

bool IsFinite(const Position& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

Wm4::Vector3<double> Difference(const Position& a, const Position& b) {
    return {static_cast<double>(a[0]) - static_cast<double>(b[0]),
            static_cast<double>(a[1]) - static_cast<double>(b[1]),
            static_cast<double>(a[2]) - static_cast<double>(b[2])};
}

/// Equal corners make one of the differences, or both, the same, and so the product 0 as well.
bool HasArea(const Position& a, const Position& b, const Position& c) {
    const Wm4::Vector3<double> ab = Difference(b, a);
    const Wm4::Vector3<double> ac = Difference(c, a);
    return ab[1] * ac[2] != ab[2] * ac[1] || ab[2] * ac[0] != ab[0] * ac[2] ||
           ab[0] * ac[1] != ab[1] * ac[0];
}

/// Whether the triangle is good; counts it if not.
bool Passes(const kx::kxVertexBuffer& vertices,
            const unsigned int* corner,
            DroppedTriangles& dropped) {
    const auto count = static_cast<unsigned int>(vertices.GetVertexQuantity());
    if (corner[0] >= count || corner[1] >= count || corner[2] >= count) {
        ++dropped.badIndex;
        return false;
    }
    const Position& a = vertices.Position3(static_cast<int>(corner[0]));
    const Position& b = vertices.Position3(static_cast<int>(corner[1]));
    const Position& c = vertices.Position3(static_cast<int>(corner[2]));
    if (!IsFinite(a) || !IsFinite(b) || !IsFinite(c)) {
        ++dropped.notFinite;
        return false;
    }
    if (!HasArea(a, b, c)) {
        ++dropped.degenerate;
        return false;
    }
    return true;
}

void CleanShape(Shape& shape, DroppedTriangles& dropped) {
    const int indexCount = shape.triangles->GetIndexQuantity() / 3 * 3;
    unsigned int* indices = shape.triangles->GetData();
    int kept = 0;
    for (int i = 0; i < indexCount; i += 3) {
        if (Passes(*shape.vertices, indices + i, dropped)) {
            std::copy_n(indices + i, 3, indices + kept);
            kept += 3;
        }
    }
    shape.triangles->SetIndexQuantity(kept);
}

} // namespace

DroppedTriangles& DroppedTriangles::operator+=(const DroppedTriangles& other) {
    badIndex += other.badIndex;
    notFinite += other.notFinite;
    degenerate += other.degenerate;
    return *this;
}

DroppedTriangles CleanShapes(Model& model) {
    DroppedTriangles dropped;
    for (Shape& shape : model.shapes) {
        CleanShape(shape, dropped);
    }
    return dropped;
}

std::string Describe(const DroppedTriangles& dropped) {
    std::string text = "left out " + std::to_string(dropped.total()) +
                       (dropped.total() == 1 ? " triangle" : " triangles");
    const char* separator = ": ";
    const auto add = [&](std::size_t count, const char* what) {
        if (count > 0) {
            text += separator + std::to_string(count) + what;
            separator = ", ";
        }
    };
    add(dropped.degenerate, " degenerate");
    add(dropped.notFinite, " not finite");
    add(dropped.badIndex, " with an index out of range");
    return text;
}

} // namespace kxcontour
