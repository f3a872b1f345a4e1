// Drawings of scenes: every visible line once, on a page.
#pragma once

#include <ctr/Export.h>

#include <kxDrawing/Geometry.h>
#include <kxDrawing/LineOptions.h>
#include <kxDrawing/Page.h>
#include <kxDrawing/Progress.h>
#include <kxDrawing/Scene.h>
#include <kxDrawing/View.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kxdrawing {

/// The object of lines that belong to no single one, such as intersections of two objects.
constexpr std::size_t kNoObject = static_cast<std::size_t>(-1);

/// The line of an edge that shows none of Drawing::lines.
constexpr std::uint32_t kNoLine = static_cast<std::uint32_t>(-1);

/// An exact fraction.
struct Fraction {
    std::int64_t numerator = 0;   ///< Not reduced.
    std::int64_t denominator = 1; ///< Over 0.
};

/// A part of a line on the page, from 0 at its start to 1 at its end.
struct Interval {
    Fraction from; ///< Its start.
    Fraction to;   ///< Its end.
};

/// A straight line on the page.
struct PageLine {
    Point a; ///< The start.
    Point b; ///< The end.
};

/// A line of the scene with its occluded intervals. Lines of the model are listed once each, those
/// of intersections as pieces.
struct Line {
    LineKind kind = LineKind::Silhouette; ///< Why the line is drawn.
    std::size_t object = kNoObject;       ///< Index into Drawing::objects, or kNoObject.
    std::array<Vector, 2> ends{};         ///< In the coordinates of the scene.
    /// The part of the line that lies inside the view; none where nothing does.
    std::optional<PageLine> onPage;
    /// Where onPage starts and ends in space.
    std::array<Vector, 2> endsOnPage{};
    /// The distance from the eye at the end of onPage over that at its start; 1 without
    /// perspective.
    double depthRatio = 1.0;
    /// The occluded intervals of onPage: exact, disjoint, in order.
    std::vector<Interval> hidden;
    /// Parts of the visible rest that other lines show already, as decimals.
    std::vector<std::array<double, 2>> repeated;

    /// The point in space behind a point of onPage, which is given from 0 at its start to 1 at its
    /// end. Corrected for perspective.
    CTR_EXPORT Vector at(double share) const;
};

/// An elliptic arc that replaces the points from first to last (first < last) of a path.
struct Arc {
    std::size_t first = 0; ///< Index into Path::points.
    std::size_t last = 0;  ///< Index into Path::points.
    Point center;          ///< Of the ellipse.
    double radiusX = 0.0;  ///< Along the first axis; over 0.
    double radiusY = 0.0;  ///< Along the second axis; equal to radiusX for a circle.
    double rotation = 0.0; ///< Of the first axis from x towards y, in degrees.
    double start =
        0.0; ///< Parameter of the first point, degrees: center + turned (rx cos, ry sin).
    double sweep = 0.0; ///< Degrees to the last point, signed like rotation; up to a full turn.
};

/// A polyline of two points or more. A closed one ends with the point that it starts with.
struct Path {
    std::vector<Point> points; ///< Millimetres.
    std::vector<Arc> arcs;     ///< In order along the path, without overlap.
    /// By edge (from points[i] to points[i + 1]): the line of the scene that it shows, an index
    /// into Drawing::lines, or kNoLine for one that closes a gap of hundredths of a millimetre.
    /// Empty unless LineOptions::lines was set.
    std::vector<std::uint32_t> lines;
    /// Of all lines of the path, or kNoObject where it runs over several objects. Known with lines.
    std::size_t object = kNoObject;

    /// Whether the path ends where it starts.
    CTR_EXPORT bool isClosed() const;
};

/// Paths that are drawn alike.
struct PathGroup {
    LineKind kind = LineKind::Silhouette; ///< Of the first lines in it; others have its style.
    bool hidden = false;                  ///< Whether the paths show hidden parts of lines.
    StrokeStyle style;                    ///< Of all paths.
    std::vector<Path> paths;              ///< In drawing order.
};

/// A layer of the drawing; the name is empty in a drawing without layers.
struct Layer {
    std::string name;              ///< Unique in the drawing.
    std::vector<PathGroup> groups; ///< In drawing order, later ones on top.
};

/// How many lines and paths there are.
struct DrawingStatistics {
    std::size_t lines = 0;      ///< Pieces of lines that were found.
    std::size_t shownOnce = 0;  ///< Pieces left when each is drawn once.
    std::size_t paths = 0;      ///< Paths, or lines where only these were asked for.
    std::size_t shortPaths = 0; ///< Paths that LineOptions::minLength left out.
};

/// A finished drawing: a value that depends on nothing else. Writers.h writes it.
struct Drawing {
    PageSize page;                      ///< The sheet.
    std::string title = "Illustration"; ///< Plain text; empty: none.
    std::string description;            ///< Plain text; empty: none.
    std::vector<std::string> objects;   ///< Names of the objects of the scene; may repeat.
    std::vector<Layer> layers;          ///< Drawn in this order, later ones on top.
    std::vector<Line> lines;            ///< See LineOptions::lines.
    double millimetresPerUnit = 1.0;    ///< Of the scene's unit.
    /// Length on paper over real length; none in perspective and for matrices.
    std::optional<double> scale;
    /// Size of the drawing on paper, known where scale is: what exceeds the page inside its margin
    /// is drawn beyond it, or left out beyond the page.
    std::optional<PageSize> drawnSize;
    DrawingStatistics statistics; ///< Counts of lines and paths.
};

/// Draws a scene.
///
/// Visibility is decided exactly, on a grid of about a million steps across the page. On paper,
/// lines within 0.02 mm of each other count as one, and ends within 0.001 mm as one point (more on
/// sheets larger than A4). The same arguments give the same drawing on every machine.
///
/// Throws InvalidArgument for a view or a page that cannot exist, NothingToDraw for a scene without
/// triangles or a view that shows no line, CannotRead for more triangles than can be numbered; see
/// Errors.h. Any number of threads may draw one scene
/// at once. About O(n log n) in the number of triangles, plus the lines found.
CTR_EXPORT Drawing draw(const Scene& scene,
                        const View& view,
                        const Page& page = {},
                        const LineOptions& options = {},
                        Progress* progress = nullptr);

} // namespace kxdrawing
