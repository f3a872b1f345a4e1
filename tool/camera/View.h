// The named directions from which a model is looked at.
#pragma once

#include <Wm4Foundation.h>

#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

enum class View { Front, Back, Left, Right, Top, Bottom, Iso };

/// The axes of a view in the world, of unit length and at right angles; right x up = back.
///
/// The world has y up and looks at its front from +z. back points from the model to the eye.
struct ViewAxes {
    Wm4::Vector3<double> right;
    Wm4::Vector3<double> up;
    Wm4::Vector3<double> back;
};

/// The axes of a view. All but Iso have entries of exactly 0, 1 and -1; Iso looks along a body
/// diagonal of the axes (isometric), from the front, the right and above.
ViewAxes AxesOf(View view);

/// Reads front, back, left, right, top, bottom or iso. Throws Failure (Usage) for any other text.
View ParseView(std::string_view text);

/// The names that ParseView() knows.
const std::vector<std::string>& ViewNames();

} // namespace kxcontour
