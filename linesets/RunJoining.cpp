// Joins runs greedily, in record order.
//
// A chain first grows at its back until no candidate fits there, then it is reversed once and grows
// at what was its front. The sums of its least-squares fit are carried from join to join, so a line
// of n short pieces takes n steps. The candidates at a vertex are the chains whose head record ends
// there. They are tried in the order of how straight they continue the chain, and joined only if
// the fit holds after each of their segments, so that no chain is deflected in order to become
// longer. A closed chain has no free end and is not joined.
//
// At a vertex where many records end, candidates come from a tree of directions (DirectionTree);
// those that turn too far to fit are skipped by the bounds of fitting/Tolerances.h, and at most
// LineTuning::kMostTrials of the others are tried. Together with a union-find over the records,
// that bounds n records to O(n log n) trials.
#include "linesets/RunJoining.h"

#include <ctr/FittingSystem.h>
#include <ctr/detail/UnionFind.h>

#include "fitting/Tolerances.h"
#include "linesets/DirectionTree.h"
#include "linesets/RunFitting.h"
#include "linesets/Tuning.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numeric>
#include <utility>

namespace ctr {
namespace {

using Record = LineSegmentSet::ArcFeature;
using Point = Wm4::Vector3<float>;

/// Records linked from head to tail.
struct Chain {
    Record* head;
    Record* tail;
    std::size_t segmentCount;
};

/// The records that end at each vertex, by index, in one flat list with prefix sums.
class EndsAtVertices {
public:
    EndsAtVertices(std::size_t vertexCount,
                   const std::vector<Record>& records,
                   const unsigned int* indices)
        : first_(vertexCount + 1, 0), records_(2 * records.size()) {
        const auto forEachEnd = [&](auto&& visit) {
            for (std::size_t i = 0; i < records.size(); ++i) {
                visit(indices[records[i].first], i);
                visit(indices[records[i].end - 1], i);
            }
        };
        forEachEnd([&](unsigned int vertex, std::size_t) { ++first_[vertex + std::size_t{1}]; });
        std::partial_sum(first_.begin(), first_.end(), first_.begin());
        std::vector<std::size_t> next(first_.begin(), first_.end() - 1);
        forEachEnd(
            [&](unsigned int vertex, std::size_t record) { records_[next[vertex]++] = record; });
    }

    const std::size_t* begin(unsigned int vertex) const { return records_.data() + first_[vertex]; }
    const std::size_t* end(unsigned int vertex) const {
        return records_.data() + first_[vertex + 1];
    }
    std::size_t count(unsigned int vertex) const { return first_[vertex + 1] - first_[vertex]; }

private:
    std::vector<std::size_t> first_;
    std::vector<std::size_t> records_;
};

/// The records at a vertex where many end: those that leave it in a direction, and the others.
struct Hub {
    DirectionTree directions;
    std::vector<std::size_t> undirected;
};

bool IsFinite(const Point& point) {
    return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

class RunJoiner {
public:
    RunJoiner(const kx::kxVertexBuffer& vertices,
              unsigned int* indices,
              std::vector<bool>& straightLineFlags,
              std::vector<unsigned char>* tags,
              std::vector<Record>& records)
        : vertices_(vertices), indices_(indices), flags_(straightLineFlags), tags_(tags),
          records_(records),
          ends_(static_cast<std::size_t>(vertices.GetVertexQuantity()), records, indices),
          owners_(records.size()) {
        chains_.reserve(records.size());
        for (Record& record : records) {
            chains_.push_back({&record, &record, (record.end - record.first) / 2});
        }
    }

    void run() {
        for (std::size_t record = 0; record < records_.size(); ++record) {
            const std::size_t number = ownerOf(record);
            const Chain& chain = chains_[number];
            const bool loose = chain.head->kind == 0 && chain.segmentCount > 2;
            if (isHead(record) && !loose && !isClosed(chain)) {
                extend(number);
            }
        }
    }

private:
    unsigned int firstVertex(const Chain& chain) const { return indices_[chain.head->first]; }
    unsigned int lastVertex(const Chain& chain) const { return indices_[chain.tail->end - 1]; }
    bool isClosed(const Chain& chain) const { return firstVertex(chain) == lastVertex(chain); }
    bool flagOf(const Chain& chain) const { return flags_[chain.head->first / 2]; }
    bool isHead(std::size_t record) const { return records_[record].prev == nullptr; }

    /// The chain that a record has been joined into; at first each record is a chain by itself.
    std::size_t ownerOf(std::size_t record) {
        return owners_.find(static_cast<std::uint32_t>(record));
    }

    void extend(std::size_t number) {
        straight_ = flagOf(chains_[number]);
        system_.reset();
        for (const Record* record = chains_[number].head; record != nullptr;
             record = record->next) {
            for (std::uint32_t i = record->first; i < record->end; i += 2) {
                add(system_, indices_[i], indices_[i + 1], false);
            }
        }
        while (joinAt(number, lastVertex(chains_[number]), false)) {
        }
        while (joinAt(number, frontVertex(number), true)) {
        }
        reversed_ = false;
    }

    /// The vertex at the front end of the sums. Once a chain has grown there, it is reversed.
    unsigned int frontVertex(std::size_t number) const {
        return reversed_ ? lastVertex(chains_[number]) : firstVertex(chains_[number]);
    }

    void add(FittingSystem& system, unsigned int from, unsigned int to, bool atFront) const {
        system.addToSystem(vertices_.Position3(static_cast<int>(from)),
                           vertices_.Position3(static_cast<int>(to)), atFront, !straight_);
    }

    /// Joins the straightest chain that fits at a free end of a chain; false when none does.
    bool joinAt(std::size_t number, unsigned int vertex, bool atFront) {
        if (isClosed(chains_[number])) {
            return false;
        }
        const auto tryJoin = [&](std::size_t other) {
            FittingSystem trial = system_;
            if (!fits(trial, chains_[other], vertex, atFront)) {
                return false;
            }
            system_ = trial;
            updateHubs(vertex, chains_[number], chains_[other]);
            join(number, other, vertex, atFront);
            return true;
        };
        return ends_.count(vertex) <= LineTuning::kFewEnds ? tryFew(number, vertex, tryJoin)
                                                           : tryMany(number, vertex, tryJoin);
    }

    /// Tries the chains that may continue a chain beyond a vertex, the straightest first, until one
    /// is joined.
    template <class TryJoin>
    bool tryFew(std::size_t number, unsigned int vertex, const TryJoin& tryJoin) {
        const Point direction = outwardDirection(chains_[number], vertex) * -1.0F;
        std::vector<std::pair<float, std::size_t>> ordered;
        for (const std::size_t* end = ends_.begin(vertex); end != ends_.end(vertex); ++end) {
            const std::size_t other = ownerOf(*end);
            if (isHead(*end) && isCandidate(number, other, vertex)) {
                const float cosine = direction.Dot(outwardDirection(chains_[other], vertex));
                ordered.emplace_back(std::isnan(cosine) ? 2.0F : -cosine, other);
            }
        }
        std::sort(ordered.begin(), ordered.end());
        return std::any_of(
            ordered.begin(), ordered.end(),
            [&](const std::pair<float, std::size_t>& entry) { return tryJoin(entry.second); });
    }

    /// As tryFew(), at a vertex where many records end.
    template <class TryJoin>
    bool tryMany(std::size_t number, unsigned int vertex, const TryJoin& tryJoin) {
        int trials = 0;
        bool isJoined = false;
        const auto visit = [&](std::size_t record) {
            const std::size_t other = ownerOf(record);
            isJoined = isHead(record) && isCandidate(number, other, vertex) && tryJoin(other);
            return isJoined || ++trials == LineTuning::kMostTrials;
        };
        const Hub& hub = hubAt(vertex);
        const Point outward = outwardDirection(chains_[number], vertex);
        const Point query = IsFinite(outward) ? outward * -1.0F : Point(0.0F, 0.0F, 0.0F);
        return (hub.directions.search(query, boundsOf(chains_[number]), visit) ||
                std::any_of(hub.undirected.begin(), hub.undirected.end(), visit)) &&
               isJoined;
    }

    /// Bounds on the direction of any continuation of a chain that can fit.
    ///
    /// Straight runs: the sum of sin^2 between n + 1 directions and any axis is at least that of
    /// the last two, 1 - |cosine| between them, and must be below n + 1 times a limit. Unless that
    /// is large, all directions are near an axis and none points back along the first, so the
    /// cosine is positive. Arcs: two chords that subtend s and t turn by (s + t) / 2; their fan has
    /// (sin s + sin t) / (s + t) of the sector's area, which must be at least 0.825 and is less
    /// for turns of more than 61 degrees. Two single segments sweep s + t, at least 22.5 degrees.
    DirectionBounds boundsOf(const Chain& chain) const {
        constexpr float kAnyCosine = 2.0F;
        if (straight_) {
            const float spread =
                fit_tolerances::kStraightSpread * static_cast<float>(chain.segmentCount + 1);
            const float cosine = 1.0F - spread - fit_tolerances::kCosineRounding;
            return {spread < fit_tolerances::kLargeSpread ? cosine : -kAnyCosine, kAnyCosine};
        }
        return chain.segmentCount == 1 ? DirectionBounds{fit_tolerances::kCosineOf62Degrees,
                                                         fit_tolerances::kCosineOf11Degrees}
                                       : DirectionBounds{-kAnyCosine, kAnyCosine};
    }

    Hub& hubAt(unsigned int vertex) {
        const auto found = hubs_.find(vertex);
        if (found != hubs_.end()) {
            return found->second;
        }
        std::vector<DirectionTree::Entry> entries;
        std::vector<std::size_t> undirected;
        for (const std::size_t* end = ends_.begin(vertex); end != ends_.end(vertex); ++end) {
            Record& record = records_[*end];
            const Point direction = outwardDirection({&record, &record, 0}, vertex);
            if (IsFinite(direction)) {
                entries.push_back({direction, static_cast<std::uint32_t>(*end), isAlone(*end)});
            } else {
                undirected.push_back(*end);
            }
        }
        return hubs_.emplace(vertex, Hub{DirectionTree(std::move(entries)), std::move(undirected)})
            .first->second;
    }

    /// Whether a record is a chain of one segment.
    bool isAlone(std::size_t record) const {
        const Record& r = records_[record];
        return r.end - r.first == 2 && r.prev == nullptr && r.next == nullptr;
    }

    /// Updates the direction trees for a join at a vertex: the two records that meet there no
    /// longer end at it, and are no longer single segments at their other ends.
    void updateHubs(unsigned int vertex, const Chain& chain, const Chain& other) {
        for (const Chain* const joined : {&chain, &other}) {
            const Record& record = firstVertex(*joined) == vertex ? *joined->head : *joined->tail;
            const auto number = static_cast<std::uint32_t>(&record - records_.data());
            for (const unsigned int end : {indices_[record.first], indices_[record.end - 1]}) {
                const auto hub = hubs_.find(end);
                if (hub != hubs_.end() && end == vertex) {
                    hub->second.directions.remove(number);
                } else if (hub != hubs_.end()) {
                    hub->second.directions.setJoined(number);
                }
            }
        }
    }

    /// Whether a chain whose head record ends at a vertex may continue another chain there.
    bool isCandidate(std::size_t number, std::size_t other, unsigned int vertex) const {
        const Chain& r = chains_[number];
        const Chain& o = chains_[other];
        const bool ends = firstVertex(o) == vertex || (o.head == o.tail && lastVertex(o) == vertex);
        if (other == number || !ends || isClosed(o) || flagOf(o) != straight_ ||
            (r.head->kind | o.head->kind) == (kArcKind | kStraightKind)) {
            return false;
        }
        return !closeLoop(r, o) || r.head->kind != o.head->kind || r.head->first < o.head->first;
    }

    bool closeLoop(const Chain& r, const Chain& o) const {
        return std::minmax({firstVertex(r), lastVertex(r)}) ==
               std::minmax({firstVertex(o), lastVertex(o)});
    }

    /// The unit direction in which a chain leaves its end at a vertex: that of the first segment
    /// there of non-zero length. NaN if there is none.
    Point outwardDirection(const Chain& chain, unsigned int vertex) const {
        const Point& from = vertices_.Position3(static_cast<int>(vertex));
        const Point* to = &from;
        forEachSegmentFrom(chain, vertex, [&](unsigned int, unsigned int next) {
            to = &vertices_.Position3(static_cast<int>(next));
            return *to == from;
        });
        const Point direction = *to - from;
        // Propagates NaN, which the vector class's own normalisation does not.
        const float length = std::sqrt(direction.SquaredLength());
        return {direction[0] / length, direction[1] / length, direction[2] / length};
    }

    /// Calls visit(from, to) for the segments of a chain, starting from its end at a vertex, while
    /// it returns true; returns whether all segments were visited.
    template <class Visit>
    bool forEachSegmentFrom(const Chain& chain, unsigned int vertex, Visit visit) const {
        if (firstVertex(chain) == vertex) {
            for (const Record* record = chain.head; record != nullptr; record = record->next) {
                for (std::uint32_t i = record->first; i < record->end; i += 2) {
                    if (!visit(indices_[i], indices_[i + 1])) {
                        return false;
                    }
                }
            }
            return true;
        }
        for (const Record* record = chain.tail; record != nullptr; record = record->prev) {
            for (std::uint32_t i = record->end; i > record->first; i -= 2) {
                if (!visit(indices_[i - 1], indices_[i - 2])) {
                    return false;
                }
            }
        }
        return true;
    }

    /// Adds a chain, starting from its end at a vertex, and tests the fit after each segment.
    bool fits(FittingSystem& trial, const Chain& chain, unsigned int vertex, bool atFront) const {
        float angle = 0.0F;
        const auto accepts = [&](unsigned int from, unsigned int to) {
            add(trial, from, to, atFront);
            return straight_ ? trial.fitLine() : !trial.couldFitCircle() || trial.fitCircle(&angle);
        };
        if (!forEachSegmentFrom(chain, vertex, accepts)) {
            return false;
        }
        return straight_ || angle >= kLeastArcAngle;
    }

    /// Appends a chain that ends at the vertex to the chain that grows there.
    void join(std::size_t number, std::size_t other, unsigned int vertex, bool atFront) {
        Chain& chain = chains_[number];
        Chain& next = chains_[other];
        if (atFront && !reversed_) {
            reverse(chain);
            reversed_ = true;
        }
        if (firstVertex(next) != vertex) {
            reverse(next);
        }
        // Straight runs may begin with a clear flag and arcs with a set one; all records of a chain
        // that fits get the same kind.
        if (chain.head->kind != kindOfFit()) {
            markChain(chain);
        }
        markChain(next);
        chain.tail->next = next.head;
        next.head->prev = chain.tail;
        chain.tail = next.tail;
        chain.segmentCount += next.segmentCount;
        owners_.merge(static_cast<std::uint32_t>(number), static_cast<std::uint32_t>(other));
    }

    void markChain(const Chain& chain) const {
        for (Record* record = chain.head; record != nullptr; record = record->next) {
            record->kind = kindOfFit();
        }
    }

    std::uint32_t kindOfFit() const { return straight_ ? kStraightKind : kArcKind; }

    /// Reverses every record and the order of the links, so that the chain stays connected.
    void reverse(Chain& chain) {
        chain.head->reverseIndexBuffer(indices_, &flags_, tags_);
        for (Record* record = chain.head; record != nullptr; record = record->prev) {
            std::swap(record->prev, record->next);
        }
        std::swap(chain.head, chain.tail);
    }

    const kx::kxVertexBuffer& vertices_;
    unsigned int* indices_;
    std::vector<bool>& flags_;
    std::vector<unsigned char>* tags_;
    std::vector<Record>& records_;
    EndsAtVertices ends_;
    std::map<unsigned int, Hub> hubs_;
    detail::UnionFind owners_;
    std::vector<Chain> chains_;
    FittingSystem system_;
    bool straight_ = false;
    bool reversed_ = false;
};

} // namespace

void JoinRuns(const kx::kxVertexBuffer& vertices,
              unsigned int* indices,
              std::vector<bool>& straightLineFlags,
              std::vector<unsigned char>* tags,
              std::vector<LineSegmentSet::ArcFeature>& records) {
    RunJoiner(vertices, indices, straightLineFlags, tags, records).run();
}

} // namespace ctr
