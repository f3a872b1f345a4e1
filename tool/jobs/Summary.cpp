// Turns reports into lines of text or JSON.
#include "tool/jobs/Summary.h"

#include "tool/common/PlainText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace kxcontour {
namespace {

std::string Count(std::size_t count, const char* singular) {
    return fmt::format("{} {}{}", count, singular, count == 1 ? "" : "s");
}

nlohmann::ordered_json ToJson(const DrawingReport& report) {
    nlohmann::ordered_json json;
    json["output"] = report.output;
    json["page"] = {{"width", report.page.width}, {"height", report.page.height}};
    json["paths"] = report.lines.paths;
    json["lines"] = report.lines.lines;
    json["scale"] = report.scale ? nlohmann::ordered_json(*report.scale) : nullptr;
    json["fits"] = report.overflow.empty();
    return json;
}

/// "1:2", "2:1", "1:3.274".
std::string ScaleText(double scale) {
    return scale < 1.0 ? fmt::format("1:{:.4g}", 1.0 / scale) : fmt::format("{:.4g}:1", scale);
}

/// Whether a wrong unit shows: in a drawing to scale, and beside models that have one.
bool UnitsMatter(const Scene& scene, const DrawingOptions& options) {
    return options.camera.scale || scene.withoutUnit.size() < options.input.files().size();
}

} // namespace

void TellAbout(const Scene& scene,
               const DrawingOptions& options,
               const DrawingReport& report,
               const Messages& messages) {
    const std::string& model = scene.name;
    for (const std::string& refused : scene.refusedFiles) {
        messages.warn(refused);
    }
    if (scene.dropped.total() > 0) {
        messages.warn(model + ": " + DescribeDropped(scene.dropped));
    }
    if (IsCracked(scene.surface) && options.input.surface.weld.mode != ctr::Welding::Mode::Off) {
        messages.warn(model + ": " + DescribeCracks(scene.surface));
    }
    for (const std::string& loss : scene.coarse) {
        messages.warn(loss);
    }
    if (UnitsMatter(scene, options)) {
        for (const std::string& name : scene.withoutUnit) {
            messages.warn(name + ": states no unit of length; millimetres assumed, see --unit");
        }
    }
    if (!report.overflow.empty()) {
        messages.warn(report.output + ": " + report.overflow);
    }
    messages.note(model + ": " + Count(scene.triangles, "triangle") + " in " +
                  Count(scene.meshes.size() + scene.occluders.size(), "part") + ", one unit is " +
                  fmt::format("{:g} mm", scene.millimetresPerUnit) +
                  (scene.unitStated ? "" : " (assumed)"));
    if (options.output.format != OutputFormat::Json) {
        messages.note(report.output + ": " + Count(report.lines.lines, "piece") + " found, " +
                      std::to_string(report.lines.shownOnce) + " after removing duplicates, " +
                      Count(report.lines.paths, "path") + " after joining, " +
                      Count(report.lines.shortPaths, "short path") + " left out");
    }
    if (report.scale) {
        messages.note(report.output + ": scale " + ScaleText(*report.scale));
    }
}

void PrintSummary(const DrawingReport& report, const MessageOptions& options, std::ostream& out) {
    if (options.json) {
        // A file name need not be UTF-8.
        out << ToJson(report).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n"
            << std::flush;
    } else if (!options.quiet) {
        const std::string name =
            report.output == "-" ? "standard output" : PlainText(report.output);
        out << name + ": " + Describe(report.page) + ", " + Count(report.lines.paths, "line") + "\n"
            << std::flush;
    }
}

} // namespace kxcontour
