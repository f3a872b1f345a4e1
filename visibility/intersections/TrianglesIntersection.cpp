// The public class over IntersectionLines, for triangles without an existing layout that occlude
// each other.
#include <ctr/TrianglesIntersection.h>

#include "visibility/intersections/IntersectionLines.h"

namespace ctr {

struct TrianglesIntersection::tInternal {
    const BakedTriangles* triangles;
    kx::kxProgressNotifierInterface* progressNotifier = nullptr;
};

TrianglesIntersection::TrianglesIntersection(const BakedTriangles& triangles)
    : internal_(std::make_unique<tInternal>(tInternal{&triangles})) {}

TrianglesIntersection::~TrianglesIntersection() = default;

void TrianglesIntersection::setProgressNotifier(kx::kxProgressNotifierInterface* notifier) {
    internal_->progressNotifier = notifier;
}

LineSegmentSet* TrianglesIntersection::computeIntersectionEdges() const {
    return computeIntersectionEdges(nullptr);
}

LineSegmentSet*
TrianglesIntersection::computeIntersectionEdges(kx::kxPointer<LineSegmentSet>* hidden) const {
    return FindIntersectionLines({internal_->triangles, nullptr}, nullptr,
                                 internal_->progressNotifier, hidden);
}

} // namespace ctr
