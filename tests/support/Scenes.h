// Meshes with given properties and views of them, for the tests of all folders.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

#include <functional>
#include <vector>

namespace test_support {

using Point = Wm4::Vector3<float>;

/// Vertices and triangles (three indices each) while a mesh is put together.
struct MeshData {
    std::vector<Point> positions;
    std::vector<unsigned int> indices;

    /// Adds a vertex, equal ones as often as they are given, and returns its number.
    unsigned int addVertex(const Point& position);
    void addTriangle(unsigned int a, unsigned int b, unsigned int c);
    /// Adds a triangle with three vertices of its own.
    void addTriangle(const Point& a, const Point& b, const Point& c);
    /// Adds all of another mesh, which is not this one, with vertices of its own.
    void append(const MeshData& other);
    int triangleCount() const { return static_cast<int>(indices.size() / 3); }
};

/// A mesh with positions only, identity transformations and an up-to-date bound.
kx::kxPointer<kx::kxTriMesh> MakeMesh(const MeshData& data);
kx::kxPointer<kx::kxTriMesh> MakeMesh(const std::vector<Point>& positions,
                                      const std::vector<unsigned int>& indices);

/// As above with normals, one per vertex.
kx::kxPointer<kx::kxTriMesh> MakeMesh(const std::vector<Point>& positions,
                                      const std::vector<Point>& normals,
                                      const std::vector<unsigned int>& indices);

/// The bare pointers of a list, in order, as the library takes them.
std::vector<const kx::kxTriMesh*> MeshList(const std::vector<kx::kxPointer<kx::kxTriMesh>>& meshes);

/// @name Meshes by property
/// @{

MeshData Triangle(const Point& a, const Point& b, const Point& c);

/// Two triangles a, b, c and a, c, d.
MeshData Quad(const Point& a, const Point& b, const Point& c, const Point& d);

/// Closed, 8 vertices, 12 triangles facing outwards (counter-clockwise seen from outside with z up
/// in a right-handed frame).
MeshData Box(const Point& lowest, const Point& highest);

/// Open: columns * rows cells of side 1 from the origin on, two triangles each, at heights z(x, y).
MeshData GridOfQuads(int columns, int rows, const std::function<float(int, int)>& height);

/// Closed: a convex or star-shaped polygon in x, y (counter-clockwise), from z0 up to z1.
MeshData Prism(const std::vector<Wm4::Vector2<float>>& outline, float z0, float z1);

/// Closed, convex: `stacks` >= 2 bands of `slices` >= 3 sides, poles on the z axis.
MeshData Sphere(const Point& center, float radius, int slices, int stacks);

/// Not a manifold: one triangle from the edge a, b to every tip, all in the same index order.
MeshData Fan(const Point& a, const Point& b, const std::vector<Point>& tips);

/// The same triangles with every other vertex order.
MeshData Flipped(const MeshData& data);

/// The same triangles in which each has vertices of its own, so that no two share a number.
MeshData Unwelded(const MeshData& data);
/// @}

/// @name Views
/// @{

/// An affine transformation that turns the axes: world coordinate i becomes sign[i] times local
/// coordinate axis[i], plus offset[i].
kx::kxGenericTransformation<float>
AxisTransformation(const int (&axis)[3], const int (&sign)[3], const Point& offset);

/// Looks along +z on a lattice: the world point (x, y, z) with whole coordinates from 0 to
/// 2^bits - 2 becomes the grid point (x, y, z), whatever the rounding, since it is put in the
/// middle of its cell. The view ends half a step beyond: at -0.5 and 2^bits - 1.5. w is 1
/// everywhere.
ctr::DiscreteProjectionSpace LatticeSpace(unsigned int xyBits, unsigned int zBits);

/// The same lattice seen through a view that is `squeeze` (>= 1) times wider than high: as cells
/// are square, the grid keeps its columns and has that many times fewer rows.
ctr::DiscreteProjectionSpace
SqueezedLatticeSpace(unsigned int xyBits, unsigned int zBits, float squeeze);

/// Looks along +z from the origin with w = z: the view is the pyramid |x| <= slope * z,
/// |y| <= slope * z between the depths near and far.
ctr::DiscreteProjectionSpace PerspectiveSpace(
    unsigned int xyBits, unsigned int zBits, float slope, float nearDepth, float farDepth);

/// Looks at the box of the given half width around the origin along a slanted direction.
ctr::DiscreteProjectionSpace SlantedSpace(unsigned int xyBits, unsigned int zBits, float halfWidth);
/// @}

} // namespace test_support
