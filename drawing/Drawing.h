// One drawing, from a scene to a file.
#pragma once

#include "drawing/Observer.h"
#include "drawing/Request.h"
#include "drawing/paper/Composing.h"
#include "drawing/scene/Scene.h"

#include <cstddef>
#include <optional>
#include <string>

namespace kxcontour {

/// What became of a drawing.
struct DrawingReport {
    std::string output;
    PageSize page;
    ComposingReport lines;
    std::optional<double> scale; ///< Length on paper over real length; none in perspective.
    /// A line for the user about what does not fit on the page; empty when all does.
    std::string overflow;
};

/// Draws a scene and puts the file in place, whole or not at all. Any number of threads may draw
/// one scene at once. Throws Failure.
DrawingReport
DrawScene(const Scene& scene, const DrawingRequest& options, DrawingObserver& observer);

} // namespace kxcontour
