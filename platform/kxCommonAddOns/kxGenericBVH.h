// A bounding-volume hierarchy as a flat list of nodes.
#ifndef KXCOMMONADDONS_KXGENERICBVH_H
#define KXCOMMONADDONS_KXGENERICBVH_H

#include <kxSystem/kxBBox.h>

#include <vector>

namespace kx {

/// A binary tree of boxes over numbered primitives, made by `kxLinearGenericBVHBuilder`.
///
/// Plain data: it may be copied, and its boxes replaced by others. Any number of threads may read
/// it while none writes.
class kxGenericBVH {
public:
    /// One node of 32 bytes.
    ///
    ///            first, bits 31-30   first, bits 29-0     second
    ///     leaf   both set            first slot           number of primitives
    ///     inner  not both set        first child's number second child's number in bits 27-0
    ///
    /// A slot is a position in `primitives`; a leaf's slots follow each other.
    struct Node {
        kxBBox box;              ///< around all primitives below
        unsigned int first = 0;  ///< as in the table
        unsigned int second = 0; ///< as in the table
    };

    std::vector<unsigned int> primitives; ///< the primitive numbers, as the leaves list them
    std::vector<Node> nodes;              ///< node 0 is the root; empty when there is no primitive
    unsigned int bookkeeping = 0;         ///< the builder's own; 0 after every build
};

static_assert(sizeof(kxGenericBVH::Node) == 32, "two nodes to a cache line");

} // namespace kx

#endif
