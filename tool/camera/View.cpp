// The axes of the named views, and their names.
#include "camera/View.h"

#include "common/Failure.h"
#include "common/NearestName.h"

#include <cmath>
#include <cstddef>

namespace kxcontour {

ViewAxes AxesOf(View view) {
    using V = Wm4::Vector3<double>;
    switch (view) {
    case View::Front:
        return {V(1, 0, 0), V(0, 1, 0), V(0, 0, 1)};
    case View::Back:
        return {V(-1, 0, 0), V(0, 1, 0), V(0, 0, -1)};
    case View::Left:
        return {V(0, 0, 1), V(0, 1, 0), V(-1, 0, 0)};
    case View::Right:
        return {V(0, 0, -1), V(0, 1, 0), V(1, 0, 0)};
    case View::Top:
        return {V(1, 0, 0), V(0, 0, -1), V(0, 1, 0)};
    case View::Bottom:
        return {V(1, 0, 0), V(0, 0, 1), V(0, -1, 0)};
    case View::Iso:
        break;
    }
    // Square roots and quotients are correctly rounded, so these are the same numbers everywhere.
    const double half = 1.0 / std::sqrt(2.0);
    const double third = 1.0 / std::sqrt(3.0);
    const double sixth = 1.0 / std::sqrt(6.0);
    return {V(half, 0, -half), V(-sixth, 2.0 * sixth, -sixth), V(third, third, third)};
}

View ParseView(std::string_view text) {
    const std::vector<std::string>& names = ViewNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == text) {
            return static_cast<View>(i);
        }
    }
    const std::string nearest = NearestName(text, names);
    throw Failure(ExitCode::Usage, "unknown view '" + std::string(text) + "'; " +
                                       (nearest.empty() ? "" : "did you mean '" + nearest + "'? ") +
                                       "choose front, back, left, right, top, bottom or iso");
}

const std::vector<std::string>& ViewNames() {
    // In the order of the enumeration.
    static const std::vector<std::string> names{"front", "back",   "left", "right",
                                                "top",   "bottom", "iso"};
    return names;
}

} // namespace kxcontour
