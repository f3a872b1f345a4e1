// Joining, greedily and in record order.
//
// A chain first grows at its back until nothing fits there any more, then is turned once and grows
// where its front was; its sums go on from join to join, so a line of n short pieces costs n steps.
// At a vertex the straightest continuation is tried first, and a join is made only when the fit
// holds after every segment of the chain that is taken in: chains are long but never bend for it.
// A closed chain has no free end and is left alone. Where more than kLargestJunction chains end, a
// hub of spokes or a fan, nothing is joined, which bounds the number of trials.
#include "linesets/RunJoining.h"

#include <ctr/FittingSystem.h>

#include "linesets/RunFitting.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <utility>

namespace ctr {
namespace {

using Record = LineSegmentSet::ArcFeature;
using Point = Wm4::Vector3<float>;

constexpr std::size_t kLargestJunction = 16;

/// Records linked from head to tail.
struct Chain {
    Record* head;
    Record* tail;
    std::size_t segmentCount;
};

/// For every vertex the chains that end there, by number, as one flat list.
class EndsAtVertices {
public:
    EndsAtVertices(std::size_t vertexCount,
                   const std::vector<Record>& records,
                   const unsigned int* indices)
        : first_(vertexCount + 1, 0), chains_(2 * records.size()) {
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
            [&](unsigned int vertex, std::size_t chain) { chains_[next[vertex]++] = chain; });
    }

    const std::size_t* begin(unsigned int vertex) const { return chains_.data() + first_[vertex]; }
    const std::size_t* end(unsigned int vertex) const {
        return chains_.data() + first_[vertex + 1];
    }

private:
    std::vector<std::size_t> first_;
    std::vector<std::size_t> chains_;
};

class RunJoiner {
public:
    RunJoiner(const kx::kxVertexBuffer& vertices,
              unsigned int* indices,
              std::vector<bool>& straightLineFlags,
              std::vector<unsigned char>* tags,
              std::vector<Record>& records)
        : vertices_(vertices), indices_(indices), flags_(straightLineFlags), tags_(tags),
          ends_(static_cast<std::size_t>(vertices.GetVertexQuantity()), records, indices),
          owner_(records.size()) {
        chains_.reserve(records.size());
        for (Record& record : records) {
            chains_.push_back({&record, &record, (record.end - record.first) / 2});
        }
        std::iota(owner_.begin(), owner_.end(), std::size_t{0});
    }

    void run() {
        for (std::size_t number = 0; number < chains_.size(); ++number) {
            const Chain& chain = chains_[number];
            const bool loose = chain.head->kind == 0 && chain.segmentCount > 2;
            if (owner_[number] == number && !loose && !isClosed(chain)) {
                extend(number);
            }
        }
    }

private:
    unsigned int firstVertex(const Chain& chain) const { return indices_[chain.head->first]; }
    unsigned int lastVertex(const Chain& chain) const { return indices_[chain.tail->end - 1]; }
    bool isClosed(const Chain& chain) const { return firstVertex(chain) == lastVertex(chain); }
    bool flagOf(const Chain& chain) const { return flags_[chain.head->first / 2]; }

    /// The chain that a chain has been joined into.
    std::size_t ownerOf(std::size_t number) {
        while (owner_[number] != number) {
            owner_[number] = owner_[owner_[number]];
            number = owner_[number];
        }
        return number;
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
        turned_ = false;
    }

    /// The vertex at the front end of the sums: the chain has been turned once it has grown there.
    unsigned int frontVertex(std::size_t number) const {
        return turned_ ? lastVertex(chains_[number]) : firstVertex(chains_[number]);
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
        for (const std::size_t candidate : candidatesAt(number, vertex)) {
            FittingSystem trial = system_;
            if (fits(trial, chains_[candidate], vertex, atFront)) {
                system_ = trial;
                join(number, candidate, vertex, atFront);
                return true;
            }
        }
        return false;
    }

    /// Chains that could continue a chain beyond a vertex, the straightest first.
    std::vector<std::size_t> candidatesAt(std::size_t number, unsigned int vertex) {
        std::vector<std::size_t> candidates;
        const std::size_t* begin = ends_.begin(vertex);
        const std::size_t* end = ends_.end(vertex);
        if (static_cast<std::size_t>(end - begin) > kLargestJunction) {
            return candidates;
        }
        const Point direction = outwardDirection(chains_[number], vertex) * -1.0F;
        std::vector<std::pair<float, std::size_t>> ordered;
        for (; begin != end; ++begin) {
            const std::size_t other = ownerOf(*begin);
            if (isCandidate(number, other, vertex)) {
                const float cosine = direction.Dot(outwardDirection(chains_[other], vertex));
                ordered.emplace_back(std::isnan(cosine) ? 2.0F : -cosine, other);
            }
        }
        std::sort(ordered.begin(), ordered.end());
        std::transform(ordered.begin(), ordered.end(), std::back_inserter(candidates),
                       [](const std::pair<float, std::size_t>& entry) { return entry.second; });
        return candidates;
    }

    bool isCandidate(std::size_t number, std::size_t other, unsigned int vertex) const {
        const Chain& r = chains_[number];
        const Chain& o = chains_[other];
        const bool ends = firstVertex(o) == vertex || lastVertex(o) == vertex;
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

    /// The unit direction in which a chain leaves its end at a vertex.
    Point outwardDirection(const Chain& chain, unsigned int vertex) const {
        const bool atFirst = firstVertex(chain) == vertex;
        const unsigned int other =
            atFirst ? indices_[chain.head->first + 1] : indices_[chain.tail->end - 2];
        const Point direction = vertices_.Position3(static_cast<int>(other)) -
                                vertices_.Position3(static_cast<int>(vertex));
        // Not a number stays one; the vector class would stop at it.
        const float length = std::sqrt(direction.SquaredLength());
        return {direction[0] / length, direction[1] / length, direction[2] / length};
    }

    /// Feeds a chain, walking away from a vertex, and tests the fit after every segment.
    bool fits(FittingSystem& trial, const Chain& chain, unsigned int vertex, bool atFront) const {
        float angle = 0.0F;
        const auto accepts = [&](unsigned int from, unsigned int to) {
            add(trial, from, to, atFront);
            return straight_ ? trial.fitLine() : !trial.couldFitCircle() || trial.fitCircle(&angle);
        };
        if (firstVertex(chain) == vertex) {
            for (const Record* record = chain.head; record != nullptr; record = record->next) {
                for (std::uint32_t i = record->first; i < record->end; i += 2) {
                    if (!accepts(indices_[i], indices_[i + 1])) {
                        return false;
                    }
                }
            }
        } else {
            for (const Record* record = chain.tail; record != nullptr; record = record->prev) {
                for (std::uint32_t i = record->end; i > record->first; i -= 2) {
                    if (!accepts(indices_[i - 1], indices_[i - 2])) {
                        return false;
                    }
                }
            }
        }
        return straight_ || angle >= kLeastArcAngle;
    }

    /// Appends a chain that ends at the vertex to the chain that grows there.
    void join(std::size_t number, std::size_t other, unsigned int vertex, bool atFront) {
        Chain& chain = chains_[number];
        Chain& next = chains_[other];
        if (atFront && !turned_) {
            turn(chain);
            turned_ = true;
        }
        if (firstVertex(next) != vertex) {
            turn(next);
        }
        // Straight runs may begin with a clear flag and arcs with a set one: what the fit has taken
        // for one whole becomes of one kind.
        if (chain.head->kind != kindOfFit()) {
            markChain(chain);
        }
        markChain(next);
        chain.tail->next = next.head;
        next.head->prev = chain.tail;
        chain.tail = next.tail;
        chain.segmentCount += next.segmentCount;
        owner_[other] = number;
    }

    void markChain(const Chain& chain) const {
        for (Record* record = chain.head; record != nullptr; record = record->next) {
            record->kind = kindOfFit();
        }
    }

    std::uint32_t kindOfFit() const { return straight_ ? kStraightKind : kArcKind; }

    /// Turns every record and the order of the links, so that the chain stays connected.
    void turn(Chain& chain) {
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
    EndsAtVertices ends_;
    std::vector<std::size_t> owner_;
    std::vector<Chain> chains_;
    FittingSystem system_;
    bool straight_ = false;
    bool turned_ = false;
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
