// The unit of length that a file states, for formats whose importers ignore it.
#pragma once

#include <optional>
#include <string_view>

namespace kxcontour {

/// The length of a file's unit in millimetres, as stated by the file or, where it may be left out,
/// by its format.
///
/// For 3MF, AMF, X3D, OpenGEX and DXF ($INSUNITS), distinguished by the importer's name as in
/// RulesOf(). None for other formats, for a DXF file that states none, and for a unit that is
/// unknown or no positive number. bytes is the whole file. Linear time at most; reads the first
/// part of the model in the archive of a 3MF file.
std::optional<double> StatedMillimetresPerUnit(std::string_view importer, std::string_view bytes);

} // namespace kxcontour
