// Readers of single options that no form covers, then the rows in the order of the help.
#include "options/OptionTable.h"

#include "common/Failure.h"
#include "import/files/ByteSize.h"
#include "options/OptionForms.h"
#include "options/StyleText.h"

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
            isDrawn[ParseName(isKnown ? one : item, "line family", names)] = true;
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
    page = text == "true" ? Landscape(page) : page;
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

WeldRequest ParseWeld(const std::string& text) {
    using Mode = WeldRequest::Mode;
    if (text == "auto" || text == "off") {
        return {text == "auto" ? Mode::Auto : Mode::Off, 0.0};
    }
    constexpr double kMost = 1e6;
    return {Mode::Length,
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

Wm4::Vector3<double> ParseViewUp(const std::string& text) {
    const Wm4::Vector3<double> up = ParsePoint(text, "camera view up");
    if (up == Wm4::Vector3<double>(0.0, 0.0, 0.0)) {
        RefuseUsage("--camera-view-up 0,0,0 has no direction");
    }
    return up;
}

std::vector<View> ParseViews(const std::string& text) {
    std::vector<View> views;
    for (const std::string& name : Split(text, ",")) {
        const View view = ParseView(name);
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

const std::vector<OptionInfo>& OptionTable() {
    static const std::vector<OptionInfo> table{
        {"model", 0, "MODEL", "", Topic::Input, Effect::Scene,
         Repeated(ValueKind::File, &InputOptions::models, AddModel),
         "Models: glTF, OBJ, STL, PLY, 3MF, FBX, IFC and more",
         "A model file. Several models are drawn together, each where its own coordinates put it. "
         "\"-\" is standard input, once, and needs --format."},
        {"occluder", 0, "FILE", "", Topic::Input, Effect::Scene,
         Repeated(ValueKind::File, &InputOptions::occluders, AddOccluder),
         "A model that hides lines and is not drawn (repeatable)",
         "A model that hides what is behind it and of which nothing is drawn. Give the option once "
         "for each of them."},
        {"format", 0, "EXT", "", Topic::Input, Effect::Scene,
         Stored(ValueKind::Text, &InputOptions::format, ParseEnding,
                {"glb", "gltf", "obj", "stl", "ply", "3mf", "fbx", "dae", "ifc"}),
         "What standard input is, as a file name ending",
         "The format of a model from standard input, as the ending that its file would have: stl, "
         "obj, glb and so on. Models from files are known by their names and contents."},
        {"unit", 0, "UNIT", "the file's", Topic::Input, Effect::Scene,
         Name<LengthUnit>(&InputOptions::unit, "unit", {"mm", "cm", "m", "in"}),
         "The unit of the models: mm, cm, m or in",
         "The unit of the coordinates in the models, in place of the one that a file states or its "
         "format has."},
        {"up", 0, "AXIS", "the file's", Topic::Input, Effect::Scene,
         Name<UpAxis>(&InputOptions::up, "axis", {"x", "y", "z"}),
         "The axis that points up: x, y or z",
         "The axis of the models' coordinates that points up, in place of the one that a file "
         "states or its format has."},
        {"weld", 0, "LENGTH", "auto", Topic::Input, Effect::Scene,
         Stored(ValueKind::Number, &InputOptions::weld, ParseWeld, {"auto", "off"}),
         "Close cracks up to LENGTH wide in surfaces, auto or off",
         "The surface of each object is made whole before lines are looked for: open edges that "
         "run along each other within LENGTH become one edge, and open edges are split where "
         "corners of others lie on them within LENGTH. LENGTH is one of the model, such as 0.05mm; "
         "where an object is shown larger than it is in the file, along any axis, it counts there. "
         "auto finds a distance for each object: gaps far below its size and the lengths of its "
         "edges are cracks. Fronts and backs of thin parts are never joined. off leaves surfaces "
         "as they are. Faces given twice count once in any case."},
        {"side-files", 0, "FOLDER", "", Topic::Input, Effect::Scene,
         Stored(ValueKind::File, &ReadRules::sideFiles, ParseFolder),
         "Another folder whose files models may refer to",
         "A model may consist of several files, such as a glTF file and its buffers. They are read "
         "if they lie in the model's own folder, in folders below it, or in FOLDER and those "
         "below. Links that lead out of these folders are not followed, and a model from standard "
         "input cannot refer to files."},
        {"max-input", 0, "SIZE", "2GB", Topic::Input, Effect::Limit,
         Stored(ValueKind::Number, &ReadRules::largestInput, ParseInputSize,
                {"500MB", "2GB", "10GB"}),
         "Refuse models larger than SIZE: 500MB, 4GB",
         "The size up to which a model is read, with the files that it refers to: a number with B, "
         "kB, MB, GB or TB, each a thousand times the one before. Standard input is read to the "
         "end or to one byte more."},
        {"read-limit", 0, "SECONDS", "60", Topic::Input, Effect::Limit,
         Stored(ValueKind::Number, &ReadRules::time, ParseReadLimit),
         "Give up reading a model after SECONDS; 0 never",
         "How long reading a model may take: SECONDS, and one more for each megabyte of it and of "
         "the files that it refers to. 0 sets no limit."},
        {"info", 0, "", "", Topic::Input, Effect::Run, Unstored(),
         "Say what is in the models and draw nothing",
         "Prints the objects of the models, the number of their triangles, their size in real "
         "units and what reading them has changed. Nothing is drawn.",
         Scope::CommandLine},
        {"view", 0, "NAME", "iso", Topic::Camera, Effect::Drawing,
         Stored(ValueKind::Text, &CameraRequest::view, ParseView, ViewNames()),
         "front, back, left, right, top, bottom or iso",
         "The direction to look from. iso is isometric, from the front, the right and above."},
        {"azimuth", 0, "DEG", "", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::azimuth, "azimuth", "a number of degrees", kAnyNumber),
         "Look from DEG degrees around: 0 front, 90 right",
         "The direction to look from, in degrees around the up axis: 0 is the front and 90 the "
         "right. Wins over --view."},
        {"elevation", 0, "DEG", "", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::elevation, "elevation", "a number of degrees from -90 to 90",
                {-90.0, 90.0}),
         "Look from DEG degrees above the horizon",
         "The direction to look from, in degrees above the horizon: from -90 (from below) to 90 "
         "(from above). Wins over --view."},
        {"roll", 0, "DEG", "0", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::roll, "roll", "a number of degrees", kAnyNumber),
         "Turn the drawing counter-clockwise by DEG degrees",
         "Turns the drawing counter-clockwise on the page, in degrees."},
        {"camera-position", 0, "X,Y,Z", "", Topic::Camera, Effect::Drawing,
         Coordinates(&CameraRequest::position, "camera position"),
         "Look from a point in the first model's coordinates",
         "The point to look from, in the axes and the unit of the first model's file. Wins over "
         "--view and the angles."},
        {"camera-focal-point", 0, "X,Y,Z", "the middle", Topic::Camera, Effect::Drawing,
         Coordinates(&CameraRequest::focalPoint, "camera focal point"),
         "Look at a point in those coordinates",
         "The point to look at, in the axes and the unit of the first model's file."},
        {"camera-view-up", 0, "X,Y,Z", "the up axis", Topic::Camera, Effect::Drawing,
         Stored(ValueKind::Point, &CameraRequest::viewUp, ParseViewUp),
         "The direction that points up on the page",
         "The direction that points up on the page, in the axes of the first model's file."},
        {"projection", 0, "KIND", "orthographic", Topic::Camera, Effect::Drawing,
         Name<Projection>(&CameraRequest::projection, "projection",
                          {"orthographic", "perspective"}),
         "orthographic or perspective",
         "Orthographic keeps parallels parallel and has a scale; perspective shows things smaller "
         "the farther away they are."},
        {"fov", 0, "DEG", "30", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::fieldOfView, "field of view",
                "a number of degrees above 0 and below 170", {0.0, 170.0, true, true}),
         "Vertical field of view of a perspective",
         "The vertical field of view of a perspective drawing inside its margin, over 0 and under "
         "170 degrees. Needs --projection perspective."},
        {"fit", 0, "OBJECT", "all", Topic::Camera, Effect::Drawing,
         Stored(ValueKind::Text, &CameraRequest::fitObject, ParseFit, {"all"}),
         "The object that fills the page, or all",
         "What fills the page: everything that is drawn (all), or one object by its name in the "
         "file, with the others around it as far as they are in sight."},
        {"zoom", 0, "FACTOR", "1", Topic::Camera, Effect::Drawing,
         Number(&CameraRequest::zoom, "zoom", "a positive number", kOverZero),
         "Draw FACTOR times as large as fits the page",
         "Draws everything FACTOR times as large as would fit the page. Over 0."},
        {"page", 0, "PAGE", "A4", Topic::Page, Effect::Drawing,
         Stored(ValueKind::Text, &PageOptions::size, ParsePageSize, PageNames()),
         "A0 to A6, letter, legal or WxH[mm|cm|in|pt]",
         "The sheet: A0 to A6, letter or legal, upright, or WIDTHxHEIGHT with mm, cm, in or pt "
         "behind it; without a unit the measures are millimetres."},
        {"landscape", 0, "", "", Topic::Page, Effect::Drawing,
         Applied(ValueKind::Flag, &PageOptions::size, TurnPage),
         "Turn the page so that it is wider than high",
         "Turns the page so that it is at least as wide as it is high."},
        {"margin", 0, "LENGTH", "10mm", Topic::Page, Effect::Drawing,
         Length(&PageOptions::margin, "margin", "a length of 0 or more", kZeroOrMore),
         "What stays white along the edges of the page",
         "What stays white along every edge of the page, such as 5, 5mm, 0.5cm, 0.2in or 14pt."},
        {"scale", 0, "RATIO", "", Topic::Page, Effect::Drawing,
         Stored(ValueKind::Number, &CameraRequest::scale, ParseRatio,
                {"1:1", "1:2", "1:5", "1:10", "1:20", "1:50", "1:100", "2:1", "5:1", "10:1"}),
         "Draw at true scale: 1:2, 2:1, 0.5",
         "Draws at a true scale, the length on paper to the real one: at 1:2 an edge of 100 mm "
         "that is parallel to the page is 50 mm long on paper. Orthographic views only; takes the "
         "place of --zoom."},
        {"sheet", 0, "LIST", "", Topic::Page, Effect::Drawing,
         Stored(ValueKind::Names, &PageOptions::views, ParseViews, ViewNames()),
         "Several views on one sheet: front,top,iso",
         "Puts several named views on one sheet, at one scale and in line with the front view. "
         "Orthographic views only."},
        {"arrangement", 0, "KIND", "first-angle", Topic::Page, Effect::Drawing,
         Name<Arrangement>(&PageOptions::arrangement, "arrangement",
                           {"first-angle", "third-angle"}),
         "Of --sheet: first-angle or third-angle",
         "Where the views of --sheet stand around the front view: in first-angle the one from "
         "above is below it and the one from the right on its left, in third-angle the other way "
         "round."},
        {"title", 0, "TEXT", "", Topic::Page, Effect::Drawing, Text(&OutputOptions::title),
         "The title in the drawing's file",
         "The title that the drawing's file carries. It is not drawn."},
        {"description", 0, "TEXT", "", Topic::Page, Effect::Drawing,
         Text(&OutputOptions::description), "The description in the drawing's file",
         "The description that the drawing's file carries. It is not drawn."},
        {"lines", 0, "LIST", "all", Topic::Lines, Effect::Drawing, Families(),
         "Families to draw: crease,silhouette,intersection",
         "The families of lines to draw, with commas between: silhouette (where a surface turns "
         "away from the eye, and where it ends), crease (where it bends sharply) and intersection "
         "(where objects cut each other)."},
        {"crease-angle", 0, "DEG", "", Topic::Lines, Effect::Scene,
         Number(&LineOptions::creaseAngle, "crease angle",
                "a number of degrees above 0 and below 180", {0.0, 180.0, true, true}),
         "Draw edges that bend by more than DEG degrees",
         "Draws as creases the edges that bend by more than DEG degrees, over 0 and under 180. "
         "Without it the normals of the file decide, and 30 where it has none. Normals that are "
         "those of the triangles themselves say nothing about smoothness, and 30 decides there, "
         "too: where the three corners of every triangle of an object have one normal, within 0.5 "
         "degrees of the triangle's."},
        {"hidden", 0, "", "", Topic::Lines, Effect::Drawing, Flag(&LineOptions::hidden),
         "Draw hidden parts too, in their own style",
         "Draws the parts of lines that are hidden, too, below the others and in the style named "
         "hidden: dashed, unless told otherwise."},
        {"style", 0, "LIST", "", Topic::Lines, Effect::Drawing,
         Repeated(ValueKind::Style, &LineOptions::styles, ApplyStyles),
         "Looks: crease.width=0.25mm,hidden.dash=1/0.5",
         "How lines look: FAMILY.KEY=VALUE with commas between; later ones win. Families are "
         "crease, silhouette, intersection, hidden and all. Keys are width (a positive length up "
         "to 100 mm), color (#rgb, #rrggbb or a basic colour name) and dash (lengths with / "
         "between, or none)."},
        {"min-length", 0, "LENGTH", "0.02mm", Topic::Lines, Effect::Drawing,
         Length(&LineOptions::minLength, "minimal length", "a length of 0 or more", kZeroOrMore),
         "Leave out paths that are shorter on paper",
         "Leaves out paths that are shorter than LENGTH on paper, after joining; a closed one "
         "counts by its whole length. Dots are left out even with 0. JSON tells every range, "
         "however short."},
        {"output", 'o', "OUT", "", Topic::Output, Effect::Drawing,
         Text(&OutputOptions::path, ValueKind::File),
         "The drawing to write: .svg .pdf .png .dxf .json",
         "The file to write; its ending says the format. \"-\" is standard output, as SVG unless "
         "--output-format says otherwise. The file appears only when it is whole. {view} in the "
         "name becomes the name of the view."},
        {"output-format", 0, "FORMAT", "by the ending", Topic::Output, Effect::Drawing,
         Name<OutputFormat>(&OutputOptions::format, "output format",
                            {"svg", "pdf", "png", "dxf", "json"}),
         "svg, pdf, png, dxf or json",
         "The format of the drawing where the name of the output does not say it."},
        {"layers", 0, "KIND", "none", Topic::Output, Effect::Drawing,
         Stored(ValueKind::Text, &OutputOptions::layering, ParseLayering,
                {"type", "object", "none"}),
         "Layers by type of line or by object (svg, dxf)",
         "Puts every family of lines (type) or every object (object) on a layer of its own. SVG "
         "and DXF only."},
        {"arcs", 0, "", "", Topic::Output, Effect::Drawing, Unstored(),
         "Write round lines as arcs (svg, pdf)",
         "Writes round lines as true arcs, for orthographic views in SVG and PDF. DXF has them "
         "always."},
        {"arc-tolerance", 0, "LENGTH", "0.01mm", Topic::Output, Effect::Drawing,
         Length(&OutputOptions::arcTolerance, "arc tolerance", "a positive length up to 10 mm",
                {0.0, 10.0, true, false}),
         "How far an arc may be from its lines",
         "How far an arc may be anywhere from the lines that it takes the place of, on paper: over "
         "0, to 10 mm. 0.05mm for DXF unless given."},
        {"dpi", 0, "N", "300", Topic::Output, Effect::Drawing,
         Number(&OutputOptions::dotsPerInch, "resolution",
                "a number of dots per inch from 1 to 9600", {1.0, 9600.0}),
         "Dots per inch of a PNG", "The dots per inch of a PNG, from 1 to 9600."},
        {"views", 0, "LIST", "", Topic::Batch, Effect::Run,
         Stored(ValueKind::Names, &BatchOptions::views, ParseViews, ViewNames()),
         "Draw several views: front,top,iso",
         "Draws several named views of the models, which are read once. The output has to contain "
         "{view}, which becomes the name of the view."},
        {"jobs", 0, "N", "processors", Topic::Batch, Effect::Run,
         Stored(ValueKind::Number, &BatchOptions::threads, ParseThreads),
         "Drawings made at the same time",
         "How many drawings are made at the same time, from 1 to 256. The files are the same for "
         "any number.",
         Scope::Config},
        {"force", 0, "", "", Topic::Batch, Effect::Run, Flag(&BatchOptions::force),
         "Draw again what is up to date",
         "Draws everything again, also what is there already from the same inputs and options.",
         Scope::Config},
        {"state", 0, "FILE", "JOBS.json.state", Topic::Batch, Effect::Run,
         Stored(ValueKind::File, &BatchOptions::statePath, ParseStatePath),
         "Where finished work is noted",
         "The file in which finished work is noted, so that a second run can leave it out. With "
         "--views there is none unless it is named.",
         Scope::Config},
        {"verbose", 'v', "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::verbose),
         "Say more along the way", "Says more on standard error about what is read and drawn.",
         Scope::Config},
        {"quiet", 'q', "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::quiet),
         "Say nothing but errors", "Says nothing but what went wrong.", Scope::Config},
        {"json", 0, "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::json),
         "The summary as JSON on standard output",
         "Writes the summary on standard output as JSON, for other programs.", Scope::Config},
        {"timing", 0, "", "", Topic::Messages, Effect::Run, Flag(&MessageOptions::timing),
         "Say how long each stage took on standard error",
         "Says on standard error how long each stage took.", Scope::Config},
        {"config", 0, "FILE", "", Topic::Messages, Effect::Run, Unstored(ValueKind::File),
         "A TOML or JSON file of options; see help config",
         "A file of options, TOML or JSON by its ending. The command line wins over it.",
         Scope::CommandLine},
        {"help", 'h', "", "", Topic::Messages, Effect::Run, Unstored(), "Print this help",
         "Prints a help that fits on a page or two.", Scope::CommandLine},
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
