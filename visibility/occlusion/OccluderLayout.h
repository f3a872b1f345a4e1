// The acceleration structures of an occlusion pass: the packed BVH and the coarse depth buffer that
// is rasterised from its triangles.
#pragma once

#include "visibility/bvh/OccluderBvh.h"
#include "visibility/occlusion/CoarseDepthBuffer.h"

#include <cstddef>

namespace ctr {

struct OccluderLayout {
    OccluderLayout(const BakedTriangles& baked,
                   ItemCounter& work,
                   std::size_t mostCopied = Tuning::kMostCopied)
        : bvh(baked, work, mostCopied), depthBuffer(baked, bvh, work) {}

    /// Whether queries give the results of the baked hierarchy. They do not where a caller's boxes
    /// exclude triangles: then the hierarchy itself has to be traversed.
    bool isConservative() const { return bvh.boxesAreConservative(); }

    OccluderBvh bvh;
    CoarseDepthBuffer depthBuffer;
};

} // namespace ctr
