// The stages of a drawing, behind the public interface.
#pragma once

#include <kxDrawing/Drawing.h>

#include "drawing/Observer.h"
#include "drawing/Request.h"
#include "drawing/scene/Scene.h"

#include <string>

namespace kxcontour {

/// Draws a scene. Any number of threads may draw one scene at once. Throws InvalidArgument for a
/// camera that cannot be, NothingToDraw where no line is visible.
kxdrawing::Drawing
DrawScene(const Scene& scene, const DrawingRequest& request, DrawingObserver& observer);

/// A line for the user about a drawing to scale that exceeds the page inside its margin; empty
/// where it fits.
std::string DescribeOverflow(const kxdrawing::Drawing& drawing, const DrawingRequest& request);

} // namespace kxcontour
