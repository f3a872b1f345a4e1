// Checks triangles one by one, and compacts the index buffer. Linear time.
//
// Zero area is decided in doubles. A triangle without area is always recognised if the differences
// of its coordinates are exact, as they are unless coordinates differ by a factor of 2^29; a
// triangle whose cross product is 0 only after rounding counts as well.
#include "features/TriangleCleaning.h"

#include <ctr/Surface.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace ctr {
namespace {

bool IsFinite(const Wm4::Vector3<float>& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

Wm4::Vector3<double> Difference(const Wm4::Vector3<float>& a, const Wm4::Vector3<float>& b) {
    return {static_cast<double>(a[0]) - static_cast<double>(b[0]),
            static_cast<double>(a[1]) - static_cast<double>(b[1]),
            static_cast<double>(a[2]) - static_cast<double>(b[2])};
}

/// Equal corners give a zero or two equal differences, hence a zero cross product.
bool HasArea(const Wm4::Vector3<float>& a,
             const Wm4::Vector3<float>& b,
             const Wm4::Vector3<float>& c) {
    const Wm4::Vector3<double> ab = Difference(b, a);
    const Wm4::Vector3<double> ac = Difference(c, a);
    return ab[1] * ac[2] != ab[2] * ac[1] || ab[2] * ac[0] != ab[0] * ac[2] ||
           ab[0] * ac[1] != ab[1] * ac[0];
}

enum class Flaw : std::uint8_t { None, BadIndex, NotFinite, Degenerate };

/// Vertices without positions do not count.
unsigned int CountOf(const kx::kxVertexBuffer& vertices) {
    return vertices.GetAttributes().GetPositionChannels() == 3
               ? static_cast<unsigned int>(vertices.GetVertexQuantity())
               : 0U;
}

Flaw FlawOf(const kx::kxVertexBuffer& vertices, const unsigned int* corner) {
    const unsigned int count = CountOf(vertices);
    if (corner[0] >= count || corner[1] >= count || corner[2] >= count) {
        return Flaw::BadIndex;
    }
    const Wm4::Vector3<float>& a = vertices.Position3(static_cast<int>(corner[0]));
    const Wm4::Vector3<float>& b = vertices.Position3(static_cast<int>(corner[1]));
    const Wm4::Vector3<float>& c = vertices.Position3(static_cast<int>(corner[2]));
    if (!IsFinite(a) || !IsFinite(b) || !IsFinite(c)) {
        return Flaw::NotFinite;
    }
    return HasArea(a, b, c) ? Flaw::None : Flaw::Degenerate;
}

} // namespace

DroppedTriangles CleanTriangles(const kx::kxVertexBuffer& vertices, kx::kxIndexBuffer& triangles) {
    const int indexCount = triangles.GetIndexQuantity() / 3 * 3;
    unsigned int* indices = triangles.GetData();
    std::array<std::size_t, 4> counts{};
    int kept = 0;
    for (int i = 0; i < indexCount; i += 3) {
        const Flaw flaw = FlawOf(vertices, indices + i);
        ++counts[static_cast<std::size_t>(flaw)];
        if (flaw == Flaw::None) {
            std::copy_n(indices + i, 3, indices + kept);
            kept += 3;
        }
    }
    triangles.SetIndexQuantity(kept);
    return {counts[static_cast<std::size_t>(Flaw::BadIndex)],
            counts[static_cast<std::size_t>(Flaw::NotFinite)],
            counts[static_cast<std::size_t>(Flaw::Degenerate)]};
}

bool AreClean(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles) {
    const int indexCount = triangles.GetIndexQuantity();
    const unsigned int* indices = triangles.GetData();
    int i = 0;
    while (i + 2 < indexCount && FlawOf(vertices, indices + i) == Flaw::None) {
        i += 3;
    }
    return i == indexCount;
}

} // namespace ctr
