// Greedy growth of runs: a run starts where two segments fit and grows while the fit holds; then
// the rest of the chain is searched. Fits are least-squares fits over running sums, in constant
// time per segment, within the tolerances of FittingSystem. Linear in the number of segments.
#include "linesets/RunFitting.h"

#include <ctr/FittingSystem.h>

#include <cstddef>

namespace ctr {
namespace {

using Record = LineSegmentSet::ArcFeature;

class RunFitter {
public:
    RunFitter(const kx::kxVertexBuffer& vertices,
              const unsigned int* indices,
              std::vector<bool>& straightLineFlags,
              std::vector<Record>& records)
        : vertices_(vertices), indices_(indices), flags_(straightLineFlags), records_(records) {}

    /// Records added by split() are visited in turn: the rest of a chain is searched, and a run is
    /// found again as it is.
    void run() {
        std::size_t next = 0;
        while (next < records_.size()) {
            split(records_[next++]);
        }
    }

private:
    void split(Record& record) {
        constexpr std::uint32_t kIndicesOfTwoSegments = 4;
        if (record.end - record.first < kIndicesOfTwoSegments) {
            return;
        }
        straight_ = flags_[record.first / 2];
        const std::uint32_t last = record.end / 2 - 1;
        for (std::uint32_t segment = record.first / 2; segment < last;) {
            const std::uint32_t end = grow(segment, last);
            if (end == segment) {
                ++segment;
            } else if (!straight_ && angle_ < kLeastArcAngle) {
                segment = end - 1;
            } else {
                accept(record, 2 * segment, 2 * end);
                return;
            }
        }
    }

    /// The segment after the longest run from a segment, or that segment if not even two fit.
    std::uint32_t grow(std::uint32_t segment, std::uint32_t last) {
        system_.reset();
        angle_ = 0.0F;
        add(segment);
        add(segment + 1);
        if (!fits()) {
            return segment;
        }
        std::uint32_t end = segment + 2;
        for (; end <= last; ++end) {
            add(end);
            if (!fits()) {
                break;
            }
        }
        return end;
    }

    void add(std::uint32_t segment) {
        const unsigned int* ends = indices_ + 2 * std::size_t{segment};
        system_.addToSystem(vertices_.Position3(static_cast<int>(ends[0])),
                            vertices_.Position3(static_cast<int>(ends[1])), false, !straight_);
    }

    /// Tests the fit; angle_ remains that of the last fit that held.
    bool fits() {
        if (straight_) {
            return system_.fitLine();
        }
        float angle = 0.0F;
        if (!system_.fitCircle(&angle)) {
            return false;
        }
        angle_ = angle;
        return true;
    }

    /// Makes a record for the run [first, end) of index positions and one for the segments after
    /// it; the segments before it remain in the given record.
    void accept(Record& record, std::uint32_t first, std::uint32_t end) {
        const std::uint32_t kind = straight_ ? kStraightKind : kArcKind;
        if (end < record.end) {
            records_.push_back({end, record.end, nullptr, nullptr, 0});
        }
        Record* run = &record;
        if (first == record.first) {
            record.end = end;
            record.kind = kind;
        } else {
            record.end = first;
            if (straight_) {
                record.removeStraightLineFlags(flags_);
            }
            records_.push_back({first, end, nullptr, nullptr, kind});
            run = &records_.back();
        }
        if (!straight_) {
            run->removeStraightLineFlags(flags_);
        }
    }

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    std::vector<bool>& flags_;
    std::vector<Record>& records_;
    FittingSystem system_;
    bool straight_ = false;
    float angle_ = 0.0F;
};

} // namespace

void FitRuns(const kx::kxVertexBuffer& vertices,
             const unsigned int* indices,
             std::vector<bool>& straightLineFlags,
             std::vector<LineSegmentSet::ArcFeature>& records) {
    RunFitter(vertices, indices, straightLineFlags, records).run();
}

} // namespace ctr
