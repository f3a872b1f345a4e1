// Shape by shape.
#include "drawing/scene/Cleaning.h"

namespace kxcontour {

void Add(DroppedTriangles& sum, const DroppedTriangles& other) {
    sum.badIndex += other.badIndex;
    sum.notFinite += other.notFinite;
    sum.degenerate += other.degenerate;
}

DroppedTriangles CleanShapes(Model& model) {
    DroppedTriangles dropped;
    for (Shape& shape : model.shapes) {
        Add(dropped, ctr::CleanTriangles(*shape.vertices, *shape.triangles));
    }
    return dropped;
}

std::string DescribeDropped(const DroppedTriangles& dropped) {
    std::string text = "left out " + std::to_string(dropped.total()) +
                       (dropped.total() == 1 ? " triangle" : " triangles");
    const char* separator = ": ";
    const auto add = [&](std::size_t count, const char* what) {
        if (count > 0) {
            text += separator + std::to_string(count) + what;
            separator = ", ";
        }
    };
    add(dropped.degenerate, " degenerate");
    add(dropped.notFinite, " not finite");
    add(dropped.badIndex, " with an index out of range");
    return text;
}

} // namespace kxcontour
