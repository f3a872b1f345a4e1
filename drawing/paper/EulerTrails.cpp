// Computes a decomposition of a graph into the fewest trails that cover each edge once.
//
// 1. At every vertex the ends of edges are paired, the straightest pair first (greedily). At most
//    one end of an odd vertex stays alone, so the number of open trails is minimal. There may be
//    closed trails besides; each that shares a vertex with another trail is one too many.
// 2. Closed trails are spliced into trails that they meet (C. Hierholzer, Ueber die Moeglichkeit,
//    einen Linienzug ohne Wiederholung und ohne Unterbrechung zu umfahren, Mathematische Annalen 6,
//    1873) by exchanging partners between two pairs. Splices are done in the order of the bend they
//    add, as edges of a minimum spanning tree of trails (J. B. Kruskal, On the shortest spanning
//    subtree of a graph, Proceedings of the AMS 7, 1956); a union-find holds the trails.
// 3. The trails are read off.
//
// O(n log n) for n edges: all pairs are considered at vertices of up to kFewEnds ends, a constant
// number for each end at others.
#include "drawing/paper/EulerTrails.h"

#include <ctr/detail/UnionFind.h>

#include "drawing/paper/Plane.h"

#include <algorithm>
#include <compare>
#include <span>

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNoEnd = static_cast<std::uint32_t>(-1);

/// Up to so many ends at a vertex all pairs are compared; beyond, only those that are most
/// opposite.
constexpr std::size_t kFewEnds = 24;
constexpr std::size_t kOppositesTried = 4;

/// The cosine of 30 degrees: a vertex with a larger turning angle is a corner.
constexpr double kCornerCosine = 0.8660254037844387;

std::uint32_t OtherEnd(std::uint32_t end) {
    return end ^ 1U;
}

/// Two ends at one vertex that follow each other in a trail; the second is kNoEnd for an end where
/// a trail ends.
struct Pair {
    std::uint32_t a = kNoEnd;
    std::uint32_t b = kNoEnd;
};

struct Candidate {
    double bend = 0.0;
    std::uint32_t a = 0;
    std::uint32_t b = 0;

    auto operator<=>(const Candidate& other) const = default;
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

std::vector<std::uint32_t> VerticesOfEnds(const LineGraph& graph) {
    std::vector<std::uint32_t> vertices;
    vertices.reserve(2 * graph.edges.size());
    for (const auto& [from, to] : graph.edges) {
        vertices.insert(vertices.end(), {from, to});
    }
    return vertices;
}

class TrailFinder {
public:
    explicit TrailFinder(const LineGraph& graph)
        : graph_(graph), ends_(VerticesOfEnds(graph), graph.vertices.size()),
          partner_(2 * graph.edges.size(), kNoEnd), trails_(graph.edges.size()),
          isOpen_(graph.edges.size()) {}

    void pairEnds() {
        for (std::uint32_t vertex = 0; vertex < graph_.vertices.size(); ++vertex) {
            pairEndsAt(ends_.at(vertex));
        }
        findTrailsOfPairs();
    }

    void spliceClosedTrails() {
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

    std::vector<Trail> trails() const {
        std::vector<Trail> result;
        std::vector<bool> taken(graph_.edges.size());
        for (std::uint32_t edge = 0; edge < graph_.edges.size(); ++edge) {
            if (!taken[edge]) {
                result.push_back(trailThrough(edge, taken));
            }
        }
        return result;
    }

private:
    void pairEndsAt(std::span<const std::uint32_t> ends) {
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
        pairRemainingEnds(ends);
        for (const std::uint32_t end : ends) {
            if (partner_[end] == kNoEnd || end < partner_[end]) {
                pairs_.push_back({end, partner_[end]});
            }
        }
    }

    void addAllCandidates(std::span<const std::uint32_t> ends) {
        for (std::size_t i = 0; i < ends.size(); ++i) {
            for (std::size_t j = i + 1; j < ends.size(); ++j) {
                candidates_.push_back({bendOf(ends[i], ends[j]), ends[i], ends[j]});
            }
        }
    }

    /// Where very many edges meet, as in the tip of a cone: each with the few most opposite ones.
    void addOppositeCandidates(std::span<const std::uint32_t> ends) {
        struct Spoke {
            double angle;
            std::uint32_t end;

            auto operator<=>(const Spoke& other) const = default;
        };
        std::vector<Spoke> spokes;
        for (const std::uint32_t end : ends) {
            spokes.push_back({AngleOrder(directionOf(end)), end});
        }
        std::sort(spokes.begin(), spokes.end());
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

    /// At most one end of a vertex may remain, whatever candidates it had.
    void pairRemainingEnds(std::span<const std::uint32_t> ends) {
        std::uint32_t unpaired = kNoEnd;
        for (const std::uint32_t end : ends) {
            if (partner_[end] != kNoEnd) {
                continue;
            }
            if (unpaired == kNoEnd) {
                unpaired = end;
            } else {
                join(unpaired, end);
                unpaired = kNoEnd;
            }
        }
    }

    void findTrailsOfPairs() {
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

    /// Neighbours in the list of a vertex's pairs are enough: a closed trail that meets any other
    /// trail at a vertex has a pair there next to one of another trail.
    std::vector<Candidate> splices() const {
        std::vector<Candidate> result;
        for (std::uint32_t i = 0; i + 1 < pairs_.size(); ++i) {
            const Pair& p = pairs_[i];
            const Pair& q = pairs_[i + 1];
            if (ends_.vertexOf(p.a) != ends_.vertexOf(q.a)) {
                continue;
            }
            const double before = bendOf(p.a, p.b) + bendOf(q.a, q.b);
            const double after =
                std::min(bendOf(p.a, q.a) + bendOf(p.b, q.b), bendOf(p.a, q.b) + bendOf(p.b, q.a));
            result.push_back({after - before, i, i + 1});
        }
        return result;
    }

    /// Exchanges partners; both ways make one trail of the two, the one that bends less is taken.
    /// At most one of the four is missing, for only one of the trails may be open.
    void splice(Pair& p, Pair& q) {
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

    /// The edge runs from its first end to its second: back to the start of the trail, then
    /// forward.
    Trail trailThrough(std::uint32_t edge, std::vector<bool>& taken) const {
        const std::uint32_t home = 2 * edge;
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
            rotateToStart(trail);
        }
        return trail;
    }

    void rotateToStart(Trail& trail) const {
        auto found = std::find_if(trail.steps.begin(), trail.steps.end(),
                                  [this](std::uint32_t step) { return isCorner(step); });
        if (found == trail.steps.end()) {
            found =
                std::find_if(trail.steps.begin(), trail.steps.end(), [this](std::uint32_t step) {
                    return ends_.at(ends_.vertexOf(step)).size() > 2;
                });
        }
        if (found != trail.steps.end()) {
            std::rotate(trail.steps.begin(), found, trail.steps.end());
        }
    }

    void join(std::uint32_t a, std::uint32_t b) {
        partner_[a] = b;
        partner_[b] = a;
    }

    Point positionOf(std::uint32_t end) const { return graph_.vertices[ends_.vertexOf(end)]; }

    /// From the end's vertex into its edge.
    Point directionOf(std::uint32_t end) const {
        return Direction(positionOf(OtherEnd(end)) - positionOf(end));
    }

    /// The cosine between two directions: -1 for straight on, 1 for straight back. The end of a
    /// trail counts as straight.
    double bendOf(std::uint32_t a, std::uint32_t b) const {
        return a == kNoEnd || b == kNoEnd ? -1.0 : Dot(directionOf(a), directionOf(b));
    }

    bool isCorner(std::uint32_t end) const { return -bendOf(end, partner_[end]) <= kCornerCosine; }

    const LineGraph& graph_;
    EndsByVertex ends_;
    std::vector<std::uint32_t> partner_; ///< By end: the one that follows; kNoEnd: a trail ends.
    std::vector<Pair> pairs_;            ///< Of vertices with several, one vertex after the other.
    ctr::detail::UnionFind trails_;      ///< Of edges.
    std::vector<bool> isOpen_;           ///< By the root of a trail in trails_.
    std::vector<Candidate> candidates_;
};

} // namespace

std::vector<Trail> FindEulerTrails(const LineGraph& graph) {
    TrailFinder finder(graph);
    finder.pairEnds();
    finder.spliceClosedTrails();
    return finder.trails();
}

} // namespace kxcontour
