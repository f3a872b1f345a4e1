// Counts brackets and dots outside strings and comments. One scanner serves both languages: JSON
// strings are TOML strings, and comments and literal strings do not occur in JSON.
#include "tool/options/Nesting.h"

#include "tool/common/Failure.h"

#include <algorithm>
#include <cstddef>

namespace kxcontour {
namespace {

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

} // namespace

void RequireShallow(std::string_view text, OptionSyntax syntax, const std::string& path) {
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
        parts += letter == '.' && syntax == OptionSyntax::Toml ? 1 : 0;
        if (depth > kDeepest || parts > kDeepest) {
            const auto line = 1 + std::count(text.begin(), text.begin() + std::ptrdiff_t(at), '\n');
            RefuseUsage(path + ":" + std::to_string(line) + ": is nested too deeply");
        }
    }
}

} // namespace kxcontour
