// The rows of the table, in the order of the help.
#include "options/OptionTable.h"

#include "drawing/camera/View.h"
#include "drawing/paper/PageSize.h"

#include <algorithm>

namespace kxcontour {
namespace {

using Rows = std::vector<OptionInfo>;

void AddReading(Rows& rows) {
    const Topic topic = Topic::Input;
    rows.push_back({"side-files",
                    0,
                    "FOLDER",
                    topic,
                    ValueKind::File,
                    "Another folder whose files models may refer to",
                    "A model may consist of several files, such as a glTF file and its buffers. "
                    "They are read if they lie in the model's own folder, in folders below it, or "
                    "in FOLDER and those below. Links that lead out of these folders are not "
                    "followed, and a model from standard input is read alone.",
                    "",
                    {}});
    rows.push_back({"max-input",
                    0,
                    "SIZE",
                    topic,
                    ValueKind::Number,
                    "Refuse models larger than SIZE: 500MB, 4GB",
                    "The size up to which a model is read, with the files that it refers to: a "
                    "number with B, kB, MB, GB or TB, each a thousand times the one before. "
                    "Standard input is read to the end or to one byte more.",
                    "2GB",
                    {"500MB", "2GB", "10GB"}});
    rows.push_back({"read-limit",
                    0,
                    "SECONDS",
                    topic,
                    ValueKind::Number,
                    "Give up reading a model after SECONDS; 0 never",
                    "How long reading a model may take: SECONDS, and one more for each megabyte of "
                    "it and of the files that it refers to. 0 sets no limit.",
                    "60",
                    {}});
}

void AddInput(Rows& rows) {
    const Topic topic = Topic::Input;
    rows.push_back({"model",
                    0,
                    "MODEL",
                    topic,
                    ValueKind::File,
                    "Models: glTF, OBJ, STL, PLY, 3MF, FBX, IFC and more",
                    "A model file. Several models are drawn together, each where its own "
                    "coordinates put it. \"-\" is standard input, once, and needs --format.",
                    "",
                    {},
                    true});
    rows.push_back({"occluder",
                    0,
                    "FILE",
                    topic,
                    ValueKind::File,
                    "A model that hides lines and is not drawn (repeatable)",
                    "A model that hides what is behind it and of which nothing is drawn. Give the "
                    "option once for each of them.",
                    "",
                    {},
                    true});
    rows.push_back({"format",
                    0,
                    "EXT",
                    topic,
                    ValueKind::Text,
                    "What standard input is, as a file name ending",
                    "The format of a model from standard input, as the ending that its file would "
                    "have: stl, obj, glb and so on. Models from files are known by their names and "
                    "contents.",
                    "",
                    {"glb", "gltf", "obj", "stl", "ply", "3mf", "fbx", "dae", "ifc"}});
    rows.push_back({"unit",
                    0,
                    "UNIT",
                    topic,
                    ValueKind::Text,
                    "The unit of the models: mm, cm, m or in",
                    "The unit of the coordinates in the models, in place of the one that a file "
                    "states or its format has.",
                    "the file's",
                    {"mm", "cm", "m", "in"}});
    rows.push_back({"up",
                    0,
                    "AXIS",
                    topic,
                    ValueKind::Text,
                    "The axis that points up: x, y or z",
                    "The axis of the models' coordinates that points up, in place of the one that "
                    "a file states or its format has.",
                    "the file's",
                    {"x", "y", "z"}});
    rows.push_back({"weld",
                    0,
                    "LENGTH",
                    topic,
                    ValueKind::Number,
                    "Close cracks up to LENGTH wide in surfaces, auto or off",
                    "The surface of each object is made whole before lines are looked for: open "
                    "edges that run along each other within LENGTH become one edge, and open "
                    "edges are split where corners of others lie on them within LENGTH. LENGTH is "
                    "one of the model, such as 0.05mm; where an object is shown larger than it is "
                    "in the file, along any axis, it counts there. auto finds a distance for each "
                    "object: gaps far below its size and the lengths of its edges are cracks. "
                    "Fronts and backs of thin parts are never joined. off leaves surfaces as they "
                    "are. Faces given twice count once in any case.",
                    "auto",
                    {"auto", "off"}});
    AddReading(rows);
    rows.push_back({"info",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "Say what is in the models and draw nothing",
                    "Prints the objects of the models, the number of their triangles, their size "
                    "in real units and what reading them has changed. Nothing is drawn.",
                    "",
                    {},
                    false,
                    Scope::CommandLine});
}

void AddDirections(Rows& rows) {
    const Topic topic = Topic::Camera;
    rows.push_back({"view", 0, "NAME", topic, ValueKind::Text,
                    "front, back, left, right, top, bottom or iso",
                    "The direction to look from. iso is isometric, from the front, the right and "
                    "above.",
                    "iso", ViewNames()});
    rows.push_back({"azimuth",
                    0,
                    "DEG",
                    topic,
                    ValueKind::Number,
                    "Look from DEG degrees around: 0 front, 90 right",
                    "The direction to look from, in degrees around the up axis: 0 is the front and "
                    "90 the right. Wins over --view.",
                    "",
                    {}});
    rows.push_back({"elevation",
                    0,
                    "DEG",
                    topic,
                    ValueKind::Number,
                    "Look from DEG degrees above the horizon",
                    "The direction to look from, in degrees above the horizon: from -90 (from "
                    "below) to 90 (from above). Wins over --view.",
                    "",
                    {}});
    rows.push_back({"roll",
                    0,
                    "DEG",
                    topic,
                    ValueKind::Number,
                    "Turn the drawing counter-clockwise by DEG degrees",
                    "Turns the drawing counter-clockwise on the page, in degrees.",
                    "0",
                    {}});
    rows.push_back({"camera-position",
                    0,
                    "X,Y,Z",
                    topic,
                    ValueKind::Point,
                    "Look from a point in the first model's coordinates",
                    "The point to look from, in the axes and the unit of the first model's file. "
                    "Wins over --view and the angles.",
                    "",
                    {}});
    rows.push_back({"camera-focal-point",
                    0,
                    "X,Y,Z",
                    topic,
                    ValueKind::Point,
                    "Look at a point in those coordinates",
                    "The point to look at, in the axes and the unit of the first model's file.",
                    "the middle",
                    {}});
    rows.push_back({"camera-view-up",
                    0,
                    "X,Y,Z",
                    topic,
                    ValueKind::Point,
                    "The direction that points up on the page",
                    "The direction that points up on the page, in the axes of the first model's "
                    "file.",
                    "the up axis",
                    {}});
}

void AddCamera(Rows& rows) {
    const Topic topic = Topic::Camera;
    AddDirections(rows);
    rows.push_back({"projection",
                    0,
                    "KIND",
                    topic,
                    ValueKind::Text,
                    "orthographic or perspective",
                    "Orthographic keeps parallels parallel and has a scale; perspective shows "
                    "things smaller the farther away they are.",
                    "orthographic",
                    {"orthographic", "perspective"}});
    rows.push_back({"fov",
                    0,
                    "DEG",
                    topic,
                    ValueKind::Number,
                    "Vertical field of view of a perspective",
                    "The vertical field of view of a perspective drawing inside its margin, over 0 "
                    "and under 170 degrees. Needs --projection perspective.",
                    "30",
                    {}});
    rows.push_back({"fit",
                    0,
                    "OBJECT",
                    topic,
                    ValueKind::Text,
                    "The object that fills the page, or all",
                    "What fills the page: everything that is drawn (all), or one object by its "
                    "name in the file, with the others around it as far as they are in sight.",
                    "all",
                    {"all"}});
    rows.push_back({"zoom",
                    0,
                    "FACTOR",
                    topic,
                    ValueKind::Number,
                    "Draw FACTOR times as large as fits the page",
                    "Draws everything FACTOR times as large as would fit the page. Over 0.",
                    "1",
                    {}});
}

void AddPage(Rows& rows) {
    const Topic topic = Topic::Page;
    rows.push_back(
        {"page", 0, "PAGE", topic, ValueKind::Text, "A0 to A6, letter, legal or WxH[mm|cm|in|pt]",
         "The sheet: A0 to A6, letter or legal, upright, or WIDTHxHEIGHT with mm, cm, in "
         "or pt behind it; without a unit the measures are millimetres.",
         "A4", PageNames()});
    rows.push_back({"landscape",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "Turn the page so that it is wider than high",
                    "Turns the page so that it is at least as wide as it is high.",
                    "",
                    {}});
    rows.push_back({"margin",
                    0,
                    "LENGTH",
                    topic,
                    ValueKind::Number,
                    "What stays white along the edges of the page",
                    "What stays white along every edge of the page, such as 5, 5mm, 0.5cm, 0.2in "
                    "or 14pt.",
                    "10mm",
                    {}});
    rows.push_back({"scale",
                    0,
                    "RATIO",
                    topic,
                    ValueKind::Number,
                    "Draw at true scale: 1:2, 2:1, 0.5",
                    "Draws at a true scale, the length on paper to the real one: at 1:2 an edge of "
                    "100 mm that is parallel to the page is 50 mm long on paper. Orthographic "
                    "views only; takes the place of --zoom.",
                    "",
                    {"1:1", "1:2", "1:5", "1:10", "1:20", "1:50", "1:100", "2:1", "5:1", "10:1"}});
    rows.push_back({"sheet", 0, "LIST", topic, ValueKind::Names,
                    "Several views on one sheet: front,top,iso",
                    "Puts several named views on one sheet, at one scale and in line with the "
                    "front view. Orthographic views only.",
                    "", ViewNames()});
    rows.push_back({"arrangement",
                    0,
                    "KIND",
                    topic,
                    ValueKind::Text,
                    "Of --sheet: first-angle or third-angle",
                    "Where the views of --sheet stand around the front view: in first-angle the "
                    "one from above is below it and the one from the right on its left, in "
                    "third-angle the other way round.",
                    "first-angle",
                    {"first-angle", "third-angle"}});
    rows.push_back({"title",
                    0,
                    "TEXT",
                    topic,
                    ValueKind::Text,
                    "The title in the drawing's file",
                    "The title that the drawing's file carries. It is not drawn.",
                    "",
                    {}});
    rows.push_back({"description",
                    0,
                    "TEXT",
                    topic,
                    ValueKind::Text,
                    "The description in the drawing's file",
                    "The description that the drawing's file carries. It is not drawn.",
                    "",
                    {}});
}

void AddLines(Rows& rows) {
    const Topic topic = Topic::Lines;
    rows.push_back({"lines",
                    0,
                    "LIST",
                    topic,
                    ValueKind::Names,
                    "Families to draw: crease,silhouette,intersection",
                    "The families of lines to draw, with commas between: silhouette (where a "
                    "surface turns away from the eye, and where it ends), crease (where it bends "
                    "sharply) and intersection (where objects cut each other).",
                    "all",
                    {"crease", "silhouette", "intersection"}});
    rows.push_back({"crease-angle",
                    0,
                    "DEG",
                    topic,
                    ValueKind::Number,
                    "Draw edges that bend by more than DEG degrees",
                    "Draws as creases the edges that bend by more than DEG degrees, over 0 and "
                    "under 180. Without it the normals of the file decide, and 30 where it has "
                    "none. Normals that are those of the triangles themselves say nothing about "
                    "smoothness, and 30 decides there, too: where the three corners of every "
                    "triangle of an object have one normal, within 0.5 degrees of the triangle's.",
                    "",
                    {}});
    rows.push_back({"hidden",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "Draw hidden parts too, in their own style",
                    "Draws the parts of lines that are hidden, too, below the others and in the "
                    "style named hidden: dashed, unless told otherwise.",
                    "",
                    {}});
    rows.push_back({"style",
                    0,
                    "LIST",
                    topic,
                    ValueKind::Style,
                    "Looks: crease.width=0.25mm,hidden.dash=1/0.5",
                    "How lines look: FAMILY.KEY=VALUE with commas between; later ones win. "
                    "Families are crease, silhouette, intersection, hidden and all. Keys are width "
                    "(a length over 0, to 100 mm), color (#rgb, #rrggbb or a basic colour name) "
                    "and dash (lengths with / between, or none).",
                    "",
                    {},
                    true});
    rows.push_back({"min-length",
                    0,
                    "LENGTH",
                    topic,
                    ValueKind::Number,
                    "Leave out paths that are shorter on paper",
                    "Leaves out paths that are shorter than LENGTH on paper, after joining; a "
                    "closed one counts by its whole length. Dots are left out even with 0. JSON "
                    "tells every range, however short.",
                    "0.02mm",
                    {}});
}

void AddOutput(Rows& rows) {
    const Topic topic = Topic::Output;
    rows.push_back({"output",
                    'o',
                    "OUT",
                    topic,
                    ValueKind::File,
                    "The drawing to write: .svg .pdf .png .dxf .json",
                    "The file to write; its ending says the format. \"-\" is standard output, as "
                    "SVG unless --output-format says otherwise. The file appears only when it is "
                    "whole. {view} in the name becomes the name of the view.",
                    "",
                    {}});
    rows.push_back({"output-format",
                    0,
                    "FORMAT",
                    topic,
                    ValueKind::Text,
                    "svg, pdf, png, dxf or json",
                    "The format of the drawing where the name of the output does not say it.",
                    "by the ending",
                    {"svg", "pdf", "png", "dxf", "json"}});
    rows.push_back({"layers",
                    0,
                    "KIND",
                    topic,
                    ValueKind::Text,
                    "Layers by type of line or by object (svg, dxf)",
                    "Puts every family of lines (type) or every object (object) on a layer of its "
                    "own. SVG and DXF only.",
                    "none",
                    {"type", "object", "none"}});
    rows.push_back({"arcs",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "Write round lines as arcs (svg, pdf)",
                    "Writes round lines as true arcs, for orthographic views in SVG and PDF. DXF "
                    "has them always.",
                    "",
                    {}});
    rows.push_back({"arc-tolerance",
                    0,
                    "LENGTH",
                    topic,
                    ValueKind::Number,
                    "How far an arc may be from its lines",
                    "How far an arc may be anywhere from the lines that it takes the place of, on "
                    "paper: over 0, to 10 mm. 0.05mm for DXF unless given.",
                    "0.01mm",
                    {}});
    rows.push_back({"dpi",
                    0,
                    "N",
                    topic,
                    ValueKind::Number,
                    "Dots per inch of a PNG",
                    "The dots per inch of a PNG, from 1 to 9600.",
                    "300",
                    {}});
}

void AddBatch(Rows& rows) {
    const Topic topic = Topic::Batch;
    rows.push_back({"views", 0, "LIST", topic, ValueKind::Names,
                    "Draw several views: front,top,iso",
                    "Draws several named views of the models, which are read once. The output has "
                    "to contain {view}, which becomes the name of the view.",
                    "", ViewNames()});
    rows.push_back({"jobs",
                    0,
                    "N",
                    topic,
                    ValueKind::Number,
                    "Drawings made at the same time",
                    "How many drawings are made at the same time, from 1 to 256. The files are the "
                    "same for any number.",
                    "processors",
                    {},
                    false,
                    Scope::Config});
    rows.push_back({"force",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "Draw again what is up to date",
                    "Draws everything again, also what is there already from the same inputs and "
                    "options.",
                    "",
                    {},
                    false,
                    Scope::Config});
    rows.push_back({"state",
                    0,
                    "FILE",
                    topic,
                    ValueKind::File,
                    "Where finished work is noted",
                    "The file in which finished work is noted, so that a second run can leave it "
                    "out. With --views there is none unless it is named.",
                    "JOBS.json.state",
                    {},
                    false,
                    Scope::Config});
}

void AddMessages(Rows& rows) {
    const Topic topic = Topic::Messages;
    rows.push_back({"verbose",
                    'v',
                    "",
                    topic,
                    ValueKind::Flag,
                    "Say more along the way",
                    "Says more on standard error about what is read and drawn.",
                    "",
                    {},
                    false,
                    Scope::Config});
    rows.push_back({"quiet",
                    'q',
                    "",
                    topic,
                    ValueKind::Flag,
                    "Say nothing but errors",
                    "Says nothing but what went wrong.",
                    "",
                    {},
                    false,
                    Scope::Config});
    rows.push_back({"json",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "The summary as JSON on standard output",
                    "Writes the summary on standard output as JSON, for other programs.",
                    "",
                    {},
                    false,
                    Scope::Config});
    rows.push_back({"timing",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "Say how long each stage took on standard error",
                    "Says on standard error how long each stage took.",
                    "",
                    {},
                    false,
                    Scope::Config});
    rows.push_back({"config",
                    0,
                    "FILE",
                    topic,
                    ValueKind::File,
                    "A TOML or JSON file of options; see help config",
                    "A file of options, TOML or JSON by its ending. The command line wins over it.",
                    "",
                    {},
                    false,
                    Scope::CommandLine});
    rows.push_back({"help",
                    'h',
                    "",
                    topic,
                    ValueKind::Flag,
                    "Print this help",
                    "Prints a help that fits on a page or two.",
                    "",
                    {},
                    false,
                    Scope::CommandLine});
    rows.push_back({"version",
                    0,
                    "",
                    topic,
                    ValueKind::Flag,
                    "Print the version",
                    "Prints the version.",
                    "",
                    {},
                    false,
                    Scope::CommandLine});
}

} // namespace

const std::vector<OptionInfo>& OptionTable() {
    static const Rows table = [] {
        Rows rows;
        AddInput(rows);
        AddCamera(rows);
        AddPage(rows);
        AddLines(rows);
        AddOutput(rows);
        AddBatch(rows);
        AddMessages(rows);
        return rows;
    }();
    return table;
}

bool IsPositional(const OptionInfo& option) {
    return &option == &OptionTable().front();
}

const OptionInfo* FindOption(std::string_view name) {
    const Rows& table = OptionTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const OptionInfo& option) { return name == option.name; });
    return found == table.end() ? nullptr : &*found;
}

std::vector<std::string> OptionNames(Scope place) {
    std::vector<std::string> names;
    for (const OptionInfo& option : OptionTable()) {
        const bool positional = place == Scope::CommandLine && &option == &OptionTable().front();
        if (option.scope >= place && !positional) {
            names.emplace_back(option.name);
        }
    }
    return names;
}

} // namespace kxcontour
