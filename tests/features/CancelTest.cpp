// A whole run of the generator, stopped at every question that it asks: what the record holds then,
// and how far progress has come. Run under the address sanitizer it shows that nothing leaks.
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSystem/kxProgressNotifierInterface.h>

#include "linesets/SegmentBuilders.h"
#include "support/ExactIntersections.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using test_support::kNever;
using test_support::MakeMesh;
using test_support::SetPointer;

class Stopper : public kx::kxProgressNotifierInterface {
public:
    explicit Stopper(long stopAt) : stopAt_(stopAt) {}
    bool isCanceled() const override { return ++asked_ >= stopAt_; }
    void setTotal(double steps) override {
        total_ = steps;
        done_ = 0.0;
    }
    void getRange(double& start, double& end) const override {
        start = done_;
        end = total_;
    }
    void advance(double steps) override {
        done_ += steps;
        EXPECT_LE(done_, total_ * (1.0 + 1e-6));
    }
    long asked() const { return asked_; }
    double total() const { return total_; }
    double done() const { return done_; }

private:
    long stopAt_;
    mutable long asked_ = 0;
    double total_ = 0.0;
    double done_ = 0.0;
};

long SegmentsOf(const SetPointer& set) {
    return set ? set->GetIndexBuffer()->GetIndexQuantity() / 2 : 0;
}

// Clip records are zeroed before the first visit and every segment here lies within the view.
long Visited(const SetPointer& set) {
    return std::count_if(set->clipRanges.begin(), set->clipRanges.end(),
                         [](const LineSegmentSet::ClipRange& r) { return r.t1 == 1.0F; });
}

// Two boxes that pierce each other, and the sets of an earlier run in the record.
struct StoppedRun {
    explicit StoppedRun(long stopAt) : stopper(stopAt) {
        generator.setProjectionSpace(test_support::SlantedSpace(8, 8, 20.0F));
        generator.setSingleExportCluster({first.get(), second.get()}, nullptr);
        out.creaseEdges = before;
        out.silhouetteEdges = before;
        out.intersectionEdges = before;
        generator.setProgressNotifier(&stopper);
        generator.computeGeometricFeatures(out, 0, false);
    }

    kx::kxPointer<kx::kxTriMesh> first = MakeMesh(test_support::Box({-6, -5, -4}, {3, 4, 5}));
    kx::kxPointer<kx::kxTriMesh> second = MakeMesh(test_support::Box({-2, -3, -7}, {7, 6, 2}));
    SetPointer before = SetPointer(new LineSegmentSet);
    Stopper stopper;
    GeometricFeaturesGenerator generator;
    GeometricFeatures out;
};

// How many questions each part of a run asks, counted from what it has to do.
struct Questions {
    explicit Questions(StoppedRun& run) {
        const ctr::BakedTriangles& baked = run.generator.getBakedTriangles(0);
        test_support::CutCounts counts;
        test_support::VisibleCuts(baked, counts);
        creases = SegmentsOf(run.out.creaseEdges);
        silhouettes = SegmentsOf(run.out.silhouetteEdges);
        triangles = static_cast<long>(baked.trianglePlanes.size());
        cuts = counts.cuts;
    }
    long beforeSilhouettes() const { return 2 + creases + 1; }
    long beforeIntersections() const { return beforeSilhouettes() + silhouettes + 1; }
    long all() const { return beforeIntersections() + triangles + 1 + cuts + 1; }

    long creases = 0;
    long silhouettes = 0;
    long triangles = 0;
    long cuts = 0;
};

TEST(WholeRun, AsksAndAdvancesOnceForEveryPieceOfWork) {
    StoppedRun run(kNever);
    const Questions questions(run);
    ASSERT_GT(questions.cuts, 0);
    EXPECT_EQ(run.stopper.asked(), questions.all());
    EXPECT_EQ(run.stopper.total(), static_cast<double>(2 * questions.triangles + questions.creases +
                                                       questions.silhouettes));
    EXPECT_NEAR(run.stopper.done() / run.stopper.total(), 1.0, 1e-6);
    EXPECT_GT(SegmentsOf(run.out.intersectionEdges), 0);
    EXPECT_NE(run.out.intersectionEdges, run.before);
}

void CheckStoppedAt(long n, const Questions& questions) {
    const StoppedRun run(n);
    EXPECT_EQ(SegmentsOf(run.out.creaseEdges), questions.creases);
    EXPECT_EQ(Visited(run.out.creaseEdges), std::clamp(n - 3, 0L, questions.creases));
    EXPECT_EQ(run.out.silhouetteEdges == run.before, n == 1);
    EXPECT_EQ(run.stopper.total() > 0.0, n > 2);
    if (n > 1) {
        const long visited =
            std::clamp(n - questions.beforeSilhouettes() - 1, 0L, questions.silhouettes);
        EXPECT_EQ(Visited(run.out.silhouetteEdges), visited);
    }
    if (n <= questions.beforeIntersections()) {
        EXPECT_EQ(run.out.intersectionEdges, run.before);
    } else {
        EXPECT_FALSE(run.out.intersectionEdges);
    }
}

TEST(WholeRun, CanBeStoppedAtEveryQuestion) {
    StoppedRun free(kNever);
    const Questions questions(free);
    for (long n = 1; n <= questions.all(); ++n) {
        SCOPED_TRACE(n);
        CheckStoppedAt(n, questions);
    }
}

} // namespace
