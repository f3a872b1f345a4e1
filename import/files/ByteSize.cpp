// A decimal number and a power of a thousand.
#include "import/files/ByteSize.h"

#include "import/files/LetterCase.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <system_error>

namespace kxcontour {
namespace {

constexpr std::array<std::string_view, 5> kByteUnits{"B", "kB", "MB", "GB", "TB"};

/// The bytes per unit; one blank may precede it.
std::optional<double> BytesOfUnit(std::string_view unit) {
    unit.remove_prefix(unit.starts_with(' ') ? 1 : 0);
    if (unit.empty()) {
        return 1.0;
    }
    double bytes = 1.0;
    for (const std::string_view name : kByteUnits) {
        if (EqualsIgnoringCase(unit, name)) {
            return bytes;
        }
        bytes *= 1000.0;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::uint64_t> ReadByteSize(std::string_view text) {
    constexpr double kMost = 1e18;
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const std::optional<double> unit =
        BytesOfUnit(text.substr(static_cast<std::size_t>(stop - text.data())));
    if (error != std::errc() || !unit || !std::isfinite(number)) {
        return std::nullopt;
    }
    const double bytes = std::floor(number * *unit);
    const bool good = bytes >= 1.0 && bytes <= kMost;
    return good ? std::optional(static_cast<std::uint64_t>(bytes)) : std::nullopt;
}

std::string ByteSizeText(std::uint64_t bytes) {
    auto number = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (number >= 1000.0 && unit + 1 < kByteUnits.size()) {
        number /= 1000.0;
        ++unit;
    }
    return fmt::format("{} {}", number, kByteUnits[unit]);
}

} // namespace kxcontour
