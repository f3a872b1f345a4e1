// What the importers leave to their users: which axis is up, and whose the normals are.
#pragma once

#include <string_view>

namespace kxcontour {

struct FormatRules {
    /// The file's coordinates come out with z up, and the importer does not turn them.
    bool zUp = false;
    /// The vertex normals that come out say where the surface is smooth: they are the file's, or
    /// follow from smoothing groups in it.
    bool normalsShowCreases = true;
};

/// The rules for a format, by the name that its importer leaves in the scene. An unknown name gets
/// the rules of most formats: y up, normals from the file.
FormatRules RulesOf(std::string_view importer);

} // namespace kxcontour
