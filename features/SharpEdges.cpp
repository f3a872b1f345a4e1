// Looks at the sides of every edge. Only the lines that are drawn are brought into the order of
// their positions.
#include "features/SharpEdges.h"

#include "fitting/Angles.h"
#include "linesets/EdgeGroups.h"
#include "linesets/EdgeSort.h"
#include "linesets/PositionOrder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ctr {
namespace {

/// The positions of a file are rounded, so faces that were meant to bend by exactly the angle (a
/// prism of twelve sides, at 30 degrees) bend by a little more or less. All of them count as less.
constexpr double kAngleTolerance = 0.01;

/// The sine of the angle up to which faces on the same side of an edge are one sheet: a tenth of a
/// degree, for what rounding does to narrow faces.
constexpr double kSheetSine = 1.7e-3;

/// The cosine of the angle above which an edge is sharp.
double LimitFor(double angleInDegrees) {
    const double limit = std::clamp(angleInDegrees, 0.0, 180.0) + kAngleTolerance;
    return CosineOfDegrees(std::min(limit, 180.0));
}

/// An edge that is drawn, from the corner of one of its sides.
struct SharpEdge {
    std::uint32_t firstRank; ///< Of the end that comes first by position.
    std::uint32_t secondRank;
    std::uint32_t corner;
};

class SharpEdgeFinder {
public:
    SharpEdgeFinder(const kx::kxVertexBuffer& vertices,
                    const kx::kxIndexBuffer& triangles,
                    const Sides& sides,
                    double angleInDegrees,
                    const Wm4::Matrix4<double>& toWorld)
        : vertices_(vertices), indices_(triangles.GetData()), toWorld_(toWorld),
          cosLimit_(LimitFor(angleInDegrees)), sides_(sides) {
        findNormals();
    }

    kx::kxPointer<kx::kxIndexBuffer> run() {
        sides_.forEachEdge([this](const Side* first, const Side* end) {
            if (isDrawn(first, end)) {
                lines_.push_back({0, 0, first->corner});
            }
        });
        sortLines();
        kx::kxPointer<kx::kxIndexBuffer> lines(
            new kx::kxIndexBuffer(static_cast<int>(2 * lines_.size()), kx::IBT_LINES));
        unsigned int* next = lines->GetData();
        for (const SharpEdge& line : lines_) {
            *next++ = placeAt(line.corner);
            *next++ = placeAt(NextCorner(line.corner));
        }
        return lines;
    }

private:
    using Vector = Wm4::Vector3<double>;

    struct Normal {
        Vector vector; ///< In the world, as long as twice the triangle's area.
        double length;
    };

    std::uint32_t placeAt(std::uint32_t corner) const { return sides_.placeAt(corner); }

    /// Brings the lines into the order of their ends: first the smaller one, then the larger one.
    void sortLines() {
        PlaceRanks ranks(sides_.vertexCount());
        for (const SharpEdge& line : lines_) {
            ranks.use(placeAt(line.corner));
            ranks.use(placeAt(NextCorner(line.corner)));
        }
        const auto keyOf = [this](std::size_t place) {
            return KeyOf(sides_.position(static_cast<std::uint32_t>(place)));
        };
        WorkCounter unwatched;
        ranks.rank(keyOf, unwatched);
        for (SharpEdge& line : lines_) {
            const std::uint32_t from = ranks[placeAt(line.corner)];
            const std::uint32_t to = ranks[placeAt(NextCorner(line.corner))];
            line.firstRank = std::min(from, to);
            line.secondRank = std::max(from, to);
        }
        const auto isBefore = [](const SharpEdge& a, const SharpEdge& b) {
            return a.secondRank < b.secondRank;
        };
        SortByFirstRank(lines_, ranks.count(), isBefore, unwatched);
    }

    /// Whether the edge of the sides in [first, end) is drawn.
    bool isDrawn(const Side* first, const Side* end) {
        if (end - first == 2 && !isSameFace(first[0], first[1])) {
            return bends(first[0], first[1]);
        }
        if (end - first <= 2) {
            return true;
        }
        gatherFaces(first, end);
        return !areOneSheet();
    }

    /// Whether the faces are one sheet that the edge runs through: at least one on either side, and
    /// on each side all in one plane, as where parts of one object overlap with flush faces.
    bool areOneSheet() const {
        const Side* across = nullptr;
        for (const Side& face : faces_) {
            if (areOnOneSide(faces_[0], face)) {
                continue;
            }
            if (across == nullptr && !bends(faces_[0], face)) {
                across = &face;
            } else if (across == nullptr || !areOnOneSide(*across, face)) {
                return false;
            }
        }
        return across != nullptr;
    }

    /// Two sides of one edge belong to the same face when the corners opposite are one place too.
    bool isSameFace(const Side& a, const Side& b) const {
        return sides_.oppositePlace(a) == sides_.oppositePlace(b);
    }

    /// One side for each different face among those in [first, end).
    void gatherFaces(const Side* first, const Side* end) {
        faces_.assign(first, end);
        std::stable_sort(faces_.begin(), faces_.end(), [this](const Side& a, const Side& b) {
            return sides_.oppositePlace(a) < sides_.oppositePlace(b);
        });
        const auto same = [this](const Side& a, const Side& b) { return isSameFace(a, b); };
        faces_.erase(std::unique(faces_.begin(), faces_.end(), same), faces_.end());
    }

    bool bends(const Side& a, const Side& b) const {
        const Normal& normalA = normals_[a.corner / 3];
        const Normal& normalB = normals_[b.corner / 3];
        const double product = normalA.vector.Dot(normalB.vector);
        // Faces that lie side by side run along their edge in opposite directions.
        const bool opposite = sides_.isForward(a) != sides_.isForward(b);
        return (opposite ? product : -product) < cosLimit_ * (normalA.length * normalB.length);
    }

    /// Whether two faces lie on each other beside their edge.
    bool areOnOneSide(const Side& a, const Side& b) const {
        const Vector& p = normals_[a.corner / 3].vector;
        const Vector& q = normals_[b.corner / 3].vector;
        const Vector cross = p.Cross(q);
        const double limit =
            kSheetSine * normals_[a.corner / 3].length * normals_[b.corner / 3].length;
        const bool isTurned = (p.Dot(q) < 0.0) != (sides_.isForward(a) != sides_.isForward(b));
        return !isTurned && cross.Dot(cross) <= limit * limit;
    }

    void findNormals() {
        const std::uint32_t cornerCount = sides_.cornerCount();
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

    /// The vector between two points, turned and stretched as in the world.
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
    const Sides& sides_;
    std::vector<Normal> normals_; ///< Of all triangles.
    std::vector<SharpEdge> lines_;
    std::vector<Side> faces_; ///< Scratch, kept for its memory.
};

} // namespace

kx::kxPointer<kx::kxIndexBuffer> FindSharpEdges(const kx::kxVertexBuffer& vertices,
                                                const kx::kxIndexBuffer& triangles,
                                                const Sides& sides,
                                                double angleInDegrees,
                                                const Wm4::Matrix4<double>& toWorld) {
    return SharpEdgeFinder(vertices, triangles, sides, angleInDegrees, toWorld).run();
}

} // namespace ctr
