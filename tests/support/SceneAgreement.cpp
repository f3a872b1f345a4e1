// All results of the library are converted to plain lists, which are compared with those of the
// oracle.
#include "support/SceneAgreement.h"

#include <ctr/LineSegmentSet.h>
#include <ctr/TrianglesIntersection.h>

#include "linesets/SegmentBuilders.h"
#include "support/Baking.h"
#include "support/Differences.h"
#include "support/ExactOcclusion.h"
#include "support/ExactSilhouettes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

namespace test_support {

namespace {

using ctr::BakedTriangles;

// --- baking ---

std::vector<Coordinates> AllCoordinates(const std::vector<ctr::BakedVertex>& vertices) {
    std::vector<Coordinates> all;
    std::transform(vertices.begin(), vertices.end(), std::back_inserter(all), CoordinatesOf);
    return all;
}

std::vector<std::array<std::int64_t, 3>> AllPlanes(const BakedTriangles& baked) {
    std::vector<std::array<std::int64_t, 3>> all;
    for (const auto& n : baked.trianglePlanes) {
        all.push_back({n.X(), n.Y(), n.Z()});
    }
    return all;
}

std::vector<unsigned int> AllIndices(const ExactBaked& exact) {
    std::vector<unsigned int> all;
    for (const auto& triangle : exact.triangles) {
        all.insert(all.end(), triangle.begin(), triangle.end());
    }
    return all;
}

// --- the tree ---

kx::kxBBox GridBox(const BakedTriangles& baked, unsigned int triangle) {
    kx::kxBBox box;
    for (std::size_t k = 0; k < 3; ++k) {
        const Coordinates p =
            CoordinatesOf(baked.vertices[baked.triangleIndices[3 * std::size_t{triangle} + k]]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.min[axis] = std::min(box.min[axis], static_cast<float>(p[axis]));
            box.max[axis] = std::max(box.max[axis], static_cast<float>(p[axis]));
        }
    }
    return box;
}

kx::kxBBox UnionOfBoxes(const kx::kxBBox& a, const kx::kxBBox& b) {
    kx::kxBBox box;
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(a.min[axis], b.min[axis]);
        box.max[axis] = std::max(a.max[axis], b.max[axis]);
    }
    return box;
}

// Walks a tree from its root, as far as it is one.
class TreeWalk {
public:
    explicit TreeWalk(const BakedTriangles& baked) : baked_(baked) {}

    std::string check() {
        visit(0);
        if (nodes_ != baked_.bvh.nodes.size()) {
            complain("nodes are visited", nodes_);
        }
        std::vector<unsigned int> all(baked_.trianglePlanes.size());
        for (unsigned int i = 0; i < all.size(); ++i) {
            all[i] = i;
        }
        std::sort(triangles_.begin(), triangles_.end());
        return complaints_ + DifferenceOf("triangles in leaves", triangles_, all);
    }

private:
    void complain(const char* what, std::size_t number) {
        complaints_.append("tree: ").append(std::to_string(number)).append(" ").append(what);
        complaints_.append("\n");
    }

    // A tree that is none has more nodes below its root than nodes: that ends the walk.
    void visit(unsigned int number) {
        if (number >= baked_.bvh.nodes.size() || ++nodes_ > baked_.bvh.nodes.size()) {
            complain("is no node, or a node below itself", number);
            return;
        }
        const auto& node = baked_.bvh.nodes[number];
        const bool isLeaf = node.first >> 30U == 3U;
        if (!(node.box == (isLeaf ? visitLeaf(node) : visitChildren(node)))) {
            complain("has another box", number);
        }
    }

    kx::kxBBox visitChildren(const kx::kxGenericBVH::Node& node) {
        kx::kxBBox box;
        for (const unsigned int child : {node.first & 0x3fffffffU, node.second & 0x0fffffffU}) {
            visit(child);
            if (child < baked_.bvh.nodes.size()) {
                box = UnionOfBoxes(box, baked_.bvh.nodes[child].box);
            }
        }
        return box;
    }

    kx::kxBBox visitLeaf(const kx::kxGenericBVH::Node& node) {
        const std::size_t first = node.first & 0x3fffffffU;
        kx::kxBBox box;
        if (node.second < 1 || node.second > 10 ||
            first + node.second > baked_.bvh.primitives.size()) {
            complain("triangles are in a leaf", node.second);
            return box;
        }
        for (std::size_t slot = first; slot < first + node.second; ++slot) {
            const unsigned int triangle = baked_.bvh.primitives[slot];
            triangles_.push_back(triangle);
            if (triangle < baked_.trianglePlanes.size()) {
                box = UnionOfBoxes(box, GridBox(baked_, triangle));
            }
        }
        return box;
    }

    const BakedTriangles& baked_;
    std::size_t nodes_ = 0;
    std::vector<unsigned int> triangles_;
    std::string complaints_;
};

// --- what hides an edge ---

using HiddenList = std::vector<ctr::RationalInterval>;

long StepsOf(const BakedTriangles& baked) {
    return StepsThatCount(*baked.projectionSpace, baked.contactTolerance);
}

HiddenList HiddenByLibrary(const BakedTriangles& baked, const GridEdge& edge) {
    HiddenList ranges;
    baked.computeOcclusionIntervals(edge.first, edge.second, ranges);
    return ranges;
}

HiddenList FusedByLibrary(HiddenList ranges) {
    ctr::IntervalTools::FuseOverlappingIntervals(ranges);
    return ranges;
}

bool IsProperRange(const ctr::RationalInterval& range) {
    return range.start.Y() > 0 && range.end.Y() > 0 && range.start.X() >= 0 &&
           Compare(range.start, range.end) < 0 && range.end.X() <= range.end.Y();
}

std::string RangeDifference(const char* what, const HiddenList& found, const HiddenList& expected) {
    if (SameForm(found, expected)) {
        return {};
    }
    return std::string(what)
               .append(": ")
               .append(Text(found))
               .append(" instead of ")
               .append(Text(expected)) +
           "\n";
}

// --- silhouettes ---

using VertexPairs = std::vector<std::array<unsigned int, 2>>;

VertexPairs VertexPairsOf(const ctr::LineSegmentSet& set) {
    VertexPairs pairs;
    const std::vector<unsigned int> indices = IndicesOf(set);
    for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
        pairs.push_back({indices[i], indices[i + 1]});
    }
    return pairs;
}

std::string CompareSilhouetteSet(const SetPointer& set,
                                 const kx::kxTriMesh* mesh,
                                 const ExactSilhouette& exact) {
    if (!set) {
        return DifferenceOf("silhouette of a null set", {}, exact.segments);
    }
    std::string text = DifferenceOf("silhouette", VertexPairsOf(*set), exact.segments);
    if (exact.segments.empty()) {
        text.append("a set without silhouettes is not null\n");
    }
    if (IndicesOf(*set).size() % 2 != 0 ||
        set->GetIndexBuffer()->GetIndexBufferType() != kx::IBT_LINES) {
        text.append("a silhouette set is no line list\n");
    }
    if (set->GetVertexBuffer() != mesh->GetVertexBuffer()) {
        text.append("a silhouette set has other vertices than its mesh\n");
    }
    return text;
}

void CountSilhouette(SilhouetteCounts& counts, const ExactSilhouette& exact) {
    counts.segments += static_cast<int>(exact.segments.size());
    counts.inside += exact.edgesInside;
    counts.folded += exact.edgesFolded;
    counts.ofClipping += exact.edgesOfClipping;
    counts.restored += exact.edgesRestored;
    counts.nullSlots += exact.segments.empty() ? 1 : 0;
}

} // namespace

BakedScene::BakedScene(Scene made)
    : scene(std::move(made)), exact(BakeExactly(scene.space, scene.meshList())),
      baked(Bake(scene.space, scene.meshList())) {}

std::string CompareBaking(const ExactBaked& exact, const BakedTriangles& baked) {
    std::string text;
    text +=
        DifferenceOf("grid points", AllCoordinates(baked.vertices), AllCoordinates(exact.vertices));
    text += DifferenceOf("corners of triangles", baked.triangleIndices, AllIndices(exact));
    text += DifferenceOf("planes", AllPlanes(baked), exact.planes);
    text += DifferenceOf("first vertices", baked.meshFirstVertex, exact.meshFirstVertex);
    text += DifferenceOf("first triangles", baked.meshFirstTriangle, exact.meshFirstTriangle);
    text += DifferenceOf("origins", baked.clippedTriangleOrigins, exact.origins);
    if (!text.empty()) {
        return text; // the tree's triangles would be others
    }
    if (exact.triangles.empty()) {
        return baked.bvh.nodes.empty() ? "" : "a tree of nothing\n";
    }
    return CheckTree(baked);
}

std::string CheckTree(const BakedTriangles& baked) {
    return TreeWalk(baked).check();
}

std::string CompareOcclusion(const BakedScene& test, const GridEdge& edge) {
    const HiddenList expected =
        HiddenRanges(test.exact, edge.first, edge.second, StepsOf(test.baked));
    const HiddenList raw = HiddenByLibrary(test.baked, edge);
    HiddenList sorted = raw;
    SortByValue(sorted);
    std::string text = RangeDifference("hidden ranges", sorted, expected);
    if (!std::all_of(raw.begin(), raw.end(), IsProperRange)) {
        text.append("no proper range among ").append(Text(raw)).append("\n");
    }
    return text + RangeDifference("fused ranges", FusedByLibrary(raw), ExactUnion(expected));
}

std::string CompareHiddenPoints(const BakedScene& test, const GridEdge& edge) {
    const HiddenList raw = HiddenByLibrary(test.baked, edge);
    const HiddenList fused = FusedByLibrary(raw);
    std::string text;
    const long steps = StepsOf(test.baked);
    for (const Fraction& sample : SamplesBetweenEnds(raw)) {
        const auto isBehind = [&](long tolerance) {
            return IsPointHidden(test.exact, edge.first, edge.second, sample, tolerance);
        };
        const bool isHidden = Contains(fused, sample);
        if ((isBehind(steps) && !isHidden) || (isHidden && !isBehind(0))) {
            text.append("the point at ").append(Text(sample)).append(" differs from ");
            text.append(Text(fused)).append("\n");
        }
    }
    return text;
}

std::string CompareSilhouettes(const BakedScene& test, SilhouetteCounts& counts) {
    const auto meshes = test.scene.meshList();
    const auto expected = SilhouettesExactly(test.exact, meshes);
    std::vector<ctr::LineSegmentSet*> list;
    const bool found = test.baked.computeSilhouetteEdges(list);
    const std::vector<SetPointer> sets(list.begin(), list.end());
    if (sets.size() != meshes.size()) {
        return "there is not one silhouette set a mesh\n";
    }
    std::string text = found == test.exact.triangles.empty() ? "found is the opposite\n" : "";
    for (std::size_t i = 0; i < sets.size(); ++i) {
        CountSilhouette(counts, expected[i]);
        text += CompareSilhouetteSet(sets[i], meshes[i], expected[i]);
    }
    return text;
}

std::vector<SegmentBits> SortedBits(const SetPointer& set) {
    std::vector<SegmentBits> segments;
    if (!set) {
        return segments;
    }
    for (const auto& [p, q] : EndsOf(*set)) {
        const auto a = Bits(p);
        const auto b = Bits(q);
        segments.push_back({a[0], a[1], a[2], b[0], b[1], b[2]});
    }
    std::sort(segments.begin(), segments.end());
    return segments;
}

std::string CompareIntersections(const BakedTriangles& baked, IntersectionCounts& counts) {
    const ctr::DiscreteProjectionSpace& space = *baked.projectionSpace;
    const IntersectionPieces expected = PiecesOfIntersections(baked, counts);
    const auto visible = SortedWorldBits(space, expected.visible);
    const ctr::TrianglesIntersection intersection(baked);
    SetPointer hidden;
    const SetPointer alone(intersection.computeIntersectionEdges());
    const SetPointer withHidden(intersection.computeIntersectionEdges(&hidden));
    std::string text = DifferenceOf("visible pieces", SortedBits(alone), visible);
    text += DifferenceOf("visible beside hidden pieces", SortedBits(withHidden), visible);
    return text + DifferenceOf("hidden pieces", SortedBits(hidden),
                               SortedWorldBits(space, expected.hidden));
}

} // namespace test_support
