// Recognises names of objects that importers made up.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// The part of a name that comes from the file: empty for names that the importers give to nodes
/// and meshes without one, such as "nodes[7]", "<OFFRoot>" or "$ColladaAutoName$_0".
std::string StatedName(std::string_view name);

} // namespace kxcontour
