// TOML is converted to JSON, so that both have one reader of keys.
#include "tool/options/OptionFiles.h"

#include "drawing/common/NearestName.h"
#include "tool/common/Failure.h"
#include "tool/options/OptionKeys.h"
#include "tool/options/Values.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>
#include <toml++/toml.h>

namespace kxcontour {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kLargestFile = std::size_t{16} << 20U;

std::ptrdiff_t LineOf(std::string_view text, std::size_t byte) {
    return 1 + std::ranges::count(text.substr(0, byte), '\n');
}

[[noreturn]] void FailedToRead(const std::string& path, const std::string& reason) {
    throw kxdrawing::CannotRead(path + ": " + reason);
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
        FailedToRead(path, "is too large for a configuration or job file");
    }
    return text;
}

/// @name Nesting
/// @{

constexpr std::size_t kDeepest = 64;

/// The position after a string whose contents begin at a position. It is closed by one quote or
/// three; strings in double quotes have escapes.
std::size_t EndOfString(std::string_view text, std::size_t at, const std::string& quotes) {
    while (at < text.size()) {
        if (text.compare(at, quotes.size(), quotes) == 0) {
            return at + quotes.size();
        }
        if (text[at] == '\n' && quotes.size() == 1) {
            return at;
        }
        at += text[at] == '\\' && quotes.front() == '"' ? 2 : 1;
    }
    return text.size();
}

/// The position after the string that begins at a position. The contents of a multi-line string may
/// end with up to two quotes.
std::size_t BehindString(std::string_view text, std::size_t at) {
    const char quote = text[at];
    const std::string three(3, quote);
    if (text.compare(at, 3, three) != 0) {
        return EndOfString(text, at + 1, three.substr(2));
    }
    std::size_t end = EndOfString(text, at + 3, three);
    for (int more = 0; more < 2 && end < text.size() && text[end] == quote; ++more) {
        ++end;
    }
    return end;
}

/// The position after the string, comment or character that begins at a position.
std::size_t Behind(std::string_view text, std::size_t at) {
    if (text[at] == '"' || text[at] == '\'') {
        return BehindString(text, at);
    }
    return text[at] == '#' ? std::min(text.find('\n', at), text.size()) : at + 1;
}

/// Throws InvalidArgument if arrays and tables are nested deeper than 64 levels, or a dotted key of
/// TOML has more than 64 parts: far more than options need, and far fewer than overflow the stack
/// of a recursive parser or destructor. Linear time.
///
/// Takes any text; up to the first syntax error it is tokenised as the parser would. One scanner
/// serves both languages: JSON strings are TOML strings, and comments and literal strings do not
/// occur in JSON.
void RequireShallow(std::string_view text, bool isToml, const std::string& path) {
    std::size_t depth = 0; // Of brackets.
    std::size_t parts = 1; // Of the key at hand, or of a number.
    for (std::size_t at = 0; at < text.size(); at = Behind(text, at)) {
        const char letter = text[at];
        const bool isClosed = letter == ']' || letter == '}';
        depth += letter == '[' || letter == '{' ? 1 : 0;
        depth -= isClosed && depth > 0 ? 1 : 0;
        if (std::string_view("[]{}=,\n").find(letter) != std::string_view::npos) {
            parts = 1;
        }
        parts += letter == '.' && isToml ? 1 : 0;
        if (depth > kDeepest || parts > kDeepest) {
            RefuseUsage(path + ":" + std::to_string(LineOf(text, at)) + ": is nested too deeply");
        }
    }
}
/// @}

Json ParseJson(const std::string& text, const std::string& path) {
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        const auto line = LineOf(text, error.byte > 0 ? error.byte - 1 : 0);
        FailedToRead(path + ":" + std::to_string(line), "is not valid JSON");
    } catch (const Json::out_of_range&) {
        FailedToRead(path, "has a number that is too large");
    }
}

/// Dates and times, which no option accepts, become null and are refused by type.
Json ToJson(const toml::node& node) {
    return node.visit([](const auto& value) -> Json {
        Json json;
        if constexpr (toml::is_table<decltype(value)>) {
            json = Json::object();
            for (const auto& [key, member] : value) {
                json[std::string(key.str())] = ToJson(member);
            }
        } else if constexpr (toml::is_array<decltype(value)>) {
            json = Json::array();
            for (const toml::node& member : value) {
                json.push_back(ToJson(member));
            }
        } else if constexpr (!toml::is_chronological<decltype(value)>) {
            json = value.get();
        }
        return json;
    });
}

Json ParseToml(const std::string& text, const std::string& path) {
    try {
        return ToJson(toml::parse(std::string_view(text), std::string_view(path)));
    } catch (const toml::parse_error& error) {
        throw kxdrawing::CannotRead(path + ":" + std::to_string(error.source().begin.line) +
                                    ": is not valid TOML: " + std::string(error.description()));
    }
}

/// Refuses unknown members, naming the nearest.
void RequireKnownMembers(const Json& root, const std::string& path) {
    const std::vector<std::string> known{"defaults", "jobs"};
    for (const auto& [key, value] : root.items()) {
        if (std::count(known.begin(), known.end(), key) == 0) {
            const std::string nearest = NearestName(key, known);
            RefuseUsage(path + ": unknown key '" + Shortened(key) + "'; " +
                        (nearest.empty() ? "there are 'defaults' and 'jobs'"
                                         : "did you mean '" + nearest + "'?"));
        }
    }
}

void RequireFrame(const Json& root, const std::string& path) {
    if (!root.is_object()) {
        RefuseType(path + ":", "an object with an array 'jobs'", root);
    }
    RequireKnownMembers(root, path);
    if (!root.contains("jobs")) {
        RefuseUsage(path + ": has no array 'jobs'");
    }
    if (!root["jobs"].is_array()) {
        RefuseType(path + ": 'jobs'", "an array", root["jobs"]);
    }
    if (root["jobs"].empty()) {
        RefuseUsage(path + ": has no jobs");
    }
}

GivenOptions ReadDefaults(const Json& root, const std::string& path) {
    const Json defaults = root.value("defaults", Json::object());
    if (!defaults.is_object()) {
        RefuseType(path + ": 'defaults'", "an object", defaults);
    }
    return ReadKeys(defaults, {path, path + ": defaults: ", "defaults: ", Scope::Anywhere, {}});
}

std::string ReadName(const Json& entry, const std::string& where) {
    const Json name = entry.value("name", Json(""));
    if (!name.is_string()) {
        RefuseType(where + "name", "a string", name);
    }
    if (name.get_ref<const std::string&>().find('\0') != std::string::npos) {
        RefuseUsage(where + "name contains a zero character");
    }
    return name.get<std::string>();
}

GivenJob ReadJob(const Json& entry, const std::string& where, const std::string& path) {
    if (!entry.is_object()) {
        RefuseType(where.substr(0, where.size() - 1), "an object", entry);
    }
    return {where, ReadName(entry, where),
            ReadKeys(entry, {path, where, "", Scope::Anywhere, {"name"}})};
}

} // namespace

GivenOptions ReadConfigFile(const std::string& path) {
    const bool isToml = EndingOf(path) == "toml";
    if (!isToml && EndingOf(path) != "json") {
        RefuseUsage("configuration file '" + path + "' must end in .toml or .json");
    }
    const std::string text = ReadOptionFile(path);
    RequireShallow(text, isToml, path);
    const Json object = isToml ? ParseToml(text, path) : ParseJson(text, path);
    if (!object.is_object()) {
        RefuseType(path + ":", "an object of options", object);
    }
    return ReadKeys(object, {path, path + ": ", path + ": ", Scope::Config, {}});
}

std::vector<GivenJob> ReadJobFile(const std::string& path) {
    const std::string text = ReadOptionFile(path);
    RequireShallow(text, false, path);
    const Json root = ParseJson(text, path);
    RequireFrame(root, path);
    const GivenOptions defaults = ReadDefaults(root, path);
    std::vector<GivenJob> jobs;
    for (const Json& entry : root["jobs"]) {
        const std::string where = path + ": job " + std::to_string(jobs.size() + 1) + ": ";
        jobs.push_back(ReadJob(entry, where, path));
        jobs.back().options.putBelow(defaults);
    }
    return jobs;
}

} // namespace kxcontour
