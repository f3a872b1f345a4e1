// The stages of a drawing in order: camera, baking, lines, paper; and its way into a file.
#include "drawing/Drawing.h"

#include <kxDrawing/Errors.h>

#include "drawing/StageCosts.h"
#include "drawing/camera/Camera.h"
#include "drawing/camera/Frame.h"
#include "drawing/lines/LineFinder.h"
#include "drawing/lines/PaperMapping.h"
#include "drawing/lines/PathLines.h"
#include "drawing/lines/RepeatedLines.h"
#include "drawing/paper/Composing.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
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

AimedCamera Aim(const Scene& scene, const DrawingRequest& request) {
    const MeshList fitted =
        request.camera.fitObject ? MeshesOf(scene, *request.camera.fitObject) : scene.meshes;
    return AimCamera(InSceneTerms(request.camera, scene), SubjectsOf(scene, fitted),
                     {request.page.size, request.page.margin});
}

/// The request for one view of several; what is not of a single view's camera stays.
CameraRequest ForView(const CameraRequest& request, View view) {
    CameraRequest single;
    single.view = view;
    single.roll = request.roll;
    return single;
}

SheetLayout LayOut(const Scene& scene, const DrawingRequest& request) {
    std::vector<SheetView> views;
    for (const View view : request.page.views) {
        const AimedCamera camera =
            AimCamera(ForView(request.camera, view), SubjectsOf(scene, scene.meshes),
                      {request.page.size, request.page.margin});
        views.push_back({view, camera.drawnSize->width * *camera.unitsPerMillimetre,
                         camera.drawnSize->height * *camera.unitsPerMillimetre});
    }
    std::optional<double> scale;
    if (request.camera.scale) {
        scale = 1.0 / (*request.camera.scale * scene.millimetresPerUnit);
    }
    return ArrangeViews(views, {request.page.size, request.page.margin}, request.page.arrangement,
                        scale);
}

std::string Millimetres(double width, double height) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::ceil(10.0 * width) / 10.0 << " x " << std::ceil(10.0 * height) / 10.0 << " mm";
    return text.str();
}

ComposingRules RulesFor(const DrawingRequest& request) {
    ComposingRules rules;
    rules.layering = request.lines.layering;
    rules.styles = request.lines.styles;
    rules.coincidence = Coincidence(request.page.size);
    rules.joint = Joint(request.page.size);
    rules.minLength = request.lines.minLength;
    rules.arcTolerance = request.lines.arcTolerance;
    return rules;
}

/// A scale that is far too large may leave lines beside the page only, one that is far too small
/// only paths that are too short.
[[noreturn]] void NothingVisible(const std::string& name,
                                 const kxdrawing::Drawing& drawing,
                                 const DrawingRequest& request) {
    const bool isTooSmall = drawing.statistics.lines > 0;
    const std::string overflow = DescribeOverflow(drawing, request);
    throw kxdrawing::NothingToDraw(
        name +
        (isTooSmall ? ": nothing to draw: all lines are shorter than --min-length"
                    : ": nothing to draw: no line is visible") +
        (overflow.empty() ? "" : "; " + overflow));
}

void MoveBy(LineGroup& group, Point offset) {
    const auto moved = [&](Point p) { return Point{p.x + offset.x, p.y + offset.y}; };
    for (PageLine& line : group.lines) {
        line = {moved(line.a), moved(line.b)};
    }
}

/// Makes one drawing step by step.
class Drawer {
public:
    Drawer(const Scene& scene, const DrawingRequest& request, DrawingObserver& observer)
        : scene_(scene), request_(request), observer_(observer) {}

    kxdrawing::Drawing draw() {
        observer_.expect(
            PlanOfDrawing(static_cast<double>(scene_.triangles), request_.page.views.size()));
        drawing_.page = request_.page.size;
        drawing_.objects = scene_.objects;
        drawing_.millimetresPerUnit = scene_.millimetresPerUnit;
        if (request_.page.views.empty()) {
            drawView();
        } else {
            drawSheet();
        }
        return std::move(drawing_);
    }

private:
    void drawView() {
        const AimedCamera camera = aim();
        const ctr::FeaturesByMesh lines = findLines(camera.space);
        observer_.enter("export");
        const PaperPlace place = placeOf(camera.space, request_.page.size);
        PageLines onPage = MapToPaper(lines, place, request_.lines.hidden);
        if (onPage.groups.empty()) {
            NothingVisible(scene_.name, drawing_, request_);
        }
        if (request_.lines.lines) {
            listLines(lines, place);
        }
        if (request_.lines.paths) {
            makePaths(std::move(onPage));
        }
    }

    void drawSheet() {
        const SheetLayout layout = LayOut(scene_, request_);
        noteScale(layout.unitsPerMillimetre, layout.needed);
        PageLines all;
        for (const SheetCell& cell : layout.cells) {
            PageLines lines = drawCell(cell, layout.unitsPerMillimetre);
            for (LineGroup& group : lines.groups) {
                MoveBy(group, {cell.left, cell.top});
                all.groups.push_back(std::move(group));
            }
        }
        observer_.enter("export");
        makePaths(std::move(all));
    }

    PageLines drawCell(const SheetCell& cell, double unitsPerMillimetre) {
        CameraRequest request = ForView(request_.camera, cell.view);
        request.scale = 1.0 / unitsPerMillimetre;
        const AimedCamera camera =
            AimCamera(request, SubjectsOf(scene_, scene_.meshes), {cell.size, 0.0});
        const ctr::FeaturesByMesh lines = findLines(camera.space);
        return MapToPaper(lines, placeOf(camera.space, cell.size), request_.lines.hidden);
    }

    AimedCamera aim() {
        if (request_.fileToClip) {
            return {MakeCamera(WorldToFile(scene_) * *request_.fileToClip), std::nullopt,
                    std::nullopt};
        }
        AimedCamera camera = Aim(scene_, request_);
        if (camera.unitsPerMillimetre) {
            noteScale(*camera.unitsPerMillimetre, *camera.drawnSize);
        }
        return camera;
    }

    void noteScale(double unitsPerMillimetre, PageSize drawn) {
        drawing_.scale = 1.0 / (unitsPerMillimetre * scene_.millimetresPerUnit);
        drawing_.drawnSize = drawn;
    }

    PaperPlace placeOf(const ctr::DiscreteProjectionSpace& camera, PageSize page) const {
        return {camera, page, scene_.objectOf, WorldToFile(scene_)};
    }

    ctr::FeaturesByMesh findLines(const ctr::DiscreteProjectionSpace& camera) {
        observer_.enter("bake");
        LineFinder finder(camera);
        finder.bake(scene_.meshes, scene_.occluders, observer_);
        observer_.rethrow();
        observer_.enter("features");
        const kxdrawing::LineOptions& lines = request_.lines;
        ctr::FeaturesByMesh found = finder.find(
            {lines.silhouettes, lines.creases, lines.intersections, lines.hidden || lines.lines},
            observer_);
        observer_.rethrow();
        return found;
    }

    void listLines(const ctr::FeaturesByMesh& lines, const PaperPlace& place) {
        drawing_.lines = LinesOf(lines, place);
        MarkRepeated(drawing_.lines, {Coincidence(request_.page.size), Joint(request_.page.size)});
        drawing_.statistics.lines = drawing_.lines.size();
        drawing_.statistics.paths = drawing_.lines.size();
    }

    void makePaths(PageLines onPage) {
        onPage.objects = scene_.objects;
        drawing_.layers =
            Compose(std::move(onPage), RulesFor(request_), drawing_.statistics).layers;
        if (drawing_.statistics.paths == 0) {
            NothingVisible(scene_.name, drawing_, request_);
        }
        if (request_.lines.lines) {
            LinkPathsToLines(drawing_, Coincidence(request_.page.size));
        }
    }

    const Scene& scene_;
    const DrawingRequest& request_;
    DrawingObserver& observer_;
    kxdrawing::Drawing drawing_;
};

} // namespace

kxdrawing::Drawing
DrawScene(const Scene& scene, const DrawingRequest& request, DrawingObserver& observer) {
    return Drawer(scene, request, observer).draw();
}

std::string DescribeOverflow(const kxdrawing::Drawing& drawing, const DrawingRequest& request) {
    constexpr double kRounding = 1e-6;
    const PageSize page = request.page.size;
    const double margins = 2.0 * request.page.margin;
    const std::optional<PageSize>& drawn = drawing.drawnSize;
    if (!request.camera.scale || !drawn ||
        (drawn->width <= page.width - margins + kRounding &&
         drawn->height <= page.height - margins + kRounding)) {
        return "";
    }
    return "at this scale the drawing measures " + Millimetres(drawn->width, drawn->height) +
           " and does not fit the page of " + Describe(page) + " inside its margin";
}

} // namespace kxcontour
