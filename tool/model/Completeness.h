// Tells files that were cut short.
#pragma once

#include <string>

namespace kxcontour {

/// Throws Failure (Unreadable) for a path that is no readable file, for an empty file, and for one
/// that ends before its own format says so.
///
/// Looks at formats whose importers would take a part for the whole, or crash on it: PLY (all of
/// its elements), STL text ("endsolid") and STEP files such as IFC ("END-ISO-10303-21;"). Of a cut
/// in the last token of a PLY text nothing can be seen. Other formats pass. Linear time for PLY
/// text and PLY lists, else constant.
void RequireCompleteFile(const std::string& path);

} // namespace kxcontour
