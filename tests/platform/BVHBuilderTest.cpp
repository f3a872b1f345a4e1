// The invariants of the BVH builder, on ordinary, adverse and invalid input.
#include <kxCommonAddOns/kxGenericBVH.h>
#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using kx::kxBBox;
using kx::kxGenericBVH;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr unsigned int kDepthBound = 80;

// How a node word is read, written down a second time.
bool IsLeaf(const kxGenericBVH::Node& node) {
    return (node.first >> 30) == 3;
}
unsigned int FirstSlot(const kxGenericBVH::Node& leaf) {
    return leaf.first & 0x3FFFFFFFu;
}
unsigned int FirstChild(const kxGenericBVH::Node& inner) {
    return inner.first & 0x3FFFFFFFu;
}
unsigned int SecondChild(const kxGenericBVH::Node& inner) {
    return inner.second & 0x0FFFFFFFu;
}

class Boxes : public kx::kxGenericBVHPrimitives {
public:
    explicit Boxes(std::vector<kxBBox> boxes) : boxes_(std::move(boxes)) {}

    unsigned int getPrimitiveQuantity() const override {
        return static_cast<unsigned int>(boxes_.size());
    }
    kxBBox getPrimitiveBox(unsigned int i) const override { return boxes_.at(i); }

    const std::vector<kxBBox>& all() const { return boxes_; }

private:
    std::vector<kxBBox> boxes_;
};

bool Build(kxGenericBVH& tree, const Boxes& boxes, unsigned int leafSize) {
    return kx::kxLinearGenericBVHBuilder::build(tree, boxes, nullptr, leafSize);
}

// Random numbers that are the same with every standard library.
class Random {
public:
    explicit Random(unsigned int seed) : engine_(seed) {}

    unsigned int below(unsigned int end) { return static_cast<unsigned int>(engine_()) % end; }
    // 0 to 1 in steps of 2^-24.
    float unit() { return static_cast<float>(engine_() >> 8) * 0x1p-24f; }

private:
    std::mt19937 engine_;
};

kxBBox Cube(float x, float y, float z, float halfSide) {
    return {{x - halfSide, y - halfSide, z - halfSide}, {x + halfSide, y + halfSide, z + halfSide}};
}

kxBBox UniformBox(Random& random) {
    return Cube(random.unit(), random.unit(), random.unit(), 0.05f * random.unit());
}

// On a coarse grid, equal centroids and flat boxes are the rule.
kxBBox GridBox(Random& random) {
    kxBBox box;
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = static_cast<float>(random.below(4));
        box.max[axis] = box.min[axis] + static_cast<float>(random.below(3));
    }
    return box;
}

kxBBox PointOnALine(Random& random) {
    const float x = random.unit();
    return {{x, 0.0f, 0.0f}, {x, 0.0f, 0.0f}};
}

kxBBox SamePoint(Random&) {
    return Cube(1.0f, 2.0f, 3.0f, 0.0f);
}

kxBBox ConcentricBox(Random& random) {
    return Cube(0.0f, 0.0f, 0.0f, random.unit());
}

kxBBox BoxOfAnyMagnitude(Random& random) {
    const float size = std::ldexp(1.0f, static_cast<int>(random.below(270)) - 145);
    return Cube(size, random.unit() * size, -size, size * 0.5f);
}

float AnyFloat(Random& random) {
    const float values[] = {kNaN,
                            kInfinity,
                            -kInfinity,
                            std::numeric_limits<float>::max(),
                            std::numeric_limits<float>::lowest(),
                            std::numeric_limits<float>::denorm_min(),
                            0.0f,
                            -0.0f,
                            random.unit()};
    return values[random.below(9)];
}

kxBBox SenselessBox(Random& random) {
    kxBBox box;
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = AnyFloat(random);
        box.max[axis] = AnyFloat(random);
    }
    return box;
}

kxBBox MostlySoundBox(Random& random) {
    return random.below(10) == 0 ? SenselessBox(random) : UniformBox(random);
}

std::vector<kxBBox> Make(kxBBox (*make)(Random&), unsigned int count, unsigned int seed) {
    Random random(seed);
    std::vector<kxBBox> boxes(count);
    std::generate(boxes.begin(), boxes.end(), [&] { return make(random); });
    return boxes;
}

// The union of boxes, NaN left out.
kxBBox Union(const kxBBox& a, const kxBBox& b) {
    kxBBox both;
    for (int axis = 0; axis < 3; ++axis) {
        both.min[axis] = std::fmin(a.min[axis], b.min[axis]);
        both.max[axis] = std::fmax(a.max[axis], b.max[axis]);
    }
    return both;
}

// Walks a whole tree depth first and says what is wrong with it.
class TreeCheck {
public:
    TreeCheck(const kxGenericBVH& tree, const std::vector<kxBBox>& boxes, unsigned int leafSize)
        : tree_(tree), boxes_(boxes), leafSize_(std::max(leafSize, 1u)) {}

    // Empty when all is well.
    std::string complaint() {
        if (tree_.primitives.size() != boxes_.size()) {
            return "the number of slots is not the number of primitives";
        }
        if (boxes_.empty()) {
            return tree_.nodes.empty() ? "" : "nodes without primitives";
        }
        walk();
        if (complaint_.str().empty()) {
            checkTotals();
        }
        return complaint_.str();
    }

    unsigned int depth() const { return depth_; }

private:
    struct Place {
        unsigned int node;
        unsigned int depth;
    };

    // Children are pushed second first, so the walk meets the nodes in the order of their numbers.
    void walk() {
        std::vector<Place> pending = {{0, 0}};
        std::vector<unsigned int> order;
        while (!pending.empty() && complaint_.str().empty()) {
            const Place place = pending.back();
            pending.pop_back();
            if (place.node >= tree_.nodes.size() || place.node != visited_) {
                complaint_ << "node " << place.node << " met as number " << visited_;
                return;
            }
            ++visited_;
            depth_ = std::max(depth_, place.depth);
            const kxGenericBVH::Node& node = tree_.nodes[place.node];
            if (IsLeaf(node)) {
                checkLeaf(place.node);
            } else {
                pending.push_back({SecondChild(node), place.depth + 1});
                pending.push_back({FirstChild(node), place.depth + 1});
            }
        }
    }

    void checkLeaf(unsigned int number) {
        const kxGenericBVH::Node& leaf = tree_.nodes[number];
        if (leaf.second < 1 || leaf.second > leafSize_) {
            complaint_ << "leaf " << number << " holds " << leaf.second << " primitives";
        } else if (FirstSlot(leaf) != slots_) {
            complaint_ << "leaf " << number << " starts at slot " << FirstSlot(leaf) << ", not "
                       << slots_;
        }
        slots_ += leaf.second;
    }

    void checkTotals() {
        if (visited_ != tree_.nodes.size() || slots_ != boxes_.size()) {
            complaint_ << visited_ << " nodes and " << slots_ << " slots reached";
        } else if (tree_.nodes.size() > 2 * boxes_.size() - 1) {
            complaint_ << tree_.nodes.size() << " nodes for " << boxes_.size() << " primitives";
        } else if (depth_ > kDepthBound) {
            complaint_ << "depth " << depth_;
        } else {
            checkPermutation();
            checkBoxes();
        }
    }

    void checkPermutation() {
        std::vector<unsigned int> sorted = tree_.primitives;
        std::sort(sorted.begin(), sorted.end());
        for (unsigned int i = 0; i < sorted.size(); ++i) {
            if (sorted[i] != i) {
                complaint_ << "primitive " << i << " is not there exactly once";
                return;
            }
        }
    }

    // Children have higher numbers than their parents, so from the back they come first.
    void checkBoxes() {
        std::vector<kxBBox> expected(tree_.nodes.size());
        for (std::size_t n = tree_.nodes.size(); n-- > 0;) {
            const kxGenericBVH::Node& node = tree_.nodes[n];
            expected[n] = IsLeaf(node)
                              ? boxOfLeaf(node)
                              : Union(expected[FirstChild(node)], expected[SecondChild(node)]);
            if (!(node.box == expected[n])) {
                complaint_ << "the box of node " << n << " is not the union of its primitives'";
                return;
            }
        }
    }

    kxBBox boxOfLeaf(const kxGenericBVH::Node& leaf) const {
        kxBBox box;
        for (unsigned int i = 0; i < leaf.second; ++i) {
            box = Union(box, boxes_[tree_.primitives[FirstSlot(leaf) + i]]);
        }
        return box;
    }

    const kxGenericBVH& tree_;
    const std::vector<kxBBox>& boxes_;
    const unsigned int leafSize_;
    unsigned int visited_ = 0;
    unsigned int slots_ = 0;
    unsigned int depth_ = 0;
    std::ostringstream complaint_;
};

bool SameTrees(const kxGenericBVH& a, const kxGenericBVH& b) {
    return a.primitives == b.primitives && a.nodes.size() == b.nodes.size() &&
           std::memcmp(a.nodes.data(), b.nodes.data(), a.nodes.size() * sizeof(a.nodes[0])) == 0;
}

TEST(LinearBVHBuilder, NoPrimitivesGiveNoNodes) {
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(Make(UniformBox, 9, 1)), 2));
    ASSERT_TRUE(Build(tree, Boxes({}), 10));
    EXPECT_TRUE(tree.nodes.empty());
    EXPECT_TRUE(tree.primitives.empty());
}

TEST(LinearBVHBuilder, OnePrimitiveIsALeafAtTheRoot) {
    kxGenericBVH tree;
    const kxBBox box = Cube(1.0f, 2.0f, 3.0f, 0.5f);
    ASSERT_TRUE(Build(tree, Boxes({box}), 10));
    ASSERT_EQ(tree.nodes.size(), 1u);
    EXPECT_EQ(tree.nodes[0].first, 0xC0000000u);
    EXPECT_EQ(tree.nodes[0].second, 1u);
    EXPECT_EQ(tree.nodes[0].box, box);
    EXPECT_EQ(tree.primitives, std::vector<unsigned int>{0});
}

TEST(LinearBVHBuilder, TwoFarPlacesAreTwoLeavesAlongEveryAxis) {
    for (int axis = 0; axis < 3; ++axis) {
        kxGenericBVH tree;
        const kxBBox low = Cube(0.0f, 0.0f, 0.0f, 1.0f);
        kxBBox high = low;
        high.min[axis] += 100.0f;
        high.max[axis] += 100.0f;
        ASSERT_TRUE(Build(tree, Boxes({high, low, high, low, high, low}), 10));
        ASSERT_EQ(tree.nodes.size(), 3u) << "axis " << axis;
        EXPECT_EQ(tree.nodes[0].first, 1u);
        EXPECT_EQ(tree.nodes[0].second, 2u);
        EXPECT_EQ(tree.nodes[1].first, 0xC0000000u);
        EXPECT_EQ(tree.nodes[2].first, 0xC0000003u);
        EXPECT_EQ(tree.nodes[1].box, low);
        EXPECT_EQ(tree.nodes[2].box, high);
    }
}

// The distance of these centroids has no reciprocal among the floats, so there are no bins.
TEST(LinearBVHBuilder, CentroidsTooCloseForBinsAreHalvedInOrder) {
    std::vector<kxBBox> boxes;
    for (const float x : {3e-40f, -1e-40f, 1e-40f, -3e-40f, 2e-40f, -2e-40f}) {
        boxes.push_back(Cube(x, 0.0f, 0.0f, 0.0f));
    }
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(boxes), 3));
    ASSERT_EQ(tree.nodes.size(), 3u);
    EXPECT_LT(tree.nodes[1].box.max[0], 0.0f);
    EXPECT_GT(tree.nodes[2].box.min[0], 0.0f);
}

TEST(LinearBVHBuilder, AFullLeafStaysOneWhereASplitHelpsNobody) {
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(Make(SamePoint, 10, 0)), 10));
    EXPECT_EQ(tree.nodes.size(), 1u);
    ASSERT_TRUE(Build(tree, Boxes(Make(SamePoint, 11, 0)), 10));
    EXPECT_EQ(tree.nodes.size(), 3u);
}

struct Kind {
    const char* name;
    kxBBox (*make)(Random&);
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

class LinearBVHBuilderOver : public ::testing::TestWithParam<Kind> {};

TEST_P(LinearBVHBuilderOver, RandomBoxesKeepsEveryInvariant) {
    constexpr unsigned int kCounts[] = {1, 2, 3, 7, 10, 11, 33, 200, 1000};
    for (unsigned int seed = 0; seed < 90; ++seed) {
        const unsigned int count = kCounts[seed % 9];
        const Boxes boxes(Make(GetParam().make, count, seed));
        for (const unsigned int leafSize : {0u, 1u, 2u, 10u, 500u}) {
            kxGenericBVH tree;
            ASSERT_TRUE(Build(tree, boxes, leafSize));
            EXPECT_EQ(TreeCheck(tree, boxes.all(), leafSize).complaint(), "")
                << count << " boxes, seed " << seed << ", leaf size " << leafSize;
        }
    }
}

TEST_P(LinearBVHBuilderOver, TheSameBoxesIsTheSameTree) {
    const Boxes boxes(Make(GetParam().make, 5000, 77));
    kxGenericBVH first;
    ASSERT_TRUE(Build(first, boxes, 10));
    kxGenericBVH second;
    ASSERT_TRUE(Build(second, Boxes(Make(UniformBox, 9999, 5)), 1));
    ASSERT_TRUE(Build(second, boxes, 10));
    EXPECT_TRUE(SameTrees(first, second));
}

TEST_P(LinearBVHBuilderOver, ManyBoxesIsWholeToo) {
    const Boxes boxes(Make(GetParam().make, 30000, 5));
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, boxes, 10));
    EXPECT_EQ(TreeCheck(tree, boxes.all(), 10).complaint(), "");
}

INSTANTIATE_TEST_SUITE_P(Kinds,
                         LinearBVHBuilderOver,
                         ::testing::Values(Kind{"Uniform", UniformBox},
                                           Kind{"Grid", GridBox},
                                           Kind{"Line", PointOnALine},
                                           Kind{"Point", SamePoint},
                                           Kind{"Concentric", ConcentricBox},
                                           Kind{"Magnitudes", BoxOfAnyMagnitude},
                                           Kind{"Senseless", SenselessBox},
                                           Kind{"MostlySound", MostlySoundBox}),
                         [](const auto& info) { return std::string(info.param.name); });

// Needles from the origin along all three axes, each twice as long as the one before. The longest
// of an axis is always the cheapest to separate, one at a time: left alone, splits by surface area
// make a tree of these that is some 150 levels deep.
std::vector<kxBBox> Needles() {
    constexpr int kThinnest = -116;
    constexpr int kLongest = 116;
    const float thin = std::ldexp(1.0f, kThinnest);
    std::vector<kxBBox> boxes;
    for (int exponent = kThinnest; exponent < kLongest; ++exponent) {
        for (int axis = 0; axis < 3; ++axis) {
            kxBBox needle{{0.0f, 0.0f, 0.0f}, {thin, thin, thin}};
            needle.max[axis] = std::ldexp(1.0f, exponent);
            boxes.push_back(needle);
        }
    }
    return boxes;
}

TEST(LinearBVHBuilderDepth, IsBoundedWhereEverySplitSeparatesOne) {
    const Boxes boxes(Needles());
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, boxes, 1));
    TreeCheck check(tree, boxes.all(), 1);
    EXPECT_EQ(check.complaint(), "");
    // Were the input harmless, the bound would not be put to the test.
    EXPECT_GT(check.depth(), kDepthBound - 5);
}

TEST(LinearBVHBuilderDepth, IsBoundedWhereNeedlesMeet) {
    std::vector<kxBBox> boxes = Needles();
    const float thin = boxes[0].max[0];
    Random random(3);
    for (int i = 0; i < 20000; ++i) {
        boxes.push_back(
            Cube(random.unit() * thin, random.unit() * thin, random.unit() * thin, 0.0f));
    }
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(boxes), 10));
    TreeCheck check(tree, boxes, 10);
    EXPECT_EQ(check.complaint(), "");
    EXPECT_GT(check.depth(), kDepthBound - 5);
}

TEST(LinearBVHBuilderDepth, IsLogarithmicForEqualBoxes) {
    const Boxes boxes(Make(SamePoint, 1 << 12, 0));
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, boxes, 1));
    TreeCheck check(tree, boxes.all(), 1);
    EXPECT_EQ(check.complaint(), "");
    EXPECT_EQ(check.depth(), 12u);
}

// A point on a line has no area, so only the counts can distinguish a good split from a bad one.
TEST(LinearBVHBuilderDepth, IsNearlyLogarithmicForPointsOnALine) {
    const Boxes boxes(Make(PointOnALine, 1 << 12, 9));
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, boxes, 1));
    TreeCheck check(tree, boxes.all(), 1);
    EXPECT_EQ(check.complaint(), "");
    EXPECT_LE(check.depth(), 20u);
}

bool Overlap(const kxBBox& a, const kxBBox& b) {
    for (int axis = 0; axis < 3; ++axis) {
        if (a.min[axis] > b.max[axis] || b.min[axis] > a.max[axis]) {
            return false;
        }
    }
    return true;
}

struct Found {
    std::vector<unsigned int> primitives;
    std::size_t nodesVisited = 0;
    std::size_t primitivesTested = 0;
};

void Query(const kxGenericBVH& tree,
           const std::vector<kxBBox>& boxes,
           unsigned int number,
           const kxBBox& query,
           Found& found) {
    const kxGenericBVH::Node& node = tree.nodes[number];
    ++found.nodesVisited;
    if (!Overlap(node.box, query)) {
        return;
    }
    if (!IsLeaf(node)) {
        Query(tree, boxes, FirstChild(node), query, found);
        Query(tree, boxes, SecondChild(node), query, found);
        return;
    }
    for (unsigned int i = 0; i < node.second; ++i) {
        const unsigned int primitive = tree.primitives[FirstSlot(node) + i];
        ++found.primitivesTested;
        if (Overlap(boxes[primitive], query)) {
            found.primitives.push_back(primitive);
        }
    }
}

std::vector<unsigned int> FoundOneByOne(const std::vector<kxBBox>& boxes, const kxBBox& query) {
    std::vector<unsigned int> found;
    for (unsigned int i = 0; i < boxes.size(); ++i) {
        if (Overlap(boxes[i], query)) {
            found.push_back(i);
        }
    }
    return found;
}

TEST(LinearBVHQuery, FindsTheResultOfATestOfEveryBox) {
    Random random(11);
    const std::vector<kxBBox> boxes = Make(GridBox, 3000, 4);
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(boxes), 10));
    for (int i = 0; i < 200; ++i) {
        const kxBBox query = GridBox(random);
        Found found;
        Query(tree, boxes, 0, query, found);
        std::sort(found.primitives.begin(), found.primitives.end());
        EXPECT_EQ(found.primitives, FoundOneByOne(boxes, query)) << "query " << i;
    }
}

// The surface of a sphere in small boxes, as a mesh gives them.
std::vector<kxBBox> SphereBoxes(unsigned int count) {
    Random random(21);
    std::vector<kxBBox> boxes;
    while (boxes.size() < count) {
        const float x = 2.0f * random.unit() - 1.0f;
        const float y = 2.0f * random.unit() - 1.0f;
        const float z = 2.0f * random.unit() - 1.0f;
        const float length = std::sqrt(x * x + y * y + z * z);
        if (length > 0.1f && length < 1.0f) {
            boxes.push_back(Cube(x / length, y / length, z / length, 0.004f));
        }
    }
    return boxes;
}

// With 20,000 boxes a tree without sense would look at thousands of nodes; the bounds leave a
// margin of about a half over what the surface-area heuristic needs.
TEST(LinearBVHQuery, VisitsFewNodesAndPrimitives) {
    const std::vector<kxBBox> boxes = SphereBoxes(20000);
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(boxes), 10));
    Found found;
    for (std::size_t i = 0; i < boxes.size(); i += 10) {
        Query(tree, boxes, 0, boxes[i], found);
    }
    const std::size_t queries = boxes.size() / 10;
    EXPECT_LE(found.nodesVisited, 45 * queries);
    EXPECT_LE(2 * found.primitivesTested, 5 * found.primitives.size());
}

// One box without end, or one that is nowhere, must not cost the others their tree.
TEST(LinearBVHQuery, AFewSenselessBoxesCostLittle) {
    std::vector<kxBBox> boxes = SphereBoxes(20000);
    boxes[100] = {{-kInfinity, -kInfinity, -kInfinity}, {kInfinity, kInfinity, kInfinity}};
    boxes[2000] = kxBBox();
    boxes[5000] = {{kNaN, kNaN, kNaN}, {kNaN, kNaN, kNaN}};
    boxes[7000] = {{0.0f, -kInfinity, 0.0f}, {0.0f, 1.0f, kInfinity}};
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(boxes), 10));
    EXPECT_EQ(TreeCheck(tree, boxes, 10).complaint(), "");
    Found found;
    std::size_t queries = 0;
    for (std::size_t i = 3; i < boxes.size(); i += 10) {
        Query(tree, boxes, 0, boxes[i], found);
        ++queries;
    }
    EXPECT_LE(found.nodesVisited, 45 * queries);
}

// Cancels at the n-th poll and withdraws it afterwards.
class CancelAt : public kx::kxCancelInterfaceReadOnly {
public:
    explicit CancelAt(int question) : question_(question) {}
    bool isCanceled() const override { return polls_++ == question_; }
    int polls() const { return polls_; }

private:
    int question_;
    mutable int polls_ = 0;
};

TEST(LinearBVHBuilderCancellation, AStopAtAnyPollLeavesNothing) {
    const Boxes boxes(Make(MostlySoundBox, 9000, 8));
    const CancelAt never(-1);
    kxGenericBVH whole;
    ASSERT_TRUE(kx::kxLinearGenericBVHBuilder::build(whole, boxes, &never, 10));
    ASSERT_GT(never.polls(), 20);
    for (int question = 0; question < never.polls(); ++question) {
        const CancelAt cancel(question);
        kxGenericBVH tree = whole;
        EXPECT_FALSE(kx::kxLinearGenericBVHBuilder::build(tree, boxes, &cancel, 10)) << question;
        EXPECT_TRUE(tree.nodes.empty());
        EXPECT_TRUE(tree.primitives.empty());
    }
}

TEST(LinearBVHBuilderCancellation, AStopBeforeTheStartIsSeenOnTheSmallestInput) {
    const CancelAt cancel(0);
    kxGenericBVH tree;
    EXPECT_FALSE(
        kx::kxLinearGenericBVHBuilder::build(tree, Boxes(Make(UniformBox, 1, 0)), &cancel, 10));
}

// Notes how many boxes are handed out between two questions.
class Watched : public kx::kxGenericBVHPrimitives, public kx::kxCancelInterfaceReadOnly {
public:
    unsigned int getPrimitiveQuantity() const override { return 50000; }
    kxBBox getPrimitiveBox(unsigned int i) const override {
        EXPECT_EQ(i, handedOut_) << "boxes are requested once, in order";
        ++handedOut_;
        ++sinceQuestion_;
        longest_ = std::max(longest_, sinceQuestion_);
        const auto x = static_cast<float>(i);
        return Cube(x, x, x, 1.0f);
    }
    bool isCanceled() const override {
        sinceQuestion_ = 0;
        return false;
    }
    unsigned int handedOut() const { return handedOut_; }
    unsigned int longest() const { return longest_; }

private:
    mutable unsigned int handedOut_ = 0;
    mutable unsigned int sinceQuestion_ = 0;
    mutable unsigned int longest_ = 0;
};

TEST(LinearBVHBuilderCancellation, IsPolledForEveryFewThousandBoxesWhichAreReadOnce) {
    const Watched watched;
    kxGenericBVH tree;
    ASSERT_TRUE(kx::kxLinearGenericBVHBuilder::build(tree, watched, &watched, 10));
    EXPECT_EQ(watched.handedOut(), 50000u);
    EXPECT_LE(watched.longest(), 5000u);
}

// More primitives than a node can index; no box of them may be requested.
class TooMany : public kx::kxGenericBVHPrimitives {
public:
    unsigned int getPrimitiveQuantity() const override { return (1u << 30) + 1; }
    kxBBox getPrimitiveBox(unsigned int) const override {
        ADD_FAILURE() << "a box was requested";
        return {};
    }
};

TEST(LinearBVHBuilderLimits, TooManyPrimitivesAreRefusedAtOnce) {
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(Make(UniformBox, 9, 1)), 2));
    EXPECT_FALSE(kx::kxLinearGenericBVHBuilder::build(tree, TooMany(), nullptr, 10));
    EXPECT_TRUE(tree.nodes.empty());
    EXPECT_TRUE(tree.primitives.empty());
}

class OutOfMemory : public kx::kxGenericBVHPrimitives {
public:
    unsigned int getPrimitiveQuantity() const override { return 100; }
    kxBBox getPrimitiveBox(unsigned int i) const override {
        return i < 50 ? kxBBox() : throw std::bad_alloc();
    }
};

TEST(LinearBVHBuilderLimits, AnExceptionPassesThroughAndLeavesNothing) {
    kxGenericBVH tree;
    ASSERT_TRUE(Build(tree, Boxes(Make(UniformBox, 9, 1)), 2));
    EXPECT_THROW(kx::kxLinearGenericBVHBuilder::build(tree, OutOfMemory(), nullptr, 10),
                 std::bad_alloc);
    EXPECT_TRUE(tree.nodes.empty());
    EXPECT_TRUE(tree.primitives.empty());
}

} // namespace
