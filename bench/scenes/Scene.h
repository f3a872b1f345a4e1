// The models that speed is measured on, made by rule so that everybody has the same.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

using Point = std::array<float, 3>;
using Triangle = std::array<std::uint32_t, 3>;

/// One body: closed, its triangles counter-clockwise seen from outside, each place one vertex.
struct Part {
    std::string name;
    std::vector<Point> positions;
    std::vector<Triangle> triangles;
};

/// The parts of a model; z is up.
using Scene = std::vector<Part>;

/// Boxes turned at random that cut each other, as many in each unit of space for every count: 12
/// triangles each, half sides from 0.25 to 0.6, middles in a cube of the volume count.
Scene MakeBoxes(unsigned int count);

/// Two layers of 200 thin planks each, crossed, half a unit apart: every plank is seen through the
/// gaps of 200 others. 4,800 triangles.
Scene MakePlanks();

/// 21 parts of a machine that touch and cut a little: gears with bores, springs, hexagonal bolts
/// with threads. 315,424 triangles times the square of fineness, which has to be positive.
Scene MakeGears(unsigned int fineness);

/// A ball: an icosahedron split so many times, 20 * 4^splits triangles.
Scene MakeSphere(unsigned int splits);

/// The scene of a name: boxesN, planks, gears, gearsfine or sphereK with numbers for N and K.
///
/// Throws std::invalid_argument for any other name, for more than a million boxes and more than 12
/// splits.
Scene MakeScene(const std::string& name);

std::size_t TriangleCount(const Scene& scene);

} // namespace bench
