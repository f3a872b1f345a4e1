// Silhouettes from windings alone.
//
// Every baked triangle is counter-clockwise on screen. Two triangles on the two sides of an edge
// run along it in opposite directions; where the surface folds over, both lie on the same side and
// run along it in the same direction:
//
//        c                     c   d
//       / \                     \ / \           a -> b by both triangles: the surface folds
//      a---b   a -> b and       a---b           along this edge, or ends there when it has
//       \ /    b -> a: inside                   one triangle only.
//        d
//
// So an edge all of whose triangles run one way is a silhouette: no facing test, no floats.
#include <ctr/BakedTriangles.h>
#include <ctr/LineSegmentSet.h>

#include "linesets/EdgeSort.h"
#include "linesets/SetConstruction.h"
#include "visibility/BakedMesh.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

namespace ctr {
namespace {

/// A triangle's edge, the end with the smaller coordinates first.
struct EdgeRecord {
    std::uint32_t firstRank;
    std::uint32_t secondRank;
    /// 3 j + k for the edge of triangle j that ends at its vertex k.
    std::uint32_t number;
    bool reversed; ///< The winding runs from the larger end to the smaller.

    bool samePlace(const EdgeRecord& other) const {
        return firstRank == other.firstRank && secondRank == other.secondRank;
    }
};

bool IsRecordBefore(const EdgeRecord& x, const EdgeRecord& y) {
    return std::tie(x.firstRank, x.secondRank, x.number) <
           std::tie(y.firstRank, y.secondRank, y.number);
}

/// Ranks of grid points by x, then y, then z; equal points share one.
std::vector<std::uint32_t> RankGridPoints(const BakedVertex* vertices, std::size_t count) {
    const auto key = [vertices](std::uint32_t i) {
        return std::tie(vertices[i].x, vertices[i].y, vertices[i].z);
    };
    std::vector<std::uint32_t> order(count);
    for (std::size_t i = 0; i < count; ++i) {
        order[i] = static_cast<std::uint32_t>(i);
    }
    std::sort(order.begin(), order.end(),
              [&](std::uint32_t p, std::uint32_t q) { return key(p) < key(q); });
    std::vector<std::uint32_t> ranks(count);
    std::uint32_t rank = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && key(order[i - 1]) != key(order[i])) {
            ++rank;
        }
        ranks[order[i]] = rank;
    }
    return ranks;
}

/// The silhouette edges of one mesh.
class MeshSilhouette {
public:
    MeshSilhouette(const BakedTriangles& baked, std::size_t mesh, std::size_t nextMesh)
        : baked_(baked), mesh_(mesh), firstVertex_(baked.meshFirstVertex[mesh]),
          vertexCount_(baked.meshFirstVertex[nextMesh] - firstVertex_),
          indices_(baked.triangleIndices.data() + 3 * std::size_t{baked.meshFirstTriangle[mesh]}),
          triangleCount_(baked.meshFirstTriangle[nextMesh] - baked.meshFirstTriangle[mesh]) {}

    /// Two vertex numbers of the mesh for each edge.
    std::vector<unsigned int> find() const {
        std::vector<unsigned int> segments;
        const std::vector<EdgeRecord> records = sortedRecords();
        for (auto group = records.begin(); group != records.end();) {
            const auto groupEnd =
                std::find_if_not(group, records.end(), [&group](const EdgeRecord& record) {
                    return record.samePlace(*group);
                });
            const bool oneDirection =
                std::all_of(group, groupEnd, [&group](const EdgeRecord& record) {
                    return record.reversed == group->reversed;
                });
            if (oneDirection) {
                appendCandidate(*group, segments);
            }
            group = groupEnd;
        }
        return segments;
    }

private:
    /// The two baked vertices of a record, in the order of the winding.
    std::pair<unsigned int, unsigned int> endsOf(std::uint32_t number) const {
        const std::uint32_t k = number % 3;
        const unsigned int* corners = indices_ + (number - k);
        return {corners[(k + 2) % 3], corners[k]};
    }

    std::vector<EdgeRecord> sortedRecords() const {
        const std::vector<std::uint32_t> ranks =
            RankGridPoints(baked_.vertices.data() + firstVertex_, vertexCount_);
        std::vector<EdgeRecord> records(3 * std::size_t{triangleCount_});
        for (std::uint32_t number = 0; number < records.size(); ++number) {
            const auto [from, to] = endsOf(number);
            const std::uint32_t fromRank = ranks[from - firstVertex_];
            const std::uint32_t toRank = ranks[to - firstVertex_];
            const bool reversed = toRank < fromRank;
            records[number] = {reversed ? toRank : fromRank, reversed ? fromRank : toRank, number,
                               reversed};
        }
        SortByFirstRank(records, vertexCount_, IsRecordBefore);
        return records;
    }

    void appendCandidate(const EdgeRecord& record, std::vector<unsigned int>& segments) const {
        const std::vector<unsigned int>& origins = baked_.clippedTriangleOrigins[mesh_];
        const std::size_t triangle = record.number / 3;
        const std::size_t wholeCount = triangleCount_ - origins.size();
        if (triangle < wholeCount) {
            auto [first, second] = endsOf(record.number);
            if (record.reversed) {
                std::swap(first, second);
            }
            segments.insert(segments.end(), {first - firstVertex_, second - firstVertex_});
        } else if (const auto edge =
                       sourceEdge(origins[triangle - wholeCount], record.number % 3)) {
            segments.insert(segments.end(), {edge->first, edge->second});
        }
    }

    /// The whole edge of the source triangle on which an edge of a clipped one lies; none for an
    /// edge that clipping made.
    std::optional<std::pair<unsigned int, unsigned int>> sourceEdge(unsigned int origin,
                                                                    std::uint32_t k) const {
        const unsigned int code = (origin >> (kSourceTriangleBits + 2 * k)) & 3U;
        int corners[3] = {0, 0, 0};
        if (code == 0 ||
            !baked_.meshes[mesh_]->GetTriangle(static_cast<int>(origin & kSourceTriangleMask),
                                               corners[0], corners[1], corners[2])) {
            return std::nullopt;
        }
        return std::pair(static_cast<unsigned int>(corners[code - 1]),
                         static_cast<unsigned int>(corners[(code + 1) % 3]));
    }

    const BakedTriangles& baked_;
    std::size_t mesh_;
    unsigned int firstVertex_;
    unsigned int vertexCount_;
    const unsigned int* indices_;
    unsigned int triangleCount_;
};

/// A set over the mesh's own vertices, placed like the mesh.
LineSegmentSet* MakeSet(const kx::kxTriMesh& mesh, const std::vector<unsigned int>& segments) {
    auto set = std::make_unique<LineSegmentSet>();
    const kx::kxPointer<kx::kxIndexBuffer> lines = MakeLineBuffer(segments.size() / 2);
    std::copy(segments.begin(), segments.end(), lines->GetData());
    set->SetVertexBuffer(mesh.GetVertexBuffer());
    set->SetIndexBuffer(lines.get());
    Place(*set, mesh.GetLocalTransformation(), mesh.GetWorldTransformation());
    UpdateModelSpace(*set, true);
    return set.release();
}

} // namespace

bool BakedTriangles::computeSilhouetteEdges(std::vector<LineSegmentSet*>& sets) const {
    if (!sets.empty()) {
        return false;
    }
    sets.resize(meshes.size(), nullptr);
    if (trianglePlanes.empty()) {
        return false;
    }
    // Meshes from the last to the first, each ending where the usable one after it begins.
    std::size_t nextMesh = meshes.size();
    for (std::size_t mesh = meshes.size(); mesh-- > 0;) {
        if (!IsUsable(meshes[mesh])) {
            continue;
        }
        const std::vector<unsigned int> segments = MeshSilhouette(*this, mesh, nextMesh).find();
        if (!segments.empty()) {
            sets[mesh] = MakeSet(*meshes[mesh], segments);
        }
        nextMesh = mesh;
    }
    return true;
}

} // namespace ctr
