// Builds bounding-volume hierarchies.
#ifndef KXCOMMONADDONS_KXLINEARGENERICBVHBUILDER_H
#define KXCOMMONADDONS_KXLINEARGENERICBVHBUILDER_H

#include <kxCommonAddOns/kxGenericBVH.h>
#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxExport.h>

namespace kx {

/// Top-down builder by the surface-area heuristic. Stateless: any number of threads may build
/// different trees at once.
class KX_EXPORT kxLinearGenericBVHBuilder {
public:
    /// Replaces `out` by a tree over all primitives.
    ///
    /// Every primitive is in exactly one leaf; a leaf holds 1 to `leafSize` primitives (0 counts as
    /// 1), an inner node has exactly two children. Nodes are stored depth first: a node's first
    /// child follows it directly and covers the lower slots. A node's box is the union of its
    /// primitives' boxes, where NaN coordinates are ignored. No node is more than 80 levels below
    /// the root, so traversal may recurse. Without primitives there are no nodes. Equal boxes give
    /// the same tree on every machine.
    ///
    /// `cancel` may be null; otherwise it is polled, on the calling thread, at least once every few
    /// thousand primitives. Returns false if cancelled, or if the tree would need more than 2^30
    /// primitives or 2^28 - 1 nodes; `out` is then empty. Only a failed allocation throws; `out` is
    /// then empty, too.
    ///
    /// Each box is requested once, in order. O(n log n) time for usual input and O(80 n) for any
    /// input; about 32 bytes of scratch memory per primitive.
    static bool build(kxGenericBVH& out,
                      const kxGenericBVHPrimitives& primitives,
                      const kxCancelInterfaceReadOnly* cancel,
                      unsigned int leafSize);
};

} // namespace kx

#endif
