// Meshes with outlines or normals; whatever the placements of a shape can share is made once.
#include "drawing/scene/MeshBuilder.h"

#include <kxSceneGraph/kxOutlineMetadata.h>

#include "drawing/scene/Normals.h"
#include "drawing/scene/Placing.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kxcontour {
namespace {

using Matrix = Wm4::Matrix4<double>;

/// The placement as the library takes it: in single precision, scaled, around the chosen origin.
kx::kxGenericTransformation<float> Transformation(const Matrix& world, const MeshRules& rules) {
    Wm4::Matrix4<float> matrix(false);
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            const double moved = row == 3 ? rules.origin[column] : 0.0;
            matrix[row][column] = static_cast<float>(rules.scale * world[row][column] - moved);
        }
    }
    kx::kxGenericTransformation<float> transformation;
    transformation.SetMatrix(matrix);
    return transformation;
}

/// Whether every point of the box, and every sum on the way to it, stays far from overflow.
bool StaysFinite(const Box& box, const kx::kxGenericTransformation<float>& transformation) {
    const Wm4::Matrix4<float>& m = transformation.GetMatrix();
    const double limit = static_cast<double>(std::numeric_limits<float>::max()) / 4.0;
    for (int column = 0; column < 3; ++column) {
        double reach = std::abs(static_cast<double>(m[3][column]));
        for (int axis = 0; axis < 3; ++axis) {
            const double farthest = std::max(std::abs(box.min[axis]), std::abs(box.max[axis]));
            reach += farthest * std::abs(static_cast<double>(m[axis][column]));
        }
        // Written so that NaN does not pass.
        if (!(reach < limit)) {
            return false;
        }
    }
    return true;
}

/// The triangles whose corners are finite where they are placed, in a buffer of their own.
kx::kxPointer<kx::kxIndexBuffer>
FiniteTriangles(const Shape& shape, const kx::kxGenericTransformation<float>& transformation) {
    const auto isFinite = [&](unsigned int vertex) {
        return IsFinite(ToDouble(transformation.ApplyForward(
            shape.vertices->Position3(static_cast<int>(vertex)), true)));
    };
    const int indexCount = shape.triangles->GetIndexQuantity();
    kx::kxPointer<kx::kxIndexBuffer> kept(new kx::kxIndexBuffer(indexCount, kx::IBT_TRIANGLES));
    const unsigned int* from = shape.triangles->GetData();
    int count = 0;
    for (int i = 0; i < indexCount; i += 3) {
        if (isFinite(from[i]) && isFinite(from[i + 1]) && isFinite(from[i + 2])) {
            std::copy_n(from + i, 3, kept->GetData() + count);
            count += 3;
        }
    }
    kept->SetIndexQuantity(count);
    return kept;
}

/// Whether the matrix keeps angles: its rows are equally long and at right angles.
bool KeepsAngles(const Matrix& world) {
    const auto dot = [&](int a, int b) {
        return world[a][0] * world[b][0] + world[a][1] * world[b][1] + world[a][2] * world[b][2];
    };
    const double tolerance = 1e-5 * dot(0, 0);
    return std::abs(dot(1, 1) - dot(0, 0)) <= tolerance &&
           std::abs(dot(2, 2) - dot(0, 0)) <= tolerance && std::abs(dot(0, 1)) <= tolerance &&
           std::abs(dot(0, 2)) <= tolerance && std::abs(dot(1, 2)) <= tolerance;
}

/// Whether creases of the shape follow from its vertex normals, which are repaired for that.
bool ShowsCreasesByNormals(Shape& shape, const MeshRules& rules) {
    return !shape.creases && !shape.creaseAngle && !rules.creaseAngle && shape.hasNormals() &&
           RepairNormals(*shape.vertices, *shape.triangles);
}

/// Builds the meshes of one shape.
class ShapeBuilder {
public:
    ShapeBuilder(const Shape& shape,
                 const MeshRules& rules,
                 bool withOutline,
                 std::optional<ctr::Surface> surface)
        : shape_(shape), rules_(rules), box_(BoxOf(shape)), withOutline_(withOutline),
          surface_(std::move(surface)) {}

    /// The mesh of one placement; null when no triangle is left.
    kx::kxPointer<kx::kxTriMesh> place(const Matrix& world, DroppedTriangles& dropped) {
        const auto transformation = Transformation(world, rules_);
        kx::kxPointer<kx::kxIndexBuffer> triangles = shape_.triangles;
        if (!StaysFinite(box_, transformation)) {
            triangles = FiniteTriangles(shape_, transformation);
            const int lost = shape_.triangles->GetIndexQuantity() - triangles->GetIndexQuantity();
            dropped.notFinite += static_cast<std::size_t>(lost / 3);
        }
        if (triangles->GetIndexQuantity() == 0) {
            return {};
        }
        kx::kxPointer<kx::kxTriMesh> mesh(
            new kx::kxTriMesh(shape_.vertices.get(), triangles.get()));
        mesh->SetLocalTransformation(transformation);
        mesh->SetWorldTransformation(transformation);
        if (withOutline_) {
            mesh->AddMetadata(outline(triangles, world).get());
        }
        return mesh;
    }

private:
    /// Placements that keep angles, of the same triangles, share one outline.
    kx::kxPointer<kx::kxMetadata> outline(const kx::kxPointer<kx::kxIndexBuffer>& triangles,
                                          const Matrix& world) {
        if (shape_.creases) {
            return kx::kxPointer<kx::kxMetadata>(new kx::kxOutlineMetadata(shape_.creases));
        }
        if (triangles != shape_.triangles || !KeepsAngles(world)) {
            return makeOutline(triangles, world);
        }
        if (!sharedOutline_) {
            sharedOutline_ = makeSharedOutline();
        }
        return sharedOutline_;
    }

    /// Lets go of the surface, which nothing else needs.
    kx::kxPointer<kx::kxMetadata> makeSharedOutline() {
        if (!surface_) {
            return makeOutline(shape_.triangles, Matrix(false));
        }
        const ctr::Surface surface = std::move(*surface_);
        surface_.reset();
        return surface.featureEdges(creaseAngle());
    }

    kx::kxPointer<kx::kxMetadata> makeOutline(const kx::kxPointer<kx::kxIndexBuffer>& triangles,
                                              const Matrix& world) const {
        return ctr::Surface(shape_.vertices, triangles).featureEdges(creaseAngle(), world);
    }

    double creaseAngle() const {
        return shape_.creaseAngle.value_or(rules_.creaseAngle.value_or(kDefaultCreaseAngle));
    }

    const Shape& shape_;
    const MeshRules& rules_;
    Box box_;
    bool withOutline_;
    std::optional<ctr::Surface> surface_;
    kx::kxPointer<kx::kxMetadata> sharedOutline_;
};

} // namespace

BuiltMeshes BuildMeshes(Model& model, const MeshRules& rules, SurfacesOfShapes surfaces) {
    surfaces.resize(model.shapes.size());
    std::vector<ShapeBuilder> builders;
    builders.reserve(model.shapes.size());
    for (std::size_t i = 0; i < model.shapes.size(); ++i) {
        Shape& shape = model.shapes[i];
        const bool withOutline = rules.drawn && !ShowsCreasesByNormals(shape, rules);
        builders.emplace_back(shape, rules, withOutline, std::move(surfaces[i]));
    }
    BuiltMeshes built;
    for (const Placement& placement : model.placements) {
        kx::kxPointer<kx::kxTriMesh> mesh =
            builders[placement.shape].place(placement.world, built.dropped);
        if (mesh) {
            built.meshes.push_back(std::move(mesh));
            built.objects.push_back(placement.object);
        }
    }
    return built;
}

} // namespace kxcontour
