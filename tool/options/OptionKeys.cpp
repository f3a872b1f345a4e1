// Values of natural types are converted to the text that the command line would have, so that all
// sources share the readers of the table.
#include "tool/options/OptionKeys.h"

#include "drawing/common/NearestName.h"
#include "tool/common/Failure.h"
#include "tool/options/Values.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace kxcontour {
namespace {

using Json = nlohmann::json;
using Texts = std::vector<std::string>;

[[noreturn]] void RefuseKey(const KeySource& source, const std::string& key, Texts known) {
    known.insert(known.end(), source.otherKeys.begin(), source.otherKeys.end());
    const std::string nearest = NearestName(key, known);
    const bool misplaced = FindOption(key) != nullptr;
    RefuseUsage(source.where + (misplaced
                                    ? "'" + key + "' is for the command line only"
                                    : "unknown key '" + Shortened(key) + "'" +
                                          (nearest.empty() ? "; see kxcontour help config"
                                                           : "; did you mean '" + nearest + "'?")));
}

/// How a value may be written in a file.
struct Form {
    const char* wanted; ///< In messages.
    bool text = true;
    bool number = false;
    bool listOfTexts = false;
    bool listOfNumbers = false;
    const char* between = nullptr; ///< Joins the members of a list; null: they stay apart.
};

Form FormOf(const OptionValue& option) {
    switch (option.kind) {
    case ValueKind::Flag:
        return {.wanted = "true or false", .text = false};
    case ValueKind::Number:
        return {.wanted = "a number or a string", .number = true};
    case ValueKind::Names:
        return {.wanted = "a string or an array of strings", .listOfTexts = true, .between = ","};
    case ValueKind::Point:
        return {.wanted = "an array of three numbers", .listOfNumbers = true, .between = ","};
    case ValueKind::Style:
    case ValueKind::File:
    case ValueKind::Text:
        break;
    }
    return option.repeatable
               ? Form{.wanted = "a string or an array of strings", .listOfTexts = true}
               : Form{.wanted = "a string"};
}

std::string ScalarText(const Json& value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    return value.is_number_float() ? NumberText(value.get<double>()) : value.dump();
}

/// A value as the texts that the command line would have.
Texts ReadForm(const Form& form,
               const std::string& key,
               const KeySource& source,
               const Json& value) {
    const bool texts = value.is_array() ? form.listOfTexts : form.text;
    const bool numbers = value.is_array() ? form.listOfNumbers : form.number;
    const Json members = value.is_array() ? value : Json::array({value});
    const bool isRight = std::all_of(members.begin(), members.end(), [&](const Json& member) {
        return (texts && member.is_string()) || (numbers && member.is_number());
    });
    if (!isRight || (!texts && !numbers)) {
        RefuseType(source.where + Shortened(key), form.wanted, value);
    }
    Texts list(members.size());
    std::transform(members.begin(), members.end(), list.begin(), ScalarText);
    return form.between == nullptr ? list : Texts{Joined(list, form.between)};
}

/// Tables of families as the items of the command line. Families come in alphabetical order, in
/// which "all" is first, so that the others refine it.
Texts StyleItems(const KeySource& source, const Json& value) {
    const Form form{
        .wanted = "a string or a number", .number = true, .listOfNumbers = true, .between = "/"};
    Texts items;
    for (const auto& [family, keys] : value.items()) {
        if (!keys.is_object()) {
            const std::string name = "style." + family;
            RefuseType(source.where + Shortened(name), "an object with width, color and dash",
                       keys);
        }
        for (const auto& [key, entry] : keys.items()) {
            const std::string item = Joined({family, key}, ".");
            const Texts texts = ReadForm(form, "style." + item, source, entry);
            items.push_back(Joined({item, texts.front()}, "="));
        }
    }
    return items;
}

/// A path in a file, relative to the working directory. "-" and absolute paths stay.
std::string PathBeside(const std::string& file, const std::string& path) {
    if (path.empty() || path == "-") {
        return path;
    }
    return (std::filesystem::path(file).parent_path() / path).string();
}

Texts TextsOf(const KeySource& source, const OptionInfo& option, const Json& value) {
    if (option.isFlag() && value.is_boolean()) {
        return {value.dump()};
    }
    if (option.value.kind == ValueKind::Style && value.is_object()) {
        return StyleItems(source, value);
    }
    Texts texts = ReadForm(FormOf(option.value), option.name, source, value);
    if (option.value.kind == ValueKind::File) {
        for (std::string& path : texts) {
            path = PathBeside(source.file, path);
        }
    }
    return texts;
}

/// The type of a value in messages.
std::string TypeText(const Json& value) {
    if (value.is_boolean()) {
        return value.dump();
    }
    return value.is_null()     ? "null"
           : value.is_string() ? "a string"
           : value.is_array()  ? "an array"
           : value.is_object() ? "an object"
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
                RefuseUsage(source.where + key + " contains a zero character");
            }
            given.add(key, text, source.valueWhere);
        }
    }
    return given;
}

void RefuseType(const std::string& what, const char* wanted, const Json& value) {
    RefuseUsage(what + " must be " + wanted + ", not " + TypeText(value));
}

} // namespace kxcontour
