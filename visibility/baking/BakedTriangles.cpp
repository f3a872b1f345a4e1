// The public class over the passes of baking.
#include <ctr/BakedTriangles.h>

#include <kxSceneGraph/kxAttributes.h>

#include "linesets/SetConstruction.h"
#include "projection/GridQuantisation.h"
#include "visibility/baking/Baking.h"
#include "visibility/baking/BvhConstruction.h"
#include "visibility/baking/FirstPass.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace ctr {

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
