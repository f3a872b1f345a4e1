// Takes one file out of a zip archive in memory.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kxcontour {

/// The first bytes, up to limit, of the first file of the archive whose name has that ending. Empty
/// where there is no such file, and where it cannot be unpacked. Never unpacks more than limit.
std::string ReadZipEntry(std::string_view archive, std::string_view ending, std::size_t limit);

} // namespace kxcontour
