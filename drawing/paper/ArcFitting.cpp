// Replaces runs of a polyline by circular and elliptic arcs, from its start to its end: from each
// start the longest run that an arc fits, by doubling and bisection, with a least-squares fit
// (Ellipse.h) and a check of every vertex per attempt. Expected O(n log n) for n points.
//
// The check bounds the distance between arc and polyline exactly, without samples. Every vertex V
// has a foot E on the arc at distance d. Between successive feet the arc is convex; as long as its
// tangents at both feet point along the chord between them, its distance from the chord is largest
// where it is parallel to the chord, which is at the mean of the two angles (an ellipse is the
// affine image of a circle, and affine maps keep midpoints and parallels). With h that distance,
// arc and chord are within h of each other in both directions, the chord and the line of the
// polyline within the larger d of its ends, and so the arc and the polyline within h + d.
#include "drawing/paper/ArcFitting.h"

#include "drawing/common/Angles.h"
#include "drawing/paper/Ellipse.h"
#include "drawing/paper/Plane.h"

#include <numbers>
#include <optional>
#include <span>

namespace kxcontour {
namespace {

using namespace plane;

/// Radians. A vertex with a larger turning angle is a corner.
constexpr double kCorner = std::numbers::pi / 6.0;

/// The turning angles of a polyline at its vertices, and the longest runs without inflection or
/// corner.
///
/// An angle is positive from x towards y. Angles at vertices within the noise of the line between
/// their neighbours count as turns to either side.
class TurningAngles {
public:
    /// points: two or more; closed if the last equals the first. noise in millimetres. O(n).
    TurningAngles(const std::vector<Point>& points, double noise) : limits_(points.size()) {
        const std::size_t last = points.size() - 1;
        std::vector<Turn> turns(points.size());
        headings_.assign(last, 0.0);
        for (std::size_t i = 0; i < last; ++i) {
            hasRepeatedPoint_ = hasRepeatedPoint_ || IsSame(points[i], points[i + 1]);
            if (i > 0) {
                turns[i] = TurnAt(points[i - 1], points[i], points[i + 1], noise);
                headings_[i] = headings_[i - 1] + turns[i].angle;
                count(turns[i]);
            }
        }
        if (IsSame(points.front(), points.back())) {
            count(TurnAt(points[last - 1], points[0], points[1], noise));
        }
        findLimits(points, turns);
    }

    /// The direction of the line that starts at the point relative to that of the first one: the
    /// sum of the turning angles between. Radians.
    double heading(std::size_t line) const { return headings_[line]; }

    /// The last point of the longest run from the first point without a corner, a line of zero
    /// length or a turn to the other side.
    std::size_t limit(std::size_t first, bool positive) const {
        return positive ? limits_[first].positive : limits_[first].negative;
    }

    /// Corners count as any other turn; so does the start of a closed polyline.
    bool turnsToOneSide(bool positive) const { return positive ? !hasNegative_ : !hasPositive_; }

    /// Whether any two successive points are equal.
    bool hasRepeatedPoint() const { return hasRepeatedPoint_; }

private:
    struct Limits {
        std::size_t positive = 0;
        std::size_t negative = 0;
    };
    struct Turn {
        double angle = 0.0;
        bool isNoise = false;
    };

    static Turn TurnAt(Point before, Point at, Point after, double noise) {
        const Point arriving = at - before;
        const Point leaving = after - at;
        const double cross = Cross(arriving, leaving);
        const double height = noise * Distance(before, after);
        return {AngleOf(Dot(arriving, leaving), cross), std::abs(cross) <= height};
    }

    void count(const Turn& turn) {
        hasPositive_ = hasPositive_ || (turn.angle > 0.0 && !turn.isNoise);
        hasNegative_ = hasNegative_ || (turn.angle < 0.0 && !turn.isNoise);
    }

    /// A point has the limits of the next one unless the run must end there.
    void findLimits(const std::vector<Point>& points, const std::vector<Turn>& turns) {
        const std::size_t last = points.size() - 1;
        limits_[last] = {last, last};
        for (std::size_t i = last; i-- > 0;) {
            if (IsSame(points[i], points[i + 1])) {
                limits_[i] = {i, i};
                continue;
            }
            limits_[i] = limits_[i + 1];
            const Turn& turn = turns[i + 1];
            const bool isCorner = std::abs(turn.angle) > kCorner;
            if (isCorner || (turn.angle < 0.0 && !turn.isNoise)) {
                limits_[i].positive = i + 1;
            }
            if (isCorner || (turn.angle > 0.0 && !turn.isNoise)) {
                limits_[i].negative = i + 1;
            }
        }
    }

    std::vector<double> headings_;
    std::vector<Limits> limits_;
    bool hasPositive_ = false;
    bool hasNegative_ = false;
    bool hasRepeatedPoint_ = false;
};

constexpr double kFullTurn = 2.0 * std::numbers::pi;

/// The largest angle of an arc that one line may span, as for a corner, measured on the circle that
/// the ellipse is the image of.
constexpr double kLargestStep = kCorner;

/// The least angle that an arc turns by.
constexpr double kLeastTurn = 10.0 * kDegree;

/// The least number of lines of an arc. Five points always define a conic, so at least six are
/// required for an ellipse.
constexpr std::size_t kLeastLinesOfCircle = 4;
constexpr std::size_t kLeastLinesOfEllipse = 5;

/// Millimetres; flatter runs count as straight.
constexpr double kLargestRadius = 1e4;

/// The least sagitta of an arc, in tolerances.
constexpr double kLeastSagitta = 2.0;

/// The rounding error allowed in the position of a vertex, in tolerances.
constexpr double kNoise = 0.2;

/// Millimetres; half of the bound on ends in the header.
constexpr double kEndError = 5e-5;

/// An ellipse is preferred to a circle only when it is longer by this factor: every circle that
/// continues as another curve could be an ellipse for a little longer.
constexpr double kEllipseGain = 1.5;

/// The most points used in a fit; the check uses all.
constexpr std::size_t kMostFitted = 64;

/// Points in order along an arc.
struct Run {
    std::span<const Point> points;
    bool positive = true; ///< Turns from x towards y.
};

/// The advance of the angle in the run's direction, up to half a turn. A vertex slightly behind its
/// predecessor, by rounding, shares the foot of that: any foot is valid as long as none goes back.
double Advance(double from, double to, bool positive) {
    const double turn = positive ? to - from : from - to;
    const double step = turn - kFullTurn * std::floor(turn / kFullTurn);
    return step <= kFullTurn / 2.0 ? step : 0.0;
}

/// The largest distance of an arc between two angles from its chord; infinite where the tangent at
/// an end does not point along the chord.
double DistanceFromChord(const Ellipse& ellipse, double from, double to) {
    if (from == to) {
        return 0.0;
    }
    const Point start = ellipse.at(from);
    const Point chord = ellipse.at(to) - start;
    const double sense = to > from ? 1.0 : -1.0;
    if (!(Dot(ellipse.tangentAt(from), chord) * sense > 0.0) ||
        !(Dot(ellipse.tangentAt(to), chord) * sense > 0.0)) {
        return std::numeric_limits<double>::infinity();
    }
    return std::abs(Cross(Direction(chord), ellipse.at((from + to) / 2.0) - start));
}

/// The arc of the ellipse in place of the run, if it stays within tolerance of it everywhere.
/// first and last are left for the caller to fill.
std::optional<Arc> ArcAlong(const Run& run, const Ellipse& ellipse, double tolerance) {
    const bool closed = IsSame(run.points.front(), run.points.back());
    const double start = ellipse.angleNear(run.points.front());
    double angle = start;
    double sweep = 0.0;
    double off = Distance(ellipse.at(start), run.points.front());
    if (off > kEndError) {
        return std::nullopt;
    }
    for (std::size_t i = 1; i < run.points.size(); ++i) {
        const bool isLast = i + 1 == run.points.size();
        const double step = closed && isLast
                                ? kFullTurn - sweep
                                : Advance(angle, ellipse.angleNear(run.points[i]), run.positive);
        const double next = run.positive ? angle + step : angle - step;
        const double nextOff = Distance(ellipse.at(next), run.points[i]);
        if (!(step >= 0.0) || step > kLargestStep || nextOff > (isLast ? kEndError : tolerance) ||
            DistanceFromChord(ellipse, angle, next) + std::max(off, nextOff) > tolerance) {
            return std::nullopt;
        }
        angle = next;
        off = nextOff;
        sweep += step;
    }
    if (sweep > kFullTurn || (!closed && sweep == kFullTurn)) {
        return std::nullopt;
    }
    Arc arc;
    arc.center = ellipse.center;
    arc.radiusX = ellipse.radiusX;
    arc.radiusY = ellipse.radiusY;
    arc.rotation = AngleOf(ellipse.axis.x, ellipse.axis.y) / kDegree;
    arc.start = start / kDegree;
    arc.sweep = closed ? 360.0 : sweep / kDegree;
    if (!run.positive) {
        arc.sweep = -arc.sweep;
    }
    return arc;
}

/// Up to kMostFitted points at even steps, with both ends.
std::vector<Point> SampleOf(std::span<const Point> points) {
    const std::size_t count = std::min(points.size(), kMostFitted);
    std::vector<Point> sample(count);
    for (std::size_t i = 0; i < count; ++i) {
        sample[i] = points[i * (points.size() - 1) / (count - 1)];
    }
    return sample;
}

bool AreNear(const std::vector<Point>& points, const Ellipse& ellipse, double tolerance) {
    return std::all_of(points.begin(), points.end(), [&](Point point) {
        return Distance(ellipse.at(ellipse.angleNear(point)), point) <= tolerance;
    });
}

/// The best arc for the run within tolerance, if any. A sample is tested before all points: most
/// fits that fail do so everywhere.
std::optional<Arc> ArcFor(const Run& run, EllipseKind kind, double tolerance) {
    const std::vector<Point> sample = SampleOf(run.points);
    const std::optional<Ellipse> ellipse = FitEllipse(sample, kind);
    if (!ellipse || !(ellipse->radiusX <= kLargestRadius) || !(ellipse->radiusY > 0.0) ||
        !AreNear(sample, *ellipse, tolerance)) {
        return std::nullopt;
    }
    return ArcAlong(run, *ellipse, tolerance);
}

double SagittaOf(std::span<const Point> points) {
    double square = 0.0;
    for (const Point& point : points) {
        square = std::max(square, SquaredDistanceToLine(point, points.front(), points.back()));
    }
    return std::sqrt(square);
}

/// Finds the arcs of a path that is not one closed ellipse.
class ArcFinder {
public:
    ArcFinder(const std::vector<Point>& points, const TurningAngles& angles, double tolerance)
        : points_(points), angles_(angles), tolerance_(tolerance) {}

    std::vector<Arc> arcs() {
        std::vector<Arc> result;
        std::size_t first = 0;
        while (findTurn(first)) {
            if (const std::optional<Arc> arc = arcFrom(first)) {
                result.push_back(*arc);
                first = arc->last;
                turned_ = 0;
            } else {
                ++first;
            }
        }
        return result;
    }

private:
    /// Advances turned_ to a point up to which a run from there turns far enough. It never moves
    /// back while the start advances, so all calls together are one pass.
    bool findTurn(std::size_t first) {
        turned_ = std::max(turned_, first + kLeastLinesOfCircle);
        while (turned_ < points_.size() && std::abs(turnOf(first, turned_)) < kLeastTurn) {
            ++turned_;
        }
        return turned_ < points_.size();
    }

    double turnOf(std::size_t first, std::size_t last) const {
        return angles_.heading(last - 1) - angles_.heading(first);
    }

    std::optional<Arc> arcFrom(std::size_t first) const {
        const bool positive = turnOf(first, turned_) > 0.0;
        const std::size_t limit = angles_.limit(first, positive);
        if (turned_ > limit) {
            return std::nullopt;
        }
        std::optional<Arc> arc = longest(first, limit, positive, EllipseKind::Circle);
        if (!arc || arc->last < limit) {
            const std::optional<Arc> other = longest(first, limit, positive, EllipseKind::Any);
            if (other && (!arc || lengthOf(*other) > kEllipseGain * lengthOf(*arc))) {
                arc = other;
            }
        }
        if (!arc || std::abs(turnOf(first, arc->last)) < kLeastTurn ||
            SagittaOf(spanOf(first, arc->last)) < kLeastSagitta * tolerance_) {
            return std::nullopt;
        }
        return arc;
    }

    /// Doubles the length of the run until no arc fits, then bisects.
    std::optional<Arc>
    longest(std::size_t first, std::size_t limit, bool positive, EllipseKind kind) const {
        const std::size_t least =
            kind == EllipseKind::Circle ? kLeastLinesOfCircle : kLeastLinesOfEllipse;
        std::size_t good = std::max(turned_, first + least);
        std::optional<Arc> best = tryArc(first, good, limit, positive, kind);
        if (!best) {
            return best;
        }
        std::size_t bad = limit + 1;
        for (std::size_t step = good - first; good + 1 < bad;) {
            const bool growing = bad > limit;
            const std::size_t next =
                growing ? std::min(good + step, limit) : good + (bad - good) / 2;
            if (const std::optional<Arc> arc = tryArc(first, next, limit, positive, kind)) {
                best = arc;
                good = next;
                step *= 2;
            } else {
                bad = next;
            }
        }
        return best;
    }

    std::optional<Arc> tryArc(std::size_t first,
                              std::size_t last,
                              std::size_t limit,
                              bool positive,
                              EllipseKind kind) const {
        if (last > limit || IsSame(points_[first], points_[last])) {
            return std::nullopt;
        }
        std::optional<Arc> arc = ArcFor({spanOf(first, last), positive}, kind, tolerance_);
        if (arc) {
            arc->first = first;
            arc->last = last;
        }
        return arc;
    }

    std::span<const Point> spanOf(std::size_t first, std::size_t last) const {
        return {points_.data() + first, last - first + 1};
    }

    double lengthOf(const Arc& arc) const { return LengthOf(spanOf(arc.first, arc.last)); }

    const std::vector<Point>& points_;
    const TurningAngles& angles_;
    double tolerance_;
    std::size_t turned_ = 0;
};

double SignedArea(const std::vector<Point>& points) {
    double area = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        area += Cross(points[i - 1] - points[0], points[i] - points[0]) / 2.0;
    }
    return area;
}

/// The whole of a closed path as one full turn.
std::optional<Arc>
FullTurn(const std::vector<Point>& points, const TurningAngles& angles, double tolerance) {
    const bool positive = SignedArea(points) > 0.0;
    if (!IsSame(points.front(), points.back()) || angles.hasRepeatedPoint() ||
        !angles.turnsToOneSide(positive)) {
        return std::nullopt;
    }
    for (const EllipseKind kind : {EllipseKind::Circle, EllipseKind::Any}) {
        std::optional<Arc> arc = ArcFor({points, positive}, kind, tolerance);
        if (arc && arc->radiusY >= kLeastSagitta * tolerance) {
            arc->first = 0;
            arc->last = points.size() - 1;
            return arc;
        }
    }
    return std::nullopt;
}

} // namespace

void RecogniseArcs(Path& path, double tolerance) {
    path.arcs.clear();
    if (path.points.size() <= kLeastLinesOfCircle) {
        return;
    }
    const TurningAngles angles(path.points, kNoise * tolerance);
    if (const std::optional<Arc> arc = FullTurn(path.points, angles, tolerance)) {
        path.arcs.push_back(*arc);
        return;
    }
    path.arcs = ArcFinder(path.points, angles, tolerance).arcs();
}

} // namespace kxcontour
