// Triangles as one surface: what is wrong with it, its repair, its feature edges.
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

/// How many triangles were left out, by what is wrong with them.
struct DroppedTriangles {
    std::size_t badIndex = 0;   ///< A corner that is not among the vertices.
    std::size_t notFinite = 0;  ///< A corner with a coordinate that is infinite or not a number.
    std::size_t degenerate = 0; ///< Two corners at one place, or all three on one line.

    /// The sum of all.
    std::size_t total() const { return badIndex + notFinite + degenerate; }
};

/// Drops the triangles that no line can be drawn from, in place and keeping the order of the
/// others. An incomplete last triangle goes too, without being counted.
///
/// Whether a triangle has an area is decided in doubles; the differences of its positions are exact
/// unless coordinates of one triangle differ by a factor of 2^29. Vertices without position
/// channels count as none. Linear time; what is left is called clean.
CTR_EXPORT DroppedTriangles CleanTriangles(const kx::kxVertexBuffer& vertices,
                                           kx::kxIndexBuffer& triangles);

/// Which cracks of a surface are closed, see Surface::repair().
struct Welding {
    /// How it is decided.
    enum class Mode : std::uint8_t {
        Automatic, ///< Those narrower than a distance that is chosen for the surface.
        Off,       ///< None: only exactly equal positions are one place.
        Distance,  ///< Those up to `distance` wide.
    };

    Mode mode = Mode::Automatic; ///< By default, the surface decides.
    /// For Mode::Distance, in the coordinates of the vertices. One that is not over 0, or not
    /// finite, closes nothing.
    double distance = 0.0;
};

/// What is found on a surface and done to it. An open edge (boundary edge) belongs to one face.
struct SurfaceReport {
    std::size_t edges = 0;        ///< Different edges afterwards.
    std::size_t openEdges = 0;    ///< Of one face, afterwards.
    std::size_t crowdedEdges = 0; ///< Of more than two faces (non-manifold), afterwards.
    /// Open edges beside another open one that were not joined: each is the nearest of the other
    /// and lies far below its own length away, as the rims of a crack do that is wider than what
    /// was to be joined. Borders that are meant have nothing beside them. 0 without welding.
    std::size_t nearEdges = 0;
    std::size_t joinedEdges = 0;  ///< Pairs of open edges that became one edge.
    std::size_t splitEdges = 0;   ///< Open edges that were split at corners of others.
    std::size_t doubledFaces = 0; ///< Triangles with the corners of an earlier one, dropped.
    double widestGap = 0.0;       ///< That was closed, in the coordinates of the vertices.
    double widestNear = 0.0;      ///< Between near edges, likewise.
};

/// The surface that the triangles of two buffers make.
///
/// Edges are matched by the exact positions of their ends (-0 equals 0), so it does not matter
/// whether triangles share vertices. Triangles that are not clean, see CleanTriangles(), do not
/// belong to it. The buffers are shared and never written to: whatever changes goes into new ones.
/// Nobody may change positions or indices during the object's life. One thread uses a surface at a
/// time; different surfaces may share buffers. Nothing but std::bad_alloc is thrown.
class CTR_EXPORT Surface {
public:
    /// A null buffer, or vertices without position channels, make a surface without triangles.
    /// Linear time.
    Surface(const kx::kxPointer<kx::kxVertexBuffer>& vertices,
            const kx::kxPointer<kx::kxIndexBuffer>& triangles);
    ~Surface();
    /// A surface that was moved from may only be assigned to or destroyed.
    Surface(Surface&& other) noexcept;
    Surface& operator=(Surface&& other) noexcept; ///< Likewise.

    /// Makes the surface whole: drops faces that are given twice, stitches cracks, and splits open
    /// edges at T-junctions, where corners of other open edges lie on them.
    ///
    /// Two open edges are stitched where each is the other's nearest, their ends lie within the
    /// distance of each other, which is also well below their lengths and the heights of their
    /// triangles, and their triangles do not fold back onto each other as the front and back of
    /// something thin do. Nothing moves farther than the distance, and no triangle turns by a right
    /// angle or more. The automatic distance is 2e-4 of the diagonal of the surface's bounding box,
    /// or more where coordinates are too coarse for that; it is up to 5e-4 of the diagonal on a
    /// surface that is cracked all over. Repairing a surface that is closed and has no doubled
    /// faces changes nothing, and neither does repairing one again, unless gaps are about as wide
    /// as the distance.
    ///
    /// Vertices keep their numbers; those that splitting adds come after them, with interpolated
    /// normals where there are normals. Each lies where another vertex is, so no position is new.
    /// When memory runs out, the surface stays as it was. O(n log n) in the number of triangles for
    /// each of a few rounds, 32 at most.
    ///
    /// Related: Barequet and Sharir, "Filling gaps in the boundary of a polyhedron" (1995), on
    /// pairing borders; Guéziec, Taubin, Lazarus and Horn, "Cutting and stitching: converting sets
    /// of polygons to manifold surfaces" (2001).
    SurfaceReport repair(const Welding& welding);

    /// The edges at which the surface bends by more than an angle, its open edges, and edges of
    /// three or more faces, each once: a line list over vertices(), for kx::kxTriMesh::AddMetadata.
    ///
    /// The bend is the angle between the normals of the two faces (180 degrees less the dihedral
    /// angle): 0 on a plane, 90 at the edge of a cube. A hundredth of a degree over the angle
    /// counts as the angle, since positions are rounded. angleInDegrees is taken as 0 below that
    /// and as 180 above. It is measured in the world, whose axes the upper three rows of toWorld
    /// give (row vectors); vertex normals do not matter, nor does the winding of triangles. Faces
    /// that lie on each other on one side of an edge, to a tenth of a degree, count as one: an edge
    /// that runs through flush faces of overlapping parts is none.
    ///
    /// A line names the vertex with the lowest number at each of its ends, so lines that meet share
    /// a vertex. Lines come in the order of the positions of their ends (x, then y, then z); equal
    /// input gives equal output. Never null; without lines where there are none. O(n log n).
    kx::kxPointer<kx::kxOutlineMetadata>
    featureEdges(double angleInDegrees,
                 const Wm4::Matrix4<double>& toWorld = Wm4::Matrix4<double>(false)) const;

    /// The buffer that was given, or the one that has taken its place.
    const kx::kxPointer<kx::kxVertexBuffer>& vertices() const;
    /// The same for the triangles.
    const kx::kxPointer<kx::kxIndexBuffer>& triangles() const;

private:
    struct CTR_LOCAL tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace ctr
