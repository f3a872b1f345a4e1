// T-junctions by a kd-tree over the ends of boundary edges (PointTree). Each boundary edge queries
// it for the points beside it; a point is a T-junction if one of the edges that end there runs
// along the edge. O(n log n), with a limit of the points visited. In doubles; a triangle is split
// only if no part faces the other way.
#include "features/TJunctions.h"

#include "features/Bounds.h"
#include "features/PointTree.h"
#include "features/Tolerances.h"
#include "features/Tuning.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ctr {
namespace {

Wm4::Vector3<double> PositionAt(const HalfEdges& halfEdges, std::uint32_t point) {
    return InDoubles(halfEdges.position(point));
}

/// Whether a triangle has an area and faces to the side of a normal.
bool FacesAlong(const Wm4::Vector3<double>& normal,
                const Wm4::Vector3<double>& a,
                const Wm4::Vector3<double>& b,
                const Wm4::Vector3<double>& c) {
    return (b - a).Cross(c - a).Dot(normal) > 0.0;
}

/// Coordinates along and across a boundary edge.
class EdgeAxis {
public:
    explicit EdgeAxis(const BoundaryEdge& edge)
        : start_(edge.start), direction_((edge.end - edge.start) / edge.length),
          length_(edge.length) {}

    double length() const { return length_; }
    double along(const Wm4::Vector3<double>& p) const { return (p - start_).Dot(direction_); }
    double aside(const Wm4::Vector3<double>& p) const {
        const Wm4::Vector3<double> off = p - start_ - direction_ * along(p);
        return std::sqrt(off.Dot(off));
    }

private:
    Wm4::Vector3<double> start_;
    Wm4::Vector3<double> direction_;
    double length_;
};

/// Whether a segment overlaps an edge by more than four times a distance, within the distance.
bool RunsAlong(const EdgeAxis& axis,
               const Wm4::Vector3<double>& start,
               const Wm4::Vector3<double>& end,
               double distance) {
    const double from = axis.along(start);
    const double to = axis.along(end);
    const double low = std::max(0.0, std::min(from, to));
    const double high = std::min(axis.length(), std::max(from, to));
    if (!(high - low > surface_tolerances::kOverlapOfDistance * distance)) {
        return false;
    }
    const auto pointAt = [&](double at) {
        return start + (end - start) * ((at - from) / (to - from));
    };
    return axis.aside(pointAt(low)) <= distance && axis.aside(pointAt(high)) <= distance;
}

class TJunctionFinder {
public:
    TJunctionFinder(const std::vector<BoundaryEdge>& edges,
                    const SurfaceView& surface,
                    double distance)
        : edges_(edges), halfEdges_(surface.halfEdges), distance_(distance), ends_(endsOf(edges)),
          tree_(pointsOf(ends_)),
          visitsLeft_(SurfaceTuning::kFreeVisits + SurfaceTuning::kVisitsPerEdge * edges.size()) {}

    std::vector<TJunction> run() {
        for (const BoundaryEdge& edge : edges_) {
            const std::size_t first = found_.size();
            findOn(edge);
            keepUnflipped(edge, first);
        }
        return std::move(found_);
    }

private:
    /// An end of a boundary edge.
    struct End {
        std::uint32_t point;
        std::uint32_t edge;

        bool operator<(const End& other) const {
            return point != other.point ? point < other.point : edge < other.edge;
        }
    };

    static std::vector<End> endsOf(const std::vector<BoundaryEdge>& edges) {
        std::vector<End> ends;
        ends.reserve(2 * edges.size());
        for (std::uint32_t i = 0; i < edges.size(); ++i) {
            ends.push_back({edges[i].from, i});
            ends.push_back({edges[i].to, i});
        }
        std::sort(ends.begin(), ends.end());
        return ends;
    }

    /// The position of each point for the tree; sets firstEnd_.
    std::vector<Wm4::Vector3<double>> pointsOf(const std::vector<End>& ends) {
        std::vector<Wm4::Vector3<double>> points;
        for (std::uint32_t i = 0; i < ends.size(); ++i) {
            if (i == 0 || ends[i].point != ends[i - 1].point) {
                firstEnd_.push_back(i);
                points.push_back(PositionAt(halfEdges_, ends[i].point));
            }
        }
        firstEnd_.push_back(static_cast<std::uint32_t>(ends.size()));
        return points;
    }

    void findOn(const BoundaryEdge& edge) {
        near_.clear();
        tree_.findNear(edge.start, edge.end, distance_, visitsLeft_, near_);
        visitsLeft_ -= std::min(visitsLeft_, near_.size());
        const EdgeAxis axis(edge);
        for (const std::uint32_t treePoint : near_) {
            const std::uint32_t point = ends_[firstEnd_[treePoint]].point;
            const Wm4::Vector3<double> position = PositionAt(halfEdges_, point);
            const double along = axis.along(position);
            if (along > distance_ && along < edge.length - distance_ &&
                axis.aside(position) <= distance_ && isNeighbour(treePoint, edge, axis)) {
                found_.push_back({edge.corner, point, along / edge.length});
            }
        }
    }

    /// Whether one of the edges that end at a point of the tree runs along an edge.
    bool
    isNeighbour(std::uint32_t treePoint, const BoundaryEdge& edge, const EdgeAxis& axis) const {
        for (std::uint32_t i = firstEnd_[treePoint]; i < firstEnd_[treePoint + 1]; ++i) {
            const BoundaryEdge& other = edges_[ends_[i].edge];
            if (other.triangle() != edge.triangle() && !FoldsBack(edge, other) &&
                RunsAlong(axis, other.start, other.end, distance_)) {
                return true;
            }
        }
        return false;
    }

    /// Sorts the junctions from first on along the edge, and drops those that would make a part of
    /// the fan face the other way.
    void keepUnflipped(const BoundaryEdge& edge, std::size_t first) {
        if (found_.size() == first) {
            return;
        }
        std::sort(found_.begin() + static_cast<std::ptrdiff_t>(first), found_.end(),
                  [](const TJunction& a, const TJunction& b) {
                      return a.along != b.along ? a.along < b.along : a.point < b.point;
                  });
        const std::uint32_t apexPoint = halfEdges_.pointAt(NextCorner(NextCorner(edge.corner)));
        const Wm4::Vector3<double> apex = PositionAt(halfEdges_, apexPoint);
        const Wm4::Vector3<double> normal = (edge.end - edge.start).Cross(apex - edge.start);
        std::size_t kept = first;
        Wm4::Vector3<double> before = edge.start;
        for (std::size_t i = first; i < found_.size(); ++i) {
            const Wm4::Vector3<double> at = PositionAt(halfEdges_, found_[i].point);
            if (FacesAlong(normal, before, at, apex) && FacesAlong(normal, at, edge.end, apex)) {
                found_[kept++] = found_[i];
                before = at;
            }
        }
        found_.resize(kept);
    }

    const std::vector<BoundaryEdge>& edges_;
    const HalfEdges& halfEdges_;
    double distance_;
    std::vector<End> ends_;               ///< By point.
    std::vector<std::uint32_t> firstEnd_; ///< Of each different point, and the end of all.
    PointTree tree_;                      ///< Over the different points.
    std::size_t visitsLeft_;
    std::vector<std::uint32_t> near_; ///< Scratch memory, reused.
    std::vector<TJunction> found_;
};

/// Replaces triangles by fans.
class Splitter {
public:
    explicit Splitter(const SurfaceView& surface)
        : surface_(surface),
          vertexCount_(static_cast<std::uint32_t>(surface.vertices.GetVertexQuantity())) {}

    SplitTriangles run(const std::vector<TJunction>& junctions) {
        const unsigned int* indices = surface_.triangles.GetData();
        std::size_t next = 0;
        for (std::uint32_t corner = 0; corner < surface_.halfEdges.cornerCount(); corner += 3) {
            const std::size_t first = next;
            while (next < junctions.size() && junctions[next].corner < corner + 3) {
                ++next;
            }
            if (first == next ||
                !split(corner, &junctions[first], &junctions[first] + (next - first))) {
                result_.indices.insert(result_.indices.end(), indices + corner,
                                       indices + corner + 3);
            }
        }
        return std::move(result_);
    }

private:
    using Triangle = std::array<std::uint32_t, 3>;

    /// Splits the sides of a triangle in turn; returns false and changes nothing if a part would
    /// face the other way.
    bool split(std::uint32_t corner, const TJunction* first, const TJunction* end) {
        const unsigned int* indices = surface_.triangles.GetData();
        const std::size_t addedBefore = result_.added.size();
        parts_.assign(1, {indices[corner], indices[corner + 1], indices[corner + 2]});
        std::size_t edges = 0;
        for (std::uint32_t side = 0; side < 3; ++side) {
            const TJunction* next = first;
            while (next != end && next->corner == corner + side) {
                ++next;
            }
            if (next != first) {
                fan(indices[corner + side], indices[corner + (side + 1) % 3], first, next);
                ++edges;
            }
            first = next;
        }
        if (!areUnflipped(corner)) {
            result_.added.resize(addedBefore);
            return false;
        }
        for (const Triangle& part : parts_) {
            result_.indices.insert(result_.indices.end(), part.begin(), part.end());
        }
        result_.splitEdges += edges;
        return true;
    }

    /// Replaces the part with the side between two vertices by a fan around its third corner.
    void fan(std::uint32_t from, std::uint32_t to, const TJunction* first, const TJunction* end) {
        const auto hasSide = [&](const Triangle& part) {
            return (part[0] == from && part[1] == to) || (part[1] == from && part[2] == to) ||
                   (part[2] == from && part[0] == to);
        };
        const auto at = std::find_if(parts_.begin(), parts_.end(), hasSide);
        const Triangle whole = *at;
        parts_.erase(at);
        const std::uint32_t apex = whole[0] != from && whole[0] != to   ? whole[0]
                                   : whole[1] != from && whole[1] != to ? whole[1]
                                                                        : whole[2];
        std::uint32_t before = from;
        for (const TJunction* junction = first; junction != end; ++junction) {
            const auto vertex = static_cast<std::uint32_t>(vertexCount_ + result_.added.size());
            result_.added.push_back({junction->point, from, to, junction->along});
            parts_.push_back({before, vertex, apex});
            before = vertex;
        }
        parts_.push_back({before, to, apex});
    }

    Wm4::Vector3<double> positionOf(std::uint32_t vertex) const {
        const HalfEdges& halfEdges = surface_.halfEdges;
        return PositionAt(halfEdges, vertex < vertexCount_
                                         ? halfEdges.pointOf(vertex)
                                         : result_.added[vertex - vertexCount_].point);
    }

    bool areUnflipped(std::uint32_t corner) const {
        const unsigned int* indices = surface_.triangles.GetData() + corner;
        const Wm4::Vector3<double> origin = positionOf(indices[0]);
        const Wm4::Vector3<double> normal =
            (positionOf(indices[1]) - origin).Cross(positionOf(indices[2]) - origin);
        return std::all_of(parts_.begin(), parts_.end(), [&](const Triangle& part) {
            return FacesAlong(normal, positionOf(part[0]), positionOf(part[1]),
                              positionOf(part[2]));
        });
    }

    const SurfaceView& surface_;
    std::uint32_t vertexCount_;
    SplitTriangles result_;
    std::vector<Triangle> parts_; ///< Scratch memory, reused.
};

} // namespace

std::vector<TJunction> FindTJunctions(const std::vector<BoundaryEdge>& edges,
                                      const SurfaceView& surface,
                                      double distance) {
    return TJunctionFinder(edges, surface, distance).run();
}

SplitTriangles SplitAtTJunctions(const std::vector<TJunction>& junctions,
                                 const SurfaceView& surface) {
    return Splitter(surface).run(junctions);
}

} // namespace ctr
