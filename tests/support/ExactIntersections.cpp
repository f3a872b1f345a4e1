// Signs are those of exact values. Only the parameter at which the outline or plane of a triangle
// crosses an intersection is an approximation by definition, computed here in the same steps.
#include "support/ExactIntersections.h"

#include "support/ExactOcclusion.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace test_support {

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using Corners = std::array<BakedVertex, 3>;
using Normal = std::array<Wide, 3>;

Corners CornersOf(const BakedTriangles& baked, unsigned int triangle) {
    Corners corners{};
    for (std::size_t k = 0; k < 3; ++k) {
        corners[k] = baked.vertices[baked.triangleIndices[3 * std::size_t{triangle} + k]];
    }
    return corners;
}

Normal NormalOf(const BakedTriangles& baked, unsigned int triangle) {
    const Wm4::Vector3<std::int64_t>& n = baked.trianglePlanes[triangle];
    return {n[0], n[1], n[2]};
}

// Rounding alone can make the crossings of triangles overlap that lie beside each other.
bool BoxesMeet(const Corners& a, const Corners& b) {
    const auto apart = [&](std::int32_t BakedVertex::*axis) {
        const auto [lowA, highA] = std::minmax({a[0].*axis, a[1].*axis, a[2].*axis});
        const auto [lowB, highB] = std::minmax({b[0].*axis, b[1].*axis, b[2].*axis});
        return highA < lowB || highB < lowA;
    };
    return !apart(&BakedVertex::x) && !apart(&BakedVertex::y) && !apart(&BakedVertex::z);
}

bool AreParallel(const Normal& a, const Normal& b) {
    return a[0] * b[1] == a[1] * b[0] && a[1] * b[2] == a[2] * b[1] && a[2] * b[0] == a[0] * b[2];
}

Wide AlongNormal(const BakedVertex& p, const BakedVertex& origin, const Normal& n) {
    return n[0] * (Wide{p.x} - origin.x) + n[1] * (Wide{p.y} - origin.y) +
           n[2] * (Wide{p.z} - origin.z);
}

int SignOf(Wide value) {
    return value > 0 ? 1 : (value < 0 ? -1 : 0);
}

Wide FloorQuotient(Wide numerator, Wide denominator) {
    const Wide quotient = numerator / denominator;
    return numerator % denominator < 0 ? quotient - 1 : quotient;
}

Fraction WithPositiveDenominator(Wide numerator, Wide denominator) {
    return denominator < 0 ? Fraction{-numerator, -denominator} : Fraction{numerator, denominator};
}

// --- the intersection of a pair of triangles ---

using Distances = std::array<Wide, 3>;

Distances DistancesOf(const Corners& corners, const BakedVertex& origin, const Normal& n) {
    return {AlongNormal(corners[0], origin, n), AlongNormal(corners[1], origin, n),
            AlongNormal(corners[2], origin, n)};
}

// With a contact tolerance, an edge in the plane of a triangle behind it is in front of it.
Distances WithSides(Distances d, bool inContact) {
    const bool hasEdge = std::count(d.begin(), d.end(), Wide{0}) == 2;
    const bool isBehind = *std::min_element(d.begin(), d.end()) < 0;
    for (Wide& distance : d) {
        distance = distance == 0 && inContact && hasEdge && isBehind ? 1 : distance;
    }
    return d;
}

bool Straddles(const Distances& d) {
    return *std::min_element(d.begin(), d.end()) < 0 && *std::max_element(d.begin(), d.end()) > 0;
}

bool HasZero(const Distances& d) {
    return std::find(d.begin(), d.end(), Wide{0}) != d.end();
}

// A corner in the plane belongs to the side that ends there, so a straddling triangle has two.
std::array<Crossing, 2>
CrossingsOf(const Corners& corners, const Distances& d, const Distances& sides) {
    std::array<Crossing, 2> crossings{};
    std::size_t count = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        const std::size_t next = (k + 1) % 3;
        if (sides[k] == 0 || SignOf(sides[k]) == SignOf(sides[next])) {
            continue;
        }
        const Fraction t = WithPositiveDenominator(d[k], d[k] - d[next]);
        crossings.at(count++) = {corners[k], corners[next], t,
                                 PointAt(corners[k], corners[next], t)};
    }
    return crossings;
}

// One end of a triangle's span on the line of a pair.
struct End {
    Crossing crossing;
    std::int32_t place;
    int owner; // 0 and 1 for the first and second triangle of the pair
};

struct Span {
    End low;
    End high;
};

Span SpanOf(const std::array<Crossing, 2>& crossings, bool alongX, int owner) {
    const auto end = [&](const Crossing& c) {
        return End{c, alongX ? c.point.x : c.point.y, owner};
    };
    const End first = end(crossings[0]);
    const End second = end(crossings[1]);
    return second.place < first.place ? Span{second, first} : Span{first, second};
}

bool HasTie(const Span& a, const Span& b) {
    return a.low.place == a.high.place || b.low.place == b.high.place ||
           a.low.place == b.low.place || a.high.place == b.high.place ||
           a.low.place == b.high.place || b.low.place == a.high.place;
}

std::optional<Intersection> CommonPart(const Span& a, const Span& b) {
    const int ownerOfLowest = b.low.place < a.low.place ? 1 : 0;
    End low = a.low.place > b.low.place ? a.low : b.low;
    End high = b.high.place < a.high.place ? b.high : a.high;
    if (low.place >= high.place) {
        std::swap(low, high);
    }
    if (low.owner == ownerOfLowest) {
        return std::nullopt;
    }
    return Intersection{low.crossing, high.crossing};
}

std::int32_t Extent(const std::array<std::int32_t, 4>& values) {
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return *most - *least;
}

std::optional<Intersection> IntersectionOfSpans(const std::array<Crossing, 2>& a,
                                                const std::array<Crossing, 2>& b,
                                                IntersectionCounts& counts) {
    const std::int32_t acrossX = Extent({a[0].point.x, a[1].point.x, b[0].point.x, b[1].point.x});
    const std::int32_t acrossY = Extent({a[0].point.y, a[1].point.y, b[0].point.y, b[1].point.y});
    if (acrossX == 0 && acrossY == 0) {
        ++counts.inOneColumn;
        return std::nullopt;
    }
    const bool alongX = acrossX > acrossY;
    const Span spanA = SpanOf(a, alongX, 0);
    const Span spanB = SpanOf(b, alongX, 1);
    counts.ties += HasTie(spanA, spanB) ? 1 : 0;
    std::optional<Intersection> intersection = CommonPart(spanA, spanB);
    counts.apart += intersection ? 0 : 1;
    return intersection;
}

bool EndsInCorner(const Crossing& c) {
    return c.t.numerator == c.t.denominator;
}

// --- the occluders of an intersection ---

// A function that is linear over the grid, at the two ends of the side that a crossing lies on.
struct Values {
    Wide atFrom;
    Wide atTo;
};

int ExactSign(const Values& v, const Fraction& t) {
    return SignOf(v.atFrom * (t.denominator - t.numerator) + v.atTo * t.numerator);
}

Wide RoundedValue(const Values& v, const Fraction& t) {
    const double parameter = static_cast<double>(t.numerator) / static_cast<double>(t.denominator);
    const Wide step = static_cast<Wide>(parameter * static_cast<double>(v.atTo - v.atFrom));
    return t.numerator == t.denominator ? v.atTo : v.atFrom + step;
}

// The value at a crossing as an integer of the exact sign, which is known not to be zero.
Wide RoundedValue(const Values& v, const Fraction& t, int sign) {
    const Wide value = RoundedValue(v, t);
    return sign > 0 ? std::max(value, Wide{1}) : std::min(value, Wide{-1});
}

struct Window {
    Fraction start{0, 1};
    Fraction end{1, 1};
};

// Keeps what lies on the negative side; false when nothing does.
bool Narrow(Window& window,
            const Values& first,
            const Fraction& firstT,
            const Values& second,
            const Fraction& secondT,
            bool isClosed) {
    const int sign1 = ExactSign(first, firstT);
    const int sign2 = ExactSign(second, secondT);
    if (sign1 == 0 && sign2 == 0) {
        return isClosed;
    }
    if (sign1 * sign2 != -1) {
        return sign1 + sign2 < 0;
    }
    const Wide value1 = RoundedValue(first, firstT, sign1);
    const Wide value2 = RoundedValue(second, secondT, sign2);
    const Fraction c = WithPositiveDenominator(value1, value1 - value2);
    if (sign1 > 0) {
        window.start = Compare(c, window.start) > 0 ? c : window.start;
    } else {
        window.end = Compare(c, window.end) < 0 ? c : window.end;
    }
    return true;
}

template <typename Function>
bool NarrowBy(Window& window,
              const Intersection& intersection,
              const Function& f,
              bool isClosed = false) {
    return Narrow(window, {f(intersection.first.from), f(intersection.first.to)},
                  intersection.first.t, {f(intersection.second.from), f(intersection.second.to)},
                  intersection.second.t, isClosed);
}

Wm4::Vector2<std::int64_t> Narrowed(const Fraction& f) {
    return {static_cast<long>(f.numerator), static_cast<long>(f.denominator)};
}

ScreenBox BoxOfTriangle(const BakedTriangles& baked, unsigned int triangle) {
    return BoxOf(CornersOf(baked, triangle));
}

ScreenBox BoxAround(const Intersection& intersection) {
    return BoxOf(intersection.first.point, intersection.second.point).grownBy(1);
}

// --- what remains visible ---

std::vector<ctr::RationalInterval> Complement(const std::vector<ctr::RationalInterval>& hidden) {
    const Wm4::Vector2<std::int64_t> whole(1, 1);
    std::vector<ctr::RationalInterval> visible;
    Wm4::Vector2<std::int64_t> from(0, 1);
    for (const ctr::RationalInterval& range : hidden) {
        if (Compare(range.start, from) > 0) {
            visible.push_back({from, range.start});
        }
        from = range.end;
    }
    if (Compare(whole, from) > 0) {
        visible.push_back({from, whole});
    }
    return visible;
}

// The crossings of a triangle's sides are rounded, so a triangle well beside an intersection may
// seem to hide some of it. Only those are tested whose box comes within a step of that of the
// intersection, on the screen.
std::vector<ctr::RationalInterval> HiddenByAny(const BakedTriangles& baked,
                                               const Intersection& intersection,
                                               const TrianglesNear& near,
                                               IntersectionCounts& counts) {
    std::vector<ctr::RationalInterval> ranges;
    const ScreenBox box = BoxAround(intersection);
    for (const unsigned int k : near(box)) {
        const auto range = HiddenOfIntersection(baked, intersection, k);
        const bool isNear = BoxOfTriangle(baked, k).meets(box);
        if (range && isNear) {
            ranges.push_back(*range);
        }
        counts.hiddenFromAfar += range && !isNear ? 1 : 0;
    }
    counts.hiddenRanges += static_cast<int>(ranges.size());
    return ranges;
}

/// The pieces of an intersection in some ranges; returns how many are left out, as in one column.
int AppendPieces(const Intersection& intersection,
                 const std::vector<ctr::RationalInterval>& ranges,
                 std::vector<GridPiece>& pieces) {
    int dropped = 0;
    for (const ctr::RationalInterval& range : ranges) {
        const BakedVertex p =
            PointAt(intersection.first.point, intersection.second.point, ToFraction(range.start));
        const BakedVertex q =
            PointAt(intersection.first.point, intersection.second.point, ToFraction(range.end));
        if (p.x == q.x && p.y == q.y) {
            ++dropped;
        } else {
            pieces.emplace_back(p, q);
        }
    }
    return dropped;
}

/// Whether sixteen grid steps along every axis could bring each corner of the first onto the plane
/// of the second.
bool IsBesidePlane(const BakedTriangles& baked, unsigned int first, unsigned int second) {
    const Corners other = CornersOf(baked, second);
    const Normal n = NormalOf(baked, second);
    const auto size = [](const auto& v) { return v < 0 ? -v : v; };
    for (const BakedVertex& corner : CornersOf(baked, first)) {
        if (size(AlongNormal(corner, other[0], n)) > 16 * (size(n[0]) + size(n[1]) + size(n[2]))) {
            return false;
        }
    }
    return true;
}

bool IsGrazing(const BakedTriangles& baked, unsigned int i, unsigned int j) {
    return IsBesidePlane(baked, i, j) || IsBesidePlane(baked, j, i);
}

// --- contact ---

Wide BandOf(const BakedTriangles& baked, const Normal& n) {
    const auto size = [](Wide v) { return v < 0 ? -v : v; };
    return StepsThatCount(*baked.projectionSpace, baked.contactTolerance) *
           (size(n[0]) + size(n[1]) + size(n[2]));
}

// A value, linear from one end of a line to the other, times the denominator of the parameter.
Wide At(const Fraction& t, Wide atFrom, Wide atTo) {
    return atFrom * (t.denominator - t.numerator) + atTo * t.numerator;
}

Wide SideOf(const BakedVertex& from, const BakedVertex& to, const BakedVertex& p) {
    return (Wide{to.x} - from.x) * (Wide{p.y} - from.y) -
           (Wide{to.y} - from.y) * (Wide{p.x} - from.x);
}

// The parameters of from -> to at which it ends or meets the line of a side of a closed triangle,
// as far as the triangle holds them.
std::vector<Fraction>
MeetingsWithin(const Corners& t, const BakedVertex& from, const BakedVertex& to) {
    std::array<Values, 3> sides{};
    std::vector<Fraction> meetings{{0, 1}, {1, 1}};
    for (std::size_t k = 0; k < 3; ++k) {
        const std::size_t next = (k + 1) % 3;
        sides[k] = {SideOf(t[k], t[next], from), SideOf(t[k], t[next], to)};
        if (SignOf(sides[k].atFrom) * SignOf(sides[k].atTo) < 0) {
            meetings.push_back(
                WithPositiveDenominator(sides[k].atFrom, sides[k].atFrom - sides[k].atTo));
        }
    }
    const auto isOutside = [&](const Fraction& at) {
        return std::any_of(sides.begin(), sides.end(),
                           [&](const Values& side) { return At(at, side.atFrom, side.atTo) < 0; });
    };
    meetings.erase(std::remove_if(meetings.begin(), meetings.end(), isOutside), meetings.end());
    return meetings;
}

bool AreSeveral(const std::vector<Fraction>& places) {
    return std::any_of(places.begin(), places.end(),
                       [&](const Fraction& place) { return Compare(place, places.front()) != 0; });
}

// Whether no corner of the overlap of both triangles on screen separates their planes by more
// than the tolerance, measured across the one that is steeper.
bool AreInContact(const BakedTriangles& baked, unsigned int i, unsigned int j) {
    const auto size = [](Wide v) { return v < 0 ? -v : v; };
    const Normal normals[2] = {NormalOf(baked, i), NormalOf(baked, j)};
    const Wide bands[2] = {BandOf(baked, normals[0]), BandOf(baked, normals[1])};
    const bool isFirstSteeper = bands[0] * size(normals[1][2]) > bands[1] * size(normals[0][2]);
    const Corners steep = CornersOf(baked, isFirstSteeper ? i : j);
    const Corners flat = CornersOf(baked, isFirstSteeper ? j : i);
    const Normal& n = normals[isFirstSteeper ? 0 : 1];
    const Normal& flatNormal = normals[isFirstSteeper ? 1 : 0];
    const Wide band = bands[isFirstSteeper ? 0 : 1];
    for (std::size_t k = 0; k < 3; ++k) {
        const BakedVertex& from = flat[k];
        const BakedVertex& to = flat[(k + 1) % 3];
        const std::vector<Fraction> meetings = MeetingsWithin(steep, from, to);
        for (const Fraction& t : AreSeveral(meetings) ? meetings : std::vector<Fraction>()) {
            if (size(At(t, AlongNormal(from, steep[0], n), AlongNormal(to, steep[0], n))) >
                band * t.denominator) {
                return false;
            }
        }
        const bool isOver = SideOf(flat[0], flat[1], steep[k]) >= 0 &&
                            SideOf(flat[1], flat[2], steep[k]) >= 0 &&
                            SideOf(flat[2], flat[0], steep[k]) >= 0;
        if (isOver && size(AlongNormal(steep[k], flat[0], flatNormal)) * size(n[2]) >
                          band * size(flatNormal[2])) {
            return false;
        }
    }
    return true;
}

void AppendIntersection(const std::vector<IntersectionHiders>& hiders,
                        const Intersection& intersection,
                        bool grazing,
                        IntersectionPieces& pieces,
                        IntersectionCounts& counts) {
    std::vector<ctr::RationalInterval> ranges;
    for (const auto& [baked, near] : hiders) {
        const auto some = HiddenByAny(*baked, intersection, near, counts);
        ranges.insert(ranges.end(), some.begin(), some.end());
    }
    const auto hidden = ExactUnion(ranges);
    const auto visible = Complement(hidden);
    counts.partlyHidden += !hidden.empty() && !visible.empty() ? 1 : 0;
    counts.piecesDropped += AppendPieces(intersection, visible, pieces.visible);
    if (!grazing) {
        AppendPieces(intersection, hidden, pieces.hidden);
    }
}

} // namespace

BakedVertex PointAt(const BakedVertex& p0, const BakedVertex& p1, const Fraction& t) {
    const auto at = [&](std::int32_t from, std::int32_t to) {
        const Wide way = Wide{to} - from;
        return static_cast<std::int32_t>(from + FloorQuotient(way * t.numerator, t.denominator));
    };
    return {at(p0.x, p1.x), at(p0.y, p1.y), at(p0.z, p1.z)};
}

std::optional<Intersection> IntersectionOf(const BakedTriangles& baked,
                                           unsigned int i,
                                           unsigned int j,
                                           IntersectionCounts& counts) {
    ++counts.pairs;
    const Normal normalA = NormalOf(baked, i);
    const Normal normalB = NormalOf(baked, j);
    if (AreParallel(normalA, normalB)) {
        ++counts.parallel;
        return std::nullopt;
    }
    const Corners a = CornersOf(baked, i);
    const Corners b = CornersOf(baked, j);
    const Distances ofA = DistancesOf(a, b[0], normalB);
    const Distances ofB = DistancesOf(b, a[0], normalA);
    if (!BoxesMeet(a, b)) {
        return std::nullopt;
    }
    const bool inContact = baked.contactTolerance > 0;
    const Distances sidesOfA = WithSides(ofA, inContact);
    const Distances sidesOfB = WithSides(ofB, inContact);
    if (!Straddles(sidesOfA) || !Straddles(sidesOfB)) {
        counts.touching += HasZero(ofA) || HasZero(ofB) ? 1 : 0;
        return std::nullopt;
    }
    ++counts.straddling;
    std::optional<Intersection> intersection =
        IntersectionOfSpans(CrossingsOf(a, ofA, sidesOfA), CrossingsOf(b, ofB, sidesOfB), counts);
    counts.alongEdges += intersection && !(Straddles(ofA) && Straddles(ofB)) ? 1 : 0;
    if (intersection) {
        ++counts.intersections;
        counts.throughCorners +=
            EndsInCorner(intersection->first) || EndsInCorner(intersection->second) ? 1 : 0;
    }
    return intersection;
}

std::optional<ctr::RationalInterval> HiddenOfIntersection(const BakedTriangles& baked,
                                                          const Intersection& intersection,
                                                          unsigned int triangle) {
    const Corners t = CornersOf(baked, triangle);
    const Normal n = NormalOf(baked, triangle);
    Window window;
    if (!NarrowBy(window, intersection,
                  [&](const BakedVertex& p) { return AlongNormal(p, t[0], n); })) {
        return std::nullopt;
    }
    for (std::size_t k = 0; k < 3; ++k) {
        const BakedVertex& a = t[k];
        const BakedVertex& b = t[(k + 1) % 3];
        const auto side = [&](const BakedVertex& p) {
            return (Wide{p.x} - a.x) * (Wide{b.y} - a.y) - (Wide{p.y} - a.y) * (Wide{b.x} - a.x);
        };
        if (!NarrowBy(window, intersection, side, baked.contactTolerance > 0)) {
            return std::nullopt;
        }
    }
    const auto depth = [&](const Crossing& end) {
        return RoundedValue({AlongNormal(end.from, t[0], n), AlongNormal(end.to, t[0], n)}, end.t);
    };
    const auto isDeep = [&](const Fraction& at) {
        return At(at, depth(intersection.first), depth(intersection.second)) <
               -BandOf(baked, n) * at.denominator;
    };
    if (Compare(window.start, window.end) >= 0 ||
        (baked.contactTolerance > 0 && !isDeep(window.start) && !isDeep(window.end))) {
        return std::nullopt;
    }
    return ctr::RationalInterval{Narrowed(window.start), Narrowed(window.end)};
}

IntersectionPieces PiecesOfIntersections(const BakedTriangles& baked,
                                         const TrianglesNear& near,
                                         IntersectionCounts& counts) {
    return PiecesOfIntersections(baked, near, {{&baked, near}}, counts);
}

IntersectionPieces PiecesOfIntersections(const BakedTriangles& baked,
                                         const TrianglesNear& near,
                                         const std::vector<IntersectionHiders>& hiders,
                                         IntersectionCounts& counts) {
    IntersectionPieces pieces;
    const auto triangles = static_cast<unsigned int>(baked.trianglePlanes.size());
    for (unsigned int i = 0; i < triangles; ++i) {
        for (const unsigned int j : near(BoxOfTriangle(baked, i))) {
            const auto intersection = j > i ? IntersectionOf(baked, i, j, counts) : std::nullopt;
            const bool inContact =
                intersection && baked.contactTolerance > 0 && AreInContact(baked, i, j);
            counts.inContact += inContact ? 1 : 0;
            if (intersection && !inContact) {
                counts.atOwnTriangle += HiddenOfIntersection(baked, *intersection, i) ? 1 : 0;
                counts.atOwnTriangle += HiddenOfIntersection(baked, *intersection, j) ? 1 : 0;
                AppendIntersection(hiders, *intersection, IsGrazing(baked, i, j), pieces, counts);
            }
        }
    }
    counts.pieces += static_cast<int>(pieces.visible.size());
    return pieces;
}

IntersectionPieces PiecesOfIntersections(const BakedTriangles& baked, IntersectionCounts& counts) {
    return PiecesOfIntersections(baked, EveryTriangle(baked), counts);
}

TrianglesNear EveryTriangle(const BakedTriangles& baked) {
    std::vector<unsigned int> all(baked.trianglePlanes.size());
    std::iota(all.begin(), all.end(), 0U);
    return [all](const ScreenBox&) { return all; };
}

std::vector<GridPiece> VisibleIntersections(const BakedTriangles& baked,
                                            IntersectionCounts& counts) {
    return PiecesOfIntersections(baked, counts).visible;
}

Wm4::Vector3<float> ToWorld(const ctr::DiscreteProjectionSpace& space, const BakedVertex& p) {
    const float x = static_cast<float>(p.x) * space.voxelSize[0] + space.frustumMin[0];
    const float y = static_cast<float>(p.y) * space.voxelSize[1] + space.frustumMin[1];
    const float z = static_cast<float>(p.z) * space.voxelSize[2] + space.frustumMin[2];
    const Wm4::Matrix4<float>& m = space.clipToWorld;
    std::array<float, 4> v{};
    for (int c = 0; c < 4; ++c) {
        v[static_cast<std::size_t>(c)] = x * m[0][c] + y * m[1][c] + z * m[2][c] + m[3][c];
    }
    return {v[0] / v[3], v[1] / v[3], v[2] / v[3]};
}

std::vector<SegmentBits> SortedWorldBits(const ctr::DiscreteProjectionSpace& space,
                                         const std::vector<GridPiece>& pieces) {
    std::vector<SegmentBits> segments;
    for (const GridPiece& piece : pieces) {
        SegmentBits bits{};
        for (int axis = 0; axis < 3; ++axis) {
            const auto i = static_cast<std::size_t>(axis);
            bits[i] = std::bit_cast<std::uint32_t>(ToWorld(space, piece.first)[axis]);
            bits[3 + i] = std::bit_cast<std::uint32_t>(ToWorld(space, piece.second)[axis]);
        }
        segments.push_back(bits);
    }
    std::sort(segments.begin(), segments.end());
    return segments;
}

} // namespace test_support
