// Triangles on the integer grid, with exact planes and a bounding-volume hierarchy.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/Export.h>
#include <ctr/IntervalTools.h>

#include <Wm4Foundation.h>
#include <kxCommonAddOns/kxGenericBVH.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxBBox.h>
#include <kxSystem/kxProgressNotifierInterface.h>

#include <cstdint>
#include <list>
#include <vector>

namespace ctr {

class LineSegmentSet;

/// The occluders of a drawing: the triangles of a list of meshes, clipped to the view, quantised,
/// all stored counter-clockwise on screen.
///
/// After initialize(), all computation is in integers: coordinates have 32 bits, side values and
/// plane distances 64, and fractions are compared in 128. Meshes and the projection space are
/// borrowed and must outlive the object.
///
/// A caller that modifies the data members must keep them consistent and then call
/// computeBakedBVHBBox(0), which updates the boxes and invalidates everything derived from the old
/// data. Assigning, moving and swapping whole objects need no such call. Occlusion queries rely on
/// the boxes: parts of triangles outside of their box are not found. Without trianglePlanes the
/// object has no triangles: nothing is occluded and no edge is found.
class CTR_EXPORT BakedTriangles {
public:
    /// Counts the changes of one object; it never decreases. A copy counts its own changes: a new
    /// one starts at 0, and being assigned to or moved from is a change.
    class ChangeCount {
    public:
        ChangeCount() = default;
        ChangeCount(const ChangeCount& /*other*/) {}           ///< Starts at 0.
        ChangeCount(ChangeCount&& other) noexcept { ++other; } ///< A change of the other object.
        ~ChangeCount() = default;
        /// One more change of this object.
        ChangeCount& operator=(const ChangeCount& /*other*/) { return ++*this; }
        /// One more change of either object.
        ChangeCount& operator=(ChangeCount&& other) noexcept {
            ++other;
            return ++*this;
        }
        /// One more change.
        ChangeCount& operator++() {
            ++changes_;
            return *this;
        }

        operator std::uint64_t() const { return changes_; } ///< The number of changes.

    private:
        std::uint64_t changes_ = 0;
    };

    /// The part of one triangle that is inside the view, in clip space.
    struct ClippedPolygon {
        Wm4::Vector4<float>* vertices; ///< Array new; owned until the second pass frees it.
        std::uint32_t vertexCount;     ///< Three to nine.
        std::uint32_t sourceTriangle;  ///< Index of the triangle in its mesh.
        std::uint32_t edgeCodes;       ///< As returned by clipTriangle().
    };

    /// Results of the first pass, from which the second allocates each array once.
    struct CTR_EXPORT tFirstPassData {
        tFirstPassData() = default;
        tFirstPassData(const tFirstPassData&) = delete;
        tFirstPassData& operator=(const tFirstPassData&) = delete;
        ~tFirstPassData();

        /// Frees all memory and resets the counts.
        void release();

        std::uint32_t vertexCount = 0;   ///< Of the meshes, plus those added by clipping.
        std::uint32_t triangleCount = 0; ///< Upper bound; edge-on triangles are dropped later.
        std::vector<std::list<ClippedPolygon>> clippedPolygons; ///< One list per mesh.
        /// One bit set per mesh (array new, 32-bit words): the triangles entirely inside the view.
        std::vector<unsigned int*> insideTriangles;
    };

    /// The limit of the number of vertices of all meshes; a shared buffer counts once per mesh.
    /// Vertex indices have 31 bits, a few values of which are reserved.
    static constexpr std::uint64_t kMaxVertices = (std::uint64_t{1} << 31) - 129;
    /// The limit of the number of triangles in view, including those made by clipping.
    static constexpr std::uint64_t kMaxTriangles = std::uint64_t{1} << 30;

    /// Copies the list; the meshes are borrowed. Null entries, and geometry other than triangle
    /// meshes, are allowed and skipped.
    void setMeshes(const std::vector<const kx::kxTriMesh*>& newMeshes);
    /// The camera and grid to bake with; borrowed.
    void setProjectionSpace(const DiscreteProjectionSpace* space);

    /// Sets the contact tolerance in grid steps; the default is 0, no tolerance.
    ///
    /// A line within the tolerance of a triangle's plane is not occluded by the triangle, and two
    /// triangles within the tolerance of each other do not intersect. Vertices are rounded to the
    /// grid individually, so coplanar faces are no longer coplanar there: without a tolerance,
    /// rounding decides which of them occludes the edges of the other. With 2 steps, an edge that
    /// lies in a face is visible, and coplanar faces give no lines. Values are limited to a quarter
    /// of the grid's extent along its shortest axis.
    void setContactTolerance(unsigned int steps);

    /// Bakes the meshes; call both setters first. May be called again.
    ///
    /// Triangles that are outside the view or edge-on, have a coordinate that is not finite or an
    /// index out of range are left out. Throws std::length_error for more than kMaxVertices or
    /// kMaxTriangles; after an exception nothing is baked. O(n log n) in the number of triangles.
    void initialize();

    /// As above, with progress and cancellation; returns false if cancelled, with nothing baked.
    ///
    /// Makes one run of the notifier, which is borrowed: sets its total and ends exactly there.
    /// Steps take about equal time. Polls for cancellation about once per millisecond.
    bool initialize(kx::kxProgressNotifierInterface& notifier);

    /// The counting and clipping pass of initialize(), into a record of the caller. Throws
    /// std::length_error as initialize() does. Linear time.
    void initializeFirstPass(tFirstPassData& data) const;

    /// Recomputes the boxes of the subtree of a node in grid coordinates; returns the number of its
    /// nodes, 0 for a node that does not exist. Linear in the number of triangles below.
    unsigned int computeBakedBVHBBox(unsigned int node);

    /// Empties the results of initialize(), except clippedTriangleOrigins, and keeps the memory.
    void clearData();

    /// Whether the arrays are consistent, as after initialize(): for hosts that modify them, in
    /// debug builds, as in assert(baked.validate()).
    ///
    /// True if there is one plane per triangle, with a negative z component; if triangles refer to
    /// existing vertices; if the ranges of meshes that take part ascend to the totals; and if the
    /// children and slots of the hierarchy exist, every node is reached once, every triangle is in
    /// exactly one leaf, and every box contains its contents. An empty object is valid. O(n) in the
    /// number of triangles; the meshes must be alive.
    bool validate() const;

    /// A mesh in world space with one vertex per baked vertex and one triangle per baked triangle,
    /// for inspection. The caller owns it. Throws std::length_error if the number of vertices or
    /// indices exceeds an int. Linear time.
    kx::kxTriMesh* computeBakedMesh() const;

    /// Appends the occluded intervals of the grid segment a -> b: one range per occluding triangle,
    /// unsorted, possibly overlapping, with parameter 0 at a and 1 at b. Fractions are not reduced:
    /// the range of an entirely occluded segment may end at 7/7. (The generator writes 0/1 .. 1/1.)
    ///
    /// A part is occluded if it is strictly behind a triangle's plane and inside its outline over
    /// more than a point, so no triangle occludes lines that it contains. With a contact tolerance
    /// of k, such a part is occluded only if some of it has a plane value below
    /// -k (|nx| + |ny| + |nz|), where n is the triangle's normal. Exact. O(log n + m) for m
    /// triangles in the leaves that the segment's box overlaps. Any number of threads may call this
    /// at once.
    void computeOcclusionIntervals(const BakedVertex& a,
                                   const BakedVertex& b,
                                   std::vector<RationalInterval>& intervals) const;

    /// As above, for the subtree of a node; box is the bounding box of a and b.
    void computeOcclusionIntervalsIter(unsigned int node,
                                       const BakedVertex& a,
                                       const BakedVertex& b,
                                       const kx::kxBBox& box,
                                       std::vector<RationalInterval>& intervals) const;

    /// The edges of each mesh at which the projected surface folds over or ends: those along which
    /// all adjacent triangles run in one direction.
    ///
    /// sets must be empty; it receives one entry per mesh, null for a mesh without silhouette
    /// edges, otherwise a new set owned by the caller whose segments index the vertices of the
    /// mesh. Returns false for a vector that is not empty (left unchanged) and if nothing was baked
    /// (null entries). O(n log n) in the number of triangles.
    bool computeSilhouetteEdges(std::vector<LineSegmentSet*>& sets) const;

    const DiscreteProjectionSpace* projectionSpace = nullptr; ///< As set; borrowed.
    std::vector<const kx::kxTriMesh*> meshes;                 ///< As set; borrowed.
    /// Per mesh: its own vertices in order, then those made by clipping. A vertex outside the view
    /// is (2^28, 2^28, 2^28), and no triangle uses it.
    std::vector<BakedVertex> vertices;
    /// Three per triangle. Per mesh: first the unclipped triangles in order, then the clipped ones.
    std::vector<unsigned int> triangleIndices;
    /// (P2 - P0) x (P1 - P0) of each triangle; the z component is negative, towards the eye.
    std::vector<Wm4::Vector3<std::int64_t>> trianglePlanes;
    std::vector<unsigned int> meshFirstVertex;   ///< One per mesh, then the total.
    std::vector<unsigned int> meshFirstTriangle; ///< One per mesh, then the total.
    /// One word per clipped triangle of each mesh. Bits 0-25: the index of its triangle in the
    /// mesh. Bits 26-31: three pairs, pair k for the edge that ends at vertex k, coded as by
    /// clipTriangle().
    std::vector<std::vector<unsigned int>> clippedTriangleOrigins;
    kx::kxGenericBVH bvh;              ///< Over the triangles, with boxes in grid coordinates.
    unsigned int contactTolerance = 0; ///< As set, in grid steps.
    /// Counts assignments and the calls of initialize(), clearData(), computeBakedBVHBBox() and
    /// setContactTolerance(): results derived before the last of these are stale.
    ChangeCount bakeCount;
};

} // namespace ctr
