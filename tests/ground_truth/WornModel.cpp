// Shapes are turned or extruded outlines.
#include "WornModel.h"

#include "support/Random.h"
#include "support/Scenes.h"
#include "tool/ModelText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <numeric>

namespace ground_truth {
namespace {

using test_support::Random;
using Vector = Wm4::Vector3<double>;

constexpr double kPi = 3.14159265358979323846;

/// Vertices that are exactly equal become one.
class SolidBuilder {
public:
    void add(const Vector& a, const Vector& b, const Vector& c) {
        if (a != b && b != c && c != a) {
            solid_.triangles.push_back({vertex(a), vertex(b), vertex(c)});
        }
    }
    void addQuad(const Vector& a, const Vector& b, const Vector& c, const Vector& d) {
        add(a, b, c);
        add(a, c, d);
    }
    Solid take() { return std::move(solid_); }

private:
    std::size_t vertex(const Vector& p) {
        const auto [place, isNew] =
            numbers_.try_emplace({p[0], p[1], p[2]}, solid_.vertices.size());
        if (isNew) {
            solid_.vertices.push_back(p);
        }
        return place->second;
    }

    Solid solid_;
    std::map<std::array<double, 3>, std::size_t> numbers_;
};

double Cross(const std::array<double, 2>& a,
             const std::array<double, 2>& b,
             const std::array<double, 2>& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

/// Ear clipping (Meisters 1975); returns corners of triangles.
std::vector<std::array<std::size_t, 3>> Triangulated(const Polygon& polygon) {
    std::vector<std::size_t> rest(polygon.size());
    std::iota(rest.begin(), rest.end(), std::size_t{0});
    std::vector<std::array<std::size_t, 3>> triangles;
    const auto isEar = [&](std::size_t i) {
        const std::size_t a = rest[(i + rest.size() - 1) % rest.size()];
        const std::size_t b = rest[i];
        const std::size_t c = rest[(i + 1) % rest.size()];
        if (Cross(polygon[a], polygon[b], polygon[c]) <= 0.0) {
            return false;
        }
        return std::none_of(rest.begin(), rest.end(), [&](std::size_t p) {
            return p != a && p != b && p != c && Cross(polygon[a], polygon[b], polygon[p]) >= 0.0 &&
                   Cross(polygon[b], polygon[c], polygon[p]) >= 0.0 &&
                   Cross(polygon[c], polygon[a], polygon[p]) >= 0.0;
        });
    };
    while (rest.size() > 3) {
        std::size_t i = 0;
        while (!isEar(i)) {
            ++i;
        }
        triangles.push_back(
            {rest[(i + rest.size() - 1) % rest.size()], rest[i], rest[(i + 1) % rest.size()]});
        rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(i));
    }
    triangles.push_back({rest[0], rest[1], rest[2]});
    return triangles;
}

Polygon Circle(double radius, std::size_t corners) {
    Polygon circle;
    for (std::size_t i = 0; i < corners; ++i) {
        const double angle = 2.0 * kPi * static_cast<double>(i) / static_cast<double>(corners);
        circle.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return circle;
}

/// Half a circle about a height, from the lower pole to the upper one.
Polygon SphereProfile(double radius, std::size_t stacks) {
    Polygon profile;
    for (std::size_t i = 0; i <= stacks; ++i) {
        const double angle = kPi * static_cast<double>(i) / static_cast<double>(stacks);
        const bool isPole = i == 0 || i == stacks;
        profile.push_back({isPole ? 0.0 : radius * std::sin(angle), -radius * std::cos(angle)});
    }
    return profile;
}

Polygon TorusProfile(double radius, double thickness, std::size_t corners) {
    Polygon profile = Circle(thickness, corners);
    for (auto& point : profile) {
        point[0] += radius;
    }
    return profile;
}

Polygon VaseProfile() {
    Polygon profile{{0.0, 0.0}};
    constexpr int kBands = 24;
    for (int i = 0; i <= kBands; ++i) {
        const double height = 10.0 * i / kBands;
        profile.push_back({2.5 + std::sin(0.9 * height), height});
    }
    profile.push_back({0.0, 10.0});
    return profile;
}

Polygon GearOutline(std::size_t teeth) {
    Polygon outline;
    const double step = 2.0 * kPi / static_cast<double>(teeth);
    for (std::size_t i = 0; i < teeth; ++i) {
        const double angle = step * static_cast<double>(i);
        const auto add = [&](double radius, double share) {
            outline.push_back(
                {radius * std::cos(angle + share * step), radius * std::sin(angle + share * step)});
        };
        add(4.0, 0.0);
        add(4.0, 0.4);
        add(5.0, 0.55);
        add(5.0, 0.85);
    }
    return outline;
}

Polygon StairsOutline(int steps) {
    Polygon outline{{0.0, 0.0}, {1.5 * steps, 0.0}};
    for (int i = 0; i < steps; ++i) {
        outline.push_back({1.5 * (steps - i), 1.0 * (i + 1)});
        outline.push_back({1.5 * (steps - i - 1), 1.0 * (i + 1)});
    }
    return outline;
}

/// A square plate with a round hole: rings of quads between both outlines.
Solid HoledPlate() {
    constexpr std::size_t kCorners = 32;
    const Polygon hole = Circle(2.5, kCorners);
    Polygon square;
    for (const auto& [x, y] : Circle(1.0, kCorners)) {
        const double reach = std::max(std::abs(x), std::abs(y));
        square.push_back({5.0 * x / reach, 5.0 * y / reach});
    }
    SolidBuilder builder;
    const auto at = [](const std::array<double, 2>& p, double z) { return Vector(p[0], p[1], z); };
    for (std::size_t i = 0; i < kCorners; ++i) {
        const std::size_t k = (i + 1) % kCorners;
        builder.addQuad(at(square[i], 1), at(square[k], 1), at(hole[k], 1), at(hole[i], 1));
        builder.addQuad(at(hole[i], 0), at(hole[k], 0), at(square[k], 0), at(square[i], 0));
        builder.addQuad(at(square[i], 0), at(square[k], 0), at(square[k], 1), at(square[i], 1));
        builder.addQuad(at(hole[k], 0), at(hole[i], 0), at(hole[i], 1), at(hole[k], 1));
    }
    return builder.take();
}

double SizeOf(const Solid& solid) {
    Vector low = solid.vertices.front();
    Vector high = low;
    for (const Vector& p : solid.vertices) {
        for (int i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], p[i]);
            high[i] = std::max(high[i], p[i]);
        }
    }
    return (high - low).Length();
}

void AddVertices(std::string& text, const Solid& solid) {
    for (const Vector& p : solid.vertices) {
        std::array<char, 120> line{};
        std::snprintf(line.data(), line.size(), "v %.6f %.6f %.6f\n", p[0], p[1], p[2]);
        text += line.data();
    }
}

} // namespace

Solid Revolved(const Polygon& profile, std::size_t slices) {
    const bool closed = std::all_of(profile.begin(), profile.end(),
                                    [](const auto& point) { return point[0] > 0.0; });
    const Polygon circle = Circle(1.0, slices);
    SolidBuilder builder;
    const auto at = [&](const std::array<double, 2>& p, std::size_t slice) {
        const auto& direction = circle[slice % slices];
        return Vector(p[0] * direction[0], p[0] * direction[1], p[1]);
    };
    for (std::size_t i = closed ? 0 : 1; i < profile.size(); ++i) {
        const auto& p = profile[(i + profile.size() - 1) % profile.size()];
        const auto& q = profile[i];
        for (std::size_t slice = 0; slice < slices; ++slice) {
            builder.addQuad(at(p, slice), at(p, slice + 1), at(q, slice + 1), at(q, slice));
        }
    }
    return builder.take();
}

Solid Extruded(const Polygon& polygon, double height) {
    SolidBuilder builder;
    const auto at = [&](std::size_t i, double z) {
        const auto& p = polygon[i % polygon.size()];
        return Vector(p[0], p[1], z);
    };
    for (const auto& [a, b, c] : Triangulated(polygon)) {
        builder.add(at(a, height), at(b, height), at(c, height));
        builder.add(at(a, 0), at(c, 0), at(b, 0));
    }
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        builder.addQuad(at(i, 0), at(i + 1, 0), at(i + 1, height), at(i, height));
    }
    return builder.take();
}

const char* NameOf(Shape shape) {
    static const std::array<const char*, kShapes> names{
        "cylinder",  "cone", "sphere", "torus",       "vase", "tube",
        "l_profile", "gear", "stairs", "holed_plate", "room"};
    return names[static_cast<std::size_t>(shape)];
}

Solid Make(Shape shape) {
    switch (shape) {
    case Shape::Cylinder:
        return Revolved({{0, 0}, {3, 0}, {3, 8}, {0, 8}}, 32);
    case Shape::Cone:
        return Revolved({{0, 0}, {4, 0}, {1, 8}, {0, 8}}, 32);
    case Shape::Sphere:
        return Revolved(SphereProfile(5.0, 18), 36);
    case Shape::Torus:
        return Revolved(TorusProfile(4.0, 1.5, 24), 48);
    case Shape::Vase:
        return Revolved(VaseProfile(), 36);
    case Shape::Tube:
        return Revolved({{2, 0}, {3, 0}, {3, 8}, {2, 8}}, 32);
    case Shape::LProfile:
        return Extruded({{0, 0}, {6, 0}, {6, 1}, {1, 1}, {1, 5}, {0, 5}}, 9);
    case Shape::Gear:
        return Extruded(GearOutline(18), 2);
    case Shape::Stairs:
        return Extruded(StairsOutline(6), 4);
    case Shape::HoledPlate:
        return HoledPlate();
    case Shape::Room:
        break;
    }
    // Walls around a floor plan with a doorway.
    return Extruded({{0, 0},
                     {4, 0},
                     {4, 0.3},
                     {0.3, 0.3},
                     {0.3, 6.7},
                     {8.7, 6.7},
                     {8.7, 0.3},
                     {5.5, 0.3},
                     {5.5, 0},
                     {9, 0},
                     {9, 7},
                     {0, 7}},
                    3);
}

Solid Cracked(const Solid& solid, double part, std::uint64_t seed) {
    Random random(seed);
    const double reach = part * SizeOf(solid);
    Solid cracked;
    for (const auto& triangle : solid.triangles) {
        const std::size_t first = cracked.vertices.size();
        for (const std::size_t corner : triangle) {
            Vector p = solid.vertices[corner];
            for (int i = 0; i < 3; ++i) {
                p[i] += reach * static_cast<double>(random.uniform(-1.0F, 1.0F));
            }
            cracked.vertices.push_back(p);
        }
        cracked.triangles.push_back({first, first + 1, first + 2});
    }
    return cracked;
}

Solid WithTJunctions(const Solid& solid, std::uint64_t seed) {
    Random random(seed);
    Solid divided{solid.vertices, {}};
    for (const auto& triangle : solid.triangles) {
        if (!random.percent(30)) {
            divided.triangles.push_back(triangle);
            continue;
        }
        const auto from = static_cast<std::size_t>(random.below(3));
        const std::size_t a = triangle[from];
        const std::size_t b = triangle[(from + 1) % 3];
        const std::size_t c = triangle[(from + 2) % 3];
        const double share = random.between(3, 7) / 10.0;
        const std::size_t middle = divided.vertices.size();
        divided.vertices.push_back((1.0 - share) * solid.vertices[a] + share * solid.vertices[b]);
        divided.triangles.push_back({a, middle, c});
        divided.triangles.push_back({middle, b, c});
    }
    return divided;
}

Solid Doubled(const Solid& solid, bool turnedOver) {
    Solid doubled = solid;
    for (const auto& [a, b, c] : solid.triangles) {
        doubled.triangles.push_back(turnedOver ? std::array{a, c, b} : std::array{a, b, c});
    }
    return doubled;
}

Solid Moved(const Solid& solid, const Vector& offset) {
    Solid moved = solid;
    for (Vector& p : moved.vertices) {
        p += offset;
    }
    return moved;
}

std::string ObjText(const Solid& solid) {
    std::string text;
    AddVertices(text, solid);
    for (const auto& [a, b, c] : solid.triangles) {
        text += "f " + std::to_string(a + 1) + " " + std::to_string(b + 1) + " " +
                std::to_string(c + 1) + "\n";
    }
    return text;
}

std::string FlatObjText(const Solid& solid) {
    std::string text;
    AddVertices(text, solid);
    std::string faces;
    std::size_t number = 0;
    for (const auto& [a, b, c] : solid.triangles) {
        Vector normal =
            (solid.vertices[b] - solid.vertices[a]).Cross(solid.vertices[c] - solid.vertices[a]);
        normal /= normal.Length();
        std::array<char, 120> line{};
        std::snprintf(line.data(), line.size(), "vn %.6f %.6f %.6f\n", normal[0], normal[1],
                      normal[2]);
        text += line.data();
        const std::string reference = "//" + std::to_string(++number);
        faces += "f " + std::to_string(a + 1) + reference + " " + std::to_string(b + 1) +
                 reference + " " + std::to_string(c + 1) + reference + "\n";
    }
    return text + faces;
}

std::string StlBytes(const Solid& solid) {
    test_support::MeshData data;
    for (const Vector& p : solid.vertices) {
        data.addVertex(
            {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])});
    }
    for (const auto& [a, b, c] : solid.triangles) {
        data.addTriangle(static_cast<unsigned int>(a), static_cast<unsigned int>(b),
                         static_cast<unsigned int>(c));
    }
    return tool_test::StlBytes(data);
}

} // namespace ground_truth
