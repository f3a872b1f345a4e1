// The stages of a drawing, behind the public interface.
#pragma once

#include <kxDrawing/Drawing.h>

#include "drawing/camera/SheetLayout.h"
#include "drawing/common/Observer.h"
#include "drawing/scene/Scene.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

struct CameraRequest : View {
    std::optional<std::string> fitObject; ///< The object that fills the page; none: everything.
};

struct PageOptions : Page {
    /// Together on the sheet at one scale; empty: the camera's view alone.
    std::vector<kxdrawing::Direction> views;
    Arrangement arrangement = Arrangement::FirstAngle; ///< Of the views.
};

/// How one drawing of a scene is made. Points and the matrix are in the coordinates of the first
/// model.
struct DrawingRequest {
    CameraRequest camera;
    PageOptions page;
    kxdrawing::LineOptions lines;
};

/// Draws a scene. Any number of threads may draw one scene at once. Throws InvalidArgument for a
/// camera that cannot be, NothingToDraw where no line is visible.
kxdrawing::Drawing
DrawScene(const Scene& scene, const DrawingRequest& request, DrawingObserver& observer);

/// The stages that draw a scene of so many triangles in a number of views (0 counts as 1). Costs in
/// rough nanoseconds.
std::vector<PlannedStage> PlanOfDrawing(double triangles, std::size_t views);

/// "210 x 297 mm", with six significant digits, independent of locale.
std::string Describe(PageSize page);

/// A line for the user about a drawing to scale that exceeds the page inside its margin; empty
/// where it fits.
std::string DescribeOverflow(const kxdrawing::Drawing& drawing, const DrawingRequest& request);

} // namespace kxcontour
