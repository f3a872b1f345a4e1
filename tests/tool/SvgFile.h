// Reads the drawings that the tool writes.
#pragma once

#include <string>
#include <vector>

namespace tool_test {

/// A point on the page in millimetres, from the upper left corner.
struct PagePoint {
    double x;
    double y;
};

using SvgPath = std::vector<PagePoint>;

struct SvgGroup {
    std::string layer; ///< Its label; empty for a group that is in none.
    std::string stroke;
    std::string strokeWidth;
    std::string dashes;
    std::vector<SvgPath> paths;
};

struct SvgFile {
    std::string width;
    std::string height;
    std::string viewBox;
    std::string title;       ///< Empty when there is none.
    std::string description; ///< Empty when there is none.
    std::vector<SvgGroup> groups;

    std::size_t pathCount() const;
};

/// Parses a drawing. Throws std::runtime_error for what is not well-formed XML, and for anything in
/// it that a drawing does not have: every path is moves and lines only.
SvgFile ReadSvg(const std::string& path);

/// The smallest box that holds all points of a drawing.
struct PageBox {
    double left;
    double top;
    double right;
    double bottom;
};
PageBox BoundsOf(const SvgFile& svg);

} // namespace tool_test
