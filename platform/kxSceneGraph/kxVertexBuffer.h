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

/// A fixed number of vertices, each with the attributes asked for at construction.
///
/// Vertex numbers are 0 to `GetVertexQuantity() - 1`; they are checked only in debug builds. Any
/// number of threads may read a buffer while none writes to it. References to its elements stay
/// good for the buffer's life.
class KX_EXPORT kxVertexBuffer : public kxObject {
public:
    static const kxRtti TYPE; ///< The record of this class.

    /// All attributes zero. A negative quantity counts as 0.
    kxVertexBuffer(const kxAttributes& attributes, int vertexQuantity);
    ~kxVertexBuffer() override;

    const kxRtti& GetType() const override;

    /// The number given at construction.
    int GetVertexQuantity() const { return vertexQuantity_; }
    /// What each vertex has.
    const kxAttributes& GetAttributes() const { return attributes_; }

    /// The position of vertex `i`; the buffer must have position channels.
    Wm4::Vector3<float>& Position3(int i) {
        assert(IsVertex(i) && HasPositions());
        return positions_[static_cast<std::size_t>(i)];
    }
    /// The same, for reading.
    const Wm4::Vector3<float>& Position3(int i) const {
        assert(IsVertex(i) && HasPositions());
        return positions_[static_cast<std::size_t>(i)];
    }

    /// The normal of vertex `i`, of any length. To write one, the buffer must have normal channels;
    /// to read one it need not, and without them every normal is the zero vector.
    Wm4::Vector3<float>& Normal3(int i) {
        assert(IsVertex(i) && HasNormals());
        return normals_[static_cast<std::size_t>(i)];
    }
    /// The same, for reading.
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
