// Finds the lines of a scene and what hides them, by object.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/GeometricFeaturesGenerator.h>

#include "drawing/common/Observer.h"
#include "drawing/scene/MeshBuilder.h"

namespace kxcontour {

/// In grid steps: one for the rounding of coplanar faces to the grid, one for single precision.
constexpr unsigned int kContactTolerance = 2;

/// Bakes meshes and finds their lines, in the stages "bake" and "features". Any number of threads
/// may share meshes.
ctr::FeaturesByMesh FindLines(const ctr::DiscreteProjectionSpace& camera,
                              const MeshList& meshes,
                              const MeshList& occluders,
                              const ctr::FeatureChoice& choice,
                              DrawingObserver& observer);

} // namespace kxcontour
