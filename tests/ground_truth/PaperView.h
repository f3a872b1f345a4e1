// Cameras of test drawings, and where points are on an A4 page, computed independently.
#pragma once

#include <kxDrawing/View.h>

#include "BoxLines.h"
#include "tool/SvgFile.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ground_truth {

/// How a view is oriented to the axes of the world.
enum class ViewKind : std::uint8_t {
    Oblique,            ///< Parallel, any direction.
    Level,              ///< Parallel, oblique but level: floors are seen edge-on.
    Isometric,          ///< Parallel along (1, 1, 1).
    AlongAxis,          ///< Parallel, along an axis.
    ObliquePerspective, ///< An eye in any direction.
    AxisPerspective,    ///< An eye that looks along an axis, in the plane of faces at times.
};
constexpr std::size_t kViewKinds = 6;

const char* NameOf(ViewKind kind);

/// A line on paper, millimetres from the upper left corner.
struct FlatLine {
    tool_test::PagePoint a;
    tool_test::PagePoint b;
};

double LengthOf(const FlatLine& line);

/// A camera that shows all boxes of a scene inside the margin of a page of 210 x 297 mm.
class PaperView {
public:
    PaperView(ViewKind kind, const std::vector<Cuboid>& boxes, std::uint64_t seed);

    const kxdrawing::View& request() const { return request_; }
    const Eye& eye() const { return eye_; }
    tool_test::PagePoint project(const Vector& point) const;

    /// As options of the tool.
    std::string options() const;

private:
    void chooseParallel(ViewKind kind, std::uint64_t seed);
    void choosePerspective(ViewKind kind, const std::vector<Cuboid>& boxes, std::uint64_t seed);
    void look(const Vector& back);
    void fit(const std::vector<Cuboid>& boxes);
    tool_test::PagePoint flat(const Vector& point) const;

    kxdrawing::View request_;
    Eye eye_;
    Vector right_;
    Vector up_;
    Vector back_;
    double scale_ = 1.0; ///< Millimetres per unit; in perspective at a distance of one unit.
    tool_test::PagePoint middle_{0.0, 0.0}; ///< What is in the middle of the page, unscaled.
};

} // namespace ground_truth
