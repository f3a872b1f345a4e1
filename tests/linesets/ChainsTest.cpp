// Chaining of segments into polylines. Polylines turn sharply and the input flags request straight
// runs, so that no run is recognised and the order of the segments is that of chaining alone.
#include <ctr/LineSegmentSet.h>

#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace {

using ctr::LineSegmentSet;
using test_support::IndicesOf;
using test_support::IndicesPointer;
using test_support::MakeIndices;
using test_support::MakeSet;
using test_support::MakeVertices;
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

} // namespace
