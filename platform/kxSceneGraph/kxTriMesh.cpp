// Triangle meshes and their metadata.
#include <kxSceneGraph/kxTriMesh.h>

#include <cstddef>

namespace kx {

constinit const kxRtti kxTriMesh::TYPE("kxTriMesh", &kxBaseGeometry::TYPE);

kxTriMesh::kxTriMesh(kxVertexBuffer* vertices, kxIndexBuffer* triangles)
    : kxBaseGeometry(vertices, triangles) {}

kxTriMesh::~kxTriMesh() = default;

const kxRtti& kxTriMesh::GetType() const {
    return TYPE;
}

kxBaseGeometry::GeometryType kxTriMesh::GetGeometryType() const {
    return GT_TRIMESH;
}

void kxTriMesh::AddMetadata(kxMetadata* metadata) {
    if (metadata) {
        metadata_.emplace_back(metadata);
    }
}

const kxMetadata* kxTriMesh::GetMetadata(int i) const {
    if (i < 0 || i >= GetMetadataQuantity()) {
        return nullptr;
    }
    return metadata_[static_cast<std::size_t>(i)].get();
}

} // namespace kx
