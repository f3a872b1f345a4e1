// The lines along which triangles intersect.
#pragma once

#include <ctr/BakedTriangles.h>
#include <ctr/Export.h>
#include <ctr/LineSegmentSet.h>

#include <kxSystem/kxPointer.h>
#include <kxSystem/kxProgressNotifierInterface.h>

#include <memory>

namespace ctr {

/// Finds the intersections of the triangles of a baked scene and their visible pieces.
///
/// Triangles that only touch, along an edge, at a vertex or in one plane, give no line. With a
/// contact tolerance (BakedTriangles::setContactTolerance()), triangles that are within it of each
/// other wherever they overlap on screen give none either, and a triangle that touches the plane of
/// the other from behind along an edge gives that edge, where they overlap: so a line is found
/// where a surface passes through a plane along one of its own edges. All decisions are exact on
/// the grid. The baked triangles are borrowed and must outlive the object, which keeps no state
/// between calls. Used by one thread at a time.
class CTR_EXPORT TrianglesIntersection {
public:
    /// The triangles may be baked before or after.
    explicit TrianglesIntersection(const BakedTriangles& triangles);
    ~TrianglesIntersection();
    TrianglesIntersection(const TrianglesIntersection&) = delete;
    TrianglesIntersection& operator=(const TrianglesIntersection&) = delete;

    /// Progress and cancellation, called on the caller's thread; borrowed, null for none.
    ///
    /// Advances one step per triangle while searching; the steps then left of the total are
    /// distributed over the edges found. Cancellation is polled before each triangle and each edge,
    /// and from time to time while many pairs of triangles are tested.
    void setProgressNotifier(kx::kxProgressNotifierInterface* notifier);

    /// The visible pieces of all intersection lines in world space, with two new vertices per
    /// piece; the caller owns the set.
    ///
    /// A piece within a single grid column is dropped. Null if nothing is visible or if cancelled.
    /// The order of the pieces depends on the hierarchy; the pieces do not. About O((n + k) log n)
    /// for n triangles and k intersections at low depth complexity.
    LineSegmentSet* computeIntersectionEdges() const;

    /// As above; hidden (may be null) receives the occluded pieces of the lines, built like the
    /// visible ones; null if there are none or if cancelled.
    ///
    /// After quantisation, coplanar faces produce many tiny spurious intersections. Occluded pieces
    /// of such intersections, where one triangle is within sixteen steps of the other's plane, are
    /// left out.
    LineSegmentSet* computeIntersectionEdges(kx::kxPointer<LineSegmentSet>* hidden) const;

private:
    struct CTR_LOCAL tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace ctr
