// Removes overlaps among the visible parts of all lines, as is done for the paths of a drawing.
#include "drawing/lines/RepeatedLines.h"

#include "drawing/paper/Overlaps.h"
#include "drawing/paper/Plane.h"

#include <cstddef>

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

/// The visible parts as groups of lines, and where each of these comes from.
struct VisibleParts {
    PageLines lines;
    std::vector<std::vector<VisibleRange>> ranges; ///< By group and line.
};

/// What the hidden ranges leave of a record.
void AddVisible(const std::vector<kxdrawing::Line>& records,
                std::size_t record,
                VisibleParts& parts) {
    const PageLine& line = *records[record].onPage;
    const Point along = line.b - line.a;
    const auto add = [&](double from, double to) {
        if (from < to) {
            parts.lines.groups.back().lines.push_back({line.a + along * from, line.a + along * to});
            parts.ranges.back().push_back({record, from, to});
        }
    };
    double from = 0.0;
    for (const kxdrawing::Interval& hidden : records[record].hidden) {
        add(from, ValueOf(hidden.from));
        from = ValueOf(hidden.to);
    }
    add(from, 1.0);
}

VisibleParts VisiblePartsOf(const std::vector<kxdrawing::Line>& records) {
    VisibleParts parts;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (i == 0 || records[i].kind != records[i - 1].kind ||
            records[i].object != records[i - 1].object) {
            parts.lines.groups.push_back({records[i].kind, false, records[i].object, {}});
            parts.ranges.emplace_back();
        }
        if (records[i].onPage) {
            AddVisible(records, i, parts);
        }
    }
    return parts;
}

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
    const VisibleParts parts = VisiblePartsOf(records);
    const std::vector<std::vector<LineShare>> shares =
        SharesLeft(parts.lines, tolerances.coincidence);
    for (std::size_t group = 0; group < shares.size(); ++group) {
        MarkOutside(shares[group], parts.ranges[group], records);
    }
}

} // namespace kxcontour
