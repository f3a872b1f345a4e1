// What single precision leaves of large coordinates.
#pragma once

#include "model/PolygonCutting.h"
#include "scene/Box.h"

#include <array>
#include <limits>

namespace kxcontour {

/// A step between neighbouring coordinates that is over this part of the size of what they describe
/// shows in drawings: on a page of 200 mm it is 0.002 mm, a tenth of a fine line from 50 steps on.
inline constexpr double kCoarseStep = 1e-5;

/// Gathers coordinates that were floats and tells how far apart neighbouring floats are there.
class CoordinateSteps {
public:
    void add(const FilePoint& point);

    /// By axis: the distance between neighbouring floats at the largest coordinate, where it is
    /// over kCoarseStep of the size and digits were lost by it; else 0. None are lost to
    /// coordinates that are all equal, nor to such as are all multiples of more than that distance.
    FilePoint coarse() const;

private:
    Box box_;
    std::array<int, 3> lowestBit_{kNoBit, kNoBit, kNoBit}; ///< Its exponent, of all coordinates.

    static constexpr int kNoBit = std::numeric_limits<int>::max();
};

} // namespace kxcontour
