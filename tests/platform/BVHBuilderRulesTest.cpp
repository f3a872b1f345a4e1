// The BVH builder compared with a plain second implementation of its rules: one item, axis and
// number at a time, every cost recomputed, the median found by sorting. The trees must be equal
// node by node and slot by slot, and so must be the number of polls for cancellation.
#include <kxCommonAddOns/kxGenericBVH.h>
#include <kxCommonAddOns/kxGenericBVHPrimitives.h>
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using kx::kxBBox;
using kx::kxGenericBVH;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kFarthest = std::numeric_limits<float>::max() / 2;
constexpr double kNoSplit = std::numeric_limits<double>::infinity();

struct Point {
    float at[3];
};

// NaN counts as the lowest.
Point CentroidOf(const kxBBox& box) {
    Point centroid{};
    for (int axis = 0; axis < 3; ++axis) {
        const float middle = 0.5F * box.min[axis] + 0.5F * box.max[axis];
        centroid.at[axis] = middle > -kFarthest ? std::min(middle, kFarthest) : -kFarthest;
    }
    return centroid;
}

void Extend(kxBBox& box, const kxBBox& other) {
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::fmin(box.min[axis], other.min[axis]);
        box.max[axis] = std::fmax(box.max[axis], other.max[axis]);
    }
}

double SideOf(const kxBBox& box, int axis) {
    const double side = double{box.max[axis]} - double{box.min[axis]};
    return side > 0.0 ? std::min(side, 2.0 * std::numeric_limits<float>::max()) : 0.0;
}

double HalfAreaOf(const kxBBox& box) {
    const double x = SideOf(box, 0);
    const double y = SideOf(box, 1);
    const double z = SideOf(box, 2);
    return x * y + y * z + z * x;
}

class PlainBuilder {
public:
    PlainBuilder(const std::vector<kxBBox>& boxes, unsigned int leafSize)
        : boxes_(boxes), leafSize_(std::max(leafSize, 1U)) {
        for (unsigned int i = 0; i < boxes.size(); ++i) {
            handle(1);
            items_.push_back(i);
        }
        if (!items_.empty()) {
            make(0, items_.size(), 0);
        }
        tree.primitives = items_;
    }

    kxGenericBVH tree;
    int questions = 0;

private:
    struct Split {
        double cost = kNoSplit;
        std::size_t largerSide = 0;
        int axis = 0;
        unsigned int plane = 0;
    };

    void handle(std::size_t items) {
        handled_ += items;
        if (handled_ >= 4096) {
            handled_ = 0;
            ++questions;
        }
    }

    void passOver(std::size_t items) {
        for (; items > 0; items -= std::min<std::size_t>(items, 4096)) {
            handle(std::min<std::size_t>(items, 4096));
        }
    }

    unsigned int make(std::size_t begin, std::size_t end, unsigned int depth) {
        const auto number = static_cast<unsigned int>(tree.nodes.size());
        tree.nodes.push_back({boxOf(begin, end), 0, 0});
        const std::size_t count = end - begin;
        const Split split = bestSplit(begin, end, depth);
        const double area = HalfAreaOf(tree.nodes[number].box);
        const double leafCost = static_cast<double>(count) * area;
        if (count <= leafSize_ && leafCost <= 2.0 * area + split.cost) {
            handle(count);
            tree.nodes[number].first = 0xC0000000U | static_cast<unsigned int>(begin);
            tree.nodes[number].second = static_cast<unsigned int>(count);
            return number;
        }
        const std::size_t middle = divide(begin, end, split);
        const unsigned int first = make(begin, middle, depth + 1);
        const unsigned int second = make(middle, end, depth + 1);
        tree.nodes[number].first = first;
        tree.nodes[number].second = second;
        return number;
    }

    kxBBox boxOf(std::size_t begin, std::size_t end) const {
        kxBBox box;
        for (std::size_t i = begin; i < end; ++i) {
            Extend(box, boxes_[items_[i]]);
        }
        return box;
    }

    float centroid(std::size_t slot, int axis) const {
        return CentroidOf(boxes_[items_[slot]]).at[axis];
    }

    std::pair<float, float> extent(std::size_t begin, std::size_t end, int axis) const {
        float low = kInfinity;
        float high = -kInfinity;
        for (std::size_t i = begin; i < end; ++i) {
            low = std::min(low, centroid(i, axis));
            high = std::max(high, centroid(i, axis));
        }
        return {low, high};
    }

    // The bin of every item along an axis; none when they cannot be told apart.
    std::vector<unsigned int> binsOf(std::size_t begin, std::size_t end, int axis) const {
        const auto [low, high] = extent(begin, end, axis);
        const auto bins = static_cast<float>(binCount(end - begin));
        const float scale = bins / (high - low);
        std::vector<unsigned int> numbers;
        if (!(high - low > 0.0F && scale < kInfinity)) {
            return numbers;
        }
        for (std::size_t i = begin; i < end; ++i) {
            const float position = std::min((centroid(i, axis) - low) * scale, bins - 1.0F);
            numbers.push_back(static_cast<unsigned int>(position));
        }
        return numbers;
    }

    static unsigned int binCount(std::size_t items) {
        return static_cast<unsigned int>(std::min<std::size_t>(32, 4 + items / 8));
    }

    Split bestSplit(std::size_t begin, std::size_t end, unsigned int depth) {
        Split best;
        const std::size_t count = end - begin;
        if (count == 1) {
            return best;
        }
        passOver(count);
        const unsigned int levelsBelowChild = 80 - std::min(depth + 1, 80U);
        const std::size_t limit = std::size_t{1} << std::min(levelsBelowChild, 30U);
        for (int axis = 0; axis < 3; ++axis) {
            const std::vector<unsigned int> numbers = binsOf(begin, end, axis);
            for (unsigned int plane = 1; !numbers.empty() && plane < binCount(count); ++plane) {
                const Split split = splitAt(begin, numbers, axis, plane);
                const bool better = split.cost < best.cost ||
                                    (split.cost == best.cost && split.largerSide < best.largerSide);
                if (better && split.largerSide < count && split.largerSide <= limit) {
                    best = split;
                }
            }
        }
        return best;
    }

    Split splitAt(std::size_t begin,
                  const std::vector<unsigned int>& numbers,
                  int axis,
                  unsigned int plane) const {
        kxBBox boxes[2];
        std::size_t counts[2] = {0, 0};
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const std::size_t side = numbers[i] < plane ? 0 : 1;
            Extend(boxes[side], boxes_[items_[begin + i]]);
            ++counts[side];
        }
        const double cost = static_cast<double>(counts[0]) * HalfAreaOf(boxes[0]) +
                            static_cast<double>(counts[1]) * HalfAreaOf(boxes[1]);
        return {cost, std::max(counts[0], counts[1]), axis, plane};
    }

    std::size_t divide(std::size_t begin, std::size_t end, const Split& split) {
        if (split.cost == kNoSplit) {
            return divideByCount(begin, end);
        }
        const std::vector<unsigned int> numbers = binsOf(begin, end, split.axis);
        std::vector<bool> isFirst(numbers.size());
        std::transform(numbers.begin(), numbers.end(), isFirst.begin(),
                       [&](unsigned int number) { return number < split.plane; });
        return partition(begin, isFirst);
    }

    std::size_t divideByCount(std::size_t begin, std::size_t end) {
        int widest = 0;
        double width = 0.0;
        for (int axis = 0; axis < 3; ++axis) {
            const auto [low, high] = extent(begin, end, axis);
            const double side = double{high} - double{low};
            if (side > width) {
                widest = axis;
                width = side;
            }
        }
        const std::size_t half = (end - begin) / 2;
        if (width == 0.0) {
            passOver(half);
            passOver(end - begin - half);
            return begin + half;
        }
        for (int digit = 0; digit < 8; ++digit) {
            passOver(end - begin);
        }
        const auto key = [&](std::size_t slot) {
            return std::make_pair(centroid(slot, widest), items_[slot]);
        };
        std::vector<std::pair<float, unsigned int>> keys;
        for (std::size_t i = begin; i < end; ++i) {
            keys.push_back(key(i));
        }
        std::sort(keys.begin(), keys.end());
        std::vector<bool> isFirst;
        for (std::size_t i = begin; i < end; ++i) {
            isFirst.push_back(key(i) < keys[half]);
        }
        return partition(begin, isFirst);
    }

    // Every item changes places with the first of the second half so far.
    std::size_t partition(std::size_t begin, const std::vector<bool>& isFirst) {
        passOver(isFirst.size());
        std::size_t middle = begin;
        for (std::size_t i = 0; i < isFirst.size(); ++i) {
            std::swap(items_[begin + i], items_[middle]);
            middle += isFirst[i] ? 1 : 0;
        }
        return middle;
    }

    const std::vector<kxBBox>& boxes_;
    const unsigned int leafSize_;
    std::size_t handled_ = 4096;
    std::vector<unsigned int> items_;
};

// Takes down which boxes it hands out, and how often it is asked for a stop.
class Scene : public kx::kxGenericBVHPrimitives, public kx::kxCancelInterfaceReadOnly {
public:
    explicit Scene(const std::vector<kxBBox>& boxes) : boxes_(boxes) {}

    unsigned int getPrimitiveQuantity() const override {
        return static_cast<unsigned int>(boxes_.size());
    }
    kxBBox getPrimitiveBox(unsigned int i) const override {
        EXPECT_EQ(i, handedOut_++);
        return boxes_[i];
    }
    bool isCanceled() const override {
        ++questions_;
        return false;
    }
    int questions() const { return questions_; }

private:
    const std::vector<kxBBox>& boxes_;
    mutable unsigned int handedOut_ = 0;
    mutable int questions_ = 0;
};

bool SameNodes(const kxGenericBVH& a, const kxGenericBVH& b) {
    return std::equal(a.nodes.begin(), a.nodes.end(), b.nodes.begin(), b.nodes.end(),
                      [](const kxGenericBVH::Node& p, const kxGenericBVH::Node& q) {
                          return p.box == q.box && p.first == q.first && p.second == q.second;
                      });
}

void ExpectTheRules(const std::vector<kxBBox>& boxes, unsigned int leafSize) {
    const PlainBuilder expected(boxes, leafSize);
    const Scene scene(boxes);
    kxGenericBVH tree;
    ASSERT_TRUE(kx::kxLinearGenericBVHBuilder::build(tree, scene, &scene, leafSize));
    EXPECT_TRUE(SameNodes(tree, expected.tree));
    EXPECT_EQ(tree.primitives, expected.tree.primitives);
    EXPECT_EQ(scene.questions(), expected.questions);
}

// The same with every standard library.
class Random {
public:
    explicit Random(unsigned int seed) : engine_(seed) {}

    unsigned int below(unsigned int end) { return static_cast<unsigned int>(engine_()) % end; }
    float unit() { return static_cast<float>(engine_() >> 8) * 0x1p-24F; }

private:
    std::mt19937 engine_;
};

template <class MakeSide> kxBBox BoxOf(const MakeSide& makeSide) {
    kxBBox box;
    for (int axis = 0; axis < 3; ++axis) {
        std::tie(box.min[axis], box.max[axis]) = makeSide(axis);
    }
    return box;
}

using Side = std::pair<float, float>;

kxBBox Uniform(Random& random) {
    return BoxOf([&](int) {
        const float low = random.unit();
        return Side(low, low + 0.1F * random.unit());
    });
}

// Equal boxes, equal centroids of different boxes, and flat ones on every axis.
kxBBox OnAGrid(Random& random) {
    return BoxOf([&](int) {
        const auto low = static_cast<float>(random.below(4)) - 2.0F;
        return Side(low, low + static_cast<float>(random.below(3)));
    });
}

// A plate seen along an axis: all centroids alike on one, a few rows of them on another.
kxBBox InAPlane(Random& random) {
    return BoxOf([&](int axis) {
        const float low = axis == 2   ? 0.0F
                          : axis == 1 ? static_cast<float>(random.below(5))
                                      : random.unit();
        return Side(low, axis == 2 ? low : low + 0.01F);
    });
}

// Small boxes about a few places, so that areas decide between a leaf and a split.
kxBBox InClusters(Random& random) {
    const float place = static_cast<float>(random.below(40));
    return BoxOf([&](int) {
        const float low = place + 0.2F * random.unit();
        return Side(low, low + 0.2F * random.unit());
    });
}

kxBBox OfAnyMagnitude(Random& random) {
    const float size = std::ldexp(1.0F, static_cast<int>(random.below(270)) - 145);
    return BoxOf([&](int) {
        const float low = size * (random.unit() - 0.5F);
        return Side(low, low + size * random.unit());
    });
}

kxBBox AtTheSmallest(Random& random) {
    const float step = std::numeric_limits<float>::denorm_min();
    return BoxOf([&](int) {
        const float low = step * static_cast<float>(random.below(64));
        return Side(low, low + step * static_cast<float>(random.below(8)));
    });
}

kxBBox Senseless(Random& random) {
    const auto any = [&] {
        const float values[] = {kNaN,
                                kInfinity,
                                -kInfinity,
                                std::numeric_limits<float>::max(),
                                std::numeric_limits<float>::lowest(),
                                std::numeric_limits<float>::denorm_min(),
                                0.0F,
                                -0.0F,
                                random.unit()};
        return values[random.below(9)];
    };
    return BoxOf([&](int) {
        const float min = any();
        return Side(min, any());
    });
}

kxBBox MostlySound(Random& random) {
    return random.below(10) == 0 ? Senseless(random) : Uniform(random);
}

kxBBox Alike(Random& random) {
    return random.below(3) == 0 ? kxBBox{{0, 0, 0}, {1, 2, 3}} : kxBBox{{-1, 0, 1}, {2, 2, 2}};
}

struct Kind {
    const char* name;
    kxBBox (*make)(Random&);
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

std::vector<kxBBox> Make(const Kind& kind, unsigned int count, unsigned int seed) {
    Random random(seed);
    std::vector<kxBBox> boxes(count);
    std::generate(boxes.begin(), boxes.end(), [&] { return kind.make(random); });
    return boxes;
}

class BuilderRules : public ::testing::TestWithParam<Kind> {};

TEST_P(BuilderRules, AreFollowedByEverySmallTree) {
    for (unsigned int seed = 0; seed < 600 && !HasFailure(); ++seed) {
        constexpr unsigned int kLeafSizes[] = {10, 1, 2, 3, 500};
        const std::vector<kxBBox> boxes = Make(GetParam(), seed % 40, seed);
        const unsigned int leafSize = kLeafSizes[seed % 5];
        SCOPED_TRACE("seed " + std::to_string(seed));
        ExpectTheRules(boxes, leafSize);
    }
}

TEST_P(BuilderRules, AreFollowedByLargeTrees) {
    const unsigned int kCounts[] = {
        223, 224, 225, 1000, 4096, static_cast<unsigned int>(test_support::Scaled(9000))};
    for (const unsigned int count : kCounts) {
        SCOPED_TRACE(std::to_string(count) + " boxes");
        ExpectTheRules(Make(GetParam(), count, count), 10);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds,
                         BuilderRules,
                         ::testing::Values(Kind{"Uniform", Uniform},
                                           Kind{"OnAGrid", OnAGrid},
                                           Kind{"InAPlane", InAPlane},
                                           Kind{"InClusters", InClusters},
                                           Kind{"OfAnyMagnitude", OfAnyMagnitude},
                                           Kind{"AtTheSmallest", AtTheSmallest},
                                           Kind{"Senseless", Senseless},
                                           Kind{"MostlySound", MostlySound},
                                           Kind{"Alike", Alike}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
