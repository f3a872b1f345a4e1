// Checks the first and last bytes of a file.
#include "import/formats/Completeness.h"

#include <kxDrawing/Errors.h>

#include "import/formats/StlReader.h"

#include <algorithm>
#include <string_view>

namespace kxcontour {
namespace {

/// The bytes without blanks at the end.
std::string_view WithoutBlanks(std::string_view bytes) {
    return bytes.substr(0, bytes.find_last_not_of(" \t\r\n\0\x1A") + 1);
}

/// A name may follow the last keyword, so the search covers the whole last line.
bool EndsStlText(std::string_view bytes) {
    constexpr std::size_t kLongestLine = 4096;
    std::string_view line = WithoutBlanks(bytes);
    line.remove_prefix(line.size() - std::min(line.size(), kLongestLine));
    line.remove_prefix(line.find_last_of("\r\n") + 1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return line.starts_with("endsolid") || line.starts_with("end solid");
}

bool IsComplete(std::string_view bytes) {
    if (IsStlText(bytes)) {
        return EndsStlText(bytes);
    }
    return !bytes.starts_with("ISO-10303-21;") ||
           WithoutBlanks(bytes).ends_with("END-ISO-10303-21;");
}

} // namespace

void RequireComplete(std::string_view bytes, const std::string& name) {
    if (bytes.empty()) {
        throw kxdrawing::CannotRead(name + ": is empty");
    }
    if (!IsComplete(bytes)) {
        throw kxdrawing::CannotRead(name + ": is truncated or damaged: its end is missing");
    }
}

} // namespace kxcontour
