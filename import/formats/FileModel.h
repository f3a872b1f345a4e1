// The contents of a file as the readers of OBJ, PLY and STL parse them, and their conversion to a
// model.
#pragma once

#include <Wm4Foundation.h>

#include "drawing/scene/Model.h"
#include "import/files/ModelRequest.h"
#include "import/formats/PolygonTriangulation.h"
#include "import/formats/TextScanner.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace kxcontour {

/// A corner of a triangle that has no normal, or no vertex.
inline constexpr std::uint32_t kNoIndex = std::numeric_limits<std::uint32_t>::max();

struct FileObject {
    std::string name; ///< Empty where the file gives none.
    /// Three for each triangle: numbers of positions, some of which may not exist.
    std::vector<std::uint32_t> corners;
    /// Of each corner the number of its normal, which exists, or kNoIndex; empty where the object
    /// has none at all.
    std::vector<std::uint32_t> normals;
};

struct FileModel {
    std::string format; ///< As in Model.
    std::vector<FilePoint> positions;
    std::vector<Wm4::Vector3<float>> normals;
    std::vector<FileObject> objects;
    bool fromFloats = false; ///< The file holds its coordinates in single precision.
    std::size_t cutPolygons = 0;
    std::size_t leftOutPolygons = 0;
};

/// The faces of an object as a file lists them, one after another.
struct FileFaces {
    std::vector<std::uint32_t> corners; ///< Numbers of positions, some of which may not exist.
    std::vector<std::uint32_t> normals; ///< As in FileObject.
    std::vector<std::uint32_t> sizes;   ///< Of each face: its number of corners.
};

/// Gives the object the triangles of its faces. Counts in the model the faces of more than three
/// corners, which are cut, and those of fewer, which are left out.
void Triangulate(FileFaces faces, FileModel& model, FileObject& object);

/// A model of the objects with triangles: one shape and one placement each.
///
/// Where the model lies far from its origin for its size, its shapes are stored relative to a point
/// near it, which the placements add again in doubles: single precision then suffices.
/// Vertices of an object with equal positions are merged; those with normals only where they are
/// the same vertex and normal of the file. Throws CannotRead as ModelFromScene() does.
Model ModelFromFile(const FileModel& file, const ModelRequest& request);

/// Throws CannotRead: the contents of a file are wrong.
[[noreturn]] void RefuseModel(const ModelRequest& request, const std::string& why);

/// Throws CannotRead: the next word of a text is not what is wanted there.
[[noreturn]] void
RefuseWord(const ModelRequest& request, TextScanner scanner, const std::string& wanted);

/// Throws CannotRead: a file ends too early.
[[noreturn]] void RefuseCutModel(const ModelRequest& request);

} // namespace kxcontour
