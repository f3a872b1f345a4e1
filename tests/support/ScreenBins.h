// Finds the triangles near a point on screen, so that brute-force tests are possible on models of a
// hundred thousand triangles.
#pragma once

#include "support/ExactBaking.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace test_support {

/// A rectangle of grid columns and rows, edges included.
struct ScreenBox {
    std::int32_t lowX;
    std::int32_t lowY;
    std::int32_t highX;
    std::int32_t highY;

    bool meets(const ScreenBox& other) const {
        return lowX <= other.highX && other.lowX <= highX && lowY <= other.highY &&
               other.lowY <= highY;
    }
    ScreenBox grownBy(std::int32_t steps) const {
        return {lowX - steps, lowY - steps, highX + steps, highY + steps};
    }
};

ScreenBox BoxOf(const GridTriangle& triangle);
ScreenBox BoxOf(const ctr::BakedVertex& a, const ctr::BakedVertex& b);

/// Lists of triangles, one for each square of the screen, each with all whose box meets the square.
class ScreenBins {
public:
    /// For grids of the given number of bits across the screen.
    ScreenBins(const std::vector<GridTriangle>& triangles, unsigned int xyBits);

    /// The numbers of the triangles whose box meets a rectangle, each once, in any order.
    std::vector<unsigned int> trianglesNear(const ScreenBox& box) const;

private:
    static constexpr std::int32_t kSide = 256; ///< Squares along each axis.

    std::int32_t squareOf(std::int32_t coordinate) const;
    std::size_t squareAt(std::int32_t x, std::int32_t y) const;
    template <typename Function> void forSquares(const ScreenBox& box, const Function& f) const;

    std::vector<ScreenBox> boxes_;
    std::vector<std::vector<unsigned int>> squares_;
    unsigned int shift_;
};

} // namespace test_support
