// Hands each shape to the library, with lengths in its own coordinates.
#include "drawing/scene/SurfaceRepair.h"

#include "drawing/scene/ObjectShapes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <optional>
#include <utility>

namespace kxcontour {
namespace {

/// The longest of the vectors that a matrix takes the axes to.
double LargestStretch(const Wm4::Matrix4<double>& world) {
    double squared = 0.0;
    for (int row = 0; row < 3; ++row) {
        squared = std::max(squared, world[row][0] * world[row][0] + world[row][1] * world[row][1] +
                                        world[row][2] * world[row][2]);
    }
    return std::sqrt(squared);
}

/// Lengths of the request and of the report are those of the shape where it is shown.
SurfaceReport Repair(ctr::Surface& surface, ctr::Welding welding, double millimetresPerUnit) {
    welding.distance /= millimetresPerUnit;
    SurfaceReport report = surface.repair(welding);
    report.widestGap *= millimetresPerUnit;
    report.widestNear *= millimetresPerUnit;
    return report;
}

} // namespace

void Add(SurfaceReport& sum, const SurfaceReport& other) {
    sum.edges += other.edges;
    sum.openEdges += other.openEdges;
    sum.nonManifoldEdges += other.nonManifoldEdges;
    sum.nearEdges += other.nearEdges;
    sum.joinedEdges += other.joinedEdges;
    sum.splitEdges += other.splitEdges;
    sum.doubledFaces += other.doubledFaces;
    sum.widestGap = std::max(sum.widestGap, other.widestGap);
    sum.widestNear = std::max(sum.widestNear, other.widestNear);
}

bool IsCracked(const SurfaceReport& report) {
    constexpr std::size_t kFewEdges = 20;
    return report.nearEdges >= kFewEdges && 10 * report.nearEdges >= report.edges;
}

std::string DescribeCracks(const SurfaceReport& report) {
    return "cracks remain open: " + std::to_string(report.nearEdges) + " of " +
           std::to_string(report.edges) + " edges are up to " +
           fmt::format("{:.2g}", report.widestNear) +
           " mm from another edge; --weld LENGTH closes them";
}

RepairedSurfaces RepairSurfaces(Model& model, const ctr::Welding& welding) {
    JoinShapesOfObjects(model);
    std::vector<double> stretches(model.shapes.size(), 0.0);
    for (const Placement& placement : model.placements) {
        double& stretch = stretches[placement.shape];
        stretch = std::max(stretch, LargestStretch(placement.world));
    }
    RepairedSurfaces repaired;
    for (std::size_t i = 0; i < model.shapes.size(); ++i) {
        Shape& shape = model.shapes[i];
        if (shape.creases) {
            repaired.reports.emplace_back();
            repaired.surfaces.emplace_back();
            continue;
        }
        const double length = model.millimetresPerUnit * stretches[i];
        std::optional<ctr::Surface> surface(std::in_place, shape.vertices, shape.triangles);
        repaired.reports.push_back(
            Repair(*surface, welding, length > 0.0 && std::isfinite(length) ? length : 1.0));
        shape.vertices = surface->vertices();
        shape.triangles = surface->triangles();
        if (shape.hasNormals()) {
            surface.reset();
        }
        repaired.surfaces.push_back(std::move(surface));
    }
    return repaired;
}

} // namespace kxcontour
