// A table of the formats that differ from the defaults, determined with small test files.
//
// PLY and OFF state no axis; scans in them mostly have y up. IFC files have z up, and
// their root carries the place of the site besides the turn; COLLADA files state their axis.
//
// STL holds one normal per facet, which does not show smoothness. Blender files hold a cache of
// normals averaged over all faces at a vertex, on sharp edges too.
#include "import/formats/FormatRules.h"

#include <array>

namespace kxcontour {
namespace {

struct Entry {
    std::string_view importer; ///< How the importer's name begins.
    FormatRules rules;
};

using Axes = SceneAxes;
using Unit = SceneUnit;

constexpr std::array<Entry, 23> kExceptions{{
    {"Stereolithography", {Axes::ZUp, Unit::Unknown, false}},
    {"Blender", {Axes::ZUp, Unit::Unknown, false}},
    {"3mf", {Axes::ZUp, Unit::InFile}},
    {"Additive manufacturing", {Axes::ZUp, Unit::InFile}},
    {"3D GameStudio Heightmap", {Axes::ZUp}},
    {"Open Game Engine Exchange", {Axes::ZUp, Unit::InFile}},
    {"Quick3D", {Axes::ZUp}},
    {"TrueSpace", {Axes::ZUp}},
    {"Valve SMD", {Axes::ZUp}},
    {"XGL", {Axes::ZUp}},
    {"Discreet 3DS", {Axes::TurnedFromZ}},
    {"ASE", {Axes::TurnedFromZ}},
    {"Doom 3", {Axes::TurnedFromZ}},
    {"Drawing Interchange Format", {Axes::TurnedFromZ, Unit::InFile}},
    {"Inter-Quake", {Axes::TurnedFromZ}},
    {"Quake II Mesh", {Axes::TurnedFromZ}},
    {"Return To Castle Wolfenstein", {Axes::TurnedFromZ}},
    {"Quake Mesh", {Axes::TurnedByRoot}},
    {"Industry Foundation Classes", {Axes::TurnedFromZ, Unit::ScaledRoot}},
    {"Collada", {Axes::TurnedByRoot, Unit::ScaledRoot}},
    {"Autodesk FBX", {Axes::Stated, Unit::Metadata}},
    {"glTF", {Axes::YUp, Unit::Metre}},
    {"Extensible 3D", {Axes::YUp, Unit::InFile}},
}};

} // namespace

FormatRules RulesOf(std::string_view importer) {
    for (const Entry& entry : kExceptions) {
        if (importer.starts_with(entry.importer)) {
            return entry.rules;
        }
    }
    return {};
}

} // namespace kxcontour
