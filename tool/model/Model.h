// A model as its file has it, without a trace of the library that read it.
#pragma once

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include <cstddef>
#include <vector>

namespace kxcontour {

/// Vertices and triangles in coordinates of their own. Nothing about them is checked yet: indices
/// may be out of range, coordinates not finite, triangles degenerate.
struct Shape {
    /// Has normal channels only where the normals are the file's own statement of its creases.
    kx::kxPointer<kx::kxVertexBuffer> vertices;
    kx::kxPointer<kx::kxIndexBuffer> triangles;
};

/// One appearance of a shape in the scene.
struct Placement {
    std::size_t shape = 0;
    Wm4::Matrix4<double> world; ///< Row vectors, affine; y is up and the front looks along +z.
};

/// The scene: every object that shows triangles, in the order of the file's node tree.
struct Model {
    std::vector<Shape> shapes;
    std::vector<Placement> placements;
};

} // namespace kxcontour
