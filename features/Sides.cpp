// Gathers the sides of all triangles at the lower place of their ends and sorts them there by the
// higher one, so that those of one edge stand side by side. Gathering is a counting sort: with a
// few sides at each place, all of it is linear.
#include "features/Sides.h"

#include "linesets/EdgeGroups.h"
#include "linesets/PositionOrder.h"

#include <algorithm>
#include <numeric>

namespace ctr {

Sides::Sides(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles)
    : vertices_(vertices), indices_(triangles.GetData()),
      places_(NumberPlaces(
          static_cast<std::size_t>(vertices.GetVertexQuantity()),
          [&](std::size_t i) { return KeyOf(vertices.Position3(static_cast<int>(i))); })),
      sides_(static_cast<std::size_t>(triangles.GetIndexQuantity() / 3 * 3)) {
    gather();
}

std::uint32_t Sides::nearPlace(std::uint32_t corner) const {
    return std::min(placeAt(corner), placeAt(NextCorner(corner)));
}

void Sides::gather() {
    sidesEnd_.assign(vertexCount() + 1, 0);
    for (std::uint32_t corner = 0; corner < cornerCount(); ++corner) {
        ++sidesEnd_[nearPlace(corner) + 1];
    }
    std::partial_sum(sidesEnd_.begin(), sidesEnd_.end(), sidesEnd_.begin());
    // Now each entry is where the sides of its place begin; filling moves it to their end.
    for (std::uint32_t corner = 0; corner < cornerCount(); ++corner) {
        const std::uint32_t farPlace = std::max(placeAt(corner), placeAt(NextCorner(corner)));
        sides_[sidesEnd_[nearPlace(corner)]++] = {farPlace, corner};
    }
    std::size_t first = 0;
    for (std::size_t place = 0; place < vertexCount(); ++place) {
        std::sort(sides_.begin() + static_cast<std::ptrdiff_t>(first),
                  sides_.begin() + static_cast<std::ptrdiff_t>(sidesEnd_[place]));
        first = sidesEnd_[place];
    }
}

} // namespace ctr
