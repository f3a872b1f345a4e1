// The stages of a drawing in order: camera, baking, lines, paper; and its way into a file.
#include "drawing/Drawing.h"

#include <kxDrawing/Errors.h>

#include "drawing/camera/Camera.h"
#include "drawing/camera/Frame.h"
#include "drawing/lines/LineFinder.h"
#include "drawing/lines/PaperMapping.h"
#include "drawing/lines/PathLines.h"
#include "drawing/lines/RepeatedLines.h"
#include "drawing/paper/Composing.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <utility>

namespace kxcontour {
namespace {

// Expected costs are fitted to --timing of models of 5,000 to 1.3 million triangles in seven
// formats, on one processor of 2022 that did nothing else. Models differ by factors of three and
// more: the bar needs no better, as it divides anew what is left whenever a stage begins.
constexpr double kBakingPerTriangle = 250.0;
/// Lines are found among all triangles; how many there are grows like the square root.
constexpr double kFeaturesPerTriangle = 50.0;
constexpr double kFeaturesPerRoot = 5e5;
/// Of the cost of finding lines: less than a twentieth for most models, nearly as much where many
/// parts cut each other.
constexpr double kExportPerFeatures = 0.28;
/// Of one file.
constexpr double kExportPerFile = 4e6;

/// Ends are one point within four steps of the grid that visibility is decided on, for the ends of
/// what is hidden lie on it. Lines are one line within a fifth of the finest pen, so that the
/// second line would only make a stroke bolder, and wide enough that the lines that stay are still
/// apart when joining has moved their ends and writers have rounded them. Two surfaces that nearly
/// touch, such as the sides of a crack, draw such lines.
PaperTolerances TolerancesFor(PageSize page) {
    constexpr PaperTolerances kLeast;
    constexpr double kGridSteps = 1048576.0;
    const double joint =
        std::max(kLeast.joint, 4.0 * std::max(page.width, page.height) / kGridSteps);
    return {std::max(kLeast.coincidence, 6.0 * joint), joint};
}

Wm4::Vector3<double> TurnedToWorld(const Scene& scene, const kxdrawing::Vector& v) {
    const Wm4::Matrix4<double>& m = scene.fileToWorld;
    const auto along = [&](int i) { return v[0] * m[0][i] + v[1] * m[1][i] + v[2] * m[2][i]; };
    return {along(0), along(1), along(2)};
}

/// The view in the terms of the meshes: their axes, their origin, their unit.
View InSceneTerms(View view, const Scene& scene) {
    for (std::optional<kxdrawing::Vector>* point : {&view.eye, &view.target}) {
        if (*point) {
            const Wm4::Vector3<double> moved = TurnedToWorld(scene, **point) - scene.origin;
            *point = {moved[0], moved[1], moved[2]};
        }
    }
    if (view.up) {
        const Wm4::Vector3<double> up = TurnedToWorld(scene, *view.up);
        view.up = {up[0], up[1], up[2]};
    }
    if (view.scale) {
        *view.scale *= scene.millimetresPerUnit;
    }
    return view;
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
    return AimCamera(InSceneTerms(request.camera, scene), SubjectsOf(scene, fitted), request.page);
}

/// One view of several on a sheet, as the camera is turned.
View ForSheet(const View& camera, kxdrawing::Direction direction) {
    View single = View::named(direction);
    single.roll = camera.roll;
    return single;
}

SheetLayout LayOut(const Scene& scene, const DrawingRequest& request) {
    std::vector<SheetView> views;
    for (const kxdrawing::Direction view : request.page.views) {
        const AimedCamera camera = AimCamera(ForSheet(request.camera, view),
                                             SubjectsOf(scene, scene.meshes), request.page);
        views.push_back({view, camera.drawnSize->width * *camera.unitsPerMillimetre,
                         camera.drawnSize->height * *camera.unitsPerMillimetre});
    }
    std::optional<double> scale;
    if (request.camera.scale) {
        scale = 1.0 / (*request.camera.scale * scene.millimetresPerUnit);
    }
    return ArrangeViews(views, request.page, request.page.arrangement, scale);
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
        (isTooSmall ? ": nothing to draw: all lines are shorter than the minimum length"
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
        : scene_(scene), request_(request), tolerances_(TolerancesFor(request.page.size)),
          observer_(observer) {}

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
        View view = ForSheet(request_.camera, cell.view);
        view.scale = 1.0 / unitsPerMillimetre;
        const AimedCamera camera =
            AimCamera(view, SubjectsOf(scene_, scene_.meshes), {cell.size, 0.0});
        const ctr::FeaturesByMesh lines = findLines(camera.space);
        return MapToPaper(lines, placeOf(camera.space, cell.size), request_.lines.hidden);
    }

    AimedCamera aim() {
        if (request_.camera.matrix) {
            return {MakeCamera(WorldToFile(scene_) * RowVectorMatrix(*request_.camera.matrix)),
                    std::nullopt, std::nullopt};
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
        const kxdrawing::LineOptions& lines = request_.lines;
        return FindLines(
            camera, scene_.meshes, scene_.occluders,
            {lines.silhouettes, lines.creases, lines.intersections, lines.hidden || lines.lines},
            observer_);
    }

    void listLines(const ctr::FeaturesByMesh& lines, const PaperPlace& place) {
        drawing_.lines = LinesOf(lines, place);
        MarkRepeated(drawing_.lines, tolerances_);
        drawing_.statistics.lines = drawing_.lines.size();
        drawing_.statistics.paths = drawing_.lines.size();
    }

    void makePaths(PageLines onPage) {
        onPage.objects = scene_.objects;
        kxdrawing::Drawing composed = Compose(std::move(onPage), request_.lines, tolerances_);
        drawing_.layers = std::move(composed.layers);
        drawing_.statistics = composed.statistics;
        if (drawing_.statistics.paths == 0) {
            NothingVisible(scene_.name, drawing_, request_);
        }
        if (request_.lines.lines) {
            LinkPathsToLines(drawing_, tolerances_.coincidence);
        }
    }

    const Scene& scene_;
    const DrawingRequest& request_;
    PaperTolerances tolerances_;
    DrawingObserver& observer_;
    kxdrawing::Drawing drawing_;
};

} // namespace

kxdrawing::Drawing
DrawScene(const Scene& scene, const DrawingRequest& request, DrawingObserver& observer) {
    return Drawer(scene, request, observer).draw();
}

std::vector<PlannedStage> PlanOfDrawing(double triangles, std::size_t views) {
    const double features =
        triangles * kFeaturesPerTriangle + std::sqrt(triangles) * kFeaturesPerRoot;
    const std::size_t count = std::max<std::size_t>(views, 1);
    std::vector<PlannedStage> plan;
    for (std::size_t view = 0; view < count; ++view) {
        plan.push_back({"bake", triangles * kBakingPerTriangle});
        plan.push_back({"features", features});
    }
    plan.push_back(
        {"export", kExportPerFile + static_cast<double>(count) * features * kExportPerFeatures});
    return plan;
}

std::string Describe(PageSize page) {
    return fmt::format("{:g} x {:g} mm", page.width, page.height);
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
    const auto roundedUp = [](double length) { return std::ceil(10.0 * length) / 10.0; };
    return "at this scale the drawing measures " +
           Describe({roundedUp(drawn->width), roundedUp(drawn->height)}) +
           " and does not fit the page of " + Describe(page) + " inside its margin";
}

} // namespace kxcontour
