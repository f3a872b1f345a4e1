// From meshes and a camera to feature lines with their occluded intervals.
#pragma once

#include <ctr/BakedTriangles.h>
#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/Export.h>
#include <ctr/LineSegmentSet.h>

#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>
#include <kxSystem/kxProgressNotifierInterface.h>

#include <memory>
#include <vector>

/// The library: line drawings of triangle meshes.
namespace ctr {

/// The lines of one drawing. A field is null if there are no such lines or the run was cancelled.
struct GeometricFeatures {
    kx::kxPointer<LineSegmentSet>
        creaseEdges; ///< Creases or given feature edges, with occluded intervals.
    kx::kxPointer<LineSegmentSet> silhouetteEdges;   ///< With occluded intervals.
    kx::kxPointer<LineSegmentSet> intersectionEdges; ///< Pieces that no exported mesh occludes.
};

/// The lines of one mesh in world space, with occluded intervals; null if it has none.
struct MeshFeatures {
    kx::kxPointer<LineSegmentSet> silhouetteEdges; ///< Where the surface folds over or ends.
    kx::kxPointer<LineSegmentSet> creaseEdges;     ///< Without those that are silhouettes.
};

/// The lines of one drawing, per mesh.
struct FeaturesByMesh {
    std::vector<MeshFeatures> meshes;                      ///< One per exported mesh.
    kx::kxPointer<LineSegmentSet> intersectionEdges;       ///< Visible pieces.
    kx::kxPointer<LineSegmentSet> hiddenIntersectionEdges; ///< Hidden pieces, if requested.
};

/// Which lines are computed.
struct FeatureChoice {
    bool silhouettes = true;          ///< Of each mesh.
    bool creases = true;              ///< All creases if silhouettes are not computed.
    bool intersections = true;        ///< Of all meshes together.
    bool hiddenIntersections = false; ///< The hidden parts of other lines are known anyway.
};

/// Computes the feature lines of a list of meshes and their occluded intervals.
///
/// Call setProjectionSpace(), optionally setProgressNotifier(), then setSingleExportCluster(), then
/// computeGeometricFeatures() any number of times; for a new camera, start again. Meshes are
/// borrowed and must stay alive and unchanged until the last call has returned. A generator is used
/// by one thread at a time; several generators may draw the same meshes at once.
class CTR_EXPORT GeometricFeaturesGenerator {
public:
    /// No meshes, no notifier, the default projection space.
    GeometricFeaturesGenerator();
    ~GeometricFeaturesGenerator();
    GeometricFeaturesGenerator(const GeometricFeaturesGenerator&) = delete;
    GeometricFeaturesGenerator& operator=(const GeometricFeaturesGenerator&) = delete;

    /// Copies the camera and grid. Call it before setSingleExportCluster(), which uses it.
    void setProjectionSpace(const DiscreteProjectionSpace& space);

    /// Sets the contact tolerance for baking, in grid steps, see
    /// BakedTriangles::setContactTolerance(); the default is 0. Use 2 for parts that are flush or
    /// overlap with coplanar faces. Call it before setSingleExportCluster().
    void setContactTolerance(unsigned int steps);

    /// Progress and cancellation, called on the caller's thread; borrowed, null for none.
    void setProgressNotifier(kx::kxProgressNotifierInterface* notifier);

    /// Sets the meshes to draw and those that only occlude (may be null), and bakes both.
    ///
    /// Null meshes are allowed. After an exception there is no cluster. This is an expensive step:
    /// O(n log n) in the number of triangles.
    void setSingleExportCluster(const std::vector<const kx::kxTriMesh*>& meshes,
                                const std::vector<const kx::kxTriMesh*>* occluders);

    /// As above, with progress and cancellation by a notifier that need not be that of
    /// setProgressNotifier(). Returns false if cancelled; there is then no cluster. See
    /// BakedTriangles::initialize().
    bool setSingleExportCluster(const std::vector<const kx::kxTriMesh*>& meshes,
                                const std::vector<const kx::kxTriMesh*>* occluders,
                                kx::kxProgressNotifierInterface& notifier);

    /// The baked triangles of the exported meshes, owned by the generator and valid until the next
    /// call of setSingleExportCluster(). The index is not checked; 0 is the only cluster.
    BakedTriangles& getBakedTriangles(unsigned int cluster);

    /// Fills the record for one cluster.
    ///
    /// The creaseEdges of a mesh with outline metadata are that outline; those of any other mesh
    /// are the edges whose vertex normals differ by more than 5 degrees, and its boundary edges.
    /// removeCommonSegments removes creases that are also silhouettes. The notifier receives the
    /// total (one step per segment, two per triangle) and is polled for cancellation between passes
    /// and before each segment. A cancelled run keeps the fields computed so far; fields that it
    /// did not reach are unchanged, so a record that is reused keeps earlier lines there. Without a
    /// notifier, an index out of range makes all fields null. Triangles and outline segments with
    /// an index out of range are left out. Throws std::length_error if the lines have more vertices
    /// or indices than an int. About O((n + k) log n) for n triangles and k lines at low depth
    /// complexity.
    void computeGeometricFeatures(GeometricFeatures& out,
                                  unsigned int cluster,
                                  bool removeCommonSegments);

    /// Computes all lines of a cluster per mesh, so that each line is attributed to its mesh.
    ///
    /// The lines are those of computeGeometricFeatures(), except that occluders occlude
    /// intersections, too. Makes one run of the notifier with weighted steps: at half of the total,
    /// about half of the time has passed. Cancellation is polled about once per millisecond.
    /// Returns false, with `out` unchanged, if cancelled or for an index out of range. Errors and
    /// cost are those of computeGeometricFeatures().
    bool
    computeFeaturesByMesh(FeaturesByMesh& out, unsigned int cluster, const FeatureChoice& choice);

    /// Computes the occluded intervals and clip records of any line set against the meshes of a
    /// cluster.
    ///
    /// Intervals already in the set are kept and fused with the new ones, as
    /// IntervalTools::FuseOverlappingIntervals() does. A segment that is entirely occluded, outside
    /// the view, projected to a point, or has an index out of range gets the single interval
    /// 0/1 .. 1/1. Does nothing for a cluster out of range or a set without buffers. Intervals are
    /// exact for the ends on the grid. O(log n) per segment at low depth complexity.
    void computeOcclusion(LineSegmentSet& set, unsigned int cluster);

    /// Computes the lines along which the exported meshes of a cluster intersect: their visible
    /// pieces and, in hidden (may be null), their hidden pieces. Reports to the generator's
    /// notifier.
    ///
    /// Exported meshes and occluders both occlude these lines, exactly; occluders have no
    /// intersection lines of their own. (In computeGeometricFeatures() and TrianglesIntersection,
    /// whose rules otherwise apply, only exported meshes occlude intersections.) The caller owns
    /// the result. Both sets are null for an index out of range. For cost, see
    /// TrianglesIntersection::computeIntersectionEdges().
    ///
    /// Call this last: it reuses and then releases the acceleration structure built by
    /// computeOcclusion().
    LineSegmentSet* computeIntersectionEdges(unsigned int cluster,
                                             kx::kxPointer<LineSegmentSet>* hidden = nullptr);

private:
    struct CTR_LOCAL tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace ctr
