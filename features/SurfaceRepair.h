// Makes a surface whole: closes its cracks, splits edges at T-junctions, drops faces that are given
// twice.
#pragma once

#include <ctr/Surface.h>

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include "features/Sides.h"

#include <memory>

namespace ctr {

/// The buffers of a surface, of clean triangles, and the sides of these once they are gathered.
///
/// Buffers may be shared with others and are replaced rather than written to.
class SurfaceParts {
public:
    SurfaceParts(const kx::kxPointer<kx::kxVertexBuffer>& vertices,
                 const kx::kxPointer<kx::kxIndexBuffer>& triangles)
        : vertices_(vertices), triangles_(triangles) {}

    const kx::kxPointer<kx::kxVertexBuffer>& vertices() const { return vertices_; }
    const kx::kxPointer<kx::kxIndexBuffer>& triangles() const { return triangles_; }

    /// Good until a buffer is replaced.
    const Sides& sides() {
        if (!sides_) {
            sides_ = std::make_unique<const Sides>(*vertices_, *triangles_);
        }
        return *sides_;
    }

    void replace(const kx::kxPointer<kx::kxVertexBuffer>& vertices) {
        sides_.reset();
        vertices_ = vertices;
    }
    void replace(const kx::kxPointer<kx::kxIndexBuffer>& triangles) {
        sides_.reset();
        triangles_ = triangles;
    }

private:
    kx::kxPointer<kx::kxVertexBuffer> vertices_;
    kx::kxPointer<kx::kxIndexBuffer> triangles_;
    std::unique_ptr<const Sides> sides_;
};

/// What Surface::repair() does.
SurfaceReport RepairSurface(SurfaceParts& surface, const Welding& welding);

} // namespace ctr
