// The options of one drawing.
#pragma once

#include <kxDrawing/Writers.h>

#include "drawing/Request.h"
#include "import/SceneReader.h"

#include <optional>
#include <string>

namespace kxcontour {

using kxdrawing::Layering;
using OutputFormat = kxdrawing::Format;
using kxdrawing::StrokeStyle;
using kxdrawing::StyleSheet;

struct LineOptions {
    bool silhouettes = true;
    bool creases = true;
    bool intersections = true;
    bool hidden = false;
    std::optional<double> creaseAngle; ///< Degrees, over 0 and under 180; none: not given.
    StyleSheet styles;
    double minLength = 0.02; ///< Millimetres of paper.
};

struct OutputOptions {
    std::string path; ///< "-" is standard output.
    OutputFormat format = OutputFormat::Svg;
    Layering layering = Layering::None;
    std::optional<double> arcTolerance; ///< Millimetres; none: no arcs.
    double dotsPerInch = 300.0;         ///< Of PNG.
    std::optional<std::string> title;
    std::optional<std::string> description;
};

/// The verbosity of a run.
struct MessageOptions {
    bool verbose = false;
    bool quiet = false;
    bool json = false; ///< The summary on standard output as JSON.
    bool timing = false;
};

/// One drawing.
struct DrawingOptions {
    InputOptions input;
    CameraRequest camera;
    PageOptions page;
    LineOptions lines;
    OutputOptions output;
    MessageOptions messages;
};

} // namespace kxcontour
