// A map from pairs of grid points, smaller first, to the triangles along them and their directions.
#include "support/ExactSilhouettes.h"

#include <cstddef>
#include <map>
#include <utility>

namespace test_support {

namespace {

using Edge = std::pair<Coordinates, Coordinates>;

struct Record {
    std::size_t triangle; // among all baked ones
    unsigned int side;    // ends at this corner
};

struct Runners {
    Record first;
    int upwards = 0;
    int downwards = 0;
};

struct MeshRange {
    std::size_t firstTriangle;
    std::size_t endTriangle;
    std::size_t firstClipped;
    unsigned int firstVertex;
};

std::array<unsigned int, 2> SideEnds(const ExactBaked& baked, const Record& record) {
    const auto& corners = baked.triangles[record.triangle];
    return {corners[(record.side + 2) % 3], corners[record.side]};
}

std::map<Edge, Runners> EdgesOf(const ExactBaked& baked, const MeshRange& range) {
    std::map<Edge, Runners> edges;
    for (std::size_t triangle = range.firstTriangle; triangle < range.endTriangle; ++triangle) {
        for (unsigned int side = 0; side < 3; ++side) {
            const auto ends = SideEnds(baked, {triangle, side});
            const Coordinates from = CoordinatesOf(baked.vertices[ends[0]]);
            const Coordinates to = CoordinatesOf(baked.vertices[ends[1]]);
            const Edge edge = from < to ? Edge(from, to) : Edge(to, from);
            Runners& runners = edges.try_emplace(edge, Runners{{triangle, side}}).first->second;
            ++(from < to ? runners.upwards : runners.downwards);
        }
    }
    return edges;
}

std::array<unsigned int, 2>
OwnEdge(const ExactBaked& baked, const MeshRange& range, const Record& record) {
    auto ends = SideEnds(baked, record);
    if (CoordinatesOf(baked.vertices[ends[1]]) < CoordinatesOf(baked.vertices[ends[0]])) {
        std::swap(ends[0], ends[1]);
    }
    return {ends[0] - range.firstVertex, ends[1] - range.firstVertex};
}

std::array<unsigned int, 2>
SourceEdge(const kx::kxTriMesh& mesh, unsigned int source, unsigned int code) {
    int corner[3];
    mesh.GetTriangle(static_cast<int>(source), corner[0], corner[1], corner[2]);
    constexpr int kEnds[4][2] = {{0, 0}, {0, 2}, {1, 0}, {2, 1}};
    return {static_cast<unsigned int>(corner[kEnds[code][0]]),
            static_cast<unsigned int>(corner[kEnds[code][1]])};
}

void AddCandidate(ExactSilhouette& silhouette,
                  const ExactBaked& baked,
                  const MeshRange& range,
                  const Record& record,
                  const kx::kxTriMesh& mesh,
                  const std::vector<unsigned int>& origins) {
    if (record.triangle < range.firstClipped) {
        silhouette.segments.push_back(OwnEdge(baked, range, record));
        return;
    }
    const unsigned int word = origins[record.triangle - range.firstClipped];
    const unsigned int code = word >> (26U + 2U * record.side) & 3U;
    if (code == 0) {
        ++silhouette.edgesOfClipping;
        return;
    }
    ++silhouette.edgesRestored;
    silhouette.segments.push_back(SourceEdge(mesh, word & 0x3ffffffU, code));
}

ExactSilhouette SilhouetteOf(const ExactBaked& baked,
                             const MeshRange& range,
                             const kx::kxTriMesh& mesh,
                             const std::vector<unsigned int>& origins) {
    ExactSilhouette silhouette;
    for (const auto& [edge, runners] : EdgesOf(baked, range)) {
        if (runners.upwards > 0 && runners.downwards > 0) {
            ++silhouette.edgesInside;
            continue;
        }
        silhouette.edgesFolded += runners.upwards + runners.downwards > 1 ? 1 : 0;
        AddCandidate(silhouette, baked, range, runners.first, mesh, origins);
    }
    return silhouette;
}

} // namespace

// Each mesh's triangles are counted off by the first numbers of the meshes that are used at all;
// a mesh that is skipped has nothing, whatever number its entry holds.
std::vector<ExactSilhouette> SilhouettesExactly(const ExactBaked& baked,
                                                const std::vector<const kx::kxTriMesh*>& meshes) {
    std::vector<ExactSilhouette> silhouettes(meshes.size());
    std::size_t end = baked.triangles.size();
    for (std::size_t i = meshes.size(); i-- > 0;) {
        if (meshes[i] == nullptr ||
            meshes[i]->GetGeometryType() != kx::kxBaseGeometry::GT_TRIMESH) {
            continue;
        }
        const std::size_t first = baked.meshFirstTriangle[i];
        const MeshRange range{first, end, end - baked.origins[i].size(), baked.meshFirstVertex[i]};
        silhouettes[i] = SilhouetteOf(baked, range, *meshes[i], baked.origins[i]);
        end = first;
    }
    return silhouettes;
}

} // namespace test_support
