// Units of length.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kxcontour {

/// The units a model can be in.
enum class LengthUnit : std::uint8_t { Millimetre, Centimetre, Metre, Inch };

constexpr double InMillimetres(LengthUnit unit) {
    constexpr std::array kMillimetres{1.0, 10.0, 1000.0, 25.4};
    return kMillimetres[static_cast<std::size_t>(unit)];
}

struct UnitName {
    double millimetres;
    std::string_view name;
    std::string_view symbol;
};

/// The unit of that length; null for one without a name.
const UnitName* FindUnit(double millimetres);

/// Six digits, without an exponent and trailing zeros: "132.5", "80", "0.00125".
std::string DescribeNumber(double value);

/// "0.5 m": a length in a unit of so many millimetres.
std::string DescribeLength(double length, double millimetresPerUnit);

} // namespace kxcontour
