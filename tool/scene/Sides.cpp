// Numbers the positions by a hash table, then gathers the sides of all triangles at the lower
// number of their ends and sorts them there by the higher one, so that those of one edge stand side
// by side. Gathering is a counting sort: with a few sides at each place, all of it is linear.
#include "scene/Sides.h"

#include <algorithm>
#include <numeric>

namespace kxcontour {

Sides::Sides(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles)
    : indices_(triangles.GetData()), places_(vertices),
      sides_(static_cast<std::size_t>(triangles.GetIndexQuantity() / 3 * 3)) {
    gather();
}

std::uint32_t Sides::nearPlace(std::uint32_t corner) const {
    return std::min(placeAt(corner), placeAt(NextCorner(corner)));
}

void Sides::gather() {
    sidesEnd_.assign(places_.count() + 1, 0);
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
    for (std::size_t place = 0; place < places_.count(); ++place) {
        std::sort(sides_.begin() + static_cast<std::ptrdiff_t>(first),
                  sides_.begin() + static_cast<std::ptrdiff_t>(sidesEnd_[place]));
        first = sidesEnd_[place];
    }
}

} // namespace kxcontour
