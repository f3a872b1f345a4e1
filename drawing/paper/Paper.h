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
using kxdrawing::kNoObject;
using kxdrawing::LineKind;
using kxdrawing::PageLine;
using kxdrawing::PageSize;
using kxdrawing::Path;
using kxdrawing::PathGroup;
using kxdrawing::Point;
using kxdrawing::StrokeStyle;
using kxdrawing::StyleSheet;

/// Lines of one kind and one object, all visible or all hidden.
struct LineGroup {
    LineKind kind = LineKind::Silhouette;
    bool hidden = false;
    std::size_t object = kNoObject; ///< Index into PageLines::objects, or kNoObject.
    std::vector<PageLine> lines;
};

/// All lines of a view of a scene, before they are made into paths.
struct PageLines {
    std::vector<std::string> objects; ///< Their names as the files have them; may repeat.
    std::vector<LineGroup> groups;
};

} // namespace kxcontour
