// The nearest of a list, which is short; the first of several that are equally near.
#include "drawing/output/DxfStyles.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kxcontour {
namespace {

constexpr const char* kContinuous = "Continuous";

/// The first colours of the index, from number 1 on, for readers that know no true colours.
constexpr std::array<std::array<int, 3>, 9> kIndexedColors{{{255, 0, 0},
                                                            {255, 255, 0},
                                                            {0, 255, 0},
                                                            {0, 255, 255},
                                                            {0, 0, 255},
                                                            {255, 0, 255},
                                                            {0, 0, 0},
                                                            {128, 128, 128},
                                                            {192, 192, 192}}};

constexpr std::array<int, 24> kLineWeights{0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                           53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};

/// The place of the item with the least distance.
template <class List, class DistanceTo>
std::size_t NearestOf(const List& list, const DistanceTo& distanceTo) {
    const auto nearest =
        std::min_element(list.begin(), list.end(), [&](const auto& a, const auto& b) {
            return distanceTo(a) < distanceTo(b);
        });
    return static_cast<std::size_t>(nearest - list.begin());
}

} // namespace

void AddLineType(LineTypes& lineTypes, const StrokeStyle& style) {
    if (!style.dashes.empty() && LineTypeOf(lineTypes, style) == kContinuous) {
        const std::string number = lineTypes.empty() ? "" : std::to_string(lineTypes.size() + 1);
        lineTypes.emplace_back("DASHED" + number, style.dashes);
    }
}

std::string LineTypeOf(const LineTypes& lineTypes, const StrokeStyle& style) {
    const auto found = std::find_if(lineTypes.begin(), lineTypes.end(), [&](const auto& lineType) {
        return lineType.second == style.dashes;
    });
    return found != lineTypes.end() ? found->first : kContinuous;
}

std::int64_t LineWeight(double width) {
    return kLineWeights[NearestOf(kLineWeights,
                                  [&](int weight) { return std::fabs(weight - 100.0 * width); })];
}

void WriteColor(DxfFile& file, const std::array<std::uint8_t, 3>& color) {
    const std::size_t index = NearestOf(kIndexedColors, [&](const std::array<int, 3>& other) {
        int sum = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            sum += (color[i] - other[i]) * (color[i] - other[i]);
        }
        return sum;
    });
    file.write(62, index + 1);
    const auto& [red, green, blue] = color;
    if (red != 0 || green != 0 || blue != 0) {
        file.write(420, red * 65536 + green * 256 + blue);
    }
}

} // namespace kxcontour
