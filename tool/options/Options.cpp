// The option table, and the checks of what was given.
#include "options/Options.h"

#include <ctr/Version.h>

#include "common/Failure.h"
#include "common/NearestName.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <memory>
#include <system_error>

namespace kxcontour {
namespace {

/// The arguments as they were given, before any of them is looked at.
struct RawOptions {
    std::string model;
    std::string output;
    std::vector<std::string> occluders;
    std::string view = "iso";
    std::string page = "A4";
    std::string creaseAngle;
    std::string title;
    std::string description;
    bool landscape = false;
    bool timing = false;
};

const char* const kFooter = R"(
Examples:
  kxcontour engine.glb -o engine.svg
  kxcontour house.ifc -o front.svg --view front --page A3 --landscape
  kxcontour gear.stl -o gear.svg --crease-angle 20 --occluder housing.stl

Exit codes:
  0  drawn
  1  internal error
  2  wrong usage
  3  a model cannot be read
  4  nothing to draw: no triangles, or nothing visible in the view
  5  the drawing cannot be written
  130  cancelled by Ctrl-C)";

void AddOptions(CLI::App& app, RawOptions& raw) {
    app.add_option("model", raw.model, "The model: glTF, OBJ, STL, PLY, 3MF, FBX, IFC, ...")
        ->type_name("MODEL")
        ->group("Files");
    app.add_option("-o,--output", raw.output, "The drawing to write, an SVG file")
        ->type_name("OUT.svg")
        ->group("Files");
    app.add_option("--occluder", raw.occluders, "A model that hides lines, not drawn (repeatable)")
        ->type_name("FILE")
        ->allow_extra_args(false)
        ->group("Files");
    app.add_option("--view", raw.view, "front, back, left, right, top, bottom or iso")
        ->type_name("VIEW")
        ->capture_default_str()
        ->group("View");
    app.add_option("--page", raw.page, "A0 to A6, letter, legal or WIDTHxHEIGHT in mm")
        ->type_name("PAGE")
        ->capture_default_str()
        ->group("Page");
    app.add_flag("--landscape", raw.landscape, "Turn the page so that it is wider than high")
        ->group("Page");
    app.add_option("--title", raw.title, "The title in the drawing's file")
        ->type_name("TEXT")
        ->group("Page");
    app.add_option("--description", raw.description, "The description in the drawing's file")
        ->type_name("TEXT")
        ->group("Page");
    app.add_option("--crease-angle", raw.creaseAngle,
                   "Draw edges that bend by more than DEG degrees; by default\n"
                   "the normals of the file decide, and 30 where it has none")
        ->type_name("DEG")
        ->group("Lines");
    app.add_flag("--timing", raw.timing, "Print how long each stage took on standard error")
        ->group("Messages");
}

/// The stock formatter cannot know that two files are always needed.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App*, std::string) const override {
        return "Usage: kxcontour MODEL -o OUT.svg [OPTIONS]\n";
    }
};

void SetUp(CLI::App& app, RawOptions& raw) {
    app.allow_extras();
    app.formatter(std::make_shared<HelpFormatter>());
    app.get_formatter()->column_width(28);
    app.footer(kFooter);
    AddOptions(app, raw);
    app.set_help_flag("-h,--help", "Print this help")->group("Messages");
    app.set_version_flag("--version",
                         std::string("kxcontour ") +
                             kxContouringLib::Version::GetDescStringMajorMinorRelease(true))
        ->description("Print the version")
        ->group("Messages");
}

/// The help with one blank line between groups.
std::string Help(const CLI::App& app) {
    std::string text = app.help();
    for (std::size_t at = text.find("\n\n\n"); at != std::string::npos;
         at = text.find("\n\n\n", at)) {
        text.erase(at, 1);
    }
    return text + "\n";
}

std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/// The name of an option without its dashes and its value: "view" for "--view=top".
std::string BareName(const std::string& argument) {
    const std::size_t start = argument.find_first_not_of('-');
    if (start == std::string::npos) {
        return "";
    }
    return argument.substr(start, argument.find('=') - start);
}

[[noreturn]] void RefuseUnknownOption(const CLI::App& app, const std::string& argument) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back(name);
        }
    }
    const std::string nearest = NearestName(BareName(argument), names);
    throw Failure(ExitCode::Usage,
                  "unknown option '" + argument.substr(0, argument.find('=')) + "'" +
                      (nearest.empty() ? "; see --help" : "; did you mean '--" + nearest + "'?"));
}

void RefuseExtras(const CLI::App& app) {
    std::vector<std::string> extras = app.remaining();
    // The mark after which everything is a file, which the parser hands back.
    extras.erase(std::remove(extras.begin(), extras.end(), "--"), extras.end());
    for (const std::string& extra : extras) {
        if (extra.size() > 1 && extra.front() == '-') {
            RefuseUnknownOption(app, extra);
        }
    }
    if (!extras.empty()) {
        throw Failure(ExitCode::Usage,
                      "unexpected argument '" + extras.front() + "'; one model is drawn at a time");
    }
}

void RequireFiles(const RawOptions& raw) {
    if (raw.model.empty()) {
        throw Failure(ExitCode::Usage, "no model given; see --help");
    }
    if (raw.output.empty()) {
        throw Failure(ExitCode::Usage, "no output given; name it with -o OUT.svg");
    }
    if (raw.model == "-" || raw.output == "-") {
        throw Failure(ExitCode::Usage, "'-' is not a file; standard streams are not supported");
    }
    if (std::count(raw.occluders.begin(), raw.occluders.end(), "") > 0) {
        throw Failure(ExitCode::Usage, "--occluder is given an empty file name");
    }
}

double ParseCreaseAngle(const std::string& text) {
    double angle = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, angle);
    // Written so that NaN is refused too.
    if (error != std::errc() || stop != end || !(angle > 0.0 && angle < 180.0)) {
        throw Failure(ExitCode::Usage, "crease angle '" + text +
                                           "' is not a number of degrees over 0 and under 180");
    }
    return angle;
}

Options Checked(const CLI::App& app, const RawOptions& raw) {
    RefuseExtras(app);
    RequireFiles(raw);
    Options options;
    options.model = raw.model;
    options.output = raw.output;
    options.occluders = raw.occluders;
    options.view = ParseView(raw.view);
    options.page = ParsePageSize(raw.page);
    if (raw.landscape) {
        options.page = Landscape(options.page);
    }
    if (app.count("--crease-angle") > 0) {
        options.creaseAngle = ParseCreaseAngle(raw.creaseAngle);
    }
    if (app.count("--title") > 0) {
        options.title = raw.title;
    }
    if (app.count("--description") > 0) {
        options.description = raw.description;
    }
    options.timing = raw.timing;
    return options;
}

} // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::ostream& out) {
    CLI::App app("Draws a 3D model as an exact vector line drawing with hidden lines removed.",
                 "kxcontour");
    RawOptions raw;
    SetUp(app, raw);
    try {
        // The parser takes its arguments last first.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        out << Help(app);
        return std::nullopt;
    } catch (const CLI::CallForVersion& version) {
        out << version.what() << '\n';
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        RefuseExtras(app);
        throw Failure(ExitCode::Usage, OneLine(error.what()) + "; see --help");
    }
    return Checked(app, raw);
}

} // namespace kxcontour
