// Search, occlusion and output of intersection edges, one after the other.
//
// An edge keeps its ends as exact parameters on triangle edges. Its occlusion follows from exact
// signs at those ends; only the point between them at which a sign changes is computed from rounded
// values, off by at most two steps of the function (ErrorBounds.h, section 3). About O((n + k) log
// n) for n triangles and k intersections in scenes of low depth complexity.
#include "visibility/intersections/IntersectionLines.h"

#include "linesets/SetConstruction.h"
#include "projection/GridQuantisation.h"
#include "visibility/Statistics.h"
#include "visibility/Tuning.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BakedValidation.h"
#include "visibility/dense/RegionFronts.h"
#include "visibility/exact/FractionOrder.h"
#include "visibility/exact/SegmentPoint.h"
#include "visibility/intersections/FaceContact.h"
#include "visibility/intersections/IntersectionLines.h"
#include "visibility/intersections/IntersectionOcclusion.h"
#include "visibility/intersections/PairIntersection.h"
#include "visibility/intersections/PairSearch.h"
#include "visibility/occlusion/OccludedIntervals.h"

#include <cassert>
#include <cstddef>
#include <optional>

namespace ctr {
namespace {

using Point = Wm4::Vector3<float>;

/// The interval of an edge that a triangle of a set occludes.
class IntervalsOf {
public:
    IntervalsOf(const BakedTriangles& baked, const IntersectionOcclusion& occlusion)
        : baked_(baked), occlusion_(occlusion) {}

    std::optional<RationalInterval> operator()(const SlotTriangle& triangle) const {
        Count(Counter::trianglesTested);
        return occlusion_.occludedBy(triangle, baked_.trianglePlanes[triangle.number]);
    }

private:
    const BakedTriangles& baked_;
    const IntersectionOcclusion& occlusion_;
};

/// One set of baked triangles that occludes intersection edges.
class IntersectionOccluder {
public:
    IntersectionOccluder(const LaidOutTriangles& triangles, std::size_t edges, ItemCounter& work)
        : baked_(*triangles.baked), tolerance_(baked_), layout_(triangles.layout) {
        if (layout_ == nullptr &&
            edges * Tuning::kTrianglesPerEdge >= baked_.trianglePlanes.size()) {
            own_.emplace(baked_, work);
            layout_ = own_->isConservative() ? &*own_ : nullptr;
        }
    }
    IntersectionOccluder(const IntersectionOccluder&) = delete;
    IntersectionOccluder& operator=(const IntersectionOccluder&) = delete;

    /// Whether an edge is known to be fully occluded without a search.
    bool occludesWithoutSearch(const IntersectionEdge& edge) const {
        if (layout_ == nullptr) {
            return false;
        }
        if (layout_->depthBuffer.occludes(edge.first.point, edge.second.point)) {
            Count(Counter::edgesOccludedByDepthBuffer);
            return true;
        }
        const IntersectionOcclusion occlusion(edge, tolerance_);
        return intervals_.isOccludedByRecent(layout_->bvh, IntervalsOf(baked_, occlusion));
    }

    /// Finds dense regions if there are so many edges that it pays.
    void findDenseRegions(std::size_t edges, ItemCounter& work) {
        if (layout_ != nullptr && HasTriangles(baked_) &&
            edges >= Tuning::kEdgesPerTriangleForFronts * baked_.trianglePlanes.size()) {
            fronts_.emplace(baked_, layout_->bvh.triangles(), work);
        }
    }

    /// Appends the occluded intervals of an edge that is not occluded without a search.
    void append(const IntersectionEdge& edge, std::vector<RationalInterval>& occluded) {
        const IntersectionOcclusion occlusion(edge, tolerance_);
        if (layout_ == nullptr) {
            occlusion.appendOccluded(baked_, 0, occluded);
            return;
        }
        const auto& found = fronts_ ? searchWithFronts(edge, occlusion)
                                    : intervals_.search(layout_->bvh, occlusion.clipper(),
                                                        IntervalsOf(baked_, occlusion));
        occluded.insert(occluded.end(), found.begin(), found.end());
    }

private:
    const std::vector<RationalInterval>& searchWithFronts(const IntersectionEdge& edge,
                                                          const IntersectionOcclusion& occlusion) {
        fronts_->selectSegment(edge.first.point, edge.second.point);
        const auto nearest = [this](double t) -> const auto& {
            return fronts_->nearestAt(t);
        };
        if (intervals_.isOccludedByNearest(layout_->bvh, IntervalsOf(baked_, occlusion), nearest)) {
            Count(Counter::occludedByFronts);
            return intervals_.full();
        }
        const IntersectionOcclusion rest = occlusion.restrictedTo(intervals_.remaining());
        return intervals_.searchRest(layout_->bvh, occlusion.clipper(), IntervalsOf(baked_, rest));
    }

    const BakedTriangles& baked_;
    ContactTolerance tolerance_;
    const OccluderLayout* layout_;
    std::optional<OccluderLayout> own_;
    std::optional<RegionFronts> fronts_;
    OccludedIntervals intervals_;
};

/// All occluders of intersection edges: the intersecting triangles and, if there are any, those
/// that only occlude.
class IntersectionOccluders {
public:
    IntersectionOccluders(const LaidOutTriangles& triangles,
                          const LaidOutTriangles* occluders,
                          std::size_t edges,
                          ItemCounter& work)
        : own_(triangles, edges, work) {
        own_.findDenseRegions(edges, work);
        if (occluders != nullptr && HasTriangles(*occluders->baked)) {
            occluders_.emplace(*occluders, edges, work);
        }
    }

    /// Whether an edge is known to be fully occluded without a search.
    bool occludeWithoutSearch(const IntersectionEdge& edge) const {
        return own_.occludesWithoutSearch(edge) ||
               (occluders_ && occluders_->occludesWithoutSearch(edge));
    }

    /// The union of the occluded intervals of an edge that is not occluded without a search,
    /// disjoint and in increasing order.
    const std::vector<RationalInterval>& occludedIntervals(const IntersectionEdge& edge) {
        occluded_.clear();
        own_.append(edge, occluded_);
        if (occluders_ && !AreFullSegment(occluded_)) {
            occluders_->append(edge, occluded_);
        }
        IntervalTools::FuseOverlappingIntervals(occluded_);
        return occluded_;
    }

private:
    IntersectionOccluder own_;
    std::optional<IntersectionOccluder> occluders_;
    std::vector<RationalInterval> occluded_;
};

/// Collects the visible and the hidden pieces of intersection edges.
struct Pieces {
    struct TrianglePair {
        SlotTriangle triangles[2];
        GridVector normals[2];
    };

    TrianglePair pairOf(const FoundIntersection& found) const;
    IntersectionEdge edgeOf(const FoundIntersection& found) const;
    bool isContact(const FoundIntersection& found) const;
    void append(const FoundIntersection& found, IntersectionOccluders& occluders);
    void appendVisiblePieces(const IntersectionEdge& edge,
                             const std::vector<RationalInterval>& intervals);
    void appendPiece(const IntersectionEdge& edge,
                     const Fraction& from,
                     const Fraction& to,
                     std::vector<Point>& pieces) const;

    const BakedTriangles* triangles;
    bool withHidden;
    std::vector<Point> visible; ///< Two per piece.
    std::vector<Point> hidden;
};

/// The triangles, slot by slot, whose surroundings on screen are occluded by the coarse depth
/// buffer. The intersection of two of them is occluded: each end lies on one triangle and, but for
/// rounding, on the other one, so the whole edge is within kIntersectionReach of either box on
/// screen and no nearer than the nearest corner of both.
std::vector<bool> OccludedTriangles(const OccluderLayout& layout, ItemCounter& work) {
    std::vector<bool> occluded;
    const SlotTriangles triangles = layout.bvh.triangles();
    occluded.reserve(triangles.size());
    SlotTriangle storage;
    for (std::size_t slot = 0; slot < triangles.size(); ++slot) {
        work.count(1);
        occluded.push_back(layout.depthBuffer.occludesAround(triangles.get(slot, storage).corners));
    }
    return occluded;
}

Pieces::TrianglePair Pieces::pairOf(const FoundIntersection& found) const {
    const std::uint32_t numbers[2] = {found.first, triangles->bvh.primitives[found.secondSlot]};
    return {{TriangleOf(*triangles, numbers[0]), TriangleOf(*triangles, numbers[1])},
            {triangles->trianglePlanes[numbers[0]], triangles->trianglePlanes[numbers[1]]}};
}

IntersectionEdge Pieces::edgeOf(const FoundIntersection& found) const {
    const TrianglePair pair = pairOf(found);
    const auto crossing = [&](int end) {
        const int own = end / 3;
        const int other = 1 - own;
        return EdgeCrossing(pair.triangles[own].corners, end % 3, pair.triangles[other].corners[0],
                            pair.normals[other]);
    };
    return {crossing(found.ends[0]), crossing(found.ends[1])};
}

/// Whether the two triangles are in contact, so that they intersect by rounding only.
bool Pieces::isContact(const FoundIntersection& found) const {
    const ContactTolerance tolerance(*triangles);
    if (tolerance.isOff()) {
        return false;
    }
    const auto& [pair, normals] = pairOf(found);
    return AreInContact({pair[0].corners, normals[0]}, {pair[1].corners, normals[1]}, tolerance);
}

void Pieces::appendPiece(const IntersectionEdge& edge,
                         const Fraction& from,
                         const Fraction& to,
                         std::vector<Point>& pieces) const {
    const BakedVertex p = PointAt(edge.first.point, edge.second.point, from);
    const BakedVertex q = PointAt(edge.first.point, edge.second.point, to);
    // A piece within one grid column is not drawn.
    if (p.x != q.x || p.y != q.y) {
        pieces.push_back(GridToWorld(*triangles->projectionSpace, p));
        pieces.push_back(GridToWorld(*triangles->projectionSpace, q));
    }
}

void Pieces::appendVisiblePieces(const IntersectionEdge& edge,
                                 const std::vector<RationalInterval>& intervals) {
    Fraction visibleFrom(0, 1);
    for (const RationalInterval& interval : intervals) {
        if (CompareFractions(interval.start, visibleFrom) > 0) {
            appendPiece(edge, visibleFrom, interval.start, visible);
        }
        visibleFrom = interval.end;
    }
    if (CompareFractions(Fraction(1, 1), visibleFrom) > 0) {
        appendPiece(edge, visibleFrom, Fraction(1, 1), visible);
    }
}

/// Contact is tested before the search: triangles in contact occlude nothing of each other's
/// intersections, so a search among many of them would not terminate early.
void Pieces::append(const FoundIntersection& found, IntersectionOccluders& occluders) {
    const bool needsHidden = withHidden && !found.grazing;
    const IntersectionEdge edge = edgeOf(found);
    const bool isHidden = occluders.occludeWithoutSearch(edge);
    Count(Counter::edges);
    if (isHidden && !needsHidden) {
        return;
    }
    if (isContact(found)) {
        Count(Counter::edgesInContact);
        return;
    }
    if (isHidden) {
        appendPiece(edge, {0, 1}, {1, 1}, hidden);
        return;
    }
    const std::vector<RationalInterval>& intervals = occluders.occludedIntervals(edge);
    appendVisiblePieces(edge, intervals);
    if (needsHidden) {
        for (const RationalInterval& interval : intervals) {
            appendPiece(edge, interval.start, interval.end, hidden);
        }
    }
}

/// Distributes the remaining progress of a notifier over a number of steps; the last one completes
/// it exactly.
class RemainingProgress {
public:
    RemainingProgress(kx::kxProgressNotifierInterface* notifier, std::size_t steps)
        : notifier_(notifier), stepsLeft_(steps) {
        if (steps == 0) {
            advance(rest());
        } else {
            step_ = static_cast<float>(rest() / static_cast<double>(steps));
        }
    }

    /// False when cancelled.
    bool step() {
        advance(--stepsLeft_ > 0 ? static_cast<double>(step_) : rest());
        return notifier_ == nullptr || !notifier_->isCanceled();
    }

private:
    double rest() const {
        double start = 0.0;
        double end = 1.0;
        if (notifier_ != nullptr) {
            notifier_->getRange(start, end);
        }
        return end - start;
    }
    void advance(double steps) {
        if (notifier_ != nullptr && steps > 0.0) {
            notifier_->advance(steps);
        }
    }

    kx::kxProgressNotifierInterface* notifier_;
    std::size_t stepsLeft_;
    float step_ = 1.0F;
};

/// A set with two vertices of its own per piece; null for no pieces.
LineSegmentSet* MakeSet(const std::vector<Point>& pieces) {
    if (pieces.empty()) {
        return nullptr;
    }
    const kx::kxPointer<kx::kxVertexBuffer> vertices = MakePositionBuffer(pieces.size());
    const kx::kxPointer<kx::kxIndexBuffer> lines = MakeLineBuffer(pieces.size() / 2);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        vertices->Position3(static_cast<int>(i)) = pieces[i];
        lines->GetData()[i] = static_cast<unsigned int>(i);
    }
    auto set = std::make_unique<LineSegmentSet>();
    set->SetVertexBuffer(vertices.get());
    set->SetIndexBuffer(lines.get());
    UpdateModelSpace(*set, true);
    return set.release();
}

} // namespace

std::vector<FoundIntersection>
FindIntersectionEdges(const LaidOutTriangles& triangles,
                      bool visibleOnly,
                      kx::kxProgressNotifierInterface* notifier,
                      const std::function<void(std::size_t)>& triangleDone) {
    ItemCounter work(notifier);
    const auto advance = [&](std::size_t found) {
        if (notifier != nullptr) {
            notifier->advance(1.0);
            if (notifier->isCanceled()) {
                throw Cancelled();
            }
        }
        if (triangleDone) {
            triangleDone(found);
        }
    };
    const auto& [baked, layout] = triangles;
    if (baked->trianglePlanes.empty()) {
        return {};
    }
    assert(HasValidBvh(*baked));
    if (layout == nullptr) {
        const SlotTriangles gathered(*baked);
        const bool isCopied = gathered.size() <= Tuning::kMostCopied;
        std::optional<TriangleCopies> copies;
        if (isCopied) {
            copies.emplace(gathered, work);
        }
        PairSearch search(*baked, isCopied ? SlotTriangles(copies->all()) : gathered, advance,
                          work);
        if (visibleOnly) {
            search.allowOmittingHidden();
        }
        return search.run();
    }
    PairSearch search(*baked, layout->bvh.triangles(), advance, work);
    if (visibleOnly) {
        search.allowOmittingHidden();
    }
    if (visibleOnly && layout->bvh.triangles().size() >= Tuning::kFewestLookedUp &&
        !layout->depthBuffer.isNearlyEmpty()) {
        search.excludePairs(OccludedTriangles(*layout, work));
    }
    return search.run();
}

LineSegmentSet* PiecesOfEdges(const std::vector<FoundIntersection>& edges,
                              const LaidOutTriangles& triangles,
                              const LaidOutTriangles* occluders,
                              kx::kxProgressNotifierInterface* notifier,
                              kx::kxPointer<LineSegmentSet>* hidden) {
    ItemCounter work(notifier);
    RemainingProgress run(notifier, edges.size());
    IntersectionOccluders occludersOfEdges(triangles, occluders, edges.size(), work);
    Pieces pieces{triangles.baked, hidden != nullptr, {}, {}};
    for (const FoundIntersection& found : edges) {
        if (!run.step()) {
            break;
        }
        pieces.append(found, occludersOfEdges);
    }
    if (pieces.visible.empty() && pieces.hidden.empty()) {
        return nullptr;
    }
    work.poll();
    if (hidden != nullptr) {
        *hidden = MakeSet(pieces.hidden);
    }
    return MakeSet(pieces.visible);
}

LineSegmentSet* FindIntersectionLines(const LaidOutTriangles& triangles,
                                      const LaidOutTriangles* occluders,
                                      kx::kxProgressNotifierInterface* notifier,
                                      kx::kxPointer<LineSegmentSet>* hidden) {
    if (hidden != nullptr) {
        *hidden = nullptr;
    }
    try {
        const auto edges = FindIntersectionEdges(triangles, hidden == nullptr, notifier);
        ItemCounter(notifier).poll();
        return PiecesOfEdges(edges, triangles, occluders, notifier, hidden);
    } catch (const Cancelled&) {
        return nullptr;
    }
}

} // namespace ctr
