// The formulas of the pinhole camera and of parallel projection, in doubles.
#include "PaperView.h"

#include "support/Random.h"
#include "tool/options/OptionTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>

namespace ground_truth {
namespace {

using test_support::Random;
using tool_test::PagePoint;

constexpr double kWidth = 210.0;
constexpr double kHeight = 297.0;
constexpr double kMargin = 10.0;
constexpr double kPi = 3.14159265358979323846;

Vector CornerOf(const Cuboid& box, unsigned int number) {
    Vector corner;
    for (int i = 0; i < 3; ++i) {
        const auto axis = static_cast<std::size_t>(i);
        corner[i] = (number >> axis & 1U) != 0 ? box.high[axis] : box.low[axis];
    }
    return corner;
}

template <class Function>
void ForEachCorner(const std::vector<Cuboid>& boxes, const Function& function) {
    for (const Cuboid& box : boxes) {
        for (unsigned int i = 0; i < 8; ++i) {
            function(CornerOf(box, i));
        }
    }
}

/// The smallest box around all.
Cuboid Around(const std::vector<Cuboid>& boxes) {
    Cuboid all = boxes.front();
    for (const Cuboid& box : boxes) {
        for (std::size_t i = 0; i < 3; ++i) {
            all.low[i] = std::min(all.low[i], box.low[i]);
            all.high[i] = std::max(all.high[i], box.high[i]);
        }
    }
    return all;
}

/// Tenths of a degree.
double RandomAngle(Random& random, int lowest, int highest) {
    return random.between(10 * lowest, 10 * highest) / 10.0;
}

Vector Direction(double azimuth, double elevation) {
    const double a = azimuth * kPi / 180.0;
    const double e = elevation * kPi / 180.0;
    return {std::sin(a) * std::cos(e), std::sin(e), std::cos(a) * std::cos(e)};
}

/// Directions to the eye of front, back, left, right, top, bottom.
const std::array<Vector, 6> kAxisDirections{Vector(0, 0, 1), Vector(0, 0, -1), Vector(-1, 0, 0),
                                            Vector(1, 0, 0), Vector(0, 1, 0),  Vector(0, -1, 0)};

std::string TextOf(const kxdrawing::Vector& v) {
    std::ostringstream text;
    text << v[0] << "," << v[1] << "," << v[2];
    return text.str();
}

} // namespace

const char* NameOf(ViewKind kind) {
    static const std::array<const char*, kViewKinds> names{
        "oblique", "level", "iso", "axis", "perspective", "perspective axis"};
    return names[static_cast<std::size_t>(kind)];
}

double LengthOf(const FlatLine& line) {
    return std::hypot(line.b.x - line.a.x, line.b.y - line.a.y);
}

PaperView::PaperView(ViewKind kind, const std::vector<Cuboid>& boxes, std::uint64_t seed) {
    if (kind == ViewKind::ObliquePerspective || kind == ViewKind::AxisPerspective) {
        choosePerspective(kind, boxes, seed);
    } else {
        chooseParallel(kind, seed);
    }
    fit(boxes);
}

void PaperView::chooseParallel(ViewKind kind, std::uint64_t seed) {
    Random random(~seed); // Not the numbers that the scene is made of.
    Vector back(1, 1, 1);
    if (kind == ViewKind::AlongAxis) {
        const auto number = static_cast<std::size_t>(random.below(6));
        request_.direction = static_cast<kxdrawing::Direction>(number);
        back = kAxisDirections[number];
    } else if (kind == ViewKind::Level || kind == ViewKind::Oblique) {
        const bool level = kind == ViewKind::Level;
        const bool diagonal = level && random.percent(30);
        const double azimuth = diagonal ? 45.0 + 90.0 * random.below(4)
                                        : 90.0 * random.below(4) + RandomAngle(random, 3, 87);
        const double elevation = (random.percent(50) ? 1 : -1) * RandomAngle(random, 3, 80);
        request_.azimuth = azimuth;
        request_.elevation = level ? 0.0 : elevation;
        back = Direction(azimuth, *request_.elevation);
    }
    eye_ = {true, back};
    look(back);
}

void PaperView::choosePerspective(ViewKind kind,
                                  const std::vector<Cuboid>& boxes,
                                  std::uint64_t seed) {
    Random random(~seed); // Not the numbers that the scene is made of.
    const Cuboid all = Around(boxes);
    Vector focus;
    double diagonal = 0.0;
    for (int i = 0; i < 3; ++i) {
        const auto axis = static_cast<std::size_t>(i);
        focus[i] = random.between(all.low[axis], all.high[axis]);
        diagonal = std::hypot(diagonal, double(all.high[axis] - all.low[axis]));
    }
    const double distance = diagonal * (1.2 + 2.0 * static_cast<double>(random.unit()));
    const auto number = static_cast<std::size_t>(random.below(6));
    const double azimuth = RandomAngle(random, 0, 359);
    const double elevation = RandomAngle(random, -70, 70);
    Vector way = distance * (kind == ViewKind::AxisPerspective ? kAxisDirections[number]
                                                               : Direction(azimuth, elevation));
    for (int i = 0; i < 3; ++i) {
        way[i] = std::round(2.0 * way[i]) / 2.0;
    }
    request_.projection = kxdrawing::Projection::Perspective;
    request_.target = {focus[0], focus[1], focus[2]};
    eye_ = {false, focus + way};
    request_.eye = {eye_.place[0], eye_.place[1], eye_.place[2]};
    look(way);
}

void PaperView::look(const Vector& back) {
    back_ = back / std::sqrt(back.Dot(back));
    const bool vertical = back[0] == 0.0 && back[2] == 0.0;
    const Vector upright = !vertical       ? Vector(0, 1, 0)
                           : back[1] > 0.0 ? Vector(0, 0, -1)
                                           : Vector(0, 0, 1);
    const Vector across = upright.Cross(back_);
    right_ = across / std::sqrt(across.Dot(across));
    up_ = back_.Cross(right_);
}

PagePoint PaperView::flat(const Vector& point) const {
    if (eye_.parallel) {
        return {point.Dot(right_), point.Dot(up_)};
    }
    const Vector way = point - eye_.place;
    const double distance = -way.Dot(back_);
    return {way.Dot(right_) / distance, way.Dot(up_) / distance};
}

void PaperView::fit(const std::vector<Cuboid>& boxes) {
    const double halfWidth = kWidth / 2.0 - kMargin;
    const double halfHeight = kHeight / 2.0 - kMargin;
    PagePoint low{1e9, 1e9};
    PagePoint high{-1e9, -1e9};
    ForEachCorner(boxes, [&](const Vector& corner) {
        const PagePoint p = flat(corner);
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    });
    if (eye_.parallel) {
        middle_ = {(low.x + high.x) / 2.0, (low.y + high.y) / 2.0};
        scale_ = std::min(2.0 * halfWidth / (high.x - low.x), 2.0 * halfHeight / (high.y - low.y));
        return;
    }
    // The line of sight stays in the middle of the page.
    const double right = std::max({high.x, -low.x, 0.01});
    const double top = std::max({high.y, -low.y, 0.01});
    const double tangent = halfHeight / std::min(halfWidth / right, halfHeight / top);
    // A whole number of degrees, so that the drawing can be made by hand as well.
    request_.fieldOfView = std::ceil(2.0 * std::atan(tangent) * 180.0 / kPi);
    scale_ = halfHeight / std::tan(request_.fieldOfView * kPi / 360.0);
}

PagePoint PaperView::project(const Vector& point) const {
    const PagePoint p = flat(point);
    return {kWidth / 2.0 + scale_ * (p.x - middle_.x), kHeight / 2.0 - scale_ * (p.y - middle_.y)};
}

std::string PaperView::options() const {
    std::ostringstream text;
    if (!eye_.parallel) {
        text << "--projection perspective --camera-position " << TextOf(*request_.eye)
             << " --camera-focal-point " << TextOf(*request_.target) << " --fov "
             << request_.fieldOfView;
    } else if (request_.azimuth) {
        text << "--azimuth " << *request_.azimuth << " --elevation " << *request_.elevation;
    } else {
        text << "--view " << kxcontour::ViewNames()[static_cast<std::size_t>(request_.direction)];
    }
    return text.str();
}

} // namespace ground_truth
