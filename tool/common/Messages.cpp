// One message is one write, so that those of several threads and processes do not mix.
#include "tool/common/Messages.h"

#include "tool/common/PlainText.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace kxcontour {
namespace {

constexpr const char* kRed = "\033[31m";
constexpr const char* kYellow = "\033[33m";
constexpr const char* kPlain = "\033[0m";

} // namespace

Messages::Messages(std::ostream& out, Loudness loudness, bool coloured)
    : out_(out), loudness_(loudness), coloured_(coloured) {}

void Messages::error(const std::string& text) const {
    say(kRed, coloured_ ? "error: " : "", text);
}

void Messages::warn(const std::string& text) const {
    if (loudness_ != Loudness::Quiet) {
        say(kYellow, "warning: ", text);
    }
}

void Messages::note(const std::string& text) const {
    if (loudness_ == Loudness::Verbose) {
        say("", "", text);
    }
}

void Messages::say(const char* color, const std::string& kind, const std::string& text) const {
    const bool paints = coloured_ && *color != '\0';
    out_ << "kxcontour: " + (paints ? color + kind + kPlain : kind) + PlainText(text) + "\n"
         << std::flush;
}

bool WantsColour() {
    const auto value = [](const char* name) {
        const char* text = std::getenv(name);
        return std::string_view(text != nullptr ? text : "");
    };
    return ::isatty(STDERR_FILENO) == 1 && value("NO_COLOR").empty() && value("TERM") != "dumb";
}

} // namespace kxcontour
