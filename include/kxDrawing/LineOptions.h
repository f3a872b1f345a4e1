// Which lines a drawing has and how they look.
#pragma once

#include <ctr/Export.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace kxdrawing {

/// Why a line is drawn: the boundary between faces towards and away from the eye, a sharp or
/// boundary edge, or the intersection of two surfaces.
enum class LineKind : std::uint8_t { Silhouette, Crease, Intersection };

/// "silhouette", "crease" or "intersection".
CTR_EXPORT const char* NameOf(LineKind kind);

/// The look of a line.
struct StrokeStyle {
    double width = 0.2;                         ///< Millimetres, over 0.
    std::array<std::uint8_t, 3> color{0, 0, 0}; ///< Red, green, blue.
    std::vector<double> dashes; ///< Lengths on and off in turn, millimetres; empty: solid.

    /// Equal in all members.
    bool operator==(const StrokeStyle& other) const = default;
};

/// The styles of a drawing; hidden lines of all kinds look alike.
struct StyleSheet {
    StrokeStyle silhouette{0.2, {0, 0, 0}, {}};     ///< Of visible silhouettes.
    StrokeStyle crease{0.133333, {0, 0, 0}, {}};    ///< Of visible creases.
    StrokeStyle intersection{0.2, {0, 0, 0}, {}};   ///< Of visible intersections.
    StrokeStyle hidden{0.1, {0, 0, 0}, {1.0, 0.6}}; ///< Of all hidden lines.

    /// The style of visible or hidden lines of a kind.
    CTR_EXPORT const StrokeStyle& of(LineKind kind, bool isHidden) const;
};

/// What becomes a layer of the drawing. Lines are joined within a layer.
enum class Layering : std::uint8_t { None, Type, Object };

/// Which lines are drawn, and what is made of them.
struct LineOptions {
    bool silhouettes = true;            ///< Draw silhouettes.
    bool creases = true;                ///< Draw creases.
    bool intersections = true;          ///< Draw intersections.
    bool hidden = false;                ///< Draw hidden lines as well, in their own style.
    StyleSheet styles;                  ///< How lines look.
    Layering layering = Layering::None; ///< Whether lines are sorted into layers.
    double minLength = 0.02;            ///< Shorter paths are left out. Millimetres, 0 or more.
    std::optional<double>
        arcTolerance;  ///< Recognise arcs within so many millimetres; none: do not.
    bool paths = true; ///< Fill Drawing::layers.
    /// Fill Drawing::lines, which JSON is written from, and with paths also Path::lines.
    bool lines = true;
};

} // namespace kxdrawing
