// Units of length.
#pragma once

#include <cstdint>

namespace kxcontour {

/// The units a model can be in.
enum class LengthUnit : std::uint8_t { Millimetre, Centimetre, Metre, Inch };

constexpr double InMillimetres(LengthUnit unit) {
    switch (unit) {
    case LengthUnit::Centimetre:
        return 10.0;
    case LengthUnit::Metre:
        return 1000.0;
    case LengthUnit::Inch:
        return 25.4;
    case LengthUnit::Millimetre:
        break;
    }
    return 1.0;
}

} // namespace kxcontour
