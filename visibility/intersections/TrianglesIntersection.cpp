// Where triangles pierce each other, and which of it is visible.
//
// An edge found keeps its ends as exact parameters on triangle edges, and it is occluded by exact
// signs at those ends; only the place where a sign changes between them is computed from rounded
// values.
#include <ctr/TrianglesIntersection.h>

#include "linesets/SetConstruction.h"
#include "projection/GridQuantisation.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BakedValidation.h"
#include "visibility/dense/RegionFronts.h"
#include "visibility/exact/FractionOrder.h"
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

/// What single triangles of a set hide of an edge.
class PartsOf {
public:
    PartsOf(const BakedTriangles& baked, const CutOcclusion& cut) : baked_(baked), cut_(cut) {}

    std::optional<RationalInterval> operator()(const OccluderTree::Triangle& triangle) const {
        return cut_.hiddenBy(triangle, baked_.trianglePlanes[triangle.number]);
    }

private:
    const BakedTriangles& baked_;
    const CutOcclusion& cut_;
};

/// One set of baked triangles that hides intersection edges.
class CutHider {
public:
    CutHider(const LaidOutTriangles& triangles, std::size_t edges, ItemCounter& work)
        : baked_(*triangles.baked), tolerance_(baked_), layout_(triangles.layout) {
        // Laying the tree out anew pays for so many edges only.
        constexpr std::size_t kTrianglesPerEdge = 64;
        if (layout_ == nullptr && edges * kTrianglesPerEdge >= baked_.trianglePlanes.size()) {
            own_.emplace(baked_, work);
            layout_ = own_->isFaithful() ? &*own_ : nullptr;
        }
    }
    CutHider(const CutHider&) = delete;
    CutHider& operator=(const CutHider&) = delete;

    /// Whether all of an edge is known to be hidden without a search.
    bool hidesAtOnce(const IntersectionEdge& edge) const {
        const CutOcclusion cut(edge, tolerance_);
        return layout_ != nullptr && (layout_->map.hides(edge.first.point, edge.second.point) ||
                                      ranges_.isHiddenByLast(layout_->tree, PartsOf(baked_, cut)));
    }

    /// Prepares for so many edges of triangles of this set.
    void findCrowds(std::size_t edges, ItemCounter& work) {
        constexpr std::size_t kEdgesPerTriangle = 4;
        if (layout_ != nullptr && HasTriangles(baked_) &&
            edges >= kEdgesPerTriangle * baked_.trianglePlanes.size()) {
            crowds_.emplace(baked_, layout_->tree.triangles(), work);
        }
    }

    /// Of an edge that is not hidden at once.
    void append(const IntersectionEdge& edge, std::vector<RationalInterval>& hidden) {
        const CutOcclusion cut(edge, tolerance_);
        if (layout_ == nullptr) {
            cut.appendHidden(baked_, 0, hidden);
            return;
        }
        const auto& found = crowds_
                                ? seekInCrowds(edge, cut)
                                : ranges_.seek(layout_->tree, cut.probe(), PartsOf(baked_, cut));
        hidden.insert(hidden.end(), found.begin(), found.end());
    }

private:
    const std::vector<RationalInterval>& seekInCrowds(const IntersectionEdge& edge,
                                                      const CutOcclusion& cut) {
        crowds_->turnTo(edge.first.point, edge.second.point);
        const auto nearest = [this](double t) -> const auto& {
            return crowds_->nearestAt(t);
        };
        if (ranges_.areHiding(layout_->tree, PartsOf(baked_, cut), nearest)) {
            return ranges_.whole();
        }
        const CutOcclusion rest = cut.within(ranges_.open());
        return ranges_.seekRest(layout_->tree, cut.probe(), PartsOf(baked_, rest));
    }

    const BakedTriangles& baked_;
    ContactTolerance tolerance_;
    const OccluderLayout* layout_;
    std::optional<OccluderLayout> own_;
    std::optional<CrowdSurfaces> crowds_;
    HiddenRanges ranges_;
};

/// Everything that hides intersection edges: the triangles that cut each other and, if there are
/// any, those that only hide.
class CutHiders {
public:
    CutHiders(const LaidOutTriangles& triangles,
              const LaidOutTriangles* occluders,
              std::size_t edges,
              ItemCounter& work)
        : own_(triangles, edges, work) {
        own_.findCrowds(edges, work);
        if (occluders != nullptr && HasTriangles(*occluders->baked)) {
            occluders_.emplace(*occluders, edges, work);
        }
    }

    /// Whether all of an edge is known to be hidden without a search.
    bool hideAtOnce(const IntersectionEdge& edge) const {
        return own_.hidesAtOnce(edge) || (occluders_ && occluders_->hidesAtOnce(edge));
    }

    /// The union of what hides an edge that is not hidden at once, disjoint and in increasing
    /// order.
    const std::vector<RationalInterval>& hiddenOf(const IntersectionEdge& edge) {
        hidden_.clear();
        own_.append(edge, hidden_);
        if (occluders_ && !AreWhole(hidden_)) {
            occluders_->append(edge, hidden_);
        }
        IntervalTools::FuseOverlappingIntervals(hidden_);
        return hidden_;
    }

private:
    CutHider own_;
    std::optional<CutHider> occluders_;
    std::vector<RationalInterval> hidden_;
};

/// The pieces of intersection edges.
struct Pieces {
    struct TrianglePair {
        OccluderTree::Triangle triangles[2];
        GridVector normals[2];
    };

    TrianglePair pairOf(const FoundIntersection& found) const;
    IntersectionEdge edgeOf(const FoundIntersection& found) const;
    bool isContact(const FoundIntersection& found) const;
    void append(const FoundIntersection& found, CutHiders& hiders);
    void appendVisiblePieces(const IntersectionEdge& edge,
                             const std::vector<RationalInterval>& ranges);
    void appendPiece(const IntersectionEdge& edge,
                     const Fraction& from,
                     const Fraction& to,
                     std::vector<Point>& pieces) const;

    const BakedTriangles* triangles;
    bool withHidden;
    std::vector<Point> visible; ///< Two per piece.
    std::vector<Point> hidden;
};

/// Triangles in hidden places. The line along which two of them cut each other is hidden: an end of
/// it lies on one triangle and, but for the roundings to the grid, on the other one, so all of it
/// is within four steps of either box on screen, and no nearer than the nearest corner of both.
std::vector<bool> UnseenTriangles(const OccluderLayout& layout, ItemCounter& work) {
    std::vector<bool> unseen;
    const SlotTriangles triangles = layout.tree.triangles();
    unseen.reserve(triangles.size());
    OccluderTree::Triangle room;
    for (std::size_t slot = 0; slot < triangles.size(); ++slot) {
        work.count(1);
        unseen.push_back(layout.map.hidesAround(triangles.get(slot, room).corners));
    }
    return unseen;
}

Pieces::TrianglePair Pieces::pairOf(const FoundIntersection& found) const {
    const std::uint32_t numbers[2] = {found.first, triangles->bvh.primitives[found.secondSlot]};
    return {{OccluderTree::triangleOf(*triangles, numbers[0]),
             OccluderTree::triangleOf(*triangles, numbers[1])},
            {triangles->trianglePlanes[numbers[0]], triangles->trianglePlanes[numbers[1]]}};
}

IntersectionEdge Pieces::edgeOf(const FoundIntersection& found) const {
    const TrianglePair pair = pairOf(found);
    const auto crossing = [&](int end) {
        const int own = end / 3;
        const int other = 1 - own;
        return CrossingOf(pair.triangles[own].corners, end % 3, pair.triangles[other].corners[0],
                          pair.normals[other]);
    };
    return {crossing(found.ends[0]), crossing(found.ends[1])};
}

/// Whether the two triangles only seem to cut each other, as they lie in one plane.
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
    // A piece within one grid column carries nothing to draw.
    if (p.x != q.x || p.y != q.y) {
        pieces.push_back(GridToWorld(*triangles->projectionSpace, p));
        pieces.push_back(GridToWorld(*triangles->projectionSpace, q));
    }
}

void Pieces::appendVisiblePieces(const IntersectionEdge& edge,
                                 const std::vector<RationalInterval>& ranges) {
    Fraction visibleFrom(0, 1);
    for (const RationalInterval& range : ranges) {
        if (CompareFractions(range.start, visibleFrom) > 0) {
            appendPiece(edge, visibleFrom, range.start, visible);
        }
        visibleFrom = range.end;
    }
    if (CompareFractions(Fraction(1, 1), visibleFrom) > 0) {
        appendPiece(edge, visibleFrom, Fraction(1, 1), visible);
    }
}

/// Triangles in contact hide nothing of each other's cuts, so that a search among many of them
/// finds no end: whether these two are is told first.
void Pieces::append(const FoundIntersection& found, CutHiders& hiders) {
    const bool hiddenIsWanted = withHidden && !found.grazing;
    const IntersectionEdge edge = edgeOf(found);
    const bool isHidden = hiders.hideAtOnce(edge);
    if ((isHidden && !hiddenIsWanted) || isContact(found)) {
        return;
    }
    if (isHidden) {
        appendPiece(edge, {0, 1}, {1, 1}, hidden);
        return;
    }
    const std::vector<RationalInterval>& ranges = hiders.hiddenOf(edge);
    appendVisiblePieces(edge, ranges);
    if (hiddenIsWanted) {
        for (const RationalInterval& range : ranges) {
            appendPiece(edge, range.start, range.end, hidden);
        }
    }
}

/// Spreads what is left of a notifier's run over so many steps; the last of them ends it exactly.
class RestOfRun {
public:
    RestOfRun(kx::kxProgressNotifierInterface* notifier, std::size_t steps)
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

/// Two vertices of its own for each piece; null without one.
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
    // Fewer are tested as quickly as looked up.
    constexpr std::size_t kManyTriangles = 4096;
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
    assert(HierarchyLeadsToTriangles(*baked));
    if (layout == nullptr) {
        const SlotTriangles gathered(*baked);
        const bool isCopied = gathered.size() <= OccluderTree::kMostCopied;
        std::optional<TriangleCopies> copies;
        if (isCopied) {
            copies.emplace(gathered, work);
        }
        PairSearch search(*baked, isCopied ? SlotTriangles(copies->all()) : gathered, advance,
                          work);
        if (visibleOnly) {
            search.leaveOutHidden();
        }
        return search.run();
    }
    PairSearch search(*baked, layout->tree.triangles(), advance, work);
    if (visibleOnly) {
        search.leaveOutHidden();
    }
    if (visibleOnly && layout->tree.triangles().size() >= kManyTriangles &&
        !layout->map.isNearlyEmpty()) {
        search.leaveOut(UnseenTriangles(*layout, work));
    }
    return search.run();
}

LineSegmentSet* PiecesOfEdges(const std::vector<FoundIntersection>& edges,
                              const LaidOutTriangles& triangles,
                              const LaidOutTriangles* occluders,
                              kx::kxProgressNotifierInterface* notifier,
                              kx::kxPointer<LineSegmentSet>* hidden) {
    ItemCounter work(notifier);
    RestOfRun run(notifier, edges.size());
    CutHiders hiders(triangles, occluders, edges.size(), work);
    Pieces pieces{triangles.baked, hidden != nullptr, {}, {}};
    for (const FoundIntersection& found : edges) {
        if (!run.step()) {
            break;
        }
        pieces.append(found, hiders);
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
