// Styles and names of lines.
#include <kxDrawing/LineOptions.h>

namespace kxdrawing {

const StrokeStyle& StyleSheet::of(LineKind kind, bool isHidden) const {
    if (isHidden) {
        return hidden;
    }
    switch (kind) {
    case LineKind::Crease:
        return crease;
    case LineKind::Intersection:
        return intersection;
    case LineKind::Silhouette:
        break;
    }
    return silhouette;
}

const char* NameOf(LineKind kind) {
    switch (kind) {
    case LineKind::Crease:
        return "crease";
    case LineKind::Intersection:
        return "intersection";
    case LineKind::Silhouette:
        break;
    }
    return "silhouette";
}

} // namespace kxdrawing
