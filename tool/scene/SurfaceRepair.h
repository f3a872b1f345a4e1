// Makes the surface of a shape whole: closes its cracks, splits edges at T-junctions, drops faces
// that are given twice.
#pragma once

#include "model/Model.h"
#include "scene/MeshBuilder.h"
#include "scene/WeldRequest.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace kxcontour {

/// What is found on a surface and done to it.
struct SurfaceReport {
    std::size_t edges = 0;        ///< Different edges afterwards.
    std::size_t openEdges = 0;    ///< Of one face, afterwards.
    std::size_t crowdedEdges = 0; ///< Of more than two faces, afterwards.
    std::size_t nearEdges = 0;    ///< Open ones beside another open one, see below.
    std::size_t joinedEdges = 0;  ///< Pairs of open edges that became one edge.
    std::size_t splitEdges = 0;   ///< Open edges that were split at corners of others.
    std::size_t doubledFaces = 0; ///< Dropped.
    double widestGap = 0.0;       ///< That was closed; see below for the unit.
    double widestNear = 0.0;      ///< Between near edges; see below for the unit.

    SurfaceReport& operator+=(const SurfaceReport& other);
};

struct RepairedSurface {
    SurfaceReport report;
    std::unique_ptr<const Sides> sides; ///< Of its triangles as they are now.
};

/// Repairs a shape in place. Its buffers may be replaced by others. The shape must be clean and
/// stays so; repairing a closed surface without doubled faces changes nothing, and neither does
/// repairing again, unless gaps are about as wide as the distance: then a second repair, which
/// measures from where the first one left things, may join what the first one must not.
///
/// Open edges are near where each of a pair is the other's nearest and lies far below its own
/// length away, however wide the surface as a whole is: rims of cracks that are wider than what
/// was joined. Borders that are meant have nothing beside them.
///
/// millimetresPerUnit: the length of a unit of the shape's coordinates where it is shown, by which
/// a length of the request is divided; the lengths of the report are in millimetres.
RepairedSurface RepairSurface(Shape& shape, const WeldRequest& request, double millimetresPerUnit);

struct RepairedSurfaces {
    std::vector<SurfaceReport> reports; ///< Of each shape.
    SidesOfShapes sides; ///< Null where normals make an outline unnecessary, as a rule.
};

/// Whether so many edges are near each other and still open, twenty and a tenth of all, that lines
/// of the drawing are likely to be seams.
bool IsCracked(const SurfaceReport& report);

/// One line for the user: "cracks stay open: 20 of 80 edges run ...", which names --weld.
std::string DescribeCracks(const SurfaceReport& report);

/// Joins the shapes of each object and repairs the result, each shape once. The model must be clean
/// and stays so.
///
/// A length is taken for the placement that shows a shape largest, along the axis that is stretched
/// most: nothing moves farther than it anywhere.
RepairedSurfaces RepairSurfaces(Model& model, const WeldRequest& request);

} // namespace kxcontour
