// A counting sort of half-edges by the smaller point of their ends (prefix sums), then a sort by
// the larger one within each point, so that the half-edges of an edge are consecutive. Linear while
// few half-edges meet at a point. Exact: points are welded positions, compared by index.
#include "features/HalfEdges.h"

#include "linesets/PositionOrder.h"
#include "linesets/Welding.h"

#include <algorithm>
#include <numeric>

namespace ctr {

HalfEdges::HalfEdges(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles)
    : vertices_(vertices), indices_(triangles.GetData()),
      points_(WeldPositions(
          static_cast<std::size_t>(vertices.GetVertexQuantity()),
          [&](std::size_t i) { return KeyOf(vertices.Position3(static_cast<int>(i))); })),
      halfEdges_(static_cast<std::size_t>(triangles.GetIndexQuantity() / 3 * 3)) {
    gather();
}

std::uint32_t HalfEdges::nearPoint(std::uint32_t corner) const {
    return std::min(pointAt(corner), pointAt(NextCorner(corner)));
}

void HalfEdges::gather() {
    bucketEnds_.assign(vertexCount() + 1, 0);
    for (std::uint32_t corner = 0; corner < cornerCount(); ++corner) {
        ++bucketEnds_[nearPoint(corner) + 1];
    }
    std::partial_sum(bucketEnds_.begin(), bucketEnds_.end(), bucketEnds_.begin());
    // Each entry is now the start of its point's half-edges; filling advances it to their end.
    for (std::uint32_t corner = 0; corner < cornerCount(); ++corner) {
        const std::uint32_t farPoint = std::max(pointAt(corner), pointAt(NextCorner(corner)));
        halfEdges_[bucketEnds_[nearPoint(corner)]++] = {farPoint, corner};
    }
    std::size_t first = 0;
    for (std::size_t point = 0; point < vertexCount(); ++point) {
        std::sort(halfEdges_.begin() + static_cast<std::ptrdiff_t>(first),
                  halfEdges_.begin() + static_cast<std::ptrdiff_t>(bucketEnds_[point]));
        first = bucketEnds_[point];
    }
}

} // namespace ctr
