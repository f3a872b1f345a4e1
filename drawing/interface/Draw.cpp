// The public operations that draw: arguments are checked and put into the terms of the stages.
#include <kxDrawing/Drawing.h>
#include <kxDrawing/Errors.h>

#include "drawing/Drawing.h"
#include "drawing/common/StagePlan.h"
#include "drawing/interface/SceneAccess.h"

#include <cmath>
#include <exception>
#include <utility>

namespace kxdrawing {
namespace {

using kxcontour::CameraRequest;

/// Passes the progress of the stages on. An exception of the receiver cancels the stage, whose code
/// need not be prepared for it, and is thrown again once that has returned.
class ProgressObserver : public kxcontour::DrawingObserver {
public:
    explicit ProgressObserver(Progress* receiver) : receiver_(receiver) {}

    void expect(std::vector<kxcontour::PlannedStage> stages) override {
        plan_.expect(std::move(stages));
    }
    void enter(const char* stage) override {
        plan_.enter(stage);
        stage_ = stage;
        report();
        rethrow();
    }
    void rethrow() override {
        if (thrown_) {
            std::rethrow_exception(std::exchange(thrown_, nullptr));
        }
    }
    bool isCanceled() const override { return thrown_ != nullptr; }
    void setTotal(double steps) override { plan_.setTotal(steps); }
    void getRange(double& start, double& end) const override {
        start = plan_.done();
        end = plan_.total();
    }
    void advance(double steps) override {
        plan_.advance(steps);
        report();
    }
    void finish() {
        share_ = 1.0;
        if (receiver_ != nullptr) {
            receiver_->report(share_, stage_);
        }
    }

private:
    void report() {
        if (receiver_ == nullptr || thrown_) {
            return;
        }
        share_ = std::max(share_, plan_.share());
        try {
            receiver_->report(share_, stage_);
        } catch (...) {
            thrown_ = std::current_exception();
        }
    }

    Progress* receiver_;
    kxcontour::StagePlan plan_;
    const char* stage_ = "";
    double share_ = 0.0;
    std::exception_ptr thrown_;
};

void RequireFinite(const std::optional<Vector>& vector, const char* name) {
    if (vector && !(std::isfinite((*vector)[0]) && std::isfinite((*vector)[1]) &&
                    std::isfinite((*vector)[2]))) {
        throw InvalidArgument(std::string(name) + " is not finite");
    }
}

void Require(bool holds, const char* message) {
    if (!holds) {
        throw InvalidArgument(message);
    }
}

/// In single precision, as cameras are.
bool HasInverse(const Matrix& matrix) {
    const Wm4::Matrix4<double> inverse = RowVectorMatrix(matrix).Inverse();
    for (int i = 0; i < 16; ++i) {
        if (!std::isfinite(static_cast<float>(matrix[static_cast<std::size_t>(i)])) ||
            !std::isfinite(static_cast<float>(inverse[i / 4][i % 4]))) {
            return false;
        }
    }
    // The inverse of a singular matrix is given as zero.
    return inverse != Wm4::Matrix4<double>(true);
}

void Check(const View& view) {
    Require(!view.matrix || HasInverse(*view.matrix),
            "the matrix of the view is singular or not finite");
    RequireFinite(view.eye, "the eye");
    RequireFinite(view.target, "the target");
    RequireFinite(view.up, "the up direction");
    Require(std::isfinite(view.azimuth.value_or(0.0)), "the azimuth is not finite");
    Require(std::isfinite(view.elevation.value_or(0.0)), "the elevation is not finite");
    Require(std::isfinite(view.roll), "the roll is not finite");
    Require(std::isfinite(view.zoom) && view.zoom > 0.0, "the zoom is not positive");
    Require(view.fieldOfView > 0.0 && view.fieldOfView < 180.0,
            "the field of view is not between 0 and 180 degrees");
    if (view.scale) {
        Require(std::isfinite(*view.scale) && *view.scale > 0.0, "the scale is not positive");
        Require(view.projection == Projection::Orthographic,
                "a scale needs an orthographic projection");
    }
}

void Check(const Page& page) {
    constexpr double kLeast = 1.0;
    constexpr double kMost = 100'000.0;
    const auto [width, height] = page.size;
    Require(width >= kLeast && width <= kMost && height >= kLeast && height <= kMost,
            "a side of the page is not between 1 mm and 100 m");
    Require(page.margin >= 0.0 && 2.0 * page.margin < std::min(width, height),
            "the margin is negative or leaves nothing of the page");
}

void Check(const StrokeStyle& style) {
    Require(std::isfinite(style.width) && style.width > 0.0, "a line width is not positive");
    for (const double dash : style.dashes) {
        Require(std::isfinite(dash) && dash > 0.0, "a dash is not positive");
    }
}

void Check(const LineOptions& options) {
    Check(options.styles.silhouette);
    Check(options.styles.crease);
    Check(options.styles.intersection);
    Check(options.styles.hidden);
    Require(std::isfinite(options.minLength) && options.minLength >= 0.0,
            "the least length is negative or not finite");
    Require(!options.arcTolerance ||
                (std::isfinite(*options.arcTolerance) && *options.arcTolerance > 0.0),
            "the arc tolerance is not positive");
    Require(options.paths || options.lines, "neither paths nor lines are requested");
}

std::optional<Wm4::Vector3<double>> Internal(const std::optional<Vector>& vector) {
    return vector ? std::optional<Wm4::Vector3<double>>({(*vector)[0], (*vector)[1], (*vector)[2]})
                  : std::nullopt;
}

CameraRequest CameraOf(const View& view) {
    CameraRequest request;
    request.view = static_cast<kxcontour::View>(view.direction);
    request.azimuth = view.azimuth;
    request.elevation = view.elevation;
    request.roll = view.roll;
    request.position = Internal(view.eye);
    request.focalPoint = Internal(view.target);
    request.viewUp = Internal(view.up);
    request.projection = static_cast<kxcontour::Projection>(view.projection);
    request.fieldOfView = view.fieldOfView;
    request.zoom = view.zoom;
    request.scale = view.scale;
    return request;
}

} // namespace

Progress::~Progress() = default;

Drawing draw(const Scene& scene,
             const View& view,
             const Page& page,
             const LineOptions& options,
             Progress* progress) {
    Check(view);
    Check(page);
    Check(options);
    kxcontour::DrawingRequest request;
    request.camera = CameraOf(view);
    if (view.matrix) {
        request.fileToClip = RowVectorMatrix(*view.matrix);
    }
    request.page.size = page.size;
    request.page.margin = page.margin;
    request.lines = options;
    ProgressObserver observer(progress);
    Drawing drawing = DrawScene(SceneAccess::prepared(scene), request, observer);
    observer.finish();
    return drawing;
}

bool Path::isClosed() const {
    const Point& first = points.front();
    const Point& last = points.back();
    return points.size() > 2 && first.x == last.x && first.y == last.y;
}

/// A share s of the page is the share s / (s + (1 - s) * ratio) of the line in space, where ratio
/// is the distance of its end over that of its start (Foley and van Dam, Computer Graphics:
/// Principles and Practice, on interpolation under perspective).
Vector Line::at(double share) const {
    const double inSpace = share / (share + (1.0 - share) * depthRatio);
    Vector point{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        point[axis] = (1.0 - inSpace) * endsOnPage[0][axis] + inSpace * endsOnPage[1][axis];
    }
    return point;
}

} // namespace kxdrawing
