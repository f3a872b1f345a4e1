// Clipping and quantising repeat the single-precision formulas in their stated order; everything
// after that is in integers.
#include "support/ExactBaking.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

namespace test_support {

namespace {

using ClipPoint = Wm4::Vector4<float>;

constexpr std::int32_t kOutsideMarker = 1 << 28;

// What the callers of clipTriangle() have space for: the corners and one more for each bound. A
// sliver that runs along two bounds can, by rounding, cross one of them four times and would become
// longer; it ends there.
constexpr std::size_t kMostVertices = 9;

struct ClipPlane {
    int axis;
    float bound;
    bool upper;
};

std::array<ClipPlane, 6> ClipPlanes(const ctr::DiscreteProjectionSpace& space) {
    std::array<ClipPlane, 6> planes{};
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const int axis = static_cast<int>(i / 2);
        const bool upper = i % 2 == 1;
        planes[i] = {axis, upper ? space.frustumMax[axis] : space.frustumMin[axis], upper};
    }
    return planes;
}

bool IsOutside(const ClipPlane& plane, const ClipPoint& point) {
    const float bound = plane.bound * point.W();
    return plane.upper ? point[plane.axis] > bound : bound > point[plane.axis];
}

// Where a segment meets a plane, measured from the middle of the segment.
ClipPoint CrossPlane(const ClipPlane& plane, const ClipPoint& from, const ClipPoint& to) {
    ClipPoint middle;
    ClipPoint across;
    for (int i = 0; i < 4; ++i) {
        middle[i] = (from[i] + to[i]) / 2.0F;
        across[i] = to[i] - from[i];
    }
    const float s = (middle.W() * plane.bound - middle[plane.axis]) /
                    (across[plane.axis] - across.W() * plane.bound);
    ClipPoint crossing;
    for (int i = 0; i < 4; ++i) {
        crossing[i] = middle[i] + s * across[i];
    }
    return crossing;
}

ExactPolygon ClippedByPlane(const ClipPlane& plane, const ExactPolygon& polygon) {
    const std::size_t count = polygon.vertices.size();
    ExactPolygon result;
    for (std::size_t i = 0; i < count; ++i) {
        const ClipPoint& current = polygon.vertices[i];
        const ClipPoint& previous = polygon.vertices[(i + count - 1) % count];
        const bool outside = IsOutside(plane, current);
        if (outside != IsOutside(plane, previous)) {
            // The way out stays on the edge it was on; the way back in runs along the plane.
            result.vertices.push_back(CrossPlane(plane, previous, current));
            result.edges.push_back(outside ? polygon.edges[i] : 0);
        }
        if (!outside) {
            result.vertices.push_back(current);
            result.edges.push_back(polygon.edges[i]);
        }
    }
    result.vertices.resize(std::min(result.vertices.size(), kMostVertices));
    result.edges.resize(result.vertices.size());
    result.clipped = true;
    return result;
}

float Clamped(float value, float lowest, float highest) {
    const float capped = value < highest ? value : highest;
    return capped > lowest ? capped : lowest;
}

std::int32_t Step(const ctr::DiscreteProjectionSpace& space, int axis, float value) {
    return static_cast<std::int32_t>((value - space.frustumMin[axis]) * space.voxelScale[axis]);
}

// The upper bound of depth is taken from y: only with other bounds than the usual does it matter.
bool IsInView(const ctr::DiscreteProjectionSpace& space, const ClipPoint& position) {
    const float highest[3] = {space.frustumMax[0], space.frustumMax[1], space.frustumMax[1]};
    for (int axis = 0; axis < 3; ++axis) {
        const float value = position[axis] / position.W();
        if (!(space.frustumMin[axis] <= value && value <= highest[axis])) {
            return false;
        }
    }
    return position.W() > 0.0F;
}

ctr::BakedVertex QuantiseOwnVertex(const ctr::DiscreteProjectionSpace& space,
                                   const ClipPoint& position) {
    if (!IsInView(space, position)) {
        return {kOutsideMarker, kOutsideMarker, kOutsideMarker};
    }
    return {Step(space, 0, position.X() / position.W()),
            Step(space, 1, position.Y() / position.W()),
            Step(space, 2, position.Z() / position.W())};
}

std::array<std::int64_t, 3> PlaneNormal(const GridTriangle& t) {
    const auto minus = [](const ctr::BakedVertex& a, const ctr::BakedVertex& b) {
        return std::array<std::int64_t, 3>{std::int64_t{a.x} - b.x, std::int64_t{a.y} - b.y,
                                           std::int64_t{a.z} - b.z};
    };
    const auto u = minus(t[2], t[0]);
    const auto v = minus(t[1], t[0]);
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

bool IsUsable(const kx::kxTriMesh* mesh) {
    return mesh != nullptr && mesh->GetGeometryType() == kx::kxBaseGeometry::GT_TRIMESH;
}

bool IsFinite(const ClipPoint& point) {
    return std::isfinite(point.X()) && std::isfinite(point.Y()) && std::isfinite(point.Z()) &&
           std::isfinite(point.W());
}

// A polygon with its vertices' numbers; whole triangles are polygons too, with their own vertices.
struct NumberedPolygon {
    std::vector<unsigned int> vertices;
    std::vector<unsigned int> edges;
    unsigned int source;
};

class Baker {
public:
    explicit Baker(const ctr::DiscreteProjectionSpace& space) : space_(space) {}

    void addMesh(const kx::kxTriMesh* mesh) {
        baked_.meshFirstVertex.push_back(IsUsable(mesh) ? vertexCount() : 0);
        baked_.meshFirstTriangle.push_back(IsUsable(mesh) ? triangleCount() : 0);
        baked_.origins.emplace_back();
        if (IsUsable(mesh)) {
            bake(*mesh);
        }
    }

    ExactBaked finish() {
        baked_.meshFirstVertex.push_back(vertexCount());
        baked_.meshFirstTriangle.push_back(triangleCount());
        return baked_;
    }

private:
    unsigned int vertexCount() const { return static_cast<unsigned int>(baked_.vertices.size()); }
    unsigned int triangleCount() const {
        return static_cast<unsigned int>(baked_.triangles.size());
    }

    void bake(const kx::kxTriMesh& mesh) {
        const std::vector<ClipPoint> positions = clipPositions(mesh);
        const unsigned int firstVertex = vertexCount();
        for (const ClipPoint& position : positions) {
            baked_.vertices.push_back(QuantiseOwnVertex(space_, position));
        }
        std::vector<std::pair<unsigned int, ExactPolygon>> clippedPolygons;
        for (int i = 0; i < mesh.GetTriangleQuantity(); ++i) {
            const auto corners = triangleCorners(mesh, i, positions.size());
            if (!corners) {
                ++baked_.trianglesUnusable;
                continue;
            }
            bakeTriangle(static_cast<unsigned int>(i), *corners, positions, firstVertex,
                         clippedPolygons);
        }
        for (const auto& [source, polygon] : clippedPolygons) {
            addClippedPolygon(source, polygon);
        }
    }

    std::vector<ClipPoint> clipPositions(const kx::kxTriMesh& mesh) const {
        std::vector<ClipPoint> positions;
        const kx::kxVertexBuffer& vertices = *mesh.GetVertexBuffer();
        positions.reserve(static_cast<std::size_t>(vertices.GetVertexQuantity()));
        for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
            positions.push_back(ClipPosition(
                space_, mesh.GetWorldTransformation().ApplyForward(vertices.Position3(i), true)));
        }
        return positions;
    }

    static std::optional<std::array<unsigned int, 3>>
    triangleCorners(const kx::kxTriMesh& mesh, int triangle, std::size_t vertexCount) {
        int a = 0;
        int b = 0;
        int c = 0;
        if (!mesh.GetTriangle(triangle, a, b, c) || std::min({a, b, c}) < 0 ||
            static_cast<std::size_t>(std::max({a, b, c})) >= vertexCount) {
            return std::nullopt;
        }
        return std::array<unsigned int, 3>{static_cast<unsigned int>(a),
                                           static_cast<unsigned int>(b),
                                           static_cast<unsigned int>(c)};
    }

    void bakeTriangle(unsigned int source,
                      const std::array<unsigned int, 3>& corners,
                      const std::vector<ClipPoint>& positions,
                      unsigned int firstVertex,
                      std::vector<std::pair<unsigned int, ExactPolygon>>& clippedPolygons) {
        const std::array<ClipPoint, 3> triangle = {positions[corners[0]], positions[corners[1]],
                                                   positions[corners[2]]};
        if (!std::all_of(triangle.begin(), triangle.end(), IsFinite)) {
            ++baked_.trianglesUnusable;
            return;
        }
        const ExactPolygon polygon = ClipTriangleExactly(space_, triangle);
        if (polygon.vertices.empty()) {
            ++baked_.trianglesOutside;
        } else if (polygon.clipped) {
            ++baked_.trianglesClipped;
            clippedPolygons.emplace_back(source, polygon);
        } else {
            addTriangle(firstVertex + corners[0], firstVertex + corners[1],
                        firstVertex + corners[2]);
        }
    }

    // Stores a triangle counter-clockwise; false when it has no area on the screen.
    bool addTriangle(unsigned int a, unsigned int b, unsigned int c) {
        const auto& v = baked_.vertices;
        const std::int64_t area = DoubledArea(v[a], v[b], v[c]);
        if (area == 0) {
            ++baked_.trianglesEdgeOn;
            return false;
        }
        baked_.triangles.push_back(area > 0 ? std::array{a, b, c} : std::array{a, c, b});
        baked_.planes.push_back(PlaneNormal(baked_.corners(baked_.triangles.size() - 1)));
        return true;
    }

    void addClippedPolygon(unsigned int source, const ExactPolygon& polygon) {
        NumberedPolygon numbered{{}, polygon.edges, source};
        for (const ClipPoint& vertex : polygon.vertices) {
            numbered.vertices.push_back(vertexCount());
            baked_.vertices.push_back(Quantise(space_, vertex));
        }
        for (std::size_t i = 2; i < numbered.vertices.size(); ++i) {
            if (addTriangle(numbered.vertices[0], numbered.vertices[i - 1], numbered.vertices[i])) {
                baked_.origins.back().push_back(originWord(numbered));
            }
        }
    }

    // The origin word of the triangle stored last, which lies in the polygon.
    unsigned int originWord(const NumberedPolygon& polygon) const {
        const auto& corners = baked_.triangles.back();
        unsigned int pairs = 0;
        for (unsigned int k = 0; k < 3; ++k) {
            pairs |= edgeBetween(polygon, corners[(k + 2) % 3], corners[k]) << (2 * k);
        }
        return polygon.source | pairs << 26U;
    }

    // The code of the polygon's edge between two of its vertices, 0 when it is a diagonal.
    static unsigned int
    edgeBetween(const NumberedPolygon& polygon, unsigned int from, unsigned int to) {
        const std::size_t count = polygon.vertices.size();
        for (std::size_t end = 0; end < count; ++end) {
            const unsigned int a = polygon.vertices[(end + count - 1) % count];
            const unsigned int b = polygon.vertices[end];
            if ((a == from && b == to) || (a == to && b == from)) {
                return polygon.edges[end];
            }
        }
        return 0;
    }

    const ctr::DiscreteProjectionSpace& space_;
    ExactBaked baked_;
};

} // namespace

Coordinates CoordinatesOf(const ctr::BakedVertex& v) {
    return {v.x, v.y, v.z};
}

GridTriangle ExactBaked::corners(std::size_t triangle) const {
    const auto& corner = triangles[triangle];
    return {vertices[corner[0]], vertices[corner[1]], vertices[corner[2]]};
}

Wm4::Vector4<float> ClipPosition(const ctr::DiscreteProjectionSpace& space,
                                 const Wm4::Vector3<float>& world) {
    const Wm4::Matrix4<float>& m = space.worldToClip;
    ClipPoint clip;
    for (int i = 0; i < 4; ++i) {
        clip[i] = world.X() * m[0][i] + world.Y() * m[1][i] + world.Z() * m[2][i] + m[3][i];
    }
    return clip;
}

ExactPolygon ClipTriangleExactly(const ctr::DiscreteProjectionSpace& space,
                                 const std::array<Wm4::Vector4<float>, 3>& triangle) {
    ExactPolygon polygon{{triangle.begin(), triangle.end()}, {1, 2, 3}, false};
    for (const ClipPlane& plane : ClipPlanes(space)) {
        const auto outside = std::count_if(polygon.vertices.begin(), polygon.vertices.end(),
                                           [&](const auto& v) { return IsOutside(plane, v); });
        if (outside == std::ssize(polygon.vertices)) {
            return {};
        }
        if (outside > 0) {
            polygon = ClippedByPlane(plane, polygon);
        }
    }
    return polygon;
}

ctr::BakedVertex Quantise(const ctr::DiscreteProjectionSpace& space,
                          const Wm4::Vector4<float>& position) {
    std::int32_t steps[3];
    for (int axis = 0; axis < 3; ++axis) {
        steps[axis] = Step(
            space, axis,
            Clamped(position[axis] / position.W(), space.frustumMin[axis], space.frustumMax[axis]));
    }
    return {steps[0], steps[1], steps[2]};
}

std::int64_t
DoubledArea(const ctr::BakedVertex& a, const ctr::BakedVertex& b, const ctr::BakedVertex& c) {
    return (std::int64_t{b.x} - a.x) * (std::int64_t{c.y} - a.y) -
           (std::int64_t{b.y} - a.y) * (std::int64_t{c.x} - a.x);
}

ExactBaked BakeExactly(const ctr::DiscreteProjectionSpace& space,
                       const std::vector<const kx::kxTriMesh*>& meshes) {
    Baker baker(space);
    for (const kx::kxTriMesh* mesh : meshes) {
        baker.addMesh(mesh);
    }
    return baker.finish();
}

} // namespace test_support
