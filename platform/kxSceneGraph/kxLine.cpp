// Line geometry and its copy.
#include <kxSceneGraph/kxLine.h>

#include <memory>

namespace kx {

constinit const kxRtti kxLine::TYPE("kxLine", &kxBaseGeometry::TYPE);

kxLine::kxLine(kxVertexBuffer* vertices, kxIndexBuffer* indices, bool strip)
    : kxBaseGeometry(vertices, indices), strip_(strip) {}

kxLine::~kxLine() = default;

const kxRtti& kxLine::GetType() const {
    return TYPE;
}

kxBaseGeometry::GeometryType kxLine::GetGeometryType() const {
    return GT_LINES;
}

bool kxLine::Clone(kxRttiInterface*& target) const {
    std::unique_ptr<kxLine> made(target ? nullptr : new kxLine(nullptr, nullptr, strip_));
    // A type record does not distinguish a class that shares its base's record; dynamic_cast does.
    auto* line = made ? made.get() : dynamic_cast<kxLine*>(target);
    if (!line) {
        return false;
    }
    CopyGeometryTo(*line);
    line->color_ = color_;
    line->width_ = width_;
    line->strip_ = strip_;
    if (made) {
        target = made.release();
    }
    return true;
}

} // namespace kx
