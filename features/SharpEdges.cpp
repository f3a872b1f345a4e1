// Feature edges by dihedral angle: one pass over the edges that HalfEdges has grouped, then a sort
// of the edges found, O(n log n). Angles are compared by their cosines in doubles, without
// trigonometric functions, within the tolerances of Tolerances.h.
#include "features/SharpEdges.h"

#include "features/Tolerances.h"
#include "fitting/Angles.h"
#include "linesets/EdgeBuckets.h"
#include "linesets/EdgeSort.h"
#include "linesets/PositionOrder.h"
#include "linesets/Welding.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {
namespace {

/// The cosine of the angle above which an edge is sharp.
double LimitFor(double angleInDegrees) {
    const double limit =
        std::clamp(angleInDegrees, 0.0, 180.0) + surface_tolerances::kAngleInDegrees;
    return CosineOfDegrees(std::min(limit, 180.0));
}

/// A feature edge, given by the corner of one of its half-edges.
struct SharpEdge {
    std::uint32_t firstRank; ///< Of the end that comes first by position.
    std::uint32_t secondRank;
    std::uint32_t corner;
};

class SharpEdgeFinder {
public:
    SharpEdgeFinder(const kx::kxVertexBuffer& vertices,
                    const kx::kxIndexBuffer& triangles,
                    const HalfEdges& halfEdges,
                    double angleInDegrees,
                    const Wm4::Matrix4<double>& toWorld)
        : vertices_(vertices), indices_(triangles.GetData()), toWorld_(toWorld),
          cosLimit_(LimitFor(angleInDegrees)), halfEdges_(halfEdges) {
        findNormals();
    }

    kx::kxPointer<kx::kxIndexBuffer> run() {
        halfEdges_.forEachEdge([this](const HalfEdge* first, const HalfEdge* end) {
            if (isFeature(first, end)) {
                lines_.push_back({0, 0, first->corner});
            }
        });
        sortLines();
        kx::kxPointer<kx::kxIndexBuffer> lines(
            new kx::kxIndexBuffer(static_cast<int>(2 * lines_.size()), kx::IBT_LINES));
        unsigned int* next = lines->GetData();
        for (const SharpEdge& line : lines_) {
            *next++ = pointAt(line.corner);
            *next++ = pointAt(NextCorner(line.corner));
        }
        return lines;
    }

private:
    using Vector = Wm4::Vector3<double>;

    struct Normal {
        Vector vector; ///< In the world, as long as twice the triangle's area.
        double length;
    };

    std::uint32_t pointAt(std::uint32_t corner) const { return halfEdges_.pointAt(corner); }

    /// Sorts the lines by their smaller end, then their larger one.
    void sortLines() {
        PositionRanks ranks(halfEdges_.vertexCount());
        for (const SharpEdge& line : lines_) {
            ranks.use(pointAt(line.corner));
            ranks.use(pointAt(NextCorner(line.corner)));
        }
        const auto keyOf = [this](std::size_t point) {
            return KeyOf(halfEdges_.position(static_cast<std::uint32_t>(point)));
        };
        ItemCounter uncancelled;
        ranks.rank(keyOf, uncancelled);
        for (SharpEdge& line : lines_) {
            const std::uint32_t from = ranks[pointAt(line.corner)];
            const std::uint32_t to = ranks[pointAt(NextCorner(line.corner))];
            line.firstRank = std::min(from, to);
            line.secondRank = std::max(from, to);
        }
        const auto isBefore = [](const SharpEdge& a, const SharpEdge& b) {
            return a.secondRank < b.secondRank;
        };
        SortByFirstRank(lines_, ranks.count(), isBefore, uncancelled);
    }

    /// Whether the edge with the half-edges [first, end) is a feature edge.
    bool isFeature(const HalfEdge* first, const HalfEdge* end) {
        if (end - first == 2 && !isSameFace(first[0], first[1])) {
            return isSharp(first[0], first[1]);
        }
        if (end - first <= 2) {
            return true;
        }
        gatherFaces(first, end);
        return !areOneSheet();
    }

    /// Whether the faces form one sheet that the edge lies in: at least one on either side, and all
    /// faces on a side in one plane, as where parts of one object overlap with flush faces.
    bool areOneSheet() const {
        const HalfEdge* across = nullptr;
        for (const HalfEdge& face : faces_) {
            if (areOnOneSide(faces_[0], face)) {
                continue;
            }
            if (across == nullptr && !isSharp(faces_[0], face)) {
                across = &face;
            } else if (across == nullptr || !areOnOneSide(*across, face)) {
                return false;
            }
        }
        return across != nullptr;
    }

    /// Half-edges of one edge belong to the same face if their opposite corners are one point.
    bool isSameFace(const HalfEdge& a, const HalfEdge& b) const {
        return halfEdges_.oppositePoint(a) == halfEdges_.oppositePoint(b);
    }

    /// One half-edge for each different face among [first, end).
    void gatherFaces(const HalfEdge* first, const HalfEdge* end) {
        faces_.assign(first, end);
        std::stable_sort(faces_.begin(), faces_.end(),
                         [this](const HalfEdge& a, const HalfEdge& b) {
                             return halfEdges_.oppositePoint(a) < halfEdges_.oppositePoint(b);
                         });
        const auto same = [this](const HalfEdge& a, const HalfEdge& b) { return isSameFace(a, b); };
        faces_.erase(std::unique(faces_.begin(), faces_.end(), same), faces_.end());
    }

    bool isSharp(const HalfEdge& a, const HalfEdge& b) const {
        const Normal& normalA = normals_[a.corner / 3];
        const Normal& normalB = normals_[b.corner / 3];
        const double product = normalA.vector.Dot(normalB.vector);
        // Consistently oriented faces run along their common edge in opposite directions.
        const bool opposite = halfEdges_.isForward(a) != halfEdges_.isForward(b);
        return (opposite ? product : -product) < cosLimit_ * (normalA.length * normalB.length);
    }

    /// Whether two faces lie on the same side of their edge, in one plane.
    bool areOnOneSide(const HalfEdge& a, const HalfEdge& b) const {
        const Vector& p = normals_[a.corner / 3].vector;
        const Vector& q = normals_[b.corner / 3].vector;
        const Vector cross = p.Cross(q);
        const double limit = surface_tolerances::kSheetSine * normals_[a.corner / 3].length *
                             normals_[b.corner / 3].length;
        const bool isFlipped =
            (p.Dot(q) < 0.0) != (halfEdges_.isForward(a) != halfEdges_.isForward(b));
        return !isFlipped && cross.Dot(cross) <= limit * limit;
    }

    void findNormals() {
        const std::uint32_t cornerCount = halfEdges_.cornerCount();
        normals_.reserve(cornerCount / 3);
        for (std::uint32_t corner = 0; corner < cornerCount; corner += 3) {
            const Wm4::Vector3<float>& origin = positionAt(corner);
            const Vector normal = toWorld(positionAt(corner + 1), origin)
                                      .Cross(toWorld(positionAt(corner + 2), origin));
            normals_.push_back({normal, std::sqrt(normal.Dot(normal))});
        }
    }

    const Wm4::Vector3<float>& positionAt(std::uint32_t corner) const {
        return vertices_.Position3(static_cast<int>(indices_[corner]));
    }

    /// The vector from origin to point in world space.
    Vector toWorld(const Wm4::Vector3<float>& point, const Wm4::Vector3<float>& origin) const {
        const double x = static_cast<double>(point[0]) - static_cast<double>(origin[0]);
        const double y = static_cast<double>(point[1]) - static_cast<double>(origin[1]);
        const double z = static_cast<double>(point[2]) - static_cast<double>(origin[2]);
        const auto along = [&](int axis) {
            return x * toWorld_[0][axis] + y * toWorld_[1][axis] + z * toWorld_[2][axis];
        };
        return {along(0), along(1), along(2)};
    }

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    const Wm4::Matrix4<double>& toWorld_;
    double cosLimit_;
    const HalfEdges& halfEdges_;
    std::vector<Normal> normals_; ///< Of all triangles.
    std::vector<SharpEdge> lines_;
    std::vector<HalfEdge> faces_; ///< Scratch memory, reused.
};

} // namespace

kx::kxPointer<kx::kxIndexBuffer> FindSharpEdges(const kx::kxVertexBuffer& vertices,
                                                const kx::kxIndexBuffer& triangles,
                                                const HalfEdges& halfEdges,
                                                double angleInDegrees,
                                                const Wm4::Matrix4<double>& toWorld) {
    return SharpEdgeFinder(vertices, triangles, halfEdges, angleInDegrees, toWorld).run();
}

} // namespace ctr
