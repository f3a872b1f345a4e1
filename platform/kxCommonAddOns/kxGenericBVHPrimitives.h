// The primitives of a bounding-volume hierarchy.
#ifndef KXCOMMONADDONS_KXGENERICBVHPRIMITIVES_H
#define KXCOMMONADDONS_KXGENERICBVHPRIMITIVES_H

#include <kxSystem/kxBBox.h>
#include <kxSystem/kxExport.h>

namespace kx {

/// An indexed set of primitives with boxes, implemented by the user of the builder.
class KX_EXPORT kxGenericBVHPrimitives {
public:
    virtual ~kxGenericBVHPrimitives();

    /// The number of primitives; their indices are 0 to this minus one.
    virtual unsigned int getPrimitiveQuantity() const = 0;

    /// The box of primitive `i`. Boxes may be flat, a point, empty, infinite or NaN.
    virtual kxBBox getPrimitiveBox(unsigned int i) const = 0;
};

} // namespace kx

#endif
