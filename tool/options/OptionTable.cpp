// Readers of single options that no form covers, then the rows in the order of the help.
#include "tool/options/OptionTable.h"

#include "import/files/ByteSize.h"
#include "import/files/LetterCase.h"
#include "tool/common/Failure.h"
#include "tool/options/OptionForms.h"
#include "tool/options/PaperText.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace kxcontour {
namespace {

using namespace form;

/// The name of the file or folder that an option is given.
std::string RequireName(const std::string& text, const std::string& problem) {
    if (text.empty()) {
        RefuseUsage(problem);
    }
    return text;
}

/// Families of lines by their names.
OptionValue Families() {
    OptionValue value{ValueKind::Names, {"crease", "silhouette", "intersection"}};
    value.store = [names = value.choices](const std::string& text, AllOptions& all) {
        std::array<bool, 3> isDrawn{};
        for (const std::string& item : Split(text, ",")) {
            // Plurals are accepted.
            const std::string one = item.substr(0, item.size() - (item.ends_with('s') ? 1 : 0));
            const bool isKnown = std::count(names.begin(), names.end(), one) > 0;
            isDrawn[ParseName(isKnown ? one : item, "line type", names)] = true;
        }
        LineOptions& lines = all.drawing.lines;
        std::tie(lines.creases, lines.silhouettes, lines.intersections) =
            std::tie(isDrawn[0], isDrawn[1], isDrawn[2]);
    };
    value.word = [](const AllOptions& all) {
        const LineOptions& lines = all.drawing.lines;
        return WordOf(std::array{lines.creases, lines.silhouettes, lines.intersections});
    };
    return value;
}

void AddModel(const std::string& text, std::vector<std::string>& models) {
    models.push_back(text);
}

void AddOccluder(const std::string& text, std::vector<std::string>& occluders) {
    occluders.push_back(RequireName(text, "--occluder has an empty file name"));
}

void TurnPage(const std::string& text, PageSize& page) {
    page = text == "true" ? kxdrawing::Page{page}.landscape().size : page;
}

std::string ParseEnding(const std::string& text) {
    std::string ending = LowerCase(text.substr(text.starts_with('.') ? 1 : 0));
    const bool plain = !ending.empty() && std::all_of(ending.begin(), ending.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0;
    });
    if (!plain) {
        RefuseUsage("format '" + text + "' is not a file name ending such as stl");
    }
    return ending;
}

ctr::Welding ParseWeld(const std::string& text) {
    using Mode = ctr::Welding::Mode;
    if (text == "auto" || text == "off") {
        return {text == "auto" ? Mode::Automatic : Mode::Off, 0.0};
    }
    constexpr double kMost = 1e6;
    return {Mode::Distance,
            ParseLength(text, "weld distance", "auto, off or a positive length up to 1000 m",
                        {0.0, kMost, true, false})};
}

std::string ParseFolder(const std::string& text) {
    return RequireName(text, "--side-files has an empty folder name");
}

std::uint64_t ParseInputSize(const std::string& text) {
    const std::optional<std::uint64_t> size = ReadByteSize(text);
    if (!size) {
        RefuseUsage("input size '" + text +
                    "' is not a positive number of bytes, such as 500MB or 2GB");
    }
    return *size;
}

std::chrono::milliseconds ParseReadLimit(const std::string& text) {
    const double seconds =
        ParseNumber(text, "read limit", "a number of seconds from 0 to 1000000", {0.0, 1e6});
    // Rounded up: 0 means no limit, so a small limit must not become 0.
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(1000.0 * seconds)));
}

std::optional<std::string> ParseFit(const std::string& text) {
    RequireName(text, "--fit has an empty name; choose an object, or all");
    return text == "all" ? std::nullopt : std::optional<std::string>(text);
}

kxdrawing::Vector ParseViewUp(const std::string& text) {
    const kxdrawing::Vector up = ParsePoint(text, "camera view up");
    if (up == kxdrawing::Vector{}) {
        RefuseUsage("--camera-view-up 0,0,0 has no direction");
    }
    return up;
}

Direction ParseView(const std::string& text) {
    return static_cast<Direction>(ParseName(text, "view", ViewNames()));
}

std::vector<Direction> ParseViews(const std::string& text) {
    std::vector<Direction> views;
    for (const std::string& name : Split(text, ",")) {
        const Direction view = ParseView(name);
        if (std::count(views.begin(), views.end(), view) > 0) {
            RefuseUsage("view '" + name + "' is listed twice");
        }
        views.push_back(view);
    }
    return views;
}

Layering ParseLayering(const std::string& text) {
    return static_cast<Layering>(ParseName(text, "kind of layers", {"none", "type", "object"}));
}

unsigned int ParseThreads(const std::string& text) {
    return ParseCount(text, "number of jobs", 1, kMostThreads);
}

std::string ParseStatePath(const std::string& text) {
    return RequireName(text == "-" ? "" : text, "--state must name a file");
}

} // namespace

const std::vector<std::string>& ViewNames() {
    static const std::vector<std::string> names{"front", "back",   "left", "right",
                                                "top",   "bottom", "iso"};
    return names;
}

const std::vector<OptionInfo>& OptionTable() {
    static const std::vector<OptionInfo> table{
        {"model", 0, "MODEL", "", Topic::Input, Effect::Scene,
         Repeated(ValueKind::File, &InputOptions::models, AddModel),
         "Models: glTF, OBJ, STL, PLY, 3MF, FBX, IFC and more",
         "A model file. Several models are drawn together in their own coordinates. \"-\" is "
         "standard input, once, and needs --format."},
        {"occluder", 0, "FILE", "", Topic::Input, Effect::Scene,
         Repeated(ValueKind::File, &InputOptions::occluders, AddOccluder),
         "A model that hides lines and is not drawn (repeatable)",
         "A model that hides lines behind it and is not drawn. Repeat the option for several "
         "models."},
        {"format", 0, "EXT", "", Topic::Input, Effect::Scene,
         Stored(ValueKind::Text, &InputOptions::format, ParseEnding,
                {"glb", "gltf", "obj", "stl", "ply", "3mf", "fbx", "dae", "ifc"}),
         "Format of standard input, as a file name ending",
         "The format of a model from standard input, as a file name ending: stl, obj, glb and so "
         "on. The format of files follows from their names and contents."},
        {"unit", 0, "UNIT", "the file's", Topic::Input, Effect::Scene,
         Name<LengthUnit>(&InputOptions::unit, "unit", {"mm", "cm", "m", "in"}),
         "The unit of the models: mm, cm, m or in",
         "The unit of the coordinates in the models. Replaces the unit that a file states or its "
         "format defines."},
        {"up", 0, "AXIS", "the file's", Topic::Input, Effect::Scene,
         Name<UpAxis>(&InputOptions::up, "axis", {"x", "y", "z"}),
         "The axis that points up: x, y or z",
         "The axis that points up in the coordinates of the models. Replaces the axis that a file "
         "states or its format defines."},
        {"weld", 0, "LENGTH", "auto", Topic::Input, Effect::Scene,
         Stored(ValueKind::Number, &SurfaceRules::weld, ParseWeld, {"auto", "off"}),
         "Close cracks up to LENGTH wide, auto or off",
         "Repairs the surface of each object before lines are computed: open edges that run along "
         "each other within LENGTH become one edge, and open edges are split where corners of "
         "others lie on them within LENGTH (T-junctions). LENGTH is a length of the model, such as "
         "0.05mm, measured where the object is placed. auto finds a distance per object: gaps far "
         "below its size and the lengths of its edges are cracks. Front and back of thin parts are "
         "never joined. off leaves surfaces unchanged. Duplicate faces count once in any case."},
        {"side-files", 0, "FOLDER", "", Topic::Input, Effect::Scene,
         Stored(ValueKind::File, &ReadRules::sideFiles, ParseFolder),
         "Additional folder for files that models refer to",
         "A model may consist of several files, such as a glTF file and its buffers. They are read "
         "from the model's folder and FOLDER, and from folders below these. Links that lead out of "
         "these folders are not followed, and a model from standard input cannot refer to files."},
        {"max-input", 0, "SIZE", "2GB", Topic::Input, Effect::Limit,
         Stored(ValueKind::Number, &ReadRules::largestInput, ParseInputSize,
                {"500MB", "2GB", "10GB"}),
         "Reject models larger than SIZE: 500MB, 4GB",
         "The maximum size of a model with the files that it refers to: a number with B, kB, MB, "
         "GB or TB (powers of 1000). Standard input is read to its end, or to one byte more than "
         "SIZE."},
        {"read-limit", 0, "SECONDS", "60", Topic::Input, Effect::Limit,
         Stored(ValueKind::Number, &ReadRules::time, ParseReadLimit),
         "Stop reading a model after SECONDS; 0: no limit",
         "The time limit for reading a model: SECONDS, plus one per megabyte of the model and the "
         "files that it refers to. 0 sets no limit."},
        {"info", 0, "", "", Topic::Input, Effect::Run, Unstored(),
         "Describe the models and draw nothing",
         "Prints the objects of the models with their triangles, sizes in real units, and changes "
         "made while reading. Nothing is drawn.",
         Scope::CommandLine},
        {"view", 0, "NAME", "iso", Topic::Camera, Effect::Drawing,
         Stored(ValueKind::Text, &CameraRequest::direction, ParseView, ViewNames()),
         "front, back, left, right, top, bottom or iso",
         "The direction of view. iso is isometric, from the front, the right and above."},
        {"azimuth", 0, "DEG", "", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::azimuth, "azimuth", "a number of degrees", kAnyNumber),
         "Look from DEG degrees around: 0 front, 90 right",
         "The direction of view in degrees around the up axis: 0 is the front, 90 the right. "
         "Overrides --view."},
        {"elevation", 0, "DEG", "", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::elevation, "elevation", "a number of degrees from -90 to 90",
                {-90.0, 90.0}),
         "Look from DEG degrees above the horizon",
         "The direction of view in degrees above the horizon, from -90 (from below) to 90 (from "
         "above). Overrides --view."},
        {"roll", 0, "DEG", "0", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::roll, "roll", "a number of degrees", kAnyNumber),
         "Turn the drawing counter-clockwise by DEG degrees",
         "Turns the drawing counter-clockwise on the page, in degrees."},
        {"camera-position", 0, "X,Y,Z", "", Topic::Camera, Effect::Drawing,
         Coordinates(&CameraRequest::eye, "camera position"),
         "Look from a point in the first model's coordinates",
         "The point to look from, in the axes and the unit of the first model's file. Overrides "
         "--view and the angles."},
        {"camera-focal-point", 0, "X,Y,Z", "the middle", Topic::Camera, Effect::Drawing,
         Coordinates(&CameraRequest::target, "camera focal point"),
         "Look at a point in those coordinates",
         "The point to look at, in the axes and the unit of the first model's file."},
        {"camera-view-up", 0, "X,Y,Z", "the up axis", Topic::Camera, Effect::Drawing,
         Stored(ValueKind::Point, &CameraRequest::up, ParseViewUp),
         "The direction that points up on the page",
         "The direction that points up on the page, in the axes of the first model's file."},
        {"projection", 0, "KIND", "orthographic", Topic::Camera, Effect::Drawing,
         Name<kxdrawing::Projection>(&CameraRequest::projection, "projection",
                                     {"orthographic", "perspective"}),
         "orthographic or perspective",
         "Orthographic views keep parallels parallel and have a scale; perspective shows distant "
         "objects smaller."},
        {"fov", 0, "DEG", "30", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::fieldOfView, "field of view",
                "a number of degrees above 0 and below 170", {0.0, 170.0, true, true}),
         "Vertical field of view of a perspective",
         "The vertical field of view of a perspective drawing inside its margin, above 0 and below "
         "170 degrees. Needs --projection perspective."},
        {"fit", 0, "OBJECT", "all", Topic::Camera, Effect::Drawing,
         Stored(ValueKind::Text, &CameraRequest::fitObject, ParseFit, {"all"}),
         "The object that fills the page, or all",
         "The object that fills the page, by its name in the file, with the visible parts of "
         "others around it; all fits everything."},
        {"zoom", 0, "FACTOR", "1", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::zoom, "zoom", "a positive number", kOverZero),
         "Draw FACTOR times as large as fits the page",
         "Draws everything FACTOR times as large as would fit the page. FACTOR is positive."},
        {"page", 0, "PAGE", "A4", Topic::Page, Effect::Drawing,
         Stored(ValueKind::Text, &PageOptions::size, ParsePageSize, PageNames()),
         "A0 to A6, letter, legal or WxH[mm|cm|in|pt]",
         "The page: A0 to A6, letter or legal in portrait format, or WIDTHxHEIGHT followed by mm, "
         "cm, in or pt; millimetres by default."},
        {"landscape", 0, "", "", Topic::Page, Effect::Drawing,
         Applied(ValueKind::Flag, &PageOptions::size, TurnPage), "Use the page in landscape format",
         "Turns the page so that it is at least as wide as high."},
        {"margin", 0, "LENGTH", "10mm", Topic::Page, Effect::Drawing,
         Length(&PageOptions::margin, "margin", "a length of 0 or more", kZeroOrMore),
         "Blank margin along the edges of the page",
         "The blank margin along every edge of the page, such as 5, 5mm, 0.5cm, 0.2in or 14pt."},
        {"scale", 0, "RATIO", "", Topic::Page, Effect::Drawing,
         Stored(ValueKind::Number, &CameraRequest::scale, ParseRatio,
                {"1:1", "1:2", "1:5", "1:10", "1:20", "1:50", "1:100", "2:1", "5:1", "10:1"}),
         "Draw at true scale: 1:2, 2:1, 0.5",
         "Draws at a true scale, the ratio of length on paper to real length: at 1:2, an edge of "
         "100 mm parallel to the page is 50 mm long on paper. Orthographic views only; excludes "
         "--zoom."},
        {"sheet", 0, "LIST", "", Topic::Page, Effect::Drawing,
         Stored(ValueKind::Names, &PageOptions::views, ParseViews, ViewNames()),
         "Several views on one sheet: front,top,iso",
         "Draws several named views on one sheet, at one scale and aligned with the front view. "
         "Orthographic views only."},
        {"arrangement", 0, "KIND", "first-angle", Topic::Page, Effect::Drawing,
         Name<Arrangement>(&PageOptions::arrangement, "arrangement",
                           {"first-angle", "third-angle"}),
         "Of --sheet: first-angle or third-angle",
         "The positions of the views of --sheet around the front view: in first-angle, the view "
         "from above is below it and the view from the right is on its left; in third-angle, the "
         "reverse."},
        {"title", 0, "TEXT", "", Topic::Page, Effect::Drawing, Text(&OutputOptions::title),
         "Title in the metadata of the output",
         "The title in the metadata of the output. It is not drawn."},
        {"description", 0, "TEXT", "", Topic::Page, Effect::Drawing,
         Text(&OutputOptions::description), "Description in the metadata of the output",
         "The description in the metadata of the output. It is not drawn."},
        {"lines", 0, "LIST", "all", Topic::Lines, Effect::Drawing, Families(),
         "Types to draw: crease,silhouette,intersection",
         "The types of lines to draw, separated by commas: silhouette (where a surface turns away "
         "from the eye, or ends), crease (where it bends sharply) and intersection (where objects "
         "intersect)."},
        {"crease-angle", 0, "DEG", "", Topic::Lines, Effect::Scene,
         Number(&SurfaceRules::creaseAngle, "crease angle",
                "a number of degrees above 0 and below 180", {0.0, 180.0, true, true}),
         "Draw edges that bend by more than DEG degrees",
         "Draws edges that bend by more than DEG degrees (above 0, below 180) as creases. By "
         "default, the normals in the file determine creases, and 30 degrees where there are none. "
         "Normals that equal those of the triangles within 0.5 degrees, at all corners of an "
         "object, do not describe smoothness and are ignored."},
        {"hidden", 0, "", "", Topic::Lines, Effect::Drawing, Flag(&LineOptions::hidden),
         "Draw hidden parts too, in a separate style",
         "Draws hidden parts of lines as well, below the others and in the style named hidden, "
         "which is dashed by default."},
        {"style", 0, "LIST", "", Topic::Lines, Effect::Drawing,
         Repeated(ValueKind::Style, &LineOptions::styles, ApplyStyles),
         "Styles: crease.width=0.25mm,hidden.dash=1/0.5",
         "The styles of lines: TYPE.KEY=VALUE, separated by commas; later items override earlier "
         "ones. Types are crease, silhouette, intersection, hidden and all. Keys are width (a "
         "positive length up to 100 mm), color (#rgb, #rrggbb or a basic colour name) and dash "
         "(lengths separated by /, or none)."},
        {"min-length", 0, "LENGTH", "0.02mm", Topic::Lines, Effect::Drawing,
         Length(&LineOptions::minLength, "minimal length", "a length of 0 or more", kZeroOrMore),
         "Omit paths that are shorter on paper",
         "Omits paths shorter than LENGTH on paper, after joining; a closed path counts with its "
         "whole length. Dots are omitted even with 0. JSON lists every interval, however short."},
        {"output", 'o', "OUT", "", Topic::Output, Effect::Drawing,
         Text(&OutputOptions::path, ValueKind::File),
         "The drawing to write: .svg .pdf .png .dxf .json",
         "The file to write; its ending selects the format. \"-\" is standard output, SVG unless "
         "--output-format is given. The file appears only when complete. {view} is replaced by the "
         "name of the view."},
        {"output-format", 0, "FORMAT", "by the ending", Topic::Output, Effect::Drawing,
         Name<OutputFormat>(&OutputOptions::format, "output format",
                            {"svg", "pdf", "png", "dxf", "json"}),
         "svg, pdf, png, dxf or json",
         "The format of the drawing if the name of the output does not determine it."},
        {"layers", 0, "KIND", "none", Topic::Output, Effect::Drawing,
         Stored(ValueKind::Text, &LineOptions::layering, ParseLayering, {"type", "object", "none"}),
         "Layers by type of line or by object (svg, dxf)",
         "Puts every type of line (type) or every object (object) on a separate layer. SVG and DXF "
         "only."},
        {"arcs", 0, "", "", Topic::Output, Effect::Drawing, Unstored(),
         "Write curved lines as arcs (svg, pdf)",
         "Writes curved lines as true arcs, for orthographic views in SVG and PDF. DXF always "
         "contains arcs."},
        {"arc-tolerance", 0, "LENGTH", "0.01mm", Topic::Output, Effect::Drawing,
         Length(&LineOptions::arcTolerance, "arc tolerance", "a positive length up to 10 mm",
                {0.0, 10.0, true, false}),
         "Largest distance of an arc from its lines",
         "The largest distance between an arc and the lines that it replaces, on paper, up to 10 "
         "mm. For DXF, 0.05mm by default."},
        {"dpi", 0, "N", "300", Topic::Output, Effect::Drawing,
         Number(&OutputOptions::dotsPerInch, "resolution",
                "a number of dots per inch from 1 to 9600", {1.0, 9600.0}),
         "Dots per inch of a PNG", "The dots per inch of a PNG, from 1 to 9600."},
        {"views", 0, "LIST", "", Topic::Batch, Effect::Run,
         Stored(ValueKind::Names, &BatchOptions::views, ParseViews, ViewNames()),
         "Draw several views: front,top,iso",
         "Draws several named views of the models, which are read once. The output must contain "
         "{view}, which is replaced by the name of the view."},
        {"jobs", 0, "N", "processors", Topic::Batch, Effect::Run,
         Stored(ValueKind::Number, &BatchOptions::threads, ParseThreads),
         "Drawings made at the same time",
         "The number of drawings made at the same time, from 1 to 256. It does not affect the "
         "files.",
         Scope::Config},
        {"force", 0, "", "", Topic::Batch, Effect::Run, Flag(&BatchOptions::force),
         "Draw everything again, even if up to date",
         "Draws everything again, including drawings that are up to date.", Scope::Config},
        {"state", 0, "FILE", "JOBS.json.state", Topic::Batch, Effect::Run,
         Stored(ValueKind::File, &BatchOptions::statePath, ParseStatePath),
         "File that records finished work",
         "The file that records finished work, which the next run skips. With --views, work is "
         "recorded only if the file is given.",
         Scope::Config},
        {"verbose", 'v', "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::verbose),
         "Print more information",
         "Prints more information about reading and drawing on standard error.", Scope::Config},
        {"quiet", 'q', "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::quiet),
         "Print errors only", "Prints errors only.", Scope::Config},
        {"json", 0, "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::json),
         "Print the summary as JSON on standard output",
         "Prints the summary as JSON on standard output, for other programs.", Scope::Config},
        {"timing", 0, "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::timing),
         "Print the time of each stage on standard error",
         "Prints the time of each stage on standard error.", Scope::Config},
        {"config", 0, "FILE", "", Topic::Messages, Effect::Run, Unstored(ValueKind::File),
         "A TOML or JSON file of options; see help config",
         "A file of options, TOML or JSON by its ending. The command line overrides it.",
         Scope::CommandLine},
        {"help", 'h', "", "", Topic::Messages, Effect::Run, Unstored(), "Print this help",
         "Prints a short help.", Scope::CommandLine},
        {"version", 0, "", "", Topic::Messages, Effect::Run, Unstored(), "Print the version",
         "Prints the version.", Scope::CommandLine}};
    return table;
}

std::span<const OptionInfo> NamedOptions() {
    return std::span(OptionTable()).subspan(1);
}

const OptionInfo* FindOption(std::string_view name) {
    const std::vector<OptionInfo>& table = OptionTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const OptionInfo& option) { return name == option.name; });
    return found == table.end() ? nullptr : &*found;
}

std::vector<std::string> OptionNames(Scope place) {
    std::vector<std::string> names;
    for (const OptionInfo& option :
         place == Scope::CommandLine ? NamedOptions() : std::span(OptionTable())) {
        if (option.scope >= place) {
            names.emplace_back(option.name);
        }
    }
    return names;
}

} // namespace kxcontour
