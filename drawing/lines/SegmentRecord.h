// Lines of the scene with their occluded intervals.
#pragma once

#include <ctr/IntervalTools.h>

#include "drawing/paper/Paper.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace kxcontour {

/// One line of the scene and what the view shows of it.
struct SegmentRecord {
    Family family = Family::Silhouette;
    std::size_t object = kSharedObject;
    std::array<std::array<double, 3>, 2> ends; ///< In the scene, in model units.
    /// The ends, in millimetres, of the part that lies inside the view; none when nothing does.
    std::optional<PaperLine> onPaper;
    /// Hidden ranges of that part: 0 is onPaper->a, 1 is onPaper->b.
    std::vector<ctr::RationalInterval> hidden;
    /// Ranges of the visible rest that other segments show.
    std::vector<std::array<double, 2>> repeated;
};

} // namespace kxcontour
