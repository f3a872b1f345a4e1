// Baking: meshes become integer triangles with exact planes under a bounding-volume hierarchy.
//
// The first pass projects every vertex once, clips the triangles that cross the view volume and
// counts; the second fills arrays of known size. The hierarchy is built over boxes in world space
// and its boxes are then recomputed in grid coordinates, where the queries compare. Planes come
// last: they take as much memory as the builder has had for itself.
#include <ctr/BakedTriangles.h>

#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>
#include <kxSceneGraph/kxAttributes.h>

#include "linesets/IndexRange.h"
#include "linesets/SetConstruction.h"
#include "projection/GridQuantisation.h"
#include "projection/Homogeneous.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/Baking.h"
#include "visibility/bvh/BvhNode.h"
#include "visibility/exact/GridArithmetic.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <typeinfo>

namespace ctr {
namespace {

using ClipPoint = Wm4::Vector4<float>;

constexpr std::int32_t kOutsideMarker = 1 << 28;
constexpr unsigned int kMaxTrianglesInLeaf = 10;
constexpr unsigned int kBitsPerWord = 32;

/// Placements share buffers: a few of those hold more in all than numbers can count. Edges keep one
/// bit of a number for their direction, and the hierarchy takes 2^30 triangles.
void RequireRoom(std::uint64_t vertices, std::uint64_t triangles) {
    if (vertices > BakedTriangles::kMaxVertices) {
        throw std::length_error("more than 2147483519 vertices to bake, each as often as placed");
    }
    if (triangles > BakedTriangles::kMaxTriangles) {
        throw std::length_error("more than 1073741824 triangles to bake, each as often as placed");
    }
}

int VertexQuantity(const kx::kxTriMesh& mesh) {
    return static_cast<int>(PositionCount(mesh.GetVertexBuffer()));
}

/// The clip-space position of a vertex of a mesh.
class VertexProjector {
public:
    VertexProjector(const kx::kxTriMesh& mesh, const DiscreteProjectionSpace& space)
        : vertices_(*mesh.GetVertexBuffer()), toWorld_(mesh.GetWorldTransformation()),
          toClip_(space.worldToClip) {}

    ClipPoint operator()(int vertex) const {
        return TransformPoint(toClip_, toWorld_.ApplyForward(vertices_.Position3(vertex), true));
    }

private:
    const kx::kxVertexBuffer& vertices_;
    const kx::kxGenericTransformation<float> toWorld_;
    const Wm4::Matrix4<float> toClip_;
};

/// The triangles of a mesh, without the way through the table of virtual functions where the mesh
/// is of the framework's own class.
class TriangleReader {
public:
    explicit TriangleReader(const kx::kxTriMesh& mesh)
        : mesh_(mesh), own_(typeid(mesh) == typeid(kx::kxTriMesh)) {}

    bool read(int triangle, int (&corners)[3]) const {
        return own_ ? mesh_.kx::kxTriMesh::GetTriangle(triangle, corners[0], corners[1], corners[2])
                    : mesh_.GetTriangle(triangle, corners[0], corners[1], corners[2]);
    }

private:
    const kx::kxTriMesh& mesh_;
    const bool own_;
};

bool IsFinite(const ClipPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]) && std::isfinite(p[3]);
}

/// One bit for each plane that a point lies outside of, in the order of clipping and by the same
/// comparisons, or the bit of one that is not finite.
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

/// Before the planes are there.
unsigned int TriangleCountOf(const BakedTriangles& baked) {
    return static_cast<unsigned int>(baked.triangleIndices.size() / 3);
}

/// Appends a triangle counter-clockwise on screen; what became of it.
enum class Winding { degenerate, kept, reversed };

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

/// What the hierarchy is built over: the triangles' boxes in world space.
class TrianglePrimitives : public kx::kxGenericBVHPrimitives {
public:
    TrianglePrimitives(const BakedTriangles& baked, ItemCounter& work)
        : indices_(baked.triangleIndices), positions_(baked.vertices.size()) {
        ForEachCounted(positions_.size(), work, [&](std::size_t i) {
            positions_[i] = GridToWorld(*baked.projectionSpace, baked.vertices[i]);
        });
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
///
/// Gathered in integers: no conversion to float changes which of two is the smaller.
kx::kxBBox LeafBox(const BakedTriangles& baked, const HierarchyNode& leaf) {
    if (leaf.second == 0) {
        return {};
    }
    constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    BakedVertex min{kHighest, kHighest, kHighest};
    BakedVertex max{kLowest, kLowest, kLowest};
    for (unsigned int slot = FirstSlot(leaf); slot < FirstSlot(leaf) + leaf.second; ++slot) {
        const unsigned int* corners =
            baked.triangleIndices.data() + 3 * std::size_t{baked.bvh.primitives[slot]};
        for (int k = 0; k < 3; ++k) {
            const BakedVertex v = baked.vertices[corners[k]];
            min = {std::min(min.x, v.x), std::min(min.y, v.y), std::min(min.z, v.z)};
            max = {std::max(max.x, v.x), std::max(max.y, v.y), std::max(max.z, v.z)};
        }
    }
    return {{static_cast<float>(min.x), static_cast<float>(min.y), static_cast<float>(min.z)},
            {static_cast<float>(max.x), static_cast<float>(max.y), static_cast<float>(max.z)}};
}

/// What the first pass keeps of the vertices of a mesh.
struct ProjectedVertices {
    /// Room for those of the largest mesh.
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

/// The first pass over one mesh: clips its triangles and counts what the second will make.
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
            } else if (!isGone(corners)) {
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

    /// Whether clipping would find no corner outside of any plane, and leave the triangle as it is.
    bool isInside(const int (&corners)[3]) const {
        return (outside(corners[0]) | outside(corners[1]) | outside(corners[2])) == 0;
    }

    /// Whether a corner is not finite, or clipping would find all three outside of the first plane
    /// that cuts anything.
    bool isGone(const int (&corners)[3]) const {
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
        RequireRoom(data.vertexCount, data.triangleCount);
    }

    const DiscreteProjectionSpace& space_;
    const kx::kxTriMesh& mesh_;
    const ProjectedVertices& projected_;
    ItemCounter& work_;
};

/// The second pass over one mesh.
class MeshBaker {
public:
    MeshBaker(BakedTriangles& baked,
              std::size_t meshNumber,
              unsigned int firstVertex,
              ItemCounter& work)
        : baked_(baked), mesh_(*baked.meshes[meshNumber]), meshNumber_(meshNumber),
          firstVertex_(firstVertex), work_(work) {}

    /// Returns the number of the vertex after the mesh's last.
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

std::uint64_t VertexQuantityOf(const std::vector<const kx::kxTriMesh*>& meshes) {
    std::uint64_t count = 0;
    for (const kx::kxTriMesh* mesh : meshes) {
        count += IsUsable(mesh) ? static_cast<std::uint64_t>(VertexQuantity(*mesh)) : 0;
    }
    return count;
}

void RunFirstPass(const BakedTriangles& baked,
                  BakedTriangles::tFirstPassData& data,
                  ItemCounter& work) {
    assert(baked.projectionSpace != nullptr);
    const std::vector<const kx::kxTriMesh*>& meshes = baked.meshes;
    data.release();
    data.clippedPolygons.resize(meshes.size());
    data.insideTriangles.resize(meshes.size(), nullptr);
    RequireRoom(VertexQuantityOf(meshes), 0);
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
        RequireRoom(data.vertexCount, data.triangleCount);
    }
}

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

/// A builder of trees asks whether to go on as it gets on.
class TreeWork : public kx::kxCancelInterfaceReadOnly {
public:
    explicit TreeWork(PhasedProgress& work) : work_(work) {}

    bool isCanceled() const override {
        work_.advance(kItemsPerQuestion);
        return work_.isCanceled();
    }

private:
    static constexpr double kItemsPerQuestion = 4096.0;

    PhasedProgress& work_;
};

/// The boxes of a subtree, children first; returns its number of nodes.
unsigned int ComputeBoxes(BakedTriangles& baked, unsigned int node, ItemCounter& work) {
    HierarchyNode& here = baked.bvh.nodes[node];
    if (IsLeaf(here)) {
        work.count(here.second);
        here.box = LeafBox(baked, here);
        return 1;
    }
    const unsigned int first = FirstChild(here);
    const unsigned int second = SecondChild(here);
    const unsigned int below = ComputeBoxes(baked, first, work) + ComputeBoxes(baked, second, work);
    here.box = baked.bvh.nodes[first].box;
    Extend(here.box, baked.bvh.nodes[second].box.min, baked.bvh.nodes[second].box.max);
    return below + 1;
}

void BuildTree(BakedTriangles& baked, PhasedProgress& work) {
    const TreeWork treeWork(work);
    if (kx::kxLinearGenericBVHBuilder::build(baked.bvh, TrianglePrimitives(baked, work), &treeWork,
                                             kMaxTrianglesInLeaf)) {
        ComputeBoxes(baked, 0, work);
    }
}

void MakePlanes(BakedTriangles& baked, ItemCounter& work) {
    const std::size_t count = TriangleCountOf(baked);
    baked.trianglePlanes.reserve(count);
    ForEachCounted(count, work, [&baked](std::size_t triangle) {
        const unsigned int* const corners = baked.triangleIndices.data() + 3 * triangle;
        const BakedVertex points[3] = {baked.vertices[corners[0]], baked.vertices[corners[1]],
                                       baked.vertices[corners[2]]};
        baked.trianglePlanes.push_back(NormalOf(points));
    });
}

} // namespace

double BakingCost(const std::vector<const kx::kxTriMesh*>& meshes) {
    double vertices = 0.0;
    double triangles = 0.0;
    for (const kx::kxTriMesh* mesh : meshes) {
        if (IsUsable(mesh)) {
            vertices += VertexQuantity(*mesh);
            triangles += mesh->GetTriangleQuantity();
        }
    }
    // Each level of the tree looks at all triangles twice.
    return 3.0 * vertices + triangles * (5.0 + 2.0 * std::log2(1.0 + triangles / 2.0));
}

void Bake(BakedTriangles& baked, PhasedProgress& work) {
    baked.clearData();
    WholeOrNothing guard(baked);
    BakedTriangles::tFirstPassData data;
    RunFirstPass(baked, data, work);
    RunSecondPass(baked, data, work);
    data.release();
    if (!baked.triangleIndices.empty()) {
        BuildTree(baked, work);
        MakePlanes(baked, work);
        work.poll();
    }
    guard.isWhole();
}

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

void BakedTriangles::setContactTolerance(unsigned int steps) {
    ++bakeCount;
    contactTolerance = steps;
}

void BakedTriangles::initializeFirstPass(tFirstPassData& data) const {
    ItemCounter unwatched;
    RunFirstPass(*this, data, unwatched);
}

void BakedTriangles::initialize() {
    PhasedProgress unwatched(nullptr);
    Bake(*this, unwatched);
}

bool BakedTriangles::initialize(kx::kxProgressNotifierInterface& notifier) {
    PhasedProgress work(&notifier);
    try {
        const double cost = BakingCost(meshes);
        work.begin(cost, cost, 0.0);
        Bake(*this, work);
        work.finish();
        return true;
    } catch (const Cancelled&) {
        clearData();
        return false;
    }
}

unsigned int BakedTriangles::computeBakedBVHBBox(unsigned int node) {
    ++bakeCount;
    ItemCounter unwatched;
    return node < bvh.nodes.size() ? ComputeBoxes(*this, node, unwatched) : 0;
}

void BakedTriangles::clearData() {
    ++bakeCount;
    vertices.clear();
    triangleIndices.clear();
    trianglePlanes.clear();
    meshFirstVertex.clear();
    meshFirstTriangle.clear();
    bvh.nodes.clear();
    bvh.primitives.clear();
}

kx::kxTriMesh* BakedTriangles::computeBakedMesh() const {
    assert(projectionSpace != nullptr);
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    const kx::kxPointer<kx::kxVertexBuffer> positions(
        new kx::kxVertexBuffer(attributes, BufferSize(vertices.size())));
    const kx::kxPointer<kx::kxIndexBuffer> triangles(
        new kx::kxIndexBuffer(BufferSize(triangleIndices.size()), kx::IBT_TRIANGLES));
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        positions->Position3(static_cast<int>(i)) = GridToWorld(*projectionSpace, vertices[i]);
    }
    std::copy(triangleIndices.begin(), triangleIndices.end(), triangles->GetData());
    return new kx::kxTriMesh(positions.get(), triangles.get());
}

} // namespace ctr
