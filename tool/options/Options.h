// What one drawing is asked to be, checked as far as that goes without looking at files.
#pragma once

#include "camera/CameraRequest.h"
#include "camera/PageSize.h"
#include "camera/SheetLayout.h"
#include "common/LengthUnit.h"
#include "model/ModelRequest.h"
#include "paper/Composing.h"
#include "scene/WeldRequest.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

enum class OutputFormat : std::uint8_t { Svg, Pdf, Png, Dxf, Json };

/// What is read; see the model reader for what each of these replaces.
struct InputOptions {
    std::vector<std::string> models;    ///< Drawn together; "-" is standard input, at most once.
    std::vector<std::string> occluders; ///< Hide lines and are not drawn.
    std::optional<std::string> format;  ///< Of standard input: a file name ending such as "stl".
    std::optional<LengthUnit> unit;     ///< None: the file's own.
    std::optional<UpAxis> up;           ///< None: the format's own.
    WeldRequest weld;
    ReadRules reading;
};

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

/// What is said along the way.
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
