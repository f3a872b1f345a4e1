// Type records: the search from a class through its bases.
#include <kxSystem/kxRtti.h>
#include <kxSystem/kxRttiInterface.h>

namespace kx {

bool kxRtti::IsDerived(const kxRtti& type) const {
    for (const kxRtti* record = this; record; record = record->base_) {
        if (record->IsExactly(type)) {
            return true;
        }
    }
    return false;
}

kxRttiInterface::~kxRttiInterface() = default;

} // namespace kx
