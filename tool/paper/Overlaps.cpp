// Takes lines in order of priority and cuts out of each what the remains of those before it cover.
//
// A line is compared with what is left of earlier lines, not with the lines as they came: otherwise
// a hatch finer than the tolerance would vanish step by step, every line covered by one that is
// gone itself.
#include "paper/Overlaps.h"

#include "paper/CellGrid.h"
#include "paper/Plane.h"

#include <algorithm>
#include <numeric>

namespace kxcontour {
namespace {

using namespace plane;

/// Lines no longer than the tolerance can have no longer stretch in common, but may be drawn twice
/// all the same. Half of the shorter line is enough there, if both go the same way or the opposite
/// one; a line that only crosses or continues another is left alone.
constexpr double kShortShare = 0.5;
constexpr double kShortAlignment = 0.9;

/// What rounding may do to the place of a cell's border.
constexpr double kReachPerTolerance = 1.001;

/// A part of a line, as lengths from its first point.
struct Stretch {
    double from = 0.0;
    double to = 0.0;

    double length() const { return to - from; }
};

/// A line of the drawing with what the comparisons need of it.
struct Ray {
    PaperLine line;
    Point direction; ///< Of length 1, or zero for a line of no length.
    double length = 0.0;

    explicit Ray(const PaperLine& of)
        : line(of), direction(Direction(of.b - of.a)), length(Distance(of.a, of.b)) {}

    double along(Point p) const { return Dot(p - line.a, direction); }

    /// Exact at both ends.
    Point at(double distance) const {
        if (distance <= 0.0) {
            return line.a;
        }
        return distance >= length ? line.b : line.a + direction * distance;
    }
};

int RankOnTop(const LineGroup& group) {
    const int hidden = group.hidden ? 3 : 0;
    switch (group.family) {
    case Family::Crease:
        return hidden + 1;
    case Family::Intersection:
        return hidden + 2;
    case Family::Silhouette:
        break;
    }
    return hidden;
}

/// The numbers of the groups, those whose lines stay whole first.
std::vector<std::size_t> GroupsByRank(const std::vector<LineGroup>& groups) {
    std::vector<std::size_t> order(groups.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) {
        return RankOnTop(groups[i]) < RankOnTop(groups[j]);
    });
    return order;
}

/// All lines by priority. Those of no length come last, since any other line may hide them.
struct Queue {
    std::vector<PaperLine> lines;
    std::vector<std::vector<std::uint32_t>> places; ///< By group and line: the number in lines.
};

Queue QueueOf(const std::vector<LineGroup>& groups) {
    Queue queue;
    queue.places.resize(groups.size());
    const std::vector<std::size_t> order = GroupsByRank(groups);
    for (const bool dots : {false, true}) {
        for (const std::size_t group : order) {
            const std::vector<PaperLine>& lines = groups[group].lines;
            queue.places[group].resize(lines.size());
            for (std::size_t i = 0; i < lines.size(); ++i) {
                if (IsSame(lines[i].a, lines[i].b) == dots) {
                    queue.places[group][i] = static_cast<std::uint32_t>(queue.lines.size());
                    queue.lines.push_back(lines[i]);
                }
            }
        }
    }
    return queue;
}

/// Does the work: goes through the lines once and remembers what is left of each.
class Sweeper {
public:
    Sweeper(const std::vector<PaperLine>& lines, double tolerance)
        : lines_(lines), tolerance_(tolerance), grid_(lines, tolerance * kReachPerTolerance),
          lastAsked_(lines.size(), kNobody) {
        firstRemains_.reserve(lines.size() + 1);
        firstRemains_.push_back(0);
        remains_.reserve(lines.size());
        isWhole_.reserve(lines.size());
    }

    void sweep() {
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            const Ray later(lines_[i]);
            findNeighbours(static_cast<std::uint32_t>(i), later);
            const std::size_t before = remains_.size();
            if (later.length > 0.0) {
                keepRests(later);
            } else {
                keepDot(later.line.a);
            }
            firstRemains_.push_back(remains_.size());
            isWhole_.push_back(remains_.size() == before + 1 &&
                               remains_.back().length() == later.length);
        }
    }

    bool isAllWhole() const {
        return std::find(isWhole_.begin(), isWhole_.end(), false) == isWhole_.end();
    }

    /// What is left of a line, in order along it.
    void appendRemains(std::size_t i, std::vector<PaperLine>& to) const {
        const Ray ray(lines_[i]);
        for (std::size_t k = firstRemains_[i]; k < firstRemains_[i + 1]; ++k) {
            to.push_back({ray.at(remains_[k].from), ray.at(remains_[k].to)});
        }
    }

    /// The same as shares of the line of that number in its group; a dot is all of itself.
    void appendShares(std::size_t i, std::uint32_t line, std::vector<LineShare>& to) const {
        const double length = Ray(lines_[i]).length;
        for (std::size_t k = firstRemains_[i]; k < firstRemains_[i + 1]; ++k) {
            const bool isDot = length == 0.0;
            to.push_back({line, isDot ? 0.0 : remains_[k].from / length,
                          isDot ? 1.0 : remains_[k].to / length});
        }
    }

private:
    static constexpr std::uint32_t kNobody = static_cast<std::uint32_t>(-1);

    /// What an earlier line may do to the one at hand, as far as a cheap look at both tells.
    enum class Relation : std::uint8_t { Apart, Crossing, Beside };

    /// Gathers what is left of earlier lines beside this one.
    void findNeighbours(std::uint32_t number, const Ray& later) {
        near_.clear();
        crossing_.clear();
        grid_.visit(later.line, [&](std::span<const std::uint32_t> near) {
            for (const std::uint32_t other : near) {
                if (other >= number) {
                    break;
                }
                if (lastAsked_[other] != number) {
                    lastAsked_[other] = number;
                    takeNeighbour(other, later);
                }
            }
        });
    }

    void takeNeighbour(std::uint32_t number, const Ray& later) {
        const Relation relation = relationOf(later, lines_[number]);
        if (relation == Relation::Crossing && isWhole_[number]) {
            crossing_.push_back(number);
        } else if (relation != Relation::Apart) {
            addPiecesOf(number, later);
        }
    }

    /// The stretches of an earlier line's pieces are parts of the whole one's, over which the
    /// distance grows or falls evenly. Where that stays off the earlier line on one side, so do
    /// they all. Where an end of it is off, nothing covers the whole of the later line, as long as
    /// the earlier one is whole: it can only cover a rest. Both are left open within rounding.
    Relation relationOf(const Ray& later, const PaperLine& earlier) const {
        if (later.length == 0.0) {
            return Relation::Beside;
        }
        const Stretch common = commonStretch(later, {0.0, later.length}, earlier);
        const Point along = earlier.b - earlier.a;
        const double start = Cross(along, later.line.a - earlier.a);
        const double slope = Cross(along, later.direction);
        const double from = start + slope * common.from;
        const double to = start + slope * common.to;
        const double low = std::min(from, to);
        const double high = std::max(from, to);
        const double reach = tolerance_ * kReachPerTolerance;
        const double square = reach * reach * SquaredLength(along);
        const double nearest = std::max({low, -high, 0.0});
        // One condition, for which of the two fails is hard to predict.
        if (static_cast<int>(common.length() > 0.0) *
                static_cast<int>(nearest * nearest <= square) ==
            0) {
            return Relation::Apart;
        }
        const double farthest = std::max(-low, high);
        return farthest * farthest > square ? Relation::Crossing : Relation::Beside;
    }

    /// A long line may be in many pieces: only those beside the later line are taken.
    void addPiecesOf(std::uint32_t number, const Ray& later) {
        const Ray earlier(lines_[number]);
        const double p = earlier.along(later.line.a);
        const double q = earlier.along(later.line.b);
        const auto begin = remains_.begin() + static_cast<std::ptrdiff_t>(firstRemains_[number]);
        const auto end = remains_.begin() + static_cast<std::ptrdiff_t>(firstRemains_[number + 1]);
        auto piece =
            std::lower_bound(begin, end, std::min(p, q) - tolerance_,
                             [](const Stretch& stretch, double at) { return stretch.to < at; });
        for (; piece != end && piece->from <= std::max(p, q) + tolerance_; ++piece) {
            near_.push_back({earlier.at(piece->from), earlier.at(piece->to)});
        }
    }

    void keepDot(Point dot) {
        const bool isHidden = std::any_of(near_.begin(), near_.end(),
                                          [&](const PaperLine& line) { return isNear(dot, line); });
        if (!isHidden) {
            remains_.push_back({});
        }
    }

    /// Writes down what is left of the line. A rest is a line of its own: what is near enough to
    /// another line along all of the rest need not have been so along more. So rests are looked at
    /// again until nothing more is found. Every cut takes half a tolerance away, and most lines
    /// need one round, those that are cut two.
    void keepRests(const Ray& later) {
        rests_.assign(1, {0.0, later.length});
        while (!rests_.empty()) {
            const Stretch rest = rests_.back();
            rests_.pop_back();
            findCovers(later, rest);
            if (covers_.empty()) {
                remains_.push_back(rest);
            } else {
                cut(rest);
                addCrossing(later);
            }
        }
    }

    /// Once there are rests, what crosses the line may cover one of them.
    void addCrossing(const Ray& later) {
        for (const std::uint32_t number : crossing_) {
            addPiecesOf(number, later);
        }
        crossing_.clear();
    }

    void findCovers(const Ray& later, const Stretch& rest) {
        covers_.clear();
        for (const PaperLine& earlier : near_) {
            const Stretch common = commonStretch(later, rest, earlier);
            if (isLongEnough(common, later, rest, earlier) &&
                isNear(later.at(common.from), earlier) && isNear(later.at(common.to), earlier)) {
                covers_.push_back(common);
            }
        }
    }

    static Stretch commonStretch(const Ray& later, const Stretch& rest, const PaperLine& earlier) {
        const double p = later.along(earlier.a);
        const double q = later.along(earlier.b);
        return {std::max(rest.from, std::min(p, q)), std::min(rest.to, std::max(p, q))};
    }

    bool isLongEnough(const Stretch& common,
                      const Ray& later,
                      const Stretch& rest,
                      const PaperLine& earlier) const {
        if (common.length() > tolerance_) {
            return true;
        }
        const double shorter = std::min(rest.length(), Distance(earlier.a, earlier.b));
        return shorter <= tolerance_ && common.length() > kShortShare * shorter &&
               std::abs(Dot(later.direction, Direction(earlier.b - earlier.a))) >= kShortAlignment;
    }

    bool isNear(Point p, const PaperLine& line) const {
        return SquaredDistanceToLine(p, line.a, line.b) <= tolerance_ * tolerance_;
    }

    /// Puts what the covers leave on the pile of rests, so that the first one is on top. A rest is
    /// only worth it when it is no shorter than the tolerance.
    void cut(const Stretch& rest) {
        std::sort(covers_.begin(), covers_.end(), [](const Stretch& s, const Stretch& t) {
            return s.from < t.from || (s.from == t.from && s.to < t.to);
        });
        const auto bottom = static_cast<std::ptrdiff_t>(rests_.size());
        double covered = rest.from;
        for (const Stretch& cover : covers_) {
            pile({covered, cover.from});
            covered = std::max(covered, cover.to);
        }
        pile({covered, rest.to});
        std::reverse(rests_.begin() + bottom, rests_.end());
    }

    void pile(const Stretch& rest) {
        if (rest.length() >= tolerance_) {
            rests_.push_back(rest);
        }
    }

    const std::vector<PaperLine>& lines_;
    double tolerance_;
    CellGrid grid_;
    std::vector<std::uint32_t> lastAsked_; ///< By line: the last one it was compared with.
    std::vector<std::size_t> firstRemains_;
    std::vector<Stretch> remains_; ///< Of all lines so far, one line after the other.
    std::vector<bool> isWhole_;    ///< By line: whether nothing was cut out of it.
    // Of the line at hand:
    std::vector<PaperLine> near_;
    std::vector<std::uint32_t> crossing_; ///< Not yet in near_.
    std::vector<Stretch> rests_;          ///< Still to be looked at, the next one last.
    std::vector<Stretch> covers_;
};

} // namespace

bool RemoveOverlaps(PaperLines& lines, double tolerance) {
    const Queue queue = QueueOf(lines.groups);
    Sweeper sweeper(queue.lines, tolerance);
    sweeper.sweep();
    for (std::size_t group = 0; group < lines.groups.size(); ++group) {
        std::vector<PaperLine> kept;
        kept.reserve(queue.places[group].size());
        for (const std::uint32_t place : queue.places[group]) {
            sweeper.appendRemains(place, kept);
        }
        lines.groups[group].lines = std::move(kept);
    }
    return !sweeper.isAllWhole();
}

std::vector<std::vector<LineShare>> SharesLeft(const PaperLines& lines, double tolerance) {
    const Queue queue = QueueOf(lines.groups);
    Sweeper sweeper(queue.lines, tolerance);
    sweeper.sweep();
    std::vector<std::vector<LineShare>> shares(lines.groups.size());
    for (std::size_t group = 0; group < shares.size(); ++group) {
        for (std::uint32_t i = 0; i < queue.places[group].size(); ++i) {
            sweeper.appendShares(queue.places[group][i], i, shares[group]);
        }
    }
    return shares;
}

} // namespace kxcontour
