// Puts the options into the terms of the drawing engine.
#include "tool/jobs/DrawingJob.h"

#include "drawing/output/WriteDrawing.h"

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

DrawingReport
DrawToFile(const Scene& scene, const DrawingOptions& options, DrawingObserver& observer) {
    OutputFile file(options.output.path);
    const DrawingRequest request = RequestOf(options);
    kxdrawing::Drawing drawing = DrawScene(scene, request, observer);
    drawing.title = options.output.title.value_or(drawing.title);
    drawing.description = options.output.description.value_or("");
    WriteDrawing(drawing, options.output.format, {options.output.dotsPerInch}, file,
                 options.output.path);
    return {options.output.path, drawing.page, drawing.statistics, drawing.scale,
            DescribeOverflow(drawing, request)};
}

} // namespace kxcontour
