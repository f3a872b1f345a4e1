// Triangulates polygons.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kxcontour {

/// A position in the precision of the file.
using FilePoint = std::array<double, 3>;

/// Triangulates polygons of any shape, one after another, without adding corners.
class PolygonTriangulator {
public:
    /// The triangles of a polygon, three indices of its corners each, in its own orientation: two
    /// fewer than it has corners. Valid until the next call.
    ///
    /// The triangles of a simple planar polygon cover exactly its interior, concave or not, and
    /// corners on its straight sides become corners of triangles with an area. Triangles of a
    /// polygon that crosses itself or has corners that are not finite are unspecified. O(n) for
    /// convex polygons, O(n r) with r reflex corners otherwise; beyond a fixed number of tests, the
    /// rest of the polygon becomes a triangle fan.
    const std::vector<std::uint32_t>& triangulate(const std::vector<FilePoint>& corners);

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
    bool isSamePosition(std::uint32_t p, std::uint32_t q) const;

    std::vector<Point2> flat_;        ///< Counter-clockwise in a plane.
    std::vector<std::uint32_t> next_; ///< Rings of the corners that are left.
    std::vector<std::uint32_t> before_;
    std::vector<std::uint32_t> reflex_; ///< Reflex corners: only these can lie in an ear.
    std::vector<bool> gone_;
    std::vector<std::uint32_t> triangles_;
    std::size_t left_ = 0;
    std::size_t tests_ = 0; ///< Corners tested so far.
};

} // namespace kxcontour
