// Worst scenes. A new kind takes a function here and a line in the table at the end.
#include "bench/scenes/Worst.h"

#include "bench/scenes/Random.h"

#include <cmath>

namespace bench {
namespace {

constexpr double kPi = 3.14159265358979323846;

using Vector = std::array<double, 3>;

Point PointOf(const Vector& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

std::uint32_t AddPosition(Part& part, const Vector& position) {
    part.positions.push_back(PointOf(position));
    return static_cast<std::uint32_t>(part.positions.size() - 1);
}

/// With three vertices of its own.
void AddTriangle(Part& part, const Vector& a, const Vector& b, const Vector& c) {
    const std::uint32_t first = AddPosition(part, a);
    AddPosition(part, b);
    AddPosition(part, c);
    part.triangles.push_back({first, first + 1, first + 2});
}

Vector Along(const Vector& from, const Vector& direction, double distance) {
    return {from[0] + distance * direction[0], from[1] + distance * direction[1],
            from[2] + distance * direction[2]};
}

Vector AnyDirection(Random& random) {
    const double z = random.uniform(-1.0, 1.0);
    const double angle = random.uniform(-kPi, kPi);
    const double radius = std::sqrt(1.0 - z * z);
    return {radius * std::cos(angle), radius * std::sin(angle), z};
}

/// One triangle, again and again.
Scene MakeCoincident(unsigned int size) {
    Part part{"coincident", {}, {}};
    for (unsigned int i = 0; i < size; ++i) {
        AddTriangle(part, {0.0, 0.0, 0.0}, {1.0, 0.1, 0.2}, {0.3, 0.9, 0.5});
    }
    return {part};
}

/// Needles from one vertex in all directions; few intersect.
Scene MakeNeedles(unsigned int size) {
    Random random(size);
    Part part{"needles", {{0.0F, 0.0F, 0.0F}}, {}};
    const double width = 1.0 / size;
    for (unsigned int i = 0; i < size; ++i) {
        const Vector tip = AnyDirection(random);
        const std::uint32_t first = AddPosition(part, tip);
        AddPosition(part, Along(tip, AnyDirection(random), width));
        part.triangles.push_back({0, first, first + 1});
    }
    return {part};
}

/// A cone: the triangles share the tip, and each an edge with the next.
Scene MakeCone(unsigned int size) {
    Part part{"cone", {{0.0F, 0.0F, 1.0F}}, {}};
    for (unsigned int i = 0; i < size; ++i) {
        const double angle = 2.0 * kPi * i / size;
        AddPosition(part, {std::cos(angle), std::sin(angle), 0.0});
        part.triangles.push_back({0, i + 1, (i + 1) % size + 1});
    }
    return {part};
}

/// Pages of a book opened by 360 degrees: all triangles share an edge.
Scene MakePages(unsigned int size) {
    Part part{"pages", {{0.0F, 0.0F, -1.0F}, {0.0F, 0.0F, 1.0F}}, {}};
    for (unsigned int i = 0; i < size; ++i) {
        const double angle = 2.0 * kPi * i / size;
        part.triangles.push_back(
            {0, 1, AddPosition(part, {std::cos(angle), std::sin(angle), 0.0})});
    }
    return {part};
}

/// Sheets of two triangles above each other, tilted so that the boxes of all meet.
Scene MakeSheets(unsigned int size) {
    Part part{"sheets", {}, {}};
    for (unsigned int i = 0; i < size / 2; ++i) {
        const double lift = static_cast<double>(i) / size;
        const std::uint32_t first = AddPosition(part, {0.0, 0.0, lift});
        AddPosition(part, {1.0, 0.0, lift + 1.0});
        AddPosition(part, {1.0, 1.0, lift + 1.7});
        AddPosition(part, {0.0, 1.0, lift + 0.7});
        part.triangles.push_back({first, first + 1, first + 2});
        part.triangles.push_back({first, first + 2, first + 3});
    }
    return {part};
}

/// Half a step of the grid over a scene of size 1.
constexpr double kHalfStep = 0.5e-6;

/// One triangle, again and again, each corner off by a little less than a step of the grid.
Scene MakeNearly(unsigned int size) {
    Random random(size);
    Part part{"nearly", {}, {}};
    const auto off = [&random](const Vector& p) {
        return Along(p, AnyDirection(random), random.uniform(0.0, kHalfStep));
    };
    for (unsigned int i = 0; i < size; ++i) {
        AddTriangle(part, off({0.0, 0.0, 0.0}), off({1.0, 0.1, 0.2}), off({0.3, 0.9, 0.5}));
    }
    return {part};
}

/// Triangles with centres in a ball, given in half steps of the grid, and corners within a distance
/// of the centres, likewise; and one of size 1 far from them.
Scene MakeBall(const char* name, unsigned int size, double ball, double reach) {
    Random random(size);
    Part part{name, {}, {}};
    AddTriangle(part, {-1.0, 0.0, 0.0}, {-1.0, 1.0, 0.0}, {-0.5, 0.5, 0.5});
    const auto near = [&random](const Vector& p, double halfSteps) {
        return Along(p, AnyDirection(random), random.uniform(0.0, halfSteps * kHalfStep));
    };
    for (unsigned int i = 1; i < size; ++i) {
        const Vector middle = near({0.0, 0.0, 0.0}, ball);
        AddTriangle(part, near(middle, reach), near(middle, reach), near(middle, reach));
    }
    return {part};
}

Scene MakeSoup(unsigned int size) {
    return MakeBall("soup", size, 21.0, 12.0);
}

Scene MakeGrains(unsigned int size) {
    return MakeBall("grains", size, 20.0, 8.0);
}

Scene MakeHeap(unsigned int size) {
    return MakeBall("heap", size, 40.0, 40.0);
}

} // namespace

const std::vector<WorstScene>& WorstScenes() {
    static const std::vector<WorstScene> scenes = {
        {"coincident", "one triangle, again and again", MakeCoincident, 100'000, 0},
        {"needles", "out of one vertex", MakeNeedles, 50'000, 0},
        {"cone", "around one vertex, side by side", MakeCone, 50'000, 0},
        {"pages", "at one edge", MakePages, 25'000, 0},
        {"sheets", "above each other, tilted", MakeSheets, 40'000, 0},
        {"nearly", "one triangle, again and again, a little off", MakeNearly, 12'800, 2},
        {"soup", "within twenty steps of the grid", MakeSoup, 20'000, 0},
        {"grains", "the same of triangles of a few steps", MakeGrains, 20'000, 0},
        {"heap", "of larger triangles, as many steps across as all of them", MakeHeap, 20'000, 0},
    };
    return scenes;
}

} // namespace bench
