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

    Vector operator()(const Wm4::Vector3<float>& point) const {
        const Vector p = ToDouble(point);
        const auto along = [&](const double* f) {
            return p[0] * f[0] + p[1] * f[1] + p[2] * f[2] + f[3];
        };
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

/// The middle of what is fitted, in the world, whose axes are those of the front view.
Vector MiddleOf(const MeshList& meshes) {
    return Around(Measure(meshes, AxesOf(kxdrawing::Direction::Front))).center();
}

/// Upright on the page, unless a user says otherwise: the world's up, or for an eye straight above
/// or below what the top and bottom views have up.
Vector UpFor(const View& view, const Vector& back) {
    if (view.up) {
        return ToVector(*view.up);
    }
    const bool vertical = back[0] == 0.0 && back[2] == 0.0;
    return vertical
               ? AxesOf(back[1] > 0.0 ? kxdrawing::Direction::Top : kxdrawing::Direction::Bottom).up
               : Vector(0, 1, 0);
}

ViewAxes ChooseAxes(const View& view, const MeshList& fitted) {
    if (view.eye) {
        const Vector focus = view.target ? ToVector(*view.target) : MiddleOf(fitted);
        const Vector back = ToVector(*view.eye) - focus;
        return AxesLooking(back, UpFor(view, back));
    }
    const ViewAxes axes = view.azimuth || view.elevation
                              ? AxesOf(view.azimuth.value_or(0.0), view.elevation.value_or(0.0))
                              : AxesOf(view.direction);
    return view.up ? AxesLooking(axes.back, ToVector(*view.up)) : axes;
}

AimedCamera AimParallel(const View& view,
                        const CameraSubjects& subjects,
                        const Page& page,
                        const ViewAxes& axes) {
    const std::vector<Box> drawn = Measure(subjects.drawn, axes);
    FitRules rules;
    rules.page = page;
    rules.zoom = view.zoom;
    if (view.scale) {
        rules.unitsPerMillimetre = 1.0 / *view.scale;
    }
    if (view.target) {
        rules.middle = InView(ToVector(*view.target), axes);
    }
    const Box all = Around(drawn);
    const Box fitted =
        subjects.fitted == subjects.drawn ? all : Around(Measure(subjects.fitted, axes));
    const Frame frame = FitToPage(fitted, drawn, Measure(subjects.occluders, axes), rules);
    const double units = UnitsPerMillimetre(frame, page.size);
    const Vector size = all.size() / units;
    return {MakeCamera(frame, axes), units, PageSize{size[0], size[1]}};
}

/// The half angles of the whole sheet, of which the field of view is what is inside the margin.
Pyramid OpenPyramid(const View& view, const Page& page) {
    const Turn half = TurnBy(0.5 * view.fieldOfView);
    const double inner = half.sine / half.cosine / view.zoom;
    Pyramid pyramid;
    pyramid.tangentY = inner * page.size.height / (page.size.height - 2.0 * page.margin);
    pyramid.tangentX = pyramid.tangentY * page.size.width / page.size.height;
    return pyramid;
}

/// Where the eye sees all that is fitted inside the margin; zooming then leaves the eye in place.
Vector FindEye(const View& view, const MeshList& fitted, const Page& page, const ViewAxes& axes) {
    View unzoomed = view;
    unzoomed.zoom = 1.0;
    const Pyramid whole = OpenPyramid(unzoomed, page);
    const auto inside = [&](double side) { return (side - 2.0 * page.margin) / side; };
    EyeFinder finder(whole.tangentX * inside(page.size.width),
                     whole.tangentY * inside(page.size.height));
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

AimedCamera AimPerspective(const View& view,
                           const CameraSubjects& subjects,
                           const Page& page,
                           const ViewAxes& axes) {
    Pyramid pyramid = OpenPyramid(view, page);
    pyramid.eye =
        view.eye ? InView(ToVector(*view.eye), axes) : FindEye(view, subjects.fitted, page, axes);
    ChooseDepths(pyramid, subjects, axes);
    return {MakeCamera(pyramid, axes), std::nullopt, std::nullopt};
}

} // namespace

Box MeasureInView(const kx::kxTriMesh& mesh, const ViewAxes& axes) {
    Box box;
    ForEachCorner(mesh, axes, [&](const Vector& point) { box.add(point); });
    return box;
}

AimedCamera AimCamera(const View& view, const CameraSubjects& subjects, const Page& page) {
    const ViewAxes axes = view.roll == 0.0 ? ChooseAxes(view, subjects.fitted)
                                           : Rolled(ChooseAxes(view, subjects.fitted), view.roll);
    return view.projection == Projection::Perspective ? AimPerspective(view, subjects, page, axes)
                                                      : AimParallel(view, subjects, page, axes);
}

} // namespace kxcontour
