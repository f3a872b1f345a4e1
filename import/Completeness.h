// Tells files that were cut short.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// Throws Failure (Unreadable) for an empty model and for one that ends before its own format says
/// so; name is what the message calls it.
///
/// Looks at formats of which a part could be taken for the whole, or crash the importer: STL text
/// ("endsolid") and STEP files such as IFC ("END-ISO-10303-21;"). Other formats pass; PLY says how
/// long it is, see ReadPly(). Constant time.
void RequireComplete(std::string_view bytes, const std::string& name);

/// The same for the bytes of a file; fails in the same way for a path that is no readable file.
void RequireCompleteFile(const std::string& path);

} // namespace kxcontour
