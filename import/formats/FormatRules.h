// Properties of formats that importers do not normalise: the up axis, the unit of length, and
// whether normals come from the file.
#pragma once

#include <cstdint>
#include <string_view>

namespace kxcontour {

/// How the axes of a file lie in the scene that its importer makes.
enum class SceneAxes : std::uint8_t {
    YUp,          ///< As in the file, and y is up.
    ZUp,          ///< As in the file, and z is up.
    TurnedFromZ,  ///< The file has z up; the importer takes its (x, y, z) to (x, z, -y).
    TurnedByRoot, ///< The root's transformation is the turn, and nothing else.
    Stated,       ///< As in the file, which states the axis; the importer passes it on.
};

/// What is known of the unit of the coordinates.
enum class SceneUnit : std::uint8_t {
    Unknown,    ///< Files do not state it.
    Metre,      ///< By definition of the format.
    ScaledRoot, ///< Files state it; the importer scales the root to metres.
    Metadata,   ///< Files state it; the importer passes it on, in centimetres.
    InFile,     ///< Files may state it, and the importer drops it, see ReadStatements().
};

struct FormatRules {
    SceneAxes axes = SceneAxes::YUp;
    SceneUnit unit = SceneUnit::Unknown;
    /// The imported vertex normals show where the surface is smooth: they come from the file or
    /// from its smoothing groups.
    bool normalsShowCreases = true;
};

/// The rules for a format, by the name that its importer leaves in the scene. An unknown name gets
/// the rules of most formats: y up, no unit, normals from the file.
FormatRules RulesOf(std::string_view importer);

} // namespace kxcontour
