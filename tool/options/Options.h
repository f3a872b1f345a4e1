// The options of one drawing.
#pragma once

#include <kxDrawing/Writers.h>

#include "drawing/Drawing.h"
#include "import/SceneReader.h"

#include <optional>
#include <string>

namespace kxcontour {

using kxdrawing::Direction;
using kxdrawing::Layering;
using kxdrawing::LineOptions;
using OutputFormat = kxdrawing::Format;
using kxdrawing::StrokeStyle;
using kxdrawing::StyleSheet;

struct OutputOptions {
    std::string path; ///< "-" is standard output.
    OutputFormat format = OutputFormat::Svg;
    double dotsPerInch = 300.0; ///< Of PNG.
    std::optional<std::string> title;
    std::optional<std::string> description;
};

/// The verbosity of a run.
struct MessageOptions {
    bool verbose = false;
    bool quiet = false;
    bool json = false; ///< The summary on standard output as JSON.
    bool timing = false;

    /// Whether results go to standard output.
    bool printsResults() const { return json || !quiet; }
};

/// One drawing: what it is made of, how it is drawn, and where it goes.
struct DrawingOptions : DrawingRequest {
    InputOptions input;
    OutputOptions output;
    MessageOptions messages;
};

} // namespace kxcontour
