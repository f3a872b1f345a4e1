// Pairs and occluded intervals of dense scenes: the dense search against the BVH and against all
// triangles, and that the number of visits grows little faster than the scene.
#include "visibility/dense/DenseRegions.h"

#include "support/ExactFractions.h"
#include "support/ExactIntersections.h"
#include "support/Scenes.h"
#include "visibility/DenseScenes.h"
#include "visibility/intersections/FaceContact.h"
#include "visibility/intersections/PairSearch.h"
#include "visibility/occlusion/EdgeOcclusion.h"
#include "visibility/occlusion/TriangleOcclusion.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using ctr::BakedTriangles;
using ctr::BakedVertex;
using ctr::FoundIntersection;
using ctr::ItemCounter;
using ctr::OcclusionLimits;
using ctr::PairSearch;
using ctr::PairSearchLimits;
using ctr::RationalInterval;
using ctr::SlotTriangle;
using test_support::DenseSceneMaker;
using test_support::DenseTriangles;
using test_support::GridTriangle;
using test_support::LatticeSpace;
using test_support::OnTheGrid;
using test_support::PutInSingleLeaves;
using test_support::Random;
using test_support::Scaled;
using test_support::Shuffled;
using test_support::TextOf;

constexpr std::size_t kEndless = std::size_t{1} << 40;
constexpr PairSearchLimits kNever{kEndless, 0, 16, kEndless};
constexpr OcclusionLimits kNeverDense{kEndless, 0, 0, 16};

// A dense scene on the grid, with its triangles in slot order.
struct DenseScene {
    DenseScene(Random& random, unsigned int bits, const std::vector<GridTriangle>& made)
        : space(LatticeSpace(bits, bits)), baked(OnTheGrid(space, made)) {
        PutInSingleLeaves(baked, Shuffled(random, made.size()));
        for (const unsigned int number : baked.bvh.primitives) {
            triangles.push_back(ctr::TriangleOf(baked, number));
        }
    }
    DenseScene(const DenseScene&) = delete;
    DenseScene& operator=(const DenseScene&) = delete;

    ctr::DiscreteProjectionSpace space;
    BakedTriangles baked;
    std::vector<SlotTriangle> triangles;
};

DenseScene RandomDenseScene(std::uint64_t seed) {
    Random random(seed);
    const auto bits = static_cast<unsigned int>(random.between(4, 11));
    const auto made = DenseTriangles(random, (1 << bits) - 2, random.between(4, 40));
    return DenseScene(random, bits, made);
}

// --- pairs ---

struct Pairs {
    std::vector<FoundIntersection> found;
    std::size_t visits;
    bool usedDenseSearch;
    std::size_t done;
};

enum class Hidden : std::uint8_t { isWanted, mayBeLeftOut };

Pairs PairsOf(const DenseScene& scene,
              const PairSearchLimits& limits,
              std::vector<bool> leftOut = {},
              Hidden hidden = Hidden::isWanted) {
    ItemCounter work;
    std::size_t done = 0;
    PairSearch search(
        scene.baked, scene.triangles, [&](std::size_t) { ++done; }, work, limits);
    if (!leftOut.empty()) {
        search.excludePairs(std::move(leftOut));
    }
    if (hidden == Hidden::mayBeLeftOut) {
        search.allowOmittingHidden();
    }
    std::vector<FoundIntersection> found = search.run();
    return {std::move(found), search.visits(), search.usedDenseSearch(), done};
}

bool HaveEdgeInCommon(const GridTriangle& a, const GridTriangle& b) {
    int common = 0;
    for (const BakedVertex& p : a) {
        common += std::any_of(b.begin(), b.end(),
                              [&p](const BakedVertex& q) {
                                  return std::tie(p.x, p.y, p.z) == std::tie(q.x, q.y, q.z);
                              })
                      ? 1
                      : 0;
    }
    return common >= 2;
}

// One line per pair, except for pairs with a common edge, which may be omitted.
std::string TextOf(const DenseScene& scene, const std::vector<FoundIntersection>& found) {
    std::string text;
    for (const FoundIntersection& pair : found) {
        const auto cornersOf = [&](unsigned int number) {
            const SlotTriangle t = ctr::TriangleOf(scene.baked, number);
            return GridTriangle{t.corners[0], t.corners[1], t.corners[2]};
        };
        if (!HaveEdgeInCommon(cornersOf(pair.first),
                              cornersOf(scene.baked.bvh.primitives[pair.secondSlot]))) {
            text += std::to_string(pair.first) + " " + std::to_string(pair.secondSlot) + " " +
                    std::to_string(pair.ends[0]) + std::to_string(pair.ends[1]) +
                    (pair.grazing ? " grazing\n" : "\n");
        }
    }
    return text;
}

TEST(DensePairs, AreThoseOfTheBvh) {
    const int scenes = Scaled(4000);
    std::size_t pairs = 0;
    int denseCount = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        DenseScene scene = RandomDenseScene(static_cast<std::uint64_t>(seed));
        Random random(static_cast<std::uint64_t>(seed));
        for (const unsigned int tolerance : {0U, 2U, 9U}) {
            scene.baked.setContactTolerance(tolerance);
            std::vector<bool> leftOut;
            if (random.percent(30)) {
                // Equal triangles are marked alike.
                for (const SlotTriangle& t : scene.triangles) {
                    leftOut.push_back((t.corners[0].x + t.corners[1].x + t.corners[2].x) % 2 == 0);
                }
            }
            const auto hubDegree = static_cast<std::uint32_t>(random.between(0, 4));
            const Pairs usual = PairsOf(scene, kNever, leftOut);
            const Pairs clustered = PairsOf(scene, {0, 0, hubDegree}, leftOut);
            denseCount += clustered.usedDenseSearch ? 1 : 0;
            ASSERT_FALSE(usual.usedDenseSearch) << "seed " << seed;
            ASSERT_EQ(TextOf(scene, clustered.found), TextOf(scene, usual.found))
                << "seed " << seed;
            ASSERT_EQ(clustered.done, scene.triangles.size()) << "seed " << seed;
            if (tolerance == 0) {
                ASSERT_EQ(clustered.found.size(), usual.found.size()) << "seed " << seed;
            }
            pairs += usual.found.size();
        }
    }
    RecordProperty("pairs", static_cast<int>(pairs));
    EXPECT_GT(pairs, static_cast<std::size_t>(10 * scenes));
    EXPECT_GT(denseCount, 2 * scenes);
}

TEST(DensePairs, AreThoseOfAllPairs) {
    const int scenes = Scaled(1500);
    int intersections = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        const DenseScene scene = RandomDenseScene(static_cast<std::uint64_t>(seed));
        std::vector<unsigned int> slotOf(scene.triangles.size());
        for (unsigned int slot = 0; slot < slotOf.size(); ++slot) {
            slotOf[scene.baked.bvh.primitives[slot]] = slot;
        }
        std::vector<std::pair<unsigned int, unsigned int>> expected;
        test_support::IntersectionCounts counts;
        for (unsigned int i = 0; i < slotOf.size(); ++i) {
            for (unsigned int j = i + 1; j < slotOf.size(); ++j) {
                if (test_support::IntersectionOf(scene.baked, i, j, counts)) {
                    expected.emplace_back(i, slotOf[j]);
                }
            }
        }
        std::sort(expected.begin(), expected.end());
        std::vector<std::pair<unsigned int, unsigned int>> found;
        for (const FoundIntersection& pair : PairsOf(scene, {0, 0, 2}).found) {
            found.emplace_back(pair.first, pair.secondSlot);
        }
        ASSERT_EQ(found, expected) << "seed " << seed;
        intersections += static_cast<int>(expected.size());
    }
    EXPECT_GT(intersections, 10 * scenes);
}

// Pairs that a BVH changed by a caller excludes stay excluded.
TEST(DensePairs, AreNotUsedForAChangedBvh) {
    Random random(1);
    DenseScene scene(random, 8, DenseTriangles(random, 254, 60));
    ASSERT_TRUE(PairsOf(scene, {0, 0, 2}).usedDenseSearch);
    for (auto& node : scene.baked.bvh.nodes) {
        const bool isLeaf = node.first >> 30U == 3;
        node.box.max[0] = isLeaf ? node.box.min[0] : node.box.max[0];
    }
    const Pairs usual = PairsOf(scene, kNever);
    const Pairs changed = PairsOf(scene, {0, 0, 2});
    EXPECT_FALSE(changed.usedDenseSearch);
    EXPECT_EQ(TextOf(scene, changed.found), TextOf(scene, usual.found));
}

// --- nearly equal triangles ---

DenseScene NearlyEqual(Random& random) {
    const auto bits = static_cast<unsigned int>(random.between(5, 12));
    DenseSceneMaker maker(random, (1 << bits) - 2);
    for (int kinds = random.between(1, 3); kinds > 0; --kinds) {
        maker.addNearlyEqual(random.between(2, 14), random.between(0, 3));
    }
    maker.addLoose(random.between(0, 3));
    maker.addSheets(random.between(0, 2));
    return DenseScene(random, bits, maker.triangles);
}

bool AreInContact(const DenseScene& scene, const FoundIntersection& pair) {
    const auto faceOf = [&](unsigned int number, SlotTriangle& t) {
        t = ctr::TriangleOf(scene.baked, number);
        return ctr::FaceOnGrid{t.corners, ctr::NormalOf(t.corners)};
    };
    SlotTriangle a{};
    SlotTriangle b{};
    return ctr::AreInContact(faceOf(pair.first, a),
                             faceOf(scene.baked.bvh.primitives[pair.secondSlot], b),
                             ctr::ContactTolerance(scene.baked));
}

// Only pairs in contact, which are not drawn, may be omitted.
TEST(NearlyEqualTriangles, AreOmittedInContactOnly) {
    const int scenes = Scaled(3000);
    std::size_t leftOut = 0;
    std::size_t kept = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        DenseScene scene = NearlyEqual(random);
        scene.baked.setContactTolerance(static_cast<unsigned int>(random.between(0, 5)));
        const Pairs all = PairsOf(scene, {kEndless, 0, 16, kEndless});
        const Pairs some = PairsOf(scene, {kEndless, 0, 16, 0});
        auto next = some.found.begin();
        for (const FoundIntersection& pair : all.found) {
            if (next != some.found.end() && next->first == pair.first &&
                next->secondSlot == pair.secondSlot) {
                ++next;
                ++kept;
                continue;
            }
            ++leftOut;
            ASSERT_TRUE(AreInContact(scene, pair)) << "seed " << seed;
            ASSERT_NE(scene.baked.contactTolerance, 0U) << "seed " << seed;
        }
        ASSERT_TRUE(next == some.found.end()) << "seed " << seed;
        ASSERT_EQ(some.done, scene.triangles.size()) << "seed " << seed;
    }
    EXPECT_GT(leftOut, static_cast<std::size_t>(scenes));
    EXPECT_GT(kept, static_cast<std::size_t>(scenes));
}

// --- cells ---

TEST(GridAxis, APointHasOneCell) {
    const ctr::GridAxis cells({5, 5}, 8);
    EXPECT_EQ(cells.count(), 1);
    EXPECT_EQ(cells.around(4.0), 0);
    EXPECT_EQ(cells.around(6.0), 0);
    EXPECT_EQ(cells.overlapping({5, 5}).length(), 1U);
}

// --- hidden intersections ---

// Many overlapping triangles within a few steps, some of them large.
DenseScene Soup(Random& random) {
    const bool isTiled = random.percent(50);
    const auto bits = static_cast<unsigned int>(random.between(3, isTiled ? 5 : 6));
    const int across = (1 << bits) - 2;
    const int reach = random.between(2, isTiled ? 3 : across);
    DenseSceneMaker maker(random, across);
    const auto count = static_cast<std::size_t>(random.between(70, isTiled ? 500 : 250));
    if (isTiled) {
        maker.addTiles(random.between(1, 3));
    }
    while (maker.triangles.size() < count) {
        maker.addNear(maker.anyPoint(), reach);
        maker.addLoose(random.percent(10) ? 1 : 0);
        maker.addCopies(random.percent(5) ? 1 : 0);
    }
    return DenseScene(random, bits, maker.triangles);
}

// Whether the triangles together occlude the whole intersection of a pair.
bool IsAllHidden(const DenseScene& scene, const FoundIntersection& pair) {
    test_support::IntersectionCounts counts;
    const auto intersection = test_support::IntersectionOf(
        scene.baked, pair.first, scene.baked.bvh.primitives[pair.secondSlot], counts);
    std::vector<RationalInterval> ranges;
    for (unsigned int i = 0; intersection && i < scene.triangles.size(); ++i) {
        if (const auto part = test_support::HiddenOfIntersection(scene.baked, *intersection, i)) {
            ranges.push_back(*part);
        }
    }
    ctr::IntervalTools::FuseOverlappingIntervals(ranges);
    return ctr::AreFullSegment(ranges);
}

TEST(PotentiallyVisiblePairs, IncludeAllVisibleOnes) {
    const PairSearchLimits inSight{kEndless, 0, 16, kEndless, 0, 1e9};
    const int scenes = Scaled(250);
    std::size_t leftOut = 0;
    std::size_t kept = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        DenseScene scene = Soup(random);
        scene.baked.setContactTolerance(seed % 3 == 0 ? 1U : 0U);
        const Pairs all = PairsOf(scene, kNever);
        const Pairs some = PairsOf(scene, inSight, {}, Hidden::mayBeLeftOut);
        ASSERT_EQ(some.done, scene.triangles.size()) << "seed " << seed;
        std::set<std::string> known;
        for (const FoundIntersection& pair : some.found) {
            ASSERT_TRUE(known.insert(TextOf(scene, {pair})).second || TextOf(scene, {pair}).empty())
                << "seed " << seed << ": twice " << TextOf(scene, {pair});
        }
        kept += known.size();
        known.insert("");
        for (const FoundIntersection& pair : all.found) {
            const std::string text = TextOf(scene, {pair});
            if (!text.empty() && known.erase(text) == 0) {
                ++leftOut;
                ASSERT_TRUE(IsAllHidden(scene, pair)) << "seed " << seed << ": " << text;
            }
        }
        known.erase("");
        ASSERT_TRUE(known.empty()) << "seed " << seed << ": not there " << *known.begin();
        ASSERT_EQ(TextOf(scene, PairsOf(scene, inSight).found), TextOf(scene, all.found));
    }
    RecordProperty("left_out", static_cast<int>(leftOut));
    RecordProperty("kept", static_cast<int>(kept));
    EXPECT_GT(leftOut, static_cast<std::size_t>(100 * scenes));
    EXPECT_GT(kept, static_cast<std::size_t>(100 * scenes));
}

// --- occluded intervals ---

std::vector<RationalInterval>
AllRanges(const DenseScene& scene, const BakedVertex& a, const BakedVertex& b) {
    const ctr::ContactTolerance tolerance(scene.baked);
    std::vector<RationalInterval> ranges;
    for (const SlotTriangle& triangle : scene.triangles) {
        const auto& [p, q, r] = triangle.corners;
        if (const auto part = ctr::OccludedInterval(
                p, q, r, scene.baked.trianglePlanes[triangle.number], tolerance, a, b)) {
            ranges.push_back(*part);
        }
    }
    return ranges;
}

// An occlusion that has switched to the dense search.
ctr::EdgeOcclusion DenseSearchOf(const DenseScene& scene, std::uint32_t hubDegree) {
    ItemCounter work;
    ctr::EdgeOcclusion occlusion(scene.baked, {0, 0, 0, hubDegree});
    occlusion.announce(scene.triangles.size(), work);
    std::vector<RationalInterval> ignored;
    for (const SlotTriangle& t : scene.triangles) {
        for (int k = 0; k < 3 && occlusion.visits() == 0; ++k) {
            occlusion.append(t.corners[k], t.corners[(k + 1) % 3], ignored);
        }
    }
    occlusion.considerDenseSearch(0, work);
    return occlusion;
}

struct Ranges {
    std::size_t partly = 0;
    std::size_t inDenseSearch = 0;
};

// Segments between corners of a scene with a contact tolerance.
void ExpectAllRanges(const DenseScene& scene,
                     Random& random,
                     const std::string& name,
                     Ranges& counts) {
    const auto hubDegree = static_cast<std::uint32_t>(random.between(0, 4));
    ctr::EdgeOcclusion occlusion = DenseSearchOf(scene, hubDegree);
    counts.inDenseSearch += occlusion.usesDenseSearch() ? 1U : 0U;
    const auto anyCorner = [&] {
        const auto& t = scene.triangles[static_cast<std::size_t>(
            random.below(static_cast<int>(scene.triangles.size())))];
        return t.corners[random.below(3)];
    };
    for (int i = 0; i < 40; ++i) {
        const BakedVertex a = anyCorner();
        const BakedVertex b = anyCorner();
        if (a.x == b.x && a.y == b.y) {
            continue;
        }
        std::vector<RationalInterval> found;
        occlusion.append(a, b, found);
        const std::string expected = TextOf(AllRanges(scene, a, b));
        ASSERT_EQ(TextOf(found), expected) << name << ", segment " << i;
        counts.partly += !expected.empty() && expected != "whole" ? 1U : 0U;
    }
}

TEST(DenseOccluders, GiveTheIntervalsOfAllTriangles) {
    const int scenes = Scaled(3000);
    Ranges counts;
    for (int seed = 0; seed < scenes; ++seed) {
        DenseScene scene = RandomDenseScene(static_cast<std::uint64_t>(seed));
        Random random(static_cast<std::uint64_t>(seed));
        scene.baked.setContactTolerance(seed % 3 == 0 ? 2U : 0U);
        ExpectAllRanges(scene, random, "seed " + std::to_string(seed), counts);
    }
    RecordProperty("partly_hidden", static_cast<int>(counts.partly));
    EXPECT_GT(counts.partly, static_cast<std::size_t>(5 * scenes));
    EXPECT_GT(counts.inDenseSearch, static_cast<std::size_t>(scenes / 2));
}

TEST(RegionFronts, GiveTheIntervalsOfAllTriangles) {
    const int scenes = Scaled(600);
    Ranges counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        DenseScene scene = Soup(random);
        scene.baked.setContactTolerance(seed % 3 == 0 ? 1U : 0U);
        ExpectAllRanges(scene, random, "seed " + std::to_string(seed), counts);
    }
    RecordProperty("partly_hidden", static_cast<int>(counts.partly));
    EXPECT_GT(counts.partly, static_cast<std::size_t>(5 * scenes));
    EXPECT_GT(counts.inDenseSearch, static_cast<std::size_t>(scenes / 2));
}

TEST(NearlyEqualTriangles, OccludeAsEachOfThemDoes) {
    const int scenes = Scaled(2000);
    std::size_t hidden = 0;
    std::size_t open = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        DenseScene scene = NearlyEqual(random);
        scene.baked.setContactTolerance(static_cast<unsigned int>(random.between(0, 5)));
        ctr::EdgeOcclusion occlusion = DenseSearchOf(scene, 16);
        for (const SlotTriangle& t : scene.triangles) {
            for (int k = 0; k < 3; ++k) {
                const BakedVertex a = t.corners[k];
                const BakedVertex b = t.corners[(k + 1) % 3];
                std::vector<RationalInterval> found;
                occlusion.append(a, b, found);
                const std::string expected = TextOf(AllRanges(scene, a, b));
                ASSERT_EQ(TextOf(found), expected) << "seed " << seed;
                ++(expected.empty() ? open : hidden);
            }
        }
    }
    EXPECT_GT(hidden, static_cast<std::size_t>(scenes));
    EXPECT_GT(open, static_cast<std::size_t>(scenes));
}

// --- growth ---

using MakeScene = std::function<void(DenseSceneMaker&, int count)>;

struct Growth {
    double pairs;
    double occlusion;
};

struct Visits {
    std::size_t pairs;
    std::size_t occlusion;
};

Visits VisitsOf(int count, const MakeScene& make, bool mayUseDenseSearch, unsigned int tolerance) {
    constexpr unsigned int kBits = 18;
    Random random(7);
    DenseSceneMaker maker(random, (1 << kBits) - 2);
    make(maker, count);
    DenseScene scene(random, kBits, maker.triangles);
    scene.baked.setContactTolerance(tolerance);
    const Pairs pairs = PairsOf(scene, mayUseDenseSearch ? PairSearchLimits{8, 8, 16, 8} : kNever);
    ItemCounter work;
    ctr::EdgeOcclusion occlusion(scene.baked,
                                 mayUseDenseSearch ? OcclusionLimits{8, 16, 16, 16} : kNeverDense);
    occlusion.announce(3 * scene.triangles.size(), work);
    for (const SlotTriangle& t : scene.triangles) {
        for (int k = 0; k < 3; ++k) {
            std::vector<RationalInterval> hidden;
            occlusion.append(t.corners[k], t.corners[(k + 1) % 3], hidden);
            ctr::IntervalTools::FuseOverlappingIntervals(hidden);
            occlusion.considerDenseSearch(hidden.size(), work);
        }
    }
    return {pairs.visits, occlusion.visits()};
}

// The exponents with which visits grow with the count.
Growth
GrowthOf(const MakeScene& make, bool mayUseDenseSearch, int few, int many, unsigned int tolerance) {
    const Visits ofFew = VisitsOf(few, make, mayUseDenseSearch, tolerance);
    const Visits ofMany = VisitsOf(many, make, mayUseDenseSearch, tolerance);
    const double times = std::log2(static_cast<double>(many) / few);
    const auto power = [times](std::size_t a, std::size_t b) {
        return std::log2(static_cast<double>(b) / static_cast<double>(a)) / times;
    };
    return {power(ofFew.pairs, ofMany.pairs), power(ofFew.occlusion, ofMany.occlusion)};
}

BakedVertex OnRing(int count, int i, int height) {
    const double angle = 6.283185307179586 * i / count;
    return {131000 + static_cast<int>(100000.0 * std::cos(angle)), height,
            131000 + static_cast<int>(100000.0 * std::sin(angle))};
}

void ExpectLittleGrowth(const MakeScene& make, unsigned int tolerance = 0) {
    const Growth growth = GrowthOf(make, true, Scaled(500), Scaled(4000), tolerance);
    EXPECT_LE(growth.pairs, 1.3);
    EXPECT_LE(growth.occlusion, 1.3);
    // The same scene by the BVH alone, to show that it is dense.
    const Growth usual = GrowthOf(make, false, Scaled(250), Scaled(1000), tolerance);
    EXPECT_GE(std::max(usual.pairs, usual.occlusion), 1.7);
}

TEST(DenseSceneGrowth, EqualTriangles) {
    ExpectLittleGrowth([](DenseSceneMaker& maker, int count) {
        maker.addLoose(1);
        maker.triangles.resize(static_cast<std::size_t>(count), maker.triangles.front());
    });
}

TEST(DenseSceneGrowth, NeedlesFromOneCorner) {
    ExpectLittleGrowth([](DenseSceneMaker& maker, int count) {
        const BakedVertex hub{131000, 131000, 131000};
        for (int i = 0; i < count; ++i) {
            const BakedVertex tip = maker.anyPoint();
            maker.add(hub, tip, {std::min(tip.x + 20, 262142), std::max(tip.y - 20, 0), tip.z});
        }
    });
}

TEST(DenseSceneGrowth, SidesOfACone) {
    ExpectLittleGrowth([](DenseSceneMaker& maker, int count) {
        for (int i = 0; i < count; ++i) {
            const auto tilted = [](BakedVertex p) {
                p.y += p.z / 2;
                return p;
            };
            maker.add({131000, 200000, 131000}, tilted(OnRing(count, i, 40000)),
                      tilted(OnRing(count, (i + 1) % count, 40000)));
        }
    });
}

TEST(DenseSceneGrowth, PagesAtOneEdge) {
    ExpectLittleGrowth([](DenseSceneMaker& maker, int count) {
        for (int i = 0; i < count; ++i) {
            BakedVertex tip = OnRing(count, i, 80000);
            tip.y += tip.z / 4;
            maker.add({131000, 20000, 130000}, {131000, 220000, 132000}, tip);
        }
    });
}

TEST(DenseSceneGrowth, NearlyEqualTriangles) {
    const auto make = [](DenseSceneMaker& maker, int count) { maker.addNearlyEqual(count, 1); };
    ExpectLittleGrowth(make, 2);
}

TEST(DenseSceneGrowth, ParallelSheets) {
    ExpectLittleGrowth([](DenseSceneMaker& maker, int count) {
        for (int i = 0; i < count / 2; ++i) {
            const int lift = 80000 / count * i;
            const BakedVertex corners[4] = {{20000, 30000 + lift / 3, 20000 + lift},
                                            {180000, 60000 + lift / 3, 120000 + lift},
                                            {200000, 200000 + lift / 3, 160000 + lift},
                                            {40000, 170000 + lift / 3, 60000 + lift}};
            maker.add(corners[0], corners[1], corners[2]);
            maker.add(corners[0], corners[2], corners[3]);
        }
    });
}

// Nearly all pairs intersect, and nearly all intersections are hidden.
TEST(DenseSceneGrowth, HiddenIntersections) {
    const auto searchIn = [](int count) {
        constexpr unsigned int kBits = 5;
        constexpr int kAcross = 19;
        Random random(3);
        DenseSceneMaker maker(random, kAcross);
        while (static_cast<int>(maker.triangles.size()) < count) {
            maker.addNear(maker.anyPoint(), 4);
        }
        const DenseScene scene(random, kBits, maker.triangles);
        return PairsOf(scene, PairSearchLimits(), {}, Hidden::mayBeLeftOut);
    };
    // Not scaled: smaller scenes are not dense.
    const Pairs few = searchIn(2500);
    const Pairs many = searchIn(5000);
    const auto power = [](std::size_t a, std::size_t b) {
        return std::log2(static_cast<double>(b) / static_cast<double>(a));
    };
    EXPECT_LE(power(few.visits, many.visits), 1.3);
    EXPECT_LE(power(few.found.size(), many.found.size()), 1.3);
}

} // namespace
