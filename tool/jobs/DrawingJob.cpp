// Puts the options into the terms of the drawing engine.
#include "tool/jobs/DrawingJob.h"

#include "drawing/output/WriteDrawing.h"

namespace kxcontour {
namespace {

kxdrawing::LineOptions LinesFor(const DrawingOptions& options) {
    kxdrawing::LineOptions lines;
    lines.silhouettes = options.lines.silhouettes;
    lines.creases = options.lines.creases;
    lines.intersections = options.lines.intersections;
    lines.hidden = options.lines.hidden;
    lines.styles = options.lines.styles;
    lines.layering = options.output.layering;
    lines.minLength = options.lines.minLength;
    lines.arcTolerance = options.output.arcTolerance;
    // Every kind of line is a layer of a CAD drawing.
    if (options.output.format == OutputFormat::Dxf && lines.layering == Layering::None) {
        lines.layering = Layering::Type;
    }
    lines.lines = options.output.format == OutputFormat::Json;
    lines.paths = !lines.lines;
    return lines;
}

} // namespace

DrawingReport
DrawToFile(const Scene& scene, const DrawingOptions& options, DrawingObserver& observer) {
    OutputFile file(options.output.path);
    const DrawingRequest request{options.camera, {}, options.page, LinesFor(options)};
    kxdrawing::Drawing drawing = DrawScene(scene, request, observer);
    drawing.title = options.output.title.value_or(drawing.title);
    drawing.description = options.output.description.value_or("");
    WriteDrawing(drawing, options.output.format, {options.output.dotsPerInch}, file,
                 options.output.path);
    return {options.output.path, drawing.page, drawing.statistics, drawing.scale,
            DescribeOverflow(drawing, request)};
}

} // namespace kxcontour
