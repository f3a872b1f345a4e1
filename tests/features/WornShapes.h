// Closed shapes, and the damage that other programs do to them.
#pragma once

#include "features/SurfaceShapes.h"
#include "support/Random.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace features_test {

using test_support::MeshData;
using test_support::Point;

struct NamedShape {
    std::string name;
    MeshData data;
};

inline double TurnOf(int slice, int slices) {
    return 2.0 * 3.14159265358979323846 * slice / slices;
}

/// Closed: a profile in r and z, counter-clockwise, turned about the z axis in slices. Points at
/// r = 0 are poles. The radius of each slice is multiplied by its factor.
inline MeshData Turned(
    const std::vector<Wm4::Vector2<float>>& profile,
    int slices,
    const std::function<double(int)>& factor = [](int) { return 1.0; }) {
    MeshData turned;
    std::vector<std::vector<unsigned int>> rings;
    for (const auto& point : profile) {
        std::vector<unsigned int> ring;
        for (int slice = 0; slice < slices; ++slice) {
            if (point.X() == 0.0F && slice > 0) {
                ring.push_back(ring.front());
                continue;
            }
            const double radius = static_cast<double>(point.X()) * factor(slice);
            ring.push_back(turned.addVertex(
                Point(static_cast<float>(radius * std::cos(TurnOf(slice, slices))),
                      static_cast<float>(radius * std::sin(TurnOf(slice, slices))), point.Y())));
        }
        rings.push_back(ring);
    }
    const auto add = [&](unsigned int a, unsigned int b, unsigned int c) {
        if (a != b && b != c && c != a) {
            turned.addTriangle(a, b, c);
        }
    };
    for (std::size_t i = 0; i < rings.size(); ++i) {
        const auto& lower = rings[i];
        const auto& upper = rings[(i + 1) % rings.size()];
        for (std::size_t slice = 0; slice < lower.size(); ++slice) {
            const std::size_t next = (slice + 1) % lower.size();
            add(lower[slice], lower[next], upper[next]);
            add(lower[slice], upper[next], upper[slice]);
        }
    }
    return turned;
}

inline std::vector<NamedShape> SoundShapes() {
    using Profile = std::vector<Wm4::Vector2<float>>;
    Profile ring;
    for (int i = 0; i < 24; ++i) {
        ring.emplace_back(static_cast<float>(30.0 + 10.0 * std::cos(TurnOf(i, 24))),
                          static_cast<float>(10.0 * std::sin(TurnOf(i, 24))));
    }
    Profile vase{{0.0F, 0.0F}};
    for (int i = 0; i <= 30; ++i) {
        vase.emplace_back(static_cast<float>(20.0 + 8.0 * std::sin(0.2 * i)),
                          static_cast<float>(2 * i));
    }
    vase.emplace_back(0.0F, 60.0F);
    const auto teeth = [](int slice) { return slice % 4 < 2 ? 1.0 : 0.85; };
    const auto square = [](int slice) {
        const double turn = TurnOf(slice, 32);
        return 1.0 / std::max(std::abs(std::cos(turn)), std::abs(std::sin(turn)));
    };
    Profile stairs{{8.0F, 0.0F}, {8.0F, 8.0F}};
    for (int i = 7; i >= 0; --i) {
        stairs.emplace_back(static_cast<float>(i), static_cast<float>(i + 1));
        stairs.emplace_back(static_cast<float>(i), static_cast<float>(i));
    }
    return {
        {"cylinder", Turned({{0, 0}, {20, 0}, {20, 70}, {0, 70}}, 64)},
        {"torus", Turned(ring, 48)},
        {"vase", Turned(vase, 48)},
        {"sphere", test_support::Sphere(Point(5, 5, 5), 33, 40, 20)},
        {"box", test_support::Box(Point(1, 2, 3), Point(50, 30, 22))},
        {"profile", test_support::Prism({{1, 1}, {1, 9}, {0, 9}, {0, 0}, {9, 0}, {9, 1}}, 0, 20)},
        {"gear", Turned({{5, 0}, {30, 0}, {30, 8}, {5, 8}}, 64, teeth)},
        {"tube", Turned({{18, 0}, {20, 0}, {20, 90}, {18, 90}}, 48)},
        {"cone", Turned({{0, 0}, {25, 0}, {0, 60}}, 48)},
        {"plate with a hole", Turned({{20, 0}, {50, 0}, {50, 4}, {20, 4}}, 32, square)},
        {"stairs", test_support::Prism(stairs, 0, 12)},
    };
}

inline float SizeOf(const MeshData& data) {
    Point low = data.positions.front();
    Point high = low;
    for (const Point& p : data.positions) {
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], p[axis]);
            high[axis] = std::max(high[axis], p[axis]);
        }
    }
    return std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]});
}

/// Every triangle has corners of its own, each off by up to a share of the size along each axis.
inline MeshData Cracked(const MeshData& data, float share, std::uint64_t seed) {
    test_support::Random random(seed);
    MeshData cracked = test_support::Unwelded(data);
    const float reach = share * SizeOf(data);
    for (Point& p : cracked.positions) {
        for (int axis = 0; axis < 3; ++axis) {
            p[axis] += random.uniform(-reach, reach);
        }
    }
    return cracked;
}

/// Splits some triangles in the middle of a side, so that their neighbours meet them in
/// T-junctions; the middle is rounded to floats.
inline MeshData WithJunctions(const MeshData& data, int percent, std::uint64_t seed) {
    test_support::Random random(seed);
    MeshData split;
    split.positions = data.positions;
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        const unsigned int a = data.indices[i];
        const unsigned int b = data.indices[i + 1];
        const unsigned int c = data.indices[i + 2];
        if (random.percent(percent)) {
            const float share = random.uniform(0.2F, 0.8F);
            const unsigned int middle = split.addVertex(
                data.positions[a] + share * (data.positions[b] - data.positions[a]));
            split.addTriangle(a, middle, c);
            split.addTriangle(middle, b, c);
        } else {
            split.addTriangle(a, b, c);
        }
    }
    return split;
}

} // namespace features_test
