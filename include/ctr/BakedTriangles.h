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
/// After initialize() every question is answered in integers: coordinates in 32 bits, side values
/// and plane distances in 64, fractions compared in 128. Meshes and the projection space are
/// borrowed and have to outlive the object.
///
/// A caller that changes the data members itself has to keep them consistent with each other, and
/// calls computeBakedBVHBBox(0) afterwards: it brings the boxes up to date and invalidates what was
/// derived from the old data. Assigning, moving and swapping whole objects need no such call.
/// Occlusion queries follow the boxes as they are: what a box does not contain, it cuts off.
/// Without trianglePlanes the object holds no triangle: nothing is hidden, and no edge is found.
class CTR_EXPORT BakedTriangles {
public:
    /// Counts the changes of one object and never runs backwards. Copies count for themselves: a
    /// new one starts at 0, and being assigned to or moved from is a change.
    class ChangeCount {
    public:
        ChangeCount() = default;
        ChangeCount(const ChangeCount& /*other*/) {}           ///< Starts at 0.
        ChangeCount(ChangeCount&& other) noexcept { ++other; } ///< The other one has changed.
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

        operator std::uint64_t() const { return changes_; } ///< How many there were.

    private:
        std::uint64_t changes_ = 0;
    };

    /// What clipping left of one triangle, in clip space.
    struct ClippedPolygon {
        Wm4::Vector4<float>* vertices; ///< Array new; owned until the second pass frees it.
        std::uint32_t vertexCount;     ///< Three to nine.
        std::uint32_t sourceTriangle;  ///< Number of the triangle in its mesh.
        std::uint32_t edgeCodes;       ///< As clipTriangle() reports them.
    };

    /// What the first pass counts and clips, so that the second allocates every array once.
    struct CTR_EXPORT tFirstPassData {
        tFirstPassData() = default;
        tFirstPassData(const tFirstPassData&) = delete;
        tFirstPassData& operator=(const tFirstPassData&) = delete;
        ~tFirstPassData();

        /// Frees what is held and counts from zero again.
        void release();

        std::uint32_t vertexCount = 0;   ///< Those of the meshes, and those that clipping makes.
        std::uint32_t triangleCount = 0; ///< At most; triangles seen edge-on are dropped later.
        std::vector<std::list<ClippedPolygon>> clippedPolygons; ///< One list a mesh.
        /// One bit set a mesh (array new, 32-bit words): the triangles wholly inside the view.
        std::vector<unsigned int*> insideTriangles;
    };

    /// How many vertices meshes may have in all, those of a shared buffer counted as often as
    /// meshes place it: their numbers have 31 bits, less some room.
    static constexpr std::uint64_t kMaxVertices = (std::uint64_t{1} << 31) - 129;
    /// How many triangles may be in view, those that clipping makes among them.
    static constexpr std::uint64_t kMaxTriangles = std::uint64_t{1} << 30;

    /// Null entries, and geometry other than triangle meshes, are allowed and skipped.
    void setMeshes(const std::vector<const kx::kxTriMesh*>& newMeshes);
    /// The camera and grid to bake with; borrowed.
    void setProjectionSpace(const DiscreteProjectionSpace* space);

    /// Sets the contact tolerance in grid steps; 0, the default, is none.
    ///
    /// A line within the tolerance of a triangle's plane is not hidden by the triangle, and two
    /// triangles within it of each other do not intersect. Every corner is rounded to the grid
    /// separately, so coplanar faces are no longer coplanar there: without a tolerance, rounding
    /// decides which of them hides the edges of the other. With 2 steps, an edge that lies in a
    /// face is visible, and coplanar faces give no lines. Values above a quarter of the grid's
    /// extent along its shortest axis count as that quarter.
    void setContactTolerance(unsigned int steps);

    /// Bakes the meshes; both setters have to have been called. May be called again.
    ///
    /// Triangles outside the view, seen edge-on, with a coordinate that is not finite or with
    /// vertices that do not exist are left out. An exception leaves nothing baked:
    /// std::length_error for more than kMaxVertices or kMaxTriangles. O(n log n) in the number of
    /// triangles.
    void initialize();

    /// The same with progress and cancellation; false when cancelled, with nothing baked.
    ///
    /// One run of the notifier, which is borrowed: its total is set, and a finished run ends
    /// exactly there. Steps take about the same time each. It is asked about once per millisecond.
    bool initialize(kx::kxProgressNotifierInterface& notifier);

    /// The counting and clipping pass of initialize().
    void initializeFirstPass(tFirstPassData& data) const;

    /// Recomputes the boxes of the tree below a node in grid coordinates; returns how many nodes,
    /// 0 for a node that does not exist.
    unsigned int computeBakedBVHBBox(unsigned int node);

    /// Empties what initialize() made, except clippedTriangleOrigins, and keeps the memory.
    void clearData();

    /// Whether the arrays fit each other, as initialize() leaves them: for hosts that change them
    /// by themselves, in debug builds, as in assert(baked.validate()).
    ///
    /// True when there is one plane per triangle, its z component negative; when triangles name
    /// vertices that exist; when the ranges of meshes that take part ascend to the totals; when the
    /// children and slots of the hierarchy exist, every node is met once and every triangle is in
    /// exactly one leaf, and every box contains what is below it. An object that holds nothing is
    /// valid. O(n) in the number of triangles; the meshes have to be alive.
    bool validate() const;

    /// A mesh in world space with one vertex a baked vertex and one triangle a baked triangle, for
    /// inspection. The caller owns it.
    kx::kxTriMesh* computeBakedMesh() const;

    /// Appends the parts of the grid segment a -> b that some triangle hides: one range for each
    /// hiding triangle, unsorted, overlapping, parameter 0 at a and 1 at b. Fractions are as they
    /// come out, not reduced: what is hidden as a whole may end at 7/7. (The generator writes
    /// 0/1 .. 1/1 for that.)
    ///
    /// Only what lies strictly behind a triangle's plane and within its outline over more than a
    /// point is hidden, so nothing is hidden by triangles that contain it. With a contact tolerance
    /// of k, such a part is hidden only if some of it is at a plane value below
    /// -k (|nx| + |ny| + |nz|), n being the triangle's normal. Exact. Safe to call from any number
    /// of threads at once.
    void computeOcclusionIntervals(const BakedVertex& a,
                                   const BakedVertex& b,
                                   std::vector<RationalInterval>& intervals) const;

    /// The same for the subtree below a node; box is the bounding box of a and b.
    void computeOcclusionIntervalsIter(unsigned int node,
                                       const BakedVertex& a,
                                       const BakedVertex& b,
                                       const kx::kxBBox& box,
                                       std::vector<RationalInterval>& intervals) const;

    /// The edges of each mesh along which the projected surface folds over or ends: those whose
    /// triangles all run along them in one direction.
    ///
    /// sets has to be empty; it gets one entry a mesh, null for a mesh without silhouette edges,
    /// else a new set owned by the caller whose segments index the mesh's own vertices. Returns
    /// false for a vector that is not empty (left alone) and when nothing was baked (null entries).
    /// O(n log n) in the number of triangles.
    bool computeSilhouetteEdges(std::vector<LineSegmentSet*>& sets) const;

    const DiscreteProjectionSpace* projectionSpace = nullptr; ///< As set; borrowed.
    std::vector<const kx::kxTriMesh*> meshes;                 ///< As set; borrowed.
    /// Mesh by mesh: its own vertices in order, then those that clipping made. A vertex outside
    /// the view is (2^28, 2^28, 2^28) and no triangle uses it.
    std::vector<BakedVertex> vertices;
    /// Three a triangle, mesh by mesh: first the whole triangles in order, then the clipped ones.
    std::vector<unsigned int> triangleIndices;
    /// (P2 - P0) x (P1 - P0) of each triangle; the z component is negative: it faces the eye.
    std::vector<Wm4::Vector3<std::int64_t>> trianglePlanes;
    std::vector<unsigned int> meshFirstVertex;   ///< One a mesh, and the total.
    std::vector<unsigned int> meshFirstTriangle; ///< One a mesh, and the total.
    /// One word for each clipped triangle of a mesh. Bits 0-25: its triangle's number in the mesh.
    /// Bits 26-31: three pairs, pair k for the edge that ends at vertex k, coded like
    /// clipTriangle().
    std::vector<std::vector<unsigned int>> clippedTriangleOrigins;
    kx::kxGenericBVH bvh;              ///< Over the triangles, with boxes in grid coordinates.
    unsigned int contactTolerance = 0; ///< As set, in grid steps.
    /// Counts assignments and the calls of initialize(), clearData(), computeBakedBVHBBox() and
    /// setContactTolerance(): what was derived before the last one is stale.
    ChangeCount bakeCount;
};

} // namespace ctr
