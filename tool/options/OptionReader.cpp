// One function for each group of options: values first, then what cannot go together.
#include "options/OptionReader.h"

#include "drawing/common/Failure.h"
#include "import/ByteSize.h"
#include "options/StyleText.h"
#include "options/Values.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>

namespace kxcontour {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kArcTolerance = 0.01;

/// Of CAD drawings, where a circle should be one though its model is made of chords.
constexpr double kCadArcTolerance = 0.05;

constexpr NumberRange kAnyNumber{-kInfinity, kInfinity, true, true};
constexpr NumberRange kOverZero{0.0, kInfinity, true, true};
constexpr NumberRange kZeroOrMore{0.0, kInfinity, false, true};

/// Refuses for an option, saying from where it is.
[[noreturn]] void
RefuseOption(const GivenOptions& given, const char* name, const std::string& message) {
    const GivenText* text = given.find(name);
    RefuseUsage((text == nullptr ? "" : text->where) + message);
}

/// Reads a value; what is wrong with it is said with where it is from.
template <class Parse> auto ReadFrom(const GivenText& given, const Parse& parse) {
    try {
        return parse(given.text);
    } catch (const Failure& failure) {
        throw Failure(failure.code(), given.where + failure.what());
    }
}

/// Reads the value of an option into its place when it is given.
template <class Target, class Parse>
void ReadInto(Target& target, const GivenOptions& given, const char* name, const Parse& parse) {
    if (const GivenText* text = given.find(name)) {
        target = ReadFrom(*text, parse);
    }
}

auto Number(const char* what, const char* expected, NumberRange range) {
    return [=](const std::string& text) { return ParseNumber(text, what, expected, range); };
}

auto Length(const char* what, const char* expected, NumberRange range) {
    return [=](const std::string& text) { return ParseLength(text, what, expected, range); };
}

auto PointFor(const char* what) {
    return [=](const std::string& text) { return ParsePoint(text, what); };
}

/// One of some names as the enumerator of the same number.
template <class Enum> auto NameFor(const char* what, std::vector<std::string> names) {
    return [what, names = std::move(names)](const std::string& text) {
        return static_cast<Enum>(ParseName(text, what, names));
    };
}

std::vector<std::string> FilesOf(const GivenOptions& given, const char* name) {
    std::vector<std::string> files;
    for (const GivenText& text : given.all(name)) {
        files.push_back(text.text);
    }
    return files;
}

/// An ending, with or without its dot.
std::string ParseFormat(const std::string& text) {
    std::string ending = LowerCase(text.substr(text.rfind('.', 0) == 0 ? 1 : 0));
    const bool plain = !ending.empty() && std::all_of(ending.begin(), ending.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0;
    });
    if (!plain) {
        RefuseUsage("format '" + text + "' is not a file name ending such as stl");
    }
    return ending;
}

WeldRequest ParseWeld(const std::string& text) {
    if (text == "auto") {
        return {};
    }
    if (text == "off") {
        return {WeldRequest::Mode::Off, 0.0};
    }
    constexpr double kMost = 1e6;
    return {WeldRequest::Mode::Length,
            ParseLength(text, "weld distance", "auto, off or a length over 0, to 1000 m",
                        {0.0, kMost, true, false})};
}

std::uint64_t ParseInputSize(const std::string& text) {
    const std::optional<std::uint64_t> size = ReadByteSize(text);
    if (!size) {
        RefuseUsage("input size '" + text +
                    "' is not a number of bytes over 0, such as 500MB or 2GB");
    }
    return *size;
}

ReadRules ReadReading(const GivenOptions& given) {
    ReadRules rules;
    if (const GivenText* folder = given.find("side-files")) {
        if (folder->text.empty()) {
            RefuseOption(given, "side-files", "--side-files is given an empty folder name");
        }
        rules.sideFiles = folder->text;
    }
    ReadInto(rules.largestInput, given, "max-input", ParseInputSize);
    double seconds = static_cast<double>(rules.time.count()) / 1000.0;
    ReadInto(seconds, given, "read-limit",
             Number("read limit", "a number of seconds from 0 to 1000000", {0.0, 1e6}));
    // What is more than nothing stays so.
    rules.time = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(1000.0 * seconds)));
    return rules;
}

void RequireInputs(const GivenOptions& given, const InputOptions& input) {
    const auto& models = input.models;
    if (std::count(models.begin(), models.end(), "") ==
        static_cast<std::ptrdiff_t>(models.size())) {
        RefuseUsage("no model given; see --help");
    }
    if (std::count(models.begin(), models.end(), "") > 0) {
        RefuseUsage("a model is given an empty file name");
    }
    if (std::count(input.occluders.begin(), input.occluders.end(), "") > 0) {
        RefuseOption(given, "occluder", "--occluder is given an empty file name");
    }
}

void CheckStandardInput(const GivenOptions& given, const InputOptions& input) {
    const auto streams = std::count(input.models.begin(), input.models.end(), "-") +
                         std::count(input.occluders.begin(), input.occluders.end(), "-");
    if (streams > 1) {
        RefuseUsage("'-' is given more than once; standard input can be read only once");
    }
    if (streams == 1 && !input.format) {
        RefuseUsage("'-' is standard input and needs --format, such as --format stl");
    }
    // A file of options may say the format for runs that do read standard input.
    const GivenText* format = given.find("format");
    if (streams == 0 && format != nullptr && format->where.empty()) {
        RefuseUsage("--format is for standard input; give '-' as the model, or leave it out");
    }
}

void ReadDirection(CameraRequest& camera, const GivenOptions& given) {
    ReadInto(camera.view, given, "view", [](const std::string& text) { return ParseView(text); });
    ReadInto(camera.azimuth, given, "azimuth",
             Number("azimuth", "a number of degrees", kAnyNumber));
    ReadInto(camera.elevation, given, "elevation",
             Number("elevation", "a number of degrees from -90 to 90", {-90.0, 90.0}));
    ReadInto(camera.roll, given, "roll", Number("roll", "a number of degrees", kAnyNumber));
    ReadInto(camera.position, given, "camera-position", PointFor("camera position"));
    ReadInto(camera.focalPoint, given, "camera-focal-point", PointFor("camera focal point"));
    ReadInto(camera.viewUp, given, "camera-view-up", PointFor("camera view up"));
    if (camera.viewUp && *camera.viewUp == Wm4::Vector3<double>(0.0, 0.0, 0.0)) {
        RefuseOption(given, "camera-view-up", "--camera-view-up 0,0,0 has no direction");
    }
    if (camera.position && camera.focalPoint && *camera.position == *camera.focalPoint) {
        RefuseOption(given, "camera-position",
                     "--camera-position and --camera-focal-point are the same point");
    }
}

void ReadLens(CameraRequest& camera, const GivenOptions& given) {
    ReadInto(camera.projection, given, "projection",
             NameFor<Projection>("projection", {"orthographic", "perspective"}));
    ReadInto(camera.fieldOfView, given, "fov",
             Number("field of view", "a number of degrees over 0 and under 170",
                    {0.0, 170.0, true, true}));
    ReadInto(camera.zoom, given, "zoom", Number("zoom", "a number over 0", kOverZero));
    ReadInto(camera.scale, given, "scale", ParseRatio);
    if (const GivenText* fit = given.find("fit")) {
        if (fit->text.empty()) {
            RefuseOption(given, "fit", "--fit is given an empty name; name an object, or all");
        }
        camera.fitObject =
            fit->text == "all" ? std::nullopt : std::optional<std::string>(fit->text);
    }
}

void CheckCamera(const CameraRequest& camera, const GivenOptions& given) {
    const bool perspective = camera.projection == Projection::Perspective;
    if (given.has("fov") && !camera.scale && !perspective) {
        RefuseOption(given, "fov", "--fov needs --projection perspective");
    }
    if (!camera.scale) {
        return;
    }
    if (given.has("zoom")) {
        RefuseOption(given, "scale", "--scale and --zoom cannot go together");
    }
    if (given.has("fov")) {
        RefuseOption(given, "scale", "--scale and --fov cannot go together");
    }
    if (perspective) {
        RefuseOption(given, "scale", "--scale needs an orthographic view; a perspective has none");
    }
}

CameraRequest ReadCamera(const GivenOptions& given) {
    CameraRequest camera;
    ReadDirection(camera, given);
    ReadLens(camera, given);
    CheckCamera(camera, given);
    return camera;
}

PageOptions ReadPage(const GivenOptions& given) {
    PageOptions page;
    ReadInto(page.size, given, "page", ParsePageSize);
    ReadInto(page.margin, given, "margin", Length("margin", "a length of 0 or more", kZeroOrMore));
    if (std::min(page.size.width, page.size.height) <= 2.0 * page.margin) {
        const char* const culprit = given.has("margin") ? "margin" : "page";
        const GivenText* sheet = given.find("page");
        RefuseOption(given, culprit,
                     "page '" + (sheet == nullptr ? std::string("A4") : sheet->text) +
                         "' leaves no room inside its margin of " + NumberText(page.margin) +
                         " mm; each side has to be over " + NumberText(2.0 * page.margin) + " mm");
    }
    if (given.isSet("landscape")) {
        page.size = Landscape(page.size);
    }
    return page;
}

/// Families by their names in one or many.
void ReadFamilies(LineOptions& lines, const std::string& list) {
    lines.creases = false;
    lines.silhouettes = false;
    lines.intersections = false;
    for (const std::string& item : Split(list, ',')) {
        const std::string name = item.ends_with("s") ? item.substr(0, item.size() - 1) : item;
        const std::vector<std::string> names{"crease", "silhouette", "intersection"};
        const bool known = std::find(names.begin(), names.end(), name) != names.end();
        switch (ParseName(known ? name : item, "line family", names)) {
        case 0:
            lines.creases = true;
            break;
        case 1:
            lines.silhouettes = true;
            break;
        default:
            lines.intersections = true;
        }
    }
}

LineOptions ReadLines(const GivenOptions& given) {
    LineOptions lines;
    if (const GivenText* families = given.find("lines")) {
        ReadFrom(*families, [&](const std::string& text) { ReadFamilies(lines, text); });
    }
    lines.hidden = given.isSet("hidden");
    ReadInto(lines.creaseAngle, given, "crease-angle",
             Number("crease angle", "a number of degrees over 0 and under 180",
                    {0.0, 180.0, true, true}));
    for (const GivenText& style : given.all("style")) {
        ReadFrom(style, [&](const std::string& text) { ApplyStyles(text, lines.styles); });
    }
    ReadInto(lines.minLength, given, "min-length",
             Length("minimal length", "a length of 0 or more", kZeroOrMore));
    return lines;
}

const std::vector<std::string>& OutputFormats() {
    // In the order of the enumeration.
    static const std::vector<std::string> names{"svg", "pdf", "png", "dxf", "json"};
    return names;
}

/// The format that an ending stands for, if any.
std::optional<OutputFormat> FormatOfEnding(const std::string& path) {
    const std::string ending = LowerCase(std::filesystem::path(path).extension().string());
    for (std::size_t i = 0; i < OutputFormats().size(); ++i) {
        if (ending == "." + OutputFormats()[i]) {
            return static_cast<OutputFormat>(i);
        }
    }
    return std::nullopt;
}

OutputFormat FormatFromEnding(const GivenOptions& given, const std::string& path) {
    const std::optional<OutputFormat> format = FormatOfEnding(path);
    if (!format && path != "-") {
        RefuseOption(given, "output",
                     "output '" + path +
                         "' does not end in .svg, .pdf, .png, .dxf or .json; name the format with "
                         "--output-format");
    }
    return format.value_or(OutputFormat::Svg);
}

OutputFormat ReadFormat(const GivenOptions& given, const std::string& path) {
    const GivenText* text = given.find("output-format");
    if (text == nullptr) {
        return FormatFromEnding(given, path);
    }
    const auto asked = ReadFrom(*text, NameFor<OutputFormat>("output format", OutputFormats()));
    if (FormatOfEnding(path).value_or(asked) != asked) {
        RefuseOption(given, "output-format",
                     "output '" + path + "' and --output-format " + text->text +
                         " contradict each other");
    }
    return asked;
}

void ReadLayering(OutputOptions& output, const GivenOptions& given) {
    ReadInto(output.layering, given, "layers",
             NameFor<Layering>("kind of layers", {"none", "type", "object"}));
    const bool can = output.format == OutputFormat::Svg || output.format == OutputFormat::Dxf;
    if (output.layering != Layering::None && !can) {
        RefuseOption(given, "layers", "--layers is for SVG and DXF only");
    }
}

/// DXF has arcs whenever the view can have them; the others when they are asked for.
void ReadArcs(OutputOptions& output, const GivenOptions& given, bool perspective) {
    const bool asked = given.isSet("arcs");
    const bool always = output.format == OutputFormat::Dxf;
    const bool can =
        always || output.format == OutputFormat::Svg || output.format == OutputFormat::Pdf;
    if (asked && !can) {
        RefuseOption(given, "arcs", "--arcs is for SVG, PDF and DXF only");
    }
    if (asked && perspective) {
        RefuseOption(given, "arcs", "--arcs needs an orthographic view");
    }
    double tolerance = always ? kCadArcTolerance : kArcTolerance;
    ReadInto(tolerance, given, "arc-tolerance",
             Length("arc tolerance", "a length over 0, to 10 mm", {0.0, 10.0, true, false}));
    const bool arcs = (asked || always) && !perspective;
    const GivenText* text = given.find("arc-tolerance");
    if (text != nullptr && text->where.empty() && !arcs) {
        RefuseUsage(perspective ? "--arc-tolerance needs an orthographic view"
                                : "--arc-tolerance needs --arcs");
    }
    output.arcTolerance = arcs ? std::optional<double>(tolerance) : std::nullopt;
}

void ReadResolution(OutputOptions& output, const GivenOptions& given) {
    ReadInto(output.dotsPerInch, given, "dpi",
             Number("resolution", "a number of dots per inch from 1 to 9600", {1.0, 9600.0}));
    const GivenText* text = given.find("dpi");
    if (text != nullptr && text->where.empty() && output.format != OutputFormat::Png) {
        RefuseUsage("--dpi is for PNG only");
    }
}

void RequireOutput(const GivenOptions& given) {
    const GivenText* path = given.find("output");
    if (path == nullptr || path->text.empty()) {
        RefuseUsage("no output given; name it with -o OUT.svg");
    }
}

/// The output's name, in which the mark stands for the view that is asked for by name.
std::string ReadPath(const GivenOptions& given) {
    std::string path = given.find("output")->text;
    const GivenText* view = given.find("view");
    const std::string mark = kViewMark;
    for (std::size_t at = path.find(mark); view != nullptr && at != std::string::npos;
         at = path.find(mark, at)) {
        path.replace(at, mark.size(), view->text);
    }
    return path;
}

OutputOptions ReadOutput(const GivenOptions& given, bool perspective) {
    OutputOptions output;
    output.path = ReadPath(given);
    output.format = ReadFormat(given, output.path);
    ReadLayering(output, given);
    ReadArcs(output, given, perspective);
    ReadResolution(output, given);
    const auto text = [](const std::string& value) { return value; };
    ReadInto(output.title, given, "title", text);
    ReadInto(output.description, given, "description", text);
    return output;
}

std::vector<std::string> ParseViews(const std::string& list) {
    std::vector<std::string> views;
    for (const std::string& name : Split(list, ',')) {
        ParseView(name);
        if (std::find(views.begin(), views.end(), name) != views.end()) {
            RefuseUsage("view '" + name + "' is asked for twice");
        }
        views.push_back(name);
    }
    return views;
}

/// The views that share the sheet.
void ReadSheet(PageOptions& page, const GivenOptions& given, bool perspective) {
    for (const std::string& name : ReadViews(given, "sheet")) {
        page.views.push_back(ParseView(name));
    }
    ReadInto(page.arrangement, given, "arrangement",
             NameFor<Arrangement>("arrangement", {"first-angle", "third-angle"}));
    if (!page.views.empty() && perspective) {
        RefuseOption(given, "sheet", "--sheet needs orthographic views");
    }
    const GivenText* arrangement = given.find("arrangement");
    if (page.views.empty() && arrangement != nullptr && arrangement->where.empty()) {
        RefuseUsage("--arrangement needs --sheet");
    }
}

void RequireOwnOutput(const InputOptions& input, const std::string& output) {
    const auto check = [&](const std::string& path) {
        namespace fs = std::filesystem;
        if (path != "-" &&
            fs::path(path).lexically_normal() == fs::path(output).lexically_normal()) {
            RefuseUsage(output + ": is an input; the drawing would overwrite it");
        }
    };
    std::for_each(input.models.begin(), input.models.end(), check);
    std::for_each(input.occluders.begin(), input.occluders.end(), check);
}

} // namespace

InputOptions ReadInputOptions(const GivenOptions& given) {
    InputOptions input;
    input.models = FilesOf(given, "model");
    input.occluders = FilesOf(given, "occluder");
    RequireInputs(given, input);
    ReadInto(input.format, given, "format", ParseFormat);
    ReadInto(input.unit, given, "unit", NameFor<LengthUnit>("unit", {"mm", "cm", "m", "in"}));
    ReadInto(input.up, given, "up", NameFor<UpAxis>("axis", {"x", "y", "z"}));
    ReadInto(input.weld, given, "weld", ParseWeld);
    input.reading = ReadReading(given);
    CheckStandardInput(given, input);
    return input;
}

DrawingOptions ReadDrawingOptions(const GivenOptions& given) {
    DrawingOptions options;
    options.input = ReadInputOptions(given);
    RequireOutput(given);
    options.camera = ReadCamera(given);
    const bool perspective = options.camera.projection == Projection::Perspective;
    options.page = ReadPage(given);
    ReadSheet(options.page, given, perspective);
    options.lines = ReadLines(given);
    options.output = ReadOutput(given, perspective);
    if (!options.page.views.empty() && options.output.format == OutputFormat::Json) {
        RefuseOption(given, "sheet", "--sheet is for drawings; JSON holds the lines of one view");
    }
    options.messages = ReadMessageOptions(given);
    RequireOwnOutput(options.input, options.output.path);
    if (options.messages.json && options.output.path == "-") {
        RefuseUsage("--json and '-o -' would both write to standard output");
    }
    return options;
}

MessageOptions ReadMessageOptions(const GivenOptions& given) {
    MessageOptions messages;
    messages.verbose = given.isSet("verbose");
    messages.quiet = given.isSet("quiet");
    messages.json = given.isSet("json");
    messages.timing = given.isSet("timing");
    if (messages.quiet && messages.verbose) {
        RefuseOption(given, "quiet", "--quiet and --verbose cannot go together");
    }
    return messages;
}

std::vector<std::string> ReadViews(const GivenOptions& given, const char* option) {
    const GivenText* list = given.find(option);
    if (list == nullptr) {
        return {};
    }
    for (const char* other : {"view", "azimuth", "elevation", "camera-position"}) {
        if (given.has(other)) {
            RefuseOption(given, option,
                         std::string("--") + option + " and --" + other + " cannot go together");
        }
    }
    return ReadFrom(*list, ParseViews);
}

} // namespace kxcontour
