// Each item of a list is split into family, key and value; the key selects the reader of the value.
#include "tool/options/StyleText.h"

#include "drawing/paper/PageSize.h"
#include "tool/common/Failure.h"
#include "tool/options/Values.h"

#include <array>
#include <cstddef>
#include <optional>

namespace kxcontour {
namespace {

constexpr NumberRange kLengths{0.0, 100.0, true, false};

std::vector<double> ParseDashes(const std::string& text) {
    std::vector<double> dashes;
    if (text == "none") {
        return dashes;
    }
    for (const std::string& part : Split(text, "/")) {
        const std::optional<double> length = ReadPaperLength(part);
        if (!length || !kLengths.holds(*length)) {
            RefuseUsage(
                "dash '" + text +
                "' is not 'none' or positive lengths up to 100 mm separated by '/', such as 1/0.5");
        }
        dashes.push_back(*length);
    }
    // Lengths alternate between on and off, so the period of an odd number of them is twice as
    // long.
    if (dashes.size() % 2 == 1) {
        dashes.reserve(2 * dashes.size());
        dashes.insert(dashes.end(), dashes.begin(), dashes.end());
    }
    return dashes;
}

void ApplyValue(const std::string& key, const std::string& value, StrokeStyle& style) {
    if (key == "width") {
        style.width = ParseLength(value, "line width", "a positive length up to 100 mm", kLengths);
    } else if (key == "color") {
        style.color = ParseColor(value);
    } else {
        style.dashes = ParseDashes(value);
    }
}

void ApplyItem(const std::string& item, StyleSheet& styles) {
    const std::size_t equals = item.find('=');
    const std::string name = item.substr(0, equals);
    const std::size_t dot = name.find('.');
    if (equals == std::string::npos || dot == std::string::npos) {
        RefuseUsage("style '" + item + "' is not TYPE.KEY=VALUE, such as crease.width=0.25mm");
    }
    const std::string key = name.substr(dot + 1);
    const std::size_t family = ParseName(name.substr(0, dot), "line type",
                                         {"crease", "silhouette", "intersection", "hidden", "all"});
    ParseName(key, "style key", {"width", "color", "dash"});
    const std::array<StrokeStyle*, 4> all{&styles.crease, &styles.silhouette, &styles.intersection,
                                          &styles.hidden};
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (i == family || family == all.size()) {
            ApplyValue(key, item.substr(equals + 1), *all[i]);
        }
    }
}

} // namespace

void ApplyStyles(std::string_view list, StyleSheet& styles) {
    for (const std::string& item : Split(list, ",")) {
        ApplyItem(item, styles);
    }
}

} // namespace kxcontour
