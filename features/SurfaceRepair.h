// Repair of surfaces: closes cracks, splits edges at T-junctions, removes duplicate faces.
#pragma once

#include <ctr/Surface.h>

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include "features/HalfEdges.h"

#include <memory>

namespace ctr {

/// The buffers of a surface of clean triangles, and its half-edges, built on demand.
///
/// Buffers may be shared, so they are replaced and never written to.
class SurfaceParts {
public:
    SurfaceParts(const kx::kxPointer<kx::kxVertexBuffer>& vertices,
                 const kx::kxPointer<kx::kxIndexBuffer>& triangles)
        : vertices_(vertices), triangles_(triangles) {}

    const kx::kxPointer<kx::kxVertexBuffer>& vertices() const { return vertices_; }
    const kx::kxPointer<kx::kxIndexBuffer>& triangles() const { return triangles_; }

    /// Valid until a buffer is replaced.
    const HalfEdges& halfEdges() {
        if (!halfEdges_) {
            halfEdges_ = std::make_unique<const HalfEdges>(*vertices_, *triangles_);
        }
        return *halfEdges_;
    }

    void replace(const kx::kxPointer<kx::kxVertexBuffer>& vertices) {
        halfEdges_.reset();
        vertices_ = vertices;
    }
    void replace(const kx::kxPointer<kx::kxIndexBuffer>& triangles) {
        halfEdges_.reset();
        triangles_ = triangles;
    }

private:
    kx::kxPointer<kx::kxVertexBuffer> vertices_;
    kx::kxPointer<kx::kxIndexBuffer> triangles_;
    std::unique_ptr<const HalfEdges> halfEdges_;
};

/// Implements Surface::repair().
SurfaceReport RepairSurface(SurfaceParts& surface, const Welding& welding);

} // namespace ctr
