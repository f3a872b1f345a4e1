// Vertex layouts: an attribute has three channels or none.
#include <kxSceneGraph/kxAttributes.h>

#include <cassert>

namespace kx {

namespace {

int CheckedChannels(int channels) {
    assert(channels == 0 || channels == 3);
    return channels == 3 ? 3 : 0;
}

} // namespace

void kxAttributes::SetPositionChannels(int channels) {
    positionChannels_ = CheckedChannels(channels);
}

void kxAttributes::SetNormalChannels(int channels) {
    normalChannels_ = CheckedChannels(channels);
}

} // namespace kx
