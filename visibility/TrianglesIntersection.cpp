// Where triangles pierce each other, and which of it is visible.
//
// Pairs are decided by the interval test of T. Moeller, A fast triangle-triangle intersection test,
// Journal of Graphics Tools 2(2), 1997, in integers: each triangle has to straddle the other's
// plane, and the two spans along the common line have to overlap. An edge found keeps its ends as
// exact parameters on triangle edges, and it is occluded by exact signs at those ends; only the
// place where a sign changes between them is computed from rounded values.
//
// Numbers. Four grid points span |N . d| <= 2 * 2^(2b + d) with b bits across the screen and d in
// depth, since the largest tetrahedron in a box has a third of its volume. With 2b + d = 60, the
// constructor's grid, plane values are below 2^61 and their differences below 2^62; the terms that
// add up to one are below 2^61 each (GridArithmetic.h). Parameters are quotients of such values;
// their cross products take 128 bits.
#include <ctr/RationalTools.h>
#include <ctr/TrianglesIntersection.h>

#include "linesets/SetConstruction.h"
#include "projection/GridQuantisation.h"
#include "visibility/GridArithmetic.h"
#include "visibility/HierarchyNode.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <list>
#include <optional>
#include <utility>

namespace ctr {
namespace {

using Point = Wm4::Vector3<float>;

/// Truncation toward zero, saturated: only grids beyond the documented bounds reach the limits.
long SaturatedToLong(double value) {
    constexpr double kLimit = 4611686018427387904.0;
    return static_cast<long>(std::clamp(value, -kLimit, kLimit));
}

int SignOf(long value) {
    return static_cast<int>(value > 0) - static_cast<int>(value < 0);
}

/// floor(p0 + (p1 - p0) * t) for t in [0, 1]. Measured from the smaller end, so the direction of
/// the segment does not matter.
std::int32_t CoordinateAt(std::int32_t p0, std::int32_t p1, const Fraction& t) {
    using Wide = __int128;
    const long delta = long{p1} - long{p0};
    const Wide numerator =
        delta >= 0 ? Wide{delta} * t[0] : Wide{-delta} * (Wide{t[1]} - Wide{t[0]});
    return static_cast<std::int32_t>((delta >= 0 ? p0 : p1) + numerator / t[1]);
}

BakedVertex PointAt(const BakedVertex& p0, const BakedVertex& p1, const Fraction& t) {
    return {CoordinateAt(p0.x, p1.x, t), CoordinateAt(p0.y, p1.y, t), CoordinateAt(p0.z, p1.z, t)};
}

/// The triangle whose partners are being sought.
struct tTriangleData {
    BakedVertex vertices[3];
    GridVector normal;
    std::uint32_t index;
};

/// One end of an intersection edge: where an edge of one triangle crosses the other's plane.
struct tPointOnEdge {
    BakedVertex edgeStart;
    BakedVertex edgeEnd;
    BakedVertex point; ///< The crossing rounded down to the grid.
    Fraction t;        ///< The exact parameter of the crossing.
};

struct IntersectionEdge {
    tPointOnEdge first;
    tPointOnEdge second;
    bool grazing = false; ///< Of triangles in one plane, but for the rounding to the grid.
};

/// Values of a plane at the corners of a triangle.
struct PlaneValues {
    long at[3];

    bool straddle() const {
        return std::min({at[0], at[1], at[2]}) < 0 && std::max({at[0], at[1], at[2]}) > 0;
    }

    /// Whether some steps along every axis could bring each corner onto the plane. Rounding moves
    /// a corner by one step at most, and tilts the other triangle's plane as well.
    bool areBesidePlane(const GridVector& n) const {
        constexpr long kSteps = 16;
        const long reach = WrapMultiply(kSteps, std::abs(n[0]) + std::abs(n[1]) + std::abs(n[2]));
        return std::min({at[0], at[1], at[2]}) >= -reach &&
               std::max({at[0], at[1], at[2]}) <= reach;
    }
};

PlaneValues ValuesAt(const BakedVertex* corners, const BakedVertex& origin, const GridVector& n) {
    return {{Dot(n, Difference(corners[0], origin)), Dot(n, Difference(corners[1], origin)),
             Dot(n, Difference(corners[2], origin))}};
}

/// The two crossings of a straddling triangle's edges with a plane, in edge order. A corner on the
/// plane belongs to the edge that ends there.
struct Span {
    tPointOnEdge low;
    tPointOnEdge high;
};

Span FindCrossings(const BakedVertex* corners, const PlaneValues& values) {
    tPointOnEdge found[2] = {};
    int count = 0;
    for (int k = 0; k < 3 && count < 2; ++k) {
        const int next = (k + 1) % 3;
        const long from = values.at[k];
        const long to = values.at[next];
        if (from == 0 || (to != 0 && (from < 0) == (to < 0))) {
            continue;
        }
        const Fraction t = MakeFraction(from, WrapSubtract(from, to));
        found[count++] = {corners[k], corners[next], PointAt(corners[k], corners[next], t), t};
    }
    return {found[0], found[1]};
}

/// The larger screen extent of the four crossings decides the axis along which they are ordered;
/// none when all are in one grid column.
enum class OrderingAxis { none, x, y };

OrderingAxis ChooseAxis(const Span& a, const Span& b) {
    const auto [minX, maxX] =
        std::minmax({a.low.point.x, a.high.point.x, b.low.point.x, b.high.point.x});
    const auto [minY, maxY] =
        std::minmax({a.low.point.y, a.high.point.y, b.low.point.y, b.high.point.y});
    const long extentX = long{maxX} - long{minX};
    const long extentY = long{maxY} - long{minY};
    if (extentX == 0 && extentY == 0) {
        return OrderingAxis::none;
    }
    return extentX > extentY ? OrderingAxis::x : OrderingAxis::y;
}

/// The overlap of two spans along an axis; none when they are apart or only touch.
std::optional<IntersectionEdge> OverlapOf(Span a, Span b, OrderingAxis axis) {
    const auto key = [axis](const tPointOnEdge& p) {
        return axis == OrderingAxis::x ? p.point.x : p.point.y;
    };
    for (Span* span : {&a, &b}) {
        if (key(span->high) < key(span->low)) {
            std::swap(span->low, span->high);
        }
    }
    const bool lowestIsB = key(b.low) < key(a.low);
    bool lowIsB = key(b.low) >= key(a.low);
    const tPointOnEdge* low = lowIsB ? &b.low : &a.low;
    bool highIsB = key(b.high) < key(a.high);
    const tPointOnEdge* high = highIsB ? &b.high : &a.high;
    if (key(*low) >= key(*high)) {
        std::swap(low, high);
        std::swap(lowIsB, highIsB);
    }
    if (lowestIsB == lowIsB) {
        return std::nullopt;
    }
    return IntersectionEdge{*low, *high, false};
}

/// A plane or an edge line of a triangle as a linear function of grid points.
struct PlaneFunction {
    BakedVertex origin;
    GridVector normal;

    long operator()(const BakedVertex& p) const { return Dot(normal, Difference(p, origin)); }
};

/// The line through an edge of a triangle, negative inside of a counter-clockwise one.
PlaneFunction EdgeFunction(const BakedVertex& a, const BakedVertex& b) {
    const GridVector e = Difference(b, a);
    return {a, GridVector(e[1], -e[0], 0)};
}

/// A linear function along the triangle edge on which an end of an intersection edge lies.
class ValueAtEnd {
public:
    ValueAtEnd(const PlaneFunction& function, const tPointOnEdge& end)
        : t_(end.t), atStart_(function(end.edgeStart)), atEnd_(function(end.edgeEnd)) {}

    /// The exact sign at the end.
    int sign() const {
        const int start = SignOf(atStart_);
        const int end = SignOf(atEnd_);
        if (start == end) {
            return start;
        }
        const Fraction zero = MakeFraction(atStart_, WrapSubtract(atStart_, atEnd_));
        const int side = RationalTools::GreaterThan(t_, zero);
        // Beyond its zero the function has the sign of the far end, or of minus the near one.
        return side == 0 ? 0 : side * SignOf(WrapSubtract(atEnd_, atStart_));
    }

    /// The value rounded toward the one at the start of the edge.
    long rounded() const {
        if (t_[0] == t_[1]) {
            return atEnd_;
        }
        const double t = static_cast<double>(t_[0]) / static_cast<double>(t_[1]);
        const auto change = static_cast<double>(WrapSubtract(atEnd_, atStart_));
        return WrapAdd(atStart_, SaturatedToLong(t * change));
    }

private:
    const Fraction& t_;
    long atStart_;
    long atEnd_;
};

bool OverlapXY(const kx::kxBBox& a, const kx::kxBBox& b) {
    return a.min[0] <= b.max[0] && b.min[0] <= a.max[0] && a.min[1] <= b.max[1] &&
           b.min[1] <= a.max[1];
}

bool Overlap(const kx::kxBBox& a, const kx::kxBBox& b) {
    return OverlapXY(a, b) && a.min[2] <= b.max[2] && b.min[2] <= a.max[2];
}

/// The box of grid points, grown by a margin.
kx::kxBBox BoxOf(std::initializer_list<BakedVertex> points, float margin) {
    kx::kxBBox box;
    for (const BakedVertex& v : points) {
        const float p[3] = {static_cast<float>(v.x), static_cast<float>(v.y),
                            static_cast<float>(v.z)};
        for (int axis = 0; axis < 3; ++axis) {
            box.min[axis] = std::min(box.min[axis], p[axis] - margin);
            box.max[axis] = std::max(box.max[axis], p[axis] + margin);
        }
    }
    return box;
}

/// Whether the boxes of two triangles share a point. Crossings are rounded, so those of triangles
/// that lie beside each other may seem to overlap: what shares a leaf must not matter.
bool BoxesMeet(const BakedVertex (&a)[3], const BakedVertex (&b)[3]) {
    const auto meet = [&](std::int32_t BakedVertex::*axis) {
        const auto [lowA, highA] = std::minmax({a[0].*axis, a[1].*axis, a[2].*axis});
        const auto [lowB, highB] = std::minmax({b[0].*axis, b[1].*axis, b[2].*axis});
        return lowA <= highB && lowB <= highA;
    };
    return meet(&BakedVertex::x) && meet(&BakedVertex::y) && meet(&BakedVertex::z);
}

/// True when some of the box is strictly on each side of a triangle's plane. A triangle in a box
/// that is not cannot straddle that plane.
bool PlaneCutsBox(const tTriangleData& triangle, const kx::kxBBox& box) {
    const BakedVertex& p = triangle.vertices[0];
    const std::int32_t origin[3] = {p.x, p.y, p.z};
    long smallest = 0;
    long largest = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const long n = triangle.normal[axis];
        const long low = WrapMultiply(n, long{SaturatedToInt(box.min[axis])} - origin[axis]);
        const long high = WrapMultiply(n, long{SaturatedToInt(box.max[axis])} - origin[axis]);
        smallest = WrapAdd(smallest, std::min(low, high));
        largest = WrapAdd(largest, std::max(low, high));
    }
    return smallest < 0 && largest > 0;
}

} // namespace

struct TrianglesIntersection::tInternal {
    explicit tInternal(const BakedTriangles& bakedTriangles)
        : triangles(&bakedTriangles), bvh(&bakedTriangles.bvh) {}

    void findIntersectionEdges(std::list<IntersectionEdge>& edges) const;
    void findTriangleIntersections(std::uint32_t triangle,
                                   std::list<IntersectionEdge>& edges) const;
    void triangleIntersectionIter(unsigned int node,
                                  const tTriangleData& data,
                                  const kx::kxBBox& box,
                                  std::list<IntersectionEdge>& edges) const;
    bool testTriangleIntersection(const tTriangleData& a,
                                  std::uint32_t other,
                                  IntersectionEdge& edge) const;
    void computeEdgeOcclusion(const IntersectionEdge& edge,
                              std::vector<RationalInterval>& intervals) const;
    bool isNear(std::uint32_t triangle, const kx::kxBBox& box) const;
    void computeEdgeOcclusionIter(unsigned int node,
                                  const IntersectionEdge& edge,
                                  const kx::kxBBox& box,
                                  std::vector<RationalInterval>& intervals) const;
    bool computeTriangleEdgeOcclusion(const IntersectionEdge& edge,
                                      std::uint32_t triangle,
                                      Fraction& start,
                                      Fraction& end) const;
    bool collectPieces(const std::list<IntersectionEdge>& edges,
                       std::vector<Point>& visible,
                       std::vector<Point>* hidden) const;
    void appendVisiblePieces(const IntersectionEdge& edge,
                             const std::vector<RationalInterval>& hidden,
                             std::vector<Point>& pieces) const;
    void appendPiece(const IntersectionEdge& edge,
                     const Fraction& from,
                     const Fraction& to,
                     std::vector<Point>& pieces) const;

    tTriangleData fetch(std::uint32_t triangle) const;
    bool isCanceled() const {
        return progressNotifier != nullptr && progressNotifier->isCanceled();
    }

    const BakedTriangles* triangles;
    const kx::kxGenericBVH* bvh;
    kx::kxProgressNotifierInterface* progressNotifier = nullptr;
};

tTriangleData TrianglesIntersection::tInternal::fetch(std::uint32_t triangle) const {
    const unsigned int* corners = triangles->triangleIndices.data() + 3 * std::size_t{triangle};
    return {{triangles->vertices[corners[0]], triangles->vertices[corners[1]],
             triangles->vertices[corners[2]]},
            triangles->trianglePlanes[triangle],
            triangle};
}

void TrianglesIntersection::tInternal::findIntersectionEdges(
    std::list<IntersectionEdge>& edges) const {
    const auto count = static_cast<std::uint32_t>(triangles->trianglePlanes.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        if (progressNotifier != nullptr) {
            progressNotifier->advance(1.0);
            if (progressNotifier->isCanceled()) {
                return;
            }
        }
        findTriangleIntersections(i, edges);
    }
}

void TrianglesIntersection::tInternal::findTriangleIntersections(
    std::uint32_t triangle, std::list<IntersectionEdge>& edges) const {
    if (!bvh->nodes.empty()) {
        const tTriangleData data = fetch(triangle);
        const BakedVertex* v = data.vertices;
        triangleIntersectionIter(0, data, BoxOf({v[0], v[1], v[2]}, 0.0F), edges);
    }
}

void TrianglesIntersection::tInternal::triangleIntersectionIter(
    unsigned int node,
    const tTriangleData& data,
    const kx::kxBBox& box,
    std::list<IntersectionEdge>& edges) const {
    for (;;) {
        const HierarchyNode& here = bvh->nodes[node];
        if (!Overlap(here.box, box) || !PlaneCutsBox(data, here.box)) {
            return;
        }
        if (IsLeaf(here)) {
            const unsigned int* slot = bvh->primitives.data() + FirstSlot(here);
            for (const unsigned int* end = slot + here.second; slot != end; ++slot) {
                IntersectionEdge edge;
                // Every pair once; a triangle never meets itself.
                if (*slot > data.index && testTriangleIntersection(data, *slot, edge)) {
                    edges.push_back(edge);
                }
            }
            return;
        }
        triangleIntersectionIter(FirstChild(here), data, box, edges);
        node = SecondChild(here);
    }
}

bool TrianglesIntersection::tInternal::testTriangleIntersection(const tTriangleData& a,
                                                                std::uint32_t other,
                                                                IntersectionEdge& edge) const {
    const tTriangleData b = fetch(other);
    if (!BoxesMeet(a.vertices, b.vertices)) {
        return false;
    }
    // Parallel planes need no test of their own: all corners of one triangle are then at the same
    // distance from the other's plane and do not straddle it.
    const PlaneValues valuesA = ValuesAt(a.vertices, b.vertices[0], b.normal);
    if (!valuesA.straddle()) {
        return false;
    }
    const PlaneValues valuesB = ValuesAt(b.vertices, a.vertices[0], a.normal);
    if (!valuesB.straddle()) {
        return false;
    }
    const Span spanA = FindCrossings(a.vertices, valuesA);
    const Span spanB = FindCrossings(b.vertices, valuesB);
    const OrderingAxis axis = ChooseAxis(spanA, spanB);
    if (axis == OrderingAxis::none) {
        return false;
    }
    const std::optional<IntersectionEdge> overlap = OverlapOf(spanA, spanB, axis);
    if (overlap) {
        edge = *overlap;
        edge.grazing = valuesA.areBesidePlane(b.normal) || valuesB.areBesidePlane(a.normal);
    }
    return overlap.has_value();
}

void TrianglesIntersection::tInternal::computeEdgeOcclusion(
    const IntersectionEdge& edge, std::vector<RationalInterval>& intervals) const {
    constexpr float kMargin = 1.0F;
    computeEdgeOcclusionIter(0, edge, BoxOf({edge.first.point, edge.second.point}, kMargin),
                             intervals);
}

/// A crossing is computed from rounded values, so a triangle beside the edge could seem to hide a
/// bit of it. Each is held against the box by itself: what it shares a leaf with must not matter.
bool TrianglesIntersection::tInternal::isNear(std::uint32_t triangle, const kx::kxBBox& box) const {
    const tTriangleData data = fetch(triangle);
    return OverlapXY(BoxOf({data.vertices[0], data.vertices[1], data.vertices[2]}, 0.0F), box);
}

void TrianglesIntersection::tInternal::computeEdgeOcclusionIter(
    unsigned int node,
    const IntersectionEdge& edge,
    const kx::kxBBox& box,
    std::vector<RationalInterval>& intervals) const {
    for (;;) {
        const HierarchyNode& here = bvh->nodes[node];
        if (!OverlapXY(here.box, box)) {
            return;
        }
        if (IsLeaf(here)) {
            const unsigned int* slot = bvh->primitives.data() + FirstSlot(here);
            for (const unsigned int* end = slot + here.second; slot != end; ++slot) {
                Fraction start(0, 1);
                Fraction finish(1, 1);
                if (isNear(*slot, box) &&
                    computeTriangleEdgeOcclusion(edge, *slot, start, finish)) {
                    intervals.push_back({start, finish});
                }
            }
            return;
        }
        computeEdgeOcclusionIter(FirstChild(here), edge, box, intervals);
        node = SecondChild(here);
    }
}

bool TrianglesIntersection::tInternal::computeTriangleEdgeOcclusion(const IntersectionEdge& edge,
                                                                    std::uint32_t triangle,
                                                                    Fraction& start,
                                                                    Fraction& end) const {
    const tTriangleData hiding = fetch(triangle);
    const BakedVertex* corners = hiding.vertices;
    for (int number = 0; number < 4; ++number) {
        const PlaneFunction function = number == 0
                                           ? PlaneFunction{corners[0], hiding.normal}
                                           : EdgeFunction(corners[number - 1], corners[number % 3]);
        const ValueAtEnd first(function, edge.first);
        const ValueAtEnd second(function, edge.second);
        const int firstSign = first.sign();
        const int secondSign = second.sign();
        if (firstSign * secondSign >= 0) {
            if (firstSign + secondSign >= 0) {
                return false;
            }
            continue;
        }
        const bool entering = firstSign > 0;
        const long value1 =
            entering ? std::max(first.rounded(), 1L) : std::min(first.rounded(), -1L);
        const long value2 =
            entering ? std::min(second.rounded(), -1L) : std::max(second.rounded(), 1L);
        const Fraction crossing = MakeFraction(value1, WrapSubtract(value1, value2));
        if (entering && RationalTools::GreaterThan(crossing, start) > 0) {
            start = crossing;
        } else if (!entering && RationalTools::GreaterThan(end, crossing) > 0) {
            end = crossing;
        }
    }
    return RationalTools::GreaterThan(end, start) > 0;
}

void TrianglesIntersection::tInternal::appendPiece(const IntersectionEdge& edge,
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

void TrianglesIntersection::tInternal::appendVisiblePieces(
    const IntersectionEdge& edge,
    const std::vector<RationalInterval>& hidden,
    std::vector<Point>& pieces) const {
    Fraction visibleFrom(0, 1);
    for (const RationalInterval& range : hidden) {
        if (RationalTools::GreaterThan(range.start, visibleFrom) > 0) {
            appendPiece(edge, visibleFrom, range.start, pieces);
        }
        visibleFrom = range.end;
    }
    if (RationalTools::GreaterThan(Fraction(1, 1), visibleFrom) > 0) {
        appendPiece(edge, visibleFrom, Fraction(1, 1), pieces);
    }
}

/// False when there is nothing, or cancelled.
bool TrianglesIntersection::tInternal::collectPieces(const std::list<IntersectionEdge>& edges,
                                                     std::vector<Point>& visible,
                                                     std::vector<Point>* hidden) const {
    float step = 1.0F;
    if (progressNotifier != nullptr) {
        double start = 0.0;
        double end = 1.0;
        progressNotifier->getRange(start, end);
        step = static_cast<float>((end - start) / static_cast<double>(edges.size()));
    }
    std::vector<RationalInterval> intervals;
    for (const IntersectionEdge& edge : edges) {
        if (progressNotifier != nullptr) {
            progressNotifier->advance(static_cast<double>(step));
            if (progressNotifier->isCanceled()) {
                break;
            }
        }
        intervals.clear();
        computeEdgeOcclusion(edge, intervals);
        IntervalTools::FuseOverlappingIntervals(intervals);
        appendVisiblePieces(edge, intervals, visible);
        if (hidden != nullptr && !edge.grazing) {
            for (const RationalInterval& range : intervals) {
                appendPiece(edge, range.start, range.end, *hidden);
            }
        }
    }
    return !(visible.empty() && (hidden == nullptr || hidden->empty())) && !isCanceled();
}

namespace {

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

TrianglesIntersection::TrianglesIntersection(const BakedTriangles& triangles)
    : internal_(std::make_unique<tInternal>(triangles)) {}

TrianglesIntersection::~TrianglesIntersection() = default;

void TrianglesIntersection::setProgressNotifier(kx::kxProgressNotifierInterface* notifier) {
    internal_->progressNotifier = notifier;
}

LineSegmentSet* TrianglesIntersection::computeIntersectionEdges() const {
    return computeIntersectionEdges(nullptr);
}

LineSegmentSet*
TrianglesIntersection::computeIntersectionEdges(kx::kxPointer<LineSegmentSet>* hidden) const {
    if (hidden != nullptr) {
        *hidden = nullptr;
    }
    std::list<IntersectionEdge> edges;
    internal_->findIntersectionEdges(edges);
    if (internal_->isCanceled()) {
        return nullptr;
    }
    std::vector<Point> visiblePieces;
    std::vector<Point> hiddenPieces;
    if (!internal_->collectPieces(edges, visiblePieces,
                                  hidden != nullptr ? &hiddenPieces : nullptr)) {
        return nullptr;
    }
    if (hidden != nullptr) {
        *hidden = MakeSet(hiddenPieces);
    }
    return MakeSet(visiblePieces);
}

} // namespace ctr
