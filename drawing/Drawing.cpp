// The stages of a drawing in order: camera, baking, lines, paper, file.
#include "drawing/Drawing.h"

#include "drawing/StageCosts.h"
#include "drawing/camera/Camera.h"
#include "drawing/common/Failure.h"
#include "drawing/files/OutputFile.h"
#include "drawing/lines/LineFinder.h"
#include "drawing/lines/PaperMapping.h"
#include "drawing/lines/RepeatedLines.h"
#include "drawing/output/JsonWriter.h"
#include "drawing/output/Writers.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
#include <system_error>
#include <utility>

namespace kxcontour {
namespace {

/// Ends this near are one point: four steps of the grid that visibility is decided on, for the ends
/// of what is hidden lie on it.
double Joint(PageSize page) {
    constexpr double kLeast = 0.001;
    constexpr double kGridSteps = 1048576.0;
    return std::max(kLeast, 4.0 * std::max(page.width, page.height) / kGridSteps);
}

/// Lines this near are one line: a fifth of the finest pen, so that the second line would only make
/// a stroke bolder, and wide enough that the lines that stay are still apart when joining has moved
/// their ends and writers have rounded them. Two surfaces that nearly touch, such as the sides of a
/// crack, draw such lines.
double Coincidence(PageSize page) {
    constexpr double kLeast = 0.02;
    return std::max(kLeast, 6.0 * Joint(page));
}

Wm4::Vector3<double> TurnedToWorld(const Scene& scene, const Wm4::Vector3<double>& v) {
    const Wm4::Matrix4<double>& m = scene.fileToWorld;
    const auto along = [&](int i) { return v[0] * m[0][i] + v[1] * m[1][i] + v[2] * m[2][i]; };
    return {along(0), along(1), along(2)};
}

/// The request in the terms of the meshes: their axes, their origin, their unit.
CameraRequest InSceneTerms(CameraRequest request, const Scene& scene) {
    for (std::optional<Wm4::Vector3<double>>* point : {&request.position, &request.focalPoint}) {
        if (*point) {
            *point = TurnedToWorld(scene, **point) - scene.origin;
        }
    }
    if (request.viewUp) {
        request.viewUp = TurnedToWorld(scene, *request.viewUp);
    }
    if (request.scale) {
        *request.scale *= scene.millimetresPerUnit;
    }
    return request;
}

/// The way back from the meshes' coordinates to the file's.
Wm4::Matrix4<double> WorldToFile(const Scene& scene) {
    Wm4::Matrix4<double> matrix(false);
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            matrix[row][column] = scene.fileToWorld[column][row];
        }
    }
    for (int column = 0; column < 3; ++column) {
        for (int row = 0; row < 3; ++row) {
            matrix[3][column] += scene.origin[row] * matrix[row][column];
        }
    }
    return matrix;
}

CameraSubjects SubjectsOf(const Scene& scene, const MeshList& fitted) {
    return {scene.meshes, fitted, scene.occluders};
}

AimedCamera Aim(const Scene& scene, const DrawingRequest& options) {
    const MeshList fitted =
        options.camera.fitObject ? MeshesOf(scene, *options.camera.fitObject) : scene.meshes;
    return AimCamera(InSceneTerms(options.camera, scene), SubjectsOf(scene, fitted),
                     {options.page.size, options.page.margin});
}

/// The request for one view of several; what is not of a single view's camera stays.
CameraRequest ForView(const CameraRequest& request, View view) {
    CameraRequest single;
    single.view = view;
    single.roll = request.roll;
    return single;
}

SheetLayout LayOut(const Scene& scene, const DrawingRequest& options) {
    std::vector<SheetView> views;
    for (const View view : options.page.views) {
        const AimedCamera camera =
            AimCamera(ForView(options.camera, view), SubjectsOf(scene, scene.meshes),
                      {options.page.size, options.page.margin});
        views.push_back({view, camera.drawnSize->width * *camera.unitsPerMillimetre,
                         camera.drawnSize->height * *camera.unitsPerMillimetre});
    }
    std::optional<double> scale;
    if (options.camera.scale) {
        scale = 1.0 / (*options.camera.scale * scene.millimetresPerUnit);
    }
    return ArrangeViews(views, {options.page.size, options.page.margin}, options.page.arrangement,
                        scale);
}

std::string Millimetres(double width, double height) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::ceil(10.0 * width) / 10.0 << " x " << std::ceil(10.0 * height) / 10.0 << " mm";
    return text.str();
}

/// Of drawings to scale: whether all of them is inside the margin.
std::string Overflow(PageSize drawn, const DrawingRequest& options) {
    constexpr double kRounding = 1e-6;
    const PageSize page = options.page.size;
    const double margins = 2.0 * options.page.margin;
    if (drawn.width <= page.width - margins + kRounding &&
        drawn.height <= page.height - margins + kRounding) {
        return "";
    }
    return "at this scale the drawing measures " + Millimetres(drawn.width, drawn.height) +
           " and does not fit on the page of " + Describe(page) + " inside its margin";
}

std::string TitleOf(const OutputOptions& output) {
    return output.title.value_or("Illustration");
}

ComposingRules RulesFor(const DrawingRequest& options) {
    ComposingRules rules;
    rules.layering = options.output.layering;
    rules.styles = options.lines.styles;
    rules.coincidence = Coincidence(options.page.size);
    rules.joint = Joint(options.page.size);
    rules.minLength = options.lines.minLength;
    rules.arcTolerance = options.output.arcTolerance;
    // Every family is a layer of a CAD drawing.
    if (options.output.format == OutputFormat::Dxf && rules.layering == Layering::None) {
        rules.layering = Layering::Type;
    }
    return rules;
}

void Write(const PaperDrawing& drawing, const OutputOptions& output, int file) {
    switch (output.format) {
    case OutputFormat::Pdf:
        return WritePdf(drawing, file);
    case OutputFormat::Png:
        return WritePng(drawing, output.dotsPerInch, file);
    case OutputFormat::Dxf:
        return WriteDxf(drawing, file);
    case OutputFormat::Svg:
    case OutputFormat::Json:
        break;
    }
    if (IsPlain(drawing)) {
        return WritePlainSvg(drawing, file);
    }
    return WriteLayeredSvg(drawing, file);
}

[[noreturn]] void FailedToWrite(const std::string& path, const WriteFailure& failure) {
    throw Failure(ExitCode::CannotWrite,
                  path + ": cannot write: " +
                      (failure.reason() != 0 ? std::generic_category().message(failure.reason())
                                             : failure.what()));
}

/// Calls write with the descriptor of a file beside the output, and puts that in place.
template <class Function>
void WriteWhole(OutputFile& file, const std::string& name, Function write) {
    const int descriptor = file.create();
    try {
        write(descriptor);
    } catch (const WriteFailure& failure) {
        FailedToWrite(name, failure);
    }
    file.commit();
}

/// A scale that is far too large may leave lines beside the page only, one that is far too small
/// nothing but crumbs.
[[noreturn]] void NothingVisible(const std::string& name, const DrawingReport& report) {
    const bool isTooSmall = report.lines.lines > 0;
    throw Failure(ExitCode::NothingToDraw,
                  name +
                      (isTooSmall ? ": nothing to draw: all its lines are shorter than --min-length"
                                  : ": nothing to draw: no line of it is visible") +
                      (report.overflow.empty() ? "" : "; " + report.overflow));
}

void MoveBy(LineGroup& group, Point offset) {
    const auto moved = [&](Point p) { return Point{p.x + offset.x, p.y + offset.y}; };
    for (PaperLine& line : group.lines) {
        line = {moved(line.a), moved(line.b)};
    }
}

/// Makes one drawing step by step.
class Drawer {
public:
    Drawer(const Scene& scene, const DrawingRequest& options, DrawingObserver& observer)
        : scene_(scene), options_(options), observer_(observer), file_(options.output.path) {}

    DrawingReport draw() {
        report_.output = options_.output.path;
        report_.page = options_.page.size;
        observer_.expect(
            PlanOfDrawing(static_cast<double>(scene_.triangles), options_.page.views.size()));
        if (options_.output.format == OutputFormat::Json) {
            drawRecords();
        } else if (options_.page.views.empty()) {
            drawView();
        } else {
            drawSheet();
        }
        return report_;
    }

private:
    void drawView() {
        const AimedCamera camera = aim();
        const ctr::FeaturesByMesh lines = findLines(camera.space);
        writeDrawing(
            MapToPaper(lines, placeOf(camera.space, options_.page.size), options_.lines.hidden));
    }

    void drawSheet() {
        const SheetLayout layout = LayOut(scene_, options_);
        noteScale(layout.unitsPerMillimetre, layout.needed);
        PaperLines all;
        for (const SheetCell& cell : layout.cells) {
            PaperLines lines = drawCell(cell, layout.unitsPerMillimetre);
            for (LineGroup& group : lines.groups) {
                MoveBy(group, {cell.left, cell.top});
                all.groups.push_back(std::move(group));
            }
        }
        writeDrawing(std::move(all));
    }

    PaperLines drawCell(const SheetCell& cell, double unitsPerMillimetre) {
        CameraRequest request = ForView(options_.camera, cell.view);
        request.scale = 1.0 / unitsPerMillimetre;
        const AimedCamera camera =
            AimCamera(request, SubjectsOf(scene_, scene_.meshes), {cell.size, 0.0});
        const ctr::FeaturesByMesh lines = findLines(camera.space);
        return MapToPaper(lines, placeOf(camera.space, cell.size), options_.lines.hidden);
    }

    void drawRecords() {
        const AimedCamera camera = aim();
        const ctr::FeaturesByMesh lines = findLines(camera.space);
        writeRecords(lines, placeOf(camera.space, options_.page.size));
    }

    AimedCamera aim() {
        AimedCamera camera = Aim(scene_, options_);
        if (camera.unitsPerMillimetre) {
            noteScale(*camera.unitsPerMillimetre, *camera.drawnSize);
        }
        return camera;
    }

    void noteScale(double unitsPerMillimetre, PageSize drawn) {
        report_.scale = 1.0 / (unitsPerMillimetre * scene_.millimetresPerUnit);
        if (options_.camera.scale) {
            report_.overflow = Overflow(drawn, options_);
        }
    }

    PaperPlace placeOf(const ctr::DiscreteProjectionSpace& camera, PageSize page) const {
        return {camera, page, scene_.objectOf, WorldToFile(scene_)};
    }

    ctr::FeaturesByMesh findLines(const ctr::DiscreteProjectionSpace& camera) {
        observer_.enter("bake");
        LineFinder finder(camera);
        finder.bake(scene_.meshes, scene_.occluders, observer_);
        observer_.enter("features");
        const bool json = options_.output.format == OutputFormat::Json;
        const LineOptions& lines = options_.lines;
        return finder.find(
            {lines.silhouettes, lines.creases, lines.intersections, lines.hidden || json},
            observer_);
    }

    void writeDrawing(PaperLines onPaper) {
        observer_.enter("export");
        onPaper.objects = scene_.objects;
        PaperDrawing drawing = Compose(std::move(onPaper), RulesFor(options_), report_.lines);
        if (report_.lines.paths == 0) {
            NothingVisible(scene_.name, report_);
        }
        drawing.page = options_.page.size;
        drawing.title = TitleOf(options_.output);
        drawing.description = options_.output.description.value_or("");
        WriteWhole(file_, options_.output.path,
                   [&](int file) { Write(drawing, options_.output, file); });
    }

    void writeRecords(const ctr::FeaturesByMesh& lines, const PaperPlace& place) {
        observer_.enter("export");
        if (MapToPaper(lines, place, false).groups.empty()) {
            NothingVisible(scene_.name, report_);
        }
        JsonDrawing drawing;
        drawing.page = options_.page.size;
        drawing.title = TitleOf(options_.output);
        drawing.description = options_.output.description.value_or("");
        drawing.objects = scene_.objects;
        drawing.millimetresPerUnit = scene_.millimetresPerUnit;
        drawing.segments = RecordsOf(lines, place);
        MarkRepeated(drawing.segments,
                     {Coincidence(options_.page.size), Joint(options_.page.size)});
        report_.lines.lines = drawing.segments.size();
        report_.lines.paths = drawing.segments.size();
        WriteWhole(file_, options_.output.path, [&](int file) { WriteJson(drawing, file); });
    }

    const Scene& scene_;
    const DrawingRequest& options_;
    DrawingObserver& observer_;
    OutputFile file_;
    DrawingReport report_;
};

} // namespace

DrawingReport
DrawScene(const Scene& scene, const DrawingRequest& options, DrawingObserver& observer) {
    return Drawer(scene, options, observer).draw();
}

} // namespace kxcontour
