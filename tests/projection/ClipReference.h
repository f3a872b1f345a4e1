// Shared by the tests of the camera and its grid: views, and second implementations of projection,
// clipping and quantisation for edges and triangles. A comparison with the library returns nothing
// if they agree and a description of the first difference otherwise.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>

#include "support/Random.h"
#include "support/Scenes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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
    if (!space.setVoxelBitSize(xyBits, zBits)) {
        throw std::invalid_argument("a bit size that the grid refuses");
    }
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

struct Clipped {
    Clip point;
    float s;
};

inline Clipped
ClippedBetween(const DiscreteProjectionSpace& space, int plane, const Clip& c0, const Clip& c1) {
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

struct ClippedEdge {
    bool inside;
    float t0;
    float t1;
    Clip c0;
    Clip c1;
};

inline ClippedEdge
ExpectedEdge(const DiscreteProjectionSpace& space, const Vec3& p0, const Vec3& p1) {
    ClippedEdge e{true, 0.0F, 1.0F, Transformed(p0, space.worldToClip),
                  Transformed(p1, space.worldToClip)};
    for (int plane = 0; plane < kPlanes; ++plane) {
        const bool out0 = IsOutside(space, plane, e.c0);
        const bool out1 = IsOutside(space, plane, e.c1);
        if (out0 && out1) {
            return {false, 1.0F, 0.0F, e.c0, e.c1};
        }
        if (!out0 && !out1) {
            continue;
        }
        const Clipped clipped = ClippedBetween(space, plane, e.c0, e.c1);
        const float t = e.t0 + (clipped.s + 0.5F) * (e.t1 - e.t0);
        (out0 ? e.c0 : e.c1) = clipped.point;
        (out0 ? e.t0 : e.t1) = t;
    }
    return e;
}

inline bool IsFinite(const Clip& c) {
    return std::all_of(c.begin(), c.end(), [](float value) { return std::isfinite(value); });
}

/// What comparisons have met.
struct EdgeCounts {
    int clipped = 0;
    int dropped = 0;
};

/// Every output of clipEdgeWorld(), bit for bit. An end with w = 0 or beyond all numbers means
/// nothing: its quotient is not guarded.
inline std::string CompareClippedEdge(const DiscreteProjectionSpace& space,
                                      const Vec3& p0,
                                      const Vec3& p1,
                                      EdgeCounts& counts) {
    const ClippedEdge expected = ExpectedEdge(space, p0, p1);
    if (!IsFinite(expected.c0) || !IsFinite(expected.c1) ||
        (expected.inside && (expected.c0[3] == 0.0F || expected.c1[3] == 0.0F))) {
        return {};
    }
    const EdgeResult r = ClipEdge(space, p0, p1);
    if (Bits(r.t0) != Bits(expected.t0) || Bits(r.t1) != Bits(expected.t1)) {
        return "the clipped edge has other parameters\n";
    }
    if (!expected.inside) {
        ++counts.dropped;
        return Grid(r.b0) == Grid(kUntouched) && Grid(r.b1) == Grid(kUntouched)
                   ? ""
                   : "an edge outside the view wrote its ends\n";
    }
    counts.clipped += expected.t0 > 0.0F || expected.t1 < 1.0F ? 1 : 0;
    if (Bits(r.w0) != Bits(expected.c0[3]) || Bits(r.w1) != Bits(expected.c1[3])) {
        return "the clipped edge has another w\n";
    }
    return Grid(r.b0) == Grid(Quantised(space, expected.c0)) &&
                   Grid(r.b1) == Grid(Quantised(space, expected.c1))
               ? ""
               : "the clipped edge has other grid points\n";
}

/// What the callers of clipTriangle() have space for. A sliver along two planes can, by rounding,
/// cross one of them four times and would become longer; it ends there.
constexpr std::size_t kBufferSize = 9;

inline Wm4::Vector4<float> ToVector(const Clip& c) {
    return {c[0], c[1], c[2], c[3]};
}

inline Clip ToClip(const Wm4::Vector4<float>& v) {
    return {v[0], v[1], v[2], v[3]};
}

struct Polygon {
    bool kept = false;
    std::vector<Clip> vertices;
    unsigned int codes = 0;
    bool exchanged = false; ///< The result is in the second buffer.
    bool ownBuffers = true; ///< Each of the two buffers came back as one of the two.

    unsigned int codeOf(std::size_t vertex) const { return codes >> (2 * vertex) & 3U; }
    const Clip& before(std::size_t vertex) const {
        return vertices[(vertex + vertices.size() - 1) % vertices.size()];
    }
};

using ClipCorners = std::array<Clip, 3>;

inline Polygon ClipCorners3(const DiscreteProjectionSpace& space, const ClipCorners& corners) {
    std::array<Wm4::Vector4<float>, kBufferSize> a;
    std::array<Wm4::Vector4<float>, kBufferSize> b;
    for (std::size_t i = 0; i < 3; ++i) {
        a[i] = ToVector(corners[i]);
    }
    Wm4::Vector4<float>* poly = a.data();
    Wm4::Vector4<float>* scratch = b.data();
    unsigned int count = 0;
    Polygon result;
    result.kept = space.clipTriangle(poly, scratch, count, result.codes);
    result.exchanged = poly == b.data();
    result.ownBuffers =
        poly == (result.exchanged ? b : a).data() && scratch == (result.exchanged ? a : b).data();
    for (unsigned int i = 0; result.kept && i < count; ++i) {
        result.vertices.push_back(ToClip(poly[i]));
    }
    return result;
}

inline Polygon ExpectedPolygon(const DiscreteProjectionSpace& space, const ClipCorners& corners) {
    std::vector<Clip> polygon(corners.begin(), corners.end());
    std::vector<unsigned int> codes{1, 2, 3};
    Polygon result;
    for (int plane = 0; plane < kPlanes; ++plane) {
        std::vector<bool> out(polygon.size());
        std::transform(polygon.begin(), polygon.end(), out.begin(),
                       [&](const Clip& c) { return IsOutside(space, plane, c); });
        if (std::find(out.begin(), out.end(), false) == out.end()) {
            return {};
        }
        if (std::find(out.begin(), out.end(), true) == out.end()) {
            continue;
        }
        std::vector<Clip> next;
        std::vector<unsigned int> nextCodes;
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const std::size_t previous = i == 0 ? polygon.size() - 1 : i - 1;
            if (out[previous] != out[i]) {
                next.push_back(ClippedBetween(space, plane, polygon[previous], polygon[i]).point);
                nextCodes.push_back(out[i] ? codes[i] : 0U);
            }
            if (!out[i]) {
                next.push_back(polygon[i]);
                nextCodes.push_back(codes[i]);
            }
        }
        next.resize(std::min(next.size(), kBufferSize));
        nextCodes.resize(next.size());
        polygon = next;
        codes = nextCodes;
        result.exchanged = !result.exchanged;
    }
    result.kept = true;
    result.vertices = polygon;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        result.codes |= codes[i] << (2 * i);
    }
    return result;
}

// Corners of a random triangle; w is 1 or, now and then, anything, negative values included.
inline ClipCorners RandomCorners(Random& random) {
    ClipCorners corners{};
    const bool affine = random.percent(60);
    for (Clip& c : corners) {
        const Vec3 p = RandomPoint(random);
        c = {p[0], p[1], p[2], affine ? 1.0F : 0.5F * static_cast<float>(random.between(-2, 6))};
    }
    return corners;
}

/// Every output of clipTriangle(), bit for bit. Corners are numbers.
inline std::string CompareClippedTriangle(const DiscreteProjectionSpace& space,
                                          const ClipCorners& corners,
                                          EdgeCounts& counts) {
    const Polygon expected = ExpectedPolygon(space, corners);
    const Polygon p = ClipCorners3(space, corners);
    if (!p.ownBuffers) {
        return "the clipped triangle is in a buffer of its own\n";
    }
    counts.dropped += p.kept ? 0 : 1;
    if (!p.kept || !expected.kept) {
        return p.kept == expected.kept ? "" : "the clipped triangle is kept, or not\n";
    }
    counts.clipped += p.codes != 57U ? 1 : 0;
    if (p.codes != expected.codes || p.exchanged != expected.exchanged ||
        p.vertices.size() != expected.vertices.size()) {
        return "the clipped triangle has other codes or vertices\n";
    }
    for (std::size_t i = 0; i < p.vertices.size(); ++i) {
        if (IsFinite(expected.vertices[i]) && Bits(p.vertices[i]) != Bits(expected.vertices[i])) {
            return "vertex " + std::to_string(i) + " of the clipped triangle differs\n";
        }
    }
    return {};
}

} // namespace clip_reference
