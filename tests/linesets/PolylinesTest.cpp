// Chaining of segments into polylines, compacting of vertices, and operations on runs. Where
// positions matter, polylines turn sharply and the input flags request straight runs, so that no
// run is recognised and the order of the segments is that of chaining alone.
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::Bits;
using test_support::EndsOf;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::KeyOf;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
using test_support::PositionsOf;
using test_support::Random;
using test_support::Scaled;
using test_support::SetPointer;
using test_support::Vec3;
using test_support::VerticesPointer;
using ArcFeature = LineSegmentSet::ArcFeature;
using Indices = std::vector<unsigned int>;
using Points = std::vector<Vec3>;
using Flags = std::vector<bool>;
using Tags = std::vector<unsigned char>;

// The corners of a dodecahedron: no three on a line, and any two edges between them bend sharply.
Points Dodecahedron() {
    const float a = 1.618034F;
    const float b = 1.0F / a;
    Points corners;
    for (const float s : {-1.0F, 1.0F}) {
        for (const float t : {-1.0F, 1.0F}) {
            corners.insert(corners.end(),
                           {Vec3(-1.0F, s, t), Vec3(1.0F, s, t), Vec3(0.0F, s * b, t * a),
                            Vec3(s * b, t * a, 0.0F), Vec3(s * a, 0.0F, t * b)});
        }
    }
    return corners;
}

struct Chained {
    bool done = false;
    Indices indices;
    std::vector<std::pair<unsigned int, unsigned int>> runs;
    Flags straight;
    Tags tags;
};

Chained Chain(const Indices& lines, const Flags& flags, const Tags& tags = {}) {
    const VerticesPointer vertices = MakeVertices(Dodecahedron());
    const IndicesPointer input = MakeIndices(lines);
    IndicesPointer output;
    std::vector<ArcFeature> arcs;
    Chained result;
    result.tags = tags;
    result.done = LineSegmentSet::BuildPolylinesImpl(*vertices, *input, &flags,
                                                     tags.empty() ? nullptr : &result.tags, output,
                                                     arcs, result.straight);
    EXPECT_EQ(IndicesOf(input.get()), lines);
    result.indices = IndicesOf(output.get());
    for (const ArcFeature& arc : arcs) {
        result.runs.emplace_back(arc.first, arc.end);
    }
    return result;
}

Chained ChainStraight(const Indices& lines, const Tags& tags = {}) {
    return Chain(lines, Flags(lines.size() / 2, true), tags);
}

using Runs = std::vector<std::pair<unsigned int, unsigned int>>;

// Undirected segments and how often each occurs.
std::map<std::pair<unsigned int, unsigned int>, int> Counted(const Indices& indices) {
    std::map<std::pair<unsigned int, unsigned int>, int> counted;
    for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
        ++counted[std::minmax(indices[i], indices[i + 1])];
    }
    return counted;
}

TEST(BuildChains, AnOpenPathIsWrittenFromItsFarEnd) {
    // The scan starts at vertex 0, in the middle of 3 - 1 - 0 - 2: first the way back from 0 away
    // from 1, turned, then the seed, then the way on.
    const Chained c = ChainStraight({1, 0, 0, 2, 3, 1});
    ASSERT_TRUE(c.done);
    EXPECT_EQ(c.indices, (Indices{2, 0, 0, 1, 1, 3}));
    EXPECT_EQ(c.runs, (Runs{{0, 6}}));
}

TEST(BuildChains, AClosedSquareIsOneChainThatEndsWithItsSeed) {
    const Chained c = ChainStraight({0, 1, 1, 2, 2, 3, 3, 0});
    ASSERT_TRUE(c.done);
    EXPECT_EQ(c.indices, (Indices{1, 2, 2, 3, 3, 0, 0, 1}));
    EXPECT_EQ(c.runs, (Runs{{0, 8}}));
}

TEST(BuildChains, DirectionsOfTheInputDoNotMatter) {
    EXPECT_EQ(ChainStraight({1, 0, 2, 1, 2, 3, 0, 3}).indices, (Indices{1, 2, 2, 3, 3, 0, 0, 1}));
}

TEST(BuildChains, ThreeSegmentsAtAVertexEndThere) {
    const Chained c = ChainStraight({0, 1, 2, 0, 0, 3});
    ASSERT_TRUE(c.done);
    EXPECT_EQ(c.indices, (Indices{0, 1, 0, 2, 0, 3}));
    EXPECT_EQ(c.runs, (Runs{{0, 2}, {2, 4}, {4, 6}}));
}

TEST(BuildChains, ALoopAtAJunctionEndsAtTheJunction) {
    // 1 - 2 - 3 - 1 hangs on 0 - 1: vertex 1 has three segments.
    const Chained c = ChainStraight({0, 1, 1, 2, 2, 3, 3, 1});
    ASSERT_TRUE(c.done);
    EXPECT_EQ(c.indices, (Indices{0, 1, 1, 2, 2, 3, 3, 1}));
    EXPECT_EQ(c.runs, (Runs{{0, 2}, {2, 8}}));
}

TEST(BuildChains, ChainsComeInTheOrderOfTheirLowestVertex) {
    const Chained c = ChainStraight({8, 9, 4, 5, 0, 1});
    EXPECT_EQ(c.indices, (Indices{0, 1, 4, 5, 8, 9}));
    EXPECT_EQ(c.runs, (Runs{{0, 2}, {2, 4}, {4, 6}}));
}

TEST(BuildChains, SeedsFollowTheOrderOfTheSegmentsAtAVertex) {
    const Chained c = ChainStraight({0, 9, 5, 0, 0, 7, 3, 0});
    EXPECT_EQ(c.indices, (Indices{0, 9, 0, 5, 0, 7, 0, 3}));
}

TEST(BuildChains, ASegmentGivenTwiceIsWrittenTwice) {
    // There and back: at both ends both neighbours are where the walk came from.
    const Chained c = ChainStraight({0, 1, 0, 1}, {1, 2});
    ASSERT_TRUE(c.done);
    EXPECT_EQ(c.indices, (Indices{1, 0, 0, 1}));
    EXPECT_EQ(c.tags, (Tags{2, 1}));
}

TEST(BuildChains, SegmentsWithoutLengthAreWrittenOnce) {
    EXPECT_EQ(ChainStraight({4, 4}).indices, (Indices{4, 4}));
    const Indices lines{0, 1, 1, 1, 1, 2};
    EXPECT_EQ(Counted(ChainStraight(lines).indices), Counted(lines));
}

TEST(BuildChains, AnOddLastIndexIsIgnored) {
    const Chained c = ChainStraight({0, 1, 7});
    ASSERT_TRUE(c.done);
    EXPECT_EQ(c.indices, (Indices{0, 1}));
    EXPECT_EQ(c.straight.size(), 1U);
}

TEST(BuildChains, TheOutputIsALineList) {
    const VerticesPointer vertices = MakeVertices(Dodecahedron());
    const IndicesPointer lines = MakeIndices({0, 1, 1, 2, 5, 6});
    IndicesPointer output = MakeIndices({9, 9});
    std::vector<ArcFeature> arcs;
    Flags straight;
    ASSERT_TRUE(LineSegmentSet::BuildPolylinesImpl(*vertices, *lines, nullptr, nullptr, output,
                                                   arcs, straight));
    ASSERT_TRUE(output);
    EXPECT_EQ(output->GetIndexBufferType(), kx::IBT_LINES);
    EXPECT_EQ(output->GetIndexQuantity(), 6);
    EXPECT_GE(arcs.capacity(), 3U); // one per segment, so that records never move
}

TEST(BuildChains, TagsStayWithTheirSegments) {
    const Chained c = ChainStraight({1, 0, 0, 2, 3, 1, 7, 8}, {1, 2, 3, 0});
    EXPECT_EQ(c.indices, (Indices{2, 0, 0, 1, 1, 3, 7, 8}));
    EXPECT_EQ(c.tags, (Tags{2, 1, 3, 0}));
}

TEST(BuildChains, MissingTagsAreNone) {
    const Chained c = ChainStraight({1, 0, 0, 2, 3, 1, 7, 8}, {1, 2});
    EXPECT_EQ(c.tags, (Tags{2, 1, 0, 0}));
}

TEST(BuildChains, ASegmentOfItsOwnIsNoStraightRun) {
    for (const bool flag : {false, true}) {
        EXPECT_EQ(Chain({0, 1, 5, 6}, {flag, flag}).straight, (Flags{false, false}));
    }
}

TEST(BuildChains, AChainThatBendsIsNoStraightRun) {
    EXPECT_EQ(ChainStraight({0, 1, 1, 2, 2, 3, 3, 0}).straight, Flags(4, false));
}

TEST(BuildChains, WithoutInputFlagsNothingIsStraight) {
    const VerticesPointer line = MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(2, 0, 0)});
    const IndicesPointer lines = MakeIndices({0, 1, 1, 2});
    const Flags none;
    for (const Flags* flags : {static_cast<const Flags*>(nullptr), &none}) {
        IndicesPointer output;
        std::vector<ArcFeature> arcs;
        Flags straight(7, true);
        ASSERT_TRUE(LineSegmentSet::BuildPolylinesImpl(*line, *lines, flags, nullptr, output, arcs,
                                                       straight));
        EXPECT_EQ(straight, (Flags{false, false}));
        EXPECT_EQ(IndicesOf(output.get()).size(), 4U);
    }
}

TEST(BuildChains, RefusesWhatItCannotChainAndLeavesTheOutputs) {
    const VerticesPointer vertices = MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0)});
    for (const Indices& lines : std::vector<Indices>{{}, {0}, {0, 2}, {0, 1, 0xFFFFFFFFU, 1}}) {
        const IndicesPointer input = MakeIndices(lines);
        const IndicesPointer before = MakeIndices({1, 0});
        IndicesPointer output = before;
        std::vector<ArcFeature> arcs(3);
        Flags straight(5, true);
        Tags tags{1, 2};
        EXPECT_FALSE(LineSegmentSet::BuildPolylinesImpl(*vertices, *input, nullptr, &tags, output,
                                                        arcs, straight));
        EXPECT_TRUE(output == before);
        EXPECT_EQ(arcs.size(), 3U);
        EXPECT_EQ(straight, Flags(5, true));
        EXPECT_EQ(tags, (Tags{1, 2}));
    }
}

TEST(BuildChains, ALongChainTakesNoRecursion) {
    constexpr unsigned int kCount = 100000;
    Points zigzag;
    Indices lines;
    Indices expected;
    for (unsigned int i = 0; i < kCount; ++i) {
        zigzag.emplace_back(static_cast<float>(i), static_cast<float>(i % 2), 0.0F);
    }
    for (unsigned int i = kCount - 1; i > 0; --i) {
        lines.insert(lines.end(), {i, i - 1});
    }
    for (unsigned int i = 0; i + 1 < kCount; ++i) {
        expected.insert(expected.end(), {i, i + 1});
    }
    const SetPointer source = MakeSet(zigzag, lines);
    source->segmentFlags.assign(lines.size() / 2, true);
    std::vector<ArcFeature> arcs;
    const SetPointer chained(LineSegmentSet::BuildPolylines(*source, arcs, false));
    ASSERT_TRUE(chained);
    EXPECT_EQ(IndicesOf(*chained), expected);
    EXPECT_EQ(arcs.size(), 1U);
}

// ---------------------------------------------------------------------------------------------
// Chaining once more, plainly, for random graphs without repeated segments.

class PlainChaining {
public:
    explicit PlainChaining(const Indices& lines) {
        for (std::size_t s = 0; s < lines.size() / 2; ++s) {
            ends_[lines[2 * s]].emplace_back(lines[2 * s + 1], s);
            ends_[lines[2 * s + 1]].emplace_back(lines[2 * s], s);
        }
        for (const auto& [vertex, entries] : ends_) {
            for (const auto& [neighbour, segment] : entries) {
                if (used_.insert(segment).second) {
                    writeChain(vertex, neighbour, segment);
                }
            }
        }
    }

    Indices indices;
    std::vector<std::size_t> segments; ///< The input segment of each output segment.
    Runs runs;

private:
    struct Step {
        unsigned int from;
        unsigned int to;
        std::size_t segment;
    };

    std::vector<Step> walk(unsigned int vertex, unsigned int previous) {
        std::vector<Step> steps;
        while (ends_.at(vertex).size() == 2) {
            const auto& entries = ends_.at(vertex);
            const auto& [neighbour, segment] = entries[entries[0].first == previous ? 1 : 0];
            if (!used_.insert(segment).second) {
                break;
            }
            steps.push_back({vertex, neighbour, segment});
            previous = vertex;
            vertex = neighbour;
        }
        return steps;
    }

    void write(const Step& step) {
        indices.insert(indices.end(), {step.from, step.to});
        segments.push_back(step.segment);
    }

    void writeChain(unsigned int x, unsigned int y, std::size_t segment) {
        const auto first = static_cast<unsigned int>(indices.size());
        const std::vector<Step> back = walk(x, y);
        std::for_each(back.rbegin(), back.rend(), [this](const Step& step) {
            write({step.to, step.from, step.segment});
        });
        write({x, y, segment});
        for (const Step& step : walk(y, x)) {
            write(step);
        }
        runs.emplace_back(first, static_cast<unsigned int>(indices.size()));
    }

    std::map<unsigned int, std::vector<std::pair<unsigned int, std::size_t>>> ends_;
    std::set<std::size_t> used_;
};

Indices RandomGraph(Random& random) {
    const int vertexCount = random.between(2, 20);
    std::set<std::pair<unsigned int, unsigned int>> seen;
    Indices lines;
    for (int i = random.between(1, 2 * vertexCount); i > 0; --i) {
        const auto a = static_cast<unsigned int>(random.below(vertexCount));
        const auto b = static_cast<unsigned int>(random.below(vertexCount));
        if (a != b && seen.insert(std::minmax(a, b)).second) {
            lines.insert(lines.end(), {a, b});
        }
    }
    return lines;
}

// A cycle or a path through all of a random choice of vertices, in a random order of segments.
Indices RandomLoop(Random& random) {
    std::vector<unsigned int> order;
    for (unsigned int v = 0; v < 20; ++v) {
        order.insert(order.begin() + random.below(static_cast<int>(v) + 1), v);
    }
    const auto count = static_cast<std::size_t>(random.between(3, 20));
    std::vector<std::pair<unsigned int, unsigned int>> segments;
    const std::size_t last = random.percent(50) ? count : count - 1;
    for (std::size_t i = 0; i < last; ++i) {
        const std::pair<unsigned int, unsigned int> segment(order[i], order[(i + 1) % count]);
        segments.insert(segments.begin() + random.below(static_cast<int>(i) + 1), segment);
    }
    Indices lines;
    for (const auto& [a, b] : segments) {
        lines.insert(lines.end(), {a, b});
    }
    return lines;
}

void ExpectChains(const Indices& lines, const Chained& c, int trial) {
    std::map<unsigned int, int> valence;
    for (const unsigned int index : lines) {
        ++valence[index];
    }
    unsigned int at = 0;
    for (const auto& [first, end] : c.runs) {
        ASSERT_EQ(first, at) << "trial " << trial;
        ASSERT_LT(first, end) << "trial " << trial;
        for (std::size_t i = first + 2; i < end; i += 2) {
            ASSERT_EQ(c.indices[i], c.indices[i - 1]) << "trial " << trial;
            ASSERT_EQ(valence[c.indices[i]], 2) << "trial " << trial;
        }
        const unsigned int start = c.indices[first];
        const unsigned int stop = c.indices[end - 1];
        if (start != stop) {
            ASSERT_NE(valence[start], 2) << "trial " << trial;
            ASSERT_NE(valence[stop], 2) << "trial " << trial;
        }
        at = end;
    }
    ASSERT_EQ(at, c.indices.size()) << "trial " << trial;
}

TEST(BuildChains, RandomGraphsAreChainedLikeThePlainWalk) {
    Random random(91);
    std::size_t longChains = 0;
    std::size_t loops = 0;
    const int trials = Scaled(5000);
    for (int trial = 0; trial < trials; ++trial) {
        const Indices lines = random.percent(50) ? RandomGraph(random) : RandomLoop(random);
        if (lines.empty()) {
            continue;
        }
        Tags tags;
        for (std::size_t i = 0; i < lines.size() / 2; ++i) {
            tags.push_back(static_cast<unsigned char>(random.below(4)));
        }
        const Chained c = ChainStraight(lines, tags);
        ASSERT_TRUE(c.done);
        const PlainChaining plain(lines);
        ASSERT_EQ(c.indices, plain.indices) << "trial " << trial;
        ASSERT_EQ(c.runs, plain.runs) << "trial " << trial;
        ASSERT_EQ(c.straight, Flags(lines.size() / 2, false)) << "trial " << trial;
        for (std::size_t i = 0; i < plain.segments.size(); ++i) {
            ASSERT_EQ(c.tags[i], tags[plain.segments[i]]) << "trial " << trial;
        }
        ASSERT_EQ(Counted(c.indices), Counted(lines)) << "trial " << trial;
        ASSERT_NO_FATAL_FAILURE(ExpectChains(lines, c, trial));
        for (const auto& [first, end] : c.runs) {
            longChains += end - first > 4 ? 1 : 0;
            loops += c.indices[first] == c.indices[end - 1] ? 1 : 0;
        }
    }
    EXPECT_GT(longChains, static_cast<std::size_t>(trials) / 2);
    EXPECT_GT(loops, static_cast<std::size_t>(trials) / 10);
}

// ---------------------------------------------------------------------------------------------

SetPointer SquareSet() {
    SetPointer set = MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0), Vec3(0, 1, 0)},
                             {0, 1, 1, 2, 2, 3, 3, 0});
    set->segmentFlags = Flags(4, true);
    return set;
}

TEST(BuildPolylines, SharesTheVerticesUnlessAskedToCompact) {
    const SetPointer source = SquareSet();
    std::vector<ArcFeature> arcs;
    const SetPointer shared(LineSegmentSet::BuildPolylines(*source, arcs, false));
    ASSERT_TRUE(shared);
    EXPECT_EQ(shared->GetVertexBuffer(), source->GetVertexBuffer());
    EXPECT_NE(shared->GetIndexBuffer(), source->GetIndexBuffer());
    EXPECT_EQ(IndicesOf(*shared), (Indices{1, 2, 2, 3, 3, 0, 0, 1}));
    EXPECT_EQ(arcs.size(), 1U);

    std::vector<ArcFeature> compactedArcs;
    const SetPointer compacted(LineSegmentSet::BuildPolylines(*source, compactedArcs, true));
    ASSERT_TRUE(compacted);
    EXPECT_NE(compacted->GetVertexBuffer(), source->GetVertexBuffer());
    // Sorted by position: 0, 3, 1, 2.
    EXPECT_EQ(PositionsOf(*compacted),
              (Points{Vec3(0, 0, 0), Vec3(0, 1, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)}));
    EXPECT_EQ(IndicesOf(*compacted), (Indices{2, 3, 3, 1, 1, 0, 0, 2}));
}

TEST(BuildPolylines, LeavesTheSourceAsItIs) {
    const SetPointer source = SquareSet();
    std::vector<ArcFeature> arcs;
    const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, true));
    EXPECT_EQ(IndicesOf(*source), (Indices{0, 1, 1, 2, 2, 3, 3, 0}));
    EXPECT_EQ(source->segmentFlags, Flags(4, true));
    EXPECT_EQ(PositionsOf(*source).size(), 4U);
}

TEST(BuildPolylines, TakesTransformationsAndLook) {
    const SetPointer source = SquareSet();
    const auto local = test_support::ScaleAndMove(Vec3(2, 2, 2), Vec3(1, 0, 0));
    const auto world = test_support::ScaleAndMove(Vec3(1, 3, 1), Vec3(0, 4, 0));
    source->SetLocalTransformation(local);
    source->SetWorldTransformation(world);
    source->setColor(Wm4::ColorRGBA(0.5F, 0.25F, 0.125F, 0.75F));
    source->setWidth(3.0F);
    for (const bool compact : {false, true}) {
        std::vector<ArcFeature> arcs;
        const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, compact));
        ASSERT_TRUE(polylines);
        EXPECT_EQ(polylines->GetLocalTransformation(), local);
        EXPECT_EQ(polylines->GetWorldTransformation(), world);
        EXPECT_EQ(polylines->getColor(), source->getColor());
        EXPECT_EQ(polylines->getWidth(), 3.0F);
    }
}

TEST(BuildPolylines, HasStraightFlagsInPlaceOfTheSourcesAndNoRecords) {
    const SetPointer source = SquareSet();
    source->occlusionIntervals.resize(4);
    source->clipRanges.resize(4);
    std::vector<ArcFeature> arcs;
    const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, false));
    ASSERT_TRUE(polylines);
    EXPECT_EQ(polylines->segmentFlags, Flags(4, false));
    EXPECT_TRUE(polylines->occlusionIntervals.empty());
    EXPECT_TRUE(polylines->clipRanges.empty());
}

TEST(BuildPolylines, VerticesAreWeldedAfterChaining) {
    // Two segments that meet in space but not in their indices are two chains.
    const SetPointer source =
        MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(1, 0, 0), Vec3(1, 1, 0)}, {0, 1, 2, 3});
    std::vector<ArcFeature> arcs;
    const SetPointer polylines(LineSegmentSet::BuildPolylines(*source, arcs, true));
    ASSERT_TRUE(polylines);
    EXPECT_EQ(arcs.size(), 2U);
    EXPECT_EQ(PositionsOf(*polylines).size(), 3U);
    EXPECT_EQ(IndicesOf(*polylines), (Indices{0, 1, 1, 2}));
}

TEST(BuildPolylines, NoSegmentsGiveNullAndLeaveTheRecords) {
    std::vector<ArcFeature> arcs(2);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*SetPointer(new LineSegmentSet), arcs, true), nullptr);
    const SetPointer withoutLines = MakeSet({Vec3(0, 0, 0), Vec3(1, 0, 0)}, {0, 1});
    withoutLines->SetIndexBuffer(nullptr);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*withoutLines, arcs, true), nullptr);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*MakeSet({Vec3(0, 0, 0)}, {0}), arcs, true), nullptr);
    EXPECT_EQ(LineSegmentSet::BuildPolylines(*MakeSet({Vec3(0, 0, 0)}, {0, 9}), arcs, false),
              nullptr);
    EXPECT_EQ(arcs.size(), 2U);
}

// ---------------------------------------------------------------------------------------------

TEST(CreateFilteredVertexBuffer, SortsUsedVerticesAndWeldsEqualOnes) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(2, 0, 0), Vec3(1, 1, 0), Vec3(0, 0, 0), Vec3(1, 0, 5), Vec3(2, 0, 0),
                      Vec3(9, 9, 9), Vec3(1, 0, -5)});
    const IndicesPointer lines = MakeIndices({0, 1, 4, 3, 6, 1});
    VerticesPointer filtered = vertices;
    std::vector<unsigned int> remapping{77};
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *lines, filtered, remapping);
    ASSERT_TRUE(filtered);
    EXPECT_EQ(PositionsOf(filtered.get()),
              (Points{Vec3(1, 0, -5), Vec3(1, 0, 5), Vec3(1, 1, 0), Vec3(2, 0, 0)}));
    EXPECT_EQ(remapping, (std::vector<unsigned int>{3, 2, 0, 1, 3, 0, 0}));
    EXPECT_EQ(IndicesOf(lines.get()), (Indices{0, 1, 4, 3, 6, 1}));
    EXPECT_EQ(PositionsOf(vertices.get()).size(), 7U);
}

TEST(CreateFilteredVertexBuffer, HoldsPositionsOnly) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(0, 0, 0), Vec3(1, 0, 0)}, {Vec3(0, 0, 1), Vec3(0, 0, 1)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({0, 1}), filtered,
                                               remapping);
    ASSERT_TRUE(filtered);
    EXPECT_EQ(filtered->GetAttributes().GetPositionChannels(), 3);
    EXPECT_EQ(filtered->GetAttributes().GetNormalChannels(), 0);
}

TEST(CreateFilteredVertexBuffer, ZerosOfEitherSignAreOnePoint) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(0.0F, -0.0F, 1), Vec3(-0.0F, 0.0F, 1), Vec3(5, 0, 0)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({0, 2, 1, 2}), filtered,
                                               remapping);
    EXPECT_EQ(filtered->GetVertexQuantity(), 2);
    EXPECT_EQ(remapping, (std::vector<unsigned int>{0, 0, 1}));
}

TEST(CreateFilteredVertexBuffer, OneFloatBitKeepsPointsApart) {
    const VerticesPointer vertices =
        MakeVertices({Vec3(1, 0, 0), Vec3(std::nextafter(1.0F, 2.0F), 0, 0)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({1, 0}), filtered,
                                               remapping);
    EXPECT_EQ(filtered->GetVertexQuantity(), 2);
    EXPECT_EQ(remapping, (std::vector<unsigned int>{0, 1}));
}

TEST(CreateFilteredVertexBuffer, AnOddLastIndexUsesNoVertex) {
    const VerticesPointer vertices = MakeVertices({Vec3(3, 0, 0), Vec3(2, 0, 0), Vec3(1, 0, 0)});
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices({0, 1, 2}), filtered,
                                               remapping);
    EXPECT_EQ(PositionsOf(filtered.get()), (Points{Vec3(2, 0, 0), Vec3(3, 0, 0)}));
    EXPECT_EQ(remapping, (std::vector<unsigned int>{1, 0, 0}));
}

TEST(CreateFilteredVertexBuffer, PatchingRewritesEveryIndex) {
    const VerticesPointer vertices = MakeVertices({Vec3(3, 0, 0), Vec3(2, 0, 0), Vec3(1, 0, 0)});
    const IndicesPointer lines = MakeIndices({0, 1, 1, 0, 2});
    VerticesPointer filtered;
    LineSegmentSet::CreateFilteredVertexBufferPatched(*vertices, *lines, filtered);
    EXPECT_EQ(filtered->GetVertexQuantity(), 2);
    EXPECT_EQ(IndicesOf(lines.get()), (Indices{1, 0, 0, 1, 0}));
}

TEST(CreateFilteredVertexBuffer, AgreesWithAPlainMapOnRandomSets) {
    Random random(92);
    int welded = 0;
    const int trials = Scaled(3000);
    for (int trial = 0; trial < trials; ++trial) {
        Points positions;
        const int vertexCount = random.between(1, 30);
        for (int i = 0; i < vertexCount; ++i) {
            positions.push_back(Vec3{static_cast<float>(random.between(-1, 1)),
                                     static_cast<float>(random.between(-1, 1)),
                                     static_cast<float>(random.between(-1, 1))});
        }
        Indices lines;
        for (int i = random.below(30); i > 0; --i) {
            lines.push_back(static_cast<unsigned int>(random.below(vertexCount)));
        }
        std::map<std::array<float, 3>, unsigned int> numbers;
        std::set<unsigned int> used(lines.begin(),
                                    lines.begin() + static_cast<long>(lines.size() / 2 * 2));
        for (const unsigned int v : used) {
            numbers[KeyOf(positions[v])] = 0;
        }
        unsigned int next = 0;
        for (auto& [place, number] : numbers) {
            number = next++;
        }
        const VerticesPointer vertices = MakeVertices(positions);
        VerticesPointer filtered;
        std::vector<unsigned int> remapping;
        LineSegmentSet::CreateFilteredVertexBuffer(*vertices, *MakeIndices(lines), filtered,
                                                   remapping);
        ASSERT_EQ(filtered->GetVertexQuantity(), static_cast<int>(numbers.size()));
        ASSERT_EQ(remapping.size(), positions.size());
        for (unsigned int v = 0; v < positions.size(); ++v) {
            ASSERT_EQ(remapping[v], used.count(v) != 0 ? numbers[KeyOf(positions[v])] : 0U)
                << "trial " << trial;
        }
        for (const auto& [place, number] : numbers) {
            ASSERT_EQ(KeyOf(filtered->Position3(static_cast<int>(number))), place);
        }
        welded += static_cast<int>(used.size() - numbers.size());
    }
    EXPECT_GT(welded, trials / 5);
}

// ---------------------------------------------------------------------------------------------

// Three linked records over 12 indices and one, at the front, that is not in the chain.
struct LinkedRuns {
    std::array<ArcFeature, 4> runs;

    LinkedRuns() {
        const std::array<std::pair<unsigned int, unsigned int>, 4> ranges{
            {{0, 2}, {2, 6}, {6, 8}, {10, 12}}};
        for (std::size_t i = 0; i < 4; ++i) {
            runs[i].first = ranges[i].first;
            runs[i].end = ranges[i].second;
        }
        for (std::size_t i = 1; i + 1 < 4; ++i) {
            runs[i].next = &runs[i + 1];
            runs[i + 1].prev = &runs[i];
        }
    }
};

TEST(ArcFeature, ClearsStraightFlagsFromItselfToTheEndOfItsChain) {
    const LinkedRuns linked;
    Flags flags(6, true);
    linked.runs[1].removeStraightLineFlags(flags);
    EXPECT_EQ(flags, (Flags{true, false, false, false, true, false}));
    flags.assign(6, true);
    linked.runs[2].removeStraightLineFlags(flags); // what comes before it is left alone
    EXPECT_EQ(flags, (Flags{true, true, true, false, true, false}));
    flags.assign(6, true);
    linked.runs[0].removeStraightLineFlags(flags);
    EXPECT_EQ(flags, (Flags{false, true, true, true, true, true}));
}

TEST(ArcFeature, TurnsEveryRecordOfTheChainByItself) {
    const LinkedRuns linked;
    Indices indices{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    Flags flags{true, true, false, true, false, false};
    Tags tags{0, 1, 2, 3, 0, 1};
    linked.runs[1].reverseIndexBuffer(indices.data(), &flags, &tags);
    EXPECT_EQ(indices, (Indices{0, 1, 5, 4, 3, 2, 7, 6, 8, 9, 11, 10}));
    EXPECT_EQ(flags, (Flags{true, false, true, true, false, false}));
    EXPECT_EQ(tags, (Tags{0, 2, 1, 3, 0, 1}));
}

TEST(ArcFeature, TurnsIndicesAloneToo) {
    const LinkedRuns linked;
    Indices indices{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    linked.runs[2].reverseIndexBuffer(indices.data(), nullptr, nullptr);
    EXPECT_EQ(indices, (Indices{0, 1, 2, 3, 4, 5, 7, 6, 8, 9, 11, 10}));
    linked.runs[0].reverseIndexBuffer(indices.data(), nullptr, nullptr);
    EXPECT_EQ(indices, (Indices{1, 0, 2, 3, 4, 5, 7, 6, 8, 9, 11, 10}));
}

TEST(ArcFeature, OfAnyLengthTurnsToItsMirrorImageAndBack) {
    for (unsigned int segments = 1; segments < 40; ++segments) {
        ArcFeature run;
        run.first = 4;
        run.end = 4 + 2 * segments;
        Indices indices;
        Flags flags;
        Tags tags;
        for (unsigned int i = 0; i < 2 * segments + 8; ++i) {
            indices.push_back(100 + i);
        }
        for (unsigned int i = 0; i < segments + 4; ++i) {
            flags.push_back(i % 3 == 0);
            tags.push_back(static_cast<unsigned char>(i % 4));
        }
        Indices expected = indices;
        Flags expectedFlags = flags;
        Tags expectedTags = tags;
        std::reverse(expected.begin() + 4, expected.end() - 4);
        std::reverse(expectedFlags.begin() + 2, expectedFlags.end() - 2);
        std::reverse(expectedTags.begin() + 2, expectedTags.end() - 2);
        const Indices before = indices;
        run.reverseIndexBuffer(indices.data(), &flags, &tags);
        ASSERT_EQ(indices, expected) << segments;
        ASSERT_EQ(flags, expectedFlags) << segments;
        ASSERT_EQ(tags, expectedTags) << segments;
        run.reverseIndexBuffer(indices.data(), &flags, &tags);
        ASSERT_EQ(indices, before) << segments;
    }
}

} // namespace
