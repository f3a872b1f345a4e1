// From meshes and a camera to feature lines with their hidden parts.
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

/// The lines of one drawing. A field is null when there are no such lines or a run was cancelled.
struct GeometricFeatures {
    kx::kxPointer<LineSegmentSet> creaseEdges;       ///< Creases or outlines, with hidden ranges.
    kx::kxPointer<LineSegmentSet> silhouetteEdges;   ///< With hidden ranges.
    kx::kxPointer<LineSegmentSet> intersectionEdges; ///< Pieces that no exported mesh hides.
};

/// The lines of one mesh in world space, with hidden ranges; null where it has none.
struct MeshFeatures {
    kx::kxPointer<LineSegmentSet> silhouetteEdges; ///< Where the surface folds over or ends.
    kx::kxPointer<LineSegmentSet> creaseEdges;     ///< Without those that are silhouettes.
};

/// The lines of one drawing, mesh by mesh.
struct FeaturesByMesh {
    std::vector<MeshFeatures> meshes;                      ///< One per exported mesh.
    kx::kxPointer<LineSegmentSet> intersectionEdges;       ///< Visible pieces.
    kx::kxPointer<LineSegmentSet> hiddenIntersectionEdges; ///< Hidden pieces, if asked for.
};

/// Which lines are looked for.
struct FeatureChoice {
    bool silhouettes = true;          ///< Of every mesh.
    bool creases = true;              ///< All of them where silhouettes are not looked for.
    bool intersections = true;        ///< Of all meshes together.
    bool hiddenIntersections = false; ///< Of other lines, hidden parts are known anyway.
};

/// Finds the feature lines of a list of meshes and what hides them.
///
/// Call setProjectionSpace(), optionally setProgressNotifier(), then setSingleExportCluster(), then
/// computeGeometricFeatures() as often as wanted; a new camera starts over. Meshes are borrowed:
/// they stay alive and unchanged until the last call has returned. One thread uses a generator at a
/// time; several generators may draw the same meshes at once.
class CTR_EXPORT GeometricFeaturesGenerator {
public:
    /// No meshes, no notifier, the default projection space.
    GeometricFeaturesGenerator();
    ~GeometricFeaturesGenerator();
    GeometricFeaturesGenerator(const GeometricFeaturesGenerator&) = delete;
    GeometricFeaturesGenerator& operator=(const GeometricFeaturesGenerator&) = delete;

    /// Copies the camera and grid. Comes before setSingleExportCluster(), which bakes with it.
    void setProjectionSpace(const DiscreteProjectionSpace& space);

    /// Sets the contact tolerance of what is baked, in grid steps, see
    /// BakedTriangles::setContactTolerance(); 0 by default. 2 is right for parts that lie flush or
    /// overlap with faces in one plane. Comes before setSingleExportCluster().
    void setContactTolerance(unsigned int steps);

    /// Progress and cancellation, called on the caller's thread; borrowed, null for none.
    void setProgressNotifier(kx::kxProgressNotifierInterface* notifier);

    /// Takes the meshes to draw and those that only hide (may be null), and bakes both.
    ///
    /// Null meshes are allowed. An exception leaves no cluster. The expensive step: O(n log n) in
    /// the number of triangles.
    void setSingleExportCluster(const std::vector<const kx::kxTriMesh*>& meshes,
                                const std::vector<const kx::kxTriMesh*>* occluders);

    /// The same with progress and cancellation, which need not be those of setProgressNotifier().
    /// False when cancelled, which leaves no cluster. See BakedTriangles::initialize().
    bool setSingleExportCluster(const std::vector<const kx::kxTriMesh*>& meshes,
                                const std::vector<const kx::kxTriMesh*>* occluders,
                                kx::kxProgressNotifierInterface& notifier);

    /// The baked triangles of the exported meshes. The index is not checked; 0 is the only cluster.
    BakedTriangles& getBakedTriangles(unsigned int cluster);

    /// Fills the record for one cluster.
    ///
    /// A mesh with outline metadata gives that as its crease edges, any other the edges that bend
    /// by more than 5 degrees and its borders. removeCommonSegments drops creases that are
    /// silhouettes too. The notifier is told the total (one step a segment, two a triangle) and
    /// asked between the passes and before every segment; a cancelled run leaves in the record what
    /// was done, and in fields that it did not reach what they held: a record that is used again
    /// keeps lines of the run before there, a new one is null there. Without a notifier, an index
    /// out of range makes all fields null. Triangles and segments of outlines whose vertices do not
    /// exist are left out.
    void computeGeometricFeatures(GeometricFeatures& out,
                                  unsigned int cluster,
                                  bool removeCommonSegments);

    /// Finds all lines of a cluster mesh by mesh, so that a line is known to belong to its mesh.
    ///
    /// Lines are those of computeGeometricFeatures(), but occluders hide intersections, too. One
    /// run of the notifier, whose steps are weighed: at half of its total, about half of the time
    /// has passed. It is asked to cancel about once per millisecond throughout. False, leaving out
    /// as it was, when cancelled and for an index out of range.
    bool
    computeFeaturesByMesh(FeaturesByMesh& out, unsigned int cluster, const FeatureChoice& choice);

    /// Finds the hidden ranges and clip records of any line set against the meshes of a cluster.
    ///
    /// Ranges that the set holds already are kept and joined with what is found, as
    /// IntervalTools::FuseOverlappingIntervals() does it, with the fractions that they have. A
    /// segment that the triangles hide as a whole has the one range 0/1 .. 1/1, whichever of them
    /// hide it, and so has one outside the view, seen end-on or between vertices that do not exist.
    /// Nothing happens for a cluster out of range or a set without buffers.
    void computeOcclusion(LineSegmentSet& set, unsigned int cluster);

    /// Finds the lines along which the exported meshes of a cluster intersect: their visible pieces
    /// and, in hidden (may be null), their hidden pieces. Reports to the generator's notifier.
    ///
    /// Exported meshes and occluders both hide these lines, exactly; occluders give none of their
    /// own. computeGeometricFeatures() hides intersections behind exported meshes only, as
    /// TrianglesIntersection does, whose rules otherwise hold. The caller owns the result. Both
    /// sets are null for an index out of range. Call this last: it reuses and then releases the
    /// acceleration structures that computeOcclusion() built.
    LineSegmentSet* computeIntersectionEdges(unsigned int cluster,
                                             kx::kxPointer<LineSegmentSet>* hidden = nullptr);

private:
    struct CTR_LOCAL tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace ctr
