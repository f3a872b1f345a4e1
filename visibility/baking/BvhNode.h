// Decodes the two words of a node of the baked bounding volume hierarchy (BVH).
#pragma once

#include <kxCommonAddOns/kxGenericBVH.h>

namespace ctr {

using BvhNode = kx::kxGenericBVH::Node;

inline bool IsLeaf(const BvhNode& node) {
    return (node.first >> 30) == 3U;
}
/// The first slot of a leaf in the primitive order; `node.second` is the number of its slots.
inline unsigned int FirstSlot(const BvhNode& node) {
    return node.first & 0x3fffffffU;
}
inline unsigned int FirstChild(const BvhNode& node) {
    return node.first & 0x3fffffffU;
}
inline unsigned int SecondChild(const BvhNode& node) {
    return node.second & 0x0fffffffU;
}

} // namespace ctr
