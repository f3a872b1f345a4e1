// Detects truncated files.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// Throws CannotRead for an empty model and for one without the end that its format
/// requires; messages call it by the name.
///
/// Checks the formats of which a part could be mistaken for the whole or crash the importer: STL
/// text ("endsolid") and STEP files such as IFC ("END-ISO-10303-21;"). Others are not checked here;
/// PLY states its length, see ReadPly(). Constant time.
void RequireComplete(std::string_view bytes, const std::string& name);

} // namespace kxcontour
