// The parts of a drawing that a caller chooses: camera, page, lines, output.
#pragma once

#include "drawing/camera/CameraRequest.h"
#include "drawing/camera/SheetLayout.h"
#include "drawing/paper/Composing.h"
#include "drawing/paper/PageSize.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

enum class OutputFormat : std::uint8_t { Svg, Pdf, Png, Dxf, Json };

struct PageOptions {
    PageSize size;
    double margin = 10.0; ///< Millimetres, 0 or more.
    std::vector<View>
        views; ///< Together on the sheet at one scale; empty: the camera's view alone.
    Arrangement arrangement = Arrangement::FirstAngle; ///< Of the views.
};

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

/// How one drawing of a scene is made.
struct DrawingRequest {
    CameraRequest camera;
    PageOptions page;
    LineOptions lines;
    OutputOptions output;
};

} // namespace kxcontour
