// Fits conics A x^2 + B x y + C y^2 + D x + E y + F = 0 through two given end points by linear
// least squares. O(n) for n points, in two rounds.
//
// Coordinates are chosen so that the ends need no equation: the first point lies at (-h, 0) and
// the last at (h, 0), which makes D = 0 and F = -A h^2; if they are equal they lie at the origin,
// and F = 0. The scale of the equation is set by A + C = 1, which holds for a multiple of every
// ellipse and is invariant under rotation (F. L. Bookstein, Fitting conic sections to scattered
// data, Computer Graphics and Image Processing 9, 1979, has another form with that property). With
// A = (1 + u) / 2 and C = (1 - u) / 2 the unknowns are u, B, D and E; a circle has u = B = 0. The
// second round divides each equation by the length of the conic's gradient, so that its error is
// the distance to first order (P. D. Sampson, Fitting conic sections to "very scattered" data,
// Computer Graphics and Image Processing 18, 1982).
#include "drawing/paper/Ellipse.h"

#include "drawing/common/Angles.h"
#include "drawing/paper/Plane.h"

#include <array>
#include <limits>

namespace kxcontour {
namespace {

using namespace plane;

constexpr double kQuarterTurn = 1.5707963267948966;

/// Coordinates are at most 1, so a pivot is at most the sum of weights; below this fraction of that
/// it is rounding error.
constexpr double kLeastPivot = 1e-18;

constexpr int kNewtonSteps = 3;

constexpr std::size_t kUnknowns = 4;
enum Unknown : std::size_t { kU, kB, kD, kE };
using Row = std::array<double, kUnknowns>;

/// Coordinates in which the ends lie on the first axis, symmetric about the origin, and all points
/// within the unit circle around it.
class Frame {
public:
    explicit Frame(std::span<const Point> points) {
        const Point first = points.front();
        const Point last = points.back();
        closed = IsSame(first, last);
        origin_ = closed ? first : (first + last) * 0.5;
        if (!closed) {
            axis_ = Direction(last - first);
        }
        double square = 0.0;
        for (const Point& point : points) {
            square = std::max(square, SquaredLength(point - origin_));
        }
        scale_ = std::sqrt(square);
        halfChord = closed ? 0.0 : Distance(first, last) / 2.0 / scale_;
    }

    bool isPoint() const { return !(scale_ > 0.0); }

    Point enter(Point point) const {
        const Point p = (point - origin_) * (1.0 / scale_);
        return {Dot(p, axis_), Cross(axis_, p)};
    }

    Point turnBack(Point p) const {
        return {p.x * axis_.x - p.y * axis_.y, p.x * axis_.y + p.y * axis_.x};
    }

    Ellipse leave(const Ellipse& inside) const {
        return {origin_ + turnBack(inside.center) * scale_, turnBack(inside.axis),
                inside.radiusX * scale_, inside.radiusY * scale_};
    }

    bool closed = false;
    double halfChord = 0.0;

private:
    Point origin_;
    Point axis_{1.0, 0.0};
    double scale_ = 1.0;
};

struct Conic {
    Row unknowns{};
    double halfChord = 0.0;

    double a() const { return (1.0 + unknowns[kU]) / 2.0; }
    double b() const { return unknowns[kB]; }
    double c() const { return (1.0 - unknowns[kU]) / 2.0; }
    double d() const { return unknowns[kD]; }
    double e() const { return unknowns[kE]; }
    double f() const { return -a() * halfChord * halfChord; }

    Point gradient(Point p) const {
        return {2.0 * a() * p.x + b() * p.y + d(), b() * p.x + 2.0 * c() * p.y + e()};
    }
};

/// The normal equations of an overdetermined linear system.
class LeastSquares {
public:
    /// Unused unknowns are zero.
    explicit LeastSquares(const std::array<bool, kUnknowns>& used) : used_(used) {}

    void add(const Row& row, double right, double weight) {
        for (std::size_t i = 0; i < kUnknowns; ++i) {
            for (std::size_t j = 0; j < kUnknowns; ++j) {
                matrix_[i][j] += weight * row[i] * row[j];
            }
            right_[i] += weight * row[i] * right;
        }
        weights_ += weight;
    }

    std::optional<Row> solve() {
        for (std::size_t i = 0; i < kUnknowns; ++i) {
            if (used_[i] && !eliminate(i)) {
                return std::nullopt;
            }
        }
        Row result{};
        for (std::size_t i = 0; i < kUnknowns; ++i) {
            result[i] = used_[i] ? right_[i] / matrix_[i][i] : 0.0;
        }
        return result;
    }

private:
    /// Gauss-Jordan. The matrix is positive semidefinite, so pivots are taken from its diagonal.
    bool eliminate(std::size_t pivot) {
        if (!(matrix_[pivot][pivot] > kLeastPivot * weights_)) {
            return false;
        }
        for (std::size_t i = 0; i < kUnknowns; ++i) {
            if (i == pivot || !used_[i]) {
                continue;
            }
            const double factor = matrix_[i][pivot] / matrix_[pivot][pivot];
            for (std::size_t j = 0; j < kUnknowns; ++j) {
                matrix_[i][j] -= factor * matrix_[pivot][j];
            }
            right_[i] -= factor * right_[pivot];
        }
        return true;
    }

    std::array<bool, kUnknowns> used_;
    std::array<Row, kUnknowns> matrix_{};
    Row right_{};
    double weights_ = 0.0;
};

/// weigh(point in the frame) is the weight of its equation.
template <class tWeigh>
std::optional<Conic>
FitConic(std::span<const Point> points, const Frame& frame, EllipseKind kind, tWeigh weigh) {
    const bool any = kind == EllipseKind::Any;
    LeastSquares system({any, any, frame.closed, true});
    const double square = frame.halfChord * frame.halfChord;
    for (const Point& point : points.subspan(1, points.size() - 2)) {
        const Point p = frame.enter(point);
        const double xx = p.x * p.x - square;
        const double yy = p.y * p.y;
        system.add({(xx - yy) / 2.0, p.x * p.y, p.x, p.y}, -(xx + yy) / 2.0, weigh(p));
    }
    const std::optional<Row> unknowns = system.solve();
    if (!unknowns) {
        return std::nullopt;
    }
    return Conic{*unknowns, frame.halfChord};
}

/// Nothing unless the conic is a real ellipse.
std::optional<Ellipse> EllipseOf(const Conic& conic, EllipseKind kind) {
    const double determinant = 4.0 * conic.a() * conic.c() - conic.b() * conic.b();
    if (!(determinant > 0.0)) {
        return std::nullopt;
    }
    Ellipse ellipse;
    ellipse.center = {(conic.b() * conic.e() - 2.0 * conic.c() * conic.d()) / determinant,
                      (conic.b() * conic.d() - 2.0 * conic.a() * conic.e()) / determinant};
    const double level =
        conic.f() + (conic.d() * ellipse.center.x + conic.e() * ellipse.center.y) / 2.0;
    // The eigenvalues of the square part are (1 +- spread) / 2; the lesser has the longer axis.
    const double spread = std::sqrt(1.0 - determinant);
    if (!(level < 0.0) || !(spread < 1.0)) {
        return std::nullopt;
    }
    ellipse.radiusX = std::sqrt(-2.0 * level / (1.0 - spread));
    ellipse.radiusY = std::sqrt(-2.0 * level / (1.0 + spread));
    if (kind == EllipseKind::Circle) {
        ellipse.radiusX = std::sqrt(-2.0 * level);
        ellipse.radiusY = ellipse.radiusX;
        return ellipse;
    }
    const Turn turn = TurnByRadians(AngleOf(conic.unknowns[kU], conic.b()) / 2.0 + kQuarterTurn);
    ellipse.axis = {turn.cosine, turn.sine};
    return ellipse;
}

} // namespace

Point Ellipse::at(double angle) const {
    const Turn turn = TurnByRadians(angle);
    const double x = radiusX * turn.cosine;
    const double y = radiusY * turn.sine;
    return {center.x + x * axis.x - y * axis.y, center.y + x * axis.y + y * axis.x};
}

Point Ellipse::tangentAt(double angle) const {
    const Turn turn = TurnByRadians(angle);
    const double x = -radiusX * turn.sine;
    const double y = radiusY * turn.cosine;
    return {x * axis.x - y * axis.y, x * axis.y + y * axis.x};
}

/// Newton's method for the foot of the perpendicular, from the point's image on the circle; ends
/// with a step that does not reduce the distance.
double Ellipse::angleNear(Point point) const {
    const Point p{Dot(point - center, axis), Cross(axis, point - center)};
    double angle = AngleOf(p.x / radiusX, p.y / radiusY);
    if (radiusX == radiusY) {
        return angle;
    }
    double nearest = std::numeric_limits<double>::infinity();
    double best = angle;
    for (int step = 0; step <= kNewtonSteps; ++step) {
        const Turn turn = TurnByRadians(angle);
        const Point off{radiusX * turn.cosine - p.x, radiusY * turn.sine - p.y};
        if (!(SquaredLength(off) < nearest)) {
            break;
        }
        nearest = SquaredLength(off);
        best = angle;
        const Point tangent{-radiusX * turn.sine, radiusY * turn.cosine};
        const Point bend{-radiusX * turn.cosine, -radiusY * turn.sine};
        angle -= Dot(off, tangent) / (SquaredLength(tangent) + Dot(off, bend));
    }
    return best;
}

std::optional<Ellipse> FitEllipse(std::span<const Point> points, EllipseKind kind) {
    const Frame frame(points);
    if (points.size() < 3 || frame.isPoint()) {
        return std::nullopt;
    }
    std::optional<Conic> conic = FitConic(points, frame, kind, [](Point) { return 1.0; });
    if (conic && kind == EllipseKind::Any) {
        const Conic first = *conic;
        conic = FitConic(points, frame, kind, [&first](Point p) {
            const double square = SquaredLength(first.gradient(p));
            return square > 0.0 ? 1.0 / square : 0.0;
        });
    }
    if (!conic) {
        return std::nullopt;
    }
    const std::optional<Ellipse> ellipse = EllipseOf(*conic, kind);
    if (!ellipse) {
        return std::nullopt;
    }
    return frame.leave(*ellipse);
}

} // namespace kxcontour
