// A ball whose triangles are nearly equal.
#include "bench/scenes/Scene.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace bench {
namespace {

using Vector = std::array<double, 3>;

Vector OnSphere(const Vector& p) {
    const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
    return {p[0] / length, p[1] / length, p[2] / length};
}

/// A ball that is being split.
struct Ball {
    std::vector<Vector> points;
    std::vector<Triangle> triangles;
};

Ball Icosahedron() {
    const double g = (1.0 + std::sqrt(5.0)) / 2.0;
    Ball ball;
    ball.points = {{-1, g, 0},  {1, g, 0},  {-1, -g, 0}, {1, -g, 0}, {0, -1, g},  {0, 1, g},
                   {0, -1, -g}, {0, 1, -g}, {g, 0, -1},  {g, 0, 1},  {-g, 0, -1}, {-g, 0, 1}};
    ball.triangles = {{0, 11, 5}, {0, 5, 1},  {0, 1, 7},   {0, 7, 10}, {0, 10, 11},
                      {1, 5, 9},  {5, 11, 4}, {11, 10, 2}, {10, 7, 6}, {7, 1, 8},
                      {3, 9, 4},  {3, 4, 2},  {3, 2, 6},   {3, 6, 8},  {3, 8, 9},
                      {4, 9, 5},  {2, 4, 11}, {6, 2, 10},  {8, 6, 7},  {9, 8, 1}};
    for (Vector& p : ball.points) {
        p = OnSphere(p);
    }
    return ball;
}

/// One edge of one triangle: its ends, the lower first, and its position in the list.
struct Edge {
    std::uint32_t low;
    std::uint32_t high;
    std::size_t number; ///< Three times the triangle, plus the corner that the edge starts at.

    bool operator<(const Edge& other) const {
        return std::pair(low, high) < std::pair(other.low, other.high);
    }
};

std::vector<Edge> SortedEdges(const std::vector<Triangle>& triangles) {
    std::vector<Edge> edges;
    edges.reserve(3 * triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        for (std::size_t corner = 0; corner < 3; ++corner) {
            const auto [low, high] =
                std::minmax(triangles[i][corner], triangles[i][(corner + 1) % 3]);
            edges.push_back({low, high, 3 * i + corner});
        }
    }
    std::sort(edges.begin(), edges.end());
    return edges;
}

/// Adds the middle of every edge once; the result has its number for every edge of every triangle.
std::vector<std::uint32_t> AddMiddles(Ball& ball) {
    std::vector<std::uint32_t> middles(3 * ball.triangles.size());
    const std::vector<Edge> edges = SortedEdges(ball.triangles);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        if (i == 0 || edges[i - 1] < edges[i]) {
            const Vector& a = ball.points[edges[i].low];
            const Vector& b = ball.points[edges[i].high];
            ball.points.push_back(OnSphere({a[0] + b[0], a[1] + b[1], a[2] + b[2]}));
        }
        middles[edges[i].number] = static_cast<std::uint32_t>(ball.points.size() - 1);
    }
    return middles;
}

void Split(Ball& ball) {
    const std::vector<std::uint32_t> middles = AddMiddles(ball);
    std::vector<Triangle> smaller;
    smaller.reserve(4 * ball.triangles.size());
    for (std::size_t i = 0; i < ball.triangles.size(); ++i) {
        const auto [a, b, c] = ball.triangles[i];
        const std::uint32_t ab = middles[3 * i];
        const std::uint32_t bc = middles[3 * i + 1];
        const std::uint32_t ca = middles[3 * i + 2];
        smaller.insert(smaller.end(), {{a, ab, ca}, {b, bc, ab}, {c, ca, bc}, {ab, bc, ca}});
    }
    ball.triangles = std::move(smaller);
}

} // namespace

Scene MakeSphere(unsigned int splits) {
    Ball ball = Icosahedron();
    for (unsigned int i = 0; i < splits; ++i) {
        Split(ball);
    }
    Part part{"sphere", {}, std::move(ball.triangles)};
    part.positions.reserve(ball.points.size());
    for (const Vector& p : ball.points) {
        part.positions.push_back(
            {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])});
    }
    return {std::move(part)};
}

} // namespace bench
