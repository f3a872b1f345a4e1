// Incremental least-squares fits of lines and circles.
//
// Let M be the sum of u u^T over the unit directions u. The mean direction is the dominant
// eigenvector of M, and the spread of the directions about it is the sum of sin^2. The normal of
// the plane of the directions is the eigenvector of the smallest eigenvalue. Both are computed by
// power iteration with repeated squaring (G. Golub and C. Van Loan, Matrix Computations, 1983,
// section on the power method), the second on the adjugate, which reverses the order of the
// eigenvalues. The centre of a circle solves the normal equations of the bisector planes u . C = h.
// Only sums are stored, not the segments: constant time per segment and per fit. In doubles; fits
// hold within the tolerances of Tolerances.h.
#include <ctr/FittingSystem.h>

#include "fitting/Angles.h"
#include "fitting/Tolerances.h"

#include <algorithm>
#include <cmath>

namespace ctr {
namespace {

using Vector = Wm4::Vector3<double>;
/// A symmetric matrix as xx, xy, xz, yy, yz, zz.
using Symmetric = std::array<double, 6>;

using fit_tolerances::kAngleToleranceSquared;
using fit_tolerances::kInverseLengthRatioSquared;
using fit_tolerances::kLargestAreaRatio;
using fit_tolerances::kLengthRatioSquared;
using fit_tolerances::kRadiusToleranceSquared;
using fit_tolerances::kSmallestAreaRatio;

constexpr double kFullCircle = 6.283185307179586;
constexpr double kNoCircle = -1.0;

Vector ToDouble(const Wm4::Vector3<float>& v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

Wm4::Vector3<float> ToFloat(const Vector& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

/// Propagates NaN, which the vector class's own length does not.
double Length(const Vector& v) {
    return std::sqrt(v.SquaredLength());
}

Vector Divided(const Vector& v, double divisor) {
    return {v[0] / divisor, v[1] / divisor, v[2] / divisor};
}

Vector Multiply(const Symmetric& m, const Vector& v) {
    return {m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[1] * v[0] + m[3] * v[1] + m[4] * v[2],
            m[2] * v[0] + m[4] * v[1] + m[5] * v[2]};
}

double QuadraticForm(const Symmetric& m, const Vector& v) {
    return v.Dot(Multiply(m, v));
}

Symmetric Square(const Symmetric& m) {
    return {m[0] * m[0] + m[1] * m[1] + m[2] * m[2], m[0] * m[1] + m[1] * m[3] + m[2] * m[4],
            m[0] * m[2] + m[1] * m[4] + m[2] * m[5], m[1] * m[1] + m[3] * m[3] + m[4] * m[4],
            m[1] * m[2] + m[3] * m[4] + m[4] * m[5], m[2] * m[2] + m[4] * m[4] + m[5] * m[5]};
}

Symmetric Adjugate(const Symmetric& m) {
    return {m[3] * m[5] - m[4] * m[4], m[2] * m[4] - m[1] * m[5], m[1] * m[4] - m[2] * m[3],
            m[0] * m[5] - m[2] * m[2], m[1] * m[2] - m[0] * m[4], m[0] * m[3] - m[1] * m[1]};
}

Symmetric Normalised(Symmetric m) {
    const double largest = std::max({m[0], m[3], m[5]});
    for (double& entry : m) {
        entry /= largest;
    }
    return m;
}

/// The eigenvector of the largest eigenvalue: the longest column of the 16th power of the matrix.
Vector DominantEigenvector(Symmetric m) {
    constexpr int kNormalisedSquarings = 3;
    m = Normalised(m);
    for (int i = 0; i < kNormalisedSquarings; ++i) {
        m = Normalised(Square(m));
    }
    m = Square(m);
    const Vector columns[3] = {{m[0], m[1], m[2]}, {m[1], m[3], m[4]}, {m[2], m[4], m[5]}};
    const Vector* longest = &columns[0];
    double length = longest->SquaredLength();
    for (int i = 1; i < 3; ++i) {
        const double other = columns[i].SquaredLength();
        if (other > length || std::isnan(length)) {
            longest = &columns[i];
            length = other;
        }
    }
    return Divided(*longest, std::sqrt(length));
}

/// A unit vector perpendicular to a unit vector.
Vector Perpendicular(const Vector& v) {
    const Vector e =
        std::fabs(v[1]) >= std::fabs(v[0]) ? Vector(1.0, 0.0, 0.0) : Vector(0.0, 1.0, 0.0);
    const Vector cross = v.Cross(e);
    return Divided(cross, Length(cross));
}

/// The unit vector, or zero for a vector so short that its inverse length is not finite.
Vector UnitOrZero(const Vector& v) {
    const double inverse = 1.0 / Length(v);
    return std::isinf(inverse) ? Vector(0.0, 0.0, 0.0) : v * inverse;
}

bool SamePoint(const Wm4::Vector3<float>& p, const Wm4::Vector3<float>& q) {
    return p[0] == q[0] && p[1] == q[1] && p[2] == q[2];
}

/// Starts circle tracking: centre, plane, direction of rotation and the first triangle of the fan.
void StartCircle(FittingSystem& system, const Vector& circleNormal, const Vector& centre) {
    const Vector first = ToDouble(system.firstPoint);
    const Vector last = ToDouble(system.lastPoint);
    const Vector chord = last - first;
    system.center = centre;
    system.normal = circleNormal;
    system.frontReference = -circleNormal.Cross(first - centre);
    system.backReference = circleNormal.Cross(last - centre);
    system.clockwise = system.backReference.Dot(chord) > 0.0;
    system.area += Length((first - centre).Cross(chord)) / 2.0;
    system.circleStarted = true;
}

/// True if a segment is longer than three times the first chord or shorter than a third of it.
bool LengthsDiffer(const FittingSystem& system, double lengthSquared) {
    const double chordSquared =
        (ToDouble(system.lastPoint) - ToDouble(system.firstPoint)).SquaredLength();
    return lengthSquared > kLengthRatioSquared * chordSquared ||
           chordSquared * kInverseLengthRatioSquared > lengthSquared;
}

/// Moves a free end of the chain to the other end of a segment; false if the segment does not touch
/// it.
bool MoveEnd(Wm4::Vector3<float>& end, const Wm4::Vector3<float>& p, const Wm4::Vector3<float>& q) {
    if (SamePoint(end, p)) {
        end = q;
    } else if (SamePoint(end, q)) {
        end = p;
    } else {
        return false;
    }
    return true;
}

} // namespace

void FittingSystem::reset() {
    *this = FittingSystem();
}

bool FittingSystem::addToSystem(const Wm4::Vector3<float>& p,
                                const Wm4::Vector3<float>& q,
                                bool atFront,
                                bool trackCircle) {
    const Vector from = ToDouble(p);
    const Vector to = ToDouble(q);
    const Vector d = to - from;
    const double length = Length(d);
    if (length == 0.0) {
        return false;
    }
    const Vector u = Divided(d, length);
    const double h = (from + to).Dot(u) / 2.0;
    const Symmetric outer = {u[0] * u[0], u[0] * u[1], u[0] * u[2],
                             u[1] * u[1], u[1] * u[2], u[2] * u[2]};
    std::transform(outer.begin(), outer.end(), directionMoments.begin(), directionMoments.begin(),
                   [](double entry, double sum) { return sum + entry; });
    count += 1.0;
    bisectorMoments += u * h;
    bisectorSquares += h * h;

    if (count == 1.0) {
        firstPoint = p;
        lastPoint = q;
        area = 0.0;
        collinear = true;
        firstDirection = q - p;
        return true;
    }
    if (!trackCircle) {
        collinear = collinear && ((q - p).Dot(firstDirection) < 0.0F) == atFront;
        return true;
    }
    Vector circleNormal;
    Vector centre;
    if (area < 0.0 || !computeCircleNormalCenter(p, circleNormal, centre)) {
        return true;
    }
    if (!circleStarted) {
        StartCircle(*this, circleNormal, centre);
        if (LengthsDiffer(*this, d.SquaredLength())) {
            area = kNoCircle;
            return true;
        }
    }
    Vector& reference = atFront ? frontReference : backReference;
    if ((reference.Dot(d) > 0.0) != clockwise || !MoveEnd(atFront ? firstPoint : lastPoint, p, q)) {
        area = kNoCircle;
        return true;
    }
    const Vector tangent = normal.Cross(to - centre);
    reference = atFront ? -tangent : tangent;
    area += Length(d.Cross(to - center)) / 2.0;
    return true;
}

bool FittingSystem::fitLine() const {
    if (!collinear) {
        return false;
    }
    const Vector a = DominantEigenvector(Square(directionMoments));
    const Vector w1 = Perpendicular(a);
    const Vector w2 = a.Cross(w1);
    const double spread = QuadraticForm(directionMoments, w1) + QuadraticForm(directionMoments, w2);
    return count * kAngleToleranceSquared > spread;
}

bool FittingSystem::couldFitCircle() const {
    return count >= 2.0;
}

bool FittingSystem::fitCircle(float* angle) const {
    Vector axisU;
    Vector axisV;
    Vector planeNormal;
    return area > 0.0 && fitCircleFrame(axisU, axisV, planeNormal) &&
           fitCircleSurface(axisU, axisV, angle);
}

bool FittingSystem::fitCircleFrame(Wm4::Vector3<double>& axisU,
                                   Wm4::Vector3<double>& axisV,
                                   Wm4::Vector3<double>& planeNormal) const {
    // Before circle tracking starts, the centre is zero; the radius is then the distance of the
    // first point from the origin, and the tolerance below scales with it.
    const double radius = Length(center - ToDouble(firstPoint));
    if (count < 2.0 || radius == 0.0) {
        return false;
    }
    Symmetric shifted = directionMoments;
    shifted[0] += count;
    shifted[3] += count;
    shifted[5] += count;
    const Vector n = DominantEigenvector(Adjugate(shifted));
    if (QuadraticForm(directionMoments, n) > kAngleToleranceSquared * count * radius) {
        return false;
    }
    axisV = Perpendicular(n);
    axisU = axisV.Cross(n);
    planeNormal = n;
    return true;
}

bool FittingSystem::fitCircleCenter(const Wm4::Vector3<float>& origin,
                                    const Wm4::Vector3<double>& axisU,
                                    const Wm4::Vector3<double>& axisV,
                                    Wm4::Vector3<double>& centre) const {
    const Vector o = ToDouble(origin);
    const Vector r = bisectorMoments - Multiply(directionMoments, o);
    const Vector mu = Multiply(directionMoments, axisU);
    const Vector mv = Multiply(directionMoments, axisV);
    const double uu = axisU.Dot(mu);
    const double uv = axisU.Dot(mv);
    const double vv = axisV.Dot(mv);
    const double ru = axisU.Dot(r);
    const double rv = axisV.Dot(r);
    // A singular system gives values that are not finite, which fail the comparison below.
    const double determinant = uu * vv - uv * uv;
    const double alpha = (ru * vv - uv * rv) / determinant;
    const double beta = (uu * rv - uv * ru) / determinant;
    centre = o + axisU * alpha + axisV * beta;
    const double residual = QuadraticForm(directionMoments, centre) -
                            2.0 * centre.Dot(bisectorMoments) + bisectorSquares;
    return kRadiusToleranceSquared * count * (centre - o).SquaredLength() > residual;
}

bool FittingSystem::fitCircleSurface(const Wm4::Vector3<double>& axisU,
                                     const Wm4::Vector3<double>& axisV,
                                     float* angle) const {
    Vector centre;
    if (!fitCircleCenter(firstPoint, axisU, axisV, centre)) {
        return false;
    }
    const Vector first = ToDouble(firstPoint);
    const Vector r0 = first - centre;
    const double radiusSquared = r0.SquaredLength();
    if (radiusSquared == 0.0 || (first - center).Dot(r0) < 0.0) {
        return false;
    }
    double swept = kFullCircle;
    if (!SamePoint(firstPoint, lastPoint)) {
        const Vector a = UnitOrZero(r0);
        const Vector b = UnitOrZero(ToDouble(lastPoint) - centre);
        swept = ArcCosine(a.Dot(b));
        if ((normal.Dot(a.Cross(b)) > 0.0) != clockwise) {
            swept = kFullCircle - swept;
        }
    }
    if (angle != nullptr) {
        *angle = static_cast<float>(swept);
    }
    const double ratio = area / (radiusSquared * swept / 2.0);
    return ratio >= kSmallestAreaRatio && ratio < kLargestAreaRatio;
}

bool FittingSystem::computeCircleNormalCenter(const Wm4::Vector3<float>& origin,
                                              Wm4::Vector3<double>& circleNormal,
                                              Wm4::Vector3<double>& centre) const {
    Vector axisU;
    Vector axisV;
    return fitCircleFrame(axisU, axisV, circleNormal) &&
           fitCircleCenter(origin, axisU, axisV, centre);
}

bool FittingSystem::computeCircleNormalCenter(const Wm4::Vector3<float>& origin,
                                              Wm4::Vector3<float>& circleNormal,
                                              Wm4::Vector3<float>& centre) const {
    Vector exactNormal;
    Vector exactCentre;
    if (!computeCircleNormalCenter(origin, exactNormal, exactCentre)) {
        return false;
    }
    circleNormal = ToFloat(exactNormal);
    centre = ToFloat(exactCentre);
    return true;
}

} // namespace ctr
