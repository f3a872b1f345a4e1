// Values of natural types become the texts that the command line would have had, so that there is
// one reader for all of them.
#include "options/OptionKeys.h"

#include "drawing/common/Failure.h"
#include "drawing/common/NearestName.h"
#include "drawing/common/Shortened.h"
#include "options/Values.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

namespace kxcontour {
namespace {

using Json = nlohmann::json;
using Texts = std::vector<std::string>;

[[noreturn]] void RefuseKey(const KeySource& source, const std::string& key, Texts known) {
    known.insert(known.end(), source.otherKeys.begin(), source.otherKeys.end());
    const std::string nearest = NearestName(key, known);
    const bool misplaced = FindOption(key) != nullptr;
    RefuseUsage(source.where + (misplaced
                                    ? "'" + key + "' belongs on the command line"
                                    : "unknown key '" + Shortened(key) + "'" +
                                          (nearest.empty() ? "; see kxcontour help config"
                                                           : "; did you mean '" + nearest + "'?")));
}

/// The text of a single text or number, as the command line would have it; none for other types.
std::optional<std::string> ScalarText(const Json& value, bool takesTexts, bool takesNumbers) {
    if (takesTexts && value.is_string()) {
        return value.get<std::string>();
    }
    if (!takesNumbers || !value.is_number()) {
        return std::nullopt;
    }
    return value.is_number_float() ? NumberText(value.get<double>()) : value.dump();
}

/// The texts of a list of texts or of numbers; none for other types and other members.
std::optional<Texts> ListTexts(const Json& value, bool takesTexts, bool takesNumbers) {
    if (!value.is_array()) {
        return std::nullopt;
    }
    Texts texts;
    for (const Json& member : value) {
        const std::optional<std::string> text = ScalarText(member, takesTexts, takesNumbers);
        if (!text) {
            return std::nullopt;
        }
        texts.push_back(*text);
    }
    return texts;
}

/// One text, or a list of texts.
std::optional<Texts> TextOrTexts(const Json& value) {
    return value.is_string() ? Texts{value.get<std::string>()} : ListTexts(value, true, false);
}

/// The same as one text with commas.
std::optional<Texts> OneText(const std::optional<Texts>& list) {
    return list ? std::optional<Texts>({Joined(*list, ",")}) : std::nullopt;
}

/// The tables of families as the items of the command line. Families come in alphabetical order,
/// in which "all" is first, so that the others refine it.
Texts StyleItems(const KeySource& source, const Json& value) {
    Texts items;
    for (const auto& [family, keys] : value.items()) {
        if (!keys.is_object()) {
            const std::string name = "style." + family;
            RefuseType(source.where + Shortened(name), "a table of width, color and dash", keys);
        }
        for (const auto& [key, entry] : keys.items()) {
            const std::string item = Joined({family, key}, ".");
            const std::optional<Texts> dashes = ListTexts(entry, false, true);
            const std::optional<std::string> text =
                dashes ? Joined(*dashes, "/") : ScalarText(entry, true, true);
            if (!text) {
                const std::string name = "style." + item;
                RefuseType(source.where + Shortened(name), "a text or a number", entry);
            }
            items.push_back(Joined({item, *text}, "="));
        }
    }
    return items;
}

/// A path from a file, as seen from where the tool runs. "-" and absolute paths stay.
std::string PathBeside(const std::string& file, const std::string& path) {
    if (path.empty() || path == "-") {
        return path;
    }
    return (std::filesystem::path(file).parent_path() / path).string();
}

/// What a value has to be, and the texts that the command line would have for it.
struct NaturalValue {
    const char* wanted;
    std::optional<Texts> texts; ///< None for a value of a wrong type.
};

std::optional<Texts> AsTexts(const std::optional<std::string>& text) {
    return text ? std::optional<Texts>({*text}) : std::nullopt;
}

NaturalValue ReadNatural(const KeySource& source, const OptionValue& option, const Json& value) {
    switch (option.kind) {
    case ValueKind::Flag:
        return {"true or false", value.is_boolean() ? AsTexts(value.dump()) : std::nullopt};
    case ValueKind::Number:
        return {"a number or a text", AsTexts(ScalarText(value, true, true))};
    case ValueKind::Names:
        return {"a text or a list of texts", OneText(TextOrTexts(value))};
    case ValueKind::Point:
        return {"a list of three numbers",
                value.is_string() ? TextOrTexts(value) : OneText(ListTexts(value, false, true))};
    case ValueKind::Style:
        return {"a text or a list of texts",
                value.is_object() ? StyleItems(source, value) : TextOrTexts(value)};
    case ValueKind::File:
    case ValueKind::Text:
        break;
    }
    return option.repeatable ? NaturalValue{"a text or a list of texts", TextOrTexts(value)}
                             : NaturalValue{"a text", AsTexts(ScalarText(value, true, false))};
}

Texts TextsOf(const KeySource& source, const OptionInfo& option, const Json& value) {
    const NaturalValue natural = ReadNatural(source, option.value, value);
    if (!natural.texts) {
        RefuseType(source.where + option.name, natural.wanted, value);
    }
    Texts texts = *natural.texts;
    if (option.value.kind == ValueKind::File) {
        for (std::string& path : texts) {
            path = PathBeside(source.file, path);
        }
    }
    return texts;
}

/// What to call the type of a value.
std::string TypeText(const Json& value) {
    if (value.is_boolean()) {
        return value.dump();
    }
    return value.is_null()     ? "null"
           : value.is_string() ? "a text"
           : value.is_array()  ? "a list"
           : value.is_object() ? "a table"
                               : "a number";
}

} // namespace

GivenOptions ReadKeys(const Json& object, const KeySource& source) {
    GivenOptions given;
    for (const auto& [key, value] : object.items()) {
        if (std::count(source.otherKeys.begin(), source.otherKeys.end(), key) > 0) {
            continue;
        }
        const OptionInfo* option = FindOption(key);
        if (option == nullptr || option->scope < source.place) {
            RefuseKey(source, key, OptionNames(source.place));
        }
        for (const std::string& text : TextsOf(source, *option, value)) {
            if (text.find('\0') != std::string::npos) {
                RefuseUsage(source.where + key + " has a zero character in its text");
            }
            given.add(key, text, source.valueWhere);
        }
    }
    return given;
}

void RefuseType(const std::string& what, const char* wanted, const Json& value) {
    RefuseUsage(what + " has to be " + wanted + ", not " + TypeText(value));
}

} // namespace kxcontour
