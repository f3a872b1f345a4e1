// Repairs in rounds: each round classifies all edges and fixes one kind of fault (duplicate faces,
// then cracks between paired boundary edges, then T-junctions), until no round changes anything.
// O(n log n) per round, at most SurfaceTuning::kMostRounds rounds. Tolerances are in Tolerances.h,
// related work is named in ctr/Surface.h.
#include "features/SurfaceRepair.h"

#include "features/BoundaryEdges.h"
#include "features/Bounds.h"
#include "features/EdgePairs.h"
#include "features/Stitching.h"
#include "features/TJunctions.h"
#include "features/Tolerances.h"
#include "features/Tuning.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {
namespace {

namespace tolerances = surface_tolerances;

bool ClosesNothing(const Welding& welding) {
    return welding.mode == Welding::Mode::Off ||
           (welding.mode == Welding::Mode::Distance &&
            !(welding.distance > 0.0 && std::isfinite(welding.distance)));
}

/// A copy of a vertex buffer with space for more vertices.
kx::kxPointer<kx::kxVertexBuffer> CopyOf(const kx::kxVertexBuffer& vertices, std::size_t extra) {
    const int count = vertices.GetVertexQuantity();
    const bool normals = vertices.GetAttributes().GetNormalChannels() == 3;
    kx::kxPointer<kx::kxVertexBuffer> copy(
        new kx::kxVertexBuffer(vertices.GetAttributes(), count + static_cast<int>(extra)));
    for (int i = 0; i < count; ++i) {
        copy->Position3(i) = vertices.Position3(i);
        if (normals) {
            copy->Normal3(i) = vertices.Normal3(i);
        }
    }
    return copy;
}

kx::kxPointer<kx::kxIndexBuffer> TrianglesOf(const std::vector<std::uint32_t>& indices) {
    kx::kxPointer<kx::kxIndexBuffer> triangles(
        new kx::kxIndexBuffer(static_cast<int>(indices.size()), kx::IBT_TRIANGLES));
    std::copy(indices.begin(), indices.end(), triangles->GetData());
    return triangles;
}

class SurfaceRepairer {
public:
    SurfaceRepairer(SurfaceParts& surface, const Welding& welding)
        : surface_(surface), welding_(welding) {}

    SurfaceReport run() {
        for (int round = 0; round < SurfaceTuning::kMostRounds && repairOnce(); ++round) {
        }
        return report_;
    }

private:
    const kx::kxVertexBuffer& vertices() const { return *surface_.vertices(); }
    const kx::kxIndexBuffer& triangles() const { return *surface_.triangles(); }

    /// One round; whether it changed anything.
    bool repairOnce() {
        const HalfEdges& halfEdges = surface_.halfEdges();
        const EdgeClasses classes = ClassifyEdges(halfEdges);
        if (!classes.duplicates.empty()) {
            dropTriangles(classes.duplicates);
            return true;
        }
        report_.edges = classes.edges;
        report_.openEdges = classes.boundary.size();
        report_.nonManifoldEdges = classes.nonManifold;
        if (classes.boundary.empty() || ClosesNothing(welding_)) {
            return false;
        }
        const std::vector<BoundaryEdge> edges =
            MeasureBoundaryEdges(classes, halfEdges, vertices(), triangles());
        const bool isFirst = origins_.empty();
        if (isFirst) {
            storeOrigins();
            splitsLeft_ = SurfaceTuning::kSplitsPerCorner * halfEdges.cornerCount();
            findBounds();
            chooseRule();
        }
        std::vector<EdgePair> pairs = FindEdgePairs(edges, rule_);
        if (isFirst && welding_.mode == Welding::Mode::Automatic &&
            tolerances::kEdgesOfStitched * pairs.size() <
                tolerances::kPairsOfStitched * edges.size() &&
            widen(edges)) {
            pairs = FindEdgePairs(edges, rule_);
        }
        if (stitch(pairs, edges, halfEdges) || splitAtTJunctions(edges, halfEdges)) {
            return true;
        }
        countNear(edges);
        return false;
    }

    void storeOrigins() {
        origins_.reserve(static_cast<std::size_t>(vertices().GetVertexQuantity()));
        for (int i = 0; i < vertices().GetVertexQuantity(); ++i) {
            origins_.push_back(vertices().Position3(i));
        }
    }

    void findBounds() {
        const unsigned int* indices = triangles().GetData();
        for (int i = 0; i < triangles().GetIndexQuantity(); ++i) {
            bounds_.add(InDoubles(vertices().Position3(static_cast<int>(indices[i]))));
        }
    }

    void chooseRule() {
        if (welding_.mode == Welding::Mode::Distance) {
            rule_ = {welding_.distance, tolerances::kStatedShare, tolerances::kStatedShare};
        } else {
            rule_ = {std::max(tolerances::kCrackOfSize * diagonal(),
                              tolerances::kRoundingOfCoordinates * largestCoordinate()),
                     tolerances::kAutoShareOfLength, tolerances::kAutoShareOfHeight};
        }
    }

    /// Widens the distance if the surface is a cracked one; whether it did.
    bool widen(const std::vector<BoundaryEdge>& edges) {
        const double wide = wideCrack(edges, tolerances::kWideCrackOfSize * diagonal());
        if (wide <= rule_.distance) {
            return false;
        }
        rule_.distance = wide;
        return true;
    }

    double diagonal() const {
        const Wm4::Vector3<double> size = bounds_.size();
        return std::sqrt(size.Dot(size));
    }

    double largestCoordinate() const {
        double largest = 0.0;
        for (int axis = 0; axis < 3; ++axis) {
            largest = std::max({largest, std::abs(bounds_.min[axis]), std::abs(bounds_.max[axis])});
        }
        return largest;
    }

    /// The distance that closes the wide cracks of a cracked surface; 0 for any other.
    static double wideCrack(const std::vector<BoundaryEdge>& edges, double widest) {
        const std::vector<EdgePair> pairs = FindEdgePairs(
            edges, {widest, tolerances::kCrackedShare * tolerances::kAutoShareOfLength,
                    tolerances::kCrackedShare * tolerances::kAutoShareOfHeight});
        const bool isCracked = pairs.size() >= tolerances::kCrackedPairs &&
                               tolerances::kEdgesPerCrackedPair * pairs.size() >= edges.size();
        return isCracked ? std::min(widest, tolerances::kCornerOfGap * pairs.back().gap) : 0.0;
    }

    void dropTriangles(const std::vector<std::uint32_t>& dropped) {
        const unsigned int* indices = triangles().GetData();
        const auto count = static_cast<std::uint32_t>(triangles().GetIndexQuantity() / 3);
        std::vector<std::uint32_t> kept;
        kept.reserve(3 * (count - dropped.size()));
        auto next = dropped.begin();
        for (std::uint32_t triangle = 0; triangle < count; ++triangle) {
            if (next != dropped.end() && *next == triangle) {
                ++next;
            } else {
                const unsigned int* corner = indices + 3 * std::size_t{triangle};
                kept.insert(kept.end(), corner, corner + 3);
            }
        }
        surface_.replace(TrianglesOf(kept));
        report_.doubledFaces += dropped.size();
    }

    /// Closes cracks; whether a point moved.
    bool stitch(const std::vector<EdgePair>& pairs,
                const std::vector<BoundaryEdge>& edges,
                const HalfEdges& halfEdges) {
        if (pairs.empty()) {
            return false;
        }
        const Stitches stitches = StitchPairs(
            pairs, edges, {vertices(), triangles(), halfEdges, origins_}, rule_.distance);
        report_.joinedEdges += stitches.joinedEdges;
        report_.widestGap = std::max(report_.widestGap, stitches.widestGap);
        if (stitches.movedPoints == 0) {
            return false;
        }
        const kx::kxPointer<kx::kxVertexBuffer> moved = CopyOf(vertices(), 0);
        for (int i = 0; i < moved->GetVertexQuantity(); ++i) {
            const std::uint32_t point = halfEdges.pointOf(static_cast<std::uint32_t>(i));
            const std::uint32_t target = stitches.targets[point];
            if (target != point) {
                moved->Position3(i) = halfEdges.position(target);
            }
        }
        surface_.replace(moved);
        return true;
    }

    void countNear(const std::vector<BoundaryEdge>& edges) {
        const std::vector<EdgePair> pairs =
            FindEdgePairs(edges, {tolerances::kNearOfSize * diagonal(), tolerances::kNearShare,
                                  tolerances::kNearShare});
        report_.nearEdges = 2 * pairs.size();
        report_.widestNear = pairs.empty() ? 0.0 : pairs.back().gap;
    }

    /// Splits edges at T-junctions; whether an edge was split.
    bool splitAtTJunctions(const std::vector<BoundaryEdge>& edges, const HalfEdges& halfEdges) {
        const SurfaceView view{vertices(), triangles(), halfEdges, origins_};
        const std::vector<TJunction> junctions = FindTJunctions(edges, view, rule_.distance);
        if (junctions.empty() || junctions.size() > splitsLeft_) {
            return false;
        }
        splitsLeft_ -= junctions.size();
        const SplitTriangles split = SplitAtTJunctions(junctions, view);
        if (split.splitEdges == 0) {
            return false;
        }
        report_.splitEdges += split.splitEdges;
        surface_.replace(withAdded(split.added, halfEdges));
        surface_.replace(TrianglesOf(split.indices));
        return true;
    }

    kx::kxPointer<kx::kxVertexBuffer> withAdded(const std::vector<AddedVertex>& added,
                                                const HalfEdges& halfEdges) {
        kx::kxPointer<kx::kxVertexBuffer> all = CopyOf(vertices(), added.size());
        int next = vertices().GetVertexQuantity();
        for (const AddedVertex& vertex : added) {
            all->Position3(next) = halfEdges.position(vertex.point);
            origins_.push_back(all->Position3(next));
            if (all->GetAttributes().GetNormalChannels() == 3) {
                all->Normal3(next) = NormalBetween(*all, vertex);
            }
            ++next;
        }
        return all;
    }

    static Wm4::Vector3<float> NormalBetween(const kx::kxVertexBuffer& vertices,
                                             const AddedVertex& added) {
        const auto share = static_cast<float>(added.along);
        return vertices.Normal3(static_cast<int>(added.from)) * (1.0F - share) +
               vertices.Normal3(static_cast<int>(added.to)) * share;
    }

    SurfaceParts& surface_;
    const Welding& welding_;
    std::size_t splitsLeft_ = 0;
    Bounds bounds_; ///< Of the surface before any repair.
    PairRule rule_{};
    std::vector<Wm4::Vector3<float>> origins_; ///< Positions of all vertices before the repair.
    SurfaceReport report_;
};

} // namespace

SurfaceReport RepairSurface(SurfaceParts& surface, const Welding& welding) {
    return SurfaceRepairer(surface, welding).run();
}

} // namespace ctr
