// A table of the formats that differ from the rest.
//
// Most importers turn their scenes so that y is up (3DS, ASE, COLLADA, DXF, IFC, IQM, MDC among
// them) or read formats that have y up. Those listed here deliver z up as it stands in the file.
// PLY and OFF say nothing about it; scans in them mostly have y up.
//
// STL holds one normal a facet, which says nothing about smoothness. Blender files hold a cache of
// normals averaged over all faces at a vertex, on sharp edges too.
#include "model/FormatRules.h"

#include <array>

namespace kxcontour {
namespace {

struct Entry {
    std::string_view importer; ///< How the importer's name begins.
    FormatRules rules;
};

constexpr std::array<Entry, 10> kExceptions{{
    {"Stereolithography", {true, false}},
    {"Blender", {true, false}},
    {"3mf", {true, true}},
    {"Additive manufacturing", {true, true}},
    {"3D GameStudio Heightmap", {true, true}},
    {"Open Game Engine Exchange", {true, true}},
    {"Quick3D", {true, true}},
    {"TrueSpace", {true, true}},
    {"Valve SMD", {true, true}},
    {"XGL", {true, true}},
}};

} // namespace

FormatRules RulesOf(std::string_view importer) {
    for (const Entry& entry : kExceptions) {
        if (importer.substr(0, entry.importer.size()) == entry.importer) {
            return entry.rules;
        }
    }
    return {};
}

} // namespace kxcontour
