// The vertex layout of a vertex buffer.
#ifndef KXSCENEGRAPH_KXATTRIBUTES_H
#define KXSCENEGRAPH_KXATTRIBUTES_H

#include <kxSystem/kxExport.h>

namespace kx {

/// The layout of a vertex: the number of floats per attribute. By default, none.
///
/// An attribute has 3 channels, or 0 if absent; any other number is a caller error and counts as 0.
class KX_EXPORT kxAttributes {
public:
    /// Floats of a position: 3 or 0.
    void SetPositionChannels(int channels);
    /// 3 if vertices have positions, otherwise 0.
    int GetPositionChannels() const { return positionChannels_; }

    /// Floats of a normal: 3 or 0.
    void SetNormalChannels(int channels);
    /// 3 if vertices have normals, otherwise 0.
    int GetNormalChannels() const { return normalChannels_; }

private:
    int positionChannels_ = 0;
    int normalChannels_ = 0;
};

} // namespace kx

#endif
