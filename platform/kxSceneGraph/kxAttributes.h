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
    void SetPositionChannels(int channels);
    int GetPositionChannels() const { return positionChannels_; }

    void SetNormalChannels(int channels);
    int GetNormalChannels() const { return normalChannels_; }

private:
    int positionChannels_ = 0;
    int normalChannels_ = 0;
};

} // namespace kx

#endif
