// Whatever bytes make of a scene or of lines, library and oracle agree on it.
#include "projection/ClipReference.h"
#include "support/LineAgreement.h"
#include "support/SceneAgreement.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using test_support::BakedScene;
using test_support::GridEdge;
using test_support::Random;
using test_support::Scene;

void StopAt(const std::string& disagreement, const std::string& about) {
    if (!disagreement.empty()) {
        std::cerr << disagreement << about;
        std::abort();
    }
}

// --- scenes ---

constexpr unsigned int kFineGrids[][2] = {{20, 19}, {28, 3}, {15, 29}, {2, 30}, {24, 11}, {10, 10}};

// Half of the scenes stay on the coarse grid that they are made for.
bool ChooseGrid(Random& random, Scene& scene) {
    const int choice = random.below(12);
    if (choice >= 6) {
        return true;
    }
    scene.space.setVoxelBitSize(kFineGrids[choice][0], kFineGrids[choice][1]);
    return false;
}

// An edge of the grid or, now and then, one of the world, whose clipping is compared on the way.
GridEdge ChooseEdge(Random& random, const BakedScene& test) {
    const GridEdge edge = test_support::RandomGridEdge(random, test.scene, test.exact);
    const bool fromWorld = random.below(5) == 0;
    const auto ends = fromWorld ? RandomWorldEdge(random, test.scene)
                                : std::optional<std::array<test_support::Point, 2>>();
    if (!ends) {
        return edge;
    }
    clip_reference::EdgeCounts counts;
    StopAt(clip_reference::CompareClippedEdge(test.scene.space, (*ends)[0], (*ends)[1], counts),
           Describe(test.scene));
    return ClippedEdge(test.scene, *ends, edge);
}

void CheckEdges(Random& random, const BakedScene& test, bool isCoarse) {
    for (int i = random.below(12); i > 0; --i) {
        const GridEdge edge = ChooseEdge(random, test);
        std::string text = CompareOcclusion(test, edge);
        if (isCoarse) {
            text += CompareHiddenPoints(test, edge);
        }
        StopAt(text, Describe(test.scene) + Drawing(test.exact, edge.first, edge.second));
    }
}

bool HasNumbersOnly(const kx::kxVertexBuffer& vertices) {
    for (const auto& p : test_support::PositionsOf(&vertices)) {
        if (!std::isfinite(p.X()) || !std::isfinite(p.Y()) || !std::isfinite(p.Z())) {
            return false;
        }
    }
    return true;
}

// Creases of the meshes, and of those what the silhouettes do not have as well.
void CheckMeshLines(Random& random, const BakedScene& test) {
    const auto degrees = static_cast<float>(random.below(100));
    std::vector<ctr::LineSegmentSet*> list;
    test.baked.computeSilhouetteEdges(list);
    const std::vector<test_support::SetPointer> silhouettes(list.begin(), list.end());
    for (std::size_t i = 0; i < silhouettes.size(); ++i) {
        const auto& mesh = test.scene.meshes[i];
        if (!mesh || !HasNumbersOnly(*mesh->GetVertexBuffer())) {
            continue;
        }
        const test_support::Surface surface{test_support::VerticesPointer(mesh->GetVertexBuffer()),
                                            test_support::IndicesPointer(mesh->GetIndexBuffer())};
        StopAt(CompareCreases(surface, degrees), Describe(test.scene));
        const test_support::SetPointer creases(ctr::LineSegmentSet::GetCreaseEdgesFromTriMesh(
            mesh.get(), test_support::CancelAtQuestion(test_support::kNever), degrees, false));
        if (creases && silhouettes[i]) {
            test_support::CommonSegmentCounts counts;
            StopAt(CompareCommonSegments(*creases, *silhouettes[i], counts), Describe(test.scene));
        }
    }
}

void CheckScene(Random& random) {
    Scene scene = test_support::RandomScene(random);
    const bool isCoarse = ChooseGrid(random, scene);
    BakedScene test(std::move(scene));
    test_support::SilhouetteCounts silhouettes;
    test_support::IntersectionCounts intersections;
    std::string text = CompareBaking(test.exact, test.baked);
    text += CompareSilhouettes(test, silhouettes);
    text += CompareIntersections(test.baked, intersections);
    if (intersections.atOwnTriangle > 0) {
        text += "a triangle hides its own cut\n";
    }
    StopAt(text, Describe(test.scene));
    CheckEdges(random, test, isCoarse);
    CheckMeshLines(random, test);
    test.baked.setContactTolerance(1U + static_cast<unsigned int>(random.below(5)));
    StopAt(CompareIntersections(test.baked, intersections), Describe(test.scene));
    CheckEdges(random, test, isCoarse);
}

// --- lines without a scene ---

void CheckSurface(Random& random) {
    const test_support::Surface surface = test_support::RandomSurface(random);
    const auto degrees = static_cast<float>(random.below(181));
    StopAt(CompareCreases(surface, degrees), "random surface\n");
}

void CheckSets(Random& random) {
    const test_support::SetPointer a = test_support::RandomCornerSet(random, 20);
    const test_support::SetPointer b = test_support::RandomCornerSet(random, 15);
    if (!test_support::IndicesOf(*b).empty()) {
        test_support::CommonSegmentCounts counts;
        StopAt(CompareCommonSegments(*a, *b, counts), "random sets\n");
    }
}

void CheckClipping(Random& random) {
    const ctr::DiscreteProjectionSpace space = clip_reference::RandomView(random);
    const auto p0 = clip_reference::RandomPoint(random);
    const auto p1 = clip_reference::RandomPoint(random);
    clip_reference::EdgeCounts counts;
    StopAt(CompareClippedEdge(space, p0, p1, counts), "random edge\n");
    StopAt(CompareClippedTriangle(space, clip_reference::RandomCorners(random), counts),
           "random triangle\n");
}

void CheckRanges(Random& random) {
    StopAt(test_support::CompareFusing(test_support::RandomRanges(random)), "random ranges\n");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Random random(bytes, size);
    constexpr std::array kLineChecks = {CheckSurface, CheckSets, CheckClipping, CheckRanges};
    const int choice = random.below(16);
    if (choice < 12) {
        CheckScene(random);
    } else {
        kLineChecks.at(static_cast<std::size_t>(choice - 12))(random);
    }
    return 0;
}
