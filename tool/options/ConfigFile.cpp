// TOML becomes JSON first, so that both have one reader.
#include "options/ConfigFile.h"

#include "drawing/common/Failure.h"
#include "options/Nesting.h"
#include "options/OptionKeys.h"
#include "options/Values.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>
#include <toml++/toml.h>

namespace kxcontour {
namespace {

using Json = nlohmann::json;

Json ToJson(const toml::node& node);

Json TableToJson(const toml::table& table) {
    Json object = Json::object();
    for (const auto& [key, value] : table) {
        object[std::string(key.str())] = ToJson(value);
    }
    return object;
}

Json ListToJson(const toml::array& list) {
    Json array = Json::array();
    for (const toml::node& member : list) {
        array.push_back(ToJson(member));
    }
    return array;
}

/// Dates and times, which no option has, become null and are refused for their type.
Json ToJson(const toml::node& node) {
    if (const toml::table* table = node.as_table()) {
        return TableToJson(*table);
    }
    if (const toml::array* list = node.as_array()) {
        return ListToJson(*list);
    }
    if (const toml::value<std::string>* text = node.as_string()) {
        return text->get();
    }
    if (const toml::value<std::int64_t>* whole = node.as_integer()) {
        return whole->get();
    }
    if (const toml::value<double>* number = node.as_floating_point()) {
        return number->get();
    }
    if (const toml::value<bool>* flag = node.as_boolean()) {
        return flag->get();
    }
    return nullptr;
}

Json ParseToml(const std::string& text, const std::string& path) {
    try {
        return TableToJson(toml::parse(std::string_view(text), std::string_view(path)));
    } catch (const toml::parse_error& error) {
        throw Failure(ExitCode::Unreadable,
                      path + ":" + std::to_string(error.source().begin.line) +
                          ": is not correct TOML: " + std::string(error.description()));
    }
}

} // namespace

GivenOptions ReadConfigFile(const std::string& path) {
    const std::string ending = LowerCase(std::filesystem::path(path).extension().string());
    if (ending != ".toml" && ending != ".json") {
        throw Failure(ExitCode::Usage,
                      "configuration file '" + path + "' has to end in .toml or .json");
    }
    const std::string text = ReadOptionFile(path);
    const bool isToml = ending == ".toml";
    RequireShallow(text, isToml ? OptionSyntax::Toml : OptionSyntax::Json, path);
    const Json object = isToml ? ParseToml(text, path) : ParseJson(text, path);
    if (!object.is_object()) {
        throw Failure(ExitCode::Usage,
                      path + ": has to be a table of options, not " + TypeText(object));
    }
    KeySource source;
    source.file = path;
    source.where = path + ": ";
    source.valueWhere = source.where;
    source.place = Scope::Config;
    return ReadKeys(object, source);
}

} // namespace kxcontour
