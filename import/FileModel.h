// What the readers of our own find in a file, before it becomes a model.
#pragma once

#include <Wm4Foundation.h>

#include "drawing/scene/Model.h"
#include "import/ModelRequest.h"
#include "import/PolygonCutting.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace kxcontour {

/// A corner of a triangle that has no normal, or no vertex.
inline constexpr std::uint32_t kNoNumber = std::numeric_limits<std::uint32_t>::max();

struct FileObject {
    std::string name; ///< Empty where the file gives none.
    /// Three for each triangle: numbers of positions, some of which may not exist.
    std::vector<std::uint32_t> corners;
    /// Of each corner the number of its normal, which exists, or kNoNumber; empty where the object
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

/// A model of the objects with triangles: one shape and one placement each.
///
/// Where the model lies far from its origin for its size, its shapes lie about a point of their
/// own, which the placements put back in doubles: single precision then has digits to spare.
/// Vertices of an object in one place are shared, those with normals where they have one number in
/// the file. Throws Failure (Unreadable) as ModelFromScene() does.
Model ModelFromFile(const FileModel& file, const ModelRequest& request);

/// Throws Failure (Unreadable): what is wrong inside a file.
[[noreturn]] void RefuseModel(const ModelRequest& request, const std::string& why);

/// Throws Failure (Unreadable) for a file that ends too early.
[[noreturn]] void RefuseCutModel(const ModelRequest& request);

} // namespace kxcontour
