// The first pass of baking: the part of each triangle that is inside the view.
//
// Vertices are projected once and classified by outcodes, a bit for each plane of the frustum (D.
// Cohen and I. Sutherland, in W. Newman and R. Sproull, Principles of Interactive Computer
// Graphics, 1979). Outcodes accept or reject most triangles; those that cross a plane are clipped
// by DiscreteProjectionSpace::clipTriangle(). O(n) for n vertices and triangles. Outcodes make the
// same comparisons in single precision as the clipper, so the two agree on every vertex.
#include "visibility/baking/FirstPass.h"

#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/MeshReader.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <stdexcept>

namespace ctr {
namespace {

/// Placements share buffers, so a few buffers may give more vertices than numbers can count. Edges
/// use one bit of a number for their direction, and the BVH is limited to 2^30 triangles.
void RequireCapacity(std::uint64_t vertices, std::uint64_t triangles) {
    if (vertices > BakedTriangles::kMaxVertices) {
        throw std::length_error("more than 2147483519 vertices to bake, each as often as placed");
    }
    if (triangles > BakedTriangles::kMaxTriangles) {
        throw std::length_error("more than 1073741824 triangles to bake, each as often as placed");
    }
}

bool IsFinite(const ClipPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]) && std::isfinite(p[3]);
}

/// An outcode: one bit for each plane of the frustum that a point lies outside of, in the order of
/// clipping and by the same comparisons, or the bit of a point that is not finite.
using OutsideBits = std::uint8_t;
constexpr unsigned int kNotFinite = 1U << 6;

OutsideBits OutsideOf(const DiscreteProjectionSpace& space, const ClipPoint& p) {
    unsigned int bits = IsFinite(p) ? 0 : kNotFinite;
    for (int axis = 0; axis < 3; ++axis) {
        const unsigned int below = space.frustumMin[axis] * p[3] > p[axis] ? 1 : 0;
        const unsigned int above = p[axis] > space.frustumMax[axis] * p[3] ? 2 : 0;
        bits |= (below | above) << (2 * axis);
    }
    return static_cast<OutsideBits>(bits);
}

/// The vertices of one mesh in clip space, with their outcodes.
struct ProjectedVertices {
    /// Allocates for the largest mesh.
    explicit ProjectedVertices(const std::vector<const kx::kxTriMesh*>& meshes) {
        int most = 0;
        for (const kx::kxTriMesh* mesh : meshes) {
            most = IsUsable(mesh) ? std::max(most, VertexQuantity(*mesh)) : most;
        }
        clip = std::make_unique_for_overwrite<ClipPoint[]>(static_cast<std::size_t>(most));
        outside = std::make_unique_for_overwrite<OutsideBits[]>(static_cast<std::size_t>(most));
    }

    void
    project(const kx::kxTriMesh& mesh, const DiscreteProjectionSpace& space, ItemCounter& work) {
        const VertexProjector projector(mesh, space);
        count = VertexQuantity(mesh);
        ForEachCounted(static_cast<std::size_t>(count), work, [&](std::size_t i) {
            clip[i] = projector(static_cast<int>(i));
            outside[i] = OutsideOf(space, clip[i]);
        });
    }

    int count = 0;
    std::unique_ptr<ClipPoint[]> clip;
    std::unique_ptr<OutsideBits[]> outside;
};

/// The first pass over one mesh: clips its triangles and counts the output of the second pass.
/// Polygons are clipped plane by plane (I. E. Sutherland and G. W. Hodgman, Reentrant polygon
/// clipping, Communications of the ACM 17, 1974); outcodes decide about most triangles without it.
class MeshClipper {
public:
    MeshClipper(const DiscreteProjectionSpace& space,
                const kx::kxTriMesh& mesh,
                const ProjectedVertices& projected,
                ItemCounter& work)
        : space_(space), mesh_(mesh), projected_(projected), work_(work) {}

    void run(BakedTriangles::tFirstPassData& data, std::size_t meshNumber) {
        const TriangleReader triangles(mesh_);
        const int count = mesh_.GetTriangleQuantity();
        unsigned int* inside = data.insideTriangles[meshNumber];
        for (int i = 0; i < count; ++i) {
            int corners[3];
            work_.count(1);
            if (!triangles.read(i, corners) || !exist(corners)) {
                continue;
            }
            if (isInside(corners)) {
                const auto triangle = static_cast<std::uint32_t>(i);
                inside[triangle / kBitsPerWord] |= 1U << (triangle % kBitsPerWord);
                ++data.triangleCount;
            } else if (!isOutside(corners)) {
                clip(data, meshNumber, i, corners);
            }
        }
    }

private:
    static constexpr unsigned int kMaxPolygonVertices = 9;

    bool exist(const int (&corners)[3]) const {
        const auto exists = [count = static_cast<unsigned int>(projected_.count)](int corner) {
            return static_cast<unsigned int>(corner) < count;
        };
        return exists(corners[0]) && exists(corners[1]) && exists(corners[2]);
    }

    unsigned int outside(int corner) const {
        return projected_.outside[static_cast<std::size_t>(corner)];
    }

    /// Whether no corner is outside of any plane, so that clipping would not change the triangle.
    bool isInside(const int (&corners)[3]) const {
        return (outside(corners[0]) | outside(corners[1]) | outside(corners[2])) == 0;
    }

    /// Whether a corner is not finite, or all three are outside of the first plane that any is
    /// outside of.
    bool isOutside(const int (&corners)[3]) const {
        const unsigned int a = outside(corners[0]);
        const unsigned int b = outside(corners[1]);
        const unsigned int c = outside(corners[2]);
        const unsigned int any = a | b | c;
        const unsigned int first = any & (~any + 1U);
        return (any & kNotFinite) != 0 || (a & b & c & first) != 0;
    }

    void clip(BakedTriangles::tFirstPassData& data,
              std::size_t meshNumber,
              int triangle,
              const int (&corners)[3]) const {
        ClipPoint buffers[2][kMaxPolygonVertices];
        ClipPoint* polygon = buffers[0];
        ClipPoint* scratch = buffers[1];
        for (int k = 0; k < 3; ++k) {
            polygon[k] = projected_.clip[static_cast<std::size_t>(corners[k])];
        }
        unsigned int count = 0;
        unsigned int codes = 0;
        if (space_.clipTriangle(polygon, scratch, count, codes)) {
            addPolygon(data, meshNumber,
                       {nullptr, count, static_cast<std::uint32_t>(triangle), codes}, polygon);
        }
    }

    static void addPolygon(BakedTriangles::tFirstPassData& data,
                           std::size_t meshNumber,
                           BakedTriangles::ClippedPolygon polygon,
                           const ClipPoint* points) {
        std::list<BakedTriangles::ClippedPolygon>& polygons = data.clippedPolygons[meshNumber];
        polygons.push_back(polygon);
        polygons.back().vertices = new ClipPoint[polygon.vertexCount];
        std::copy_n(points, polygon.vertexCount, polygons.back().vertices);
        data.vertexCount += polygon.vertexCount;
        data.triangleCount += polygon.vertexCount > 2 ? polygon.vertexCount - 2 : 0;
        RequireCapacity(data.vertexCount, data.triangleCount);
    }

    const DiscreteProjectionSpace& space_;
    const kx::kxTriMesh& mesh_;
    const ProjectedVertices& projected_;
    ItemCounter& work_;
};

std::uint64_t VertexQuantityOf(const std::vector<const kx::kxTriMesh*>& meshes) {
    std::uint64_t count = 0;
    for (const kx::kxTriMesh* mesh : meshes) {
        count += IsUsable(mesh) ? static_cast<std::uint64_t>(VertexQuantity(*mesh)) : 0;
    }
    return count;
}

} // namespace

void RunFirstPass(const BakedTriangles& baked,
                  BakedTriangles::tFirstPassData& data,
                  ItemCounter& work) {
    assert(baked.projectionSpace != nullptr);
    const std::vector<const kx::kxTriMesh*>& meshes = baked.meshes;
    data.release();
    data.clippedPolygons.resize(meshes.size());
    data.insideTriangles.resize(meshes.size(), nullptr);
    RequireCapacity(VertexQuantityOf(meshes), 0);
    ProjectedVertices projected(meshes);
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        if (!IsUsable(meshes[i])) {
            continue;
        }
        const auto triangles = static_cast<std::size_t>(meshes[i]->GetTriangleQuantity());
        projected.project(*meshes[i], *baked.projectionSpace, work);
        data.vertexCount += static_cast<std::uint32_t>(VertexQuantity(*meshes[i]));
        data.insideTriangles[i] = new unsigned int[(triangles + kBitsPerWord - 1) / kBitsPerWord]();
        MeshClipper(*baked.projectionSpace, *meshes[i], projected, work).run(data, i);
        RequireCapacity(data.vertexCount, data.triangleCount);
    }
}

} // namespace ctr
