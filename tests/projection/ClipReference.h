// What the tests of the camera's grid share: views, and the formulas of projecting, cutting and
// quantising written out once more.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>

#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace clip_reference {

using ctr::BakedVertex;
using ctr::DiscreteProjectionSpace;
using test_support::Random;
using Vec3 = Wm4::Vector3<float>;
using Clip = std::array<float, 4>;
using Matrix = Wm4::Matrix4<float>;

inline std::uint32_t Bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

inline std::array<std::uint32_t, 3> Bits(const Vec3& v) {
    return {Bits(v[0]), Bits(v[1]), Bits(v[2])};
}

inline std::array<std::uint32_t, 4> Bits(const Clip& c) {
    return {Bits(c[0]), Bits(c[1]), Bits(c[2]), Bits(c[3])};
}

inline std::array<int, 3> Grid(const BakedVertex& b) {
    return {b.x, b.y, b.z};
}

inline DiscreteProjectionSpace SpaceOfBits(unsigned int xyBits, unsigned int zBits) {
    DiscreteProjectionSpace space;
    EXPECT_TRUE(space.setVoxelBitSize(xyBits, zBits));
    return space;
}

inline Clip Transformed(const Vec3& p, const Matrix& m) {
    Clip c{};
    for (int i = 0; i < 4; ++i) {
        c[static_cast<std::size_t>(i)] = p[0] * m[0][i] + p[1] * m[1][i] + p[2] * m[2][i] + m[3][i];
    }
    return c;
}

inline BakedVertex Quantised(const DiscreteProjectionSpace& space, const Clip& c) {
    std::array<int, 3> q{};
    for (int i = 0; i < 3; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const float clamped =
            std::max(std::min(c[at] / c[3], space.frustumMax[i]), space.frustumMin[i]);
        q[at] = static_cast<int>((clamped - space.frustumMin[i]) * space.voxelScale[i]);
    }
    return {q[0], q[1], q[2]};
}

// The six planes: lower and upper bound of x, then y, then z.

constexpr int kPlanes = 6;

inline std::size_t AxisOf(int plane) {
    return static_cast<std::size_t>(plane / 2);
}

inline float BoundOf(const DiscreteProjectionSpace& space, int plane) {
    return plane % 2 == 0 ? space.frustumMin[plane / 2] : space.frustumMax[plane / 2];
}

inline bool IsOutside(const DiscreteProjectionSpace& space, int plane, const Clip& c) {
    const float k = BoundOf(space, plane);
    return plane % 2 == 0 ? k * c[3] > c[AxisOf(plane)] : c[AxisOf(plane)] > k * c[3];
}

// How far inside, in clip space; exact enough in double for floats.
inline double
Inside(const DiscreteProjectionSpace& space, int plane, const std::array<double, 4>& c) {
    const double k = BoundOf(space, plane);
    const double over = c[AxisOf(plane)] - k * c[3];
    return plane % 2 == 0 ? over : -over;
}

inline std::array<double, 4> Widened(const Clip& c) {
    return {c[0], c[1], c[2], c[3]};
}

struct Cut {
    Clip point;
    float s;
};

inline Cut
CutBetween(const DiscreteProjectionSpace& space, int plane, const Clip& c0, const Clip& c1) {
    const float k = BoundOf(space, plane);
    const std::size_t axis = AxisOf(plane);
    Clip m{};
    Clip d{};
    for (std::size_t i = 0; i < 4; ++i) {
        m[i] = (c0[i] + c1[i]) / 2.0F;
        d[i] = c1[i] - c0[i];
    }
    const float s = (m[3] * k - m[axis]) / (d[axis] - d[3] * k);
    Clip point{};
    for (std::size_t i = 0; i < 4; ++i) {
        point[i] = m[i] + s * d[i];
    }
    return {point, s};
}

struct EdgeResult {
    float t0;
    float t1;
    BakedVertex b0;
    BakedVertex b1;
    float w0;
    float w1;
};

/// What a call leaves in outputs that it does not write.
constexpr BakedVertex kUntouched{-77, -78, -79};
constexpr float kUntouchedW = -80.0F;

inline EdgeResult ClipEdge(const DiscreteProjectionSpace& space, const Vec3& p0, const Vec3& p1) {
    EdgeResult r{0.0F, 0.0F, kUntouched, kUntouched, kUntouchedW, kUntouchedW};
    const std::pair<float, float> t = space.clipEdgeWorld(p0, p1, r.b0, r.b1, r.w0, r.w1);
    r.t0 = t.first;
    r.t1 = t.second;
    return r;
}

// Views of every kind, some with bounds other than those of NDC.
inline DiscreteProjectionSpace RandomView(Random& random) {
    switch (random.below(6)) {
    case 0:
        return SpaceOfBits(10, 8);
    case 1:
        return test_support::PerspectiveSpace(12, 9, 0.5F, 0.25F, 4.0F);
    case 2:
        return test_support::SlantedSpace(16, 16, 1.5F);
    case 3:
        return test_support::LatticeSpace(3, 3);
    case 4: {
        DiscreteProjectionSpace space = test_support::PerspectiveSpace(8, 8, 1.0F, 0.5F, 2.0F);
        space.frustumMin = Vec3(-0.3F, -0.9F, -0.7F);
        space.frustumMax = Vec3(0.6F, 0.2F, 1.1F);
        space.updateRatios();
        return space;
    }
    default: {
        DiscreteProjectionSpace space = SpaceOfBits(20, 19);
        Matrix matrix(false);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                matrix[i][j] += random.uniform(-0.4F, 0.4F);
            }
        }
        space.worldToClip = matrix;
        return space;
    }
    }
}

// A point on a coarse lattice half of the time, so that ends lie on planes and corners.
inline Vec3 RandomPoint(Random& random) {
    Vec3 p;
    const bool lattice = random.percent(50);
    for (int i = 0; i < 3; ++i) {
        p[i] = lattice ? 0.5F * static_cast<float>(random.between(-5, 5))
                       : random.uniform(-2.5F, 2.5F);
    }
    return p;
}

} // namespace clip_reference
