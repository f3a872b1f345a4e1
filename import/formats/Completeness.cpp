// Checks the first and last bytes of a file.
#include "import/formats/Completeness.h"

#include <kxDrawing/Errors.h>

#include "import/formats/StlReader.h"

#include <algorithm>
#include <string_view>

namespace kxcontour {
namespace {

bool StartsWith(std::string_view bytes, std::string_view start) {
    return bytes.substr(0, start.size()) == start;
}

/// The last bytes, without blanks at the end.
std::string_view Tail(std::string_view bytes, std::size_t size) {
    const std::size_t last = bytes.find_last_not_of(" \t\r\n\0\x1A");
    bytes = last == std::string_view::npos ? std::string_view() : bytes.substr(0, last + 1);
    return bytes.size() > size ? bytes.substr(bytes.size() - size) : bytes;
}

/// A name may follow the last keyword, so the search covers the whole last line.
bool EndsStlText(std::string_view bytes) {
    const std::string_view tail = Tail(bytes, 4096);
    const std::size_t lineEnd = tail.find_last_of("\r\n");
    std::string_view line = lineEnd == std::string_view::npos ? tail : tail.substr(lineEnd + 1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return StartsWith(line, "endsolid") || StartsWith(line, "end solid");
}

bool IsStep(std::string_view bytes) {
    return StartsWith(bytes, "ISO-10303-21;");
}

bool EndsStep(std::string_view bytes) {
    const std::string_view end = "END-ISO-10303-21;";
    return Tail(bytes, end.size()) == end;
}

bool IsComplete(std::string_view bytes) {
    if (IsStlText(bytes)) {
        return EndsStlText(bytes);
    }
    return !IsStep(bytes) || EndsStep(bytes);
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
