// A whole run of the generator, cancelled at each poll: the contents of the record and the progress
// at that moment. The address sanitizer checks for leaks.
#include <ctr/GeometricFeaturesGenerator.h>

#include "linesets/SegmentBuilders.h"
#include "support/ExactIntersections.h"
#include "support/Scenes.h"
#include "support/Stopper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using test_support::kNever;
using test_support::MakeMesh;
using test_support::SetPointer;
using test_support::Stopper;

long SegmentsOf(const SetPointer& set) {
    return set ? set->GetIndexBuffer()->GetIndexQuantity() / 2 : 0;
}

// Clip records are zeroed before the first visit and every segment here lies within the view.
long Visited(const SetPointer& set) {
    return std::count_if(set->clipRanges.begin(), set->clipRanges.end(),
                         [](const LineSegmentSet::ClipRange& r) { return r.t1 == 1.0F; });
}

// Two boxes that intersect, and the sets of an earlier run in the record.
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

// The number of polls of each part of a run, derived from its work.
struct Questions {
    explicit Questions(StoppedRun& run) {
        const ctr::BakedTriangles& baked = run.generator.getBakedTriangles(0);
        test_support::IntersectionCounts counts;
        test_support::VisibleIntersections(baked, counts);
        creases = SegmentsOf(run.out.creaseEdges);
        silhouettes = SegmentsOf(run.out.silhouetteEdges);
        triangles = static_cast<long>(baked.trianglePlanes.size());
        intersections = counts.intersections;
    }
    long beforeSilhouettes() const { return 2 + creases + 1; }
    long beforeIntersections() const { return beforeSilhouettes() + silhouettes + 1; }
    long all() const { return beforeIntersections() + triangles + 1 + intersections + 1; }

    long creases = 0;
    long silhouettes = 0;
    long triangles = 0;
    long intersections = 0;
};

TEST(GeneratorRun, AsksAndAdvancesOnceForEveryPieceOfWork) {
    StoppedRun run(kNever);
    const Questions questions(run);
    ASSERT_GT(questions.intersections, 0);
    EXPECT_EQ(run.stopper.polls(), questions.all());
    EXPECT_EQ(run.stopper.total(), static_cast<double>(2 * questions.triangles + questions.creases +
                                                       questions.silhouettes));
    EXPECT_EQ(run.stopper.done(), run.stopper.total());
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

TEST(GeneratorRun, CanBeStoppedAtEveryQuestion) {
    StoppedRun free(kNever);
    const Questions questions(free);
    for (long n = 1; n <= questions.all(); ++n) {
        SCOPED_TRACE(n);
        CheckStoppedAt(n, questions);
    }
}

// --- after a stop -----------------------------------------------------------------------------

/// What a set says about its segment: where it lies, and what is hidden and clipped of it.
std::string RecordText(const LineSegmentSet& set, std::size_t segment) {
    std::ostringstream text;
    for (const auto& numbers : test_support::NumbersOf(set.occlusionIntervals[segment])) {
        for (const long number : numbers) {
            text << number << ' ';
        }
        text << '|';
    }
    for (const float number : test_support::NumbersOf(set.clipRanges[segment])) {
        text << test_support::Bits(number) << ' ';
    }
    return text.str();
}

/// Segments, vertices and records of a set; "null" for none.
std::string SetText(const SetPointer& set) {
    if (!set) {
        return "null\n";
    }
    std::ostringstream text;
    for (const unsigned int index : test_support::IndicesOf(*set)) {
        text << index << ' ';
    }
    for (const auto& position : test_support::PositionsOf(*set)) {
        for (const auto bits : test_support::Bits(position)) {
            text << bits << ' ';
        }
    }
    for (std::size_t i = 0; i < set->clipRanges.size(); ++i) {
        text << RecordText(*set, i) << '\n';
    }
    return text.str();
}

std::string RecordText(const GeometricFeatures& features) {
    return SetText(features.creaseEdges) + SetText(features.silhouetteEdges) +
           SetText(features.intersectionEdges);
}

// The visited segments have their final records; the others have none yet.
void ExpectPartOf(const SetPointer& whole, const SetPointer& stopped) {
    for (std::size_t i = 0; i < stopped->clipRanges.size(); ++i) {
        const bool visited = stopped->clipRanges[i].t1 == 1.0F;
        EXPECT_TRUE(visited ? RecordText(*stopped, i) == RecordText(*whole, i)
                            : stopped->occlusionIntervals[i].empty())
            << "segment " << i;
    }
}

TEST(GeneratorRun, StoppedLeavesTheRecordsOfTheSegmentsVisited) {
    StoppedRun free(kNever);
    const long all = free.stopper.polls();
    for (long n = 2; n <= all; ++n) {
        SCOPED_TRACE(n);
        const StoppedRun run(n);
        ExpectPartOf(free.out.creaseEdges, run.out.creaseEdges);
        ExpectPartOf(free.out.silhouetteEdges, run.out.silhouetteEdges);
    }
}

TEST(GeneratorRun, StoppedAtAnyQuestionCanBeRepeated) {
    StoppedRun free(kNever);
    const std::string expected = RecordText(free.out);
    const long all = free.stopper.polls();
    for (long n = 1; n <= all; ++n) {
        StoppedRun run(n);
        run.generator.setProgressNotifier(nullptr);
        run.generator.computeGeometricFeatures(run.out, 0, false);
        ASSERT_TRUE(RecordText(run.out) == expected) << "question " << n;
    }
}

// With lines that are both crease and silhouette taken out, and a set of the caller's hidden next.
TEST(GeneratorRun, StoppedWithCommonSegmentsRemovedCanBeRepeated) {
    StoppedRun plain(kNever);
    plain.generator.setProgressNotifier(nullptr);
    GeometricFeatures expected;
    plain.generator.computeGeometricFeatures(expected, 0, true);
    long polls = 0;
    for (long n = 1; n - 1 <= polls; ++n) {
        Stopper stopper(n);
        GeometricFeatures out;
        plain.generator.setProgressNotifier(&stopper);
        plain.generator.computeGeometricFeatures(out, 0, true);
        polls = stopper.polls();
        plain.generator.setProgressNotifier(nullptr);
        plain.generator.computeGeometricFeatures(out, 0, true);
        ASSERT_TRUE(RecordText(out) == RecordText(expected)) << "question " << n;
    }
    EXPECT_GT(polls, SegmentsOf(expected.creaseEdges) + SegmentsOf(expected.silhouetteEdges));
}

TEST(GeneratorRun, ASetHiddenHalfwayIsFinishedByASecondTry) {
    StoppedRun run(kNever);
    const SetPointer whole = run.out.silhouetteEdges;
    const std::vector<LineSegmentSet*> sets{whole.get()};
    for (long n = 1; n <= SegmentsOf(whole) + 1; ++n) {
        const SetPointer set(LineSegmentSet::FuseLineSegmentSets(sets));
        set->occlusionIntervals.clear();
        Stopper stopper(n);
        stopper.setTotal(static_cast<double>(SegmentsOf(whole)));
        run.generator.setProgressNotifier(&stopper);
        run.generator.computeOcclusion(*set, 0);
        ExpectPartOf(whole, set);
        EXPECT_EQ(Visited(set), n - 1);
        run.generator.setProgressNotifier(nullptr);
        run.generator.computeOcclusion(*set, 0);
        ASSERT_TRUE(SetText(set) == SetText(whole)) << "question " << n;
    }
}

} // namespace
