// Counts what is in a drawing.
#include "drawing/paper/Paper.h"

namespace kxcontour {

std::size_t CountPaths(const kxdrawing::Drawing& drawing) {
    std::size_t count = 0;
    for (const kxdrawing::Layer& layer : drawing.layers) {
        for (const PathGroup& group : layer.groups) {
            count += group.paths.size();
        }
    }
    return count;
}

} // namespace kxcontour
