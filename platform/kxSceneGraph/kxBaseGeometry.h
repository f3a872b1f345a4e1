// The base of points, lines and meshes: vertices and indices in a scene.
#ifndef KXSCENEGRAPH_KXBASEGEOMETRY_H
#define KXSCENEGRAPH_KXBASEGEOMETRY_H

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxSpatial.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxBBox.h>
#include <kxSystem/kxExport.h>
#include <kxSystem/kxPointer.h>

namespace kx {

/// A vertex buffer and an index buffer, either of which may be missing.
///
/// The geometry holds a reference on each; several geometries may share a buffer.
class KX_EXPORT kxBaseGeometry : public kxSpatial {
public:
    static const kxRtti TYPE; ///< The record of this class.

    /// How the indices are read.
    enum GeometryType { GT_POINTS, GT_LINES, GT_TRIMESH };

    ~kxBaseGeometry() override;

    const kxRtti& GetType() const override;

    /// How the indices are read; points by default.
    virtual GeometryType GetGeometryType() const;

    /// The vertices, owned by the geometry; null if there are none.
    kxVertexBuffer* GetVertexBuffer() const { return vertices_.get(); }
    /// The indices, likewise.
    kxIndexBuffer* GetIndexBuffer() const { return indices_.get(); }

    /// Takes a reference on the buffer and releases the old one; null allowed. The model bound is
    /// unchanged until `UpdateMS`.
    void SetVertexBuffer(kxVertexBuffer* vertices);
    /// As above, for the indices.
    void SetIndexBuffer(kxIndexBuffer* indices);

    /// Updates the data derived from the vertices in model space.
    ///
    /// `recomputeBound` recomputes the model bound, in O(vertices). Normals are never derived here,
    /// and there are no controllers, so `recomputeNormals` and `controller` have no effect.
    virtual void UpdateMS(bool recomputeBound, bool recomputeNormals, int controller);

    /// The box of all vertices, used by an index or not, in model space, as of the last update with
    /// `recomputeBound`; empty before that, and without vertices or positions. NaN coordinates are
    /// ignored.
    const kxBBox& GetModelBound() const { return modelBound_; }

protected:
    /// Takes a reference on each buffer; null allowed.
    kxBaseGeometry(kxVertexBuffer* vertices, kxIndexBuffer* indices);

    /// Copies to a clone: the part of the spatial, the model bound, and references to the buffers,
    /// which original and clone then share.
    void CopyGeometryTo(kxBaseGeometry& target) const;

private:
    kxPointer<kxVertexBuffer> vertices_;
    kxPointer<kxIndexBuffer> indices_;
    kxBBox modelBound_;
};

} // namespace kx

#endif
