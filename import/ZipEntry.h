// Takes one file out of a zip archive in memory.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kxcontour {

/// The start, up to limit bytes (below a gibibyte), of the first file of the archive whose name has
/// that ending.
///
/// Stored and deflated files; no encryption, no archives beyond 4 GiB. Empty when there is no such
/// file or the archive is damaged before it; the good part when the file itself is damaged.
std::string ReadZipEntry(std::string_view archive, std::string_view ending, std::size_t limit);

} // namespace kxcontour
