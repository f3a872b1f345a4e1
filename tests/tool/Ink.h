// Pictures of line drawings, told apart by where their ink is.
#pragma once

#include "SvgFile.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tool_test {

/// A picture as how dark its pixels are.
///
/// Programs soften the edges of strokes in ways of their own. So pictures are compared by strong
/// ink, in the middle of a line, and weak ink, which is any trace of one.
class Ink {
public:
    /// Reads a PNG on white. Throws std::runtime_error when there is none.
    explicit Ink(const std::string& png);

    int width() const { return width_; }
    int height() const { return height_; }
    std::size_t strongCount() const;

    /// The number of strong pixels that have no weak one in the other picture, there or beside.
    std::size_t strayFrom(const Ink& other) const;

    /// The box of all strong pixels in millimetres, for a picture of so many dots per inch.
    PageBox bounds(double dpi) const;

    /// Adds the ink of a picture of the same size.
    void add(const Ink& other);

private:
    bool isStrong(int x, int y) const;
    bool hasWeakBeside(int x, int y) const;
    unsigned char& at(int x, int y) { return darkness_[index(x, y)]; }
    unsigned char at(int x, int y) const { return darkness_[index(x, y)]; }
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(x);
    }

    int width_ = 0;
    int height_ = 0;
    std::vector<unsigned char> darkness_; ///< By row; 0 for white, 255 for black.
};

} // namespace tool_test
