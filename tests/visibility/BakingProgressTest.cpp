// Baking with a notifier: the same triangles, a run of steps to its end, and nothing when
// cancelled.
#include <ctr/BakedTriangles.h>

#include "linesets/SegmentBuilders.h"
#include "support/ExactIntersections.h"
#include "support/Scenes.h"
#include "support/Stopper.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace {

using ctr::BakedTriangles;
using test_support::kNever;
using test_support::MakeMesh;
using test_support::Stopper;

/// A sphere of some ten thousand triangles, of which some reach out of the view, and a box.
struct BakingScene {
    BakingScene() {
        baked.setProjectionSpace(&space);
        baked.setMeshes({sphere.get(), nullptr, box.get()});
    }

    ctr::DiscreteProjectionSpace space = test_support::SlantedSpace(16, 16, 20.0F);
    kx::kxPointer<kx::kxTriMesh> sphere = MakeMesh(test_support::Sphere({10, 0, 0}, 15, 120, 60));
    kx::kxPointer<kx::kxTriMesh> box = MakeMesh(test_support::Box({-6, -5, -4}, {3, 4, 5}));
    BakedTriangles baked;
};

template <class Record>
void ExpectSameBytes(const std::vector<Record>& a, const std::vector<Record>& b) {
    ASSERT_EQ(a.size(), b.size());
    EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(Record)), 0);
}

TEST(BakingProgress, ChangesNothingOfWhatIsBaked) {
    BakingScene plain;
    plain.baked.initialize();
    ASSERT_FALSE(plain.baked.clippedTriangleOrigins[0].empty());
    BakingScene watched;
    Stopper stopper(kNever);
    EXPECT_TRUE(watched.baked.initialize(stopper));
    ExpectSameBytes(watched.baked.vertices, plain.baked.vertices);
    ExpectSameBytes(watched.baked.trianglePlanes, plain.baked.trianglePlanes);
    EXPECT_EQ(watched.baked.triangleIndices, plain.baked.triangleIndices);
    EXPECT_EQ(watched.baked.clippedTriangleOrigins, plain.baked.clippedTriangleOrigins);
    EXPECT_EQ(watched.baked.meshFirstVertex, plain.baked.meshFirstVertex);
    EXPECT_EQ(watched.baked.meshFirstTriangle, plain.baked.meshFirstTriangle);
    EXPECT_EQ(watched.baked.bvh.primitives, plain.baked.bvh.primitives);
    ExpectSameBytes(watched.baked.bvh.nodes, plain.baked.bvh.nodes);
}

TEST(BakingProgress, EndsExactlyAtItsTotalInSmallSteps) {
    BakingScene scene;
    Stopper stopper(kNever);
    EXPECT_TRUE(scene.baked.initialize(stopper));
    EXPECT_GT(stopper.total(), 0.0);
    EXPECT_EQ(stopper.done(), stopper.total());
    EXPECT_LE(stopper.longestStep(), 0.1 * stopper.total());
}

TEST(BakingProgress, EndsAtItsTotalWithoutMeshes) {
    BakingScene scene;
    scene.baked.setMeshes({});
    Stopper stopper(kNever);
    EXPECT_TRUE(scene.baked.initialize(stopper));
    EXPECT_EQ(stopper.done(), stopper.total());
}

TEST(BakingProgress, StoppedAtAnyQuestionLeavesNothingBaked) {
    BakingScene scene;
    Stopper free(kNever);
    ASSERT_TRUE(scene.baked.initialize(free));
    ASSERT_GT(free.polls(), 20);
    for (long n = 1; n <= free.polls(); ++n) {
        SCOPED_TRACE(n);
        Stopper stopper(n);
        EXPECT_FALSE(scene.baked.initialize(stopper));
        EXPECT_LE(stopper.polls(), n + 1);
        EXPECT_TRUE(scene.baked.trianglePlanes.empty());
        EXPECT_TRUE(scene.baked.vertices.empty());
        EXPECT_TRUE(scene.baked.bvh.nodes.empty());
    }
    Stopper again(kNever);
    EXPECT_TRUE(scene.baked.initialize(again));
    EXPECT_EQ(again.polls(), free.polls());
}

} // namespace
