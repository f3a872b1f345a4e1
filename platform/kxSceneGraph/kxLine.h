// Line geometry.
#ifndef KXSCENEGRAPH_KXLINE_H
#define KXSCENEGRAPH_KXLINE_H

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxBaseGeometry.h>
#include <kxSystem/kxExport.h>

namespace kx {

/// Lines between vertices: a list (two indices per segment) or a strip (each index continues the
/// line).
class KX_EXPORT kxLine : public kxBaseGeometry {
public:
    static const kxRtti TYPE; ///< The record of this class.

    /// Takes a reference on each buffer; null allowed.
    kxLine(kxVertexBuffer* vertices, kxIndexBuffer* indices, bool strip);
    ~kxLine() override;

    const kxRtti& GetType() const override;
    GeometryType GetGeometryType() const override;

    /// Copies buffers (shared, not duplicated), transformations, name, flags, model bound, colour,
    /// width and the strip property, but not the parents. A null `target` receives a new `kxLine`.
    /// Returns false and copies nothing if `target` is not a `kxLine`. A line may be cloned into
    /// itself.
    bool Clone(kxRttiInterface*& target) const override;

    /// Whether the indices are a strip rather than a list.
    bool isStrip() const { return strip_; }

    /// The colour; opaque black by default.
    Wm4::ColorRGBA getColor() const { return color_; }
    /// Stores the colour; nothing here draws with it.
    void setColor(const Wm4::ColorRGBA& color) { color_ = color; }

    /// The width, in the unit of the renderer; 1 by default.
    float getWidth() const { return width_; }
    /// Stores the width, unchecked.
    void setWidth(float width) { width_ = width; }

private:
    Wm4::ColorRGBA color_;
    float width_ = 1.0f;
    bool strip_;
};

} // namespace kx

#endif
