// From lines to a finished drawing: layers, styles and paths.
#pragma once

#include "drawing/paper/Paper.h"

namespace kxcontour {

/// Removes duplicates (Overlaps.h), evens out line weights (Weights.h), joins lines (Joining.h),
/// omits short paths and recognises arcs.
///
/// A path no larger than a few joints is omitted whatever minLength is: writers round coordinates
/// to about a joint. All others, closed ones too, are omitted by their length. Dangles and short
/// edges (GraphCleaning.h) below minLength, but at most 0.02 and 0.01 mm, are removed before
/// joining.
///
/// Lines are joined within a layer across kinds and objects of one style, but visible lines
/// never with hidden ones, even if these look alike. Visible groups come last, so that they are
/// drawn over hidden ones. Layers by type are named "hidden", "crease", "silhouette" and
/// "intersection"; layers by object have the object's name, with " (2)" and so on for repeated
/// names, "unnamed" for none, and "intersections" for lines shared by objects. An object's layer
/// has the same name whichever objects are visible. Layers without a path are omitted. The result
/// has layers and statistics only.
kxdrawing::Drawing
Compose(PageLines lines, const LineOptions& options, const PaperTolerances& tolerances = {});

} // namespace kxcontour
