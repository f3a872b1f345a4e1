// The command line: valid and invalid values of every option, and options that exclude each other.
#include "options/Parsing.h"
#include "tool/options/OptionReader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <locale>
#include <map>
#include <set>

namespace {

using kxcontour::BatchCommand;
using kxcontour::DrawCommand;
using kxcontour::DrawingOptions;
using kxcontour::InfoCommand;
using kxcontour::Layering;
using kxcontour::LengthUnit;
using kxcontour::OutputFormat;
using kxcontour::SceneSignatureOf;
using kxcontour::SignatureOf;
using kxcontour::UpAxis;
using kxdrawing::Direction;
using kxdrawing::Projection;
using tool_test::Arguments;
using tool_test::Draw;
using tool_test::Holds;
using tool_test::ParseAs;
using tool_test::Refusal;
using tool_test::RefusalOf;
using tool_test::TextOf;

using kxdrawing::Vector;

/// Each pair of the option and a bad value is refused with a message that has the value in it.
void ExpectRefused(const std::string& option, const Arguments& values) {
    for (const std::string& value : values) {
        std::string given = option;
        given += "=" + value;
        const std::string message = Refusal({given});
        EXPECT_TRUE(Holds(message, "'" + value + "'")) << option << ": " << message;
    }
}

TEST(ParseCommandLine, NeedsTwoFilesAndHasDefaultsForTheRest) {
    const DrawingOptions options = Draw({});
    EXPECT_EQ(options.input.models, Arguments{"m.obj"});
    EXPECT_TRUE(options.input.occluders.empty());
    EXPECT_FALSE(options.input.format || options.input.unit || options.input.up);
    EXPECT_EQ(options.camera.direction, Direction::Iso);
    EXPECT_FALSE(options.camera.azimuth || options.camera.elevation || options.camera.eye);
    EXPECT_FALSE(options.camera.target || options.camera.up || options.camera.fitObject);
    EXPECT_EQ(options.camera.roll, 0.0);
    EXPECT_EQ(options.camera.projection, Projection::Orthographic);
    EXPECT_EQ(options.camera.fieldOfView, 30.0);
    EXPECT_EQ(options.camera.zoom, 1.0);
    EXPECT_FALSE(options.camera.scale.has_value());
    EXPECT_EQ(options.page.size.width, 210.0);
    EXPECT_EQ(options.page.size.height, 297.0);
    EXPECT_EQ(options.page.margin, 10.0);
    EXPECT_TRUE(options.lines.silhouettes && options.lines.creases && options.lines.intersections);
    EXPECT_FALSE(options.lines.hidden || options.input.surface.creaseAngle);
    EXPECT_EQ(options.lines.minLength, 0.02);
    EXPECT_EQ(options.output.path, "o.svg");
    EXPECT_EQ(options.output.format, OutputFormat::Svg);
    EXPECT_EQ(options.lines.layering, Layering::None);
    EXPECT_FALSE(options.lines.arcTolerance.has_value());
    EXPECT_EQ(options.output.dotsPerInch, 300.0);
    EXPECT_FALSE(options.output.title || options.output.description);
    EXPECT_FALSE(options.messages.verbose || options.messages.quiet);
    EXPECT_FALSE(options.messages.json || options.messages.timing);
}

TEST(ParseCommandLine, ReadsInputs) {
    const DrawingOptions options =
        ParseAs<DrawCommand>({"a.stl", "--occluder", "b.stl", "c.stl", "--occluder=d.stl", "--unit",
                              "in", "--up", "z", "-o", "o.svg"})
            .options;
    EXPECT_EQ(options.input.models, (Arguments{"a.stl", "c.stl"}));
    EXPECT_EQ(options.input.occluders, (Arguments{"b.stl", "d.stl"}));
    EXPECT_EQ(options.input.unit, LengthUnit::Inch);
    EXPECT_EQ(options.input.up, UpAxis::Z);
}

TEST(ParseCommandLine, ReadsEveryUnitAndAxis) {
    EXPECT_EQ(Draw({"--unit", "mm"}).input.unit, LengthUnit::Millimetre);
    EXPECT_EQ(Draw({"--unit", "cm"}).input.unit, LengthUnit::Centimetre);
    EXPECT_EQ(Draw({"--unit", "m"}).input.unit, LengthUnit::Metre);
    EXPECT_EQ(Draw({"--up", "x"}).input.up, UpAxis::X);
    EXPECT_EQ(Draw({"--up", "y"}).input.up, UpAxis::Y);
    ExpectRefused("--unit", {"ft", "", "MM", "1"});
    ExpectRefused("--up", {"w", "", "-z"});
}

TEST(ParseCommandLine, ReadsHowFarSurfacesAreWelded) {
    using Mode = ctr::Welding::Mode;
    EXPECT_EQ(Draw({}).input.surface.weld.mode, Mode::Automatic);
    EXPECT_EQ(Draw({"--weld", "auto"}).input.surface.weld.mode, Mode::Automatic);
    EXPECT_EQ(Draw({"--weld", "off"}).input.surface.weld.mode, Mode::Off);
    EXPECT_EQ(Draw({"--weld", "0.05"}).input.surface.weld.mode, Mode::Distance);
    EXPECT_EQ(Draw({"--weld", "0.05"}).input.surface.weld.distance, 0.05);
    EXPECT_EQ(Draw({"--weld", "2cm"}).input.surface.weld.distance, 20.0);
    ExpectRefused("--weld", {"0", "-1", "", "on", "Auto", "nan", "1e7"});
}

TEST(ParseCommandLine, ReadsWhatReadingMayTake) {
    const kxcontour::ReadRules plain = Draw({}).input.reading;
    EXPECT_EQ(plain.sideFiles, "");
    EXPECT_EQ(plain.largestInput, 2'000'000'000U);
    EXPECT_EQ(plain.time, std::chrono::seconds(60));
    EXPECT_EQ(Draw({"--side-files", "parts"}).input.reading.sideFiles, "parts");
    EXPECT_EQ(Draw({"--max-input", "500MB"}).input.reading.largestInput, 500'000'000U);
    EXPECT_EQ(Draw({"--max-input", "3"}).input.reading.largestInput, 3U);
    EXPECT_EQ(Draw({"--read-limit", "0"}).input.reading.time, std::chrono::seconds(0));
    EXPECT_EQ(Draw({"--read-limit", "1.5"}).input.reading.time, std::chrono::milliseconds(1500));
    EXPECT_EQ(Draw({"--read-limit", "1e-9"}).input.reading.time, std::chrono::milliseconds(1));
    EXPECT_TRUE(Holds(Refusal({"--side-files", ""}), "--side-files has an empty folder name"));
    ExpectRefused("--max-input", {"", "0", "-1", "much", "2GiB", "1e30"});
    ExpectRefused("--read-limit", {"", "-1", "nan", "inf", "1e7", "60s"});
}

TEST(ParseCommandLine, ReadsStandardInputWithItsFormat) {
    for (const char* text : {"stl", ".stl", "STL"}) {
        const DrawingOptions options =
            ParseAs<DrawCommand>({"-", "--format", text, "-o", "o.svg"}).options;
        EXPECT_EQ(options.input.models, Arguments{"-"});
        EXPECT_EQ(options.input.format, "stl");
    }
    EXPECT_TRUE(Holds(RefusalOf({"-", "-o", "o.svg"}), "'-' is standard input and needs --format"));
    EXPECT_TRUE(Holds(RefusalOf({"-", "-", "--format", "stl", "-o", "o.svg"}), "only once"));
    EXPECT_TRUE(
        Holds(RefusalOf({"-", "--occluder", "-", "--format", "stl", "-o", "o.svg"}), "only once"));
    EXPECT_TRUE(Holds(Refusal({"--format", "stl"}), "--format is for standard input"));
    ExpectRefused("--format", {"", ".", "a/b", "*"});
}

TEST(ParseCommandLine, TakesFilesWithOddNames) {
    EXPECT_EQ(ParseAs<DrawCommand>({"-o", "o.svg", "--", "--view"}).options.input.models,
              Arguments{"--view"});
    EXPECT_EQ(
        ParseAs<DrawCommand>({"two words.obj", "[a,b].stl", "-o", "o.svg"}).options.input.models,
        (Arguments{"two words.obj", "[a,b].stl"}));
}

TEST(ParseCommandLine, SaysWhichFileIsMissing) {
    EXPECT_TRUE(Holds(RefusalOf({}), "no model given"));
    EXPECT_TRUE(Holds(RefusalOf({"m.obj"}), "no output given; use -o"));
    EXPECT_TRUE(Holds(RefusalOf({"-o", "o.svg"}), "no model given"));
    EXPECT_TRUE(Holds(RefusalOf({"", "-o", "o.svg"}), "no model given"));
    EXPECT_TRUE(Holds(RefusalOf({"a.stl", "", "-o", "o.svg"}), "a model has an empty"));
    EXPECT_TRUE(Holds(RefusalOf({"m.obj", "-o", ""}), "no output given"));
    EXPECT_TRUE(Holds(Refusal({"--occluder", ""}), "--occluder has an empty"));
}

TEST(ParseCommandLine, ReadsDirections) {
    const kxcontour::CameraRequest camera =
        Draw({"--view", "top", "--azimuth", "-30.5", "--elevation=-90", "--roll", "1e2"}).camera;
    EXPECT_EQ(camera.direction, Direction::Top);
    EXPECT_EQ(camera.azimuth, -30.5);
    EXPECT_EQ(camera.elevation, -90.0);
    EXPECT_EQ(camera.roll, 100.0);
    EXPECT_TRUE(Holds(Refusal({"--view", "frnt"}), "did you mean 'front'?"));
    ExpectRefused("--azimuth", {"", "x", "nan", "inf", "30deg", "1,5", " 1", "1e999"});
    ExpectRefused("--elevation", {"", "90.1", "-91", "nan"});
    ExpectRefused("--roll", {"", "left", "-inf"});
}

TEST(ParseCommandLine, ReadsViewsByName) {
    const std::pair<const char*, Direction> views[] = {
        {"front", Direction::Front}, {"back", Direction::Back}, {"left", Direction::Left},
        {"right", Direction::Right}, {"top", Direction::Top},   {"bottom", Direction::Bottom},
        {"iso", Direction::Iso}};
    for (const auto& [name, direction] : views) {
        EXPECT_EQ(Draw({"--view", name}).camera.direction, direction) << name;
    }
    EXPECT_TRUE(Holds(Refusal({"--view", "botom"}), "'botom'"));
    EXPECT_TRUE(Holds(Refusal({"--view", "botom"}), "did you mean 'bottom'?"));
    EXPECT_FALSE(Holds(Refusal({"--view", "perspective"}), "mean"));
    ExpectRefused("--view", {""});
}

TEST(ParseCommandLine, ReadsPointsOfTheCamera) {
    const kxcontour::CameraRequest camera =
        Draw({"--camera-position", "-1,2.5,3e2", "--camera-focal-point", "0,0,0",
              "--camera-view-up", "0,0,1"})
            .camera;
    EXPECT_EQ(camera.eye, (Vector{-1.0, 2.5, 300.0}));
    EXPECT_EQ(camera.target, (Vector{0.0, 0.0, 0.0}));
    EXPECT_EQ(camera.up, (Vector{0.0, 0.0, 1.0}));
    for (const char* option : {"--camera-position", "--camera-focal-point", "--camera-view-up"}) {
        ExpectRefused(option, {"", "1", "1,2", "1,2,3,4", "1,2,", "1,2,nan", "1;2;3", "1, 2, 3"});
    }
    EXPECT_TRUE(Holds(Refusal({"--camera-view-up", "0,0,0"}), "has no direction"));
    EXPECT_TRUE(Holds(Refusal({"--camera-position", "1,2,3", "--camera-focal-point", "1,2,3.0"}),
                      "the same point"));
}

TEST(ParseCommandLine, ReadsTheLens) {
    const kxcontour::CameraRequest camera =
        Draw({"--projection", "perspective", "--fov", "45", "--fit", "Wheel", "--zoom", "1.5"})
            .camera;
    EXPECT_EQ(camera.projection, Projection::Perspective);
    EXPECT_EQ(camera.fieldOfView, 45.0);
    EXPECT_EQ(camera.fitObject, "Wheel");
    EXPECT_EQ(camera.zoom, 1.5);
    EXPECT_FALSE(Draw({"--fit", "all"}).camera.fitObject.has_value());
    ExpectRefused("--projection", {"", "parallel"});
    EXPECT_TRUE(Holds(Refusal({"--projection", "perspectiv"}), "'perspective'?"));
    ExpectRefused("--zoom", {"", "0", "-1", "nan", "inf"});
    for (const char* value : {"0", "170", "-1", "nan"}) {
        EXPECT_TRUE(Holds(Refusal({"--projection", "perspective", "--fov", value}), value));
    }
    EXPECT_TRUE(Holds(Refusal({"--fov", "40"}), "--fov needs --projection perspective"));
    EXPECT_TRUE(Holds(Refusal({"--fit", ""}), "--fit has an empty name"));
}

TEST(ParseCommandLine, ReadsScales) {
    EXPECT_EQ(Draw({"--scale", "1:2"}).camera.scale, 0.5);
    EXPECT_EQ(Draw({"--scale", "2:1"}).camera.scale, 2.0);
    EXPECT_EQ(Draw({"--scale", "0.25"}).camera.scale, 0.25);
    EXPECT_EQ(Draw({"--scale", "1:2.5"}).camera.scale, 0.4);
    ExpectRefused("--scale", {"", "0", "1:0", "0:1", "-1:2", "-1:-2", "1:", ":2", "1:2:3", "1/2",
                              "nan", "inf", "1:inf", "1e300:1e-300", "half"});
}

TEST(ParseCommandLine, RefusesScalesWithWhatHasNone) {
    EXPECT_TRUE(Holds(Refusal({"--scale", "1:2", "--projection", "perspective"}), "orthographic"));
    EXPECT_TRUE(Holds(Refusal({"--scale", "1:2", "--zoom", "2"}), "--scale and --zoom"));
    EXPECT_TRUE(Holds(Refusal({"--scale", "1:2", "--fov", "30"}), "--scale and --fov"));
    EXPECT_TRUE(Holds(Refusal({"--scale", "1:2", "--fov", "30", "--projection", "perspective"}),
                      "--scale"));
}

TEST(ParseCommandLine, ReadsPages) {
    const kxcontour::PageOptions page =
        Draw({"--page", "8.5x11in", "--landscape", "--margin", "1cm"}).page;
    EXPECT_DOUBLE_EQ(page.size.width, 279.4);
    EXPECT_DOUBLE_EQ(page.size.height, 215.9);
    EXPECT_EQ(page.margin, 10.0);
    EXPECT_EQ(Draw({"--margin", "0"}).page.margin, 0.0);
    EXPECT_DOUBLE_EQ(Draw({"--margin", "36pt"}).page.margin, 12.7);
    EXPECT_DOUBLE_EQ(Draw({"--margin", "0.5in"}).page.margin, 12.7);
    ExpectRefused("--page", {"", "B4", "100", "100x", "0x0"});
    ExpectRefused("--margin", {"", "-1", "5km", "mm", "nan", "inf", "5 mm"});
}

TEST(ParseCommandLine, ReadsSheetsOfSeveralViews) {
    EXPECT_TRUE(Draw({}).page.views.empty());
    const kxcontour::PageOptions page =
        Draw({"--sheet", "front,top,iso", "--arrangement", "third-angle"}).page;
    EXPECT_EQ(page.views,
              (std::vector<Direction>{Direction::Front, Direction::Top, Direction::Iso}));
    EXPECT_EQ(page.arrangement, kxcontour::Arrangement::ThirdAngle);
    EXPECT_EQ(Draw({"--sheet", "front"}).page.arrangement, kxcontour::Arrangement::FirstAngle);
    EXPECT_TRUE(Holds(Refusal({"--sheet", "front,tpo"}), "'top'?"));
    EXPECT_TRUE(Holds(Refusal({"--sheet", "top,top"}), "twice"));
    EXPECT_TRUE(Holds(Refusal({"--sheet", "top", "--view", "top"}), "--sheet and --view"));
    EXPECT_TRUE(Holds(Refusal({"--sheet", "top", "--azimuth", "1"}), "--sheet and --azimuth"));
    EXPECT_TRUE(Holds(Refusal({"--sheet", "top", "--projection", "perspective"}), "orthographic"));
    EXPECT_TRUE(Holds(RefusalOf({"m", "-o", "{view}.svg", "--views", "top", "--sheet", "top"}),
                      "--views and --sheet cannot be combined"));
    EXPECT_EQ(Refusal({"--arrangement", "third-angle"}), "--arrangement needs --sheet");
    EXPECT_TRUE(Holds(RefusalOf({"m", "-o", "o.json", "--sheet", "top"}), "has no JSON output"));
    ExpectRefused("--arrangement", {"", "third"});
}

TEST(ParseCommandLine, RefusesPagesWithoutRoomInsideTheMargin) {
    EXPECT_EQ(
        Refusal({"--page", "20x100"}),
        "page '20x100' leaves no room inside its margin of 10 mm; each side must exceed 20 mm");
    EXPECT_EQ(Refusal({"--margin", "105"}),
              "page 'A4' leaves no room inside its margin of 105 mm; each side must exceed 210 mm");
    EXPECT_EQ(Draw({"--page", "20.5x100"}).page.size.width, 20.5);
    EXPECT_EQ(Draw({"--page", "5x5", "--margin", "2.4"}).page.margin, 2.4);
}

TEST(ParseCommandLine, ReadsFamilies) {
    const kxcontour::LineOptions crease = Draw({"--lines", "crease"}).lines;
    EXPECT_TRUE(crease.creases);
    EXPECT_FALSE(crease.silhouettes || crease.intersections);
    const kxcontour::LineOptions two = Draw({"--lines", "intersections,silhouettes"}).lines;
    EXPECT_TRUE(two.silhouettes && two.intersections);
    EXPECT_FALSE(two.creases);
    EXPECT_TRUE(Holds(Refusal({"--lines", "silhouete"}), "'silhouette'?"));
    ExpectRefused("--lines", {"", "edges"});
    EXPECT_TRUE(Holds(Refusal({"--lines", "crease,"}), "''"));
}

TEST(ParseCommandLine, ReadsLines) {
    const kxcontour::DrawingOptions options =
        Draw({"--crease-angle", "179.99", "--hidden", "--min-length", "0.5mm", "--style",
              "crease.width=1,hidden.dash=2/1", "--style", "crease.width=0.3mm"});
    const kxcontour::LineOptions& lines = options.lines;
    EXPECT_EQ(options.input.surface.creaseAngle, 179.99);
    EXPECT_TRUE(lines.hidden);
    EXPECT_EQ(lines.minLength, 0.5);
    EXPECT_EQ(lines.styles.crease.width, 0.3) << "the later one";
    EXPECT_EQ(lines.styles.hidden.dashes, (std::vector<double>{2.0, 1.0}));
    ExpectRefused("--crease-angle",
                  {"0", "180", "-5", "200", "nan", "inf", "30deg", "", "abc", "3,5"});
    ExpectRefused("--min-length", {"", "-1", "x", "nan"});
    EXPECT_TRUE(Holds(Refusal({"--style", "creese.width=1"}), "'crease'?"));
}

TEST(ParseCommandLine, KnowsTheFormatByTheEndingOfTheOutput) {
    const auto format = [](const std::string& output) {
        return ParseAs<DrawCommand>({"m.obj", "-o", output}).options.output.format;
    };
    EXPECT_EQ(format("o.svg"), OutputFormat::Svg);
    EXPECT_EQ(format("a/b.c/o.PDF"), OutputFormat::Pdf);
    EXPECT_EQ(format("o.Png"), OutputFormat::Png);
    EXPECT_EQ(format("o.dxf"), OutputFormat::Dxf);
    EXPECT_EQ(format("o.json"), OutputFormat::Json);
    EXPECT_EQ(format("-"), OutputFormat::Svg);
    for (const char* output : {"o", "o.txt", "o.svg.gz", ".svg", "a.svg/o"}) {
        EXPECT_TRUE(Holds(RefusalOf({"m.obj", "-o", output}), "does not end in .svg")) << output;
    }
}

TEST(ParseCommandLine, TakesTheFormatFromTheOptionWhereTheNameSaysNone) {
    const auto format = [](const std::string& output, const std::string& name) {
        return ParseAs<DrawCommand>({"m.obj", "-o", output, "--output-format", name})
            .options.output.format;
    };
    EXPECT_EQ(format("-", "dxf"), OutputFormat::Dxf);
    EXPECT_EQ(format("o", "png"), OutputFormat::Png);
    EXPECT_EQ(format("o.txt", "json"), OutputFormat::Json);
    EXPECT_EQ(format("o.pdf", "pdf"), OutputFormat::Pdf);
    EXPECT_TRUE(Holds(Refusal({"--output-format", "pdf"}), "contradict"));
    ExpectRefused("--output-format", {"", "gif", "SVG"});
}

TEST(ParseCommandLine, PutsTheViewIntoTheNameOfTheOutput) {
    EXPECT_EQ(ParseAs<DrawCommand>({"m.obj", "--view", "top", "-o", "{view}/{view}.svg"})
                  .options.output.path,
              "top/top.svg");
}

TEST(ParseCommandLine, ReadsLayers) {
    EXPECT_EQ(Draw({"--layers", "type"}).lines.layering, Layering::Type);
    EXPECT_EQ(Draw({"--layers", "object"}).lines.layering, Layering::Object);
    EXPECT_EQ(Draw({"--layers", "none"}).lines.layering, Layering::None);
    EXPECT_TRUE(Holds(Refusal({"--layers", "objct"}), "'object'?"));
    for (const char* output : {"o.pdf", "o.png", "o.json"}) {
        EXPECT_EQ(RefusalOf({"m.obj", "-o", output, "--layers", "type"}),
                  "--layers is for SVG and DXF only");
    }
    EXPECT_EQ(
        ParseAs<DrawCommand>({"m.obj", "-o", "o.dxf", "--layers", "object"}).options.lines.layering,
        Layering::Object);
}

TEST(ParseCommandLine, ReadsArcs) {
    const auto tolerance = [](const Arguments& more) {
        Arguments arguments{"m.obj"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return ParseAs<DrawCommand>(arguments).options.lines.arcTolerance;
    };
    EXPECT_EQ(tolerance({"-o", "o.svg", "--arcs"}), 0.01);
    EXPECT_EQ(tolerance({"-o", "o.pdf", "--arcs", "--arc-tolerance", "0.1mm"}), 0.1);
    EXPECT_EQ(tolerance({"-o", "o.dxf"}), 0.05) << "always";
    EXPECT_EQ(tolerance({"-o", "o.dxf", "--arc-tolerance", "0.2"}), 0.2);
    EXPECT_EQ(tolerance({"-o", "o.dxf", "--projection", "perspective"}), std::nullopt);
    for (const char* output : {"o.png", "o.json"}) {
        EXPECT_TRUE(Holds(RefusalOf({"m.obj", "-o", output, "--arcs"}), "--arcs is for"));
    }
    EXPECT_TRUE(Holds(Refusal({"--arcs", "--projection", "perspective"}), "orthographic"));
    EXPECT_TRUE(Holds(Refusal({"--arc-tolerance", "0.1"}), "--arc-tolerance needs --arcs"));
    for (const char* value : {"0", "-1", "10.1", "x", ""}) {
        EXPECT_TRUE(Holds(Refusal({"--arcs", "--arc-tolerance", value}), "arc tolerance '"));
    }
}

TEST(ParseCommandLine, ReadsTheResolutionOfPng) {
    EXPECT_EQ(
        ParseAs<DrawCommand>({"m.obj", "-o", "o.png", "--dpi", "96"}).options.output.dotsPerInch,
        96.0);
    EXPECT_EQ(Refusal({"--dpi", "96"}), "--dpi is for PNG only");
    for (const char* value : {"0", "9601", "nan", "", "300dpi"}) {
        EXPECT_TRUE(Holds(RefusalOf({"m.obj", "-o", "o.png", "--dpi", value}), "resolution '"));
    }
}

TEST(ParseCommandLine, ReadsTexts) {
    const kxcontour::OutputOptions output = Draw({"--title", "", "--description", "D & E"}).output;
    EXPECT_EQ(output.title, "") << "empty, but given";
    EXPECT_EQ(output.description, "D & E");
}

TEST(ParseCommandLine, ReadsWhatIsSaid) {
    const kxcontour::MessageOptions some = Draw({"-v", "--json", "--timing"}).messages;
    EXPECT_TRUE(some.verbose && some.json && some.timing);
    EXPECT_TRUE(Draw({"-q"}).messages.quiet);
    EXPECT_TRUE(Draw({"--quiet"}).messages.quiet);
    EXPECT_EQ(Refusal({"-q", "--verbose"}), "--quiet and --verbose cannot be combined");
    EXPECT_TRUE(Holds(RefusalOf({"m.obj", "-o", "-", "--json"}), "standard output"));
}

TEST(ParseCommandLine, RefusesAnOutputThatIsAnInput) {
    EXPECT_EQ(RefusalOf({"a.svg", "-o", "./a.svg"}),
              "./a.svg: is an input; the drawing would overwrite it");
    EXPECT_TRUE(Holds(Refusal({"--occluder", "x/../o.svg"}), "is an input"));
}

TEST(ParseCommandLine, AsksForInformation) {
    const InfoCommand info =
        ParseAs<InfoCommand>({"a.stl", "b.stl", "--info", "--unit", "cm", "--weld", "3mm"});
    EXPECT_EQ(info.input.surface.weld.distance, 3.0);
    EXPECT_EQ(info.input.models, (Arguments{"a.stl", "b.stl"}));
    EXPECT_EQ(info.input.unit, LengthUnit::Centimetre);
    EXPECT_TRUE(ParseAs<InfoCommand>({"a.stl", "--info", "--json"}).messages.json);
    EXPECT_TRUE(Holds(RefusalOf({"--info"}), "no model given"));
}

TEST(ParseCommandLine, NamesTheNearestOption) {
    EXPECT_EQ(Refusal({"--veiw", "top"}), "unknown option '--veiw'; did you mean '--view'?");
    EXPECT_EQ(Refusal({"--pgae=A3"}), "unknown option '--pgae'; did you mean '--page'?");
    EXPECT_EQ(Refusal({"-view", "top"}), "unknown option '-view'; did you mean '--view'?");
    EXPECT_TRUE(Holds(RefusalOf({"m.obj", "--creaseangle", "3"}), "'--crease-angle'?"))
        << "before missing files";
    EXPECT_EQ(Refusal({"--wireframe"}), "unknown option '--wireframe'; see --help");
    for (const kxcontour::OptionInfo& option : kxcontour::OptionTable()) {
        const std::string name = option.name;
        if (name != "model" && name.size() > 4) {
            const std::string misspelt = "--" + name.substr(0, 2) + name.substr(3);
            EXPECT_TRUE(Holds(Refusal({misspelt}), "did you mean '--")) << misspelt;
        }
    }
}

TEST(ParseCommandLine, RefusesOptionsWithoutOrWithTooManyValues) {
    EXPECT_EQ(RefusalOf({"m.obj", "-o"}), "--output needs a value: --output OUT");
    EXPECT_EQ(Refusal({"--view"}), "--view needs a value: --view NAME");
    EXPECT_EQ(Refusal({"-o", "b.svg"}), "--output is given more than once");
    EXPECT_EQ(Refusal({"--view", "top", "--view", "top"}), "--view is given more than once");
    EXPECT_EQ(Refusal({"--landscape=yes"}), "--landscape takes no value");
}

TEST(ParseCommandLine, TakesAnEmptyValueBehindTheSign) {
    const DrawingOptions options =
        ParseAs<DrawCommand>({"--title=", "m.obj", "-o", "o.svg"}).options;
    EXPECT_EQ(options.output.title, "");
    EXPECT_EQ(options.input.models, Arguments{"m.obj"});
    EXPECT_EQ(Draw({"--title", "--page="}).output.title, "--page=") << "a value is a value";
}

/// Writes decimals with a comma, as many locales do.
class CommaNumbers : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
};

TEST(ParseCommandLine, ReadsTheSameInEveryLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaNumbers));
    const DrawingOptions options = Draw({"--margin", "5.5", "--zoom", "1.5"});
    const std::string message = Refusal({"--margin", "120.5"});
    std::locale::global(before);
    EXPECT_EQ(options.page.margin, 5.5);
    EXPECT_EQ(options.camera.zoom, 1.5);
    EXPECT_TRUE(Holds(message, "120.5 mm")) << message;
}

TEST(Views, MakeABatch) {
    const BatchCommand batch =
        ParseAs<BatchCommand>({"m.obj", "--views", "front,top", "-o", "o-{view}.svg", "--jobs", "3",
                               "--force", "--hidden", "--state", "s"});
    ASSERT_EQ(batch.jobs.size(), 2U);
    EXPECT_EQ(batch.jobs[0].options.camera.direction, Direction::Front);
    EXPECT_EQ(batch.jobs[0].options.output.path, "o-front.svg");
    EXPECT_EQ(batch.jobs[0].name, "o-front.svg");
    EXPECT_EQ(batch.jobs[1].options.camera.direction, Direction::Top);
    EXPECT_EQ(batch.jobs[1].options.output.path, "o-top.svg");
    EXPECT_TRUE(batch.jobs[1].options.lines.hidden);
    EXPECT_EQ(batch.threads, 3U);
    EXPECT_TRUE(batch.force);
    EXPECT_EQ(batch.statePath, "s");
}

TEST(Views, HaveDefaultsOfTheBatch) {
    const BatchCommand batch =
        ParseAs<BatchCommand>({"m.obj", "--views", "iso", "-o", "{view}.svg"});
    EXPECT_GE(batch.threads, 1U);
    EXPECT_LE(batch.threads, 256U);
    EXPECT_FALSE(batch.force);
    EXPECT_EQ(batch.statePath, "");
}

TEST(Views, AreChecked) {
    EXPECT_TRUE(Holds(Refusal({"--views", "front"}), "must contain {view}"));
    const Arguments start{"m.obj", "-o", "{view}.svg", "--views"};
    const auto refusal = [&](const Arguments& more) {
        Arguments arguments = start;
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RefusalOf(arguments);
    };
    EXPECT_TRUE(Holds(refusal({"front,tpo"}), "'top'?"));
    EXPECT_TRUE(Holds(refusal({"front,front"}), "twice"));
    EXPECT_TRUE(Holds(refusal({""}), "unknown view ''"));
    EXPECT_TRUE(Holds(refusal({"front", "--view", "top"}), "--views and --view"));
    EXPECT_TRUE(Holds(refusal({"front", "--azimuth", "3"}), "--views and --azimuth"));
    EXPECT_TRUE(Holds(refusal({"front", "--camera-position", "1,2,3"}), "cannot be combined"));
    for (const char* value : {"0", "257", "-1", "1.5", "", "many"}) {
        EXPECT_TRUE(Holds(refusal({"front", "--jobs", value}), "from 1 to 256")) << value;
    }
    EXPECT_TRUE(Holds(refusal({"front", "--state", "front.svg"}), "state 'front.svg'"));
    EXPECT_TRUE(Holds(RefusalOf({"-", "--format", "stl", "--views", "top", "-o", "{view}.svg"}),
                      "a batch cannot read standard input"));
    EXPECT_TRUE(Holds(RefusalOf({"m.obj", "--views", "top"}), "no output given"));
}

TEST(Views, AloneHaveOptionsOfBatches) {
    EXPECT_TRUE(Holds(Refusal({"--jobs", "2"}), "--jobs is for batches"));
    EXPECT_TRUE(Holds(Refusal({"--force"}), "--force is for batches"));
    EXPECT_TRUE(Holds(Refusal({"--state", "s"}), "--state is for batches"));
}

/// The first drawing of a command line.
DrawingOptions FirstDrawing(const Arguments& arguments) {
    std::ostringstream out;
    const std::optional<kxcontour::Command> command = kxcontour::ParseCommandLine(arguments, out);
    if (const auto* batch = command ? std::get_if<BatchCommand>(&*command) : nullptr) {
        EXPECT_EQ(batch->jobs.front().signature, SignatureOf(batch->jobs.front().options));
        return batch->jobs.front().options;
    }
    return std::get<DrawCommand>(command.value()).options;
}

/// Arguments that differ in one option only.
struct Change {
    Arguments before;
    Arguments after;
};

Change Adding(Arguments more) {
    Arguments before{"m.obj", "-o", "o.svg"};
    more.insert(more.begin(), before.begin(), before.end());
    return {before, more};
}

/// At least one change per option.
std::multimap<std::string, Change> ChangesOfEveryOption() {
    const Arguments views{"m.obj", "-o", "{view}.svg", "--views", "top"};
    const auto batch = [&](const Arguments& more) {
        Arguments after = views;
        after.insert(after.end(), more.begin(), more.end());
        return Change{views, after};
    };
    return {{"model", {{"a.obj", "-o", "o.svg"}, {"b.obj", "-o", "o.svg"}}},
            {"model", Adding({"n.obj"})},
            {"occluder", Adding({"--occluder", "b"})},
            {"format",
             {{"-", "-o", "o.svg", "--format", "stl"}, {"-", "-o", "o.svg", "--format", "obj"}}},
            {"unit", Adding({"--unit", "cm"})},
            {"up", Adding({"--up", "z"})},
            {"weld", Adding({"--weld", "off"})},
            {"weld", Adding({"--weld", "0.1"})},
            {"side-files", Adding({"--side-files", "parts"})},
            {"max-input", Adding({"--max-input", "1GB"})},
            {"read-limit", Adding({"--read-limit", "9"})},
            {"view", Adding({"--view", "top"})},
            {"azimuth", Adding({"--azimuth", "30"})},
            {"elevation", Adding({"--elevation", "30"})},
            {"roll", Adding({"--roll", "1"})},
            {"camera-position", Adding({"--camera-position", "1,2,3"})},
            {"camera-focal-point", Adding({"--camera-focal-point", "1,2,3"})},
            {"camera-view-up", Adding({"--camera-view-up", "1,2,3"})},
            {"projection", Adding({"--projection", "perspective"})},
            {"fov",
             {{"m.obj", "-o", "o.svg", "--projection", "perspective"},
              {"m.obj", "-o", "o.svg", "--projection", "perspective", "--fov", "50"}}},
            {"fit", Adding({"--fit", "A"})},
            {"zoom", Adding({"--zoom", "2"})},
            {"page", Adding({"--page", "A3"})},
            {"landscape", Adding({"--landscape"})},
            {"margin", Adding({"--margin", "1"})},
            {"scale", Adding({"--scale", "1:2"})},
            {"sheet", Adding({"--sheet", "front,top"})},
            {"arrangement",
             {{"m.obj", "-o", "o.svg", "--sheet", "front,top"},
              {"m.obj", "-o", "o.svg", "--sheet", "front,top", "--arrangement", "third-angle"}}},
            {"title", Adding({"--title", ""})},
            {"description", Adding({"--description", "x"})},
            {"lines", Adding({"--lines", "silhouette,intersection"})},
            {"lines", Adding({"--lines", "crease,intersection"})},
            {"lines", Adding({"--lines", "crease,silhouette"})},
            {"crease-angle", Adding({"--crease-angle", "20"})},
            {"hidden", Adding({"--hidden"})},
            {"style", Adding({"--style", "crease.width=1"})},
            {"style", Adding({"--style", "hidden.dash=3/1"})},
            {"style", Adding({"--style", "silhouette.color=red"})},
            {"style", Adding({"--style", "intersection.width=3"})},
            {"min-length", Adding({"--min-length", "1"})},
            {"output", {{"m.obj", "-o", "a.svg"}, {"m.obj", "-o", "b.svg"}}},
            {"output-format",
             {{"m.obj", "-o", "o", "--output-format", "pdf"},
              {"m.obj", "-o", "o", "--output-format", "svg"}}},
            {"layers", Adding({"--layers", "object"})},
            {"arcs", Adding({"--arcs"})},
            {"arc-tolerance",
             {{"m.obj", "-o", "o.svg", "--arcs"},
              {"m.obj", "-o", "o.svg", "--arcs", "--arc-tolerance", "0.2"}}},
            {"dpi", {{"m.obj", "-o", "o.png"}, {"m.obj", "-o", "o.png", "--dpi", "96"}}},
            {"views", {views, {"m.obj", "-o", "{view}.svg", "--views", "front"}}},
            {"jobs", batch({"--jobs", "2"})},
            {"force", batch({"--force"})},
            {"state", batch({"--state", "s"})},
            {"verbose", Adding({"--verbose"})},
            {"quiet", Adding({"--quiet"})},
            {"json", Adding({"--json"})},
            {"timing", Adding({"--timing"})}};
}

TEST(Signature, ChangesWithEveryOptionThatDrawingsDependOn) {
    const std::multimap<std::string, Change> changes = ChangesOfEveryOption();
    const std::set<std::string> noDrawing{"info", "config", "help", "version"};
    const std::set<std::string> sameDrawing{"max-input", "read-limit", "jobs", "force", "state",
                                            "verbose",   "quiet",      "json", "timing"};
    for (const kxcontour::OptionInfo& option : kxcontour::OptionTable()) {
        const auto [first, last] = changes.equal_range(option.name);
        EXPECT_EQ(first == last, noDrawing.count(option.name) > 0) << option.name;
        for (auto change = first; change != last; ++change) {
            const std::string before = SignatureOf(FirstDrawing(change->second.before));
            const std::string after = SignatureOf(FirstDrawing(change->second.after));
            EXPECT_EQ(before == after, sameDrawing.count(option.name) > 0) << option.name;
        }
    }
}

TEST(Signature, OfScenesChangesWithWhatIsReadOnly) {
    const std::set<std::string> ofScenes{"model",      "occluder",    "format",     "unit",
                                         "up",         "weld",        "side-files", "max-input",
                                         "read-limit", "crease-angle"};
    for (const auto& [name, change] : ChangesOfEveryOption()) {
        const std::string before = SceneSignatureOf(FirstDrawing(change.before));
        const std::string after = SceneSignatureOf(FirstDrawing(change.after));
        EXPECT_EQ(before != after, ofScenes.count(name) > 0) << name;
    }
}

TEST(Signature, IsTheSameHoweverValuesAreWritten) {
    const Arguments start{"m.obj", "-o", "o.png"};
    const auto signature = [&](const Arguments& more) {
        Arguments arguments = start;
        arguments.insert(arguments.end(), more.begin(), more.end());
        return SignatureOf(FirstDrawing(arguments));
    };
    EXPECT_TRUE(Holds(signature({}), "version="));
    EXPECT_EQ(signature({"--page", "210x297", "--margin", "1cm", "--dpi", "300", "--fit", "all"}),
              signature({}))
        << "defaults, spelt out";
    EXPECT_EQ(signature({"--lines", "crease,silhouette"}),
              signature({"--lines=silhouettes,creases"}));
}

TEST(Signature, TellsTextsApart) {
    const auto signature = [](const Arguments& more) { return SignatureOf(Draw(more)); };
    EXPECT_NE(signature({"--occluder", "a,b"}), signature({"--occluder", "a", "--occluder", "b"}));
    EXPECT_NE(signature({"--occluder", "a','b"}),
              signature({"--occluder", "a", "--occluder", "b"}));
    EXPECT_NE(signature({"--title", "none"}), signature({}));
    EXPECT_NE(signature({"--title", "a b"}), signature({"--title", "a%20b"}));
    EXPECT_NE(signature({"--title", "\xff"}), signature({"--title", "\xfe"}));
}

TEST(Version, IsPrinted) {
    EXPECT_EQ(TextOf({"--version"}).rfind("kxcontour ", 0), 0U);
    EXPECT_EQ(TextOf({"m.obj", "--version"}), TextOf({"--version"}));
}

} // namespace
