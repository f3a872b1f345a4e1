// The intersection lines of baked triangles, for callers that may have built an occluder layout
// already. TrianglesIntersection is the public interface.
#pragma once

#include <ctr/TrianglesIntersection.h>

#include "visibility/intersections/IntersectionEdge.h"
#include "visibility/occlusion/OccluderLayout.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace ctr {

/// Baked triangles and their occluder layout, null where none has been built; borrowed.
struct LaidOutTriangles {
    const BakedTriangles* baked;
    const OccluderLayout* layout;
};

/// All intersection edges of triangles; with `visibleOnly`, some that are fully occluded may be
/// omitted. Advances one step per triangle, then calls `triangleDone` with the number of edges
/// found so far. Throws Cancelled.
std::vector<FoundIntersection>
FindIntersectionEdges(const LaidOutTriangles& triangles,
                      bool visibleOnly,
                      kx::kxProgressNotifierInterface* notifier,
                      const std::function<void(std::size_t)>& triangleDone = {});

/// The visible pieces of the given edges, and in `hidden` (may be null) the hidden ones.
/// `occluders` occlude edges too; null for none. Where a layout is missing, one is built if it
/// pays. Distributes the remaining steps over the edges. Throws Cancelled.
LineSegmentSet* PiecesOfEdges(const std::vector<FoundIntersection>& edges,
                              const LaidOutTriangles& triangles,
                              const LaidOutTriangles* occluders,
                              kx::kxProgressNotifierInterface* notifier,
                              kx::kxPointer<LineSegmentSet>* hidden);

/// FindIntersectionEdges() and PiecesOfEdges(); null when cancelled.
LineSegmentSet* FindIntersectionLines(const LaidOutTriangles& triangles,
                                      const LaidOutTriangles* occluders,
                                      kx::kxProgressNotifierInterface* notifier,
                                      kx::kxPointer<LineSegmentSet>* hidden);

} // namespace ctr
