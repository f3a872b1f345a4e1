// A command line, a configuration file or a job file from the input, read by the tool: what comes
// back is options within their bounds, the same the second time, or a refusal in one line of
// printable text. Nothing is drawn, and files are read in a folder of the run's own only.
#include "fuzz/FuzzBytes.h"
#include "tool/ModelText.h"
#include "tool/common/Failure.h"
#include "tool/common/PlainText.h"
#include "tool/options/CommandLine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using fuzz::Require;
using kxcontour::BatchCommand;
using kxcontour::BatchJob;
using kxcontour::DrawCommand;
using kxcontour::DrawingOptions;
using kxcontour::InfoCommand;
using Arguments = std::vector<std::string>;

/// The only folder in which files are read.
const tool_test::TemporaryFolder& Folder() {
    static const tool_test::TemporaryFolder folder;
    return folder;
}

bool IsFinite(const std::optional<kxdrawing::Vector>& point) {
    return !point || std::all_of(point->begin(), point->end(),
                                 [](double coordinate) { return std::isfinite(coordinate); });
}

bool IsOver(double low, double value) {
    return std::isfinite(value) && value > low;
}

void CheckStyle(const kxcontour::StrokeStyle& style) {
    constexpr double kWidest = 100.0;
    Require(IsOver(0.0, style.width) && style.width <= kWidest, "a width out of bounds");
    Require(std::all_of(style.dashes.begin(), style.dashes.end(),
                        [](double dash) { return IsOver(0.0, dash) && dash <= kWidest; }),
            "a dash out of bounds");
}

/// Whether a file can have the name.
bool IsPath(const std::string& path) {
    return !path.empty() && path.find('\0') == std::string::npos;
}

void CheckInput(const kxcontour::InputOptions& input) {
    Require(!input.models.empty(), "no model");
    Require(std::all_of(input.models.begin(), input.models.end(), IsPath),
            "a model without a name");
    Require(std::all_of(input.occluders.begin(), input.occluders.end(), IsPath),
            "an occluder without a name");
}

void CheckDrawing(const DrawingOptions& options) {
    CheckInput(options.input);
    const kxcontour::PageOptions& page = options.page;
    Require(IsOver(0.0, page.size.width) && IsOver(0.0, page.size.height), "a page without size");
    Require(page.margin >= 0.0 && 2.0 * page.margin < std::min(page.size.width, page.size.height),
            "a margin that leaves nothing");
    const std::optional<double> angle = options.input.surface.creaseAngle;
    Require(!angle || (IsOver(0.0, *angle) && *angle < 180.0), "an angle out of bounds");
    const kxcontour::LineOptions& lines = options.lines;
    Require(lines.minLength >= 0.0 && std::isfinite(lines.minLength), "a length below zero");
    CheckStyle(lines.styles.crease);
    CheckStyle(lines.styles.silhouette);
    CheckStyle(lines.styles.intersection);
    CheckStyle(lines.styles.hidden);
    const kxcontour::OutputOptions& output = options.output;
    Require(IsPath(output.path), "an output without a name");
    Require(IsOver(0.0, output.dotsPerInch), "a resolution out of bounds");
    Require(!lines.arcTolerance || IsOver(0.0, *lines.arcTolerance), "a tolerance of nothing");
    const kxcontour::CameraRequest& camera = options.camera;
    Require(IsFinite(camera.eye) && IsFinite(camera.target) && IsFinite(camera.up),
            "a camera nowhere");
    Require(!camera.scale || IsOver(0.0, *camera.scale), "a scale of nothing");
}

bool IsPrintable(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < ' ' || letter == '\x7f';
    });
}

/// What a command comes to, in one text that tells it from others.
std::string CheckCommand(const DrawCommand& command) {
    CheckDrawing(command.options);
    return "draw " + command.options.output.path;
}

std::string CheckCommand(const InfoCommand& command) {
    CheckInput(command.input);
    return "info " + command.input.models.front();
}

std::string CheckCommand(const BatchCommand& command) {
    Require(command.threads >= 1 && command.threads <= 256, "a number of threads out of bounds");
    Require(!command.jobs.empty(), "a batch of nothing");
    std::string text = "batch";
    std::set<std::string> outputs;
    for (const BatchJob& job : command.jobs) {
        CheckDrawing(job.options);
        Require(job.options.output.path != "-", "a batch that writes a stream");
        Require(outputs.insert(job.options.output.path).second, "two jobs write one file");
        Require(std::all_of(job.signature.begin(), job.signature.end(),
                            [](char letter) { return letter >= ' ' && letter <= '~'; }),
                "a signature that cannot be kept as text");
        text += "\n" + job.name + "\n" + job.signature;
    }
    return text;
}

/// What arguments come to; everything but options, texts and refusals ends the run.
std::string Read(const Arguments& arguments) {
    std::ostringstream out;
    try {
        const std::optional<kxcontour::Command> command =
            kxcontour::ParseCommandLine(arguments, out);
        Require(command.has_value() != !out.str().empty(), "neither a command nor a text, or both");
        return command ? std::visit([](const auto& what) { return CheckCommand(what); }, *command)
                       : out.str();
    } catch (const kxdrawing::Error& failure) {
        std::string message = kxcontour::PlainText(failure.what());
        Require(!message.empty() && IsPrintable(message), "a message that is no line of text");
        const kxcontour::ExitCode code = kxcontour::FailureOf(failure).code;
        Require(code == kxcontour::ExitCode::Usage || code == kxcontour::ExitCode::Unreadable,
                "a refusal of another kind");
        Require(out.str().empty(), "a text and a refusal");
        return message;
    } catch (const std::exception& error) {
        fuzz::Fail(std::string("an exception that is no refusal: ") + error.what());
    }
}

/// A name as a path in the folder.
std::string InFolder(std::string name) {
    std::replace(name.begin(), name.end(), '/', '.');
    return Folder().path(name);
}

/// One argument a line. As in any process, none holds a zero; files are read in the folder only.
Arguments Lines(std::string_view text) {
    const std::string config = "--config=";
    Arguments arguments;
    std::istringstream stream{std::string(text)};
    for (std::string line; std::getline(stream, line);) {
        line.erase(std::remove(line.begin(), line.end(), '\0'), line.end());
        const bool isBatch = !arguments.empty() && arguments.front() == "batch";
        if ((isBatch && line.rfind('-', 0) != 0) ||
            (!arguments.empty() && arguments.back() == "--config")) {
            line = InFolder(line);
        } else if (line.rfind(config, 0) == 0) {
            line.replace(config.size(), std::string::npos, InFolder(line.substr(config.size())));
        }
        arguments.push_back(line);
    }
    return arguments;
}

Arguments TakeArguments(fuzz::FuzzBytes& bytes) {
    const auto write = [&](const char* name) {
        return Folder().write(name, std::string(bytes.rest()));
    };
    switch (bytes.below(4)) {
    case 0:
        return Lines(bytes.rest());
    case 1:
        return {"m.obj", "-o", "o.svg", "--config", write("a.toml")};
    case 2:
        return {"m.obj", "--config", write("a.json")};
    default:
        return {"batch", write("jobs.json")};
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzBytes bytes(data, size);
    const Arguments arguments = TakeArguments(bytes);
    const std::string once = Read(arguments);
    Require(once == Read(arguments), "another answer the second time");
    return 0;
}
