// Baking: meshes become integer triangles with exact planes under a bounding-volume hierarchy.
//
// The first pass projects every vertex once, clips the triangles that cross the view volume and
// counts; the second fills arrays of known size. The hierarchy is built over boxes in world space
// and its boxes are then recomputed in grid coordinates, where the queries compare.
#include <ctr/BakedTriangles.h>

#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>
#include <kxSceneGraph/kxAttributes.h>

#include "projection/GridQuantisation.h"
#include "projection/Homogeneous.h"
#include "visibility/BakedMesh.h"
#include "visibility/GridArithmetic.h"
#include "visibility/HierarchyNode.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>

namespace ctr {
namespace {

using ClipPoint = Wm4::Vector4<float>;

constexpr unsigned int kUncutCodes = 1U | 2U << 2 | 3U << 4;
constexpr std::int32_t kOutsideMarker = 1 << 28;
constexpr unsigned int kMaxTrianglesInLeaf = 10;
constexpr unsigned int kBitsPerWord = 32;

int VertexQuantity(const kx::kxTriMesh& mesh) {
    return mesh.GetVertexBuffer()->GetVertexQuantity();
}

/// Clip-space positions of all vertices of a mesh into `clip`.
void ProjectVertices(const kx::kxTriMesh& mesh,
                     const DiscreteProjectionSpace& space,
                     ClipPoint* clip) {
    const kx::kxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    const kx::kxGenericTransformation<float>& toWorld = mesh.GetWorldTransformation();
    for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
        clip[i] =
            TransformPoint(space.worldToClip, toWorld.ApplyForward(vertices.Position3(i), true));
    }
}

bool IsFinite(const ClipPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]) && std::isfinite(p[3]);
}

/// The clip-space corners of a triangle of a mesh; false when it does not exist or is not finite.
bool FetchTriangle(const kx::kxTriMesh& mesh, int triangle, const ClipPoint* clip, ClipPoint* out) {
    int corners[3];
    if (!mesh.GetTriangle(triangle, corners[0], corners[1], corners[2])) {
        return false;
    }
    for (int k = 0; k < 3; ++k) {
        if (corners[k] < 0 || corners[k] >= VertexQuantity(mesh) || !IsFinite(clip[corners[k]])) {
            return false;
        }
        out[k] = clip[corners[k]];
    }
    return true;
}

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

/// Appends a triangle counter-clockwise on screen, with its plane; what became of it.
enum class Winding { degenerate, kept, reversed };

Winding AppendTriangle(BakedTriangles& baked, unsigned int a, unsigned int b, unsigned int c) {
    const BakedVertex& p0 = baked.vertices[a];
    const GridVector ab = Difference(baked.vertices[b], p0);
    const GridVector ac = Difference(baked.vertices[c], p0);
    const long area = CrossXY(ab, ac);
    if (area == 0) {
        return Winding::degenerate;
    }
    const bool reverse = area < 0;
    baked.triangleIndices.insert(baked.triangleIndices.end(),
                                 {a, reverse ? c : b, reverse ? b : c});
    baked.trianglePlanes.push_back(reverse ? Cross(ab, ac) : Cross(ac, ab));
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

/// What the hierarchy is built over: the triangles' boxes in world space.
class TrianglePrimitives : public kx::kxGenericBVHPrimitives {
public:
    explicit TrianglePrimitives(const BakedTriangles& baked)
        : indices_(baked.triangleIndices), positions_(baked.vertices.size()) {
        std::transform(
            baked.vertices.begin(), baked.vertices.end(), positions_.begin(),
            [&](const BakedVertex& v) { return GridToWorld(*baked.projectionSpace, v); });
    }

    unsigned int getPrimitiveQuantity() const override {
        return static_cast<unsigned int>(indices_.size() / 3);
    }

    kx::kxBBox getPrimitiveBox(unsigned int i) const override {
        kx::kxBBox box;
        for (std::size_t k = 3 * std::size_t{i}; k < 3 * std::size_t{i} + 3; ++k) {
            const Wm4::Vector3<float>& p = positions_[indices_[k]];
            for (int axis = 0; axis < 3; ++axis) {
                box.min[axis] = std::min(box.min[axis], p[axis]);
                box.max[axis] = std::max(box.max[axis], p[axis]);
            }
        }
        return box;
    }

private:
    const std::vector<unsigned int>& indices_;
    std::vector<Wm4::Vector3<float>> positions_;
};

void Extend(kx::kxBBox& box, const float min[3], const float max[3]) {
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(box.min[axis], min[axis]);
        box.max[axis] = std::max(box.max[axis], max[axis]);
    }
}

/// The grid box of the triangles in a leaf; the empty box for none.
kx::kxBBox LeafBox(const BakedTriangles& baked, const HierarchyNode& leaf) {
    kx::kxBBox box;
    for (unsigned int slot = FirstSlot(leaf); slot < FirstSlot(leaf) + leaf.second; ++slot) {
        const unsigned int* corners =
            baked.triangleIndices.data() + 3 * std::size_t{baked.bvh.primitives[slot]};
        for (int k = 0; k < 3; ++k) {
            const BakedVertex& v = baked.vertices[corners[k]];
            const float p[3] = {static_cast<float>(v.x), static_cast<float>(v.y),
                                static_cast<float>(v.z)};
            Extend(box, p, p);
        }
    }
    return box;
}

/// The first pass over one mesh: clips its triangles and counts what the second will make.
class MeshClipper {
public:
    MeshClipper(const DiscreteProjectionSpace& space,
                const kx::kxTriMesh& mesh,
                const ClipPoint* clip)
        : space_(space), mesh_(mesh), clip_(clip) {}

    void run(BakedTriangles::tFirstPassData& data, std::size_t meshNumber) {
        for (int i = 0; i < mesh_.GetTriangleQuantity(); ++i) {
            ClipPoint buffers[2][kMaxPolygonVertices];
            ClipPoint* polygon = buffers[0];
            ClipPoint* scratch = buffers[1];
            unsigned int count = 0;
            unsigned int codes = 0;
            if (!FetchTriangle(mesh_, i, clip_, polygon) ||
                !space_.clipTriangle(polygon, scratch, count, codes)) {
                continue;
            }
            const auto triangle = static_cast<std::uint32_t>(i);
            if (count == 3 && codes == kUncutCodes) {
                data.insideTriangles[meshNumber][triangle / kBitsPerWord] |=
                    1U << (triangle % kBitsPerWord);
                ++data.triangleCount;
            } else {
                addPolygon(data, meshNumber, {nullptr, count, triangle, codes}, polygon);
            }
        }
    }

private:
    static constexpr unsigned int kMaxPolygonVertices = 9;

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
    }

    const DiscreteProjectionSpace& space_;
    const kx::kxTriMesh& mesh_;
    const ClipPoint* clip_;
};

/// The second pass over one mesh.
class MeshBaker {
public:
    MeshBaker(BakedTriangles& baked, std::size_t meshNumber, unsigned int firstVertex)
        : baked_(baked), mesh_(*baked.meshes[meshNumber]), meshNumber_(meshNumber),
          firstVertex_(firstVertex) {}

    /// Returns the number of the vertex after the mesh's last.
    unsigned int run(BakedTriangles::tFirstPassData& data, ClipPoint* clip) {
        baked_.meshFirstVertex[meshNumber_] = firstVertex_;
        baked_.meshFirstTriangle[meshNumber_] =
            static_cast<unsigned int>(baked_.trianglePlanes.size());
        ProjectVertices(mesh_, *baked_.projectionSpace, clip);
        const int count = VertexQuantity(mesh_);
        for (int i = 0; i < count; ++i) {
            baked_.vertices[firstVertex_ + static_cast<unsigned int>(i)] =
                BakeVertex(*baked_.projectionSpace, clip[i]);
        }
        addInsideTriangles(data.insideTriangles[meshNumber_]);
        delete[] data.insideTriangles[meshNumber_];
        data.insideTriangles[meshNumber_] = nullptr;

        unsigned int nextVertex = firstVertex_ + static_cast<unsigned int>(count);
        for (BakedTriangles::ClippedPolygon& polygon : data.clippedPolygons[meshNumber_]) {
            addPolygonVertices(polygon, nextVertex);
            addFan(polygon, nextVertex);
            nextVertex += polygon.vertexCount;
        }
        return nextVertex;
    }

private:
    void addInsideTriangles(const unsigned int* inside) {
        for (int i = 0; i < mesh_.GetTriangleQuantity(); ++i) {
            const auto bit = static_cast<unsigned int>(i);
            if ((inside[bit / kBitsPerWord] >> (bit % kBitsPerWord) & 1U) == 0) {
                continue;
            }
            int corners[3] = {0, 0, 0};
            mesh_.GetTriangle(i, corners[0], corners[1], corners[2]);
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
};

/// Room for the clip-space vertices of the largest mesh.
std::vector<ClipPoint> MakeVertexScratch(const std::vector<const kx::kxTriMesh*>& meshes) {
    int most = 0;
    for (const kx::kxTriMesh* mesh : meshes) {
        most = IsUsable(mesh) ? std::max(most, VertexQuantity(*mesh)) : most;
    }
    return std::vector<ClipPoint>(static_cast<std::size_t>(most));
}

std::size_t FanTriangleCount(const std::list<BakedTriangles::ClippedPolygon>& polygons) {
    std::size_t count = 0;
    for (const BakedTriangles::ClippedPolygon& polygon : polygons) {
        count += polygon.vertexCount > 2 ? polygon.vertexCount - 2 : 0;
    }
    return count;
}

/// Leaves nothing baked when baking does not come to its end.
class WholeOrNothing {
public:
    explicit WholeOrNothing(BakedTriangles& baked) : baked_(&baked) {}
    WholeOrNothing(const WholeOrNothing&) = delete;
    WholeOrNothing& operator=(const WholeOrNothing&) = delete;
    ~WholeOrNothing() {
        if (baked_ != nullptr) {
            baked_->clearData();
        }
    }

    void isWhole() { baked_ = nullptr; }

private:
    BakedTriangles* baked_;
};

} // namespace

BakedTriangles::tFirstPassData::~tFirstPassData() {
    release();
}

void BakedTriangles::tFirstPassData::release() {
    for (const std::list<ClippedPolygon>& polygons : clippedPolygons) {
        for (const ClippedPolygon& polygon : polygons) {
            delete[] polygon.vertices;
        }
    }
    for (const unsigned int* bits : insideTriangles) {
        delete[] bits;
    }
    clippedPolygons.clear();
    insideTriangles.clear();
    vertexCount = 0;
    triangleCount = 0;
}

void BakedTriangles::setMeshes(const std::vector<const kx::kxTriMesh*>& newMeshes) {
    meshes = newMeshes;
}

void BakedTriangles::setProjectionSpace(const DiscreteProjectionSpace* space) {
    projectionSpace = space;
}

void BakedTriangles::initializeFirstPass(tFirstPassData& data) const {
    data.release();
    data.clippedPolygons.resize(meshes.size());
    data.insideTriangles.resize(meshes.size(), nullptr);
    std::vector<ClipPoint> clip = MakeVertexScratch(meshes);
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        if (!IsUsable(meshes[i])) {
            continue;
        }
        const auto triangles = static_cast<std::size_t>(meshes[i]->GetTriangleQuantity());
        ProjectVertices(*meshes[i], *projectionSpace, clip.data());
        data.vertexCount += static_cast<std::uint32_t>(VertexQuantity(*meshes[i]));
        data.insideTriangles[i] = new unsigned int[(triangles + kBitsPerWord - 1) / kBitsPerWord]();
        MeshClipper(*projectionSpace, *meshes[i], clip.data()).run(data, i);
    }
}

void BakedTriangles::initialize() {
    ++bakeCount;
    clearData();
    WholeOrNothing guard(*this);
    tFirstPassData data;
    initializeFirstPass(data);

    vertices.resize(data.vertexCount);
    triangleIndices.reserve(3 * std::size_t{data.triangleCount});
    trianglePlanes.reserve(data.triangleCount);
    meshFirstVertex.assign(meshes.size() + 1, 0);
    meshFirstTriangle.assign(meshes.size() + 1, 0);
    clippedTriangleOrigins.assign(meshes.size(), {});
    std::vector<ClipPoint> clip = MakeVertexScratch(meshes);
    unsigned int nextVertex = 0;
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        if (IsUsable(meshes[i])) {
            clippedTriangleOrigins[i].reserve(FanTriangleCount(data.clippedPolygons[i]));
            nextVertex = MeshBaker(*this, i, nextVertex).run(data, clip.data());
        }
    }
    meshFirstVertex.back() = nextVertex;
    meshFirstTriangle.back() = static_cast<unsigned int>(trianglePlanes.size());

    if (!trianglePlanes.empty() &&
        kx::kxLinearGenericBVHBuilder::build(bvh, TrianglePrimitives(*this), nullptr,
                                             kMaxTrianglesInLeaf)) {
        computeBakedBVHBBox(0);
    }
    guard.isWhole();
}

unsigned int BakedTriangles::computeBakedBVHBBox(unsigned int node) {
    HierarchyNode& here = bvh.nodes[node];
    if (IsLeaf(here)) {
        here.box = LeafBox(*this, here);
        return 1;
    }
    const unsigned int first = FirstChild(here);
    const unsigned int second = SecondChild(here);
    const unsigned int below = computeBakedBVHBBox(first) + computeBakedBVHBBox(second);
    here.box = bvh.nodes[first].box;
    Extend(here.box, bvh.nodes[second].box.min, bvh.nodes[second].box.max);
    return below + 1;
}

void BakedTriangles::clearData() {
    vertices.clear();
    triangleIndices.clear();
    trianglePlanes.clear();
    meshFirstVertex.clear();
    meshFirstTriangle.clear();
    bvh.nodes.clear();
    bvh.primitives.clear();
}

kx::kxTriMesh* BakedTriangles::computeBakedMesh() const {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    const kx::kxPointer<kx::kxVertexBuffer> positions(
        new kx::kxVertexBuffer(attributes, static_cast<int>(vertices.size())));
    const kx::kxPointer<kx::kxIndexBuffer> triangles(
        new kx::kxIndexBuffer(static_cast<int>(triangleIndices.size()), kx::IBT_TRIANGLES));
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        positions->Position3(static_cast<int>(i)) = GridToWorld(*projectionSpace, vertices[i]);
    }
    std::copy(triangleIndices.begin(), triangleIndices.end(), triangles->GetData());
    return new kx::kxTriMesh(positions.get(), triangles.get());
}

} // namespace ctr
