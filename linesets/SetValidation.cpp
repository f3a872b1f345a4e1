// Validation of a set: index ranges, numbers of records, intervals and clip records. Linear time.
// Exact: fractions are compared by cross-multiplication.
#include <ctr/LineSegmentSet.h>
#include <ctr/RationalTools.h>

#include "linesets/IndexRange.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ctr {
namespace {

bool IsParameter(const Wm4::Vector2<std::int64_t>& fraction) {
    return fraction[0] >= 0 && fraction[1] > 0 && fraction[0] <= fraction[1];
}

bool AreValidIntervals(const std::vector<RationalInterval>& intervals) {
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        const RationalInterval& interval = intervals[i];
        if (!IsParameter(interval.start) || !IsParameter(interval.end) ||
            RationalTools::GreaterThan(interval.start, interval.end) > 0) {
            return false;
        }
        if (i > 0 && RationalTools::GreaterThan(interval.start, intervals[i - 1].end) <= 0) {
            return false;
        }
    }
    return true;
}

/// The record of a segment outside the view may hold any values, and w is NaN where a position is.
bool IsValidClipRange(const LineSegmentSet::ClipRange& clip) {
    return !(clip.t0 < clip.t1) ||
           (clip.t0 >= 0.0F && clip.t1 <= 1.0F && !(clip.w0 <= 0.0F) && !(clip.w1 <= 0.0F));
}

template <class Records> bool HasNoneOrOneEach(const Records& records, std::size_t count) {
    return records.empty() || records.size() == count;
}

} // namespace

bool LineSegmentSet::validate() const {
    const kx::kxIndexBuffer* lines = GetIndexBuffer();
    const std::size_t count = SegmentCount(lines);
    const bool isEven = lines == nullptr || lines->GetIndexQuantity() % 2 == 0;
    const bool hasVertices = count == 0 || GetVertexBuffer() != nullptr;
    return isEven && hasVertices && SegmentsExist(lines, GetVertexBuffer()) &&
           HasNoneOrOneEach(segmentFlags, count) && HasNoneOrOneEach(occlusionIntervals, count) &&
           HasNoneOrOneEach(clipRanges, count) &&
           std::all_of(occlusionIntervals.begin(), occlusionIntervals.end(), AreValidIntervals) &&
           std::all_of(clipRanges.begin(), clipRanges.end(), IsValidClipRange);
}

} // namespace ctr
