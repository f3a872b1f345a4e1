// What a vertex buffer stores for each vertex.
#ifndef KXSCENEGRAPH_KXATTRIBUTES_H
#define KXSCENEGRAPH_KXATTRIBUTES_H

#include <kxSystem/kxExport.h>

namespace kx {

/// The layout of a vertex: how many floats each of its attributes has. By default, none.
///
/// An attribute has 3 channels, or 0 when it is absent; any other number is the caller's mistake
/// and counts as 0.
class KX_EXPORT kxAttributes {
public:
    /// Floats of a position: 3 or 0.
    void SetPositionChannels(int channels);
    /// 3 when vertices have positions, else 0.
    int GetPositionChannels() const { return positionChannels_; }

    /// Floats of a normal: 3 or 0.
    void SetNormalChannels(int channels);
    /// 3 when vertices have normals, else 0.
    int GetNormalChannels() const { return normalChannels_; }

private:
    int positionChannels_ = 0;
    int normalChannels_ = 0;
};

} // namespace kx

#endif
