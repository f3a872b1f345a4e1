// Triangles put on the grid as they are, under trees of the test's own, and points of the grid that
// lie as close beside a line as there are any.
#pragma once

#include <ctr/BakedTriangles.h>

#include "support/ExactBaking.h"
#include "support/Random.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <utility>
#include <vector>

namespace test_support {

inline kx::kxBBox BoxOfTriangles(const ctr::BakedTriangles& baked,
                                 const std::vector<unsigned int>& triangles) {
    kx::kxBBox box;
    for (const unsigned int t : triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            const ctr::BakedVertex& v =
                baked.vertices[baked.triangleIndices[3 * std::size_t{t} + k]];
            const std::int32_t p[3] = {v.x, v.y, v.z};
            for (int axis = 0; axis < 3; ++axis) {
                box.min[axis] = std::min(box.min[axis], static_cast<float>(p[axis]));
                box.max[axis] = std::max(box.max[axis], static_cast<float>(p[axis]));
            }
        }
    }
    return box;
}

/// All triangles in one leaf, in the order given.
inline void PutInOneLeaf(ctr::BakedTriangles& baked, const std::vector<unsigned int>& order) {
    baked.bvh.primitives = order;
    baked.bvh.nodes.assign(1, {});
    baked.bvh.nodes[0].box = BoxOfTriangles(baked, order);
    baked.bvh.nodes[0].first = 0xC0000000U;
    baked.bvh.nodes[0].second = static_cast<unsigned int>(order.size());
}

/// The subtree over order[from, to): halves down to single triangles; returns its number.
inline unsigned int AddHalves(ctr::BakedTriangles& baked, std::size_t from, std::size_t to) {
    const auto number = static_cast<unsigned int>(baked.bvh.nodes.size());
    baked.bvh.nodes.emplace_back();
    const auto& order = baked.bvh.primitives;
    const std::vector<unsigned int> part(order.begin() + static_cast<std::ptrdiff_t>(from),
                                         order.begin() + static_cast<std::ptrdiff_t>(to));
    baked.bvh.nodes[number].box = BoxOfTriangles(baked, part);
    unsigned int first = 0xC0000000U | static_cast<unsigned int>(from);
    unsigned int second = 1;
    if (to - from > 1) {
        first = AddHalves(baked, from, (from + to) / 2);
        second = AddHalves(baked, (from + to) / 2, to);
    }
    baked.bvh.nodes[number].first = first;
    baked.bvh.nodes[number].second = second;
    return number;
}

inline void PutInSingleLeaves(ctr::BakedTriangles& baked, const std::vector<unsigned int>& order) {
    baked.bvh.primitives = order;
    baked.bvh.nodes.clear();
    if (!order.empty()) {
        AddHalves(baked, 0, order.size());
    }
}

inline std::vector<unsigned int> InOrder(std::size_t count) {
    std::vector<unsigned int> order(count);
    std::iota(order.begin(), order.end(), 0U);
    return order;
}

inline std::vector<unsigned int> Shuffled(Random& random, std::size_t count) {
    std::vector<unsigned int> order = InOrder(count);
    for (std::size_t i = count; i > 1; --i) {
        std::swap(order[i - 1], order[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
    }
    return order;
}

/// Adds triangles as they stand to what is baked, all in one leaf; each has to be
/// counter-clockwise on the screen.
inline void PutOnGrid(ctr::BakedTriangles& baked, const std::vector<GridTriangle>& triangles) {
    for (const GridTriangle& t : triangles) {
        for (const ctr::BakedVertex& v : t) {
            baked.triangleIndices.push_back(static_cast<unsigned int>(baked.vertices.size()));
            baked.vertices.push_back(v);
        }
        const auto minus = [](const ctr::BakedVertex& a, const ctr::BakedVertex& b) {
            return std::array<long, 3>{long{a.x} - b.x, long{a.y} - b.y, long{a.z} - b.z};
        };
        const auto u = minus(t[2], t[0]);
        const auto v = minus(t[1], t[0]);
        baked.trianglePlanes.emplace_back(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                                          u[0] * v[1] - u[1] * v[0]);
    }
    PutInOneLeaf(baked, InOrder(baked.trianglePlanes.size()));
}

inline ctr::BakedTriangles OnTheGrid(const ctr::DiscreteProjectionSpace& space,
                                     const std::vector<GridTriangle>& triangles) {
    ctr::BakedTriangles baked;
    baked.setProjectionSpace(&space);
    PutOnGrid(baked, triangles);
    return baked;
}

/// False for a triangle without area on the screen.
inline bool TurnCounterClockwise(GridTriangle& t) {
    const std::int64_t area = DoubledArea(t[0], t[1], t[2]);
    if (area < 0) {
        std::swap(t[1], t[2]);
    }
    return area != 0;
}

/// The (u, v) with du v - dv u = n gcd(du, dv) and u from 0 up to, not including, du, which has to
/// be positive. With a common divisor of 1 no other point is as close to the line along (du, dv).
inline std::array<long, 2> PointBesideLine(long du, long dv, long n) {
    long rest[2] = {du, dv};
    long ofU[2] = {1, 0}; // rest[i] = ofU[i] du + ofV[i] dv
    long ofV[2] = {0, 1};
    while (rest[1] != 0) {
        const long quotient = rest[0] / rest[1];
        for (long(*pair)[2] : {&rest, &ofU, &ofV}) {
            (*pair)[0] = std::exchange((*pair)[1], (*pair)[0] - quotient * (*pair)[1]);
        }
    }
    const long divisor = std::abs(rest[0]);
    const long sign = rest[0] < 0 ? -1 : 1;
    const long step = du / divisor;
    const long u = -n * sign * ofV[0];
    const long v = n * sign * ofU[0];
    const long back = u / step - (u % step < 0 ? 1 : 0);
    return {u - back * step, v - back * (dv / divisor)};
}

} // namespace test_support
