// Boxes: turned at random, or long and crossed.
#include "bench/scenes/Random.h"
#include "bench/scenes/Scene.h"

#include <cmath>

namespace bench {
namespace {

using Vector = std::array<double, 3>;

/// The axes of a box in the world, orthonormal.
using Axes = std::array<Vector, 3>;

constexpr Axes kStraight{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};

// Corner k lies on the far side along axis a where bit a of k is set.
constexpr std::array<Triangle, 12> kBoxTriangles{{{0, 2, 3},
                                                  {0, 3, 1},
                                                  {4, 5, 7},
                                                  {4, 7, 6},
                                                  {0, 1, 5},
                                                  {0, 5, 4},
                                                  {2, 6, 7},
                                                  {2, 7, 3},
                                                  {0, 4, 6},
                                                  {0, 6, 2},
                                                  {1, 3, 7},
                                                  {1, 7, 5}}};

Part MakeBox(std::string name, const Vector& middle, const Vector& half, const Axes& axes) {
    Part part{std::move(name), {}, {kBoxTriangles.begin(), kBoxTriangles.end()}};
    for (unsigned int corner = 0; corner < 8; ++corner) {
        Vector p = middle;
        for (unsigned int axis = 0; axis < 3; ++axis) {
            const double reach = (corner >> axis & 1U) != 0 ? half[axis] : -half[axis];
            for (unsigned int k = 0; k < 3; ++k) {
                p[k] += reach * axes[axis][k];
            }
        }
        part.positions.push_back(
            {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])});
    }
    return part;
}

/// A uniformly random rotation: a point in the ball of four dimensions, drawn until it is inside,
/// is a quaternion. Only operations that round the same everywhere.
Axes RandomAxes(Random& random) {
    double a = 0.0;
    double b = 0.0;
    double c = 0.0;
    double d = 0.0;
    double square = 0.0;
    do {
        a = random.uniform(-1.0, 1.0);
        b = random.uniform(-1.0, 1.0);
        c = random.uniform(-1.0, 1.0);
        d = random.uniform(-1.0, 1.0);
        square = a * a + b * b + c * c + d * d;
    } while (square > 1.0 || square < 0.01);
    const double s = 2.0 / square;
    return {{{1.0 - s * (c * c + d * d), s * (b * c + a * d), s * (b * d - a * c)},
             {s * (b * c - a * d), 1.0 - s * (b * b + d * d), s * (c * d + a * b)},
             {s * (b * d + a * c), s * (c * d - a * b), 1.0 - s * (b * b + c * c)}}};
}

Vector RandomVector(Random& random, double from, double to) {
    const double x = random.uniform(from, to);
    const double y = random.uniform(from, to);
    return {x, y, random.uniform(from, to)};
}

} // namespace

Scene MakeBoxes(unsigned int count) {
    Random random(1);
    const double side = std::cbrt(static_cast<double>(count));
    Scene scene;
    for (unsigned int i = 0; i < count; ++i) {
        const Vector middle = RandomVector(random, 0.0, side);
        const Vector half = RandomVector(random, 0.25, 0.6);
        scene.push_back(MakeBox("box" + std::to_string(i), middle, half, RandomAxes(random)));
    }
    return scene;
}

Scene MakePlanks() {
    constexpr unsigned int kPlanks = 200;
    constexpr double kMiddle = (kPlanks - 1) / 2.0;
    constexpr double kHalfLength = kPlanks / 2.0;
    Scene scene;
    for (unsigned int i = 0; i < kPlanks; ++i) {
        scene.push_back(MakeBox("lower" + std::to_string(i), {1.0 * i, kMiddle, 0.0},
                                {0.1, kHalfLength, 0.1}, kStraight));
    }
    for (unsigned int i = 0; i < kPlanks; ++i) {
        scene.push_back(MakeBox("upper" + std::to_string(i), {kMiddle, 1.0 * i, 0.7},
                                {kHalfLength, 0.1, 0.1}, kStraight));
    }
    return scene;
}

} // namespace bench
