// Which model is read, and what the user knows better than the file.
#pragma once

#include "common/LengthUnit.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kxcontour {

/// The axis of a file's coordinates that points up.
///
/// With x up the file's z points to the front, with y up z, with z up -y.
enum class UpAxis : std::uint8_t { X, Y, Z };

struct ModelRequest {
    std::string path;                  ///< "-" is standard input.
    std::optional<std::string> format; ///< Of standard input: a file name ending such as "stl".
    std::optional<LengthUnit> unit;    ///< None: the file's own.
    std::optional<UpAxis> up;          ///< None: the format's own.
};

/// What messages call the model: its path, or "standard input".
inline std::string NameOf(const ModelRequest& request) {
    return request.path == "-" ? "standard input" : request.path;
}

} // namespace kxcontour
