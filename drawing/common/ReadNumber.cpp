// Numbers through from_chars, which knows no locale and takes no blanks.
#include "drawing/common/ReadNumber.h"

#include <cmath>
#include <system_error>

namespace kxcontour {

std::optional<double> ReadNumber(std::string_view text, std::chars_format format) {
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, format);
    if (error != std::errc() || stop != end || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

} // namespace kxcontour
