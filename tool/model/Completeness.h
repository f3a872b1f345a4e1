// Tells files that were cut short.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// Throws Failure (Unreadable) for an empty model and for one that ends before its own format says
/// so; name is what the message calls it.
///
/// Looks at formats whose importers would take a part for the whole, or crash on it: PLY (all of
/// its elements), STL text ("endsolid") and STEP files such as IFC ("END-ISO-10303-21;"). Of a cut
/// in the last token of a PLY text nothing can be seen. Other formats pass. Linear time for PLY
/// text and PLY lists, else constant.
void RequireComplete(std::string_view bytes, const std::string& name);

/// The same for the bytes of a file; fails in the same way for a path that is no readable file.
void RequireCompleteFile(const std::string& path);

} // namespace kxcontour
