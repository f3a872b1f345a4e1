// Runs the passes of baking in order, under a guard that clears incomplete results. Planes are
// computed here: cross products of grid differences, exact in 64 bits (exact/GridArithmetic.h). O(n
// log n) for n triangles, most of it for the BVH.
#include "visibility/baking/Baking.h"

#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BvhConstruction.h"
#include "visibility/baking/FirstPass.h"
#include "visibility/baking/MeshReader.h"
#include "visibility/baking/SecondPass.h"
#include "visibility/exact/GridArithmetic.h"

#include <cmath>
#include <cstddef>

namespace ctr {
namespace {

/// Clears the baked triangles on destruction unless committed.
class ClearUnlessCommitted {
public:
    explicit ClearUnlessCommitted(BakedTriangles& baked) : baked_(&baked) {}
    ClearUnlessCommitted(const ClearUnlessCommitted&) = delete;
    ClearUnlessCommitted& operator=(const ClearUnlessCommitted&) = delete;
    ~ClearUnlessCommitted() {
        if (baked_ != nullptr) {
            baked_->clearData();
        }
    }

    void commit() { baked_ = nullptr; }

private:
    BakedTriangles* baked_;
};

void MakePlanes(BakedTriangles& baked, ItemCounter& work) {
    const std::size_t count = baked.triangleIndices.size() / 3;
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
    // Each level of the BVH visits all triangles twice.
    return 3.0 * vertices + triangles * (5.0 + 2.0 * std::log2(1.0 + triangles / 2.0));
}

void Bake(BakedTriangles& baked, PhasedProgress& work) {
    baked.clearData();
    ClearUnlessCommitted guard(baked);
    BakedTriangles::tFirstPassData data;
    RunFirstPass(baked, data, work);
    RunSecondPass(baked, data, work);
    data.release();
    if (!baked.triangleIndices.empty()) {
        BuildBvh(baked, work);
        MakePlanes(baked, work);
        work.poll();
    }
    guard.commit();
}

} // namespace ctr
