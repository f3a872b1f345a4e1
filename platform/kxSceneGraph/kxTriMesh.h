// Triangle meshes.
#ifndef KXSCENEGRAPH_KXTRIMESH_H
#define KXSCENEGRAPH_KXTRIMESH_H

#include <kxSceneGraph/kxBaseGeometry.h>
#include <kxSceneGraph/kxMetadata.h>
#include <kxSystem/kxExport.h>
#include <kxSystem/kxPointer.h>

#include <cstddef>
#include <vector>

namespace kx {

/// A mesh whose index buffer lists triangles, three indices each.
///
/// Any number of threads may read a mesh while none changes it or its buffers.
class KX_EXPORT kxTriMesh : public kxBaseGeometry {
public:
    static const kxRtti TYPE; ///< The record of this class.

    /// Takes a reference on each buffer; null allowed.
    kxTriMesh(kxVertexBuffer* vertices, kxIndexBuffer* triangles);
    ~kxTriMesh() override;

    const kxRtti& GetType() const override;
    GeometryType GetGeometryType() const override;

    /// The number of complete triangles: index count / 3, 0 without an index buffer.
    virtual int GetTriangleQuantity() const {
        const kxIndexBuffer* indices = GetIndexBuffer();
        return indices ? indices->GetIndexQuantity() / 3 : 0;
    }

    /// The vertex indices of triangle `i`, as stored, unchecked.
    ///
    /// Returns false and writes nothing if there is no such triangle.
    virtual bool GetTriangle(int i, int& a, int& b, int& c) const {
        if (i < 0 || i >= kxTriMesh::GetTriangleQuantity()) {
            return false;
        }
        const unsigned int* triangle =
            GetIndexBuffer()->GetData() + 3 * static_cast<std::size_t>(i);
        a = static_cast<int>(triangle[0]);
        b = static_cast<int>(triangle[1]);
        c = static_cast<int>(triangle[2]);
        return true;
    }

    /// Appends to the mesh's metadata and takes a reference; null is ignored.
    void AddMetadata(kxMetadata* metadata);

    /// The number of metadata added.
    int GetMetadataQuantity() const { return static_cast<int>(metadata_.size()); }

    /// Metadata `i` in the order of adding, owned by the mesh; null if out of range.
    const kxMetadata* GetMetadata(int i) const;

private:
    std::vector<kxPointer<kxMetadata>> metadata_;
};

} // namespace kx

#endif
