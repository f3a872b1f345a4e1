// The second pass of baking: quantises vertices and appends triangles, first those entirely inside
// the view, then the fans of clipped polygons.
//
// Vertices are rounded down to the grid, by less than one step. Each triangle is stored
// counter-clockwise on screen; edge-on ones are dropped. The orientation is the sign of the area on
// the grid, which is exact. O(n) for n vertices and triangles.
#include "visibility/baking/SecondPass.h"

#include "projection/GridQuantisation.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/MeshReader.h"
#include "visibility/exact/GridArithmetic.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <utility>

namespace ctr {
namespace {

constexpr std::int32_t kOutsideMarker = 1 << 28;

/// The grid point of a mesh vertex, or the marker for one outside the view.
///
/// The upper bound of depth is tested against the y maximum; the two only differ when a caller has
/// changed the bounds.
BakedVertex BakeVertex(const DiscreteProjectionSpace& space, const ClipPoint& clip) {
    const BakedVertex outside{kOutsideMarker, kOutsideMarker, kOutsideMarker};
    if (!(clip[3] > 0.0F)) {
        return outside;
    }
    const Wm4::Vector3<float> ndc = DivideByW(clip);
    const float upper[3] = {space.frustumMax[0], space.frustumMax[1], space.frustumMax[1]};
    for (int axis = 0; axis < 3; ++axis) {
        if (!(space.frustumMin[axis] <= ndc[axis] && ndc[axis] <= upper[axis])) {
            return outside;
        }
    }
    return {Quantise(space, ndc[0], 0), Quantise(space, ndc[1], 1), Quantise(space, ndc[2], 2)};
}

/// The number of triangles so far; planes are computed later.
unsigned int TriangleCountOf(const BakedTriangles& baked) {
    return static_cast<unsigned int>(baked.triangleIndices.size() / 3);
}

/// The orientation of a triangle before it was made counter-clockwise.
enum class Winding { degenerate, kept, reversed };

/// Appends a triangle counter-clockwise on screen, unless it is degenerate there.
Winding AppendTriangle(BakedTriangles& baked, unsigned int a, unsigned int b, unsigned int c) {
    const BakedVertex& p0 = baked.vertices[a];
    const std::int64_t area =
        CrossXY(Difference(baked.vertices[b], p0), Difference(baked.vertices[c], p0));
    if (area == 0) {
        return Winding::degenerate;
    }
    const bool reverse = area < 0;
    baked.triangleIndices.push_back(a);
    baked.triangleIndices.push_back(reverse ? c : b);
    baked.triangleIndices.push_back(reverse ? b : c);
    return reverse ? Winding::reversed : Winding::kept;
}

/// The six edge-origin bits of fan triangle j of a polygon with n vertices.
unsigned int FanOriginBits(unsigned int codes, unsigned int j, unsigned int n, bool reversed) {
    const auto pair = [codes](unsigned int vertex) { return (codes >> (2 * vertex)) & 3U; };
    unsigned int pair0 = j == n - 3 ? pair(0) : 0U;
    unsigned int pair1 = j == 0 ? pair(1) : 0U;
    if (reversed) {
        std::swap(pair0, pair1);
    }
    return pair0 | pair1 << 2 | pair(j + 2) << 4;
}

/// The second pass over one mesh.
class MeshBaker {
public:
    MeshBaker(BakedTriangles& baked,
              std::size_t meshNumber,
              unsigned int firstVertex,
              ItemCounter& work)
        : baked_(baked), mesh_(*baked.meshes[meshNumber]), meshNumber_(meshNumber),
          firstVertex_(firstVertex), work_(work) {}

    /// Returns the number after that of the mesh's last vertex.
    unsigned int run(BakedTriangles::tFirstPassData& data) {
        baked_.meshFirstVertex[meshNumber_] = firstVertex_;
        baked_.meshFirstTriangle[meshNumber_] = TriangleCountOf(baked_);
        const VertexProjector projector(mesh_, *baked_.projectionSpace);
        const int count = VertexQuantity(mesh_);
        ForEachCounted(static_cast<std::size_t>(count), work_, [&](std::size_t i) {
            baked_.vertices[firstVertex_ + i] =
                BakeVertex(*baked_.projectionSpace, projector(static_cast<int>(i)));
        });
        addInsideTriangles(data.insideTriangles[meshNumber_]);
        delete[] data.insideTriangles[meshNumber_];
        data.insideTriangles[meshNumber_] = nullptr;

        unsigned int nextVertex = firstVertex_ + static_cast<unsigned int>(count);
        for (BakedTriangles::ClippedPolygon& polygon : data.clippedPolygons[meshNumber_]) {
            work_.count(polygon.vertexCount);
            addPolygonVertices(polygon, nextVertex);
            addFan(polygon, nextVertex);
            nextVertex += polygon.vertexCount;
        }
        return nextVertex;
    }

private:
    void addInsideTriangles(const unsigned int* inside) {
        const TriangleReader triangles(mesh_);
        const int count = mesh_.GetTriangleQuantity();
        for (int i = 0; i < count; ++i) {
            work_.count(1);
            const auto bit = static_cast<unsigned int>(i);
            if ((inside[bit / kBitsPerWord] >> (bit % kBitsPerWord) & 1U) == 0) {
                continue;
            }
            int corners[3] = {0, 0, 0};
            triangles.read(i, corners);
            AppendTriangle(baked_, firstVertex_ + static_cast<unsigned int>(corners[0]),
                           firstVertex_ + static_cast<unsigned int>(corners[1]),
                           firstVertex_ + static_cast<unsigned int>(corners[2]));
        }
    }

    void addPolygonVertices(BakedTriangles::ClippedPolygon& polygon, unsigned int first) {
        for (unsigned int i = 0; i < polygon.vertexCount; ++i) {
            baked_.vertices[first + i] =
                QuantiseClamped(*baked_.projectionSpace, polygon.vertices[i]);
        }
        delete[] polygon.vertices;
        polygon.vertices = nullptr;
    }

    void addFan(const BakedTriangles::ClippedPolygon& polygon, unsigned int first) {
        for (unsigned int j = 0; j + 2 < polygon.vertexCount; ++j) {
            const Winding winding = AppendTriangle(baked_, first, first + j + 1, first + j + 2);
            if (winding == Winding::degenerate) {
                continue;
            }
            const unsigned int bits = FanOriginBits(polygon.edgeCodes, j, polygon.vertexCount,
                                                    winding == Winding::reversed);
            baked_.clippedTriangleOrigins[meshNumber_].push_back(
                (polygon.sourceTriangle & kSourceTriangleMask) | bits << kSourceTriangleBits);
        }
    }

    BakedTriangles& baked_;
    const kx::kxTriMesh& mesh_;
    std::size_t meshNumber_;
    unsigned int firstVertex_;
    ItemCounter& work_;
};

std::size_t FanTriangleCount(const std::list<BakedTriangles::ClippedPolygon>& polygons) {
    std::size_t count = 0;
    for (const BakedTriangles::ClippedPolygon& polygon : polygons) {
        count += polygon.vertexCount > 2 ? polygon.vertexCount - 2 : 0;
    }
    return count;
}

} // namespace

void RunSecondPass(BakedTriangles& baked, BakedTriangles::tFirstPassData& data, ItemCounter& work) {
    const std::size_t meshCount = baked.meshes.size();
    baked.vertices.resize(data.vertexCount);
    baked.triangleIndices.reserve(3 * std::size_t{data.triangleCount});
    baked.meshFirstVertex.assign(meshCount + 1, 0);
    baked.meshFirstTriangle.assign(meshCount + 1, 0);
    baked.clippedTriangleOrigins.assign(meshCount, {});
    unsigned int nextVertex = 0;
    for (std::size_t i = 0; i < meshCount; ++i) {
        if (IsUsable(baked.meshes[i])) {
            baked.clippedTriangleOrigins[i].reserve(FanTriangleCount(data.clippedPolygons[i]));
            nextVertex = MeshBaker(baked, i, nextVertex, work).run(data);
        }
    }
    baked.meshFirstVertex.back() = nextVertex;
    baked.meshFirstTriangle.back() = TriangleCountOf(baked);
}

} // namespace ctr
