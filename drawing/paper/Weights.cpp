// Computes which runs of lighter lines continue a heavier line on both sides, and gives them its
// kind.
//
// From every end of a light line where it meets a heavier one, the light line is followed, each
// time to its straightest continuation, until it meets a heavier one again. Ends of visible lines
// are sorted by the point that they share, found by hashing, so the expected time is O(n) for n
// lines: at most kMostEnds ends are compared per point and kFewLines lines followed per end.
#include "drawing/paper/Weights.h"

#include <ctr/detail/Welding.h>

#include "drawing/paper/LineGraph.h"
#include "drawing/paper/Plane.h"
#include "drawing/paper/PointClusters.h"

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

/// A visible line and where it comes from.
struct Stroke {
    PageLine line;
    std::uint32_t group = 0;
    double width = 0.0;
};

std::vector<Stroke> StrokesOf(const PageLines& lines, const StyleSheet& styles) {
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

/// Ends at equal points have one vertex.
EndsByVertex EndsOf(const std::vector<Stroke>& strokes) {
    using Key = std::pair<double, double>;
    std::vector<std::uint32_t> vertices = ctr::detail::Weld<Key>(
        2 * strokes.size(),
        [&](std::size_t end) {
            const PageLine& line = strokes[end / 2].line;
            const Point point = end % 2 == 0 ? line.a : line.b;
            // Adding 0 makes both zeros the same.
            return Key{point.x + 0.0, point.y + 0.0};
        },
        [](const Key& key) {
            return PairHash(std::bit_cast<std::uint64_t>(key.first),
                            std::bit_cast<std::uint64_t>(key.second));
        });
    const std::uint32_t count = ctr::detail::NumberInOrder(vertices);
    return {std::move(vertices), count};
}

class WeightEvener {
public:
    WeightEvener(PageLines& lines, std::vector<Stroke> strokes)
        : lines_(lines), strokes_(std::move(strokes)), ends_(EndsOf(strokes_)),
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
    void findGreatestWidths() {
        greatestWidth_.resize(2 * strokes_.size());
        for (std::uint32_t end = 0; end < 2 * strokes_.size(); ++end) {
            double& greatest = greatestWidth_[ends_.vertexOf(end)];
            greatest = std::max(greatest, widthOf(end));
        }
    }

    bool meetsHeavier(std::uint32_t end) const {
        return widthOf(end) < greatestWidth_[ends_.vertexOf(end)];
    }

    /// The end that continues this one: each is the straightest continuation of the other.
    std::uint32_t nextOf(std::uint32_t end) const {
        const std::uint32_t other = straightestFrom(end);
        return other != kNoStrokeEnd && straightestFrom(other) == end ? other : kNoStrokeEnd;
    }

    std::uint32_t straightestFrom(std::uint32_t end) const {
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
    bool isSmooth(std::uint32_t end, std::uint32_t other) const {
        const Point p = vectorOf(end);
        const Point q = vectorOf(other);
        const double along = Dot(p, q);
        return along < 0.0 &&
               along * along > kSmoothCosine * kSmoothCosine * SquaredLength(p) * SquaredLength(q);
    }

    /// From an end of a light stroke that may continue a heavier one to the other end of its run.
    void follow(std::uint32_t end) {
        const double width = widthOf(end);
        const std::uint32_t before = nextOf(end);
        if (before == kNoStrokeEnd || widthOf(before) <= width) {
            return;
        }
        run_.clear();
        std::uint32_t after = end;
        while (after != kNoStrokeEnd && widthOf(after) == width) {
            if (run_.size() == kFewLines) {
                return;
            }
            run_.push_back(after);
            after = nextOf(after ^ 1U);
        }
        if (after == kNoStrokeEnd || widthOf(after) < width || !isToBeEvened(before, after)) {
            return;
        }
        // A run is found from both of its ends: the choice must be the same.
        const bool isFirst = std::pair(widthOf(before), before) < std::pair(widthOf(after), after);
        for (const std::uint32_t stroke : run_) {
            changes_[stroke / 2] = kindOf(isFirst ? before : after);
        }
        hasChanged_ = true;
    }

    bool isToBeEvened(std::uint32_t before, std::uint32_t after) const {
        const double turn = -bendOf(before, after);
        const double longest = kLongerThanBeside * std::max(lengthOf(before), lengthOf(after));
        return turn < kStraightCosine && turn > kHalfRimCosine &&
               std::all_of(run_.begin(), run_.end(),
                           [&](std::uint32_t end) { return lengthOf(end) <= longest; });
    }

    /// Lines that change are appended to those that stay.
    void moveChanged() {
        std::map<std::pair<LineKind, std::size_t>, std::size_t> groups; // The first of its kind.
        for (std::size_t i = 0; i < lines_.groups.size(); ++i) {
            LineGroup& group = lines_.groups[i];
            if (!group.hidden) {
                groups.try_emplace({group.kind, group.object}, i);
                group.lines.clear();
            }
        }
        for (std::size_t i = 0; i < strokes_.size(); ++i) {
            if (!changes_[i]) {
                lines_.groups[strokes_[i].group].lines.push_back(strokes_[i].line);
            }
        }
        for (std::size_t i = 0; i < strokes_.size(); ++i) {
            if (changes_[i]) {
                const std::size_t object = lines_.groups[strokes_[i].group].object;
                const auto [group, isNew] =
                    groups.try_emplace({*changes_[i], object}, lines_.groups.size());
                if (isNew) {
                    lines_.groups.push_back({*changes_[i], false, object, {}});
                }
                lines_.groups[group->second].lines.push_back(strokes_[i].line);
            }
        }
    }

    double widthOf(std::uint32_t end) const { return strokes_[end / 2].width; }

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
};

} // namespace

void EvenOutWeights(PageLines& lines, const StyleSheet& styles) {
    std::vector<Stroke> strokes = StrokesOf(lines, styles);
    if (std::any_of(strokes.begin(), strokes.end(),
                    [&](const Stroke& stroke) { return stroke.width != strokes.front().width; })) {
        WeightEvener(lines, std::move(strokes)).even();
    }
}

} // namespace kxcontour
