// A bounding-volume hierarchy as a flat list of nodes.
#ifndef KXCOMMONADDONS_KXGENERICBVH_H
#define KXCOMMONADDONS_KXGENERICBVH_H

#include <kxSystem/kxBBox.h>

#include <vector>

namespace kx {

/// A binary tree of boxes over indexed primitives, built by `kxLinearGenericBVHBuilder`.
///
/// Plain data: it may be copied, and its boxes may be replaced. Any number of threads may read it
/// while none writes.
class kxGenericBVH {
public:
    /// One node of 32 bytes.
    ///
    ///            first, bits 31-30   first, bits 29-0     second
    ///     leaf   both set            first slot           number of primitives
    ///     inner  not both set        first child's index  second child's index in bits 27-0
    ///
    /// A slot is a position in `primitives`; the slots of a leaf are consecutive.
    struct Node {
        kxBBox box;              ///< around all primitives of the subtree
        unsigned int first = 0;  ///< as in the table
        unsigned int second = 0; ///< as in the table
    };

    std::vector<unsigned int> primitives; ///< the primitive indices in the order of the leaves
    std::vector<Node> nodes;              ///< node 0 is the root; empty if there are no primitives
    unsigned int bookkeeping = 0;         ///< internal to the builder; 0 after each build
};

static_assert(sizeof(kxGenericBVH::Node) == 32, "two nodes to a cache line");

} // namespace kx

#endif
