// Geometry: references to buffers, and the box of their vertices.
#include <kxSceneGraph/kxBaseGeometry.h>

namespace kx {

namespace {

// A NaN, for which every comparison is false, does not change the box.
void Extend(kxBBox& box, const Wm4::Vector3<float>& point) {
    for (int axis = 0; axis < 3; ++axis) {
        const float value = point[axis];
        box.min[axis] = value < box.min[axis] ? value : box.min[axis];
        box.max[axis] = value > box.max[axis] ? value : box.max[axis];
    }
}

kxBBox BoundOf(const kxVertexBuffer* vertices) {
    kxBBox box;
    if (!vertices || vertices->GetAttributes().GetPositionChannels() != 3) {
        return box;
    }
    for (int i = 0; i < vertices->GetVertexQuantity(); ++i) {
        Extend(box, vertices->Position3(i));
    }
    return box;
}

} // namespace

constinit const kxRtti kxBaseGeometry::TYPE("kxBaseGeometry", &kxSpatial::TYPE);

kxBaseGeometry::kxBaseGeometry(kxVertexBuffer* vertices, kxIndexBuffer* indices)
    : vertices_(vertices), indices_(indices) {}

kxBaseGeometry::~kxBaseGeometry() = default;

const kxRtti& kxBaseGeometry::GetType() const {
    return TYPE;
}

kxBaseGeometry::GeometryType kxBaseGeometry::GetGeometryType() const {
    return GT_POINTS;
}

void kxBaseGeometry::SetVertexBuffer(kxVertexBuffer* vertices) {
    vertices_ = vertices;
}

void kxBaseGeometry::SetIndexBuffer(kxIndexBuffer* indices) {
    indices_ = indices;
}

void kxBaseGeometry::UpdateMS(bool recomputeBound, bool /*recomputeNormals*/, int /*controller*/) {
    if (recomputeBound) {
        modelBound_ = BoundOf(vertices_.get());
    }
}

void kxBaseGeometry::CopyGeometryTo(kxBaseGeometry& target) const {
    CopySpatialTo(target);
    target.vertices_ = vertices_;
    target.indices_ = indices_;
    target.modelBound_ = modelBound_;
}

} // namespace kx
