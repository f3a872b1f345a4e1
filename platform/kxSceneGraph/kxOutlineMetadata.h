// The outline of a mesh, given by the host.
#ifndef KXSCENEGRAPH_KXOUTLINEMETADATA_H
#define KXSCENEGRAPH_KXOUTLINEMETADATA_H

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxMetadata.h>
#include <kxSystem/kxExport.h>
#include <kxSystem/kxPointer.h>

namespace kx {

/// The edges of a mesh to be drawn: a line list over the vertices of the mesh.
class KX_EXPORT kxOutlineMetadata : public kxMetadata {
public:
    static const kxRtti TYPE; ///< The record of this class.
    /// The number of this class of metadata.
    static const unsigned int MetadataTypeId;

    /// Shares the buffer, which may be null.
    explicit kxOutlineMetadata(const kxPointer<kxIndexBuffer>& outline);
    ~kxOutlineMetadata() override;

    const kxRtti& GetType() const override;
    unsigned int GetMetadataTypeId() const override;

    /// The buffer given at construction, shared.
    kxPointer<kxIndexBuffer> getIBuffer() const;

private:
    kxPointer<kxIndexBuffer> outline_;
};

} // namespace kx

#endif
