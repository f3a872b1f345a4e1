// How far apart floats are, and whether it matters.
#include "drawing/scene/CoordinateSteps.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

namespace {

using FilePoint = std::array<double, 3>;

kxcontour::FloatSteps Measure(const std::vector<FilePoint>& points) {
    return kxcontour::MeasureSteps(points.size(), [&](std::size_t i) { return points[i]; });
}

FilePoint Steps(const std::vector<FilePoint>& points) {
    return Measure(points).lost;
}

TEST(FloatStep, IsTheDistanceToTheNextFloat) {
    for (const float value :
         {1.0F, 1.5F, 0.75F, 691000.0F, 5335000.0F, 16777216.0F, 1e-30F, 1e-42F, 3e38F}) {
        const float next = std::nextafter(value, INFINITY);
        EXPECT_EQ(kxcontour::FloatStep(static_cast<double>(value)),
                  static_cast<double>(next) - static_cast<double>(value))
            << value;
    }
}

TEST(MeasureSteps, FindsThoseOfTheLargestCoordinateOfAnAxis) {
    EXPECT_EQ(Steps({{691000.0625, 5335000.5, 0.25}, {691010, 5335010, 0.125}}),
              (FilePoint{0.0625, 0.5, 0.0}));
}

TEST(MeasureSteps, FindsNothingLostOfCoordinatesWithDigitsToSpare) {
    EXPECT_EQ(Steps({{691000, 5335001, 8}, {691010, 5335010, 9}}), (FilePoint{0, 0, 0}));
    EXPECT_EQ(Steps({{691000.0625, 0, 0}, {691000.0625, 1, 0}}), (FilePoint{0, 0, 0}))
        << "one coordinate for all";
    EXPECT_EQ(Steps({}), (FilePoint{0, 0, 0}));
}

TEST(MeasureSteps, TellsTheStepsWhetherDigitsWereLostOrNot) {
    EXPECT_EQ(Measure({{691000, 5335001, 8}, {691010, 5335001, 9}}).all,
              (FilePoint{0.0625, 0.5, std::ldexp(1.0, -20)}));
}

TEST(MeasureSteps, DoesNotCountWhatIsNotFinite) {
    EXPECT_EQ(Steps({{NAN, 1, 1}, {INFINITY, 2, 2}, {16777215, 3, 1}, {16777213, 3, 1}}),
              (FilePoint{1, 0, 0}));
}

TEST(IsCoarse, ComparesWithTheLargestSide) {
    EXPECT_TRUE(kxcontour::IsCoarse(0.5, {10, 20, 0}));
    EXPECT_FALSE(kxcontour::IsCoarse(0.5, {10, 100000, 0}));
    EXPECT_FALSE(kxcontour::IsCoarse(0.0, {1, 1, 1}));
}

} // namespace
