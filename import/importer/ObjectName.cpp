// The patterns by which importers number objects without a name.
#include "import/importer/ObjectName.h"

#include <algorithm>
#include <array>

namespace kxcontour {
namespace {

bool IsNumber(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// "nodes[7]", or "nodes_7" where brackets are not allowed.
bool IsNumbered(std::string_view name, std::string_view word) {
    if (!name.starts_with(word)) {
        return false;
    }
    name.remove_prefix(word.size());
    if (name.size() > 1 && name.starts_with('[') && name.ends_with(']')) {
        return IsNumber(name.substr(1, name.size() - 2));
    }
    return name.starts_with('_') && IsNumber(name.substr(1));
}

bool IsMadeUp(std::string_view name) {
    constexpr std::array<std::string_view, 6> kNumbered{"nodes",       "meshes",  "Layer",
                                                        "Pivot-Layer", "3DSMesh", "IQMMesh"};
    constexpr std::array<std::string_view, 5> kFixed{"ROOT", "RootNode", "WORLD", "terrain_root",
                                                     "IfcMappedItem"};
    return name.starts_with('$') ||
           (name.size() > 1 && name.starts_with('<') && name.ends_with('>')) ||
           std::find(kFixed.begin(), kFixed.end(), name) != kFixed.end() ||
           std::any_of(kNumbered.begin(), kNumbered.end(),
                       [&](std::string_view word) { return IsNumbered(name, word); });
}

} // namespace

std::string StatedName(std::string_view name) {
    // Nodes of FBX files are split where they turn about one point and scale about another.
    name = name.substr(0, name.find("_$AssimpFbx$_"));
    return IsMadeUp(name) ? std::string() : std::string(name);
}

} // namespace kxcontour
