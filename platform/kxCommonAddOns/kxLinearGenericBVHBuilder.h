// Builds bounding-volume hierarchies.
#ifndef KXCOMMONADDONS_KXLINEARGENERICBVHBUILDER_H
#define KXCOMMONADDONS_KXLINEARGENERICBVHBUILDER_H

#include <kxCommonAddOns/kxGenericBVH.h>
#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxExport.h>

namespace kx {

/// Top-down builder by the surface-area heuristic. No state; any number of threads may build at
/// once, each its own tree.
class KX_EXPORT kxLinearGenericBVHBuilder {
public:
    /// Replaces `out` by a tree over all primitives.
    ///
    /// Every primitive is in exactly one leaf; a leaf holds 1 to `leafSize` primitives (0 counts as
    /// 1), an inner node exactly two children. Nodes come depth first: a node's first child follows
    /// it directly and covers the lower slots. A node's box is the union of its primitives' boxes,
    /// where a NaN coordinate counts as absent. No node lies more than 80 levels below the root, so
    /// a walk may recurse. No primitives give no nodes. The same boxes give the same tree on every
    /// machine.
    ///
    /// `cancel` may be null; else it is asked, on the calling thread, at least once in every few
    /// thousand primitives handled. False when it said yes, and when the tree would need more than
    /// 2^30 primitives or 2^28 - 1 nodes; `out` is then empty. Only a failed allocation throws, and
    /// it too leaves `out` empty.
    ///
    /// Each box is asked for once, in order. O(n log n) time for the usual and O(80 n) for any
    /// input; about 32 bytes of scratch memory per primitive.
    static bool build(kxGenericBVH& out,
                      const kxGenericBVHPrimitives& primitives,
                      const kxCancelInterfaceReadOnly* cancel,
                      unsigned int leafSize);
};

} // namespace kx

#endif
