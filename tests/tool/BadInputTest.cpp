// Whole runs on everything that can be wrong: each ends with one line that says what is wrong with
// what, with its exit code, and with all files as they were.
#include "DrawingRuns.h"
#include "ModelText.h"
#include "SvgFile.h"
#include "ToolRun.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <ostream>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

using test_support::MeshData;
using tool_test::Arguments;
using tool_test::FilesIn;
using tool_test::ReadBytes;
using tool_test::RunLimits;
using tool_test::RunResult;
using tool_test::Surroundings;
using tool_test::TemporaryFolder;

constexpr int kUsage = 2;
constexpr int kUnreadable = 3;
constexpr int kNothingToDraw = 4;
constexpr int kCannotWrite = 5;

const std::string kModels = ASSIMP_MODELS;

RunResult RunTool(const Arguments& arguments, const RunLimits& limits = {}) {
    return tool_test::RunTool(arguments, {}, limits);
}

MeshData Cube() {
    return test_support::Box({-1, -1, -1}, {1, 1, 1});
}

MeshData Ball() {
    return test_support::Sphere({0, 0, 0}, 10.0F, 40, 20);
}

/// A glTF file whose buffer has an address of its own.
std::string CubeWithBuffer(const std::string& address) {
    return tool_test::GltfText(
        Cube(), R"([{"mesh":0}])",
        std::string(R"([{"primitives":[)") + tool_test::kGltfPrimitive + "]}]", address);
}

void ExpectOneLine(const RunResult& run, const std::string& part) {
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err.rfind("kxcontour: ", 0), 0U) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(part), std::string::npos) << "no '" << part << "' in: " << run.err;
}

/// A run that has to be refused. It is made in a folder that holds cube.obj, old.svg and the files.
struct WrongRun {
    const char* name;
    const char* arguments; ///< With blanks between them; '' is an empty one.
    int code;
    const char* message; ///< The one line after the program's name; * is any text.
    std::vector<std::pair<const char*, std::string>> files;
};

std::ostream& operator<<(std::ostream& out, const WrongRun& run) {
    return out << "kxcontour " << run.arguments;
}

const std::vector<WrongRun> kWrongOptions{
    {"NoArguments", "", kUsage, "no model given; see --help", {}},
    {"EmptyModelName", "cube.obj '' -o new.svg", kUsage, "a model has an empty file name", {}},
    {"NoOutput", "cube.obj", kUsage, "no output given; use -o OUT.svg", {}},
    {"OutputWithoutName", "cube.obj -o", kUsage, "--output needs a value: --output OUT", {}},
    {"MisspeltOption",
     "cube.obj -o new.svg --veiw top",
     kUsage,
     "unknown option '--veiw'; did you mean '--view'?",
     {}},
    {"OptionLikeNoOther",
     "cube.obj -o new.svg --perspective",
     kUsage,
     "unknown option '--perspective'; see --help",
     {}},
    {"UnknownLetter", "cube.obj -o new.svg -x", kUsage, "unknown option '-x'; see --help", {}},
    {"FlagWithAValue", "cube.obj -o new.svg --hidden=yes", kUsage, "--hidden takes no value", {}},
    {"OptionTwice",
     "cube.obj -o new.svg --view=top --view=front",
     kUsage,
     "--view is given more than once",
     {}},
    {"UnknownTopic",
     "help camara",
     kUsage,
     "unknown help topic 'camara'; did you mean 'camera'? *",
     {}},
    {"UnknownShell",
     "completions csh",
     kUsage,
     "unknown shell 'csh'; *choose bash, zsh or fish",
     {}},
    {"QuietAndVerbose",
     "cube.obj -o new.svg --quiet --verbose",
     kUsage,
     "--quiet and --verbose cannot be combined",
     {}},

    {"UnknownView",
     "cube.obj -o new.svg --view botom",
     kUsage,
     "unknown view 'botom'; did you mean 'bottom'? choose front, back, left, right, top, bottom or "
     "iso",
     {}},
    {"AzimuthInWords",
     "cube.obj -o new.svg --azimuth east",
     kUsage,
     "azimuth 'east' is not a number of degrees",
     {}},
    {"ElevationBeyondThePole",
     "cube.obj -o new.svg --elevation 90.5",
     kUsage,
     "elevation '90.5' is not a number of degrees from -90 to 90",
     {}},
    {"RollThatIsNoNumber",
     "cube.obj -o new.svg --roll nan",
     kUsage,
     "roll 'nan' is not a number of degrees",
     {}},
    {"PointOfTwoNumbers",
     "cube.obj -o new.svg --camera-position 1,2",
     kUsage,
     "camera position '1,2' is not three numbers X,Y,Z",
     {}},
    {"UpWithoutDirection",
     "cube.obj -o new.svg --camera-view-up 0,0,0",
     kUsage,
     "--camera-view-up 0,0,0 has no direction",
     {}},
    {"CameraInItsFocalPoint",
     "cube.obj -o new.svg --camera-position 1,2,3 --camera-focal-point 1,2,3",
     kUsage,
     "--camera-position and --camera-focal-point are the same point",
     {}},
    {"CameraInTheMiddle",
     "cube.obj -o new.svg --camera-position 0,0,0",
     kUsage,
     "the camera position is the focal point",
     {}},
    {"CameraAlongItsUp",
     "cube.obj -o new.svg --camera-position 0,9,0 --camera-view-up 0,1,0",
     kUsage,
     "the camera looks along its up direction",
     {}},
    {"ModelBehindTheCamera",
     "cube.obj -o new.svg --projection perspective --camera-position 0,0,5 --camera-focal-point "
     "0,0,9",
     kNothingToDraw,
     "nothing to draw: the model is behind the camera",
     {}},
    {"UnknownProjection",
     "cube.obj -o new.svg --projection isometric",
     kUsage,
     "unknown projection 'isometric'; choose orthographic or perspective",
     {}},
    {"FieldOfViewOfAParallelView",
     "cube.obj -o new.svg --fov 40",
     kUsage,
     "--fov needs --projection perspective",
     {}},
    {"FieldOfViewTooWide",
     "cube.obj -o new.svg --projection perspective --fov 170",
     kUsage,
     "field of view '170' is not a number of degrees above 0 and below 170",
     {}},
    {"FitToAMisspeltObject",
     "cube.obj -o new.svg --fit cubes",
     kUsage,
     "there is no object 'cubes' to fit; did you mean 'cube'?",
     {}},
    {"FitToAnUnknownObject",
     "cube.obj -o new.svg --fit wheel",
     kUsage,
     "there is no object 'wheel' to fit; --info lists the objects",
     {}},
    {"FitToNothing",
     "cube.obj -o new.svg --fit ''",
     kUsage,
     "--fit has an empty name; choose an object, or all",
     {}},
    {"ZoomToNothing",
     "cube.obj -o new.svg --zoom 0",
     kUsage,
     "zoom '0' is not a positive number",
     {}},

    {"UnknownPage",
     "cube.obj -o new.svg --page B7",
     kUsage,
     "unknown page 'B7'; choose A0 to A6, letter, legal or WIDTHxHEIGHT[mm|cm|in|pt]",
     {}},
    {"PageWithoutHeight", "cube.obj -o new.svg --page 100x", kUsage, "unknown page '100x'; *", {}},
    {"PageWithoutRoom",
     "cube.obj -o new.svg --page 15x15",
     kUsage,
     "page '15x15' leaves no room inside its margin of 10 mm; each side must exceed 20 mm",
     {}},
    {"MarginWithoutRoom",
     "cube.obj -o new.svg --margin 110",
     kUsage,
     "page 'A4' leaves no room inside its margin of 110 mm; each side must exceed 220 mm",
     {}},
    {"NegativeMargin",
     "cube.obj -o new.svg --margin -1",
     kUsage,
     "margin '-1' is not a length of 0 or more; write 2, 2mm, 0.2cm, 0.08in or 5pt",
     {}},
    {"ScaleLikeAFraction",
     "cube.obj -o new.svg --scale 1/2",
     kUsage,
     "scale '1/2' is not a ratio such as 1:2, 2:1 or 0.5",
     {}},
    {"ScaleOfAPerspective",
     "cube.obj -o new.svg --scale 1:2 --projection perspective",
     kUsage,
     "--scale needs an orthographic view",
     {}},
    {"ScaleAndZoom",
     "cube.obj -o new.svg --scale 1:2 --zoom 2",
     kUsage,
     "--scale and --zoom cannot be combined",
     {}},
    {"ScaleTooLargeToSeeALine",
     "cube.obj -o new.svg --unit mm --scale 1000:1 --view front",
     kNothingToDraw,
     "cube.obj: nothing to draw: no line is visible; at this scale the drawing measures 2000 x "
     "2000 mm and does not fit the page of 210 x 297 mm inside its margin",
     {}},
    {"ScaleTooSmallToSeeALine",
     "cube.obj -o new.svg --unit mm --scale 1:1000",
     kNothingToDraw,
     "cube.obj: nothing to draw: all lines are shorter than the minimum length",
     {}},
    {"SheetOfPerspectives",
     "cube.obj -o new.svg --sheet front,top --projection perspective",
     kUsage,
     "--sheet needs orthographic views",
     {}},
    {"SheetOfAnUnknownView",
     "cube.obj -o new.svg --sheet front,botom",
     kUsage,
     "unknown view 'botom'; did you mean 'bottom'? *",
     {}},
    {"ArrangementOfNoSheet",
     "cube.obj -o new.svg --arrangement first-angle",
     kUsage,
     "--arrangement needs --sheet",
     {}},

    {"UnknownFamily",
     "cube.obj -o new.svg --lines creases,outlines",
     kUsage,
     "unknown line type 'outlines'; choose crease, silhouette or intersection",
     {}},
    {"FlatCreaseAngle",
     "cube.obj -o new.svg --crease-angle 180",
     kUsage,
     "crease angle '180' is not a number of degrees above 0 and below 180",
     {}},
    {"CreaseAngleInWords",
     "cube.obj -o new.svg --crease-angle steep",
     kUsage,
     "crease angle 'steep' is not a number of degrees above 0 and below 180",
     {}},
    {"StyleWithoutValue",
     "cube.obj -o new.svg --style crease.width",
     kUsage,
     "style 'crease.width' is not TYPE.KEY=VALUE, such as crease.width=0.25mm",
     {}},
    {"StyleOfAnUnknownFamily",
     "cube.obj -o new.svg --style edge.width=1",
     kUsage,
     "unknown line type 'edge'; choose crease, silhouette, intersection, hidden or all",
     {}},
    {"UnknownStyleKey",
     "cube.obj -o new.svg --style crease.wdith=1",
     kUsage,
     "unknown style key 'wdith'; did you mean 'width'? choose width, color or dash",
     {}},
    {"UnknownColour",
     "cube.obj -o new.svg --style crease.color=greem",
     kUsage,
     "unknown colour 'greem'; did you mean 'green'? write #rgb, #rrggbb or a basic colour name",
     {}},
    {"LineWithoutWidth",
     "cube.obj -o new.svg --style crease.width=0",
     kUsage,
     "line width '0' is not a positive length up to 100 mm; *",
     {}},
    {"DashInWords",
     "cube.obj -o new.svg --style hidden.dash=1/x",
     kUsage,
     "dash '1/x' is not 'none' or positive lengths up to 100 mm separated by '/', such as 1/0.5",
     {}},
    {"NegativeMinimalLength",
     "cube.obj -o new.svg --min-length -1",
     kUsage,
     "minimal length '-1' is not a length of 0 or more; *",
     {}},

    {"UnknownEnding",
     "cube.obj -o new.bmp",
     kUsage,
     "output 'new.bmp' does not end in .svg, .pdf, .png, .dxf or .json; choose the format with "
     "--output-format",
     {}},
    {"EndingAndFormatDiffer",
     "cube.obj -o new.svg --output-format pdf",
     kUsage,
     "output 'new.svg' and --output-format pdf contradict each other",
     {}},
    {"UnknownOutputFormat",
     "cube.obj -o new --output-format eps",
     kUsage,
     "unknown output format 'eps'; *choose svg, pdf, png, dxf or json",
     {}},
    {"LayersOfAPicture",
     "cube.obj -o new.png --layers type",
     kUsage,
     "--layers is for SVG and DXF only",
     {}},
    {"UnknownLayers",
     "cube.obj -o new.svg --layers colour",
     kUsage,
     "unknown kind of layers 'colour'; choose none, type or object",
     {}},
    {"ArcsOfAPicture",
     "cube.obj -o new.png --arcs",
     kUsage,
     "--arcs is for SVG, PDF and DXF only",
     {}},
    {"ArcsOfAPerspective",
     "cube.obj -o new.svg --arcs --projection perspective",
     kUsage,
     "--arcs needs an orthographic view",
     {}},
    {"ArcToleranceWithoutArcs",
     "cube.obj -o new.svg --arc-tolerance 0.1",
     kUsage,
     "--arc-tolerance needs --arcs",
     {}},
    {"ResolutionOfAVectorFile",
     "cube.obj -o new.svg --dpi 100",
     kUsage,
     "--dpi is for PNG only",
     {}},
    {"ResolutionOfNothing",
     "cube.obj -o new.png --dpi 0",
     kUsage,
     "resolution '0' is not a number of dots per inch from 1 to 9600",
     {}},
    {"PictureTooLarge",
     "cube.obj -o new.png --dpi 9600 --page A0",
     kUsage,
     "the picture would have more than 32767 pixels per side; choose fewer dots per inch or a "
     "smaller page",
     {}},
    {"SummaryAndDrawingInOneStream",
     "cube.obj -o - --json",
     kUsage,
     "--json and '-o -' would both write to standard output",
     {}},

    {"ViewsIntoOneFile",
     "cube.obj -o new.svg --views front,top",
     kUsage,
     "output 'new.svg' must contain {view}, for one file per view",
     {}},
    {"ViewsAndView",
     "cube.obj -o new-{view}.svg --views front --view top",
     kUsage,
     "--views and --view cannot be combined",
     {}},
    {"ViewTwice",
     "cube.obj -o new-{view}.svg --views front,front",
     kUsage,
     "view 'front' is listed twice",
     {}},
    {"ZeroJobs",
     "cube.obj -o new-{view}.svg --views front --jobs 0",
     kUsage,
     "number of jobs '0' is not a whole number from 1 to 256",
     {}},
    {"ForceOfOneDrawing",
     "cube.obj -o new.svg --force",
     kUsage,
     "--force is for batches only; see kxcontour help batch",
     {}},
};

const std::vector<WrongRun> kWrongInputs{
    {"UnknownUnit",
     "cube.obj -o new.svg --unit feet",
     kUsage,
     "unknown unit 'feet'; choose mm, cm, m or in",
     {}},
    {"UnknownAxis", "cube.obj -o new.svg --up w", kUsage, "unknown axis 'w'; choose x, y or z", {}},
    {"FormatOfAFile",
     "cube.obj -o new.svg --format obj",
     kUsage,
     "--format is for standard input only; use '-' as the model, or omit --format",
     {}},
    {"StandardInputWithoutFormat",
     "- -o new.svg",
     kUsage,
     "'-' is standard input and needs --format, such as --format stl",
     {}},
    {"StandardInputTwice",
     "- - --format stl -o new.svg",
     kUsage,
     "'-' is given more than once; standard input can be read only once",
     {}},
    {"StandardInputThatIsEmpty",
     "- --format stl -o new.svg",
     kUnreadable,
     "standard input: is empty",
     {}},
    {"StandardInputOfAnUnknownFormat",
     "- --format xyz -o new.svg",
     kUsage,
     "standard input: --format xyz is not a readable format",
     {}},
    {"FormatThatIsNoEnding",
     "- --format 3.mf -o new.svg",
     kUsage,
     "format '3.mf' is not a file name ending such as stl",
     {}},
    {"MissingModel", "none.obj -o new.svg", kUnreadable, "none.obj: No such file or directory", {}},
    {"MissingSecondModel",
     "cube.obj none.obj -o new.svg",
     kUnreadable,
     "none.obj: No such file or directory",
     {}},
    {"MissingOccluder",
     "cube.obj --occluder none.stl -o new.svg",
     kUnreadable,
     "none.stl: No such file or directory",
     {}},
    {"ModelInNoFolder",
     "none/cube.obj -o new.svg",
     kUnreadable,
     "none/cube.obj: No such file or directory",
     {}},
    {"ModelThatIsADevice",
     "/dev/zero -o new.svg",
     kUnreadable,
     "/dev/zero: is not a regular file",
     {}},
    {"LargerThanItMayBe",
     "cube.obj -o new.svg --max-input 20B",
     kUnreadable,
     "cube.obj: is larger than 20 B; --max-input SIZE allows more",
     {}},
    {"LargerThanTheConfigurationAllows",
     "cube.obj -o new.svg --config a.toml",
     kUnreadable,
     "cube.obj: is larger than 20 B; --max-input SIZE allows more",
     {{"a.toml", "max-input = 20\n"}}},
    {"FileOfAnotherFolder",
     "reaching.gltf -o new.svg",
     kUnreadable,
     "reaching.gltf: cannot read the model: it refers to '../../etc/passwd', which is not read: it "
     "is outside the model's folder; --side-files FOLDER allows another folder",
     {{"reaching.gltf", CubeWithBuffer("../../etc/passwd")}}},
    {"FileOfADevice",
     "device.gltf -o new.svg --side-files /dev",
     kUnreadable,
     "device.gltf: cannot read the model: it refers to '../../dev/zero', which is not read: it is "
     "not a regular file",
     {{"device.gltf", CubeWithBuffer("../../dev/zero")}}},
    {"PointsThatAreNotFinite",
     "nan.obj -o new.svg",
     kNothingToDraw,
     "nan.obj: nothing to draw: every triangle is degenerate, not finite or has an index out of "
     "range",
     {{"nan.obj", "v nan 0 0\nv 1 0 0\nv inf 1 0\nf 1 2 3\n"}}},
    {"IndicesOutOfRange",
     "beyond.obj -o new.svg",
     kUnreadable,
     "beyond.obj: cannot read the model: *index out of range*",
     {{"beyond.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n"}}},
    {"IndicesOutOfRangeOfPly",
     "beyond.ply -o new.svg",
     kNothingToDraw,
     "beyond.ply: nothing to draw: every triangle is * has an index out of range",
     {{"beyond.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float "
                     "y\nproperty float z\nelement face 1\nproperty list uchar int "
                     "vertex_indices\nend_header\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n"}}},
    {"DrawingAsAModel", "old.svg -o new.svg", kUnreadable, "old.svg: cannot read the model: *", {}},
};

const std::vector<WrongRun> kWrongFilesOfOptions{
    {"MissingConfiguration",
     "cube.obj -o new.svg --config none.toml",
     kUnreadable,
     "none.toml: No such file or directory",
     {}},
    {"ConfigurationOfAnotherKind",
     "cube.obj -o new.svg --config cube.obj",
     kUsage,
     "configuration file 'cube.obj' must end in .toml or .json",
     {}},
    {"BadToml",
     "cube.obj -o new.svg --config a.toml",
     kUnreadable,
     "a.toml:2: is not valid TOML: *",
     {{"a.toml", "hidden = true\npage = \"A3\n"}}},
    {"BadJson",
     "cube.obj -o new.svg --config a.json",
     kUnreadable,
     "a.json:2: is not valid JSON*",
     {{"a.json", "{\n\"page\": }"}}},
    {"UnknownKey",
     "cube.obj -o new.svg --config a.toml",
     kUsage,
     "a.toml: unknown key 'pgae'; did you mean 'page'?",
     {{"a.toml", "pgae = \"A3\"\n"}}},
    {"TextForAFlag",
     "cube.obj -o new.svg --config a.toml",
     kUsage,
     "a.toml: hidden must be true or false, not a string",
     {{"a.toml", "hidden = \"yes\"\n"}}},
    {"ValueOutOfRange",
     "cube.obj -o new.svg --config a.json",
     kUsage,
     "a.json: zoom '-1' is not a positive number",
     {{"a.json", R"({"zoom": -1})"}}},

    {"NoJobFile", "batch", kUsage, "no job file given; use kxcontour batch JOBS.json", {}},
    {"TwoJobFiles",
     "batch a.json b.json",
     kUsage,
     "unexpected argument 'b.json'; a batch has one job file",
     {}},
    {"MissingJobFile", "batch none.json", kUnreadable, "none.json: No such file or directory", {}},
    {"JobFileThatIsAModel", "batch cube.obj", kUnreadable, "cube.obj:1: is not valid JSON*", {}},
    {"NoJobs", "batch a.json", kUsage, "a.json: has no array 'jobs'", {{"a.json", "{}"}}},
    {"JobsThatAreNoList",
     "batch a.json",
     kUsage,
     "a.json: 'jobs' must be an array, not an object",
     {{"a.json", R"({"jobs": {}})"}}},
    {"UnknownKeyOfTheFile",
     "batch a.json",
     kUsage,
     "a.json: unknown key 'job'; did you mean 'jobs'?",
     {{"a.json", R"({"job": []})"}}},
    {"UnknownKeyOfAJob",
     "batch a.json",
     kUsage,
     "a.json: job 1: unknown key 'ouput'; did you mean 'output'?",
     {{"a.json", R"({"jobs": [{"model": "cube.obj", "ouput": "new.svg"}]})"}}},
    {"WrongValueInASecondJob",
     "batch a.json",
     kUsage,
     "a.json: job 2: zoom 'big' is not a positive number*",
     {{"a.json", R"({"jobs": [{"model": "cube.obj", "output": "new.svg"},
                              {"model": "cube.obj", "output": "b.svg", "zoom": "big"}]})"}}},
    {"TwoJobsForOneFile",
     "batch a.json",
     kUsage,
     "a.json: job 2: output './new.svg' is also written by job 1",
     {{"a.json", R"({"jobs": [{"model": "cube.obj", "output": "new.svg"},
                              {"model": "cube.obj", "output": "./new.svg"}]})"}}},
    {"OutputOfAllJobs",
     "batch a.json -o new.svg",
     kUsage,
     "--output cannot be used with 'batch'; see kxcontour help batch",
     {}},
    {"JobOverItsModel",
     "batch a.json",
     kUsage,
     "*cube.svg: is an input; the drawing would *",
     {{"a.json", R"({"jobs": [{"model": "cube.svg", "output": "cube.svg"}]})"},
      {"cube.svg", "v 0 0 0\n"}}},
    {"StateInAFolderThatDoesNotExist",
     "batch a.json --state none/a.state",
     kCannotWrite,
     "none/a.state: cannot write: there is no folder 'none'",
     {{"a.json", R"({"jobs": [{"model": "cube.obj", "output": "new.svg"}]})"}}},
};

class WrongRuns : public testing::TestWithParam<WrongRun> {};

TEST_P(WrongRuns, SayWhatIsWrongAndChangeNothing) {
    const TemporaryFolder folder;
    folder.write("cube.obj", "o cube\n" + tool_test::ObjText(Cube()));
    folder.write("old.svg", "the drawing of before");
    for (const auto& [name, text] : GetParam().files) {
        folder.write(name, text);
    }
    const std::map<std::string, std::string> before = FilesIn(folder);
    const RunResult run = tool_test::RunIn(folder, GetParam().arguments);
    EXPECT_EQ(run.exitCode, GetParam().code);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(tool_test::Matches(run.err, std::string("kxcontour: ") + GetParam().message + "\n"))
        << run.err;
    EXPECT_EQ(FilesIn(folder), before);
}

std::string NameOf(const testing::TestParamInfo<WrongRun>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Options, WrongRuns, testing::ValuesIn(kWrongOptions), NameOf);
INSTANTIATE_TEST_SUITE_P(Inputs, WrongRuns, testing::ValuesIn(kWrongInputs), NameOf);
INSTANTIATE_TEST_SUITE_P(FilesOfOptions,
                         WrongRuns,
                         testing::ValuesIn(kWrongFilesOfOptions),
                         NameOf);

TEST(WrongRunsTogether, AreFiftyAndMore) {
    EXPECT_GE(kWrongOptions.size() + kWrongInputs.size() + kWrongFilesOfOptions.size(), 50U);
}

/// A folder with a drawing of before and a good model, in which runs fail.
class BadInput : public testing::Test {
protected:
    /// Fails with the code and a line that holds the part, for a new output and for an old one.
    void expectFailure(int code,
                       const std::string& part,
                       const Arguments& arguments,
                       const RunLimits& limits = {}) const {
        for (const std::string& output : {old_, folder_.path("new.svg")}) {
            const std::size_t entries = folder_.entryCount();
            Arguments all = arguments;
            all.insert(all.end(), {"-o", output});
            const RunResult run = RunTool(all, limits);
            EXPECT_EQ(run.exitCode, code) << run.err;
            ExpectOneLine(run, part);
            EXPECT_EQ(ReadBytes(old_), "the drawing of before");
            EXPECT_EQ(folder_.entryCount(), entries) << "something was left behind";
        }
    }

    /// Fails with the code for an output that is part of the case.
    void expectFailureOf(int code, const std::string& part, const Arguments& arguments) const {
        const RunResult run = RunTool(arguments, {});
        EXPECT_EQ(run.exitCode, code) << run.err;
        ExpectOneLine(run, part);
    }

    TemporaryFolder folder_;
    std::string old_ = folder_.write("old.svg", "the drawing of before");
    std::string cube_ = folder_.write("cube.obj", tool_test::ObjText(Cube()));
};

TEST_F(BadInput, EmptyFile) {
    for (const char* name : {"a.obj", "a.stl", "a.ply", "a.glb", "a.ifc", "a"}) {
        const std::string path = folder_.write(name, "");
        expectFailure(kUnreadable, path + ": is empty", {path});
    }
}

TEST_F(BadInput, Directory) {
    fs::create_directory(folder_.path("dir.obj"));
    expectFailure(kUnreadable, "dir.obj: is a directory", {folder_.path("dir.obj")});
}

TEST_F(BadInput, DanglingLink) {
    fs::create_symlink("nowhere", folder_.path("link.obj"));
    expectFailure(kUnreadable, "link.obj: No such file", {folder_.path("link.obj")});
}

TEST_F(BadInput, PipeThatNobodyWritesTo) {
    ASSERT_EQ(::mkfifo(folder_.path("pipe.obj").c_str(), 0600), 0);
    expectFailure(kUnreadable, "pipe.obj: is not a regular file", {folder_.path("pipe.obj")});
}

TEST_F(BadInput, FileThatMayNotBeRead) {
    ASSERT_EQ(::chmod(cube_.c_str(), 0), 0);
    RunLimits limits;
    limits.obeysPermissions = true;
    expectFailure(kUnreadable, "cube.obj: Permission denied", {cube_}, limits);
}

TEST_F(BadInput, TextThatIsNoModel) {
    const std::string text = "To be, or not to be, that is the question.\n";
    for (const char* name : {"a.txt", "a", "a.stl", "a.ply", "a.glb", "a.3mf", "a.fbx", "a.dae"}) {
        const std::string path = folder_.write(name, text);
        expectFailure(kUnreadable, path + ": cannot read the model: ", {path});
    }
}

TEST_F(BadInput, BytesThatAreNoModel) {
    std::string bytes;
    for (int i = 0; i < 4000; ++i) {
        bytes += static_cast<char>(i * i * 7 + i / 3);
    }
    for (const char* name : {"a.bin", "a.stl", "a.glb", "a.3ds", "a.fbx"}) {
        const std::string path = folder_.write(name, bytes);
        expectFailure(kUnreadable, path + ": cannot read the model: ", {path});
    }
}

TEST_F(BadInput, ModelWithoutTriangles) {
    for (const char* name : {"/PLY/points.ply", "/OBJ/testline.obj", "/Collada/lights.dae"}) {
        const std::string path = kModels + name;
        expectFailure(kNothingToDraw, path + ": nothing to draw: it has no triangles", {path});
    }
}

TEST_F(BadInput, ModelOfBadTrianglesOnly) {
    const std::string path =
        folder_.write("a.obj", "v 0 0 0\nv 1 1 1\nv 2 2 2\nf 1 2 3\nf 1 1 2\n");
    expectFailure(kNothingToDraw, path + ": nothing to draw: every triangle is degenerate", {path});
    const std::string infinite =
        kModels + "/glTF2/BoxWithInfinites-glTF-Binary/BoxWithInfinites.glb";
    expectFailure(kNothingToDraw, infinite + ": nothing to draw: ", {infinite});
}

TEST_F(BadInput, ModelTooLargeForItsCoordinates) {
    const std::string path = folder_.write(
        "a.stl", tool_test::StlBytes(test_support::Box({-3e37F, 0, 0}, {3e37F, 1, 1})));
    expectFailure(kNothingToDraw, "too large", {path});
}

TEST_F(BadInput, ModelBehindAnOccluder) {
    const std::string wall = folder_.write(
        "wall.obj",
        tool_test::ObjText(test_support::Quad({-9, -9, 5}, {9, -9, 5}, {9, 9, 5}, {-9, 9, 5})));
    expectFailure(kNothingToDraw, cube_ + ": nothing to draw: no line is visible",
                  {cube_, "--view", "front", "--occluder", wall});
}

TEST_F(BadInput, OccluderThatCannotBeRead) {
    const std::string path = folder_.path("none.stl");
    expectFailure(kUnreadable, path + ": No such file", {cube_, "--occluder", path});
    const std::string points = kModels + "/PLY/points.ply";
    expectFailure(kNothingToDraw, points + ": ", {cube_, "--occluder", points});
}

TEST_F(BadInput, FileThatAsksForMoreMemoryThanThereIs) {
    const std::string path = kModels + "/invalid/OutOfMemory.off";
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    EXPECT_TRUE(fs::exists(path)) << "importers have no limit under sanitizers";
#else
    expectFailure(kUnreadable, path + ": cannot read the model: it needs more memory", {path});
#endif
}

TEST_F(BadInput, FilesThatAreWrongInside) {
    for (const char* name :
         {"/invalid/malformed.obj", "/invalid/empty.ply", "/glTF2/wrongTypes/badArray.gltf",
          "/glTF2/RecursiveNodes/RecursiveNodes.gltf", "/glTF2/MissingBin/BoxTextured.gltf",
          "/FBX/transparentTest.fbx"}) {
        expectFailure(kUnreadable, kModels + name + ": ", {kModels + name});
    }
}

TEST_F(BadInput, OutputInAFolderThatDoesNotExist) {
    const std::string output = folder_.path("none/a.svg");
    expectFailureOf(kCannotWrite, output + ": cannot write: there is no folder",
                    {cube_, "-o", output});
    EXPECT_FALSE(fs::exists(folder_.path("none")));
}

TEST_F(BadInput, OutputThatIsAFolder) {
    fs::create_directory(folder_.path("dir.svg"));
    expectFailureOf(kCannotWrite, "dir.svg: cannot write: it is a directory",
                    {cube_, "-o", folder_.path("dir.svg")});
    expectFailureOf(kCannotWrite, "it is a directory",
                    {cube_, "-o", folder_.path(""), "--output-format", "svg"});
    expectFailureOf(kUsage, "does not end in .svg", {cube_, "-o", folder_.path("")});
}

TEST_F(BadInput, OutputThatMayNotBeWritten) {
    RunLimits limits;
    limits.obeysPermissions = true;
    ASSERT_EQ(::chmod(old_.c_str(), 0444), 0);
    const RunResult file = RunTool({cube_, "-o", old_}, limits);
    EXPECT_EQ(file.exitCode, kCannotWrite);
    ExpectOneLine(file, "old.svg: cannot write: Permission denied");
    ASSERT_EQ(::chmod(folder_.path("").c_str(), 0555), 0);
    const RunResult folder = RunTool({cube_, "-o", folder_.path("new.svg")}, limits);
    ASSERT_EQ(::chmod(folder_.path("").c_str(), 0755), 0);
    EXPECT_EQ(folder.exitCode, kCannotWrite);
    ExpectOneLine(folder, "Permission denied");
    EXPECT_FALSE(fs::exists(folder_.path("new.svg")));
    expectFailureOf(kCannotWrite, "/proc/a.svg: cannot write: ", {cube_, "-o", "/proc/a.svg"});
}

TEST_F(BadInput, OutputThatIsADevice) {
    expectFailureOf(kCannotWrite, "/dev/full: cannot write: it is not a regular file",
                    {cube_, "-o", "/dev/full", "--output-format", "svg"});
    expectFailureOf(kUsage, "does not end in .svg", {cube_, "-o", "/dev/full"});
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

/// Kinds of output, each with what makes it: the options, and the ending of the file.
struct OutputKind {
    const char* name;
    const char* ending;
    std::vector<std::string> options;
};

std::ostream& operator<<(std::ostream& out, const OutputKind& kind) {
    return out << kind.name;
}

class FullDisk : public BadInput, public testing::WithParamInterface<OutputKind> {
protected:
    /// The model with the options of the kind.
    Arguments arguments() const {
        Arguments all = GetParam().options;
        all.insert(all.begin(), kModels + "/OBJ/spider.obj");
        return all;
    }
};

TEST_P(FullDisk, IsSaidToBeTheReasonAndKeepsWhatWasThere) {
    const std::string old = folder_.write("full" + std::string(GetParam().ending), "kept");
    const std::string fresh = folder_.path("new" + std::string(GetParam().ending));
    for (const std::size_t size : {0U, 1U, 200U, 2000U}) {
        RunLimits limits;
        limits.fileSize = size;
        const std::map<std::string, std::string> before = FilesIn(folder_);
        for (const std::string& output : {old, fresh}) {
            Arguments all = arguments();
            all.insert(all.end(), {"-o", output});
            const RunResult run = RunTool(all, limits);
            EXPECT_EQ(run.exitCode, kCannotWrite) << size << ": " << run.err;
            EXPECT_EQ(run.out, "");
            // Messages are in a file, too, which is cut short with the others.
            const std::string message = "kxcontour: " + output + ": cannot write: File too large\n";
            EXPECT_EQ(run.err, message.substr(0, size));
            EXPECT_EQ(FilesIn(folder_), before) << size;
        }
    }
}

TEST_P(FullDisk, MayBehindStandardOutput) {
    Surroundings around;
    around.output = "/dev/full";
    Arguments all = arguments();
    all.insert(all.end(), {"-o", "-", "--output-format", GetParam().ending + 1});
    const RunResult run = tool_test::RunTool(all, around);
    EXPECT_EQ(run.exitCode, kCannotWrite);
    ExpectOneLine(run, "standard output: cannot write: No space left on device");
}

INSTANTIATE_TEST_SUITE_P(
    Outputs,
    FullDisk,
    testing::Values(OutputKind{"Svg", ".svg", {}},
                    OutputKind{"LayeredSvg", ".svg", {"--layers", "type", "--hidden"}},
                    OutputKind{"Pdf", ".pdf", {}},
                    OutputKind{"Png", ".png", {"--dpi", "100"}},
                    OutputKind{"Dxf", ".dxf", {}},
                    OutputKind{"Json", ".json", {}}),
    [](const testing::TestParamInfo<OutputKind>& info) { return std::string(info.param.name); });

TEST_F(BadInput, StandardOutputThatNobodyReads) {
    Surroundings around;
    around.readerLeft = true;
    const RunResult run = tool_test::RunTool({cube_, "-o", "-"}, around);
    EXPECT_EQ(run.exitCode, kCannotWrite);
    ExpectOneLine(run, "standard output: cannot write: Broken pipe");
}

TEST_F(BadInput, StandardOutputThatIsClosed) {
    const RunResult run = tool_test::Run(
        "/bin/sh", {"-c", "exec \"$0\" \"$@\" >&-", KXCONTOUR_BINARY, cube_, "-o", "-"});
    EXPECT_EQ(run.exitCode, kCannotWrite);
    ExpectOneLine(run, "standard output: cannot write: Bad file descriptor");
}

/// Whether nothing in the text but line ends is taken for more than text by a terminal.
bool IsPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char letter) {
        return letter == '\n' || (letter >= ' ' && letter <= '~');
    });
}

const std::string kHostileName = "a\n\x1b[2J\x7f\u009b\u202e\xff";
const std::string kShownName = R"(a\n\x1b[2J\x7f\u009b\u202e\xff)";

TEST_F(BadInput, NamesReachNoTerminalInMessages) {
    const std::string name = kHostileName + ".obj";
    const std::string shown = kShownName + ".obj";
    for (const Arguments& arguments :
         {Arguments{folder_.path(name), "-o", folder_.path("new.svg")},
          Arguments{cube_, "-o", folder_.path(name)}, Arguments{cube_, "-o", "x.svg", "--" + name},
          Arguments{cube_, "-o", "x.svg", "--view", name},
          Arguments{"batch", folder_.path(name)}}) {
        const RunResult run = RunTool(arguments);
        EXPECT_NE(run.exitCode, 0);
        ExpectOneLine(run, shown);
        EXPECT_TRUE(IsPrintable(run.err)) << run.err;
    }
}

TEST_F(BadInput, NamesReachNoTerminalInTables) {
    const std::string output = folder_.path(kHostileName + ".svg");
    const RunResult drawn = RunTool({cube_, "-o", output, "--verbose"});
    EXPECT_EQ(drawn.exitCode, 0);
    EXPECT_NE(drawn.out.find(kShownName + ".svg: "), std::string::npos) << drawn.out;
    EXPECT_TRUE(IsPrintable(drawn.out + drawn.err)) << drawn.out << drawn.err;
    EXPECT_TRUE(fs::exists(output)) << "the file has the name that was asked for";

    const std::string jobs = folder_.write("jobs.json", R"({"jobs": [
        {"name": "a\n\u001b[2J\u007f\u009b\u202e", "model": "cube.obj", "output": "j.svg"}]})");
    const RunResult batch = RunTool({"batch", jobs});
    EXPECT_EQ(batch.exitCode, 0) << batch.err;
    EXPECT_NE(batch.out.find(R"(a\n\x1b[2J\x7f\u009b\u202e  drawn)"), std::string::npos)
        << batch.out;
    EXPECT_EQ(std::count(batch.out.begin(), batch.out.end(), '\n'), 3) << batch.out;

    const std::string named =
        folder_.write(kHostileName + ".obj", "o \x1b[2J\x7f\u009b\u202e\xff\n" + ReadBytes(cube_));
    const RunResult info = RunTool({named, "--info"});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find(R"(    \x1b[2J\x7f\u009b\u202e\xff: 12 triangles)"), std::string::npos)
        << info.out;
    EXPECT_TRUE(IsPrintable(info.out)) << info.out;
}

/// Files and pipes get the lowest free descriptors: none of them may become a standard stream.
TEST_F(BadInput, ClosedStandardStreamsChangeNoDrawing) {
    const std::string usual = folder_.path("usual.svg");
    ASSERT_EQ(RunTool({cube_, "-o", usual}).exitCode, 0);
    for (const char* closed :
         {"<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
        const std::string drawn = folder_.path("drawn.svg");
        const std::string run = std::string("exec \"$0\" \"$@\" ") + closed;
        const RunResult result =
            tool_test::Run("/bin/sh", {"-c", run, KXCONTOUR_BINARY, cube_, "--quiet", "-o", drawn});
        EXPECT_EQ(result.exitCode, 0) << closed << ": " << result.err;
        EXPECT_EQ(result.out + result.err, "") << closed;
        EXPECT_EQ(ReadBytes(drawn), ReadBytes(usual)) << closed;
        fs::remove(drawn);
    }
}

TEST_F(BadInput, StandardOutputNeedsNoTemporaryFolder) {
    Surroundings around;
    around.environment = {"TMPDIR=" + folder_.path("none")};
    const RunResult run = tool_test::RunTool({cube_, "-o", "-"}, around);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("</svg>"), std::string::npos);
}

TEST_F(BadInput, NoSpaceForTheNotesOfABatch) {
    const std::string jobs = folder_.write("jobs.json", R"({"jobs": [{
        "model": "cube.obj", "output": "new-{view}.svg", "views": ["front", "left", "top"]}]})");
    RunLimits limits;
    limits.fileSize = 1000; // Enough for each drawing, not for the notes on three of them.
    const RunResult run = RunTool({"batch", jobs}, limits);
    EXPECT_EQ(run.exitCode, kCannotWrite) << run.err;
    EXPECT_EQ(run.err, "kxcontour: " + jobs + ".state: cannot write: File too large\n");
    EXPECT_NE(run.out.find("3 drawn, 0 up to date, 0 failed"), std::string::npos) << run.out;
    const std::string notes = ReadBytes(jobs + ".state");
    EXPECT_GT(notes.size(), 0U);
    EXPECT_EQ(notes.back(), '\n') << "no part of a note";
    EXPECT_EQ(tool_test::ReadSvg(folder_.path("new-top.svg")).pathCount(), 1U);
    EXPECT_EQ(folder_.entryCount(), 7U) << "no more than model, drawings, jobs and notes";
}

TEST_F(BadInput, OutputThatIsAnInput) {
    const std::string model = folder_.write("cube.svg", ReadBytes(cube_));
    const std::string before = ReadBytes(model);
    expectFailureOf(kUsage, "is an input", {cube_, model, "-o", model});
    fs::create_symlink("cube.svg", folder_.path("link.svg"));
    expectFailureOf(kUsage, "is an input", {model, "-o", folder_.path("link.svg")});
    fs::create_hard_link(model, folder_.path("twin.svg"));
    expectFailureOf(kUsage, "is an input", {model, "-o", folder_.path("twin.svg")});
    expectFailureOf(kUsage, "is an input", {cube_, "--occluder", model, "-o", model});
    EXPECT_EQ(ReadBytes(model), before);
}

/// A model file, cut at many places.
class CutShort : public BadInput {
protected:
    /// The cut at each of so many places, evenly spread, is refused with one of the codes.
    void expectRefusals(const std::string& name,
                        const std::string& bytes,
                        std::size_t end,
                        std::size_t places,
                        const std::vector<int>& codes) const {
        const std::string output = folder_.path("new.svg");
        for (std::size_t i = 0; i < places; ++i) {
            const std::size_t size = 1 + (end - 2) * i / (places - 1);
            const std::string path = folder_.write(name, bytes.substr(0, size));
            const RunResult run = RunTool({path, "-o", output});
            EXPECT_EQ(std::count(codes.begin(), codes.end(), run.exitCode), 1)
                << name << " of " << size << " bytes: " << run.exitCode << ", " << run.err;
            ExpectOneLine(run, path + ": ");
            EXPECT_FALSE(fs::exists(output)) << name << " of " << size << " bytes";
        }
    }
};

TEST_F(CutShort, BinaryFilesWithAnEndOfTheirOwn) {
    const auto model = [](const std::string& name) { return ReadBytes(kModels + name); };
    const std::string glb = model("/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    expectRefusals("a.glb", glb, glb.size(), 15, {kUnreadable});
    const std::string stl = tool_test::StlBytes(Ball());
    expectRefusals("a.stl", stl, stl.size(), 40, {kUnreadable});
    for (const bool bigEndian : {false, true}) {
        const std::string ply = tool_test::PlyBytes(Ball(), bigEndian);
        expectRefusals("a.ply", ply, ply.size(), 40, {kUnreadable});
    }
    const std::string threeMf = model("/3MF/box.3mf");
    // Of the 22 bytes that end the archive, the last ones are not needed to find what is in it.
    expectRefusals("a.3mf", threeMf, threeMf.size() - 22, 25, {kUnreadable});
    const std::string fbx = model("/FBX/spider.fbx");
    expectRefusals("a.fbx", fbx, fbx.size() * 9 / 10, 15, {kUnreadable});
    const std::string blend = model("/BLEND/Suzanne_248.blend");
    expectRefusals("a.blend", blend, blend.size() * 9 / 10, 15, {kUnreadable});
}

TEST_F(CutShort, TextsWithAnEndOfTheirOwn) {
    const std::string ply = tool_test::PlyText(Ball());
    expectRefusals("a.ply", ply, ply.find_last_of(' '), 40, {kUnreadable});
    const std::string stl = tool_test::StlText(Ball());
    expectRefusals("a.stl", stl, stl.rfind("endsolid"), 40, {kUnreadable});
    const std::string ifc = ReadBytes(kModels + "/IFC/AC14-FZK-Haus.ifc");
    expectRefusals("a.ifc", ifc, ifc.rfind("END-ISO"), 12, {kUnreadable});
    const std::string dae = ReadBytes(kModels + "/Collada/duck.dae");
    expectRefusals("a.dae", dae, dae.rfind("</COLLADA>"), 15, {kUnreadable});
    const std::string gltf =
        ReadBytes(kModels + "/glTF2/BoxTextured-glTF-Embedded/BoxTextured.gltf");
    expectRefusals("a.gltf", gltf, gltf.rfind('}'), 15, {kUnreadable});
}

TEST_F(CutShort, TextsThatMayEndAnywhereAreDrawnOrRefusedButNeverCrash) {
    // Half an OBJ file is an OBJ file.
    const std::string off = tool_test::OffText(Ball());
    const std::string obj = tool_test::ObjText(Ball());
    for (const auto& [name, bytes] : {std::pair("a.off", off), std::pair("a.obj", obj)}) {
        for (std::size_t i = 1; i < 30; ++i) {
            const std::string path = folder_.write(name, bytes.substr(0, bytes.size() * i / 30));
            const std::string output = folder_.path("new.svg");
            fs::remove(output);
            const RunResult run = RunTool({path, "-o", output});
            if (run.exitCode == 0) {
                EXPECT_GT(tool_test::ReadSvg(output).pathCount(), 0U);
                continue;
            }
            EXPECT_TRUE(run.exitCode == kUnreadable || run.exitCode == kNothingToDraw) << run.err;
            ExpectOneLine(run, path + ": ");
            EXPECT_FALSE(fs::exists(output));
        }
    }
}

} // namespace
