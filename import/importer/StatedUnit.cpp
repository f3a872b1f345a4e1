// Searches the text of a file for the statement of the unit, without parsing the rest.
#include "import/importer/StatedUnit.h"

#include "import/formats/TextScanner.h"
#include "import/importer/ZipEntry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

namespace kxcontour {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

/// The element that states the unit is the first one of a 3MF model.
constexpr std::size_t kStartOfModel = std::size_t{1} << 16U;

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// A positive, finite number that is the whole text, else none.
std::optional<double> Length(std::string_view text) {
    TextScanner scanner(Trimmed(text));
    double value = 0.0;
    const bool good =
        scanner.number(value) && scanner.atEnd() && std::isfinite(value) && value > 0.0;
    return good ? std::optional<double>(value) : std::nullopt;
}

std::optional<double> Metres(std::optional<double> length) {
    return length ? std::optional<double>(1000.0 * *length) : std::nullopt;
}

/// Removes everything up to the end of the next start tag of that name from markup; returns the
/// text between the name and the >.
std::optional<std::string_view> TakeTag(std::string_view& markup, std::string_view name) {
    for (std::size_t at = markup.find('<'); at != std::string_view::npos;
         at = markup.find('<', at + 1)) {
        const std::string_view rest = markup.substr(at + 1);
        if (!rest.starts_with(name)) {
            continue;
        }
        const char behind = rest.size() > name.size() ? rest[name.size()] : '>';
        if (behind == '>' || behind == '/' || kBlanks.find(behind) != std::string_view::npos) {
            const std::size_t end = std::min(rest.find('>'), rest.size());
            markup = rest.substr(end);
            return rest.substr(name.size(), end - name.size());
        }
    }
    return std::nullopt;
}

/// The value of an attribute in a tag; none when it has no such attribute.
std::optional<std::string_view> Attribute(std::string_view tag, std::string_view name) {
    while (true) {
        const std::size_t equals = tag.find('=');
        const std::size_t open = tag.find_first_of("\"'", equals);
        if (open == std::string_view::npos) {
            return std::nullopt;
        }
        const std::size_t close = tag.find(tag[open], open + 1);
        if (close == std::string_view::npos) {
            return std::nullopt;
        }
        if (Trimmed(tag.substr(0, equals)) == name) {
            return tag.substr(open + 1, close - open - 1);
        }
        tag.remove_prefix(close + 1);
    }
}

/// The units of the two formats for additive manufacturing.
std::optional<double> NamedUnit(std::string_view name) {
    constexpr std::array<std::pair<std::string_view, double>, 7> kUnits{{
        {"micron", 0.001},
        {"millimeter", 1.0},
        {"centimeter", 10.0},
        {"inch", 25.4},
        {"foot", 304.8},
        {"feet", 304.8},
        {"meter", 1000.0},
    }};
    const auto* const unit =
        std::ranges::find(kUnits, name, &std::pair<std::string_view, double>::first);
    return unit == kUnits.end() ? std::nullopt : std::optional(unit->second);
}

/// The unit attribute of the first element; millimetres when it is left out.
std::optional<double> UnitOfRoot(std::string_view markup, std::string_view root) {
    const std::optional<std::string_view> tag = TakeTag(markup, root);
    const std::optional<std::string_view> unit = tag ? Attribute(*tag, "unit") : std::nullopt;
    return NamedUnit(unit.value_or("millimeter"));
}

/// The archive may hold other parts of the model; this one is the root of almost all.
std::optional<double> UnitOf3mf(std::string_view bytes) {
    const std::string root = ReadZipEntry(bytes, "3dmodel.model", kStartOfModel);
    return UnitOfRoot(root.empty() ? ReadZipEntry(bytes, ".model", kStartOfModel) : root, "model");
}

/// <unit category="length" conversionFactor="0.0254"/> in the head; metres when there is none.
std::optional<double> UnitOfX3d(std::string_view markup) {
    for (const std::string_view name : {"unit", "UNIT"}) {
        std::string_view rest = markup.substr(0, markup.find("<Scene"));
        while (const std::optional<std::string_view> tag = TakeTag(rest, name)) {
            if (Attribute(*tag, "category") == "length") {
                return Metres(Length(Attribute(*tag, "conversionFactor").value_or("")));
            }
        }
    }
    return 1000.0;
}

/// Metric (key = "distance") {float {0.01}}: metres per unit; metres when there is none.
std::optional<double> UnitOfOpenGex(std::string_view text) {
    const std::size_t key = text.find("\"distance\"");
    const std::size_t open = text.find("float", key);
    if (key == std::string_view::npos || open == std::string_view::npos) {
        return 1000.0;
    }
    const std::size_t start = text.find('{', open);
    const std::size_t end = text.find('}', start);
    if (start == std::string_view::npos || end == std::string_view::npos) {
        return std::nullopt;
    }
    return Metres(Length(text.substr(start + 1, end - start - 1)));
}

/// The codes of a DXF header's $INSUNITS; 0 means that none is stated.
std::optional<double> DxfUnit(std::string_view code) {
    constexpr std::array kFromOne{25.4,    304.8, 1609344.0, 1.0,  10.0, 1000.0, 1e6, 25.4e-6,
                                  25.4e-3, 914.4, 1e-7,      1e-6, 1e-3, 100.0,  1e4};
    for (std::size_t i = 0; i < kFromOne.size(); ++i) {
        if (code == std::to_string(i + 1)) {
            return kFromOne[i];
        }
    }
    return std::nullopt;
}

/// The variable's name on a line, group code 70 on the next, the value on the third.
std::optional<double> UnitOfDxf(std::string_view text) {
    const std::size_t at = text.find("$INSUNITS");
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view lines = text.substr(at, 200);
    const std::size_t code = lines.find('\n');
    const std::size_t value = lines.find('\n', code == std::string_view::npos ? code : code + 1);
    if (value == std::string_view::npos || Trimmed(lines.substr(code, value - code)) != "70") {
        return std::nullopt;
    }
    const std::string_view rest = lines.substr(value + 1);
    return DxfUnit(Trimmed(rest.substr(0, rest.find('\n'))));
}

} // namespace

std::optional<double> StatedMillimetresPerUnit(std::string_view importer, std::string_view bytes) {
    if (importer.starts_with("3mf")) {
        return UnitOf3mf(bytes);
    }
    if (importer.starts_with("Additive manufacturing")) {
        return UnitOfRoot(bytes, "amf");
    }
    if (importer.starts_with("Extensible 3D")) {
        return UnitOfX3d(bytes);
    }
    if (importer.starts_with("Open Game Engine Exchange")) {
        return UnitOfOpenGex(bytes);
    }
    return importer.starts_with("Drawing Interchange Format") ? UnitOfDxf(bytes) : std::nullopt;
}

} // namespace kxcontour
