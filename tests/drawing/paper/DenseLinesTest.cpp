// Many coincident lines: the same result as by comparing all pairs, in nearly linear work.
#include "drawing/paper/Overlaps.h"
#include "drawing/paper/PaperShapes.h"
#include "drawing/paper/PlainOverlaps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>

namespace {

using kxcontour::LineKind;
using kxcontour::LineShare;
using kxcontour::OverlapWork;
using kxcontour::PageLine;
using kxcontour::PageLines;
using kxcontour::Point;
using kxcontour::RemoveOverlaps;
using kxcontour::SharesLeft;
using test_support::Random;

constexpr double kTolerance = 0.02;

/// A number from low to high.
double Uniform(Random& random, double low, double high) {
    return low + (high - low) * static_cast<double>(random.uniform(0.0F, 1.0F));
}

/// A line of one of several dense kinds; size is that of the sheet.
PageLine DenseLine(Random& random, int kind, double size) {
    const auto number = [&](double low, double high) { return Uniform(random, low, high); };
    const double reach = 3.0 * kTolerance;
    const Point a{number(0, size), number(0, size)};
    switch (kind) {
    case 0: // Short, in all directions.
        return {a, {a.x + number(-reach, reach), a.y + number(-reach, reach)}};
    case 1: // Long.
        return {a, {number(0, size), number(0, size)}};
    case 2: { // Nearly parallel.
        const double y = random.below(3) * size / 3 + number(-1.2, 1.2) * kTolerance;
        return {{a.x, y}, {number(0, size), y + number(-1, 1) * kTolerance}};
    }
    case 3: { // Between points of a lattice finer than the tolerance.
        const double step = 0.5 * kTolerance;
        return {{random.below(9) * step, random.below(9) * step},
                {random.below(9) * step, random.below(9) * step}};
    }
    case 4: // Dots.
        return {a, a};
    case 5: { // Collinear, with ends that meet.
        const double step = 0.5 * kTolerance;
        const double x = random.below(40) * step;
        return {{x, 0}, {x + random.below(60) * step, 0}};
    }
    case 6: { // Through one point or from there.
        const Point middle{size / 2, size / 2};
        const Point ray{number(-size, size), number(-size, size)};
        const double back = random.percent(50) ? 0.0 : 1.0;
        return {{middle.x - back * ray.x, middle.y - back * ray.y},
                {middle.x + ray.x, middle.y + ray.y}};
    }
    default: { // As short as the tolerance, along one line.
        const double y = number(-1.2, 1.2) * kTolerance;
        const double length = number(0.1, 3.0) * kTolerance;
        return {{a.x, y}, {a.x + length, y + number(-0.5, 0.5) * kTolerance}};
    }
    }
}

/// The same line again, or one that is nearly the same, turned around or shorter.
PageLine Repeated(Random& random, PageLine line) {
    if (random.percent(50)) {
        std::swap(line.a, line.b);
    }
    if (random.percent(30)) {
        line.a.x += Uniform(random, -0.6, 0.6) * kTolerance;
        line.b.y += Uniform(random, -0.6, 0.6) * kTolerance;
    }
    if (random.percent(20)) {
        line.b = tool_test::Between(line.a, line.b, 0.5);
    }
    return line;
}

PageLines DenseScene(Random& random) {
    constexpr int kKinds = 8;
    PageLines lines;
    std::vector<PageLine> all;
    const int kind = random.below(kKinds + 4);
    const double size = random.percent(50) ? random.between(5, 50) * kTolerance : 5.0;
    const int most = random.percent(25) ? 200 : 40;
    for (int group = random.between(1, 5); group > 0; --group) {
        lines.groups.push_back({static_cast<LineKind>(random.below(3)), random.percent(50), 0, {}});
        for (int i = random.between(1, most); i > 0; --i) {
            all.push_back(
                !all.empty() && random.percent(25)
                    ? Repeated(
                          random,
                          all[static_cast<std::size_t>(random.below(static_cast<int>(all.size())))])
                    : DenseLine(random, kind < kKinds ? kind : random.below(kKinds), size));
            lines.groups.back().lines.push_back(all.back());
        }
    }
    if (random.percent(20)) { // Far from all others.
        lines.groups.back().lines.push_back({{1000, 1000}, {1001, 1000.5}});
    }
    return lines;
}

bool IsEqual(const PageLine& p, const PageLine& q) {
    return p.a.x == q.a.x && p.a.y == q.a.y && p.b.x == q.b.x && p.b.y == q.b.y;
}

std::size_t CountLinesOf(const PageLines& lines) {
    std::size_t count = 0;
    for (const kxcontour::LineGroup& group : lines.groups) {
        count += group.lines.size();
    }
    return count;
}

TEST(RemoveOverlaps, EqualsTheComparisonOfAllPairs) {
    std::size_t before = 0;
    std::size_t after = 0;
    for (int trial = 0; trial < test_support::Scaled(1500); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        PageLines lines = DenseScene(random);
        const PageLines plain = tool_test::PlainOverlaps(lines, kTolerance).result();
        before += CountLinesOf(lines);
        RemoveOverlaps(lines, kTolerance);
        after += CountLinesOf(lines);
        for (std::size_t group = 0; group < plain.groups.size(); ++group) {
            const std::vector<PageLine>& shown = lines.groups[group].lines;
            const std::vector<PageLine>& expected = plain.groups[group].lines;
            ASSERT_EQ(shown.size(), expected.size()) << "group " << group;
            for (std::size_t i = 0; i < shown.size(); ++i) {
                ASSERT_TRUE(IsEqual(shown[i], expected[i])) << "group " << group << " line " << i;
            }
        }
    }
    EXPECT_LT(after, before / 2) << "scenes are not dense";
}

// Dense sets of n lines by rule. The growth of the work is measured from n, 2 n and 4 n.

PageLines Drawn(std::vector<PageLine> visible, std::vector<PageLine> hidden = {}) {
    PageLines lines;
    lines.groups.push_back({LineKind::Silhouette, false, 0, std::move(visible)});
    lines.groups.push_back({LineKind::Silhouette, true, 0, std::move(hidden)});
    return lines;
}

PageLines OnOnePlace(int count) {
    return Drawn(std::vector<PageLine>(static_cast<std::size_t>(count), {{10, 10}, {110, 60}}));
}

PageLines NearlyOnOnePlace(int count) {
    Random random(1);
    std::vector<PageLine> lines;
    lines.reserve(static_cast<std::size_t>(count) + 1);
    for (int i = 0; i < count; ++i) {
        lines.push_back({{10 + Uniform(random, 0, 1e-4), 10 + Uniform(random, 0, 1e-4)},
                         {110 + Uniform(random, 0, 1e-4), 60}});
    }
    return Drawn(lines);
}

PageLines StackedPlates(int count) {
    std::vector<PageLine> visible;
    std::vector<PageLine> hidden;
    for (int i = 0; i < count / 4; ++i) {
        std::vector<PageLine>& lines = i == 0 ? visible : hidden;
        const double off = 1e-5 * (i % 7);
        lines.push_back({{10 + off, 10}, {110, 10}});
        lines.push_back({{110, 10}, {110, 90 + off}});
        lines.push_back({{110, 90}, {10, 90}});
        lines.push_back({{10, 90}, {10, 10 - off}});
    }
    return Drawn(visible, hidden);
}

PageLines HalfHidden(int count) {
    const auto half = static_cast<std::size_t>(count / 2);
    return Drawn(std::vector<PageLine>(half, {{0, 0}, {100, 50}}),
                 std::vector<PageLine>(half, {{100, 50}, {200, 100}}));
}

PageLines EachShorter(int count) {
    std::vector<PageLine> lines;
    lines.reserve(static_cast<std::size_t>(count) + 1);
    for (int i = 0; i < count; ++i) {
        lines.push_back({{0, 0}, {201.0 - 200.0 * i / count, 0}});
    }
    return Drawn(lines);
}

/// 20 lines in each tolerance.
PageLines FineHatch(int count) {
    std::vector<PageLine> lines;
    lines.reserve(static_cast<std::size_t>(count) + 1);
    for (int i = 0; i < count; ++i) {
        lines.push_back({{0, 0.001 * i}, {20, 0.001 * i}});
    }
    return Drawn(lines);
}

/// A long line over short ones with gaps, each of which becomes a rest.
PageLines OverDashes(int count) {
    std::vector<PageLine> lines;
    lines.reserve(static_cast<std::size_t>(count) + 1);
    for (int i = 0; i < count; ++i) {
        lines.push_back({{0.1 * i, 0}, {0.1 * i + 0.05, 0}});
    }
    lines.push_back({{0, 0.001}, {0.1 * count, 0.001}});
    return Drawn(lines);
}

PageLines DotsOnOnePlace(int count) {
    std::vector<PageLine> lines{{{0, 0}, {200, 200}}};
    lines.insert(lines.end(), static_cast<std::size_t>(count), {{50, 10}, {50, 10}});
    return Drawn(lines);
}

/// A mesh of a tenth of a millimetre on a large sheet, as a model is with one stray triangle.
PageLines TinyMesh(int count) {
    std::vector<PageLine> lines{{{0, 0}, {200, 200}}};
    const int side = static_cast<int>(std::sqrt(count / 2));
    const double step = 0.1 / side;
    for (int i = 0; i < side * side; ++i) {
        const int row = i / side;
        const Point p{50 + i % side * step, 20 + row * step};
        lines.push_back({p, {p.x + step, p.y}});
        lines.push_back({p, {p.x, p.y + step}});
    }
    return Drawn(lines);
}

PageLines Sparse(int count) {
    Random random(1);
    const double reach = 200 / std::sqrt(count);
    std::vector<PageLine> lines;
    for (int i = 0; i < count; ++i) {
        const Point a = tool_test::RandomPoint(random, 200.0F);
        lines.push_back({a, {a.x + Uniform(random, -reach, reach), a.y + reach}});
    }
    return Drawn(lines);
}

struct DenseLines {
    const char* name;
    PageLines (*make)(int count);
};

void PrintTo(const DenseLines& lines, std::ostream* out) {
    *out << lines.name;
}

class RemoveOverlapsWork : public testing::TestWithParam<DenseLines> {};

TEST_P(RemoveOverlapsWork, GrowsHardlyFasterThanTheirLines) {
    constexpr int kCount = 4000;
    constexpr double kSteepest = 1.2;
    constexpr double kMostPerLine = 500.0;
    const auto work = [](int count) {
        return static_cast<double>(OverlapWork(GetParam().make(count), kTolerance));
    };
    const double few = work(kCount);
    const double many = work(4 * kCount);
    EXPECT_LE(std::log(many / few) / std::log(4.0), kSteepest) << few << " to " << many;
    EXPECT_LE(many, kMostPerLine * 4 * kCount);
}

INSTANTIATE_TEST_SUITE_P(RemoveOverlaps,
                         RemoveOverlapsWork,
                         testing::Values(DenseLines{"OnOnePlace", OnOnePlace},
                                         DenseLines{"NearlyOnOnePlace", NearlyOnOnePlace},
                                         DenseLines{"StackedPlates", StackedPlates},
                                         DenseLines{"HalfHidden", HalfHidden},
                                         DenseLines{"EachShorter", EachShorter},
                                         DenseLines{"FineHatch", FineHatch},
                                         DenseLines{"OverDashes", OverDashes},
                                         DenseLines{"DotsOnOnePlace", DotsOnOnePlace},
                                         DenseLines{"TinyMesh", TinyMesh},
                                         DenseLines{"Sparse", Sparse}),
                         [](const auto& info) { return std::string(info.param.name); });

// Lines on one place used to take n^2.5: these would take an hour.
TEST(RemoveOverlaps, HundredThousandLinesOnOnePlaceAreOne) {
    PageLines lines = OnOnePlace(100000);
    EXPECT_TRUE(RemoveOverlaps(lines, kTolerance));
    EXPECT_EQ(CountLinesOf(lines), 1U);
}

TEST(SharesLeft, AreThoseOfTheLinesThatStay) {
    for (int trial = 0; trial < test_support::Scaled(200); ++trial) {
        SCOPED_TRACE(trial);
        Random random(static_cast<std::uint64_t>(trial));
        PageLines lines = DenseScene(random);
        const auto shares = SharesLeft(lines, kTolerance);
        const PageLines before = lines;
        RemoveOverlaps(lines, kTolerance);
        for (std::size_t group = 0; group < shares.size(); ++group) {
            ASSERT_EQ(shares[group].size(), lines.groups[group].lines.size());
            for (std::size_t i = 0; i < shares[group].size(); ++i) {
                const LineShare& share = shares[group][i];
                const PageLine& whole = before.groups[group].lines[share.line];
                const PageLine& shown = lines.groups[group].lines[i];
                EXPECT_LE(tool_test::LengthOfLine(
                              {tool_test::Between(whole.a, whole.b, share.from), shown.a}),
                          1e-9);
                EXPECT_LE(tool_test::LengthOfLine(
                              {tool_test::Between(whole.a, whole.b, share.to), shown.b}),
                          1e-9);
            }
        }
    }
}

} // namespace
