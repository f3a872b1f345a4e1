// Scenes by name.
#include "bench/scenes/Scene.h"

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace bench {
namespace {

/// The number, up to a limit, that follows the prefix and ends the name.
std::optional<unsigned int>
NumberAfter(std::string_view prefix, std::string_view name, unsigned int limit) {
    if (name.substr(0, prefix.size()) != prefix) {
        return std::nullopt;
    }
    unsigned int number = 0;
    const char* end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data() + prefix.size(), end, number);
    const bool isComplete = error == std::errc() && stop == end && number <= limit;
    return isComplete ? std::optional(number) : std::nullopt;
}

} // namespace

Scene MakeScene(const std::string& name) {
    if (name == "planks") {
        return MakePlanks();
    }
    if (name == "gears") {
        return MakeGears(1);
    }
    if (name == "gearsfine") {
        return MakeGears(2);
    }
    if (const auto count = NumberAfter("boxes", name, 1'000'000)) {
        return MakeBoxes(*count);
    }
    if (const auto splits = NumberAfter("sphere", name, 12)) {
        return MakeSphere(*splits);
    }
    throw std::invalid_argument("no scene is called '" + name + "'");
}

std::size_t TriangleCount(const Scene& scene) {
    std::size_t count = 0;
    for (const Part& part : scene) {
        count += part.triangles.size();
    }
    return count;
}

} // namespace bench
