// Pairs and hidden ranges in crowds, found without the hierarchy, against those found with it and
// against a look at every triangle; and that what is looked at grows little faster than the crowd.
#include "visibility/dense/DenseRegions.h"

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
using ctr::CrowdLimits;
using ctr::FoundIntersection;
using ctr::ItemCounter;
using ctr::OccluderLimits;
using ctr::OccluderTree;
using ctr::PairSearch;
using ctr::RationalInterval;
using test_support::CrowdedTriangles;
using test_support::CrowdMaker;
using test_support::GridTriangle;
using test_support::LatticeSpace;
using test_support::OnTheGrid;
using test_support::PutInSingleLeaves;
using test_support::Random;
using test_support::Scaled;
using test_support::Shuffled;

constexpr std::size_t kEndless = std::size_t{1} << 40;
constexpr CrowdLimits kNever{kEndless, 0, 16, kEndless};
constexpr OccluderLimits kNeverAside{kEndless, 0, 0, 16};

// A crowd on the grid, its triangles as a search has them.
struct Crowd {
    Crowd(Random& random, unsigned int bits, const std::vector<GridTriangle>& made)
        : space(LatticeSpace(bits, bits)), baked(OnTheGrid(space, made)) {
        PutInSingleLeaves(baked, Shuffled(random, made.size()));
        for (const unsigned int number : baked.bvh.primitives) {
            triangles.push_back(OccluderTree::triangleOf(baked, number));
        }
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    ctr::DiscreteProjectionSpace space;
    BakedTriangles baked;
    std::vector<OccluderTree::Triangle> triangles;
};

Crowd RandomCrowd(std::uint64_t seed) {
    Random random(seed);
    const auto bits = static_cast<unsigned int>(random.between(4, 11));
    const auto made = CrowdedTriangles(random, (1 << bits) - 2, random.between(4, 40));
    return Crowd(random, bits, made);
}

// --- pairs ---

struct Pairs {
    std::vector<FoundIntersection> found;
    std::size_t looks;
    bool wasCrowded;
    std::size_t done;
};

enum class Hidden : std::uint8_t { isWanted, mayBeLeftOut };

Pairs PairsOf(const Crowd& crowd,
              const CrowdLimits& limits,
              std::vector<bool> leftOut = {},
              Hidden hidden = Hidden::isWanted) {
    ItemCounter work;
    std::size_t done = 0;
    PairSearch search(
        crowd.baked, crowd.triangles, [&](std::size_t) { ++done; }, work, limits);
    if (!leftOut.empty()) {
        search.leaveOut(std::move(leftOut));
    }
    if (hidden == Hidden::mayBeLeftOut) {
        search.leaveOutHidden();
    }
    std::vector<FoundIntersection> found = search.run();
    return {std::move(found), search.looks(), search.wasCrowded(), done};
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

// One line for each pair but, as they may be left out, for those with an edge in common.
std::string TextOf(const Crowd& crowd, const std::vector<FoundIntersection>& found) {
    std::string text;
    for (const FoundIntersection& pair : found) {
        const auto cornersOf = [&](unsigned int number) {
            const OccluderTree::Triangle t = OccluderTree::triangleOf(crowd.baked, number);
            return GridTriangle{t.corners[0], t.corners[1], t.corners[2]};
        };
        if (!HaveEdgeInCommon(cornersOf(pair.first),
                              cornersOf(crowd.baked.bvh.primitives[pair.secondSlot]))) {
            text += std::to_string(pair.first) + " " + std::to_string(pair.secondSlot) + " " +
                    std::to_string(pair.ends[0]) + std::to_string(pair.ends[1]) +
                    (pair.grazing ? " grazing\n" : "\n");
        }
    }
    return text;
}

TEST(CrowdedPairs, TheSameAsTheHierarchyGives) {
    const int scenes = Scaled(4000);
    std::size_t pairs = 0;
    int crowds = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Crowd crowd = RandomCrowd(static_cast<std::uint64_t>(seed));
        Random random(static_cast<std::uint64_t>(seed));
        for (const unsigned int tolerance : {0U, 2U, 9U}) {
            crowd.baked.setContactTolerance(tolerance);
            std::vector<bool> leftOut;
            if (random.percent(30)) {
                // Equal triangles are in one place, so all of them are left out or none is.
                for (const OccluderTree::Triangle& t : crowd.triangles) {
                    leftOut.push_back((t.corners[0].x + t.corners[1].x + t.corners[2].x) % 2 == 0);
                }
            }
            const auto hubDegree = static_cast<std::uint32_t>(random.between(0, 4));
            const Pairs usual = PairsOf(crowd, kNever, leftOut);
            const Pairs crowded = PairsOf(crowd, {0, 0, hubDegree}, leftOut);
            crowds += crowded.wasCrowded ? 1 : 0;
            ASSERT_FALSE(usual.wasCrowded) << "seed " << seed;
            ASSERT_EQ(TextOf(crowd, crowded.found), TextOf(crowd, usual.found)) << "seed " << seed;
            ASSERT_EQ(crowded.done, crowd.triangles.size()) << "seed " << seed;
            if (tolerance == 0) {
                ASSERT_EQ(crowded.found.size(), usual.found.size()) << "seed " << seed;
            }
            pairs += usual.found.size();
        }
    }
    RecordProperty("pairs", static_cast<int>(pairs));
    EXPECT_GT(pairs, static_cast<std::size_t>(10 * scenes));
    EXPECT_GT(crowds, 2 * scenes);
}

TEST(CrowdedPairs, TheSameAsALookAtEveryPair) {
    const int scenes = Scaled(1500);
    int cuts = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        const Crowd crowd = RandomCrowd(static_cast<std::uint64_t>(seed));
        std::vector<unsigned int> slotOf(crowd.triangles.size());
        for (unsigned int slot = 0; slot < slotOf.size(); ++slot) {
            slotOf[crowd.baked.bvh.primitives[slot]] = slot;
        }
        std::vector<std::pair<unsigned int, unsigned int>> expected;
        test_support::CutCounts counts;
        for (unsigned int i = 0; i < slotOf.size(); ++i) {
            for (unsigned int j = i + 1; j < slotOf.size(); ++j) {
                if (test_support::CutOf(crowd.baked, i, j, counts)) {
                    expected.emplace_back(i, slotOf[j]);
                }
            }
        }
        std::sort(expected.begin(), expected.end());
        std::vector<std::pair<unsigned int, unsigned int>> found;
        for (const FoundIntersection& pair : PairsOf(crowd, {0, 0, 2}).found) {
            found.emplace_back(pair.first, pair.secondSlot);
        }
        ASSERT_EQ(found, expected) << "seed " << seed;
        cuts += static_cast<int>(expected.size());
    }
    EXPECT_GT(cuts, 10 * scenes);
}

// What the hierarchy leaves out, as a caller has changed it, stays left out.
TEST(CrowdedPairs, NotWithoutAHierarchyThatACallerHasChanged) {
    Random random(1);
    Crowd crowd(random, 8, CrowdedTriangles(random, 254, 60));
    ASSERT_TRUE(PairsOf(crowd, {0, 0, 2}).wasCrowded);
    for (auto& node : crowd.baked.bvh.nodes) {
        const bool isLeaf = node.first >> 30U == 3;
        node.box.max[0] = isLeaf ? node.box.min[0] : node.box.max[0];
    }
    const Pairs usual = PairsOf(crowd, kNever);
    const Pairs changed = PairsOf(crowd, {0, 0, 2});
    EXPECT_FALSE(changed.wasCrowded);
    EXPECT_EQ(TextOf(crowd, changed.found), TextOf(crowd, usual.found));
}

// --- nearly equal triangles ---

Crowd NearlyEqual(Random& random) {
    const auto bits = static_cast<unsigned int>(random.between(5, 12));
    CrowdMaker maker(random, (1 << bits) - 2);
    for (int kinds = random.between(1, 3); kinds > 0; --kinds) {
        maker.addNearlyEqual(random.between(2, 14), random.between(0, 3));
    }
    maker.addLoose(random.between(0, 3));
    maker.addSheets(random.between(0, 2));
    return Crowd(random, bits, maker.triangles);
}

bool AreInContact(const Crowd& crowd, const FoundIntersection& pair) {
    const auto faceOf = [&](unsigned int number, OccluderTree::Triangle& t) {
        t = OccluderTree::triangleOf(crowd.baked, number);
        return ctr::FaceOnGrid{t.corners, ctr::NormalOf(t.corners)};
    };
    OccluderTree::Triangle a{};
    OccluderTree::Triangle b{};
    return ctr::AreInContact(faceOf(pair.first, a),
                             faceOf(crowd.baked.bvh.primitives[pair.secondSlot], b),
                             ctr::ContactTolerance(crowd.baked));
}

// Only pairs in contact may be left out, of which nothing is drawn.
TEST(NearlyEqualTriangles, AreNoPairsWhereTheyAreInContact) {
    const int scenes = Scaled(3000);
    std::size_t leftOut = 0;
    std::size_t kept = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        Crowd crowd = NearlyEqual(random);
        crowd.baked.setContactTolerance(static_cast<unsigned int>(random.between(0, 5)));
        const Pairs all = PairsOf(crowd, {kEndless, 0, 16, kEndless});
        const Pairs some = PairsOf(crowd, {kEndless, 0, 16, 0});
        auto next = some.found.begin();
        for (const FoundIntersection& pair : all.found) {
            if (next != some.found.end() && next->first == pair.first &&
                next->secondSlot == pair.secondSlot) {
                ++next;
                ++kept;
                continue;
            }
            ++leftOut;
            ASSERT_TRUE(AreInContact(crowd, pair)) << "seed " << seed;
            ASSERT_NE(crowd.baked.contactTolerance, 0U) << "seed " << seed;
        }
        ASSERT_TRUE(next == some.found.end()) << "seed " << seed;
        ASSERT_EQ(some.done, crowd.triangles.size()) << "seed " << seed;
    }
    EXPECT_GT(leftOut, static_cast<std::size_t>(scenes));
    EXPECT_GT(kept, static_cast<std::size_t>(scenes));
}

// --- cells ---

TEST(CellsOnAxis, APointHasOneCell) {
    const ctr::CellsOnAxis cells({5, 5}, 8);
    EXPECT_EQ(cells.count(), 1);
    EXPECT_EQ(cells.around(4.0), 0);
    EXPECT_EQ(cells.around(6.0), 0);
    EXPECT_EQ(cells.meeting({5, 5}).length(), 1U);
}

// --- hidden cuts ---

// Steps across in which many triangles lie over each other, some of them large.
Crowd Soup(Random& random) {
    const bool isTiled = random.percent(50);
    const auto bits = static_cast<unsigned int>(random.between(3, isTiled ? 5 : 6));
    const int across = (1 << bits) - 2;
    const int reach = random.between(2, isTiled ? 3 : across);
    CrowdMaker maker(random, across);
    const auto count = static_cast<std::size_t>(random.between(70, isTiled ? 500 : 250));
    if (isTiled) {
        maker.addTiles(random.between(1, 3));
    }
    while (maker.triangles.size() < count) {
        maker.addNear(maker.anyPoint(), reach);
        maker.addLoose(random.percent(10) ? 1 : 0);
        maker.addCopies(random.percent(5) ? 1 : 0);
    }
    return Crowd(random, bits, maker.triangles);
}

// What others hide of the cut of two triangles, from every one of them.
bool IsAllHidden(const Crowd& crowd, const FoundIntersection& pair) {
    test_support::CutCounts counts;
    const auto cut = test_support::CutOf(crowd.baked, pair.first,
                                         crowd.baked.bvh.primitives[pair.secondSlot], counts);
    std::vector<RationalInterval> ranges;
    for (unsigned int i = 0; cut && i < crowd.triangles.size(); ++i) {
        if (const auto part = test_support::HiddenOfCut(crowd.baked, *cut, i)) {
            ranges.push_back(*part);
        }
    }
    ctr::IntervalTools::FuseOverlappingIntervals(ranges);
    return ctr::AreWhole(ranges);
}

TEST(PairsInSight, LeaveOutNoneThatIsVisible) {
    const CrowdLimits inSight{kEndless, 0, 16, kEndless, 0, 1e9};
    const int scenes = Scaled(250);
    std::size_t leftOut = 0;
    std::size_t kept = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        Crowd crowd = Soup(random);
        crowd.baked.setContactTolerance(seed % 3 == 0 ? 1U : 0U);
        const Pairs all = PairsOf(crowd, kNever);
        const Pairs some = PairsOf(crowd, inSight, {}, Hidden::mayBeLeftOut);
        ASSERT_EQ(some.done, crowd.triangles.size()) << "seed " << seed;
        std::set<std::string> known;
        for (const FoundIntersection& pair : some.found) {
            ASSERT_TRUE(known.insert(TextOf(crowd, {pair})).second || TextOf(crowd, {pair}).empty())
                << "seed " << seed << ": twice " << TextOf(crowd, {pair});
        }
        kept += known.size();
        known.insert("");
        for (const FoundIntersection& pair : all.found) {
            const std::string text = TextOf(crowd, {pair});
            if (!text.empty() && known.erase(text) == 0) {
                ++leftOut;
                ASSERT_TRUE(IsAllHidden(crowd, pair)) << "seed " << seed << ": " << text;
            }
        }
        known.erase("");
        ASSERT_TRUE(known.empty()) << "seed " << seed << ": not there " << *known.begin();
        ASSERT_EQ(TextOf(crowd, PairsOf(crowd, inSight).found), TextOf(crowd, all.found));
    }
    RecordProperty("left_out", static_cast<int>(leftOut));
    RecordProperty("kept", static_cast<int>(kept));
    EXPECT_GT(leftOut, static_cast<std::size_t>(100 * scenes));
    EXPECT_GT(kept, static_cast<std::size_t>(100 * scenes));
}

// --- hidden ranges ---

std::string TextOf(std::vector<RationalInterval> ranges) {
    ctr::IntervalTools::FuseOverlappingIntervals(ranges);
    if (ctr::AreWhole(ranges)) {
        return "whole";
    }
    std::string text;
    for (const RationalInterval& range : ranges) {
        for (const auto& t : {range.start, range.end}) {
            text += std::to_string(t[0]) + "/" + std::to_string(t[1]) + " ";
        }
    }
    return text;
}

std::vector<RationalInterval>
AllRanges(const Crowd& crowd, const BakedVertex& a, const BakedVertex& b) {
    const ctr::ContactTolerance tolerance(crowd.baked);
    std::vector<RationalInterval> ranges;
    for (const OccluderTree::Triangle& triangle : crowd.triangles) {
        const auto& [p, q, r] = triangle.corners;
        if (const auto part = ctr::HiddenPart(p, q, r, crowd.baked.trianglePlanes[triangle.number],
                                              tolerance, a, b)) {
            ranges.push_back(*part);
        }
    }
    return ranges;
}

// An occlusion that has turned to the crowd.
ctr::EdgeOcclusion Crowded(const Crowd& crowd, std::uint32_t hubDegree) {
    ItemCounter work;
    ctr::EdgeOcclusion occlusion(crowd.baked, {0, 0, 0, hubDegree});
    occlusion.announce(crowd.triangles.size(), work);
    std::vector<RationalInterval> ignored;
    for (const OccluderTree::Triangle& t : crowd.triangles) {
        for (int k = 0; k < 3 && occlusion.looks() == 0; ++k) {
            occlusion.append(t.corners[k], t.corners[(k + 1) % 3], ignored);
        }
    }
    occlusion.considerCrowds(0, work);
    return occlusion;
}

struct Ranges {
    std::size_t partly = 0;
    std::size_t inCrowds = 0;
};

// Segments between corners, in a crowd that has been given a contact tolerance.
void ExpectAllRanges(const Crowd& crowd, Random& random, const std::string& name, Ranges& counts) {
    const auto hubDegree = static_cast<std::uint32_t>(random.between(0, 4));
    ctr::EdgeOcclusion occlusion = Crowded(crowd, hubDegree);
    counts.inCrowds += occlusion.isCrowded() ? 1U : 0U;
    const auto anyCorner = [&] {
        const auto& t = crowd.triangles[static_cast<std::size_t>(
            random.below(static_cast<int>(crowd.triangles.size())))];
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
        const std::string expected = TextOf(AllRanges(crowd, a, b));
        ASSERT_EQ(TextOf(found), expected) << name << ", segment " << i;
        counts.partly += !expected.empty() && expected != "whole" ? 1U : 0U;
    }
}

TEST(CrowdedOccluders, TheSameRangesAsFromEveryTriangle) {
    const int scenes = Scaled(3000);
    Ranges counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Crowd crowd = RandomCrowd(static_cast<std::uint64_t>(seed));
        Random random(static_cast<std::uint64_t>(seed));
        crowd.baked.setContactTolerance(seed % 3 == 0 ? 2U : 0U);
        ExpectAllRanges(crowd, random, "seed " + std::to_string(seed), counts);
    }
    RecordProperty("partly_hidden", static_cast<int>(counts.partly));
    EXPECT_GT(counts.partly, static_cast<std::size_t>(5 * scenes));
    EXPECT_GT(counts.inCrowds, static_cast<std::size_t>(scenes / 2));
}

TEST(CrowdSurfaces, TheSameRangesAsFromEveryTriangle) {
    const int scenes = Scaled(600);
    Ranges counts;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        Crowd crowd = Soup(random);
        crowd.baked.setContactTolerance(seed % 3 == 0 ? 1U : 0U);
        ExpectAllRanges(crowd, random, "seed " + std::to_string(seed), counts);
    }
    RecordProperty("partly_hidden", static_cast<int>(counts.partly));
    EXPECT_GT(counts.partly, static_cast<std::size_t>(5 * scenes));
    EXPECT_GT(counts.inCrowds, static_cast<std::size_t>(scenes / 2));
}

TEST(NearlyEqualTriangles, HideWhatEachOfThemHides) {
    const int scenes = Scaled(2000);
    std::size_t hidden = 0;
    std::size_t open = 0;
    for (int seed = 0; seed < scenes; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        Crowd crowd = NearlyEqual(random);
        crowd.baked.setContactTolerance(static_cast<unsigned int>(random.between(0, 5)));
        ctr::EdgeOcclusion occlusion = Crowded(crowd, 16);
        for (const OccluderTree::Triangle& t : crowd.triangles) {
            for (int k = 0; k < 3; ++k) {
                const BakedVertex a = t.corners[k];
                const BakedVertex b = t.corners[(k + 1) % 3];
                std::vector<RationalInterval> found;
                occlusion.append(a, b, found);
                const std::string expected = TextOf(AllRanges(crowd, a, b));
                ASSERT_EQ(TextOf(found), expected) << "seed " << seed;
                ++(expected.empty() ? open : hidden);
            }
        }
    }
    EXPECT_GT(hidden, static_cast<std::size_t>(scenes));
    EXPECT_GT(open, static_cast<std::size_t>(scenes));
}

// --- growth ---

using MakeCrowd = std::function<void(CrowdMaker&, int count)>;

struct Growth {
    double pairs;
    double occlusion;
};

struct Looks {
    std::size_t pairs;
    std::size_t occlusion;
};

Looks LooksAt(int count, const MakeCrowd& make, bool mayTurnAside, unsigned int tolerance) {
    constexpr unsigned int kBits = 18;
    Random random(7);
    CrowdMaker maker(random, (1 << kBits) - 2);
    make(maker, count);
    Crowd crowd(random, kBits, maker.triangles);
    crowd.baked.setContactTolerance(tolerance);
    const Pairs pairs = PairsOf(crowd, mayTurnAside ? CrowdLimits{8, 8, 16, 8} : kNever);
    ItemCounter work;
    ctr::EdgeOcclusion occlusion(crowd.baked,
                                 mayTurnAside ? OccluderLimits{8, 16, 16, 16} : kNeverAside);
    occlusion.announce(3 * crowd.triangles.size(), work);
    for (const OccluderTree::Triangle& t : crowd.triangles) {
        for (int k = 0; k < 3; ++k) {
            std::vector<RationalInterval> hidden;
            occlusion.append(t.corners[k], t.corners[(k + 1) % 3], hidden);
            ctr::IntervalTools::FuseOverlappingIntervals(hidden);
            occlusion.considerCrowds(hidden.size(), work);
        }
    }
    return {pairs.looks, occlusion.looks()};
}

// By what power of the count looks grow.
Growth
GrowthOf(const MakeCrowd& make, bool mayTurnAside, int few, int many, unsigned int tolerance) {
    const Looks ofFew = LooksAt(few, make, mayTurnAside, tolerance);
    const Looks ofMany = LooksAt(many, make, mayTurnAside, tolerance);
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

void ExpectLittleGrowth(const MakeCrowd& make, unsigned int tolerance = 0) {
    const Growth growth = GrowthOf(make, true, Scaled(500), Scaled(4000), tolerance);
    EXPECT_LE(growth.pairs, 1.3);
    EXPECT_LE(growth.occlusion, 1.3);
    // The same crowd by the hierarchy alone: it has to be one.
    const Growth usual = GrowthOf(make, false, Scaled(250), Scaled(1000), tolerance);
    EXPECT_GE(std::max(usual.pairs, usual.occlusion), 1.7);
}

TEST(CrowdGrowth, EqualTriangles) {
    ExpectLittleGrowth([](CrowdMaker& maker, int count) {
        maker.addLoose(1);
        maker.triangles.resize(static_cast<std::size_t>(count), maker.triangles.front());
    });
}

TEST(CrowdGrowth, NeedlesFromOneCorner) {
    ExpectLittleGrowth([](CrowdMaker& maker, int count) {
        const BakedVertex hub{131000, 131000, 131000};
        for (int i = 0; i < count; ++i) {
            const BakedVertex tip = maker.anyPoint();
            maker.add(hub, tip, {std::min(tip.x + 20, 262142), std::max(tip.y - 20, 0), tip.z});
        }
    });
}

TEST(CrowdGrowth, SidesOfACone) {
    ExpectLittleGrowth([](CrowdMaker& maker, int count) {
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

TEST(CrowdGrowth, PagesAtOneEdge) {
    ExpectLittleGrowth([](CrowdMaker& maker, int count) {
        for (int i = 0; i < count; ++i) {
            BakedVertex tip = OnRing(count, i, 80000);
            tip.y += tip.z / 4;
            maker.add({131000, 20000, 130000}, {131000, 220000, 132000}, tip);
        }
    });
}

TEST(CrowdGrowth, NearlyEqualTriangles) {
    const auto make = [](CrowdMaker& maker, int count) { maker.addNearlyEqual(count, 1); };
    ExpectLittleGrowth(make, 2);
}

TEST(CrowdGrowth, ParallelSheets) {
    ExpectLittleGrowth([](CrowdMaker& maker, int count) {
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

// Where nearly all pairs give cuts that others hide.
TEST(CrowdGrowth, HiddenCuts) {
    const auto searchIn = [](int count) {
        constexpr unsigned int kBits = 5;
        constexpr int kAcross = 19;
        Random random(3);
        CrowdMaker maker(random, kAcross);
        while (static_cast<int>(maker.triangles.size()) < count) {
            maker.addNear(maker.anyPoint(), 4);
        }
        const Crowd crowd(random, kBits, maker.triangles);
        return PairsOf(crowd, CrowdLimits(), {}, Hidden::mayBeLeftOut);
    };
    // Not scaled: fewer are no crowd.
    const Pairs few = searchIn(2500);
    const Pairs many = searchIn(5000);
    const auto power = [](std::size_t a, std::size_t b) {
        return std::log2(static_cast<double>(b) / static_cast<double>(a));
    };
    EXPECT_LE(power(few.looks, many.looks), 1.3);
    EXPECT_LE(power(few.found.size(), many.found.size()), 1.3);
}

} // namespace
