// How the words of a hierarchy node are read.
#pragma once

#include <kxCommonAddOns/kxGenericBVH.h>

namespace ctr {

using HierarchyNode = kx::kxGenericBVH::Node;

inline bool IsLeaf(const HierarchyNode& node) {
    return (node.first >> 30) == 3U;
}
/// First slot of a leaf in the primitive order.
inline unsigned int FirstSlot(const HierarchyNode& node) {
    return node.first & 0x3fffffffU;
}
inline unsigned int FirstChild(const HierarchyNode& node) {
    return node.first & 0x3fffffffU;
}
inline unsigned int SecondChild(const HierarchyNode& node) {
    return node.second & 0x0fffffffU;
}

} // namespace ctr
