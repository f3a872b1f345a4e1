// Lines that belong to no mesh: a helix and an axis, hidden where a box is in front of them. The
// visible parts are drawn solid, the hidden ones dashed.
//
//   g++ own_lines.cpp $(pkg-config --cflags --libs kxContouringLib) -o own_lines
//   ./own_lines OUT.svg
//
// The occluded intervals of any line set can be computed: tool paths, dimension lines, wires. It
// must be in the world space of the meshes, or have a world transformation into it.
//
// Exit codes: 0 drawn, 1 cannot write, 2 wrong usage.
#include <ctr/ctr.h>

#include "Scene.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

namespace {

using example::Point;
using LinePointer = kx::kxPointer<ctr::LineSegmentSet>;

// A set of the segments from each point to the next. A new set has no owner until a pointer refers
// to it; it keeps references to its two buffers.
LinePointer MakePolyline(const std::vector<Point>& points) {
    const int count = static_cast<int>(points.size());
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    const kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
    const kx::kxPointer<kx::kxIndexBuffer> ends(
        new kx::kxIndexBuffer(2 * (count - 1), kx::IBT_LINES));
    for (int i = 0; i < count; ++i) {
        vertices->Position3(i) = points[static_cast<std::size_t>(i)];
    }
    unsigned int* end = ends->GetData();
    for (int i = 0; i < count - 1; ++i) {
        *end++ = static_cast<unsigned int>(i);
        *end++ = static_cast<unsigned int>(i + 1);
    }
    LinePointer lines(new ctr::LineSegmentSet);
    lines->SetVertexBuffer(vertices.get());
    lines->SetIndexBuffer(ends.get());
    return lines;
}

// Three turns around the y axis, in segments of about 1.5 mm: now inside the box, now outside.
LinePointer MakeHelix() {
    constexpr int kSegments = 432;
    std::vector<Point> points;
    for (int i = 0; i <= kSegments; ++i) {
        const double turns = 3.0 * i / kSegments;
        const double angle = 2.0 * Wm4::Math<double>::PI * turns;
        points.emplace_back(static_cast<float>(34.0 * std::cos(angle)),
                            static_cast<float>(-20.0 + 30.0 * turns),
                            static_cast<float>(-34.0 * std::sin(angle)));
    }
    return MakePolyline(points);
}

// From below the box to above it, in segments of 1.5 mm, so that it can be dashed like the helix.
LinePointer MakeAxis() {
    std::vector<Point> points;
    for (int i = 0; i <= 80; ++i) {
        points.emplace_back(0.0F, -40.0F + 1.5F * static_cast<float>(i), 0.0F);
    }
    return MakePolyline(points);
}

// A set over the same buffers that shows the hidden parts of another one, dashed. Drawing a set
// leaves out its occluded intervals: here these are the visible parts, every third segment for the
// gaps between dashes, and segments outside the view, for which t0 is not below t1.
LinePointer DashesOfHidden(const ctr::LineSegmentSet& lines) {
    LinePointer dashes(new ctr::LineSegmentSet);
    dashes->SetVertexBuffer(lines.GetVertexBuffer());
    dashes->SetIndexBuffer(lines.GetIndexBuffer());
    dashes->clipRanges = lines.clipRanges;
    for (std::size_t i = 0; i < lines.occlusionIntervals.size(); ++i) {
        const bool outside = !(lines.clipRanges[i].t0 < lines.clipRanges[i].t1);
        if (outside || i % 3 == 2) {
            dashes->occlusionIntervals.push_back({{{0, 1}, {1, 1}}});
        } else {
            dashes->occlusionIntervals.push_back(
                ctr::IntervalTools::Complement(lines.occlusionIntervals[i]));
        }
    }
    return dashes;
}

// The length of a set in world space; 0 for null.
double LengthOf(const ctr::LineSegmentSet* lines) {
    double length = 0.0;
    const int count = lines != nullptr ? lines->GetIndexBuffer()->GetIndexQuantity() : 0;
    for (int i = 0; i + 1 < count; i += 2) {
        const unsigned int* const ends = lines->GetIndexBuffer()->GetData() + i;
        const kx::kxVertexBuffer& vertices = *lines->GetVertexBuffer();
        const Point along = vertices.Position3(static_cast<int>(ends[1])) -
                            vertices.Position3(static_cast<int>(ends[0]));
        length += static_cast<double>(along.Length());
    }
    return length;
}

// The visible pieces are a new set, with new vertices where a line becomes hidden or visible; null
// if nothing is visible.
void PrintLengths(const std::string& name, const ctr::LineSegmentSet& lines) {
    const LinePointer visible(ctr::LineSegmentSet::BakeVisibleSegments(&lines));
    std::cout << std::fixed << std::setprecision(2) << name << ": " << LengthOf(&lines) << " mm, "
              << LengthOf(visible.get()) << " mm visible\n";
}

// Colours have channels from 0 to 1, widths are in millimetres. The styles "crease" and
// "silhouette" are predefined; streamLineSegments() fails for an unknown style.
void SetStyles(ctr::SVGExporter& svg) {
    svg.setLineStyle("visible", {Wm4::ColorRGB(0.8F, 0.0F, 0.0F), 0.35F});
    svg.setLineStyle("hidden", {Wm4::ColorRGB(0.8F, 0.5F, 0.5F), 0.18F});
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: own_lines OUT.svg\n";
        return 2;
    }
    const auto box = example::MakeBox({-30.0F, 0.0F, -30.0F}, {30.0F, 50.0F, 30.0F});
    const ctr::DiscreteProjectionSpace camera =
        example::MakeCamera({30.0, 25.0, {0.0F, 20.0F, 0.0F}, {120.0F, 160.0F, 400.0F}});

    // The box is baked once; then any number of sets can be processed, in any order.
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(camera);
    generator.setSingleExportCluster({box.get()}, nullptr);
    const LinePointer helix = MakeHelix();
    const LinePointer axis = MakeAxis();
    generator.computeOcclusion(*helix, 0); // Fills occlusionIntervals and clipRanges of the set.
    generator.computeOcclusion(*axis, 0);
    PrintLengths("helix", *helix);
    PrintLengths("axis", *axis);
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);

    ctr::ExportParameters page(camera);
    page.setPageSizeInMM({120.0F, 160.0F});
    page.computeBestFitTransform();
    ctr::SVGExporter svg;
    svg.setExportParameters(page);
    SetStyles(svg);
    const bool written =
        svg.openFile(arguments[1]) && svg.streamLineSegments(*DashesOfHidden(*helix), "hidden") &&
        svg.streamLineSegments(*DashesOfHidden(*axis), "hidden") &&
        svg.streamGeometricFeatures(features) && svg.streamLineSegments(*helix, "visible") &&
        svg.streamLineSegments(*axis, "visible") && svg.closeFile();
    if (!written) {
        std::cerr << "cannot write " << arguments[1] << '\n';
        return 1;
    }
    return 0;
}
