// The sides of a mesh's triangles, grouped into edges.
#pragma once

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// One side of a triangle: the higher place of its ends, and the corner it starts from, counted
/// through the index buffer.
struct Side {
    std::uint32_t farPlace;
    std::uint32_t corner;

    bool operator<(const Side& other) const {
        return farPlace != other.farPlace ? farPlace < other.farPlace : corner < other.corner;
    }
};

/// The corner that comes after a corner in its triangle.
inline std::uint32_t NextCorner(std::uint32_t corner) {
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

/// Groups the sides of all triangles by the exact positions of their ends (-0 equals 0), so it does
/// not matter whether triangles share vertices. A place is the number of the first vertex with its
/// position. Linear time while few sides meet in one place; 8 bytes per side and 8 per vertex.
///
/// Triangles must be clean, see CleanTriangles(). Both buffers must outlive the object.
class Sides {
public:
    Sides(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles);

    /// Vertices, used or not; places are below it.
    std::size_t vertexCount() const { return places_.size(); }
    std::uint32_t cornerCount() const { return static_cast<std::uint32_t>(sides_.size()); }

    std::uint32_t placeOf(std::uint32_t vertex) const { return places_[vertex]; }
    std::uint32_t placeAt(std::uint32_t corner) const { return places_[indices_[corner]]; }
    const Wm4::Vector3<float>& position(std::uint32_t place) const {
        return vertices_.Position3(static_cast<int>(place));
    }
    /// The place of the corner that the side does not touch.
    std::uint32_t oppositePlace(const Side& side) const {
        return placeAt(NextCorner(NextCorner(side.corner)));
    }
    bool isForward(const Side& side) const {
        return placeAt(side.corner) < placeAt(NextCorner(side.corner));
    }

    /// Calls visit(first, end) with the sides of every edge, in the order of its lower place and
    /// then its higher one; the sides of an edge come in the order of their corners.
    template <class Visitor> void forEachEdge(const Visitor& visit) const {
        const Side* const all = sides_.data();
        for (std::size_t first = 0, place = 0; first < sides_.size();) {
            while (first >= sidesEnd_[place]) {
                ++place;
            }
            std::size_t next = first + 1;
            while (next < sidesEnd_[place] && all[next].farPlace == all[first].farPlace) {
                ++next;
            }
            visit(all + first, all + next);
            first = next;
        }
    }

private:
    std::uint32_t nearPlace(std::uint32_t corner) const;
    void gather();

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    std::vector<std::uint32_t> places_; ///< Of each vertex.
    std::vector<Side> sides_;
    std::vector<std::uint32_t> sidesEnd_; ///< Where the sides of each lower place end.
};

} // namespace ctr
