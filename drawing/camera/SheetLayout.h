// Several views of one model on one sheet, at one scale.
#pragma once

#include "drawing/camera/View.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace kxcontour {

/// Where the other views stand around the front view (ISO 5456-2).
enum class Arrangement : std::uint8_t {
    FirstAngle, ///< The view from above stands below, the one from the right on the left.
    ThirdAngle, ///< The view from above stands above, the one from the right on the right.
};

/// A view and how large its drawing is, in world units.
struct SheetView {
    kxdrawing::Direction view = kxdrawing::Direction::Front;
    double width = 0.0;
    double height = 0.0;
};

/// The part of the sheet that a view gets, in millimetres from the upper left corner. The drawing
/// of the view is in the middle of it with room to spare.
struct SheetCell {
    kxdrawing::Direction view = kxdrawing::Direction::Front;
    double left = 0.0;
    double top = 0.0;
    PageSize size;
};

struct SheetLayout {
    std::vector<SheetCell> cells; ///< In the order of the views.
    double unitsPerMillimetre = 1.0;
    PageSize needed; ///< Of all views with the gaps between them.
};

/// Arranges views around the front one, in line with it, the isometric one in the corner between;
/// without a front view, or when two claim one place, in a row. Without a scale they are as large
/// as the sheet inside its margin allows.
SheetLayout ArrangeViews(const std::vector<SheetView>& views,
                         const Page& page,
                         Arrangement arrangement,
                         std::optional<double> unitsPerMillimetre);

} // namespace kxcontour
