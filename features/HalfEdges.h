// The half-edges of a mesh, grouped into edges.
#pragma once

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {

/// One side of a triangle: the larger point of its ends, and the corner it starts from, an index
/// into the index buffer.
struct HalfEdge {
    std::uint32_t farPoint;
    std::uint32_t corner;

    bool operator<(const HalfEdge& other) const {
        return farPoint != other.farPoint ? farPoint < other.farPoint : corner < other.corner;
    }
};

/// The next corner of the same triangle.
inline std::uint32_t NextCorner(std::uint32_t corner) {
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

/// Groups the half-edges of all triangles by the exact positions of their ends (-0 equals 0),
/// whether or not triangles share vertices. A point is a welded position; its index is that of the
/// first vertex there (see WeldPositions()). Linear time while few half-edges meet at a point; 8
/// bytes per half-edge and 8 per vertex.
///
/// Triangles must be clean, see CleanTriangles(). Both buffers must outlive the object.
class HalfEdges {
public:
    HalfEdges(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles);

    /// The number of vertices, used or not; points are below it.
    std::size_t vertexCount() const { return points_.size(); }
    std::uint32_t cornerCount() const { return static_cast<std::uint32_t>(halfEdges_.size()); }

    std::uint32_t pointOf(std::uint32_t vertex) const { return points_[vertex]; }
    std::uint32_t pointAt(std::uint32_t corner) const { return points_[indices_[corner]]; }
    const Wm4::Vector3<float>& position(std::uint32_t point) const {
        return vertices_.Position3(static_cast<int>(point));
    }
    /// The point of the opposite corner of the triangle.
    std::uint32_t oppositePoint(const HalfEdge& side) const {
        return pointAt(NextCorner(NextCorner(side.corner)));
    }
    bool isForward(const HalfEdge& side) const {
        return pointAt(side.corner) < pointAt(NextCorner(side.corner));
    }

    /// Calls visit(first, end) with the half-edges of each edge, in the order of its smaller point
    /// and then its larger one; the half-edges of an edge come in the order of their corners.
    template <class Visitor> void forEachEdge(const Visitor& visit) const {
        const HalfEdge* const all = halfEdges_.data();
        for (std::size_t first = 0, point = 0; first < halfEdges_.size();) {
            while (first >= bucketEnds_[point]) {
                ++point;
            }
            std::size_t next = first + 1;
            while (next < bucketEnds_[point] && all[next].farPoint == all[first].farPoint) {
                ++next;
            }
            visit(all + first, all + next);
            first = next;
        }
    }

private:
    std::uint32_t nearPoint(std::uint32_t corner) const;
    void gather();

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    std::vector<std::uint32_t> points_; ///< Of each vertex.
    std::vector<HalfEdge> halfEdges_;
    std::vector<std::uint32_t> bucketEnds_; ///< End of the half-edges of each smaller point.
};

} // namespace ctr
