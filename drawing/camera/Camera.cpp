// Measures meshes in a view and chooses the frame or pyramid that shows them.
#include "drawing/camera/Camera.h"

#include <kxDrawing/Errors.h>

#include "drawing/camera/Frame.h"
#include "drawing/common/Angles.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace kxcontour {
namespace {

using Vector = Wm4::Vector3<double>;

/// The nearest distance that a perspective camera shows, as a part of the farthest: depth is a
/// fraction with the distance below, so room for what is very near is taken from all the rest.
constexpr double kNearestShare = 1.0 / 4096.0;

/// Room in front of and behind the model, as a part of its distance.
constexpr double kPyramidPadding = 1.0 / 1024.0;

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

/// Calls a function with every corner of every triangle, in view coordinates.
template <class Function>
void ForEachCorner(const kx::kxTriMesh& mesh, const ViewAxes& axes, const Function& function) {
    const ToView toView(mesh.GetWorldTransformation().GetMatrix(), axes);
    const kx::kxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    const kx::kxIndexBuffer& triangles = *mesh.GetIndexBuffer();
    const unsigned int* const indices = triangles.GetData();
    const int count = triangles.GetIndexQuantity();
    for (int i = 0; i < count; ++i) {
        function(toView(vertices.Position3(static_cast<int>(indices[i]))));
    }
}

std::vector<Box> Measure(const MeshList& meshes, const ViewAxes& axes) {
    std::vector<Box> boxes;
    boxes.reserve(meshes.size());
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : meshes) {
        boxes.push_back(MeasureInView(*mesh, axes));
    }
    return boxes;
}

Box Around(const std::vector<Box>& boxes) {
    Box all;
    for (const Box& box : boxes) {
        all.add(box);
    }
    return all;
}

Vector InView(const Vector& point, const ViewAxes& axes) {
    return {point.Dot(axes.right), point.Dot(axes.up), point.Dot(axes.back)};
}

Vector InWorld(const Vector& point, const ViewAxes& axes) {
    return point[0] * axes.right + point[1] * axes.up + point[2] * axes.back;
}

/// The middle of what is fitted, in the world.
Vector MiddleOf(const MeshList& meshes) {
    const ViewAxes front = AxesOf(View::Front);
    return InWorld(Around(Measure(meshes, front)).center(), front);
}

/// Upright on the page, unless a user says otherwise: the world's up, or for an eye straight above
/// or below what the top and bottom views have up.
Vector UpFor(const CameraRequest& request, const Vector& back) {
    if (request.viewUp) {
        return *request.viewUp;
    }
    const bool vertical = back[0] == 0.0 && back[2] == 0.0;
    return vertical ? AxesOf(back[1] > 0.0 ? View::Top : View::Bottom).up : Vector(0, 1, 0);
}

ViewAxes ChooseAxes(const CameraRequest& request, const MeshList& fitted) {
    if (request.position) {
        const Vector focus = request.focalPoint ? *request.focalPoint : MiddleOf(fitted);
        const Vector back = *request.position - focus;
        return AxesLooking(back, UpFor(request, back));
    }
    const ViewAxes axes =
        request.azimuth || request.elevation
            ? AxesOf(request.azimuth.value_or(0.0), request.elevation.value_or(0.0))
            : AxesOf(request.view);
    return request.viewUp ? AxesLooking(axes.back, *request.viewUp) : axes;
}

AimedCamera AimParallel(const CameraRequest& request,
                        const CameraSubjects& subjects,
                        const Sheet& sheet,
                        const ViewAxes& axes) {
    const std::vector<Box> drawn = Measure(subjects.drawn, axes);
    FitRules rules;
    rules.page = sheet.page;
    rules.margin = sheet.margin;
    rules.zoom = request.zoom;
    if (request.scale) {
        rules.unitsPerMillimetre = 1.0 / *request.scale;
    }
    if (request.focalPoint) {
        rules.middle = InView(*request.focalPoint, axes);
    }
    const Box all = Around(drawn);
    const Box fitted =
        subjects.fitted == subjects.drawn ? all : Around(Measure(subjects.fitted, axes));
    const Frame frame = FitToPage(fitted, drawn, Measure(subjects.occluders, axes), rules);
    const double units = UnitsPerMillimetre(frame, sheet.page);
    const Vector size = all.size() / units;
    return {MakeCamera(frame, axes), units, PageSize{size[0], size[1]}};
}

/// The half angles of the whole sheet, of which the field of view is what is inside the margin.
Pyramid OpenPyramid(const CameraRequest& request, const Sheet& sheet) {
    const Turn half = TurnBy(0.5 * request.fieldOfView);
    const double inner = half.sine / half.cosine / request.zoom;
    Pyramid pyramid;
    pyramid.tangentY = inner * sheet.page.height / (sheet.page.height - 2.0 * sheet.margin);
    pyramid.tangentX = pyramid.tangentY * sheet.page.width / sheet.page.height;
    return pyramid;
}

/// Where the eye sees all that is fitted inside the margin; zooming then leaves the eye in place.
Vector FindEye(const CameraRequest& request,
               const MeshList& fitted,
               const Sheet& sheet,
               const ViewAxes& axes) {
    CameraRequest unzoomed = request;
    unzoomed.zoom = 1.0;
    const Pyramid whole = OpenPyramid(unzoomed, sheet);
    const auto inside = [&](double side) { return (side - 2.0 * sheet.margin) / side; };
    EyeFinder finder(whole.tangentX * inside(sheet.page.width),
                     whole.tangentY * inside(sheet.page.height));
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : fitted) {
        ForEachCorner(*mesh, axes, [&](const Vector& point) { finder.add(point); });
    }
    return finder.eye();
}

void ChooseDepths(Pyramid& pyramid, const CameraSubjects& subjects, const ViewAxes& axes) {
    double nearest = std::numeric_limits<double>::infinity();
    double farthest = 0.0;
    const auto distance = [&](const Vector& point) { return pyramid.eye[2] - point[2]; };
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : subjects.drawn) {
        ForEachCorner(*mesh, axes, [&](const Vector& point) {
            nearest = std::min(nearest, distance(point));
            farthest = std::max(farthest, distance(point));
        });
    }
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : subjects.occluders) {
        ForEachCorner(*mesh, axes,
                      [&](const Vector& point) { nearest = std::min(nearest, distance(point)); });
    }
    if (!(farthest > 0.0)) {
        throw kxdrawing::NothingToDraw("nothing to draw: the model is behind the camera");
    }
    pyramid.far = farthest * (1.0 + kPyramidPadding);
    pyramid.near = std::max(nearest * (1.0 - kPyramidPadding), pyramid.far * kNearestShare);
}

AimedCamera AimPerspective(const CameraRequest& request,
                           const CameraSubjects& subjects,
                           const Sheet& sheet,
                           const ViewAxes& axes) {
    Pyramid pyramid = OpenPyramid(request, sheet);
    pyramid.eye = request.position ? InView(*request.position, axes)
                                   : FindEye(request, subjects.fitted, sheet, axes);
    ChooseDepths(pyramid, subjects, axes);
    return {MakeCamera(pyramid, axes), std::nullopt, std::nullopt};
}

} // namespace

Box MeasureInView(const kx::kxTriMesh& mesh, const ViewAxes& axes) {
    Box box;
    ForEachCorner(mesh, axes, [&](const Vector& point) { box.add(point); });
    return box;
}

AimedCamera
AimCamera(const CameraRequest& request, const CameraSubjects& subjects, const Sheet& sheet) {
    const ViewAxes axes = request.roll == 0.0
                              ? ChooseAxes(request, subjects.fitted)
                              : Rolled(ChooseAxes(request, subjects.fitted), request.roll);
    return request.projection == Projection::Perspective
               ? AimPerspective(request, subjects, sheet, axes)
               : AimParallel(request, subjects, sheet, axes);
}

} // namespace kxcontour
