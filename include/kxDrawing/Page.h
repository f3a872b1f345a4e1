// The sheet that a drawing is made for.
#pragma once

namespace kxdrawing {

/// Width and height of a sheet in millimetres; both from 1 mm to 100 m.
struct PageSize {
    double width = 210.0;  ///< The horizontal side.
    double height = 297.0; ///< The vertical side.

    /// Equal in both sides.
    bool operator==(const PageSize& other) const = default;
};

/// A sheet and the margin that a view leaves white around the drawing. Lengths in millimetres.
struct Page {
    PageSize size;        ///< A4 portrait by default.
    double margin = 10.0; ///< 0 or more, and under half of the shorter side.

    /// A4 portrait.
    static constexpr Page a4() { return {}; }
    /// A3 portrait.
    static constexpr Page a3() { return {{297.0, 420.0}}; }
    /// The same sheet with its longer side at the bottom.
    constexpr Page landscape() const {
        return size.width < size.height ? Page{{size.height, size.width}, margin} : *this;
    }
};

} // namespace kxdrawing
