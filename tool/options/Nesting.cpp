// Counts brackets and dots outside of strings and comments. The strings of JSON are among those of
// TOML, and what else TOML has no JSON text may hold, so both are read alike.
#include "options/Nesting.h"

#include "drawing/common/Failure.h"

#include <algorithm>
#include <cstddef>

namespace kxcontour {
namespace {

constexpr std::size_t kDeepest = 64;

/// Behind a string that is open at that place, of one quote or of three; strings of double quotes
/// have escapes.
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

/// Behind the string that begins there. A long one may have two quotes more just before its end.
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

/// Goes through a text and stops where it is too deep.
class NestingScan {
public:
    NestingScan(std::string_view text, OptionSyntax syntax)
        : text_(text), hasDottedKeys_(syntax == OptionSyntax::Toml) {}

    bool findsTooDeep() {
        while (at_ < text_.size() && !isTooDeep()) {
            step();
        }
        return isTooDeep();
    }

    /// The line where it stopped, from 1 on.
    std::size_t line() const {
        const std::string_view before = text_.substr(0, at_);
        return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    }

private:
    bool isTooDeep() const { return depth_ > kDeepest || parts_ > kDeepest; }

    void step() {
        switch (text_[at_]) {
        case '"':
        case '\'':
            at_ = BehindString(text_, at_);
            return;
        case '#':
            at_ = std::min(text_.find('\n', at_), text_.size());
            return;
        case '[':
        case '{':
            ++depth_;
            parts_ = 1;
            break;
        case ']':
        case '}':
            depth_ -= depth_ > 0 ? 1 : 0;
            parts_ = 1;
            break;
        case '=':
        case ',':
        case '\n':
            parts_ = 1;
            break;
        case '.':
            parts_ += hasDottedKeys_ ? 1 : 0;
            break;
        default:
            break;
        }
        ++at_;
    }

    std::string_view text_;
    bool hasDottedKeys_;
    std::size_t at_ = 0;
    std::size_t depth_ = 0; ///< Of brackets.
    std::size_t parts_ = 1; ///< Of the key at hand, or of a number.
};

} // namespace

void RequireShallow(std::string_view text, OptionSyntax syntax, const std::string& path) {
    NestingScan scan(text, syntax);
    if (scan.findsTooDeep()) {
        throw Failure(ExitCode::Usage,
                      path + ":" + std::to_string(scan.line()) + ": is nested too deeply");
    }
}

} // namespace kxcontour
