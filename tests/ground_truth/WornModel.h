// Everyday shapes, sound and worn, as the files that people have of them.
#pragma once

#include <Wm4Foundation.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ground_truth {

/// Triangles over vertices in doubles, facing outwards.
struct Solid {
    std::vector<Wm4::Vector3<double>> vertices;
    std::vector<std::array<std::size_t, 3>> triangles;
};

/// Polygon in x and y, counter-clockwise, without touching itself.
using Polygon = std::vector<std::array<double, 2>>;

/// Turns a profile of (radius, height), which encloses the body counter-clockwise, about the z
/// axis. Points of radius 0 are on the axis; a profile that does not touch it is closed.
Solid Revolved(const Polygon& profile, std::size_t slices);

/// From z = 0 up to a height.
Solid Extruded(const Polygon& polygon, double height);

/// @name Shapes of about ten units
/// @{
enum class Shape : std::uint8_t {
    Cylinder,
    Cone,
    Sphere,
    Torus,
    Vase,
    Tube,
    LProfile,
    Gear,
    Stairs,
    HoledPlate,
    Room
};
constexpr std::size_t kShapes = 11;
const char* NameOf(Shape shape);
Solid Make(Shape shape);
/// @}

/// @name What happens to models
/// @{

/// Every corner of every triangle is off by up to a part of the size, each in its own way.
Solid Cracked(const Solid& solid, double part, std::uint64_t seed);

/// Triangles are divided in two from the middle of an edge, which the neighbour keeps.
Solid WithTJunctions(const Solid& solid, std::uint64_t seed);

/// All triangles twice, the second time as they are or turned over.
Solid Doubled(const Solid& solid, bool turnedOver);

Solid Moved(const Solid& solid, const Wm4::Vector3<double>& offset);
/// @}

/// @name Files
/// @{

/// Six decimals.
std::string ObjText(const Solid& solid);

/// With one normal for each triangle, at its three corners.
std::string FlatObjText(const Solid& solid);

/// Binary.
std::string StlBytes(const Solid& solid);
/// @}

} // namespace ground_truth
