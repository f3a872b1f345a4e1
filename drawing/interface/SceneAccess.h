// Public types in the terms of the stages.
#pragma once

#include <Wm4Foundation.h>
#include <kxDrawing/Geometry.h>
#include <kxDrawing/Scene.h>

#include "drawing/scene/Scene.h"

#include <cstddef>

namespace kxdrawing {

struct SceneAccess {
    /// Builds the meshes on the first call, for all threads. Throws NothingToDraw and CannotRead.
    static const kxcontour::Scene& prepared(const Scene& scene);
};

/// The matrix for row vectors.
inline Wm4::Matrix4<double> RowVectorMatrix(const Matrix& matrix) {
    Wm4::Matrix4<double> transposed(false);
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            transposed[static_cast<int>(column)][static_cast<int>(row)] = matrix[4 * row + column];
        }
    }
    return transposed;
}

} // namespace kxdrawing
