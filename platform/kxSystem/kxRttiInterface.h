// The interface of objects with a type record.
#ifndef KXSYSTEM_KXRTTIINTERFACE_H
#define KXSYSTEM_KXRTTIINTERFACE_H

#include <kxSystem/kxExport.h>
#include <kxSystem/kxRtti.h>

namespace kx {

/// An object with a type record.
class KX_EXPORT kxRttiInterface {
public:
    virtual ~kxRttiInterface();

    /// The static record of the object's class. It outlives every object.
    virtual const kxRtti& GetType() const = 0;
};

} // namespace kx

#endif
