// Removal of coincident lines: lines are taken in order of priority, and the parts that the
// remaining parts of earlier lines cover are cut out of each.
//
// The remaining parts are in a spatial grid (SpatialGrid.h), so that a line is compared with its
// neighbours only. Most lines keep everything, or are covered by one earlier part, after which the
// search stops; others are cut, and their remainders are compared again with neighbours from an
// interval tree. Expected O(n log n) for n lines of which few cross each other.
//
// A line is compared with the remaining parts of earlier lines, not with these lines themselves:
// otherwise a hatch finer than the tolerance would vanish line by line, each covered by one that is
// removed itself.
#include "drawing/paper/Overlaps.h"

#include "drawing/paper/Plane.h"
#include "drawing/paper/SpatialGrid.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <limits>
#include <numeric>

namespace kxcontour {
namespace {

using namespace plane;

/// Lines no longer than the tolerance cannot have a longer interval in common, but may be
/// duplicates all the same. Half of the shorter line suffices there if both are nearly parallel; a
/// line that only crosses or continues another is kept.
constexpr double kShortShare = 0.5;
constexpr double kShortAlignment = 0.9;

/// Covers the rounding of cell borders.
constexpr double kReachPerTolerance = 1.001;

/// A part of a line, in lengths from its first point.
struct Interval {
    double from = 0.0;
    double to = 0.0;

    double length() const { return to - from; }
    auto operator<=>(const Interval& other) const = default;
};

/// A line with its direction and length.
struct DirectedLine {
    PageLine line;
    Point direction; ///< Of length 1, or zero for a line of no length.
    double length = 0.0;

    explicit DirectedLine(const PageLine& of)
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

/// Kinds are declared in this order.
int PriorityOf(const LineGroup& group) {
    return static_cast<int>(group.kind) + (group.hidden ? 3 : 0);
}

/// The numbers of the groups, those of highest priority first.
std::vector<std::size_t> GroupsByPriority(const std::vector<LineGroup>& groups) {
    std::vector<std::size_t> order(groups.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) {
        return PriorityOf(groups[i]) < PriorityOf(groups[j]);
    });
    return order;
}

/// All lines by priority. Those of zero length come last, since any other line may cover them.
struct PriorityOrder {
    std::vector<PageLine> lines;
    std::vector<std::vector<std::uint32_t>>
        positions; ///< By group and line: the position in lines.
};

PriorityOrder PriorityOrderOf(const std::vector<LineGroup>& groups) {
    PriorityOrder order;
    order.positions.resize(groups.size());
    const std::vector<std::size_t> byPriority = GroupsByPriority(groups);
    for (const bool dots : {false, true}) {
        for (const std::size_t group : byPriority) {
            const std::vector<PageLine>& lines = groups[group].lines;
            order.positions[group].resize(lines.size());
            for (std::size_t i = 0; i < lines.size(); ++i) {
                if (IsSame(lines[i].a, lines[i].b) == dots) {
                    order.positions[group][i] = static_cast<std::uint32_t>(order.lines.size());
                    order.lines.push_back(lines[i]);
                }
            }
        }
    }
    return order;
}

/// A remaining part of an earlier line near the current line.
struct Neighbour {
    Interval projection;      ///< Onto the current line.
    std::uint32_t number = 0; ///< In the grid.

    auto operator<=>(const Neighbour& other) const = default;
};

/// An interval tree over the neighbours of a line, sorted by start: the middle one of a range is
/// its root and has the largest end of the range (T. H. Cormen, C. E. Leiserson, R. L. Rivest,
/// Introduction to Algorithms, interval trees).
class NeighbourTree {
public:
    void build(std::vector<Neighbour>& neighbours) {
        neighbours_.swap(neighbours);
        std::sort(neighbours_.begin(), neighbours_.end());
        farthest_.resize(neighbours_.size());
        measure(0, neighbours_.size());
    }

    /// Calls visit(neighbour) for all that have more than a point in common with the part.
    /// O((k + 1) log n) for k of n neighbours.
    template <class tVisit> void visit(const Interval& part, tVisit visit) const {
        visitRange(0, neighbours_.size(), part, visit);
    }

private:
    double measure(std::size_t first, std::size_t last) {
        if (first == last) {
            return -std::numeric_limits<double>::infinity();
        }
        const std::size_t root = first + (last - first) / 2;
        farthest_[root] = std::max(
            {neighbours_[root].projection.to, measure(first, root), measure(root + 1, last)});
        return farthest_[root];
    }

    template <class tVisit>
    void
    visitRange(std::size_t first, std::size_t last, const Interval& part, tVisit& visit) const {
        while (first != last) {
            const std::size_t root = first + (last - first) / 2;
            if (farthest_[root] <= part.from) {
                return;
            }
            visitRange(first, root, part, visit);
            if (neighbours_[root].projection.from >= part.to) {
                return;
            }
            if (neighbours_[root].projection.to > part.from) {
                visit(neighbours_[root]);
            }
            first = root + 1;
        }
    }

    std::vector<Neighbour> neighbours_;
    std::vector<double> farthest_; ///< By root: the largest end of its range.
};

/// Computes the remaining parts of each line, in order of priority.
class OverlapRemover {
public:
    OverlapRemover(const std::vector<PageLine>& lines, double tolerance)
        : lines_(lines), tolerance_(tolerance), grid_(lines, tolerance * kReachPerTolerance) {
        firstRemains_.reserve(lines.size() + 1);
        firstRemains_.push_back(0);
        remains_.reserve(lines.size());
        for (const PageLine& line : lines_) {
            const DirectedLine later(line);
            const std::size_t before = remains_.size();
            if (later.length > 0.0) {
                keepUncovered(later);
            } else {
                keepDot(line.a);
            }
            for (std::size_t k = before; k < remains_.size(); ++k) {
                grid_.insert({later.at(remains_[k].from), later.at(remains_[k].to)});
            }
            firstRemains_.push_back(remains_.size());
            const bool isWhole =
                remains_.size() == before + 1 && remains_.back().length() == later.length;
            isAllWhole_ = isAllWhole_ && isWhole;
        }
    }

    bool isAllWhole() const { return isAllWhole_; }

    /// The number of grid cells, lines in them and neighbours of remainders examined.
    std::size_t work() const { return grid_.work() + neighboursExamined_; }

    /// Appends the remaining parts of a line, in order along it.
    void appendRemains(std::size_t i, std::vector<PageLine>& to) const {
        for (std::size_t k = firstRemains_[i]; k < firstRemains_[i + 1]; ++k) {
            to.push_back(grid_.line(static_cast<std::uint32_t>(k)));
        }
    }

    /// The same as shares of the line, which has the given number in its group; a dot is one share.
    void appendShares(std::size_t i, std::uint32_t line, std::vector<LineShare>& to) const {
        const double length = DirectedLine(lines_[i]).length;
        for (std::size_t k = firstRemains_[i]; k < firstRemains_[i + 1]; ++k) {
            to.push_back(length == 0.0
                             ? LineShare{line, 0.0, 1.0}
                             : LineShare{line, remains_[k].from / length, remains_[k].to / length});
        }
    }

private:
    /// Of an earlier piece to the current line, by a cheap conservative test.
    enum class Relation : std::uint8_t { Apart, Crossing, Parallel };

    /// The signed distance from the piece is linear over their common interval. If it exceeds the
    /// tolerance on one side everywhere, nothing is covered; if it does so at one end, the piece
    /// covers no part of the whole line and can only cover a remainder. Both tests leave room for
    /// rounding.
    Relation relationOf(const DirectedLine& later, const PageLine& piece) const {
        const Interval common = commonInterval({0.0, later.length}, projectionOf(piece, later));
        const Point along = piece.b - piece.a;
        const double start = Cross(along, later.line.a - piece.a);
        const double slope = Cross(along, later.direction);
        const double from = start + slope * common.from;
        const double to = start + slope * common.to;
        const double low = std::min(from, to);
        const double high = std::max(from, to);
        const double reach = tolerance_ * kReachPerTolerance;
        const double square = reach * reach * SquaredLength(along);
        const double nearest = std::max({low, -high, 0.0});
        // One branch: which of the two conditions fails is hard to predict.
        if (static_cast<int>(common.length() > 0.0) *
                static_cast<int>(nearest * nearest <= square) ==
            0) {
            return Relation::Apart;
        }
        const double farthest = std::max(-low, high);
        return farthest * farthest > square ? Relation::Crossing : Relation::Parallel;
    }

    void keepDot(Point dot) {
        const bool isShown = grid_.visit(
            {dot, dot}, [&](std::uint32_t number) { return !isNear(dot, grid_.line(number)); });
        if (isShown) {
            remains_.push_back({});
        }
    }

    /// Appends the remaining parts of the line. A remainder is a line of its own: a piece may be
    /// near enough along all of the remainder, though it was not along the whole line. So
    /// remainders are compared again until nothing more is covered. Every cut removes at least half
    /// a tolerance; most lines need one round, those that are cut two.
    void keepUncovered(const DirectedLine& later) {
        const Interval whole{0.0, later.length};
        if (isCoveredByOne(later, whole)) {
            return;
        }
        if (covers_.empty()) {
            remains_.push_back(whole);
            return;
        }
        remainders_.clear();
        cut(whole);
        if (!remainders_.empty()) {
            buildTree(later);
        }
        while (!remainders_.empty()) {
            const Interval remainder = remainders_.back();
            remainders_.pop_back();
            findCovers(later, remainder);
            if (covers_.empty()) {
                remains_.push_back(remainder);
            } else {
                cut(remainder);
            }
        }
    }

    /// Collects the pieces near the line, and the parts of the line that they cover. Ends as soon
    /// as one piece alone leaves no remainder worth keeping: others can only cover more.
    bool isCoveredByOne(const DirectedLine& later, const Interval& whole) {
        near_.clear();
        crossing_.clear();
        covers_.clear();
        return !grid_.visit(later.line, [&](std::uint32_t number) {
            const PageLine& piece = grid_.line(number);
            const Relation relation = relationOf(later, piece);
            if (relation == Relation::Crossing) {
                crossing_.push_back(number);
            }
            if (relation != Relation::Parallel) {
                return true;
            }
            near_.push_back({projectionOf(piece, later), number});
            const std::size_t before = covers_.size();
            findCover(later, whole, near_.back());
            return covers_.size() == before || isWorthKeeping({whole.from, covers_.back().from}) ||
                   isWorthKeeping({covers_.back().to, whole.to});
        });
    }

    /// Pieces that cross the line may cover a remainder.
    void buildTree(const DirectedLine& later) {
        for (const std::uint32_t number : crossing_) {
            near_.push_back({projectionOf(grid_.line(number), later), number});
        }
        tree_.build(near_);
    }

    void findCovers(const DirectedLine& later, const Interval& remainder) {
        covers_.clear();
        tree_.visit(remainder, [&](const Neighbour& piece) {
            ++neighboursExamined_;
            findCover(later, remainder, piece);
        });
    }

    void
    findCover(const DirectedLine& later, const Interval& remainder, const Neighbour& neighbour) {
        const PageLine& piece = grid_.line(neighbour.number);
        const Interval common = commonInterval(remainder, neighbour.projection);
        if (isLongEnough(common, later, remainder, piece) && isNear(later.at(common.from), piece) &&
            isNear(later.at(common.to), piece)) {
            covers_.push_back(common);
        }
    }

    static Interval projectionOf(const PageLine& piece, const DirectedLine& later) {
        const double p = later.along(piece.a);
        const double q = later.along(piece.b);
        return {std::min(p, q), std::max(p, q)};
    }

    static Interval commonInterval(const Interval& remainder, const Interval& other) {
        return {std::max(remainder.from, other.from), std::min(remainder.to, other.to)};
    }

    bool isLongEnough(const Interval& common,
                      const DirectedLine& later,
                      const Interval& remainder,
                      const PageLine& earlier) const {
        if (common.length() > tolerance_) {
            return true;
        }
        const double shorter = std::min(remainder.length(), Distance(earlier.a, earlier.b));
        return shorter <= tolerance_ && common.length() > kShortShare * shorter &&
               std::abs(Dot(later.direction, Direction(earlier.b - earlier.a))) >= kShortAlignment;
    }

    bool isNear(Point p, const PageLine& line) const {
        return SquaredDistanceToLine(p, line.a, line.b) <= tolerance_ * tolerance_;
    }

    /// Pushes the remainders between the covers so that the first one is on top of the stack.
    void cut(const Interval& remainder) {
        std::sort(covers_.begin(), covers_.end());
        const auto bottom = static_cast<std::ptrdiff_t>(remainders_.size());
        double covered = remainder.from;
        for (const Interval& cover : covers_) {
            push({covered, cover.from});
            covered = std::max(covered, cover.to);
        }
        push({covered, remainder.to});
        std::reverse(remainders_.begin() + bottom, remainders_.end());
    }

    void push(const Interval& remainder) {
        if (isWorthKeeping(remainder)) {
            remainders_.push_back(remainder);
        }
    }

    bool isWorthKeeping(const Interval& remainder) const {
        return remainder.length() >= tolerance_;
    }

    const std::vector<PageLine>& lines_;
    double tolerance_;
    SpatialGrid grid_; ///< The remaining parts of the lines so far, numbered as in remains_.
    std::vector<std::size_t> firstRemains_;
    std::vector<Interval> remains_; ///< Of all lines so far, one line after the other.
    bool isAllWhole_ = true;
    std::size_t neighboursExamined_ = 0;
    // Of the current line:
    std::vector<Neighbour> near_;
    std::vector<std::uint32_t> crossing_; ///< Not in near_ while there are no remainders.
    NeighbourTree tree_;
    std::vector<Interval> remainders_; ///< A stack of those to be compared.
    std::vector<Interval> covers_;
};

} // namespace

bool RemoveOverlaps(PageLines& lines, double tolerance) {
    const PriorityOrder order = PriorityOrderOf(lines.groups);
    const OverlapRemover remover(order.lines, tolerance);
    for (std::size_t group = 0; group < lines.groups.size(); ++group) {
        std::vector<PageLine> kept;
        kept.reserve(order.positions[group].size());
        for (const std::uint32_t position : order.positions[group]) {
            remover.appendRemains(position, kept);
        }
        lines.groups[group].lines = std::move(kept);
    }
    return !remover.isAllWhole();
}

std::vector<std::vector<LineShare>> SharesLeft(const PageLines& lines, double tolerance) {
    const PriorityOrder order = PriorityOrderOf(lines.groups);
    const OverlapRemover remover(order.lines, tolerance);
    std::vector<std::vector<LineShare>> shares(lines.groups.size());
    for (std::size_t group = 0; group < shares.size(); ++group) {
        for (std::uint32_t i = 0; i < order.positions[group].size(); ++i) {
            remover.appendShares(order.positions[group][i], i, shares[group]);
        }
    }
    return shares;
}

std::size_t OverlapWork(const PageLines& lines, double tolerance) {
    return OverlapRemover(PriorityOrderOf(lines.groups).lines, tolerance).work();
}

} // namespace kxcontour
