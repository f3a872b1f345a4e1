// What a bounding-volume hierarchy is built over.
#ifndef KXCOMMONADDONS_KXGENERICBVHPRIMITIVES_H
#define KXCOMMONADDONS_KXGENERICBVHPRIMITIVES_H

#include <kxSystem/kxBBox.h>
#include <kxSystem/kxExport.h>

namespace kx {

/// A numbered set of things with boxes, implemented by whoever wants a tree over them.
class KX_EXPORT kxGenericBVHPrimitives {
public:
    virtual ~kxGenericBVHPrimitives();

    /// How many there are; their numbers are 0 to this less one.
    virtual unsigned int getPrimitiveQuantity() const = 0;

    /// The box of primitive `i`. Boxes may be flat, a point, empty, infinite or NaN.
    virtual kxBBox getPrimitiveBox(unsigned int i) const = 0;
};

} // namespace kx

#endif
