// Transformations and update flags.
#include <kxSceneGraph/kxSpatial.h>

#include <algorithm>

namespace kx {

constinit const kxRtti kxSpatial::TYPE("kxSpatial", &kxObject::TYPE);

kxSpatial::~kxSpatial() = default;

const kxRtti& kxSpatial::GetType() const {
    return TYPE;
}

void kxSpatial::SetLocalTransformation(const kxGenericTransformation<float>& transformation) {
    local_ = transformation;
    setDirtyDown(true);
    FlagParents();
}

void kxSpatial::SetWorldTransformation(const kxGenericTransformation<float>& transformation) {
    world_ = transformation;
}

void kxSpatial::setDirtyDown(bool dirty) {
    ownFlags_ = dirty ? ownFlags_ | UF_TRANSFORMATION : ownFlags_ & ~UF_TRANSFORMATION;
}

void kxSpatial::FlagParents() const {
    for (kxSpatial* parent : parents_) {
        parent->ownFlags_ |= ownFlags_;
        parent->belowFlags_ |= ownFlags_;
    }
}

void kxSpatial::AttachParent(kxSpatial* parent) {
    if (parent && std::find(parents_.begin(), parents_.end(), parent) == parents_.end()) {
        parents_.push_back(parent);
    }
}

void kxSpatial::DetachParent(kxSpatial* parent) {
    parents_.erase(std::remove(parents_.begin(), parents_.end(), parent), parents_.end());
}

void kxSpatial::CopySpatialTo(kxSpatial& target) const {
    target.SetName(GetName());
    target.local_ = local_;
    target.world_ = world_;
    target.ownFlags_ = ownFlags_;
    target.belowFlags_ = belowFlags_;
}

} // namespace kx
