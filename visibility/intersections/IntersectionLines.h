// What TrianglesIntersection does, for whoever has laid out the baked triangles already.
#pragma once

#include <ctr/TrianglesIntersection.h>

#include "visibility/intersections/IntersectionEdge.h"
#include "visibility/occlusion/CoarseDepthBuffer.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace ctr {

/// Baked triangles and the layout of them as they are, null where none has been made; borrowed.
struct LaidOutTriangles {
    const BakedTriangles* baked;
    const OccluderLayout* layout;
};

/// The edges along which triangles pierce each other; with `visibleOnly`, some of those that nobody
/// sees may be left out. Advances one step per triangle, after which `triangleDone` is called with
/// the number of edges found so far; throws Cancelled.
std::vector<FoundIntersection>
FindIntersectionEdges(const LaidOutTriangles& triangles,
                      bool visibleOnly,
                      kx::kxProgressNotifierInterface* notifier,
                      const std::function<void(std::size_t)>& triangleDone = {});

/// The visible pieces of edges found, and in hidden (may be null) the hidden ones. The occluders
/// hide edges too; null for no occluders. Where a layout is missing, one is made if it pays. The
/// steps that are left are spread over the edges. Throws Cancelled.
LineSegmentSet* PiecesOfEdges(const std::vector<FoundIntersection>& edges,
                              const LaidOutTriangles& triangles,
                              const LaidOutTriangles* occluders,
                              kx::kxProgressNotifierInterface* notifier,
                              kx::kxPointer<LineSegmentSet>* hidden);

/// Both, one after the other; null when cancelled.
LineSegmentSet* FindIntersectionLines(const LaidOutTriangles& triangles,
                                      const LaidOutTriangles* occluders,
                                      kx::kxProgressNotifierInterface* notifier,
                                      kx::kxPointer<LineSegmentSet>* hidden);

} // namespace ctr
