// Puts the options into the terms of the drawing engine.
#include "tool/jobs/DrawingJob.h"

#include <kxDrawing/Writers.h>

#include "tool/common/StandardStreams.h"

#include <sstream>

namespace kxcontour {
namespace {

DrawingRequest RequestOf(const DrawingOptions& options) {
    DrawingRequest request = options;
    // Every kind of line is a layer of a CAD drawing.
    if (options.output.format == OutputFormat::Dxf && request.lines.layering == Layering::None) {
        request.lines.layering = Layering::Type;
    }
    request.lines.lines = options.output.format == OutputFormat::Json;
    request.lines.paths = !request.lines.lines;
    return request;
}

} // namespace

DrawingTarget::DrawingTarget(const std::string& path) {
    if (path == "-") {
        RequireStandardOutput();
    } else {
        file_.emplace(path);
    }
}

void DrawingTarget::write(const std::function<void(std::ostream&)>& writer) {
    if (file_) {
        file_->write(writer);
        return;
    }
    std::ostringstream whole;
    writer(whole);
    WriteToStandardOutput(whole.str());
}

DrawingReport
DrawToFile(const Scene& scene, const DrawingOptions& options, DrawingObserver& observer) {
    DrawingTarget target(options.output.path);
    const DrawingRequest request = RequestOf(options);
    kxdrawing::Drawing drawing = DrawScene(scene, request, observer);
    drawing.title = options.output.title.value_or(drawing.title);
    drawing.description = options.output.description.value_or("");
    target.write([&](std::ostream& out) {
        kxdrawing::write(drawing, out, options.output.format, {options.output.dotsPerInch});
    });
    return {options.output.path, drawing.page, drawing.statistics, drawing.scale,
            DescribeOverflow(drawing, request)};
}

} // namespace kxcontour
