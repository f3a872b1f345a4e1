// One drawing, from a scene to a file.
#pragma once

#include <kxDrawing/Drawing.h>

#include "drawing/Drawing.h"
#include "tool/options/Options.h"

#include <optional>
#include <string>

namespace kxcontour {

/// The facts about a drawing that was made.
struct DrawingReport {
    std::string output;
    PageSize page;
    kxdrawing::DrawingStatistics lines;
    std::optional<double> scale; ///< Length on paper over real length; none in perspective.
    std::string overflow;        ///< See DescribeOverflow().
};

/// Draws a scene and puts the file in place, whole or not at all. Any number of threads may draw
/// one scene at once. Throws kxdrawing::Error.
DrawingReport
DrawToFile(const Scene& scene, const DrawingOptions& options, DrawingObserver& observer);

} // namespace kxcontour
