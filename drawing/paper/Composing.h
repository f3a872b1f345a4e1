// From lines to a drawing: what goes together, in which style, as which paths.
#pragma once

#include "drawing/paper/Paper.h"

#include <optional>

namespace kxcontour {

using kxdrawing::DrawingStatistics;
using kxdrawing::Layering;

struct ComposingRules {
    Layering layering = Layering::None;
    StyleSheet styles;
    double coincidence = 0.02;          ///< Lines this near are one line, millimetres.
    double joint = 0.001;               ///< Ends this near are one point, millimetres.
    double minLength = 0.02;            ///< Paths shorter than this are left out, millimetres.
    std::optional<double> arcTolerance; ///< Millimetres; none: polylines only.
};

/// Removes what is drawn twice, gives a rim one weight (Weights.h), joins what meets, leaves out
/// crumbs and finds arcs.
///
/// A path that stays within a few joints of one place is a dot, and no dot is drawn whatever
/// minLength is: writers round coordinates to about a joint. Otherwise the length counts, of closed
/// paths too. Spurs and bridges (Spurs.h) shorter than minLength go before joining, those under
/// 0.02 and 0.01 mm.
///
/// Lines are joined within a layer over families and objects of one style, but visible lines never
/// with hidden ones, even if these look alike. Groups come visible ones
/// last, so that they are drawn over hidden ones; layers of types are named "hidden", "crease",
/// "silhouette" and "intersection", layers of objects by the object, with " (2)" and so on after
/// a name that repeats, "unnamed" for none, and "intersections" for lines of no single object. An
/// object's layer has the same name whichever objects are seen.
/// Layers without a path are left out. Page, texts and objects of the result are the caller's to
/// fill.
kxdrawing::Drawing Compose(PageLines lines, const ComposingRules& rules, DrawingStatistics& report);

} // namespace kxcontour
