// Compares the first bytes of a file with those of each output format.
#include "tool/batch/DrawingFile.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>

namespace kxcontour {
namespace {

constexpr std::array<std::string_view, 5> kStarts{"<?xml version=\"1.0\"?>\n<svg ", "%PDF-",
                                                  "\x89PNG\r\n", "0\nSECTION\n",
                                                  "{\n\"generator\": \"kxcontour\""};

} // namespace

bool IsDrawing(const std::string& path) {
    std::array<char, 32> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), bytes.size());
    const std::string_view start(bytes.data(), static_cast<std::size_t>(file.gcount()));
    return std::any_of(kStarts.begin(), kStarts.end(),
                       [&](std::string_view known) { return start.starts_with(known); });
}

} // namespace kxcontour
