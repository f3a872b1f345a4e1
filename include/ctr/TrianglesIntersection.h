// The lines along which triangles cut through each other.
#pragma once

#include <ctr/BakedTriangles.h>
#include <ctr/Export.h>
#include <ctr/LineSegmentSet.h>

#include <kxSystem/kxPointer.h>
#include <kxSystem/kxProgressNotifierInterface.h>

#include <memory>

namespace ctr {

/// Finds where the triangles of a baked scene pierce each other and keeps what is visible.
///
/// Triangles that only touch, along an edge, at a vertex or within one plane, give no line. With a
/// contact tolerance (BakedTriangles::setContactTolerance()), triangles that are within it of each
/// other wherever they overlap on screen give none either, and one that touches the other's plane
/// from behind along an edge gives that edge, where they overlap: so a line is found where a
/// surface passes through a plane along an edge of its own. All decisions are exact in the grid.
/// The baked triangles are borrowed and have to outlive the object, which keeps nothing between
/// calls. One thread at a time.
class CTR_EXPORT TrianglesIntersection {
public:
    /// For triangles that are baked by then or later.
    explicit TrianglesIntersection(const BakedTriangles& triangles);
    ~TrianglesIntersection();
    TrianglesIntersection(const TrianglesIntersection&) = delete;
    TrianglesIntersection& operator=(const TrianglesIntersection&) = delete;

    /// Progress and cancellation, called on the caller's thread; borrowed, null for none.
    ///
    /// One step a triangle is advanced while searching; the steps then left up to the total are
    /// spread over the edges found. It is asked to cancel before every triangle and every edge, and
    /// now and then while many pairs of triangles are looked at.
    void setProgressNotifier(kx::kxProgressNotifierInterface* notifier);

    /// The visible pieces of all intersection lines in world space, two vertices of its own for
    /// each; the caller owns the set.
    ///
    /// A piece that falls into one grid column is dropped. Null when nothing is visible and when
    /// cancelled. The order of the pieces follows the hierarchy; the pieces do not. About
    /// O((n + k) log n) for n triangles and k edges that meet little depth complexity.
    LineSegmentSet* computeIntersectionEdges() const;

    /// The same, and in hidden (may be null) what is left of the lines: their pieces that something
    /// hides, made like the visible ones; null where there are none and when cancelled.
    ///
    /// Faces that lie on each other cut in many little lines once they are rounded to the grid.
    /// Hidden pieces of such cuts, where one triangle is within sixteen steps of the other's plane,
    /// are left out.
    LineSegmentSet* computeIntersectionEdges(kx::kxPointer<LineSegmentSet>* hidden) const;

private:
    struct CTR_LOCAL tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace ctr
