// Hidden ranges and visible pieces tile what the view holds of a line: nothing is left out and
// nothing is there twice. The ranges are put on a line from x = 0 to x = 1, so that the positions
// at which the library ends its pieces are the parameters themselves.
#include <ctr/BakedTriangles.h>
#include <ctr/TrianglesIntersection.h>

#include "laws/Drawings.h"
#include "support/Baking.h"
#include "support/ExactIntersections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace {

using laws::Cast;
using laws::CastOf;
using laws::Intervals;
using laws::Stage;
using test_support::Compare;
using test_support::Describe;
using test_support::Random;
using test_support::RandomScene;
using test_support::Scaled;
using test_support::Scene;
using test_support::SetPointer;
using ClipRange = ctr::LineSegmentSet::ClipRange;
using Number = Wm4::Vector2<std::int64_t>;
using Stretch = std::pair<float, float>;

testing::AssertionResult AreDisjointAndInOrder(const Intervals& ranges) {
    Number last(0, 1);
    bool first = true;
    for (const ctr::RationalInterval& range : ranges) {
        const bool positive = range.start[1] > 0 && range.end[1] > 0;
        const int gap = positive ? Compare(range.start, last) : -1;
        if (gap < 0 || (gap == 0 && !first) || Compare(range.start, range.end) >= 0) {
            return testing::AssertionFailure() << "not in order: " << test_support::Text(ranges);
        }
        last = range.end;
        first = false;
    }
    if (Compare(last, Number(1, 1)) > 0) {
        return testing::AssertionFailure() << "beyond the end: " << test_support::Text(ranges);
    }
    return testing::AssertionSuccess();
}

// What ranges in order leave of [0, 1].
Intervals GapsOf(const Intervals& ranges) {
    Intervals gaps;
    Number from(0, 1);
    for (const ctr::RationalInterval& range : ranges) {
        if (Compare(from, range.start) < 0) {
            gaps.push_back({from, range.start});
        }
        from = range.end;
    }
    if (Compare(from, Number(1, 1)) < 0) {
        gaps.push_back({from, Number(1, 1)});
    }
    return gaps;
}

// What the library leaves of the segment from x = 0 to x = 1, in order.
std::vector<Stretch> PiecesOf(const Intervals& hidden, const ClipRange& clip) {
    const SetPointer set =
        test_support::MakeSet({test_support::Vec3(0, 0, 0), test_support::Vec3(1, 0, 0)}, {0, 1});
    set->occlusionIntervals = {hidden};
    set->clipRanges = {clip};
    const SetPointer baked(ctr::LineSegmentSet::BakeVisibleSegments(set.get()));
    std::vector<Stretch> pieces;
    if (baked) {
        for (const auto& [p, q] : test_support::EndsOf(*baked)) {
            pieces.emplace_back(p[0], q[0]);
        }
    }
    return pieces;
}

// Visible and hidden pieces must alternate, each beginning where the previous one ends.
testing::AssertionResult Tile(const std::vector<Stretch>& visible,
                              const std::vector<Stretch>& hidden,
                              float from,
                              float to) {
    auto v = visible.begin();
    auto h = hidden.begin();
    float at = from;
    bool turn = h == hidden.end() || (v != visible.end() && v->first <= h->first);
    while (v != visible.end() || h != hidden.end()) {
        const bool over = turn ? v == visible.end() : h == hidden.end();
        const Stretch next = over ? Stretch(-1.0F, -1.0F) : *(turn ? v : h);
        if (next.first != at) {
            return testing::AssertionFailure()
                   << "a piece starts at " << next.first << ", not " << at;
        }
        at = next.second;
        turn ? ++v : ++h;
        turn = !turn;
    }
    if (at != to) {
        return testing::AssertionFailure() << "the pieces end at " << at << ", not " << to;
    }
    return testing::AssertionSuccess();
}

struct Counts {
    int whole = 0;
    int hidden = 0;
    int severalPieces = 0;
    int clipped = 0;
    int outside = 0;
    int nowhere = 0;
    int inPerspective = 0;
};

testing::AssertionResult
TilesItsSegment(const Intervals& hidden, const ClipRange& clip, Counts& counts) {
    if (testing::AssertionResult ordered = AreDisjointAndInOrder(hidden); !ordered) {
        return ordered;
    }
    const bool isInside = clip.t0 < clip.t1;
    const std::vector<Stretch> visible = PiecesOf(hidden, clip);
    counts.whole += hidden.empty() ? 1 : 0;
    counts.hidden += visible.empty() ? 1 : 0;
    counts.severalPieces += visible.size() > 1 ? 1 : 0;
    counts.outside += isInside ? 0 : 1;
    if (!isInside) {
        return visible.empty() ? testing::AssertionSuccess()
                               : testing::AssertionFailure() << "seen although outside the view";
    }
    counts.clipped += clip.t0 > 0.0F || clip.t1 < 1.0F ? 1 : 0;
    counts.inPerspective += clip.w0 != clip.w1 && visible.size() + hidden.size() > 1 ? 1 : 0;
    return Tile(visible, PiecesOf(GapsOf(hidden), clip), clip.t0, clip.t1);
}

void CheckSet(const ctr::LineSegmentSet* set, const Scene& scene, Counts& counts) {
    const std::size_t segments = set != nullptr ? test_support::EndsOf(*set).size() : 0;
    ASSERT_EQ(set != nullptr ? set->occlusionIntervals.size() : 0, segments) << Describe(scene);
    ASSERT_EQ(set != nullptr ? set->clipRanges.size() : 0, segments) << Describe(scene);
    for (std::size_t i = 0; i < segments; ++i) {
        if (!std::isfinite(set->clipRanges[i].w0) || !std::isfinite(set->clipRanges[i].w1)) {
            ++counts.nowhere; // ends at infinity or at no number: no point of it has a place
            continue;
        }
        ASSERT_TRUE(TilesItsSegment(set->occlusionIntervals[i], set->clipRanges[i], counts))
            << "segment " << i << '\n'
            << Describe(scene);
    }
}

// The pieces of a whole set are those of its segments one by one, in order.
void CheckPieceCount(const ctr::LineSegmentSet& set, const Scene& scene) {
    std::size_t expected = 0;
    for (const Intervals& hidden : set.occlusionIntervals) {
        expected += GapsOf(hidden).size();
    }
    const SetPointer baked(ctr::LineSegmentSet::BakeVisibleSegments(&set));
    ASSERT_EQ(baked ? test_support::EndsOf(*baked).size() : 0, expected) << Describe(scene);
}

TEST(DrawingTiling, HiddenRangesAndVisiblePiecesTileEveryLine) {
    Counts counts;
    for (int trial = 0; trial < Scaled(2000); ++trial) {
        const Scene scene = RandomScene(static_cast<std::uint64_t>(trial));
        const Cast cast = CastOf(scene);
        Random random(scene.seed);
        Stage stage(scene.space, cast.drawn, cast.occluders);
        const ctr::GeometricFeatures features = stage.draw();
        const SetPointer chords = laws::RandomChords(random, scene.meshes, 20);
        stage.generator.computeOcclusion(*chords, 0);
        for (const auto* set :
             {features.creaseEdges.get(), features.silhouetteEdges.get(), chords.get()}) {
            ASSERT_NO_FATAL_FAILURE(CheckSet(set, scene, counts));
            if (set != nullptr && !set->occlusionIntervals.empty()) {
                ASSERT_NO_FATAL_FAILURE(CheckPieceCount(*set, scene));
            }
        }
    }
    EXPECT_LT(counts.nowhere, counts.whole / 20);
    EXPECT_GT(counts.whole, Scaled(2000));
    EXPECT_GT(counts.hidden, Scaled(2000));
    EXPECT_GT(counts.severalPieces, Scaled(200));
    EXPECT_GT(counts.clipped, Scaled(1000));
    EXPECT_GT(counts.outside, Scaled(200));
    EXPECT_GT(counts.inPerspective, Scaled(200));
}

// --- intersection lines ---

using GridColumn = std::array<long, 2>;
using GridStretch = std::array<GridColumn, 2>;

// Pieces start and end where a grid cell does, half a step before its lattice point.
GridColumn ColumnAt(const laws::Point& world) {
    return {std::lround(world[0] + 0.5F), std::lround(world[1] + 0.5F)};
}

std::vector<GridStretch> StretchesOf(const ctr::LineSegmentSet* set) {
    std::vector<GridStretch> stretches;
    if (set != nullptr) {
        for (const auto& [p, q] : test_support::EndsOf(*set)) {
            stretches.push_back({ColumnAt(p), ColumnAt(q)});
        }
    }
    return stretches;
}

// The intersection of a scene with just one.
std::optional<test_support::Intersection> OnlyIntersection(const Scene& scene) {
    const ctr::BakedTriangles baked = test_support::Bake(scene.space, scene.meshList());
    const auto count = static_cast<unsigned int>(baked.trianglePlanes.size());
    std::optional<test_support::Intersection> only;
    for (unsigned int i = 0; i < count; ++i) {
        for (unsigned int j = i + 1; j < count; ++j) {
            test_support::IntersectionCounts ignored;
            const auto intersection = test_support::IntersectionOf(baked, i, j, ignored);
            if (intersection && only) {
                return std::nullopt;
            }
            only = intersection ? intersection : only;
        }
    }
    return only;
}

// Walks from piece to piece and uses each up; pieces within one column are not there, and need not
// be.
testing::AssertionResult
Chain(std::vector<GridStretch> pieces, const GridColumn& from, const GridColumn& to) {
    GridColumn at = from;
    while (!pieces.empty()) {
        const auto next = std::find_if(pieces.begin(), pieces.end(),
                                       [&](const GridStretch& piece) { return piece[0] == at; });
        if (next == pieces.end()) {
            return testing::AssertionFailure() << "no piece starts at " << at[0] << ", " << at[1];
        }
        at = (*next)[1];
        pieces.erase(next);
    }
    if (at != to) {
        return testing::AssertionFailure() << "the pieces end at " << at[0] << ", " << at[1];
    }
    return testing::AssertionSuccess();
}

TEST(DrawingTiling, VisibleAndHiddenPiecesTileAnIntersectionLine) {
    int lines = 0;
    int mixed = 0;
    for (int trial = 0; trial < Scaled(30000); ++trial) {
        const Scene scene = laws::CrossedTriangles(static_cast<std::uint64_t>(trial));
        const std::optional<test_support::Intersection> intersection = OnlyIntersection(scene);
        if (!intersection) {
            continue;
        }
        const ctr::BakedTriangles baked = test_support::Bake(scene.space, scene.meshList());
        SetPointer hidden;
        const SetPointer visible(
            ctr::TrianglesIntersection(baked).computeIntersectionEdges(&hidden));
        const ctr::BakedVertex& from = intersection->first.point;
        const ctr::BakedVertex& to = intersection->second.point;
        std::vector<GridStretch> pieces = StretchesOf(visible.get());
        const std::vector<GridStretch> more = StretchesOf(hidden.get());
        pieces.insert(pieces.end(), more.begin(), more.end());
        if (more.empty()) {
            continue; // seen as a whole, or between triangles of which no hidden pieces are given
        }
        ASSERT_TRUE(Chain(pieces, {from.x, from.y}, {to.x, to.y})) << Describe(scene);
        ++lines;
        mixed += visible ? 1 : 0;
    }
    RecordProperty("lines", lines);
    RecordProperty("mixed", mixed);
    EXPECT_GT(lines, Scaled(150));
    EXPECT_GT(mixed, Scaled(90));
}

} // namespace
