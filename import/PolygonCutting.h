// Cuts polygons into triangles.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kxcontour {

/// A place of a file, as exact as the file has it.
using FilePoint = std::array<double, 3>;

/// Cuts polygons of any shape, one after another, without adding corners.
class PolygonCutter {
public:
    /// The triangles of a polygon, three numbers of its corners each, in its own order: two fewer
    /// than it has corners. Good until the next call.
    ///
    /// A simple polygon in a plane is cut within itself, concave or not, and corners on its
    /// straight sides stay corners of triangles with an area. One that crosses itself or has
    /// corners that are not finite is cut somehow. Linear time for a convex polygon, corners times
    /// inward corners else; a polygon whose cutting would take too long is cut as a fan from there
    /// on.
    const std::vector<std::uint32_t>& cut(const std::vector<FilePoint>& corners);

private:
    struct Point2 {
        double x;
        double y;
    };

    void flatten(const std::vector<FilePoint>& corners);
    void link(std::size_t count);
    void clipEars();
    void clip(std::uint32_t ear);
    void cutAsFan(std::uint32_t first);
    bool isEar(std::uint32_t ear);
    double turnAt(std::uint32_t corner) const;
    double side(std::uint32_t a, std::uint32_t b, std::uint32_t p) const;
    bool holds(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t p) const;
    bool isSamePlace(std::uint32_t p, std::uint32_t q) const;

    std::vector<Point2> flat_;        ///< Counter-clockwise in a plane.
    std::vector<std::uint32_t> next_; ///< Rings of the corners that are left.
    std::vector<std::uint32_t> before_;
    std::vector<std::uint32_t> inward_; ///< Corners that no ear may hold: those not convex.
    std::vector<bool> gone_;
    std::vector<std::uint32_t> triangles_;
    std::size_t left_ = 0;
    std::size_t tests_ = 0; ///< Points looked at so far.
};

} // namespace kxcontour
