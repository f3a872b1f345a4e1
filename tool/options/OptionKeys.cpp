// Values of natural types become the texts that the command line would have had, so that there is
// one reader for all of them.
#include "options/OptionKeys.h"

#include "drawing/common/Failure.h"
#include "drawing/common/NearestName.h"
#include "drawing/common/Shortened.h"
#include "options/StyleText.h"
#include "options/Values.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <system_error>

namespace kxcontour {
namespace {

using Json = nlohmann::json;
using Texts = std::vector<std::string>;

constexpr std::size_t kLargestFile = std::size_t{16} << 20U;

[[noreturn]] void Refuse(const KeySource& source, const std::string& message) {
    throw Failure(ExitCode::Usage, source.where + message);
}

[[noreturn]] void
RefuseType(const KeySource& source, const std::string& key, const char* wanted, const Json& value) {
    Refuse(source, Shortened(key) + " has to be " + wanted + ", not " + TypeText(value));
}

[[noreturn]] void RefuseKey(const KeySource& source, const std::string& key, Texts known) {
    known.insert(known.end(), source.otherKeys.begin(), source.otherKeys.end());
    const std::string nearest = NearestName(key, known);
    const bool misplaced = FindOption(key) != nullptr;
    Refuse(source, misplaced ? "'" + key + "' belongs on the command line"
                             : "unknown key '" + Shortened(key) + "'" +
                                   (nearest.empty() ? "; see kxcontour help config"
                                                    : "; did you mean '" + nearest + "'?"));
}

std::string NumberOf(const Json& value) {
    if (value.is_number_unsigned()) {
        return std::to_string(value.get<std::uint64_t>());
    }
    return value.is_number_integer() ? std::to_string(value.get<std::int64_t>())
                                     : NumberText(value.get<double>());
}

bool IsScalar(const Json& value) {
    return value.is_string() || value.is_number();
}

std::string ScalarText(const Json& value) {
    return value.is_string() ? value.get<std::string>() : NumberOf(value);
}

/// The members of a list with a sign between; the list has to be of one type.
std::string
JoinList(const Json& list, const char* between, bool (Json::*isRight)() const, bool& right) {
    std::string text;
    for (const Json& member : list) {
        right = right && (member.*isRight)();
        text += right ? (text.empty() ? "" : between) + ScalarText(member) : "";
    }
    return text;
}

/// A text as it is, a list with commas between.
std::string ListText(const KeySource& source,
                     const std::string& key,
                     const Json& value,
                     const char* wanted,
                     bool (Json::*isRight)() const) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    bool right = value.is_array();
    std::string text = right ? JoinList(value, ",", isRight, right) : "";
    if (!right) {
        RefuseType(source, key, wanted, value);
    }
    return text;
}

/// One text, or a list of texts.
Texts TextOrTexts(const KeySource& source, const std::string& key, const Json& value) {
    if (value.is_string()) {
        return {value.get<std::string>()};
    }
    const bool texts =
        value.is_array() && std::all_of(value.begin(), value.end(),
                                        [](const Json& member) { return member.is_string(); });
    if (!texts) {
        RefuseType(source, key, "a text or a list of texts", value);
    }
    return value.get<Texts>();
}

std::string StyleValue(const KeySource& source, const std::string& key, const Json& value) {
    bool right = value.is_array();
    const std::string list = right ? JoinList(value, "/", &Json::is_number, right) : "";
    if (!IsScalar(value) && !right) {
        RefuseType(source, key, "a text or a number", value);
    }
    return right ? list : ScalarText(value);
}

/// The tables of families as the items of the command line.
Texts StyleTables(const KeySource& source, const Json& value) {
    Texts items;
    for (const auto& [family, keys] : value.items()) {
        const std::string name = "style." + family;
        if (!keys.is_object()) {
            RefuseType(source, name, "a table of width, color and dash", keys);
        }
        for (const auto& [key, entry] : keys.items()) {
            std::string item = family;
            item.append(".").append(key);
            const std::string text = StyleValue(source, "style." + item, entry);
            items.push_back(item.append("=").append(text));
        }
    }
    return items;
}

/// Families come in alphabetical order, in which "all" is first, so that the others refine it.
Texts StyleTexts(const KeySource& source, const Json& value) {
    return value.is_object() ? StyleTables(source, value) : TextOrTexts(source, "style", value);
}

std::string FlagText(const KeySource& source, const std::string& key, const Json& value) {
    if (!value.is_boolean()) {
        RefuseType(source, key, "true or false", value);
    }
    return value.get<bool>() ? "true" : "false";
}

std::string OneText(const KeySource& source, const std::string& key, const Json& value) {
    if (!value.is_string()) {
        RefuseType(source, key, "a text", value);
    }
    return value.get<std::string>();
}

Texts FileTexts(const KeySource& source, const OptionInfo& option, const Json& value) {
    Texts paths = option.repeatable ? TextOrTexts(source, option.name, value)
                                    : Texts{OneText(source, option.name, value)};
    for (std::string& path : paths) {
        path = PathBeside(source.file, path);
    }
    return paths;
}

Texts TextsOf(const KeySource& source, const OptionInfo& option, const Json& value) {
    switch (option.kind) {
    case ValueKind::Flag:
        return {FlagText(source, option.name, value)};
    case ValueKind::Number:
        if (!IsScalar(value)) {
            RefuseType(source, option.name, "a number or a text", value);
        }
        return {ScalarText(value)};
    case ValueKind::Names:
        return {
            ListText(source, option.name, value, "a text or a list of texts", &Json::is_string)};
    case ValueKind::Point:
        return {ListText(source, option.name, value, "a list of three numbers", &Json::is_number)};
    case ValueKind::File:
        return FileTexts(source, option, value);
    case ValueKind::Style:
        return StyleTexts(source, value);
    case ValueKind::Text:
        break;
    }
    return {OneText(source, option.name, value)};
}

std::size_t LineOf(const std::string& text, std::size_t byte) {
    const std::size_t end = std::min(byte, text.size());
    return 1 + static_cast<std::size_t>(
                   std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
}

[[noreturn]] void FailedToRead(const std::string& path, const std::string& reason) {
    throw Failure(ExitCode::Unreadable, path + ": " + reason);
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
                Refuse(source, key + " has a zero character in its text");
            }
            given.add(key, text, source.valueWhere);
        }
    }
    return given;
}

std::string TypeText(const Json& value) {
    switch (value.type()) {
    case Json::value_t::null:
        return "null";
    case Json::value_t::boolean:
        return value.get<bool>() ? "true" : "false";
    case Json::value_t::string:
        return "a text";
    case Json::value_t::array:
        return "a list";
    case Json::value_t::object:
        return "a table";
    default:
        return "a number";
    }
}

std::string ReadOptionFile(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        FailedToRead(path, "is a directory");
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        FailedToRead(path, std::generic_category().message(errno));
    }
    std::string text;
    std::array<char, 65536> block{};
    while (text.size() <= kLargestFile && file) {
        file.read(block.data(), block.size());
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (file.bad()) {
        FailedToRead(path, "cannot be read");
    }
    if (text.size() > kLargestFile) {
        FailedToRead(path, "is too large for a file of options");
    }
    return text;
}

Json ParseJson(const std::string& text, const std::string& path) {
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        const std::size_t line = LineOf(text, error.byte > 0 ? error.byte - 1 : 0);
        FailedToRead(path + ":" + std::to_string(line), "is not correct JSON");
    } catch (const Json::out_of_range&) {
        FailedToRead(path, "has a number that is too large");
    }
}

std::string PathBeside(const std::string& file, const std::string& path) {
    if (path.empty() || path == "-") {
        return path;
    }
    return (std::filesystem::path(file).parent_path() / path).string();
}

} // namespace kxcontour
