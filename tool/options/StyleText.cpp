// Each item of a list is cut into family, key and value; the key says how the value is read.
#include "options/StyleText.h"

#include "drawing/common/Failure.h"
#include "drawing/paper/PageSize.h"
#include "options/Values.h"

#include <cstddef>
#include <optional>

namespace kxcontour {
namespace {

enum StyleFamily : std::size_t { kCrease, kSilhouette, kIntersection, kHidden };
enum StyleKey : std::size_t { kWidth, kColor, kDash };

constexpr NumberRange kLengths{0.0, 100.0, true, false};

std::vector<StrokeStyle*> StylesOf(std::size_t family, StyleSheet& styles) {
    switch (family) {
    case kCrease:
        return {&styles.crease};
    case kSilhouette:
        return {&styles.silhouette};
    case kIntersection:
        return {&styles.intersection};
    case kHidden:
        return {&styles.hidden};
    default:
        return {&styles.crease, &styles.silhouette, &styles.intersection, &styles.hidden};
    }
}

std::vector<double> ParseDashes(const std::string& text) {
    std::vector<double> dashes;
    if (text == "none") {
        return dashes;
    }
    for (const std::string& part : Split(text, '/')) {
        const std::optional<double> length = ReadPaperLength(part);
        if (!length || !kLengths.holds(*length)) {
            throw Failure(ExitCode::Usage, "dash '" + text +
                                               "' is not 'none' or lengths over 0, to 100 mm, with "
                                               "'/' between, such as 1/0.5");
        }
        dashes.push_back(*length);
    }
    // Lengths are on and off in turn, so an odd number of them takes two rounds to come to its end.
    if (dashes.size() % 2 == 1) {
        dashes.reserve(2 * dashes.size());
        dashes.insert(dashes.end(), dashes.begin(), dashes.end());
    }
    return dashes;
}

void ApplyValue(std::size_t key, const std::string& value, StrokeStyle& style) {
    switch (key) {
    case kWidth:
        style.width = ParseLength(value, "line width", "a length over 0, to 100 mm", kLengths);
        break;
    case kColor:
        style.color = ParseColor(value);
        break;
    default:
        style.dashes = ParseDashes(value);
    }
}

void ApplyItem(const std::string& item, StyleSheet& styles) {
    const std::size_t equals = item.find('=');
    const std::string name = item.substr(0, equals);
    const std::size_t dot = name.find('.');
    if (equals == std::string::npos || dot == std::string::npos) {
        throw Failure(ExitCode::Usage,
                      "style '" + item + "' is not FAMILY.KEY=VALUE, such as crease.width=0.25mm");
    }
    const std::size_t family = ParseName(name.substr(0, dot), "line family", StyleFamilies());
    const std::size_t key = ParseName(name.substr(dot + 1), "style key", StyleKeys());
    for (StrokeStyle* style : StylesOf(family, styles)) {
        ApplyValue(key, item.substr(equals + 1), *style);
    }
}

} // namespace

void ApplyStyles(std::string_view list, StyleSheet& styles) {
    for (const std::string& item : Split(list, ',')) {
        ApplyItem(item, styles);
    }
}

const std::vector<std::string>& StyleFamilies() {
    // In the order of the enumeration.
    static const std::vector<std::string> names{"crease", "silhouette", "intersection", "hidden",
                                                "all"};
    return names;
}

const std::vector<std::string>& StyleKeys() {
    // In the order of the enumeration.
    static const std::vector<std::string> names{"width", "color", "dash"};
    return names;
}

} // namespace kxcontour
