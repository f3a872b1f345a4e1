// One buffer of text per part; numbers are independent of locale.
#include "bench/ObjFile.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace bench {
namespace {

template <class Number> void Append(std::string& text, Number number) {
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    static_cast<void>(error); // Any float and any 32-bit number fits.
    text += ' ';
    text.append(digits.data(), end);
}

/// Vertices are numbered from 1 throughout the file.
std::string TextOf(const Part& part, std::uint32_t firstVertex) {
    std::string text = "o " + part.name + "\n";
    for (const Point& p : part.positions) {
        text += 'v';
        for (const float coordinate : p) {
            Append(text, coordinate);
        }
        text += '\n';
    }
    for (const Triangle& triangle : part.triangles) {
        text += 'f';
        for (const std::uint32_t corner : triangle) {
            Append(text, firstVertex + corner);
        }
        text += '\n';
    }
    return text;
}

/// Reads a number at the start of text, and removes it and the space before it.
template <class Number> bool Take(std::string_view& text, Number& number) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

/// Adds one line; firstVertex is the number in the file of the first vertex of the last part.
bool AddLine(std::string_view line, Scene& scene, std::uint32_t& firstVertex) {
    const std::string_view kind = line.substr(0, 2);
    line.remove_prefix(kind.size());
    if (kind == "o ") {
        firstVertex +=
            scene.empty() ? 0 : static_cast<std::uint32_t>(scene.back().positions.size());
        scene.push_back({std::string(line), {}, {}});
        return true;
    }
    if (scene.empty()) {
        return false;
    }
    if (kind == "v ") {
        Point& p = scene.back().positions.emplace_back();
        return Take(line, p[0]) && Take(line, p[1]) && Take(line, p[2]) && line.empty();
    }
    Triangle& t = scene.back().triangles.emplace_back();
    const bool isComplete =
        kind == "f " && Take(line, t[0]) && Take(line, t[1]) && Take(line, t[2]);
    for (std::uint32_t& corner : t) {
        corner -= firstVertex;
    }
    const std::size_t count = scene.back().positions.size();
    return isComplete && line.empty() && t[0] < count && t[1] < count && t[2] < count;
}

} // namespace

void WriteObj(const Scene& scene, const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    std::uint32_t firstVertex = 1;
    for (const Part& part : scene) {
        const std::string text = TextOf(part, firstVertex);
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        firstVertex += static_cast<std::uint32_t>(part.positions.size());
    }
    file.close();
    if (!file) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

Scene ReadObj(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(path + ": cannot be read");
    }
    Scene scene;
    std::uint32_t firstVertex = 1;
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        if (!AddLine(line, scene, firstVertex)) {
            throw std::runtime_error(path + ":" + std::to_string(number) + ": not understood");
        }
    }
    return scene;
}

} // namespace bench
