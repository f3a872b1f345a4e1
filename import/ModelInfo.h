// Measures a model without drawing it.
#pragma once

#include <Wm4Foundation.h>

#include "drawing/scene/Cleaning.h"
#include "drawing/scene/Model.h"
#include "drawing/scene/SurfaceRepair.h"
#include "import/files/ModelRequest.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kxcontour {

struct ObjectInfo {
    std::string name; ///< May be empty, and others may have the same.
    std::size_t triangles = 0;
    Wm4::Vector3<double> size{0.0, 0.0, 0.0}; ///< Along the file's axes, in the file's unit.
    SurfaceReport surface{};                  ///< As --weld leaves it.
};

struct ModelInfo {
    std::string name;   ///< The path, or "standard input".
    std::string format; ///< What the importer calls it.
    double millimetresPerUnit = 1.0;
    bool unitStated = false; ///< Else millimetres are assumed.
    UpAxis up = UpAxis::Y;   ///< Of the file's axes.
    std::vector<ObjectInfo> objects;
    std::size_t triangles = 0;                ///< Of all objects, those left out not counted.
    std::size_t vertices = 0;                 ///< Likewise.
    Wm4::Vector3<double> size{0.0, 0.0, 0.0}; ///< Along the file's axes, in the file's unit.
    std::size_t meshes = 0;
    std::size_t meshesWithNormals = 0; ///< Whose normals in the file tell where creases are.
    /// In the file's unit, where it is so coarse that drawings show it, see IsCoarse(); else 0.
    double coordinateStep = 0.0;
    std::size_t cutPolygons = 0;
    std::size_t leftOutPolygons = 0;
    DroppedTriangles dropped;
};

/// Measures a model after CleanShapes() and DropFlatNormals(), and its surfaces after
/// RepairSurfaces(), all of which it applies to the model.
///
/// Sizes are those of the exact boxes of all corners of triangles where they are placed; corners
/// that are not finite there do not count. Linear in the number of placed triangles.
ModelInfo Inspect(const std::string& name, Model& model, const ctr::Welding& weld = {});

} // namespace kxcontour
