// Styles and names of lines.
#include <kxDrawing/LineOptions.h>

#include <cstddef>

namespace kxdrawing {

const StrokeStyle& StyleSheet::of(LineKind kind, bool isHidden) const {
    const std::array kinds{&silhouette, &crease, &intersection};
    return isHidden ? hidden : *kinds[static_cast<std::size_t>(kind)];
}

const char* NameOf(LineKind kind) {
    constexpr std::array kNames{"silhouette", "crease", "intersection"};
    return kNames[static_cast<std::size_t>(kind)];
}

} // namespace kxdrawing
