// A sufficient condition for the contact of many nearly equal triangles, by their corners. Exact:
// integers are compared; O(1) per triangle.
#pragma once

#include <ctr/BakedTriangles.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ctr {

/// The bounding boxes of corresponding corners of a set of triangles: one of all first corners, one
/// of all second and one of all third ones.
///
/// Let no box be longer than `steps` on any axis. For every point of a triangle, the point of
/// another triangle with the same barycentric coordinates is within these steps per axis. So the
/// value of the plane of the latter, with the normal n, is at most steps (|nx| + |ny| + |nz|) at
/// the former, which is contact. The same holds for a segment each of whose ends is in one of the
/// boxes.
class CornerBoxes {
public:
    void extend(const BakedVertex (&corners)[3]) {
        for (std::size_t k = 0; k < 3; ++k) {
            boxes_[k].extend(corners[k]);
        }
    }
    void extend(const CornerBoxes& other) {
        for (std::size_t k = 0; k < 3; ++k) {
            boxes_[k].extend(other.boxes_[k].min);
            boxes_[k].extend(other.boxes_[k].max);
        }
    }

    /// Whether no box is longer than `steps` on any axis.
    bool areWithin(std::int64_t steps) const {
        return std::all_of(boxes_.begin(), boxes_.end(),
                           [steps](const Box& box) { return box.isWithin(steps); });
    }

    /// Whether that holds with each end of a segment added to one of the boxes.
    bool areWithin(std::int64_t steps, const BakedVertex& a, const BakedVertex& b) const {
        return areWithin(steps) && isNear(a, steps) && isNear(b, steps);
    }

private:
    struct Box {
        static constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
        static constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();

        BakedVertex min{kHighest, kHighest, kHighest};
        BakedVertex max{kLowest, kLowest, kLowest};

        void extend(const BakedVertex& p) {
            min = {std::min(min.x, p.x), std::min(min.y, p.y), std::min(min.z, p.z)};
            max = {std::max(max.x, p.x), std::max(max.y, p.y), std::max(max.z, p.z)};
        }
        bool isWithin(std::int64_t steps) const {
            return std::int64_t{max.x} - min.x <= steps && std::int64_t{max.y} - min.y <= steps &&
                   std::int64_t{max.z} - min.z <= steps;
        }
    };

    bool isNear(const BakedVertex& point, std::int64_t steps) const {
        return std::any_of(boxes_.begin(), boxes_.end(), [&](Box box) {
            box.extend(point);
            return box.isWithin(steps);
        });
    }

    std::array<Box, 3> boxes_;
};

} // namespace ctr
