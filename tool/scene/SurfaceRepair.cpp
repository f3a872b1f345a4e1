// Rounds of looking at all edges anew and mending one kind of fault, until nothing is left to mend.
#include "scene/SurfaceRepair.h"

#include "scene/Box.h"
#include "scene/EdgePairs.h"
#include "scene/Junctions.h"
#include "scene/ObjectShapes.h"
#include "scene/OpenEdges.h"
#include "scene/Placing.h"
#include "scene/Stitching.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <fmt/format.h>
#include <string>
#include <utility>

namespace kxcontour {
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

/// A gap is far below the length of an edge and the height of its triangle. Where the user states
/// the distance, only an edge that would shrink to little is too short.
constexpr double kAutoShareOfLength = 0.125;
constexpr double kAutoShareOfHeight = 0.25;
constexpr double kStatedShare = 0.4;

/// Up to here, edges count as beside each other: of the diagonal, and of their lengths.
constexpr double kNearOfSize = 5e-3;
constexpr double kNearShare = 0.25;

/// Of the largest coordinate: decimals in files have six digits as a rule.
constexpr double kRoundingOfCoordinates = 4e-6;

class SurfaceRepairer {
public:
    SurfaceRepairer(Shape& shape, const WeldRequest& request, double millimetresPerUnit)
        : shape_(shape), request_(request), millimetresPerUnit_(millimetresPerUnit) {}

    RepairedSurface run() {
        for (int round = 0; round < kMostRounds && mendOnce(); ++round) {
        }
        report_.widestGap *= millimetresPerUnit_;
        report_.widestNear *= millimetresPerUnit_;
        return {report_, std::move(sides_)};
    }

private:
    /// Whether something was mended.
    bool mendOnce() {
        sides_ = std::make_unique<const Sides>(*shape_.vertices, *shape_.triangles);
        const Sides& sides = *sides_;
        const EdgeSurvey survey = SurveyEdges(sides);
        if (!survey.doubled.empty()) {
            dropTriangles(survey.doubled);
            return true;
        }
        report_.edges = survey.edges;
        report_.openEdges = survey.open.size();
        report_.crowdedEdges = survey.crowded;
        if (survey.open.empty() || request_.mode == WeldRequest::Mode::Off) {
            return false;
        }
        const std::vector<OpenEdge> edges =
            MeasureOpenEdges(survey, sides, *shape_.vertices, *shape_.triangles);
        const bool isFirst = origins_.empty();
        if (isFirst) {
            noteOrigins();
            splitsLeft_ = kSplitsPerCorner * sides.cornerCount();
            box_ = BoxOf(shape_);
            chooseRule();
        }
        std::vector<EdgePair> pairs = FindEdgePairs(edges, rule_);
        // Where nearly all open edges have a partner so near, none is sought farther away.
        if (isFirst && request_.mode == WeldRequest::Mode::Auto &&
            20 * pairs.size() < 9 * edges.size() && widen(edges)) {
            pairs = FindEdgePairs(edges, rule_);
        }
        const SurfaceView surface{*shape_.vertices, *shape_.triangles, sides, origins_};
        if (stitch(pairs, edges, surface) || splitAtJunctions(edges, surface)) {
            return true;
        }
        countNear(edges);
        return false;
    }

    void noteOrigins() {
        const kx::kxVertexBuffer& vertices = *shape_.vertices;
        origins_.reserve(static_cast<std::size_t>(vertices.GetVertexQuantity()));
        for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
            origins_.push_back(vertices.Position3(i));
        }
    }

    void chooseRule() {
        if (request_.mode == WeldRequest::Mode::Length) {
            rule_ = {request_.millimetres / millimetresPerUnit_, kStatedShare, kStatedShare};
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
        const Wm4::Vector3<double> size = box_.size();
        return std::sqrt(size.Dot(size));
    }

    double largestCoordinate() const {
        double largest = 0.0;
        for (int axis = 0; axis < 3; ++axis) {
            largest = std::max({largest, std::abs(box_.min[axis]), std::abs(box_.max[axis])});
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
        unsigned int* indices = shape_.triangles->GetData();
        const auto count = static_cast<std::uint32_t>(shape_.triangles->GetIndexQuantity() / 3);
        std::uint32_t kept = 0;
        auto next = dropped.begin();
        for (std::uint32_t triangle = 0; triangle < count; ++triangle) {
            if (next != dropped.end() && *next == triangle) {
                ++next;
            } else {
                std::copy_n(indices + 3 * std::size_t{triangle}, 3,
                            indices + 3 * std::size_t{kept++});
            }
        }
        shape_.triangles->SetIndexQuantity(static_cast<int>(3 * kept));
        report_.doubledFaces += dropped.size();
    }

    /// Whether something moved.
    bool stitch(const std::vector<EdgePair>& pairs,
                const std::vector<OpenEdge>& edges,
                const SurfaceView& surface) {
        if (pairs.empty()) {
            return false;
        }
        const Stitches stitches = StitchPairs(pairs, edges, surface, rule_.distance);
        report_.joinedEdges += stitches.joinedEdges;
        report_.widestGap = std::max(report_.widestGap, stitches.widestGap);
        if (stitches.movedPlaces == 0) {
            return false;
        }
        const Places& places = surface.sides.places();
        for (int i = 0; i < shape_.vertices->GetVertexQuantity(); ++i) {
            const std::uint32_t place = places.ofVertex(static_cast<unsigned int>(i));
            const std::uint32_t target = stitches.targets[place];
            if (target != place) {
                moveTo(i, places.position(target));
            }
        }
        return true;
    }

    void countNear(const std::vector<OpenEdge>& edges) {
        const std::vector<EdgePair> pairs =
            FindEdgePairs(edges, {kNearOfSize * diagonal(), kNearShare, kNearShare});
        report_.nearEdges = 2 * pairs.size();
        report_.widestNear = pairs.empty() ? 0.0 : pairs.back().gap;
    }

    void moveTo(int vertex, const PositionBits& bits) {
        shape_.vertices->Position3(vertex) = {std::bit_cast<float>(bits[0]),
                                              std::bit_cast<float>(bits[1]),
                                              std::bit_cast<float>(bits[2])};
    }

    /// Whether an edge was split.
    bool splitAtJunctions(const std::vector<OpenEdge>& edges, const SurfaceView& surface) {
        const std::vector<Junction> junctions = FindJunctions(edges, surface, rule_.distance);
        if (junctions.empty() || junctions.size() > splitsLeft_) {
            return false;
        }
        splitsLeft_ -= junctions.size();
        const SplitTriangles split = SplitAtJunctions(junctions, surface);
        if (split.splitEdges == 0) {
            return false;
        }
        report_.splitEdges += split.splitEdges;
        addVertices(split.added, surface.sides.places());
        kx::kxPointer<kx::kxIndexBuffer> triangles(
            new kx::kxIndexBuffer(static_cast<int>(split.indices.size()), kx::IBT_TRIANGLES));
        std::copy(split.indices.begin(), split.indices.end(), triangles->GetData());
        shape_.triangles = triangles;
        return true;
    }

    void addVertices(const std::vector<AddedVertex>& added, const Places& places) {
        const kx::kxPointer<kx::kxVertexBuffer> before = shape_.vertices;
        const int count = before->GetVertexQuantity();
        const bool normals = before->GetAttributes().GetNormalChannels() == 3;
        shape_.vertices =
            new kx::kxVertexBuffer(before->GetAttributes(), count + static_cast<int>(added.size()));
        for (int i = 0; i < count; ++i) {
            shape_.vertices->Position3(i) = before->Position3(i);
            if (normals) {
                shape_.vertices->Normal3(i) = before->Normal3(i);
            }
        }
        int next = count;
        for (const AddedVertex& vertex : added) {
            moveTo(next, places.position(vertex.place));
            origins_.push_back(shape_.vertices->Position3(next));
            if (normals) {
                shape_.vertices->Normal3(next) = normalBetween(vertex);
            }
            ++next;
        }
    }

    Wm4::Vector3<float> normalBetween(const AddedVertex& vertex) const {
        const auto share = static_cast<float>(vertex.along);
        return shape_.vertices->Normal3(static_cast<int>(vertex.from)) * (1.0F - share) +
               shape_.vertices->Normal3(static_cast<int>(vertex.to)) * share;
    }

    Shape& shape_;
    const WeldRequest& request_;
    double millimetresPerUnit_;
    std::unique_ptr<const Sides> sides_;
    std::size_t splitsLeft_ = 0;
    Box box_; ///< Of the surface before any repair.
    PairRule rule_{};
    std::vector<Wm4::Vector3<float>> origins_; ///< Of all vertices, once something may move.
    SurfaceReport report_;
};

/// The longest of the vectors that a matrix takes the axes to.
double LargestStretch(const Wm4::Matrix4<double>& world) {
    double squared = 0.0;
    for (int row = 0; row < 3; ++row) {
        squared = std::max(squared, world[row][0] * world[row][0] + world[row][1] * world[row][1] +
                                        world[row][2] * world[row][2]);
    }
    return std::sqrt(squared);
}

} // namespace

SurfaceReport& SurfaceReport::operator+=(const SurfaceReport& other) {
    edges += other.edges;
    openEdges += other.openEdges;
    crowdedEdges += other.crowdedEdges;
    nearEdges += other.nearEdges;
    joinedEdges += other.joinedEdges;
    splitEdges += other.splitEdges;
    doubledFaces += other.doubledFaces;
    widestGap = std::max(widestGap, other.widestGap);
    widestNear = std::max(widestNear, other.widestNear);
    return *this;
}

bool IsCracked(const SurfaceReport& report) {
    constexpr std::size_t kFewEdges = 20;
    return report.nearEdges >= kFewEdges && 10 * report.nearEdges >= report.edges;
}

std::string DescribeCracks(const SurfaceReport& report) {
    return "cracks stay open: " + std::to_string(report.nearEdges) + " of " +
           std::to_string(report.edges) + " edges lie up to " +
           fmt::format("{:.2g}", report.widestNear) +
           " mm beside another one; --weld LENGTH closes them";
}

RepairedSurface RepairSurface(Shape& shape, const WeldRequest& request, double millimetresPerUnit) {
    return SurfaceRepairer(shape, request, millimetresPerUnit).run();
}

RepairedSurfaces RepairSurfaces(Model& model, const WeldRequest& request) {
    JoinShapesOfObjects(model);
    std::vector<double> stretches(model.shapes.size(), 0.0);
    for (const Placement& placement : model.placements) {
        double& stretch = stretches[placement.shape];
        stretch = std::max(stretch, LargestStretch(placement.world));
    }
    RepairedSurfaces repaired;
    for (std::size_t i = 0; i < model.shapes.size(); ++i) {
        Shape& shape = model.shapes[i];
        const double length = model.millimetresPerUnit * stretches[i];
        RepairedSurface surface =
            RepairSurface(shape, request, length > 0.0 && std::isfinite(length) ? length : 1.0);
        if (shape.vertices->GetAttributes().GetNormalChannels() == 3) {
            surface.sides.reset();
        }
        repaired.reports.push_back(surface.report);
        repaired.sides.push_back(std::move(surface.sides));
    }
    return repaired;
}

} // namespace kxcontour
