// Removes overlaps among the visible parts of all lines, as is done for the paths of a drawing.
#include "drawing/lines/RepeatedLines.h"

#include "drawing/paper/Overlaps.h"
#include "drawing/paper/Plane.h"

#include <cstddef>
#include <cstdint>

namespace kxcontour {
namespace {

using namespace plane;

/// A visible range of a record.
struct VisibleRange {
    std::size_t record = 0;
    double from = 0.0;
    double to = 1.0;

    double at(double share) const { return from + share * (to - from); }
};

double ValueOf(const kxdrawing::Fraction& fraction) {
    return static_cast<double>(fraction.numerator) / static_cast<double>(fraction.denominator);
}

/// The pieces as groups of lines, and where each of these comes from.
struct VisiblePaper {
    PageLines lines;
    std::vector<std::vector<VisibleRange>> ranges; ///< By group and line.
};

class PieceCollector {
public:
    explicit PieceCollector(const std::vector<kxdrawing::Line>& records) : records_(records) {}

    VisiblePaper collect() {
        for (std::size_t i = 0; i < records_.size(); ++i) {
            if (i == 0 || records_[i].kind != records_[i - 1].kind ||
                records_[i].object != records_[i - 1].object) {
                paper_.lines.groups.push_back({records_[i].kind, false, records_[i].object, {}});
                paper_.ranges.emplace_back();
            }
            if (records_[i].onPage) {
                addGaps(i);
            }
        }
        return std::move(paper_);
    }

private:
    /// What the hidden ranges leave.
    void addGaps(std::size_t record) {
        double from = 0.0;
        for (const kxdrawing::Interval& hidden : records_[record].hidden) {
            add({record, from, ValueOf(hidden.from)});
            from = ValueOf(hidden.to);
        }
        add({record, from, 1.0});
    }

    void add(const VisibleRange& range) {
        if (range.from < range.to) {
            const PageLine& line = *records_[range.record].onPage;
            const Point along = line.b - line.a;
            paper_.lines.groups.back().lines.push_back(
                {line.a + along * range.from, line.a + along * range.to});
            paper_.ranges.back().push_back(range);
        }
    }

    const std::vector<kxdrawing::Line>& records_;
    VisiblePaper paper_;
};

/// Writes down what the shares leave of the ranges. Both are in the order of lines.
void MarkOutside(const std::vector<LineShare>& shares,
                 const std::vector<VisibleRange>& ranges,
                 std::vector<kxdrawing::Line>& records) {
    auto share = shares.begin();
    for (std::size_t line = 0; line < ranges.size(); ++line) {
        const VisibleRange& range = ranges[line];
        const auto mark = [&](double from, double to) {
            if (from < to) {
                records[range.record].repeated.push_back({range.at(from), range.at(to)});
            }
        };
        double from = 0.0;
        for (; share != shares.end() && share->line == line; ++share) {
            mark(from, share->from);
            from = share->to;
        }
        mark(from, 1.0);
    }
}

} // namespace

void MarkRepeated(std::vector<kxdrawing::Line>& records, const PaperTolerances& tolerances) {
    for (kxdrawing::Line& record : records) {
        if (record.onPage && Distance(record.onPage->a, record.onPage->b) <= tolerances.joint) {
            record.onPage.reset();
        }
    }
    const VisiblePaper paper = PieceCollector(records).collect();
    const std::vector<std::vector<LineShare>> shares =
        SharesLeft(paper.lines, tolerances.coincidence);
    for (std::size_t group = 0; group < shares.size(); ++group) {
        MarkOutside(shares[group], paper.ranges[group], records);
    }
}

} // namespace kxcontour
