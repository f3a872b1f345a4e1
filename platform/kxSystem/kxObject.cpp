// The reference count and the name of an object.
#include <kxSystem/kxObject.h>

#include <cassert>

namespace kx {

constinit const kxRtti kxObject::TYPE("kxObject", nullptr);

kxObject::~kxObject() = default;

const kxRtti& kxObject::GetType() const {
    return TYPE;
}

void kxObject::IncrementReferences() const {
    // Relaxed: the caller holds a reference or created the object, so it cannot be deleted
    // meanwhile.
    references_.fetch_add(1, std::memory_order_relaxed);
}

void kxObject::DecrementReferences() const {
    // Release: accesses of this thread happen before a deletion by another. Acquire: accesses of
    // others happen before the deletion here.
    const int before = references_.fetch_sub(1, std::memory_order_acq_rel);
    assert(before > 0);
    if (before == 1) {
        delete this;
    }
}

int kxObject::GetReferences() const {
    return references_.load(std::memory_order_relaxed);
}

bool kxObject::Clone(kxRttiInterface*&) const {
    return false;
}

void kxObject::SetName(const std::string& name) {
    name_ = name;
}

const std::string& kxObject::GetName() const {
    return name_;
}

} // namespace kx
