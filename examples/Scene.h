// Meshes built in memory and a camera, for all examples. The unit is the millimetre, y points up,
// and drawings are at 1:1. The library itself has no unit and no up axis.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

#include <cmath>
#include <cstddef>
#include <vector>

namespace example {

using Point = Wm4::Vector3<float>;

/// A corner of a triangle. The normals determine creases: an edge is a crease if the normals of its
/// triangles differ by more than 5 degrees.
struct Corner {
    Point position;
    Point normal;
};

/// A mesh of triangles, three corners to each, counter-clockwise seen from outside.
///
/// The pointers count references: the mesh refers to its two buffers and is deleted with its last
/// pointer. Corners of different triangles are connected if their positions are exactly equal; here
/// each corner has its own vertex. Meshes with shared vertices work as well.
inline kx::kxPointer<kx::kxTriMesh> MakeMesh(const std::vector<Corner>& corners) {
    const int count = static_cast<int>(corners.size());
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(3);
    const kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
    const kx::kxPointer<kx::kxIndexBuffer> triangles(
        new kx::kxIndexBuffer(count, kx::IBT_TRIANGLES));
    for (int i = 0; i < count; ++i) {
        const Corner& corner = corners[static_cast<std::size_t>(i)];
        vertices->Position3(i) = corner.position;
        vertices->Normal3(i) = corner.normal;
        triangles->GetData()[i] = static_cast<unsigned int>(i);
    }
    return new kx::kxTriMesh(vertices.get(), triangles.get());
}

/// A flat face with four corners a, b, c, d as two triangles, counter-clockwise around the normal.
inline void AddFace(std::vector<Corner>& corners,
                    const Point& normal,
                    const Point& a,
                    const Point& b,
                    const Point& c,
                    const Point& d) {
    for (const Point& position : {a, b, c, a, c, d}) {
        corners.push_back({position, normal});
    }
}

/// A box whose sides are along the axes.
inline kx::kxPointer<kx::kxTriMesh> MakeBox(const Point& low, const Point& high) {
    std::vector<Corner> corners;
    for (int axis = 0; axis < 3; ++axis) {
        const int next = (axis + 1) % 3;
        const int last = (axis + 2) % 3;
        // Of the face where this axis is low; the other one lies opposite.
        Point a = low;
        Point b = low;
        Point c = low;
        Point d = low;
        b[last] = c[last] = high[last];
        c[next] = d[next] = high[next];
        Point normal(0.0F, 0.0F, 0.0F);
        normal[axis] = -1.0F;
        AddFace(corners, normal, a, b, c, d);
        a[axis] = b[axis] = c[axis] = d[axis] = high[axis];
        AddFace(corners, -normal, d, c, b, a);
    }
    return MakeMesh(corners);
}

/// An upright cylinder of flat sides with the normals of the round surface, so that there are no
/// creases between them.
inline kx::kxPointer<kx::kxTriMesh>
MakeCylinder(const Point& bottom, float radius, float height, int sides) {
    const Point up(0.0F, 1.0F, 0.0F);
    const Point top = bottom + height * up;
    const auto outwards = [sides](int side) {
        // The last side ends exactly where the first one begins.
        const double angle = 2.0 * Wm4::Math<double>::PI * (side % sides) / sides;
        return Point(static_cast<float>(std::cos(angle)), 0.0F,
                     static_cast<float>(-std::sin(angle)));
    };
    std::vector<Corner> corners;
    for (int side = 0; side < sides; ++side) {
        const Point from = outwards(side);
        const Point to = outwards(side + 1);
        const Corner a{bottom + radius * from, from};
        const Corner b{bottom + radius * to, to};
        const Corner c{top + radius * to, to};
        const Corner d{top + radius * from, from};
        corners.insert(corners.end(), {a, b, c, a, c, d});
        for (const Point& position : {bottom, b.position, a.position}) {
            corners.push_back({position, -up});
        }
        for (const Point& position : {top, d.position, c.position}) {
            corners.push_back({position, up});
        }
    }
    return MakeMesh(corners);
}

/// The view of an orthographic camera: a box in the world, oriented like the camera.
struct View {
    double azimuth = 0.0;   ///< Degrees around y: 0 looks at the front (from +z), 90 from +x.
    double elevation = 0.0; ///< Degrees above the horizon: 90 looks straight down.
    Point middle;           ///< The world's point that lies in the middle of the page.
    Point size;             ///< To the right, upwards and in depth, in world units.
};

/// The camera of a view.
///
/// The library transforms a world point as a row vector, (x, y, z, 1) * worldToClip, and divides by
/// the fourth component. Points from -1 to 1 in x (to the right), y (up) and z (away from the eye)
/// are in the view; everything else is clipped. A perspective camera differs only in its matrices.
inline ctr::DiscreteProjectionSpace MakeCamera(const View& view) {
    const double turn = view.azimuth * Wm4::Math<double>::PI / 180.0;
    const double tilt = view.elevation * Wm4::Math<double>::PI / 180.0;
    // The axes of the picture in world space: right, up and away, orthonormal.
    const double axes[3][3] = {
        {std::cos(turn), 0.0, -std::sin(turn)},
        {-std::sin(turn) * std::sin(tilt), std::cos(tilt), -std::cos(turn) * std::sin(tilt)},
        {-std::sin(turn) * std::cos(tilt), -std::sin(tilt), -std::cos(turn) * std::cos(tilt)}};
    Wm4::Matrix4<float> worldToClip(false); // Not of zeros: the identity.
    Wm4::Matrix4<float> clipToWorld(false);
    for (int axis = 0; axis < 3; ++axis) {
        const double half = 0.5 * static_cast<double>(view.size[axis]);
        double middle = 0.0;
        for (int i = 0; i < 3; ++i) {
            worldToClip[i][axis] = static_cast<float>(axes[axis][i] / half);
            clipToWorld[axis][i] = static_cast<float>(axes[axis][i] * half);
            middle += axes[axis][i] * static_cast<double>(view.middle[i]);
        }
        worldToClip[3][axis] = static_cast<float>(-middle / half);
        clipToWorld[3][axis] = view.middle[axis];
    }
    ctr::DiscreteProjectionSpace camera;
    camera.setViewProjection(worldToClip, clipToWorld); // The inverse is the caller's to give.
    // The finest grid allowed: 2^20 steps along the longer side of the page, 2^19 in depth. Set it
    // after the matrices, which determine the size of the steps.
    camera.setVoxelBitSize(20, 19);
    return camera;
}

} // namespace example
