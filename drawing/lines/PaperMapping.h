// From lines in space to lines on paper.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/GeometricFeaturesGenerator.h>

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <vector>

namespace kxcontour {

/// What lines need to know to be on paper and belong to something.
struct PaperPlace {
    const ctr::DiscreteProjectionSpace& camera;
    PageSize page;
    const std::vector<std::size_t>& objects; ///< The object of each mesh.
    /// Takes points of the world to those of Line::ends; row vectors.
    Wm4::Matrix4<double> worldToFile{false};
};

/// The visible pieces of all lines and, if wanted, the hidden ones, on the sheet that the camera
/// fills. The names of objects are the caller's to add.
PageLines MapToPaper(const ctr::FeaturesByMesh& lines, const PaperPlace& place, bool withHidden);

/// Every line of a scene with its occluded intervals. Intersections come as pieces, each visible or
/// hidden as a whole except for the intervals that occluders hide.
std::vector<kxdrawing::Line> LinesOf(const ctr::FeaturesByMesh& lines, const PaperPlace& place);

} // namespace kxcontour
