// Rounds of looking at all edges anew and mending one kind of fault, until nothing is left to mend.
#include "features/SurfaceRepair.h"

#include "features/Bounds.h"
#include "features/EdgePairs.h"
#include "features/Junctions.h"
#include "features/OpenEdges.h"
#include "features/Stitching.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {
namespace {

/// Cracks that one round opens or cannot close yet are left to the next; more rounds than these
/// have never been seen to do anything.
constexpr int kMostRounds = 32;

/// A surface of pieces that meet in T-junctions needs fewer; heaps of edges on top of each other
/// could ask for the square of their number.
constexpr std::size_t kSplitsPerCorner = 2;

/// Of the diagonal of the surface's box: what counts as a crack on any surface. Noise of 1e-5 of
/// the size in each coordinate parts corners by up to 3.5e-5 of it; a sheet of 0.1 mm of 100 mm is
/// 7e-4 thick.
constexpr double kCrackOfSize = 2e-4;

/// Likewise, on surfaces that are cracked rather than bordered: most of their open edges run along
/// another one at a distance far below their lengths.
constexpr double kWideCrackOfSize = 5e-4;
constexpr std::size_t kCrackedPairs = 8; ///< Fewer pairs say nothing.

/// A gap is far below the length of an edge and the height of its triangle. Where the caller states
/// the distance, only an edge that would shrink to little is too short.
constexpr double kAutoShareOfLength = 0.125;
constexpr double kAutoShareOfHeight = 0.25;
constexpr double kStatedShare = 0.4;

/// Up to here, edges count as beside each other: of the diagonal, and of their lengths.
constexpr double kNearOfSize = 5e-3;
constexpr double kNearShare = 0.25;

/// Of the largest coordinate: decimals in files have six digits as a rule.
constexpr double kRoundingOfCoordinates = 4e-6;

bool ClosesNothing(const Welding& welding) {
    return welding.mode == Welding::Mode::Off ||
           (welding.mode == Welding::Mode::Distance &&
            !(welding.distance > 0.0 && std::isfinite(welding.distance)));
}

/// A new buffer with the vertices of another and room for more.
kx::kxPointer<kx::kxVertexBuffer> CopyOf(const kx::kxVertexBuffer& vertices, std::size_t room) {
    const int count = vertices.GetVertexQuantity();
    const bool normals = vertices.GetAttributes().GetNormalChannels() == 3;
    kx::kxPointer<kx::kxVertexBuffer> copy(
        new kx::kxVertexBuffer(vertices.GetAttributes(), count + static_cast<int>(room)));
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
        for (int round = 0; round < kMostRounds && mendOnce(); ++round) {
        }
        return report_;
    }

private:
    const kx::kxVertexBuffer& vertices() const { return *surface_.vertices(); }
    const kx::kxIndexBuffer& triangles() const { return *surface_.triangles(); }

    /// Whether something was mended.
    bool mendOnce() {
        const Sides& sides = surface_.sides();
        const EdgeSurvey survey = SurveyEdges(sides);
        if (!survey.doubled.empty()) {
            dropTriangles(survey.doubled);
            return true;
        }
        report_.edges = survey.edges;
        report_.openEdges = survey.open.size();
        report_.crowdedEdges = survey.crowded;
        if (survey.open.empty() || ClosesNothing(welding_)) {
            return false;
        }
        const std::vector<OpenEdge> edges =
            MeasureOpenEdges(survey, sides, vertices(), triangles());
        const bool isFirst = origins_.empty();
        if (isFirst) {
            noteOrigins();
            splitsLeft_ = kSplitsPerCorner * sides.cornerCount();
            findBounds();
            chooseRule();
        }
        std::vector<EdgePair> pairs = FindEdgePairs(edges, rule_);
        // Where nearly all open edges have a partner so near, none is sought farther away.
        if (isFirst && welding_.mode == Welding::Mode::Automatic &&
            20 * pairs.size() < 9 * edges.size() && widen(edges)) {
            pairs = FindEdgePairs(edges, rule_);
        }
        if (stitch(pairs, edges, sides) || splitAtJunctions(edges, sides)) {
            return true;
        }
        countNear(edges);
        return false;
    }

    void noteOrigins() {
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
            rule_ = {welding_.distance, kStatedShare, kStatedShare};
        } else {
            rule_ = {
                std::max(kCrackOfSize * diagonal(), kRoundingOfCoordinates * largestCoordinate()),
                kAutoShareOfLength, kAutoShareOfHeight};
        }
    }

    /// Widens the distance where the surface is cracked; false where it is not.
    bool widen(const std::vector<OpenEdge>& edges) {
        const double wide = wideCrack(edges, kWideCrackOfSize * diagonal());
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

    /// The distance that closes the wide cracks of a cracked surface; 0 for any other. Corners that
    /// several cracks meet in may be twice as far apart as the widest gap.
    static double wideCrack(const std::vector<OpenEdge>& edges, double widest) {
        const std::vector<EdgePair> pairs =
            FindEdgePairs(edges, {widest, 0.5 * kAutoShareOfLength, 0.5 * kAutoShareOfHeight});
        const bool isCracked = pairs.size() >= kCrackedPairs && 4 * pairs.size() >= edges.size();
        return isCracked ? std::min(widest, 2.0 * pairs.back().gap) : 0.0;
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

    /// Whether something moved.
    bool stitch(const std::vector<EdgePair>& pairs,
                const std::vector<OpenEdge>& edges,
                const Sides& sides) {
        if (pairs.empty()) {
            return false;
        }
        const Stitches stitches =
            StitchPairs(pairs, edges, {vertices(), triangles(), sides, origins_}, rule_.distance);
        report_.joinedEdges += stitches.joinedEdges;
        report_.widestGap = std::max(report_.widestGap, stitches.widestGap);
        if (stitches.movedPlaces == 0) {
            return false;
        }
        const kx::kxPointer<kx::kxVertexBuffer> moved = CopyOf(vertices(), 0);
        for (int i = 0; i < moved->GetVertexQuantity(); ++i) {
            const std::uint32_t place = sides.placeOf(static_cast<std::uint32_t>(i));
            const std::uint32_t target = stitches.targets[place];
            if (target != place) {
                moved->Position3(i) = sides.position(target);
            }
        }
        surface_.replace(moved);
        return true;
    }

    void countNear(const std::vector<OpenEdge>& edges) {
        const std::vector<EdgePair> pairs =
            FindEdgePairs(edges, {kNearOfSize * diagonal(), kNearShare, kNearShare});
        report_.nearEdges = 2 * pairs.size();
        report_.widestNear = pairs.empty() ? 0.0 : pairs.back().gap;
    }

    /// Whether an edge was split.
    bool splitAtJunctions(const std::vector<OpenEdge>& edges, const Sides& sides) {
        const SurfaceView view{vertices(), triangles(), sides, origins_};
        const std::vector<Junction> junctions = FindJunctions(edges, view, rule_.distance);
        if (junctions.empty() || junctions.size() > splitsLeft_) {
            return false;
        }
        splitsLeft_ -= junctions.size();
        const SplitTriangles split = SplitAtJunctions(junctions, view);
        if (split.splitEdges == 0) {
            return false;
        }
        report_.splitEdges += split.splitEdges;
        surface_.replace(withAdded(split.added, sides));
        surface_.replace(TrianglesOf(split.indices));
        return true;
    }

    kx::kxPointer<kx::kxVertexBuffer> withAdded(const std::vector<AddedVertex>& added,
                                                const Sides& sides) {
        kx::kxPointer<kx::kxVertexBuffer> all = CopyOf(vertices(), added.size());
        int next = vertices().GetVertexQuantity();
        for (const AddedVertex& vertex : added) {
            all->Position3(next) = sides.position(vertex.place);
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
    std::vector<Wm4::Vector3<float>> origins_; ///< Of all vertices, once something may move.
    SurfaceReport report_;
};

} // namespace

SurfaceReport RepairSurface(SurfaceParts& surface, const Welding& welding) {
    return SurfaceRepairer(surface, welding).run();
}

} // namespace ctr
