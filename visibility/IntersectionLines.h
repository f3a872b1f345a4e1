// What TrianglesIntersection does, for whoever has laid out the baked triangles already.
#pragma once

#include <ctr/TrianglesIntersection.h>

#include "visibility/DepthMap.h"

namespace ctr {

/// As TrianglesIntersection::computeIntersectionEdges(). The layout is borrowed, and of these baked
/// triangles as they are; null for none, and then one is made where it pays.
LineSegmentSet* FindIntersectionLines(const BakedTriangles& baked,
                                      const OccluderLayout* layout,
                                      kx::kxProgressNotifierInterface* notifier,
                                      kx::kxPointer<LineSegmentSet>* hidden);

} // namespace ctr
