// Turns a model into the meshes that the library draws.
#pragma once

#include <ctr/Surface.h>

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

#include "drawing/scene/Cleaning.h"
#include "drawing/scene/Model.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace kxcontour {

using MeshList = std::vector<kx::kxPointer<kx::kxTriMesh>>;

/// By shape; none where nobody has looked at it yet.
using SurfacesOfShapes = std::vector<std::optional<ctr::Surface>>;

/// What is drawn of edges where the file has no normals, in degrees.
constexpr double kDefaultCreaseAngle = 30.0;

struct MeshRules {
    /// Brings the model to the scale of the meshes' world, about the origin of its own; over 0.
    double scale = 1.0;
    /// The point of the scaled world that becomes the origin of the meshes' world, see
    /// ChooseOrigin().
    Wm4::Vector3<double> origin{0.0, 0.0, 0.0};
    /// Whether the meshes are drawn; occluders need no outlines and no normals.
    bool drawn = true;
    /// Edges that bend by more than this many degrees are drawn; none: the file's normals decide,
    /// or kDefaultCreaseAngle where it has none.
    std::optional<double> creaseAngle;
};

struct BuiltMeshes {
    MeshList meshes;
    std::vector<std::size_t> objects; ///< Of each mesh; indices into the model's objects.
    DroppedTriangles dropped;         ///< Triangles that overflow where they are placed.
};

/// One mesh for every placement with triangles, in order, with its place as world transformation.
///
/// Meshes of one shape share its buffers. A mesh whose creases follow from its vertex normals has
/// normals of unit length and no outline; every other drawn mesh has its outline as metadata, which
/// may be empty. The model must be clean; its buffers become the meshes', and its vertex normals
/// are scaled and completed there, see RepairNormals().
///
/// surfaces: those of the shapes, as far as they are known; they are used up.
BuiltMeshes BuildMeshes(Model& model, const MeshRules& rules, SurfacesOfShapes surfaces = {});

} // namespace kxcontour
