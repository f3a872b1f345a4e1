// Measures meshes in a view and makes the matrices of the camera and back.
#include "camera/Camera.h"

#include "common/Failure.h"

#include <algorithm>
#include <cmath>

namespace kxcontour {
namespace {

constexpr unsigned int kScreenBits = 20;
constexpr unsigned int kDepthBits = 19;

/// Room in front of and behind the model, as a part of its depth: nothing is cut by rounding.
constexpr double kDepthPadding = 1.0 / 1024.0;

/// The depth given to something flat, as a part of its larger side.
constexpr double kLeastDepth = 1.0 / 1024.0;

using Vector = Wm4::Vector3<double>;

/// A mesh's world transformation followed by the turn into the view, as columns of coefficients.
struct ToView {
    double factor[3][4];

    ToView(const Wm4::Matrix4<float>& world, const ViewAxes& axes) {
        const Vector* const rows[3] = {&axes.right, &axes.up, &axes.back};
        for (int axis = 0; axis < 3; ++axis) {
            const Vector& along = *rows[axis];
            for (int i = 0; i < 4; ++i) {
                factor[axis][i] = static_cast<double>(world[i][0]) * along[0] +
                                  static_cast<double>(world[i][1]) * along[1] +
                                  static_cast<double>(world[i][2]) * along[2];
            }
        }
    }

    Vector operator()(const Wm4::Vector3<float>& p) const {
        const double x = static_cast<double>(p[0]);
        const double y = static_cast<double>(p[1]);
        const double z = static_cast<double>(p[2]);
        const auto along = [&](const double* f) { return x * f[0] + y * f[1] + z * f[2] + f[3]; };
        return {along(factor[0]), along(factor[1]), along(factor[2])};
    }
};

bool OverlapsSheet(const Box& box, const Frame& frame) {
    for (int axis = 0; axis < 2; ++axis) {
        if (box.max[axis] < frame.center[axis] - frame.halfSize[axis] ||
            box.min[axis] > frame.center[axis] + frame.halfSize[axis]) {
            return false;
        }
    }
    return true;
}

/// World units per millimetre, so that the box fills the page inside the margin.
double ScaleToFit(const Box& drawn, PageSize page) {
    const double scale = std::max(drawn.size()[0] / (page.width - 2.0 * kPageMargin),
                                  drawn.size()[1] / (page.height - 2.0 * kPageMargin));
    // A point has no size: any scale shows it.
    return scale > 0.0 ? scale : 1.0;
}

void FitDepth(Frame& frame, const Box& drawn, const std::vector<Box>& occluders) {
    const double farthest = drawn.min[2];
    double nearest = drawn.max[2];
    for (const Box& occluder : occluders) {
        if (!occluder.isEmpty() && OverlapsSheet(occluder, frame)) {
            nearest = std::max(nearest, occluder.max[2]);
        }
    }
    const double depth = nearest - farthest;
    const double padded = std::max(depth * (0.5 + kDepthPadding),
                                   kLeastDepth * std::max(frame.halfSize[0], frame.halfSize[1]));
    frame.center[2] = 0.5 * nearest + 0.5 * farthest;
    frame.halfSize[2] = padded;
}

Wm4::Matrix4<float> Rounded(const Wm4::Matrix4<double>& matrix) {
    Wm4::Matrix4<float> rounded;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            // A zero of either sign becomes a plain zero.
            rounded[row][column] = static_cast<float>(matrix[row][column]) + 0.0F;
        }
    }
    return rounded;
}

/// World to clip space: each coordinate along its axis, over half of the frame's size.
Wm4::Matrix4<double> WorldToClip(const Frame& frame, const ViewAxes& axes) {
    Wm4::Matrix4<double> matrix(false);
    for (int i = 0; i < 3; ++i) {
        matrix[i][0] = axes.right[i] / frame.halfSize[0];
        matrix[i][1] = axes.up[i] / frame.halfSize[1];
        matrix[i][2] = -axes.back[i] / frame.halfSize[2];
    }
    matrix[3][0] = -frame.center[0] / frame.halfSize[0];
    matrix[3][1] = -frame.center[1] / frame.halfSize[1];
    matrix[3][2] = frame.center[2] / frame.halfSize[2];
    return matrix;
}

/// The inverse in closed form: the axes are of unit length and at right angles.
Wm4::Matrix4<double> ClipToWorld(const Frame& frame, const ViewAxes& axes) {
    Wm4::Matrix4<double> matrix(false);
    for (int i = 0; i < 3; ++i) {
        matrix[0][i] = frame.halfSize[0] * axes.right[i];
        matrix[1][i] = frame.halfSize[1] * axes.up[i];
        matrix[2][i] = -frame.halfSize[2] * axes.back[i];
        matrix[3][i] = frame.center[0] * axes.right[i] + frame.center[1] * axes.up[i] +
                       frame.center[2] * axes.back[i];
    }
    return matrix;
}

/// Whether single precision can hold the frame's sizes, their reciprocals and their squares.
bool IsInRange(const Frame& frame) {
    for (int axis = 0; axis < 3; ++axis) {
        if (!(frame.halfSize[axis] > 1e-18 && frame.halfSize[axis] < 1e18 &&
              std::abs(frame.center[axis]) < 1e18)) {
            return false;
        }
    }
    return true;
}

} // namespace

Box MeasureInView(const kx::kxTriMesh& mesh, const ViewAxes& axes) {
    const ToView toView(mesh.GetWorldTransformation().GetMatrix(), axes);
    const kx::kxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    const kx::kxIndexBuffer& triangles = *mesh.GetIndexBuffer();
    Box box;
    for (int i = 0; i < triangles.GetIndexQuantity(); ++i) {
        box.add(toView(vertices.Position3(static_cast<int>(triangles.GetData()[i]))));
    }
    return box;
}

Frame FitToPage(const Box& drawn, const std::vector<Box>& occluders, PageSize page) {
    const double scale = ScaleToFit(drawn, page);
    Frame frame;
    frame.center = drawn.center();
    frame.halfSize = {0.5 * page.width * scale, 0.5 * page.height * scale, 0.0};
    FitDepth(frame, drawn, occluders);
    return frame;
}

ctr::DiscreteProjectionSpace MakeCamera(const Frame& frame, const ViewAxes& axes) {
    if (!IsInRange(frame)) {
        throw Failure(ExitCode::NothingToDraw,
                      "nothing to draw: the model is too large or too small for its coordinates");
    }
    ctr::DiscreteProjectionSpace space;
    space.setViewProjection(Rounded(WorldToClip(frame, axes)), Rounded(ClipToWorld(frame, axes)));
    space.setVoxelBitSize(kScreenBits, kDepthBits);
    return space;
}

} // namespace kxcontour
