// What TrianglesIntersection does, for whoever has laid out the baked triangles already.
#pragma once

#include <ctr/TrianglesIntersection.h>

#include "visibility/DepthMap.h"

namespace ctr {

/// Baked triangles and the layout of them as they are, null where none has been made; borrowed.
struct LaidOutTriangles {
    const BakedTriangles* baked;
    const OccluderLayout* layout;
};

/// As TrianglesIntersection::computeIntersectionEdges(), for lines that the occluders hide too;
/// null for no occluders. Where a layout is missing, one is made if it pays.
LineSegmentSet* FindIntersectionLines(const LaidOutTriangles& triangles,
                                      const LaidOutTriangles* occluders,
                                      kx::kxProgressNotifierInterface* notifier,
                                      kx::kxPointer<LineSegmentSet>* hidden);

} // namespace ctr
