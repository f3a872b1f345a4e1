// Line styles from text: crease.width=0.25mm,crease.color=#333,hidden.dash=1/0.5
#pragma once

#include "drawing/paper/Paper.h"

#include <string_view>

namespace kxcontour {

/// Changes styles by a comma-separated list of TYPE.KEY=VALUE; later items win.
///
/// Types are crease, silhouette, intersection, hidden and all (these four); keys are width (a
/// length over 0, to 100 mm), color, and dash (lengths over 0, to 100 mm, separated by '/', or
/// none; an odd number of them is repeated, as in SVG). Throws InvalidArgument, naming the nearest
/// family or key for one that does not exist.
void ApplyStyles(std::string_view list, StyleSheet& styles);

} // namespace kxcontour
