// Small questions about drawings.
#include "drawing/paper/Paper.h"

namespace kxcontour {

const StrokeStyle& StyleSheet::of(Family family, bool isHidden) const {
    if (isHidden) {
        return hidden;
    }
    switch (family) {
    case Family::Crease:
        return crease;
    case Family::Intersection:
        return intersection;
    case Family::Silhouette:
        break;
    }
    return silhouette;
}

std::size_t CountPaths(const PaperDrawing& drawing) {
    std::size_t count = 0;
    for (const PaperLayer& layer : drawing.layers) {
        for (const PathGroup& group : layer.groups) {
            count += group.paths.size();
        }
    }
    return count;
}

const char* NameOf(Family family) {
    switch (family) {
    case Family::Crease:
        return "crease";
    case Family::Intersection:
        return "intersection";
    case Family::Silhouette:
        break;
    }
    return "silhouette";
}

} // namespace kxcontour
