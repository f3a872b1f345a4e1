// The ends of open edges go into a tree, which every open edge asks for those beside it; what is
// found counts where one of the edges that end there runs along the edge that asks.
#include "features/Junctions.h"

#include "features/Bounds.h"
#include "features/PointTree.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ctr {
namespace {

/// Points looked at per open edge on average, beside a number that small models may use up.
constexpr std::size_t kVisitsPerEdge = 64;
constexpr std::size_t kFreeVisits = 65536;

Wm4::Vector3<double> PositionAt(const Sides& sides, std::uint32_t place) {
    return InDoubles(sides.position(place));
}

/// Whether a triangle with an area looks to the side that the normal points to.
bool LooksAlong(const Wm4::Vector3<double>& normal,
                const Wm4::Vector3<double>& a,
                const Wm4::Vector3<double>& b,
                const Wm4::Vector3<double>& c) {
    return (b - a).Cross(c - a).Dot(normal) > 0.0;
}

/// An open edge as a ray, to measure others against.
class Ruler {
public:
    explicit Ruler(const OpenEdge& edge)
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

/// Whether a segment overlaps the ruler's for more than four times a distance, within the distance.
bool RunsAlong(const Ruler& ruler,
               const Wm4::Vector3<double>& start,
               const Wm4::Vector3<double>& end,
               double distance) {
    const double from = ruler.along(start);
    const double to = ruler.along(end);
    const double low = std::max(0.0, std::min(from, to));
    const double high = std::min(ruler.length(), std::max(from, to));
    if (!(high - low > 4.0 * distance)) {
        return false;
    }
    const auto pointAt = [&](double at) {
        return start + (end - start) * ((at - from) / (to - from));
    };
    return ruler.aside(pointAt(low)) <= distance && ruler.aside(pointAt(high)) <= distance;
}

class JunctionFinder {
public:
    JunctionFinder(const std::vector<OpenEdge>& edges, const SurfaceView& surface, double distance)
        : edges_(edges), sides_(surface.sides), distance_(distance), ends_(endsOf(edges)),
          tree_(pointsOf(ends_)), visitsLeft_(kFreeVisits + kVisitsPerEdge * edges.size()) {}

    std::vector<Junction> run() {
        for (const OpenEdge& edge : edges_) {
            const std::size_t first = found_.size();
            findOn(edge);
            keepUpright(edge, first);
        }
        return std::move(found_);
    }

private:
    /// An end of an open edge.
    struct End {
        std::uint32_t place;
        std::uint32_t edge;

        bool operator<(const End& other) const {
            return place != other.place ? place < other.place : edge < other.edge;
        }
    };

    static std::vector<End> endsOf(const std::vector<OpenEdge>& edges) {
        std::vector<End> ends;
        ends.reserve(2 * edges.size());
        for (std::uint32_t i = 0; i < edges.size(); ++i) {
            ends.push_back({edges[i].from, i});
            ends.push_back({edges[i].to, i});
        }
        std::sort(ends.begin(), ends.end());
        return ends;
    }

    /// One point for each place; notes where its ends begin.
    std::vector<Wm4::Vector3<double>> pointsOf(const std::vector<End>& ends) {
        std::vector<Wm4::Vector3<double>> points;
        for (std::uint32_t i = 0; i < ends.size(); ++i) {
            if (i == 0 || ends[i].place != ends[i - 1].place) {
                firstEnd_.push_back(i);
                points.push_back(PositionAt(sides_, ends[i].place));
            }
        }
        firstEnd_.push_back(static_cast<std::uint32_t>(ends.size()));
        return points;
    }

    void findOn(const OpenEdge& edge) {
        near_.clear();
        tree_.findNear(edge.start, edge.end, distance_, visitsLeft_, near_);
        visitsLeft_ -= std::min(visitsLeft_, near_.size());
        const Ruler ruler(edge);
        for (const std::uint32_t point : near_) {
            const std::uint32_t place = ends_[firstEnd_[point]].place;
            const Wm4::Vector3<double> position = PositionAt(sides_, place);
            const double along = ruler.along(position);
            if (along > distance_ && along < edge.length - distance_ &&
                ruler.aside(position) <= distance_ && isNeighbour(point, edge, ruler)) {
                found_.push_back({edge.corner, place, along / edge.length});
            }
        }
    }

    /// Whether one of the edges that end at a point runs along an edge.
    bool isNeighbour(std::uint32_t point, const OpenEdge& edge, const Ruler& ruler) const {
        for (std::uint32_t i = firstEnd_[point]; i < firstEnd_[point + 1]; ++i) {
            const OpenEdge& other = edges_[ends_[i].edge];
            if (other.triangle() != edge.triangle() && !FoldsBack(edge, other) &&
                RunsAlong(ruler, other.start, other.end, distance_)) {
                return true;
            }
        }
        return false;
    }

    /// Brings the junctions from first on into their order along the edge, and drops those that the
    /// fan of parts cannot take.
    void keepUpright(const OpenEdge& edge, std::size_t first) {
        if (found_.size() == first) {
            return;
        }
        std::sort(found_.begin() + static_cast<std::ptrdiff_t>(first), found_.end(),
                  [](const Junction& a, const Junction& b) {
                      return a.along != b.along ? a.along < b.along : a.place < b.place;
                  });
        const std::uint32_t apexPlace = sides_.placeAt(NextCorner(NextCorner(edge.corner)));
        const Wm4::Vector3<double> apex = PositionAt(sides_, apexPlace);
        const Wm4::Vector3<double> normal = (edge.end - edge.start).Cross(apex - edge.start);
        std::size_t kept = first;
        Wm4::Vector3<double> before = edge.start;
        for (std::size_t i = first; i < found_.size(); ++i) {
            const Wm4::Vector3<double> at = PositionAt(sides_, found_[i].place);
            if (LooksAlong(normal, before, at, apex) && LooksAlong(normal, at, edge.end, apex)) {
                found_[kept++] = found_[i];
                before = at;
            }
        }
        found_.resize(kept);
    }

    const std::vector<OpenEdge>& edges_;
    const Sides& sides_;
    double distance_;
    std::vector<End> ends_;               ///< By place.
    std::vector<std::uint32_t> firstEnd_; ///< Of each different place, and the end of all.
    PointTree tree_;                      ///< Over the different places.
    std::size_t visitsLeft_;
    std::vector<std::uint32_t> near_; ///< Scratch, kept for its memory.
    std::vector<Junction> found_;
};

/// Replaces triangles by fans.
class Splitter {
public:
    explicit Splitter(const SurfaceView& surface)
        : surface_(surface),
          vertexCount_(static_cast<std::uint32_t>(surface.vertices.GetVertexQuantity())) {}

    SplitTriangles run(const std::vector<Junction>& junctions) {
        const unsigned int* indices = surface_.triangles.GetData();
        std::size_t next = 0;
        for (std::uint32_t corner = 0; corner < surface_.sides.cornerCount(); corner += 3) {
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

    /// Splits the sides of a triangle one after the other; false, with nothing changed, where a
    /// part would not look to the triangle's side.
    bool split(std::uint32_t corner, const Junction* first, const Junction* end) {
        const unsigned int* indices = surface_.triangles.GetData();
        const std::size_t addedBefore = result_.added.size();
        parts_.assign(1, {indices[corner], indices[corner + 1], indices[corner + 2]});
        std::size_t edges = 0;
        for (std::uint32_t side = 0; side < 3; ++side) {
            const Junction* next = first;
            while (next != end && next->corner == corner + side) {
                ++next;
            }
            if (next != first) {
                fan(indices[corner + side], indices[corner + (side + 1) % 3], first, next);
                ++edges;
            }
            first = next;
        }
        if (!areUpright(corner)) {
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
    void fan(std::uint32_t from, std::uint32_t to, const Junction* first, const Junction* end) {
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
        for (const Junction* junction = first; junction != end; ++junction) {
            const auto vertex = static_cast<std::uint32_t>(vertexCount_ + result_.added.size());
            result_.added.push_back({junction->place, from, to, junction->along});
            parts_.push_back({before, vertex, apex});
            before = vertex;
        }
        parts_.push_back({before, to, apex});
    }

    Wm4::Vector3<double> positionOf(std::uint32_t vertex) const {
        const Sides& sides = surface_.sides;
        return PositionAt(sides, vertex < vertexCount_
                                     ? sides.placeOf(vertex)
                                     : result_.added[vertex - vertexCount_].place);
    }

    bool areUpright(std::uint32_t corner) const {
        const unsigned int* indices = surface_.triangles.GetData() + corner;
        const Wm4::Vector3<double> origin = positionOf(indices[0]);
        const Wm4::Vector3<double> normal =
            (positionOf(indices[1]) - origin).Cross(positionOf(indices[2]) - origin);
        return std::all_of(parts_.begin(), parts_.end(), [&](const Triangle& part) {
            return LooksAlong(normal, positionOf(part[0]), positionOf(part[1]),
                              positionOf(part[2]));
        });
    }

    const SurfaceView& surface_;
    std::uint32_t vertexCount_;
    SplitTriangles result_;
    std::vector<Triangle> parts_; ///< Scratch, kept for its memory.
};

} // namespace

std::vector<Junction>
FindJunctions(const std::vector<OpenEdge>& edges, const SurfaceView& surface, double distance) {
    return JunctionFinder(edges, surface, distance).run();
}

SplitTriangles SplitAtJunctions(const std::vector<Junction>& junctions,
                                const SurfaceView& surface) {
    return Splitter(surface).run(junctions);
}

} // namespace ctr
