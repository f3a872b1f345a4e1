// Vertex positions and normals.
#ifndef KXSCENEGRAPH_KXVERTEXBUFFER_H
#define KXSCENEGRAPH_KXVERTEXBUFFER_H

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxAttributes.h>
#include <kxSystem/kxExport.h>
#include <kxSystem/kxObject.h>

#include <cassert>
#include <cstddef>
#include <vector>

namespace kx {

/// A fixed number of vertices with the attributes chosen at construction.
///
/// Vertex indices are 0 to `GetVertexQuantity() - 1`; they are checked only in debug builds. Any
/// number of threads may read a buffer while none writes to it. References to elements stay valid
/// for the lifetime of the buffer.
class KX_EXPORT kxVertexBuffer : public kxObject {
public:
    static const kxRtti TYPE; ///< The record of this class.

    /// All attributes zero. A negative quantity counts as 0.
    kxVertexBuffer(const kxAttributes& attributes, int vertexQuantity);
    ~kxVertexBuffer() override;

    const kxRtti& GetType() const override;

    /// The number given at construction.
    int GetVertexQuantity() const { return vertexQuantity_; }
    /// The layout of each vertex.
    const kxAttributes& GetAttributes() const { return attributes_; }

    /// The position of vertex `i`; the buffer must have position channels.
    Wm4::Vector3<float>& Position3(int i) {
        assert(IsVertex(i) && HasPositions());
        return positions_[static_cast<std::size_t>(i)];
    }
    /// As above, for reading.
    const Wm4::Vector3<float>& Position3(int i) const {
        assert(IsVertex(i) && HasPositions());
        return positions_[static_cast<std::size_t>(i)];
    }

    /// The normal of vertex `i`, of any length. Writing requires normal channels; reading does not:
    /// without them every normal is the zero vector.
    Wm4::Vector3<float>& Normal3(int i) {
        assert(IsVertex(i) && HasNormals());
        return normals_[static_cast<std::size_t>(i)];
    }
    /// As above, for reading.
    const Wm4::Vector3<float>& Normal3(int i) const {
        assert(IsVertex(i));
        return HasNormals() ? normals_[static_cast<std::size_t>(i)] : noNormal_;
    }

private:
    bool IsVertex(int i) const { return i >= 0 && i < vertexQuantity_; }
    bool HasPositions() const { return attributes_.GetPositionChannels() == 3; }
    bool HasNormals() const { return attributes_.GetNormalChannels() == 3; }

    kxAttributes attributes_;
    int vertexQuantity_;
    std::vector<Wm4::Vector3<float>> positions_;
    std::vector<Wm4::Vector3<float>> normals_;
    const Wm4::Vector3<float> noNormal_{0.0f, 0.0f, 0.0f};
};

} // namespace kx

#endif
