// Finds the lines of a scene and what hides them, by object.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/LineSegmentSet.h>

#include <kxSystem/kxProgressNotifierInterface.h>

#include "scene/MeshBuilder.h"

#include <vector>

namespace kxcontour {

using LineSetPointer = kx::kxPointer<ctr::LineSegmentSet>;

/// In grid steps: one for the rounding of coplanar faces to the grid, one for single precision.
constexpr unsigned int kContactTolerance = 2;

/// Which lines are looked for.
struct LineChoice {
    bool silhouettes = true;
    bool creases = true;
    bool intersections = true;
    bool hidden = false; ///< Hidden parts of intersections too; other lines know theirs anyway.
};

/// The lines of one mesh in world space, with hidden ranges; null where it has none.
struct MeshLines {
    LineSetPointer silhouettes;
    LineSetPointer creases; ///< Without those that are among the silhouettes.
};

struct SceneLines {
    std::vector<MeshLines> meshes; ///< One for each mesh that was baked.
    LineSetPointer visibleCuts;    ///< Where triangles intersect: visible pieces, and specks.
    LineSetPointer hiddenCuts;     ///< Pieces that are hidden as a whole.
};

/// Bakes a scene once and finds its lines. One thread uses a finder at a time; several finders may
/// share meshes.
class LineFinder {
public:
    explicit LineFinder(const ctr::DiscreteProjectionSpace& camera);

    /// Borrows the meshes until find() has returned.
    void bake(const MeshList& meshes, const MeshList& occluders);

    /// Tells the notifier the total, then every step.
    SceneLines find(const LineChoice& choice, kx::kxProgressNotifierInterface& progress);

private:
    void findOutlines(const LineChoice& choice, std::vector<MeshLines>& lines);
    void findCuts(bool hidden, SceneLines& lines);

    ctr::DiscreteProjectionSpace camera_;
    MeshList meshes_;
    ctr::GeometricFeaturesGenerator generator_;
};

} // namespace kxcontour
