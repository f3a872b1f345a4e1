// Names of units and lengths in them.
#include "drawing/common/LengthUnit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>

namespace kxcontour {
namespace {

constexpr std::array<UnitName, 7> kUnitNames{{
    {0.001, "micrometre", "um"},
    {1.0, "millimetre", "mm"},
    {10.0, "centimetre", "cm"},
    {25.4, "inch", "in"},
    {304.8, "foot", "ft"},
    {914.4, "yard", "yd"},
    {1000.0, "metre", "m"},
}};

} // namespace

const UnitName* FindUnit(double millimetres) {
    for (const UnitName& unit : kUnitNames) {
        if (std::abs(millimetres - unit.millimetres) <= 1e-9 * millimetres) {
            return &unit;
        }
    }
    return nullptr;
}

std::string DescribeNumber(double value) {
    const double magnitude = value == 0.0 ? 0.0 : std::floor(std::log10(std::abs(value)));
    const int decimals = static_cast<int>(std::clamp(5.0 - magnitude, 0.0, 12.0));
    std::string text = fmt::format("{:.{}f}", value, decimals);
    if (text.find('.') != std::string::npos) {
        text.resize(text.find_last_not_of('0') + 1);
        text.resize(text.back() == '.' ? text.size() - 1 : text.size());
    }
    return text;
}

std::string DescribeLength(double length, double millimetresPerUnit) {
    const UnitName* unit = FindUnit(millimetresPerUnit);
    return DescribeNumber(length) + ' ' + std::string(unit != nullptr ? unit->symbol : "units");
}

} // namespace kxcontour
