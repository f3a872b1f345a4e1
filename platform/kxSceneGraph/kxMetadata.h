// What a host hangs on a mesh beside its geometry.
#ifndef KXSCENEGRAPH_KXMETADATA_H
#define KXSCENEGRAPH_KXMETADATA_H

#include <kxSystem/kxExport.h>
#include <kxSystem/kxObject.h>

namespace kx {

/// The base of all metadata; its kind is told by a number.
class KX_EXPORT kxMetadata : public kxObject {
public:
    static const kxRtti TYPE; ///< The record of this class.

    ~kxMetadata() override;

    const kxRtti& GetType() const override;

    /// The number of the class; every class of metadata has its own.
    virtual unsigned int GetMetadataTypeId() const = 0;
};

} // namespace kx

#endif
