// Which model is read, the limits on reading it, and what replaces statements of the file.
#pragma once

#include <kxDrawing/Errors.h>
#include <kxDrawing/Scene.h>

#include "drawing/common/LengthUnit.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace kxcontour {

using kxdrawing::UpAxis;

/// Limits on reading a model.
struct ReadRules {
    /// A folder whose files a model may refer to, beside those of its own folder; empty: none.
    std::string sideFiles;
    /// Bytes of the model and of the files that it refers to, together. Reading usually takes up to
    /// ten times as much memory.
    std::uint64_t largestInput = 2'000'000'000;
    /// The time for reading, to which each megabyte of input adds a second; 0: no limit.
    std::chrono::milliseconds time{60'000};
};

struct ModelRequest {
    std::string path;                  ///< "-" is standard input.
    std::optional<std::string> format; ///< Of standard input: a file name ending such as "stl".
    std::optional<LengthUnit> unit;    ///< None: the file's own.
    std::optional<UpAxis> up;          ///< None: the format's own.
    ReadRules rules{};
};

/// What messages call the model: its path, or "standard input".
inline std::string NameOf(const ModelRequest& request) {
    return request.path == "-" ? "standard input" : request.path;
}

inline kxdrawing::CannotRead UnreadableModel(const ModelRequest& request, const std::string& why) {
    return kxdrawing::CannotRead(NameOf(request) + ": cannot read the model: " + why);
}

} // namespace kxcontour
