// Each topic is read by the rows of the table. Then its values are checked against each other, and
// values that follow from others are filled in.
#include "tool/options/OptionReader.h"

#include <ctr/Version.h>

#include "tool/common/Failure.h"
#include "tool/options/Values.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace kxcontour {
namespace {

constexpr double kArcTolerance = 0.01;

/// For CAD drawings, in which a circle modelled by chords should be a circle.
constexpr double kCadArcTolerance = 0.05;

/// Stores the values of a topic; a message about a value begins with its source.
void ReadTopic(Topic topic, const GivenOptions& given, AllOptions& all) {
    for (const OptionInfo& option : OptionTable()) {
        if (option.topic != topic || !option.value.store) {
            continue;
        }
        for (const GivenText& text : given.all(option.name)) {
            try {
                option.value.store(text.text, all);
            } catch (const kxdrawing::InvalidArgument& refusal) {
                RefuseUsage(text.where + refusal.what());
            }
        }
    }
}

/// Refuses a given option if a condition holds.
void Forbid(const GivenOptions& given, const char* name, bool holds, const std::string& message) {
    const GivenText* text = given.find(name);
    if (text != nullptr && holds) {
        RefuseUsage(text->where + message);
    }
}

/// The same on the command line only: a file may hold options for other runs.
void ForbidHere(const GivenOptions& given,
                const char* name,
                bool holds,
                const std::string& message) {
    const GivenText* text = given.find(name);
    Forbid(given, name, holds && text != nullptr && text->where.empty(), message);
}

void ForbidTogether(const GivenOptions& given,
                    const std::string& option,
                    const std::string& other) {
    Forbid(given, option.c_str(), given.has(other),
           "--" + option + " and --" + other + " cannot be combined");
}

/// A list of views excludes other directions.
void CheckViews(const GivenOptions& given, const std::string& option) {
    for (const char* other : {"view", "azimuth", "elevation", "camera-position"}) {
        ForbidTogether(given, option, other);
    }
}

void RequireModel(const GivenOptions& given) {
    const std::vector<GivenText>& models = given.all("model");
    const auto nameless = std::count_if(models.begin(), models.end(),
                                        [](const GivenText& model) { return model.text.empty(); });
    if (nameless > 0 || models.empty()) {
        RefuseUsage(nameless == std::ssize(models) ? "no model given; see --help"
                                                   : "a model has an empty file name");
    }
}

void CheckStandardInput(const GivenOptions& given, const InputOptions& input) {
    const auto streams = std::ranges::count(input.files(), "-");
    if (streams > 1) {
        RefuseUsage("'-' is given more than once; standard input can be read only once");
    }
    if (streams == 1 && !input.format) {
        RefuseUsage("'-' is standard input and needs --format, such as --format stl");
    }
    ForbidHere(given, "format", streams == 0,
               "--format is for standard input only; use '-' as the model, or omit --format");
}

void CheckCamera(const GivenOptions& given, const CameraRequest& camera) {
    const bool perspective = camera.projection == kxdrawing::Projection::Perspective;
    Forbid(given, "camera-position", camera.target && camera.eye == camera.target,
           "--camera-position and --camera-focal-point are the same point");
    Forbid(given, "fov", !camera.scale && !perspective, "--fov needs --projection perspective");
    Forbid(given, "scale", given.has("zoom"), "--scale and --zoom cannot be combined");
    Forbid(given, "scale", given.has("fov"), "--scale and --fov cannot be combined");
    Forbid(given, "scale", perspective, "--scale needs an orthographic view");
}

void CheckPage(const GivenOptions& given, PageOptions& page, bool perspective) {
    const GivenText* sheet = given.find("page");
    Forbid(given, given.has("margin") ? "margin" : "page",
           std::min(page.size.width, page.size.height) <= 2.0 * page.margin,
           "page '" + (sheet == nullptr ? "A4" : sheet->text) +
               "' leaves no room inside its margin of " + NumberText(page.margin) +
               " mm; each side must exceed " + NumberText(2.0 * page.margin) + " mm");
    Forbid(given, "sheet", perspective, "--sheet needs orthographic views");
    ForbidHere(given, "arrangement", page.views.empty(), "--arrangement needs --sheet");
    if (page.views.empty()) {
        page.arrangement = {};
    }
}

/// The format of a file name ending, if any.
std::optional<OutputFormat> FormatOfEnding(const std::string& path) {
    const std::vector<std::string>& names = FindOption("output-format")->value.choices;
    const auto name = std::find(names.begin(), names.end(), EndingOf(path));
    return name == names.end() ? std::nullopt
                               : std::optional(static_cast<OutputFormat>(name - names.begin()));
}

/// Takes the format from the ending unless it is given.
void CompleteFormat(const GivenOptions& given, OutputOptions& output) {
    const std::optional<OutputFormat> byName = FormatOfEnding(output.path);
    const GivenText* format = given.find("output-format");
    Forbid(given, "output-format", byName.value_or(output.format) != output.format,
           "output '" + output.path + "' and --output-format " + (format ? format->text : "") +
               " contradict each other");
    Forbid(given, "output", format == nullptr && !byName && output.path != "-",
           "output '" + output.path +
               "' does not end in .svg, .pdf, .png, .dxf or .json; choose the format with "
               "--output-format");
    output.format = byName.value_or(output.format);
}

/// DXF has arcs in every orthographic view, SVG and PDF on request.
void CompleteArcs(const GivenOptions& given,
                  OutputFormat format,
                  bool perspective,
                  LineOptions& lines) {
    const bool isAsked = given.isSet("arcs");
    const bool isDxf = format == OutputFormat::Dxf;
    const bool can = isDxf || format == OutputFormat::Svg || format == OutputFormat::Pdf;
    Forbid(given, "arcs", isAsked && !can, "--arcs is for SVG, PDF and DXF only");
    Forbid(given, "arcs", isAsked && perspective, "--arcs needs an orthographic view");
    const bool hasArcs = (isAsked || isDxf) && !perspective;
    ForbidHere(given, "arc-tolerance", !hasArcs,
               perspective ? "--arc-tolerance needs an orthographic view"
                           : "--arc-tolerance needs --arcs");
    const double tolerance = lines.arcTolerance.value_or(isDxf ? kCadArcTolerance : kArcTolerance);
    lines.arcTolerance = hasArcs ? std::optional<double>(tolerance) : std::nullopt;
}

void CompleteOutput(const GivenOptions& given, DrawingOptions& options, bool perspective) {
    OutputOptions& output = options.output;
    if (const GivenText* view = given.find("view")) {
        output.path = Replaced(output.path, kViewMark, view->text);
    }
    CompleteFormat(given, output);
    Forbid(given, "layers",
           options.lines.layering != Layering::None && output.format != OutputFormat::Svg &&
               output.format != OutputFormat::Dxf,
           "--layers is for SVG and DXF only");
    CompleteArcs(given, output.format, perspective, options.lines);
    ForbidHere(given, "dpi", output.format != OutputFormat::Png, "--dpi is for PNG only");
    if (output.format != OutputFormat::Png) {
        output.dotsPerInch = OutputOptions().dotsPerInch;
    }
}

void RequireOutput(const GivenOptions& given) {
    const GivenText* path = given.find("output");
    if (path == nullptr || path->text.empty()) {
        RefuseUsage("no output given; use -o OUT.svg");
    }
}

void RequireOwnOutput(const InputOptions& input, const std::string& output) {
    namespace fs = std::filesystem;
    for (const std::string& path : input.files()) {
        if (path != "-" &&
            fs::path(path).lexically_normal() == fs::path(output).lexically_normal()) {
            RefuseUsage(output + ": is an input; the drawing would overwrite it");
        }
    }
}

/// The values of the rows that have a wanted effect.
template <class Wanted> std::string WordsOf(const DrawingOptions& options, Wanted isWanted) {
    const AllOptions all{options, {}};
    std::string words;
    for (const OptionInfo& option : OptionTable()) {
        if (option.value.word && isWanted(option.effect)) {
            words += (words.empty() ? "" : " ") + std::string(option.name) + "=" +
                     option.value.word(all);
        }
    }
    return words;
}

} // namespace

InputOptions ReadInputOptions(const GivenOptions& given) {
    AllOptions all;
    RequireModel(given);
    ReadTopic(Topic::Input, given, all);
    CheckStandardInput(given, all.drawing.input);
    return all.drawing.input;
}

MessageOptions ReadMessageOptions(const GivenOptions& given) {
    AllOptions all;
    ReadTopic(Topic::Messages, given, all);
    Forbid(given, "quiet", given.isSet("quiet") && given.isSet("verbose"),
           "--quiet and --verbose cannot be combined");
    return all.drawing.messages;
}

DrawingOptions ReadDrawingOptions(const GivenOptions& given) {
    AllOptions all;
    DrawingOptions& options = all.drawing;
    options.input = ReadInputOptions(given);
    RequireOutput(given);
    ReadTopic(Topic::Camera, given, all);
    CheckViews(given, "sheet");
    ReadTopic(Topic::Page, given, all);
    CheckCamera(given, options.camera);
    const bool perspective = options.camera.projection == kxdrawing::Projection::Perspective;
    CheckPage(given, options.page, perspective);
    ReadTopic(Topic::Lines, given, all);
    ReadTopic(Topic::Output, given, all);
    CompleteOutput(given, options, perspective);
    Forbid(given, "sheet", options.output.format == OutputFormat::Json,
           "--sheet has no JSON output, which lists the lines of one view");
    options.messages = ReadMessageOptions(given);
    RequireOwnOutput(options.input, options.output.path);
    if (options.messages.json && options.output.path == "-") {
        RefuseUsage("--json and '-o -' would both write to standard output");
    }
    return options;
}

BatchOptions ReadBatchOptions(const GivenOptions& given) {
    AllOptions all;
    CheckViews(given, "views");
    ReadTopic(Topic::Batch, given, all);
    return all.batch;
}

std::string SignatureOf(const DrawingOptions& options) {
    using kxContouringLib::Version;
    return "version=" + QuotedWord(Version::GetDescStringMajorMinorReleaseRevision(true, true)) +
           " " + WordsOf(options, [](Effect effect) {
               return effect == Effect::Scene || effect == Effect::Drawing;
           });
}

std::string SceneSignatureOf(const DrawingOptions& options) {
    return WordsOf(
        options, [](Effect effect) { return effect == Effect::Limit || effect == Effect::Scene; });
}

} // namespace kxcontour
