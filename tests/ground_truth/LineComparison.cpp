// What is near a line is convex: a straight line enters it once and leaves it once, and where it
// does is worked out, not sampled.
#include "LineComparison.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace ground_truth {
namespace {

using tool_test::PagePoint;

struct Span {
    double from;
    double to;
};

PagePoint Minus(PagePoint p, PagePoint q) {
    return {p.x - q.x, p.y - q.y};
}
double Dot(PagePoint p, PagePoint q) {
    return p.x * q.x + p.y * q.y;
}
double Cross(PagePoint p, PagePoint q) {
    return p.x * q.y - p.y * q.x;
}
PagePoint DirectionOf(const FlatLine& line) {
    const double length = LengthOf(line);
    return {(line.b.x - line.a.x) / length, (line.b.y - line.a.y) / length};
}

void Grow(std::optional<Span>& all, const Span& more) {
    all = all ? Span{std::min(all->from, more.from), std::max(all->to, more.to)} : more;
}

/// Where start + t * rate is within [low, high], of the span.
void Clip(Span& span, double start, double rate, double low, double high) {
    if (std::abs(rate) < 1e-12) {
        if (start < low || start > high) {
            span.to = span.from - 1.0;
        }
        return;
    }
    const double first = (low - start) / rate;
    const double last = (high - start) / rate;
    span.from = std::max(span.from, std::min(first, last));
    span.to = std::min(span.to, std::max(first, last));
}

/// Millimetres along a line that are near another one.
std::optional<Span> NearPart(const FlatLine& line, const FlatLine& other, double distance) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    const PagePoint along = DirectionOf(line);
    std::optional<Span> span;
    for (const PagePoint end : {other.a, other.b}) {
        const PagePoint way = Minus(end, line.a);
        const double across = Cross(along, way);
        if (std::abs(across) <= distance) {
            const double half = std::sqrt(distance * distance - across * across);
            Grow(span, {Dot(along, way) - half, Dot(along, way) + half});
        }
    }
    if (LengthOf(other) > 0.0) {
        const PagePoint direction = DirectionOf(other);
        const PagePoint start = Minus(line.a, other.a);
        Span between{-kFar, kFar};
        Clip(between, Dot(start, direction), Dot(along, direction), 0.0, LengthOf(other));
        Clip(between, Cross(direction, start), Cross(direction, along), -distance, distance);
        if (between.from <= between.to) {
            Grow(span, between);
        }
    }
    return span;
}

struct Bounds {
    double left;
    double top;
    double right;
    double bottom;

    explicit Bounds(const FlatLine& line)
        : left(std::min(line.a.x, line.b.x)), top(std::min(line.a.y, line.b.y)),
          right(std::max(line.a.x, line.b.x)), bottom(std::max(line.a.y, line.b.y)) {}

    bool meets(const Bounds& other, double margin) const {
        return left <= other.right + margin && other.left <= right + margin &&
               top <= other.bottom + margin && other.top <= bottom + margin;
    }
};

/// Adds what the spans leave of a line.
void AddRests(std::size_t number,
              const FlatLine& line,
              std::vector<Span>& covered,
              std::vector<Stretch>& rests) {
    constexpr double kNothing = 1e-9;
    std::sort(covered.begin(), covered.end(), [](const Span& a, const Span& b) {
        return std::pair(a.from, a.to) < std::pair(b.from, b.to);
    });
    const double length = LengthOf(line);
    const PagePoint along = DirectionOf(line);
    const auto at = [&](double t) {
        return PagePoint{line.a.x + t * along.x, line.a.y + t * along.y};
    };
    double reached = 0.0;
    const auto add = [&](double to) {
        const double end = std::min(to, length);
        if (end - reached > kNothing) {
            rests.push_back({number, {at(reached), at(end)}});
        }
    };
    for (const Span& span : covered) {
        add(span.from);
        reached = std::max(reached, span.to);
    }
    add(length);
}

bool AreParallel(const FlatLine& a, const FlatLine& b) {
    constexpr double kParallel = 1e-3;
    return std::abs(Cross(DirectionOf(a), DirectionOf(b))) < kParallel;
}

} // namespace

std::vector<Stretch>
FarFrom(const std::vector<FlatLine>& lines, const std::vector<FlatLine>& others, double distance) {
    std::vector<Bounds> bounds(others.begin(), others.end());
    std::vector<Stretch> far;
    std::vector<Span> covered;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Bounds own(lines[i]);
        covered.clear();
        for (std::size_t k = 0; k < others.size(); ++k) {
            if (own.meets(bounds[k], distance)) {
                if (const auto span = NearPart(lines[i], others[k], distance)) {
                    covered.push_back(*span);
                }
            }
        }
        AddRests(i, lines[i], covered, far);
    }
    return far;
}

std::vector<Stretch> EachOnce(const std::vector<FlatLine>& lines, double distance) {
    std::vector<Bounds> bounds(lines.begin(), lines.end());
    std::vector<Stretch> once;
    std::vector<Span> covered;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        covered.clear();
        for (std::size_t k = 0; k < i; ++k) {
            if (bounds[i].meets(bounds[k], distance) && AreParallel(lines[i], lines[k])) {
                if (const auto span = NearPart(lines[i], lines[k], distance)) {
                    covered.push_back(*span);
                }
            }
        }
        AddRests(i, lines[i], covered, once);
    }
    return once;
}

double LengthOf(const std::vector<Stretch>& stretches) {
    double length = 0.0;
    for (const Stretch& stretch : stretches) {
        length += LengthOf(stretch.where);
    }
    return length;
}

double LengthOf(const std::vector<FlatLine>& lines) {
    double length = 0.0;
    for (const FlatLine& line : lines) {
        length += LengthOf(line);
    }
    return length;
}

} // namespace ground_truth
