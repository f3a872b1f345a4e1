// Clusters of merged points in a union-find structure (ctr/detail/UnionFind.h). Of two clusters,
// the one with fewer triangles around it moves (union by weight), so that each triangle is checked
// O(log n) times. In doubles; a gap of exactly the distance is admitted (visibility/ErrorBounds.h).
// Merged points get the position of one of them, so no position is rounded.
#include "features/Stitching.h"

#include <ctr/detail/UnionFind.h>

#include "features/Bounds.h"
#include "visibility/ErrorBounds.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

namespace ctr {
namespace {

constexpr std::uint32_t kNoCluster = std::numeric_limits<std::uint32_t>::max();

Wm4::Vector3<double> NormalOf(const std::array<Wm4::Vector3<double>, 3>& corners) {
    return (corners[1] - corners[0]).Cross(corners[2] - corners[0]);
}

class Stitcher {
public:
    Stitcher(const std::vector<BoundaryEdge>& edges, const SurfaceView& surface, double distance)
        : edges_(edges), surface_(surface), distance_(distance),
          clusterOf_(surface.halfEdges.vertexCount(), kNoCluster) {}

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
        stitches.targets.resize(surface_.halfEdges.vertexCount());
        std::iota(stitches.targets.begin(), stitches.targets.end(), 0U);
        for (const Cluster& cluster : clusters_) {
            const std::uint32_t target = clusters_[rootOf(cluster.point)].point;
            stitches.targets[cluster.point] = target;
            stitches.movedPoints += target != cluster.point ? 1 : 0;
        }
        return stitches;
    }

private:
    struct Cluster {
        std::uint32_t point;    ///< All members are at its position.
        std::uint32_t next;     ///< The members of a cluster form a circular list.
        std::uint32_t firstUse; ///< The triangles around the point itself, a range of uses_.
        std::uint32_t usesEnd;
        std::size_t weight; ///< The number of triangles around all members.
        Bounds box;         ///< Of the positions of all members before the repair.
    };

    void addPoint(std::uint32_t point) {
        if (clusterOf_[point] == kNoCluster) {
            const auto number = static_cast<std::uint32_t>(clusters_.size());
            clusterOf_[point] = number;
            clusters_.push_back({point, number, 0, 0, 0, Bounds()});
        }
    }

    /// Makes one cluster per point that may move.
    void makeClusters(const std::vector<EdgePair>& pairs) {
        for (const EdgePair& pair : pairs) {
            for (const std::uint32_t number : {pair.first, pair.second}) {
                addPoint(edges_[number].from);
                addPoint(edges_[number].to);
            }
        }
    }

    template <class Visitor> void forEachUse(const Visitor& visit) const {
        for (std::uint32_t corner = 0; corner < surface_.halfEdges.cornerCount(); ++corner) {
            const std::uint32_t cluster = clusterOf_[surface_.halfEdges.pointAt(corner)];
            if (cluster != kNoCluster) {
                visit(cluster, corner);
            }
        }
    }

    /// Gathers the triangles around each point that may move, by a counting sort.
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
            clusters_[cluster].box.add(positionOf(clusters_[cluster].point));
        });
    }

    Wm4::Vector3<double> originOf(std::uint32_t corner) const {
        return InDoubles(surface_.origins[surface_.triangles.GetData()[corner]]);
    }

    Wm4::Vector3<double> positionOf(std::uint32_t point) const {
        return InDoubles(surface_.halfEdges.position(point));
    }

    std::uint32_t rootOf(std::uint32_t point) { return roots_.find(clusterOf_[point]); }

    bool join(const EdgePair& pair) {
        const BoundaryEdge& a = edges_[pair.first];
        const BoundaryEdge& b = edges_[pair.second];
        const bool starts = merge(a.from, pair.sameWay ? b.from : b.to);
        const bool ends = merge(a.to, pair.sameWay ? b.to : b.from);
        return starts && ends;
    }

    /// Merges the clusters of two points if allowed; whether they are merged afterwards.
    bool merge(std::uint32_t pointA, std::uint32_t pointB) {
        std::uint32_t stays = rootOf(pointA);
        std::uint32_t moves = rootOf(pointB);
        if (stays == moves) {
            return true;
        }
        const std::size_t weightA = clusters_[stays].weight;
        const std::size_t weightB = clusters_[moves].weight;
        if (weightB > weightA ||
            (weightB == weightA && clusters_[moves].point < clusters_[stays].point)) {
            std::swap(stays, moves);
        }
        Bounds box = clusters_[stays].box;
        box.add(clusters_[moves].box);
        const Wm4::Vector3<double> size = box.size();
        constexpr double kMore = 1.0 + error_bounds::kExactGapMargin;
        if (size.Dot(size) > kMore * distance_ * distance_ || !mayMove(moves, stays)) {
            return false;
        }
        clusters_[stays].box = box;
        clusters_[stays].weight += clusters_[moves].weight;
        roots_.merge(stays, moves);
        std::swap(clusters_[moves].next, clusters_[stays].next);
        return true;
    }

    /// Whether no triangle around a cluster degenerates or flips when the cluster moves to another.
    bool mayMove(std::uint32_t moves, std::uint32_t stays) {
        std::uint32_t member = moves;
        do {
            for (std::uint32_t i = clusters_[member].firstUse; i < clusters_[member].usesEnd; ++i) {
                if (!staysUnflipped(uses_[i], moves, stays)) {
                    return false;
                }
            }
            member = clusters_[member].next;
        } while (member != moves);
        return true;
    }

    bool staysUnflipped(std::uint32_t triangle, std::uint32_t moves, std::uint32_t stays) {
        std::array<Wm4::Vector3<double>, 3> before;
        std::array<Wm4::Vector3<double>, 3> after;
        std::size_t touched = 0;
        for (std::uint32_t i = 0; i < 3; ++i) {
            const std::uint32_t corner = 3 * triangle + i;
            std::uint32_t point = surface_.halfEdges.pointAt(corner);
            if (clusterOf_[point] != kNoCluster) {
                const std::uint32_t root = rootOf(point);
                touched += root == moves || root == stays ? 1 : 0;
                point = clusters_[root == moves ? stays : root].point;
            }
            before[i] = originOf(corner);
            after[i] = positionOf(point);
        }
        return touched == 1 && NormalOf(before).Dot(NormalOf(after)) > 0.0;
    }

    const std::vector<BoundaryEdge>& edges_;
    const SurfaceView& surface_;
    double distance_;
    std::vector<std::uint32_t> clusterOf_; ///< Of each point; kNoCluster if it cannot move.
    std::vector<Cluster> clusters_;
    detail::UnionFind roots_;         ///< Of clusters.
    std::vector<std::uint32_t> uses_; ///< The triangles around each point.
};

} // namespace

Stitches StitchPairs(const std::vector<EdgePair>& pairs,
                     const std::vector<BoundaryEdge>& edges,
                     const SurfaceView& surface,
                     double distance) {
    return Stitcher(edges, surface, distance).run(pairs);
}

} // namespace ctr
