// The models for measuring speed, generated so that they are reproducible.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

using Point = std::array<float, 3>;
using Triangle = std::array<std::uint32_t, 3>;

/// One closed body: triangles counter-clockwise seen from outside, one vertex per position.
struct Part {
    std::string name;
    std::vector<Point> positions;
    std::vector<Triangle> triangles;
};

/// The parts of a model; z is up.
using Scene = std::vector<Part>;

/// Randomly rotated boxes that intersect, at the same density for every count: 12 triangles each,
/// half sides from 0.25 to 0.6, centres in a cube of volume count.
Scene MakeBoxes(unsigned int count);

/// Two crossed layers of 200 thin planks each, half a unit apart: each plank is seen through the
/// gaps between 200 others. 4,800 triangles.
Scene MakePlanks();

/// 21 machine parts that touch and intersect slightly: gears with bores, springs, hexagonal bolts
/// with threads. 315,424 triangles times the square of fineness, which must be positive.
Scene MakeGears(unsigned int fineness);

/// A sphere: an icosahedron subdivided splits times, 20 * 4^splits triangles.
Scene MakeSphere(unsigned int splits);

/// The scene of a name: boxesN, planks, gears, gearsfine or sphereK with numbers for N and K.
///
/// Throws std::invalid_argument for any other name, for more than a million boxes or more than 12
/// splits.
Scene MakeScene(const std::string& name);

std::size_t TriangleCount(const Scene& scene);

} // namespace bench
