// Several views on one sheet.
#include "drawing/camera/SheetLayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace {

using kxcontour::Arrangement;
using kxcontour::ArrangeViews;
using kxcontour::SheetCell;
using kxcontour::SheetLayout;
using kxcontour::SheetView;
using kxdrawing::Direction;
using kxdrawing::Page;
using kxdrawing::PageSize;

const Page kA3{{420.0, 297.0}, 10.0};
// A twentieth of the shorter side of the sheet.
constexpr double kGap = 297.0 / 20.0;

/// A thing 40 wide, 30 high and 20 deep.
std::vector<SheetView> ThreeViews() {
    return {{Direction::Front, 40, 30}, {Direction::Top, 40, 20}, {Direction::Right, 20, 30}};
}

double MiddleX(const SheetCell& cell) {
    return cell.left + 0.5 * cell.size.width;
}
double MiddleY(const SheetCell& cell) {
    return cell.top + 0.5 * cell.size.height;
}

TEST(SheetLayouts, StandInThirdAngleWhereTheyAreSeenFrom) {
    const SheetLayout layout = ArrangeViews(ThreeViews(), kA3, Arrangement::ThirdAngle, {});
    const auto& [front, top, right] = std::tie(layout.cells[0], layout.cells[1], layout.cells[2]);
    EXPECT_DOUBLE_EQ(MiddleX(top), MiddleX(front));
    EXPECT_LT(MiddleY(top), MiddleY(front)) << "above";
    EXPECT_DOUBLE_EQ(MiddleY(right), MiddleY(front));
    EXPECT_GT(MiddleX(right), MiddleX(front));
}

TEST(SheetLayouts, StandInFirstAngleOnTheOtherSide) {
    const SheetLayout layout = ArrangeViews(ThreeViews(), kA3, Arrangement::FirstAngle, {});
    const auto& [front, top, right] = std::tie(layout.cells[0], layout.cells[1], layout.cells[2]);
    EXPECT_DOUBLE_EQ(MiddleX(top), MiddleX(front));
    EXPECT_GT(MiddleY(top), MiddleY(front)) << "below";
    EXPECT_DOUBLE_EQ(MiddleY(right), MiddleY(front));
    EXPECT_LT(MiddleX(right), MiddleX(front));
}

TEST(SheetLayouts, FillTheSheetInsideTheMarginAndStandInItsMiddle) {
    const SheetLayout layout = ArrangeViews(ThreeViews(), kA3, Arrangement::FirstAngle, {});
    EXPECT_NEAR(std::max(layout.needed.width / 400.0, layout.needed.height / 277.0), 1.0, 1e-12);
    double left = 1e9;
    double right = -1e9;
    for (const SheetCell& cell : layout.cells) {
        left = std::min(left, cell.left);
        right = std::max(right, cell.left + cell.size.width);
    }
    EXPECT_NEAR(left + right, 420.0, 1e-9);
}

TEST(SheetLayouts, KeepTheScaleThatIsAskedFor) {
    const SheetLayout layout = ArrangeViews(ThreeViews(), kA3, Arrangement::ThirdAngle, 2.0);
    EXPECT_EQ(layout.unitsPerMillimetre, 2.0);
    EXPECT_DOUBLE_EQ(layout.needed.width, 20.0 + kGap + 10.0);
    EXPECT_DOUBLE_EQ(layout.needed.height, 15.0 + kGap + 10.0);
    EXPECT_DOUBLE_EQ(layout.cells[0].size.width, 20.0 + kGap);
}

TEST(SheetLayouts, NeverLetCellsOverlap) {
    const std::vector<SheetView> all{{Direction::Front, 40, 30}, {Direction::Back, 40, 30},
                                     {Direction::Left, 20, 30},  {Direction::Right, 20, 30},
                                     {Direction::Top, 40, 20},   {Direction::Bottom, 40, 20},
                                     {Direction::Iso, 50, 45}};
    for (const Arrangement arrangement : {Arrangement::FirstAngle, Arrangement::ThirdAngle}) {
        const std::vector<SheetCell> cells = ArrangeViews(all, kA3, arrangement, {}).cells;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                const bool apart = cells[i].left >= cells[j].left + cells[j].size.width - 1e-9 ||
                                   cells[j].left >= cells[i].left + cells[i].size.width - 1e-9 ||
                                   cells[i].top >= cells[j].top + cells[j].size.height - 1e-9 ||
                                   cells[j].top >= cells[i].top + cells[i].size.height - 1e-9;
                EXPECT_TRUE(apart) << i << " and " << j;
            }
        }
    }
}

TEST(SheetLayouts, WithoutAFrontViewAreARow) {
    const SheetLayout layout = ArrangeViews({{Direction::Iso, 5, 5}, {Direction::Top, 5, 5}}, kA3,
                                            Arrangement::FirstAngle, {});
    EXPECT_LT(layout.cells[0].left, layout.cells[1].left);
    EXPECT_EQ(layout.cells[0].top, layout.cells[1].top);
}

TEST(SheetLayouts, OfNothingThatHasASizeStillHaveAScale) {
    const SheetLayout layout =
        ArrangeViews({{Direction::Front, 0, 0}}, kA3, Arrangement::FirstAngle, {});
    EXPECT_GT(layout.unitsPerMillimetre, 0.0);
}

} // namespace
