#include "support/ScreenBins.h"

#include <algorithm>

namespace test_support {

ScreenBox BoxOf(const GridTriangle& triangle) {
    const auto [lowX, highX] = std::minmax({triangle[0].x, triangle[1].x, triangle[2].x});
    const auto [lowY, highY] = std::minmax({triangle[0].y, triangle[1].y, triangle[2].y});
    return {lowX, lowY, highX, highY};
}

ScreenBox BoxOf(const ctr::BakedVertex& a, const ctr::BakedVertex& b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

ScreenBins::ScreenBins(const std::vector<GridTriangle>& triangles, unsigned int xyBits)
    : squares_(static_cast<std::size_t>(kSide) * kSide), shift_(xyBits > 8 ? xyBits - 8 : 0) {
    for (const GridTriangle& triangle : triangles) {
        const auto number = static_cast<unsigned int>(boxes_.size());
        boxes_.push_back(BoxOf(triangle));
        forSquares(boxes_.back(), [&](std::size_t square) { squares_[square].push_back(number); });
    }
}

// A triangle in several of the squares is taken in the first of them.
std::vector<unsigned int> ScreenBins::trianglesNear(const ScreenBox& box) const {
    std::vector<unsigned int> found;
    forSquares(box, [&](std::size_t square) {
        for (const unsigned int triangle : squares_[square]) {
            const ScreenBox& other = boxes_[triangle];
            if (other.meets(box) && square == squareAt(std::max(other.lowX, box.lowX),
                                                       std::max(other.lowY, box.lowY))) {
                found.push_back(triangle);
            }
        }
    });
    return found;
}

std::size_t ScreenBins::squareAt(std::int32_t x, std::int32_t y) const {
    return static_cast<std::size_t>(squareOf(y)) * kSide + static_cast<std::size_t>(squareOf(x));
}

std::int32_t ScreenBins::squareOf(std::int32_t coordinate) const {
    return std::clamp(coordinate >> shift_, 0, kSide - 1);
}

template <typename Function>
void ScreenBins::forSquares(const ScreenBox& box, const Function& f) const {
    for (std::int32_t y = squareOf(box.lowY); y <= squareOf(box.highY); ++y) {
        for (std::int32_t x = squareOf(box.lowX); x <= squareOf(box.highX); ++x) {
            f(static_cast<std::size_t>(y) * kSide + static_cast<std::size_t>(x));
        }
    }
}

} // namespace test_support
