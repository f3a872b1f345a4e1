// Line geometry and its copy.
#include <kxSceneGraph/kxLine.h>

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
    if (!target) {
        target = new kxLine(nullptr, nullptr, strip_);
    }
    // A record cannot tell a class that shares its base's record, the language's own cast can.
    auto* line = dynamic_cast<kxLine*>(target);
    if (!line) {
        return false;
    }
    CopyGeometryTo(*line);
    line->color_ = color_;
    line->width_ = width_;
    line->strip_ = strip_;
    return true;
}

} // namespace kx
