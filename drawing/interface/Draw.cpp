// The public operations that draw: arguments are checked and put into the terms of the stages.
#include <kxDrawing/Drawing.h>
#include <kxDrawing/Errors.h>

#include "drawing/Drawing.h"
#include "drawing/interface/SceneAccess.h"
#include "drawing/scene/Box.h"

#include <cmath>
#include <exception>
#include <utility>

namespace kxdrawing {
namespace {

/// Passes the progress of the stages on. An exception of the receiver cancels the stage, whose code
/// need not be prepared for it, and is thrown again once that has returned.
class ProgressObserver : public kxcontour::DrawingObserver {
public:
    explicit ProgressObserver(Progress* receiver) : receiver_(receiver) {}

    void enter(const char* stage) override {
        DrawingObserver::enter(stage);
        stage_ = stage;
        report(share());
        rethrow();
    }
    void rethrow() override {
        if (thrown_) {
            std::rethrow_exception(std::exchange(thrown_, nullptr));
        }
    }
    bool isCanceled() const override { return thrown_ != nullptr; }
    void advance(double steps) override {
        DrawingObserver::advance(steps);
        report(share());
    }
    void finish() {
        report(1.0);
        rethrow();
    }

private:
    void report(double share) {
        reported_ = std::max(reported_, share);
        try {
            if (receiver_ != nullptr && !thrown_) {
                receiver_->report(reported_, stage_);
            }
        } catch (...) {
            thrown_ = std::current_exception();
        }
    }

    Progress* receiver_;
    const char* stage_ = "";
    double reported_ = 0.0;
    std::exception_ptr thrown_;
};

bool IsFinite(const std::optional<Vector>& vector) {
    return !vector || kxcontour::IsFinite(kxcontour::ToVector(*vector));
}

void Require(bool holds, const char* message) {
    if (!holds) {
        throw InvalidArgument(message);
    }
}

/// In single precision, as cameras are.
bool HasInverse(const Matrix& matrix) {
    const Wm4::Matrix4<double> inverse = kxcontour::RowVectorMatrix(matrix).Inverse();
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
    Require(IsFinite(view.eye), "the eye is not finite");
    Require(IsFinite(view.target), "the target is not finite");
    Require(IsFinite(view.up), "the up direction is not finite");
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
    const kxcontour::DrawingRequest request{{view, {}}, {page, {}, {}}, options};
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
