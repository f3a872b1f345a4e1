// Sets the bits of an occluded interval. Doubles locate its first and last part; parts that an end
// may touch, by the margin of ErrorBounds.h, stay unset. O(1).
#include "visibility/bvh/SegmentCoverage.h"

#include "visibility/ErrorBounds.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>

namespace ctr {

void SegmentCoverage::add(const RationalInterval& interval) {
    const auto at = [](const Fraction& t) {
        const double bits = kBits * static_cast<double>(t[0]) / static_cast<double>(t[1]);
        return std::min(std::max(0.0, bits), double{kBits});
    };
    const int first = static_cast<int>(at(interval.start) + error_bounds::kCoverageMargin) + 1;
    const int end = static_cast<int>(at(interval.end) - error_bounds::kCoverageMargin);
    if (first < end) {
        covered_ |= (~std::uint64_t{0} >> (kBits - (end - first))) << first;
    }
}

} // namespace ctr
