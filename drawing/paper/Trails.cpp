// Euler trails in three steps.
//
// 1. At every point the ends of links that meet are paired, the straightest pair first. That gives
//    as few open trails as there can be (all ends but one of an odd point are paired), and possibly
//    closed trails besides, each of them one too many where it meets another trail.
// 2. Where a closed trail meets another one, exchanging partners between two pairs makes them one
//    trail. The exchanges that bend the trails least come first, as in a least spanning tree
//    (Kruskal 1956).
// 3. The trails are read off.
//
// An end is numbered 2 i at the first point of link i, and 2 i + 1 at the second; the other end of
// the same link differs in the last bit.
#include "drawing/paper/Trails.h"

#include <ctr/detail/UnionFind.h>

#include "drawing/paper/Plane.h"

#include <algorithm>
#include <numeric>
#include <span>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNoEnd = static_cast<std::uint32_t>(-1);

/// Up to so many ends at a point all pairs are compared; beyond, only those that are most opposite.
constexpr std::size_t kFewEnds = 24;
constexpr std::size_t kOppositesTried = 4;

/// The cosine of the turn from which on a point is a corner: 30 degrees.
constexpr double kCornerCosine = 0.8660254037844387;

std::uint32_t OtherEnd(std::uint32_t end) {
    return end ^ 1U;
}

/// Two ends at one point that follow each other in a trail; the second is kNoEnd for an end where a
/// trail ends.
struct Pair {
    std::uint32_t a = kNoEnd;
    std::uint32_t b = kNoEnd;
};

struct Candidate {
    double bend = 0.0;
    std::uint32_t a = 0;
    std::uint32_t b = 0;

    bool operator<(const Candidate& other) const {
        if (bend != other.bend) {
            return bend < other.bend;
        }
        return a != other.a ? a < other.a : b < other.b;
    }
};

/// Grows with the angle of the vector from x towards y, from 0 up to 4; without a transcendental
/// function, so that it is the same everywhere.
double AngleOrder(Point p) {
    const double sum = std::abs(p.x) + std::abs(p.y);
    if (sum == 0.0) {
        return 0.0;
    }
    const double part = p.y / sum;
    if (p.x < 0.0) {
        return 2.0 - part;
    }
    return p.y < 0.0 ? 4.0 + part : part;
}

class Weaver {
public:
    Weaver(const std::vector<Point>& points, const std::vector<Link>& links)
        : points_(points), links_(links), partner_(2 * links.size(), kNoEnd), trails_(links.size()),
          isOpen_(links.size()) {
        collectEnds();
    }

    void pairEnds() {
        for (std::uint32_t point = 0; point < points_.size(); ++point) {
            pairEndsAt(endsAt(point));
            appendPairs(endsAt(point));
        }
        findTrailsOfPairs();
    }

    void spliceClosedTrails();
    std::vector<Trail> readOff() const;

private:
    void collectEnds();
    std::span<const std::uint32_t> endsAt(std::uint32_t point) const {
        return {ends_.data() + firstEnd_[point], firstEnd_[point + 1] - firstEnd_[point]};
    }
    void pairEndsAt(std::span<const std::uint32_t> ends);
    void addAllCandidates(std::span<const std::uint32_t> ends);
    void addOppositeCandidates(std::span<const std::uint32_t> ends);
    void pairLeftovers(std::span<const std::uint32_t> ends);
    void appendPairs(std::span<const std::uint32_t> ends);
    void findTrailsOfPairs();
    std::vector<Candidate> splices() const;
    void splice(Pair& p, Pair& q);
    void join(std::uint32_t a, std::uint32_t b) {
        partner_[a] = b;
        partner_[b] = a;
    }

    Point pointOf(std::uint32_t end) const {
        const Link& link = links_[end / 2];
        return points_[end % 2 == 0 ? link.from : link.to];
    }

    std::uint32_t pointNumberOf(std::uint32_t end) const {
        const Link& link = links_[end / 2];
        return end % 2 == 0 ? link.from : link.to;
    }

    /// From the end's point into its link.
    Point directionOf(std::uint32_t end) const {
        return Direction(pointOf(OtherEnd(end)) - pointOf(end));
    }

    /// -1 for straight on, 1 for straight back. The end of a trail bends nothing.
    double bendOf(std::uint32_t a, std::uint32_t b) const {
        return a == kNoEnd || b == kNoEnd ? -1.0 : Dot(directionOf(a), directionOf(b));
    }

    bool isCorner(std::uint32_t end) const { return -bendOf(end, partner_[end]) <= kCornerCosine; }

    Trail trailThrough(std::uint32_t link, std::vector<bool>& taken) const;
    void turnToStart(Trail& trail) const;

    const std::vector<Point>& points_;
    const std::vector<Link>& links_;
    std::vector<std::size_t> firstEnd_; ///< By point: its ends in ends_; one more at the end.
    std::vector<std::uint32_t> ends_;
    std::vector<std::uint32_t> partner_; ///< By end: the one that follows; kNoEnd: a trail ends.
    std::vector<Pair> pairs_;            ///< Of points with several, one point after the other.
    ctr::detail::UnionFind trails_;      ///< Of links.
    std::vector<bool> isOpen_;           ///< By the number of a trail in trails_.
    std::vector<Candidate> candidates_;
};

void Weaver::collectEnds() {
    firstEnd_.assign(points_.size() + 2, 0);
    for (const Link& link : links_) {
        ++firstEnd_[link.from + 2];
        ++firstEnd_[link.to + 2];
    }
    std::partial_sum(firstEnd_.begin(), firstEnd_.end(), firstEnd_.begin());
    ends_.resize(2 * links_.size());
    for (std::uint32_t end = 0; end < ends_.size(); ++end) {
        ends_[firstEnd_[pointNumberOf(end) + 1]++] = end;
    }
    firstEnd_.pop_back();
}

void Weaver::pairEndsAt(std::span<const std::uint32_t> ends) {
    if (ends.size() == 2) {
        join(ends[0], ends[1]);
    }
    if (ends.size() <= 2) {
        return;
    }
    candidates_.clear();
    if (ends.size() <= kFewEnds) {
        addAllCandidates(ends);
    } else {
        addOppositeCandidates(ends);
    }
    std::sort(candidates_.begin(), candidates_.end());
    for (const Candidate& candidate : candidates_) {
        if (partner_[candidate.a] == kNoEnd && partner_[candidate.b] == kNoEnd) {
            join(candidate.a, candidate.b);
        }
    }
    pairLeftovers(ends);
}

void Weaver::addAllCandidates(std::span<const std::uint32_t> ends) {
    for (std::size_t i = 0; i < ends.size(); ++i) {
        for (std::size_t j = i + 1; j < ends.size(); ++j) {
            candidates_.push_back({bendOf(ends[i], ends[j]), ends[i], ends[j]});
        }
    }
}

/// Where very many lines meet, as in the tip of a cone: each with the few that lead away from it.
void Weaver::addOppositeCandidates(std::span<const std::uint32_t> ends) {
    struct Spoke {
        double angle;
        std::uint32_t end;
    };
    std::vector<Spoke> spokes;
    for (const std::uint32_t end : ends) {
        spokes.push_back({AngleOrder(directionOf(end)), end});
    }
    std::sort(spokes.begin(), spokes.end(), [](const Spoke& s, const Spoke& t) {
        return s.angle < t.angle || (s.angle == t.angle && s.end < t.end);
    });
    for (const Spoke& spoke : spokes) {
        const double opposite = spoke.angle < 2.0 ? spoke.angle + 2.0 : spoke.angle - 2.0;
        const auto behind =
            std::lower_bound(spokes.begin(), spokes.end(), opposite,
                             [](const Spoke& s, double angle) { return s.angle < angle; });
        const auto middle = static_cast<std::size_t>(behind - spokes.begin());
        for (std::size_t i = 0; i < kOppositesTried; ++i) {
            const std::size_t at = middle + spokes.size() + i - kOppositesTried / 2;
            const std::uint32_t end = spokes[at % spokes.size()].end;
            if (end != spoke.end) {
                candidates_.push_back({bendOf(spoke.end, end), spoke.end, end});
            }
        }
    }
}

/// At most one end of a point may stay alone, whatever candidates it had.
void Weaver::pairLeftovers(std::span<const std::uint32_t> ends) {
    std::uint32_t lonely = kNoEnd;
    for (const std::uint32_t end : ends) {
        if (partner_[end] != kNoEnd) {
            continue;
        }
        if (lonely == kNoEnd) {
            lonely = end;
        } else {
            join(lonely, end);
            lonely = kNoEnd;
        }
    }
}

void Weaver::appendPairs(std::span<const std::uint32_t> ends) {
    if (ends.size() <= 2) {
        return;
    }
    for (const std::uint32_t end : ends) {
        if (partner_[end] == kNoEnd || end < partner_[end]) {
            pairs_.push_back({end, partner_[end]});
        }
    }
}

void Weaver::findTrailsOfPairs() {
    for (std::uint32_t end = 0; end < partner_.size(); ++end) {
        if (partner_[end] != kNoEnd && end < partner_[end]) {
            trails_.merge(trails_.find(end / 2), trails_.find(partner_[end] / 2));
        }
    }
    for (std::uint32_t end = 0; end < partner_.size(); ++end) {
        if (partner_[end] == kNoEnd) {
            isOpen_[trails_.find(end / 2)] = true;
        }
    }
}

/// Neighbours in the list of a point's pairs are enough: a closed trail that meets any other trail
/// at a point has a pair there beside one of another trail.
std::vector<Candidate> Weaver::splices() const {
    std::vector<Candidate> result;
    for (std::uint32_t i = 0; i + 1 < pairs_.size(); ++i) {
        const Pair& p = pairs_[i];
        const Pair& q = pairs_[i + 1];
        if (pointNumberOf(p.a) != pointNumberOf(q.a)) {
            continue;
        }
        const double before = bendOf(p.a, p.b) + bendOf(q.a, q.b);
        const double after =
            std::min(bendOf(p.a, q.a) + bendOf(p.b, q.b), bendOf(p.a, q.b) + bendOf(p.b, q.a));
        result.push_back({after - before, i, i + 1});
    }
    return result;
}

void Weaver::spliceClosedTrails() {
    std::vector<Candidate> candidates = splices();
    std::sort(candidates.begin(), candidates.end());
    for (const Candidate& candidate : candidates) {
        Pair& p = pairs_[candidate.a];
        Pair& q = pairs_[candidate.b];
        const std::uint32_t trail = trails_.find(p.a / 2);
        const std::uint32_t other = trails_.find(q.a / 2);
        if (trail != other && !(isOpen_[trail] && isOpen_[other])) {
            splice(p, q);
            const bool open = isOpen_[trail] || isOpen_[other];
            trails_.merge(trail, other);
            isOpen_[trail] = open;
        }
    }
}

/// Exchanges partners; both ways make one trail of the two, the one that bends less is taken. At
/// most one of the four is missing, for only one of the trails may be open.
void Weaver::splice(Pair& p, Pair& q) {
    if (p.b == kNoEnd) {
        std::swap(p, q);
    }
    if (bendOf(p.b, q.a) + bendOf(p.a, q.b) < bendOf(p.a, q.a) + bendOf(p.b, q.b)) {
        std::swap(p.a, p.b);
    }
    // p.a goes with q.a, and p.b with q.b or alone.
    const std::uint32_t left = p.b;
    p.b = q.a;
    join(p.a, p.b);
    q.a = left;
    partner_[q.a] = q.b;
    if (q.b != kNoEnd) {
        partner_[q.b] = q.a;
    }
}

std::vector<Trail> Weaver::readOff() const {
    std::vector<Trail> result;
    std::vector<bool> taken(links_.size());
    for (std::uint32_t link = 0; link < links_.size(); ++link) {
        if (!taken[link]) {
            result.push_back(trailThrough(link, taken));
        }
    }
    return result;
}

/// The link goes from its first end to its second: back to where the trail starts, then forward.
Trail Weaver::trailThrough(std::uint32_t link, std::vector<bool>& taken) const {
    const std::uint32_t home = 2 * link;
    std::uint32_t start = home;
    Trail trail;
    while (partner_[start] != kNoEnd) {
        start = OtherEnd(partner_[start]);
        if (start == home) {
            trail.closed = true;
            break;
        }
    }
    std::uint32_t step = start;
    do {
        trail.steps.push_back(step);
        taken[step / 2] = true;
        step = partner_[OtherEnd(step)];
    } while (step != kNoEnd && step != start);
    if (trail.closed) {
        turnToStart(trail);
    }
    return trail;
}

void Weaver::turnToStart(Trail& trail) const {
    auto found = std::find_if(trail.steps.begin(), trail.steps.end(),
                              [this](std::uint32_t step) { return isCorner(step); });
    if (found == trail.steps.end()) {
        found = std::find_if(trail.steps.begin(), trail.steps.end(), [this](std::uint32_t step) {
            return endsAt(pointNumberOf(step)).size() > 2;
        });
    }
    if (found != trail.steps.end()) {
        std::rotate(trail.steps.begin(), found, trail.steps.end());
    }
}

} // namespace

std::vector<Trail> FindTrails(const std::vector<Point>& points, const std::vector<Link>& links) {
    Weaver weaver(points, links);
    weaver.pairEnds();
    weaver.spliceClosedTrails();
    return weaver.readOff();
}

} // namespace kxcontour
