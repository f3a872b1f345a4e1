// Few values and small numbers, so that many are equal by chance.
#include "support/RandomLines.h"

#include "support/ExactFractions.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace test_support {

namespace {

Wm4::Vector2<std::int64_t> AnyEnd(Random& random) {
    const long denominator = random.between(1, 8);
    const long factor = random.percent(40) ? random.between(2, 4) : 1;
    return {random.between(0, static_cast<int>(denominator)) * factor, denominator * factor};
}

// Values that no 64-bit product can distinguish.
Wm4::Vector2<std::int64_t> AnyLargeEnd(Random& random) {
    const long denominator = (1L << 62U) - random.between(0, 3);
    return {(1L << 61U) + random.between(-3, 3), denominator};
}

ctr::RationalInterval AnyRange(Random& random, Wm4::Vector2<std::int64_t> (*anyEnd)(Random&)) {
    ctr::RationalInterval interval{anyEnd(random), anyEnd(random)};
    if (Compare(interval.start, interval.end) > 0) {
        std::swap(interval.start, interval.end);
    }
    return interval;
}

Vec3 AnyCorner(Random& random, int lowest, int highest) {
    Vec3 p;
    for (int axis = 0; axis < 3; ++axis) {
        const auto whole = static_cast<float>(random.between(lowest, highest));
        p[axis] = random.percent(20) ? -whole : whole; // some zeros are negative
    }
    return p;
}

Vec3 AnyNormal(Random& random) {
    switch (random.below(4)) {
    case 0:
        return {0.0F, 0.0F, 1.0F};
    case 1:
        return {0.0F, 0.0F, 0.0F};
    case 2:
        return TiltedNormal(static_cast<float>(random.between(-12, 12)));
    default:
        const float x = random.uniform(-1, 1);
        const float y = random.uniform(-1, 1);
        return {x, y, random.uniform(-1, 1)};
    }
}

} // namespace

ctr::RationalInterval RandomRange(Random& random) {
    return AnyRange(random, AnyEnd);
}

std::vector<ctr::RationalInterval> RandomRanges(Random& random) {
    auto* const anyEnd = random.percent(70) ? AnyEnd : AnyLargeEnd;
    std::vector<ctr::RationalInterval> ranges;
    for (int i = random.below(8); i >= 0; --i) {
        ranges.push_back(AnyRange(random, anyEnd));
    }
    return ranges;
}

void Shuffle(Random& random, std::vector<ctr::RationalInterval>& ranges) {
    for (std::size_t i = ranges.size(); i > 1; --i) {
        std::swap(ranges[i - 1],
                  ranges[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
    }
}

Vec3 TiltedNormal(float degrees) {
    const double radians = degrees * 3.14159265358979323846 / 180.0;
    return {0.0F, static_cast<float>(std::sin(radians)), static_cast<float>(std::cos(radians))};
}

Surface RandomSurface(Random& random) {
    const int vertexCount = random.between(3, 24);
    const int extent = random.between(1, 2);
    std::vector<Vec3> positions;
    std::vector<Vec3> normals;
    for (int i = 0; i < vertexCount; ++i) {
        positions.push_back(AnyCorner(random, -extent, extent));
        normals.push_back(AnyNormal(random));
    }
    const int whole = 3 * random.between(1, 30);
    std::vector<unsigned int> triangles(static_cast<std::size_t>(whole + random.below(3)));
    for (unsigned int& index : triangles) {
        index = static_cast<unsigned int>(random.below(vertexCount));
    }
    if (random.percent(10)) {
        normals.clear();
    }
    return {MakeVertices(positions, normals), MakeIndices(triangles, kx::IBT_TRIANGLES)};
}

SetPointer RandomCornerSet(Random& random, int largest) {
    std::vector<Vec3> positions(static_cast<std::size_t>(random.between(2, 12)));
    for (Vec3& position : positions) {
        position = AnyCorner(random, 0, 1);
    }
    std::vector<unsigned int> indices(2 * static_cast<std::size_t>(random.below(largest + 1)));
    for (unsigned int& index : indices) {
        index = static_cast<unsigned int>(random.below(static_cast<int>(positions.size())));
    }
    return MakeSet(positions, indices);
}

} // namespace test_support
