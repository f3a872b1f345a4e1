// The contact tolerance: the distance from a face within which a point touches the face rather than
// lies behind it.
//
// Every corner is rounded to the grid separately, by less than one step per axis. A point that lies
// in the plane of a face, and within the face on screen, therefore gets a plane value of less than
// |nx| + |ny| + |nz|, where n is the normal; its sign is arbitrary. With a tolerance of k steps,
// values up to k (|nx| + |ny| + |nz|) count as contact. One step covers the rounding to the grid, a
// second one the single-precision rounding before it.
//
// Numbers (see GridArithmetic.h for the sizes): steps are at most a quarter of the grid's extent
// along any axis, so a band is below (2^(b-2) 2^(b+d+2)) + (2^(d-2) 2^(2b+1)) < 2^(2b + d + 1), the
// bound of plane distances being three times as large.
#pragma once

#include <ctr/BakedTriangles.h>

#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace ctr {

/// The largest change of a plane value when a point moves by one step along every axis.
inline std::int64_t ChangePerStep(const GridVector& normal) {
    return WrapAdd(WrapAdd(WrapSize(normal[0]), WrapSize(normal[1])), WrapSize(normal[2]));
}

class ContactTolerance {
public:
    ContactTolerance() = default;
    /// Reads the grid, if there is one, only for a tolerance that is not 0.
    explicit ContactTolerance(const BakedTriangles& baked)
        : steps_(baked.contactTolerance == 0 || baked.projectionSpace == nullptr
                     ? 0
                     : std::min(std::int64_t{baked.contactTolerance},
                                MostSteps(*baked.projectionSpace))) {}

    bool operator==(const ContactTolerance&) const = default;
    bool isOff() const { return steps_ == 0; }
    std::int64_t steps() const { return steps_; }

    /// Plane values up to this, on either side of the plane, are contact.
    std::int64_t bandOf(const GridVector& normal) const {
        return WrapMultiply(steps_, ChangePerStep(normal));
    }

    /// The same distance along the line of sight, in steps of depth.
    double depthOf(const GridVector& normal) const {
        return static_cast<double>(steps_) * static_cast<double>(ChangePerStep(normal)) /
               std::max(std::abs(static_cast<double>(normal[2])), 1.0);
    }

private:
    static std::int64_t MostSteps(const DiscreteProjectionSpace& space) {
        const std::uint32_t bits = std::clamp(std::min(space.xyBits, space.zBits), 2U, 32U);
        return std::int64_t{1} << (bits - 2);
    }

    std::int64_t steps_ = 0;
};

} // namespace ctr
