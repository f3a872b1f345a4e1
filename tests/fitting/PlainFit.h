// A second implementation of line and circle fitting for comparison: in extended precision, with
// small arrays instead of vectors, and with a mark on each result that rounding could change.
#pragma once

#include <Wm4Foundation.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

namespace test_support {

class PlainFit {
public:
    using Real = long double;
    using Vec = std::array<Real, 3>;
    using Matrix = std::array<Vec, 3>;
    using FloatPoint = Wm4::Vector3<float>;

    struct Frame {
        Vec u;
        Vec v;
        Vec normal;
    };

    bool add(const FloatPoint& p, const FloatPoint& q, bool atFront, bool trackCircle) {
        const Vec from = wide(p);
        const Vec to = wide(q);
        const Vec d = minus(to, from);
        const Real length = std::sqrt(dot(d, d));
        if (length == 0) {
            return false;
        }
        accumulate(scaled(d, 1 / length), scaled(plus(from, to), 0.5L));
        if (count == 1) {
            first = p;
            last = q;
            collinear = true;
            firstStep_ = d;
        } else if (!trackCircle) {
            collinear = collinear && (dot(d, firstStep_) < 0) == atFront;
            note(dot(d, firstStep_), 0, length);
        } else {
            trackArc(p, q, d, atFront);
        }
        return true;
    }

    bool fitLine() const {
        if (!collinear) {
            return false;
        }
        const Vec mean = dominant(product(moments, moments));
        return less(trace() - quadratic(mean), count * kTenthOfADegreeSquared);
    }

    std::optional<Frame> frame() const {
        const Real radius = norm(minus(centre_, wide(first)));
        if (count < 2 || radius == 0) {
            return std::nullopt;
        }
        Matrix shifted = moments;
        for (std::size_t i = 0; i < 3; ++i) {
            shifted[i][i] += count;
        }
        const Vec n = dominant(adjugate(shifted));
        const Real limit = kTenthOfADegreeSquared * count * radius;
        note(quadratic(n), limit, limit);
        if (quadratic(n) > limit) {
            return std::nullopt;
        }
        const Vec e = std::abs(n[1]) >= std::abs(n[0]) ? Vec{1, 0, 0} : Vec{0, 1, 0};
        const Vec v = unit(cross(n, e));
        return Frame{cross(v, n), v, n};
    }

    std::optional<Vec> centreFrom(const Vec& origin, const Frame& f) const {
        const Vec r = minus(offsets, apply(origin));
        const Real a = dot(f.u, apply(f.u));
        const Real b = dot(f.u, apply(f.v));
        const Real c = dot(f.v, apply(f.v));
        const Real determinant = a * c - b * b;
        unsure = unsure || std::abs(determinant) <= 1e-8L * count * count;
        const Real alpha = (dot(f.u, r) * c - dot(f.v, r) * b) / determinant;
        const Real beta = (dot(f.v, r) * a - dot(f.u, r) * b) / determinant;
        const Vec found = plus(origin, plus(scaled(f.u, alpha), scaled(f.v, beta)));
        const Real residual = quadratic(found) - 2 * dot(found, offsets) + squares;
        const Vec ray = minus(found, origin);
        if (!less(residual, 0.0001L * count * dot(ray, ray))) {
            return std::nullopt;
        }
        return found;
    }

    // The swept angle goes to angle as soon as it is known.
    bool fitCircle(Real& angle) const {
        const std::optional<Frame> f = area > 0 ? frame() : std::nullopt;
        const std::optional<Vec> c = f ? centreFrom(wide(first), *f) : std::nullopt;
        if (!c) {
            return false;
        }
        const Vec a = minus(wide(first), *c);
        const Vec b = minus(wide(last), *c);
        if (dot(a, a) == 0 || dot(minus(wide(first), centre_), a) < 0) {
            return false;
        }
        angle = sweep(unit(a), unit(b));
        const Real ratio = area / (dot(a, a) * angle / 2);
        return !less(ratio, 0.825263276564015L) && less(ratio, static_cast<Real>(1.005F));
    }

    Matrix moments{};
    Vec offsets{};
    Real squares = 0;
    Real count = 0;
    FloatPoint first{0.0F, 0.0F, 0.0F};
    FloatPoint last{0.0F, 0.0F, 0.0F};
    Real area = 0;
    bool collinear = false;
    bool started = false;
    bool clockwise = false;
    mutable bool unsure = false; ///< A result depended on a difference that rounding could make.

private:
    static constexpr Real kTenthOfADegreeSquared = 3.04617e-6L;
    static constexpr Real kTurn = 6.283185307179586476925L;

    static Vec wide(const FloatPoint& p) { return {Real{p[0]}, Real{p[1]}, Real{p[2]}}; }
    static Vec plus(const Vec& a, const Vec& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
    static Vec scaled(const Vec& a, Real s) { return {a[0] * s, a[1] * s, a[2] * s}; }
    static Vec minus(const Vec& a, const Vec& b) { return plus(a, scaled(b, -1)); }
    static Real dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
    static Real norm(const Vec& a) { return std::sqrt(dot(a, a)); }
    static Vec unit(const Vec& a) { return scaled(a, 1 / norm(a)); }
    static Vec cross(const Vec& a, const Vec& b) {
        return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    }
    static Matrix product(const Matrix& a, const Matrix& b) { // of symmetric ones that commute
        Matrix c{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                c[i][j] = dot(a[i], b[j]);
            }
        }
        return c;
    }
    static Matrix adjugate(const Matrix& a) {
        return {cross(a[1], a[2]), cross(a[2], a[0]), cross(a[0], a[1])};
    }
    static Matrix normalised(Matrix a) {
        const Real largest = std::max({a[0][0], a[1][1], a[2][2]});
        for (Vec& row : a) {
            row = scaled(row, 1 / largest);
        }
        return a;
    }

    // A column of the sixteenth power: the direction that the matrix stretches most, nearly.
    Vec dominant(Matrix a) const {
        a = normalised(a);
        for (int i = 0; i < 3; ++i) {
            a = normalised(product(a, a));
        }
        a = product(a, a);
        std::size_t best = 0;
        for (const std::size_t i : {std::size_t{1}, std::size_t{2}}) {
            best = dot(a[i], a[i]) > dot(a[best], a[best]) ? i : best;
        }
        return unit(a[best]);
    }

    Vec apply(const Vec& x) const {
        return {dot(moments[0], x), dot(moments[1], x), dot(moments[2], x)};
    }
    Real quadratic(const Vec& x) const { return dot(x, apply(x)); }
    Real trace() const { return moments[0][0] + moments[1][1] + moments[2][2]; }

    void note(Real a, Real b, Real scale) const {
        unsure = unsure || std::abs(a - b) <= 1e-6L * scale;
    }
    bool less(Real a, Real b) const {
        note(a, b, std::max(std::abs(a), std::abs(b)));
        return a < b;
    }
    bool positive(Real x, Real scale) const {
        note(x, 0, scale);
        return x > 0;
    }

    void accumulate(const Vec& direction, const Vec& middle) {
        for (std::size_t i = 0; i < 3; ++i) {
            moments[i] = plus(moments[i], scaled(direction, direction[i]));
        }
        const Real h = dot(middle, direction);
        offsets = plus(offsets, scaled(direction, h));
        squares += h * h;
        count += 1;
    }

    void trackArc(const FloatPoint& p, const FloatPoint& q, const Vec& d, bool atFront) {
        const std::optional<Frame> f = area < 0 ? std::nullopt : frame();
        const std::optional<Vec> c = f ? centreFrom(wide(p), *f) : std::nullopt;
        if (!c || (!started && !start(f->normal, *c, d))) {
            return;
        }
        Vec& reference = atFront ? frontReference_ : backReference_;
        FloatPoint& end = atFront ? first : last;
        const Real side = dot(reference, d);
        const bool turnsOn = positive(side, norm(reference) * norm(d)) == clockwise;
        if (!turnsOn || !(end == p || end == q)) {
            area = -1;
            return;
        }
        end = end == p ? q : p;
        const Vec tangent = cross(normal_, minus(wide(q), *c));
        reference = scaled(tangent, atFront ? -1 : 1);
        area += norm(cross(d, minus(wide(q), centre_))) / 2;
    }

    // False when the lengths of the first two pieces differ too much.
    bool start(const Vec& n, const Vec& c, const Vec& d) {
        centre_ = c;
        normal_ = n;
        started = true;
        const Vec chord = minus(wide(last), wide(first));
        const Vec ray = minus(wide(first), c);
        frontReference_ = scaled(cross(n, ray), -1);
        backReference_ = cross(n, minus(wide(last), c));
        clockwise = positive(dot(backReference_, chord), norm(backReference_) * norm(chord));
        area += norm(cross(ray, chord)) / 2;
        const Real ratio = dot(d, d) / dot(chord, chord);
        note(ratio, 9, 9);
        note(ratio, 1 / 9.0L, 1);
        if (ratio > 9 || ratio < 1 / 9.0L) {
            area = -1;
            return false;
        }
        return true;
    }

    Real sweep(const Vec& a, const Vec& b) const {
        if (first == last) {
            return kTurn;
        }
        // Where acos is flat its rounding is too large to compare, and may leave its domain.
        note(std::abs(dot(a, b)), 1, 1);
        const Real angle = std::acos(dot(a, b));
        const bool left = positive(dot(normal_, cross(a, b)), 1);
        return left == clockwise ? angle : kTurn - angle;
    }

    Vec centre_{};
    Vec normal_{};
    Vec frontReference_{};
    Vec backReference_{};
    Vec firstStep_{};
};

} // namespace test_support
