// Lines on a sheet of paper: what is found in the view, and the paths that are written.
//
// Lengths are millimetres. Points are measured from the sheet's upper left corner, x to the right
// and y down.
#pragma once

#include "drawing/paper/PageSize.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kxcontour {

/// Why a line is drawn.
enum class Family : std::uint8_t { Silhouette, Crease, Intersection };

struct Point {
    double x = 0.0;
    double y = 0.0;
};

/// A straight line between two points.
struct PaperLine {
    Point a;
    Point b;
};

/// The object of lines that belong to no single one: where objects cut each other.
constexpr std::size_t kSharedObject = static_cast<std::size_t>(-1);

/// Lines of one family and one object, all visible or all hidden.
struct LineGroup {
    Family family = Family::Silhouette;
    bool hidden = false;
    std::size_t object = kSharedObject; ///< Index into PaperLines::objects, or kSharedObject.
    std::vector<PaperLine> lines;
};

/// Everything that a view shows of a scene, before it is made into paths.
struct PaperLines {
    std::vector<std::string> objects; ///< Their names as the files have them; may repeat.
    std::vector<LineGroup> groups;
};

/// How a line is drawn.
struct StrokeStyle {
    double width = 0.2;
    std::array<std::uint8_t, 3> color{0, 0, 0}; ///< Red, green, blue.
    std::vector<double> dashes;                 ///< Lengths on and off in turn; empty: solid.

    bool operator==(const StrokeStyle& other) const = default;
};

/// The styles of a drawing; hidden lines of all families look alike.
struct StyleSheet {
    StrokeStyle silhouette{0.2, {0, 0, 0}, {}};
    StrokeStyle crease{0.133333, {0, 0, 0}, {}};
    StrokeStyle intersection{0.2, {0, 0, 0}, {}};
    StrokeStyle hidden{0.1, {0, 0, 0}, {1.0, 0.6}};

    const StrokeStyle& of(Family family, bool isHidden) const;
};

/// An elliptic arc in place of the polyline points from first to last (first < last).
struct Arc {
    std::size_t first = 0;
    std::size_t last = 0;
    Point center;
    double radiusX = 0.0;  ///< Along the first axis; over 0.
    double radiusY = 0.0;  ///< Along the second axis; equal to radiusX for a circle.
    double rotation = 0.0; ///< Of the first axis from x towards y, in degrees.
    double start =
        0.0; ///< Parameter of the first point, degrees: center + turned (rx cos, ry sin).
    double sweep = 0.0; ///< Degrees to the last point, signed like rotation; up to a full turn.
};

/// A polyline of two points or more. A closed one ends with the point that it starts with.
struct Path {
    std::vector<Point> points;
    std::vector<Arc> arcs; ///< In order along the path, without overlap.
};

/// Paths that are drawn alike.
struct PathGroup {
    Family family = Family::Silhouette; ///< Of the first lines in it.
    bool hidden = false;
    StrokeStyle style;
    std::vector<Path> paths;
};

/// What a program shows as one layer; the name is empty in a drawing without layers.
struct PaperLayer {
    std::string name; ///< Plain text; unique in the drawing.
    std::vector<PathGroup> groups;
};

/// A finished drawing, ready for any writer.
struct PaperDrawing {
    PageSize page;
    std::string title = "Illustration"; ///< Plain text; empty: none.
    std::string description;            ///< Plain text; empty: none.
    std::vector<PaperLayer> layers;     ///< Drawn in this order, later ones on top.
};

/// The number of paths of a drawing.
std::size_t CountPaths(const PaperDrawing& drawing);

/// "silhouette", "crease" or "intersection".
const char* NameOf(Family family);

} // namespace kxcontour
