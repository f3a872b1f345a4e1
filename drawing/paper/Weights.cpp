// Computes which runs of lighter lines continue a heavier line on both sides, and gives them its
// kind.
//
// From every end of a light line where it meets a heavier one, the light line is followed, each
// time to its straightest continuation, until it meets a heavier one again. Ends of visible lines
// are sorted by the point that they share, found by hashing, so the expected time is O(n) for n
// lines: at most kMostEnds ends are compared per point and kFewLines lines followed per end.
#include "drawing/paper/Weights.h"

#include <ctr/detail/HashedIndex.h>

#include "drawing/paper/LineGraph.h"
#include "drawing/paper/PairHash.h"
#include "drawing/paper/Plane.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <utility>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNoStrokeEnd = static_cast<std::uint32_t>(-1);

constexpr std::size_t kFewLines = 5;
constexpr double kLongerThanBeside = 2.0;

/// Cosines of turning angles: a corner from 30 degrees on, a bend from half a degree to 60.
constexpr double kSmoothCosine = 0.8660254037844387;
constexpr double kStraightCosine = 0.9999619230641713;
constexpr double kHalfRimCosine = 0.5;

/// No rim passes through a point where more ends meet.
constexpr std::size_t kMostEnds = 24;

/// Numbers different points in the order in which they come.
class DistinctPoints {
public:
    explicit DistinctPoints(std::size_t capacity) : index_(capacity) { points_.reserve(capacity); }

    std::uint32_t add(Point point) {
        // Adding 0 makes both zeros the same.
        const std::uint64_t hash = PairHash(std::bit_cast<std::uint64_t>(point.x + 0.0),
                                            std::bit_cast<std::uint64_t>(point.y + 0.0));
        const auto next = static_cast<std::uint32_t>(points_.size());
        const std::uint32_t number = index_.findOrAdd(hash, {point.x, point.y}, next,
                                                      [&](std::uint32_t i) { return points_[i]; });
        if (number == next) {
            points_.emplace_back(point.x, point.y);
        }
        return number;
    }

    std::size_t count() const { return points_.size(); }

private:
    std::vector<std::pair<double, double>> points_;
    ctr::detail::HashedIndex<std::pair<double, double>> index_;
};

/// A visible line and where it comes from.
struct Stroke {
    PageLine line;
    std::uint32_t group = 0;
    double width = 0.0;
};

class WeightEvener {
public:
    WeightEvener(PageLines& lines, const StyleSheet& styles)
        : lines_(lines), strokes_(StrokesOf(lines, styles)), ends_(EndsOf(strokes_)),
          changes_(strokes_.size()) {}

    void even() {
        findGreatestWidths();
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
    static std::vector<Stroke> StrokesOf(const PageLines& lines, const StyleSheet& styles);
    static EndsByVertex EndsOf(const std::vector<Stroke>& strokes);
    void findGreatestWidths();
    bool meetsHeavier(std::uint32_t end) const {
        return strokes_[end / 2].width < greatestWidth_[ends_.vertexOf(end)];
    }
    std::uint32_t nextOf(std::uint32_t end) const;
    std::uint32_t straightestFrom(std::uint32_t end) const;
    bool isSmooth(std::uint32_t end, std::uint32_t other) const;
    void follow(std::uint32_t end);
    bool isToBeEvened(std::uint32_t before, std::uint32_t after) const;
    void moveChanged();
    void numberGroups();
    std::size_t groupFor(LineKind kind, std::size_t object);

    /// From the end into its line.
    Point vectorOf(std::uint32_t end) const {
        const PageLine& line = strokes_[end / 2].line;
        return end % 2 == 0 ? line.b - line.a : line.a - line.b;
    }

    double bendOf(std::uint32_t end, std::uint32_t other) const {
        return Dot(Direction(vectorOf(end)), Direction(vectorOf(other)));
    }

    double lengthOf(std::uint32_t end) const { return Length(vectorOf(end)); }

    LineKind kindOf(std::uint32_t end) const { return lines_.groups[strokes_[end / 2].group].kind; }

    PageLines& lines_;
    std::vector<Stroke> strokes_;
    EndsByVertex ends_;
    std::vector<double> greatestWidth_;            ///< By vertex: of the lines that meet there.
    std::vector<std::optional<LineKind>> changes_; ///< By stroke.
    bool hasChanged_ = false;
    std::vector<std::uint32_t> run_; ///< The current run: the end where each stroke is entered.
    /// By kind and object: the first visible group.
    std::map<std::pair<LineKind, std::size_t>, std::size_t> groups_;
};

std::vector<Stroke> WeightEvener::StrokesOf(const PageLines& lines, const StyleSheet& styles) {
    std::vector<Stroke> strokes;
    for (std::uint32_t group = 0; group < lines.groups.size(); ++group) {
        const LineGroup& all = lines.groups[group];
        const double width = styles.of(all.kind, false).width;
        for (const PageLine& line : all.lines) {
            // A dot continues nothing, but it keeps its place among the lines of the group.
            if (!all.hidden) {
                strokes.push_back({line, group, width});
            }
        }
    }
    return strokes;
}

EndsByVertex WeightEvener::EndsOf(const std::vector<Stroke>& strokes) {
    DistinctPoints points(2 * strokes.size());
    std::vector<std::uint32_t> pointOfEnd;
    pointOfEnd.reserve(2 * strokes.size());
    for (const Stroke& stroke : strokes) {
        pointOfEnd.push_back(points.add(stroke.line.a));
        pointOfEnd.push_back(points.add(stroke.line.b));
    }
    return {std::move(pointOfEnd), points.count()};
}

void WeightEvener::findGreatestWidths() {
    greatestWidth_.resize(2 * strokes_.size());
    for (std::uint32_t end = 0; end < 2 * strokes_.size(); ++end) {
        double& greatest = greatestWidth_[ends_.vertexOf(end)];
        greatest = std::max(greatest, strokes_[end / 2].width);
    }
}

/// The end that continues this one: each is the straightest continuation of the other.
std::uint32_t WeightEvener::nextOf(std::uint32_t end) const {
    const std::uint32_t other = straightestFrom(end);
    return other != kNoStrokeEnd && straightestFrom(other) == end ? other : kNoStrokeEnd;
}

std::uint32_t WeightEvener::straightestFrom(std::uint32_t end) const {
    const std::span<const std::uint32_t> ends = ends_.at(ends_.vertexOf(end));
    std::uint32_t straightest = kNoStrokeEnd;
    for (const std::uint32_t other : ends.size() <= kMostEnds ? ends : ends.first(0)) {
        if (isSmooth(end, other) &&
            (straightest == kNoStrokeEnd || bendOf(end, other) < bendOf(end, straightest))) {
            straightest = other;
        }
    }
    return straightest;
}

/// Rejects most pairs without a square root.
bool WeightEvener::isSmooth(std::uint32_t end, std::uint32_t other) const {
    const Point p = vectorOf(end);
    const Point q = vectorOf(other);
    const double along = Dot(p, q);
    return along < 0.0 &&
           along * along > kSmoothCosine * kSmoothCosine * SquaredLength(p) * SquaredLength(q);
}

/// From an end of a light stroke that may continue a heavier one to the other end of its run.
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
    // A run is found from both of its ends: the choice must be the same.
    const std::uint32_t like = widthBefore != widthAfter
                                   ? (widthBefore < widthAfter ? before : after)
                                   : std::min(before, after);
    for (const std::uint32_t stroke : run_) {
        changes_[stroke / 2] = kindOf(like);
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
    // Lines that change are appended to those that stay, so both are collected first.
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

std::size_t WeightEvener::groupFor(LineKind kind, std::size_t object) {
    const auto [found, isNew] = groups_.try_emplace({kind, object}, lines_.groups.size());
    if (isNew) {
        lines_.groups.push_back({kind, false, object, {}});
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
