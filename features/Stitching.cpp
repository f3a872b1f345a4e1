// Clusters of places with a union-find structure in which the cluster with fewer triangles around
// it moves, so that each triangle is looked at a logarithmic number of times.
#include "features/Stitching.h"

#include <ctr/detail/UnionFind.h>

#include "features/Bounds.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

namespace ctr {
namespace {

constexpr std::uint32_t kNoCluster = std::numeric_limits<std::uint32_t>::max();

/// A gap of exactly the distance passes, although its square is rounded.
constexpr double kRounding = 1.0 + 1e-12;

Wm4::Vector3<double> NormalOf(const std::array<Wm4::Vector3<double>, 3>& corners) {
    return (corners[1] - corners[0]).Cross(corners[2] - corners[0]);
}

class Stitcher {
public:
    Stitcher(const std::vector<OpenEdge>& edges, const SurfaceView& surface, double distance)
        : edges_(edges), surface_(surface), distance_(distance),
          clusterOf_(surface.sides.vertexCount(), kNoCluster) {}

    Stitches run(const std::vector<EdgePair>& pairs) {
        makeClusters(pairs);
        gatherTriangles();
        findBoxes();
        roots_ = detail::UnionFind(clusters_.size());
        Stitches stitches;
        for (const EdgePair& pair : pairs) {
            if (join(pair)) {
                ++stitches.joinedEdges;
                stitches.widestGap = pair.gap;
            }
        }
        stitches.targets.resize(surface_.sides.vertexCount());
        std::iota(stitches.targets.begin(), stitches.targets.end(), 0U);
        for (const Cluster& cluster : clusters_) {
            const std::uint32_t target = clusters_[rootOf(cluster.place)].place;
            stitches.targets[cluster.place] = target;
            stitches.movedPlaces += target != cluster.place ? 1 : 0;
        }
        return stitches;
    }

private:
    struct Cluster {
        std::uint32_t place;    ///< Its members are where this one is.
        std::uint32_t next;     ///< The members of a cluster form a ring.
        std::uint32_t firstUse; ///< Of the place alone: a range of uses_.
        std::uint32_t usesEnd;
        std::size_t weight; ///< The uses of all members.
        Bounds box;         ///< Where all members were before the repair.
    };

    void addPlace(std::uint32_t place) {
        if (clusterOf_[place] == kNoCluster) {
            const auto number = static_cast<std::uint32_t>(clusters_.size());
            clusterOf_[place] = number;
            clusters_.push_back({place, number, 0, 0, 0, Bounds()});
        }
    }

    /// One cluster for every place that may move.
    void makeClusters(const std::vector<EdgePair>& pairs) {
        for (const EdgePair& pair : pairs) {
            for (const std::uint32_t number : {pair.first, pair.second}) {
                addPlace(edges_[number].from);
                addPlace(edges_[number].to);
            }
        }
    }

    template <class Visitor> void forEachUse(const Visitor& visit) const {
        for (std::uint32_t corner = 0; corner < surface_.sides.cornerCount(); ++corner) {
            const std::uint32_t cluster = clusterOf_[surface_.sides.placeAt(corner)];
            if (cluster != kNoCluster) {
                visit(cluster, corner);
            }
        }
    }

    /// Finds the triangles around every place that may move, by a counting sort.
    void gatherTriangles() {
        forEachUse([this](std::uint32_t cluster, std::uint32_t) { ++clusters_[cluster].usesEnd; });
        std::uint32_t sum = 0;
        for (Cluster& cluster : clusters_) {
            cluster.weight = cluster.usesEnd;
            cluster.firstUse = sum;
            sum += cluster.usesEnd;
            cluster.usesEnd = cluster.firstUse;
        }
        uses_.resize(sum);
        forEachUse([this](std::uint32_t cluster, std::uint32_t corner) {
            uses_[clusters_[cluster].usesEnd++] = corner / 3;
        });
    }

    void findBoxes() {
        forEachUse([this](std::uint32_t cluster, std::uint32_t corner) {
            clusters_[cluster].box.add(originOf(corner));
            clusters_[cluster].box.add(positionOf(clusters_[cluster].place));
        });
    }

    Wm4::Vector3<double> originOf(std::uint32_t corner) const {
        return InDoubles(surface_.origins[surface_.triangles.GetData()[corner]]);
    }

    Wm4::Vector3<double> positionOf(std::uint32_t place) const {
        return InDoubles(surface_.sides.position(place));
    }

    std::uint32_t rootOf(std::uint32_t place) { return roots_.find(clusterOf_[place]); }

    bool join(const EdgePair& pair) {
        const OpenEdge& a = edges_[pair.first];
        const OpenEdge& b = edges_[pair.second];
        const bool starts = unite(a.from, pair.sameWay ? b.from : b.to);
        const bool ends = unite(a.to, pair.sameWay ? b.to : b.from);
        return starts && ends;
    }

    /// Whether the places are one afterwards.
    bool unite(std::uint32_t placeA, std::uint32_t placeB) {
        std::uint32_t stays = rootOf(placeA);
        std::uint32_t moves = rootOf(placeB);
        if (stays == moves) {
            return true;
        }
        const std::size_t weightA = clusters_[stays].weight;
        const std::size_t weightB = clusters_[moves].weight;
        if (weightB > weightA ||
            (weightB == weightA && clusters_[moves].place < clusters_[stays].place)) {
            std::swap(stays, moves);
        }
        Bounds box = clusters_[stays].box;
        box.add(clusters_[moves].box);
        const Wm4::Vector3<double> size = box.size();
        if (size.Dot(size) > kRounding * distance_ * distance_ || !mayMove(moves, stays)) {
            return false;
        }
        clusters_[stays].box = box;
        clusters_[stays].weight += clusters_[moves].weight;
        roots_.merge(stays, moves);
        std::swap(clusters_[moves].next, clusters_[stays].next);
        return true;
    }

    /// Whether every triangle around a cluster stays one that looks the same way when the cluster
    /// goes where another one is.
    bool mayMove(std::uint32_t moves, std::uint32_t stays) {
        std::uint32_t member = moves;
        do {
            for (std::uint32_t i = clusters_[member].firstUse; i < clusters_[member].usesEnd; ++i) {
                if (!staysUpright(uses_[i], moves, stays)) {
                    return false;
                }
            }
            member = clusters_[member].next;
        } while (member != moves);
        return true;
    }

    bool staysUpright(std::uint32_t triangle, std::uint32_t moves, std::uint32_t stays) {
        std::array<Wm4::Vector3<double>, 3> before;
        std::array<Wm4::Vector3<double>, 3> after;
        std::size_t touched = 0;
        for (std::uint32_t i = 0; i < 3; ++i) {
            const std::uint32_t corner = 3 * triangle + i;
            std::uint32_t place = surface_.sides.placeAt(corner);
            if (clusterOf_[place] != kNoCluster) {
                const std::uint32_t root = rootOf(place);
                touched += root == moves || root == stays ? 1 : 0;
                place = clusters_[root == moves ? stays : root].place;
            }
            before[i] = originOf(corner);
            after[i] = positionOf(place);
        }
        return touched == 1 && NormalOf(before).Dot(NormalOf(after)) > 0.0;
    }

    const std::vector<OpenEdge>& edges_;
    const SurfaceView& surface_;
    double distance_;
    std::vector<std::uint32_t> clusterOf_; ///< Of each place; a place that cannot move has none.
    std::vector<Cluster> clusters_;
    detail::UnionFind roots_;         ///< Of clusters.
    std::vector<std::uint32_t> uses_; ///< The triangles around each place.
};

} // namespace

Stitches StitchPairs(const std::vector<EdgePair>& pairs,
                     const std::vector<OpenEdge>& edges,
                     const SurfaceView& surface,
                     double distance) {
    return Stitcher(edges, surface, distance).run(pairs);
}

} // namespace ctr
