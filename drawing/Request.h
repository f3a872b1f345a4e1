// How one drawing of a scene is made.
#pragma once

#include <kxDrawing/LineOptions.h>

#include "drawing/camera/CameraRequest.h"
#include "drawing/camera/SheetLayout.h"
#include "drawing/paper/PageSize.h"

#include <optional>
#include <vector>

namespace kxcontour {

struct PageOptions {
    PageSize size;
    double margin = kPageMargin; ///< Millimetres, 0 or more.
    std::vector<View>
        views; ///< Together on the sheet at one scale; empty: the camera's view alone.
    Arrangement arrangement = Arrangement::FirstAngle; ///< Of the views.
};

struct DrawingRequest {
    CameraRequest camera;
    /// In place of the camera: from the coordinates of the first model to clip coordinates, for row
    /// vectors.
    std::optional<Wm4::Matrix4<double>> fileToClip;
    PageOptions page;
    kxdrawing::LineOptions lines;
};

} // namespace kxcontour
