// How far behind a face something has to reach before the face hides it.
//
// Each corner is rounded to the grid by itself, by less than a step along every axis. A point of a
// face's plane that lies within the face on screen is therefore found at a plane value below
// |nx| + |ny| + |nz|, n being the normal: on either side, as chance has it. With a tolerance of k
// steps, values up to k (|nx| + |ny| + |nz|) are contact. k = 1 covers the rounding to the grid, 2
// what single precision adds to it before.
//
// Numbers (see GridArithmetic.h for the sizes): steps are at most a quarter of the grid's extent
// along any axis, so a band is below (2^(b-2) 2^(b+d+2)) + (2^(d-2) 2^(2b+1)) < 2^(2b + d + 1), the
// bound of plane distances being three times as large.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/GridArithmetic.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace ctr {

/// By how much the value of a plane changes at the most when a point moves by a step along every
/// axis.
inline long ChangePerStep(const GridVector& normal) {
    return std::abs(normal[0]) + std::abs(normal[1]) + std::abs(normal[2]);
}

class ContactTolerance {
public:
    ContactTolerance() = default;
    explicit ContactTolerance(const BakedTriangles& baked)
        : steps_(std::min(long{baked.contactTolerance}, MostSteps(*baked.projectionSpace))) {}

    bool isOff() const { return steps_ == 0; }

    /// Plane values up to this, on either side of the plane, are contact.
    long bandOf(const GridVector& normal) const {
        return WrapMultiply(steps_, ChangePerStep(normal));
    }

    /// The same along the line of sight, in steps of depth.
    double depthOf(const GridVector& normal) const {
        return static_cast<double>(steps_) * static_cast<double>(ChangePerStep(normal)) /
               std::max(std::abs(static_cast<double>(normal[2])), 1.0);
    }

private:
    static long MostSteps(const DiscreteProjectionSpace& space) {
        const std::uint32_t bits = std::clamp(std::min(space.xyBits, space.zBits), 2U, 32U);
        return 1L << (bits - 2);
    }

    long steps_ = 0;
};

} // namespace ctr
