// Visible lines become chains; each chain is cut into runs of one width, and short light runs
// between heavier ones are given to these.
//
// An end is numbered as in Trails.cpp: 2 i at the first point of line i, 2 i + 1 at the second.
#include "paper/Weights.h"

#include "paper/Plane.h"
#include "paper/PointClusters.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNoNext = static_cast<std::uint32_t>(-1);

constexpr std::size_t kFewLines = 5;
constexpr double kLongerThanBeside = 2.0;

/// Cosines of turns: a corner from 30 degrees on, a bend from half a degree to 60.
constexpr double kSmoothCosine = 0.8660254037844387;
constexpr double kStraightCosine = 0.9999619230641713;
constexpr double kHalfRimCosine = 0.5;

/// Where more ends than this meet is no rim.
constexpr std::size_t kMostEnds = 24;

/// A visible line and where it comes from.
struct Stroke {
    std::size_t group = 0;
    std::size_t line = 0;
    Family family = Family::Silhouette;
    double width = 0.0;
};

/// Strokes of one width, by their places in a chain.
struct Run {
    std::size_t first = 0;
    std::size_t count = 0;
};

class WeightEvener {
public:
    WeightEvener(PaperLines& lines, const StyleSheet& styles, double joint)
        : lines_(lines), joint_(joint) {
        collectStrokes(styles);
    }

    void even() {
        collectEnds();
        findNextEnds();
        followChains();
        moveChanged();
    }

private:
    void collectStrokes(const StyleSheet& styles);
    void collectEnds();
    void findNextEnds();
    void findNextEndsAt(std::span<const std::uint32_t> ends);
    std::uint32_t straightestFrom(std::uint32_t end, std::span<const std::uint32_t> ends) const;
    void followChains();
    std::uint32_t startOf(std::uint32_t stroke) const;
    void gatherChain(std::uint32_t start);
    void turnToRunStart();
    std::vector<Run> runsOfChain() const;
    void evenChain();
    bool isToBeEvened(const Run& before, const Run& run, const Run& after) const;
    void moveChanged();
    std::size_t groupFor(Family family, std::size_t object);

    const PaperLine& lineOf(std::uint32_t stroke) const {
        return lines_.groups[strokes_[stroke].group].lines[strokes_[stroke].line];
    }

    double lengthOf(std::uint32_t end) const {
        const PaperLine& line = lineOf(end / 2);
        return Distance(line.a, line.b);
    }

    /// From the end into its line.
    Point directionOf(std::uint32_t end) const {
        const PaperLine& line = lineOf(end / 2);
        return end % 2 == 0 ? Direction(line.b - line.a) : Direction(line.a - line.b);
    }

    double widthAt(std::size_t place) const { return strokes_[chain_[place] / 2].width; }

    PaperLines& lines_;
    double joint_;
    std::vector<Stroke> strokes_;
    std::vector<std::uint32_t> pointOfEnd_;
    std::vector<std::size_t> firstEnd_; ///< By point: its ends in ends_; one more at the end.
    std::vector<std::uint32_t> ends_;
    std::vector<std::uint32_t> next_; ///< By end: the one that goes on from it, or kNoNext.
    std::vector<std::optional<Family>> changes_; ///< By stroke.
    // Of the chain at hand: where each stroke is entered.
    std::vector<std::uint32_t> chain_;
    bool isClosed_ = false;
    std::vector<bool> followed_; ///< By stroke.
};

void WeightEvener::collectStrokes(const StyleSheet& styles) {
    for (std::size_t group = 0; group < lines_.groups.size(); ++group) {
        const LineGroup& all = lines_.groups[group];
        for (std::size_t line = 0; !all.hidden && line < all.lines.size(); ++line) {
            strokes_.push_back({group, line, all.family, styles.of(all.family, false).width});
        }
    }
    changes_.resize(strokes_.size());
    followed_.resize(strokes_.size());
}

void WeightEvener::collectEnds() {
    PointClusters clusters(joint_, strokes_.size());
    pointOfEnd_.reserve(2 * strokes_.size());
    for (std::uint32_t i = 0; i < strokes_.size(); ++i) {
        pointOfEnd_.push_back(clusters.add(lineOf(i).a));
        pointOfEnd_.push_back(clusters.add(lineOf(i).b));
    }
    // A line within one point leads nowhere.
    const auto isDot = [&](std::uint32_t end) { return pointOfEnd_[end] == pointOfEnd_[end ^ 1U]; };
    firstEnd_.assign(clusters.representatives().size() + 2, 0);
    for (std::uint32_t end = 0; end < pointOfEnd_.size(); ++end) {
        firstEnd_[pointOfEnd_[end] + 2] += isDot(end) ? 0 : 1;
    }
    std::partial_sum(firstEnd_.begin(), firstEnd_.end(), firstEnd_.begin());
    ends_.resize(firstEnd_.back());
    for (std::uint32_t end = 0; end < pointOfEnd_.size(); ++end) {
        if (!isDot(end)) {
            ends_[firstEnd_[pointOfEnd_[end] + 1]++] = end;
        }
    }
    firstEnd_.pop_back();
}

void WeightEvener::findNextEnds() {
    next_.assign(pointOfEnd_.size(), kNoNext);
    for (std::size_t point = 0; point + 1 < firstEnd_.size(); ++point) {
        const std::size_t count = firstEnd_[point + 1] - firstEnd_[point];
        if (count > 1 && count <= kMostEnds) {
            findNextEndsAt({ends_.data() + firstEnd_[point], count});
        }
    }
}

/// Two ends follow each other when each is the other's straightest.
void WeightEvener::findNextEndsAt(std::span<const std::uint32_t> ends) {
    for (const std::uint32_t end : ends) {
        const std::uint32_t other = straightestFrom(end, ends);
        if (other != kNoNext && end < other && straightestFrom(other, ends) == end) {
            next_[end] = other;
            next_[other] = end;
        }
    }
}

std::uint32_t WeightEvener::straightestFrom(std::uint32_t end,
                                            std::span<const std::uint32_t> ends) const {
    const Point direction = directionOf(end);
    std::uint32_t straightest = kNoNext;
    double least = -kSmoothCosine;
    for (const std::uint32_t other : ends) {
        const double bend = other == end ? 1.0 : Dot(direction, directionOf(other));
        if (bend < least) {
            least = bend;
            straightest = other;
        }
    }
    return straightest;
}

void WeightEvener::followChains() {
    for (std::uint32_t stroke = 0; stroke < strokes_.size(); ++stroke) {
        if (!followed_[stroke]) {
            gatherChain(startOf(stroke));
            evenChain();
        }
    }
}

/// Back to the first stroke of the chain, or once around.
std::uint32_t WeightEvener::startOf(std::uint32_t stroke) const {
    const std::uint32_t home = 2 * stroke;
    std::uint32_t start = home;
    while (next_[start] != kNoNext) {
        start = next_[start] ^ 1U;
        if (start == home) {
            break;
        }
    }
    return start;
}

void WeightEvener::gatherChain(std::uint32_t start) {
    chain_.clear();
    std::uint32_t end = start;
    do {
        chain_.push_back(end);
        followed_[end / 2] = true;
        end = next_[end ^ 1U];
    } while (end != kNoNext && end != start);
    isClosed_ = end == start;
}

/// So that no run of a closed chain goes over its start.
void WeightEvener::turnToRunStart() {
    std::size_t start = 0;
    while (start < chain_.size() &&
           widthAt(start) == widthAt((start + chain_.size() - 1) % chain_.size())) {
        ++start;
    }
    if (start < chain_.size()) {
        std::rotate(chain_.begin(), chain_.begin() + static_cast<std::ptrdiff_t>(start),
                    chain_.end());
    }
}

std::vector<Run> WeightEvener::runsOfChain() const {
    std::vector<Run> runs;
    for (std::size_t place = 0; place < chain_.size(); ++place) {
        if (place == 0 || widthAt(place) != widthAt(place - 1)) {
            runs.push_back({place, 0});
        }
        ++runs.back().count;
    }
    return runs;
}

void WeightEvener::evenChain() {
    if (chain_.size() < 3) {
        return;
    }
    if (isClosed_) {
        turnToRunStart();
    }
    const std::vector<Run> runs = runsOfChain();
    const std::size_t margin = isClosed_ ? 0 : 1;
    for (std::size_t i = margin; runs.size() > 1 && i + margin < runs.size(); ++i) {
        const Run& before = runs[(i + runs.size() - 1) % runs.size()];
        const Run& after = runs[(i + 1) % runs.size()];
        if (isToBeEvened(before, runs[i], after)) {
            const bool takesBefore = widthAt(before.first) <= widthAt(after.first);
            const Family family =
                strokes_[chain_[takesBefore ? before.first + before.count - 1 : after.first] / 2]
                    .family;
            for (std::size_t k = 0; k < runs[i].count; ++k) {
                changes_[chain_[runs[i].first + k] / 2] = family;
            }
        }
    }
}

bool WeightEvener::isToBeEvened(const Run& before, const Run& run, const Run& after) const {
    const double width = widthAt(run.first);
    if (run.count > kFewLines || widthAt(before.first) <= width || widthAt(after.first) <= width) {
        return false;
    }
    const std::uint32_t arriving = chain_[before.first + before.count - 1];
    const std::uint32_t leaving = chain_[after.first];
    const double turn = Dot(directionOf(arriving), directionOf(leaving));
    const double longest = kLongerThanBeside * std::max(lengthOf(arriving), lengthOf(leaving));
    const auto begin = chain_.begin() + static_cast<std::ptrdiff_t>(run.first);
    return turn < kStraightCosine && turn > kHalfRimCosine &&
           std::all_of(begin, begin + static_cast<std::ptrdiff_t>(run.count),
                       [&](std::uint32_t end) { return lengthOf(end) <= longest; });
}

void WeightEvener::moveChanged() {
    const std::size_t groupCount = lines_.groups.size();
    std::vector<std::vector<PaperLine>> kept(groupCount);
    std::vector<bool> isChanged(groupCount);
    for (std::size_t i = 0; i < strokes_.size(); ++i) {
        isChanged[strokes_[i].group] = isChanged[strokes_[i].group] || changes_[i].has_value();
    }
    // What leaves a group goes behind all that stays in the others, so both are put aside first.
    std::vector<std::pair<std::size_t, PaperLine>> moved;
    for (std::uint32_t i = 0; i < strokes_.size(); ++i) {
        if (changes_[i]) {
            moved.emplace_back(groupFor(*changes_[i], lines_.groups[strokes_[i].group].object),
                               lineOf(i));
        } else if (isChanged[strokes_[i].group]) {
            kept[strokes_[i].group].push_back(lineOf(i));
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

std::size_t WeightEvener::groupFor(Family family, std::size_t object) {
    const auto found =
        std::find_if(lines_.groups.begin(), lines_.groups.end(), [&](const LineGroup& group) {
            return group.family == family && group.object == object && !group.hidden;
        });
    if (found != lines_.groups.end()) {
        return static_cast<std::size_t>(found - lines_.groups.begin());
    }
    lines_.groups.push_back({family, false, object, {}});
    return lines_.groups.size() - 1;
}

/// Whether visible lines of different widths are there.
bool HasWeights(const PaperLines& lines, const StyleSheet& styles) {
    std::optional<double> width;
    for (const LineGroup& group : lines.groups) {
        if (!group.hidden && !group.lines.empty()) {
            const double own = styles.of(group.family, false).width;
            if (width && *width != own) {
                return true;
            }
            width = own;
        }
    }
    return false;
}

} // namespace

void EvenOutWeights(PaperLines& lines, const StyleSheet& styles, double joint) {
    if (HasWeights(lines, styles)) {
        WeightEvener(lines, styles, joint).even();
    }
}

} // namespace kxcontour
