// What the public interface and the stages behind it need of each other.
#pragma once

#include <Wm4Foundation.h>
#include <kxDrawing/Errors.h>
#include <kxDrawing/Geometry.h>

#include "drawing/common/Failure.h"

#include <cstddef>

namespace kxdrawing {

/// Calls a function and turns its Failure into the documented exception.
template <class Function> auto WithPublicErrors(const Function& function) {
    using kxcontour::ExitCode;
    try {
        return function();
    } catch (const kxcontour::Failure& failure) {
        switch (failure.code()) {
        case ExitCode::Usage:
        case ExitCode::Unreadable:
            throw InvalidArgument(failure.what());
        case ExitCode::NothingToDraw:
            throw NothingToDraw(failure.what());
        case ExitCode::CannotWrite:
            throw CannotWrite(failure.what());
        default:
            throw Error(failure.what());
        }
    }
}

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
