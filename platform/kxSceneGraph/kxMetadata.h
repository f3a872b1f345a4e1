// Data that a host attaches to a mesh.
#ifndef KXSCENEGRAPH_KXMETADATA_H
#define KXSCENEGRAPH_KXMETADATA_H

#include <kxSystem/kxExport.h>
#include <kxSystem/kxObject.h>

namespace kx {

/// The base of all metadata; each class is identified by a number.
class KX_EXPORT kxMetadata : public kxObject {
public:
    static const kxRtti TYPE; ///< The record of this class.

    ~kxMetadata() override;

    const kxRtti& GetType() const override;

    /// The number of the class, unique per class of metadata.
    virtual unsigned int GetMetadataTypeId() const = 0;
};

} // namespace kx

#endif
