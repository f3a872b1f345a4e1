// Takes lines in order of priority and cuts out of each what the remains of those before it cover.
//
// A line is compared with what is left of earlier lines, not with the lines as they came: otherwise
// a hatch finer than the tolerance would vanish step by step, every line covered by one that is
// gone itself.
#include "drawing/paper/Overlaps.h"

#include "drawing/paper/CellGrid.h"
#include "drawing/paper/Plane.h"

#include <algorithm>
#include <cstddef>
#include <limits>
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
    PageLine line;
    Point direction; ///< Of length 1, or zero for a line of no length.
    double length = 0.0;

    explicit Ray(const PageLine& of)
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
    switch (group.kind) {
    case LineKind::Crease:
        return hidden + 1;
    case LineKind::Intersection:
        return hidden + 2;
    case LineKind::Silhouette:
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
    std::vector<PageLine> lines;
    std::vector<std::vector<std::uint32_t>> places; ///< By group and line: the number in lines.
};

Queue QueueOf(const std::vector<LineGroup>& groups) {
    Queue queue;
    queue.places.resize(groups.size());
    const std::vector<std::size_t> order = GroupsByRank(groups);
    for (const bool dots : {false, true}) {
        for (const std::size_t group : order) {
            const std::vector<PageLine>& lines = groups[group].lines;
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

/// What is left of an earlier line, beside the line at hand.
struct Neighbour {
    std::uint32_t number = 0; ///< In the grid.
    Stretch beside;           ///< Its projection onto the line at hand.
};

/// Neighbours of a line, to be asked which of them lie beside a part of it. A tree over them in the
/// order in which they begin: the middle one of a range is its root, with the farthest end of the
/// range (Cormen, Leiserson, Rivest: Introduction to Algorithms, interval trees).
class NeighbourTree {
public:
    void build(std::vector<Neighbour>& neighbours) {
        neighbours_.swap(neighbours);
        std::sort(neighbours_.begin(), neighbours_.end(),
                  [](const Neighbour& p, const Neighbour& q) {
                      return p.beside.from != q.beside.from ? p.beside.from < q.beside.from
                                                            : p.number < q.number;
                  });
        farthest_.resize(neighbours_.size());
        measure(0, neighbours_.size());
    }

    /// Calls visit(neighbour) for all that have more than a point in common with the part.
    /// O(log n) for each of them and for the question.
    template <class tVisit> void visit(const Stretch& part, tVisit visit) const {
        visitRange(0, neighbours_.size(), part, visit);
    }

private:
    double measure(std::size_t first, std::size_t last) {
        if (first == last) {
            return -std::numeric_limits<double>::infinity();
        }
        const std::size_t root = first + (last - first) / 2;
        farthest_[root] =
            std::max({neighbours_[root].beside.to, measure(first, root), measure(root + 1, last)});
        return farthest_[root];
    }

    template <class tVisit>
    void visitRange(std::size_t first, std::size_t last, const Stretch& part, tVisit& visit) const {
        while (first != last) {
            const std::size_t root = first + (last - first) / 2;
            if (farthest_[root] <= part.from) {
                return;
            }
            visitRange(first, root, part, visit);
            if (neighbours_[root].beside.from >= part.to) {
                return;
            }
            if (neighbours_[root].beside.to > part.from) {
                visit(neighbours_[root]);
            }
            first = root + 1;
        }
    }

    std::vector<Neighbour> neighbours_;
    std::vector<double> farthest_; ///< By root: the farthest end of its range.
};

/// Does the work: goes through the lines once and remembers what is left of each.
class Sweeper {
public:
    Sweeper(const std::vector<PageLine>& lines, double tolerance)
        : lines_(lines), tolerance_(tolerance), grid_(lines, tolerance * kReachPerTolerance) {
        firstRemains_.reserve(lines.size() + 1);
        firstRemains_.push_back(0);
        remains_.reserve(lines.size());
    }

    void sweep() {
        for (const PageLine& line : lines_) {
            const Ray later(line);
            const std::size_t before = remains_.size();
            if (later.length > 0.0) {
                keepRests(later);
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

    /// How many cells of the grid, lines in them and neighbours of rests were looked at.
    std::size_t looks() const { return grid_.looks() + looksBeside_; }

    /// What is left of a line, in order along it.
    void appendRemains(std::size_t i, std::vector<PageLine>& to) const {
        for (std::size_t k = firstRemains_[i]; k < firstRemains_[i + 1]; ++k) {
            to.push_back(grid_.line(static_cast<std::uint32_t>(k)));
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
    /// What is left of an earlier line may do to the one at hand, as far as a cheap look tells.
    enum class Relation : std::uint8_t { Apart, Crossing, Beside };

    /// Over the part of a piece that is beside the line the distance grows or falls evenly. Where
    /// that stays off the piece on one side, nothing is covered. Where an end of it is off, the
    /// piece covers nothing of the line as a whole: it can only cover a rest. Both are left open
    /// within rounding.
    Relation relationOf(const Ray& later, const PageLine& piece) const {
        const Stretch common = commonStretch({0.0, later.length}, projectionOf(piece, later));
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
        // One condition, for which of the two fails is hard to predict.
        if (static_cast<int>(common.length() > 0.0) *
                static_cast<int>(nearest * nearest <= square) ==
            0) {
            return Relation::Apart;
        }
        const double farthest = std::max(-low, high);
        return farthest * farthest > square ? Relation::Crossing : Relation::Beside;
    }

    void keepDot(Point dot) {
        const bool isShown = grid_.visit(
            {dot, dot}, [&](std::uint32_t number) { return !isNear(dot, grid_.line(number)); });
        if (isShown) {
            remains_.push_back({});
        }
    }

    /// Writes down what is left of the line. A rest is a line of its own: what is near enough to
    /// another line along all of the rest need not have been so along more. So rests are looked at
    /// again until nothing more is found. Every cut takes half a tolerance away, and most lines
    /// need one round, those that are cut two.
    void keepRests(const Ray& later) {
        const Stretch whole{0.0, later.length};
        if (isCoveredByOne(later, whole)) {
            return;
        }
        if (covers_.empty()) {
            remains_.push_back(whole);
            return;
        }
        rests_.clear();
        cut(whole);
        if (!rests_.empty()) {
            plantTree(later);
        }
        while (!rests_.empty()) {
            const Stretch rest = rests_.back();
            rests_.pop_back();
            findCovers(later, rest);
            if (covers_.empty()) {
                remains_.push_back(rest);
            } else {
                cut(rest);
            }
        }
    }

    /// Gathers what is near the line and what of it covers the whole line in part. Ends as soon as
    /// one piece alone leaves no rest that is worth it: what else is near can only cover more.
    bool isCoveredByOne(const Ray& later, const Stretch& whole) {
        near_.clear();
        crossing_.clear();
        covers_.clear();
        return !grid_.visit(later.line, [&](std::uint32_t number) {
            const PageLine& piece = grid_.line(number);
            const Relation relation = relationOf(later, piece);
            if (relation == Relation::Crossing) {
                crossing_.push_back(number);
            }
            if (relation != Relation::Beside) {
                return true;
            }
            near_.push_back({number, projectionOf(piece, later)});
            const std::size_t before = covers_.size();
            findCover(later, whole, near_.back());
            return covers_.size() == before || isWorthIt({whole.from, covers_.back().from}) ||
                   isWorthIt({covers_.back().to, whole.to});
        });
    }

    /// Once there are rests, what crosses the line may cover one of them.
    void plantTree(const Ray& later) {
        for (const std::uint32_t number : crossing_) {
            near_.push_back({number, projectionOf(grid_.line(number), later)});
        }
        tree_.build(near_);
    }

    void findCovers(const Ray& later, const Stretch& rest) {
        covers_.clear();
        tree_.visit(rest, [&](const Neighbour& piece) {
            ++looksBeside_;
            findCover(later, rest, piece);
        });
    }

    void findCover(const Ray& later, const Stretch& rest, const Neighbour& neighbour) {
        const PageLine& piece = grid_.line(neighbour.number);
        const Stretch common = commonStretch(rest, neighbour.beside);
        if (isLongEnough(common, later, rest, piece) && isNear(later.at(common.from), piece) &&
            isNear(later.at(common.to), piece)) {
            covers_.push_back(common);
        }
    }

    static Stretch projectionOf(const PageLine& piece, const Ray& later) {
        const double p = later.along(piece.a);
        const double q = later.along(piece.b);
        return {std::min(p, q), std::max(p, q)};
    }

    static Stretch commonStretch(const Stretch& rest, const Stretch& other) {
        return {std::max(rest.from, other.from), std::min(rest.to, other.to)};
    }

    bool isLongEnough(const Stretch& common,
                      const Ray& later,
                      const Stretch& rest,
                      const PageLine& earlier) const {
        if (common.length() > tolerance_) {
            return true;
        }
        const double shorter = std::min(rest.length(), Distance(earlier.a, earlier.b));
        return shorter <= tolerance_ && common.length() > kShortShare * shorter &&
               std::abs(Dot(later.direction, Direction(earlier.b - earlier.a))) >= kShortAlignment;
    }

    bool isNear(Point p, const PageLine& line) const {
        return SquaredDistanceToLine(p, line.a, line.b) <= tolerance_ * tolerance_;
    }

    /// Puts what the covers leave on the pile of rests, so that the first one is on top.
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
        if (isWorthIt(rest)) {
            rests_.push_back(rest);
        }
    }

    /// A rest has to be no shorter than the tolerance.
    bool isWorthIt(const Stretch& rest) const { return rest.length() >= tolerance_; }

    const std::vector<PageLine>& lines_;
    double tolerance_;
    CellGrid grid_; ///< What is left of the lines so far, numbered as in remains_.
    std::vector<std::size_t> firstRemains_;
    std::vector<Stretch> remains_; ///< Of all lines so far, one line after the other.
    bool isAllWhole_ = true;
    std::size_t looksBeside_ = 0;
    // Of the line at hand:
    std::vector<Neighbour> near_;
    std::vector<std::uint32_t> crossing_; ///< Not in near_, as long as there are no rests.
    NeighbourTree tree_;
    std::vector<Stretch> rests_; ///< Still to be looked at, the next one last.
    std::vector<Stretch> covers_;
};

} // namespace

bool RemoveOverlaps(PageLines& lines, double tolerance) {
    const Queue queue = QueueOf(lines.groups);
    Sweeper sweeper(queue.lines, tolerance);
    sweeper.sweep();
    for (std::size_t group = 0; group < lines.groups.size(); ++group) {
        std::vector<PageLine> kept;
        kept.reserve(queue.places[group].size());
        for (const std::uint32_t place : queue.places[group]) {
            sweeper.appendRemains(place, kept);
        }
        lines.groups[group].lines = std::move(kept);
    }
    return !sweeper.isAllWhole();
}

std::vector<std::vector<LineShare>> SharesLeft(const PageLines& lines, double tolerance) {
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

std::size_t LooksForOverlaps(const PageLines& lines, double tolerance) {
    const Queue queue = QueueOf(lines.groups);
    Sweeper sweeper(queue.lines, tolerance);
    sweeper.sweep();
    return sweeper.looks();
}

} // namespace kxcontour
