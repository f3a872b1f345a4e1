// The public class over surface repair and feature edges. Buffers are cleaned when a surface is
// made; linear time.
#include <ctr/Surface.h>

#include "features/SharpEdges.h"
#include "features/SurfaceRepair.h"
#include "features/TriangleCleaning.h"

#include <algorithm>
#include <utility>

namespace ctr {
namespace {

/// The given buffer if all of its triangles are clean, otherwise a cleaned copy.
kx::kxPointer<kx::kxIndexBuffer> CleanPartOf(const kx::kxVertexBuffer& vertices,
                                             const kx::kxPointer<kx::kxIndexBuffer>& triangles) {
    if (AreClean(vertices, *triangles)) {
        return triangles;
    }
    kx::kxPointer<kx::kxIndexBuffer> clean(
        new kx::kxIndexBuffer(triangles->GetIndexQuantity(), kx::IBT_TRIANGLES));
    std::copy_n(triangles->GetData(), triangles->GetIndexQuantity(), clean->GetData());
    CleanTriangles(vertices, *clean);
    return clean;
}

SurfaceParts PartsOf(const kx::kxPointer<kx::kxVertexBuffer>& vertices,
                     const kx::kxPointer<kx::kxIndexBuffer>& triangles) {
    if (!vertices || !triangles || vertices->GetAttributes().GetPositionChannels() != 3) {
        const kx::kxPointer<kx::kxVertexBuffer> none(new kx::kxVertexBuffer(kx::kxAttributes(), 0));
        return {none, new kx::kxIndexBuffer(0, kx::IBT_TRIANGLES)};
    }
    return {vertices, CleanPartOf(*vertices, triangles)};
}

} // namespace

struct Surface::tInternal {
    SurfaceParts parts;
};

Surface::Surface(const kx::kxPointer<kx::kxVertexBuffer>& vertices,
                 const kx::kxPointer<kx::kxIndexBuffer>& triangles)
    : internal_(new tInternal{PartsOf(vertices, triangles)}) {}

Surface::~Surface() = default;
Surface::Surface(Surface&& other) noexcept = default;
Surface& Surface::operator=(Surface&& other) noexcept = default;

SurfaceReport Surface::repair(const Welding& welding) {
    SurfaceParts repaired(vertices(), triangles());
    const SurfaceReport report = RepairSurface(repaired, welding);
    internal_->parts = std::move(repaired);
    return report;
}

kx::kxPointer<kx::kxOutlineMetadata>
Surface::featureEdges(double angleInDegrees, const Wm4::Matrix4<double>& toWorld) const {
    SurfaceParts& parts = internal_->parts;
    return new kx::kxOutlineMetadata(FindSharpEdges(*parts.vertices(), *parts.triangles(),
                                                    parts.halfEdges(), angleInDegrees, toWorld));
}

const kx::kxPointer<kx::kxVertexBuffer>& Surface::vertices() const {
    return internal_->parts.vertices();
}

const kx::kxPointer<kx::kxIndexBuffer>& Surface::triangles() const {
    return internal_->parts.triangles();
}

} // namespace ctr
