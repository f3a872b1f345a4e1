// Ends of visible lines that share a point are looked at where a lighter one meets a heavier one:
// from there the light line is followed, straight on, until it meets a heavier one again.
//
// An end is numbered as in Trails.cpp: 2 i at the first point of line i, 2 i + 1 at the second.
#include "drawing/paper/Weights.h"

#include <ctr/detail/Welding.h>

#include "drawing/paper/Plane.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numeric>
#include <optional>
#include <span>
#include <utility>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNoStrokeEnd = static_cast<std::uint32_t>(-1);

constexpr std::size_t kFewLines = 5;
constexpr double kLongerThanBeside = 2.0;

/// Cosines of turns: a corner from 30 degrees on, a bend from half a degree to 60.
constexpr double kSmoothCosine = 0.8660254037844387;
constexpr double kStraightCosine = 0.9999619230641713;
constexpr double kHalfRimCosine = 0.5;

/// Where more ends than this meet is no rim.
constexpr std::size_t kMostEnds = 24;

using PointKey = std::pair<double, double>;

std::uint64_t HashOfPoint(const PointKey& point) {
    // Both zeros are the same.
    const std::uint64_t hash =
        std::bit_cast<std::uint64_t>(point.first + 0.0) * 0x9e3779b97f4a7c15U ^
        std::bit_cast<std::uint64_t>(point.second + 0.0) * 0xc2b2ae3d27d4eb4fU;
    return (hash ^ hash >> 32U) * 0xbf58476d1ce4e5b9U;
}

/// A visible line and where it comes from.
struct Stroke {
    PageLine line;
    std::uint32_t group = 0;
    double width = 0.0;
};

class WeightEvener {
public:
    WeightEvener(PageLines& lines, const StyleSheet& styles) : lines_(lines) {
        collectStrokes(styles);
    }

    void even() {
        collectEnds();
        for (std::uint32_t end = 0; end < 2 * strokes_.size(); ++end) {
            if (meetsHeavier(end)) {
                follow(end);
            }
        }
        if (hasChanged_) {
            moveChanged();
        }
    }

private:
    void collectStrokes(const StyleSheet& styles);
    void collectEnds();
    bool meetsHeavier(std::uint32_t end) const {
        return strokes_[end / 2].width < greatestWidth_[pointOfEnd_[end]];
    }
    std::uint32_t nextOf(std::uint32_t end) const;
    std::uint32_t straightestFrom(std::uint32_t end) const;
    bool isSmooth(std::uint32_t end, std::uint32_t other) const;
    void follow(std::uint32_t end);
    bool isToBeEvened(std::uint32_t before, std::uint32_t after) const;
    void moveChanged();
    void numberGroups();
    std::size_t groupFor(LineKind family, std::size_t object);

    std::span<const std::uint32_t> endsAt(std::uint32_t point) const {
        return {ends_.data() + firstEnd_[point], firstEnd_[point + 1] - firstEnd_[point]};
    }

    /// From the end into its line.
    Point vectorOf(std::uint32_t end) const {
        const PageLine& line = strokes_[end / 2].line;
        return end % 2 == 0 ? line.b - line.a : line.a - line.b;
    }

    double bendOf(std::uint32_t end, std::uint32_t other) const {
        return Dot(Direction(vectorOf(end)), Direction(vectorOf(other)));
    }

    double lengthOf(std::uint32_t end) const { return Length(vectorOf(end)); }

    LineKind familyOf(std::uint32_t end) const {
        return lines_.groups[strokes_[end / 2].group].kind;
    }

    PageLines& lines_;
    std::vector<Stroke> strokes_;
    std::vector<std::uint32_t> pointOfEnd_;
    std::vector<double> greatestWidth_;   ///< By point: of the lines that meet there.
    std::vector<std::uint32_t> firstEnd_; ///< By point: its ends in ends_; one more at the end.
    std::vector<std::uint32_t> ends_;
    std::vector<std::optional<LineKind>> changes_; ///< By stroke.
    bool hasChanged_ = false;
    std::vector<std::uint32_t> run_; ///< Of the run at hand: where each stroke is entered.
    /// By family and object: the first visible group.
    std::map<std::pair<LineKind, std::size_t>, std::size_t> groups_;
};

void WeightEvener::collectStrokes(const StyleSheet& styles) {
    for (std::uint32_t group = 0; group < lines_.groups.size(); ++group) {
        const LineGroup& all = lines_.groups[group];
        const double width = styles.of(all.kind, false).width;
        for (const PageLine& line : all.lines) {
            // A dot leads nowhere, but it keeps its place among the lines of the group.
            if (!all.hidden) {
                strokes_.push_back({line, group, width});
            }
        }
    }
    changes_.resize(strokes_.size());
}

void WeightEvener::collectEnds() {
    const auto keyOf = [this](std::size_t end) {
        const PageLine& line = strokes_[end / 2].line;
        const Point point = end % 2 == 0 ? line.a : line.b;
        return PointKey(point.x, point.y);
    };
    pointOfEnd_ = ctr::detail::Weld<PointKey>(2 * strokes_.size(), keyOf, HashOfPoint);
    const std::size_t points = ctr::detail::NumberInOrder(pointOfEnd_);
    greatestWidth_.resize(points);
    firstEnd_.assign(points + 2, 0);
    for (std::uint32_t end = 0; end < pointOfEnd_.size(); ++end) {
        double& greatest = greatestWidth_[pointOfEnd_[end]];
        greatest = std::max(greatest, strokes_[end / 2].width);
        ++firstEnd_[pointOfEnd_[end] + 2];
    }
    std::partial_sum(firstEnd_.begin(), firstEnd_.end(), firstEnd_.begin());
    ends_.resize(pointOfEnd_.size());
    for (std::uint32_t end = 0; end < pointOfEnd_.size(); ++end) {
        ends_[firstEnd_[pointOfEnd_[end] + 1]++] = end;
    }
    firstEnd_.pop_back();
}

/// The end that goes on from this one: each is the other's straightest.
std::uint32_t WeightEvener::nextOf(std::uint32_t end) const {
    const std::uint32_t other = straightestFrom(end);
    return other != kNoStrokeEnd && straightestFrom(other) == end ? other : kNoStrokeEnd;
}

std::uint32_t WeightEvener::straightestFrom(std::uint32_t end) const {
    const std::span<const std::uint32_t> ends = endsAt(pointOfEnd_[end]);
    std::uint32_t straightest = kNoStrokeEnd;
    for (const std::uint32_t other : ends.size() <= kMostEnds ? ends : ends.first(0)) {
        if (isSmooth(end, other) &&
            (straightest == kNoStrokeEnd || bendOf(end, other) < bendOf(end, straightest))) {
            straightest = other;
        }
    }
    return straightest;
}

/// Most pairs are no candidates, and this is without a root.
bool WeightEvener::isSmooth(std::uint32_t end, std::uint32_t other) const {
    const Point p = vectorOf(end);
    const Point q = vectorOf(other);
    const double along = Dot(p, q);
    return along < 0.0 &&
           along * along > kSmoothCosine * kSmoothCosine * SquaredLength(p) * SquaredLength(q);
}

/// From an end of a light stroke, where it may go on in a heavier one, to the other end of its run.
void WeightEvener::follow(std::uint32_t end) {
    const double width = strokes_[end / 2].width;
    const std::uint32_t before = nextOf(end);
    if (before == kNoStrokeEnd || strokes_[before / 2].width <= width) {
        return;
    }
    run_.clear();
    std::uint32_t entered = end;
    while (entered != kNoStrokeEnd && strokes_[entered / 2].width == width) {
        if (run_.size() == kFewLines) {
            return;
        }
        run_.push_back(entered);
        entered = nextOf(entered ^ 1U);
    }
    const std::uint32_t after = entered;
    if (after == kNoStrokeEnd || strokes_[after / 2].width < width ||
        !isToBeEvened(before, after)) {
        return;
    }
    const double widthBefore = strokes_[before / 2].width;
    const double widthAfter = strokes_[after / 2].width;
    // Both ends of a run come here: the choice has to be the same.
    const std::uint32_t like = widthBefore != widthAfter
                                   ? (widthBefore < widthAfter ? before : after)
                                   : std::min(before, after);
    for (const std::uint32_t stroke : run_) {
        changes_[stroke / 2] = familyOf(like);
    }
    hasChanged_ = true;
}

bool WeightEvener::isToBeEvened(std::uint32_t before, std::uint32_t after) const {
    const double turn = -bendOf(before, after);
    const double longest = kLongerThanBeside * std::max(lengthOf(before), lengthOf(after));
    return turn < kStraightCosine && turn > kHalfRimCosine &&
           std::all_of(run_.begin(), run_.end(),
                       [&](std::uint32_t end) { return lengthOf(end) <= longest; });
}

void WeightEvener::moveChanged() {
    const std::size_t groupCount = lines_.groups.size();
    std::vector<std::vector<PageLine>> kept(groupCount);
    std::vector<bool> isChanged(groupCount);
    for (std::size_t i = 0; i < strokes_.size(); ++i) {
        isChanged[strokes_[i].group] = isChanged[strokes_[i].group] || changes_[i].has_value();
    }
    numberGroups();
    // What changes goes behind what stays, so both are put aside first.
    std::vector<std::pair<std::size_t, PageLine>> moved;
    for (std::uint32_t i = 0; i < strokes_.size(); ++i) {
        if (changes_[i]) {
            moved.emplace_back(groupFor(*changes_[i], lines_.groups[strokes_[i].group].object),
                               strokes_[i].line);
        } else if (isChanged[strokes_[i].group]) {
            kept[strokes_[i].group].push_back(strokes_[i].line);
        }
    }
    for (std::size_t group = 0; group < groupCount; ++group) {
        if (isChanged[group]) {
            lines_.groups[group].lines = std::move(kept[group]);
        }
    }
    for (const auto& [group, line] : moved) {
        lines_.groups[group].lines.push_back(line);
    }
}

void WeightEvener::numberGroups() {
    for (std::size_t i = 0; i < lines_.groups.size(); ++i) {
        if (!lines_.groups[i].hidden) {
            groups_.try_emplace({lines_.groups[i].kind, lines_.groups[i].object}, i);
        }
    }
}

std::size_t WeightEvener::groupFor(LineKind family, std::size_t object) {
    const auto [found, isNew] = groups_.try_emplace({family, object}, lines_.groups.size());
    if (isNew) {
        lines_.groups.push_back({family, false, object, {}});
    }
    return found->second;
}

/// Whether visible lines of different widths are there.
bool HasWeights(const PageLines& lines, const StyleSheet& styles) {
    std::optional<double> width;
    for (const LineGroup& group : lines.groups) {
        if (!group.hidden && !group.lines.empty()) {
            const double own = styles.of(group.kind, false).width;
            if (width && *width != own) {
                return true;
            }
            width = own;
        }
    }
    return false;
}

} // namespace

void EvenOutWeights(PageLines& lines, const StyleSheet& styles) {
    if (HasWeights(lines, styles)) {
        WeightEvener(lines, styles).even();
    }
}

} // namespace kxcontour
