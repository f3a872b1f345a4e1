// Finds the lines of a scene and what hides them, by object.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSystem/kxProgressNotifierInterface.h>

#include "drawing/scene/MeshBuilder.h"

namespace kxcontour {

/// In grid steps: one for the rounding of coplanar faces to the grid, one for single precision.
constexpr unsigned int kContactTolerance = 2;

/// Bakes a scene once and finds its lines. One thread uses a finder at a time; several finders may
/// share meshes. Either operation is a run of the notifier, which must not cancel.
class LineFinder {
public:
    explicit LineFinder(const ctr::DiscreteProjectionSpace& camera);

    /// Borrows the meshes until find() has returned.
    void bake(const MeshList& meshes,
              const MeshList& occluders,
              kx::kxProgressNotifierInterface& progress);

    ctr::FeaturesByMesh find(const ctr::FeatureChoice& choice,
                             kx::kxProgressNotifierInterface& progress);

private:
    ctr::GeometricFeaturesGenerator generator_;
};

} // namespace kxcontour
