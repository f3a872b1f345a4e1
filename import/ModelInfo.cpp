// Measures a model in the axes of its file.
#include "import/ModelInfo.h"

#include "drawing/scene/Box.h"
#include "drawing/scene/CoordinateSteps.h"
#include "drawing/scene/Normals.h"

#include <cmath>

namespace kxcontour {
namespace {

using Matrix = Wm4::Matrix4<double>;
using Vector = Wm4::Vector3<double>;

Vector Apply(const Matrix& m, const Wm4::Vector3<float>& point) {
    const Vector p(static_cast<double>(point[0]), static_cast<double>(point[1]),
                   static_cast<double>(point[2]));
    const auto along = [&](int axis) {
        return p[0] * m[0][axis] + p[1] * m[1][axis] + p[2] * m[2][axis] + m[3][axis];
    };
    return {along(0), along(1), along(2)};
}

/// The box of the corners of a shape's triangles, taken through the matrix.
Box BoxThrough(const Matrix& matrix, const Shape& shape) {
    Box box;
    const unsigned int* indices = shape.triangles->GetData();
    for (int i = 0; i < shape.triangles->GetIndexQuantity(); ++i) {
        const Vector p = Apply(matrix, shape.vertices->Position3(static_cast<int>(indices[i])));
        if (std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2])) {
            box.add(p);
        }
    }
    return box;
}

Vector SizeOf(const Box& box) {
    return box.isEmpty() ? Vector(0.0, 0.0, 0.0) : box.size();
}

UpAxis UpOf(const Matrix& fileToWorld) {
    return fileToWorld[0][1] == 1.0 ? UpAxis::X : fileToWorld[2][1] == 1.0 ? UpAxis::Z : UpAxis::Y;
}

/// Adds up placements: the objects' triangles and sizes, and those of the whole.
void Measure(const Model& model, ModelInfo& info) {
    const Matrix worldToFile = model.fileToWorld.Transpose();
    std::vector<Box> boxes(model.objects.size());
    Box whole;
    for (const Placement& placement : model.placements) {
        const Shape& shape = model.shapes[placement.shape];
        const Box box = BoxThrough(placement.world * worldToFile, shape);
        const auto triangles = static_cast<std::size_t>(shape.triangles->GetIndexQuantity() / 3);
        info.triangles += triangles;
        info.vertices += static_cast<std::size_t>(shape.vertices->GetVertexQuantity());
        info.objects[placement.object].triangles += triangles;
        boxes[placement.object].add(box);
        whole.add(box);
    }
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        info.objects[i].size = SizeOf(boxes[i]);
    }
    info.size = SizeOf(whole);
}

} // namespace

ModelInfo Inspect(const std::string& name, Model& model, const ctr::Welding& weld) {
    ModelInfo info;
    info.name = name;
    info.format = model.format;
    info.millimetresPerUnit = model.millimetresPerUnit;
    info.unitStated = model.unitStated;
    info.up = UpOf(model.fileToWorld);
    info.cutPolygons = model.cutPolygons;
    info.leftOutPolygons = model.leftOutPolygons;
    info.dropped = CleanShapes(model);
    DropFlatNormals(model);
    info.meshes = model.shapes.size();
    for (const Shape& shape : model.shapes) {
        const bool withNormals = shape.vertices->GetAttributes().GetNormalChannels() == 3;
        info.meshesWithNormals += withNormals ? 1 : 0;
    }
    for (const std::string& object : model.objects) {
        info.objects.push_back({object, 0, {0.0, 0.0, 0.0}});
    }
    Measure(model, info);
    const RepairedSurfaces repaired = RepairSurfaces(model, weld);
    for (const Placement& placement : model.placements) {
        Add(info.objects[placement.object].surface, repaired.reports[placement.shape]);
    }
    info.coordinateStep = IsCoarse(model.coordinateStep, info.size) ? model.coordinateStep : 0.0;
    return info;
}

} // namespace kxcontour
