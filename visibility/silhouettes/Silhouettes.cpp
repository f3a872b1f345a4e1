// Silhouettes from edge directions alone. Exact; edges are grouped by sorting, O(n log n).
//
// A silhouette is usually found as an edge between a front face and a back face (A. Appel, The
// notion of quantitative invisibility and the machine rendering of solids, ACM National Conference
// 1967). Here, every baked triangle is counter-clockwise on screen. Two triangles on opposite sides
// of an edge traverse it in opposite directions; where the surface folds over, both lie on the same
// side and traverse it in the same direction:
//
//        c                     c   d
//       / \                     \ / \           a -> b by both triangles: the surface folds
//      a---b   a -> b and       a---b           along this edge, or ends there when it has
//       \ /    b -> a: inside                   one triangle only.
//        d
//
// So an edge that all its triangles traverse in one direction is a silhouette. No facing test and
// no floats are needed.
#include "visibility/silhouettes/Silhouettes.h"

#include <ctr/BakedTriangles.h>
#include <ctr/LineSegmentSet.h>

#include "linesets/EdgeBuckets.h"
#include "linesets/EdgeSort.h"
#include "linesets/SetConstruction.h"
#include "linesets/Tuning.h"
#include "linesets/Welding.h"
#include "visibility/baking/BakedMesh.h"
#include "visibility/baking/BakedValidation.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

namespace ctr {
namespace {

/// A silhouette edge of the baked triangles, the end with the smaller coordinates first.
struct Candidate {
    std::uint32_t firstRank;
    std::uint32_t secondRank;
    /// 3 j + k for the edge of triangle j that ends at its vertex k.
    std::uint32_t number;
    bool reversed; ///< The winding runs from the larger end to the smaller.
};

bool IsCandidateBefore(const Candidate& x, const Candidate& y) {
    return std::tie(x.firstRank, x.secondRank) < std::tie(y.firstRank, y.secondRank);
}

/// Grid points in the order of x, then y, then z.
PositionKey KeyOf(const BakedVertex& p) {
    constexpr std::uint32_t kSign = 0x80000000U;
    const auto ordered = [](std::int32_t i) { return static_cast<std::uint32_t>(i) ^ kSign; };
    return {std::uint64_t{ordered(p.x)} << 32 | ordered(p.y), ordered(p.z)};
}

/// The silhouette edges of one mesh.
class MeshSilhouette {
public:
    MeshSilhouette(const BakedTriangles& baked,
                   std::size_t mesh,
                   std::size_t nextMesh,
                   ItemCounter& work)
        : baked_(baked), work_(work), mesh_(mesh), firstVertex_(baked.meshFirstVertex[mesh]),
          vertexCount_(baked.meshFirstVertex[nextMesh] - firstVertex_),
          indices_(baked.triangleIndices.data() + 3 * std::size_t{baked.meshFirstTriangle[mesh]}),
          triangleCount_(baked.meshFirstTriangle[nextMesh] - baked.meshFirstTriangle[mesh]) {}

    /// Two vertex numbers of the mesh for each edge.
    std::vector<unsigned int> find() const {
        std::vector<unsigned int> segments;
        for (const Candidate& candidate : sortedCandidates()) {
            appendCandidate(candidate, segments);
        }
        return segments;
    }

private:
    /// The two baked vertices of an edge, in the order of the winding.
    std::pair<unsigned int, unsigned int> endsOf(std::uint32_t number) const {
        const std::uint32_t k = number % 3;
        const unsigned int* corners = indices_ + (number - k);
        return {corners[(k + 2) % 3], corners[k]};
    }

    PositionKey keyOf(std::size_t vertex) const {
        constexpr std::size_t kBlock = LineTuning::kItemsPerCount;
        if (vertex % kBlock == kBlock - 1) {
            work_.count(kBlock);
        }
        return KeyOf(baked_.vertices[firstVertex_ + vertex]);
    }

    /// Calls visit(from, to, number) for every edge, with the position numbers of its ends.
    template <class Visit>
    void forEachEdge(const std::vector<std::uint32_t>& positions, Visit visit) const {
        ForEachCounted(triangleCount_, work_, [&](std::size_t j) {
            const unsigned int* corners = indices_ + 3 * j;
            const auto number = static_cast<std::uint32_t>(3 * j);
            const std::uint32_t ends[3] = {positions[corners[0] - firstVertex_],
                                           positions[corners[1] - firstVertex_],
                                           positions[corners[2] - firstVertex_]};
            visit(ends[2], ends[0], number);
            visit(ends[0], ends[1], number + 1);
            visit(ends[1], ends[2], number + 2);
        });
    }

    /// The numbers of the edges that all their triangles traverse in one direction, the lowest of
    /// each group.
    std::vector<std::uint32_t>
    oneDirectionEdges(const std::vector<std::uint32_t>& positions) const {
        EdgeBuckets buckets(vertexCount_);
        forEachEdge(positions, [&](std::uint32_t from, std::uint32_t to, std::uint32_t) {
            buckets.count(from, to);
        });
        buckets.startAdding(3 * std::size_t{triangleCount_});
        forEachEdge(positions, [&](std::uint32_t from, std::uint32_t to, std::uint32_t number) {
            buckets.add(from, to, number);
        });
        const auto inside = [this](std::uint32_t, const BucketEdge*, const BucketEdge*) {
            work_.count(1);
            return true;
        };
        std::vector<std::uint32_t> numbers;
        buckets.forEachGroup(inside,
                             [&](std::uint32_t, const BucketEdge* group, const BucketEdge* end) {
                                 if (group->key() == end[-1].key()) {
                                     numbers.push_back(group->number());
                                 }
                             });
        return numbers;
    }

    std::vector<Candidate> sortedCandidates() const {
        const auto key = [this](std::size_t vertex) { return keyOf(vertex); };
        const std::vector<std::uint32_t> positions = WeldPositions(vertexCount_, key);
        const std::vector<std::uint32_t> numbers = oneDirectionEdges(positions);
        PositionRanks ranks(vertexCount_);
        for (const std::uint32_t number : numbers) {
            const auto [from, to] = endsOf(number);
            ranks.use(positions[from - firstVertex_]);
            ranks.use(positions[to - firstVertex_]);
        }
        ranks.rank(key, work_);
        std::vector<Candidate> candidates;
        candidates.reserve(numbers.size());
        for (const std::uint32_t number : numbers) {
            const auto [from, to] = endsOf(number);
            const std::uint32_t fromRank = ranks[positions[from - firstVertex_]];
            const std::uint32_t toRank = ranks[positions[to - firstVertex_]];
            candidates.push_back({std::min(fromRank, toRank), std::max(fromRank, toRank), number,
                                  toRank < fromRank});
        }
        SortByFirstRank(candidates, ranks.count(), IsCandidateBefore, work_);
        return candidates;
    }

    void appendCandidate(const Candidate& candidate, std::vector<unsigned int>& segments) const {
        const std::vector<unsigned int>& origins = baked_.clippedTriangleOrigins[mesh_];
        const std::size_t triangle = candidate.number / 3;
        const std::size_t wholeCount = triangleCount_ - origins.size();
        if (triangle < wholeCount) {
            auto [first, second] = endsOf(candidate.number);
            if (candidate.reversed) {
                std::swap(first, second);
            }
            segments.insert(segments.end(), {first - firstVertex_, second - firstVertex_});
        } else if (const auto edge =
                       sourceEdge(origins[triangle - wholeCount], candidate.number % 3)) {
            segments.insert(segments.end(), {edge->first, edge->second});
        }
    }

    /// The whole edge of the source triangle on which an edge of a clipped one lies; none for an
    /// edge created by clipping.
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
    ItemCounter& work_;
    std::size_t mesh_;
    unsigned int firstVertex_;
    unsigned int vertexCount_;
    const unsigned int* indices_;
    unsigned int triangleCount_;
};

/// A set over the mesh's own vertices, with the transformations of the mesh.
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

void FindSilhouettes(const BakedTriangles& baked,
                     std::vector<LineSegmentSet*>& sets,
                     ItemCounter& work) {
    const std::vector<const kx::kxTriMesh*>& meshes = baked.meshes;
    sets.assign(meshes.size(), nullptr);
    if (baked.trianglePlanes.empty()) {
        return;
    }
    assert(HasValidMeshRanges(baked));
    // Meshes from the last to the first, each ending where the usable one after it begins.
    std::size_t nextMesh = meshes.size();
    for (std::size_t mesh = meshes.size(); mesh-- > 0;) {
        if (!IsUsable(meshes[mesh])) {
            continue;
        }
        const std::vector<unsigned int> segments =
            MeshSilhouette(baked, mesh, nextMesh, work).find();
        if (!segments.empty()) {
            sets[mesh] = MakeSet(*meshes[mesh], segments);
        }
        nextMesh = mesh;
    }
}

bool BakedTriangles::computeSilhouetteEdges(std::vector<LineSegmentSet*>& sets) const {
    if (!sets.empty()) {
        return false;
    }
    ItemCounter unwatched;
    FindSilhouettes(*this, sets, unwatched);
    return !trianglePlanes.empty();
}

} // namespace ctr
