// Makes the surfaces of a model whole, as --weld asks for.
#pragma once

#include <ctr/Surface.h>

#include "drawing/scene/MeshBuilder.h"
#include "drawing/scene/Model.h"

#include <string>
#include <vector>

namespace kxcontour {

using ctr::SurfaceReport;

/// Adds what was found on another surface.
void Add(SurfaceReport& sum, const SurfaceReport& other);

struct RepairedSurfaces {
    std::vector<SurfaceReport> reports; ///< Of each shape; lengths are in millimetres.
    SurfacesOfShapes surfaces; ///< None where normals make an outline unnecessary, as a rule.
};

/// Whether so many edges are near each other and still open, twenty and a tenth of all, that lines
/// of the drawing are likely to be seams.
bool IsCracked(const SurfaceReport& report);

/// One line for the user: "cracks stay open: 20 of 80 edges run ...", which names --weld.
std::string DescribeCracks(const SurfaceReport& report);

/// Joins the shapes of each object and repairs the result, each shape once; its buffers may be
/// replaced by others. The model must be clean and stays so.
///
/// The distance of the welding is in millimetres, for the placement that shows a shape largest,
/// along the axis that is stretched most: nothing moves farther than it anywhere.
RepairedSurfaces RepairSurfaces(Model& model, const ctr::Welding& welding);

} // namespace kxcontour
