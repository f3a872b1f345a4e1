// How far apart the rims of a crack may be that is to be closed.
#pragma once

#include <cstdint>

namespace kxcontour {

struct WeldRequest {
    enum class Mode : std::uint8_t {
        Auto,   ///< Every object finds its own distance.
        Off,    ///< Surfaces stay as the file has them.
        Length, ///< As given.
    };

    Mode mode = Mode::Auto;
    double millimetres = 0.0; ///< Of the model; over 0 where the mode is Length.
};

} // namespace kxcontour
