// Surfaces of triangles: cleaning, repair, feature edges.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxOutlineMetadata.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ctr {

/// The numbers of triangles that were dropped, by kind of fault.
struct DroppedTriangles {
    std::size_t badIndex = 0;   ///< An index out of range.
    std::size_t notFinite = 0;  ///< A coordinate that is infinite or NaN.
    std::size_t degenerate = 0; ///< Two equal corners, or all three on one line.

    /// The sum of all.
    std::size_t total() const { return badIndex + notFinite + degenerate; }
};

/// Removes in place the triangles with an index out of range, a coordinate that is not finite or
/// zero area, keeping the order of the others. An incomplete last triangle is removed, too, but not
/// counted. The remaining triangles are called clean.
///
/// Zero area is decided in doubles; the differences of positions are exact unless coordinates of
/// one triangle differ by a factor of 2^29. Vertices without position channels do not count. Linear
/// time.
CTR_EXPORT DroppedTriangles CleanTriangles(const kx::kxVertexBuffer& vertices,
                                           kx::kxIndexBuffer& triangles);

/// Which cracks of a surface are closed, see Surface::repair().
struct Welding {
    /// How the distance is chosen.
    enum class Mode : std::uint8_t {
        Automatic, ///< Cracks narrower than a distance chosen for the surface.
        Off,       ///< None: only exactly equal positions are welded.
        Distance,  ///< Cracks up to `distance` wide.
    };

    Mode mode = Mode::Automatic; ///< By default, chosen for the surface.
    /// For Mode::Distance, in the coordinates of the vertices. A value that is not positive and
    /// finite closes nothing.
    double distance = 0.0;
};

/// The faults found on a surface and repaired. An open edge (boundary edge) belongs to one face.
struct SurfaceReport {
    std::size_t edges = 0;     ///< Edges after the repair.
    std::size_t openEdges = 0; ///< Boundary edges (of one face) after the repair.
    std::size_t nonManifoldEdges =
        0; ///< Non-manifold edges (of more than two faces) after the repair.
    /// Open edges beside another open edge that were not joined: the two are mutually nearest, at a
    /// distance far below their lengths, like the rims of a crack that is wider than the welding
    /// distance. Intended boundaries have nothing beside them. 0 without welding.
    std::size_t nearEdges = 0;
    std::size_t joinedEdges = 0;  ///< Pairs of open edges that became one edge.
    std::size_t splitEdges = 0;   ///< Open edges that were split at T-junctions.
    std::size_t doubledFaces = 0; ///< Duplicates of earlier triangles, removed.
    double widestGap = 0.0;       ///< Widest gap closed, in the coordinates of the vertices.
    double widestNear = 0.0;      ///< Widest gap between near edges, likewise.
};

/// The surface of the triangles in two buffers.
///
/// Edges are matched by the exact positions of their ends (-0 equals 0), whether or not triangles
/// share vertices. Triangles that are not clean, see CleanTriangles(), are ignored. The buffers are
/// shared and never written to: changes go into new buffers. Positions and indices must not change
/// during the object's lifetime. A surface is used by one thread at a time; different surfaces may
/// share buffers. Throws nothing but std::bad_alloc.
class CTR_EXPORT Surface {
public:
    /// A null buffer, or vertices without position channels, give a surface without triangles.
    /// Linear time.
    Surface(const kx::kxPointer<kx::kxVertexBuffer>& vertices,
            const kx::kxPointer<kx::kxIndexBuffer>& triangles);
    ~Surface();
    /// A moved-from surface may only be assigned to or destroyed.
    Surface(Surface&& other) noexcept;
    Surface& operator=(Surface&& other) noexcept; ///< Likewise.

    /// Repairs the surface: removes duplicate faces, stitches cracks, and splits open edges at
    /// T-junctions, where corners of other open edges lie on them.
    ///
    /// Two open edges are stitched if they are mutually nearest, their ends are within the distance
    /// of each other, which is also well below their lengths and the heights of their triangles,
    /// and their triangles do not fold back onto each other like the front and back of a thin part.
    /// No vertex moves farther than the distance, and no triangle turns by 90 degrees or more. The
    /// automatic distance is 2e-4 of the diagonal of the surface's bounding box, more if
    /// coordinates are too coarse for that, and up to 5e-4 of the diagonal on a surface with cracks
    /// everywhere. Repairing a closed surface without duplicate faces changes nothing, nor does
    /// repairing a surface again, unless gaps are about as wide as the distance.
    ///
    /// Vertices keep their indices; those added by splitting follow them, with interpolated normals
    /// if there are normals. Each is at the position of another vertex, so no position is new. If
    /// memory runs out, the surface is unchanged. O(n log n) in the number of triangles per round,
    /// with few rounds, at most 32.
    ///
    /// Related: Barequet and Sharir, "Filling gaps in the boundary of a polyhedron" (1995), on
    /// pairing borders; Guéziec, Taubin, Lazarus and Horn, "Cutting and stitching: converting sets
    /// of polygons to manifold surfaces" (2001).
    SurfaceReport repair(const Welding& welding);

    /// The edges whose faces meet at more than an angle, the open edges, and the edges of three or
    /// more faces, each once: a line list over vertices(), for kx::kxTriMesh::AddMetadata.
    ///
    /// The angle is that between the normals of the two faces (180 degrees minus the dihedral
    /// angle): 0 on a plane, 90 at the edge of a cube. Angles up to 0.01 degrees above the limit
    /// are not listed, since positions are rounded. angleInDegrees is clamped to 0 to 180. Angles
    /// are measured in world space, whose axes are given by the upper three rows of toWorld (row
    /// vectors); vertex normals and the winding of triangles are irrelevant. Faces that coincide on
    /// one side of an edge within 0.1 degrees count as one, so that an edge inside flush faces of
    /// overlapping parts is not listed.
    ///
    /// A line refers to the vertex with the lowest index at each of its ends, so lines that meet
    /// share a vertex. Lines are sorted by the positions of their ends (x, then y, then z); the
    /// result depends on nothing else. Never null; an outline without lines if there are none.
    /// O(n log n).
    kx::kxPointer<kx::kxOutlineMetadata>
    featureEdges(double angleInDegrees,
                 const Wm4::Matrix4<double>& toWorld = Wm4::Matrix4<double>(false)) const;

    /// The vertex buffer: the given one, or the one that replaced it.
    const kx::kxPointer<kx::kxVertexBuffer>& vertices() const;
    /// The index buffer, likewise.
    const kx::kxPointer<kx::kxIndexBuffer>& triangles() const;

private:
    struct CTR_LOCAL tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace ctr
