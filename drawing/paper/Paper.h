// Lines on a sheet of paper: those found in a view, and the paths made of them.
//
// Lengths are millimetres. Points are measured from the sheet's upper left corner, x to the right
// and y down.
#pragma once

#include <kxDrawing/Drawing.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kxcontour {

using kxdrawing::Arc;
using kxdrawing::DrawingStatistics;
using kxdrawing::kNoObject;
using kxdrawing::Layering;
using kxdrawing::LineKind;
using kxdrawing::LineOptions;
using kxdrawing::PageLine;
using kxdrawing::PageSize;
using kxdrawing::Path;
using kxdrawing::PathGroup;
using kxdrawing::Point;
using kxdrawing::StrokeStyle;
using kxdrawing::StyleSheet;

/// Lines this near are one line, ends this near one point. Millimetres.
struct PaperTolerances {
    double coincidence = 0.02;
    double joint = 0.001;
};

/// Lines of one kind and one object, all visible or all hidden.
struct LineGroup {
    LineKind kind = LineKind::Silhouette;
    bool hidden = false;
    std::size_t object = kNoObject; ///< Index into PageLines::objects, or kNoObject.
    std::vector<PageLine> lines;
};

inline double ValueOf(const kxdrawing::Fraction& fraction) {
    return static_cast<double>(fraction.numerator) / static_cast<double>(fraction.denominator);
}

/// All lines of a view of a scene, before they are made into paths.
struct PageLines {
    std::vector<std::string> objects; ///< Their names as the files have them; may repeat.
    std::vector<LineGroup> groups;
};

} // namespace kxcontour
