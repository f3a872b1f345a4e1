// Reading the meshes to be baked: vertices in clip space and triangles by corner numbers.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <kxSceneGraph/kxTriMesh.h>

#include "linesets/IndexRange.h"
#include "projection/Homogeneous.h"

#include <typeinfo>

namespace ctr {

using ClipPoint = Wm4::Vector4<float>;

/// Bits of the words in BakedTriangles::tFirstPassData::insideTriangles.
constexpr unsigned int kBitsPerWord = 32;

inline int VertexQuantity(const kx::kxTriMesh& mesh) {
    return static_cast<int>(PositionCount(mesh.GetVertexBuffer()));
}

/// The clip-space position of a vertex of a mesh.
class VertexProjector {
public:
    VertexProjector(const kx::kxTriMesh& mesh, const DiscreteProjectionSpace& space)
        : vertices_(*mesh.GetVertexBuffer()), toWorld_(mesh.GetWorldTransformation()),
          toClip_(space.worldToClip) {}

    ClipPoint operator()(int vertex) const {
        return TransformPoint(toClip_, toWorld_.ApplyForward(vertices_.Position3(vertex), true));
    }

private:
    const kx::kxVertexBuffer& vertices_;
    const kx::kxGenericTransformation<float> toWorld_;
    const Wm4::Matrix4<float> toClip_;
};

/// The triangles of a mesh, without a virtual call where the mesh is of the framework's own class.
class TriangleReader {
public:
    explicit TriangleReader(const kx::kxTriMesh& mesh)
        : mesh_(mesh), own_(typeid(mesh) == typeid(kx::kxTriMesh)) {}

    bool read(int triangle, int (&corners)[3]) const {
        return own_ ? mesh_.kx::kxTriMesh::GetTriangle(triangle, corners[0], corners[1], corners[2])
                    : mesh_.GetTriangle(triangle, corners[0], corners[1], corners[2]);
    }

private:
    const kx::kxTriMesh& mesh_;
    const bool own_;
};

} // namespace ctr
