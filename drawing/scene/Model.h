// A model as its file has it, without a trace of the library that read it.
#pragma once

#include <Wm4Foundation.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kxcontour {

/// Vertices and triangles in coordinates of their own. Nothing about them is checked yet: indices
/// may be out of range, coordinates not finite, triangles degenerate.
struct Shape {
    /// Has normal channels only where the normals are the file's own statement of its creases.
    kx::kxPointer<kx::kxVertexBuffer> vertices;
    kx::kxPointer<kx::kxIndexBuffer> triangles;
    /// The creases, a line list over the vertices, where the caller knows them; else null. Such a
    /// shape is not repaired.
    kx::kxPointer<kx::kxIndexBuffer> creases{};
    std::optional<double> creaseAngle{}; ///< In degrees; none: MeshRules decide.

    bool hasNormals() const { return vertices->GetAttributes().GetNormalChannels() == 3; }
};

/// One appearance of a shape in the scene.
struct Placement {
    std::size_t shape = 0;
    std::size_t object = 0;     ///< Index into Model::objects.
    Wm4::Matrix4<double> world; ///< Row vectors, affine; y is up and the front looks along +z.
};

/// The scene: every object that shows triangles, in the order of the file's node tree.
struct Model {
    std::vector<Shape> shapes;
    std::vector<Placement> placements;
    /// The names of the nodes with triangles, one a node, in order; may repeat or be empty. As the
    /// file has them, UTF-8 as a rule; see StatedName().
    std::vector<std::string> objects;
    std::string format; ///< What the importer calls the file's format.
    /// Of the coordinates in the world, which are in the file's own unit. Over 0 and finite.
    double millimetresPerUnit = 1.0;
    bool unitStated = false; ///< By the file, its format, or the user; else assumed.
    /// Turns the file's axes into the world's: a rotation by right angles, for row vectors.
    Wm4::Matrix4<double> fileToWorld{false};
    /// In the file's unit: the largest distance between neighbouring coordinates of a shape, where
    /// the file or its importer rounded them to single precision, see FloatSteps; else 0.
    double floatStep = 0.0;
    double coordinateStep = 0.0;     ///< The same where digits may have been lost by it.
    std::size_t cutPolygons = 0;     ///< Faces of more than three corners, cut into triangles.
    std::size_t leftOutPolygons = 0; ///< Points and lines in the file, which draw nothing.
    /// Why a file that the model refers to was not read, see ModelFiles; empty where none was
    /// refused.
    std::string refusedFile;
    std::vector<std::string> sideFiles; ///< That were read, see ModelFiles.
};

} // namespace kxcontour
