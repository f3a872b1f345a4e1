// Fits frames to pages and makes the matrices of cameras, there and back.
#include "drawing/camera/Frame.h"

#include <kxDrawing/Errors.h>

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

bool OverlapsSheet(const Box& box, const Frame& frame) {
    if (box.isEmpty()) {
        return false;
    }
    for (int axis = 0; axis < 2; ++axis) {
        if (box.max[axis] < frame.center[axis] - frame.halfSize[axis] ||
            box.min[axis] > frame.center[axis] + frame.halfSize[axis]) {
            return false;
        }
    }
    return true;
}

/// World units per millimetre, so that the box fills the page inside the margin.
double ScaleToFit(const Box& fitted, const Vector& middle, const FitRules& rules) {
    double scale = 0.0;
    const double sides[2] = {rules.page.size.width, rules.page.size.height};
    for (int axis = 0; axis < 2; ++axis) {
        const double reach =
            std::max(fitted.max[axis] - middle[axis], middle[axis] - fitted.min[axis]);
        const double size = rules.middle ? 2.0 * reach : fitted.size()[axis];
        scale = std::max(scale, size / (sides[axis] - 2.0 * rules.page.margin));
    }
    // A point has no size: any scale shows it.
    return scale > 0.0 ? scale : 1.0;
}

void FitDepth(Frame& frame,
              const Box& fitted,
              const std::vector<Box>& drawn,
              const std::vector<Box>& occluders) {
    double farthest = fitted.min[2];
    double nearest = fitted.max[2];
    for (const Box& box : drawn) {
        if (OverlapsSheet(box, frame)) {
            farthest = std::min(farthest, box.min[2]);
            nearest = std::max(nearest, box.max[2]);
        }
    }
    for (const Box& occluder : occluders) {
        if (OverlapsSheet(occluder, frame)) {
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

/// The same, and whether distances from the eye are left of its coordinates after rounding: they
/// are not for a model that is a single point.
bool IsInRange(const Pyramid& pyramid) {
    constexpr double kLeastShare = 1e-6;
    const auto holds = [](double size) { return size > 1e-18 && size < 1e18; };
    const double place =
        std::max({std::abs(pyramid.eye[0]), std::abs(pyramid.eye[1]), std::abs(pyramid.eye[2])});
    return holds(pyramid.near) && holds(pyramid.far) && holds(pyramid.tangentX) &&
           holds(pyramid.tangentY) && place < 1e18 && pyramid.far > kLeastShare * place;
}

/// Depth in clip space is slope * distance + offset * w, with the distance as w of clip space.
struct DepthMap {
    double slope;
    double offset;

    explicit DepthMap(const Pyramid& p)
        : slope((p.far + p.near) / (p.far - p.near)),
          offset(-2.0 * p.far * p.near / (p.far - p.near)) {}
};

Wm4::Matrix4<double> WorldToClip(const Pyramid& pyramid, const ViewAxes& axes) {
    const DepthMap depth(pyramid);
    Wm4::Matrix4<double> matrix(false);
    for (int i = 0; i < 3; ++i) {
        matrix[i][0] = axes.right[i] / pyramid.tangentX;
        matrix[i][1] = axes.up[i] / pyramid.tangentY;
        matrix[i][2] = -axes.back[i] * depth.slope;
        matrix[i][3] = -axes.back[i];
    }
    matrix[3][0] = -pyramid.eye[0] / pyramid.tangentX;
    matrix[3][1] = -pyramid.eye[1] / pyramid.tangentY;
    matrix[3][2] = pyramid.eye[2] * depth.slope + depth.offset;
    matrix[3][3] = pyramid.eye[2];
    return matrix;
}

Wm4::Matrix4<double> ClipToWorld(const Pyramid& pyramid, const ViewAxes& axes) {
    const DepthMap depth(pyramid);
    const Vector eye =
        pyramid.eye[0] * axes.right + pyramid.eye[1] * axes.up + pyramid.eye[2] * axes.back;
    Wm4::Matrix4<double> matrix(false);
    for (int i = 0; i < 3; ++i) {
        matrix[0][i] = pyramid.tangentX * axes.right[i];
        matrix[1][i] = pyramid.tangentY * axes.up[i];
        matrix[2][i] = eye[i] / depth.offset;
        matrix[3][i] = -axes.back[i] - eye[i] * depth.slope / depth.offset;
    }
    matrix[2][3] = 1.0 / depth.offset;
    matrix[3][3] = -depth.slope / depth.offset;
    return matrix;
}

[[noreturn]] void RefuseSize() {
    throw kxdrawing::NothingToDraw(
        "nothing to draw: the model is too large or too small for single precision");
}

ctr::DiscreteProjectionSpace MakeSpace(const Wm4::Matrix4<double>& worldToClip,
                                       const Wm4::Matrix4<double>& clipToWorld) {
    ctr::DiscreteProjectionSpace space;
    space.setViewProjection(Rounded(worldToClip), Rounded(clipToWorld));
    space.setVoxelBitSize(kScreenBits, kDepthBits);
    return space;
}

} // namespace

Frame FitToPage(const Box& fitted,
                const std::vector<Box>& drawn,
                const std::vector<Box>& occluders,
                const FitRules& rules) {
    Frame frame;
    frame.center = rules.middle.value_or(fitted.center());
    const double scale = rules.unitsPerMillimetre
                             ? *rules.unitsPerMillimetre
                             : ScaleToFit(fitted, frame.center, rules) / rules.zoom;
    frame.halfSize = {0.5 * rules.page.size.width * scale, 0.5 * rules.page.size.height * scale,
                      0.0};
    FitDepth(frame, fitted, drawn, occluders);
    return frame;
}

double UnitsPerMillimetre(const Frame& frame, PageSize page) {
    return 2.0 * frame.halfSize[0] / page.width;
}

ctr::DiscreteProjectionSpace MakeCamera(const Frame& frame, const ViewAxes& axes) {
    if (!IsInRange(frame)) {
        RefuseSize();
    }
    return MakeSpace(WorldToClip(frame, axes), ClipToWorld(frame, axes));
}

ctr::DiscreteProjectionSpace MakeCamera(const Pyramid& pyramid, const ViewAxes& axes) {
    if (!IsInRange(pyramid)) {
        RefuseSize();
    }
    return MakeSpace(WorldToClip(pyramid, axes), ClipToWorld(pyramid, axes));
}

ctr::DiscreteProjectionSpace MakeCamera(const Wm4::Matrix4<double>& worldToClip) {
    return MakeSpace(worldToClip, worldToClip.Inverse());
}

void EyeFinder::add(const Vector& point) {
    for (int axis = 0; axis < 2; ++axis) {
        upper_[axis] = std::max(upper_[axis], point[axis] + tangent_[axis] * point[2]);
        lower_[axis] = std::max(lower_[axis], -point[axis] + tangent_[axis] * point[2]);
    }
    nearest_ = std::max(nearest_, point[2]);
}

Vector EyeFinder::eye() const {
    Vector eye(0.5 * (upper_[0] - lower_[0]), 0.5 * (upper_[1] - lower_[1]), nearest_);
    for (int axis = 0; axis < 2; ++axis) {
        eye[2] = std::max(eye[2], 0.5 * (upper_[axis] + lower_[axis]) / tangent_[axis]);
    }
    return eye;
}

} // namespace kxcontour
